#pragma once

#include <cstdint>
#include <string>

namespace varnion {

/// "512 bytes", "1.5 MB": units of 1024.
[[nodiscard]] std::string taille_lisible(std::uint64_t octets);

}  // namespace varnion
