// MacBinary: whatever the head says, the fork ranges lie inside the file.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fichiers/macbinaire.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  const std::span<const std::uint8_t> octets(donnees, taille);
  static const Fichier fichier = plateforme::fichier_anonyme();
  if (!fichier_tronquer(fichier, 0) || !fichier.ecrire_a(octets, 0)) std::abort();
  if (est_macbinaire(fichier) != est_macbinaire(octets, taille)) std::abort();
  const auto tete = lit_tete_macbinaire(fichier);
  if (tete.has_value() != (taille >= 128)) std::abort();
  if (!tete) return 0;
  if (nom_macbinaire(*tete).size() > kNomMacBinaireMax) std::abort();
  for (const PlageFourche plage :
       {plage_data_macbinaire(*tete, taille), plage_rsrc_macbinaire(*tete, taille)})
    if (plage.position > taille || plage.longueur > taille - plage.position) std::abort();
  return 0;
}
