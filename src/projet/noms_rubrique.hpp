#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "projet/format.hpp"

// Views and names of one item that enters a project.

namespace varnion {

constexpr std::uint32_t kVnOptionTronque =
    0x2;  ///< word `VN-Options`: too long names are cut without a question

/// Answers that stay in force during one operation: 0 ask, 1 yes to all, -1 no to all.
struct ReponsesVues {
  int mac = 0;    ///< MacBinary or BinHex file in the ISO view (1048)
  int apple = 0;  ///< AppleDouble or AppleSingle file in the ISO view (1049)
  int exe = 0;    ///< program of the PC in the HFS view (1050)

  /// The answers of a batch run: yes to all.
  [[nodiscard]] static constexpr ReponsesVues lot() { return {1, 1, 1}; }
};

/// Names that are cut without a question until the program ends. The truncation form sets the flag of its
/// kind, told by its caption, before `demander_nom` returns.
struct TroncatureNoms {
  bool iso = false;
  bool hfs = false;
  bool hfsplus = false;
};
[[nodiscard]] TroncatureNoms &troncature_noms();

/// Sets both view fields of an item of a hybrid project. `vue` is the view of its folder (0 ISO, 1 both, 2
/// HFS). The coding flags, `nom_source` and `chemin` are set before. May ask 1048, 1049 or 1050.
void choix_vue(RubriqueProjet &rubrique, int vue, ReponsesVues &reponses);

/// What `noms_rubrique` needs to know of the project.
struct ReglesNoms {
  bool hybride = true;   ///< false: ISO+ project, the HFS name is left alone
  bool hfsplus = false;  ///< format of the HFS side
};

/// Makes `nom_iso` and `nom_hfs` from a source name in working text, after `choix_vue`. A name that is too
/// long is cut or asked for; one that the user gives up becomes "~" and its item leaves that view.
void noms_rubrique(RubriqueProjet &rubrique, std::string_view nom, const ReglesNoms &regles);

}  // namespace varnion
