#include "app/qt/tcolonnes.hpp"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1306;
constexpr int kDefaut = 1307;
constexpr int kArbre = 1308;
constexpr int kNom = 1003;  // caption of the first column, those of the others behind it
constexpr int kLargeurDe = 7196;
constexpr int kLargeurArbre = 7197;
constexpr int kColonne = 7205;
constexpr int kLargeur = 7206;
constexpr int kLargeurMax = 2000;

class TColonnes final : public Forme {
 public:
  TColonnes(QWidget *parent, const LargeursPanneaux &actuelles)
      : Forme(parent, "TColonnes", kTitre, sujet::kColonnes) {
    auto *grille = new QGridLayout;
    grille->setColumnStretch(0, 1);
    grille->addWidget(new QLabel(chaine_qt(kColonne)), 0, 0);
    grille->addWidget(new QLabel(chaine_qt(kLargeur)), 0, 1);
    for (int i = 0; i < static_cast<int>(lignes_.size()); ++i) {
      const int legende = kNom + i;
      Ligne &ligne = lignes_[static_cast<std::size_t>(i)];
      ligne = ajoute(grille, i + 1, chaine_qt(legende),
                     vers_qt(message(kLargeurDe, {charger_chaine(legende)})), QString::number(i));
    }
    arbre_ = ajoute(grille, static_cast<int>(lignes_.size()) + 1, chaine_qt(kArbre), chaine_qt(kLargeurArbre),
                    "Arbre");
    pose(actuelles);
    corps()->addLayout(grille);
    boutons();
    connect(bouton(kDefaut, "Defaut"), &QAbstractButton::clicked, this, [this] {
      const Reglages neufs;
      pose({neufs.colonnes, neufs.rect.arbre});
    });
  }

  [[nodiscard]] LargeursPanneaux largeurs(const LargeursPanneaux &anciennes) const {
    const Reglages neufs;
    LargeursPanneaux lues;
    for (std::size_t i = 0; i < lignes_.size(); ++i)
      lues.colonnes[i] = lignes_[i].largeur(anciennes.colonnes[i], neufs.colonnes[i]);
    // The tree without a width is hidden, whatever its box says.
    lues.arbre = arbre_.boite->isChecked() ? arbre_.champ->value() : 0;
    return lues;
  }

 private:
  struct Ligne {
    QCheckBox *boite = nullptr;
    QSpinBox *champ = nullptr;

    void pose(int largeur) const {
      boite->setChecked(largeur > 0);
      champ->setValue(largeur);
    }
    [[nodiscard]] int largeur(int ancienne, int defaut) const {
      if (!boite->isChecked()) return 0;
      if (champ->value() > 0) return champ->value();
      return ancienne > 0 ? ancienne : defaut;
    }
  };

  Ligne ajoute(QGridLayout *grille, int rang, const QString &legende, const QString &accessible,
               const QString &suffixe) {
    auto *boite = new QCheckBox(legende);
    boite->setObjectName("Voir" + suffixe);
    auto *champ = new QSpinBox;
    champ->setObjectName("Largeur" + suffixe);
    champ->setAccessibleName(accessible);
    champ->setRange(0, kLargeurMax);
    champ->setSingleStep(10);
    grille->addWidget(boite, rang, 0);
    grille->addWidget(champ, rang, 1);
    connect(boite, &QCheckBox::toggled, champ, &QWidget::setEnabled);
    champ->setEnabled(false);
    return {boite, champ};
  }

  void pose(const LargeursPanneaux &largeurs) const {
    for (std::size_t i = 0; i < lignes_.size(); ++i) lignes_[i].pose(largeurs.colonnes[i]);
    arbre_.pose(largeurs.arbre);
  }

  std::array<Ligne, 7> lignes_{};
  Ligne arbre_;
};

}  // namespace

std::optional<LargeursPanneaux> montre_colonnes(QWidget *parent, const LargeursPanneaux &actuelles) {
  TColonnes forme(parent, actuelles);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.largeurs(actuelles);
}

}  // namespace varnion
