#include "fichiers/ressources.hpp"

#include <algorithm>
#include <array>

#include "fichiers/applesimple.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kCarteMax = std::uint64_t{1}
                                    << 24;  ///< what the 24-bit positions of a fork can reach
constexpr std::uint64_t kBaseCompagnon = 82;
constexpr std::uint32_t kDataDeBundle = 0x100;

/// What stands in front of the list of types, with the count of types, less one, that begins it. The map's
/// own word for the place of that list is not looked at: it is 28 in every map.
struct TeteCarte {
  TeteRessources copie;                 // 0
  std::array<std::uint8_t, 8> libre{};  // 16  handle and file number in memory, attributes
  be16 position_types;                  // 24
  be16 position_noms;                   // 26  from the start of the map
  be16 types_moins_un;                  // 28
};
static_assert(sizeof(TeteCarte) == 30);
constexpr std::size_t kListeTypes = 28;

struct EntreeType {
  std::array<std::uint8_t, 4> type{};  // 0
  be16 nombre_moins_un;                // 4
  be16 position;                       // 6   of its references, from the list of types
};
static_assert(sizeof(EntreeType) == 8);

struct Reference {
  be16 id;                  // 0
  be16 position_nom;        // 2   in the list of names, 0xFFFF for none
  be32 attributs_position;  // 4   8 bits of attributes, 24 of the place in the data
  be32 poignee;             // 8   in memory only
};
static_assert(sizeof(Reference) == 12);

constexpr std::uint16_t kAucun = 0xFFFF;

// 0xFFFF, minus one, is how a map says none.
std::size_t nombre(std::uint16_t moins_un) {
  return moins_un == kAucun ? 0 : moins_un + std::size_t{1};
}

struct Carte {
  TeteRessources tete;
  std::vector<std::uint8_t> octets;

  [[nodiscard]] const TeteCarte *entete() const { return vue<TeteCarte>(octets, 0); }
  [[nodiscard]] const EntreeType *type(std::size_t rang) const {
    return vue<EntreeType>(octets, sizeof(TeteCarte) + rang * sizeof(EntreeType));
  }
};

std::optional<Carte> lit_carte(const Fichier &fichier, PlageFourche fourche) {
  Carte carte;
  std::array<std::uint8_t, sizeof(TeteRessources)> debut{};
  if (fourche.longueur < debut.size()) return std::nullopt;
  if (fichier.lire_a(debut, fourche.position) != static_cast<std::int64_t>(debut.size())) return std::nullopt;
  carte.tete = *vue<TeteRessources>(debut, 0);
  const PlageFourche plage =
      plage_bornee(carte.tete.position_carte, carte.tete.longueur_carte, fourche.longueur);
  carte.octets.resize(static_cast<std::size_t>(std::min(plage.longueur, kCarteMax)));
  const std::int64_t lus = fichier.lire_a(carte.octets, fourche.position + plage.position);
  if (lus < 0) return std::nullopt;
  carte.octets.resize(static_cast<std::size_t>(lus));
  if (carte.entete() == nullptr) return std::nullopt;
  return carte;
}

std::string nom_dans_carte(const Carte &carte, std::uint16_t position_nom) {
  if (position_nom == kAucun) return {};
  const std::size_t debut = std::size_t{carte.entete()->position_noms} + position_nom;
  if (debut >= carte.octets.size()) return {};
  const std::size_t longueur = std::min<std::size_t>(carte.octets[debut], carte.octets.size() - debut - 1);
  const auto place = carte.octets.begin() + static_cast<std::ptrdiff_t>(debut) + 1;
  return {place, place + static_cast<std::ptrdiff_t>(longueur)};
}

RessourceMac decrit(const Fichier &fichier, PlageFourche fourche, const Carte &carte, const EntreeType &type,
                    const Reference &reference) {
  RessourceMac ressource;
  ressource.type.assign(type.type.begin(), type.type.end());
  ressource.id = static_cast<std::int16_t>(std::uint16_t{reference.id});
  ressource.nom = nom_dans_carte(carte, reference.position_nom);
  ressource.attributs = static_cast<std::uint8_t>(reference.attributs_position >> 24);
  const std::uint64_t place =
      std::uint64_t{carte.tete.position_data} + (reference.attributs_position & 0xFFFFFFU);
  ressource.position = fourche.position + place;
  be32 longueur;
  if (place > fourche.longueur || fourche.longueur - place < sizeof longueur) return ressource;
  if (fichier.lire_a(longueur.octets, ressource.position) != sizeof longueur) return ressource;
  ressource.longueur = longueur;
  ressource.presente = ressource.longueur <= fourche.longueur - place - sizeof longueur;
  return ressource;
}

PlageFourche suite(const Fichier &fichier, std::uint64_t base) {
  const std::int64_t taille = std::max<std::int64_t>(fichier_taille(fichier), 0);
  return plage_bornee(base, static_cast<std::uint64_t>(taille), static_cast<std::uint64_t>(taille));
}

}  // namespace

std::optional<std::vector<RessourceMac>> lit_ressources(const Fichier &fichier, PlageFourche fourche) {
  std::vector<RessourceMac> ressources;
  if (fourche.longueur == 0) return ressources;
  const auto carte = lit_carte(fichier, fourche);
  if (!carte) return std::nullopt;
  const std::size_t limite = carte->octets.size() / sizeof(Reference);
  const std::size_t types = nombre(carte->entete()->types_moins_un);
  for (std::size_t i = 0; i < types; ++i) {
    const EntreeType *type = carte->type(i);
    if (type == nullptr) break;
    const std::size_t references = nombre(type->nombre_moins_un);
    for (std::size_t j = 0; j < references && ressources.size() < limite; ++j) {
      const auto *reference =
          vue<Reference>(carte->octets, kListeTypes + type->position + j * sizeof(Reference));
      if (reference == nullptr) break;
      ressources.push_back(decrit(fichier, fourche, *carte, *type, *reference));
    }
  }
  return ressources;
}

std::optional<std::vector<RessourceMac>> lit_ressources(const Fichier &fichier, std::uint64_t base) {
  return lit_ressources(fichier, suite(fichier, base));
}

std::optional<std::vector<std::uint8_t>> lit_ressource(const Fichier &fichier, const RessourceMac &ressource,
                                                       std::uint32_t limite) {
  if (!ressource.presente || ressource.longueur > limite) return std::nullopt;
  std::vector<std::uint8_t> octets(ressource.longueur);
  if (fichier.lire_a(octets, ressource.octets().position) != static_cast<std::int64_t>(octets.size()))
    return std::nullopt;
  return octets;
}

std::uint64_t base_ressources(const Fichier &fichier) {
  be32 magie;
  if (fichier.lire_a(magie.octets, 0) != sizeof magie) return 0;
  return magie == kMagieAppleDouble ? kBaseCompagnon : 0;
}

bool a_bundle(const Fichier &fichier) {
  const std::int64_t position = fichier_position(fichier);
  return position >= 0 && a_bundle(fichier, static_cast<std::uint64_t>(position));
}

bool a_bundle(const Fichier &fichier, std::uint64_t position) {
  const auto carte = lit_carte(fichier, suite(fichier, position));
  if (!carte || carte->tete.position_data != kDataDeBundle) return false;
  const std::size_t types = nombre(carte->entete()->types_moins_un);
  for (std::size_t i = 0; i < types; ++i) {
    const EntreeType *type = carte->type(i);
    if (type == nullptr) break;
    if (std::string_view(reinterpret_cast<const char *>(type->type.data()), 4) == "BNDL") return true;
  }
  return false;
}

}  // namespace varnion
