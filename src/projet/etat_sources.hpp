#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "IO/plateforme.hpp"
#include "projet/fichier_projet.hpp"

// What stands on the disk where the items of a project say that their sources are.

namespace varnion {

/// The entries of one disk folder, listed once and found as the platform finds a path: by the long name, by
/// the short one, by the only name that differs in case alone.
class ListeDisque {
 public:
  explicit ListeDisque(const std::string &dossier);
  /// False when the folder could not be listed.
  [[nodiscard]] bool lue() const { return lue_; }
  /// The folder is not there, rather than closed to us.
  [[nodiscard]] bool absente() const { return absente_; }
  [[nodiscard]] const std::vector<plateforme::DonneesRecherche> &entrees() const { return entrees_; }
  [[nodiscard]] const plateforme::DonneesRecherche *trouve(std::string_view nom) const;
  /// A file named "._" and the name of that entry lies beside it.
  [[nodiscard]] bool a_compagnon(const plateforme::DonneesRecherche &entree) const;

 private:
  std::vector<plateforme::DonneesRecherche> entrees_;
  std::unordered_map<std::string, std::size_t> longs_, courts_;
  std::unordered_map<std::string, std::optional<std::size_t>> plies_;  ///< nullopt: several
  std::unordered_set<std::u16string> compagnons_;
  bool lue_ = false, absente_ = false;
};

enum class Presence : std::uint8_t { absent, fichier, illisible, dossier, virtuel };

struct EtatSource {
  Presence presence = Presence::absent;
  std::uint32_t longueur = 0;  ///< of a file, low 32 bits; 0 for one that does not open
  /// The file is not what its item says: another length, or, for one that is or became a Macintosh file by
  /// its coding, its companion or its streams, other forks.
  bool change = false;
};

/// The state of all sources, from one pass over the project and one listing of each disk folder.
class EtatsSources {
 public:
  explicit EtatsSources(const FichierProjet &projet);
  /// False when the user stopped it: the states are worth nothing then.
  [[nodiscard]] bool complets() const { return complets_; }
  [[nodiscard]] const EtatSource &rang(std::uint64_t rang) const;

 private:
  std::vector<EtatSource> etats_;  ///< by rank
  bool complets_ = true;
};

}  // namespace varnion
