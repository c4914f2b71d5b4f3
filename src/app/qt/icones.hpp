#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace varnion {

/// An icon of the program by its name. Strokes that a drawing leaves open ("currentColor") take `trait`, so
/// that the icon can be read on a light and on a dark ground.
[[nodiscard]] QIcon icone(const QString &nom, const QColor &trait);

/// The icon for a type of file of the PC, by the extension of its name: that of the desktop, else one of this
/// program for its kind, else `defaut`.
[[nodiscard]] QIcon icone_extension(const QString &nom, const QIcon &defaut);

}  // namespace varnion
