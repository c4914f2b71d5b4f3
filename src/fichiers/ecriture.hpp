#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "fichiers/element.hpp"
#include "IO/fichier.hpp"

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

/// A PC file made anew, which is removed again unless it is kept.
class CibleFichier {
 public:
  explicit CibleFichier(std::string chemin, Ouverture mode = Ouverture::creation);
  CibleFichier(const CibleFichier &) = delete;
  CibleFichier &operator=(const CibleFichier &) = delete;
  ~CibleFichier();

  [[nodiscard]] bool ouverte() const { return fichier_.ouvert(); }
  [[nodiscard]] const Fichier &fichier() const { return fichier_; }
  [[nodiscard]] const std::string &chemin() const { return chemin_; }
  /// Closes the file for good. False, and the file is removed, when the system reports a late error.
  [[nodiscard]] bool garde();

 private:
  std::string chemin_;
  Fichier fichier_;
  bool gardee_ = false;
};

/// Tells the user why `chemin` was not written; nothing for `fait`. `erreur` is the errno of the failure.
void dit_echec_ecriture(ResultatEcriture resultat, std::string_view chemin, int erreur);

/// The forks alone.
[[nodiscard]] ResultatEcriture ecrit_fourche(const Fichier &cible, const FluxFourche &fourche);

/// Writes the file under `chemin`, made anew, in the form that `mode` (see `mode_copie.hpp`) asks for, its
/// companion with it. A failure is told to the user and leaves neither file. True when all was written.
[[nodiscard]] bool ecrit_sous_forme(std::uint32_t mode, const std::string &chemin,
                                    const ElementFichier &element);

}  // namespace varnion
