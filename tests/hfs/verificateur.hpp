#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "noms/ordre.hpp"

namespace varnion::essai {

/// Reads a catalog tree from the disk by the published rules (Inside Macintosh: Files, "B*-Trees"; TN1150,
/// "B-Trees"), with no help from the engine, and tells the first thing that is wrong; "" when all is well.
class Verificateur {
 public:
  using Lecteur = std::function<std::vector<std::uint8_t>(std::uint32_t)>;

  Verificateur(Lecteur lit, std::size_t taille_noeud, bool hfsplus)
      : lit_(std::move(lit)), taille_(taille_noeud), hfsplus_(hfsplus) {}

  /// `carte`: the map of used nodes while it is held in memory; empty, it is read from the tree itself.
  std::string verifie(std::span<const std::uint8_t> carte = {}) {
    entete_ = lit_(0);
    utilises_.assign(u32(entete_, 36), false);
    nb_noeuds_ = 0;
    if (!marque(0)) return "totalNodes";
    if (u8(entete_, 8) != 1 || u16(entete_, 10) != 3) return "header node head";
    if (u16(entete_, 32) != taille_) return "nodeSize";
    if (std::string faute = verifie_niveaux(); !faute.empty()) return faute;
    return verifie_carte(carte);
  }

  [[nodiscard]] unsigned profondeur() const { return u16(entete_, 14); }
  [[nodiscard]] std::size_t nb_noeuds() const { return nb_noeuds_; }
  [[nodiscard]] std::size_t nb_noeuds_carte() const { return nb_carte_; }

 private:
  using Octets = std::vector<std::uint8_t>;
  struct Noeud {
    std::uint32_t numero;
    std::vector<Octets> fiches;
  };

  static std::uint32_t u8(const Octets &o, std::size_t p) { return p < o.size() ? o[p] : 0; }
  static std::uint32_t u16(const Octets &o, std::size_t p) { return u8(o, p) << 8 | u8(o, p + 1); }
  static std::uint32_t u32(const Octets &o, std::size_t p) { return u16(o, p) << 16 | u16(o, p + 2); }

  // False for a number that the tree does not have, or that was met before.
  bool marque(std::uint32_t numero) {
    if (numero >= utilises_.size() || utilises_[numero]) return false;
    utilises_[numero] = true;
    ++nb_noeuds_;
    return true;
  }

  [[nodiscard]] std::size_t taille_cle(const Octets &fiche) const {
    return hfsplus_ ? u16(fiche, 0) + 2 : u8(fiche, 0) + 1;
  }
  // Parent and name, the same bytes for a leaf and for an index record.
  [[nodiscard]] Octets cle(const Octets &fiche) const {
    const std::size_t nom = hfsplus_ ? 2 + 2 * u16(fiche, 6) : 1 + u8(fiche, 6);
    if (6 + nom > fiche.size()) return {};
    return {fiche.begin() + 2, fiche.begin() + static_cast<std::ptrdiff_t>(6 + nom)};
  }
  [[nodiscard]] int compare(const Octets &a, const Octets &b) const {
    if (u32(a, 0) != u32(b, 0)) return u32(a, 0) < u32(b, 0) ? -1 : 1;
    if (hfsplus_) return compare_hfsplus(unites(a), unites(b));
    return compare_hfs({reinterpret_cast<const char *>(a.data()) + 5, a.size() - 5},
                       {reinterpret_cast<const char *>(b.data()) + 5, b.size() - 5});
  }
  static std::span<const be16> unites(const Octets &cle) {
    return {reinterpret_cast<const be16 *>(cle.data() + 6), (cle.size() - 6) / 2};
  }

  // Head, table of offsets and keys of one node.
  std::string lit_noeud(std::uint32_t numero, unsigned hauteur, Noeud &sortie, std::uint32_t &avant,
                        std::uint32_t &arriere) {
    const std::string ou = " of node " + std::to_string(numero);
    if (!marque(numero)) return "number out of range, or a second way to it," + ou;
    const Octets noeud = lit_(numero);
    if (u8(noeud, 8) != (hauteur == 1 ? 0xFF : 0) || u8(noeud, 9) != hauteur) return "kind or height" + ou;
    avant = u32(noeud, 0);
    arriere = u32(noeud, 4);
    const std::size_t nombre = u16(noeud, 10);
    if (nombre == 0) return "no record" + ou;
    if (u16(noeud, taille_ - 2) != 14) return "first offset" + ou;
    sortie = {numero, {}};
    for (std::size_t i = 0; i < nombre; ++i) {
      const std::size_t debut = u16(noeud, taille_ - 2 - 2 * i);
      const std::size_t fin = u16(noeud, taille_ - 4 - 2 * i);
      if (fin <= debut || fin > taille_ - 2 * (nombre + 1)) return "offsets" + ou;
      if (debut % 2 != 0) return "odd offset" + ou;
      sortie.fiches.emplace_back(noeud.begin() + static_cast<std::ptrdiff_t>(debut),
                                 noeud.begin() + static_cast<std::ptrdiff_t>(fin));
      const Octets &fiche = sortie.fiches.back();
      if (taille_cle(fiche) >= fiche.size() || cle(fiche).empty()) return "key" + ou;
      if (hauteur > 1 && !hfsplus_ && (fiche.size() != 42 || fiche[0] != 37)) return "index key size" + ou;
      if (hauteur > 1 && hfsplus_ && fiche.size() != taille_cle(fiche) + 4) return "index record size" + ou;
      if (i > 0 && compare(cle(sortie.fiches[i - 1]), cle(fiche)) > 0) return "key order" + ou;
    }
    return {};
  }

  std::string verifie_niveaux() {
    std::vector<std::uint32_t> numeros{u32(entete_, 16)};
    std::vector<Octets> premieres{{}};
    for (unsigned hauteur = profondeur(); hauteur >= 1; --hauteur) {
      std::vector<Noeud> noeuds(numeros.size());
      std::vector<std::uint32_t> enfants;
      std::vector<Octets> cles;
      std::size_t fiches = 0;
      for (std::size_t i = 0; i < numeros.size(); ++i) {
        std::uint32_t avant = 0;
        std::uint32_t arriere = 0;
        if (std::string faute = lit_noeud(numeros[i], hauteur, noeuds[i], avant, arriere); !faute.empty())
          return faute;
        const std::string ou = " of node " + std::to_string(numeros[i]);
        if (avant != (i + 1 < numeros.size() ? numeros[i + 1] : 0)) return "fLink" + ou;
        if (arriere != (i > 0 ? numeros[i - 1] : 0)) return "bLink" + ou;
        if (hauteur != profondeur() && cle(noeuds[i].fiches[0]) != premieres[i]) return "index key" + ou;
        if (i > 0 && compare(cle(noeuds[i - 1].fiches.back()), cle(noeuds[i].fiches[0])) > 0)
          return "border" + ou;
        fiches += noeuds[i].fiches.size();
        if (hauteur == 1) continue;
        for (const Octets &fiche : noeuds[i].fiches) {
          enfants.push_back(u32(fiche, hfsplus_ ? taille_cle(fiche) : 38));
          cles.push_back(cle(fiche));
        }
      }
      if (hauteur == 1) {
        if (u32(entete_, 20) != fiches) return "leafRecords";
        if (u32(entete_, 24) != numeros.front() || u32(entete_, 28) != numeros.back())
          return "first or last leaf";
      }
      numeros = enfants;
      premieres = cles;
    }
    return {};
  }

  std::string verifie_carte(std::span<const std::uint8_t> donnee) {
    Octets carte(entete_.begin() + 248, entete_.end() - 8);
    nb_carte_ = 0;
    for (std::uint32_t numero = u32(entete_, 0); numero != 0; ++nb_carte_) {
      if (!marque(numero)) return "map chain";
      const Octets noeud = lit_(numero);
      if (u8(noeud, 8) != 2 || u16(noeud, 10) != 1 || u16(noeud, taille_ - 2) != 14) return "map node";
      carte.insert(carte.end(), noeud.begin() + 14,
                   noeud.begin() + static_cast<std::ptrdiff_t>(u16(noeud, taille_ - 4)));
      numero = u32(noeud, 0);
    }
    if (!donnee.empty()) carte.assign(donnee.begin(), donnee.end());
    const std::uint32_t total = u32(entete_, 36);
    if (carte.size() * 8 < total) return "map too short";
    for (std::uint32_t i = 0; i < carte.size() * 8; ++i) {
      const bool bit = (carte[i / 8] & (0x80 >> (i % 8))) != 0;
      if (bit != (i < total && utilises_[i])) return "map bit " + std::to_string(i);
    }
    return u32(entete_, 40) == total - nb_noeuds_ ? "" : "freeNodes";
  }

  Lecteur lit_;
  std::size_t taille_;
  bool hfsplus_;
  Octets entete_;
  std::vector<bool> utilises_;
  std::size_t nb_noeuds_ = 0;
  std::size_t nb_carte_ = 0;
};

}  // namespace varnion::essai
