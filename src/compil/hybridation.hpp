#pragma once

#include <cstdint>
#include <string>

#include "IO/fichier.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/iodmg.hpp"

// An existing ISO 9660 image and an existing partition image become one hybrid image, and back. The partition
// goes behind the end of the ISO image, the partition map into the sectors that ISO 9660 leaves to the system
// (ECMA-119 6.2.1). The forms that end in "_vers" make a new file and leave both images as they are; the
// others change the ISO file in place, and until the last write it is put back as it was when anything fails.
// A form for a window reads a preview first, shows what will be overwritten or cut off, and then goes on
// without a question.

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
constexpr int kHybrideAmorce = -12;     ///< something stands where the map goes, and was to be kept
constexpr int kHybrideCible = -13;      ///< the target cannot be made (`errno`; EEXIST: its name is taken)
constexpr int kHybrideMemes = -14;      ///< the target is one of the two images

/// A new file for the result.
struct CibleImage {
  std::string chemin;
  Ecrasement ecrasement = Ecrasement::jamais;
  bool force = false;  ///< what the preview tells of is accepted: no question
};

/// What joining would do.
struct ApercuHybride {
  int resultat = kHybrideFaite;  ///< or why it is refused
  std::uint64_t iso = 0;         ///< bytes of the ISO side
  std::uint64_t partition = 0;   ///< bytes that go behind it
  bool amorce = false;  ///< boot code, or anything that is not zero, stands where the map goes: it is lost
  bool brute = false;   ///< raw sectors become sectors of 2048 bytes
  bool plus_qu_un_cd = false;  ///< longer than a normal CD-ROM
  [[nodiscard]] std::uint64_t total() const { return iso + partition; }
};
/// Reads both images; nothing is told, asked or changed. The partition image is a plain one.
[[nodiscard]] ApercuHybride apercu_hybridation(const Fichier &partition, const std::string &iso);

/// Byte where the first partition of type "Apple_HFS" begins; 0 without one, -1 when there is no map.
[[nodiscard]] std::int64_t position_apple_hfs(const Fichier &partition);

/// Joins an open partition image to an ISO file in place, with the questions of the desktop; every refusal is
/// told to the user here. One of the results above.
[[nodiscard]] int hybridation(const Fichier &partition, const std::string &chemin_iso);
/// Joins an open partition image and an ISO image to a new file. Asks only whether what stands in the place
/// of the map may be lost. One of the results above; nothing is told but the status.
[[nodiscard]] int hybridation_vers(const Fichier &partition, const std::string &chemin_iso,
                                   const CibleImage &cible);

/// The same two for a batch, from path to path: in place where `cible` has no path. Compressed partition
/// images are expanded first. Nothing is told but the status. `expansion`, when given, tells why an expansion
/// failed.
[[nodiscard]] int hybridation_fichiers(const std::string &partition, const std::string &iso,
                                       ResultatDmg *expansion = nullptr, const CibleImage &cible = {});

// Results of a deshybridation.
constexpr int kSepareFaite = 0;
constexpr int kSepareFermee = -1;      ///< the file cannot be opened
constexpr int kSepareSansDebut = -2;   ///< no partition start: nothing was changed
constexpr int kSeparePasHybride = -3;  ///< no hybrid image: nothing was changed
constexpr int kSeparePartage = -4;     ///< ISO files lie in the partition, and were to be kept
constexpr int kSepareEcriture = -5;    ///< a read or a write failed; the file is as it was
constexpr int kSepareCible = -6;       ///< the target cannot be made (`errno`; EEXIST: its name is taken)
constexpr int kSepareMemes = -7;       ///< the target is the image itself
constexpr int kSepareArret = -8;       ///< stopped by the user
constexpr int kSeparePlace = -9;       ///< not enough free space

/// What parting would do.
struct ApercuSeparation {
  int resultat = kSepareFaite;  ///< or why it is refused
  std::uint64_t garde = 0;      ///< bytes that stay: the ISO side
  std::uint64_t coupe = 0;      ///< bytes that are cut off: the partition
  std::uint64_t efface = 0;     ///< bytes at the start that become zero: the map
  bool partage = false;         ///< files of the ISO side lie in what is cut off and are lost
};
/// Reads the image; nothing is told, asked or changed.
[[nodiscard]] ApercuSeparation apercu_separation(const std::string &chemin);

/// Clears the map of a hybrid image and cuts the partition off, in place. Nothing is written before the file
/// is known to hold an ISO tree and a map with the partition. Asks when files of the ISO side would go with
/// it, unless `force` is set. One of the results above.
[[nodiscard]] int deshybridation(const std::string &chemin, bool force = false);
/// Writes the ISO side of a hybrid image to a new file.
[[nodiscard]] int deshybridation_vers(const std::string &chemin, const CibleImage &cible);

/// The file opened to be changed; its read-only attribute is cleared where that is what keeps it shut.
/// Closed on failure (`errno` tells).
[[nodiscard]] Fichier ouvre_modifiable(const std::string &chemin);

/// Where the files and folders of a primary tree lie.
enum class Etendue { dedans, dehors, illisible };
/// `dedans` when all lie in the first `limite` bytes, `illisible` when there is no tree that can be walked.
[[nodiscard]] Etendue etendue_iso(const Fichier &image, std::uint64_t limite);

}  // namespace varnion
