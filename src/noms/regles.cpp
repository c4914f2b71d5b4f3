#include "noms/regles.hpp"

#include <algorithm>
#include <array>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::string_view kSeparateurs = "/\\";

/// Head of a path, its last separator included, brought to `place` bytes: whole components go first.
std::string_view raccourcit_tete(std::string_view tete, std::size_t place) {
  while (tete.size() > place && tete.size() >= 2) {
    const std::size_t separateur = tete.find_last_of(kSeparateurs, tete.size() - 2);
    if (separateur == std::string_view::npos) break;
    tete = tete.substr(0, separateur + 1);
  }
  return tete.substr(0, place);
}

/// Where the last two components of a path begin, or the last one when there is but one separator.
std::size_t debut_queue(std::string_view chemin) {
  const std::size_t dernier = chemin.find_last_of(kSeparateurs);
  if (dernier == std::string_view::npos) return 0;
  if (dernier == 0) return 1;
  const std::size_t avant = chemin.find_last_of(kSeparateurs, dernier - 1);
  return (avant == std::string_view::npos ? dernier : avant) + 1;
}

bool est_peripherique(std::string_view tronc) {
  static constexpr std::array<std::string_view, 5> fixes = {"CON", "PRN", "AUX", "NUL", "CLOCK$"};
  if (std::ranges::find(fixes, tronc) != fixes.end()) return true;
  const bool port = tronc.starts_with("COM") || tronc.starts_with("LPT");
  return port && tronc.size() == 4 && tronc[3] >= '1' && tronc[3] <= '9';
}

}  // namespace

const std::string_view interdits_windows =
    "//\\|:<>*?\"\x15"
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F"
    "\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F";
const std::u16string_view interdits_windows_large =
    u"//\\|:<>*?\"\x15"
    u"\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F"
    u"\x10\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F";

std::string crc_texte(std::string_view texte) {
  static constexpr std::string_view chiffres = "0123456789ABCDEF";
  const std::uint16_t crc = plateforme::crc16(texte);
  std::string resultat;
  for (unsigned decalage = 0; decalage < 16; decalage += 4) resultat += chiffres[(crc >> decalage) & 0xFU];
  return resultat;
}

std::string coupe_nom(std::string_view nom, std::size_t limite) {
  if (nom.size() <= limite) return std::string(nom);
  constexpr std::size_t kExtensionMax = 5;
  const std::size_t point = nom.rfind('.');
  const std::string_view extension = point == std::string_view::npos ? "" : nom.substr(point);
  if (extension.size() < 2 || extension.size() > kExtensionMax || extension.size() > limite) {
    return std::string(nom.substr(0, limite));
  }
  return std::string(nom.substr(0, limite - extension.size())).append(extension);
}

std::string remplace_interdits(std::string_view texte, std::string_view ensemble) {
  std::string resultat(sans_blancs_debut(texte));
  std::ranges::replace_if(
      resultat, [&](char c) { return ensemble.find(c) != std::string_view::npos; }, '_');
  return resultat;
}

std::u16string remplace_interdits(std::u16string_view texte, std::u16string_view ensemble) {
  const std::size_t debut = texte.find_first_not_of(u" \u00A0");
  std::u16string resultat(texte.substr(std::min(debut, texte.size())));
  std::ranges::replace_if(
      resultat, [&](char16_t c) { return ensemble.find(c) != std::u16string_view::npos; }, u'_');
  return resultat;
}

std::string corrige_peripherique(std::string_view nom) {
  const std::string_view tronc = nom.substr(0, nom.find('.'));
  if (!est_peripherique(plateforme::majuscules(tronc))) return std::string(nom);
  return std::string(tronc).append("_").append(nom.substr(tronc.size()));
}

std::string nom_numerote(std::string_view nom, unsigned nb_semblables) {
  const std::size_t point = nom.rfind('.');
  const std::string_view tronc = nom.substr(0, point == 0 ? std::string_view::npos : point);
  return std::string(tronc).append(formate("-%03d", {nb_semblables + 1U})).append(nom.substr(tronc.size()));
}

std::string tronque_chemin(std::string_view chemin, std::size_t limite) {
  static constexpr std::string_view points = "...";
  if (chemin.size() <= limite) return std::string(chemin);
  const std::size_t debut = debut_queue(chemin);
  const std::string_view queue = chemin.substr(debut);
  if (queue.size() > limite) {
    if (limite < points.size()) return std::string(queue.substr(0, limite));
    return std::string(queue.substr(0, limite - points.size())).append(points);
  }
  // The dots and the separator do not fit beside such a tail.
  if (queue.size() + points.size() + 1 > limite) return std::string(queue);
  const std::size_t reserve = queue.size() + 5;
  const std::size_t place = limite > reserve ? limite - reserve : 0;
  const std::string_view tete = raccourcit_tete(chemin.substr(0, debut), place);
  return std::string(tete).append(points).append("/").append(queue);
}

void erreur_fichier(std::string_view chemin, int erreur) {
  constexpr int kMessageOuverture = 1385;
  constexpr std::size_t kLimite = 50;
  std::string texte = message(kMessageOuverture, {tronque_chemin(chemin, kLimite)});
  if (erreur != 0) texte += "\n(" + plateforme::texte_erreur(erreur) + ")";
  operations().afficher_erreur(texte);
}

}  // namespace varnion
