// Alias records: items lie inside the record, the texts of the dialog are of bounded length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "finder/alias.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  const std::span<const std::uint8_t> alias(donnees, taille);
  for (const EtiquetteAlias &etiquette : etiquettes_alias(alias)) {
    const auto octets = etiquette.octets;
    if (etiquette.etiquette == kEtiquetteFin) std::abort();
    if (!octets.empty() && (octets.data() < donnees || octets.data() + octets.size() > donnees + taille))
      std::abort();
  }
  const TextesAlias textes = textes_alias(alias);
  if (textes.fichier.size() > 63 || textes.volume.size() > 27 || textes.chemin.size() > 207) std::abort();
  return 0;
}
