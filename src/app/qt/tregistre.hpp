#pragma once

#include <string>

namespace varnion {

class TVarnion;

/// Shows which signature file the settings keep and lets the user name another. True when one was taken and
/// the table was read anew.
[[nodiscard]] bool montre_registre(TVarnion &fenetre);

/// Reads the signature table as the start of the program does: the file of the settings, else one of the
/// "*.sig" of the current folder, which the user chooses among several, else the one that comes with it.
void charge_signatures_du_programme(TVarnion &fenetre);

}  // namespace varnion
