#pragma once

#include <optional>
#include <string>
#include <string_view>

class QWidget;

namespace varnion {

/// Lets the user choose a row of the signature table. `initiale`: 8 bytes, type then creator, whose row is
/// selected at first where there is one. The 8 bytes of the row chosen, nullopt when the user gives up.
[[nodiscard]] std::optional<std::string> choisit_signature(QWidget *parent, std::string_view initiale);

}  // namespace varnion
