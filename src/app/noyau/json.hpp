#pragma once

#include <concepts>
#include <optional>
#include <string>
#include <string_view>

// Small pieces of JSON (RFC 8259), in UTF-8.

namespace varnion {

/// A string: working text between quotes, escaped; all that could deceive a reader as well.
[[nodiscard]] std::string json_texte(std::string_view texte);
/// The same of UTF-8.
[[nodiscard]] std::string json_utf8(std::string_view utf8);

/// An object, member by member, in the order of the calls.
class ObjetJson {
 public:
  ObjetJson &texte(std::string_view nom, std::string_view valeur) { return brut(nom, json_texte(valeur)); }
  ObjetJson &utf8(std::string_view nom, std::string_view valeur) { return brut(nom, json_utf8(valeur)); }
  ObjetJson &texte_ou_nul(std::string_view nom, const std::optional<std::string> &valeur) {
    return brut(nom, valeur ? json_texte(*valeur) : "null");
  }
  ObjetJson &nombre(std::string_view nom, std::integral auto valeur) {
    return brut(nom, std::to_string(valeur));
  }
  ObjetJson &vrai(std::string_view nom, bool valeur) { return brut(nom, valeur ? "true" : "false"); }
  ObjetJson &objet(std::string_view nom, const ObjetJson &valeur) { return brut(nom, valeur.fini()); }
  /// An array, already in JSON.
  ObjetJson &liste(std::string_view nom, std::string_view json) { return brut(nom, json); }
  [[nodiscard]] std::string fini() const { return "{" + membres_ + "}"; }

 private:
  ObjetJson &brut(std::string_view nom, std::string_view json);
  std::string membres_;
};

}  // namespace varnion
