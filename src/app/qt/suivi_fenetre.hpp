#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "compil/contexte.hpp"

namespace varnion {

/// Where a compile stands, as the window shows it.
struct AvanceCompilation {
  std::string titre;                                ///< what the disc will be; "" until it is counted
  std::string texte;                                ///< what is being done
  std::string trace;                                ///< the last phase
  std::uint64_t phases = 0;                         ///< begun
  std::uint64_t secteurs = 0;                       ///< 2048-byte sectors written
  std::uint64_t fichiers = 0;                       ///< written or begun
  std::uint64_t tranches = 0, tranches_faites = 0;  ///< of the large file under way; 0 without one
};

/// What the compile tells, left for the window to fetch when it repaints: the worker never waits for it.
class SuiviFenetre final : public SuiviCompilation {
 public:
  void demande_arret() { arret_ = true; }
  [[nodiscard]] const std::atomic<bool> &arret() const { return arret_; }
  [[nodiscard]] AvanceCompilation avance() const;
  /// Those of the attempt that counts.
  [[nodiscard]] std::vector<std::string> remarques() const;

  bool debut_fichier(std::uint64_t tranches, std::string_view nom, std::uint64_t taille) override;
  bool avance_fichier(std::uint64_t secteurs) override;
  bool fin_fichier(std::uint64_t secteurs) override;
  bool trace(std::string_view texte) override;
  bool texte(std::string_view texte) override;
  void commence() override;
  void remarque(std::string_view texte) override;

 private:
  mutable std::mutex verrou_;
  std::atomic<bool> arret_ = false;
  AvanceCompilation avance_;
  std::string fichier_;  ///< the large file under way, in full
  std::uint64_t taille_fichier_ = 0;
  std::vector<std::string> remarques_;
};

}  // namespace varnion
