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
constexpr int kQuestionPerte = 7754;  // count, names
constexpr int kRefusPerte = 7755;     // count, names
constexpr std::size_t kPerdusNommes = 5;

// A name given up leaves the HFS view. Nobody is asked about a name that the view does not show. False when
// the old name will not come back.
bool convertit_rubrique(RubriqueProjet &rubrique, bool hfsplus, const Troncature &tronque) {
  const OriginesNom origines{lit_champ(rubrique.nom_source), lit_champ(rubrique.nom_iso)};
  const NomConverti nom = convertit_nom(rubrique.nom_hfs, hfsplus, kNomHfsMax, origines,
                                        rubrique.dans_hfs() ? tronque : troncature_automatique());
  rubrique.nom_hfs = nom.champ;
  if (nom.abandonne) {
    ecrit_champ_coupe(rubrique.nom_hfs, kNomAbandonne);
    rubrique.vue_hfs(kHorsVue);
  }
  return !nom.perdu;
}

bool convertit_label(EnteteProjet &entete, bool hfsplus) {
  const Troncature coupe = [](std::string_view nom, std::size_t limite) -> std::optional<std::string> {
    return std::string(nom.substr(0, limite));
  };
  const NomConverti label = convertit_nom(entete.label_hfs, hfsplus, kNomVolumeHfsMax, {}, coupe);
  entete.label_hfs = label.champ;
  return !label.perdu;
}

// True when nothing that was typed goes, or when it may. Names of HFS+ have a place in the other format, but
// for characters that Mac Roman lacks in a long name; all of classic HFS have one.
bool permet_perte(const FichierProjet &projet, bool hfsplus, bool force) {
  const NomsPerdus perdus = force || hfsplus ? NomsPerdus{} : noms_perdus(projet, hfsplus);
  if (perdus.nombre == 0) return true;
  std::string noms;
  for (const std::string &nom : perdus.premiers) noms += (noms.empty() ? "" : "\n") + nom;
  if (perdus.nombre > perdus.premiers.size()) noms += "\n...";
  if (!etat<OptionsProgramme>().mode_lot)
    return operations().demander_oui_non(message(kQuestionPerte, {perdus.nombre, noms})) == 1;
  operations().afficher_erreur(message(kRefusPerte, {perdus.nombre, noms}));
  return false;
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
    static_cast<void>(convertit_rubrique(rubrique, hfsplus, tronque));
    if (!tout.reecrit(projet, rubrique)) return echec_ecriture_projet(projet.chemin());
  }
  return true;
}

NomsPerdus noms_perdus(const FichierProjet &projet, bool hfsplus) {
  NomsPerdus perdus;
  const auto note = [&perdus, hfsplus](const auto &champ) {
    ++perdus.nombre;
    const std::string nom = lit_champ(champ);
    if (perdus.premiers.size() < kPerdusNommes) perdus.premiers.push_back(hfsplus ? nom_windows(nom) : nom);
  };
  EnteteProjet entete;
  if (projet.lit_entete(entete)) {
    const auto label = entete.label_hfs;
    if (!convertit_label(entete, hfsplus)) note(label);
  }
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *lue = tout.suivant()) {
    RubriqueProjet rubrique = *lue;
    if (lue->dans_hfs() && !convertit_rubrique(rubrique, hfsplus, troncature_automatique()))
      note(lue->nom_hfs);
  }
  return perdus;
}

bool change_format(FichierProjet &projet, bool hfsplus, const Troncature &tronque, bool force) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  if (entete.hfsplus() != hfsplus) {
    if (!permet_perte(projet, hfsplus, force)) return false;
    // The head last: after a failure among the names the change can be asked for again.
    if (!convertit_noms(projet, hfsplus, tronque)) return false;
    entete.hfsplus(hfsplus);
    static_cast<void>(convertit_label(entete, hfsplus));
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
