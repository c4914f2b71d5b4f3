#pragma once

#include <cstdint>
#include <string>

#include "IO/iodmg.hpp"

// What the user is asked and told about compressed disk images.

namespace varnion {

/// Settles how `source` is read unless `usuelle` is set already: whole, or by the usual reading when that
/// gives less and the user wants it so; and whether the published copy of ADC is taken where the checksums
/// ask for it. Without `questions` the whole image and the published copy are taken, and the journal tells.
void decide_lecture_dmg(const std::string &source, bool questions, OptionsDmg &options);

/// False: the image becomes very large when it is expanded, and the user does not want that;
/// a batch run refuses it. Both are told, with the sizes. True for what is no disk image.
[[nodiscard]] bool accepte_expansion(const std::string &source);

/// What an expansion may come to before the user is asked: `kExpansionMax` bytes, or `kExpansionSure` where
/// that is not more than `kExpansionFois` times the file.
constexpr std::uint64_t kExpansionMax = std::uint64_t{1} << 30;
constexpr std::uint64_t kExpansionSure = std::uint64_t{256} << 20;
constexpr std::uint64_t kExpansionFois = 100;

/// Tells that blocks of an image that was read share their compressed bytes.
void annonce_partages(const ResultatDmg &resultat, const std::string &source);

/// Why a disk image was not read, as a message. Paths are cut to what a message can hold.
[[nodiscard]] std::string texte_echec_dmg(const ResultatDmg &resultat, const std::string &source,
                                          const std::string &cible);

}  // namespace varnion
