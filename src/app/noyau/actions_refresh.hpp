#pragma once

#include <optional>
#include <string>

#include "app/noyau/ligne_commande.hpp"

namespace varnion {

/// Rebuilds the project at a path and saves it; the changes go to the log `journal` when one is given (both
/// working text). Exit status; the counts go to the results.
[[nodiscard]] int reconstruit_projet(ContexteCli &contexte, const std::string &chemin,
                                     const std::optional<std::string> &journal);

}  // namespace varnion
