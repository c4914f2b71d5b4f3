#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

#include <QObject>

#include "app/qt/suivi_fenetre.hpp"
#include "compil/compilation.hpp"

namespace varnion {

class TVarProgress;
class TVarnion;

/// One compile: the worker, its progress form, and its end at the main form. It belongs to the main form and
/// goes by itself once the run is over.
class TVarThread final : public QObject {
 public:
  /// `projet`: opened for this run alone, over the file that the window shows. `secteurs`: expected.
  TVarThread(TVarnion &fenetre, FichierProjet projet, DemandeCompilation demande, std::uint64_t secteurs);
  /// Stops the run and waits for it.
  ~TVarThread() override;
  TVarThread(const TVarThread &) = delete;
  TVarThread &operator=(const TVarThread &) = delete;

  /// The compile that runs; nullptr when there is none.
  [[nodiscard]] static TVarThread *courant(const TVarnion &fenetre);

  void arrete();
  /// Stops the run; the main form closes when it has ended.
  void arrete_et_ferme();

 private:
  void execute();
  void fin_compilation();
  void montre_reussite();

  TVarnion &fenetre_;
  FichierProjet projet_;
  DemandeCompilation demande_;
  SuiviFenetre suivi_;
  BilanCompilation bilan_;
  TVarProgress *progres_;
  bool ferme_apres_ = false;
  bool muet_ = false;  ///< the main form goes: nothing is shown any more
  std::atomic<bool> fini_ = false;
  std::thread fil_;
};

}  // namespace varnion
