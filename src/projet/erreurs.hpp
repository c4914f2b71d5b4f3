#pragma once

#include <cstdint>
#include <string_view>

namespace varnion {

/// Shows "Error writing the project file" with the system's reason (`errno`), and gives false.
bool echec_ecriture_projet(std::string_view chemin);

/// Journal line on a structure that cannot be followed as it stands; `dossier` is the folder number at hand.
void note_arbre_abime(std::string_view chemin, std::uint32_t dossier);

}  // namespace varnion
