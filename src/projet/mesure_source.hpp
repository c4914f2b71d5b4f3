#pragma once

#include <optional>

#include "projet/format.hpp"
#include "projet/inclusion_fichier.hpp"

// What a source is by now, against what its item says: containers change with their companions and streams,
// and within an unchanged length.

namespace varnion {

/// A fresh record of the source: coding, fork lengths, type and creator, recognised as at an inclusion.
[[nodiscard]] RubriqueProjet mesure_source(const Fichier &fichier, const SourceInclusion &source);
/// The same for the source of an item, as it opens by its path; nullopt when it does not.
[[nodiscard]] std::optional<RubriqueProjet> mesure_source(const RubriqueProjet &rubrique, bool hfsplus);

/// True when coding or fork lengths differ.
[[nodiscard]] bool autre_mesure(const RubriqueProjet &a, const RubriqueProjet &b);
/// Gives an item the length, the coding and the forks of the fresh record. Names, views and dates stay; type,
/// creator and the flags that come with them too, unless the source became another kind of file.
void reprend_mesure(RubriqueProjet &rubrique, const RubriqueProjet &neuve);

}  // namespace varnion
