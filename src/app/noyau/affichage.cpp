#include "app/noyau/affichage.hpp"

#include "IO/plateforme.hpp"
#include "noms/tables.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::int64_t kEpoqueMac = 2082844800;  // seconds from 1904 to 1970

}  // namespace

std::string code_lisible(const char *octets) {
  std::string texte;
  bool vide = true;
  for (int i = 0; i < 4; ++i) {
    const auto octet = static_cast<std::uint8_t>(octets[i]);
    vide = vide && octet == 0;
    texte += octet < 0x80 ? octets[i] : static_cast<char>(mac_vers_windows[octet]);
  }
  return vide ? std::string() : texte;
}

std::optional<std::string> date_iso(std::uint32_t secondes) {
  if (secondes == 0) return std::nullopt;
  const auto d = plateforme::date_utc(std::int64_t{secondes} - kEpoqueMac);
  return formate("%04d-%02d-%02dT%02d:%02d:%02d", {d.annee, d.mois, d.jour, d.heure, d.minute, d.seconde});
}

std::optional<std::string> date_iso_volume(std::uint32_t secondes, bool hfsplus) {
  auto date = date_iso(secondes);
  if (date && hfsplus) *date += 'Z';
  return date;
}

std::string date_courte(std::uint32_t secondes, bool hfsplus) {
  if (secondes == 0) return "-";
  const std::int64_t unix = std::int64_t{secondes} - kEpoqueMac;
  const auto d = hfsplus ? plateforme::date_locale(unix) : plateforme::date_utc(unix);
  return formate("%04d-%02d-%02d %02d:%02d", {d.annee, d.mois, d.jour, d.heure, d.minute});
}

}  // namespace varnion
