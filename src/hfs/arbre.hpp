#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "hfs/fiches.hpp"
#include "noms/unicode.hpp"

// Catalog and extents B-trees, read side. Each tree has one current-node buffer: every result here points
// into it and dies at the next node read. Read, use, and read the node again by number when another read came
// between.

namespace varnion {

/// A node in a current-node buffer, `taille_noeud` bytes; empty stands for "none".
using OctetsNoeud = std::span<std::uint8_t>;

constexpr std::int32_t kIndexFin = -1;  ///< `index`: append at the end of the node

struct DescripteurArbre {
  std::uint32_t noeud = 0;         ///< number of the node in the buffer
  std::int32_t index = 0;          ///< record of the last search, or kIndexFin
  std::uint32_t taille_noeud = 0;  ///< bytes; 0 while the tree is closed
  std::uint32_t genre = 0;         ///< 0 catalog, 1 extents
  std::uint8_t *tampon = nullptr;  ///< current node
  std::uint8_t *entete = nullptr;  ///< header node, in memory for the whole mount

  [[nodiscard]] OctetsNoeud octets() const { return {tampon, taille_noeud}; }
  [[nodiscard]] OctetsNoeud octets_entete() const { return {entete, taille_noeud}; }
  /// Header record of the tree; the tree has been opened, or its fields are all zero.
  [[nodiscard]] FicheEnteteArbre &fiche() const {
    return *reinterpret_cast<FicheEnteteArbre *>(entete + kDebutEnregistrements);
  }
};

// --- nodes and the cache

struct CompteursNoeuds {
  std::uint32_t nb_lectures = 0;         ///< all catalog node reads
  std::uint32_t nb_lectures_disque = 0;  ///< cache misses
  std::uint32_t nb_ecritures = 0;        ///< catalog nodes written
};
/// Counters over the whole run of the program.
[[nodiscard]] CompteursNoeuds &compteurs_noeuds();

/// Reads a catalog node through the cache, sets `noeud`, and `index` to 0. Empty when the number exceeds
/// totalNodes, when the catalog file has no such place, or when the tree is closed; the buffer then stays.
OctetsNoeud lecture_noeud(std::uint32_t noeud);
/// The same for the extents tree, without a cache.
OctetsNoeud lecture_noeud_extents(std::uint32_t noeud);

/// Empties the cache. To be called when the image is closed or another medium is plugged in.
void vide_cache();

// --- records of a node

/// Head of a node; null when the node is empty.
[[nodiscard]] EnteteNoeud *entete_noeud(OctetsNoeud noeud);
/// Record `index` of a node, from its offset to that of the next one; empty when the offsets do not lie in
/// order inside the node, or there is no such record.
[[nodiscard]] std::span<std::uint8_t> enregistrement(OctetsNoeud noeud, std::int32_t index);
/// Number of records that the node can hold at its size: numRecords, or 0 when that is impossible.
[[nodiscard]] std::int32_t nb_enregistrements(OctetsNoeud noeud);
/// The record of the last catalog search (`catalogue.index` of the current node).
[[nodiscard]] std::span<std::uint8_t> enregistrement_courant();

// Accessors of one catalog record; a damaged record reads as 0 or empty.

[[nodiscard]] int type_hfs(std::span<const std::uint8_t> fiche);
[[nodiscard]] int type_hfsplus(std::span<const std::uint8_t> fiche);
/// The data behind the key, which HFS pads to an even length.
[[nodiscard]] std::span<std::uint8_t> donnees_hfs(std::span<std::uint8_t> fiche);
[[nodiscard]] std::span<std::uint8_t> donnees_hfsplus(std::span<std::uint8_t> fiche);
/// Child of an index record: at byte 38 on HFS, whose index keys are always 37 bytes, behind the key on HFS+.
[[nodiscard]] std::uint32_t fils_hfs(std::span<const std::uint8_t> fiche);
[[nodiscard]] std::uint32_t fils_hfsplus(std::span<const std::uint8_t> fiche);
[[nodiscard]] std::uint32_t parent_cle_hfs(std::span<const std::uint8_t> fiche);
[[nodiscard]] std::uint32_t parent_cle_hfsplus(std::span<const std::uint8_t> fiche);
/// Name in the key: Mac Roman bytes, or big-endian units.
[[nodiscard]] std::string_view nom_cle_hfs(std::span<const std::uint8_t> fiche);
[[nodiscard]] std::span<const be16> nom_cle_hfsplus(std::span<const std::uint8_t> fiche);

/// The data as a record of the wanted sort, or null when there are too few bytes.
template <typename T>
[[nodiscard]] T *fiche_comme(std::span<std::uint8_t> donnees) {
  return vue_modifiable<T>(donnees, 0);
}

// --- searches
// All leave the found record in `catalogue.noeud` and `catalogue.index` and give the node, or an empty span.

/// Search with the wildcard rules of `compare_nom_*`: all records of the parent are tried. `type` as in
/// TypeRubrique; for a folder thread the name in the thread is compared, else the name in the key.
OctetsNoeud cherche_rubrique_hfs(std::string_view nom, int type, std::uint32_t parent);
OctetsNoeud cherche_rubrique_hfsplus(const NomUnicode &nom, int type, std::uint32_t parent);
/// The same with a stop: without "*" the search ends at a record whose first unit, a-z folded, is above that
/// of the wanted name.
OctetsNoeud cherche_rubrique_exacte_hfsplus(const NomUnicode &nom, int type, std::uint32_t parent);

/// Look-up by the order of the keys alone: no wildcard, nothing stripped, ends at the first greater key. Of
/// equal keys the first of the wanted type is found. This is the one for names that come from outside: "*" is
/// an ordinary character here.
OctetsNoeud cherche_exacte_hfs(std::string_view nom, int type, std::uint32_t parent);
OctetsNoeud cherche_exacte_hfsplus_sans_joker(const NomUnicode &nom, int type, std::uint32_t parent);

/// A folder or file by its catalog id. The walk begins at the records of `parent` and ends only at the end of
/// the leaf chain.
OctetsNoeud cherche_par_id_hfs(std::uint32_t id, int type, std::uint32_t parent);
OctetsNoeud cherche_par_id_hfsplus(std::uint32_t id, int type, std::uint32_t parent);

/// The index record of height `niveau` (2 or more) that points to node `fils`, whose records begin at
/// `parent`.
OctetsNoeud cherche_enfant_hfs(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent);
OctetsNoeud cherche_enfant_hfsplus(std::uint8_t niveau, std::uint32_t fils, std::uint32_t parent);

/// Insertion point of a key: the leaf, with `index` on the record that will stand behind the new one, or
/// kIndexFin. Equal keys: behind them. Parent 1 always gives the first leaf with index 0. Names are compared
/// plainly on the way down and in the leaf, never by the wildcard rules of the search: a name such as "*foo"
/// would match anything, land out of order and spoil the tree.
OctetsNoeud cherche_place_hfs(std::string_view nom, std::uint32_t parent);
OctetsNoeud cherche_place_hfsplus(const NomUnicode &nom, std::uint32_t parent);

/// First node of a level of the tree (1 leaves), with `index` 0 in the volume's descriptor of that tree;
/// empty with a message shown when the tree has no such level.
OctetsNoeud trouve_tete_niveau(const DescripteurArbre &arbre, std::uint8_t niveau);

/// Parent of a folder through its thread record; 0 if none. Serves both formats.
[[nodiscard]] std::uint32_t parent_de(std::uint32_t id);

/// Catalog id of a folder by name, with wildcards, confirmed by its thread; 0 if none.
[[nodiscard]] std::uint32_t cherche_dossier_hfs(std::string_view nom, std::uint32_t parent);
[[nodiscard]] std::uint32_t cherche_dossier_hfsplus(const NomUnicode &nom, std::uint32_t parent);

}  // namespace varnion
