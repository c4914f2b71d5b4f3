#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "projet/fichier_projet.hpp"

namespace varnion {

/// Replaces the beginning of the access paths of a project after its sources were moved. Both texts get a
/// closing separator, and "/" and "\" are one and the same; what lies behind the replaced part takes the
/// separator of the new text. A folder that is itself the old one takes its name from the new. Names in the
/// views stay. Number of items changed; nullopt, after a message, when a new path does not fit its field or
/// the project cannot be written: it is as it was then.
[[nodiscard]] std::optional<std::uint64_t> changement_chemin(FichierProjet &projet, std::string_view ancien,
                                                             std::string_view nouveau);

}  // namespace varnion
