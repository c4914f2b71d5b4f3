#pragma once

#include <cstddef>
#include <string>

class QWidget;

namespace varnion {

/// Asks for the name that a Macintosh file gets on the PC: `nom`, working text, is the one proposed and
/// becomes the answer, at most `limite` characters. False when the user leaves the file out.
[[nodiscard]] bool demande_nom_pc(QWidget *parent, const std::string &mac, std::string &nom,
                                  std::size_t limite);

}  // namespace varnion
