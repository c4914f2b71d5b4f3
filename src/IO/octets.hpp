#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

namespace varnion {

/// A number as it lies on the media: a byte array of alignment 1, read and written by value.
template <std::unsigned_integral T, bool GrosBout>
struct Entier {
  std::array<std::uint8_t, sizeof(T)> octets{};

  constexpr Entier() = default;
  constexpr Entier(T valeur) { *this = valeur; }  // NOLINT(google-explicit-constructor)
  constexpr Entier &operator=(T valeur) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      const std::size_t rang = GrosBout ? sizeof(T) - 1 - i : i;
      octets[i] = static_cast<std::uint8_t>(valeur >> (8 * rang));
    }
    return *this;
  }
  constexpr operator T() const {  // NOLINT(google-explicit-constructor)
    std::uint64_t valeur = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      const std::size_t rang = GrosBout ? i : sizeof(T) - 1 - i;
      valeur = (valeur << 8) | octets[rang];
    }
    return static_cast<T>(valeur);
  }
};

using be16 = Entier<std::uint16_t, true>;
using be32 = Entier<std::uint32_t, true>;
using be64 = Entier<std::uint64_t, true>;
using le16 = Entier<std::uint16_t, false>;
using le32 = Entier<std::uint32_t, false>;
using le64 = Entier<std::uint64_t, false>;

static_assert(sizeof(be16) == 2 && alignof(be16) == 1 && sizeof(be32) == 4 && sizeof(be64) == 8);

/// A number recorded twice, little-endian then big-endian (ECMA-119 7.2.3 and 7.3.3).
template <std::unsigned_integral T>
struct DoubleOrdre {
  Entier<T, false> petit;
  Entier<T, true> gros;

  constexpr DoubleOrdre() = default;
  constexpr DoubleOrdre(T valeur) : petit(valeur), gros(valeur) {}  // NOLINT(google-explicit-constructor)
  constexpr operator T() const { return petit; }                    // NOLINT(google-explicit-constructor)
};

/// A record of type T at `position` of `octets`, or nullptr when it does not lie wholly inside.
template <typename T>
requires(std::is_trivially_copyable_v<T> && alignof(T) == 1)
    [[nodiscard]] const T *vue(std::span<const std::uint8_t> octets, std::size_t position) {
  if (position > octets.size() || octets.size() - position < sizeof(T)) return nullptr;
  return reinterpret_cast<const T *>(octets.data() + position);
}

/// The same for a record that will be changed in place.
template <typename T>
requires(std::is_trivially_copyable_v<T> && alignof(T) == 1)
    [[nodiscard]] T *vue_modifiable(std::span<std::uint8_t> octets, std::size_t position) {
  if (position > octets.size() || octets.size() - position < sizeof(T)) return nullptr;
  return reinterpret_cast<T *>(octets.data() + position);
}

/// The bytes of a record, for writing it out.
template <typename T>
requires(std::is_trivially_copyable_v<T>)
    [[nodiscard]] std::span<const std::uint8_t> octets_de(const T &fiche) {
  return {reinterpret_cast<const std::uint8_t *>(&fiche), sizeof(T)};
}

/// `valeur` rounded up to a multiple of `pas` (pas > 0).
template <std::unsigned_integral T>
[[nodiscard]] constexpr T arrondi(T valeur, T pas) {
  return static_cast<T>((valeur + pas - 1) / pas * pas);
}

/// ceil(valeur / pas) (pas > 0).
template <std::unsigned_integral T>
[[nodiscard]] constexpr T quotient_haut(T valeur, T pas) {
  return static_cast<T>(valeur / pas + (valeur % pas != 0 ? 1 : 0));
}

}  // namespace varnion
