#pragma once

#include <cstdint>

#include "hfs/arbre.hpp"
#include "hfs/fiches.hpp"

// From positions in a fork or a tree to sectors of the image.

namespace varnion {

constexpr std::uint64_t kSansPosition = ~std::uint64_t{0};  ///< -1: no such place

constexpr std::uint8_t kFourcheDonnees = 0;
constexpr std::uint8_t kFourcheRessources = 0xFF;

/// Sector of an allocation block.
[[nodiscard]] std::uint64_t secteur_de_bloc(std::uint64_t bloc);
/// Sectors in a number of allocation blocks.
[[nodiscard]] std::uint64_t secteurs_de_blocs(std::uint64_t blocs);

/// Sector of a node of a tree whose file has these extents and this id (kIdFichier…); past the extents the
/// extents tree is asked. kSansPosition when the file does not reach that far.
[[nodiscard]] std::uint64_t position_noeud_hfs(const DescripteurArbre &arbre, const ExtentsHfs &extents,
                                               std::uint32_t noeud, std::uint32_t fichier);
[[nodiscard]] std::uint64_t position_noeud_hfsplus(const DescripteurArbre &arbre, const FourchePlus &fourche,
                                                   std::uint32_t noeud, std::uint32_t fichier);
/// The same for a node of the mounted volume's catalog or extents tree, as `arbre.genre` says.
[[nodiscard]] std::uint64_t position_noeud(const DescripteurArbre &arbre, std::uint32_t noeud);

/// The record of the extents tree for a file, a fork and a first block: `sortie` filled, or null. Moves the
/// current node of the extents tree. Goes by the order of the keys; in a tree whose order is damaged the
/// first search that fails reads the whole leaf chain once.
ExtentsHfs *extents_suivants_hfs(ExtentsHfs &sortie, std::uint32_t fichier, std::uint64_t debut,
                                 std::uint8_t fourche);
ExtentsPlus *extents_suivants_hfsplus(ExtentsPlus &sortie, std::uint32_t fichier, std::uint64_t debut,
                                      std::uint8_t fourche);

/// Drops what was learnt about a damaged extents tree; at each mount, and when records were added or moved.
void oublie_index_extents();

/// Absolute sector of a sector offset in a data fork; 0 when the fork does not reach that far.
[[nodiscard]] std::uint64_t position_fourche_hfs(std::uint64_t secteur, const ExtentsHfs &extents,
                                                 std::uint32_t fichier);
[[nodiscard]] std::uint64_t position_fourche_hfsplus(std::uint64_t secteur, const FourchePlus &fourche,
                                                     std::uint32_t fichier);

}  // namespace varnion
