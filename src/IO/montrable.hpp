#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text that may go to a terminal or to the log, whatever a name from an image holds.

namespace varnion {

/// What `lit_point` gives for a byte that is not valid UTF-8.
constexpr char32_t kOctetFaux = 0xFFFFFFFF;

/// The code point at `rang`, which moves behind it; `kOctetFaux`, and one byte on, where there is none.
/// `rang` stands inside the text.
[[nodiscard]] char32_t lit_point(std::string_view utf8, std::size_t &rang);

/// True for a code point that a terminal may obey, or that hides or reorders the text around it: the controls
/// C0 and C1, DEL, line and paragraph separators, the controls of bidirectional text (UAX 9), characters
/// without width and the language tags. Not the joiners U+200C and U+200D, which some scripts need.
[[nodiscard]] bool caractere_trompeur(char32_t point);
/// U+200C or U+200D where nothing needs it: behind a character of the Latin, Greek or Cyrillic script.
[[nodiscard]] bool liant_trompeur(char32_t avant, char32_t point);

/// Makes a stream of UTF-8 safe, piece by piece: what deceives is shown as an escape, `\x1B` below 0x80,
/// `\u202E` above, and a byte that is not UTF-8 as `\x9B`. Line feeds and tabs stay, and so does a carriage
/// return ahead of a line feed.
class FiltreTexte {
 public:
  /// With `un_nom`, line breaks and tabs become `\n`, `\r` and `\t`.
  explicit FiltreTexte(bool un_nom = false) : un_nom_(un_nom) {}
  /// Adds the safe form of `utf8` to `sortie`. A character that the end cuts waits for the next piece.
  void ajoute(std::string_view utf8, std::string &sortie);
  /// What still waits.
  void finit(std::string &sortie);

 private:
  void passe(std::string_view utf8, std::string &sortie);

  bool un_nom_;
  std::string attente_;
  char32_t avant_ = 0;
};

/// A text of the program, with its line breaks and tabs.
[[nodiscard]] std::string texte_sur(std::string_view utf8);
/// A name, a path or another text of one line.
[[nodiscard]] std::string montrable(std::string_view utf8);
/// The same of working text, which becomes UTF-8.
[[nodiscard]] std::string texte_montrable(std::string_view texte);

}  // namespace varnion
