#pragma once

#include <optional>
#include <string>

#include <QString>

#include "IO/dossier_sortie.hpp"

namespace varnion {

/// Where a file that the user named in a dialog goes.
struct CibleSortie {
  DossierSortie dossier;
  std::string nom;  ///< UTF-8
};

/// Opens the folder of a path in UTF-8, after the question whether a file that is there is written over.
/// nullopt when the user says no, or after a message.
[[nodiscard]] std::optional<CibleSortie> cible_choisie(const QString &chemin);

}  // namespace varnion
