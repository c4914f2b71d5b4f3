#pragma once

#include "outils/octets_lus.hpp"

namespace varnion::outils {

/// One entry of an Apple partition map (Inside Macintosh: Devices, 3-25), counts in 512-byte blocks.
struct Partition {
  std::string nom, type;
  std::uint64_t debut = 0, nombre = 0, nombre_donnees = 0;
  std::uint32_t entrees = 0, statut = 0;
};

struct CarteLue {
  std::uint32_t taille_bloc = 0, blocs = 0;  ///< of the driver descriptor
  std::vector<Partition> partitions;
  Fautes fautes;

  [[nodiscard]] const Partition *volume() const {
    for (const Partition &p : partitions)
      if (p.type == "Apple_HFS") return &p;
    return nullptr;
  }
};

inline CarteLue lit_carte(Octets image) {
  CarteLue carte;
  carte.fautes.exige(image.texte(0, 2) == "ER", "no driver descriptor");
  carte.taille_bloc = image.be16(2);
  carte.blocs = image.be32(4);
  carte.fautes.exige(carte.taille_bloc == 512, "block size of the driver descriptor");
  std::uint32_t nombre = 1;
  for (std::uint32_t i = 0; i < nombre && i < 64; ++i) {
    const std::uint64_t p = 512 * (std::uint64_t{i} + 1);
    if (!carte.fautes.exige(image.texte(p, 2) == "PM", "entry " + std::to_string(i) + " lacks its mark"))
      break;
    const auto nom = [&](std::uint64_t ou) {
      std::string texte = image.texte(ou, 32);
      return texte.substr(0, texte.find('\0'));
    };
    Partition partition;
    partition.entrees = image.be32(p + 4);
    partition.debut = image.be32(p + 8);
    partition.nombre = image.be32(p + 0x0C);
    partition.nom = nom(p + 0x10);
    partition.type = nom(p + 0x30);
    partition.nombre_donnees = image.be32(p + 0x54);
    partition.statut = image.be32(p + 0x58);
    if (i == 0) nombre = partition.entrees;
    carte.fautes.exige(partition.entrees == nombre, "entries differ about their number");
    carte.fautes.exige((partition.debut + partition.nombre) * 512 <= image.taille(),
                       partition.type + " leaves the image");
    carte.fautes.exige(partition.debut + partition.nombre <= carte.blocs || i == 0,
                       partition.type + " leaves the device");
    carte.partitions.push_back(partition);
  }
  return carte;
}

}  // namespace varnion::outils
