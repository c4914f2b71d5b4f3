#pragma once

#include <cstdint>
#include <string>

#include "IO/fichier.hpp"
#include "IO/fichier_voisin.hpp"

// Images of raw CD-ROM sectors (ECMA-130): 2352 bytes with sync, address, mode, data and checks.

namespace varnion {

constexpr std::uint32_t kSecteurBrut = 2352;

/// Where the primary volume descriptor begins: 0x8000, or its place among raw sectors; -1 for neither.
[[nodiscard]] std::int64_t position_iso(const Fichier &fichier);

/// False for a file whose raw sectors do not hold their data where mode 1 or mode 2 form 1 has them: there
/// the redocking would leave nothing to be read. True for 2048-byte sectors.
[[nodiscard]] bool redocking_possible(const Fichier &fichier, std::int64_t position);

/// Byte of the file where the data of the first sector begin.
[[nodiscard]] std::uint64_t debut_donnees(const Fichier &fichier, std::int64_t position);

/// Turns a raw image into one of 2048-byte sectors, in place from its start; what was behind stays.
/// `position` is that of `position_iso`. New length of the data in bytes; -1 when a read or a write fails
/// (`errno` tells).
[[nodiscard]] std::int64_t redocking(const Fichier &fichier, std::uint64_t longueur, std::int64_t position);

// Results of the track routines. Where a read or a write failed, `errno` tells.
constexpr int kPisteFaite = 0;
constexpr int kPisteSource = -1;     ///< the image cannot be opened
constexpr int kPisteCible = -2;      ///< the target cannot be opened or made
constexpr int kPisteSansCarte = -3;  ///< the image has no partition map
constexpr int kPisteTable = -4;      ///< the target is no Video CD image
constexpr int kPisteEcriture = -5;   ///< a read or a write failed
constexpr int kPisteArret = -6;      ///< stopped by the user
constexpr int kPisteLongue = -7;     ///< more sectors than an address has minutes for

/// Writes the first `longueur` bytes of a hybrid image as a track of raw sectors, mode 1 or mode 2 form 1.
/// The target takes the place of a file of that name when it is whole.
[[nodiscard]] int piste_brute(const std::string &iso, const std::string &cible, int mode,
                              std::uint64_t longueur, Ecrasement ecrasement = Ecrasement::toujours);

/// Puts the first `longueur` bytes of a hybrid image into a Video CD image (one file of raw sectors), behind
/// its ISO track, and moves the video tracks. The image of before stays as ".BAK", its cue sheet as ".BAC";
/// on failure both get their names back.
[[nodiscard]] int piste_video(const std::string &iso, std::uint64_t longueur, const std::string &cible);

}  // namespace varnion
