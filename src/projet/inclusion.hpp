#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "IO/plateforme.hpp"
#include "projet/fichier_projet.hpp"
#include "projet/noms_rubrique.hpp"

// The inclusion scan: disk files and folders to items of a project. Nothing is copied, the project keeps
// paths. The whole tree is scanned into temporary files first and comes into the project in one merge at the
// end: a scan that is stopped or fails leaves the project as it was.
//
// What the disk has and the project cannot take (devices, pipes, sockets, links that lead nowhere or in a
// circle, companions without a file) is told by a line each, and counted in a closing message. A disk folder
// that links lead to a second time is taken once: a scan grows with the disk, never with the ways through it.
// A folder that a path names is taken all the same.

namespace varnion {

/// What a scan did. The counts are those of the whole tree but for the last two.
struct BilanInclusion {
  std::uint32_t dossier = 0;          ///< number of the folder that received the items
  std::uint64_t fichiers = 0;         ///< files added
  std::uint64_t dossiers = 0;         ///< folders added
  std::uint64_t echecs = 0;           ///< items left out with a message: unreadable, too large, path too long
  std::uint64_t ecartes = 0;          ///< of these, the items told by one line each and counted at the end
  std::uint64_t ignores = 0;          ///< items left out because the project has them already, or by rule
  std::uint64_t fichiers_niveau = 0;  ///< files added directly to `dossier`
  std::uint64_t dossiers_niveau = 0;  ///< folders added directly to `dossier`
  bool arrete = false;                ///< stopped by the user: the project is as it was
  bool echoue = false;                ///< failed, the user was told: the project is as it was

  [[nodiscard]] bool abouti() const { return !arrete && !echoue; }
};

struct OptionsInclusion {
  /// Answers to keep over several calls of one user operation; nullptr: fresh ones for this call.
  ReponsesVues *reponses = nullptr;
  /// Called for each item with the running counts.
  std::function<void(const BilanInclusion &)> avancement;
  /// Folder for a pattern without any separator.
  std::string dossier_defaut;
  /// Files that never come in, but for a log line.
  std::vector<plateforme::IdentiteFichier> sauf;
};

/// Scans what `motif` names (working text) into a folder of the project: one file or folder with all below
/// it, or, when it ends in "*.*", the content of a folder. Names that the folder has already are passed over
/// without a word. The counts of the folders, of `dossier` too, the running counters and the estimate follow.
BilanInclusion inclusion_arbre(FichierProjet &projet, std::string_view motif, std::uint32_t dossier,
                               const OptionsInclusion &options = {});

/// The drop command on paths in working text, relative ones counting from the current folder: each is tested
/// with `deja_present` (messages 1405 and 1406), all are scanned into one merge, and where the folder is not
/// in the current view its parents are opened in it. A path that does not exist is an error that names it. A
/// path ending in "*.*" gives the content of its folder.
BilanInclusion inclusion_chemins(FichierProjet &projet, std::span<const std::string> chemins,
                                 std::uint32_t dossier, const OptionsInclusion &options = {});
/// The same for one path.
BilanInclusion inclusion_chemin(FichierProjet &projet, std::string_view chemin, std::uint32_t dossier,
                                const OptionsInclusion &options = {});
/// The same for one path as the command line has it, in UTF-8.
BilanInclusion inclusion_chemin_utf8(FichierProjet &projet, std::string_view utf8, std::uint32_t dossier,
                                     const OptionsInclusion &options = {});

/// One of several inclusions that make one operation.
struct DemandeInclusion {
  std::uint32_t dossier = kRacine;  ///< a folder that the project has
  int vue = kVueRacine;             ///< its view code
  std::string motif;                ///< as for `inclusion_arbre`
  /// A finished record of a file, in the place of a path: it takes the next number and nothing else of it
  /// changes.
  std::optional<RubriqueProjet> prete = {};
};
/// The same for any number of folders, with one scan and one merge. Requests of one folder lie side by side.
/// A link to a folder that the project has already is left out.
BilanInclusion inclusion_demandes(FichierProjet &projet, std::span<const DemandeInclusion> demandes,
                                  const OptionsInclusion &options = {});

/// The order in which the names of a folder are scanned, as ranks into `noms`: without regard to case, equal
/// names by their bytes. A list longer than a run is sorted run by run, and the runs are merged by a plain
/// byte compare, which respects case; both are part of the rule. A run holds kOctetsLot / (longest name + 1)
/// names.
[[nodiscard]] std::vector<std::size_t> ordre_noms(std::span<const std::string> noms);
constexpr std::size_t kOctetsLot = 0x4FFFFF;

}  // namespace varnion
