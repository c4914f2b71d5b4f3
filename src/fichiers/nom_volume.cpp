#include "fichiers/nom_volume.hpp"

#include <algorithm>

#include "hfs/volume.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"

namespace varnion {

namespace {

constexpr std::size_t kExtensionGardee = 5;  // bytes or units, with the dot

template <typename Texte>
Texte avec_marque(const Texte &nom, const Texte &marque, std::size_t limite) {
  const auto point = nom.rfind(static_cast<typename Texte::value_type>('.'));
  const bool garde = point != Texte::npos && point != 0 && nom.size() - point <= kExtensionGardee;
  const Texte extension = garde ? nom.substr(point) : Texte();
  const Texte tronc = nom.substr(0, nom.size() - extension.size());
  return tronc.substr(0, limite - marque.size() - extension.size()) + marque + extension;
}

}  // namespace

bool nom_hors_page(const plateforme::DonneesRecherche &donnees) {
  return donnees.nom_long.find('?') != std::string::npos &&
         plateforme::texte_vers_large(donnees.nom_long) != donnees.nom_large;
}

std::optional<std::string> nom_ouvrable(const plateforme::DonneesRecherche &donnees) {
  if (donnees.nom_long.find_first_of("?\\") == std::string::npos) return donnees.nom_long;
  if (donnees.nom_court.empty()) return std::nullopt;
  return donnees.nom_court;
}

std::string nom_mac_de_pc(const plateforme::DonneesRecherche &donnees) {
  return nom_hors_page(donnees) ? prive_vers_mac(donnees.nom_large) : nom_mac(donnees.nom_long);
}

NomItem nom_hfsplus_de_pc(const plateforme::DonneesRecherche &donnees) {
  if (nom_hors_page(donnees)) return {{}, decompose_hfsplus(donnees.nom_large)};
  std::u16string large;
  for (const char c : donnees.nom_long)
    large.push_back(c == ':' ? u'_' : static_cast<char16_t>(static_cast<std::uint8_t>(c)));
  return {{}, large_vers_unicode(large)};
}

NomItem nom_de_tete(std::string_view mac) {
  std::string nom(mac);
  std::replace(nom.begin(), nom.end(), ':', '_');
  if (volume_courant().est_hfsplus) return nom_item_mac(nom);
  return {std::string(sans_blancs_fin(std::string_view(nom).substr(0, kNomHfsMax))), {}};
}

bool nom_vide(const NomItem &nom) {
  return volume_courant().est_hfsplus ? nom.unicode.longueur == 0 : nom.mac.empty();
}

NomItem nom_distinct(const NomItem &nom, const plateforme::DonneesRecherche &donnees) {
  const std::string crc = "-" + crc_texte(plateforme::large_vers_utf8(donnees.nom_large));
  if (!volume_courant().est_hfsplus) return {avec_marque(nom.mac, crc, kNomHfsMax), {}};
  const std::u16string marque(crc.begin(), crc.end());
  return {{}, nom_unicode(avec_marque(nom.unicode.large(), marque, kUnitesMax))};
}

}  // namespace varnion
