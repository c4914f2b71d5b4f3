#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "fichiers/element.hpp"
#include "IO/octets.hpp"

// Alias records, version 2: a fixed part of 150 bytes, then tagged items.

namespace varnion {

constexpr std::size_t kAliasMax = 1000;  ///< longest `alis` resource that is read

struct FicheAlias {
  be32 application;                         // 0
  be16 longueur;                            // 4    of the record
  be16 version;                             // 6
  be16 genre;                               // 8    0 file, 1 folder
  std::uint8_t lg_volume = 0;               // 10
  std::array<std::uint8_t, 27> volume{};    // 11   Mac Roman
  be32 date_volume;                         // 38   Macintosh date
  std::array<std::uint8_t, 2> systeme{};    // 42   "BD" HFS, "H+" HFS+
  be16 disque;                              // 44
  be32 dossier;                             // 46   number of the parent folder
  std::uint8_t lg_fichier = 0;              // 50
  std::array<std::uint8_t, 63> fichier{};   // 51   Mac Roman
  be32 numero;                              // 114
  be32 date_fichier;                        // 118
  std::array<std::uint8_t, 8> signature{};  // 122  type and creator
  be16 niveaux_montes;                      // 130
  be16 niveaux_descendus;                   // 132
  be32 attributs;                           // 134
  std::array<std::uint8_t, 12> reserve{};   // 138
};
static_assert(sizeof(FicheAlias) == 150 && offsetof(FicheAlias, fichier) == 51);

/// Head of an item behind the fixed part; a pad byte follows bytes of an odd number.
struct TeteEtiquette {
  be16 etiquette;  // 0
  be16 longueur;   // 2
};
static_assert(sizeof(TeteEtiquette) == 4);

/// An item behind the fixed part.
struct EtiquetteAlias {
  std::uint16_t etiquette = 0;
  std::span<const std::uint8_t> octets;  ///< a view into the record
};
enum NumeroEtiquette : std::uint16_t {
  kEtiquetteDossier = 0,
  kEtiquetteNumeros = 1,
  kEtiquetteChemin = 2,
  kEtiquetteNomUnicode = 0x0E,
  kEtiquetteVolumeUnicode = 0x0F,
  kEtiquetteCheminPosix = 0x12,
  kEtiquetteMontage = 0x13,
  kEtiquetteFin = 0xFFFF,
};

using TamponAlias = std::array<std::uint8_t, kAliasMax>;

/// Loads the first `alis` resource of a file. 0, with a zeroed buffer where there is none; -1 when it is
/// longer than the buffer or the fork is damaged or cannot be read.
[[nodiscard]] int lecture_alias(const ElementFichier &element, TamponAlias &tampon);
/// The same on an open resource fork.
[[nodiscard]] int lecture_alias(const Fichier &fourche, TamponAlias &tampon);

/// The items of a record, up to the end mark or the first that does not lie in the record.
[[nodiscard]] std::vector<EtiquetteAlias> etiquettes_alias(std::span<const std::uint8_t> alias);

/// What the dialog shows of a record, as working text; all empty for one that is too short.
struct TextesAlias {
  std::string fichier, volume, dossier;
  std::string chemin;  ///< of 200 bytes or more: the first 100, " [...] ", the last 100
};
[[nodiscard]] TextesAlias textes_alias(std::span<const std::uint8_t> alias);

/// A picture in the folder ".!Background" of the root of a volume.
struct CibleAlias {
  std::string volume;               ///< label, working text
  std::string fichier;              ///< working text
  std::u16string fichier_large;     ///< name in the catalog, decomposed; empty: made from `fichier`
  std::uint32_t dossier = 0;        ///< catalog number of the folder
  std::uint32_t date_fichier = 0;   ///< Macintosh date
  std::array<char, 8> signature{};  ///< type and creator
  bool hfsplus = true;
};
/// The alias record of it.
[[nodiscard]] std::vector<std::uint8_t> alias_fond(const CibleAlias &cible);

}  // namespace varnion
