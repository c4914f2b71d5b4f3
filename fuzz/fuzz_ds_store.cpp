// `.DS_Store` files: what is read is in the bounds that a window has, and can be written and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "finder/ds_store.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  const auto lu = lit_ds_store(std::span(donnees, taille));
  if (!lu) return 0;
  if (!lu->valeurs.valides() || lu->nom_image.size() > 63) std::abort();
  std::size_t besoin = 0;
  const auto ecrit = fait_ds_store(lu->valeurs, {}, &besoin);
  if (!ecrit && besoin <= kPlaceDsStore) std::abort();
  if (!ecrit) return 0;
  const auto relu = lit_ds_store(*ecrit);
  if (!relu || relu->valeurs.elements.size() != lu->valeurs.elements.size()) std::abort();
  if (relu->valeurs.rect != lu->valeurs.rect) std::abort();
  return 0;
}
