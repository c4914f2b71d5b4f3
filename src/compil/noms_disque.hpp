#pragma once

#include <cstdint>
#include <string>
#include <string_view>
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

/// How a file of an ISO+ project reaches the disc, by its coding on the PC.
enum class FormeApple {
  simple,       ///< the source as it is: one record
  appledouble,  ///< forks from the source and its companion
  applesingle,
  macbinaire,  ///< MacBinary and BinHex
  absente,     ///< forks in streams of the PC: such a file has no record and no data in this kind of image
};
[[nodiscard]] FormeApple forme_apple(const RubriqueProjet &rubrique);

/// The same for the two records of a file of an ISO+ project; `ressource_iso` 0 when it has the data record
/// alone.
struct LongueursApple {
  std::size_t ressource_iso = 0;
  LongueursNoms data;
};
[[nodiscard]] LongueursApple longueurs_noms_apple(const RubriqueProjet &rubrique);

/// Short name of a source; the long name in upper case where there is no other.
[[nodiscard]] std::string nom_court_de(const plateforme::DonneesRecherche &donnees);

/// True when both trees of the ISO side follow the name of the ISO view: it was typed there, or the folder
/// has no source. Under the classic rule the Joliet name of a file alone does.
[[nodiscard]] bool suit_vue_iso(const RubriqueProjet &rubrique);

/// Identifiers of one directory of the ISO tree: the 8.3 name of the source, or of the name typed in the ISO
/// view, in d-characters. The rules of the names do not compare them with one another, and two sources can
/// meet under one name; then, and only then, the later one takes "_" ("~" under the classic rule) and a
/// number at its end, since a reader would reach the first only. Versions are not compared: readers leave
/// them out. The journal says so.
class NomsIso {
 public:
  /// The record's identifier bytes for a file or a folder.
  [[nodiscard]] std::string fichier(const RubriqueProjet &rubrique,
                                    const plateforme::DonneesRecherche &donnees);
  [[nodiscard]] std::string dossier(const RubriqueProjet &rubrique,
                                    const plateforme::DonneesRecherche &donnees);

  /// Identifiers of the two records of a file of an ISO+ project: one for both (ECMA-119 9.1.6), `ressource`
  /// empty where there is no such record. Under the classic rule the resource record is named after the whole
  /// source name and the data record after the short one, so that the two are equal for 8.3 names only; a
  /// plain file, one record, goes by the source name. All are cut to 12 characters.
  struct Paire {
    std::string ressource, data;
  };
  [[nodiscard]] Paire fichier_apple(const RubriqueProjet &rubrique,
                                    const plateforme::DonneesRecherche &donnees);

 private:
  std::string reserve(std::string nom, std::size_t point, std::size_t limite);
  std::string reserve_apple(std::string nom);
  std::unordered_set<std::string> pris_;
  std::unordered_map<std::string, std::size_t> suivants_;  ///< last number given to a name met again
};

/// Name of one item in the Joliet tree.
struct NomJoliet {
  std::string octets;  ///< identifier (UCS-2 big-endian)
  std::string change;  ///< working text of the name, where another item had the first choice; else empty
};

/// Identifiers of one directory of the Joliet tree. Names that differ in the project or on the disk can
/// become equal on the way: what Joliet forbids becomes "_", what no code page shows "?", long ones are cut,
/// and the name inside a container is free to equal that of a neighbour. A reader would reach the first only:
/// then, and only then, the later one takes "~" and a number ahead of its extension. Versions are not
/// compared.
class NomsJoliet {
 public:
  /// A folder shows its name on the disk; a file the name of the ISO view, or its wide name where the code
  /// page cannot show that and nobody typed another.
  [[nodiscard]] NomJoliet place(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees);
  /// Both records of a file of an ISO+ project.
  [[nodiscard]] NomJoliet place_apple(const RubriqueProjet &rubrique,
                                      const plateforme::DonneesRecherche &donnees, bool hfsplus);

 private:
  NomJoliet reserve(const std::u16string &nom, std::size_t version);
  std::unordered_set<std::u16string> pris_;                   ///< without versions
  std::unordered_map<std::u16string, std::size_t> suivants_;  ///< last number given to a name met again
};

}  // namespace varnion
