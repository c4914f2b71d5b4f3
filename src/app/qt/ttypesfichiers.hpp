#pragma once

#include <optional>

class QWidget;

namespace varnion {

/// Asks which kinds of documents to register: their bits (`types_fichiers.hpp`), nullopt when the user gives
/// up.
[[nodiscard]] std::optional<unsigned> montre_types_fichiers(QWidget *parent);

}  // namespace varnion
