#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// Where the volume of an image starts: Apple partition maps (Inside Macintosh: Devices), MBR, GPT, bare
// volumes.

namespace varnion {

constexpr std::size_t kPartitionsMax = 9;
constexpr std::uint32_t kSystemeMac = 0;
constexpr int kCarteSansSuite = -1;     ///< a descriptor with nothing behind it
constexpr int kPartitionInconnue = -2;  ///< nothing that is known
constexpr int kMbrSansVolume = -0x55;   ///< an MBR without a usable entry

/// One volume found.
struct InfoPartition {
  std::uint32_t systeme = kSystemeMac;
  std::string nom;           ///< display name, 63 bytes at most; a volume name in Mac Roman
  std::uint64_t debut = 0;   ///< first sector
  std::uint64_t taille = 0;  ///< sectors
};

/// The rows found; those behind `nombre` are empty.
struct ListePartitions {
  std::array<InfoPartition, kPartitionsMax> rangs;
  std::size_t nombre = 0;

  /// The next row, nullptr when all are taken.
  [[nodiscard]] InfoPartition *nouveau() { return nombre < kPartitionsMax ? &rangs[nombre++] : nullptr; }
};

/// What the search gives beside its result.
struct AnalysePartitions {
  ListePartitions liste;
  std::uint64_t debut = 0;  ///< sector where the volume starts, for `debut_allocation`
};

/// Searches the first 32 sectors of the medium, read through `entree_driver`: count of volumes found, or one
/// of the results below 0. A descriptor with a map that has no HFS entry gives 0, which is no failure.
/// Sets `taille_bloc_carte`, `taille_volume` and `taille_secteur` of the medium, and `lecture_seule` for a
/// bare volume. `sans_titre` names the volumes that have no name of their own.
[[nodiscard]] int analyse_partitions(AnalysePartitions &analyse, std::string_view sans_titre = {});

/// Adds the HFS partitions of an Apple map: count of them.
[[nodiscard]] int liste_carte_apple(std::span<const std::uint8_t> secteurs, ListePartitions &liste,
                                    std::uint32_t entrees);
/// Adds the HFS partitions of a GPT whose header lies at sector `premier_secteur`: count of them.
[[nodiscard]] int liste_gpt(std::span<const std::uint8_t> secteurs, std::uint32_t premier_secteur,
                            ListePartitions &liste);
/// Reads the name of the HFS volume at a map block into the row: its length, 0 where there is no volume.
[[nodiscard]] std::uint32_t nom_partition(InfoPartition &rang, std::uint32_t bloc);

/// Tells a floppy disk of the PC by the first two sectors of the medium: minus its media byte, 0 when it is
/// none, -1 when no image is open.
[[nodiscard]] int est_disquette();

}  // namespace varnion
