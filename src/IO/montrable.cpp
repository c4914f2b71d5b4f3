#include "IO/montrable.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

// First and last code point of each range, ascending. The controls are tested ahead of it.
constexpr std::array<std::pair<char32_t, char32_t>, 11> kTrompeurs = {{
    {0xAD, 0xAD},        // soft hyphen
    {0x34F, 0x34F},      // combining grapheme joiner
    {0x61C, 0x61C},      // Arabic letter mark
    {0x180E, 0x180E},    // Mongolian vowel separator
    {0x200B, 0x200B},    // zero width space
    {0x200E, 0x200F},    // left-to-right mark, right-to-left mark
    {0x2028, 0x202E},    // separators, embeddings and overrides
    {0x2060, 0x206F},    // word joiner, invisible operators, isolates
    {0xFEFF, 0xFEFF},    // zero width no-break space
    {0xFFF9, 0xFFFB},    // interlinear annotation
    {0xE0000, 0xE007F},  // tags
}};

constexpr std::size_t kSequenceMax = 4;  // bytes of a character in UTF-8

// Bytes that the sequence beginning so is to have.
std::size_t longueur_sequence(char premier) {
  const auto octet = static_cast<unsigned char>(premier);
  if (octet >= 0xF0) return 4;
  if (octet >= 0xE0) return 3;
  return octet >= 0xC0 ? 2 : 1;
}

// Where a sequence begins that the end of the text cuts.
std::size_t fin_entiere(std::string_view utf8) {
  const std::size_t debut = utf8.size() - std::min(utf8.size(), kSequenceMax - 1);
  for (std::size_t i = utf8.size(); i-- > debut;) {
    if ((static_cast<unsigned char>(utf8[i]) & 0xC0) == 0x80) continue;
    return i + longueur_sequence(utf8[i]) > utf8.size() ? i : utf8.size();
  }
  return utf8.size();
}

void echappe(char32_t point, std::string &sortie) {
  std::array<char, 16> texte{};
  const char *forme = point < 0x80 ? "\\x%02X" : point < 0x10000 ? "\\u%04X" : "\\U%08X";
  std::snprintf(texte.data(), texte.size(), forme, static_cast<unsigned>(point));
  sortie += texte.data();
}

void echappe_octet(char octet, std::string &sortie) {
  std::array<char, 8> texte{};
  std::snprintf(texte.data(), texte.size(), "\\x%02X",
                static_cast<unsigned>(static_cast<unsigned char>(octet)));
  sortie += texte.data();
}

bool passe_telle(char c) {
  const auto octet = static_cast<unsigned char>(c);
  return octet >= 0x20 && octet < 0x7F;
}

}  // namespace

char32_t lit_point(std::string_view utf8, std::size_t &rang) {
  utf8proc_int32_t point = -1;
  const utf8proc_ssize_t pris = utf8proc_iterate(reinterpret_cast<const std::uint8_t *>(utf8.data()) + rang,
                                                 static_cast<utf8proc_ssize_t>(utf8.size() - rang), &point);
  const bool valide = pris > 0 && point >= 0;
  rang += valide ? static_cast<std::size_t>(pris) : 1;
  return valide ? static_cast<char32_t>(point) : kOctetFaux;
}

bool caractere_trompeur(char32_t point) {
  if (point < 0x20 || (point >= 0x7F && point < 0xA0)) return true;
  return std::ranges::any_of(
      kTrompeurs, [point](const auto &plage) { return point >= plage.first && point <= plage.second; });
}

bool liant_trompeur(char32_t avant, char32_t point) {
  constexpr char32_t kPremiereEcriture = 0x590;  // Hebrew, and what comes behind it
  return (point == 0x200C || point == 0x200D) && avant < kPremiereEcriture;
}

void FiltreTexte::passe(std::string_view utf8, std::string &sortie) {
  std::size_t rang = 0;
  while (rang < utf8.size()) {
    const std::size_t debut = rang;
    while (rang < utf8.size() && passe_telle(utf8[rang])) ++rang;
    sortie.append(utf8.substr(debut, rang - debut));
    if (rang > debut) avant_ = static_cast<unsigned char>(utf8[rang - 1]);
    if (rang == utf8.size()) return;
    const std::size_t ici = rang;
    const char32_t point = lit_point(utf8, rang);
    const bool retour = point == '\r' && rang < utf8.size() && utf8[rang] == '\n';
    if (point == kOctetFaux)
      echappe_octet(utf8[ici], sortie);
    else if (point == '\n' || point == '\t' || point == '\r') {
      if (un_nom_)
        sortie.append(point == '\n' ? "\\n" : point == '\t' ? "\\t" : "\\r");
      else if (point != '\r' || retour)
        sortie += static_cast<char>(point);
      else
        sortie.append("\\r");
    } else if (caractere_trompeur(point) || liant_trompeur(avant_, point)) {
      echappe(point, sortie);
    } else {
      sortie.append(utf8.substr(ici, rang - ici));
    }
    avant_ = point == kOctetFaux ? 0 : point;
  }
}

void FiltreTexte::ajoute(std::string_view utf8, std::string &sortie) {
  if (attente_.empty() && !utf8.empty() && passe_telle(utf8.back())) {
    passe(utf8, sortie);
    return;
  }
  const std::string tout = std::exchange(attente_, {}).append(utf8);
  std::size_t fin = fin_entiere(tout);
  if (fin == tout.size() && tout.ends_with('\r')) --fin;
  attente_ = tout.substr(fin);
  passe(std::string_view(tout).substr(0, fin), sortie);
}

void FiltreTexte::finit(std::string &sortie) {
  passe(std::exchange(attente_, {}), sortie);
}

std::string texte_sur(std::string_view utf8) {
  std::string sortie;
  FiltreTexte filtre;
  filtre.ajoute(utf8, sortie);
  filtre.finit(sortie);
  return sortie;
}

std::string montrable(std::string_view utf8) {
  std::string sortie;
  FiltreTexte filtre(true);
  filtre.ajoute(utf8, sortie);
  filtre.finit(sortie);
  return sortie;
}

std::string texte_montrable(std::string_view texte) {
  return montrable(plateforme::texte_vers_utf8(texte));
}

}  // namespace varnion
