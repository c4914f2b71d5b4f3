// Heads of pictures: a size is found or not, whatever the bytes say.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "finder/taille_image.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  static const Fichier fichier = plateforme::fichier_anonyme();
  if (!fichier_tronquer(fichier, 0) || !fichier.ecrire_a({donnees, taille}, 0)) std::abort();
  for (const FormatImage genre : {FormatImage::jpeg, FormatImage::png, FormatImage::tiff, FormatImage::bmp}) {
    const auto lue = taille_image(fichier, genre);
    if (lue && (lue->largeur == 0 || lue->hauteur == 0)) std::abort();
  }
  return 0;
}
