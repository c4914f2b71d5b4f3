#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "IO/plateforme.hpp"

// Room that files of the PC need on the mounted volume.

namespace varnion {

/// The folders on the way down to the one in hand. A link may lead back up: such a folder is not entered.
class Ancetres {
 public:
  /// False for a folder that is one of those above it, or that lies too deep.
  [[nodiscard]] bool entre(const std::string &chemin);
  void sort() { chemins_.pop_back(); }

 private:
  std::vector<std::string> chemins_;
};

/// Bytes of a file, or of all files below a folder, each with its resource stream and rounded up to
/// allocation blocks. What cannot be read counts nothing here: the copy tells of it.
[[nodiscard]] std::uint64_t octets_sur_volume(const std::string &chemin,
                                              const plateforme::DonneesRecherche &donnees);
/// Bytes free on the volume.
[[nodiscard]] std::uint64_t octets_libres();

/// "%s.%03luMB"
[[nodiscard]] std::string texte_megas(std::uint64_t octets);

/// False, after message 1153, when an item has no room on the volume.
[[nodiscard]] bool element_tient(const std::string &chemin, const plateforme::DonneesRecherche &donnees);
/// The check of a whole selection: each folder (1156), and all files together (1157). False after a message.
[[nodiscard]] bool selection_tient(std::span<const std::string> chemins);

}  // namespace varnion
