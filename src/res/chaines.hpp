#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace varnion {

constexpr int kLangueAnglais = 0;
constexpr int kLangueFrancais = 10000;

/// `BaseLangue`: 0 English, 10,000 French.
[[nodiscard]] int base_langue();
void fixer_base_langue(int base);

/// String `id` of the table in the language in force, as working text; nullopt when the table has no such id.
[[nodiscard]] std::optional<std::string> chaine_si_connue(int id);

/// The same in a language that need not be the one in force.
[[nodiscard]] std::optional<std::string> chaine_de_langue(int id, int base);

/// As `chaine_si_connue`; a missing id is journalled and reads as "[id]".
[[nodiscard]] std::string charger_chaine(int id);

/// One value for a "%s" or "%d" of a string.
class Argument {
 public:
  // NOLINTBEGIN(google-explicit-constructor): values are written as they are in the call.
  Argument(std::string_view texte) : texte_(texte), est_texte_(true) {}
  Argument(const std::string &texte) : Argument(std::string_view(texte)) {}
  Argument(const char *texte) : Argument(std::string_view(texte == nullptr ? "" : texte)) {}
  template <typename T>
  requires std::is_integral_v<T> Argument(T nombre)
      : nombre_(static_cast<std::int64_t>(nombre)), etroit_(sizeof(T) <= 4) {}
  // NOLINTEND(google-explicit-constructor)

  [[nodiscard]] bool est_texte() const { return est_texte_; }
  [[nodiscard]] std::string_view texte() const { return texte_; }
  [[nodiscard]] std::int64_t nombre() const { return nombre_; }
  /// True for a number of at most 32 bits: %u, %x and %X show a negative one in 32 bits.
  [[nodiscard]] bool etroit() const { return etroit_; }

 private:
  std::string_view texte_;
  std::int64_t nombre_ = 0;
  bool est_texte_ = false;
  bool etroit_ = false;
};

/// Puts the values in place of the conversions of a model: %s, %d, %i, %u, %x, %X with width, zero fill, "-"
/// and precision (of %s), and %%. A conversion with a value of the other sort shows that value, one with no
/// value shows nothing. The lengths h, l, ll, L, I32 and I64 are read. Width and precision are held to 512; a
/// "%" that begins none of these stays as it is.
[[nodiscard]] std::string formate(std::string_view modele, std::initializer_list<Argument> valeurs);

/// String `id`, formatted.
[[nodiscard]] std::string message(int id, std::initializer_list<Argument> valeurs);

}  // namespace varnion
