#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "compil/contexte.hpp"
#include "compil/preparation.hpp"
#include "IO/fichier_voisin.hpp"
#include "projet/fichier_projet.hpp"

namespace varnion {

struct DemandeCompilation {
  std::string cible;  ///< path of the image, working text
  GenreDemande genre = GenreDemande::hybride;
  bool postgap = true;
  /// The block size search of the dialogs: no fork of 32,767 blocks or more. A batch run bounds the blocks
  /// alone.
  bool borne_fourches = false;
  /// What the image may take the place of. An image whose place is taken when it is whole is kept beside it.
  Ecrasement ecrasement = Ecrasement::connu;
  /// Brings the project up to date with the disk first; nullopt: as its head asks.
  std::optional<bool> reconstruire;
};

struct BilanCompilation {
  int resultat = kCompilEchec;
  Nature nature = Nature::hybride_hfs;
  std::uint64_t fichiers = 0, dossiers = 0;
  std::uint64_t octets = 0;     ///< of the image
  std::uint64_t remarques = 0;  ///< items left out or changed; each was named
  std::string image;            ///< where the image is
  bool ailleurs = false;        ///< that is not the target, whose place was taken; the user was told
};

/// Extension, without a dot, of the image that a request will give: "iso", or "dmg" for a pure Macintosh
/// volume.
[[nodiscard]] std::string extension_image(FichierProjet &projet, GenreDemande genre);

/// Compiles a project into an image. The image is written beside the target under a name of its own and takes
/// the target's place when all is well: a failure leaves what was there. Every failure was told to the user.
[[nodiscard]] BilanCompilation compile_projet(FichierProjet &projet, const DemandeCompilation &demande,
                                              SuiviCompilation &suivi);

}  // namespace varnion
