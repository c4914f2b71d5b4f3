// Images joined and parted, and raw tracks.

#include <cerrno>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "compil/hybridation.hpp"
#include "compil/pistes.hpp"
#include "hfs/decompression.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::size_t kCheminMessage = 200;
constexpr int kJointe = 6355;
constexpr int kSeparee = 6358;
constexpr int kPiste = 6365;

/// What is said about a result: the string takes a path where `chemin` is not 0 (1 or 2, the position on the
/// command line), and the text of the system's error where `systeme` is set.
struct MotResultat {
  int resultat;
  int texte;
  int chemin = 0;
  bool systeme = false;
};

constexpr MotResultat kMotsHybride[] = {
    {kHybrideIsoFermee, 6349, 2, true},
    {kHybridePartitionFermee, 6350, 1, true},
    {kHybrideDeja, 1078},
    {kHybridePasIso, 6351, 2},
    {kHybrideExpansion, 6352, 1},
    {kHybrideTemporaire, 6353, 0, true},
    {kHybrideSansCarte, 6342},
    {kHybrideTronquee, 6343},
    {kHybrideEcriture, 6344, 0, true},
    {kHybrideArret, 6354},
    {kHybridePlace, 1073},
};
constexpr MotResultat kMotsSepare[] = {
    {kSepareFermee, 6349, 1, true}, {kSepareSansDebut, 6356, 1},      {kSeparePasHybride, 6346},
    {kSeparePartage, 6357},         {kSepareEcriture, 6344, 0, true},
};
constexpr MotResultat kMotsPiste[] = {
    {kPisteSource, 6359, 1, true}, {kPisteCible, 6360, 2, true},    {kPisteSansCarte, 6361, 1},
    {kPisteTable, 6362, 2},        {kPisteEcriture, 6344, 0, true}, {kPisteArret, 6363},
    {kPisteLongue, 6364},
};

int echoue(std::span<const MotResultat> mots, int resultat, const std::string &premier,
           const std::string &second) {
  const std::string systeme = plateforme::texte_erreur(errno);
  for (const MotResultat &mot : mots) {
    if (mot.resultat != resultat) continue;
    const std::string chemin = tronque_chemin(mot.chemin == 2 ? second : premier, kCheminMessage);
    operations().afficher_erreur(mot.chemin == 0 ? message(mot.texte, {systeme})
                                                 : message(mot.texte, {chemin, systeme}));
  }
  return kEchec;
}

int reussit(ContexteCli &contexte, int texte, const std::string &chemin) {
  const auto fiche = plateforme::cherche_fichier(chemin);
  const std::string taille = taille_lisible(fiche ? fiche->taille : 0);
  contexte.sortie << plateforme::texte_vers_utf8(message(texte, {chemin, taille})) << "\n";
  return kFait;
}

struct DeuxChemins {
  std::string premier, second;
};
std::optional<DeuxChemins> deux_chemins(const Arguments &arguments) {
  const auto premier = chemin_argument(arguments.positions[0]);
  const auto second = chemin_argument(arguments.positions[1]);
  if (!premier || !second) return std::nullopt;
  return DeuxChemins{*premier, *second};
}

/// Length of an image in bytes; 0 where it cannot be had, which opening it will tell about.
std::uint64_t longueur_de(const std::string &chemin) {
  const auto fiche = plateforme::cherche_fichier(chemin);
  return fiche ? fiche->taille : 0;
}

}  // namespace

int commande_hybrid(ContexteCli &contexte) {
  const auto chemins = deux_chemins(contexte.arguments);
  if (!chemins) return kEchec;
  errno = 0;
  ResultatDmg expansion;
  const int resultat = hybridation_fichiers(chemins->premier, chemins->second, &expansion);
  if (resultat == kHybrideExpansion && !expansion.reussi()) {
    operations().afficher_erreur(texte_echec_dmg(expansion, chemins->premier, {}));
    return kEchec;
  }
  if (resultat != kHybrideFaite) return echoue(kMotsHybride, resultat, chemins->premier, chemins->second);
  return reussit(contexte, kJointe, chemins->second);
}

int commande_dehybrid(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  if (!chemin) return kEchec;
  errno = 0;
  const int resultat = deshybridation(*chemin);
  if (resultat != kSepareFaite) return echoue(kMotsSepare, resultat, *chemin, {});
  return reussit(contexte, kSeparee, *chemin);
}

int commande_track_raw(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto chemins = deux_chemins(arguments);
  if (!chemins || !cible_libre(chemins->second, arguments.a("force"))) return kEchec;
  const int mode = arguments.valeur("mode", "1") == "2" ? 2 : 1;
  const int resultat = piste_brute(chemins->premier, chemins->second, mode, longueur_de(chemins->premier));
  if (resultat != kPisteFaite) return echoue(kMotsPiste, resultat, chemins->premier, chemins->second);
  return reussit(contexte, kPiste, chemins->second);
}

int commande_track_video(ContexteCli &contexte) {
  const auto chemins = deux_chemins(contexte.arguments);
  if (!chemins) return kEchec;
  const int resultat = piste_video(chemins->premier, longueur_de(chemins->premier), chemins->second);
  if (resultat != kPisteFaite) return echoue(kMotsPiste, resultat, chemins->premier, chemins->second);
  return reussit(contexte, kPiste, chemins->second);
}

}  // namespace varnion
