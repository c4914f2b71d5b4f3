#pragma once

#include <cstdint>

#include "hfs/arbre.hpp"

// One look at a whole tree of the mounted volume, in the order of its file. For this folder.

namespace varnion {

struct ExamenArbre {
  bool sain = true;
  std::uint32_t noeud = 0;   ///< where it is not
  std::uint32_t id_max = 0;  ///< highest catalog id in its leaves, in all that can be read when it is damaged
};

/// Reads every node once, in large requests. The tree is sound when the nodes of each level follow each other
/// by their links from the first on, forward and back; have the kind and height of their level; hold whole
/// records in order, of known types, under ascending keys; and point to nodes of the tree. What a killed edit
/// may leave behind passes: counts of records and nodes that are not exact, a leaf without its index record,
/// and a link back from beside a node that was put in or taken out.
[[nodiscard]] ExamenArbre examine_catalogue();
[[nodiscard]] ExamenArbre examine_extents();

}  // namespace varnion
