#include "app/qt/tcheminacces.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include <QAbstractButton>
#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/noyau/actions_outils.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travail_forme.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/operations.hpp"
#include "projet/changement_chemin.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1145;
constexpr int kAncien = 1146;
constexpr int kNouveau = 1147;
constexpr int kChoisir = 1148;
constexpr int kPrecedent = 1149;
constexpr int kSuivant = 1150;
constexpr int kGarder = 1151;
constexpr int kParcourir = 1060;
constexpr int kChanges = 1408;
constexpr int kLettresChemin = 56;

class TCheminAcces final : public Forme {
 public:
  explicit TCheminAcces(TVarnion &fenetre)
      : Forme(&fenetre, "TCheminAcces", kTitre, sujet::kCheminAcces),
        fenetre_(fenetre),
        ancien_(new QLineEdit),
        nouveau_(new QLineEdit),
        garder_(new QCheckBox(chaine_qt(kGarder))) {
    ancien_->setObjectName("AncienChemin");
    nouveau_->setObjectName("NouveauChemin");
    garder_->setObjectName("Garder");
    ancien_->setMinimumWidth(fontMetrics().averageCharWidth() * kLettresChemin);
    auto *champs = new QFormLayout;
    champs->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    champs->addRow(chaine_qt(kAncien), ancien_);
    champs->addRow(QString(), range_boutons());
    auto *ligne = new QHBoxLayout;
    auto *parcourir = pousse(kParcourir, "Parcourir");
    ligne->addWidget(nouveau_, 1);
    ligne->addWidget(parcourir);
    champs->addRow(chaine_qt(kNouveau), ligne);
    qobject_cast<QLabel *>(champs->labelForField(ligne))->setBuddy(nouveau_);
    corps()->addLayout(champs);
    corps()->addWidget(garder_);
    boutons();
    connect(precedent_, &QAbstractButton::clicked, this, [this] { montre(rang_ - 1); });
    connect(suivant_, &QAbstractButton::clicked, this, [this] { montre(rang_ + 1); });
    connect(parcourir, &QAbstractButton::clicked, this, [this] { parcourt(); });
    for (QLineEdit *champ : {ancien_, nouveau_})
      connect(champ, &QLineEdit::textChanged, this, [this] { rafraichit(); });
    chemins_ = chemins_distincts(*fenetre_.projet());
    montre(0);
  }

  [[nodiscard]] bool remplace() const { return remplace_; }

  /// Replaces; with the box checked the form stays for the next path.
  void accept() override {
    const auto nouveau = chemin_argument(nouveau_->text().toStdString());
    if (!nouveau) return;
    FichierProjet &projet = *fenetre_.projet();
    const std::string ancien = de_qt(ancien_->text());
    std::optional<std::uint64_t> changes;
    travaille(fenetre_, *this, [&] { changes = changement_chemin(projet, ancien, *nouveau); });
    if (!changes) return;
    remplace_ = true;
    operations().afficher_avis(message(kChanges, {*changes}));
    if (!garder_->isChecked()) return Forme::accept();
    chemins_ = chemins_distincts(projet);
    nouveau_->clear();
    montre(rang_);
  }

 private:
  QPushButton *pousse(int legende, const char *nom) {
    auto *bouton = new QPushButton(chaine_qt(legende));
    bouton->setObjectName(nom);
    bouton->setAutoDefault(false);
    return bouton;
  }
  QHBoxLayout *range_boutons() {
    precedent_ = pousse(kPrecedent, "Precedent");
    suivant_ = pousse(kSuivant, "Suivant");
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(precedent_);
    ligne->addWidget(suivant_);
    ligne->addStretch(1);
    return ligne;
  }
  void montre(int rang) {
    rang_ = std::max(0, std::min(rang, static_cast<int>(chemins_.size()) - 1));
    if (!chemins_.empty()) ancien_->setText(vers_qt(chemins_[static_cast<std::size_t>(rang_)]));
    rafraichit();
  }
  void rafraichit() {
    precedent_->setEnabled(rang_ > 0);
    suivant_->setEnabled(rang_ + 1 < static_cast<int>(chemins_.size()));
    bouton_accepter()->setEnabled(!ancien_->text().isEmpty() && !nouveau_->text().isEmpty());
  }
  void parcourt() {
    const QString depart = nouveau_->text().isEmpty() ? ancien_->text() : nouveau_->text();
    QString choisi = fenetre_.demandes.dossier(kChoisir, depart);
    if (choisi.isEmpty()) return;
    if (!choisi.endsWith('/')) choisi += '/';
    nouveau_->setText(choisi);
  }

  TVarnion &fenetre_;
  QLineEdit *ancien_, *nouveau_;
  QCheckBox *garder_;
  QPushButton *precedent_ = nullptr, *suivant_ = nullptr;
  std::vector<std::string> chemins_;
  int rang_ = 0;
  bool remplace_ = false;
};

}  // namespace

bool montre_chemin_acces(TVarnion &fenetre) {
  TCheminAcces forme(fenetre);
  static_cast<void>(forme.exec());
  return forme.remplace();
}

}  // namespace varnion
