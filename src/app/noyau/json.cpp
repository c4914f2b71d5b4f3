#include "app/noyau/json.hpp"

#include <array>
#include <cstdio>

#include "IO/montrable.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

void ajoute_unite(std::string &json, char32_t unite) {
  std::array<char, 8> texte{};
  std::snprintf(texte.data(), texte.size(), "\\u%04x", static_cast<unsigned>(unite & 0xFFFF));
  json += texte.data();
}

void ajoute_paire(std::string &json, char32_t point) {
  ajoute_unite(json, 0xD7C0 + (point >> 10));
  ajoute_unite(json, 0xDC00 + (point & 0x3FF));
}

}  // namespace

std::string json_texte(std::string_view texte) {
  return json_utf8(plateforme::texte_vers_utf8(texte));
}

std::string json_utf8(std::string_view utf8) {
  std::string json = "\"";
  for (std::size_t rang = 0; rang < utf8.size();) {
    const std::size_t debut = rang;
    const char32_t point = lit_point(utf8, rang);
    if (point == kOctetFaux)
      ajoute_unite(json, 0xFFFD);
    else if (point == '"' || point == '\\')
      json.append("\\").append(1, static_cast<char>(point));
    else if (!caractere_trompeur(point) && !liant_trompeur(0, point))
      json.append(utf8.substr(debut, rang - debut));
    else if (point < 0x10000)
      ajoute_unite(json, point);
    else
      ajoute_paire(json, point);
  }
  return json + "\"";
}

ObjetJson &ObjetJson::brut(std::string_view nom, std::string_view json) {
  if (!membres_.empty()) membres_ += ", ";
  membres_.append("\"").append(nom).append("\": ").append(json);
  return *this;
}

}  // namespace varnion
