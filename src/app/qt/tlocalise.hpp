#pragma once

#include <cstdint>

class QWidget;

namespace varnion {

class TVarnion;

/// Looks for the source of an item of the project on the disks and gives the item the place where it was
/// found. True when the project changed.
[[nodiscard]] bool localise_source(TVarnion &fenetre, QWidget &parent, std::uint32_t dossier,
                                   std::uint32_t numero);

}  // namespace varnion
