#include "app/noyau/actions_hybride.hpp"

#include <cerrno>

#include "app/noyau/console.hpp"
#include "compil/hybridation.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::size_t kCheminMessage = 200;

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
    {kHybrideAmorce, 7781, 2},
};
constexpr MotResultat kMotsSepare[] = {
    {kSepareFermee, 6349, 1, true}, {kSepareSansDebut, 6356, 1},      {kSeparePasHybride, 6346},
    {kSeparePartage, 6357},         {kSepareEcriture, 6344, 0, true}, {kSepareArret, 7783},
    {kSeparePlace, 1073},
};
// Of a new file, which the messages name.
constexpr MotResultat kMotsCible[] = {
    {kHybrideCible, 6360, 1, true},
    {kHybrideMemes, 7782, 1},
};
constexpr MotResultat kMotsCibleSeparee[] = {
    {kSepareCible, 6360, 1, true},
    {kSepareMemes, 7782, 1},
};

}  // namespace

std::string texte_resultat(std::span<const MotResultat> mots, int resultat, const std::string &premier,
                           const std::string &second) {
  const std::string systeme = plateforme::texte_erreur(errno);
  for (const MotResultat &mot : mots) {
    if (mot.resultat != resultat) continue;
    const std::string chemin = tronque_chemin(mot.chemin == 2 ? second : premier, kCheminMessage);
    return mot.chemin == 0 ? message(mot.texte, {systeme}) : message(mot.texte, {chemin, systeme});
  }
  return {};
}

void dit_resultat(std::span<const MotResultat> mots, int resultat, const std::string &premier,
                  const std::string &second) {
  const std::string texte = texte_resultat(mots, resultat, premier, second);
  if (!texte.empty()) operations().afficher_erreur(texte);
}

std::string texte_hybridation(int resultat, const std::string &partition, const std::string &iso) {
  return texte_resultat(kMotsHybride, resultat, partition, iso);
}

std::string texte_separation(int resultat, const std::string &chemin) {
  return texte_resultat(kMotsSepare, resultat, chemin, {});
}

void annonce_hybridation(int resultat, const std::string &partition, const std::string &iso,
                         const std::string &cible) {
  const int erreur = errno;
  dit_resultat(kMotsHybride, resultat, partition, iso);
  errno = erreur;
  dit_resultat(kMotsCible, resultat, cible, {});
}

void annonce_separation(int resultat, const std::string &chemin, const std::string &cible) {
  const int erreur = errno;
  dit_resultat(kMotsSepare, resultat, chemin, {});
  errno = erreur;
  dit_resultat(kMotsCibleSeparee, resultat, cible, {});
}

std::string texte_image(int texte, const std::string &chemin) {
  const auto fiche = plateforme::cherche_fichier(chemin);
  return message(texte, {chemin, taille_lisible(fiche ? fiche->taille : 0)});
}

}  // namespace varnion
