#include "app/noyau/actions_proprietes.hpp"

#include <unordered_set>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/erreurs.hpp"
#include "projet/instantane.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kVueIsoTexte = 6305;
constexpr int kVueHfsTexte = 6306;
constexpr int kNomTropLong = 6544;
constexpr int kNomPris = 6545;
constexpr int kNomImpossible = 6546;
constexpr std::size_t kCode = 4;

// An item that was never in the HFS view carries its source's name there as it stands: before it enters the
// view the name takes the form that the format wants.
void prepare_nom_hfs(RubriqueProjet &r, bool hfsplus) {
  const std::string source = lit_champ(r.nom_source);
  if (r.dans_hfs() || lit_champ(r.nom_hfs) != source.substr(0, sizeof(r.nom_hfs) - 1)) return;
  const bool final = r.nom_hfs_final();
  pose_nom_hfs(r, coupe_nom(source, hfsplus ? kNomHfsplusMax : kNomHfsMax), hfsplus);
  r.nom_hfs_final(final);
}

void retire_codage(RubriqueProjet &r) {
  r.est_macbinaire(false);
  r.est_binhex(false);
  r.codage(Codage::aucun);
  r.lg_data = r.lg_source;
  r.lg_rsrc = 0;
  const TableSignatures &table = table_signatures();
  const std::string_view generique = table.chargee ? table.lignes[0].texte_signature() : kSignatureGenerique;
  r.signature.fill(' ');
  generique.copy(r.signature.data(), r.signature.size());
}

std::uint8_t membre(std::uint8_t champ) {
  return champ != kHorsVue ? kDansVue : kHorsVue;
}

bool nom_tient(const std::string &nom, std::size_t limite, int vue) {
  if (nom.size() <= limite) return true;
  operations().afficher_erreur(message(kNomTropLong, {nom, limite, charger_chaine(vue)}));
  return false;
}

}  // namespace

std::string code_mac(std::string_view texte) {
  return {demande_signatures({}, {}, texte, {}).nouvelle.data(), kCode};
}

bool rafraichissable(const RubriqueProjet &rubrique) {
  return rubrique.est_dossier() && !rubrique.est_virtuel() && !lit_champ(rubrique.chemin).empty();
}

void applique_changements(RubriqueProjet &r, const ChangementsRubrique &c) {
  if (!r.est_dossier()) {
    if (c.decodage && r.est_code_mac()) retire_codage(r);
    if (c.type) c.type->copy(r.signature.data(), kCode);
    if (c.createur) c.createur->copy(r.signature.data() + kCode, kCode);
  }
  if (c.cache_iso) r.cache_iso(*c.cache_iso ? 1 : 0);
  if (c.cache_hfs) r.cache_hfs(*c.cache_hfs ? 1 : 0);
  if (c.extension_cachee) r.extension_cachee(*c.extension_cachee);
  if (c.icone) r.icone_perso(*c.icone);
  if (c.rafraichir && rafraichissable(r)) r.rafraichir(*c.rafraichir);
  if (c.manquant) {
    const std::uint8_t marque = *c.manquant ? kManquant : kDansVue;
    if (r.dans_iso()) r.vue_iso(marque);
    if (r.dans_hfs()) r.vue_hfs(marque);
  }
}

bool pour_sous_arbre(FichierProjet &projet, std::uint32_t dossier,
                     const std::function<void(RubriqueProjet &)> &change) {
  std::vector<std::uint32_t> a_faire{dossier};
  std::unordered_set<std::uint32_t> vus{dossier};
  while (!a_faire.empty()) {
    const std::uint32_t courant = a_faire.back();
    a_faire.pop_back();
    LecteurEnfants enfants(projet, courant);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      RubriqueProjet rubrique = *enfant;
      change(rubrique);
      if (!enfants.reecrit(projet, rubrique)) return echec_ecriture_projet(projet.chemin());
      if (rubrique.est_dossier() && vus.insert(rubrique.numero).second) a_faire.push_back(rubrique.numero);
    }
  }
  return true;
}

bool change_vues(FichierProjet &projet, std::uint64_t rang, RubriqueProjet r, const ChangementsRubrique &c) {
  const auto valeur = [&c](std::optional<bool> voulu, std::uint8_t actuel) -> std::uint8_t {
    if (!voulu) return actuel;
    if (!*voulu) return kHorsVue;
    if (actuel != kHorsVue) return actuel;  // a missing source stays marked
    return c.manquant.value_or(c.entree_manquante) ? kManquant : kDansVue;
  };
  const auto prepare = [&](RubriqueProjet &une) {
    if (c.dans_hfs.value_or(false)) prepare_nom_hfs(une, projet.hfsplus());
  };
  std::uint8_t iso = c.dans_iso.value_or(false) ? kDansVue : kHorsVue;
  std::uint8_t hfs = c.dans_hfs.value_or(false) ? kDansVue : kHorsVue;
  if (rang != 0) {
    prepare(r);
    r.vue_iso(valeur(c.dans_iso, r.vue_iso()));
    r.vue_hfs(valeur(c.dans_hfs, r.vue_hfs()));
    if (!projet.ecrit(rang, r)) return echec_ecriture_projet(projet.chemin());
    iso = membre(r.vue_iso());
    hfs = membre(r.vue_hfs());
  }
  if (r.est_dossier() &&
      (!pour_sous_arbre(projet, r.numero, prepare) || !propage_vues(projet, r.numero, iso, hfs)))
    return false;
  return rang == 0 || ouvre_vues_parents(projet, r.pere, iso, hfs);
}

bool change_rubrique(FichierProjet &projet, std::uint64_t rang, RubriqueProjet rubrique,
                     const ChangementsRubrique &changements) {
  applique_changements(rubrique, changements);
  if (!projet.ecrit(rang, rubrique)) return echec_ecriture_projet(projet.chemin());
  return !changements.vues() || change_vues(projet, rang, rubrique, changements);
}

// --- names

std::size_t limite_nom(const FichierProjet &projet, int vue) {
  if (vue != kVueHfs) return kNomIsoMax;
  return projet.hfsplus() ? kNomHfsplusMax : kNomHfsMax;
}

bool nom_libre(const FichierProjet &projet, const RubriqueProjet &rubrique, const std::string &nom, int vue) {
  const std::string cherche = plateforme::majuscules(nom);
  LecteurEnfants enfants(projet, rubrique.pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (enfant->numero == rubrique.numero || !enfant->dans_vue(vue)) continue;
    if (plateforme::majuscules(nom_dans_vue(*enfant, vue, projet.hfsplus())) != cherche) continue;
    operations().afficher_erreur(
        message(kNomPris, {nom, charger_chaine(vue == kVueHfs ? kVueHfsTexte : kVueIsoTexte)}));
    return false;
  }
  return true;
}

bool nom_accepte(const FichierProjet &projet, const RubriqueProjet &rubrique, const std::string &nom,
                 int vue) {
  if (nom.empty()) {
    operations().afficher_erreur(message(kNomImpossible, {nom}));
    return false;
  }
  if (vue != kVueHfs && (!nom_tient(nom, limite_nom(projet, kVueIso), kVueIsoTexte) ||
                         (rubrique.dans_iso() && !nom_libre(projet, rubrique, nom, kVueIso))))
    return false;
  return vue == kVueIso || (nom_tient(nom, limite_nom(projet, kVueHfs), kVueHfsTexte) &&
                            (!rubrique.dans_hfs() || nom_libre(projet, rubrique, nom, kVueHfs)));
}

// Both views: one at a time, for a name that one of them bears already would pass for no change in both.
bool renomme_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique, const std::string &nom,
                      int vue) {
  bool fait = true;
  for (const int une : {int{kVueIso}, int{kVueHfs}})
    if (vue == une || vue == kVueRacine)
      fait = renomme_element(projet, rubrique.numero, rubrique.pere, nom, une) >= 0 && fait;
  return fait;
}

// --- the project

bool passe_au_format(FichierProjet &projet, bool hfsplus, bool force) {
  std::uint64_t items = 0;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *r = tout.suivant())
    if (r->dans_hfs()) ++items;
  if (!hfsplus && !permet_hfs_classique(items)) return false;
  InstantaneProjet instantane(projet);
  const bool fait =
      instantane.prend() && change_format(projet, hfsplus, troncature_selon_reglages(hfsplus), force);
  if (fait)
    instantane.confirme();
  else
    instantane.restaure();
  return fait;
}

}  // namespace varnion
