#pragma once

#include <cstdint>
#include <vector>

#include "hfs/arbre.hpp"

// For the walks of this folder: many sectors with one request.

namespace varnion {

/// A run of sectors of the medium, kept for the reads that fall into it. What the medium does not hold reads
/// as zeros. It does not see what is written meanwhile.
class FenetreSecteurs {
 public:
  static constexpr std::uint32_t kSecteurs = 128;

  /// `nombre` sectors, at most kSecteurs, good until the next call.
  [[nodiscard]] OctetsNoeud lit(std::uint64_t secteur, std::uint32_t nombre);

 private:
  std::vector<std::uint8_t> octets_;
  std::uint64_t debut_ = 0;
};

/// A node of a tree through the window: the current node of the tree stays as it is. Empty when the number
/// exceeds totalNodes or the file of the tree does not reach that far.
[[nodiscard]] OctetsNoeud lit_noeud_fenetre(FenetreSecteurs &fenetre, const DescripteurArbre &arbre,
                                            std::uint32_t noeud);

}  // namespace varnion
