#include "inspect/champs.hpp"

#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

std::span<const std::uint8_t> tranche(std::span<const std::uint8_t> octets, std::size_t place,
                                      std::size_t taille) {
  if (place > octets.size()) return {};
  return octets.subspan(place, taille < octets.size() - place ? taille : octets.size() - place);
}

std::string texte_utf16(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille,
                        std::uint64_t (*unite)(std::span<const std::uint8_t>, std::size_t, std::size_t)) {
  std::u16string large;
  for (std::size_t i = 0; i + 2 <= taille; i += 2) {
    const auto lue = static_cast<char16_t>(unite(octets, place + i, 2));
    if (lue == 0) break;
    large += lue;
  }
  return plateforme::large_vers_texte(large);
}

std::string nom_pascal(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  const auto longueur = static_cast<std::size_t>(nombre_gros(octets, place, 1));
  if (taille == 0) return {};
  return nom_windows(texte_octets(octets, place + 1, longueur < taille ? longueur : taille - 1));
}

}  // namespace

std::uint64_t nombre_gros(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  if (place > octets.size() || octets.size() - place < taille) return 0;
  std::uint64_t nombre = 0;
  for (std::size_t i = 0; i < taille; ++i) nombre = nombre << 8 | octets[place + i];
  return nombre;
}

std::uint64_t nombre_petit(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  if (place > octets.size() || octets.size() - place < taille) return 0;
  std::uint64_t nombre = 0;
  for (std::size_t i = taille; i > 0; --i) nombre = nombre << 8 | octets[place + i - 1];
  return nombre;
}

std::string texte_octets(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  std::string texte;
  for (const std::uint8_t octet : tranche(octets, place, taille)) {
    if (octet == 0) break;
    texte += static_cast<char>(octet);
  }
  return texte;
}

std::string texte_utf16_gros(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  return texte_utf16(octets, place, taille, nombre_gros);
}

std::string texte_utf16_petit(std::span<const std::uint8_t> octets, std::size_t place, std::size_t taille) {
  return texte_utf16(octets, place, taille, nombre_petit);
}

std::string texte_guid(std::span<const std::uint8_t> octets, std::size_t place) {
  const auto n = [&](std::size_t i, std::size_t taille) {
    return static_cast<std::uint32_t>(nombre_petit(octets, place + i, taille));
  };
  return formate("{%08x-%04x-%04x-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                 {n(0, 4), n(4, 2), n(6, 2), n(8, 1), n(9, 1), n(10, 1), n(11, 1), n(12, 1), n(13, 1),
                  n(14, 1), n(15, 1)});
}

std::string valeur_champ(const DescriptionChamp &d, std::span<const std::uint8_t> secteur) {
  const auto petit = [&] { return nombre_petit(secteur, d.place, d.taille); };
  switch (d.format) {
    case Format::gros:
      return std::to_string(nombre_gros(secteur, d.place, d.taille));
    case Format::petit:
      return std::to_string(petit());
    case Format::petit_x2:
      return formate("0x%02x", {static_cast<std::uint32_t>(petit())});
    case Format::petit_X4:
      return formate("%04X", {static_cast<std::uint32_t>(petit())});
    case Format::octets:
      return texte_octets(secteur, d.place, d.taille);
    case Format::rogne:
      return std::string(sans_blancs_fin(texte_octets(secteur, d.place, d.taille)));
    case Format::nom_mac:
      return nom_pascal(secteur, d.place, d.taille);
    case Format::guid:
      return texte_guid(secteur, d.place);
  }
  return {};
}

std::vector<Champ> lit_champs(std::span<const DescriptionChamp> table,
                              std::span<const std::uint8_t> secteur) {
  std::vector<Champ> champs;
  champs.reserve(table.size());
  for (const DescriptionChamp &d : table)
    champs.push_back({d.nom, d.legende, 0, 0, valeur_champ(d, secteur), std::nullopt});
  return champs;
}

Champ champ_nombre(std::string nom, int legende, std::uint64_t nombre) {
  return {std::move(nom), legende, 0, 0, std::to_string(nombre), std::nullopt};
}

Bouton bouton_aller(std::string nom, const Cible &cible) {
  Bouton bouton;
  bouton.nom = std::move(nom);
  bouton.cible = cible;
  bouton.actif = cible.nombre != 0;
  return bouton;
}

}  // namespace varnion
