#pragma once

#include "hfs/catalogue.hpp"

class QWidget;

namespace varnion {

/// Shows where an alias file leads. The record is never written back: 1 for Save, 0 for Cancel and, after
/// message 1194, for a record that cannot be read.
[[nodiscard]] int montre_alias(QWidget *parent, const ElementMac &fichier);

}  // namespace varnion
