#include "IO/noms_courts.hpp"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "IO/plateforme.hpp"
#include "IO/texte.hpp"

namespace varnion::plateforme {
namespace {

constexpr std::size_t kMaxBase = 8;
constexpr std::size_t kMaxExtension = 3;
constexpr std::size_t kDebutEchelle = 6;  // characters kept before ~1 to ~4
constexpr std::size_t kDebutCrc = 2;      // characters kept before the four digits of the CRC
constexpr int kBarreaux = 4;

bool est_legal(char c) {
  if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
  return c != '\0' && std::string_view("_^$~!#%&-{}()@'`").find(c) != std::string_view::npos;
}

// The letters that stand in a short name for one code point: upper case, accents dropped, "_" for the rest.
void ajoute_reduit(std::string &resultat, char32_t point, std::size_t limite) {
  std::array<utf8proc_int32_t, 8> parts{};
  int classe = 0;
  utf8proc_ssize_t nombre = 1;
  parts[0] = static_cast<utf8proc_int32_t>(point);
  if (point >= 0x80) {
    nombre = utf8proc_decompose_char(parts[0], parts.data(), parts.size(),
                                     static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE),
                                     &classe);
    nombre = std::clamp<utf8proc_ssize_t>(nombre, 0, static_cast<utf8proc_ssize_t>(parts.size()));
  }
  for (std::size_t i = 0; i < static_cast<std::size_t>(nombre) && resultat.size() < limite; ++i) {
    if (utf8proc_category(parts[i]) == UTF8PROC_CATEGORY_MN) continue;
    const utf8proc_int32_t haut = utf8proc_toupper(parts[i]);
    const char c = haut > 0 && haut < 0x80 ? static_cast<char>(haut) : '_';
    resultat.push_back(est_legal(c) ? c : '_');
  }
}

// A part of a name without its blanks and dots, reduced to at most `limite` characters.
std::string reduit(std::string_view partie, std::size_t limite) {
  std::string resultat;
  for (const char32_t point : points_utf8(partie)) {
    if (resultat.size() == limite) break;
    if (point != ' ' && point != '.') ajoute_reduit(resultat, point, limite);
  }
  return resultat;
}

struct Parties {
  std::string base;       // up to 8 characters
  std::string extension;  // with its dot, or empty
};

// A dot at the very start hides the file and separates no extension.
Parties parties(std::string_view nom) {
  nom.remove_prefix(std::min(nom.find_first_not_of(". "), nom.size()));
  const std::size_t point = nom.rfind('.');
  Parties resultat;
  resultat.base = reduit(nom.substr(0, point), kMaxBase);
  if (point != std::string_view::npos) resultat.extension = reduit(nom.substr(point + 1), kMaxExtension);
  if (!resultat.extension.empty()) resultat.extension.insert(0, 1, '.');
  return resultat;
}

// Gives out the short names of one folder, name after name. A counter for each stem keeps the search for a
// free number constant on average, even where thousands of names share a stem.
class Attribution {
 public:
  bool reclame(const std::string &nom) { return pris_.insert(nom).second; }

  std::string attribue(std::string_view nom) {
    const Parties p = parties(nom);
    for (int barreau = 1; barreau <= kBarreaux; ++barreau) {
      std::string essai = p.base.substr(0, kDebutEchelle) + '~' + std::to_string(barreau) + p.extension;
      if (reclame(essai)) return essai;
    }
    std::array<char, 8> crc{};
    std::snprintf(crc.data(), crc.size(), "%04X", static_cast<unsigned>(crc16(nom)));
    return compte(p.base.substr(0, kDebutCrc) + crc.data(), p.extension);
  }

 private:
  // The stem gives way to the digits, so that eight characters always hold both.
  std::string compte(const std::string &souche, const std::string &extension) {
    std::uint32_t plancher = 1;
    for (std::size_t chiffres = 1;; ++chiffres, plancher *= 10) {
      const std::string debut = souche.substr(0, kMaxBase - 1 - std::min(chiffres, kMaxBase - 1)) + '~';
      std::uint32_t &suivant = compteurs_.try_emplace(debut + extension, plancher).first->second;
      suivant = std::max(suivant, plancher);
      const bool dernier = chiffres >= kMaxBase - 1;
      while (dernier || suivant < plancher * 10) {
        std::string essai = debut;
        essai.append(std::to_string(suivant++)).append(extension);
        if (reclame(essai)) return essai;
      }
    }
  }

  std::unordered_set<std::string> pris_;
  std::unordered_map<std::string, std::uint32_t> compteurs_;
};

}  // namespace

bool est_nom_court_legal(std::string_view nom) {
  const std::size_t point = nom.find('.');
  const std::string_view base = nom.substr(0, point);
  if (base.empty() || base.size() > kMaxBase || !std::all_of(base.begin(), base.end(), est_legal))
    return false;
  if (point == std::string_view::npos) return true;
  const std::string_view extension = nom.substr(point + 1);
  return !extension.empty() && extension.size() <= kMaxExtension &&
         std::all_of(extension.begin(), extension.end(), est_legal);
}

std::vector<std::string> noms_courts(std::span<const std::string_view> noms) {
  std::vector<std::size_t> ordre(noms.size());
  std::iota(ordre.begin(), ordre.end(), std::size_t{0});
  std::sort(ordre.begin(), ordre.end(), [noms](std::size_t a, std::size_t b) { return noms[a] < noms[b]; });

  Attribution attribution;
  std::vector<std::size_t> restants;
  for (const std::size_t rang : ordre) {
    const bool naturel = est_nom_court_legal(noms[rang]) && attribution.reclame(majuscules(noms[rang]));
    if (!naturel) restants.push_back(rang);
  }
  std::vector<std::string> resultat(noms.size());
  for (const std::size_t rang : restants) resultat[rang] = attribution.attribue(noms[rang]);
  return resultat;
}

}  // namespace varnion::plateforme
