// Resource forks: what the map gives as present lies inside the file, and there is no more of it than the map
// has room for.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fichiers/ressources.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  static const Fichier fichier = plateforme::fichier_anonyme();
  if (!fichier_tronquer(fichier, 0) || !fichier.ecrire_a({donnees, taille}, 0)) std::abort();
  const auto ressources = lit_ressources(fichier, base_ressources(fichier));
  (void)a_bundle(fichier, 0);
  if (!ressources) return 0;
  if (ressources->size() > taille / 12) std::abort();
  for (const RessourceMac &ressource : *ressources) {
    const PlageFourche octets = ressource.octets();
    if (ressource.type.size() != 4 || ressource.nom.size() > 255) std::abort();
    if (!ressource.presente) continue;
    if (octets.position > taille || octets.longueur > taille - octets.position) std::abort();
    if (ressource.longueur <= 4096 && !lit_ressource(fichier, ressource, 4096)) std::abort();
  }
  return 0;
}
