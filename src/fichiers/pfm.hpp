#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varnion {

/// What the clear text of a Type 1 font tells for its metrics.
struct TraitsPostscript {
  std::string nom;
  std::array<int, 4> boite{};  ///< FontBBox: left, bottom, right, top, in thousandths of the body
  bool italique = false;
  bool gras = false;
  bool fixe = false;
  std::uint8_t premier = 0x20, dernier = 0xFF;  ///< codes that the encoding uses
};

/// nullopt for a text with no "/FontName /", and for one whose encoding is neither the standard one nor a
/// list, which is told on the error output.
[[nodiscard]] std::optional<TraitsPostscript> lit_traits_postscript(std::string_view texte);

/// A printer metrics file (PFM) with generic widths: those of the font itself lie in its encrypted part.
[[nodiscard]] std::vector<std::uint8_t> fait_pfm(const TraitsPostscript &traits);

}  // namespace varnion
