#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// The lines of a dump, and the numbers that a user types to move in it.

namespace varnion {

constexpr std::size_t kOctetsParLigne = 16;
constexpr std::size_t kLargeurLigne = 76;

enum class TableCaracteres { mac, windows, dos, ebcdic };

struct AspectVidage {
  unsigned radix = 10;  ///< 10 or 16
  TableCaracteres table = TableCaracteres::mac;
};

/// One byte as the right-hand part of a line shows it: a byte of working text, a blank for none.
[[nodiscard]] char caractere_vidage(std::uint8_t octet, TableCaracteres table);

/// One line of 76 characters for at most 16 bytes, of which the first is byte `position`: eight columns of
/// position, the bytes in hexadecimal, the characters. A position of more than eight digits takes up to two
/// columns of the gap behind it; of still longer ones the last ten digits are shown.
[[nodiscard]] std::string ligne_vidage(std::span<const std::uint8_t> octets, std::uint64_t position,
                                       const AspectVidage &aspect);

/// The list of one sector: its lines, and an empty one after each 16.
[[nodiscard]] std::vector<std::string> lignes_secteur(std::span<const std::uint8_t> secteur,
                                                      std::uint64_t position, const AspectVidage &aspect);
/// Row of that list where byte `place` of the sector stands.
[[nodiscard]] std::size_t rang_ligne(std::size_t place);
/// Columns of byte `rang` (0 to 15) of a line: of its first hexadecimal digit, of its character.
[[nodiscard]] std::size_t colonne_hexa(std::size_t rang);
[[nodiscard]] std::size_t colonne_caractere(std::size_t rang);

/// A number of the status bar.
[[nodiscard]] std::string nombre_vidage(std::int64_t nombre, unsigned radix);

/// A number of at most 63 bits in that radix, blanks around it allowed; "0x" ahead of it reads as
/// hexadecimal. nullopt for anything else.
[[nodiscard]] std::optional<std::uint64_t> lit_nombre(std::string_view texte, unsigned radix);
/// The sector that a user asks for: a number, or with "+" or "-" ahead a distance from `courant`. -1, and
/// nothing is to be done, for what is no number; a result below 0 means the same.
[[nodiscard]] std::int64_t secteur_demande(std::string_view texte, std::int64_t courant, unsigned radix);
/// The end of a range: a number, or with "+" ahead a distance from `debut`. nullopt for what is no number.
[[nodiscard]] std::optional<std::uint64_t> fin_demandee(std::string_view texte, std::uint64_t debut,
                                                        unsigned radix);

}  // namespace varnion
