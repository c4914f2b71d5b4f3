#pragma once

#include <optional>

#include "inspect/champs.hpp"
#include "inspect/source.hpp"

class QWidget;

namespace varnion {

/// Shows what an analyzer found: one form for all structures, drawn from the lists of fields. The sector that
/// the user goes to, with what is to be done there; nullopt when the form is just closed. `source` is what a
/// B-tree is drawn from, and must stay open.
[[nodiscard]] std::optional<Bouton> montre_fiche(QWidget *parent, const FicheAnalyse &fiche,
                                                 const SourceSecteurs &source);

}  // namespace varnion
