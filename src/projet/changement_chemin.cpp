#include "projet/changement_chemin.hpp"

#include <algorithm>

#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "projet/instantane.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kMessageTropLong = 6105;
constexpr std::size_t kCheminMessage = 200;

bool est_barre(char c) {
  return c == '/' || c == '\\';
}

std::string avec_barre(std::string_view texte, char barre) {
  std::string resultat(texte);
  if (resultat.empty() || !est_barre(resultat.back())) resultat += barre;
  return resultat;
}

// The form in which paths are compared.
std::string uni(std::string texte) {
  std::replace(texte.begin(), texte.end(), '\\', '/');
  return texte;
}

class Changement {
 public:
  Changement(std::string_view ancien, std::string_view nouveau)
      : barre_(nouveau.find('\\') != std::string_view::npos && nouveau.find('/') == std::string_view::npos
                   ? '\\'
                   : '/'),
        ancien_(uni(avec_barre(ancien, barre_))),
        nouveau_(avec_barre(nouveau, barre_)) {}

  /// True when the item's path is another now. `tient` becomes false when it does not fit.
  bool change(RubriqueProjet &rubrique, bool &tient) const {
    const std::string chemin = lit_champ(rubrique.chemin);
    if (chemin == kCheminVirtuel) return false;
    const std::string compare = uni(chemin);
    if (compare.starts_with(ancien_)) {
      std::string reste = chemin.substr(ancien_.size());
      std::replace_if(reste.begin(), reste.end(), est_barre, barre_);
      tient = ecrit_champ(rubrique.chemin, nouveau_ + reste) && tient;
      return true;
    }
    if (!rubrique.est_dossier() || compare.find(ancien_) != std::string::npos) return false;
    if (compare + uni(lit_champ(rubrique.nom_source)) + "/" != ancien_) return false;
    const std::string_view sans_barre = std::string_view(nouveau_).substr(0, nouveau_.size() - 1);
    const std::size_t coupe = sans_barre.find_last_of("/\\");
    if (coupe == std::string_view::npos || coupe + 1 == sans_barre.size()) return false;
    tient = ecrit_champ(rubrique.chemin, sans_barre.substr(0, coupe + 1)) &&
            ecrit_champ(rubrique.nom_source, sans_barre.substr(coupe + 1)) && tient;
    return true;
  }

 private:
  char barre_;
  std::string ancien_, nouveau_;
};

}  // namespace

std::optional<std::uint64_t> changement_chemin(FichierProjet &projet, std::string_view ancien,
                                               std::string_view nouveau) {
  if (ancien.empty() || nouveau.empty()) return 0;
  const Changement changement(ancien, nouveau);
  InstantaneProjet instantane(projet);
  if (!instantane.prend()) return std::nullopt;
  std::uint64_t changees = 0;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    RubriqueProjet rubrique = *lue;
    bool tient = true;
    if (!changement.change(rubrique, tient)) continue;
    if (!tient) {
      const std::string chemin = tronque_chemin(chemin_source(*lue), kCheminMessage);
      operations().afficher_erreur(message(kMessageTropLong, {chemin}));
      return std::nullopt;
    }
    if (!tout.reecrit(projet, rubrique)) {
      echec_projet_inchange(projet);
      return std::nullopt;
    }
    ++changees;
  }
  instantane.confirme();
  return changees;
}

}  // namespace varnion
