#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/noyau/arguments.hpp"
#include "app/noyau/console.hpp"
#include "compil/compilation.hpp"
#include "projet/arborescence.hpp"
#include "projet/fichier_projet.hpp"
#include "projet/inclusion.hpp"

// What a command does to a project, the same for a letter and for a readable command. Every failure was told
// to the user when a function here gives false, 0 or nullopt.

namespace varnion {

// --- words of the command line
// ------------------------------------------------------------------------------------

/// A path given in UTF-8 as working text that opens; nullopt after message 1385.
[[nodiscard]] std::optional<std::string> chemin_argument(std::string_view utf8);
/// A name or label typed by the user; nullopt, after a message, when a project cannot hold its characters.
[[nodiscard]] std::optional<std::string> texte_argument(std::string_view utf8);
/// The path with its extension replaced, or added where it has none.
[[nodiscard]] std::string chemin_extension(const std::string &chemin, std::string_view extension);
/// The paths in a list file, one a line, in UTF-8; a line that is not UTF-8 reads as working text.
[[nodiscard]] std::optional<std::vector<std::string>> lit_liste(std::string_view chemin);

// --- documents
// ------------------------------------------------------------------------------------------------

/// Project or ISO+ project by the extension; nullopt after message 1386.
[[nodiscard]] std::optional<ModeProjet> genre_projet(const std::string &chemin);
[[nodiscard]] std::optional<FichierProjet> ouvre_projet(const std::string &chemin);
/// To look only: no backup copy, nothing written.
[[nodiscard]] std::optional<FichierProjet> consulte_projet(const std::string &chemin);
/// A new project; `hfsplus` overrides the format of the settings.
[[nodiscard]] std::optional<FichierProjet> cree_projet(const std::string &chemin,
                                                       std::optional<bool> hfsplus = {});
/// Saves the head and closes.
[[nodiscard]] bool enregistre_projet(FichierProjet &projet);
/// False, after a message, when the file is there and `force` is not set, or when it is a device or a pipe.
[[nodiscard]] bool cible_libre(const std::string &chemin, bool force);

// --- content
// --------------------------------------------------------------------------------------------------

/// The item that a path means: by the names of `vue` first, then by those of the source, of the ISO view and
/// of the HFS view. "" and "/" mean the root.
[[nodiscard]] std::optional<ElementTrouve> trouve_element(const FichierProjet &projet,
                                                          std::string_view chemin, int vue);
/// The folder of that path; levels that are missing are made without source, those that are there are opened
/// in `vue`. 0 on failure.
[[nodiscard]] std::uint32_t fait_dossier(FichierProjet &projet, std::string_view chemin, int vue);

struct BilanAjout {
  std::uint64_t dossiers = 0, fichiers = 0;
  std::uint64_t manques = 0;  ///< messages about what is not in
  bool abouti = false;        ///< neither stopped nor failed: the project has the rest

  [[nodiscard]] bool complet() const { return abouti && manques == 0; }
};
/// Includes files and folders (UTF-8) in a folder of the project; in a view other than the Hybrid one they
/// appear in that view only. A path that ends in "/*.*" gives the content of its folder.
[[nodiscard]] BilanInclusion inclut_sources(FichierProjet &projet, std::span<const std::string> chemins,
                                            std::uint32_t dossier, int vue, const OptionsInclusion &options);
/// The same for the command line, which counts the messages.
[[nodiscard]] BilanAjout ajoute_sources(FichierProjet &projet, std::span<const std::string> chemins,
                                        std::uint32_t dossier, int vue, const Console &console);

/// Bytes of the labels of a project.
[[nodiscard]] std::size_t limite_label_iso(const FichierProjet &projet);
[[nodiscard]] std::size_t limite_label_hfs(const FichierProjet &projet);
/// Sets labels, in working text; an empty one becomes "Untitled". Nothing is set when one is too long.
[[nodiscard]] bool pose_labels(FichierProjet &projet, const std::optional<std::string> &iso,
                               const std::optional<std::string> &hfs);

/// Loads the signature table: `choisi` (UTF-8) when given, else the file of the settings, else the only
/// "*.sig" of the current folder, else "varnion.sig" beside the program or in its data folder. False only for
/// a chosen file that cannot be read.
[[nodiscard]] bool prepare_signatures(const std::optional<std::string> &choisi);
/// The same with the file of the option "signatures".
[[nodiscard]] bool prepare_signatures(const Arguments &arguments);
/// The same before a compile: only for a project that is rebuilt first, or where the option names a file.
[[nodiscard]] bool prepare_signatures(const Arguments &arguments, const FichierProjet &projet);

/// Compiles with progress on the console and the closing line on `sortie`. `manques` counts what did not even
/// come into the project. Exit status.
[[nodiscard]] int compile_vers(FichierProjet &projet, const DemandeCompilation &demande, Console &console,
                               std::ostream &sortie, std::uint64_t manques = 0);

}  // namespace varnion
