#pragma once

#include <cstdint>

#include "projet/fichier_projet.hpp"

namespace varnion {

/// Rank before which a record belongs: the first of a greater `pere`, or of the same and a `nom_iso` not
/// lower. The record at rank `sauf` does not count (0: all do). The order within a run may be broken, so a
/// run is read through.
[[nodiscard]] std::uint64_t place_insertion(const FichierProjet &projet, const RubriqueProjet &rubrique,
                                            std::uint64_t sauf);

}  // namespace varnion
