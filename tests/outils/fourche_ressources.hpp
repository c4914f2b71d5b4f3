#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// Builds a resource fork as the Resource Manager lays one out (Inside Macintosh: More Macintosh Toolbox,
// 1-121).

namespace varnion::outils {

struct RessourceFaite {
  std::string type;
  int id = 0;
  std::string octets = {}, nom = {};
  int attributs = 0;
};

inline std::string gros_bout(std::uint64_t valeur, int taille) {
  std::string octets;
  for (int i = taille - 1; i >= 0; --i) octets += static_cast<char>(valeur >> (8 * i));
  return octets;
}

/// Resources of one type stand together in `ressources`.
inline std::string fait_fourche(const std::vector<RessourceFaite> &ressources) {
  std::string data, references, noms, types;
  std::vector<std::pair<std::string, unsigned>> liste;
  for (const RessourceFaite &r : ressources) {
    if (liste.empty() || liste.back().first != r.type) liste.emplace_back(r.type, 0);
    ++liste.back().second;
    references += gros_bout(static_cast<std::uint16_t>(r.id), 2);
    references += gros_bout(r.nom.empty() ? 0xFFFF : noms.size(), 2);
    references +=
        gros_bout(static_cast<std::uint64_t>(r.attributs) << 24 | data.size(), 4) + std::string(4, '\0');
    if (!r.nom.empty()) noms += static_cast<char>(r.nom.size()) + r.nom;
    data += gros_bout(r.octets.size(), 4) + r.octets;
  }
  std::size_t place = 2 + 8 * liste.size();
  for (const auto &[type, nombre] : liste) {
    types += type + gros_bout(nombre - 1, 2) + gros_bout(place, 2);
    place += 12 * nombre;
  }
  const std::size_t lg_carte = 28 + place + noms.size();
  const std::string tete = gros_bout(256, 4) + gros_bout(256 + data.size(), 4) + gros_bout(data.size(), 4) +
                           gros_bout(lg_carte, 4);
  const std::string carte = tete + std::string(8, '\0') + gros_bout(28, 2) + gros_bout(28 + place, 2) +
                            gros_bout(liste.size() - 1, 2) + types + references + noms;
  return tete + std::string(240, '\0') + data + carte;
}

}  // namespace varnion::outils
