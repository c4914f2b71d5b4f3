#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "compil/contexte.hpp"
#include "IO/octets.hpp"

namespace varnion {

/// Sector 0 of a disc with a Macintosh side: driver descriptor map and a partition map of two entries (Inside
/// Macintosh: Devices), one 512-byte block each. No driver partition: the disc carries no boot code.
using SecteurZero = std::array<std::uint8_t, kSecteurIso>;

/// First form, with the placeholder counts that `termine_secteur_zero` replaces.
[[nodiscard]] SecteurZero secteur_zero(std::uint64_t debut_hfs, std::string_view label_hfs);
/// Stores the length of the device and of the partition, in 512-byte blocks.
void termine_secteur_zero(SecteurZero &secteur, std::uint32_t blocs_image, std::uint32_t blocs_partition);

/// Allocation bitmap of the volume while its image is written; most significant bit first.
class DispositionImage {
 public:
  void prepare(std::size_t octets) { octets_.assign(octets, 0); }
  /// Marks a run; false when it lies beyond the bitmap.
  [[nodiscard]] bool marque(std::uint64_t debut, std::uint64_t nombre);
  /// Bits that are set.
  [[nodiscard]] std::uint64_t marques() const;
  [[nodiscard]] std::span<const std::uint8_t> octets() const { return octets_; }

 private:
  std::vector<std::uint8_t> octets_;
};

constexpr std::uint32_t kTailleBlocMax = 65536;  ///< allocation block sizes are searched below this

}  // namespace varnion
