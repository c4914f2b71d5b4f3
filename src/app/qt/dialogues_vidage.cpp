#include "app/qt/dialogues_vidage.hpp"

#include <tuple>

#include <QAbstractButton>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSpinBox>

#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kFermer = 1000;
constexpr int kTitreRecherche = 3048;
constexpr int kChaine = 3049;
constexpr int kChercher = 3050;
constexpr int kDebutSecteur = 3051;
constexpr int kTitreAller = 3078;
constexpr int kNumero = 3079;
constexpr int kTitreCorps = 3150;
constexpr int kTexteCorps = 3151;
constexpr int kTitreSegment = 3333;
constexpr int kSecteurCourant = 3334;
constexpr int kOctets = 3335;
constexpr int kDebut = 3336;
constexpr int kFin = 3337;
constexpr int kHexadecimal = 3338;
constexpr int kImprime = 3339;
constexpr int kExecuter = 3340;
constexpr int kSuite = 3343;
constexpr int kCorpsMin = 6;
constexpr int kCorpsMax = 36;

// A dialog that keeps an empty field from being taken.
class FormeChamp final : public Forme {
 public:
  FormeChamp(QWidget *parent, const char *nom, int titre) : Forme(parent, nom, titre, sujet::kVidage) {}
  QLineEdit *champ = nullptr;

 protected:
  void accept() override {
    if (champ->text().trimmed().isEmpty()) {
      QApplication::beep();
      return;
    }
    Forme::accept();
  }
};

// The limits of one choice of the segment form.
struct Limites {
  QLineEdit *debut, *fin;
};

Limites ajoute_limites(QGridLayout *grille, int ligne, const char *nom_debut, const char *nom_fin,
                       const QString &depart) {
  Limites limites{new QLineEdit(depart), new QLineEdit};
  int colonne = 0;
  for (const auto &[champ, nom, legende] :
       {std::tuple{limites.debut, nom_debut, kDebut}, std::tuple{limites.fin, nom_fin, kFin}}) {
    champ->setObjectName(nom);
    auto *texte = new QLabel(chaine_qt(legende));
    texte->setBuddy(champ);
    grille->addWidget(texte, ligne, ++colonne);
    grille->addWidget(champ, ligne, ++colonne);
  }
  return limites;
}

}  // namespace

std::optional<QString> demande_secteur(QWidget *parent, const QString &courant) {
  FormeChamp forme(parent, "TAllerSecteur", kTitreAller);
  auto *champs = new QFormLayout;
  forme.champ = new QLineEdit(courant);
  forme.champ->setObjectName("Secteur");
  forme.champ->selectAll();
  champs->addRow(chaine_qt(kNumero), forme.champ);
  forme.corps()->addLayout(champs);
  forme.boutons();
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.champ->text().trimmed();
}

std::optional<RechercheVidage> demande_recherche(QWidget *parent, const RechercheVidage &derniere) {
  FormeChamp forme(parent, "TChercheVidage", kTitreRecherche);
  auto *champs = new QFormLayout;
  forme.champ = new QLineEdit(derniere.texte);
  forme.champ->setObjectName("Chaine");
  forme.champ->setMinimumWidth(forme.fontMetrics().averageCharWidth() * 40);
  forme.champ->selectAll();
  auto *debut = new QCheckBox(chaine_qt(kDebutSecteur));
  debut->setObjectName("Debut");
  debut->setChecked(derniere.debut_secteur);
  champs->addRow(chaine_qt(kChaine), forme.champ);
  champs->addRow(QString(), debut);
  forme.corps()->addLayout(champs);
  forme.boutons(kChercher);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return RechercheVidage{forme.champ->text(), debut->isChecked()};
}

std::optional<int> demande_corps(QWidget *parent, int corps) {
  Forme forme(parent, "TSelCorps", kTitreCorps, sujet::kVidage);
  auto *taille = new QSpinBox;
  taille->setObjectName("Corps");
  taille->setRange(kCorpsMin, kCorpsMax);
  taille->setValue(corps);
  auto *texte = new QLabel(chaine_qt(kTexteCorps));
  texte->setBuddy(taille);
  forme.corps()->addWidget(texte);
  forme.corps()->addWidget(taille, 0, Qt::AlignLeft);
  forme.boutons();
  taille->setFocus();
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return taille->value();
}

void montre_segment(QWidget *parent, const QString &courant,
                    const std::function<void(QWidget *forme, const DemandeSegment &)> &execute) {
  Forme forme(parent, "TSSegm", kTitreSegment, sujet::kVidage);
  auto *grille = new QGridLayout;
  QButtonGroup choix;
  const int legendes[] = {kSecteurCourant, kSuite, kOctets};
  const char *noms[] = {"Sect", "Sects", "Data"};
  for (int i = 0; i < 3; ++i) {
    auto *bouton = new QRadioButton(chaine_qt(legendes[i]));
    bouton->setObjectName(noms[i]);
    choix.addButton(bouton, i);
    grille->addWidget(bouton, i, 0);
  }
  const Limites secteurs = ajoute_limites(grille, 1, "SctDeb", "SctFin", courant);
  const Limites octets = ajoute_limites(grille, 2, "ValDeb", "ValFin", {});
  auto *hexa = new QCheckBox(chaine_qt(kHexadecimal));
  hexa->setObjectName("Hexa");
  auto *imprime = new QCheckBox(chaine_qt(kImprime));
  imprime->setObjectName("Hexp");
  forme.corps()->addLayout(grille);
  forme.corps()->addWidget(hexa);
  forme.corps()->addWidget(imprime);
  forme.boutons(kExecuter, kFermer);
  forme.bouton_accepter()->setObjectName("Exe1");
  const auto suit = [&] {
    for (QLineEdit *champ : {secteurs.debut, secteurs.fin}) champ->setEnabled(choix.checkedId() == 1);
    for (QLineEdit *champ : {octets.debut, octets.fin}) champ->setEnabled(choix.checkedId() == 2);
    imprime->setEnabled(hexa->isChecked());
  };
  QObject::connect(&choix, &QButtonGroup::idToggled, &forme, suit);
  QObject::connect(hexa, &QCheckBox::toggled, &forme, suit);
  choix.button(0)->setChecked(true);
  suit();
  QObject::disconnect(forme.rangee(), &QDialogButtonBox::accepted, &forme, nullptr);
  QObject::connect(forme.rangee(), &QDialogButtonBox::accepted, &forme, [&] {
    const Limites &limites = choix.checkedId() == 2 ? octets : secteurs;
    execute(&forme, {static_cast<ChoixSegment>(choix.checkedId()), limites.debut->text(), limites.fin->text(),
                     hexa->isChecked(), hexa->isChecked() && imprime->isChecked()});
  });
  forme.exec();
}

}  // namespace varnion
