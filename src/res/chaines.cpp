#include "res/chaines.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <cstddef>
#include <span>
#include <utility>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "res/table_chaines.hpp"

namespace varnion {

namespace {

struct EtatLangue {
  std::atomic<int> base = kLangueAnglais;
};

constexpr std::size_t kLargeurMax = 512;

/// One conversion of a model: "%" flags width "." precision length kind.
struct Conversion {
  bool gauche = false;
  bool zeros = false;
  bool large = false;  ///< length of 64 bits: I64, ll
  std::size_t largeur = 0;
  std::optional<std::size_t> precision;
  char genre = 0;
  std::size_t octets = 0;  ///< length of the whole in the model
};

/// Reads digits, bounded so that no model can ask for an unreasonable field.
std::size_t lire_nombre(std::string_view modele, std::size_t &position) {
  std::size_t valeur = 0;
  for (; position < modele.size() && modele[position] >= '0' && modele[position] <= '9'; ++position) {
    valeur = std::min(kLargeurMax, valeur * 10 + static_cast<std::size_t>(modele[position] - '0'));
  }
  return valeur;
}

/// The conversion at the start of `modele`, which begins with "%"; nullopt when it is none of those known.
std::optional<Conversion> lire_conversion(std::string_view modele) {
  Conversion lue;
  std::size_t position = 1;
  for (; position < modele.size(); ++position) {
    if (modele[position] == '-') {
      lue.gauche = true;
    } else if (modele[position] == '0') {
      lue.zeros = true;
    } else {
      break;
    }
  }
  lue.largeur = lire_nombre(modele, position);
  if (position < modele.size() && modele[position] == '.') lue.precision = lire_nombre(modele, ++position);
  for (const std::string_view longueur : {"I64", "I32", "ll", "l", "L", "h"}) {
    if (!modele.substr(position).starts_with(longueur)) continue;
    lue.large = longueur == "I64" || longueur == "ll";
    position += longueur.size();
    break;
  }
  if (position >= modele.size() ||
      std::string_view("sdiuxX").find(modele[position]) == std::string_view::npos) {
    return std::nullopt;
  }
  lue.genre = modele[position];
  lue.octets = position + 1;
  return lue;
}

/// Digits of a number, "-" included.
std::string chiffres(const Conversion &conversion, const Argument &valeur) {
  std::array<char, 24> tampon{};
  char *const debut = tampon.data();
  char *const fin = debut + tampon.size();
  if (conversion.genre == 'd' || conversion.genre == 'i' || conversion.genre == 's') {
    return {debut, std::to_chars(debut, fin, valeur.nombre()).ptr};
  }
  // A negative 32-bit value shows its own 32 bits, unless the model says that it is a 64-bit one.
  const bool etroit = valeur.etroit() && !conversion.large;
  const auto bits = static_cast<std::uint64_t>(valeur.nombre());
  const std::uint64_t positif = etroit ? static_cast<std::uint32_t>(bits) : bits;
  std::string texte(debut, std::to_chars(debut, fin, positif, conversion.genre == 'u' ? 10 : 16).ptr);
  if (conversion.genre == 'X') {
    std::ranges::transform(texte, texte.begin(), [](char c) {
      return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
    });
  }
  return texte;
}

void ajouter_champ(std::string &sortie, const Conversion &conversion, const Argument &valeur) {
  std::string texte;
  if (valeur.est_texte()) {
    const bool coupe = conversion.genre == 's' && conversion.precision;
    texte = valeur.texte().substr(0, coupe ? *conversion.precision : std::string_view::npos);
  } else {
    texte = chiffres(conversion, valeur);
  }
  const std::size_t manque = conversion.largeur > texte.size() ? conversion.largeur - texte.size() : 0;
  if (conversion.gauche) {
    sortie.append(texte).append(manque, ' ');
  } else if (conversion.zeros && !valeur.est_texte()) {
    const std::size_t signe = texte.starts_with('-') ? 1 : 0;
    sortie.append(texte, 0, signe).append(manque, '0').append(texte, signe);
  } else {
    sortie.append(manque, ' ').append(texte);
  }
}

}  // namespace

int base_langue() {
  return etat<EtatLangue>().base;
}

void fixer_base_langue(int base) {
  etat<EtatLangue>().base = base == kLangueAnglais ? kLangueAnglais : kLangueFrancais;
}

std::optional<std::string> chaine_si_connue(int id) {
  return chaine_de_langue(id, base_langue());
}

std::optional<std::string> chaine_de_langue(int id, int base) {
  if (id < 0 || id >= kLangueFrancais) return std::nullopt;
  const int cherche = id + base;
  const std::span<const EntreeChaine> table = table_chaines();
  const auto place = std::ranges::lower_bound(table, cherche, {}, &EntreeChaine::id);
  if (place == table.end() || place->id != cherche) return std::nullopt;
  return plateforme::utf8_vers_texte(place->utf8);
}

std::string charger_chaine(int id) {
  if (std::optional<std::string> texte = chaine_si_connue(id)) return std::move(*texte);
  // Typed in place: a text from the table could be the one that is missing.
  std::string substitut = "[" + std::to_string(id) + "]";
  operations().journal(GenreJournal::information, "Missing string " + substitut);
  return substitut;
}

std::string formate(std::string_view modele, std::initializer_list<Argument> valeurs) {
  std::string sortie;
  const Argument *valeur = valeurs.begin();
  while (!modele.empty()) {
    const std::size_t pourcent = std::min(modele.find('%'), modele.size());
    sortie.append(modele, 0, pourcent);
    modele.remove_prefix(pourcent);
    if (modele.empty()) break;
    const std::optional<Conversion> conversion = lire_conversion(modele);
    if (conversion) {
      if (valeur != valeurs.end()) ajouter_champ(sortie, *conversion, *valeur++);
      modele.remove_prefix(conversion->octets);
    } else {
      sortie += '%';
      modele.remove_prefix(modele.starts_with("%%") ? 2 : 1);
    }
  }
  return sortie;
}

std::string message(int id, std::initializer_list<Argument> valeurs) {
  return formate(charger_chaine(id), valeurs);
}

}  // namespace varnion
