#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// The lasting choices of the user, one text for each name in an INI file. The two option words live in
// `OptionsProgramme`, where every folder reads them.

namespace varnion {

constexpr std::size_t kExtensionMax = 4;  ///< characters of `Ext`
constexpr std::size_t kRecentsMax = 5;    ///< documents in each recent list
constexpr int kModeIndecis = -1;          ///< working mode before anything chose one
constexpr unsigned kVnOptionGardeMode = 0x1;
constexpr unsigned kVnOptionModes = 0xC0;  ///< saved working mode, 0 to 2
constexpr unsigned kVnOptionDepartHfsplus = 0x100;
constexpr unsigned kVnOptionJournal = 0x400;

struct RectFenetre {
  int gauche = 50, haut = 50, largeur = 700, hauteur = 450;
  int arbre = 120;  ///< width of the tree; 0 hides it
};

struct Reglages {
  RectFenetre rect;
  std::array<int, 7> colonnes{160, 90, 70, 70, 90, 90, 120};
  std::string langue;           ///< "0" English, "1" French, "" the choice by system language
  std::string ext = "TXT";      ///< default extension of the copy to the PC
  std::string reper;            ///< last PC folder chosen, closed by a separator
  std::string dossier_projet;   ///< `DProj`
  std::string dossier_compile;  ///< `DComp`
  int corps = 10;               ///< font size of the dump viewer
  std::string signatures;       ///< `Sign`: signature file, full path
  std::string journal;          ///< log file, full path
  int numpol = 0x400;           ///< number of the next Macintosh font made
  int taille_projet = 700;      ///< `szProj`, megabytes
  int taille_isop = 700;        ///< `szIsop`, megabytes
  std::array<std::vector<std::string>, 3> recents;  ///< by working mode, the latest first
  std::string navigateur;                           ///< `WinVLV`
  std::string dossier_navigateur;                   ///< `WReper`
  bool publie = true;  ///< `Published`: the published rule in the window; the command line has options for it
  int mode_depart = kModeIndecis;  ///< working mode kept from the last run
};

/// The settings in force; `lire_options` fills them.
[[nodiscard]] Reglages &reglages();

/// Path of the file that keeps the settings, in UTF-8.
[[nodiscard]] std::string chemin_reglages_utf8();

/// Language base by the environment (LC_ALL, LC_MESSAGES, LANG: the first that is set): 10,000 when its
/// language is French, else 0.
[[nodiscard]] int langue_systeme();

/// Reads all settings, with the default for what is missing or cannot be read; fixes the language, the option
/// words, the truncation flags and the HFS+ flag, and opens the journal when it is to be open from the start.
/// A batch run writes nothing back; otherwise the defaults that the layout wants written are.
void lire_options(bool lot);

/// Writes what is stored at exit. False when the file cannot be written, which is no reason for a message.
bool ecrire_options(int mode_travail);

/// Writes one setting that is stored as it changes. False when the name is unknown or nothing could be
/// written.
bool enregistre_reglage(std::string_view nom);

/// The rules on a window read from the settings.
[[nodiscard]] RectFenetre rect_corrige(RectFenetre rect);

}  // namespace varnion
