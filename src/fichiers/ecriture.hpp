#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "fichiers/element.hpp"
#include "IO/dossier_sortie.hpp"
#include "IO/fichier.hpp"
#include "IO/fichier_voisin.hpp"

// What every writer of a container shares: the sink at a position, the result, the target that goes away when
// it is not finished.

namespace varnion {

enum class ResultatEcriture {
  fait,
  lecture,     ///< the source failed or gave another length than it announced
  ecriture,    ///< the target failed (`errno` tells)
  trop_grand,  ///< a length does not fit in the 32 bits of the container
};

/// Writes from the start of an open file on, and remembers the first failure: steps behind one do nothing.
class SortieConteneur {
 public:
  explicit SortieConteneur(const Fichier &cible) : cible_(cible) {}

  void ecrit(std::span<const std::uint8_t> octets);
  /// Bytes already written, or passed over, once more.
  void corrige(std::span<const std::uint8_t> octets, std::uint64_t position);
  /// The whole fork.
  void verse(const FluxFourche &fourche);
  /// Moves on without writing: zeros where something follows, nothing at the end of the file.
  void avance(std::uint64_t octets) { position_ += octets; }

  [[nodiscard]] std::uint64_t position() const { return position_; }
  [[nodiscard]] ResultatEcriture resultat() const { return resultat_; }

 private:
  const Fichier &cible_;
  std::uint64_t position_ = 0;
  ResultatEcriture resultat_ = ResultatEcriture::fait;
};

/// A file of a folder made anew, in the place of one of that name, which is removed again unless it is kept.
/// The one that it replaces stays until then.
class CibleFichier {
 public:
  /// `remplace` false: a name that is taken is left alone, and the target is closed (EEXIST).
  CibleFichier(const DossierSortie &dossier, std::string nom, bool remplace = true);
  CibleFichier(const CibleFichier &) = delete;
  CibleFichier &operator=(const CibleFichier &) = delete;
  ~CibleFichier();

  [[nodiscard]] bool ouverte() const { return fichier_.ouvert() || voisin_.ouvert(); }
  [[nodiscard]] const Fichier &fichier() const { return voisin_ ? voisin_.fichier() : fichier_; }
  /// True when a file of that name is to be replaced.
  [[nodiscard]] bool remplace() const { return remplace_; }
  [[nodiscard]] const std::string &nom() const { return nom_; }
  /// Path in UTF-8.
  [[nodiscard]] std::string chemin() const { return dossier_.chemin() + nom_; }
  /// Closes the file for good. False, and the file is removed, when the system reports a late error.
  [[nodiscard]] bool garde();
  /// Removes the file, kept or not; `errno` stays.
  void jette();

 private:
  const DossierSortie &dossier_;
  std::string nom_;
  Fichier fichier_;       ///< under its own name
  FichierVoisin voisin_;  ///< or beside the file that it replaces
  bool faite_ = false, gardee_ = false, remplace_ = false;
};

/// Tells the user why the file of that UTF-8 path was not written; nothing for `fait`. `erreur` is the errno
/// of the failure.
void dit_echec_ecriture(ResultatEcriture resultat, std::string_view chemin_utf8, int erreur);

/// One fork alone.
[[nodiscard]] ResultatEcriture ecrit_fourche(const Fichier &cible, const FluxFourche &fourche);

/// Writes the Macintosh file to `cible`, an empty file open for writing, in the form that `mode`
/// (`mode_copie.hpp`) asks for; of AppleDouble the data fork.
[[nodiscard]] ResultatEcriture ecrit_forme(std::uint32_t mode, const Fichier &cible,
                                           const ElementFichier &element);

}  // namespace varnion
