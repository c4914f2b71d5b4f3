#include <unordered_set>

#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"

namespace varnion {

int vue_de_rubrique(const RubriqueProjet &dossier) {
  if (dossier.dans_iso() == dossier.dans_hfs()) return kVueRacine;
  return dossier.dans_iso() ? kVueIso : kVueHfs;
}

int vue_de_dossier(const FichierProjet &projet, std::uint32_t numero) {
  RubriqueProjet dossier;
  if (numero == kRacine || !projet.cherche_numero(numero, dossier)) return kVueRacine;
  return vue_de_rubrique(dossier);
}

void pose_vues(RubriqueProjet &rubrique, int vue, ModeProjet mode) {
  const bool iso = mode == ModeProjet::isop || vue != kVueHfs;
  const bool hfs = mode != ModeProjet::isop && vue != kVueIso;
  rubrique.vue_iso(iso ? kDansVue : kHorsVue);
  rubrique.vue_hfs(hfs ? kDansVue : kHorsVue);
}

bool propage_vues(FichierProjet &projet, std::uint32_t dossier, std::uint8_t vue_iso, std::uint8_t vue_hfs) {
  std::vector<std::uint32_t> a_faire{dossier};
  std::unordered_set<std::uint32_t> vus{dossier};
  while (!a_faire.empty()) {
    const std::uint32_t courant = a_faire.back();
    a_faire.pop_back();
    LecteurEnfants enfants(projet, courant);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      RubriqueProjet rubrique = *enfant;
      rubrique.vue_iso(vue_iso);
      rubrique.vue_hfs(vue_hfs);
      if (!enfants.reecrit(projet, rubrique)) return echec_ecriture_projet(projet.chemin());
      // Numbers grow on the way down, but for ".!Background", whose fixed number keeps its content as it is.
      const bool descend = rubrique.est_dossier() && rubrique.numero > courant;
      if (descend && vus.insert(rubrique.numero).second) a_faire.push_back(rubrique.numero);
    }
  }
  return true;
}

bool ouvre_vues_parents(FichierProjet &projet, std::uint32_t dossier, std::uint8_t vue_iso,
                        std::uint8_t vue_hfs) {
  std::unordered_set<std::uint32_t> vus;
  for (std::uint32_t numero = dossier; numero > kRacine;) {
    RubriqueProjet rubrique;
    const auto rang = projet.cherche_numero(numero, rubrique);
    if (!rang) return true;
    if (!vus.insert(numero).second) {
      note_arbre_abime(projet.chemin(), numero);
      return true;
    }
    if (rubrique.vue_iso() == kHorsVue) rubrique.vue_iso(vue_iso);
    if (rubrique.vue_hfs() == kHorsVue) rubrique.vue_hfs(vue_hfs);
    if (!projet.ecrit(*rang, rubrique)) return echec_ecriture_projet(projet.chemin());
    numero = rubrique.pere;
  }
  return true;
}

}  // namespace varnion
