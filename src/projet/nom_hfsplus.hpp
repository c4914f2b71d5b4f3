#pragma once

#include <string_view>

#include "noms/unicode.hpp"
#include "projet/format.hpp"

// The name that an item of a project gets on an HFS+ volume.

namespace varnion {

/// Working text in the decomposed form of TN1150; ":" becomes "_".
[[nodiscard]] NomUnicode decompose_texte(std::string_view texte);

/// True when the wide name of the source, where there is one, stands on the volume in the place of `nom_hfs`.
[[nodiscard]] bool prend_nom_large(const RubriqueProjet &rubrique, std::u16string_view nom_large);

/// Name of an item on the volume; `nom_large` is the wide name of its source, empty where it has none.
[[nodiscard]] NomUnicode nom_hfsplus_de(const RubriqueProjet &rubrique, std::u16string_view nom_large);

}  // namespace varnion
