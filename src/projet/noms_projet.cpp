// Renaming, and the names of a project whose format changes.

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/noms_rubrique.hpp"
#include "projet/place.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::string_view kNomAbandonne = "~";
constexpr int kLegendeHfsplus = 1279;
constexpr int kLegendeHfs = 1282;

// The text that a new format makes the HFS name from. The rule takes every item alike: a name from inside a
// MacBinary head, one typed by hand and that of the volume icon are rebuilt too.
std::string origine_nom_hfs(const RubriqueProjet &rubrique, bool hfsplus) {
  if (!hfsplus) return lit_champ(rubrique.nom_iso);
  const std::string source = lit_champ(rubrique.nom_source);
  return source.empty() ? nom_windows(lit_champ(rubrique.nom_hfs)) : source;
}

void reconstruit_nom_hfs(RubriqueProjet &rubrique, bool hfsplus, const Troncature &tronque) {
  const std::size_t limite = hfsplus ? kNomHfsplusMax : kNomHfsMax;
  std::string nom = origine_nom_hfs(rubrique, hfsplus);
  if (nom.size() > limite) {
    // Nobody is asked about a name that the HFS view does not show.
    auto court = rubrique.dans_hfs() ? tronque(nom, limite) : coupe_nom(nom, limite);
    if (!court || court->empty()) {
      court = kNomAbandonne;
      rubrique.vue_hfs(kHorsVue);
    }
    nom = *court;
  }
  ecrit_champ_coupe(rubrique.nom_hfs, hfsplus ? nom : nom_mac(nom), limite);
}

void convertit_label(EnteteProjet &entete, bool hfsplus) {
  const std::string label = lit_champ(entete.label_hfs);
  if (hfsplus)
    ecrit_champ_coupe(entete.label_hfs, nom_windows(label));
  else
    ecrit_champ_coupe(entete.label_hfs, nom_mac(label), kNomVolumeHfsMax);
}

}  // namespace

bool renommage_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique) {
  RubriqueProjet ancienne;
  const auto rang = projet.cherche_par_numero(rubrique.pere, rubrique.numero, ancienne);
  if (!rang) return false;
  const std::uint64_t place = place_insertion(projet, rubrique, *rang);
  projet.estimation_retire(ancienne);
  projet.estimation_ajoute(rubrique);
  if (place == *rang || place == *rang + 1)
    return projet.ecrit(*rang, rubrique) || echec_ecriture_projet(projet.chemin());
  // The new record goes in before the old one leaves: a failure between the two loses nothing.
  const std::uint64_t ancien_rang = place <= *rang ? *rang + 1 : *rang;
  return (projet.insere(place, {&rubrique, 1}) && projet.ferme_trou(ancien_rang, 1)) ||
         echec_ecriture_projet(projet.chemin());
}

void pose_nom_iso(RubriqueProjet &rubrique, std::string_view texte) {
  ecrit_champ_coupe(rubrique.nom_iso, texte, kNomIsoMax);
  if (rubrique.nom_hors_page()) rubrique.nom_iso_saisi(true);
}

void pose_nom_hfs(RubriqueProjet &rubrique, std::string_view texte, bool hfsplus) {
  if (hfsplus)
    ecrit_champ_coupe(rubrique.nom_hfs, texte, kNomHfsplusMax);
  else
    ecrit_champ_coupe(rubrique.nom_hfs, nom_mac(texte), kNomHfsMax);
  if (rubrique.nom_hors_page()) rubrique.nom_hfs_final(true);
}

int renomme_element(FichierProjet &projet, std::uint32_t numero, std::uint32_t pere, std::string_view texte,
                    int vue) {
  RubriqueProjet rubrique;
  if (texte.empty() || !projet.cherche_par_numero(pere, numero, rubrique)) return -1;
  if (nom_dans_vue(rubrique, vue, projet.hfsplus()) == texte) return 0;
  if (vue != kVueHfs && texte.size() > kNomIsoMax) {
    operations().afficher_erreur(message(6104, {texte, kNomIsoMax}));
    return -1;
  }
  if (vue != kVueHfs) pose_nom_iso(rubrique, texte);
  if (vue != kVueIso) pose_nom_hfs(rubrique, texte, projet.hfsplus());
  return renommage_rubrique(projet, rubrique) ? 1 : -1;
}

Troncature troncature_automatique() {
  return [](std::string_view nom, std::size_t limite) -> std::optional<std::string> {
    return coupe_nom(nom, limite);
  };
}

Troncature troncature_selon_reglages(bool hfsplus) {
  return [hfsplus](std::string_view nom, std::size_t limite) -> std::optional<std::string> {
    const OptionsProgramme &options = etat<OptionsProgramme>();
    const TroncatureNoms &retenues = troncature_noms();
    const bool retenue = hfsplus ? retenues.hfsplus : retenues.hfs;
    if (retenue || options.mode_lot || (options.vn_options & kVnOptionTronque) != 0)
      return coupe_nom(nom, limite);
    std::string saisi(nom);
    const std::string legende = charger_chaine(hfsplus ? kLegendeHfsplus : kLegendeHfs);
    if (!operations().demander_nom(legende, saisi, limite)) return std::nullopt;
    return coupe_nom(saisi.empty() ? nom : std::string_view(saisi), limite);
  };
}

bool convertit_noms(FichierProjet &projet, bool hfsplus, const Troncature &tronque) {
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    RubriqueProjet rubrique = *lue;
    reconstruit_nom_hfs(rubrique, hfsplus, tronque);
    if (!tout.reecrit(projet, rubrique)) return echec_ecriture_projet(projet.chemin());
  }
  return true;
}

bool change_format(FichierProjet &projet, bool hfsplus, const Troncature &tronque) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  if (entete.hfsplus() != hfsplus) {
    // The head last: after a failure among the names the change can be asked for again.
    if (!convertit_noms(projet, hfsplus, tronque)) return false;
    entete.hfsplus(hfsplus);
    convertit_label(entete, hfsplus);
    if (!projet.ecrit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  }
  projet.hfsplus(hfsplus);
  return true;
}

bool permet_hfs_classique(std::uint64_t items_hfs) {
  if (items_hfs <= kItemsHfsMax) return true;
  operations().afficher_erreur(charger_chaine(1472));
  return false;
}

}  // namespace varnion
