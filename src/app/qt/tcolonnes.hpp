#pragma once

#include <array>
#include <optional>

class QWidget;

namespace varnion {

/// Widths of the list's columns and of the tree, in pixels; 0 hides.
struct LargeursPanneaux {
  std::array<int, 7> colonnes{};
  int arbre = 0;
};

/// Shows the column settings. nullopt when the user gives up; a column that is checked without a width keeps
/// the one it had, or takes the default one when it was hidden.
[[nodiscard]] std::optional<LargeursPanneaux> montre_colonnes(QWidget *parent,
                                                              const LargeursPanneaux &actuelles);

}  // namespace varnion
