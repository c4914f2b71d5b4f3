#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "hfs/operations_catalogue.hpp"
#include "IO/plateforme.hpp"

// The name that a file or folder of the PC gets on the mounted volume.

namespace varnion {

/// True when working text cannot show the name whole.
[[nodiscard]] bool nom_hors_page(const plateforme::DonneesRecherche &donnees);

/// How an entry is written in a path that opens: its name, or its short name where working text cannot spell
/// that; nullopt when neither leads to it.
[[nodiscard]] std::optional<std::string> nom_ouvrable(const plateforme::DonneesRecherche &donnees);

/// HFS: the whole name in Mac Roman, by the table of names; one out of the code page keeps what Mac Roman has
/// of it, with "_" for the rest. It may be too long for a volume.
[[nodiscard]] std::string nom_mac_de_pc(const plateforme::DonneesRecherche &donnees);
/// HFS+: the name decomposed, ":" as "_", at most 255 units.
[[nodiscard]] NomItem nom_hfsplus_de_pc(const plateforme::DonneesRecherche &donnees);
/// A name from the head of a container, in Mac Roman: at most 31 bytes without blanks at the end on HFS. It
/// is empty when there is nothing of a name. ":", which no Macintosh name can hold, becomes "_".
[[nodiscard]] NomItem nom_de_tete(std::string_view mac);

[[nodiscard]] bool nom_vide(const NomItem &nom);

/// Another name for an item whose own was given to another one of the same copy: "-" and the CRC of the name
/// on the PC between stem and extension.
[[nodiscard]] NomItem nom_distinct(const NomItem &nom, const plateforme::DonneesRecherche &donnees);

}  // namespace varnion
