#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void compile_projet(TVarnion & /*fenetre*/) {}

void hybride(TVarnion & /*fenetre*/) {}

void deshybride(TVarnion & /*fenetre*/) {}

}  // namespace varnion
