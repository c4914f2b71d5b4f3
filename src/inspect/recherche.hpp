#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "inspect/source.hpp"

// Search for bytes in a source, in large blocks. Bytes are compared as they are: upper and lower case differ.

namespace varnion {

/// The bytes to look for: a text that begins with "0x" or "0X" gives its hexadecimal digits, in pairs,
/// blanks between them allowed; any other gives its own bytes. nullopt for an empty text and for what is no
/// row of pairs.
[[nodiscard]] std::optional<std::string> motif_recherche(std::string_view texte);

struct DemandeRecherche {
  std::string motif;           ///< bytes, not empty
  std::uint64_t depuis = 0;    ///< first byte where a match may begin
  std::int64_t dernier = -1;   ///< last sector where a match may begin, -1 for the last of the source
  bool debut_secteur = false;  ///< only the first bytes of sectors are compared
};

/// Where to start so that the match at byte `trouvee` is left behind, or, without one (-1), with sector
/// `courant`. A search at the start of sectors looks at the sectors behind `courant` only.
[[nodiscard]] std::uint64_t depart_recherche(const SourceSecteurs &source, std::int64_t courant,
                                             std::int64_t trouvee, bool debut_secteur);

/// Called with the sector reached, once for each block; false stops.
using SuiviRecherche = std::function<bool(std::uint64_t secteur)>;
/// Gets the first byte of each match in order; false ends the search. Matches may overlap.
using VisiteTrouvaille = std::function<bool(std::uint64_t position)>;

enum class EtatRecherche {
  trouve,  ///< one match at least
  absent,
  arrete,     ///< the follower gave false
  illisible,  ///< no match, and not all of the source could be read
};

struct ResultatRecherche {
  EtatRecherche etat = EtatRecherche::absent;
  std::uint64_t position = 0;  ///< of the first match
  std::uint64_t nombre = 0;    ///< matches given to the visitor
};

/// Looks through the source as the dump shows it: whole sectors, the last one filled up with zeros. Sectors
/// that cannot be read count as zeros.
[[nodiscard]] ResultatRecherche cherche(const SourceSecteurs &source, const DemandeRecherche &demande,
                                        const VisiteTrouvaille &visite, const SuiviRecherche &suivi = {});
/// The first match alone.
[[nodiscard]] ResultatRecherche cherche_premier(const SourceSecteurs &source, const DemandeRecherche &demande,
                                                const SuiviRecherche &suivi = {});

}  // namespace varnion
