#pragma once

#include <optional>

#include <QString>

#include "hfs/catalogue.hpp"
#include "inspect/source.hpp"

namespace varnion {

class TVarnion;

/// What a dump viewer shows: the forks of a file, or a whole image in the place of the data fork.
struct SujetVidage {
  QString nom;
  QString document;  ///< file name of the open image
  SourceUnique donnees, ressources;
  std::optional<ElementMac> element;  ///< the file, when it is one
};

enum class FinVidage {
  suivant,  ///< the next file of a series may be shown
  termine,  ///< back to the main window
};

/// Shows the viewer until it is closed.
FinVidage montre_vidage(TVarnion &fenetre, const SujetVidage &sujet);

}  // namespace varnion
