#pragma once

#include <cstdint>
#include <string>

#include "IO/requete.hpp"

// What may be changed on the mounted volume. Here, and nowhere else, is decided why a volume is read only:
// `support().lecture_seule` holds the reason, `texte_interdit` its words. The header is judged at the mount,
// the trees once before the first change.

namespace varnion {

/// Why the mounted volume may not be changed, as far as that is known.
[[nodiscard]] Interdit interdit_volume();
/// The same in words, to stand behind a colon; "" when it may be changed.
[[nodiscard]] std::string texte_interdit();

/// Holds header and journal against image and partition map. A reason goes to `lecture_seule`. Once for a
/// mount.
void juge_entete();
/// Reads both trees and the ISO side of the image: at most once for a mount. A reason goes to
/// `lecture_seule`, one that may be forced only where it has not been.
void juge_structure();
/// Both, and the message when there is a reason that was not known before. True when changes are allowed.
[[nodiscard]] bool admet_changements();

/// The user wants to change this volume although its structures are damaged; holds until the next mount.
void force_abimes();
/// A list has met a node of the catalog that is damaged.
void note_catalogue_abime(std::uint32_t noeud);

/// Catalog ids up to this one are in use; 0 before the trees have been read.
[[nodiscard]] std::uint32_t dernier_id_pris();

/// Forgets what was found; at each mount.
void oublie_garde();

}  // namespace varnion
