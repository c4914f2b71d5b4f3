#pragma once

#include <string>

#include <QWidget>

namespace varnion {

class FichierProjet;

/// The ISO Descriptor box: the identifiers of the volume descriptor, as the head of the project keeps them.
/// `label`: the volume name shown, and the one typed. True when the user took it and the head was written.
[[nodiscard]] bool boite_descripteur(QWidget *parent, FichierProjet &projet, std::string &label);

}  // namespace varnion
