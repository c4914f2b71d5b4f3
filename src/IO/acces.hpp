#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "IO/plateforme.hpp"

namespace varnion::plateforme {

/// Opens file after file for reading. The folder of the last file is kept open with its names at hand, so
/// that a run of files of one folder costs one open each and no look-up; what that way does not find goes the
/// ordinary one. For one thread.
class AccesFichiers {
 public:
  /// A regular file, for reading; closed on failure (`errno` tells). With `donnees`, the entry as
  /// `cherche_fichier` would give it.
  [[nodiscard]] Fichier ouvre(std::string_view chemin, DonneesRecherche *donnees = nullptr);
  /// False when the file last opened surely has no alternate stream: its file system shows none by name, its
  /// folder holds no such name, and it has no such extended attribute.
  [[nodiscard]] bool flux_possible(const Fichier &fichier) const;

 private:
  struct Noms {
    std::string disque, court;
  };
  bool charge(std::string_view dossier);
  [[nodiscard]] Fichier ouvre_lentement(std::string_view chemin, DonneesRecherche *donnees) const;

  std::string dossier_;  ///< as the caller writes it
  Fichier descripteur_;
  std::unordered_map<std::string, Noms> reguliers_;  ///< regular files by working text
  bool flux_par_nom_ = true;
};

}  // namespace varnion::plateforme
