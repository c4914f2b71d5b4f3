#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "hfs/arbre.hpp"

// Catalog tree, write side. There is no dirty list: a node that changes is written at once, and the header
// node behind it. leafRecords is the caller's: add 1 before each insertion (and take it back when the
// insertion gives false), so that the header written along with the leaf already counts the record.

namespace varnion {

// --- nodes to the disk

/// Writes a catalog node of `taille_noeud` bytes, brings the cache up to date, and writes the header node. A
/// number above totalNodes stops at the cache.
void ecriture_noeud(std::uint32_t noeud, std::span<const std::uint8_t> octets);
/// The same for the extents tree. False when the node does not belong to it.
[[nodiscard]] bool ecriture_noeud_extents(std::uint32_t noeud, std::span<const std::uint8_t> octets);
/// Stamps the volume header in memory (drLsMod; modifyDate and lastMountedVersion) and writes the catalog's
/// header node.
void ecriture_entete_arbre();

// --- map of used nodes

/// Copy of the catalog's node map while a command runs.
struct CarteNoeuds {
  std::vector<std::uint8_t> octets;   ///< `carte_noeuds`: node 0 is bit 0x80 of byte 0
  std::vector<std::uint32_t> chaine;  ///< map nodes, in order
  std::size_t octet_bas = 0;          ///< all bytes below this one are full
  bool chargee = false;
};
[[nodiscard]] CarteNoeuds &carte_noeuds();

/// Builds the copy from the header's map record and the chain of map nodes.
void charge_carte_noeuds();
/// Copies it back, writes the header node (`ecriture_entete_arbre`) and the map nodes, and frees the copy.
void recopie_carte_noeuds();
/// Frees the copy without writing.
void libere_carte_noeuds();
/// Links further map nodes, taken from the tree itself, until every node of the tree has its bit. False when
/// the tree has too few free nodes.
[[nodiscard]] bool ajoute_noeuds_carte();

/// True when this many nodes can be had: by freeNodes, by the map, and within the catalog file.
[[nodiscard]] bool noeuds_disponibles(std::uint32_t nombre);
/// Takes the first free node and marks it: its number, or 0 when none is left. Whoever needs nodes makes sure
/// of them first (`assure_noeuds` of croissance.hpp, which lets the catalog grow). Loads the node map when
/// that was not done.
[[nodiscard]] std::uint32_t alloue_noeud_hfs(DescripteurArbre &arbre);
[[nodiscard]] std::uint32_t alloue_noeud_hfsplus(DescripteurArbre &arbre);
/// Gives a node back: bit cleared, freeNodes + 1, out of the cache. The caller has cleared it on the disk.
void libere_noeud(DescripteurArbre &arbre, std::uint32_t noeud);

// --- deletion

/// Takes record `index` of the catalog's current node out. A node that loses its last record leaves the tree,
/// index records follow, a root with one child goes. leafRecords is the caller's: 1 less before the call, and
/// put back when this gives false, which happens with nothing changed: the tree is damaged on the way up, or
/// the record is the last of the tree.
[[nodiscard]] bool supprime_hfs(std::int32_t index);
[[nodiscard]] bool supprime_hfsplus(std::int32_t index);

// --- extents tree

/// Adds a run to the extents tree for a file and fork: in the first empty slot of the record that `debut`,
/// the block of the file where the run begins, follows on; else as a new record. False when the leaf has no
/// room (this tree is not split) or the tree is damaged.
[[nodiscard]] bool ajoute_extents_hfs(ExtentHfs suite, std::uint32_t fichier, std::uint32_t debut,
                                      std::uint8_t fourche);
[[nodiscard]] bool ajoute_extents_hfsplus(ExtentPlus suite, std::uint32_t fichier, std::uint32_t debut,
                                          std::uint8_t fourche);
/// Takes the record of a fork that begins at block `debut` of the file out of the extents tree.
[[nodiscard]] bool retire_extents(std::uint32_t fichier, std::uint32_t debut, std::uint8_t fourche);

// --- insertion

/// Inserts a leaf record at its place, behind equal keys. `cle` as made by `cle_hfs` / `cle_hfsplus`, length
/// included, unpadded; `parent` is the one in the key. False, with the tree as readable as before, when the
/// record can never fit in a node, when the key is malformed, when the tree is damaged, or when there are not
/// enough free nodes for the splits it would take.
[[nodiscard]] bool insere_hfs(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                              std::uint32_t parent);
[[nodiscard]] bool insere_hfsplus(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                                  std::uint32_t parent);

/// Appends a record, as a rule a thread, to the last leaf without a search. A key that does not stand behind
/// all others goes to its place as by `insere_*`.
[[nodiscard]] bool insere_fin_hfs(std::span<const std::uint8_t> cle, std::span<const std::uint8_t> donnees,
                                  std::uint32_t parent);
[[nodiscard]] bool insere_fin_hfsplus(std::span<const std::uint8_t> cle,
                                      std::span<const std::uint8_t> donnees, std::uint32_t parent);

}  // namespace varnion
