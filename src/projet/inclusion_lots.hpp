#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "IO/fichier.hpp"
#include "projet/format.hpp"

// The finished records of a scan, in one unnamed temporary file, until they come into the project.

namespace varnion {

/// Consecutive records of one folder in the temporary file.
struct LotRubriques {
  std::uint32_t pere = 0;
  std::uint64_t debut = 0;  ///< rank of the first record in the temporary file
  std::uint64_t nombre = 0;
};

class LotsRubriques {
 public:
  /// False when the temporary file cannot be made (`errno` tells).
  [[nodiscard]] bool ouvre();

  /// Adds a record behind the last one: its rank. A failed write shows in `erreur`.
  std::uint64_t ajoute(const RubriqueProjet &rubrique);
  /// The next record begins a lot, whatever its folder: another path of the operation.
  void separe() { separe_ = true; }
  /// Counts of a folder's record that was added before.
  void pose_comptes(std::uint64_t rang, std::uint32_t dossiers, std::uint32_t fichiers);
  /// Sets "Custom Icon" on a folder's record that was added before.
  void pose_icone(std::uint64_t rang);
  /// Writes out what is still held back; false when any write failed.
  [[nodiscard]] bool termine();
  /// errno of the first failure, 0 none.
  [[nodiscard]] int erreur() const { return erreur_; }

  [[nodiscard]] std::uint64_t nombre() const { return ecrits_ + tampon_.size(); }
  /// One lot for each folder and each time that records were added to it.
  [[nodiscard]] const std::vector<LotRubriques> &lots() const { return lots_; }
  /// The records, once `termine` has answered true.
  [[nodiscard]] const Fichier &fichier() const { return fichier_; }

 private:
  template <typename Changement>
  void change(std::uint64_t rang, Changement changement);
  void vide_tampon();
  void note_echec();

  Fichier fichier_;
  std::vector<RubriqueProjet> tampon_;
  std::uint64_t ecrits_ = 0;
  std::vector<LotRubriques> lots_;
  int erreur_ = 0;
  bool separe_ = false;
};

/// Records of a file by rank, read in blocks: cheap when the ranks mostly go up one by one.
class LecteurBlocs {
 public:
  explicit LecteurBlocs(const Fichier &fichier) : fichier_(&fichier) {}
  /// nullptr past the end or on a read error. The record dies at the next call.
  [[nodiscard]] const RubriqueProjet *lit(std::uint64_t rang);

 private:
  const Fichier *fichier_;
  std::vector<RubriqueProjet> bloc_;
  std::uint64_t debut_ = 0;
  std::size_t lus_ = 0;
};

/// Records written one behind the other from a rank of a file on.
class EcrivainBlocs {
 public:
  EcrivainBlocs(const Fichier &fichier, std::uint64_t rang) : fichier_(&fichier), rang_(rang) {}
  void ecrit(const RubriqueProjet &rubrique);
  /// False when any write failed.
  [[nodiscard]] bool termine();
  /// Rank of the next record.
  [[nodiscard]] std::uint64_t rang() const { return rang_ + tampon_.size(); }

 private:
  void vide();

  const Fichier *fichier_;
  std::vector<RubriqueProjet> tampon_;
  std::uint64_t rang_;
  bool echec_ = false;
};

}  // namespace varnion
