#pragma once

#include <cstdint>

// For the opening of images: what stands at a place of the image, and the mount there.

namespace varnion {

/// True when a volume header of HFS, HFS+ or HFSX begins two sectors behind `debut`.
[[nodiscard]] bool porte_volume(std::uint64_t debut);

/// Mounts the volume at sector `debut` and notes its name. `publiee`: a wrapper whose clump size leads to no
/// volume is read by its block size. False when there is no volume header: then nothing changes.
[[nodiscard]] bool monte_volume(std::uint64_t debut, bool publiee);

}  // namespace varnion
