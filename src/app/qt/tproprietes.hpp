#pragma once

#include <functional>
#include <optional>

#include <QString>

#include "hfs/catalogue.hpp"
#include "hfs/operations_catalogue.hpp"

class QWidget;

namespace varnion {

/// What the user changed in the properties of a file or folder; what is empty stays.
struct DemandeProprietes {
  std::optional<QString> nom;  ///< as typed
  AttributsItem attributs;
  [[nodiscard]] bool vide() const;
};

enum class SuiteProprietes {
  ecrit,
  ferme,
  tout_ferme,  ///< the user does not want the next ones either
};

struct OptionsProprietes {
  bool lecture_seule = false;
  int rang = 1, total = 1;  ///< which of the items selected this one is
  /// Writes; false, after a message, keeps the dialog open.
  std::function<bool(const DemandeProprietes &)> ecrit;
};

/// The properties of a file or folder of the mounted volume, to be looked at and changed.
SuiteProprietes montre_proprietes_mac(QWidget *parent, const ElementMac &element,
                                      const OptionsProprietes &options);

}  // namespace varnion
