#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void montre_aide(int /*sujet*/) {}

void montre_aide_recherche() {}

void montre_aide_index() {}

void montre_aide_support() {}

}  // namespace varnion
