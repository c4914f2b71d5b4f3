#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>

namespace varnion {

/// The process-wide state: one record for each subsystem, owned by the folder that defines its type, made
/// with its default values at first use and alive until `reinitialise`. There is no other mutable global.
class EtatProgramme {
 public:
  static EtatProgramme &courant();

  /// The record of type T. The reference stays valid until `reinitialise`.
  template <typename T>
  T &partie() {
    const std::size_t rang = numero<T>();
    Base *base = parties_[rang].load(std::memory_order_acquire);
    if (base == nullptr) base = cree<T>(rang);
    return static_cast<Boite<T> *>(base)->valeur;
  }

  /// Drops all records: the next use finds default values. For tests and for the end of the program.
  void reinitialise();

 private:
  struct Base {
    virtual ~Base() = default;
  };
  template <typename T>
  struct Boite final : Base {
    T valeur{};
  };
  static constexpr std::size_t kMax = 64;

  static std::size_t prochain_numero();
  template <typename T>
  static std::size_t numero() {
    static const std::size_t rang = prochain_numero();
    return rang;
  }
  template <typename T>
  Base *cree(std::size_t rang) {
    const std::lock_guard garde(verrou_);
    Base *base = parties_[rang].load(std::memory_order_acquire);
    if (base == nullptr) {
      base = new Boite<T>();
      parties_[rang].store(base, std::memory_order_release);
    }
    return base;
  }

  std::mutex verrou_;
  std::array<std::atomic<Base *>, kMax> parties_{};
};

/// The subsystem record of type T in the current state.
template <typename T>
T &etat() {
  return EtatProgramme::courant().partie<T>();
}

}  // namespace varnion
