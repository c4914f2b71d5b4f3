#pragma once

#include <cstdint>

namespace varnion {

/// Form in which a Macintosh file goes to the PC. Any other value copies the data fork.
enum ModeCopie : std::uint32_t {
  kCopieData = 0x01,
  kCopieRessource = 0x02,
  kCopieMacBinaire = 0x04,
  kCopieAppleDouble = 0x08,
  kCopieAppleSingle = 0x20,
};
constexpr std::uint32_t kMasqueModeCopie = 0x2F;
constexpr std::uint32_t kPolicesMac = 0x100;  ///< convert every font on its way to the PC, without a question
constexpr std::uint32_t kPolicesPc = 0x200;   ///< and on its way to the Macintosh

/// The mode in force, with both font bits; one for the run of the program.
[[nodiscard]] std::uint32_t &mode_copie();

}  // namespace varnion
