#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "hfs/arbre.hpp"
#include "hfs/fiches.hpp"
#include "noms/ordre.hpp"

// The mounted volume. One at a time, in process-wide state; the engine is not reentrant.

namespace varnion {

constexpr std::size_t kTailleBlocMoteur = 198656;
constexpr std::size_t kZoneEntete = 0;                ///< 4,096 bytes: volume header area
constexpr std::size_t kZoneExtentsEntete = 4096;      ///< 32,768: extents tree, header node
constexpr std::size_t kZoneExtentsTampon = 36864;     ///< 32,768: extents tree, current node
constexpr std::size_t kZoneCatalogueEntete = 69632;   ///< 32,768: catalog tree, header node
constexpr std::size_t kZoneCatalogueTampon = 102400;  ///< 96,256: catalog tree, current node
constexpr std::uint32_t kTailleNoeudMax = 32768;

/// In which order the names of an HFS catalog stand, as far as that is known (`ordre_catalogue.hpp`).
struct OrdreCatalogue {
  OrdreHfs noms = OrdreHfs::publie;  ///< by which names are searched and inserted
  bool lu = false;                   ///< the leaves have been looked at, or the catalog is this program's own
  bool desordre = false;             ///< they stand in neither order: names are found by walking
};

/// Headers and nodes stay big-endian in the engine block: a field stored here is what the flush writes.
struct VolumeCourant {
  VolumeCourant();

  bool est_hfsplus = false;
  Mdb *mdb = nullptr;               ///< null when HFS+ and before the first mount
  EnteteVolumePlus *vhb = nullptr;  ///< null when HFS
  std::uint64_t debut_volume = 0;   ///< sectors, HFS only: start of the volume in the image
  std::uint64_t debut_allocation =
      0;  ///< sector of allocation block 0; before the mount, first sector of the volume
  std::uint32_t taille_bloc = 0;  ///< bytes
  std::uint32_t secteurs_par_bloc = 0;
  std::uint32_t secteurs_carte = 0;  ///< allocation bitmap, sectors
  std::uint32_t octets_carte = 0;    ///< the same in bytes
  /// Sector behind the partition, or behind the room that a wrapper has for the volume; 0 when no map tells.
  std::uint64_t fin_partition = 0;
  std::optional<std::uint64_t> copie_entete;  ///< see `place_copie_entete`; unset before it was looked for
  DescripteurArbre catalogue;
  DescripteurArbre extents;
  OrdreCatalogue ordre;

  /// The engine block, zeroed at the start and never moved.
  std::unique_ptr<std::uint8_t[]> bloc;

  /// True when the header that `est_hfsplus` asks for is there. The flag is set by others too: by the
  /// settings before the first mount, by a project of the other format.
  [[nodiscard]] bool a_entete() const { return est_hfsplus ? vhb != nullptr : mdb != nullptr; }

  VolumeCourant(const VolumeCourant &) = delete;
  VolumeCourant &operator=(const VolumeCourant &) = delete;
};

[[nodiscard]] VolumeCourant &volume_courant();

/// Reads the header of the volume whose first sector is `debut_allocation` through `entree_driver` and fills
/// VolumeCourant; `debut_allocation` becomes the sector of allocation block 0 (driver mode 3). An unknown
/// signature leaves the state of the previous mount; nothing is reported.
void lecture_entete_volume();

/// Opens the catalog tree, then the extents tree, and sets up the node cache. Always 1. The cache is not
/// emptied here: whoever changes the medium calls `vide_cache` (arbre.hpp). A tree whose header gives no
/// usable node size stays closed (`taille_noeud` 0): every look-up in it finds nothing.
int ouverture_arbres();

/// The volume name as working text, through the filter of displayable characters; "" when there is none. HFS+
/// reads the first leaf for it.
[[nodiscard]] std::string nom_volume();

/// Now as a Macintosh date of this volume's format.
[[nodiscard]] std::uint32_t date_mac();
/// Unix seconds UTC as a Macintosh date (seconds since 1904): local time on HFS, UTC on HFS+; `est_hfsplus`
/// at the moment of the call decides.
[[nodiscard]] std::uint32_t date_mac_de(std::int64_t secondes_unix);
[[nodiscard]] std::int64_t unix_de_date_mac(std::uint32_t date);

/// The flush: the catalog's node map if it is loaded, then, on HFS+, volume header and alternate header. On
/// HFS the master directory block goes out with the allocation bitmap, and without a loaded one nothing but
/// the node map reaches the disk. Boot blocks and whatever else lies beside the headers stay. Nothing is
/// written to a volume that is read only. False when a write failed.
[[nodiscard]] bool ecriture_structures();

/// Sector of the alternate header: 1,024 bytes before the end of the partition (TN1150; Inside Macintosh:
/// Files, 2-59), or of the blocks, whichever has one. 0 where neither has: what lies there may be a file.
[[nodiscard]] std::uint64_t place_copie_entete();
/// Makes a sector the place of the alternate header of HFS+.
void adopte_copie_entete(std::uint64_t secteur);

/// Sector behind the last one that the mounted volume may write, by its header and by the map; 0 without a
/// header.
[[nodiscard]] std::uint64_t fin_volume();
/// Writes sectors of the mounted volume. In an image file nothing behind `fin_volume` is written, nor, while
/// the bitmap is not loaded, behind the end of the file: such a write comes from a damaged structure and
/// counts as a failed one (EIO), with a journal line.
void ecrit_volume(const void *tampon, std::uint64_t position, std::uint32_t nombre);

/// Writes the HFS alternate master directory block, at the sector behind the last allocation block, where
/// that lies inside the partition. The format wants it in the last sector but one of the volume; the two
/// agree when the blocks fill the volume, and where they do not, a copy that stands there is kept up to date
/// too. A sector that the ISO 9660 side of the image uses is left alone.
void ecriture_mdb_secours();

}  // namespace varnion
