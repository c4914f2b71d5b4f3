#pragma once

#include <QString>
#include <QStringList>

// Files of the PC looked for by name.

namespace varnion {

/// Mount points that a user keeps files on, "/" first.
[[nodiscard]] QStringList disques();
/// The one that a path lies on, whether it exists or not.
[[nodiscard]] QString disque_de(const QString &chemin);

/// Full paths of the files, or folders, of a name below the roots, without crossing to another mount point or
/// following links; at most `limite`. To be run on a worker: a stop ends it with what was found.
[[nodiscard]] QStringList cherche_sur_disque(const QStringList &racines, const QString &nom, bool dossier,
                                             int limite);

}  // namespace varnion
