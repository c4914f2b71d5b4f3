#pragma once

#include <string>

#include "app/noyau/ligne_commande.hpp"
#include "IO/fichier_voisin.hpp"

namespace varnion {

/// Turns the compressed disk image `source` into the plain image `cible`, with questions, progress and
/// messages; `usuelle` keeps to the usual reading without a question. Exit status.
[[nodiscard]] int decompresse_vers(ContexteCli &contexte, const std::string &source, const std::string &cible,
                                   bool usuelle, Ecrasement ecrasement);

}  // namespace varnion
