// From a project or a folder to an image.

#include <algorithm>
#include <cerrno>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "compil/hybridation.hpp"
#include "compil/pistes.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kVueUnique = 6557;
constexpr int kCibleDansDossier = 6559;
constexpr int kTemporaireImpossible = 6564;
constexpr std::size_t kCheminMessage = 200;
constexpr std::string_view kContenu = "/*.*";

GenreDemande genre_demande(const Arguments &arguments) {
  const std::string nom = arguments.valeur("kind", "hybrid");
  if (nom == "iso") return GenreDemande::iso;
  return nom == "hfs" ? GenreDemande::mac : GenreDemande::hybride;
}

DemandeCompilation demande(const Arguments &arguments, std::string cible) {
  DemandeCompilation resultat;
  resultat.cible = std::move(cible);
  resultat.genre = genre_demande(arguments);
  resultat.postgap = !arguments.a("no-postgap");
  resultat.ecrasement = arguments.a("force") ? Ecrasement::toujours : Ecrasement::jamais;
  return resultat;
}

// True for an image as a compile makes it: an ISO 9660 tree or a partition map.
bool est_image(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  return fichier && (position_iso(fichier) >= 0 || position_apple_hfs(fichier) >= 0);
}

// An image of a run before, in the folder to be mastered, does not go on the new disc. Any other file is a
// source, which the compile does not replace.
bool ecarte_cible(FichierProjet &projet, const std::string &cible, Console &console) {
  if (!est_image(cible)) return true;
  const std::string nom = plateforme::majuscules(cible.substr(cible.find_last_of("/\\") + 1));
  std::optional<RubriqueProjet> trouvee;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    if (rubrique->est_dossier() || plateforme::majuscules(lit_champ(rubrique->nom_source)) != nom) continue;
    if (!plateforme::meme_fichier(chemin_source(*rubrique), cible)) continue;
    trouvee = *rubrique;
    break;
  }
  if (!trouvee) return true;
  console.afficher_avis(message(kCibleDansDossier, {tronque_chemin(cible, kCheminMessage)}));
  return suppression_element(projet, trouvee->numero, trouvee->pere) == Suppression::fichier;
}

// One folder gives its content to the root of the disc; of several paths each one lies there.
std::vector<std::string> sources(const std::vector<std::string> &positions) {
  const auto chemin =
      positions.size() == 1 ? plateforme::chemin_utf8_utilisable(positions[0], SIZE_MAX) : std::nullopt;
  if (!chemin || !plateforme::est_dossier(*chemin)) return positions;
  std::string dossier = positions[0];
  while (dossier.size() > 1 && dossier.ends_with('/')) dossier.pop_back();
  return {dossier + std::string(dossier == "/" ? kContenu.substr(1) : kContenu)};
}

bool tous_presents(const std::vector<std::string> &positions) {
  bool presents = true;
  for (const std::string &position : positions) {
    const auto chemin = chemin_argument(position);
    if (chemin && !plateforme::existe(*chemin)) erreur_fichier(*chemin, ENOENT);
    presents = chemin && plateforme::existe(*chemin) && presents;
  }
  return presents;
}

std::optional<FichierProjet> projet_temporaire(const Arguments &arguments) {
  const std::string dossier = plateforme::dossier_temporaire();
  if (dossier.empty()) {
    operations().afficher_erreur(message(kTemporaireImpossible, {plateforme::texte_erreur(errno)}));
    return std::nullopt;
  }
  std::optional<bool> hfsplus;
  if (arguments.a("hfsplus") || arguments.a("hfs")) hfsplus = arguments.a("hfsplus");
  return cree_projet(dossier + "master.vnpr", hfsplus);
}

std::optional<std::string> cible_demandee(const Arguments &arguments, const std::string &defaut) {
  auto cible = arguments.a("output") ? chemin_argument(arguments.valeur("output")) : std::optional(defaut);
  if (!cible || !cible_libre(*cible, arguments.a("force"))) return std::nullopt;
  return cible;
}

}  // namespace

int commande_compile(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto chemin = chemin_argument(arguments.positions[0]);
  if (!chemin || !genre_projet(*chemin)) return kEchec;
  auto projet = ouvre_projet(*chemin);
  if (!projet) return kEchec;
  if (projet->mode() == ModeProjet::isop && genre_demande(arguments) == GenreDemande::mac) {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  const std::string extension = extension_image(*projet, genre_demande(arguments));
  const auto cible = cible_demandee(arguments, chemin_extension(*chemin, extension));
  if (!cible || !prepare_signatures(arguments, *projet)) return kEchec;
  return compile_vers(*projet, demande(arguments, *cible), contexte.console, contexte.sortie);
}

int commande_master(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!arguments.a("output") || (arguments.a("hfsplus") && arguments.a("hfs"))) return kUsage;
  if (!tous_presents(arguments.positions)) return kEchec;
  const auto cible = cible_demandee(arguments, {});
  if (!cible) return kEchec;
  std::optional<std::string> label;
  if (arguments.a("label")) {
    label = texte_argument(arguments.valeur("label"));
    if (!label) return kEchec;
  }
  if (!prepare_signatures(arguments)) return kEchec;
  auto projet = projet_temporaire(arguments);
  if (!projet) return kEchec;
  // A side that the image will not have sets no bound to the label.
  const GenreDemande genre = genre_demande(arguments);
  const std::optional<std::string> aucun;
  if (label && !pose_labels(*projet, genre == GenreDemande::mac ? aucun : label,
                            genre == GenreDemande::iso ? aucun : label))
    return kEchec;
  const BilanAjout bilan =
      ajoute_sources(*projet, sources(arguments.positions), kRacine, kVueRacine, contexte.console);
  if (!bilan.abouti || !ecarte_cible(*projet, *cible, contexte.console)) return kEchec;
  return compile_vers(*projet, demande(arguments, *cible), contexte.console, contexte.sortie, bilan.manques);
}

}  // namespace varnion
