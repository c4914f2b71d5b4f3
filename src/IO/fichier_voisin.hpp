#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "IO/dossier_sortie.hpp"
#include "IO/fichier.hpp"

namespace varnion {

/// What a finished file may take the place of.
enum class Ecrasement {
  jamais,    ///< nothing: the name must be free
  connu,     ///< the file that had the name when the new one was begun; a name that was free must be so still
  toujours,  ///< any plain file
};

/// How a name is given to a file only where it is free. The first is tried unless told otherwise; a file
/// system that lacks one leads to the next.
enum class MoyenPose { noyau, lien, reserve };
/// Renames within an open folder; false with EEXIST when the new name is taken.
[[nodiscard]] bool renomme_si_libre(int dossier, const std::string &ancien, const std::string &nouveau,
                                    MoyenPose moyen = MoyenPose::noyau);

/// A new file beside the one whose name it is to have: everything that is made among the user's files is made
/// under a name of its own, "NAME.varnion-N.part", and takes its true name when it is whole. No file of that
/// name is ever opened, cut or followed through a link; one that a killed run left, nobody holds and bears
/// the mark of this class is taken away. While it is open the file is locked and only its owner may read it.
/// It is removed when it is dropped before it was put in place. `errno` tells about each failure.
class FichierVoisin {
 public:
  FichierVoisin() = default;
  FichierVoisin(FichierVoisin &&autre) noexcept = default;
  FichierVoisin &operator=(FichierVoisin &&autre) noexcept;
  FichierVoisin(const FichierVoisin &) = delete;
  FichierVoisin &operator=(const FichierVoisin &) = delete;
  ~FichierVoisin() { jette(); }

  /// Beside the file that a working-text path names. Where that is a symbolic link, beside what it leads to:
  /// the link stays and the file behind it is replaced. Closed on failure, and where a folder (EISDIR), a
  /// device, a pipe or a socket (ENXIO) has the name.
  [[nodiscard]] static FichierVoisin commence(std::string_view cible);
  /// In a folder held open, for a name in UTF-8 that may come from elsewhere: a link of that name is replaced
  /// itself.
  [[nodiscard]] static FichierVoisin commence(const DossierSortie &dossier, const std::string &nom);

  [[nodiscard]] bool ouvert() const { return fichier_.ouvert(); }
  explicit operator bool() const { return ouvert(); }
  [[nodiscard]] const Fichier &fichier() const { return fichier_; }
  /// True when a file had the name at the beginning.
  [[nodiscard]] bool existait() const { return existait_; }
  /// Path of the file as it is now: under its own name, or in place. Working text.
  [[nodiscard]] std::string chemin() const;

  /// The file is a copy of `source`: nobody but its owner gets a right that the source does not give.
  void comme(const Fichier &source);
  /// Gives the file its name, with the rights and, where permitted, the owner of the one that it replaces;
  /// those of any new file otherwise. All of it is on the disk then, unless `sur_disque` is false. False:
  /// nothing has changed (EEXIST when the name may not be taken), and the file goes on under its own.
  [[nodiscard]] bool pose(Ecrasement ecrasement, bool sur_disque = true);
  /// The same; the file that it replaces gets the extension `extension` ("BAK"), in the place of one of that
  /// name. EINVAL when that is the file itself.
  [[nodiscard]] bool pose_en_gardant(std::string_view extension);
  /// For a finished file whose name is taken: keeps it under the first free name "NAME (N).ext", or under the
  /// one that it has. Its path, working text.
  std::string pose_a_cote();
  /// The open file once it is in place, without its lock. Closed before.
  [[nodiscard]] Fichier prend();
  /// Removes the file, unless it is in place.
  void jette();

 private:
  [[nodiscard]] bool ouvre_dossier();
  [[nodiscard]] bool cree();
  [[nodiscard]] bool cree_sous(const std::string &nom);
  [[nodiscard]] bool enleve_reste(const std::string &nom) const;
  [[nodiscard]] bool est_ici(const std::string &nom, const Fichier &fichier) const;
  [[nodiscard]] bool regarde(struct stat &fiche, bool &existe) const;
  [[nodiscard]] bool assure(bool sur_disque) const;
  void prend_droits(const struct stat &ancien) const;
  [[nodiscard]] mode_t garde_groupe(const struct stat &ancien) const;
  void pose_sous(const std::string &nom, bool sur_disque);

  Fichier dossier_;             // the folder, held open
  std::string chemin_dossier_;  // its path, UTF-8
  std::string nom_;             // the name to have
  std::string nom_actuel_;      // the name that it has
  Fichier fichier_;
  struct stat ancien_ {};  // what had the name at the beginning
  bool existait_ = false;
  bool suit_liens_ = true;
  bool pose_ = false;
  mode_t mode_neuf_ = 0600;  // as the system gives it to a new file here
  mode_t limite_ = 0777;
};

}  // namespace varnion
