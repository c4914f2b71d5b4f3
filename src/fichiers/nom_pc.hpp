#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

// The name that a Macintosh file or folder gets on the PC. Names are composed UTF-16, so that nothing of them
// is lost where the disk can hold it.

namespace varnion {

/// `mode_nommage`, the low three bits of the word `Options`. 0 and 1 are the same; 3, 5 and 7 have no rule
/// and count as 0.
enum class ModeNommage : int {
  longs = 0,   ///< base and extension of the Mac name; a missing extension comes from the signature table
  saisie = 2,  ///< the user is asked for each file
  garde = 4,   ///< the whole Mac name as base, and its extension once more
  entier = 6,  ///< the whole Mac name as base, and the extension of the signature table
};
[[nodiscard]] ModeNommage mode_nommage(unsigned options);

/// The extension, without dot, that the signature table has for a type and creator; nullopt for none.
using ExtensionDeSignature = std::function<std::optional<std::string>(std::string_view signature)>;

/// True when the name holds what a terminal obeys or what misleads who reads it (`IO/montrable.hpp`). The
/// name on the PC has "_" in its place.
[[nodiscard]] bool nom_trompeur(std::u16string_view nom);

/// A folder: what a Windows name cannot hold and every dot become "_", blanks at both ends go.
[[nodiscard]] std::u16string nom_dossier_pc(std::u16string_view nom);

/// The name as the user is asked about it: what a Windows name cannot hold becomes "_".
[[nodiscard]] std::u16string nom_sans_interdits(std::u16string_view nom);

/// A file, by any rule but that of the dialog.
[[nodiscard]] std::u16string nom_fichier_pc(std::u16string_view nom, std::string_view signature,
                                            ModeNommage mode, const ExtensionDeSignature &extension);

/// A name as UTF-8 that the disk can hold: never "", "." or "..", at most `limite` bytes, cut between two
/// characters with its extension kept where that is short. `coupe` tells that something was cut off.
[[nodiscard]] std::string nom_disque(std::u16string_view nom, std::size_t limite, bool &coupe);

/// The name with "-%03d" between stem and extension, cut to the limit.
[[nodiscard]] std::string nom_disque_numerote(std::string_view nom, unsigned numero, std::size_t limite);

}  // namespace varnion
