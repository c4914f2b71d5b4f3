#include "IO/memoire_secteurs.hpp"

#include <array>
#include <cstdint>
#include <cstring>
#include <unordered_map>

#include "IO/etat.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

constexpr std::uint32_t kCourte = 16;            // sectors: nodes of 8 KB
constexpr std::size_t kSecteursMax = 64 * 1024;  // 32 MB held; then it begins anew

using Secteur = std::array<std::uint8_t, kTailleSecteur>;

struct SecteursTenus {
  std::unordered_map<std::uint64_t, Secteur> secteurs;

  /// All sectors of the request are held and `f` agrees to each.
  template <typename F>
  bool tous(const RequeteIO &requete, F f) const {
    for (std::uint32_t i = 0; i < requete.nb_secteurs; ++i) {
      const auto place = secteurs.find(requete.position + i);
      if (place == secteurs.end() || !f(i, place->second)) return false;
    }
    return true;
  }
  void retient(const RequeteIO &requete) {
    if (secteurs.size() + requete.nb_secteurs > kSecteursMax) secteurs.clear();
    const auto *octets = static_cast<const std::uint8_t *>(requete.tampon);
    for (std::uint32_t i = 0; i < requete.nb_secteurs; ++i)
      std::memcpy(secteurs[requete.position + i].data(), octets + std::size_t{i} * kTailleSecteur,
                  kTailleSecteur);
  }
  void oublie(const RequeteIO &requete) {
    for (std::uint32_t i = 0; i < requete.nb_secteurs; ++i) secteurs.erase(requete.position + i);
  }
};

int driver_memoire(RequeteIO &requete) {
  SecteursTenus &tenus = etat<SecteursTenus>();
  auto *octets = static_cast<std::uint8_t *>(requete.tampon);
  const bool courte = requete.nb_secteurs != 0 && requete.nb_secteurs <= kCourte && octets != nullptr;
  const auto ici = [octets](std::uint32_t i) { return octets + std::size_t{i} * kTailleSecteur; };
  if (requete.operation == kOperationLire) {
    if (!courte) return driver_fichier(requete);
    // Two looks, so that a request that is held in part alone leaves the buffer to the file.
    if (tenus.tous(requete, [](std::uint32_t, const Secteur &) { return true; })) {
      static_cast<void>(tenus.tous(requete, [&](std::uint32_t i, const Secteur &secteur) {
        std::memcpy(ici(i), secteur.data(), kTailleSecteur);
        return true;
      }));
      return verdict_transfert(std::uint64_t{requete.nb_secteurs} * kTailleSecteur, requete.nb_secteurs);
    }
    return driver_fichier(requete);
  }
  if (courte && tenus.tous(requete, [&](std::uint32_t i, const Secteur &secteur) {
        return std::memcmp(ici(i), secteur.data(), kTailleSecteur) == 0;
      }))
    return verdict_transfert(std::uint64_t{requete.nb_secteurs} * kTailleSecteur, requete.nb_secteurs);
  const int resultat = driver_fichier(requete);
  if (courte && support().echec_ecriture == 0) {
    tenus.retient(requete);
  } else {
    tenus.oublie(requete);
  }
  return resultat;
}

}  // namespace

MemoireSecteurs::MemoireSecteurs() : branchee_(support().entree_driver == driver_fichier) {
  if (branchee_) support().entree_driver = driver_memoire;
}

MemoireSecteurs::~MemoireSecteurs() {
  if (branchee_) support().entree_driver = driver_fichier;
  etat<SecteursTenus>().secteurs.clear();
}

}  // namespace varnion
