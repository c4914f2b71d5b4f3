#pragma once

namespace varnion {

class TVarnion;

/// Shows the box that replaces the beginning of access paths. True when the user replaced at least once,
/// whatever was found.
[[nodiscard]] bool montre_chemin_acces(TVarnion &fenetre);

}  // namespace varnion
