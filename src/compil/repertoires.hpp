#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "IO/fichier.hpp"
#include "IO/octets.hpp"

namespace varnion {

/// Date and time of a directory record (ECMA-119 9.1.5), offset from UTC 0.
using DateRepertoire = std::array<std::uint8_t, 7>;
/// From Unix seconds, UTC. The field has years from 1900 to 2155: a date outside takes the nearest of these
/// years; under the classic rule the low byte of (year - 1900) is kept.
[[nodiscard]] DateRepertoire date_repertoire(std::int64_t secondes_unix);

/// Directory record without its name (ECMA-119 9.1).
struct FicheRepertoire {
  std::uint8_t longueur = 0;               // 0
  std::uint8_t attributs = 0;              // 1
  DoubleOrdre<std::uint32_t> extent;       // 2
  DoubleOrdre<std::uint32_t> taille;       // 10
  DateRepertoire date{};                   // 18
  std::uint8_t drapeaux = 0;               // 25
  std::uint8_t unite = 0;                  // 26
  std::uint8_t intervalle = 0;             // 27
  DoubleOrdre<std::uint16_t> sequence{1};  // 28
  std::uint8_t longueur_nom = 0;           // 32
};
static_assert(sizeof(FicheRepertoire) == 33);

constexpr std::uint8_t kDrapeauCache = 0x01;
constexpr std::uint8_t kDrapeauDossier = 0x02;
constexpr std::uint8_t kDrapeauAssocie = 0x04;

constexpr std::size_t kSuiteApple = 14;  ///< bytes of the Apple system-use field of a record

/// Where a record of `longueur` bytes goes when `position` bytes of a directory are filled. A record never
/// ends exactly at the end of a sector: one that would is moved to the next (ECMA-119 6.8.1.1 would let it
/// stay).
[[nodiscard]] std::size_t place_fiche(std::size_t position, std::size_t longueur);

/// Length of a record: 33 bytes, the name, and one pad byte behind a name of even length (ECMA-119 9.1.12).
/// Under the classic rule the Joliet tree has no pad byte.
[[nodiscard]] std::size_t longueur_fiche(std::size_t longueur_nom, bool joliet);

/// One directory of one tree, in memory until its last record is in.
class Repertoire {
 public:
  /// Begins with "." and "..". `pere_extent` and `pere_taille` are those of the parent; the root is its own
  /// parent.
  Repertoire(bool joliet, const DateRepertoire &date, std::uint32_t extent, std::uint32_t pere_extent,
             std::uint32_t pere_taille);

  /// Adds a record; `suite` is system-use data behind the padded name. Result: its rank, for `position`.
  std::size_t ajoute(FicheRepertoire fiche, std::span<const std::uint8_t> nom,
                     std::span<const std::uint8_t> suite = {});
  /// Puts the records in order (ECMA-119 9.3; the order of their coming under the classic rule) and in
  /// sectors, and stores the size in "." (and in ".." of the root). Nothing can be added behind it.
  void ferme(bool racine);

  // Of a closed directory.
  [[nodiscard]] std::size_t position(std::size_t rang) const { return positions_[rang]; }
  [[nodiscard]] std::span<const std::uint8_t> octets() const { return octets_; }
  [[nodiscard]] std::uint32_t taille() const { return static_cast<std::uint32_t>(octets_.size()); }

 private:
  [[nodiscard]] std::span<const std::uint8_t> fiche(std::size_t rang) const;
  void trie(std::vector<std::size_t> &rangs) const;

  bool joliet_;
  std::vector<std::uint8_t> fiches_;    ///< the records as they came, one behind the other
  std::vector<std::size_t> positions_;  ///< of each record: in `fiches_`, then in `octets_`
  std::vector<std::uint8_t> octets_;
};

/// The directories of one tree while it grows in its temporary file.
struct ArbreRepertoires {
  bool joliet = false;
  Fichier fichier;
  std::string chemin;
  std::uint32_t racine = 0;          ///< sector of the root directory in the image
  std::uint32_t secteurs = 0;        ///< sectors in the file so far
  std::uint64_t chemins_octets = 0;  ///< bytes of a path table, once made

  /// Sector in the image that the next directory will have.
  [[nodiscard]] std::uint32_t prochain() const { return racine + secteurs; }
  [[nodiscard]] bool ajoute(const Repertoire &repertoire);
  /// Stores extent and size of a child directory in the record at `position` (bytes in the file).
  [[nodiscard]] bool fixe_enfant(std::uint64_t position, std::uint32_t extent, std::uint32_t taille) const;
};

/// Path tables of a finished tree, type L and type M (ECMA-119 9.4): breadth first, children in directory
/// order, which is the order of ECMA-119 6.9.1 where the directories are sorted.
struct TablesChemins {
  std::vector<std::uint8_t> l, m;
};
/// nullopt when the directory file cannot be read back or the tree has more than 65,535 directories.
[[nodiscard]] std::optional<TablesChemins> tables_chemins(const ArbreRepertoires &arbre);

}  // namespace varnion
