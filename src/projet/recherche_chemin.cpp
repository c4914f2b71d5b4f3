#include <algorithm>

#include "IO/plateforme.hpp"
#include "projet/arborescence.hpp"

namespace varnion {

std::optional<ElementTrouve> trouve_enfant(const FichierProjet &projet, std::uint32_t pere,
                                           std::string_view nom, int vue) {
  const std::string cherche = plateforme::majuscules(nom);
  std::optional<ElementTrouve> approche;
  LecteurEnfants enfants(projet, pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (!enfant->dans_vue(vue)) continue;
    const std::string lu = nom_dans_vue(*enfant, vue, projet.hfsplus());
    if (lu == nom) return ElementTrouve{enfants.rang(), *enfant};
    if (!approche && plateforme::majuscules(lu) == cherche) approche = ElementTrouve{enfants.rang(), *enfant};
  }
  return approche;
}

std::optional<ElementTrouve> trouve_chemin(const FichierProjet &projet, std::string_view chemin, int vue) {
  ElementTrouve courant;
  if (!projet.lit(0, courant.rubrique)) return std::nullopt;
  std::uint32_t dossier = kRacine;
  while (!chemin.empty()) {
    const std::size_t fin = std::min(chemin.find_first_of("/\\"), chemin.size());
    const std::string_view niveau = chemin.substr(0, fin);
    chemin.remove_prefix(std::min(fin + 1, chemin.size()));
    if (niveau.empty()) continue;
    if (dossier == 0) return std::nullopt;
    const auto enfant = trouve_enfant(projet, dossier, niveau, vue);
    if (!enfant) return std::nullopt;
    courant = *enfant;
    dossier = courant.rubrique.est_dossier() ? courant.rubrique.numero.operator unsigned() : 0;
  }
  return courant;
}

}  // namespace varnion
