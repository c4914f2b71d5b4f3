// The commands that change a project.

#include <algorithm>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_proprietes.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kIntrouvable = 6541;
constexpr int kDossierPlein = 6543;
constexpr int kAjouts = 6550;
constexpr int kVueUnique = 6557;
constexpr int kRacineFixe = 6565;

int statut(bool fait) {
  return fait ? kFait : kEchec;
}

// The project of the first position, open for changes.
std::optional<FichierProjet> projet_de(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  return chemin ? ouvre_projet(*chemin) : std::nullopt;
}

// An ISO+ project has the ISO view, and no other can be asked of it.
bool vue_permise(const FichierProjet &projet, const Arguments &arguments) {
  if (projet.mode() == ModeProjet::hybride || arguments.valeur("view", "iso") == "iso") return true;
  operations().afficher_erreur(charger_chaine(kVueUnique));
  return false;
}

int vue_de(const FichierProjet &projet, const Arguments &arguments) {
  return projet.mode() == ModeProjet::isop ? int{kVueIso} : vue_nommee(arguments.valeur("view", "both"));
}

std::optional<ElementTrouve> element(const FichierProjet &projet, const std::string &utf8, int vue) {
  const std::string chemin = plateforme::utf8_vers_texte(utf8);
  auto trouve = trouve_element(projet, chemin, vue);
  if (!trouve) operations().afficher_erreur(message(kIntrouvable, {chemin}));
  return trouve;
}

bool refuse_racine(const ElementTrouve &trouve) {
  if (trouve.rang != 0) return false;
  operations().afficher_erreur(charger_chaine(kRacineFixe));
  return true;
}

// --- rm
// -------------------------------------------------------------------------------------------------------

bool supprime_chemin(FichierProjet &projet, const std::string &utf8, int vue, const ContexteCli &contexte) {
  const auto trouve = element(projet, utf8, vue);
  if (!trouve || refuse_racine(*trouve)) return false;
  const RubriqueProjet &r = trouve->rubrique;
  const bool plein = r.est_dossier() && std::uint64_t{r.lg_data} + r.lg_rsrc > 0;
  if (plein && !contexte.arguments.a("recursive") && !contexte.console.options.interroge) {
    operations().afficher_erreur(message(kDossierPlein, {plateforme::utf8_vers_texte(utf8)}));
    return false;
  }
  const Suppression resultat = suppression_element(projet, r.numero, r.pere);
  return resultat == Suppression::fichier || resultat == Suppression::dossier;
}

}  // namespace

int commande_projet_new(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (arguments.a("hfsplus") && arguments.a("hfs")) return kUsage;
  const auto chemin = chemin_argument(arguments.positions[0]);
  if (!chemin || !genre_projet(*chemin) || !cible_libre(*chemin, arguments.a("force"))) return kEchec;
  std::optional<bool> hfsplus;
  if (arguments.a("hfsplus") || arguments.a("hfs")) hfsplus = arguments.a("hfsplus");
  auto projet = cree_projet(*chemin, hfsplus);
  return statut(projet && enregistre_projet(*projet));
}

int commande_projet_add(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  std::vector<std::string> sources(arguments.positions.begin() + 1, arguments.positions.end());
  if (sources.empty() && !arguments.a("list")) return kUsage;
  if (arguments.a("list")) {
    const auto liste = chemin_argument(arguments.valeur("list"));
    const auto lus = liste ? lit_liste(*liste) : std::nullopt;
    if (!lus) return kEchec;
    sources.insert(sources.end(), lus->begin(), lus->end());
  }
  const auto vers = texte_argument(arguments.valeur("into"));
  if (!vers) return kEchec;
  if (!prepare_signatures(arguments)) return kEchec;
  auto projet = projet_de(contexte);
  if (!projet || !vue_permise(*projet, arguments)) return kEchec;
  const int vue = vue_de(*projet, arguments);
  const std::uint32_t dossier = vers->empty() ? kRacine : fait_dossier(*projet, *vers, vue);
  if (dossier == 0) return statut(enregistre_projet(*projet) && false);
  const BilanAjout bilan = ajoute_sources(*projet, sources, dossier, vue, contexte.console);
  contexte.sortie << plateforme::texte_vers_utf8(message(kAjouts, {bilan.dossiers, bilan.fichiers})) << "\n";
  return statut(enregistre_projet(*projet) && bilan.complet());
}

int commande_projet_mkdir(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  auto projet = projet_de(contexte);
  if (!projet || !vue_permise(*projet, arguments)) return kEchec;
  bool fait = true;
  for (std::size_t i = 1; i < arguments.positions.size(); ++i) {
    const auto chemin = texte_argument(arguments.positions[i]);
    fait = chemin && fait_dossier(*projet, *chemin, vue_de(*projet, arguments)) != 0 && fait;
  }
  return statut(enregistre_projet(*projet) && fait);
}

int commande_projet_label(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!arguments.a("iso") && !arguments.a("hfs")) return kUsage;
  std::optional<std::string> iso;
  std::optional<std::string> hfs;
  for (auto [nom, label] : {std::pair("iso", &iso), std::pair("hfs", &hfs)}) {
    if (!arguments.a(nom)) continue;
    *label = texte_argument(arguments.valeur(nom));
    if (!*label) return kEchec;
  }
  auto projet = projet_de(contexte);
  if (!projet) return kEchec;
  if (hfs && projet->mode() == ModeProjet::isop) {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  const bool fait = pose_labels(*projet, iso, hfs);
  return statut(enregistre_projet(*projet) && fait);
}

int commande_projet_rm(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  auto projet = projet_de(contexte);
  if (!projet || !vue_permise(*projet, arguments)) return kEchec;
  const int vue = vue_de(*projet, arguments);
  projet->vue_courante(vue);
  reponses_projet().dossier_plein = arguments.a("recursive") ? 2 : 0;
  bool fait = true;
  for (std::size_t i = 1; i < arguments.positions.size(); ++i)
    fait = supprime_chemin(*projet, arguments.positions[i], vue, contexte) && fait;
  return statut(enregistre_projet(*projet) && fait);
}

int commande_projet_rename(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto nom = texte_argument(arguments.positions[2]);
  auto projet = nom ? projet_de(contexte) : std::nullopt;
  if (!projet || !vue_permise(*projet, arguments)) return kEchec;
  const int vue = vue_de(*projet, arguments);
  const auto trouve = element(*projet, arguments.positions[1], vue);
  if (!trouve || refuse_racine(*trouve) || !nom_accepte(*projet, trouve->rubrique, *nom, vue)) return kEchec;
  const bool fait = renomme_rubrique(*projet, trouve->rubrique, *nom, vue);
  return statut(enregistre_projet(*projet) && fait);
}

}  // namespace varnion
