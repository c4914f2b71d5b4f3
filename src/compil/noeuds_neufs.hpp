#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hfs/fiches.hpp"
#include "hfs/volume.hpp"

namespace varnion {

/// Header node of a new tree: header record, reserved record, map record of `carte` and zeros; the offsets of
/// the three and of the free space at the end of the node. The node size is that of the record.
[[nodiscard]] std::vector<std::uint8_t> noeud_entete(const FicheEnteteArbre &fiche, std::uint8_t carte);

/// The only leaf of a new tree, record by record.
class FeuilleNeuve {
 public:
  /// `pair`: keys and records are padded to an even length, as on HFS.
  FeuilleNeuve(std::uint32_t taille_noeud, bool pair);
  void ajoute(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees);
  /// The node, complete.
  [[nodiscard]] std::vector<std::uint8_t> octets() const;

 private:
  void ajoute_octets(std::span<const std::uint8_t> octets);
  std::uint32_t taille_noeud_;
  bool pair_;
  std::vector<std::uint8_t> octets_;
  std::vector<std::uint16_t> positions_;
};

/// Writes whole sectors at a sector of the image.
void ecrit_noeud(std::span<const std::uint8_t> octets, std::uint64_t secteur);

/// Inserts a record of the catalog with leafRecords counting it, as the header written along with it must
/// say.
template <typename Insere>
[[nodiscard]] bool insere_compte(Insere insere) {
  FicheEnteteArbre &fiche = volume_courant().catalogue.fiche();
  fiche.leafRecords = fiche.leafRecords + 1;
  if (insere()) return true;
  fiche.leafRecords = fiche.leafRecords - 1;
  return false;
}

}  // namespace varnion
