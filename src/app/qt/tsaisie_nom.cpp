#include "app/qt/tsaisie_nom.hpp"

#include <QApplication>
#include <QFormLayout>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNomImpossible = 6546;
constexpr int kLettres = 44;  // of a name that are seen

class TSaisieNom final : public Forme {
 public:
  TSaisieNom(QWidget *parent, const DemandeNoms &demande)
      : Forme(parent, demande.forme, demande.titre, demande.sujet), demande_(demande) {
    QFormLayout *libre = nullptr;
    for (const ChampNom &champ : demande.champs) {
      if (champ.groupe == 0 && libre == nullptr) {
        libre = new QFormLayout;
        corps()->addLayout(libre);
      }
      QFormLayout *lignes = champ.groupe != 0 ? groupe_champs(corps(), champ.groupe) : libre;
      if (champ.legende_ancien != 0)
        lignes->addRow(chaine_qt(champ.legende_ancien), texte_fixe(champ.ancien, "AncienNom"));
      auto *saisie = new QLineEdit(champ.propose);
      saisie->setObjectName(champ.nom);
      saisie->setMaxLength(champ.limite);
      saisie->setPlaceholderText(champ.vide);
      saisie->setMinimumWidth(saisie->fontMetrics().averageCharWidth() * kLettres);
      saisie->selectAll();
      lignes->addRow(chaine_qt(champ.legende), saisie);
      saisies_.push_back(saisie);
    }
    corps()->addStretch(1);
    boutons();
    if (!saisies_.empty()) saisies_.front()->setFocus();
  }

  [[nodiscard]] const std::vector<std::string> &noms() const { return noms_; }

  void accept() override {
    noms_.clear();
    for (QLineEdit *saisie : saisies_) {
      noms_.push_back(de_qt(saisie->text()));
      if (saisie->text().isEmpty() && !demande_.vide_permis) {
        saisie->setFocus();
        QApplication::beep();
        return;
      }
      if (vers_qt(noms_.back()) == saisie->text()) continue;
      saisie->setFocus();
      operations().afficher_erreur(message(kNomImpossible, {noms_.back()}));
      return;
    }
    if (!demande_.accepte || demande_.accepte(noms_)) Forme::accept();
  }

 private:
  const DemandeNoms &demande_;
  std::vector<QLineEdit *> saisies_;
  std::vector<std::string> noms_;
};

}  // namespace

std::optional<std::vector<std::string>> saisit_noms(QWidget *parent, const DemandeNoms &demande) {
  TSaisieNom forme(parent, demande);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return forme.noms();
}

}  // namespace varnion
