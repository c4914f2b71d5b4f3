#pragma once

#include <cstdint>
#include <vector>

#include "projet/arborescence.hpp"

namespace varnion {

class TVarnion;

/// The items that a command acts on, in the order shown: the folder of the tree, never the root, or what is
/// selected in the list, found in one pass over its folder.
[[nodiscard]] std::vector<ElementTrouve> rubriques_choisies(const TVarnion &fenetre);

/// The end of every change of a project: the size is computed anew, the file brought to the disk, the panes
/// read again, and the items given are selected in the list.
void montre_changement(TVarnion &fenetre, const std::vector<std::uint32_t> &choisies = {});

}  // namespace varnion
