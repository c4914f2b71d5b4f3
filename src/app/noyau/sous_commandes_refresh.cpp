// The commands that bring a project and the disk together again.

#include <cerrno>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_refresh.hpp"
#include "app/noyau/journal.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/changement_chemin.hpp"
#include "projet/rafraichissement.hpp"
#include "projet/reconstruction.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kRienATrouver = 1338;
constexpr int kRafraichissement = 1339;
constexpr int kCheminsChanges = 1408;
constexpr int kProjetVide = 1550;
constexpr int kAccord = 6770;
constexpr int kReconstruit = 6771;
constexpr int kJournalFerme = 6772;
constexpr int kArrete = 6773;
constexpr int kVoisins = 7750;  // count, folder, names
constexpr std::size_t kCheminMessage = 200;

void resultat(ContexteCli &contexte, const std::string &texte) {
  contexte.sortie << plateforme::texte_vers_utf8(texte) << "\n";
}

std::optional<FichierProjet> projet_de(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  return chemin ? ouvre_projet(*chemin) : std::nullopt;
}

std::vector<Difference> choisies(const std::vector<Difference> &differences, const std::string &genre) {
  std::vector<Difference> resultat;
  for (const Difference &difference : differences) {
    const char lettre = static_cast<char>(difference.genre);
    const bool voulue = genre == "all" || (genre == "deletions" && lettre == 'D') ||
                        (genre == "additions" && lettre == 'A') ||
                        (genre == "modifications" && lettre == 'M');
    if (voulue) resultat.push_back(difference);
  }
  return resultat;
}

int accepte(ContexteCli &contexte, FichierProjet &projet, const std::vector<Difference> &differences) {
  const BilanAccord bilan = accepte_differences(projet, differences);
  if (!bilan.abouti) return kEchec;
  resultat(contexte, message(kAccord, {bilan.suppressions, bilan.modifications, bilan.ajouts, bilan.restes}));
  return enregistre_projet(projet) && bilan.restes == 0 ? kFait : kEchec;
}

// What a rebuild leaves out beside the items of the root.
void annonce_voisins(const FichierProjet &projet) {
  const VoisinsProjet voisins = voisins_projet(projet);
  if (voisins.nombre == 0) return;
  std::string noms;
  for (const std::string &nom : voisins.premiers) noms += (noms.empty() ? "" : "\n") + nom;
  if (voisins.nombre > voisins.premiers.size()) noms += "\n...";
  const std::string dossier = tronque_chemin(voisins.dossier, kCheminMessage);
  operations().afficher_avis(message(kVoisins, {voisins.nombre, dossier, noms}));
}

// The old path as it stands in a project: one of another system is taken as it is.
std::string chemin_ancien(const std::string &texte) {
  const bool etranger = texte.find_first_of(":\\") != std::string::npos;
  return etranger ? texte : plateforme::chemin_absolu(texte);
}

}  // namespace

int reconstruit_projet(ContexteCli &contexte, const std::string &chemin,
                       const std::optional<std::string> &journal) {
  if (!prepare_signatures(contexte.arguments)) return kEchec;
  auto projet = ouvre_projet(chemin);
  if (!projet) return kEchec;
  if (journal && !ouvre_journal(*journal)) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(message(kJournalFerme, {tronque_chemin(*journal, kCheminMessage), raison}));
    return kEchec;
  }
  operations().afficher_etat_seul(charger_chaine(kRafraichissement));
  OptionsReconstruction options;
  options.voisins = contexte.arguments.a("siblings");
  options.force = contexte.arguments.a("force");
  const BilanReconstruction bilan = reconstruction_projet(*projet, options);
  if (!bilan.abouti) {
    if (operations().arret_demande()) operations().afficher_erreur(charger_chaine(kArrete));
    return kEchec;
  }
  resultat(contexte,
           message(kReconstruit, {bilan.suppressions, bilan.modifications, bilan.dossiers, bilan.fichiers}));
  if (!options.voisins) annonce_voisins(*projet);
  return enregistre_projet(*projet) && bilan.complet() ? kFait : kEchec;
}

int commande_projet_refresh(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const std::string accord = arguments.valeur("accept");
  const auto chemin = chemin_argument(arguments.positions[0]);
  if (!chemin) return kEchec;
  if (!accord.empty() && !prepare_signatures(arguments)) return kEchec;
  auto projet = accord.empty() ? consulte_projet(*chemin) : ouvre_projet(*chemin);
  EnteteProjet entete;
  if (!projet || !projet->lit_entete(entete)) return kEchec;
  const bool ajouts = entete.reconstruire() || arguments.a("additions") || accord == "additions";
  const auto differences = controle_projet(*projet, kRacine, ajouts);
  if (!differences) {
    operations().afficher_erreur(charger_chaine(kArrete));
    return kEchec;
  }
  if (differences->empty()) {
    operations().afficher_avis(charger_chaine(kRienATrouver));
    return kFait;
  }
  for (const Difference &difference : *differences) resultat(contexte, ligne_difference(difference));
  return accord.empty() ? kFait : accepte(contexte, *projet, choisies(*differences, accord));
}

int commande_projet_rebuild(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto chemin = chemin_argument(arguments.positions[0]);
  std::optional<std::string> journal;
  if (arguments.a("log")) {
    journal = chemin_argument(arguments.valeur("log"));
    if (!journal) return kEchec;
  }
  return chemin ? reconstruit_projet(contexte, *chemin, journal) : kEchec;
}

int commande_projet_move_path(ContexteCli &contexte) {
  const auto ancien = texte_argument(contexte.arguments.positions[1]);
  const auto nouveau = chemin_argument(contexte.arguments.positions[2]);
  if (!ancien || !nouveau || ancien->empty() || nouveau->empty()) return kEchec;
  auto projet = projet_de(contexte);
  if (!projet) return kEchec;
  if (projet->nb_rubriques() == 0) {
    operations().afficher_erreur(charger_chaine(kProjetVide));
    return kEchec;
  }
  const auto changes =
      changement_chemin(*projet, chemin_ancien(*ancien), plateforme::chemin_absolu(*nouveau));
  if (!changes) return kEchec;
  resultat(contexte, message(kCheminsChanges, {*changes}));
  return enregistre_projet(*projet) ? kFait : kEchec;
}

}  // namespace varnion
