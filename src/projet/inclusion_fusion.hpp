#pragma once

#include <cstdint>
#include <span>

#include "projet/fichier_projet.hpp"
#include "projet/inclusion_lots.hpp"

namespace varnion {

enum class ResultatFusion {
  faite,
  impossible,  ///< not done (`errno` tells); the project is as it was
  abimee,      ///< an overwrite failed half-way and could not be taken back
};

/// Brings the records of a scan into a project in one pass: those of each folder of `cibles` into the run of
/// its children, those of the new folders, whose numbers are above all others, behind the end in ascending
/// order of their folder. Room is taken at the end of the file first, so that a full disk is met before
/// anything is overwritten. The counters and counts in the head are not touched.
[[nodiscard]] ResultatFusion fusionne_lots_projet(FichierProjet &projet,
                                                  std::span<const std::uint32_t> cibles,
                                                  const LotsRubriques &lots);

}  // namespace varnion
