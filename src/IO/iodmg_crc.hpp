#pragma once

#include <cstdint>
#include <span>

namespace varnion {

/// CRC-32 (ISO 3309, that of zlib) of `octets`; with the carry-less product where the processor has one.
[[nodiscard]] std::uint32_t crc_rapide(std::span<const std::uint8_t> octets);

}  // namespace varnion
