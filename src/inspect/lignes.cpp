#include "inspect/lignes.hpp"

#include <algorithm>
#include <charconv>
#include <limits>

#include "noms/tables.hpp"

namespace varnion {

namespace {

constexpr std::size_t kColonnesPosition = 8;
constexpr std::size_t kColonnesPositionMax = 10;
constexpr std::size_t kDebutHexa = 10;
constexpr std::size_t kDebutCaracteres = 60;
constexpr std::size_t kMoitie = kOctetsParLigne / 2;
constexpr std::size_t kLignesGroupe = 16;
constexpr std::string_view kChiffres = "0123456789abcdef";

std::string chiffres(std::uint64_t nombre, unsigned radix) {
  char tampon[64];
  const auto fin = std::to_chars(std::begin(tampon), std::end(tampon), nombre, static_cast<int>(radix));
  return {tampon, fin.ptr};
}

std::string_view sans_blancs(std::string_view texte) {
  const auto blanc = [](char c) { return c == ' ' || c == '\t'; };
  while (!texte.empty() && blanc(texte.front())) texte.remove_prefix(1);
  while (!texte.empty() && blanc(texte.back())) texte.remove_suffix(1);
  return texte;
}

}  // namespace

char caractere_vidage(std::uint8_t octet, TableCaracteres table) {
  const bool filtre = table == TableCaracteres::mac || table == TableCaracteres::windows;
  if (filtre && octet == 0) return ' ';
  if (filtre && octet < 0x20) return '_';
  std::uint8_t montre = octet;
  if (table == TableCaracteres::mac) montre = mac_vers_windows[octet];
  if (table == TableCaracteres::dos) montre = dos_vers_windows[octet];
  if (table == TableCaracteres::ebcdic) montre = ebcdic_vers_windows[octet];
  return montre == 0 ? ' ' : static_cast<char>(montre);
}

std::string ligne_vidage(std::span<const std::uint8_t> octets, std::uint64_t position,
                         const AspectVidage &aspect) {
  std::string ligne(kLargeurLigne, ' ');
  std::string place = chiffres(position, aspect.radix);
  if (place.size() < kColonnesPosition) place.insert(0, kColonnesPosition - place.size(), '0');
  if (place.size() > kColonnesPositionMax) place.erase(0, place.size() - kColonnesPositionMax);
  std::copy(place.begin(), place.end(), ligne.begin());
  for (std::size_t i = 0; i < std::min(octets.size(), kOctetsParLigne); ++i) {
    ligne[colonne_hexa(i)] = kChiffres[octets[i] >> 4];
    ligne[colonne_hexa(i) + 1] = kChiffres[octets[i] & 15];
    ligne[colonne_caractere(i)] = caractere_vidage(octets[i], aspect.table);
  }
  return ligne;
}

std::vector<std::string> lignes_secteur(std::span<const std::uint8_t> secteur, std::uint64_t position,
                                        const AspectVidage &aspect) {
  std::vector<std::string> lignes;
  std::size_t faites = 0;
  for (std::size_t i = 0; i < secteur.size(); i += kOctetsParLigne) {
    const auto octets = secteur.subspan(i, std::min(kOctetsParLigne, secteur.size() - i));
    lignes.push_back(ligne_vidage(octets, position + i, aspect));
    if (++faites % kLignesGroupe == 0) lignes.emplace_back();
  }
  return lignes;
}

std::size_t rang_ligne(std::size_t place) {
  const std::size_t ligne = place / kOctetsParLigne;
  return ligne + ligne / kLignesGroupe;
}

std::size_t colonne_hexa(std::size_t rang) {
  return kDebutHexa + 3 * rang + (rang >= kMoitie ? 1 : 0);
}

std::size_t colonne_caractere(std::size_t rang) {
  return kDebutCaracteres + rang;
}

std::string nombre_vidage(std::int64_t nombre, unsigned radix) {
  if (nombre < 0 && radix == 10) return std::to_string(nombre);
  return chiffres(static_cast<std::uint64_t>(nombre), radix);
}

std::optional<std::uint64_t> lit_nombre(std::string_view texte, unsigned radix) {
  texte = sans_blancs(texte);
  if (texte.starts_with("0x") || texte.starts_with("0X")) {
    texte.remove_prefix(2);
    radix = 16;
  }
  std::uint64_t nombre = 0;
  const char *fin = texte.data() + texte.size();
  const auto lu = std::from_chars(texte.data(), fin, nombre, static_cast<int>(radix));
  if (texte.empty() || lu.ec != std::errc() || lu.ptr != fin) return std::nullopt;
  if (nombre > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
  return nombre;
}

std::int64_t secteur_demande(std::string_view texte, std::int64_t courant, unsigned radix) {
  texte = sans_blancs(texte);
  const char signe = texte.empty() ? '\0' : texte.front();
  const bool relatif = signe == '+' || signe == '-';
  if (relatif) texte.remove_prefix(1);
  const auto nombre = lit_nombre(texte, radix);
  if (!nombre) return -1;
  const auto lu = static_cast<std::int64_t>(*nombre);
  if (!relatif) return lu;
  if (signe == '-') return courant < lu ? -1 : courant - lu;
  const std::int64_t place = std::numeric_limits<std::int64_t>::max() - lu;
  return courant > place ? -1 : courant + lu;
}

std::optional<std::uint64_t> fin_demandee(std::string_view texte, std::uint64_t debut, unsigned radix) {
  texte = sans_blancs(texte);
  const bool relatif = texte.starts_with('+');
  if (relatif) texte.remove_prefix(1);
  const auto nombre = lit_nombre(texte, radix);
  if (!nombre || !relatif) return nombre;
  const std::uint64_t somme = debut + *nombre;
  return somme < debut ? std::nullopt : std::optional(somme);
}

}  // namespace varnion
