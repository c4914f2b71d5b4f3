#pragma once

#include <functional>

#include "app/qt/forme.hpp"

namespace varnion {

/// A dialog that writes before it closes. The window lives on while the volume is written: until that has
/// ended nothing reaches the dialog, and it does not close.
class FormeEcriture : public Forme {
 public:
  using Forme::Forme;

  void reject() override {
    if (!en_ecriture_) Forme::reject();
  }

 protected:
  /// Runs the write and closes when it gives true.
  void ecrit_et_ferme(const std::function<bool()> &ecriture) {
    if (en_ecriture_) return;
    en_ecriture_ = true;
    QWidget *saisie = focusWidget();
    setEnabled(false);
    const bool fait = ecriture();
    setEnabled(true);
    if (saisie != nullptr) saisie->setFocus();
    en_ecriture_ = false;
    if (fait) Forme::accept();
  }

 private:
  bool en_ecriture_ = false;
};

}  // namespace varnion
