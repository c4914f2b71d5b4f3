#pragma once

#include <cstdint>

// In which order the names of the mounted HFS catalog stand. A mount takes it for that of the rule in force; where a
// name is not found, and before the first change, the leaves tell. For this folder, and for the compiler, whose
// catalogs need no look.

namespace varnion {

/// Reads the leaves along their chain, at most once for a mount, and sets `VolumeCourant::ordre`. A catalog that
/// stands in both orders keeps that of the rule.
void reconnait_ordre();

/// Why the order forbids changes.
enum class RefusOrdre : std::uint8_t {
  aucun,
  classique,  ///< the published rule holds, and the names stand in the classic order
  desordre,   ///< they stand in neither; a new name has no place
};
[[nodiscard]] RefusOrdre refus_ordre();

}  // namespace varnion
