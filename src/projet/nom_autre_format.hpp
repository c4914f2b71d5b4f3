#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// A name of the HFS side through a change of the project's format, classic HFS to HFS+ or back. The name is
// carried over; where that alone would not bring the old one back later, what it takes is kept in the field
// behind the NUL of the name. A name that is written anew clears the field, and what was kept with it.

namespace varnion {

constexpr std::size_t kChampNomHfs = 64;
using ChampNomHfs = std::array<char, kChampNomHfs>;

/// What the names of one item are made from, in working text.
struct OriginesNom {
  /// Its name on the disk: the automatic name of either format, cut to what the format holds. "": none.
  std::string source;
  /// What an automatic name becomes in classic HFS; in HFS+ it becomes that of the source.
  std::string iso;
};

/// Shortens a name to `limite` bytes; nullopt when the user gives up.
using Troncature = std::function<std::optional<std::string>(std::string_view nom, std::size_t limite)>;

struct NomConverti {
  ChampNomHfs champ{};
  bool abandonne = false;  ///< the user gave the name up: the field holds ""
  bool perdu = false;      ///< the name that stood there does not come back with the old format
};
/// The field of a name for the format `hfsplus`, from that for the other one. `limite`: bytes of a name
/// there. Classic names are Mac Roman of at most `limite_hfs` bytes.
[[nodiscard]] NomConverti convertit_nom(const ChampNomHfs &champ, bool hfsplus, std::size_t limite_hfs,
                                        const OriginesNom &origines, const Troncature &tronque);

}  // namespace varnion
