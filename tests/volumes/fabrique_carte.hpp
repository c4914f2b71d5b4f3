#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Maps and wrappers around the bytes of a volume, written from the published descriptions (Inside Macintosh:
// Devices; TN1150, HFS Wrapper; UEFI, GUID Partition Table) with nothing of the program.

namespace varnion::essai {

inline std::string gros(std::uint64_t valeur, int octets) {
  std::string texte;
  while (octets-- > 0) texte += static_cast<char>(valeur >> (8 * octets));
  return texte;
}
inline std::string petit(std::uint64_t valeur, int octets) {
  const std::string texte = gros(valeur, octets);
  return {texte.rbegin(), texte.rend()};
}
inline void pose_dans(std::string &image, std::size_t place, std::string_view octets) {
  if (image.size() < place + octets.size()) image.resize(place + octets.size(), '\0');
  image.replace(place, octets.size(), octets);
}

/// Apple map of blocks of `bloc` bytes: the map, a driver, the volume at 64 KiB.
inline std::string avec_carte_apple(const std::string &volume, std::size_t bloc) {
  constexpr std::size_t kPlace = 65536;
  std::string image;
  pose_dans(image, 0, "ER" + gros(bloc, 2) + gros((kPlace + volume.size()) / bloc, 4));
  struct Entree {
    const char *nom, *type;
    std::size_t debut, blocs;
  };
  const std::vector<Entree> entrees{{"Apple", "Apple_partition_map", 1, 3},
                                    {"Macintosh", "Apple_Driver43", 4, 4},
                                    {"Disque", "Apple_HFS", kPlace / bloc, volume.size() / bloc}};
  for (std::size_t i = 0; i < entrees.size(); ++i) {
    const std::size_t place = (i + 1) * bloc;
    pose_dans(image, place,
              std::string("PM\0\0", 4) + gros(entrees.size(), 4) + gros(entrees[i].debut, 4) +
                  gros(entrees[i].blocs, 4) + entrees[i].nom);
    pose_dans(image, place + 48, entrees[i].type);
  }
  pose_dans(image, kPlace, volume);
  return image;
}

inline std::string entree_mbr(unsigned type, std::size_t debut, std::size_t secteurs) {
  return petit(0, 4) + petit(type, 1) + petit(0, 3) + petit(debut, 4) + petit(secteurs, 4);
}

/// MBR whose entry `rang` (from 0) is the volume; those before it are FAT partitions.
inline std::string avec_mbr(const std::string &volume, std::size_t rang) {
  constexpr std::size_t kPlace = 63 * 512;
  std::string image;
  for (std::size_t i = 0; i < rang; ++i) pose_dans(image, 0x1BE + 16 * i, entree_mbr(0x0C, 1, 1));
  pose_dans(image, 0x1BE + 16 * rang, entree_mbr(0xAF, kPlace / 512, volume.size() / 512));
  pose_dans(image, 510, "\x55\xAA");
  pose_dans(image, kPlace, volume);
  return image;
}

/// GUID table in sectors of `secteur` bytes; the volume is entry `rang`, those before it are EFI system
/// partitions.
inline std::string avec_gpt(const std::string &volume, std::size_t secteur, std::size_t rang) {
  const std::string efi =
      petit(0xC12A7328, 4) + petit(0xF81F, 2) + petit(0x11D2, 2) + gros(0xBA4B00A0C93EC93BU, 8);
  const std::string hfs =
      petit(0x48465300, 4) + petit(0, 2) + petit(0x11AA, 2) + gros(0xAA1100306543ECACU, 8);
  const std::size_t place = 40 * secteur;
  std::string image;
  pose_dans(image, 0x1BE, entree_mbr(0xEE, 1, (place + volume.size()) / secteur));
  pose_dans(image, 510, "\x55\xAA");
  pose_dans(image, secteur, "EFI PART" + petit(0x10000, 4) + petit(92, 4));
  pose_dans(image, secteur + 72, petit(2, 8) + petit(128, 4) + petit(128, 4));
  for (std::size_t i = 0; i <= rang; ++i) {
    const std::size_t debut = i == rang ? place / secteur : 36 + i;
    pose_dans(image, 2 * secteur + 128 * i,
              (i == rang ? hfs : efi) + std::string(16, '\x11') + petit(debut, 8) +
                  petit(debut + volume.size() / secteur - 1, 8));
  }
  pose_dans(image, place, volume);
  return image;
}

/// HFS wrapper with blocks of 4,096 bytes around an HFS+ volume.
inline std::string avec_enveloppe(const std::string &volume, std::size_t groupe) {
  constexpr std::size_t kBloc = 4096, kPremierBloc = 20, kDebut = 16;
  std::string mdb(512, '\0');
  pose_dans(mdb, 0, "BD");
  pose_dans(mdb, 0x0E, gros(3, 2));
  pose_dans(
      mdb, 0x12,
      gros(kPremierBloc + volume.size() / kBloc, 2) + gros(kBloc, 4) + gros(groupe, 4) + gros(kDebut, 2));
  pose_dans(mdb, 0x7C, "H+" + gros(kPremierBloc, 2) + gros(volume.size() / kBloc, 2));
  pose_dans(mdb, 0x86, gros(0, 2) + gros(1, 2));
  pose_dans(mdb, 0x96, gros(1, 2) + gros(1, 2));
  std::string image;
  pose_dans(image, 1024, mdb);
  pose_dans(image, kDebut * 512 + kPremierBloc * kBloc, volume);
  return image;
}

}  // namespace varnion::essai
