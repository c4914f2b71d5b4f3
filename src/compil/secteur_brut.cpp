#include "compil/secteur_brut.hpp"

#include <algorithm>

#include "IO/octets.hpp"

namespace varnion {

namespace {

// Division by the polynomial of ECMA-130 14.3, (x^16+x^15+x^2+1)(x^16+x^2+x+1), least significant bit first.
constexpr std::uint32_t kPolynomeEdc = 0xD8018001;

constexpr std::array<std::uint32_t, 256> table_edc() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t reste = i;
    for (int bit = 0; bit < 8; ++bit) reste = (reste >> 1) ^ ((reste & 1) != 0 ? kPolynomeEdc : 0);
    table[i] = reste;
  }
  return table;
}
constexpr auto kTableEdc = table_edc();

// Product by alpha in the field of ECMA-130 annex A, x^8+x^4+x^3+x^2+1.
constexpr std::uint8_t fois_alpha(std::uint8_t v) {
  return static_cast<std::uint8_t>((v << 1) ^ ((v & 0x80) != 0 ? 0x11D : 0));
}

// For each value, what gives it when multiplied by alpha + 1.
constexpr std::array<std::uint8_t, 256> table_quotient() {
  std::array<std::uint8_t, 256> table{};
  for (unsigned i = 0; i < table.size(); ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    table[static_cast<std::uint8_t>(v ^ fois_alpha(v))] = v;
  }
  return table;
}
constexpr auto kParAlphaPlusUn = table_quotient();

std::uint32_t edc(std::span<const std::uint8_t> octets) {
  std::uint32_t reste = 0;
  for (const std::uint8_t o : octets) reste = (reste >> 8) ^ kTableEdc[(reste ^ o) & 0xFF];
  return reste;
}

// One of the two product codes: `mots` words of `longueur` bytes, taken from the sector behind its sync.
struct Code {
  std::size_t mots, longueur;
  std::size_t ligne, pas;  // start of a pair of words, way from byte to byte
  std::size_t parite;      // where the parity lies in the sector
};
constexpr Code kCodeP{86, 24, 2, 86, 0x81C};
constexpr Code kCodeQ{52, 43, 86, 88, 0x8C8};

// Parity a, b of each word: the sum of all its bytes is 0, and so is their sum weighted by powers of alpha.
void pose_parite(SecteurBrut &secteur, const Code &code) {
  const std::size_t taille = code.mots * code.longueur;
  for (std::size_t mot = 0; mot < code.mots; ++mot) {
    std::size_t place = mot / 2 * code.ligne + mot % 2;
    std::uint8_t ponderee = 0, simple = 0;
    for (std::size_t i = 0; i < code.longueur; ++i) {
      const std::uint8_t octet = secteur[kSynchro.size() + place];
      ponderee = fois_alpha(ponderee ^ octet);
      simple ^= octet;
      place += code.pas;
      if (place >= taille) place -= taille;
    }
    const std::uint8_t premiere = kParAlphaPlusUn[fois_alpha(ponderee) ^ simple];
    secteur[code.parite + mot] = premiere;
    secteur[code.parite + code.mots + mot] = premiere ^ simple;
  }
}

}  // namespace

std::array<std::uint8_t, 3> temps_bcd(std::uint32_t valeur) {
  const auto bcd = [](std::uint32_t n) { return static_cast<std::uint8_t>(n / 10 % 10 << 4 | n % 10); };
  return {bcd(valeur / 4500), bcd(valeur / 75 % 60), bcd(valeur % 75)};
}

std::uint32_t secteurs_bcd(std::span<const std::uint8_t> temps) {
  const auto nombre = [](std::uint8_t bcd) { return std::uint32_t{bcd} / 16 * 10 + bcd % 16; };
  return nombre(temps[0]) * 4500 + nombre(temps[1]) * 75 + nombre(temps[2]);
}

void pose_adresse(SecteurBrut &secteur, std::uint32_t numero, std::uint8_t mode) {
  std::copy(kSynchro.begin(), kSynchro.end(), secteur.begin());
  const auto temps = temps_bcd(numero + kAvantPiste);
  std::copy(temps.begin(), temps.end(), secteur.begin() + 12);
  secteur[15] = mode;
}

void forme_secteur(SecteurBrut &secteur, std::span<const std::uint8_t> donnees, std::uint32_t numero,
                   std::uint8_t mode, std::uint8_t sous_mode) {
  secteur.fill(0);
  pose_adresse(secteur, numero, mode);
  if (mode == 2) secteur[18] = secteur[22] = sous_mode;
  const std::size_t debut = mode == 2 ? kDonneesMode2 : kDonneesMode1;
  std::copy(donnees.begin(), donnees.end(), secteur.begin() + static_cast<std::ptrdiff_t>(debut));
  pose_controles(secteur);
}

void pose_controles(SecteurBrut &secteur) {
  const std::span<const std::uint8_t> tout(secteur);
  const bool mode2 = secteur[15] == 2;
  const le32 reste = mode2 ? edc(tout.subspan(0x10, 0x808)) : edc(tout.first(0x810));
  std::copy(reste.octets.begin(), reste.octets.end(), secteur.begin() + (mode2 ? 0x818 : 0x810));
  if (!mode2) std::fill_n(secteur.begin() + 0x814, 8, std::uint8_t{0});
  // In mode 2 the parity leaves the address out: it is taken as zero.
  std::array<std::uint8_t, 4> adresse{};
  std::copy_n(secteur.begin() + 12, adresse.size(), adresse.begin());
  if (mode2) std::fill_n(secteur.begin() + 12, adresse.size(), std::uint8_t{0});
  pose_parite(secteur, kCodeP);
  pose_parite(secteur, kCodeQ);
  std::copy(adresse.begin(), adresse.end(), secteur.begin() + 12);
}

}  // namespace varnion
