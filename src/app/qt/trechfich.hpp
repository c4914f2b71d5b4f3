#pragma once

#include <optional>

#include <QString>

class QWidget;

namespace varnion {

enum class GenreRecherche { nom, signature };

struct DemandeRechercheFichiers {
  GenreRecherche genre = GenreRecherche::nom;
  QString texte;
};

/// Shows `TRechFich`; its fields hold what was searched last in this run. nullopt when the user gives up.
[[nodiscard]] std::optional<DemandeRechercheFichiers> montre_recherche(QWidget *parent);

}  // namespace varnion
