#pragma once

#include <functional>
#include <optional>

#include "outils/octets_lus.hpp"

// The B-trees of HFS (Inside Macintosh: Files, 2-64) and HFS+ (TN1150, "B-Trees"): same nodes, other keys.

namespace varnion::outils {

/// What the two formats do not share.
struct GenreArbre {
  std::uint32_t taille_noeud = 512;  ///< HFS: fixed; HFS+: taken from the header when 0
  bool longueur_cle_16 = false;      ///< HFS+: two bytes in front of a key, HFS: one
  bool index_fixes = true;           ///< HFS: keys of index records fill the longest length
  std::uint32_t cle_max = 0;         ///< longest key that the header must announce
  /// Order of two keys with their length in front: < 0, 0, > 0; nullopt when it cannot be told.
  std::function<std::optional<int>(Octets, Octets)> compare;
};

struct ArbreBLu {
  struct Enregistrement {
    Octets cle, donnees;  ///< the key with its length in front; the rest behind an even border
  };
  std::uint32_t profondeur = 0, racine = 0, feuilles_annoncees = 0, premiere = 0, derniere = 0;
  std::uint32_t taille_noeud = 0, cle_max = 0, total = 0, libres = 0;
  std::uint8_t type_compare = 0;
  std::uint32_t attributs = 0;
  std::size_t noeuds_carte = 0;  ///< map nodes behind the header
  std::size_t noeuds_index = 0, noeuds_feuille = 0;
  std::vector<Enregistrement> feuilles;  ///< in key order
};

class LecteurArbreB {
 public:
  LecteurArbreB(Octets fichier, GenreArbre genre, std::string nom, Fautes &fautes)
      : fichier_(fichier), genre_(std::move(genre)), nom_(std::move(nom)), fautes_(fautes) {}

  ArbreBLu lit() {
    if (!lit_entete()) return std::move(arbre_);
    utilises_.assign(arbre_.total, false);
    utilises_[0] = true;
    lit_carte();
    if (arbre_.racine != 0) descend(arbre_.racine, arbre_.profondeur, nullptr);
    exige((arbre_.racine == 0) == (arbre_.profondeur == 0), "root and depth disagree");
    exige((arbre_.racine == 0) == (arbre_.feuilles_annoncees == 0), "root and leaf records disagree");
    for (std::size_t niveau = 0; niveau < niveaux_.size(); ++niveau) verifie_chaine(niveau);
    if (!niveaux_.empty())
      exige(!niveaux_[0].empty() && niveaux_[0].front() == arbre_.premiere &&
                niveaux_[0].back() == arbre_.derniere,
            "first and last leaf of the header");
    exige(arbre_.feuilles.size() == arbre_.feuilles_annoncees,
          "leaf records: " + std::to_string(arbre_.feuilles_annoncees) + " announced, " +
              std::to_string(arbre_.feuilles.size()) + " found");
    verifie_ordre();
    verifie_carte();
    return std::move(arbre_);
  }

 private:
  bool exige(bool vrai, const char *texte) { return vrai || exige(false, std::string(texte)); }
  bool exige(bool vrai, const std::string &texte) { return fautes_.exige(vrai, nom_ + ": " + texte); }
  [[nodiscard]] Octets noeud(std::uint32_t n) const {
    return fichier_.partie(std::uint64_t{n} * arbre_.taille_noeud, arbre_.taille_noeud);
  }
  [[nodiscard]] Octets enregistrement(Octets n, std::uint32_t i) const {
    const std::uint32_t debut = n.be16(arbre_.taille_noeud - 2 * (i + 1));
    const std::uint32_t fin = n.be16(arbre_.taille_noeud - 2 * (i + 2));
    return fin > debut ? n.partie(debut, fin - debut) : Octets();
  }

  bool lit_entete() {
    arbre_.taille_noeud = genre_.taille_noeud != 0 ? genre_.taille_noeud : fichier_.be16(14 + 18);
    arbre_.profondeur = fichier_.be16(14);
    arbre_.racine = fichier_.be32(14 + 2);
    arbre_.feuilles_annoncees = fichier_.be32(14 + 6);
    arbre_.premiere = fichier_.be32(14 + 10);
    arbre_.derniere = fichier_.be32(14 + 14);
    arbre_.cle_max = fichier_.be16(14 + 20);
    arbre_.total = fichier_.be32(14 + 22);
    arbre_.libres = fichier_.be32(14 + 26);
    arbre_.type_compare = fichier_.u8(14 + 37);
    arbre_.attributs = fichier_.be32(14 + 38);
    const std::uint32_t taille = arbre_.taille_noeud;
    if (!exige(taille >= 512 && taille <= 32768 && (taille & (taille - 1)) == 0 &&
                   fichier_.be16(14 + 18) == taille,
               "node size"))
      return false;
    exige(fichier_.u8(8) == 1 && fichier_.u8(9) == 0 && fichier_.be16(10) == 3 && fichier_.be32(4) == 0,
          "header node");
    exige(fichier_.be16(taille - 2) == 14 && fichier_.be16(taille - 4) == 120 &&
              fichier_.be16(taille - 6) == 248 && fichier_.be16(taille - 8) == taille - 8,
          "records of the header node");
    exige(arbre_.cle_max == genre_.cle_max, "longest key: " + std::to_string(arbre_.cle_max));
    exige(arbre_.profondeur <= 16, "depth");
    return exige(arbre_.total != 0 && std::uint64_t{arbre_.total} * taille == fichier_.taille(),
                 "the nodes do not fill the file: " + std::to_string(arbre_.total));
  }

  // The bits of the header and, behind it, of the map nodes, one record each.
  void lit_carte() {
    const auto prend = [&](Octets o) { carte_ += o.tout(); };
    prend(enregistrement(noeud(0), 2));
    std::uint32_t suivant = fichier_.be32(0);
    std::uint32_t precedent = 0;
    while (suivant != 0) {
      if (!exige(suivant < arbre_.total && !utilises_[suivant], "chain of map nodes")) return;
      utilises_[suivant] = true;
      ++arbre_.noeuds_carte;
      const Octets n = noeud(suivant);
      exige(n.u8(8) == 2 && n.u8(9) == 0 && n.be16(10) == 1, "kind of a map node");
      exige(n.be32(4) == precedent || n.be32(4) == 0, "back link of a map node");
      exige(n.be16(arbre_.taille_noeud - 2) == 14, "record of a map node");
      prend(enregistrement(n, 0));
      precedent = suivant;
      suivant = n.be32(0);
    }
  }

  [[nodiscard]] Octets cle_de(Octets e) const {
    return e.partie(0, genre_.longueur_cle_16 ? 2U + e.be16(0) : 1U + e.u8(0));
  }
  [[nodiscard]] static std::uint64_t pair(std::uint64_t n) { return n + n % 2; }

  // `separateur`: the key under which the parent points here.
  void descend(std::uint32_t n, std::uint32_t hauteur, const Octets *separateur) {
    const std::string qui = "node " + std::to_string(n);
    if (!exige(n < arbre_.total && hauteur >= 1, qui + " out of the tree")) return;
    if (!exige(!utilises_[n], qui + " is reached twice")) return;
    utilises_[n] = true;
    const Octets o = noeud(n);
    const bool feuille = hauteur == 1;
    exige(o.u8(8) == (feuille ? 0xFF : 0) && o.u8(9) == hauteur, qui + ": kind or height");
    const std::uint32_t nombre = o.be16(10);
    if (!exige(nombre >= 1 && 14 + 2 * (nombre + 1) <= arbre_.taille_noeud, qui + ": record count")) return;
    exige(o.be16(arbre_.taille_noeud - 2) == 14, qui + ": first record");
    exige(o.be16(arbre_.taille_noeud - 2 * (nombre + 1)) <= arbre_.taille_noeud - 2 * (nombre + 1),
          qui + ": records run into their table");
    if (niveaux_.size() < hauteur) niveaux_.resize(hauteur);
    niveaux_[hauteur - 1].push_back(n);
    ++(feuille ? arbre_.noeuds_feuille : arbre_.noeuds_index);
    for (std::uint32_t i = 0; i < nombre; ++i) {
      const Octets e = enregistrement(o, i);
      const Octets cle = cle_de(e);
      const std::uint64_t debut = pair(cle.taille());
      if (!exige(e.taille() > debut && e.taille() % 2 == 0, qui + ": record " + std::to_string(i))) return;
      if (i == 0 && separateur != nullptr)
        exige(meme_cle(*separateur, cle), qui + ": its first key is not the one above it");
      const Octets donnees = e.partie(debut, e.taille() - debut);
      if (feuille) {
        arbre_.feuilles.push_back({cle, donnees});
        continue;
      }
      exige(donnees.taille() == 4, qui + ": pointer " + std::to_string(i));
      if (genre_.index_fixes) exige(cle.taille() == genre_.cle_max + 1U, qui + ": length of an index key");
      descend(donnees.be32(0), hauteur - 1, &cle);
    }
  }

  // Keys of fixed length in an index carry the leaf's key and padding.
  [[nodiscard]] bool meme_cle(Octets haut, Octets bas) const {
    if (!genre_.index_fixes) return haut.tout() == bas.tout();
    return genre_.compare(haut, bas) == 0 &&
           haut.texte(1, bas.taille() - 1) == bas.texte(1, bas.taille() - 1);
  }

  void verifie_chaine(std::size_t niveau) {
    const std::vector<std::uint32_t> &noeuds = niveaux_[niveau];
    for (std::size_t i = 0; i < noeuds.size(); ++i) {
      const Octets o = noeud(noeuds[i]);
      exige(o.be32(0) == (i + 1 < noeuds.size() ? noeuds[i + 1] : 0) &&
                o.be32(4) == (i > 0 ? noeuds[i - 1] : 0),
            "links of node " + std::to_string(noeuds[i]));
    }
  }

  void verifie_ordre() {
    for (std::size_t i = 1; i < arbre_.feuilles.size(); ++i) {
      const auto ordre = genre_.compare(arbre_.feuilles[i - 1].cle, arbre_.feuilles[i].cle);
      if (ordre && *ordre >= 0)
        exige(false, "keys " + std::to_string(i - 1) + " and " + std::to_string(i) + " out of order");
    }
  }

  void verifie_carte() {
    std::uint32_t occupes = 0;
    if (!exige(carte_.size() * 8 >= arbre_.total, "the map is shorter than the tree")) return;
    for (std::uint32_t n = 0; n < carte_.size() * 8; ++n) {
      const bool bit = (static_cast<std::uint8_t>(carte_[n / 8]) & 0x80U >> n % 8) != 0;
      const bool pris = n < arbre_.total && utilises_[n];
      if (pris) ++occupes;
      if (bit != pris) exige(false, "map bit of node " + std::to_string(n));
    }
    exige(arbre_.libres == arbre_.total - occupes, "free nodes: " + std::to_string(arbre_.libres) +
                                                       " announced, " +
                                                       std::to_string(arbre_.total - occupes) + " found");
  }

  Octets fichier_;
  GenreArbre genre_;
  std::string nom_;
  Fautes &fautes_;
  ArbreBLu arbre_;
  std::vector<bool> utilises_;
  std::vector<std::vector<std::uint32_t>> niveaux_;
  std::string carte_;
};

}  // namespace varnion::outils
