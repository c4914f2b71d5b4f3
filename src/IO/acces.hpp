#pragma once

#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

#include "IO/plateforme.hpp"

namespace varnion::plateforme {

/// Opens file after file for reading. The folders of the last files are kept open with their names at hand,
/// so that a run of files of one folder costs one open each and no look-up; what that way does not find goes
/// the ordinary one. For one thread.
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
  struct Dossier {
    std::string chemin;  ///< as the caller writes it
    Fichier descripteur;
    std::unordered_map<std::string, Noms> reguliers;  ///< regular files by working text
    bool flux_par_nom = true;
  };
  /// The folder at the head of the list; nullptr when it cannot be opened.
  Dossier *charge(std::string_view chemin);
  [[nodiscard]] static Fichier ouvre_lentement(std::string_view chemin, DonneesRecherche *donnees);

  std::list<Dossier> dossiers_;  ///< the last used first: a project folder may be fed from several by turns
};

}  // namespace varnion::plateforme
