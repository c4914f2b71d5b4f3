#pragma once

#include <cstdint>
#include <string>

#include "IO/fichier.hpp"
#include "IO/iodmg.hpp"

// An existing ISO 9660 image and an existing partition image become one hybrid image, and back. The ISO file
// is changed in place: the partition goes behind its end, the partition map into the sectors that ISO 9660
// leaves to the system (ECMA-119 6.2.1). Until the last write it is put back as it was when anything fails.

namespace varnion {

// Results of a hybridation. Where a read or a write failed, `errno` tells.
constexpr int kHybrideFaite = 1;
constexpr int kHybrideIsoFermee = -1;        ///< the ISO file cannot be opened for writing
constexpr int kHybridePartitionFermee = -2;  ///< the partition image cannot be opened
constexpr int kHybrideDeja = -3;             ///< the ISO file has a partition map already
constexpr int kHybridePasIso = -4;           ///< no ISO 9660 structure
constexpr int kHybrideExpansion = -5;   ///< a compressed image that cannot be expanded, or a foreign kind
constexpr int kHybrideTemporaire = -6;  ///< no temporary file
constexpr int kHybrideSansCarte = -7;   ///< no partition map, or no HFS partition in it
constexpr int kHybrideTronquee = -8;    ///< the volume goes on behind the end of the partition image
constexpr int kHybrideEcriture = -9;    ///< a read or a write failed
constexpr int kHybrideArret = -10;      ///< stopped by the user, or a question answered by No
constexpr int kHybridePlace = -11;      ///< not enough free space

/// Byte where the first partition of type "Apple_HFS" begins; 0 without one, -1 when there is no map.
[[nodiscard]] std::int64_t position_apple_hfs(const Fichier &partition);

/// Joins an open partition image to an ISO file, with the questions of the desktop; every refusal is told to
/// the user here. One of the results above.
[[nodiscard]] int hybridation(const Fichier &partition, const std::string &chemin_iso);

/// The same for a batch: no question, nothing is told but the status. Compressed partition images are
/// expanded first. One of the results above; `expansion`, when given, tells why an expansion failed.
[[nodiscard]] int hybridation_fichiers(const std::string &partition, const std::string &iso,
                                       ResultatDmg *expansion = nullptr);

// Results of a deshybridation.
constexpr int kSepareFaite = 0;
constexpr int kSepareFermee = -1;      ///< the file cannot be opened for writing
constexpr int kSepareSansDebut = -2;   ///< no partition start: the first blocks are cleared, nothing is cut
constexpr int kSeparePasHybride = -3;  ///< no hybrid image: nothing was changed
constexpr int kSeparePartage = -4;     ///< ISO files lie in the partition, and were to be kept
constexpr int kSepareEcriture = -5;    ///< a read or a write failed; the file is as it was

/// Clears the map of a hybrid image and cuts the partition off. Asks when files of the ISO side would go with
/// it. One of the results above.
[[nodiscard]] int deshybridation(const std::string &chemin);

/// The file opened to be changed; its read-only attribute is cleared where that is what keeps it shut.
/// Closed on failure (`errno` tells).
[[nodiscard]] Fichier ouvre_modifiable(const std::string &chemin);

/// Where the files and folders of a primary tree lie.
enum class Etendue { dedans, dehors, illisible };
/// `dedans` when all lie in the first `limite` bytes, `illisible` when there is no tree that can be walked.
[[nodiscard]] Etendue etendue_iso(const Fichier &image, std::uint64_t limite);

}  // namespace varnion
