#pragma once

#include <string>
#include <vector>

#include <QString>
#include <QWidget>

namespace varnion {

/// What a compile left out or found changed, under the line that tells its end.
void montre_remarques(QWidget *parent, const QString &texte, const std::vector<std::string> &remarques);

}  // namespace varnion
