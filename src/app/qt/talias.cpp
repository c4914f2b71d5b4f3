#include "app/qt/talias.hpp"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "finder/alias.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1183;
constexpr int kChemin = 1184;
constexpr int kFichier = 1185;
constexpr int kDossier = 1186;
constexpr int kVolume = 1187;
constexpr int kAligner = 1188;
constexpr int kParcourir = 1189;
constexpr int kSauver = 1190;
constexpr int kAbandon = 1191;
constexpr int kIllisible = 1194;
constexpr int kLargeurChamp = 44;  // characters

QLineEdit *champ(const std::string &texte, const char *nom) {
  auto *champ = new QLineEdit(vers_qt(texte));
  champ->setObjectName(nom);
  champ->setReadOnly(true);
  champ->setCursorPosition(0);
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLargeurChamp);
  return champ;
}

// A button of the form that has no action.
QPushButton *bouton_sans_effet(int legende, const char *nom) {
  auto *bouton = new QPushButton(chaine_qt(legende));
  bouton->setObjectName(nom);
  bouton->setAutoDefault(false);
  bouton->setEnabled(false);
  return bouton;
}

void ligne(QFormLayout &champs, int legende, QLineEdit *champ, QPushButton *bouton) {
  auto *rangee = new QHBoxLayout;
  rangee->addWidget(champ, 1);
  rangee->addWidget(bouton);
  auto *etiquette = new QLabel(chaine_qt(legende));
  etiquette->setBuddy(champ);
  champs.addRow(etiquette, rangee);
}

}  // namespace

int montre_alias(QWidget *parent, const ElementMac &fichier) {
  TamponAlias tampon{};
  if (lecture_alias(element_de_volume(fichier), tampon) < 0) {
    operations().afficher_erreur(charger_chaine(kIllisible));
    return 0;
  }
  const TextesAlias textes = textes_alias(tampon);
  Forme forme(parent, "TAlias", kTitre, sujet::kAlias);
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  forme.corps()->addLayout(champs);
  ligne(*champs, kChemin, champ(textes.chemin, "Chemin"), bouton_sans_effet(kParcourir, "Browse1"));
  ligne(*champs, kFichier, champ(textes.fichier, "Fichier"), bouton_sans_effet(kParcourir, "Browse2"));
  ligne(*champs, kDossier, champ(textes.dossier, "Dossier"), bouton_sans_effet(kAligner, "Align"));
  champs->addRow(chaine_qt(kVolume), champ(textes.volume, "Volume"));
  forme.boutons(kSauver, kAbandon);
  return forme.exec() == QDialog::Accepted ? 1 : 0;
}

}  // namespace varnion
