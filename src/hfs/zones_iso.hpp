#pragma once

#include <cstdint>
#include <vector>

// The sectors that the ISO 9660 side of a hybrid image uses (ECMA-119; Joliet; El Torito; the continuation
// areas of IEEE P1281). A Macintosh volume of the same image shares the data of files with it, so that a
// block which is free there may be in use here.

namespace varnion {

/// Sectors [debut, fin) of the image.
struct ZoneIso {
  std::uint64_t debut = 0;
  std::uint64_t fin = 0;
};

/// All of them, in order and apart from each other: the system area, the descriptors, path tables,
/// directories, files and boot images of every tree. Empty for an image without an ISO 9660 volume. Each
/// sector of a directory is read once, whatever the records say.
[[nodiscard]] std::vector<ZoneIso> lit_zones_iso();

/// The same for the mounted image, kept from the first call on.
[[nodiscard]] const std::vector<ZoneIso> &zones_iso();
void oublie_zones_iso();

/// The first zone of the mounted image that ends behind a sector; one at the end of all numbers when there is
/// none.
[[nodiscard]] ZoneIso zone_iso_apres(std::uint64_t secteur);
/// True when one of them has a sector of [debut, fin).
[[nodiscard]] bool touche_iso(std::uint64_t debut, std::uint64_t fin);

/// True when the image has an ISO 9660 volume.
[[nodiscard]] bool porte_iso();

/// Sectors in front of the first descriptor.
constexpr std::uint64_t kSecteursSystemeIso = 64;

}  // namespace varnion
