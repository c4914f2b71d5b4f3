#pragma once

#include <optional>

#include "projet/fichier_projet.hpp"

class QWidget;

namespace varnion {

/// What the head of a project says about the disc, as the boxes stand.
struct OptionsDisque {
  bool hfsplus = false, reconstruire = false, icone = false, ouvrir_racine = false;
};

/// Counts, sizes and options of a project; nullopt when the user gives up. An ISO+ project has its counts and
/// sizes only, and nothing to take. More than 65,535 items in the HFS view turn the project into HFS+.
[[nodiscard]] std::optional<OptionsDisque> saisit_proprietes_disque(QWidget *parent, FichierProjet &projet);

}  // namespace varnion
