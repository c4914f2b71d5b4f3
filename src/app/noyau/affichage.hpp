#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "IO/montrable.hpp"

// How values of the Macintosh are shown by the commands that list.

namespace varnion {

/// A type or creator, 4 bytes of Mac Roman, as working text; all zeros, which stand for none, give "".
[[nodiscard]] std::string code_lisible(const char *octets);

/// A Macintosh date as it stands, "2001-02-03T04:05:06"; nullopt for 0. No zone is given.
[[nodiscard]] std::optional<std::string> date_iso(std::uint32_t secondes);

/// The same for a date of a volume: HFS holds local time, HFS+ UTC, marked by "Z".
[[nodiscard]] std::optional<std::string> date_iso_volume(std::uint32_t secondes, bool hfsplus);

/// A date of a volume in local time, "2001-02-03 04:05"; "-" for 0.
[[nodiscard]] std::string date_courte(std::uint32_t secondes, bool hfsplus);

}  // namespace varnion
