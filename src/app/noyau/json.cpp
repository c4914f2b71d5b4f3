#include "app/noyau/json.hpp"

#include "IO/plateforme.hpp"

namespace varnion {

std::string json_texte(std::string_view texte) {
  return json_utf8(plateforme::texte_vers_utf8(texte));
}

std::string json_utf8(std::string_view utf8) {
  static constexpr std::string_view kChiffres = "0123456789abcdef";
  std::string json = "\"";
  for (const char c : utf8) {
    const auto octet = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (octet < 0x20 || octet == 0x7F) {
      json += "\\u00";
      json += kChiffres[octet >> 4];
      json += kChiffres[octet & 15];
    } else {
      json += c;
    }
  }
  return json + "\"";
}

ObjetJson &ObjetJson::brut(std::string_view nom, std::string_view json) {
  if (!membres_.empty()) membres_ += ", ";
  membres_.append("\"").append(nom).append("\": ").append(json);
  return *this;
}

}  // namespace varnion
