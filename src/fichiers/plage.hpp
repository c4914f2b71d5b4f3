#pragma once

#include <cstdint>

namespace varnion {

/// A range of bytes of a file, where one fork of a Macintosh file lies.
struct PlageFourche {
  std::uint64_t position = 0;
  std::uint64_t longueur = 0;
};

/// The part of the announced range that a file of `taille` bytes really holds. A range that starts behind the
/// end comes back empty at the end of the file.
[[nodiscard]] constexpr PlageFourche plage_bornee(std::uint64_t position, std::uint64_t longueur,
                                                  std::uint64_t taille) {
  if (position > taille) return {taille, 0};
  return {position, longueur < taille - position ? longueur : taille - position};
}

}  // namespace varnion
