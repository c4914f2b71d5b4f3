#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>

#include "hfs/fiches.hpp"
#include "hfs/traits.hpp"

// What insertion and deletion share about the index levels of the catalog. For this folder's sources.

namespace varnion {

/// A key copied out of its node, so that node reads may follow.
template <typename Traits>
class CleGardee {
 public:
  explicit CleGardee(std::span<const std::uint8_t> fiche) {
    octets_.ajoute(fiche.first(std::min(Traits::taille_cle(fiche), PetitTampon::kCapacite)));
  }
  [[nodiscard]] std::span<const std::uint8_t> octets() const { return octets_.octets(); }
  [[nodiscard]] typename Traits::CleLue lue() const {
    return Traits::cle(octets_.octets()).value_or(typename Traits::CleLue{});
  }

 private:
  PetitTampon octets_;
};

/// The way from the current node, of height `hauteur`, up to the root by index records that point downward:
/// the nodes that a split of this node takes when it sends up keys of up to that of `cle` and of the records
/// on the way; nullopt when the way is broken. Reads other nodes: the node is read again at the end, with its
/// `index`.
template <typename Traits>
[[nodiscard]] std::optional<std::uint32_t> noeuds_du_chemin(std::span<const std::uint8_t> cle,
                                                            std::uint16_t hauteur = 1);

/// After another record has come to stand first in node `fils`: the index records above take the new key,
/// from height `niveau` on, as far as they stand first in their node themselves. A longer key may split an
/// index node; where the nodes for that cannot be had the index keeps the old key, which is the lower one
/// after a deletion and still leads to the node.
template <typename Traits>
void corrige_premieres_cles(std::uint16_t niveau, std::uint32_t fils, const CleGardee<Traits> &ancienne,
                            const CleGardee<Traits> &nouvelle);

}  // namespace varnion
