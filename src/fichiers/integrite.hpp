#pragma once

#include <cstdint>
#include <span>

#include "fichiers/binhex.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/plage.hpp"

// Whether a container holds all that it announces: one answer for every road that opens one.

namespace varnion {

/// The first thing that a container lacks.
enum class DefautConteneur : std::uint8_t {
  aucun,
  tete,       ///< it ends within its head, its table of entries or its Finder information
  data,       ///< the data fork is shorter than announced
  ressource,  ///< the resource fork is
  somme,      ///< a checksum disagrees with what was decoded
  genre,      ///< it is no container of the kind that was expected
};

/// Both forks of a container, clamped to its file.
struct FourchesConteneur {
  PlageFourche data, rsrc;
  DefautConteneur defaut = DefautConteneur::aucun;

  [[nodiscard]] bool intact() const { return defaut == DefautConteneur::aucun; }
};

/// An AppleSingle file, or the companion of a pair, whose data fork is empty here. `debut`: its first bytes,
/// `kLectureApple` of them where it has so many.
[[nodiscard]] FourchesConteneur fourches_apple(std::span<const std::uint8_t> debut, std::uint64_t lg_fichier);

[[nodiscard]] FourchesConteneur fourches_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier);
/// A decoded BinHex text: `tete` and `lg_fichier` are those of the MacBinary file that it gave.
[[nodiscard]] FourchesConteneur fourches_binhex(const TeteMacBinaire &tete, std::uint64_t lg_fichier,
                                                const ControleBinHex &controle);

}  // namespace varnion
