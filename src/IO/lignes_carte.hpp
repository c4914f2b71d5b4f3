#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "IO/fichier.hpp"

// The partition map of an image as a person wants to see it: every row, whatever its type. Where a volume is
// looked for is told by `partitions.hpp`.

namespace varnion {

constexpr std::size_t kLignesCarteMax = 256;

enum class GenreCarte { aucune, apple, gpt, mbr };

struct LigneCarte {
  std::string type;          ///< "Apple_HFS", "0xAF", a GUID; ASCII or Mac Roman as in the map
  std::string nom;           ///< Mac Roman of an Apple map, UTF-8 of a GUID table, "" in a master boot record
  std::uint64_t debut = 0;   ///< bytes
  std::uint64_t taille = 0;  ///< bytes
};

struct CarteImage {
  GenreCarte genre = GenreCarte::aucune;
  std::uint32_t taille_bloc = 512;  ///< bytes that the map counts by
  std::vector<LigneCarte> lignes;   ///< at most kLignesCarteMax
};

/// Reads the map of an open image: Apple (Inside Macintosh: Devices, 3-12), GUID table (UEFI 5.3) or master
/// boot record.
[[nodiscard]] CarteImage lit_carte(const Fichier &image);

/// Byte behind the partition that begins at byte `debut`, by the shortest row that says so; 0 when none does.
[[nodiscard]] std::uint64_t fin_de_partition(const CarteImage &carte, std::uint64_t debut);

}  // namespace varnion
