#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "hfs/catalogue.hpp"
#include "hfs/extents.hpp"
#include "IO/fichier.hpp"

// Forks of the mounted volume, read whole or by position; runs of sectors from and to PC files.

namespace varnion {

/// How the reading of a fork ended.
enum class EtatFourche {
  entiere,
  courte,     ///< its extents do not reach its length: a record is missing or ends early
  illisible,  ///< an extent lies outside the image, or the image cannot be read there
  puits,      ///< the receiver refused bytes
  arret,      ///< the user asked to stop
};

struct ResultatFourche {
  EtatFourche etat = EtatFourche::entiere;
  std::uint64_t octets = 0;  ///< given to the receiver, from the start of the fork
  [[nodiscard]] bool entiere() const { return etat == EtatFourche::entiere; }
};

/// A fork with all its extents at hand, those of the extents tree included.
class LecteurFourche {
 public:
  /// `numero`: kFourcheDonnees or kFourcheRessources.
  LecteurFourche(const ElementMac &element, std::uint8_t numero);
  LecteurFourche(bool hfsplus, std::uint32_t fichier, std::uint8_t numero, const FourcheMac &fourche);

  /// Logical length in bytes.
  [[nodiscard]] std::uint64_t longueur() const { return longueur_; }
  /// Bytes, at most the length, that the extents reach.
  [[nodiscard]] std::uint64_t atteints() const { return atteints_; }
  /// Reads from byte `position` of the fork: bytes read, fewer at the end of what can be read.
  [[nodiscard]] std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const;
  /// The extents in order, neighbours joined.
  [[nodiscard]] std::vector<ExtentMac> extents() const;

 private:
  struct Plage {
    std::uint64_t debut;  ///< byte of the fork
    std::uint32_t bloc;
    std::uint64_t blocs;
  };
  /// False when enough blocks are known or a hole ends the record.
  bool ajoute(std::span<const ExtentMac> extents, std::uint64_t voulus);

  std::vector<Plage> plages_;
  std::uint64_t blocs_ = 0;
  std::uint64_t longueur_ = 0;
  std::uint64_t atteints_ = 0;
};

/// Takes bytes in order; false refuses them and ends the reading.
using PuitsFourche = std::function<bool(std::span<const std::uint8_t>)>;

/// Gives a whole fork to `puits`, 1 MiB at a time where it is long, with the gauge of the volume for long
/// ones. A fork of length 0 gives nothing and is whole.
[[nodiscard]] ResultatFourche lit_fourche(const ElementMac &element, std::uint8_t numero,
                                          const PuitsFourche &puits);
[[nodiscard]] ResultatFourche lit_fourche(const LecteurFourche &fourche, const PuitsFourche &puits);

/// Copies `longueur` bytes of a fork to the position of a PC file. No message: what the extents do not reach
/// is missing from the file, and the result says so.
[[nodiscard]] ResultatFourche lecture_fourche_hfs(const Fichier &flux, const ExtentsHfs &extents,
                                                  std::uint32_t longueur, std::uint32_t fichier,
                                                  std::uint8_t numero);
[[nodiscard]] ResultatFourche lecture_fourche_hfsplus(const Fichier &flux, const FourchePlus &fourche,
                                                      std::uint64_t longueur, std::uint32_t fichier,
                                                      std::uint8_t numero);

/// Copies `octets` bytes of the image from a sector on to a PC file: bytes copied.
[[nodiscard]] ResultatFourche lecture_secteurs(const Fichier &flux, std::uint64_t secteur,
                                               std::uint64_t octets);

/// Writes `nombre` sectors of the image from `secteur` on with what the PC file gives from its position on.
/// Where the file ends early the rest of the buffer goes out as it stands: zeros, or bytes of the same file
/// written before. False when a read or a write failed; the user's stop is not looked for.
[[nodiscard]] bool ecriture_secteurs(const Fichier &flux, std::uint64_t secteur, std::uint64_t nombre);

}  // namespace varnion
