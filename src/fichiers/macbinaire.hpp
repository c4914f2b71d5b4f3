#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "fichiers/ecriture.hpp"
#include "fichiers/element.hpp"
#include "fichiers/plage.hpp"
#include "IO/fichier.hpp"
#include "IO/octets.hpp"

// MacBinary: a 128-byte head, the data fork padded to a multiple of 128, the resource fork. The later fields
// of the published head (version bytes, CRC, second head) are neither read nor written.

namespace varnion {

constexpr std::uint32_t kPasMacBinaire = 128;
constexpr std::size_t kNomMacBinaireMax = 63;

struct TeteMacBinaire {
  std::uint8_t zero = 0;                      // 0
  std::uint8_t lg_nom = 0;                    // 1
  std::array<std::uint8_t, 63> nom{};         // 2    Mac Roman
  std::array<std::uint8_t, 8> signature{};    // 65   type then creator
  be16 drapeaux;                              // 73   Finder flags; see `drapeaux_macbinaire`
  be16 vertical;                              // 75   position in the folder
  be16 horizontal;                            // 77
  std::array<std::uint8_t, 3> reserve_79{};   // 79
  std::uint8_t zero_82 = 0;                   // 82
  be32 lg_data;                               // 83
  be32 lg_rsrc;                               // 87
  be32 date_creation;                         // 91   seconds since 1904
  be32 date_modif;                            // 95
  std::array<std::uint8_t, 29> reserve_99{};  // 99
};
static_assert(sizeof(TeteMacBinaire) == 128 && offsetof(TeteMacBinaire, signature) == 65);
static_assert(offsetof(TeteMacBinaire, lg_data) == 83 && offsetof(TeteMacBinaire, date_modif) == 95);

/// Detection on the 128 bytes of a head. `lg_fichier` is the length of the whole file; 0 leaves the test of
/// the fork lengths out.
[[nodiscard]] bool est_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier);
/// The same on the first bytes of a file; false for fewer than 128.
[[nodiscard]] bool est_macbinaire(std::span<const std::uint8_t> debut, std::uint64_t lg_fichier);
/// The same on an open file, which is rewound.
[[nodiscard]] bool est_macbinaire(const Fichier &fichier);

/// The head of an open file, without any test; nullopt when it has fewer than 128 bytes. The position stays.
[[nodiscard]] std::optional<TeteMacBinaire> lit_tete_macbinaire(const Fichier &fichier);

/// The name in Mac Roman, as many bytes as its length says, at most 63 and none from a NUL on.
[[nodiscard]] std::string nom_macbinaire(const TeteMacBinaire &tete);
[[nodiscard]] std::string signature_macbinaire(const TeteMacBinaire &tete);
/// Both bytes at 73 as the Finder flags. The published format keeps the low byte at 101 and a zero at 74;
/// here the low byte stands at 74, and a foreign head simply reads as having none of its flags.
[[nodiscard]] std::uint16_t drapeaux_macbinaire(const TeteMacBinaire &tete);

/// Start of the resource fork: the first multiple of 128 at or behind the data fork's end.
[[nodiscard]] std::uint64_t position_ressource(std::uint32_t lg_data);

/// Both forks, clamped to a file of `lg_fichier` bytes.
[[nodiscard]] PlageFourche plage_data_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier);
[[nodiscard]] PlageFourche plage_rsrc_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier);

/// The head of a file, dates in local time. Of a name the first 63 bytes behind its leading blanks.
[[nodiscard]] TeteMacBinaire tete_macbinaire(const ElementFichier &element);
/// Writes the file as MacBinary to `cible`, an empty file open for writing. A file with an empty resource
/// fork ends at its last byte, and so does the resource fork: the published format fills both to 128 bytes.
[[nodiscard]] ResultatEcriture ecrit_macbinaire(const Fichier &cible, const ElementFichier &element);

}  // namespace varnion
