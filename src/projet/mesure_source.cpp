#include "projet/mesure_source.hpp"

#include <limits>

namespace varnion {

namespace {

bool autre_genre(const RubriqueProjet &a, const RubriqueProjet &b) {
  return a.codage() != b.codage() || a.est_applesingle() != b.est_applesingle() ||
         a.est_appledouble() != b.est_appledouble() || a.est_code_mac() != b.est_code_mac();
}

}  // namespace

RubriqueProjet mesure_source(const Fichier &fichier, const SourceInclusion &source) {
  RubriqueProjet neuve;
  neuve.lg_source =
      static_cast<std::uint32_t>(source.entree.taille & std::numeric_limits<std::uint32_t>::max());
  reconnait_fichier(neuve, fichier, source);
  return neuve;
}

std::optional<RubriqueProjet> mesure_source(const RubriqueProjet &rubrique, bool hfsplus) {
  const std::string chemin = chemin_source(rubrique);
  const auto entree = plateforme::cherche_fichier(chemin);
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!entree || entree->est_dossier() || !fichier.ouvert()) return std::nullopt;
  return mesure_source(fichier, {*entree, chemin, lit_champ(rubrique.nom_source), true, hfsplus});
}

bool autre_mesure(const RubriqueProjet &a, const RubriqueProjet &b) {
  return autre_genre(a, b) || a.lg_data != b.lg_data || a.lg_rsrc != b.lg_rsrc;
}

void reprend_mesure(RubriqueProjet &rubrique, const RubriqueProjet &neuve) {
  if (autre_genre(rubrique, neuve)) {
    if (neuve.signature != RubriqueProjet{}.signature) rubrique.signature = neuve.signature;
    rubrique.icone_perso(neuve.icone_perso());
    rubrique.extension_cachee(neuve.extension_cachee());
  }
  rubrique.codage(neuve.codage());
  rubrique.est_applesingle(neuve.est_applesingle());
  rubrique.est_appledouble(neuve.est_appledouble());
  rubrique.est_macbinaire(neuve.est_macbinaire());
  rubrique.est_binhex(neuve.est_binhex());
  rubrique.lg_source = neuve.lg_source;
  rubrique.lg_data = neuve.lg_data;
  rubrique.lg_rsrc = neuve.lg_rsrc;
}

}  // namespace varnion
