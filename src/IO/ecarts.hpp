#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// The two rules of the program. Under the published one, in force by default, what is written follows the
// published formats and what these allow is read. Under the classic one the bytes are those of the program's
// first release. They differ in the rows of one table, and the code asks for a row by name at the one place
// of each departure.

namespace varnion {

enum class Regle : std::uint8_t { publiee, classique };

/// The departures, in the order of the table.
enum class Ecart : std::uint8_t {
  // names and catalogs
  ordre_hfs,
  // volumes that a compile makes
  fourche_vide,
  blocs_comptes,
  volume_demonte,
  entete_secours,
  dates_hfsplus,
  // ISO 9660 and Joliet
  fiches_paires,
  ordre_iso,
  taille_iso,
  annees_iso,
  fourches_iso,
  labels_longs,
  noms_vue_iso,
  // sizes of trees
  table_clump,
};

/// One row. Its texts are three strings of the table: what the publication says and where, what the classic
/// rule does, what that means for a user.
struct FicheEcart {
  Ecart ecart;
  std::string_view nom;  ///< as `rules` prints it
  int textes;            ///< first of the three

  [[nodiscard]] int publication() const { return textes; }
  [[nodiscard]] int classique() const { return textes + 1; }
  [[nodiscard]] int pour_qui() const { return textes + 2; }
};

[[nodiscard]] std::span<const FicheEcart> fiches_ecarts();

[[nodiscard]] Regle regle();
void fixer_regle(Regle regle);

/// True when the published rule holds at this departure.
[[nodiscard]] bool publie(Ecart ecart);

}  // namespace varnion
