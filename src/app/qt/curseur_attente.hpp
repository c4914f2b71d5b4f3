#pragma once

#include <QCursor>

namespace varnion {

constexpr int kImagesCurseur = 12;
/// The busy cursor: a disc that fills by a twelfth with each picture, 0 to 11.
[[nodiscard]] QCursor curseur_attente(int image);

}  // namespace varnion
