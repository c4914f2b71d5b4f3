#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace varnion {

/// Cache of catalog nodes: 64 resident nodes, and the numbers of 128 others that are waiting. What counts is
/// how often a node was asked for; a new one becomes resident at once while there is room, later only when it
/// has been asked for more often than the weakest resident. Node 0 marks a free entry, so the header node is
/// never held.
class CacheNoeuds {
 public:
  static constexpr std::size_t kResidents = 64;
  static constexpr std::size_t kAttentes = 128;

  struct Resident {
    std::uint32_t noeud = 0;
    std::uint32_t passages = 0;
    std::uint8_t *tranche = nullptr;  ///< node size bytes
  };
  struct Attente {
    std::uint32_t noeud = 0;
    std::uint32_t passages = 0;
  };

  /// Makes the cache ready for nodes of this size; its content survives when the size is the same as before.
  void prepare(std::uint32_t taille_noeud);
  /// Counts a pass and copies the node out; false when it is not resident.
  [[nodiscard]] bool lit(std::uint32_t noeud, std::span<std::uint8_t> sortie);
  /// A node has been read from the disk.
  void ajoute(std::uint32_t noeud, std::span<const std::uint8_t> octets);
  /// A node is about to be written: a resident copy follows and counts a pass.
  void ecrit(std::uint32_t noeud, std::span<const std::uint8_t> octets);
  /// `oublie_cache`
  void oublie(std::uint32_t noeud);
  /// `vide_cache`
  void vide();

  [[nodiscard]] const std::array<Resident, kResidents> &residents() const { return residents_; }
  [[nodiscard]] const std::array<Attente, kAttentes> &attentes() const { return attentes_; }

 private:
  [[nodiscard]] Resident *cherche(std::uint32_t noeud);
  void promeut(Attente &attente, std::span<const std::uint8_t> octets);

  std::vector<std::uint8_t> octets_;
  std::array<Resident, kResidents> residents_{};
  std::array<Attente, kAttentes> attentes_{};
};

/// The cache of this process.
[[nodiscard]] CacheNoeuds &cache_noeuds();

}  // namespace varnion
