#include "app/qt/tlocalise.hpp"

#include <QButtonGroup>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/noyau/actions_outils.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/recherche_disque.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travail_forme.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1412;
constexpr int kNom = 1413;
constexpr int kAncien = 1414;
constexpr int kMemeDisque = 1416;
constexpr int kTousDisques = 1417;
constexpr int kSurDisque = 1418;
constexpr int kLancer = 1419;
constexpr int kRemplacer = 1420;
constexpr int kResultats = 1421;
constexpr int kRien = 1422;
constexpr int kAnnuler = 1002;
constexpr int kParcourir = 1060;
constexpr int kDossier = 7213;
constexpr int kTrouvesMax = 500;
constexpr int kDisquesMontres = 3;
constexpr int kLargeur = 64;  // letters

class TLocalise final : public Forme {
 public:
  TLocalise(TVarnion &fenetre, QWidget &parent, const RubriqueProjet &rubrique)
      : Forme(&parent, "TLocalise", kTitre, sujet::kRafraichir),
        fenetre_(fenetre),
        dossier_(rubrique.est_dossier()),
        nom_(vers_qt(lit_champ(rubrique.nom_source))),
        ancien_(vers_qt(lit_champ(rubrique.chemin))),
        disques_(disques()) {
    auto *champs = new QFormLayout;
    champs->addRow(chaine_qt(kNom), texte_fixe(nom_, "Nom"));
    champs->addRow(chaine_qt(kAncien), texte_fixe(ancien_, "AncienChemin"));
    corps()->addLayout(champs);
    ajoute_portee();
    lancer_ = new QPushButton(chaine_qt(kLancer));
    lancer_->setObjectName("LanceLocalise");
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(lancer_);
    ligne->addStretch(1);
    corps()->addLayout(ligne);
    liste_ = new QListWidget;
    liste_->setObjectName("Resultats");
    liste_->setMinimumWidth(fontMetrics().averageCharWidth() * kLargeur);
    auto *legende = new QLabel(chaine_qt(kResultats));
    legende->setBuddy(liste_);
    corps()->addWidget(legende);
    corps()->addWidget(liste_, 1);
    boutons(kRemplacer, kAnnuler);
    bouton_accepter()->setEnabled(false);
    lancer_->setDefault(true);
    connect(lancer_, &QAbstractButton::clicked, this, [this] { cherche(); });
    connect(liste_, &QListWidget::currentRowChanged, this,
            [this](int rang) { bouton_accepter()->setEnabled(rang >= 0); });
    connect(liste_, &QListWidget::itemActivated, this, &QDialog::accept);
  }

  /// Folder where the item was found, UTF-8, closed by a separator.
  [[nodiscard]] QString choisi() const {
    const QString chemin = liste_->currentItem()->text();
    return chemin.left(chemin.lastIndexOf('/') + 1);
  }

 private:
  void ajoute_portee() {
    QString noms = disques_.mid(0, kDisquesMontres).join(", ");
    if (disques_.size() > kDisquesMontres) noms += ", ...";
    meme_ = radio(chaine_qt(kMemeDisque), "MemeDisque");
    tous_ = radio(vers_qt(message(kTousDisques, {de_qt(noms)})), "TousDisques");
    sur_ = radio(chaine_qt(kSurDisque), "SurDisque");
    meme_->setChecked(true);
    disque_ = new QComboBox;
    disque_->setObjectName("Disque");
    disque_->setAccessibleName(chaine_qt(kSurDisque));
    disque_->addItems(disques_);
    disque_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    auto *parcourir = new QPushButton(chaine_qt(kParcourir));
    parcourir->setObjectName("Parcourir");
    parcourir->setAutoDefault(false);
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(sur_);
    ligne->addWidget(disque_, 1);
    ligne->addWidget(parcourir);
    corps()->addWidget(meme_);
    corps()->addWidget(tous_);
    corps()->addLayout(ligne);
    connect(disque_, &QComboBox::activated, this, [this] { sur_->setChecked(true); });
    connect(parcourir, &QAbstractButton::clicked, this, [this] {
      const QString racine = fenetre_.demandes.dossier(kDossier, disque_->currentText());
      if (racine.isEmpty()) return;
      if (disque_->findText(racine) < 0) disque_->addItem(racine);
      disque_->setCurrentText(racine);
      sur_->setChecked(true);
    });
  }

  QRadioButton *radio(const QString &legende, const char *nom) {
    auto *bouton = new QRadioButton(legende);
    bouton->setObjectName(nom);
    portee_.addButton(bouton);
    return bouton;
  }

  void cherche() {
    QStringList racines{disque_->currentText()};
    if (meme_->isChecked()) racines = {disque_de(ancien_)};
    if (tous_->isChecked()) racines = disques_;
    QStringList trouves;
    travaille(fenetre_, *this, [&] { trouves = cherche_sur_disque(racines, nom_, dossier_, kTrouvesMax); });
    liste_->clear();
    liste_->addItems(trouves);
    if (trouves.isEmpty()) {
      operations().afficher_avis(charger_chaine(kRien));
      return;
    }
    liste_->setCurrentRow(0);
    liste_->setFocus();
    static_cast<QPushButton *>(bouton_accepter())->setDefault(true);
  }

  TVarnion &fenetre_;
  bool dossier_;
  QString nom_, ancien_;
  QStringList disques_;
  QButtonGroup portee_;
  QRadioButton *meme_ = nullptr, *tous_ = nullptr, *sur_ = nullptr;
  QComboBox *disque_ = nullptr;
  QPushButton *lancer_ = nullptr;
  QListWidget *liste_ = nullptr;
};

}  // namespace

bool localise_source(TVarnion &fenetre, QWidget &parent, std::uint32_t dossier, std::uint32_t numero) {
  FichierProjet &projet = *fenetre.projet();
  RubriqueProjet rubrique;
  if (!projet.cherche_par_numero(dossier, numero, rubrique)) return false;
  TLocalise forme(fenetre, parent, rubrique);
  if (forme.exec() != QDialog::Accepted) return false;
  const auto chemin = chemin_argument(forme.choisi().toStdString());
  if (!chemin) return false;
  bool change = false;
  travaille(fenetre, parent, [&] { change = deplace_source(projet, dossier, numero, *chemin); });
  return change;
}

}  // namespace varnion
