#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace varnion {

constexpr std::size_t kNomHfsMax = 31;        ///< bytes of a file or folder name on HFS
constexpr std::size_t kNomVolumeHfsMax = 27;  ///< bytes of a volume name on HFS

/// Asks whether a folder already holds an item of that name.
using PredicatNom = std::function<bool(std::string_view)>;

// --- the 31-character rule
// ------------------------------------------------------------------------------------

constexpr std::uint32_t kOptionTroncatureAuto = 0x08;  ///< bit 3 of the option word: the form is not shown
constexpr std::uint32_t kOptionTroncatureCrc = 0x10;   ///< bit 4: method 2 instead of 1 when bit 3 is set

enum class MethodeTroncature : int {
  saisie = 0,  ///< the name the user typed
  coupe = 1,   ///< cut at 31 bytes
  crc = 2,     ///< the same, and 27 + 4 on a conflict
};

/// What was chosen in the truncation form. The form sets `methode` before `demander_nom` returns true;
/// methods 1 and 2 stay in force for the run of the program. "Save" is the form's own affair: it sets the
/// option bits.
struct ChoixTroncature {
  MethodeTroncature methode = MethodeTroncature::saisie;
};
[[nodiscard]] ChoixTroncature &choix_troncature();

/// A name of more than 31 bytes for HFS, in Mac Roman, brought to 31: by itself when `options` bit 3 is set,
/// in a batch run or after a remembered choice, else as the user answers. `existe` is asked for Mac Roman
/// names. A name that fits comes back as it is. nullopt when the user gives the item up.
[[nodiscard]] std::optional<std::string> tronque_nom_mac(std::string_view nom_long, const PredicatNom &existe,
                                                         std::uint32_t options);

/// CRC of the text as four characters 0-9 A-F, lowest nibble first: 0x1234 reads "4321".
[[nodiscard]] std::string crc_texte(std::string_view texte);

// --- names on the PC side
// -------------------------------------------------------------------------------------

/// The name cut to `limite` bytes. An extension of at most 5 bytes, with its dot, is kept at the end. Names
/// that collide after the cut stay equal.
[[nodiscard]] std::string coupe_nom(std::string_view nom, std::size_t limite);

/// What a Windows name cannot hold. The slash stands in it twice.
extern const std::string_view interdits_windows;
extern const std::u16string_view interdits_windows_large;

/// The text without blanks and bytes A0 at its start, with "_" for each character of the set.
[[nodiscard]] std::string remplace_interdits(std::string_view texte,
                                             std::string_view ensemble = interdits_windows);
[[nodiscard]] std::u16string remplace_interdits(std::u16string_view texte,
                                                std::u16string_view ensemble = interdits_windows_large);

/// A name whose stem is one of the PC's devices (CON, PRN, AUX, NUL, CLOCK$, COM1-9, LPT1-9, in any case)
/// gets "_" behind the stem: an extension does not keep Windows from opening the device.
[[nodiscard]] std::string corrige_peripherique(std::string_view nom);

/// A free name beside `nb_semblables` like ones: "-%03d" with the count + 1 between stem and extension.
[[nodiscard]] std::string nom_numerote(std::string_view nom, unsigned nb_semblables);

// --- messages
// -------------------------------------------------------------------------------------------------

/// A path for a message, at most `limite` bytes: the head, "...", and the last two components.
[[nodiscard]] std::string tronque_chemin(std::string_view chemin, std::size_t limite);

/// Shows "Error opening file" for a path, and behind it the system's words for `erreur` (an errno) when that
/// is not 0.
void erreur_fichier(std::string_view chemin, int erreur = 0);

}  // namespace varnion
