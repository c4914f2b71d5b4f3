#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <vector>

#include "outils/conteneurs.hpp"

namespace varnion::outils {

/// How a source file lies on the PC.
enum class Forme { simple, macbinary, binhex, applesingle, appledouble, flux };

/// A file of a source tree and what a disc should make of it. Names are composed UTF-8.
struct FichierSource {
  std::string chemin;      ///< from the root of the tree
  std::string octets;      ///< on the PC, and so in the ISO and Joliet trees
  std::string nom_mac;     ///< last component on the Macintosh side
  std::string nom_iso;     ///< 8.3 name where the test states one, without version
  std::string nom_joliet;  ///< last component in the Joliet tree, without version
  std::string nom_plus;    ///< last component on an HFS+ volume
  FichierMac mac;          ///< forks and what else the Macintosh side should have
  Forme forme = Forme::simple;
  std::int64_t date = 0;  ///< modification, Unix seconds
  bool cache = false;
};

struct DossierSource {
  std::string chemin;
  std::string nom_mac;  ///< last component on the Macintosh side (classic HFS)
  std::string nom_joliet;
  std::string nom_plus;
  bool cache = false;
};

/// Bytes that repeat nowhere, the same for the same seed.
inline std::string octets_quelconques(std::size_t longueur, std::uint64_t graine) {
  std::string s(longueur, '\0');
  std::uint64_t x = graine * 0x9E3779B97F4A7C15ULL + 0x1234567;
  for (std::size_t i = 0; i < longueur; i += sizeof x) {
    x ^= x << 13;
    x ^= x >> 7;
    x ^= x << 17;
    std::memcpy(s.data() + i, &x, std::min(sizeof x, longueur - i));
  }
  if (!s.empty()) s[0] = '\x7F';  // no container begins like this
  return s;
}

/// Builds a tree of files in a folder and keeps what to expect of it.
class ArbreSource {
 public:
  explicit ArbreSource(std::string racine) : racine_(std::move(racine)) {
    std::filesystem::create_directories(racine_);
  }

  /// `nom_mac`: name on a classic HFS volume where it is not the last component. `disque`: last component as
  /// it lies on the disk, where that is not composed.
  DossierSource &dossier(const std::string &chemin, const std::string &nom_mac = "",
                         const std::string &disque = "") {
    const std::string sur_disque = chemin_disque(chemin, disque);
    std::filesystem::create_directory(racine_ + sur_disque);
    disque_[chemin] = sur_disque;
    const std::string nom = feuille(chemin);
    rangs_[chemin] = dossiers_.size();
    dossiers_.push_back({chemin, nom_mac.empty() ? nom : nom_mac, nom, nom, nom[0] == '.'});
    return dossiers_.back();
  }

  FichierSource &fichier(const std::string &chemin, std::string octets, const std::string &nom_mac = "",
                         const std::string &disque = "") {
    FichierSource f;
    f.chemin = chemin;
    f.octets = octets;
    f.mac.data = std::move(octets);
    f.mac.type.clear();
    f.mac.createur.clear();
    f.nom_mac = nom_mac;
    return ecrit(std::move(f), disque);
  }

  FichierSource &conteneur(const std::string &chemin, Forme forme, FichierMac mac) {
    FichierSource f;
    f.chemin = chemin;
    f.forme = forme;
    // These two carry the name of the Macintosh file; the others bear it themselves.
    if (forme == Forme::macbinary || forme == Forme::binhex) f.nom_mac = f.nom_plus = mac.nom;
    f.octets = forme == Forme::macbinary     ? macbinary(mac)
               : forme == Forme::binhex      ? binhex(mac)
               : forme == Forme::applesingle ? applesingle(mac)
                                             : mac.data;
    f.mac = std::move(mac);
    FichierSource &posee = ecrit(std::move(f), "");
    if (forme == Forme::appledouble) {
      const std::size_t barre = chemin.rfind('/') + 1;
      brut(disque_[chemin.substr(0, barre == 0 ? 0 : barre - 1)] + "/._" + chemin.substr(barre),
           appledouble(posee.mac));
    }
    if (forme == Forme::flux) {
      const std::string ou = racine_ + disque_[chemin];
      attribut(ou, "user.AFP_Resource", posee.mac.rsrc);
      attribut(ou, "user.AFP_AfpInfo", afp_info(posee.mac));
    }
    return posee;
  }

  /// A file that is no item of the tree.
  void brut(const std::string &chemin, const std::string &octets) const {
    std::ofstream flux(racine_ + "/" + chemin, std::ios::binary);
    flux << octets;
    if (!flux.good()) throw std::runtime_error("cannot write " + chemin);
  }

  [[nodiscard]] const std::string &racine() const { return racine_; }
  [[nodiscard]] std::string sur_disque(const std::string &chemin) { return racine_ + disque_[chemin]; }
  [[nodiscard]] std::vector<FichierSource> &fichiers() { return fichiers_; }
  [[nodiscard]] std::vector<DossierSource> &dossiers() { return dossiers_; }

  /// Path of an item in one of the trees, from the names of its folders there and its own.
  [[nodiscard]] std::string chemin_dans(std::string DossierSource::*nom_dossier, const std::string &chemin,
                                        const std::string &nom) const {
    std::string resultat = nom;
    for (std::size_t barre = chemin.rfind('/'); barre != std::string::npos && barre != 0;
         barre = chemin.rfind('/', barre - 1))
      resultat = dossiers_[rangs_.at(chemin.substr(0, barre))].*nom_dossier + "/" + resultat;
    return resultat;
  }

  static std::string feuille(const std::string &chemin) { return chemin.substr(chemin.rfind('/') + 1); }

 private:
  [[nodiscard]] std::string chemin_disque(const std::string &chemin, const std::string &disque) {
    const std::size_t barre = chemin.rfind('/');
    const std::string pere = barre == std::string::npos ? "" : disque_.at(chemin.substr(0, barre));
    return pere + "/" + (disque.empty() ? feuille(chemin) : disque);
  }

  FichierSource &ecrit(FichierSource f, const std::string &disque) {
    const std::string sur_disque = chemin_disque(f.chemin, disque);
    disque_[f.chemin] = sur_disque;
    if (f.nom_mac.empty()) f.nom_mac = feuille(f.chemin);
    if (f.nom_plus.empty()) f.nom_plus = feuille(f.chemin);
    f.nom_joliet = feuille(f.chemin);
    f.cache = feuille(f.chemin)[0] == '.';
    brut(sur_disque.substr(1), f.octets);
    // Odd seconds, and spread over the years that a byte of the directory record can tell apart.
    f.date = 1'000'000'007 + static_cast<std::int64_t>(fichiers_.size() % 7919) * 86'477;
    timespec temps[2] = {{f.date, 0}, {f.date, 0}};
    if (::utimensat(AT_FDCWD, (racine_ + sur_disque).c_str(), temps, 0) != 0)
      throw std::runtime_error("cannot date " + f.chemin);
    fichiers_.push_back(std::move(f));
    return fichiers_.back();
  }

  static void attribut(const std::string &chemin, const char *nom, const std::string &valeur) {
    if (::setxattr(chemin.c_str(), nom, valeur.data(), valeur.size(), 0) != 0)
      throw std::runtime_error("no extended attributes: " + chemin);
  }

  std::string racine_;
  std::vector<FichierSource> fichiers_;
  std::vector<DossierSource> dossiers_;
  std::map<std::string, std::string> disque_{{"", ""}};
  std::map<std::string, std::size_t> rangs_;
};

}  // namespace varnion::outils
