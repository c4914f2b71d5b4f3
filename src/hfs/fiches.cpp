#include "hfs/fiches.hpp"

#include <algorithm>

#include "noms/regles.hpp"

namespace varnion {
namespace {

std::span<const std::uint8_t> octets_du_texte(std::string_view texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

std::span<const std::uint8_t> octets_des_unites(std::span<const be16> unites) {
  return {reinterpret_cast<const std::uint8_t *>(unites.data()), unites.size_bytes()};
}

}  // namespace

void PetitTampon::ajoute(std::span<const std::uint8_t> octets) {
  const std::size_t nombre = std::min(octets.size(), kCapacite - taille_);
  std::copy_n(octets.begin(), nombre, octets_.begin() + static_cast<std::ptrdiff_t>(taille_));
  taille_ += nombre;
}

PetitTampon cle_hfs(std::uint32_t parent, std::string_view nom) {
  nom = nom.substr(0, kNomHfsMax);
  struct {
    std::uint8_t ckrKeyLen;     // 0: bytes behind this one
    std::uint8_t ckrResrv1;     // 1
    be32 ckrParID;              // 2
    std::uint8_t nom_longueur;  // 6
  } tete{static_cast<std::uint8_t>(6 + nom.size()), 0, parent, static_cast<std::uint8_t>(nom.size())};
  PetitTampon cle;
  cle.ajoute(octets_de(tete));
  cle.ajoute(octets_du_texte(nom));
  return cle;
}

PetitTampon cle_hfsplus(std::uint32_t parent, const NomUnicode &nom) {
  const std::span<const be16> unites = nom.vue();
  struct {
    be16 keyLength;     // 0: bytes behind this field
    be32 parentID;      // 2
    be16 nom_longueur;  // 6
  } tete{static_cast<std::uint16_t>(6 + unites.size_bytes()), parent,
         static_cast<std::uint16_t>(unites.size())};
  PetitTampon cle;
  cle.ajoute(octets_de(tete));
  cle.ajoute(octets_des_unites(unites));
  return cle;
}

FilHfs fil_hfs(int type, std::uint32_t parent, std::string_view nom) {
  nom = nom.substr(0, kNomHfsMax);
  FilHfs fil{};
  fil.cdrType = static_cast<std::uint8_t>(type);
  fil.thdParID = parent;
  fil.thdCNameLongueur = static_cast<std::uint8_t>(nom.size());
  std::copy(nom.begin(), nom.end(), fil.thdCName.begin());
  return fil;
}

PetitTampon fil_hfsplus(int type, std::uint32_t parent, const NomUnicode &nom) {
  const std::span<const be16> unites = nom.vue();
  FilPlus tete;
  tete.recordType = static_cast<std::uint16_t>(type);
  tete.parentID = parent;
  const be16 longueur = static_cast<std::uint16_t>(unites.size());
  PetitTampon fil;
  fil.ajoute(octets_de(tete));
  fil.ajoute(octets_de(longueur));
  fil.ajoute(octets_des_unites(unites));
  return fil;
}

}  // namespace varnion
