#include "IO/texte.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "IO/plateforme.hpp"

namespace varnion::plateforme {
namespace {

// Windows code page 1252, bytes 0x80 to 0x9F; every other byte has the code point of its value.
constexpr std::array<char16_t, 32> kHaut1252 = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

// The first code point that a canonical composition can change or absorb.
constexpr char32_t kPremierCombinant = 0x300;

char point_vers_octet(char32_t point) {
  if (point < 0x80 || (point >= 0xA0 && point <= 0xFF)) return static_cast<char>(point);
  if (point < 0x100 || point > 0xFFFF || point == kRemplacement) return '?';
  const auto place = std::find(kHaut1252.begin(), kHaut1252.end(), static_cast<char16_t>(point));
  return place == kHaut1252.end() ? '?' : static_cast<char>(0x80 + (place - kHaut1252.begin()));
}

void ajoute_utf8(std::string &texte, char32_t point) {
  const auto octet = [&texte](char32_t valeur) { texte.push_back(static_cast<char>(valeur)); };
  if (point < 0x80) {
    octet(point);
  } else if (point < 0x800) {
    octet(0xC0 | (point >> 6));
    octet(0x80 | (point & 0x3F));
  } else if (point < 0x10000) {
    octet(0xE0 | (point >> 12));
    octet(0x80 | ((point >> 6) & 0x3F));
    octet(0x80 | (point & 0x3F));
  } else {
    octet(0xF0 | (point >> 18));
    octet(0x80 | ((point >> 12) & 0x3F));
    octet(0x80 | ((point >> 6) & 0x3F));
    octet(0x80 | (point & 0x3F));
  }
}

void ajoute_utf16(std::u16string &texte, char32_t point) {
  if (point < 0x10000) {
    texte.push_back(static_cast<char16_t>(point));
  } else {
    texte.push_back(static_cast<char16_t>(0xD7C0 + (point >> 10)));
    texte.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
  }
}

std::vector<char32_t> points_utf16(std::u16string_view large) {
  std::vector<char32_t> points;
  points.reserve(large.size());
  for (std::size_t i = 0; i < large.size(); ++i) {
    const char16_t unite = large[i];
    if (unite < 0xD800 || unite > 0xDFFF) {
      points.push_back(unite);
    } else if (unite < 0xDC00 && i + 1 < large.size() && large[i + 1] >= 0xDC00 && large[i + 1] <= 0xDFFF) {
      points.push_back(0x10000 + ((static_cast<char32_t>(unite) - 0xD800) << 10) + (large[i + 1] - 0xDC00U));
      ++i;
    } else {
      points.push_back(kRemplacement);
    }
  }
  return points;
}

// Normalization form C (Unicode Standard Annex 15). Left as it stands when memory is short.
void compose(std::vector<char32_t> &points) {
  const auto composable = [](char32_t point) { return point >= kPremierCombinant; };
  if (std::none_of(points.begin(), points.end(), composable)) return;
  std::string utf8;
  for (const char32_t point : points) ajoute_utf8(utf8, point);
  std::uint8_t *resultat = nullptr;
  const utf8proc_ssize_t longueur = utf8proc_map(
      reinterpret_cast<const std::uint8_t *>(utf8.data()), static_cast<utf8proc_ssize_t>(utf8.size()),
      &resultat, static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
  if (longueur >= 0) {
    points = points_utf8({reinterpret_cast<const char *>(resultat), static_cast<std::size_t>(longueur)});
  }
  std::free(resultat);
}

std::string texte_de(const std::vector<char32_t> &points) {
  std::string texte;
  texte.reserve(points.size());
  for (const char32_t point : points) texte.push_back(point_vers_octet(point));
  return texte;
}

}  // namespace

char32_t octet_vers_point(char octet) {
  const auto valeur = static_cast<unsigned char>(octet);
  return valeur >= 0x80 && valeur <= 0x9F ? kHaut1252[valeur - 0x80U] : valeur;
}

bool est_ascii(std::string_view octets) {
  return std::all_of(octets.begin(), octets.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::vector<char32_t> points_utf8(std::string_view utf8) {
  std::vector<char32_t> points;
  points.reserve(utf8.size());
  const auto *octets = reinterpret_cast<const std::uint8_t *>(utf8.data());
  std::size_t rang = 0;
  while (rang < utf8.size()) {
    utf8proc_int32_t point = -1;
    const utf8proc_ssize_t pris =
        utf8proc_iterate(octets + rang, static_cast<utf8proc_ssize_t>(utf8.size() - rang), &point);
    const bool valide = pris > 0 && point >= 0;
    points.push_back(valide ? static_cast<char32_t>(point) : kRemplacement);
    rang += valide ? static_cast<std::size_t>(pris) : 1;
  }
  return points;
}

std::string utf8_vers_texte(std::string_view utf8) {
  if (est_ascii(utf8)) return std::string(utf8);
  std::vector<char32_t> points = points_utf8(utf8);
  compose(points);
  return texte_de(points);
}

std::string texte_vers_utf8(std::string_view texte) {
  if (est_ascii(texte)) return std::string(texte);
  std::string utf8;
  utf8.reserve(texte.size() * 2);
  for (const char c : texte) ajoute_utf8(utf8, octet_vers_point(c));
  return utf8;
}

std::u16string texte_vers_large(std::string_view texte) {
  std::u16string large;
  large.reserve(texte.size());
  for (const char c : texte) ajoute_utf16(large, octet_vers_point(c));
  return large;
}

std::u16string utf8_vers_large(std::string_view utf8) {
  std::vector<char32_t> points = points_utf8(utf8);
  compose(points);
  std::u16string large;
  large.reserve(points.size());
  for (const char32_t point : points) ajoute_utf16(large, point);
  return large;
}

std::string large_vers_utf8(std::u16string_view large) {
  std::string utf8;
  for (const char32_t point : points_utf16(large)) ajoute_utf8(utf8, point);
  return utf8;
}

std::string large_vers_texte(std::u16string_view large) {
  std::vector<char32_t> points = points_utf16(large);
  compose(points);
  return texte_de(points);
}

char majuscule(char c) {
  const auto valeur = static_cast<unsigned char>(c);
  if (c >= 'a' && c <= 'z') return static_cast<char>(c - 'a' + 'A');
  if (valeur < 0x9A) return c;
  if (valeur == 0x9A || valeur == 0x9C || valeur == 0x9E) return static_cast<char>(valeur - 0x10);
  if (valeur == 0xFF) return static_cast<char>(0x9F);
  return valeur >= 0xE0 && valeur != 0xF7 ? static_cast<char>(valeur - 0x20) : c;
}

std::string majuscules(std::string_view texte) {
  std::string resultat(texte);
  std::transform(resultat.begin(), resultat.end(), resultat.begin(), majuscule);
  return resultat;
}

std::uint16_t crc16(std::string_view octets) {
  unsigned crc = 0;
  for (const char c : octets) {
    crc ^= static_cast<unsigned>(static_cast<unsigned char>(c)) << 8;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000U) != 0 ? (crc << 1) ^ 0x1021U : crc << 1;
    crc &= 0xFFFFU;
  }
  return static_cast<std::uint16_t>(crc);
}

}  // namespace varnion::plateforme
