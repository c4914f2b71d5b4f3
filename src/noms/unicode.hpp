#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "IO/octets.hpp"

namespace varnion {

constexpr std::size_t kUnitesMax = 255;

/// A name on HFS+ (HFSUniStr255 of TN1150): length, then UTF-16 units, all big-endian.
struct NomUnicode {
  be16 longueur;                          // 0: units in use, at most 255
  std::array<be16, kUnitesMax> unites{};  // 2

  /// The units in use; a length above 255 reads as 255.
  [[nodiscard]] std::span<const be16> vue() const;
  /// The same in host order.
  [[nodiscard]] std::u16string large() const;
  /// Adds one unit; false, and nothing added, when the name is full.
  bool ajoute(char16_t unite);
  /// Adds all units of a sequence; false, and nothing added, when they do not all fit.
  bool ajoute_entiere(std::u16string_view sequence);
};
static_assert(sizeof(NomUnicode) == 512 && alignof(NomUnicode) == 1);

/// Units in host order as a name, cut at 255 units, nothing converted.
[[nodiscard]] NomUnicode nom_unicode(std::u16string_view large);

// --- conversions
// ----------------------------------------------------------------------------------------------

/// Working text to units by code page 1252, one unit a byte, at most 255; the first zero byte ends it. The
/// result is precomposed: it serves keys made from names typed in the program. The five bytes that 1252
/// leaves open keep their value.
[[nodiscard]] NomUnicode windows_vers_unicode(std::string_view texte);

/// `windows_vers_unicode` for a name that is about to be written: ":" becomes "_", as on HFS. A PC file name
/// cannot hold it on Windows but may here, and a Macintosh cannot open such an item.
[[nodiscard]] NomUnicode nom_hfsplus(std::string_view texte);

/// The reverse: units to working text. A letter and the mark behind it become the composed letter where code
/// page 1252 has it; what it lacks becomes "?", a surrogate pair one "?". Zero units stay, as zero bytes.
[[nodiscard]] std::string unicode_vers_windows(std::span<const be16> unites);
[[nodiscard]] std::string unicode_vers_windows(const NomUnicode &nom);

/// Mac Roman bytes to decomposed units, up to the first zero. 7F and CA give nothing. Some bytes depart from
/// Apple's table; they are marked in the source.
[[nodiscard]] NomUnicode mac_vers_unicode(std::string_view mac);

/// A wide name of the PC to decomposed units. Units 80-FF are read as Windows-1252 bytes, those of the
/// private-use range go back to the characters they stand for, all others pass. Stops at a zero unit.
[[nodiscard]] NomUnicode large_vers_unicode(std::u16string_view large);

/// A wide name, in composed form, by the whole decomposition table of TN1150, Hangul by algorithm. For names
/// that code page 1252 cannot show. ":" becomes "_", as on HFS. A sequence that does not fit in 255 units
/// whole ends the name; `entier`, when given, tells that none did.
[[nodiscard]] NomUnicode decompose_hfsplus(std::u16string_view large, bool *entier = nullptr);

/// Precomposed Latin-1 letter for a base letter and a combining mark (U+0300-0303, 0308, 030A, 0327); 0 for
/// any pair not known. The tilde is known on N and n only.
[[nodiscard]] std::uint8_t compose_latin(char16_t base, char16_t marque);

/// UTF-8 text to Latin-1 bytes: a two-byte sequence that composes with the character before it replaces that
/// one, else gives its low byte; longer sequences and stray bytes are skipped.
[[nodiscard]] std::string utf8_vers_latin1(std::string_view utf8);

// --- private-use range
// ---------------------------------------------------------------------------------------- Names that Windows
// cannot hold travel in F001-F02A, as NTFS services for Macintosh lay them down.

/// Name bytes to wide units; a blank or a dot at the end becomes F028 or F029. Bytes from 80 up go through
/// `mac_vers_windows`, or stay.
[[nodiscard]] std::u16string mac_vers_prive(std::string_view mac);
[[nodiscard]] std::u16string windows_vers_prive(std::string_view windows);

/// Wide units back to name bytes, up to a zero. Above FE: U+2014 gives "-", U+20AC the euro sign of the
/// target (DB or 80), anything else "_". The Mac form takes the others through `windows_vers_mac` with the
/// rules of `nom_mac`.
[[nodiscard]] std::string prive_vers_mac(std::u16string_view large);
[[nodiscard]] std::string prive_vers_windows(std::u16string_view large);

/// True when a name on disk is the one that `encode` looks for: each "_" of the encoded name stands for any
/// one unit.
[[nodiscard]] bool correspond_prive(std::u16string_view encode, std::u16string_view nom);

}  // namespace varnion
