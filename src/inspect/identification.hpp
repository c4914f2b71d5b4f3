#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// What a sector is, from its bytes alone, and the forms that show each structure.

namespace varnion {

/// Result of the identification. The numbers are those of the dispatch.
enum CodeSecteur : int {
  kCodeInconnu = 0,
  kCodeHfsPlus = 1,      ///< volume header of HFS+
  kCodeMdb = 2,          ///< master directory block of HFS
  kCodePilotes = 3,      ///< driver descriptor map
  kCodePartition = 4,    ///< entry of an Apple partition map
  kCodeEnteteArbre = 5,  ///< header node of a B-tree
  kCodeFeuille = 6,      ///< leaf node
  kCodeIso = 7,          ///< ISO 9660 volume descriptor
  kCodeChemins = 8,      ///< ISO 9660 path table
  kCodeRepertoire = 9,   ///< ISO 9660 directory
  kCodeMbr = 10,
  kCodeFat = 11,  ///< boot sector of a FAT or NTFS volume
  kCodeMacBinaire = 12,
  kCodeAppleSingle = 13,
  kCodeAppleDouble = 14,
  kCodeIndex = 15,  ///< index node of a B-tree
  kCodeGpt = 16,
};
constexpr int kCodesSecteur = 17;
constexpr int kMessageInconnu = 3200;  ///< "Unable to identify the sector."

/// The chain of tests, without any effect. `numero` is the number of the sector on the medium.
[[nodiscard]] int code_secteur(std::span<const std::uint8_t> secteur, std::uint64_t numero);

/// The same on the two halves of a sector number. A driver descriptor map that passes its test also sets the
/// block size of the map of the medium (`taille_bloc_carte`), whatever is done with the code.
[[nodiscard]] int identifier_secteur(std::span<const std::uint8_t> secteur, std::uint32_t numero_bas,
                                     std::uint32_t numero_haut);

/// The forms. The first sixteen stand for the codes; the last two are reached from others.
enum class FormeSecteur {
  aucune,
  hfsplus,        ///< `TSectHPP`
  mdb,            ///< `TSectBD`
  pilotes,        ///< `TSectER`
  partition,      ///< `TSectPM`
  entete_arbre,   ///< `TSectB`
  feuille,        ///< `TSectND`
  iso,            ///< `TSectISO`
  chemins,        ///< `TPathISO`
  repertoire,     ///< `TRepISO`
  mbr,            ///< `TMBR`
  fat,            ///< `TBoot`
  macbinaire,     ///< `TMacBin`
  applesingle,    ///< `TAS`
  appledouble,    ///< `TAD`
  index,          ///< `TBranche`
  gpt,            ///< `Tefi`
  tetes_mac,      ///< `TTeteMac`
  partitions_gpt  ///< `Tgptguid`
};

/// The form for a code. `mode_driver` is the medium kind word: 1 and 3 take `TSectER` and `TSectPM` for codes
/// 3 and 4, any other `TTeteMac`. Codes that are not known give `aucune`.
[[nodiscard]] FormeSecteur forme_de_code(int code, int mode_driver);
/// The same with the medium kind word in force.
[[nodiscard]] FormeSecteur forme_de_code(int code);

/// One row of the menu "Analyze As".
struct GenreAnalyse {
  FormeSecteur forme;
  int code;                 ///< 0 for the forms that no code leads to
  std::string_view classe;  ///< class of the form
  std::string_view mot;     ///< name on a command line and in JSON
  int legende;              ///< string id
};
/// All forms, in the order of the menu.
[[nodiscard]] std::span<const GenreAnalyse> genres_analyse();
/// The row of a form; nullptr for `aucune`.
[[nodiscard]] const GenreAnalyse *genre_de(FormeSecteur forme);
/// The row of that word; nullptr when there is none.
[[nodiscard]] const GenreAnalyse *genre_nomme(std::string_view mot);

}  // namespace varnion
