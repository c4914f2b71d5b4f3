#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "noms/tables.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"

namespace varnion {

namespace {

/// The bytes of F020-F02A. F028 and F029 stand for a blank and a dot at the end of a name only.
constexpr std::array<std::uint8_t, 11> octets_prives = {'"',  '*', '/', '<', '>', '?',
                                                        '\\', '|', ' ', '.', 0xF0};
constexpr std::size_t kPartoutAvant = 8;  ///< entries of `octets_prives` that count anywhere in a name

std::optional<char16_t> unite_privee(std::uint8_t octet, bool dernier) {
  if (octet >= 0x01 && octet <= 0x1F) return static_cast<char16_t>(0xF000 + octet);
  const auto *rang = std::ranges::find(octets_prives, octet);
  if (rang == octets_prives.end()) return std::nullopt;
  const auto numero = static_cast<std::size_t>(rang - octets_prives.begin());
  const bool fin_seulement = numero >= kPartoutAvant && octet != 0xF0;
  if (fin_seulement && !dernier) return std::nullopt;
  return static_cast<char16_t>(0xF020 + numero);
}

std::u16string vers_prive(std::string_view nom, bool mac) {
  nom = nom.substr(0, nom.find('\0'));
  std::u16string large;
  for (std::size_t i = 0; i < nom.size(); ++i) {
    const auto octet = static_cast<std::uint8_t>(nom[i]);
    const char16_t simple = mac && octet >= 0x80 ? mac_vers_windows[octet] : octet;
    large += unite_privee(octet, i + 1 == nom.size()).value_or(simple);
  }
  return large;
}

/// The byte of a wide unit above FE.
std::uint8_t octet_haut(char16_t unite, bool mac) {
  if (unite >= 0xF001 && unite <= 0xF01F) return static_cast<std::uint8_t>(unite & 0xFF);
  if (unite >= 0xF020 && unite <= 0xF02A) return octets_prives[unite - 0xF020U];
  if (unite == 0x2014) return '-';
  if (unite == 0x20AC) return mac ? 0xDB : 0x80;
  return '_';
}

}  // namespace

std::u16string mac_vers_prive(std::string_view mac) {
  return vers_prive(mac, true);
}

std::u16string windows_vers_prive(std::string_view windows) {
  return vers_prive(windows, false);
}

std::string prive_vers_mac(std::u16string_view large) {
  large = large.substr(0, large.find(u'\0'));
  std::string entier;
  std::size_t fin = std::string::npos;
  for (const char16_t unite : large) {
    std::uint8_t octet = unite > 0xFE ? octet_haut(unite, true) : windows_vers_mac[unite];
    if (octet == 0) {
      fin = std::min(fin, entier.size());
      octet = '_';
    }
    entier += static_cast<char>(octet);
  }
  return fin == 0 ? entier : entier.substr(0, fin);
}

std::string prive_vers_windows(std::u16string_view large) {
  std::string nom;
  for (const char16_t unite : large.substr(0, large.find(u'\0'))) {
    nom += static_cast<char>(unite > 0xFE ? octet_haut(unite, false) : unite);
  }
  return nom;
}

bool correspond_prive(std::u16string_view encode, std::u16string_view nom) {
  return std::ranges::equal(encode, nom,
                            [](char16_t cherche, char16_t la) { return cherche == u'_' || cherche == la; });
}

}  // namespace varnion
