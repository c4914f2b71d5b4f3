#pragma once

#include <cstdint>

#include "projet/fichier_projet.hpp"

namespace varnion {

/// A project as it was before an operation of several steps: unless the operation is confirmed, the project
/// goes back to it.
class InstantaneProjet {
 public:
  explicit InstantaneProjet(FichierProjet &projet) : projet_(projet) {}
  InstantaneProjet(const InstantaneProjet &) = delete;
  InstantaneProjet &operator=(const InstantaneProjet &) = delete;
  ~InstantaneProjet() { restaure(); }

  /// Copies the project. False, after a message, when the copy cannot be made: nothing was changed then.
  [[nodiscard]] bool prend();
  /// The project stays as it is now.
  void confirme() { pris_ = false; }
  /// Brings the project back, once; a failure to do so is told to the user.
  void restaure();

 private:
  FichierProjet &projet_;
  Fichier copie_;
  std::uint64_t taille_ = 0;
  std::uint64_t estimation_ = 0;
  bool pris_ = false;
};

/// Says that the project could not be written and is unchanged (`errno` tells why); gives false.
bool echec_projet_inchange(const FichierProjet &projet);

}  // namespace varnion
