#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace varnion::plateforme {

constexpr char32_t kRemplacement = 0xFFFD;

/// Code point of a Windows-1252 byte; U+FFFD for the five bytes that the code page leaves undefined.
[[nodiscard]] char32_t octet_vers_point(char octet);

/// Code points of a UTF-8 text, as they stand (not composed); U+FFFD for each byte that is not valid UTF-8.
[[nodiscard]] std::vector<char32_t> points_utf8(std::string_view utf8);

[[nodiscard]] bool est_ascii(std::string_view octets);

}  // namespace varnion::plateforme
