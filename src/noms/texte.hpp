#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "noms/tables.hpp"

namespace varnion {

/// The text through a byte table. The first zero of the source ends it, and so does an entry of value 0.
[[nodiscard]] std::string traduit(std::string_view texte, const TableOctets &table);

/// The first `longueur` bytes of the text through `filtre_noms`; what a list cannot show, a zero included,
/// becomes `caractere_remplacement`.
[[nodiscard]] std::string traduit_filtre(std::string_view texte, std::size_t longueur);

/// The byte of the settings that stands for what a list cannot show; "_" until the settings say otherwise.
[[nodiscard]] std::uint8_t &caractere_remplacement();

/// Working text to a Mac Roman name, through `windows_vers_mac`. A byte without counterpart ends the name;
/// where that would leave nothing of a name that is not empty, each such byte becomes "_" instead, for a
/// volume cannot hold an item without a name.
[[nodiscard]] std::string nom_mac(std::string_view windows);

/// Mac Roman to working text, through `mac_vers_windows`.
[[nodiscard]] std::string nom_windows(std::string_view mac);

/// Lower case of a Mac Roman byte or text.
[[nodiscard]] std::uint8_t minuscule_mac(std::uint8_t octet);
[[nodiscard]] std::string minuscule_mac(std::string_view texte);

/// The text without blanks and bytes A0 at its start, or at its end.
[[nodiscard]] std::string_view sans_blancs_debut(std::string_view texte);
[[nodiscard]] std::string_view sans_blancs_fin(std::string_view texte);

}  // namespace varnion
