#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "noms/regles.hpp"

// Names and text fields of ISO 9660 (ECMA-119 7.4 and 7.5) and of its Joliet tree. Short names are the 8.3
// names of the source folder, in working text.

namespace varnion {

/// ISO descriptor text: blanks and bytes A0 stripped from both ends, upper case without accents, "_" for all
/// but A-Z, 0-9 and "_". "ß" gives "S_".
[[nodiscard]] std::string nom_d(std::string_view texte);

/// `nom_d` cut or padded with spaces to `largeur` bytes.
[[nodiscard]] std::string champ_d(std::string_view texte, std::size_t largeur);

/// A UCS-2 big-endian field of `octets` bytes: spaces, with the text, cut to fit, written over them.
[[nodiscard]] std::vector<std::uint8_t> champ_ucs2(std::u16string_view texte, std::size_t octets);

/// File in the ISO tree (ECMA-119 7.5) from an 8.3 name: d-characters alone, a dot even where there is no
/// extension, and ";1".
[[nodiscard]] std::string identifiant_fichier(std::string_view nom_court);

/// Folder in the ISO tree (ECMA-119 7.6) from an 8.3 name: d-characters, name and extension joined without
/// the dot, cut to 8.
[[nodiscard]] std::string identifiant_dossier(std::string_view nom_court);

// The same two under the classic rule.

/// File in the ISO tree: the first 12 characters of the short name, in upper case, and ";1".
[[nodiscard]] std::string nom_iso_fichier(std::string_view nom_court);

/// Folder in the ISO tree: name and extension of the short name joined without the dot. When longer than 8 it
/// is cut to 8, and while `existe` holds the last two become a tilde and a letter from A to Z; nullopt when
/// all are taken.
[[nodiscard]] std::optional<std::string> nom_iso_dossier(std::string_view nom_court,
                                                         const PredicatNom &existe);

/// Virtual folder in the ISO tree: up to 8 characters in upper case; else the first five, dots as "_", and
/// "~~1".
[[nodiscard]] std::string nom_iso_virtuel(std::string_view nom);

/// File in the Joliet tree, ";1" included. Over 62 units the tail of the short name from its last "~"
/// replaces the end so that 62 are kept; with no "~" the short name serves. Forbidden units are replaced.
[[nodiscard]] std::u16string nom_joliet_fichier(std::u16string_view nom_iso, std::string_view nom_court);

/// Folder in the Joliet tree: the long name when shorter than 65 units, else the short name. Forbidden units
/// are replaced.
[[nodiscard]] std::u16string nom_joliet_dossier(std::u16string_view nom_long, std::string_view nom_court);

/// "_" for the units that the Joliet specification forbids in a name: 00-1F, "*", "/", ":", ";", "?", "\".
/// Under the classic rule ";" stays.
[[nodiscard]] std::u16string interdits_joliet(std::u16string_view nom);

}  // namespace varnion
