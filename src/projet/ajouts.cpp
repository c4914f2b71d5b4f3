#include <algorithm>
#include <cerrno>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/place.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::size_t kCheminMessage = 50;

// The form in which names and paths are compared.
std::string plie(std::string_view texte) {
  return plateforme::majuscules(texte);
}

// ".!Background" has a fixed number, on which the Finder data of the disc rely, and the counter stays where
// it is. A second folder of that name, elsewhere in the tree, gets an ordinary number: with the fixed one it
// would share its children with the first.
std::uint32_t numero_virtuel(FichierProjet &projet, std::string_view nom) {
  if (nom != kNomDossierFond) return projet.prochain_dossier();
  RubriqueProjet autre;
  if (!projet.cherche_numero(kDossierFond, autre)) return kDossierFond;
  note_arbre_abime(projet.chemin(), kDossierFond);
  return projet.prochain_dossier();
}

// Common end of both additions: views, insertion, count of the parent, opening of the parents.
std::uint32_t pose_dossier(FichierProjet &projet, RubriqueProjet &rubrique) {
  if (rubrique.numero == 0) return 0;
  const int vue = projet.vue_courante();
  pose_vues(rubrique, vue, projet.mode());
  if (!insertion_rubrique(projet, rubrique)) return 0;
  const std::uint32_t pere = rubrique.pere;
  if (!projet.ajoute_comptes(pere, 1, 0) || !projet.ecriture_compteurs()) {
    echec_ecriture_projet(projet.chemin());
    return 0;
  }
  const bool differe = vue_de_dossier(projet, pere) != vue;
  if (differe && !ouvre_vues_parents(projet, pere, rubrique.vue_iso(), rubrique.vue_hfs())) return 0;
  return rubrique.numero;
}

void pose_noms_dossier(RubriqueProjet &rubrique, std::string_view nom, bool hfsplus) {
  ecrit_champ_coupe(rubrique.nom_source, nom);
  static_cast<void>(ecrit_champ(rubrique.nom_iso, coupe_nom(nom, kNomIsoMax)));
  pose_nom_hfs(rubrique, coupe_nom(nom, hfsplus ? kNomHfsplusMax : kNomHfsMax), hfsplus);
}

// Folder of a source as a record keeps it, closed by a separator; nullopt, after a message, when it does not
// fit.
std::optional<std::string> chemin_de_dossier(std::string_view dossier) {
  std::string chemin(dossier);
  if (chemin.back() != '/' && chemin.back() != '\\') chemin += '/';
  const auto utilisable = plateforme::chemin_utilisable(chemin, sizeof(RubriqueProjet::chemin) - 1);
  if (!utilisable || utilisable->size() + 1 >= sizeof(RubriqueProjet::chemin)) {
    operations().afficher_erreur(message(6105, {tronque_chemin(dossier, kCheminMessage)}));
    return std::nullopt;
  }
  const bool ferme = utilisable->ends_with('/') || utilisable->ends_with('\\');
  return ferme ? *utilisable : *utilisable + '/';
}

// Dates and short name of a folder on disk; those of now where it is not found.
void pose_source(RubriqueProjet &rubrique, const std::string &chemin) {
  const auto entree = plateforme::cherche_fichier(chemin);
  const std::int64_t maintenant = plateforme::maintenant();
  rubrique.date_creation = date_projet(entree ? entree->creation : maintenant);
  rubrique.date_modif = date_projet(entree ? entree->modification : maintenant);
  if (!entree) return;
  const std::string &court = entree->nom_court.empty() ? entree->nom_long : entree->nom_court;
  static_cast<void>(ecrit_champ_plein(rubrique.nom_court, court.substr(0, sizeof rubrique.nom_court)));
}

// A new folder without source in `pere`.
std::uint32_t ajout_virtuel(FichierProjet &projet, std::string_view nom, std::uint32_t pere) {
  if (nom.empty()) return 0;
  if (nom.size() > kNomIsoMax) {
    operations().afficher_erreur(message(6104, {nom, kNomIsoMax}));
    return 0;
  }
  RubriqueProjet rubrique;
  ecrit_champ_coupe(rubrique.chemin, kCheminVirtuel);
  pose_noms_dossier(rubrique, nom, projet.hfsplus());
  rubrique.numero = numero_virtuel(projet, nom);
  rubrique.pere = pere;
  rubrique.date_creation = rubrique.date_modif = date_projet(plateforme::maintenant());
  return pose_dossier(projet, rubrique);
}

// Number of the child folder whose source bears that name: exactly, failing that but for case; 0 for none.
std::uint32_t dossier_nomme(const FichierProjet &projet, std::uint32_t pere, const std::string &nom) {
  std::uint32_t approche = 0;
  LecteurEnfants enfants(projet, pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (!enfant->est_dossier()) continue;
    const std::string source = lit_champ(enfant->nom_source);
    if (source == nom) return enfant->numero;
    if (approche == 0 && plie(source) == plie(nom)) approche = enfant->numero;
  }
  return approche;
}

// Levels of a path, empty ones and "." left out.
std::vector<std::string> niveaux(std::string_view chemin) {
  std::vector<std::string> resultat;
  while (!chemin.empty()) {
    const std::size_t fin = std::min(chemin.find_first_of("/\\"), chemin.size());
    const std::string_view niveau = chemin.substr(0, fin);
    if (!niveau.empty() && niveau != ".") resultat.emplace_back(niveau);
    chemin.remove_prefix(std::min(fin + 1, chemin.size()));
  }
  return resultat;
}

}  // namespace

std::uint64_t place_insertion(const FichierProjet &projet, const RubriqueProjet &rubrique,
                              std::uint64_t sauf) {
  const std::string nom = lit_champ(rubrique.nom_iso);
  LecteurEnfants enfants(projet, rubrique.pere);
  std::uint64_t place = projet.premier_enfant(rubrique.pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (enfants.rang() != sauf && compare_nom_iso(lit_champ(enfant->nom_iso), nom) >= 0)
      return enfants.rang();
    place = enfants.rang() + 1;
  }
  return place;
}

bool insertion_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique) {
  const std::uint64_t place = place_insertion(projet, rubrique, 0);
  if (!projet.insere(place, {&rubrique, 1})) return echec_ecriture_projet(projet.chemin());
  if (rubrique.est_dossier()) projet.note_dossier(rubrique.numero, rubrique.pere);
  projet.estimation_ajoute(rubrique);
  return true;
}

std::uint32_t ajout_dossier_virtuel(FichierProjet &projet, std::string_view nom) {
  return ajout_virtuel(projet, nom, projet.dossier_courant());
}

std::uint32_t ajout_dossier_chemin(FichierProjet &projet, std::string_view dossier, std::string_view nom,
                                   std::uint32_t pere) {
  if (nom.empty() || dossier.empty()) return 0;
  const std::optional<std::string> chemin = chemin_de_dossier(dossier);
  if (!chemin) return 0;
  RubriqueProjet rubrique;
  if (!ecrit_champ(rubrique.nom_source, nom)) {
    operations().afficher_erreur(message(6105, {tronque_chemin(nom, kCheminMessage)}));
    return 0;
  }
  static_cast<void>(ecrit_champ(rubrique.chemin, *chemin));
  pose_noms_dossier(rubrique, nom, projet.hfsplus());
  pose_source(rubrique, *chemin + std::string(nom));
  rubrique.numero = projet.prochain_dossier();
  rubrique.pere = pere;
  return pose_dossier(projet, rubrique);
}

std::uint32_t creation_chemin(FichierProjet &projet, std::string_view base, std::string_view chemin,
                              std::uint32_t pere) {
  std::string dossier(base);
  for (const std::string &niveau : niveaux(chemin)) {
    if (niveau == "..") return 0;
    const std::uint32_t present = dossier_nomme(projet, pere, niveau);
    if (present != 0)
      pere = present;
    else
      pere = dossier.empty() ? ajout_virtuel(projet, niveau, pere)
                             : ajout_dossier_chemin(projet, dossier, niveau, pere);
    if (pere == 0) return 0;
    if (dossier.empty()) continue;
    if (!dossier.ends_with('/') && !dossier.ends_with('\\')) dossier += '/';
    dossier += niveau;
  }
  return pere;
}

// --- duplicates

NomsPresents::NomsPresents(const FichierProjet &projet, std::uint32_t pere) : mode_(projet.mode()) {
  LecteurEnfants enfants(projet, pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) ajoute(*enfant);
}

void NomsPresents::ajoute(const RubriqueProjet &rubrique) {
  noms_[plie(lit_champ(rubrique.nom_source))].push_back(
      {plie(chemin_source(rubrique)), rubrique.dans_iso(), rubrique.dans_hfs()});
}

int NomsPresents::deja_present(std::string_view nom, std::string_view chemin, int vue) const {
  const auto trouve = noms_.find(plie(nom));
  if (trouve == noms_.end()) return 0;
  if (mode_ == ModeProjet::isop) return 1;
  const std::string cherche = plie(chemin);
  int resultat = 0;
  for (const Presence &presence : trouve->second) {
    if (presence.chemin == cherche) return -1;
    const bool gene = vue == kVueRacine || (vue == kVueIso ? presence.dans_iso : presence.dans_hfs);
    if (gene) resultat = -2;
  }
  return resultat;
}

bool NomsPresents::meme_source(std::string_view nom, std::string_view chemin) const {
  const auto trouve = noms_.find(plie(nom));
  if (trouve == noms_.end()) return false;
  const std::string cherche = plie(chemin);
  return std::any_of(trouve->second.begin(), trouve->second.end(),
                     [&cherche](const Presence &presence) { return presence.chemin == cherche; });
}

int deja_present(const FichierProjet &projet, std::string_view nom, std::string_view chemin,
                 std::uint32_t pere) {
  return NomsPresents(projet, pere).deja_present(nom, chemin, projet.vue_courante());
}

void annonce_deja_present(int resultat, std::string_view chemin) {
  // A few seconds on a window; a batch run counts it among what went wrong, and takes a name that an ISO+
  // project has for done.
  const bool par_lot = etat<OptionsProgramme>().mode_lot;
  const std::string texte = message(1405, {tronque_chemin(chemin, kCheminMessage)});
  if (par_lot && resultat == -1) operations().afficher_erreur(texte);
  if (!par_lot && (resultat == -1 || resultat == 1)) operations().afficher_avis(texte);
  if (resultat == -2) operations().afficher_erreur(charger_chaine(1406));
}

}  // namespace varnion
