#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "projet/fichier_projet.hpp"
#include "projet/nom_autre_format.hpp"

// The rules by which items enter, leave and change in a project. Counts of a folder (`lg_data` folders,
// `lg_rsrc` files) are kept by the functions that say so.

namespace varnion {

// --- views

/// View code of a folder: the root, a folder in both views, in neither or unknown 1; ISO only 0; HFS only 2.
[[nodiscard]] int vue_de_dossier(const FichierProjet &projet, std::uint32_t numero);
[[nodiscard]] int vue_de_rubrique(const RubriqueProjet &dossier);

/// Puts a new item in the views that a view code means (0 ISO, 1 both, 2 HFS); an ISO+ item in the ISO view
/// only.
void pose_vues(RubriqueProjet &rubrique, int vue, ModeProjet mode);

/// Sets both view fields of all items below a folder. A child folder is entered when its number is above that
/// of the folder that holds it. False on a write error.
[[nodiscard]] bool propage_vues(FichierProjet &projet, std::uint32_t dossier, std::uint8_t vue_iso,
                                std::uint8_t vue_hfs);

/// From a folder up to the root: a view field of 0 takes the given value when that is not 0. False on a write
/// error.
[[nodiscard]] bool ouvre_vues_parents(FichierProjet &projet, std::uint32_t dossier, std::uint8_t vue_iso,
                                      std::uint8_t vue_hfs);

// --- additions

/// Places one record: before the first of a greater `pere`, or of the same and a `nom_iso` not lower. The
/// running estimate follows; the counts of the folder do not. False on a write error, with the file as it
/// was; the user was told.
[[nodiscard]] bool insertion_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique);

/// A new folder without source in the current folder, in the current view; the parent's count follows, and
/// the parents are opened in its views when the current folder's view differs. Its number, 0 when it cannot
/// be made: empty name, name longer than 62 bytes, write error.
[[nodiscard]] std::uint32_t ajout_dossier_virtuel(FichierProjet &projet, std::string_view nom);

/// A new folder for one level of a disk path: `dossier` is the folder on the disk that holds it. As above, in
/// `pere`, with the dates of the folder on disk where there is one.
[[nodiscard]] std::uint32_t ajout_dossier_chemin(FichierProjet &projet, std::string_view dossier,
                                                 std::string_view nom, std::uint32_t pere);

/// Walks `chemin` (levels parted by "/" or "\") under the disk folder `base`, beginning in `pere`; a level
/// that is missing in the project is made. An empty `base` makes
/// folders without source. Number of the last level, 0 on failure.
[[nodiscard]] std::uint32_t creation_chemin(FichierProjet &projet, std::string_view base,
                                            std::string_view chemin, std::uint32_t pere);

/// The names in one folder, read once for any number of duplicate tests.
class NomsPresents {
 public:
  NomsPresents(const FichierProjet &projet, std::uint32_t pere);
  /// 0 the item may be added; 1 the name is there (ISO+ project); -1 the same source is there; -2 another
  /// source of the same name is there, in a view that `vue` shows. Case is ignored. `chemin` is the full path
  /// of the source.
  [[nodiscard]] int deja_present(std::string_view nom, std::string_view chemin, int vue) const;
  /// True when the item of that name has this very source.
  [[nodiscard]] bool meme_source(std::string_view nom, std::string_view chemin) const;
  /// Adds an item that was just put in the folder.
  void ajoute(const RubriqueProjet &rubrique);

 private:
  struct Presence {
    std::string chemin;  ///< folded
    bool dans_iso, dans_hfs;
  };
  ModeProjet mode_;
  std::unordered_map<std::string, std::vector<Presence>> noms_;  ///< by folded name
};

/// One test of a name; for many, use a `NomsPresents`.
[[nodiscard]] int deja_present(const FichierProjet &projet, std::string_view nom, std::string_view chemin,
                               std::uint32_t pere);
/// Shows the message of a result -1 (1405, with the path) or -2 (1406). 1 is told by 1405 in a window, by
/// nothing in a batch run.
void annonce_deja_present(int resultat, std::string_view chemin);

// --- deletions

enum class Suppression {
  introuvable,
  refusee,  ///< the user keeps the folder
  echec,    ///< read or write error; the user was told
  fichier,  ///< a file was removed
  dossier,  ///< a folder and its subtree were removed
};

/// The answer to "The folder is not empty" that stays in force: -1 no to all, 0 ask, 2 yes to all.
struct ReponsesProjet {
  int dossier_plein = 0;
};
[[nodiscard]] ReponsesProjet &reponses_projet();

/// Word `Options`: deletions ask no confirmation. The box "Delete without asking confirmation" of the
/// preferences stores another bit, which nothing reads.
constexpr std::uint32_t kOptionSansConfirmation = 0x20000;

/// Removes an item, a folder with its subtree in one pass over the file. A folder with content asks for
/// confirmation (1163). The running estimate is lowered even when the user refuses; the caller lowers the
/// counts of `pere`.
[[nodiscard]] Suppression suppression_rubrique(FichierProjet &projet, std::uint32_t numero,
                                               std::uint32_t pere);
/// The same, and the counts of `pere` follow.
[[nodiscard]] Suppression suppression_element(FichierProjet &projet, std::uint32_t numero,
                                              std::uint32_t pere);
/// Removes the items at these ranks, folders with all below them, in one pass, and lowers the counts of the
/// folders that stay. No question is asked, and the running estimate is the caller's. False on an error, with
/// `errno` set and the project perhaps changed.
[[nodiscard]] bool suppression_rangs(FichierProjet &projet, std::span<const std::uint64_t> rangs);
/// Asks 1163 for a folder with content, as `suppression_rubrique` does; true when it may go.
[[nodiscard]] bool confirme_suppression(const FichierProjet &projet, const RubriqueProjet &dossier);
/// Removes all that lies below a folder, in one pass. False on an error; the user was told.
[[nodiscard]] bool suppression_sous_arbre(FichierProjet &projet, std::uint32_t numero);

// --- names

/// Puts the record in the place of the item with its number in its folder, where its `nom_iso` now belongs.
/// False when there is none or on a write error.
[[nodiscard]] bool renommage_rubrique(FichierProjet &projet, const RubriqueProjet &rubrique);

/// Renaming by the user in a view: 0 the ISO name, 2 the HFS name, 1 both. 1 renamed, 0 nothing to do, -1
/// refused (empty, a name of the ISO view longer than 62 bytes, no such item) or failed.
[[nodiscard]] int renomme_element(FichierProjet &projet, std::uint32_t numero, std::uint32_t pere,
                                  std::string_view texte, int vue);

/// Stores a name as typed: `nom_iso`, or `nom_hfs` in the form of the format (classic HFS: Mac Roman cut at
/// 31 bytes; HFS+: cut at 62). An item whose source name is out of the code page keeps the mark that it was
/// typed.
void pose_nom_iso(RubriqueProjet &rubrique, std::string_view texte);
void pose_nom_hfs(RubriqueProjet &rubrique, std::string_view texte, bool hfsplus);

/// The automatic form: `coupe_nom`.
[[nodiscard]] Troncature troncature_automatique();
/// The form the settings ask for: automatic in a batch run or when names of that format are cut without a
/// question, else the truncation form (captions 1279 and 1282).
[[nodiscard]] Troncature troncature_selon_reglages(bool hfsplus);

/// Names of the HFS view, or the label, that do not come back when a project changes to the format `hfsplus`
/// and back again.
struct NomsPerdus {
  std::uint64_t nombre = 0;
  std::vector<std::string> premiers;  ///< working text
};
[[nodiscard]] NomsPerdus noms_perdus(const FichierProjet &projet, bool hfsplus);

/// Sets the format of a project: head, format flag, label and all HFS names. A name that is no other than
/// that of the source becomes, in classic HFS, the ISO name, in HFS+ that of the source; every other one,
/// typed or from inside a container, is carried over, cut where it must be. The names of both formats are
/// kept: the old ones come back with the old format. Where some would not (characters that Mac Roman lacks in
/// a long name) the user is asked first, with their number and the first of them; a batch run refuses, unless
/// `force`. A name given up becomes "~" and its item leaves the HFS view. Nothing is done when the format is
/// the same. False when refused or on an error; the user was told.
[[nodiscard]] bool change_format(FichierProjet &projet, bool hfsplus, const Troncature &tronque,
                                 bool force = false);
/// The names alone, for a project whose head was already changed.
[[nodiscard]] bool convertit_noms(FichierProjet &projet, bool hfsplus, const Troncature &tronque);
/// False, after message 1472, when the HFS view has too many items for classic HFS.
[[nodiscard]] bool permet_hfs_classique(std::uint64_t items_hfs);

// --- counts

struct ComptesProjet {
  std::uint64_t fichiers = 0, dossiers = 0;
  std::uint64_t fichiers_iso = 0, dossiers_iso = 0;
  std::uint64_t fichiers_hfs = 0, dossiers_hfs = 0;
  std::uint64_t secteurs = 0;  ///< 2048-byte sectors of the files
  bool hfsplus = false;        ///< the project is HFS+, perhaps since this count
};

/// Counts a project in one pass. More than 65,535 items in the HFS view turn it into HFS+. nullopt on a write
/// error.
[[nodiscard]] std::optional<ComptesProjet> compte_projet(FichierProjet &projet);

/// Recomputes the running estimate and stores it in the head with the item counts of both views. False on a
/// write error.
[[nodiscard]] bool estimation_secteurs(FichierProjet &projet);

/// The lengths of all files, read once, to try block sizes without reading the project again.
class LongueursProjet {
 public:
  explicit LongueursProjet(const FichierProjet &projet);
  /// Allocation blocks of `taille` bytes (> 0): the source of a file in the ISO view; in the HFS view its
  /// resource fork, and its data fork only when the source is empty, the data being shared with the ISO side.
  [[nodiscard]] std::uint64_t blocs(std::uint32_t taille) const;
  /// The largest fork of the HFS view, bytes.
  [[nodiscard]] std::uint64_t plus_grande_branche() const { return plus_grande_; }
  /// First multiple of 2048, up to `limite` - 1, that gives fewer than 65,536 blocks.
  [[nodiscard]] std::optional<std::uint32_t> taille_bloc(std::uint32_t limite = UINT32_MAX) const;

 private:
  std::vector<std::uint32_t> longueurs_;
  std::uint64_t plus_grande_ = 0;
};

[[nodiscard]] std::uint64_t calcul_blocs(const FichierProjet &projet, std::uint32_t taille);
[[nodiscard]] std::uint64_t plus_grande_branche(const FichierProjet &projet);

// --- look-up by path

struct ElementTrouve {
  std::uint64_t rang = 0;  ///< 0 for the root
  RubriqueProjet rubrique;
};
/// The item that "A/B/name" ("/" or "\") names from the root, by the names of a view among the items in that
/// view: the exact name first, then one that differs in case only. "" and "/" are the root.
[[nodiscard]] std::optional<ElementTrouve> trouve_chemin(const FichierProjet &projet, std::string_view chemin,
                                                         int vue);
/// One level: the child of a folder with that name in a view.
[[nodiscard]] std::optional<ElementTrouve> trouve_enfant(const FichierProjet &projet, std::uint32_t pere,
                                                         std::string_view nom, int vue);

}  // namespace varnion
