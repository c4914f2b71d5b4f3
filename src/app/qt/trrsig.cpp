#include "app/qt/trrsig.hpp"

#include <QAbstractButton>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1389;
constexpr int kCreateur = 1210;
constexpr int kType = 1211;
constexpr int kAncienne = 1255;
constexpr int kNouvelle = 1256;
constexpr int kRemplacer = 1420;
constexpr int kAnnuler = 1002;
constexpr int kCode = 4;  // characters

class TRRSig final : public Forme {
 public:
  explicit TRRSig(QWidget *parent) : Forme(parent, "TRRSig", kTitre, sujet::kRemplaceSignatures) {
    auto *ancienne = groupe_champs(corps(), kAncienne);
    ancien_createur_ = champ(ancienne, kCreateur, "AncienCreateur");
    ancien_type_ = champ(ancienne, kType, "AncienType");
    auto *nouvelle = groupe_champs(corps(), kNouvelle);
    nouveau_createur_ = champ(nouvelle, kCreateur, "NouveauCreateur");
    nouveau_type_ = champ(nouvelle, kType, "NouveauType");
    boutons(kRemplacer, kAnnuler);
    bouton_accepter()->setObjectName("Lancer");
    for (QLineEdit *saisi : {ancien_createur_, ancien_type_, nouveau_createur_, nouveau_type_})
      connect(saisi, &QLineEdit::textChanged, this, [this] { rafraichit(); });
    rafraichit();
  }

  [[nodiscard]] DemandeSignatures demande() const {
    return demande_signatures(de_qt(ancien_type_->text()), de_qt(ancien_createur_->text()),
                              de_qt(nouveau_type_->text()), de_qt(nouveau_createur_->text()));
  }

 private:
  QLineEdit *champ(QFormLayout *champs, int legende, const char *nom) {
    auto *saisi = new QLineEdit;
    saisi->setObjectName(nom);
    saisi->setMaxLength(kCode);
    champs->addRow(chaine_qt(legende), saisi);
    return saisi;
  }
  // A signature of which nothing was typed is none.
  void rafraichit() {
    const bool ancienne = !ancien_createur_->text().isEmpty() || !ancien_type_->text().isEmpty();
    const bool nouvelle = !nouveau_createur_->text().isEmpty() || !nouveau_type_->text().isEmpty();
    bouton_accepter()->setEnabled(ancienne && nouvelle);
  }

  QLineEdit *ancien_createur_, *ancien_type_, *nouveau_createur_, *nouveau_type_;
};

}  // namespace

std::optional<DemandeSignatures> montre_remplacement(QWidget *parent) {
  TRRSig forme(parent);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.demande();
}

}  // namespace varnion
