#pragma once

#include <optional>

#include "finder/ds_store.hpp"

class QWidget;

namespace varnion {

class TVarnion;

/// The form that lays out the window of the disc's root. nullopt when the user gives up.
[[nodiscard]] std::optional<ValeursFenetre> dispose_fenetre(TVarnion &fenetre, const ValeursFenetre &valeurs);

}  // namespace varnion
