#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fichiers/plage.hpp"
#include "IO/fichier.hpp"
#include "IO/octets.hpp"

// The resource fork (Inside Macintosh: More Macintosh Toolbox, 1-121): a head, the data of the resources, a
// map with a list of types, lists of references and a list of names.

namespace varnion {

struct TeteRessources {
  be32 position_data;   // 0    from the start of the fork
  be32 position_carte;  // 4
  be32 longueur_data;   // 8
  be32 longueur_carte;  // 12
};
static_assert(sizeof(TeteRessources) == 16);

/// One resource. Positions count from the start of the file that the map was read from.
struct RessourceMac {
  std::string type;  ///< 4 bytes, Mac Roman
  std::int16_t id = 0;
  std::string nom;  ///< Mac Roman, "" for none
  std::uint8_t attributs = 0;
  std::uint64_t position = 0;  ///< of its length word; the bytes follow
  std::uint32_t longueur = 0;  ///< as the length word says; 0 where it lies outside the fork
  bool presente = false;       ///< all of it lies inside the fork

  [[nodiscard]] PlageFourche octets() const { return {position + sizeof(be32), longueur}; }
};

/// The resources of a fork in the order of its map; none for an empty fork or map. nullopt when the map does
/// not lie in the fork. Lists that overlap or run past the map are cut where no map has more entries.
[[nodiscard]] std::optional<std::vector<RessourceMac>> lit_ressources(const Fichier &fichier,
                                                                      PlageFourche fourche);
/// The same for a fork that is all of a file behind `base`.
[[nodiscard]] std::optional<std::vector<RessourceMac>> lit_ressources(const Fichier &fichier,
                                                                      std::uint64_t base = 0);
/// The bytes of one; nullopt when they are more than `limite` or cannot be read.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> lit_ressource(const Fichier &fichier,
                                                                     const RessourceMac &ressource,
                                                                     std::uint32_t limite);

/// Where the fork begins in a file that may be an AppleDouble companion: 82 in every companion, 0 else. RFC
/// 1740 leaves the place to entry 2; 82 is where companions with two entries have it, and one with the fork
/// elsewhere is read wrongly.
[[nodiscard]] std::uint64_t base_ressources(const Fichier &fichier);

/// True when the fork at the file's position has a `BNDL`. A fork whose data does not start at 0x100, where
/// the Resource Manager puts it, has none.
[[nodiscard]] bool a_bundle(const Fichier &fichier);
[[nodiscard]] bool a_bundle(const Fichier &fichier, std::uint64_t position);

}  // namespace varnion
