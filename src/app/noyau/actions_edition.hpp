#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/noyau/actions_volume.hpp"
#include "hfs/operations_catalogue.hpp"
#include "noms/regles.hpp"

namespace varnion {

/// Opens the image of the first position for writing, loads the bitmap, runs `change` and flushes the volume,
/// whatever it gave. Exit status: 0 when `change` gave true and everything reached the disk.
[[nodiscard]] int modifie_volume(ContexteCli &contexte, const std::function<bool()> &change);

/// The same on the volume that is mounted already; `chemin` names its image in messages. False, after a
/// message, when `change` gave false or not everything reached the disk.
[[nodiscard]] bool modifie_volume_monte(const std::string &chemin, const std::function<bool()> &change);

/// The name of an item as the engine takes it.
[[nodiscard]] NomItem nom_de(const ElementMac &element);

/// Swaps the forks of a file in a series of changes: the flush that each swap ends with lets the bitmap go,
/// and the next one needs it. False when they cannot be swapped.
[[nodiscard]] bool permute_fourches(const ElementMac &element);

/// Units of a volume name on HFS+.
constexpr std::size_t kNomVolumeHfsPlusMax = 255;

/// A name typed in UTF-8 as a part of a path (":" stands for "/"); nullopt, after a message, when it is
/// empty, longer than `limite` (bytes of Mac Roman, or units) or holds a character that the volume cannot.
[[nodiscard]] std::optional<NomItem> nom_tape(std::string_view utf8, std::size_t limite);
/// The same for a volume that is not mounted.
[[nodiscard]] std::optional<NomItem> nom_tape(std::string_view utf8, std::size_t limite, bool hfsplus);
/// The same for a file or folder of the mounted volume.
[[nodiscard]] std::optional<NomItem> nom_tape(std::string_view utf8);

/// A type or creator typed in UTF-8: up to 4 characters of Mac Roman, filled up with blanks; nullopt, after a
/// message, for anything else.
[[nodiscard]] std::optional<std::array<std::uint8_t, 4>> code_tape(const std::string &utf8);

/// The parts of a path.
[[nodiscard]] std::vector<std::string> parties_chemin(std::string_view chemin);

}  // namespace varnion
