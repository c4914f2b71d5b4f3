#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "fichiers/ecriture.hpp"
#include "inspect/lignes.hpp"
#include "inspect/source.hpp"

// A piece of a source saved to a PC file.

namespace varnion {

/// Bytes of the source. Behind its end, within the last sector, stand zeros.
struct Segment {
  std::uint64_t debut = 0;
  std::uint64_t fin = 0;  ///< behind the last byte
};

/// Sectors `premier` to `dernier`, both whole; nullopt when they are not in order or lie outside the source.
[[nodiscard]] std::optional<Segment> segment_secteurs(const SourceSecteurs &source, std::uint64_t premier,
                                                      std::uint64_t dernier);
/// Bytes `debut` up to `fin`; nullopt when they are not in order or lie behind the last sector.
[[nodiscard]] std::optional<Segment> segment_octets(const SourceSecteurs &source, std::uint64_t debut,
                                                    std::uint64_t fin);

/// Called with the bytes written so far; false stops.
using SuiviSegment = std::function<bool(std::uint64_t fait)>;

enum class ResultatSegment {
  fait,
  lecture,   ///< the source cannot be read
  ecriture,  ///< the target failed (`errno` tells)
  arret,     ///< the follower gave false
};

/// Writes the bytes, or with `aspect` the lines of a dump that begins with the first of them, each ended by
/// CR LF, to an open file from its start on.
[[nodiscard]] ResultatSegment ecrit_segment(const SourceSecteurs &source, const Segment &segment,
                                            const std::optional<AspectVidage> &aspect, const Fichier &cible,
                                            const SuiviSegment &suivi = {});
/// The same to a file of a folder (UTF-8 name), in the place of one of that name, which stays as it is until
/// the new one is whole. Failures but a stop are told to the user and leave no file.
[[nodiscard]] ResultatSegment enregistre_segment(const SourceSecteurs &source, const Segment &segment,
                                                 const std::optional<AspectVidage> &aspect,
                                                 const DossierSortie &dossier, const std::string &nom,
                                                 const SuiviSegment &suivi = {});

}  // namespace varnion
