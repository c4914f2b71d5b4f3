#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include <QString>

class QWidget;

namespace varnion {

/// A file or folder that a search found, as its row shows it.
struct Trouvaille {
  std::uint32_t id = 0;
  std::uint32_t pere = 0;  ///< folder that holds it
  bool dossier = false;
  QString nom;
  QString chemin;  ///< of the folder that holds it, from the root
  QString signature;
  QString donnees, ressources;
  QString modification;
};

/// Offers what was found. `tous`: there was no more. The index chosen, nullopt when the user gives up.
[[nodiscard]] std::optional<std::size_t> montre_trouvailles(QWidget *parent,
                                                            const std::vector<Trouvaille> &trouvailles,
                                                            bool tous);

}  // namespace varnion
