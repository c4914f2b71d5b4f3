#pragma once

#include <map>
#include <set>

#include "outils/octets_lus.hpp"

// `.DS_Store` files by the published descriptions of the format: a buddy allocator of blocks, a table of
// contents, a B-tree of records ordered by name and code. Offsets in the file count from byte 4.

namespace varnion::outils {

struct RubriqueDs {
  std::string nom;  ///< UTF-8
  std::string code, genre;
  std::uint64_t nombre = 0;  ///< of "long", "shor", "bool", "comp" and "dutc"
  std::string octets;        ///< of "blob"; the four characters of "type"; UTF-8 of "ustr"
};

struct DsStoreLu {
  std::vector<RubriqueDs> rubriques;
  Fautes fautes;
  std::uint32_t annonces = 0, niveaux = 0, noeuds = 0, taille_page = 0;

  [[nodiscard]] const RubriqueDs *trouve(const std::string &nom, const std::string &code) const {
    for (const RubriqueDs &r : rubriques)
      if (r.nom == nom && r.code == code) return &r;
    return nullptr;
  }
};

class LecteurDsStore {
 public:
  explicit LecteurDsStore(Octets fichier) : f_(fichier) {}

  DsStoreLu lit() {
    const bool tete = exige(f_.be32(0) == 1 && f_.texte(4, 4) == "Bud1", "magic") &&
                      exige(f_.be32(8) == f_.be32(16), "the two offsets of the allocator differ");
    if (!tete) return std::move(lu_);
    gestion_ = f_.partie(4 + std::uint64_t{f_.be32(8)}, f_.be32(12));
    exige(gestion_.taille() == f_.be32(12), "the allocator leaves the file");
    lit_blocs();
    lit_arbre();
    return std::move(lu_);
  }

 private:
  static constexpr std::uint64_t kTete = 32;  ///< addresses of the head of the file

  bool exige(bool vrai, const std::string &texte) { return lu_.fautes.exige(vrai, "DS_Store: " + texte); }

  void lit_blocs() {
    const std::uint32_t nombre = gestion_.be32(0);
    if (!exige(nombre > 0 && nombre < 1024, "number of blocks")) return;
    for (std::uint32_t i = 0; i < nombre; ++i) {
      const std::uint32_t adresse = gestion_.be32(8 + 4 * std::uint64_t{i});
      adresses_.push_back(adresse);
      if (adresse != 0) note_plage(adresse & ~0x1FU, std::uint64_t{1} << (adresse & 0x1F), "block");
    }
    exige(adresses_[0] != 0 && (adresses_[0] & ~0x1FU) == f_.be32(8), "block 0 is not the allocator");
    // The addresses fill up groups of 256, the names and the free lists follow.
    std::uint64_t p = 8 + 4 * ((std::uint64_t{nombre} + 255) / 256 * 256);
    const std::uint32_t noms = gestion_.be32(p);
    p += 4;
    for (std::uint32_t i = 0; i < noms && i < 64; ++i) {
      const std::uint8_t lg = gestion_.u8(p);
      matieres_[gestion_.texte(p + 1, lg)] = gestion_.be32(p + 1 + lg);
      p += 5 + std::uint64_t{lg};
    }
    for (unsigned puissance = 0; puissance < 32; ++puissance) {
      const std::uint32_t libres = gestion_.be32(p);
      p += 4;
      if (!exige(gestion_.contient(p, 4 * std::uint64_t{libres}), "free list leaves the allocator")) return;
      for (std::uint32_t i = 0; i < libres; ++i, p += 4)
        note_plage(gestion_.be32(p), std::uint64_t{1} << puissance, "free block");
    }
    // Blocks and free runs share out all addresses, with no gap and nothing twice.
    std::uint64_t attendu = kTete;
    for (const auto &[debut, fin] : plages_) {
      exige(debut == attendu, "addresses from " + std::to_string(attendu) + " to " + std::to_string(debut));
      attendu = fin;
    }
    exige(attendu == std::uint64_t{1} << 31, "the free lists do not reach the end of the address space");
  }

  void note_plage(std::uint64_t debut, std::uint64_t taille, const std::string &quoi) {
    exige(debut % taille == 0, quoi + " at " + std::to_string(debut) + " is not aligned to its size");
    exige(plages_.emplace(debut, debut + taille).second, quoi + " at " + std::to_string(debut) + " twice");
  }

  Octets bloc(std::uint32_t numero) {
    if (!exige(numero < adresses_.size() && adresses_[numero] != 0, "block " + std::to_string(numero)))
      return {};
    const std::uint64_t taille = std::uint64_t{1} << (adresses_[numero] & 0x1F);
    const Octets b = f_.partie(4 + std::uint64_t{adresses_[numero] & ~0x1FU}, taille);
    exige(b.taille() == taille, "block " + std::to_string(numero) + " leaves the file");
    return b;
  }

  void lit_arbre() {
    const auto place = matieres_.find("DSDB");
    if (!exige(place != matieres_.end(), "no DSDB in the table of contents")) return;
    const Octets arbre = bloc(place->second);
    lu_.niveaux = arbre.be32(4);
    lu_.annonces = arbre.be32(8);
    lu_.noeuds = arbre.be32(12);
    lu_.taille_page = arbre.be32(16);
    std::uint32_t noeuds = 0;
    lit_noeud(arbre.be32(0), lu_.niveaux, noeuds);
    exige(lu_.rubriques.size() == lu_.annonces, "number of records");
    exige(noeuds == lu_.noeuds, "number of nodes");
  }

  void lit_noeud(std::uint32_t numero, std::uint32_t niveau, std::uint32_t &noeuds) {
    if (!exige(++noeuds < 10000 && vus_.insert(numero).second, "a node is met twice")) return;
    const Octets n = bloc(numero);
    const std::uint32_t droit = n.be32(0);
    exige((droit != 0) == (niveau != 0), "levels of the tree");
    std::uint64_t p = 8;
    for (std::uint32_t i = 0; i < n.be32(4); ++i) {
      if (droit != 0) {
        if (niveau == 0) return;
        lit_noeud(n.be32(p), niveau - 1, noeuds);
        p += 4;
      }
      if (!exige(lit_rubrique(n, p), "a record leaves its block")) return;
    }
    if (droit != 0 && niveau != 0) lit_noeud(droit, niveau - 1, noeuds);
  }

  bool lit_rubrique(Octets n, std::uint64_t &p) {
    RubriqueDs r;
    const std::uint64_t unites = n.be32(p);
    r.nom = utf16be_vers_utf8(n.partie(p + 4, 2 * unites));
    p += 4 + 2 * unites;
    r.code = n.texte(p, 4);
    r.genre = n.texte(p + 4, 4);
    p += 8;
    std::uint64_t lg = 4;
    if (r.genre == "blob") {
      lg = n.be32(p);
      r.octets = n.texte(p + 4, lg);
      lg += 4;
    } else if (r.genre == "ustr") {
      lg = 2 * std::uint64_t{n.be32(p)};
      r.octets = utf16be_vers_utf8(n.partie(p + 4, lg));
      lg += 4;
    } else if (r.genre == "bool") {
      r.nombre = n.u8(p);
      lg = 1;
    } else if (r.genre == "comp" || r.genre == "dutc") {
      r.nombre = n.be64(p);
      lg = 8;
    } else if (r.genre == "type") {
      r.octets = n.texte(p, 4);
    } else if (!exige(r.genre == "long" || r.genre == "shor", "type " + r.genre)) {
      return false;
    } else {
      r.nombre = n.be32(p);
    }
    if (!n.contient(p, lg)) return false;
    p += lg;
    lu_.rubriques.push_back(std::move(r));
    return true;
  }

  Octets f_, gestion_;
  std::vector<std::uint32_t> adresses_;
  std::map<std::string, std::uint32_t> matieres_;
  std::map<std::uint64_t, std::uint64_t> plages_;
  std::set<std::uint32_t> vus_;
  DsStoreLu lu_;
};

inline DsStoreLu lit_ds_store(Octets fichier) {
  return LecteurDsStore(fichier).lit();
}

}  // namespace varnion::outils
