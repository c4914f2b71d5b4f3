#include "app/qt/tremarques.hpp"

#include <algorithm>

#include <QLabel>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 7030;
constexpr int kNombre = 7028;
constexpr int kFermer = 1000;
constexpr std::size_t kMontrees = 10'000;  // the log has them all
constexpr int kLettres = 70;
constexpr int kLignes = 12;

}  // namespace

void montre_remarques(QWidget *parent, const QString &texte, const std::vector<std::string> &remarques) {
  Forme forme(parent, "TRemarques", kTitre, sujet::kCompilation);
  auto *fin = new QLabel(texte);
  fin->setObjectName("texte");
  fin->setTextFormat(Qt::PlainText);
  auto *nombre = new QLabel(vers_qt(message(kNombre, {remarques.size()})));
  auto *liste = new QPlainTextEdit;
  liste->setObjectName("Liste");
  liste->setReadOnly(true);
  liste->setTabChangesFocus(true);
  nombre->setBuddy(liste);
  liste->setMinimumSize(liste->fontMetrics().averageCharWidth() * kLettres,
                        liste->fontMetrics().lineSpacing() * kLignes);
  QStringList lignes;
  for (std::size_t i = 0; i < std::min(remarques.size(), kMontrees); ++i)
    lignes << vers_qt(remarques[i]).replace('\n', ' ');
  liste->setPlainText(lignes.join('\n'));
  forme.corps()->addWidget(fin);
  forme.corps()->addWidget(nombre);
  forme.corps()->addWidget(liste, 1);
  forme.boutons(kFermer, 0);
  forme.exec();
}

}  // namespace varnion
