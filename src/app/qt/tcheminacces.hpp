#pragma once

namespace varnion {

class TVarnion;

/// Shows the box that replaces the beginning of access paths. True when a path was replaced at least once.
[[nodiscard]] bool montre_chemin_acces(TVarnion &fenetre);

}  // namespace varnion
