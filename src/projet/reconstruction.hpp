#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "projet/fichier_projet.hpp"

namespace varnion {

struct BilanReconstruction {
  std::uint64_t suppressions = 0;   ///< items whose source is gone; what lay below a folder is not counted
  std::uint64_t modifications = 0;  ///< files of another length
  std::uint64_t fichiers = 0, dossiers = 0;  ///< added
  std::uint64_t echecs = 0;                  ///< items left out with a message
  bool abouti = false;                       ///< false: stopped, failed or refused, the project is as it was
  bool refusee = false;  ///< a folder of the root is gone, and the user does not want its items to go

  [[nodiscard]] bool complet() const { return abouti && echecs == 0; }
};

struct OptionsReconstruction {
  /// What is new beside the items of the root comes in too, where they all come from one disk folder. To be
  /// set on the user's word alone: that folder may be a home folder.
  bool voisins = false;
  bool force = false;  ///< folders of the root that are gone go without a question
};

/// What `OptionsReconstruction::voisins` would take in.
struct VoisinsProjet {
  std::string dossier;       ///< the disk folder, closed by a separator; "" when the root has none or several
  std::uint64_t nombre = 0;  ///< files and folders in it that the project has not; a folder counts as one
  std::vector<std::string> premiers;  ///< the first names, in the order of a scan
};
/// One listing of one folder: cheap enough to be asked before each rebuild. Nothing is changed or told. The
/// window asks with `nombre` and `premiers` when `nombre` is not 0, and sets `voisins` from the answer.
[[nodiscard]] VoisinsProjet voisins_projet(const FichierProjet &projet, std::size_t noms = 5);

/// Brings a project up to date with the disk: items whose source is gone leave, lengths and forks follow, and
/// what is new in the folders that the project lists comes in. Each change is a journal line. Names, views
/// and flags of the items that stay are kept.
///
/// Where a folder of the root is gone, or everything is, the user is asked first (a batch run refuses, after
/// a message that names it): a disk that is not mounted must not empty a project.
[[nodiscard]] BilanReconstruction reconstruction_projet(FichierProjet &projet,
                                                        const OptionsReconstruction &options = {});

}  // namespace varnion
