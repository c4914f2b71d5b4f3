// What comes into a project from the words of a command line.

#include <algorithm>
#include <cerrno>
#include <limits>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/noyau/types_fichiers.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "IO/texte.hpp"
#include "noms/regles.hpp"
#include "projet/erreurs.hpp"
#include "projet/inclusion.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArret = 6519;
constexpr int kNomImpossible = 6546;
constexpr int kListeIllisible = 6552;
constexpr int kNonAjoute = 6554;
constexpr int kSignaturesIllisibles = 6555;
constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kRefusesNommes = 10;
constexpr std::uint64_t kListeMax = std::uint64_t{64} << 20;

constexpr std::size_t kSansLimite = std::numeric_limits<std::size_t>::max();

bool liste_illisible(std::string_view chemin, int erreur) {
  operations().afficher_erreur(
      message(kListeIllisible, {tronque_chemin(chemin, kCheminMessage), plateforme::texte_erreur(erreur)}));
  return false;
}

bool est_utf8(std::string_view octets) {
  const auto points = plateforme::points_utf8(octets);
  return std::find(points.begin(), points.end(), plateforme::kRemplacement) == points.end();
}

std::string nom_de(std::string_view chemin) {
  while (chemin.ends_with('/')) chemin.remove_suffix(1);
  return std::string(chemin.substr(chemin.rfind('/') + 1));
}

// Message 1406 names no file: those that another source keeps out are named behind it, at once in a window.
void nomme_refuses(const FichierProjet &projet, std::span<const std::string> chemins, std::uint32_t dossier,
                   int vue) {
  const bool un_par_un = etat<OptionsProgramme>().mode_lot;
  std::string noms;
  std::size_t nombre = 0;
  const NomsPresents presents(projet, dossier);
  for (const std::string &chemin : chemins) {
    const std::string absolu = plateforme::chemin_absolu(chemin);
    if (presents.deja_present(nom_de(absolu), absolu, vue) != -2) continue;
    if (un_par_un)
      operations().afficher_erreur(message(kNonAjoute, {tronque_chemin(chemin, kCheminMessage)}));
    if (++nombre <= kRefusesNommes) noms += (noms.empty() ? "" : "\n") + nom_de(absolu);
  }
  if (un_par_un || nombre == 0) return;
  if (nombre > kRefusesNommes) noms += "\n...";
  operations().afficher_erreur(message(kNonAjoute, {noms}));
}

// A folder in both views gives both to what comes into it. Where one view was asked for, the items numbered
// since leave the other; what belongs in that other one alone, by its kind or by an answer, stays there.
bool restreint_vues(FichierProjet &projet, std::uint32_t dernier_dossier, std::uint32_t dernier_fichier,
                    int vue) {
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    const std::int64_t numero = rubrique->numero_signe();
    const bool neuve = numero > dernier_dossier || -numero > dernier_fichier;
    if (!neuve || !rubrique->dans_iso() || !rubrique->dans_hfs()) continue;
    RubriqueProjet une_vue = *rubrique;
    pose_vues(une_vue, vue, projet.mode());
    if (!tout.reecrit(projet, une_vue)) return echec_ecriture_projet(projet.chemin());
  }
  return true;
}

// The table that comes with the program: beside it, or where the data are installed.
std::vector<std::string> signatures_livrees() {
  constexpr std::string_view kNom = "varnion.sig";
  const std::string programme = programme_courant();
  const std::string dossier = programme.substr(0, programme.rfind('/') + 1);
  std::vector<std::string> chemins;
  for (const std::string &lieu : {dossier, dossier + VARNION_DONNEES "/"})
    if (const auto chemin = plateforme::chemin_utf8_utilisable(lieu + std::string(kNom), kSansLimite))
      chemins.push_back(*chemin);
  return chemins;
}

}  // namespace

std::optional<std::string> chemin_argument(std::string_view utf8) {
  if (!utf8.empty()) {
    if (auto chemin = plateforme::chemin_utf8_utilisable(utf8, kSansLimite)) return chemin;
  }
  erreur_fichier(plateforme::utf8_vers_texte(utf8), utf8.empty() ? 0 : ENOENT);
  return std::nullopt;
}

std::optional<std::string> texte_argument(std::string_view utf8) {
  const std::string texte = plateforme::utf8_vers_texte(utf8);
  // A character that the code page lacks came out as one "?" more than was typed.
  if (std::count(texte.begin(), texte.end(), '?') == std::count(utf8.begin(), utf8.end(), '?')) return texte;
  operations().afficher_erreur(message(kNomImpossible, {texte}));
  return std::nullopt;
}

std::string chemin_extension(const std::string &chemin, std::string_view extension) {
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::size_t debut = barre == std::string::npos ? 0 : barre + 1;
  const std::size_t point = chemin.rfind('.');
  const bool a_extension = point != std::string::npos && point > debut;
  return chemin.substr(0, a_extension ? point : chemin.size()) + "." + std::string(extension);
}

std::optional<std::vector<std::string>> lit_liste(std::string_view chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  const std::int64_t taille = fichier ? fichier_taille(fichier) : -1;
  if (taille < 0 || static_cast<std::uint64_t>(taille) > kListeMax) {
    liste_illisible(chemin, taille < 0 ? errno : EFBIG);
    return std::nullopt;
  }
  std::string texte(static_cast<std::size_t>(taille), '\0');
  const std::int64_t lus = fichier.lire_a({reinterpret_cast<std::uint8_t *>(texte.data()), texte.size()}, 0);
  if (lus < 0) {
    liste_illisible(chemin, errno);
    return std::nullopt;
  }
  texte.resize(static_cast<std::size_t>(lus));
  std::string_view reste(texte);
  if (reste.starts_with("\xEF\xBB\xBF")) reste.remove_prefix(3);
  std::vector<std::string> chemins;
  while (!reste.empty()) {
    const std::size_t fin = std::min(reste.find_first_of("\r\n"), reste.size());
    const std::string_view ligne = reste.substr(0, fin);
    if (!ligne.empty())
      chemins.push_back(est_utf8(ligne) ? std::string(ligne) : plateforme::texte_vers_utf8(ligne));
    reste.remove_prefix(std::min(fin + 1, reste.size()));
  }
  return chemins;
}

BilanInclusion inclut_sources(FichierProjet &projet, std::span<const std::string> chemins,
                              std::uint32_t dossier, int vue, const OptionsInclusion &options) {
  projet.vue_courante(vue);
  std::vector<std::string> textes;
  for (const std::string &utf8 : chemins)
    if (auto chemin = chemin_argument(utf8)) textes.push_back(std::move(*chemin));
  const std::uint32_t dernier_dossier = projet.dernier_dossier();
  const std::uint32_t dernier_fichier = projet.dernier_fichier();
  BilanInclusion bilan = inclusion_chemins(projet, textes, dossier, options);
  if (bilan.ignores > 0) nomme_refuses(projet, textes, dossier, projet.vue_courante());
  if (bilan.arrete) operations().afficher_erreur(charger_chaine(kArret));
  const int effective = projet.vue_courante();
  const bool restreint = bilan.abouti() && effective != kVueRacine && dossier != kRacine;
  if (restreint && !restreint_vues(projet, dernier_dossier, dernier_fichier, effective)) bilan.echoue = true;
  return bilan;
}

BilanAjout ajoute_sources(FichierProjet &projet, std::span<const std::string> chemins, std::uint32_t dossier,
                          int vue, const Console &console) {
  const std::uint64_t erreurs = console.erreurs();
  const BilanInclusion bilan = inclut_sources(projet, chemins, dossier, vue, {});
  return {bilan.dossiers, bilan.fichiers, console.erreurs() - erreurs, bilan.abouti()};
}

bool prepare_signatures(const std::optional<std::string> &choisi) {
  if (choisi) {
    const auto chemin = chemin_argument(*choisi);
    if (!chemin) return false;
    if (charge_signatures(*chemin)) return true;
    operations().afficher_erreur(message(kSignaturesIllisibles, {tronque_chemin(*chemin, kCheminMessage)}));
    return false;
  }
  SourceSignatures source;
  source.chemin = reglages().signatures;
  source.dossier_courant = source.dossier_programme = plateforme::chemin_absolu(".");
  // Without `choisit` several files mean none: no question is asked.
  if (charge_signatures(source)) return true;
  for (const std::string &chemin : signatures_livrees())
    if (charge_signatures(chemin)) break;
  return true;
}

}  // namespace varnion
