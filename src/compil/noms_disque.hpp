#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "IO/plateforme.hpp"
#include "projet/format.hpp"

namespace varnion {

/// Bytes of an item's name in the two trees of the ISO side, from the project alone (upper bound where the
/// source decides).
struct LongueursNoms {
  std::size_t iso = 0;
  std::size_t joliet = 0;
};
[[nodiscard]] LongueursNoms longueurs_noms(const RubriqueProjet &rubrique);

/// Short name of a source; the long name in upper case where there is no other.
[[nodiscard]] std::string nom_court_de(const plateforme::DonneesRecherche &donnees);

/// Identifiers of one directory of the ISO tree. The rules of the names do not compare them with one another,
/// and two sources can meet under one name; then, and only then, the later one takes "~" and a number at its
/// end, since a reader would reach the first only. The journal says so.
class NomsIso {
 public:
  /// The record's identifier bytes for a file or a folder.
  [[nodiscard]] std::string fichier(const plateforme::DonneesRecherche &donnees);
  [[nodiscard]] std::string dossier(const RubriqueProjet &rubrique,
                                    const plateforme::DonneesRecherche &donnees);

 private:
  std::string reserve(std::string nom, std::size_t limite);
  std::unordered_set<std::string> pris_;
  std::unordered_map<std::string, std::size_t> suivants_;  ///< last number given to a name met again
};

/// Identifier bytes (UCS-2 big-endian) in the Joliet tree. A folder shows its name on the disk; a file the
/// name of the ISO view, or its wide name where the code page cannot show that and nobody typed another.
[[nodiscard]] std::string nom_joliet_de(const RubriqueProjet &rubrique,
                                        const plateforme::DonneesRecherche &donnees);

}  // namespace varnion
