#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>

#include "noms/unicode.hpp"

namespace varnion {

namespace {

/// Up to two units; 0 fills the end.
using Suite = std::array<char16_t, 2>;

/// Code page 1252, bytes 80-9F. The five bytes without a character keep their value, as Windows converts
/// them.
// clang-format off
constexpr std::array<char16_t, 32> page_1252 = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98
};
// clang-format on

/// What `large_vers_unicode` gives for the units 80-FF: code page 1252 by the decomposition of TN1150, except
/// that 88 and 98 give combining marks, 91 gives U+201B, and 8E and 9E give nothing, like the bytes without a
/// character.
// clang-format off
constexpr std::array<Suite, 128> suites_1252 = {{
    {0x20AC, 0x0000}, {0x0000, 0x0000}, {0x201A, 0x0000}, {0x0192, 0x0000},  // 80
    {0x201E, 0x0000}, {0x2026, 0x0000}, {0x2020, 0x0000}, {0x2021, 0x0000},  // 84
    {0x0302, 0x0000}, {0x2030, 0x0000}, {0x0053, 0x030C}, {0x2039, 0x0000},  // 88
    {0x0152, 0x0000}, {0x0000, 0x0000}, {0x0000, 0x0000}, {0x0000, 0x0000},  // 8C
    {0x0000, 0x0000}, {0x201B, 0x0000}, {0x2019, 0x0000}, {0x201C, 0x0000},  // 90
    {0x201D, 0x0000}, {0x2022, 0x0000}, {0x2013, 0x0000}, {0x2014, 0x0000},  // 94
    {0x0303, 0x0000}, {0x2122, 0x0000}, {0x0073, 0x030C}, {0x203A, 0x0000},  // 98
    {0x0153, 0x0000}, {0x0000, 0x0000}, {0x0000, 0x0000}, {0x0059, 0x0308},  // 9C
    {0x00A0, 0x0000}, {0x00A1, 0x0000}, {0x00A2, 0x0000}, {0x00A3, 0x0000},  // A0
    {0x00A4, 0x0000}, {0x00A5, 0x0000}, {0x00A6, 0x0000}, {0x00A7, 0x0000},  // A4
    {0x00A8, 0x0000}, {0x00A9, 0x0000}, {0x00AA, 0x0000}, {0x00AB, 0x0000},  // A8
    {0x00AC, 0x0000}, {0x00AD, 0x0000}, {0x00AE, 0x0000}, {0x00AF, 0x0000},  // AC
    {0x00B0, 0x0000}, {0x00B1, 0x0000}, {0x00B2, 0x0000}, {0x00B3, 0x0000},  // B0
    {0x00B4, 0x0000}, {0x00B5, 0x0000}, {0x00B6, 0x0000}, {0x00B7, 0x0000},  // B4
    {0x00B8, 0x0000}, {0x00B9, 0x0000}, {0x00BA, 0x0000}, {0x00BB, 0x0000},  // B8
    {0x00BC, 0x0000}, {0x00BD, 0x0000}, {0x00BE, 0x0000}, {0x00BF, 0x0000},  // BC
    {0x0041, 0x0300}, {0x0041, 0x0301}, {0x0041, 0x0302}, {0x0041, 0x0303},  // C0
    {0x0041, 0x0308}, {0x0041, 0x030A}, {0x00C6, 0x0000}, {0x0043, 0x0327},  // C4
    {0x0045, 0x0300}, {0x0045, 0x0301}, {0x0045, 0x0302}, {0x0045, 0x0308},  // C8
    {0x0049, 0x0300}, {0x0049, 0x0301}, {0x0049, 0x0302}, {0x0049, 0x0308},  // CC
    {0x00D0, 0x0000}, {0x004E, 0x0303}, {0x004F, 0x0300}, {0x004F, 0x0301},  // D0
    {0x004F, 0x0302}, {0x004F, 0x0303}, {0x004F, 0x0308}, {0x00D7, 0x0000},  // D4
    {0x00D8, 0x0000}, {0x0055, 0x0300}, {0x0055, 0x0301}, {0x0055, 0x0302},  // D8
    {0x0055, 0x0308}, {0x0059, 0x0301}, {0x00DE, 0x0000}, {0x00DF, 0x0000},  // DC
    {0x0061, 0x0300}, {0x0061, 0x0301}, {0x0061, 0x0302}, {0x0061, 0x0303},  // E0
    {0x0061, 0x0308}, {0x0061, 0x030A}, {0x00E6, 0x0000}, {0x0063, 0x0327},  // E4
    {0x0065, 0x0300}, {0x0065, 0x0301}, {0x0065, 0x0302}, {0x0065, 0x0308},  // E8
    {0x0069, 0x0300}, {0x0069, 0x0301}, {0x0069, 0x0302}, {0x0069, 0x0308},  // EC
    {0x00F0, 0x0000}, {0x006E, 0x0303}, {0x006F, 0x0300}, {0x006F, 0x0301},  // F0
    {0x006F, 0x0302}, {0x006F, 0x0303}, {0x006F, 0x0308}, {0x00F7, 0x0000},  // F4
    {0x00F8, 0x0000}, {0x0075, 0x0300}, {0x0075, 0x0301}, {0x0075, 0x0302},  // F8
    {0x0075, 0x0308}, {0x0079, 0x0301}, {0x00FE, 0x0000}, {0x0079, 0x0308},  // FC
}};
// clang-format on

/// Mac Roman bytes 80-FF for HFS+. Apple's table (ROMAN.TXT) with the decomposition of TN1150, except for
/// these, kept as they stand: 98 (o acute in place of grave), A1, A5, CA (nothing), DA, DB (the currency sign
/// it was before 1998), E1, the capital I with acute, circumflex and grave (EA, EB, ED have circumflex, grave
/// and acute), F0 (the private-use unit of the NTFS services) and F6 to FF (the accents, over a blank).
// clang-format off
constexpr std::array<Suite, 128> suites_mac = {{
    {0x0041, 0x0308}, {0x0041, 0x030A}, {0x0043, 0x0327}, {0x0045, 0x0301},  // 80
    {0x004E, 0x0303}, {0x004F, 0x0308}, {0x0055, 0x0308}, {0x0061, 0x0301},  // 84
    {0x0061, 0x0300}, {0x0061, 0x0302}, {0x0061, 0x0308}, {0x0061, 0x0303},  // 88
    {0x0061, 0x030A}, {0x0063, 0x0327}, {0x0065, 0x0301}, {0x0065, 0x0300},  // 8C
    {0x0065, 0x0302}, {0x0065, 0x0308}, {0x0069, 0x0301}, {0x0069, 0x0300},  // 90
    {0x0069, 0x0302}, {0x0069, 0x0308}, {0x006E, 0x0303}, {0x006F, 0x0301},  // 94
    {0x006F, 0x0301}, {0x006F, 0x0302}, {0x006F, 0x0308}, {0x006F, 0x0303},  // 98
    {0x0075, 0x0301}, {0x0075, 0x0300}, {0x0075, 0x0302}, {0x0075, 0x0308},  // 9C
    {0x2020, 0x0000}, {0x02B0, 0x0000}, {0x00A2, 0x0000}, {0x00A3, 0x0000},  // A0
    {0x00A7, 0x0000}, {0x00B7, 0x0000}, {0x00B6, 0x0000}, {0x00DF, 0x0000},  // A4
    {0x00AE, 0x0000}, {0x00A9, 0x0000}, {0x2122, 0x0000}, {0x00B4, 0x0000},  // A8
    {0x00A8, 0x0000}, {0x2260, 0x0000}, {0x00C6, 0x0000}, {0x00D8, 0x0000},  // AC
    {0x221E, 0x0000}, {0x00B1, 0x0000}, {0x2264, 0x0000}, {0x2265, 0x0000},  // B0
    {0x00A5, 0x0000}, {0x00B5, 0x0000}, {0x2202, 0x0000}, {0x2211, 0x0000},  // B4
    {0x220F, 0x0000}, {0x03C0, 0x0000}, {0x222B, 0x0000}, {0x00AA, 0x0000},  // B8
    {0x00BA, 0x0000}, {0x03A9, 0x0000}, {0x00E6, 0x0000}, {0x00F8, 0x0000},  // BC
    {0x00BF, 0x0000}, {0x00A1, 0x0000}, {0x00AC, 0x0000}, {0x221A, 0x0000},  // C0
    {0x0192, 0x0000}, {0x2248, 0x0000}, {0x2206, 0x0000}, {0x00AB, 0x0000},  // C4
    {0x00BB, 0x0000}, {0x2026, 0x0000}, {0x0000, 0x0000}, {0x0041, 0x0300},  // C8
    {0x0041, 0x0303}, {0x004F, 0x0303}, {0x0152, 0x0000}, {0x0153, 0x0000},  // CC
    {0x2013, 0x0000}, {0x2014, 0x0000}, {0x201C, 0x0000}, {0x201D, 0x0000},  // D0
    {0x2018, 0x0000}, {0x2019, 0x0000}, {0x00F7, 0x0000}, {0x25CA, 0x0000},  // D4
    {0x0079, 0x0308}, {0x0059, 0x0308}, {0x2223, 0x0000}, {0x00A4, 0x0000},  // D8
    {0x2039, 0x0000}, {0x203A, 0x0000}, {0xFB01, 0x0000}, {0xFB02, 0x0000},  // DC
    {0x2021, 0x0000}, {0x2027, 0x0000}, {0x201A, 0x0000}, {0x201E, 0x0000},  // E0
    {0x2030, 0x0000}, {0x0041, 0x0302}, {0x0045, 0x0302}, {0x0041, 0x0301},  // E4
    {0x0045, 0x0308}, {0x0045, 0x0300}, {0x0049, 0x0302}, {0x0049, 0x0300},  // E8
    {0x0049, 0x0308}, {0x0049, 0x0301}, {0x004F, 0x0301}, {0x004F, 0x0302},  // EC
    {0xF02A, 0x0000}, {0x004F, 0x0300}, {0x0055, 0x0301}, {0x0055, 0x0302},  // F0
    {0x0055, 0x0300}, {0x0131, 0x0000}, {0x0020, 0x0302}, {0x0020, 0x030B},  // F4
    {0x0020, 0x0304}, {0x0020, 0x0304}, {0x0020, 0x0307}, {0x0020, 0x030A},  // F8
    {0x0020, 0x0327}, {0x0020, 0x0308}, {0x0020, 0x0328}, {0x0020, 0x0306},  // FC
}};
// clang-format on

/// Private-use units F020-F02A and the units they stand for on HFS+. F020 is one unit here: the second one
/// that its entry counts has no defined value, and nothing undefined may reach a volume.
constexpr std::array<char16_t, 11> suites_privees = {0x22, 0x2A, 0x2F, 0x3C, 0x3E,  0x3F,
                                                     0x5C, 0x7C, 0x20, 0x2E, 0xF8FF};

std::u16string_view texte_de(const Suite &suite) {
  return {suite.data(), static_cast<std::size_t>(std::ranges::find(suite, u'\0') - suite.begin())};
}

/// The Windows-1252 byte of a unit.
std::optional<char> octet_1252(char16_t unite) {
  if (unite < 0x80 || (unite >= 0xA0 && unite <= 0xFF)) return static_cast<char>(unite);
  const auto *rang = std::ranges::find(page_1252, unite);
  if (rang == page_1252.end()) return std::nullopt;
  return static_cast<char>(0x80 + (rang - page_1252.begin()));
}

/// The Windows-1252 byte that a base letter and a mark compose to.
std::optional<char> compose_1252(char16_t base, char16_t marque) {
  if (marque < 0x300 || marque > 0x36F) return std::nullopt;
  if (base == u'Z' && marque == 0x30C) return '\x8E';
  if (base == u'z' && marque == 0x30C) return '\x9E';
  const auto *rang = std::ranges::find(suites_1252, Suite{base, marque});
  if (rang == suites_1252.end()) return std::nullopt;
  return static_cast<char>(0x80 + (rang - suites_1252.begin()));
}

struct Composition {
  char16_t marque;
  std::string_view bases;
  std::string_view lettres;  // Latin-1
};

constexpr Composition compositions[] = {
    {0x300, "AEIOUaeiou", "\xC0\xC8\xCC\xD2\xD9\xE0\xE8\xEC\xF2\xF9"},
    {0x301, "AEIOUYaeiouy", "\xC1\xC9\xCD\xD3\xDA\xDD\xE1\xE9\xED\xF3\xFA\xFD"},
    {0x302, "AEIOUaeiou", "\xC2\xCA\xCE\xD4\xDB\xE2\xEA\xEE\xF4\xFB"},
    {0x303, "Nn", "\xD1\xF1"},
    {0x308, "AEIOUaeiouy", "\xC4\xCB\xCF\xD6\xDC\xE4\xEB\xEF\xF6\xFC\xFF"},
    {0x30A, "Aa", "\xC5\xE5"},
    {0x327, "Cc", "\xC7\xE7"},
};

}  // namespace

std::span<const be16> NomUnicode::vue() const {
  return std::span(unites).first(std::min<std::size_t>(longueur, kUnitesMax));
}

std::u16string NomUnicode::large() const {
  std::u16string large;
  for (const be16 unite : vue()) large += static_cast<char16_t>(unite);
  return large;
}

bool NomUnicode::ajoute(char16_t unite) {
  return ajoute_entiere({&unite, 1});
}

bool NomUnicode::ajoute_entiere(std::u16string_view sequence) {
  const std::size_t debut = vue().size();
  if (sequence.size() > kUnitesMax - debut) return false;
  for (std::size_t i = 0; i < sequence.size(); ++i)
    unites[debut + i] = static_cast<std::uint16_t>(sequence[i]);
  longueur = static_cast<std::uint16_t>(debut + sequence.size());
  return true;
}

NomUnicode nom_unicode(std::u16string_view large) {
  NomUnicode nom;
  nom.ajoute_entiere(large.substr(0, kUnitesMax));
  return nom;
}

NomUnicode windows_vers_unicode(std::string_view texte) {
  NomUnicode nom;
  for (const char c : texte) {
    const auto octet = static_cast<std::uint8_t>(c);
    const char16_t unite = octet >= 0x80 && octet < 0xA0 ? page_1252[octet - 0x80U] : octet;
    if (unite == 0 || !nom.ajoute(unite)) break;
  }
  return nom;
}

NomUnicode nom_hfsplus(std::string_view texte) {
  std::string sans_deux_points(texte);
  std::ranges::replace(sans_deux_points, ':', '_');
  return windows_vers_unicode(sans_deux_points);
}

std::string unicode_vers_windows(std::span<const be16> unites) {
  std::string texte;
  texte.reserve(unites.size());
  for (std::size_t i = 0; i < unites.size(); ++i) {
    const auto unite = static_cast<char16_t>(unites[i]);
    const char16_t suivante = i + 1 < unites.size() ? static_cast<char16_t>(unites[i + 1]) : u'\0';
    if (const auto composee = compose_1252(unite, suivante)) {
      texte += *composee;
      ++i;
      continue;
    }
    texte += octet_1252(unite).value_or('?');
    if ((unite & 0xFC00) == 0xD800 && (suivante & 0xFC00) == 0xDC00) ++i;
  }
  return texte;
}

std::string unicode_vers_windows(const NomUnicode &nom) {
  return unicode_vers_windows(nom.vue());
}

NomUnicode mac_vers_unicode(std::string_view mac) {
  NomUnicode nom;
  for (const char c : mac) {
    const auto octet = static_cast<std::uint8_t>(c);
    if (octet == 0) break;
    if (octet == 0x7F) continue;
    const Suite suite = octet >= 0x80 ? suites_mac[octet - 0x80U] : Suite{octet, 0};
    if (!nom.ajoute_entiere(texte_de(suite))) break;
  }
  return nom;
}

NomUnicode large_vers_unicode(std::u16string_view large) {
  NomUnicode nom;
  for (const char16_t unite : large) {
    if (unite == 0) break;
    Suite suite{unite, 0};
    if (unite >= 0x80 && unite <= 0xFF) {
      suite = suites_1252[unite - 0x80U];
    } else if (unite >= 0xF001 && unite <= 0xF01F) {
      suite[0] = unite & 0xFF;
    } else if (unite >= 0xF020 && unite <= 0xF02A) {
      suite[0] = suites_privees[unite - 0xF020U];
    }
    if (!nom.ajoute_entiere(texte_de(suite))) break;
  }
  return nom;
}

std::uint8_t compose_latin(char16_t base, char16_t marque) {
  const auto *ligne = std::ranges::find(compositions, marque, &Composition::marque);
  if (ligne == std::end(compositions)) return 0;
  const std::size_t rang = base < 0x80 ? ligne->bases.find(static_cast<char>(base)) : std::string_view::npos;
  return rang == std::string_view::npos ? std::uint8_t{0} : static_cast<std::uint8_t>(ligne->lettres[rang]);
}

std::string utf8_vers_latin1(std::string_view utf8) {
  std::string texte;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto tete = static_cast<std::uint8_t>(utf8[i]);
    if (tete < 0x80) texte += utf8[i];
    const bool suivi = i + 1 < utf8.size() && (utf8[i + 1] & 0xC0) == 0x80;
    if ((tete & 0xE0) != 0xC0 || !suivi) continue;
    const auto code = static_cast<char16_t>((tete & 0x1F) << 6 | (utf8[++i] & 0x3F));
    const char16_t base = texte.empty() ? u'\0' : static_cast<std::uint8_t>(texte.back());
    if (const std::uint8_t composee = compose_latin(base, code); composee != 0) {
      texte.back() = static_cast<char>(composee);
    } else {
      texte += static_cast<char>(code & 0xFF);
    }
  }
  return texte;
}

}  // namespace varnion
