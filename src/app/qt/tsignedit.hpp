#pragma once

namespace varnion {

class TVarnion;

/// Shows the editor of signature files. True when something was saved: the table is to be read anew.
[[nodiscard]] bool edite_fichier_signatures(TVarnion &fenetre);

}  // namespace varnion
