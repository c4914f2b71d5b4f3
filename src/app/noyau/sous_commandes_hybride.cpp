// Images joined and parted, and raw tracks.

#include <cerrno>

#include "app/noyau/actions_hybride.hpp"
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

constexpr int kPiste = 6365;

constexpr MotResultat kMotsPiste[] = {
    {kPisteSource, 6359, 1, true}, {kPisteCible, 6360, 2, true},    {kPisteSansCarte, 6361, 1},
    {kPisteTable, 6362, 2},        {kPisteEcriture, 6344, 0, true}, {kPisteArret, 6363},
    {kPisteLongue, 6364},
};

int echoue(int resultat, const std::string &premier, const std::string &second) {
  dit_resultat(kMotsPiste, resultat, premier, second);
  return kEchec;
}

int reussit(ContexteCli &contexte, int texte, const std::string &chemin) {
  contexte.sortie << plateforme::texte_vers_utf8(texte_image(texte, chemin)) << "\n";
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

/// The new file that -o asks for, without a path where the work is done in place; nullopt after a message.
std::optional<CibleImage> cible_demandee(const Arguments &arguments) {
  CibleImage cible;
  cible.force = arguments.a("force");
  cible.ecrasement = cible.force ? Ecrasement::toujours : Ecrasement::jamais;
  if (!arguments.a("output")) return cible;
  const auto chemin = chemin_argument(arguments.valeur("output"));
  if (!chemin || !cible_libre(*chemin, cible.force)) return std::nullopt;
  cible.chemin = *chemin;
  return cible;
}

/// Length of an image in bytes; 0 where it cannot be had, which opening it will tell about.
std::uint64_t longueur_de(const std::string &chemin) {
  const auto fiche = plateforme::cherche_fichier(chemin);
  return fiche ? fiche->taille : 0;
}

}  // namespace

int commande_hybrid(ContexteCli &contexte) {
  const auto chemins = deux_chemins(contexte.arguments);
  const auto cible = chemins ? cible_demandee(contexte.arguments) : std::nullopt;
  if (!cible) return kEchec;
  errno = 0;
  ResultatDmg expansion;
  const int resultat = hybridation_fichiers(chemins->premier, chemins->second, &expansion, *cible);
  if (resultat == kHybrideExpansion && !expansion.reussi()) {
    operations().afficher_erreur(texte_echec_dmg(expansion, chemins->premier, {}));
    return kEchec;
  }
  if (resultat != kHybrideFaite) {
    annonce_hybridation(resultat, chemins->premier, chemins->second, cible->chemin);
    return kEchec;
  }
  return reussit(contexte, kImageJointe, cible->chemin.empty() ? chemins->second : cible->chemin);
}

int commande_dehybrid(ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.positions[0]);
  const auto cible = chemin ? cible_demandee(contexte.arguments) : std::nullopt;
  if (!cible) return kEchec;
  const bool sur_place = cible->chemin.empty();
  errno = 0;
  const int resultat =
      sur_place ? deshybridation(*chemin, cible->force) : deshybridation_vers(*chemin, *cible);
  if (resultat != kSepareFaite) {
    annonce_separation(resultat, *chemin, cible->chemin);
    return kEchec;
  }
  return reussit(contexte, kImageSeparee, sur_place ? *chemin : cible->chemin);
}

int commande_track_raw(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const auto chemins = deux_chemins(arguments);
  if (!chemins || !cible_libre(chemins->second, arguments.a("force"))) return kEchec;
  const int mode = arguments.valeur("mode", "1") == "2" ? 2 : 1;
  const int resultat = piste_brute(chemins->premier, chemins->second, mode, longueur_de(chemins->premier),
                                   arguments.a("force") ? Ecrasement::toujours : Ecrasement::jamais);
  if (resultat != kPisteFaite) return echoue(resultat, chemins->premier, chemins->second);
  return reussit(contexte, kPiste, chemins->second);
}

int commande_track_video(ContexteCli &contexte) {
  const auto chemins = deux_chemins(contexte.arguments);
  if (!chemins) return kEchec;
  const int resultat = piste_video(chemins->premier, longueur_de(chemins->premier), chemins->second);
  if (resultat != kPisteFaite) return echoue(resultat, chemins->premier, chemins->second);
  return reussit(contexte, kPiste, chemins->second);
}

}  // namespace varnion
