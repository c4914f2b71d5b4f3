#include "noms/texte.hpp"

#include <algorithm>
#include <array>

#include "IO/etat.hpp"

namespace varnion {

namespace {

constexpr std::string_view kBlancs = " \xA0";

/// Upper and lower case of the Mac Roman letters above 7F.
constexpr std::array<std::uint8_t, 2> paires_mac[] = {
    {0x80, 0x8A}, {0x81, 0x8C}, {0x82, 0x8D}, {0x83, 0x8E}, {0x84, 0x96}, {0x85, 0x9A},
    {0x86, 0x9F}, {0xAE, 0xBE}, {0xAF, 0xBF}, {0xCB, 0x88}, {0xCC, 0x8B}, {0xCD, 0x9B},
    {0xCE, 0xCF}, {0xD9, 0xD8}, {0xE5, 0x89}, {0xE6, 0x90}, {0xE7, 0x87}, {0xE8, 0x91},
    {0xE9, 0x8F}, {0xEA, 0x92}, {0xEB, 0x94}, {0xEC, 0x95}, {0xED, 0x93}, {0xEE, 0x97},
    {0xEF, 0x99}, {0xF1, 0x98}, {0xF2, 0x9C}, {0xF3, 0x9E}, {0xF4, 0x9D},
};

constexpr TableOctets calcule_minuscules() {
  TableOctets table{};
  for (std::size_t octet = 0; octet < table.size(); ++octet) {
    table[octet] = static_cast<std::uint8_t>(octet >= 'A' && octet <= 'Z' ? octet + 0x20 : octet);
  }
  for (const auto &paire : paires_mac) table[paire[0]] = paire[1];
  return table;
}

constexpr TableOctets minuscules_mac = calcule_minuscules();

struct ReglagesNoms {
  std::uint8_t remplacement = '_';
};

}  // namespace

std::string traduit(std::string_view texte, const TableOctets &table) {
  std::string resultat;
  resultat.reserve(texte.size());
  for (const char c : texte) {
    const std::uint8_t octet = c == '\0' ? std::uint8_t{0} : table[static_cast<std::uint8_t>(c)];
    if (octet == 0) break;
    resultat += static_cast<char>(octet);
  }
  return resultat;
}

std::string traduit_filtre(std::string_view texte, std::size_t longueur) {
  std::string resultat(texte.substr(0, longueur));
  const auto remplacement = static_cast<char>(caractere_remplacement());
  for (char &c : resultat) {
    const std::uint8_t octet = filtre_noms[static_cast<std::uint8_t>(c)];
    c = octet == 0 ? remplacement : static_cast<char>(octet);
  }
  return resultat;
}

std::uint8_t &caractere_remplacement() {
  return etat<ReglagesNoms>().remplacement;
}

std::string nom_mac(std::string_view windows) {
  std::string nom = traduit(windows, windows_vers_mac);
  if (!nom.empty()) return nom;
  for (const char c : windows.substr(0, windows.find('\0'))) {
    const std::uint8_t octet = windows_vers_mac[static_cast<std::uint8_t>(c)];
    nom += octet == 0 ? '_' : static_cast<char>(octet);
  }
  return nom;
}

std::string nom_windows(std::string_view mac) {
  return traduit(mac, mac_vers_windows);
}

std::uint8_t minuscule_mac(std::uint8_t octet) {
  return minuscules_mac[octet];
}

std::string minuscule_mac(std::string_view texte) {
  std::string resultat(texte);
  for (char &c : resultat) c = static_cast<char>(minuscules_mac[static_cast<std::uint8_t>(c)]);
  return resultat;
}

std::string_view sans_blancs_debut(std::string_view texte) {
  return texte.substr(std::min(texte.find_first_not_of(kBlancs), texte.size()));
}

std::string_view sans_blancs_fin(std::string_view texte) {
  return texte.substr(0, texte.find_last_not_of(kBlancs) + 1);
}

}  // namespace varnion
