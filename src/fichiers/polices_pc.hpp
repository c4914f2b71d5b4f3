#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "IO/fichier.hpp"

// Font files of the PC on their way to the Macintosh.

namespace varnion {

constexpr std::string_view kSignaturePolice = "tfilmovr";
constexpr std::uint16_t kNumeroPoliceDepart = 0x400;  ///< number of the first font made

/// The name of a PostScript font in its PFB file, as working text; nullopt when the file tells none.
[[nodiscard]] std::optional<std::string> nom_police_pfb(const Fichier &pfb);

/// The resource fork of a suitcase with the TrueType font of `taille` bytes in `ttf`: its `sfnt` and a FOND,
/// both numbered `numero` and named `nom` (Mac Roman). Closed when the font is too long for the offsets of a
/// resource map (16 MB; `errno` is EFBIG then), or a read or write fails (`errno` tells).
[[nodiscard]] Fichier fourche_truetype(const Fichier &ttf, std::uint64_t taille, std::string_view nom,
                                       std::uint16_t numero);

}  // namespace varnion
