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
  std::optional<ElementMac> montre;   ///< the same as the panes show it: a link, where it is one
};

enum class FinVidage {
  suivant,  ///< the next file of a series may be shown
  termine,  ///< back to the main window
};

/// Shows the viewer until it is closed. What the user changes of the file is changed in `sujet` too.
FinVidage montre_vidage(TVarnion &fenetre, SujetVidage &sujet);

}  // namespace varnion
