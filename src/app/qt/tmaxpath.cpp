#include "app/qt/tmaxpath.hpp"

#include <cerrno>

#include <QAbstractButton>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1480;
constexpr int kLegendes = 1481;  // disk, folder, name, extension
constexpr int kParcourir = 1485;
constexpr int kValider = 1486;
constexpr int kLimite = 1487;
constexpr int kAnnuler = 1002;
constexpr int kCibleFermee = 6872;
constexpr int kLongueur = 7125;
constexpr std::size_t kCheminMessage = 50;
constexpr int kLargeurChamp = 60;  // characters

class TMaxPath final : public Forme {
 public:
  TMaxPath(QWidget *parent, const CheminPc &chemin, const DemandeDossier &parcourt);
  void accept() override;

  CheminPc choisi;

 private:
  QLineEdit *champ(QFormLayout &champs, int rang, const QString &texte, const char *nom, const char *legende);
  [[nodiscard]] QString dossier() const;
  [[nodiscard]] CheminPc saisi() const;
  void suit();

  CheminPc depart_;
  QLineEdit *disque_ = nullptr, *dossier_ = nullptr, *base_ = nullptr, *extension_ = nullptr;
  QLabel *longueur_;
};

TMaxPath::TMaxPath(QWidget *parent, const CheminPc &chemin, const DemandeDossier &parcourt)
    : Forme(parent, "TMaxPath", kTitre, sujet::kCheminLong), depart_(chemin), longueur_(new QLabel) {
  auto *limite = new QLabel(chaine_qt(kLimite));
  limite->setWordWrap(true);
  corps()->addWidget(limite);
  auto *champs = new QFormLayout;
  champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  corps()->addLayout(champs);
  // There is one tree of folders here: what stands for the disk is its root.
  disque_ = champ(*champs, 0, "/", "cont_disk", "text_disk");
  disque_->setReadOnly(true);
  dossier_ = champ(*champs, 1, QString::fromStdString(chemin.dossier).mid(1), "cont_path", "text_path");
  base_ = champ(*champs, 2, QString::fromStdString(chemin.base), "cont_fich", "text_fich");
  extension_ = champ(*champs, 3, QString::fromStdString(chemin.extension), "cont_ext", "text_ext");
  longueur_->setObjectName("Longueur");
  corps()->addWidget(longueur_);
  boutons(kValider, kAnnuler);
  bouton_accepter()->setObjectName("MPVal");
  connect(bouton(kParcourir, "MPBrowse"), &QAbstractButton::clicked, this, [this, parcourt] {
    QString autre = parcourt(dossier());
    if (autre.isEmpty()) return;
    if (!autre.endsWith('/')) autre += '/';
    dossier_->setText(autre.mid(1));
  });
  suit();
  base_->setFocus();
}

QLineEdit *TMaxPath::champ(QFormLayout &champs, int rang, const QString &texte, const char *nom,
                           const char *legende) {
  auto *champ = new QLineEdit(texte);
  champ->setObjectName(nom);
  champ->setMinimumWidth(champ->fontMetrics().averageCharWidth() * kLargeurChamp);
  auto *etiquette = new QLabel(chaine_qt(kLegendes + rang));
  etiquette->setObjectName(legende);
  etiquette->setBuddy(champ);
  champs.addRow(etiquette, champ);
  connect(champ, &QLineEdit::textChanged, this, [this] { suit(); });
  return champ;
}

QString TMaxPath::dossier() const {
  const QString texte = disque_->text() + dossier_->text();
  return texte.endsWith('/') ? texte : texte + '/';
}

CheminPc TMaxPath::saisi() const {
  return {dossier().toStdString(), base_->text().toStdString(), extension_->text().toStdString()};
}

void TMaxPath::suit() {
  if (bouton_accepter() == nullptr) return;
  const CheminPc chemin = saisi();
  const std::size_t longueur = caracteres(chemin.dossier + chemin.nom());
  longueur_->setText(vers_qt(message(kLongueur, {longueur})));
  const bool nom_tient = caracteres(chemin.base) + caracteres(chemin.extension) <= kNomPcMax;
  const bool nom_juste = !chemin.nom().empty() && chemin.nom().find('/') == std::string::npos;
  bouton_accepter()->setEnabled(longueur <= kCheminPcMax && nom_tient && nom_juste);
}

void TMaxPath::accept() {
  if (!bouton_accepter()->isEnabled()) return;
  choisi = saisi();
  if (choisi.dossier != depart_.dossier) {
    const auto autre = chemin_argument(choisi.dossier);
    if (!autre) return;
    if (!DossierSortie::ouvre(*autre)) {
      const std::string raison = plateforme::texte_erreur(errno);
      operations().afficher_erreur(message(kCibleFermee, {tronque_chemin(*autre, kCheminMessage), raison}));
      dossier_->setFocus();
      return;
    }
    choisi.autre = *autre;
  }
  Forme::accept();
}

}  // namespace

std::optional<CheminPc> raccourcit_chemin_pc(QWidget *parent, const CheminPc &chemin,
                                             const DemandeDossier &parcourt) {
  TMaxPath forme(parent, chemin, parcourt);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.choisi;
}

}  // namespace varnion
