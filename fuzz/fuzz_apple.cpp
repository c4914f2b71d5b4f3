// AppleSingle and AppleDouble: every range that the table gives lies inside the file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "fichiers/applesimple.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  const std::span<const std::uint8_t> octets(donnees, taille);
  static const Fichier fichier = plateforme::fichier_anonyme();
  if (!fichier_tronquer(fichier, 0) || !fichier.ecrire_a(octets, 0)) std::abort();
  if (est_applesingle(fichier) != (magie_apple(octets) == kMagieAppleSingle)) std::abort();
  const FourchesApple fourches = entrees_applesingle(fichier);
  for (const PlageFourche plage : {fourches.data, fourches.rsrc, taille_entree_apple(fichier)})
    if (plage.position > taille || plage.longueur > taille - plage.position) std::abort();
  const auto signature = signature_apple(octets);
  if (signature && signature->size() != 8) std::abort();
  const auto info = info_finder_apple(octets.first(std::min(taille, kLectureAppleScan)));
  if (!info.empty() && (info.data() < donnees || info.data() + info.size() > donnees + taille)) std::abort();
  return 0;
}
