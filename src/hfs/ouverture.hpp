#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "IO/partitions.hpp"

// From the path of an image to a mounted volume, and back. What belongs to windows (captions, lists, menus)
// is the caller's: it acts on the results.

namespace varnion {

/// The open image of Partition Mode; its file is `support().image`.
struct PartitionCourante {
  std::string chemin;             ///< image slot; empty when none is open
  int nb_partitions = 0;          ///< of the last analysis
  bool image_temporaire = false;  ///< the image is a decompressed copy that goes when it is closed
  std::string chemin_temporaire;  ///< of that copy
  std::uint32_t dossier = 2;      ///< `DossierPartition`: catalog id of the folder shown
  std::string nom_volume;         ///< working text
  int genre = 0;                  ///< GenreImage of the file that was asked for
};
[[nodiscard]] PartitionCourante &partition_courante();

enum class EtatOuverture {
  montee,
  fichier,        ///< the file cannot be opened or another program writes to it (shown)
  vide,           ///< a file of length 0 (shown)
  refusee,        ///< the user did not want the image decompressed, or none of its volumes
  decompression,  ///< decompression failed or was stopped (shown)
  eparse,         ///< a sparse disk image: not read, and nothing is shown
  sans_volume,    ///< no volume found (shown)
};

struct OptionsOuverture {
  /// The image is only read: it is opened so.
  bool lecture_seule = false;
  /// An image that can be written is locked against other programs while it is open, and one that another
  /// program has locked is refused.
  bool verrou = true;
  /// Asks what the user wants with a compressed image. Without questions it is decompressed whole into a
  /// temporary copy.
  bool questions = false;
  /// A compressed image is expanded however large it becomes, unasked.
  bool sans_borne = false;
  /// Asks for the path where a decompressed image is saved; nullopt gives up. Without it such an image cannot
  /// be saved, and the question is not put.
  std::function<std::optional<std::string>()> chemin_sauvegarde;
  /// Bytes decompressed and bytes in all; false stops.
  std::function<bool(std::uint64_t fait, std::uint64_t total)> progression;
  /// Chooses among several volumes of an image: the row, nullopt gives up. Without it the first is mounted.
  std::function<std::optional<std::size_t>(const ListePartitions &volumes)> choix_partition;
  /// Where the usual road finds no volume, the published description of the map or the wrapper is followed:
  /// all entries of an Apple map or a GUID table and its sectors of 4,096 bytes, the block size of a wrapper,
  /// a volume at the start of an image whose map leads nowhere. The journal tells.
  bool descriptions_publiees = true;
};

/// Closes what is open, opens the image and mounts its volume. Any result but `montee` leaves nothing open.
[[nodiscard]] EtatOuverture ouvrir_partition(const std::string &chemin, const OptionsOuverture &options = {});

/// Partition search and mount of the open image: 1 mounted, 0 not a volume (shown), -1 none was chosen.
[[nodiscard]] int analyse_volume(const OptionsOuverture &options = {});

/// The direct road for images with a GUID table: 1 mounted, 0 not (nothing shown). The volume is where the
/// first entry begins, whatever its type.
[[nodiscard]] int analyse_gpt(const OptionsOuverture &options = {});

/// Closes the image, removes a temporary copy and empties the node cache. Writes nothing: each command
/// flushes the volume itself.
void fermer_partition();

}  // namespace varnion
