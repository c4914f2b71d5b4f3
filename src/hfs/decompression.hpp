#pragma once

#include <string>

#include "IO/iodmg.hpp"

// What the user is asked and told about compressed disk images.

namespace varnion {

/// Settles how `source` is read unless `usuelle` is set already: whole, or by the usual reading when that
/// gives less and the user wants it so; and whether the published copy of ADC is taken where the checksums
/// ask for it. Without `questions` the whole image and the published copy are taken, and the journal tells.
void decide_lecture_dmg(const std::string &source, bool questions, OptionsDmg &options);

/// Why a disk image was not read, as a message. Paths are cut to what a message can hold.
[[nodiscard]] std::string texte_echec_dmg(const ResultatDmg &resultat, const std::string &source,
                                          const std::string &cible);

}  // namespace varnion
