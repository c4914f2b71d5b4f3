#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "IO/fichier.hpp"

namespace varnion {

/// Longest name of one file or folder, in bytes of UTF-8.
constexpr std::size_t kNomDisqueMax = 255;

/// A folder of the disk that a copy fills, held open, so that neither a long path nor a rename of what lies
/// above it matters. Names here are UTF-8, taken as they are: every character of a Macintosh name can be
/// kept. `errno` tells about each failure.
class DossierSortie {
 public:
  /// An existing folder, by its working-text path. With `suit_liens`, links to folders that lie in it are
  /// followed on the way down.
  [[nodiscard]] static std::optional<DossierSortie> ouvre(std::string_view chemin, bool suit_liens = false);

  /// The folder of that name in here, made when it is not there yet; a link is refused (ELOOP) unless links
  /// are followed. `cree`: set when it was made now.
  [[nodiscard]] std::optional<DossierSortie> descend(const std::string &nom, bool *cree = nullptr) const;
  /// A new file, open for reading and writing; closed when the name is taken (EEXIST) or on failure.
  [[nodiscard]] Fichier cree(const std::string &nom) const;
  /// Removes a file or a link, never a folder.
  [[nodiscard]] bool supprime(const std::string &nom) const;
  /// Gives a file another name; one that has it is replaced.
  [[nodiscard]] bool renomme(const std::string &ancien, const std::string &nouveau) const;
  /// True when something has the name.
  [[nodiscard]] bool existe(const std::string &nom) const;
  /// True when the name stands for the open file.
  [[nodiscard]] bool est_le_fichier(const std::string &nom, const Fichier &fichier) const;
  /// True when a new file may take the place of what has the name: a plain file, a link to one or to
  /// nothing. A folder (EISDIR), a device, a pipe or a socket (ENXIO) stay.
  [[nodiscard]] bool remplacable(const std::string &nom) const;
  /// True when the name stands for a folder.
  [[nodiscard]] bool est_dossier(const std::string &nom) const;
  /// Bytes free for the user; nullopt when unknown.
  [[nodiscard]] std::optional<std::uint64_t> espace_libre() const;
  /// Sets the access and modification times of the folder itself (Unix seconds, UTC).
  [[nodiscard]] bool fixe_dates(std::int64_t secondes) const;

  /// The open folder itself, for as long as this lives.
  [[nodiscard]] int descripteur() const { return dossier_.descripteur(); }
  /// Path in UTF-8, closed by "/".
  [[nodiscard]] const std::string &chemin() const { return chemin_; }

 private:
  DossierSortie(Fichier dossier, std::string chemin, bool suit_liens)
      : dossier_(std::move(dossier)), chemin_(std::move(chemin)), suit_liens_(suit_liens) {}

  Fichier dossier_;
  std::string chemin_;
  bool suit_liens_;
};

}  // namespace varnion
