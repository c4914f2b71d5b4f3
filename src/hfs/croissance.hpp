#pragma once

#include <cstdint>

// Growth of the catalog file. For this folder's sources.

namespace varnion {

enum class SiImpossible { message, silence };

/// True when this many catalog nodes can be had; the catalog file is doubled for it while the allocation
/// bitmap is loaded (without one, as over the compiler's window, nothing grows). Failure shows 1080 when a
/// growth was tried; with `silence` a few nodes are tried for instead. The current-node buffer of the catalog stays as it is.
[[nodiscard]] bool assure_noeuds(std::uint32_t nombre, SiImpossible sinon = SiImpossible::message);

/// Brings the node counts of the headers down to what the files hold, and gives every catalog node its bit.
/// The bitmap and the node map are loaded.
void accorde_catalogue();

}  // namespace varnion
