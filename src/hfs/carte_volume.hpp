#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hfs/fiches.hpp"
#include "IO/fichier.hpp"

// Allocation bitmap of the mounted volume. A command that changes the volume loads it (`chargement_carte`),
// works, and ends with `ecriture_structures`; one that gives up calls `liberation_carte`.

namespace varnion {

constexpr std::uint32_t kIdFichierCarte = 6;  ///< allocation file of HFS+

/// HFS: the whole bitmap in memory, with the sectors in front of it. HFS+: a window on a work file.
struct CarteAllocation {
  std::unique_ptr<std::uint8_t[]> tampon;  ///< HFS: boot sectors, MDB and bitmap; HFS+: the window
  std::uint32_t capacite = 0;              ///< HFS+: bytes of the window
  std::uint32_t longueur = 0;              ///< HFS+: bytes valid in it
  std::uint32_t base = 0;                  ///< HFS+: byte of the bitmap where it begins
  Fichier fichier;                         ///< HFS+: the work file
  std::string chemin;                      ///< its path
  std::uint32_t taille = 0;                ///< bytes of bitmap held
  std::uint32_t secteurs = 0;              ///< the same in sectors
  std::uint32_t taille_recopie = 0;        ///< node size of the catalog, see `ecriture_carte_hfsplus`
  std::uint64_t nb_blocs = 0;              ///< bits that stand for blocks of the volume
  std::uint64_t limite = 0;  ///< blocks from here on are never given out: the partition ends before they do
  bool chargee = false;
  std::uint64_t bas = ~std::uint64_t{0};  ///< bytes of bitmap marked since they last reached the disk
  std::uint64_t haut = 0;
};
[[nodiscard]] CarteAllocation &carte_allocation();

/// Loads the bitmap, then the catalog's node map, and puts right what would let later changes spoil the
/// volume (marks of the volume's own files, node count of the catalog, map nodes), with a journal line each.
/// The first time of a mount the trees are judged before (`admet_changements`). False, with a message shown,
/// when the volume cannot be changed; silently so when it was known to be read-only, where only the node map
/// is loaded.
[[nodiscard]] bool chargement_carte();
/// Drops bitmap, node map and work file without writing. To be called at the unmount.
void liberation_carte();

/// A run of allocation blocks.
struct SuiteBlocs {
  std::uint32_t debut = 0;
  std::uint32_t nombre = 0;
};

/// Blocks of the B-tree files and, on HFS+, of the other files of the header and of the headers themselves.
/// As far as the headers name them: runs of the catalog in the extents tree are not among them.
[[nodiscard]] std::vector<SuiteBlocs> suites_du_systeme();
/// Sectors of the bitmap of HFS that have bits for blocks; those up to the first block belong to nobody.
[[nodiscard]] std::uint32_t secteurs_bits_hfs();

/// Takes one run of up to `voulus` blocks; the caller asks again for the rest, and changes the count of free
/// blocks. Blocks that the ISO 9660 side of the image uses are passed over, whatever the bitmap says.
/// nullopt, with message 1073 or 7871 shown, when there is no usable run.
[[nodiscard]] std::optional<SuiteBlocs> alloue_hfs(std::uint32_t voulus);
[[nodiscard]] std::optional<SuiteBlocs> alloue_hfsplus(std::uint32_t voulus);
/// The same for the mounted format, without the message.
[[nodiscard]] std::optional<SuiteBlocs> alloue_sans_message(std::uint32_t voulus);

/// Gives runs back: blocks freed. A run outside the volume or in one of the volume's own files is left alone,
/// with a journal line. The count of free blocks is the caller's.
std::uint32_t libere_extents_hfs(const ExtentsHfs &extents);
std::uint32_t libere_extents_hfsplus(const ExtentsPlus &extents);
std::uint32_t libere_suite(SuiteBlocs suite);

/// Count of free blocks in the volume header.
[[nodiscard]] std::uint32_t blocs_libres();
/// Adds to it, within 0 and the blocks of the volume.
void ajuste_blocs_libres(std::int64_t delta);

/// Brings marks and volume header to the disk, so that a record written next never relies on blocks that the
/// disk takes for free.
void ecrit_marques();

/// What `ecriture_structures` does with the bitmap: HFS writes MDB, bitmap and alternate MDB, then drops the
/// bitmap; HFS+ copies the work file back and keeps it.
void ecriture_carte_hfs();
void ecriture_carte_hfsplus();

/// The bytes of a fork, in order.
struct SourceFourche {
  std::uint64_t longueur = 0;
  /// Fills the whole span with the next bytes; false when they cannot be had.
  std::function<bool(std::span<std::uint8_t>)> lit;
};
[[nodiscard]] SourceFourche source_octets(std::span<const std::uint8_t> octets);
/// `longueur` bytes of a file from `position` on; both outlive the use.
[[nodiscard]] SourceFourche source_fichier(const Fichier &fichier, std::uint64_t position,
                                           std::uint64_t longueur);

/// Allocates and writes one fork of up to 3 (HFS) or 8 (HFS+) runs; the rest of the last block is zero. False
/// with everything given back: no space (1073), too many runs (1159), the source cannot be read, a write
/// failed. `nom` goes to the journal.
[[nodiscard]] bool copie_fourche_hfs(const SourceFourche &source, ExtentsHfs &extents, std::string_view nom);
[[nodiscard]] bool copie_fourche_hfsplus(const SourceFourche &source, ExtentsPlus &extents,
                                         std::string_view nom);

}  // namespace varnion
