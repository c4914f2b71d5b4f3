#pragma once

#include <optional>
#include <string>

#include "app/noyau/ligne_commande.hpp"
#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"

// What copies share: the options of a copy to the PC, its folder, its closing lines; the options of a copy to
// a Macintosh volume.

namespace varnion {

/// Sets the copy mode and the answers that stand ahead of the questions, and gives the options; the bar on
/// the console follows the copy.
[[nodiscard]] OptionsCopiePc options_copie(ContexteCli &contexte);

/// The folder of option "to", made when it is missing; nullopt, after a message, when it cannot be entered.
[[nodiscard]] std::optional<DossierSortie> dossier_cible(const ContexteCli &contexte);

/// Shows what was copied. Exit status.
[[nodiscard]] int conclut_copie(ContexteCli &contexte, const BilanCopiePc &bilan);

/// A copy to the mounted volume: signatures by the table in force, font numbers counted on in the settings.
[[nodiscard]] OptionsCopieMac options_copie_mac();

}  // namespace varnion
