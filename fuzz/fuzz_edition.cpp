// Editing: whatever is damaged in a volume, put, folders, renames, moves, deletions and the rest end, and
// nothing is written outside of the image.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "hfs/edition_abimee.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion::essai;
  static const VolumeSain kSains[2] = {FabriqueVolume::fabrique(false), FabriqueVolume::fabrique(true)};
  if (kSains[0].octets.empty() || kSains[1].octets.empty()) std::abort();
  const std::string faute = EditionAbimee::joue(kSains, {donnees, taille});
  if (!faute.empty()) {
    std::fprintf(stderr, "%s\n", faute.c_str());
    std::abort();
  }
  return 0;
}
