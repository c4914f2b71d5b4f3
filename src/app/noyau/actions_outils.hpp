#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "projet/fichier_projet.hpp"
#include "projet/rafraichissement.hpp"

// Searches in a project and the tools that change many of its items at once.

namespace varnion {

/// An item that a search found.
struct RubriqueTrouvee {
  std::uint32_t numero = 0;
  std::uint32_t dossier = 0;  ///< folder that holds it
  RubriqueProjet rubrique;
};

/// True when a name agrees with a text in which "*" stands for anything and "?" for one character. Case does
/// not count.
[[nodiscard]] bool agree_nom(std::string_view motif, std::string_view nom);

/// Files and folders of a view whose name there agrees with a text (`agree_nom`), in file order; at most
/// `limite`, and fewer when the user stopped it.
[[nodiscard]] std::vector<RubriqueTrouvee> cherche_nom_projet(const FichierProjet &projet,
                                                              std::string_view motif, int vue,
                                                              std::size_t limite);
/// Files of a view whose type and creator agree with a text (`compare_signature`); `texte` is Mac Roman.
[[nodiscard]] std::vector<RubriqueTrouvee> cherche_signature_projet(const FichierProjet &projet,
                                                                    std::string_view texte, int vue,
                                                                    std::size_t limite);
/// Where a folder of a project lies, by the names of a view: "A/B", "" for the root.
[[nodiscard]] std::string chemin_dans_projet(const FichierProjet &projet, std::uint32_t dossier, int vue);

/// The access paths in a project, each once, in the order they are met; items without a source have none.
[[nodiscard]] std::vector<std::string> chemins_distincts(const FichierProjet &projet);

/// Cuts the extension off the HFS names of all items that the HFS view has: a last dot with one to four
/// characters behind it and something before it. Number of names changed; nullopt, after a message, when the
/// project cannot be written: it is as it was then.
[[nodiscard]] std::optional<std::uint64_t> masque_extensions_hfs(FichierProjet &projet);

/// The differences between a project and the disk, from its root down; new names are looked for where its
/// head says so. The estimate is counted anew. nullopt when the user stopped it or the project cannot be
/// read.
[[nodiscard]] std::optional<std::vector<Difference>> differences_avec_disque(FichierProjet &projet);

/// Gives an item another access path (working text, closed by a separator). A folder takes all that lies
/// below it along. False after a message, with the project as it was.
[[nodiscard]] bool deplace_source(FichierProjet &projet, std::uint32_t dossier, std::uint32_t numero,
                                  const std::string &chemin);

}  // namespace varnion
