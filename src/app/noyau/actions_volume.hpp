#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "app/noyau/ligne_commande.hpp"
#include "hfs/catalogue.hpp"

// What the commands on volumes share. Every failure was told to the user when a function here gives false or
// nullopt.

namespace varnion {

enum class AccesVolume {
  lecture,   ///< the image is opened for reading
  ecriture,  ///< it must be writable; a compressed one is refused; option "force" passes over damage
  permis,    ///< opened for writing where that is possible, which tells what the volume allows
};

/// A mounted image; closed at the end of its life.
class VolumeOuvert {
 public:
  /// Opens the image of a path in UTF-8.
  VolumeOuvert(ContexteCli &contexte, std::string_view image, AccesVolume acces = AccesVolume::lecture);
  ~VolumeOuvert();
  VolumeOuvert(const VolumeOuvert &) = delete;
  VolumeOuvert &operator=(const VolumeOuvert &) = delete;
  explicit operator bool() const { return ouvert_; }
  /// Path of the image, working text.
  [[nodiscard]] const std::string &chemin() const { return chemin_; }

 private:
  std::string chemin_;
  bool ouvert_ = false;
};

/// The item of a path in UTF-8; nullopt after a message.
[[nodiscard]] std::optional<ElementMac> trouve_mac(std::string_view chemin);

/// True for what a listing leaves out unless all is asked for: invisible items, the Desktop files, the Trash,
/// names that begin with a dot.
[[nodiscard]] bool est_cache(const ElementMac &element);

/// Gives what lies below a folder in the order of the tree, each folder ahead of its content; `chemin` is the
/// path in UTF-8 of each, with `base` ahead. An item for which `montre` gives false is left out with its
/// content. `recursif` off: one level. False when damage was found (told) or the user stopped.
using VisiteChemin = std::function<void(const std::string &chemin, const ElementMac &element)>;
[[nodiscard]] bool parcourt_dossier(const ElementMac &dossier, const std::string &base, bool recursif,
                                    const std::function<bool(const ElementMac &)> &montre,
                                    const VisiteChemin &visite);

/// Type and creator as 8 characters.
[[nodiscard]] std::string signature_de(const ElementMac &element);

}  // namespace varnion
