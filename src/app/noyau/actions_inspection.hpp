#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/noyau/actions_volume.hpp"
#include "inspect/recherche.hpp"
#include "inspect/source.hpp"

// What "dump" and "analyze" share. Every failure was told to the user when a function here gives false or
// nullopt.

namespace varnion {

/// What the words of the command name: a file of the PC, a compressed image expanded, or a fork of a file in
/// an image, which stays mounted meanwhile.
struct SourceOuverte {
  std::optional<VolumeOuvert> volume;
  std::shared_ptr<const Fichier> fichier;  ///< what the source shows; none for a fork
  SourceUnique source;
  std::string nom;  ///< working text, cut for messages
};
/// kFait, or the exit status.
[[nodiscard]] int ouvre_source(ContexteCli &contexte, SourceOuverte &ouverte);

struct PlageSecteurs {
  std::uint64_t premier = 0, dernier = 0;
};
/// "N", "N-M" or "N-", in `radix` unless "0x" stands ahead; nullopt without a message. `fin` is what "N-"
/// goes to.
[[nodiscard]] std::optional<PlageSecteurs> lit_plage_secteurs(const std::string &texte, unsigned radix,
                                                              std::uint64_t fin);

/// A bar for work on `total` bytes of which `fait` are done; false when the user asked to stop.
class BarreInspection {
 public:
  BarreInspection(Console &console, std::uint64_t total);
  ~BarreInspection();
  BarreInspection(const BarreInspection &) = delete;
  BarreInspection &operator=(const BarreInspection &) = delete;
  bool avance(std::uint64_t fait);

 private:
  Console &console_;
  std::uint64_t total_;
  double debut_, dernier_;
};

}  // namespace varnion
