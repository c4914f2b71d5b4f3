#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "IO/fichier.hpp"

namespace varnion {

/// How a background picture is read: by the extension of its name, without regard to case.
enum class FormatImage { aucun, jpeg, png, tiff, bmp };
[[nodiscard]] FormatImage genre_image(std::string_view chemin);

struct TailleImage {
  std::uint32_t largeur = 0, hauteur = 0;  ///< pixels
  bool operator==(const TailleImage &) const = default;
};

/// Size of a picture from its head; nullopt when it is none of that kind, or is damaged.
[[nodiscard]] std::optional<TailleImage> taille_image(const Fichier &fichier, FormatImage genre);
/// The same of a PC file, working text; nullopt, too, when it cannot be opened (`errno` tells, else 0).
[[nodiscard]] std::optional<TailleImage> taille_image(std::string_view chemin);

}  // namespace varnion
