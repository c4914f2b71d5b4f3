#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hfs/operations_catalogue.hpp"
#include "IO/fichier.hpp"

// New images: an Apple partition map and, behind it, one empty volume; and the size of an image changed.

namespace varnion {

struct ParametresImage {
  const Fichier *fichier = nullptr;  ///< the new file, open for reading and writing; its content goes
  std::string nom;                   ///< label, working text; empty gives 1287; cut at 27 characters
  NomItem label;                     ///< where it has a name of the format, that is the label of the volume
  std::uint32_t taille_mo = 0;       ///< size of the volume in MiB
  bool tout_effacer = false;         ///< zeros are written over the whole file first
  bool hfsplus = false;
  std::uint32_t prochain_id = 23;  ///< HFS+: the first id that an item will get
};

constexpr std::uint32_t kTailleMoMax = 65535;  ///< HFS: sizes of files and extents are 32 and 16 bits
constexpr std::uint32_t kTailleMoMaxHfsplus = 1048575;  ///< the bitmap size is cut to 16 bits of blocks

/// What `calcul_hfs` and `calcul_hfsplus` lay out. Sectors of 512 bytes.
struct PlanImage {
  std::uint32_t entete = 0;       ///< sectors in front of the volume
  std::uint64_t secteurs = 0;     ///< of the volume
  std::uint32_t taille_bloc = 0;  ///< bytes
  std::uint32_t nb_blocs = 0;
  std::uint32_t blocs_carte = 0;      ///< HFS: sectors of the bitmap
  std::uint32_t blocs_extents = 0;    ///< of the extents file
  std::uint32_t blocs_catalogue = 0;  ///< of the catalog file
  std::uint64_t pos_carte = 0;        ///< sectors from the start of the image
  std::uint64_t pos_extents = 0;
  std::uint64_t pos_catalogue = 0;
};
[[nodiscard]] PlanImage calcul_hfs(std::uint32_t taille_mo);
[[nodiscard]] PlanImage calcul_hfsplus(std::uint32_t taille_mo);

/// Writes the image and rewinds the file; sets `est_hfsplus`, `taille_volume` and `taille_secteur`. The
/// caller mounts it. False when the size is out of bounds (6021 shown) or a write failed (`errno` tells); the
/// file then has no use.
[[nodiscard]] bool creation_image_hfs(const ParametresImage &parametres);
[[nodiscard]] bool creation_image_hfsplus(const ParametresImage &parametres);
/// The one that `hfsplus` asks for.
[[nodiscard]] bool creation_image(const ParametresImage &parametres);

/// Writes zeros from the current position of the file, 64 sectors a time, with a gauge.
[[nodiscard]] bool efface_secteurs(const Fichier &fichier, std::uint64_t secteurs, std::string_view etat);

/// True when the disk of a path has more than so many bytes free, or does not tell.
[[nodiscard]] bool disque_assez_grand(std::string_view chemin, std::uint64_t octets);

// --- size of a mounted HFS image, in MiB

/// Highest allocated block of the mounted HFS volume, -1 for none or when the bitmap cannot be loaded.
[[nodiscard]] std::int64_t dernier_bloc_utilise();
/// Largest size that the bitmap allows; 0 on HFS+.
[[nodiscard]] std::uint32_t taille_maximale();
/// Length of the mounted volume's partition by the map, in sectors and in whole MiB; 0 without an entry.
[[nodiscard]] std::uint64_t secteurs_partition();
[[nodiscard]] std::uint32_t taille_partition_mo();
/// Changes the size of the mounted plain HFS image and of its partition, from one size to another. False,
/// with nothing changed and 1164 or 1165 shown, when blocks in use would be cut off, something that is not
/// the volume's lies behind the partition, the bitmap is too short, the disk is too small, or the image is no
/// such one. False, too, when a write failed: `Support::echec_ecriture` tells, or 1164 is shown when the
/// image could only not be made shorter.
[[nodiscard]] bool redimensionne(std::uint32_t ancienne, std::uint32_t nouvelle);

}  // namespace varnion
