#include "app/qt/tnompc.hpp"

#include <QAbstractButton>
#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "noms/regles.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1136;
constexpr int kNomMac = 1137;
constexpr int kNomPc = 1138;
constexpr int kLargeurChamp = 36;  // characters

}  // namespace

bool demande_nom_pc(QWidget *parent, const std::string &mac, std::string &nom, std::size_t limite) {
  Forme forme(parent, "TNomPC", kTitre, sujet::kNomPc);
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  forme.corps()->addLayout(champs);
  champs->addRow(chaine_qt(kNomMac), texte_fixe(vers_qt(mac), "NomMac"));
  auto *champ = new QLineEdit(vers_qt(coupe_nom(nom, limite)));
  champ->setObjectName("NomPC");
  champ->setMaxLength(static_cast<int>(limite));
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLargeurChamp);
  champ->selectAll();
  champs->addRow(chaine_qt(kNomPc), champ);
  forme.boutons();
  const auto suit = [&forme](const QString &texte) {
    forme.bouton_accepter()->setEnabled(!texte.isEmpty() && !texte.contains('/'));
  };
  QObject::connect(champ, &QLineEdit::textChanged, &forme, suit);
  suit(champ->text());
  champ->setFocus();
  if (forme.exec() != QDialog::Accepted) return false;
  nom = de_qt(champ->text());
  return true;
}

}  // namespace varnion
