#pragma once

#include <functional>

#include <QLayout>
#include <QPushButton>

#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"

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

  /// Adds the button that shows and hides the advanced part of the dialog, which is hidden at first.
  void ajoute_avance(QWidget *avance) {
    constexpr int kAvance = 1219;
    avance->hide();
    auto *bascule = static_cast<QPushButton *>(bouton(kAvance, "Avance"));
    bascule->setCheckable(true);
    connect(bascule, &QPushButton::toggled, this, [this, avance, bascule](bool ouvert) {
      QString texte = chaine_qt(kAvance);
      bascule->setText(ouvert ? texte.replace(">>", "<<") : texte);
      avance->setVisible(ouvert);
      // The window takes the width that its content asks for, once the layouts know it.
      layout()->activate();
      resize(sizeHint());
    });
  }

 private:
  bool en_ecriture_ = false;
};

}  // namespace varnion
