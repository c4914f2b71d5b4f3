#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <QString>

class QWidget;

namespace varnion {

/// One name to type, with the one it replaces.
struct ChampNom {
  const char *nom;         ///< objectName of the field
  int groupe = 0;          ///< title of a box of its own; string ids, 0 none
  int legende_ancien = 0;  ///< caption of the old name, 0 where there is none
  QString ancien;
  int legende = 0;  ///< caption of the new name
  QString propose;
  int limite = 255;  ///< characters
  QString vide;      ///< shown in the field while it is empty
};

/// A form that asks for names: a new folder, a rename, labels.
struct DemandeNoms {
  const char *forme;  ///< objectName
  int titre;
  int sujet;
  std::vector<ChampNom> champs;
  bool vide_permis = false;  ///< else Enter on an empty name beeps and the form stays
  /// Called with the names in working text; false, after a message, keeps the form open.
  std::function<bool(const std::vector<std::string> &)> accepte;
};

/// The names in working text, one a field; nullopt when the user gives up. A name with characters that the
/// code page lacks is refused with a message.
[[nodiscard]] std::optional<std::vector<std::string>> saisit_noms(QWidget *parent,
                                                                  const DemandeNoms &demande);

}  // namespace varnion
