#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

// Runs of bits in an allocation bitmap, most significant bit first; set means in use. For this folder.

namespace varnion {

/// First clear bit in [debut, fin), `fin` when there is none. Full stretches are passed 64 bits at a time.
[[nodiscard]] inline std::uint64_t premier_libre(std::span<const std::uint8_t> bits, std::uint64_t debut,
                                                 std::uint64_t fin) {
  while (debut < fin) {
    const std::size_t place = debut / 8;
    if (debut % 8 == 0 && fin - debut >= 64) {
      std::uint64_t mot = 0;
      std::memcpy(&mot, bits.data() + place, sizeof mot);
      if (mot == ~std::uint64_t{0}) {
        debut += 64;
        continue;
      }
    }
    const auto libres = static_cast<std::uint8_t>(~bits[place] & (0xFF >> (debut % 8)));
    if (libres != 0)
      return std::min<std::uint64_t>(fin, place * 8 + static_cast<std::size_t>(std::countl_zero(libres)));
    debut = place * 8 + 8;
  }
  return fin;
}

/// First set bit in [debut, fin), `fin` when there is none.
[[nodiscard]] inline std::uint64_t premier_pris(std::span<const std::uint8_t> bits, std::uint64_t debut,
                                                std::uint64_t fin) {
  while (debut < fin) {
    const std::size_t place = debut / 8;
    if (debut % 8 == 0 && fin - debut >= 64) {
      std::uint64_t mot = 0;
      std::memcpy(&mot, bits.data() + place, sizeof mot);
      if (mot == 0) {
        debut += 64;
        continue;
      }
    }
    const auto pris = static_cast<std::uint8_t>(bits[place] & (0xFF >> (debut % 8)));
    if (pris != 0)
      return std::min<std::uint64_t>(fin, place * 8 + static_cast<std::size_t>(std::countl_zero(pris)));
    debut = place * 8 + 8;
  }
  return fin;
}

/// Sets or clears the bits [debut, fin), which lie inside.
inline void fixe_bits(std::span<std::uint8_t> bits, std::uint64_t debut, std::uint64_t fin, bool pris) {
  while (debut < fin) {
    const std::size_t place = debut / 8;
    if (debut % 8 == 0 && fin - debut >= 8) {
      const std::size_t octets = (fin - debut) / 8;
      std::memset(bits.data() + place, pris ? 0xFF : 0, octets);
      debut += octets * 8;
      continue;
    }
    const auto masque = static_cast<std::uint8_t>(0x80 >> (debut % 8));
    bits[place] = static_cast<std::uint8_t>(pris ? bits[place] | masque : bits[place] & ~masque);
    ++debut;
  }
}

}  // namespace varnion
