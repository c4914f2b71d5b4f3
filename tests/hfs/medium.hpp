#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include "IO/etat.hpp"
#include "IO/requete.hpp"

namespace varnion::essai {

/// A sparse image in memory behind the driver entries. What was never written reads as zeros.
class Medium {
 public:
  static constexpr std::uint64_t kSecteurs = 64;  // sectors of one page

  void branche() {
    support().entree_driver = driver;
    support().entree_driver_carte = driver;
  }

  void lit(std::uint64_t secteur, std::uint32_t nombre, std::uint8_t *sortie) const {
    for (; nombre > 0; --nombre, ++secteur, sortie += kTailleSecteur) {
      const auto page = pages_.find(secteur / kSecteurs);
      if (page == pages_.end()) {
        std::memset(sortie, 0, kTailleSecteur);
      } else {
        std::memcpy(sortie, page->second.data() + secteur % kSecteurs * kTailleSecteur, kTailleSecteur);
      }
    }
  }
  void ecrit(std::uint64_t secteur, std::uint32_t nombre, const std::uint8_t *octets) {
    for (; nombre > 0; --nombre, ++secteur, octets += kTailleSecteur) {
      auto &page = pages_[secteur / kSecteurs];
      page.resize(kSecteurs * kTailleSecteur);
      std::memcpy(page.data() + secteur % kSecteurs * kTailleSecteur, octets, kTailleSecteur);
    }
  }
  template <typename T>
  void pose(std::uint64_t secteur, const T &fiche) {
    std::vector<std::uint8_t> octets(arrondi<std::size_t>(sizeof(T), kTailleSecteur));
    std::memcpy(octets.data(), &fiche, sizeof(T));
    ecrit(secteur, static_cast<std::uint32_t>(octets.size() / kTailleSecteur), octets.data());
  }
  [[nodiscard]] std::vector<std::uint8_t> octets(std::uint64_t secteur, std::uint32_t nombre) const {
    std::vector<std::uint8_t> sortie(std::size_t{nombre} * kTailleSecteur);
    lit(secteur, nombre, sortie.data());
    return sortie;
  }

 private:
  static int driver(RequeteIO &requete) {
    auto *tampon = static_cast<std::uint8_t *>(requete.tampon);
    if (requete.operation == kOperationEcrire) {
      etat<Medium>().ecrit(requete.position, requete.nb_secteurs, tampon);
    } else {
      etat<Medium>().lit(requete.position, requete.nb_secteurs, tampon);
    }
    return 1;
  }

  std::unordered_map<std::uint64_t, std::vector<std::uint8_t>> pages_;
};

inline Medium &medium() {
  return etat<Medium>();
}

}  // namespace varnion::essai
