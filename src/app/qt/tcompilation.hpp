#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <QWidget>

#include "compil/contexte.hpp"
#include "projet/arborescence.hpp"

namespace varnion {

/// What the compile box shows.
struct ProposeCompilation {
  Nature nature = Nature::hybride_hfs;
  ComptesProjet comptes;
  std::uint64_t secteurs = 0;  ///< payload, without the postgap
  std::string cible;
  std::string label_iso, label_hfs;  ///< working text
  bool reconstruire = false;
};

/// What the user made of it.
struct ChoixCompilation {
  bool hfsplus = false;
  std::optional<std::string> label_iso, label_hfs;  ///< where they changed
  bool reconstruire = false;
  bool postgap = true;
};

/// The compile box of a kind of image: hybrid, Macintosh image (1108), ISO (1476) or ISO+ (1477). nullopt
/// when the user gives up.
[[nodiscard]] std::optional<ChoixCompilation> boite_compilation(QWidget *parent, FichierProjet &projet,
                                                                const ProposeCompilation &propose);

}  // namespace varnion
