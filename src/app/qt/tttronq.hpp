#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class QWidget;

namespace varnion {

/// The form for a name that is too long, by the caption that the core gives: `TTTronq` for a name on its way
/// to an HFS volume (1490), `TTroncature` for the names of a project (1280 ISO, 1282 HFS, 1279 HFS+),
/// `TNomPC` for the name of a file on the PC (1136). True and the name, of at most `limite` bytes, in `nom`;
/// false when the user gives up. What the boxes say stays in force: `choix_troncature`, `troncature_noms`,
/// the option word.
[[nodiscard]] bool saisit_nom_tronque(QWidget *parent, std::string_view legende, std::string &nom,
                                      std::size_t limite);

}  // namespace varnion
