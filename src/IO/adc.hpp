#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// Apple Data Compression, the oldest of the codings in disk images: literal runs and copies from what was
// already put out.

namespace varnion {

/// How a copy whose source runs into its own target is done.
enum class CopieAdc {
  un_octet,  ///< the run is filled with the first byte of the source
  publiee,   ///< byte after byte, so that what lies between repeats
};

struct ResultatAdc {
  std::size_t longueur = 0;  ///< bytes put out
  bool juste = false;        ///< false: the input is cut, or reaches outside the output
  bool chevauche = false;    ///< a copy overlapped at a distance where the two ways can differ
};

/// Decodes the whole of `entree` into `sortie`, which bounds the output.
[[nodiscard]] ResultatAdc decode_adc(std::span<const std::uint8_t> entree, std::span<std::uint8_t> sortie,
                                     CopieAdc copie);

}  // namespace varnion
