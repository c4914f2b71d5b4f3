#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "IO/octets.hpp"
#include "noms/tables.hpp"
#include "noms/unicode.hpp"

namespace varnion {

/// The orders in which the names of an HFS catalog stand.
enum class OrdreHfs : std::uint8_t { publie, classique };

/// The one that the rule in force gives to catalogs that are made.
[[nodiscard]] OrdreHfs ordre_hfs_voulu();
[[nodiscard]] const PoidsHfs &poids_hfs(OrdreHfs ordre);

/// Order of two HFS names in Mac Roman: difference of the first differing weights; a text that ends first is
/// lower, -1 or 1; 0 equal.
[[nodiscard]] int compare_hfs(std::string_view a, std::string_view b, OrdreHfs ordre = ordre_hfs_voulu());

/// The same over exactly `nombre` bytes, without regard to where the texts end; past its end a text weighs 0.
[[nodiscard]] int compare_hfs_n(std::string_view a, std::string_view b, std::size_t nombre,
                                OrdreHfs ordre = ordre_hfs_voulu());

/// Wildcard compare of an HFS name: 0 is a match. Blanks and bytes A0 at the end of the name do not count.
/// "*" matches anything. The parts before and after the first "*" are searched in the lower-cased name,
/// anywhere, and one hit is enough: "ab*cd" matches a name that holds "ab" or "cd". Failing that, a name that
/// begins with the part before the star, in the order's sense of equal, matches too. The pattern is not
/// folded for the search.
[[nodiscard]] int compare_nom_hfs(std::string_view motif, std::string_view nom);

/// Order of two HFS+ names: the FastUnicodeCompare of TN1150. -1, 0 or 1.
[[nodiscard]] int compare_hfsplus(std::span<const be16> a, std::span<const be16> b);

/// Wildcard compare of an HFS+ name: 0 is a match. As for HFS, but the search is plain: no folding, nothing
/// stripped.
[[nodiscard]] int compare_nom_hfsplus(const NomUnicode &motif, const NomUnicode &nom);

/// Case folding of TN1150: 0 for a unit that the compare ignores, FFFF for a true zero.
[[nodiscard]] std::uint16_t pliage_hfsplus(std::uint16_t unite);

}  // namespace varnion
