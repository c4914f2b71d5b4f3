#include "app/qt/tdestsel.hpp"

#include <cerrno>

#include <QAbstractButton>
#include <QDir>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "fichiers/mode_copie.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1129;
constexpr int kCopier = 1139;
constexpr int kAnnuler = 1002;
constexpr int kParcourir = 1060;
constexpr int kDossier = 7122;
constexpr int kMode = 7123;
constexpr int kElements = 7124;
constexpr int kCibleFermee = 6872;
constexpr int kTitreDossiers = 7013;
constexpr std::size_t kCheminMessage = 50;
constexpr int kLargeurChamp = 48;  // characters

// The text of the menu for the copy mode in force.
QString texte_mode() {
  switch (mode_copie() & kMasqueModeCopie) {
    case kCopieRessource:
      return chaine_qt(2111);
    case kCopieMacBinaire:
      return chaine_qt(2112);
    case kCopieAppleDouble:
      return chaine_qt(2113);
    case kCopieAppleSingle:
      return chaine_qt(2114);
    default:
      return chaine_qt(2110);
  }
}

QString depart() {
  const std::string &dernier = etat<CibleCopie>().chemin;
  if (!dernier.empty()) return vers_qt(dernier);
  if (!reglages().reper.empty()) return vers_qt(reglages().reper);
  return QDir::currentPath();
}

class TDestSel final : public Forme {
 public:
  TDestSel(TVarnion &fenetre, std::size_t elements);
  void accept() override;

  std::optional<CibleChoisie> cible;

 private:
  QLineEdit *chemin_;
};

TDestSel::TDestSel(TVarnion &fenetre, std::size_t elements)
    : Forme(&fenetre, "TDestSel", kTitre, sujet::kCopieVersPc), chemin_(new QLineEdit(depart())) {
  chemin_->setObjectName("Chemin");
  chemin_->setMinimumWidth(chemin_->fontMetrics().averageCharWidth() * kLargeurChamp);
  auto *parcourir = new QPushButton(chaine_qt(kParcourir));
  parcourir->setObjectName("Browse");
  parcourir->setAutoDefault(false);
  connect(parcourir, &QPushButton::clicked, this, [this, &fenetre] {
    const QString choisi = fenetre.demandes.dossier(kTitreDossiers, chemin_->text());
    if (!choisi.isEmpty()) chemin_->setText(choisi);
  });
  auto *rangee = new QHBoxLayout;
  rangee->addWidget(chemin_, 1);
  rangee->addWidget(parcourir);
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  auto *etiquette = new QLabel(chaine_qt(kDossier));
  etiquette->setBuddy(chemin_);
  champs->addRow(etiquette, rangee);
  champs->addRow(chaine_qt(kMode), texte_fixe(texte_mode().remove('&'), "Mode"));
  champs->addRow(chaine_qt(kElements), texte_fixe(QString::number(elements), "Elements"));
  corps()->addLayout(champs);
  boutons(kCopier, kAnnuler);
  bouton_accepter()->setObjectName("CopNow");
  connect(chemin_, &QLineEdit::textChanged, this,
          [this](const QString &texte) { bouton_accepter()->setEnabled(!texte.trimmed().isEmpty()); });
  chemin_->selectAll();
  chemin_->setFocus();
}

void TDestSel::accept() {
  const auto voulu = chemin_argument(chemin_->text().trimmed().toStdString());
  if (!voulu) return;
  auto dossier = DossierSortie::ouvre(*voulu);
  if (!dossier) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(message(kCibleFermee, {tronque_chemin(*voulu, kCheminMessage), raison}));
    chemin_->setFocus();
    return;
  }
  cible = CibleChoisie{*voulu + (voulu->ends_with('/') ? "" : "/"), std::move(*dossier)};
  Forme::accept();
}

}  // namespace

std::optional<CibleChoisie> choisit_cible(TVarnion &fenetre, std::size_t elements) {
  TDestSel forme(fenetre, elements);
  if (forme.exec() != QDialog::Accepted || !forme.cible) return std::nullopt;
  etat<CibleCopie>().chemin = forme.cible->chemin;
  reglages().reper = forme.cible->chemin;
  static_cast<void>(enregistre_reglage("Reper"));
  return std::move(forme.cible);
}

}  // namespace varnion
