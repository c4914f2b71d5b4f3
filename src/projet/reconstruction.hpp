#pragma once

#include <cstdint>

#include "projet/fichier_projet.hpp"

namespace varnion {

struct BilanReconstruction {
  std::uint64_t suppressions = 0;   ///< items whose source is gone; what lay below a folder is not counted
  std::uint64_t modifications = 0;  ///< files of another length
  std::uint64_t fichiers = 0, dossiers = 0;  ///< added
  std::uint64_t echecs = 0;                  ///< items left out with a message
  bool abouti = false;                       ///< false: stopped or failed, the project is as it was

  [[nodiscard]] bool complet() const { return abouti && echecs == 0; }
};

/// Brings a project up to date with the disk without asking: items whose source is gone leave, lengths
/// follow, and what is new in its folders comes in; new names at the root only where all its items come from
/// one disk folder. Each change is a journal line. Names, views and flags of the items that stay are kept.
[[nodiscard]] BilanReconstruction reconstruction_projet(FichierProjet &projet);

}  // namespace varnion
