#pragma once

#include <cstdint>

// The journal of an HFS+ volume (TN1150, "Journal"), as far as it decides what may be changed.

namespace varnion {

enum class EtatJournal {
  aucun,
  vide,
  plein,      ///< transactions that the volume lacks
  illisible,  ///< on another device, or what is there is no journal
};

struct JournalVolume {
  EtatJournal etat = EtatJournal::aucun;
  std::uint32_t bloc_info = 0;  ///< allocation block of the journal info block
  std::uint64_t bloc = 0;       ///< of the journal; 0 where it is not known
};
/// Of the mounted volume.
[[nodiscard]] JournalVolume lit_journal();

}  // namespace varnion
