#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "hfs/arbre.hpp"

// Work on the bytes of one node, for the sources of this folder.

namespace varnion {

/// Guard of a walk along node links: each number met is shown to it. It says false at 0, after as many steps
/// as the tree has nodes, and when the walk has run into a circle (Brent's method, so that a circle ends soon
/// even when the header tells a huge node count).
class GardeChaine {
 public:
  explicit GardeChaine(std::uint32_t total) : reste_(std::uint64_t{total} + 1) {}

  [[nodiscard]] bool admet(std::uint32_t noeud) {
    if (noeud == 0 || noeud == repere_ || reste_ == 0) return false;
    --reste_;
    if (++pas_ == portee_) {
      repere_ = noeud;
      portee_ *= 2;
      pas_ = 0;
    }
    return true;
  }

 private:
  std::uint64_t reste_;
  std::uint64_t pas_ = 0;
  std::uint64_t portee_ = 1;
  std::uint32_t repere_ = 0;
};

/// Entry `rang` of the table of record offsets; the entry behind the last record marks the free space. The
/// node must hold such an entry.
[[nodiscard]] std::size_t decalage(std::span<const std::uint8_t> noeud, std::int32_t rang);
void fixe_decalage(OctetsNoeud noeud, std::int32_t rang, std::size_t valeur);

/// True when all offsets of the node lie in order inside it, so that it may be changed.
[[nodiscard]] bool noeud_sain(OctetsNoeud noeud);

/// Clears the node and makes it an empty one.
void initialise_noeud(OctetsNoeud noeud, std::int8_t genre, std::uint8_t hauteur);

/// Makes room for `taille` bytes as record `rang` (at most numRecords) and gives them, cleared. The node is
/// sound and has the room: the bytes and one table entry.
[[nodiscard]] std::span<std::uint8_t> ouvre_enregistrement(OctetsNoeud noeud, std::int32_t rang,
                                                           std::size_t taille);
/// Takes record `rang` out; the freed space is cleared.
void ferme_enregistrement(OctetsNoeud noeud, std::int32_t rang);
/// Keeps the first `garde` records and clears the space behind them.
void garde_debut(OctetsNoeud noeud, std::int32_t garde);
/// Appends the records [debut, fin) of `source` to `cible`, which has the room.
void copie_enregistrements(OctetsNoeud cible, OctetsNoeud source, std::int32_t debut, std::int32_t fin);

}  // namespace varnion
