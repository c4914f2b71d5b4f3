#include "IO/etat.hpp"

#include <cstdio>
#include <cstdlib>

namespace varnion {

EtatProgramme &EtatProgramme::courant() {
  static EtatProgramme instance;
  return instance;
}

void EtatProgramme::reinitialise() {
  const std::lock_guard garde(verrou_);
  for (auto &partie : parties_) delete partie.exchange(nullptr);
}

std::size_t EtatProgramme::prochain_numero() {
  static std::atomic<std::size_t> suivant{0};
  const std::size_t rang = suivant++;
  if (rang >= kMax) {
    std::fputs("EtatProgramme: too many subsystem records\n", stderr);
    std::abort();
  }
  return rang;
}

}  // namespace varnion
