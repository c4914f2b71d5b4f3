#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "IO/fichier.hpp"

namespace varnion {

/// The image being written: bytes at ascending positions are gathered and reach the file in large writes;
/// what is never written reads as zero. The first failed write is kept in `erreur()` and makes every later
/// call fail.
class SortieImage {
 public:
  explicit SortieImage(const Fichier &cible);

  /// Goes on at `position` (bytes). A short way forward is filled with zeros, anything else starts a new run.
  bool positionne(std::uint64_t position);
  bool ecrit(std::span<const std::uint8_t> octets);
  /// Copies `longueur` bytes of `source` from `position` to the current place, moving large pieces inside the
  /// kernel where it can: bytes copied (fewer at the end of the source), -1 on a write error, -2 on a read
  /// error.
  std::int64_t copie(const Fichier &source, std::uint64_t position, std::uint64_t longueur);
  /// Brings everything to the file.
  bool vide();

  [[nodiscard]] std::uint64_t position() const { return base_ + rempli_; }
  /// End of what was written so far, in bytes.
  [[nodiscard]] std::uint64_t fin() const { return position() > fin_ ? position() : fin_; }
  /// errno of the first failed write, 0 when all went well.
  [[nodiscard]] int erreur() const { return erreur_; }
  [[nodiscard]] const Fichier &fichier() const { return cible_; }

 private:
  bool note_erreur(int numero);
  std::int64_t copie_par_tampon(const Fichier &source, std::uint64_t position, std::uint64_t longueur);

  const Fichier &cible_;
  std::vector<std::uint8_t> tampon_;
  std::uint64_t base_ = 0;
  std::size_t rempli_ = 0;
  std::uint64_t fin_ = 0;
  int erreur_ = 0;
  bool copie_noyau_ = true;  ///< copy_file_range has not been refused yet
};

}  // namespace varnion
