#pragma once

#include <optional>
#include <string>

#include "IO/dossier_sortie.hpp"

namespace varnion {

class TVarnion;

/// The folder that the last copy of this run went to, working text; "" before the first.
struct CibleCopie {
  std::string chemin;
};

struct CibleChoisie {
  std::string chemin;  ///< working text, closed by "/"
  DossierSortie dossier;
};

/// Asks for the folder that a copy to the PC of so many items goes to, and keeps it for the next time
/// (setting `Reper`); nullopt when the user gives up.
[[nodiscard]] std::optional<CibleChoisie> choisit_cible(TVarnion &fenetre, std::size_t elements);

}  // namespace varnion
