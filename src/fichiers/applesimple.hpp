#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "fichiers/ecriture.hpp"
#include "fichiers/element.hpp"
#include "fichiers/plage.hpp"
#include "IO/fichier.hpp"
#include "IO/octets.hpp"

// AppleSingle and AppleDouble (RFC 1740): a head, a table of entries, the entries. Every reader here looks
// for the table in the first 512 bytes only; longer tables are cut there without a word.

namespace varnion {

constexpr std::uint32_t kMagieAppleSingle = 0x00051600;
constexpr std::uint32_t kMagieAppleDouble = 0x00051607;
constexpr std::string_view kPrefixeCompagnon = "._";
constexpr std::size_t kLectureApple = 512;      ///< bytes that the readers look at
constexpr std::size_t kLectureAppleScan = 256;  ///< bytes that the inclusion scan and the compiler look at

enum IdEntreeApple : std::uint32_t {
  kEntreeData = 1,
  kEntreeRessource = 2,
  kEntreeDates = 8,
  kEntreeFinder = 9,
};

struct TeteApple {
  be32 magie;                              // 0
  be32 version;                            // 4
  std::array<std::uint8_t, 16> reserve{};  // 8
  be16 nb_entrees;                         // 24
};
static_assert(sizeof(TeteApple) == 26);

struct EntreeApple {
  be32 id;        // 0
  be32 position;  // 4
  be32 longueur;  // 8
};
static_assert(sizeof(EntreeApple) == 12);

/// Magic of a file from its first bytes, 0 when there are fewer than 4.
[[nodiscard]] std::uint32_t magie_apple(std::span<const std::uint8_t> debut);

/// The first entry `id` of the table, as far as the table lies within `debut` (the first bytes of the file);
/// nullopt when it has none. The magic is not looked at.
[[nodiscard]] std::optional<EntreeApple> cherche_entree_apple(std::span<const std::uint8_t> debut,
                                                              std::uint32_t id);
/// Range of entry `id`, clamped to a file of `lg_fichier` bytes.
[[nodiscard]] std::optional<PlageFourche> plage_entree_apple(std::span<const std::uint8_t> debut,
                                                             std::uint32_t id, std::uint64_t lg_fichier);
/// The bytes of entry 9 (Finder info) that lie within `debut`, from its offset on, whatever length the entry
/// announces; empty when the entry is absent or starts behind them.
[[nodiscard]] std::span<const std::uint8_t> info_finder_apple(std::span<const std::uint8_t> debut);

/// True when the open file begins with the AppleSingle magic. The file is rewound.
[[nodiscard]] bool est_applesingle(const Fichier &fichier);
/// True when the "._" companion of `nom` begins with the AppleDouble magic; the file itself is not looked at.
[[nodiscard]] bool est_appledouble(std::string_view nom);
/// The path with "._" ahead of its last component.
[[nodiscard]] std::string nom_compagnon(std::string_view chemin);
/// Opens the companion of `chemin`, found beside it by its name on the disk; closed when there is none.
[[nodiscard]] Fichier ouvre_compagnon(std::string_view chemin);
/// True for a file name that begins with "._".
[[nodiscard]] bool est_nom_compagnon(std::string_view nom);

/// Entry 2 of an open companion: its range, clamped to the file; empty when it has none. The file is rewound.
[[nodiscard]] PlageFourche taille_entree_apple(const Fichier &compagnon);

/// Both forks of an AppleSingle file.
struct FourchesApple {
  PlageFourche data, rsrc;
  int trouvees = 0;  ///< how many of entries 1 and 2 the table has
};
/// The forks of an open AppleSingle file, clamped to the file, which is rewound.
[[nodiscard]] FourchesApple entrees_applesingle(const Fichier &fichier);

/// Type and creator (8 bytes) from entry 9 of a file with either magic. nullopt with another magic, without
/// the entry, or when its 8 bytes do not lie within the first 512 bytes of the file.
[[nodiscard]] std::optional<std::string> signature_apple(std::span<const std::uint8_t> debut);
/// The same on the file named `nom`.
[[nodiscard]] std::optional<std::string> signature_apple(std::string_view nom);

/// Writes the file as AppleSingle to `cible`, an empty file open for writing: dates, Finder info, resource
/// fork, data fork. There is no entry for the name.
[[nodiscard]] ResultatEcriture ecrit_applesingle(const Fichier &cible, const ElementFichier &element);
/// Writes the companion of the file, all but its data fork, to `cible`, an empty file open for writing.
[[nodiscard]] ResultatEcriture ecrit_appledouble(const Fichier &cible, const ElementFichier &element);

}  // namespace varnion
