#include "app/qt/tselfound.hpp"

#include <QHeaderView>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1196;
constexpr int kPremiers = 7198;
constexpr int kColonneNom = 1003;
constexpr int kColonneDossier = 1011;
constexpr int kColonneDonnees = 1005;
constexpr int kColonneRessources = 1006;
constexpr int kColonneModification = 1008;
constexpr int kColonneSignature = 1009;
constexpr int kLargeur = 124;  // letters
constexpr int kHauteur = 20;   // rows
constexpr int kNomMax = 40;    // letters of a column at the first

}  // namespace

std::optional<std::size_t> montre_trouvailles(QWidget *parent, const std::vector<Trouvaille> &trouvailles,
                                              bool tous) {
  Forme forme(parent, "TSelFound", kTitre, sujet::kFichiersTrouves);
  auto *liste = new QTreeWidget;
  liste->setObjectName("Liste");
  liste->setAccessibleName(chaine_qt(kTitre));
  liste->setRootIsDecorated(false);
  liste->setUniformRowHeights(true);
  liste->setAllColumnsShowFocus(true);
  QStringList legendes;
  for (const int id : {kColonneNom, kColonneDossier, kColonneSignature, kColonneDonnees, kColonneRessources,
                       kColonneModification})
    legendes << chaine_qt(id);
  liste->setHeaderLabels(legendes);
  for (const Trouvaille &t : trouvailles) {
    auto *ligne = new QTreeWidgetItem(
        liste, {t.nom, "/" + t.chemin, t.signature, t.donnees, t.ressources, t.modification});
    ligne->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
    ligne->setTextAlignment(4, Qt::AlignRight | Qt::AlignVCenter);
    ligne->setToolTip(1, "/" + t.chemin);
  }
  const QFontMetrics mesures = liste->fontMetrics();
  liste->setMinimumSize(mesures.averageCharWidth() * kLargeur, mesures.height() * kHauteur);
  for (int i = 0; i < legendes.size(); ++i) {
    liste->resizeColumnToContents(i);
    liste->setColumnWidth(i, std::min(liste->columnWidth(i) + 8, mesures.averageCharWidth() * kNomMax));
  }
  liste->setCurrentItem(liste->topLevelItem(0));
  forme.corps()->addWidget(liste, 1);
  if (!tous) forme.corps()->addWidget(new QLabel(vers_qt(message(kPremiers, {trouvailles.size()}))));
  forme.boutons();
  QObject::connect(liste, &QTreeWidget::itemActivated, &forme, &QDialog::accept);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  const int rang = liste->indexOfTopLevelItem(liste->currentItem());
  return rang < 0 ? std::nullopt : std::optional(static_cast<std::size_t>(rang));
}

}  // namespace varnion
