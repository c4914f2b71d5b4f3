#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "app/noyau/ligne_commande.hpp"
#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"

// What copies share: the options of a copy to the PC, its folder, its closing lines; the options of a copy to
// a Macintosh volume.

namespace varnion {

/// Sets the copy mode and the answers that stand ahead of the questions, and gives the options; the bar on
/// the console follows the copy.
[[nodiscard]] OptionsCopiePc options_copie(ContexteCli &contexte);

/// The extension that a file of this type and creator gets on the PC; nullopt for none. Where no row of the
/// table of signatures answers and bit 13 of `Options` is set, the default extension `Ext` of the settings.
[[nodiscard]] std::optional<std::string> extension_copie(std::string_view signature);

/// The folder of option "to", made when it is missing; nullopt, after a message, when it cannot be entered.
[[nodiscard]] std::optional<DossierSortie> dossier_cible(const ContexteCli &contexte);

/// Shows what was copied. Exit status.
[[nodiscard]] int conclut_copie(ContexteCli &contexte, const BilanCopiePc &bilan);

/// A copy to the mounted volume: signatures by the table in force, font numbers counted on in the settings.
[[nodiscard]] OptionsCopieMac options_copie_mac();

}  // namespace varnion
