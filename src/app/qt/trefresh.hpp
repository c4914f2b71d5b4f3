#pragma once

#include <vector>

#include "projet/rafraichissement.hpp"

namespace varnion {

class TVarnion;

/// Shows `TRefresh` over the project of the window: each difference is accepted, which changes the project at
/// once, or rejected. Returns when the lists are empty or the user closes the form.
void montre_differences(TVarnion &fenetre, std::vector<Difference> differences);

}  // namespace varnion
