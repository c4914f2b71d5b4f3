#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "projet/fichier_projet.hpp"

namespace varnion {

/// Moves items of the folder `pere` into the folder `vers`, folders with all below them. One that would go
/// into itself (1407) or whose name is taken there (1405, 1406) stays, after its message. The counts of both
/// folders follow, the parents are opened in the views of what came; the running estimate is the caller's.
/// A folder that comes below one with a higher number is numbered anew with all folders in it: numbers grow
/// on the way down. The numbers that the moved items have now; nullopt on an error, with the project as it
/// was; the user was told.
[[nodiscard]] std::optional<std::vector<std::uint32_t>> deplace_rubriques(
    FichierProjet &projet, std::uint32_t pere, std::span<const std::uint32_t> numeros, std::uint32_t vers);

}  // namespace varnion
