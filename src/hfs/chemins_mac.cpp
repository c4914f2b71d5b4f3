#include <algorithm>

#include "hfs/catalogue.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/texte.hpp"
#include "noms/texte.hpp"

// Names of a volume as UTF-8 and as parts of paths, and the way back.

namespace varnion {
namespace {

constexpr char16_t kZeroVisible = 0x2400;  // SYMBOL FOR NULL, as newer systems of the Macintosh show a zero
constexpr std::string_view kZeroVisibleUtf8 = "\xE2\x90\x80";

std::string compose(const std::string &utf8) {
  if (plateforme::est_ascii(utf8)) return utf8;
  return plateforme::large_vers_utf8(plateforme::utf8_vers_large(utf8));
}

// Units as they stand, not composed; nothing when the text has more than a name can hold.
std::optional<NomUnicode> unites_de(std::string_view utf8) {
  NomUnicode nom;
  for (const char32_t point : plateforme::points_utf8(utf8)) {
    const bool paire = point >= 0x10000;
    const char32_t reste = point - 0x10000;
    const std::u16string unites = paire ? std::u16string{static_cast<char16_t>(0xD800 + (reste >> 10)),
                                                         static_cast<char16_t>(0xDC00 + (reste & 0x3FF))}
                                        : std::u16string{static_cast<char16_t>(point)};
    if (!nom.ajoute_entiere(unites)) return std::nullopt;
  }
  return nom;
}

// The forms in which a name may lie on an HFS+ volume: as typed, decomposed, composed.
std::optional<ElementMac> par_cle_hfsplus(std::uint32_t parent, const std::string &nom) {
  const std::u16string composee = plateforme::utf8_vers_large(nom);
  bool entier = false;
  std::optional<NomUnicode> decomposee = decompose_hfsplus(composee, &entier);
  if (!entier) decomposee.reset();  // what was cut off may be what tells it from another item
  std::optional<NomUnicode> courte;
  if (composee.size() <= kUnitesMax) courte = nom_unicode(composee);
  for (const auto &forme : {unites_de(nom), decomposee, courte}) {
    if (!forme || forme->vue().empty()) continue;
    if (auto element = element_hfsplus(parent, *forme)) return element;
  }
  return std::nullopt;
}

std::optional<ElementMac> par_cle_hfs(std::uint32_t parent, const std::string &nom) {
  const auto mac = utf8_vers_mac(nom);
  return mac && !mac->empty() ? element_hfs(parent, *mac) : std::nullopt;
}

}  // namespace

std::string partie_de_nom(std::string_view nom_utf8) {
  std::string partie;
  for (const char c : nom_utf8) {
    if (c == '\0') {
      partie += kZeroVisibleUtf8;
    } else {
      partie += c == '/' ? ':' : c;
    }
  }
  return partie;
}

std::string nom_de_partie(std::string_view partie) {
  std::string nom(partie);
  std::replace(nom.begin(), nom.end(), ':', '/');
  for (std::size_t place = 0; (place = nom.find(kZeroVisibleUtf8, place)) != std::string::npos; ++place)
    nom.replace(place, kZeroVisibleUtf8.size(), 1, '\0');
  return nom;
}

std::string ElementMac::nom_utf8() const {
  if (!hfsplus) {
    std::string nom = mac_vers_utf8(nom_hfs);
    for (std::size_t place = 0; (place = nom.find('\0', place)) != std::string::npos; ++place)
      nom.replace(place, 1, kZeroVisibleUtf8);
    return nom;
  }
  std::u16string large = nom_hfsplus.large();
  std::replace(large.begin(), large.end(), u'\0', kZeroVisible);
  return compose(plateforme::large_vers_utf8(large));
}

std::string ElementMac::nom_chemin() const {
  return partie_de_nom(nom_utf8());
}

std::string ElementMac::nom_texte() const {
  return hfsplus ? unicode_vers_windows(nom_hfsplus) : nom_windows(nom_hfs);
}

std::optional<ElementMac> element_par_nom(std::uint32_t parent, std::string_view partie) {
  const std::string nom = nom_de_partie(partie);
  auto trouve = volume_courant().est_hfsplus ? par_cle_hfsplus(parent, nom) : par_cle_hfs(parent, nom);
  if (trouve) return trouve;
  const std::string composee = compose(std::string(partie));
  static_cast<void>(liste_dossier(parent, [&](const ElementMac &element) {
    const std::string vue = element.nom_chemin();
    if (vue == partie || (!trouve && vue == composee)) trouve = element;
    return vue != partie;
  }));
  return trouve;
}

std::optional<ElementMac> element_par_chemin(std::string_view chemin) {
  auto element = element_racine();
  while (element && !chemin.empty()) {
    const std::size_t barre = std::min(chemin.find('/'), chemin.size());
    const std::string_view partie = chemin.substr(0, barre);
    chemin.remove_prefix(std::min(barre + 1, chemin.size()));
    if (partie.empty()) continue;
    element = element->dossier ? element_par_nom(element->id, partie) : std::nullopt;
  }
  return element;
}

}  // namespace varnion
