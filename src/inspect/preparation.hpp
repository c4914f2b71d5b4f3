#pragma once

#include <cstdint>

#include "inspect/analyse.hpp"

namespace varnion {

/// The state that a walk through the headers of a medium would leave on the way to sector `numero`: the
/// volume header of the volume that holds the sector, and the header node of the tree that does. Maps of
/// Apple, GUID tables and master boot records are followed, as is a wrapper with an HFS+ volume in it;
/// `fichier` is the file that the source shows. Nothing found leaves all at 0.
[[nodiscard]] EtatAnalyse etat_pour_secteur(const SourceSecteurs &source, const Fichier &fichier,
                                            std::int64_t numero);

}  // namespace varnion
