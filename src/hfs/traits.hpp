#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "hfs/arbre.hpp"
#include "hfs/fiches.hpp"
#include "noms/unicode.hpp"

// What differs between the two catalogs; the templates of the sources are written over these.

namespace varnion {

/// Key of a catalog record, its name still in the record.
template <typename Nom>
struct Cle {
  std::uint32_t parent = 0;
  Nom nom{};
};

struct TraitsHfs {
  using Nom = std::string_view;
  using CleLue = Cle<Nom>;
  static constexpr std::size_t kTailleCleIndex =
      38;  ///< key slot of an index record: length byte 37 and its bytes
  static constexpr std::size_t kIdDeDossier = 6;  ///< catalog id in the data of a folder
  static constexpr std::size_t kIdDeFichier = 20;
  static constexpr std::size_t kParentDeFil = 10;
  static constexpr bool kFeuilleSeuleEnFin = true;  ///< an append that does not fit gets a leaf of its own

  static std::optional<CleLue> cle(std::span<const std::uint8_t> fiche);
  /// Bytes of the key with its length byte; 0 when it does not lie inside the record.
  static std::size_t taille_cle(std::span<const std::uint8_t> fiche);
  static std::size_t debut_donnees(std::span<const std::uint8_t> fiche);
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) { return fils_hfs(fiche); }
  static int type(std::span<const std::uint8_t> fiche) { return type_hfs(fiche); }
  static Nom nom_du_fil(std::span<const std::uint8_t> donnees);

  static int compare(Nom a, Nom b);
  static int compare_motif(Nom motif, Nom nom);
  static bool commence_par_etoile(Nom motif) { return !motif.empty() && motif.front() == '*'; }
  static bool contient_etoile(Nom motif) { return motif.find('*') != Nom::npos; }
  static std::uint16_t premiere_unite(Nom nom) {
    return nom.empty() ? 0 : static_cast<std::uint8_t>(nom.front());
  }

  static std::size_t place_feuille(std::span<const std::uint8_t> cle, std::size_t donnees) {
    return cle[0] + donnees + 8;
  }
  static bool cle_admise(std::span<const std::uint8_t> cle) { return cle[0] < kTailleCleIndex; }
  static std::size_t taille_index(std::span<const std::uint8_t>) { return kTailleCleIndex + 4; }
  static int garde_feuille(int nombre) { return nombre - nombre / 2; }
};

struct TraitsHfsPlus {
  using Nom = std::span<const be16>;
  using CleLue = Cle<Nom>;
  static constexpr std::size_t kCleMax = 516;
  static constexpr std::size_t kIdDeDossier = 8;
  static constexpr std::size_t kIdDeFichier = 8;
  static constexpr std::size_t kParentDeFil = 4;
  static constexpr bool kFeuilleSeuleEnFin = false;

  static std::optional<CleLue> cle(std::span<const std::uint8_t> fiche);
  static std::size_t taille_cle(std::span<const std::uint8_t> fiche);
  static std::size_t debut_donnees(std::span<const std::uint8_t> fiche) { return taille_cle(fiche); }
  static std::uint32_t fils(std::span<const std::uint8_t> fiche) { return fils_hfsplus(fiche); }
  static int type(std::span<const std::uint8_t> fiche) { return type_hfsplus(fiche); }
  static Nom nom_du_fil(std::span<const std::uint8_t> donnees);

  /// FastUnicodeCompare, or by units in a tree whose header asks for binary compare (HFSX).
  static int compare(Nom a, Nom b);
  static int compare_motif(Nom motif, Nom nom);
  static bool commence_par_etoile(Nom motif) { return !motif.empty() && motif.front() == '*'; }
  static bool contient_etoile(Nom motif) {
    return std::any_of(motif.begin(), motif.end(), [](std::uint16_t unite) { return unite == '*'; });
  }
  static std::uint16_t premiere_unite(Nom nom) {
    return nom.empty() ? std::uint16_t{0} : std::uint16_t{nom.front()};
  }

  static std::size_t place_feuille(std::span<const std::uint8_t> cle, std::size_t donnees) {
    return taille_cle(cle) + donnees + 8;
  }
  static bool cle_admise(std::span<const std::uint8_t> cle) { return taille_cle(cle) <= kCleMax + 2; }
  static std::size_t taille_index(std::span<const std::uint8_t> cle) { return taille_cle(cle) + 4; }
  static int garde_feuille(int nombre) { return 2 * (nombre / 3); }
};

/// Order of two catalog keys: parent, then name by the plain compare of the format.
template <typename Traits>
[[nodiscard]] int compare_cles(const typename Traits::CleLue &a, const typename Traits::CleLue &b) {
  if (a.parent != b.parent) return a.parent < b.parent ? -1 : 1;
  return Traits::compare(a.nom, b.nom);
}

/// Node of height `niveau` on the way to `cle`, by plain compare: in each index node the child of the first
/// equal key, else the last one below.
template <typename Traits>
[[nodiscard]] OctetsNoeud descend_cle(std::uint8_t niveau, const typename Traits::CleLue &cle);

/// Leaf and `index` where a record with this key goes, for any parent (`cherche_place_*` treats parent 1
/// apart).
template <typename Traits>
[[nodiscard]] OctetsNoeud place_de_cle(const typename Traits::CleLue &cle);

/// The index record of height `niveau` that points to `fils`, found by the first key of `fils`.
template <typename Traits>
[[nodiscard]] OctetsNoeud index_de_fils(std::uint8_t niveau, std::uint32_t fils,
                                        const typename Traits::CleLue &cle);

}  // namespace varnion
