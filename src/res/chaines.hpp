#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace varnion {

constexpr int kLangueAnglais = 0;
constexpr int kLangueFrancais = 10000;

/// `BaseLangue`: 0 English, 10,000 French.
[[nodiscard]] int base_langue();
void fixer_base_langue(int base);

/// String `id` of the table in the language in force, as working text; nullopt when the table has no such id.
[[nodiscard]] std::optional<std::string> chaine_si_connue(int id);

/// The same; a missing id is journalled and reads as "[id]".
[[nodiscard]] std::string charger_chaine(int id);

/// One value for a "%s" or "%d" of a string.
class Argument {
 public:
  Argument(std::string_view texte) : texte_(texte), est_texte_(true) {}       // NOLINT(google-explicit-constructor)
  Argument(const std::string &texte) : Argument(std::string_view(texte)) {}   // NOLINT(google-explicit-constructor)
  Argument(const char *texte) : Argument(std::string_view(texte)) {}          // NOLINT(google-explicit-constructor)
  template <typename T>
    requires std::is_integral_v<T>
  Argument(T nombre) : nombre_(static_cast<std::int64_t>(nombre)) {}          // NOLINT(google-explicit-constructor)

  [[nodiscard]] bool est_texte() const { return est_texte_; }
  [[nodiscard]] std::string_view texte() const { return texte_; }
  [[nodiscard]] std::int64_t nombre() const { return nombre_; }

 private:
  std::string_view texte_;
  std::int64_t nombre_ = 0;
  bool est_texte_ = false;
};

/// Puts the values in place of the conversions of a model: %s, %d, %i, %u, %x, %X with width, zero fill, "-" and
/// precision (of %s), and %%. A conversion with no value, or with one of the other sort, shows what it has.
[[nodiscard]] std::string formate(std::string_view modele, std::initializer_list<Argument> valeurs);

/// String `id`, formatted.
[[nodiscard]] std::string message(int id, std::initializer_list<Argument> valeurs);

}  // namespace varnion
