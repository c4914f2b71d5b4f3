#include "noms/iso.hpp"

#include <algorithm>

#include "IO/ecarts.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

constexpr std::size_t kJolietFichierMax = 62;
constexpr std::size_t kJolietDossierMax = 64;
constexpr std::size_t kBase = 8;  ///< ECMA-119 10.1: what every reader of level 1 takes
constexpr std::size_t kExtension = 3;

struct PlageSansAccent {
  std::uint8_t premier, dernier;
  std::string_view lettres;
};

/// Windows-1252 letters without their accents. "ß" gives "S" and then itself, which no descriptor can hold:
/// it ends as
/// "_" like all else that is not listed.
constexpr PlageSansAccent sans_accents[] = {
    {0x8C, 0x8C, "OE"}, {0x9C, 0x9C, "OE"}, {0xC0, 0xC5, "A"}, {0xC6, 0xC6, "AE"}, {0xC7, 0xC7, "C"},
    {0xC8, 0xCB, "E"},  {0xCC, 0xCF, "I"},  {0xD0, 0xD0, "D"}, {0xD1, 0xD1, "N"},  {0xD2, 0xD6, "O"},
    {0xD8, 0xD8, "O"},  {0xD9, 0xDC, "U"},  {0xDD, 0xDD, "Y"}, {0xDF, 0xDF, "S_"}, {0xE0, 0xE5, "A"},
    {0xE6, 0xE6, "AE"}, {0xE7, 0xE7, "C"},  {0xE8, 0xEB, "E"}, {0xEC, 0xEF, "I"},  {0xF0, 0xF0, "D"},
    {0xF1, 0xF1, "N"},  {0xF2, 0xF6, "O"},  {0xF8, 0xF8, "O"}, {0xF9, 0xFC, "U"},  {0xFD, 0xFD, "Y"},
    {0xFF, 0xFF, "Y"},
};

void ajoute_d(std::string &texte, char c) {
  const auto octet = static_cast<std::uint8_t>(c);
  if (c >= 'a' && c <= 'z') {
    texte += static_cast<char>(c - 'a' + 'A');
  } else if ((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) {
    texte += c;
  } else {
    const auto *plage = std::ranges::find_if(
        sans_accents, [octet](const PlageSansAccent &p) { return octet >= p.premier && octet <= p.dernier; });
    texte += plage == std::end(sans_accents) ? std::string_view("_") : plage->lettres;
  }
}

/// The head of a wide text; a surrogate pair that the cut would halve leaves "_" in place of its first unit.
std::u16string tete_large(std::u16string_view texte, std::size_t unites) {
  std::u16string tete(texte.substr(0, unites));
  if (unites < texte.size() && !tete.empty() && (tete.back() & 0xFC00) == 0xD800) tete.back() = u'_';
  return tete;
}

}  // namespace

std::string nom_d(std::string_view texte) {
  std::string resultat;
  for (const char c : sans_blancs_fin(sans_blancs_debut(texte))) ajoute_d(resultat, c);
  return resultat;
}

std::string champ_d(std::string_view texte, std::size_t largeur) {
  std::string champ = nom_d(texte);
  champ.resize(largeur, ' ');
  return champ;
}

std::vector<std::uint8_t> champ_ucs2(std::u16string_view texte, std::size_t octets) {
  std::vector<std::uint8_t> champ(octets);
  for (std::size_t i = 0; i + 1 < octets; i += 2) {
    const char16_t unite = i / 2 < texte.size() ? texte[i / 2] : u' ';
    champ[i] = static_cast<std::uint8_t>(unite >> 8);
    champ[i + 1] = static_cast<std::uint8_t>(unite & 0xFF);
  }
  return champ;
}

std::string identifiant_fichier(std::string_view nom_court) {
  const std::size_t point = std::min(nom_court.rfind('.'), nom_court.size());
  const std::string base = nom_d(nom_court.substr(0, point)).substr(0, kBase);
  const std::string extension =
      point == nom_court.size() ? std::string() : nom_d(nom_court.substr(point + 1)).substr(0, kExtension);
  return (base.empty() && extension.empty() ? "_" : base) + "." + extension + ";1";
}

std::string identifiant_dossier(std::string_view nom_court) {
  std::string nom(nom_court);
  if (const std::size_t point = nom.rfind('.'); point != std::string::npos) nom.erase(point, 1);
  nom = nom_d(nom).substr(0, kBase);
  return nom.empty() ? "_" : nom;
}

std::string nom_iso_fichier(std::string_view nom_court) {
  return plateforme::majuscules(nom_court.substr(0, 12)) + ";1";
}

std::optional<std::string> nom_iso_dossier(std::string_view nom_court, const PredicatNom &existe) {
  constexpr std::size_t kLongueur = 8;
  std::string nom(nom_court);
  if (const std::size_t point = nom.rfind('.'); point != std::string::npos) nom.erase(point, 1);
  if (nom.size() <= kLongueur) return nom;
  nom.resize(kLongueur);
  for (char lettre = 'A'; existe(nom); ++lettre) {
    if (lettre > 'Z') return std::nullopt;
    nom[kLongueur - 2] = '~';
    nom[kLongueur - 1] = lettre;
  }
  return nom;
}

std::string nom_iso_virtuel(std::string_view nom) {
  if (nom.size() <= 8) return plateforme::majuscules(nom);
  std::string court = plateforme::majuscules(nom.substr(0, 5));
  std::ranges::replace(court, '.', '_');
  return court + "~~1";
}

std::u16string nom_joliet_fichier(std::u16string_view nom_iso, std::string_view nom_court) {
  std::u16string nom(nom_iso);
  if (nom.size() > kJolietFichierMax) {
    const std::u16string court = plateforme::texte_vers_large(nom_court.substr(0, kJolietFichierMax));
    const std::size_t tilde = court.rfind(u'~');
    nom = tilde == std::u16string::npos
              ? court
              : tete_large(nom_iso, kJolietFichierMax - (court.size() - tilde)) + court.substr(tilde);
  }
  return interdits_joliet(nom) + u";1";
}

std::u16string nom_joliet_dossier(std::u16string_view nom_long, std::string_view nom_court) {
  if (nom_long.size() <= kJolietDossierMax) return interdits_joliet(nom_long);
  return interdits_joliet(plateforme::texte_vers_large(nom_court));
}

std::u16string interdits_joliet(std::u16string_view nom) {
  static constexpr std::u16string_view interdits = u";*/:?\\";
  const std::u16string_view vus = std::u16string_view(interdits).substr(publie(Ecart::noms_vue_iso) ? 0 : 1);
  std::u16string resultat(nom);
  std::ranges::replace_if(
      resultat, [vus](char16_t c) { return c < 0x20 || vus.find(c) != std::u16string_view::npos; }, u'_');
  return resultat;
}

}  // namespace varnion
