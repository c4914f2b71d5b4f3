#pragma once

#include <functional>
#include <optional>

#include <QString>

class QWidget;

namespace varnion {

/// What the user changed in the properties of the mounted volume; what is empty stays.
struct DemandeVolume {
  std::optional<QString> label;  ///< as typed, never empty
  std::optional<bool> icone;     ///< custom icon
};
/// Writes; false, after a message, keeps the dialog open.
using EcritVolume = std::function<bool(const DemandeVolume &)>;

/// Longest label that the mounted volume takes, in characters.
[[nodiscard]] int longueur_label_max();

/// The properties of the mounted volume, to be looked at and changed: 2 written, 0 closed.
int montre_proprietes_volume(QWidget *parent, bool lecture_seule, const EcritVolume &ecrit);

/// Asks for another label of the mounted volume: 1 written, 0 given up.
int demande_label_volume(QWidget *parent, const EcritVolume &ecrit);

}  // namespace varnion
