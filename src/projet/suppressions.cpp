#include <algorithm>
#include <unordered_set>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

// The folders of a subtree, its top included, and the rank where the first of their runs begins. The root is
// never part of one, whatever a damaged record says.
struct SousArbre {
  std::unordered_set<std::uint32_t> dossiers;
  std::uint64_t premier_rang = UINT64_MAX;
};

SousArbre releve_sous_arbre(const FichierProjet &projet, std::uint32_t sommet) {
  SousArbre arbre;
  std::vector<std::uint32_t> a_faire{sommet};
  arbre.dossiers.insert(sommet);
  while (!a_faire.empty()) {
    const std::uint32_t courant = a_faire.back();
    a_faire.pop_back();
    LecteurEnfants enfants(projet, courant);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      arbre.premier_rang = std::min(arbre.premier_rang, enfants.rang());
      if (!enfant->est_dossier()) continue;
      const bool nouveau = enfant->numero != kRacine && arbre.dossiers.insert(enfant->numero).second;
      if (nouveau)
        a_faire.push_back(enfant->numero);
      else
        note_arbre_abime(projet.chemin(), enfant->numero);
    }
  }
  return arbre;
}

// Removes the children of all folders of a subtree, and the record at `rang_sommet` when it is not 0.
bool retire_sous_arbre(FichierProjet &projet, std::uint32_t sommet, std::uint64_t rang_sommet) {
  const SousArbre arbre = releve_sous_arbre(projet, sommet);
  const std::uint64_t depart =
      rang_sommet == 0 ? arbre.premier_rang : std::min(arbre.premier_rang, rang_sommet);
  if (depart == UINT64_MAX) return true;
  const auto condamnee = [&](std::uint64_t rang, const RubriqueProjet &rubrique) {
    return rang == rang_sommet || arbre.dossiers.contains(rubrique.pere);
  };
  return projet.retire_si(depart, condamnee).has_value() || echec_ecriture_projet(projet.chemin());
}

}  // namespace

ReponsesProjet &reponses_projet() {
  return etat<ReponsesProjet>();
}

bool confirme_suppression(const FichierProjet &projet, const RubriqueProjet &dossier) {
  if (std::uint64_t{dossier.lg_data} + dossier.lg_rsrc == 0) return true;
  if ((etat<OptionsProgramme>().options & kOptionSansConfirmation) != 0) return true;
  int &reponse = reponses_projet().dossier_plein;
  if (reponse != 0) return reponse > 0;
  const std::string nom = nom_dans_vue(dossier, projet.vue_courante(), projet.hfsplus());
  const int dite = operations().demander_tous(message(1163, {nom}));
  if (dite == -1 || dite == 2) reponse = dite;
  return dite > 0;
}

Suppression suppression_rubrique(FichierProjet &projet, std::uint32_t numero, std::uint32_t pere) {
  RubriqueProjet rubrique;
  const auto rang = projet.cherche_par_numero(pere, numero, rubrique);
  if (!rang) return Suppression::introuvable;
  // Lowered before the question: after a refusal the estimate stays too low until the next count.
  projet.estimation_retire(rubrique);
  if (!rubrique.est_dossier()) {
    if (projet.ferme_trou(*rang, 1)) return Suppression::fichier;
    echec_ecriture_projet(projet.chemin());
    return Suppression::echec;
  }
  if (!confirme_suppression(projet, rubrique)) return Suppression::refusee;
  return retire_sous_arbre(projet, numero, *rang) ? Suppression::dossier : Suppression::echec;
}

Suppression suppression_element(FichierProjet &projet, std::uint32_t numero, std::uint32_t pere) {
  const Suppression resultat = suppression_rubrique(projet, numero, pere);
  const bool dossier = resultat == Suppression::dossier;
  if (!dossier && resultat != Suppression::fichier) return resultat;
  RubriqueProjet parent;
  if (!projet.cherche_numero(pere, parent)) return resultat;
  if (projet.ajoute_comptes(pere, dossier ? -1 : 0, dossier ? 0 : -1)) return resultat;
  echec_ecriture_projet(projet.chemin());
  return Suppression::echec;
}

bool suppression_sous_arbre(FichierProjet &projet, std::uint32_t numero) {
  return retire_sous_arbre(projet, numero, 0);
}

}  // namespace varnion
