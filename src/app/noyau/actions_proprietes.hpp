#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "projet/arborescence.hpp"
#include "projet/fichier_projet.hpp"

// The properties of the items of a project and of the project itself, the same for the command line and for
// the window. Every failure was told to the user.

namespace varnion {

/// What is to be set of an item; what is absent stays.
struct ChangementsRubrique {
  std::optional<std::string> type, createur;  ///< Mac Roman, 4 bytes each; of files only
  std::optional<bool> cache_iso, cache_hfs;
  std::optional<bool> dans_iso, dans_hfs;
  std::optional<bool> extension_cachee, icone, manquant, rafraichir;
  bool entree_manquante = false;  ///< a view that the item enters marks its source as missing
  bool decodage = false;          ///< a MacBinary or BinHex file becomes a plain file of the PC

  [[nodiscard]] bool vues() const { return dans_iso || dans_hfs; }
};

/// A type or creator of at most 4 characters of working text in Mac Roman, padded with blanks.
[[nodiscard]] std::string code_mac(std::string_view texte);
/// True for what comes from a folder of the disk: it has contents to look through.
[[nodiscard]] bool rafraichissable(const RubriqueProjet &rubrique);

/// Sets all but the memberships in a record.
void applique_changements(RubriqueProjet &rubrique, const ChangementsRubrique &changements);
/// The memberships of the item at a rank (0: the root, for what lies below it), whose folders are opened in
/// them. All below a folder takes the memberships that the folder has then.
[[nodiscard]] bool change_vues(FichierProjet &projet, std::uint64_t rang, RubriqueProjet rubrique,
                               const ChangementsRubrique &changements);
/// Both, for one item.
[[nodiscard]] bool change_rubrique(FichierProjet &projet, std::uint64_t rang, RubriqueProjet rubrique,
                                   const ChangementsRubrique &changements);
/// Runs over all items below a folder, each folder once, and rewrites them.
[[nodiscard]] bool pour_sous_arbre(FichierProjet &projet, std::uint32_t dossier,
                                   const std::function<void(RubriqueProjet &)> &change);

// --- names

/// Bytes of a name in a view.
[[nodiscard]] std::size_t limite_nom(const FichierProjet &projet, int vue);
/// False, after a message, when a sibling bears the name in that view. Case does not tell names apart.
[[nodiscard]] bool nom_libre(const FichierProjet &projet, const RubriqueProjet &rubrique,
                             const std::string &nom, int vue);
/// True when an item may bear the name in a view (the Hybrid view: in both); else the user was told.
[[nodiscard]] bool nom_accepte(const FichierProjet &projet, const RubriqueProjet &rubrique,
                               const std::string &nom, int vue);
/// Renames an item in a view whose rules the name was tested by.
[[nodiscard]] bool renomme_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique,
                                    const std::string &nom, int vue);

// --- the project

/// Changes the format of the Macintosh side: the names take the other form at once. Refused (1472) when
/// classic HFS cannot number the items; a name that the user gives up leaves the project as it was.
[[nodiscard]] bool passe_au_format(FichierProjet &projet, bool hfsplus, bool force = false);

}  // namespace varnion
