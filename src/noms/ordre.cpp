#include "noms/ordre.hpp"

#include <algorithm>
#include <string>

#include "IO/ecarts.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

int poids(const PoidsHfs &poids, std::string_view texte, std::size_t rang) {
  return rang < texte.size() ? poids[static_cast<std::uint8_t>(texte[rang])] : 0;
}

/// The next unit of a name that the compare does not ignore, folded; 0 at the end.
std::uint16_t unite_suivante(std::span<const be16> &nom) {
  while (!nom.empty()) {
    const std::uint16_t pliee = pliage_hfsplus(nom.front());
    nom = nom.subspan(1);
    if (pliee != 0) return pliee;
  }
  return 0;
}

bool contient(std::u16string_view texte, std::u16string_view partie) {
  return !partie.empty() && texte.find(partie) != std::u16string_view::npos;
}

bool contient(std::string_view texte, std::string_view partie) {
  return !partie.empty() && texte.find(partie) != std::string_view::npos;
}

}  // namespace

OrdreHfs ordre_hfs_voulu() {
  return publie(Ecart::ordre_hfs) ? OrdreHfs::publie : OrdreHfs::classique;
}

const PoidsHfs &poids_hfs(OrdreHfs ordre) {
  return ordre == OrdreHfs::publie ? poids_hfs_publies : poids_hfs_classiques;
}

int compare_hfs(std::string_view a, std::string_view b, OrdreHfs ordre) {
  const std::size_t commun = std::min(a.size(), b.size());
  const int difference = compare_hfs_n(a, b, commun, ordre);
  if (difference != 0 || a.size() == b.size()) return difference;
  return a.size() < b.size() ? -1 : 1;
}

int compare_hfs_n(std::string_view a, std::string_view b, std::size_t nombre, OrdreHfs ordre) {
  const PoidsHfs &table = poids_hfs(ordre);
  const std::size_t fin = std::min(nombre, std::max(a.size(), b.size()));
  for (std::size_t i = 0; i < fin; ++i) {
    const int difference = poids(table, a, i) - poids(table, b, i);
    if (difference != 0) return difference;
  }
  return 0;
}

int compare_nom_hfs(std::string_view motif, std::string_view nom) {
  if (motif == "*") return 0;
  const std::string_view utile = sans_blancs_fin(nom);
  const std::size_t etoile = motif.find('*');
  if (etoile == std::string_view::npos || utile.find('*') != std::string_view::npos) {
    return compare_hfs(motif, utile);
  }
  const std::string bas = minuscule_mac(utile);
  const std::string_view tete = motif.substr(0, etoile);
  if (contient(bas, tete) || contient(bas, motif.substr(etoile + 1))) return 0;
  const std::string_view reste = tete.empty() ? motif : tete;
  return compare_hfs_n(reste, bas, reste.size());
}

int compare_hfsplus(std::span<const be16> a, std::span<const be16> b) {
  for (;;) {
    const std::uint16_t unite_a = unite_suivante(a);
    const std::uint16_t unite_b = unite_suivante(b);
    if (unite_a != unite_b) return unite_a < unite_b ? -1 : 1;
    if (unite_a == 0) return 0;
  }
}

int compare_nom_hfsplus(const NomUnicode &motif, const NomUnicode &nom) {
  const std::u16string texte_motif = motif.large();
  if (texte_motif == u"*") return 0;
  const std::u16string texte = nom.large();
  const std::size_t etoile = texte_motif.find(u'*');
  if (etoile != std::u16string::npos && texte.find(u'*') == std::u16string::npos) {
    const std::u16string_view vue_motif(texte_motif);
    if (contient(texte, vue_motif.substr(0, etoile)) || contient(texte, vue_motif.substr(etoile + 1)))
      return 0;
  }
  return compare_hfsplus(motif.vue(), nom.vue());
}

}  // namespace varnion
