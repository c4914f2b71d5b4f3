#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "projet/fichier_projet.hpp"

// The checked refresh: the differences between a project and the disk, and what accepting them does.
// Rejecting one is not passing it on.

namespace varnion {

enum class GenreDifference : char { suppression = 'D', ajout = 'A', modification = 'M' };

struct Difference {
  GenreDifference genre = GenreDifference::modification;
  std::uint32_t dossier = kRacine;  ///< folder of the project that has, or would have, the item
  std::uint32_t numero = 0;         ///< of the item, as stored; 0 for an addition
  /// Bytes of the source: as stored for a deletion or a missing mark, else as on the disk.
  std::uint32_t longueur = 0;
  std::string chemin;  ///< access path, closed by a separator
  std::string nom_source;
  /// A modification: the file has another length or other forks than stored. False where only the mark
  /// "missing" is told.
  bool contenu = false;
};

/// "letter|folder|number|length|access path|name".
[[nodiscard]] std::string ligne_difference(const Difference &difference);

/// Compares what lies below a folder with the disk. Folders without a source are passed over. Items marked
/// missing are told as modified, and so are files whose companion or streams changed, or that are a Macintosh
/// container of other forks. With `ajouts` new names are looked for in the folders below, in the disk
/// folder of their first item that has one; a folder's own flag "Refresh the contents" asks for it there.
/// nullopt when the user stopped it.
[[nodiscard]] std::optional<std::vector<Difference>> controle_projet(const FichierProjet &projet,
                                                                     std::uint32_t dossier, bool ajouts);

struct BilanAccord {
  std::uint64_t suppressions = 0, modifications = 0, ajouts = 0;  ///< accepted and done
  std::uint64_t restes = 0;  ///< refused by the user, or no longer as the difference says
  bool abouti = false;       ///< false: stopped or failed, the project is as it was
};

/// Does what the differences say: one pass for the deletions (a folder with content asks 1163), one merge for
/// the additions. A file that was modified is recognised and measured anew. The estimate is counted anew.
[[nodiscard]] BilanAccord accepte_differences(FichierProjet &projet, std::span<const Difference> differences);

}  // namespace varnion
