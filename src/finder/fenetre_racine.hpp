#pragma once

#include <string>
#include <string_view>

#include "finder/ds_store.hpp"
#include "projet/arborescence.hpp"
#include "projet/fichier_projet.hpp"

// The window of the disc's root, between a project and its `.DS_Store`.

namespace varnion {

constexpr std::string_view kNomDsStore = ".DS_Store";

/// What an editor of the window works on.
struct FenetreRacine {
  ValeursFenetre valeurs;
  bool lue = false;    ///< the root had a `.DS_Store` of this program: saving replaces it and its folder
  std::string chemin;  ///< PC path of the item `.DS_Store` of the root; "" for none
};

/// False, after message 1037, while the volume is still called "Untitled": the alias of a picture names it.
[[nodiscard]] bool label_precise(const FichierProjet &projet);

/// The `.DS_Store` features need HFS+: after message 1542 a project of another format takes it, with all its
/// names. False on an error; the user was told.
[[nodiscard]] bool exige_hfsplus(FichierProjet &projet);

/// The items of the root in the HFS view, in the order of the project; names that begin with "." are left
/// out. All places are 0.
[[nodiscard]] std::vector<ElementFenetre> elements_racine(const FichierProjet &projet);

/// The defaults, with the items on the grid.
[[nodiscard]] ValeursFenetre valeurs_defaut(const FichierProjet &projet);

/// Reads the `.DS_Store` that an item stands for. Items that it names and the root lacks are left out; those
/// that it does not name follow on the grid. 0, or -1, with the values as they were, after message 1385 or
/// 1538.
[[nodiscard]] int lit_ds_store(const FichierProjet &projet, const RubriqueProjet &rubrique,
                               ValeursFenetre &valeurs);

/// The window as the project has it: from its `.DS_Store`, else the defaults.
[[nodiscard]] FenetreRacine ouvre_fenetre_racine(const FichierProjet &projet);

/// Where the file is offered to be saved: the one that the project has, else one named after the project
/// beside it.
[[nodiscard]] std::string chemin_propose(const FichierProjet &projet, const FenetreRacine &fenetre);

/// Takes a picture for the background, and its size for the window. False, after a message and with nothing
/// changed, for a file that cannot be read or is larger than a window. "" takes the picture away.
[[nodiscard]] bool prend_image(ValeursFenetre &valeurs, const std::string &chemin);

/// Saves: the picture goes into the folder ".!Background" of the root, the window into the PC file `chemin`
/// (working text, replaced when it is there), and that file into the root as ".DS_Store", all in the HFS view
/// only. `fenetre` is then as if it had been read anew. False after a message, with the project as it was;
/// the head is the caller's to save.
[[nodiscard]] bool ecrit_ds_store(FichierProjet &projet, FenetreRacine &fenetre, const std::string &chemin);

}  // namespace varnion
