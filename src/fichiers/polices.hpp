#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "fichiers/element.hpp"
#include "fichiers/plage.hpp"
#include "IO/dossier_sortie.hpp"
#include "IO/fichier.hpp"

// Fonts between the resources of the Macintosh and the files of the PC.

namespace varnion {

/// Where a question about fonts comes from: each keeps its answer for the run of the program.
enum class CotePolices { mac, pc, pc_large };

/// True for the types of PostScript fonts (`LWFN`) and TrueType suitcases (`tfil`, `FFIL`).
[[nodiscard]] bool est_police_mac(std::string_view type);

/// Asks whether a font file is to be converted. "To all" is kept, and Yes to all is noted in `mode_copie`.
[[nodiscard]] bool veut_convertir_police(CotePolices cote, std::string_view nom);

/// Tells that a file holds no font, until the user ticks not to hear of it; both directions share the tick.
/// `nom` is cut to what a message shows.
void annonce_sans_police(std::string_view nom);

enum class ResultatPolice {
  convertie,
  aucune,  ///< no font was found, which was told unless the user does not want to hear of it
  echec,   ///< a read or write failed, which was told; what was not finished is removed
};

/// Asked for each name (UTF-8) that a font is about to get: false when another must be taken. Without it PFB
/// and PFM replace files of their names.
using NomPermis = std::function<bool(const std::string &nom)>;

/// Converts a font file of the Macintosh into files of a folder: `LWFN` to PFB and PFM, a suitcase to one TTF
/// for each `sfnt`. PFB and PFM get numbered names where theirs is not permitted, a TTF takes a temporary
/// name where its own is taken.
[[nodiscard]] ResultatPolice convertit_police_mac(const ElementFichier &element, const DossierSortie &dossier,
                                                  const NomPermis &permis = nullptr);

/// The PostScript name in the clear text of a Type 1 font: what stands behind "/FontName /" up to a blank.
[[nodiscard]] std::optional<std::string> nom_postscript(std::string_view texte);

/// Longest name that is taken from a TrueType font, in bytes of its table.
constexpr std::size_t kNomPoliceMax = 31;
/// Name 6 of the font in a range of a file, as working text: the first of Macintosh Roman English, or of
/// Windows encoding 0 in US English. The published table has Unicode under encoding 1; it is not looked at.
[[nodiscard]] std::optional<std::string> nom_truetype(const Fichier &fichier, PlageFourche police);

}  // namespace varnion
