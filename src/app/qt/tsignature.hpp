#pragma once

#include <QString>

#include "hfs/operations_catalogue.hpp"

class QWidget;

namespace varnion {

enum ChoixSignature : int {
  kIgnorerTout = -1,  ///< also when the form is closed
  kIgnorer = 0,       ///< and when nothing was changed
  kChanger = 1,
  kChangerTout = 2,
};

/// Lets the user change the type and creator of one item; what was changed goes into `signature`.
[[nodiscard]] int edite_signature(QWidget *parent, const QString &nom, Signature &signature);

}  // namespace varnion
