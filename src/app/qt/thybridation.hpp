#pragma once

#include <optional>
#include <string>

namespace varnion {

class TVarnion;

/// The images of a hybridation or deshybridation, working text.
struct ChoixImages {
  std::string source;      ///< the ISO image, or the hybrid one
  std::string cible;       ///< the image to be; `source` where that is changed itself
  bool sur_place = false;  ///< the user chose that and confirmed it
  bool remplace = false;   ///< a file has the name of the target, and may go
};

/// The form of a hybridation with the open image: which ISO image, where the result goes, and in words what
/// is put together, overwritten and lost. Nothing is written. nullopt when the user gives up.
[[nodiscard]] std::optional<ChoixImages> boite_hybridation(TVarnion &fenetre);
/// The same for the image that is to lose its Macintosh partition.
[[nodiscard]] std::optional<ChoixImages> boite_deshybridation(TVarnion &fenetre);

}  // namespace varnion
