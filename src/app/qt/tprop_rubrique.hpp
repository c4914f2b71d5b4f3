#pragma once

#include <optional>
#include <span>
#include <string>

#include "app/noyau/actions_proprietes.hpp"

class QWidget;

namespace varnion {

/// What the user wants of one item.
struct SaisieRubrique {
  ChangementsRubrique changements;
  std::optional<std::string> nom_iso, nom_hfs;  ///< working text, tested
};

/// The properties of one item of a project or ISO+ project; nullopt when the user gives up.
[[nodiscard]] std::optional<SaisieRubrique> saisit_proprietes(QWidget *parent, const FichierProjet &projet,
                                                              const RubriqueProjet &rubrique);

/// The properties that several items have in common. A box in its third state, and a field left empty, leave
/// the items as they are.
[[nodiscard]] std::optional<ChangementsRubrique> saisit_proprietes_communes(
    QWidget *parent, ModeProjet mode, std::span<const ElementTrouve> elements);

}  // namespace varnion
