#pragma once

#include <functional>
#include <optional>

#include <QString>

class QWidget;

// The small dialogs of the dump viewer.

namespace varnion {

/// The sector to go to, as typed; nullopt when the user gives up.
[[nodiscard]] std::optional<QString> demande_secteur(QWidget *parent, const QString &courant);

struct RechercheVidage {
  QString texte;
  bool debut_secteur = false;
};
/// The same for what to look for; an empty text is not taken.
[[nodiscard]] std::optional<RechercheVidage> demande_recherche(QWidget *parent,
                                                               const RechercheVidage &derniere);

/// The size of the font, points.
[[nodiscard]] std::optional<int> demande_corps(QWidget *parent, int corps);

enum class ChoixSegment { secteur, secteurs, octets };
struct DemandeSegment {
  ChoixSegment choix = ChoixSegment::secteur;
  QString debut, fin;  ///< as typed
  bool hexadecimal = false;
  bool imprime = false;  ///< hexadecimal lines to the printer instead of a file
};
/// Shows the form; `execute` is called for each use of its button, and the form stays open.
void montre_segment(QWidget *parent, const QString &courant,
                    const std::function<void(QWidget *forme, const DemandeSegment &)> &execute);

}  // namespace varnion
