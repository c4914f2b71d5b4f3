#include "IO/iodmg_crc.hpp"

#include <zlib.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace varnion {

namespace {

using Octets = std::span<const std::uint8_t>;

std::uint32_t crc_suite(std::uint32_t crc, Octets octets) {
  return static_cast<std::uint32_t>(::crc32_z(crc, octets.data(), octets.size()));
}

#if defined(__x86_64__)

constexpr std::size_t kPas = 64;

__attribute__((target("pclmul"))) inline __m128i charge(Octets octets, std::size_t place) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(octets.data() + place));
}

// 16 bytes moved ahead by the distance of the two factors, onto what lies there.
__attribute__((target("pclmul"))) inline __m128i replie(__m128i reste, __m128i facteurs, __m128i suite) {
  const __m128i bas = _mm_clmulepi64_si128(reste, facteurs, 0x00);
  const __m128i haut = _mm_clmulepi64_si128(reste, facteurs, 0x11);
  return _mm_xor_si128(_mm_xor_si128(bas, haut), suite);
}

// A text may be replaced, 64 bytes at a time, by a shorter one that leaves the same remainder: its bits times
// x^n modulo the polynomial, n being the distance. Four remainders go side by side; the 16 bytes in which
// they meet and the tail are left to the table.
__attribute__((target("pclmul"))) std::uint32_t crc_produit(Octets octets) {
  // x^(512+32), x^(512-32) and x^(128+32), x^(128-32) modulo the polynomial, bits reversed.
  const __m128i quatre = _mm_set_epi64x(0x1C6E41596, 0x154442BD4);
  const __m128i un = _mm_set_epi64x(0x0CCAA009E, 0x1751997D0);
  // A CRC-32 starts from all ones, which is the same as the first 32 bits turned over.
  __m128i a = _mm_xor_si128(charge(octets, 0), _mm_cvtsi32_si128(-1));
  __m128i b = charge(octets, 16), c = charge(octets, 32), d = charge(octets, 48);
  std::size_t place = kPas;
  for (; octets.size() - place >= kPas; place += kPas) {
    a = replie(a, quatre, charge(octets, place));
    b = replie(b, quatre, charge(octets, place + 16));
    c = replie(c, quatre, charge(octets, place + 32));
    d = replie(d, quatre, charge(octets, place + 48));
  }
  const __m128i reste = replie(replie(replie(a, un, b), un, c), un, d);
  alignas(16) std::uint8_t seize[16];
  _mm_store_si128(reinterpret_cast<__m128i *>(seize), reste);
  // The register starts from zero here: for zlib, which turns it over at both ends, that is all ones.
  return crc_suite(crc_suite(0xFFFFFFFF, seize), octets.subspan(place));
}

bool a_produit() {
  static const bool oui = __builtin_cpu_supports("pclmul") != 0;
  return oui;
}

#endif

}  // namespace

std::uint32_t crc_rapide(std::span<const std::uint8_t> octets) {
#if defined(__x86_64__)
  if (octets.size() >= kPas && a_produit()) return crc_produit(octets);
#endif
  return crc_suite(0, octets);
}

}  // namespace varnion
