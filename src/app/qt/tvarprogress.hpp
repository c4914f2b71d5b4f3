#pragma once

#include <cstdint>
#include <functional>

#include <QElapsedTimer>
#include <QTimer>

#include "app/qt/forme.hpp"
#include "app/qt/suivi_fenetre.hpp"

class QLabel;
class QProgressBar;

namespace varnion {

/// The progress of a compile, beside the live main form. It looks at the run some ten times a second and
/// stays open until the run ends.
class TVarProgress final : public Forme {
 public:
  /// `secteurs`: 2048-byte sectors expected. `arret`: the user asks to stop.
  TVarProgress(QWidget *parent, const SuiviFenetre &suivi, std::uint64_t secteurs,
               std::function<void()> arret);

  /// The stop is under way: its button goes off.
  void montre_arret();
  /// Shows what the run has told since the last look.
  void rafraichit();
  /// Esc and the close button leave it open.
  void reject() override {}

 private:
  QProgressBar *ajoute_barre(int legende, const char *nom);

  const SuiviFenetre &suivi_;
  std::uint64_t secteurs_;
  std::uint64_t phases_ = 0;
  QLabel *titre_;
  QLabel *texte_;
  QLabel *trace_;
  QLabel *temps_;
  QLabel *compte_;
  QProgressBar *generale_;
  QProgressBar *fichier_;
  QAbstractButton *arret_;
  QElapsedTimer depuis_, depuis_phase_;
  QTimer minuterie_;
};

}  // namespace varnion
