#pragma once

#include <optional>
#include <string>
#include <string_view>

// Mac Roman as Apple publishes it (ROMAN.TXT, since Mac OS 8.5), for names that come from a volume or name
// something on it. The tables of `noms/` serve names that this program makes; they lose some characters.

namespace varnion {

/// Every byte has a code point; bytes below 80 stand for themselves.
[[nodiscard]] std::string mac_vers_utf8(std::string_view mac);

/// A UTF-8 text in composed form as Mac Roman; nullopt when it holds a character that Mac Roman lacks.
[[nodiscard]] std::optional<std::string> utf8_vers_mac(std::string_view utf8);

}  // namespace varnion
