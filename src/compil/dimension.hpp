#pragma once

#include <cstdint>
#include <vector>

#include "compil/contexte.hpp"
#include "compil/volume_mac.hpp"
#include "projet/fichier_projet.hpp"

namespace varnion {

/// What one pass over the project's tree yields besides the figures it adds to the context.
struct Dimensions {
  BesoinsIso iso;
  /// Lengths in bytes of every run of data that gets allocation blocks of its own.
  std::vector<std::uint32_t> longueurs;
  /// Sectors of the data that the ISO side alone reads, where these lie ahead of the volume.
  std::uint64_t secteurs_iso_seul = 0;

  /// Allocation blocks of all runs at a block size.
  [[nodiscard]] std::uint64_t blocs(std::uint32_t taille_bloc) const;
};

/// Sizing pass: directories, path tables and catalog nodes, into the context; exact needs into the result.
/// False, after a message for each case, when two items of a folder have the same name in a view, when a fork
/// is longer than the volume's format holds, when folders contain one another, or when they lie too deep.
[[nodiscard]] bool dimensionne(ContexteCompilation &contexte, const IndexEnfants &index,
                               const VolumeMac *volume, Dimensions &dimensions);

/// True when data that the ISO side alone reads lie ahead of the Macintosh volume: no file of the volume owns
/// them, and within it whoever writes to the volume would take their blocks.
[[nodiscard]] bool iso_seul_devant(const ContexteCompilation &contexte);

/// True when the data fork of an item is its bytes on the ISO side: plain, NTFS and AppleDouble files.
[[nodiscard]] bool copie_partagee(const RubriqueProjet &r);

/// True when the blocks of a shared data fork with a companion are taken once more, with nothing written to
/// them.
[[nodiscard]] bool reserve_double(const RubriqueProjet &r);

/// The running estimate of an item's directory record in the ISO tree, for any name.
constexpr std::size_t kFicheIsoEstimee = 47;

/// Places path tables and directories (`calcul_catalogue_iso`). The reserves follow the estimate; one that
/// the exact needs show too small is raised to them, and the journal says so.
[[nodiscard]] PlanIso planifie_iso(ContexteCompilation &contexte, const BesoinsIso &besoins);

/// Folders nested deeper than this are refused.
constexpr std::size_t kProfondeurMax = 1000;

}  // namespace varnion
