#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "IO/fichier.hpp"
#include "projet/format.hpp"

namespace varnion {

/// Which document a project file is: hybrid project (".vnpr") or ISO+ project (".vnso").
enum class ModeProjet { hybride, isop };

constexpr std::uint32_t kVnOptionSansCopie = 0x4;     ///< word `VN-Options`: no backup copy at opening
constexpr std::uint32_t kVnOptionOuvrirRacine = 0x8;  ///< defaults of a new project
constexpr std::uint32_t kVnOptionHfsplus = 0x10;
constexpr std::uint32_t kVnOptionReconstruire = 0x200;

/// 1 project of this version, -1 project of another version, 0 no project. The file position is not moved.
[[nodiscard]] int test_magie(const Fichier &fichier);

/// A new head with the defaults of the settings words: format, options, both labels "Untitled".
[[nodiscard]] EnteteProjet entete_neuve();

/// True for the label of a new project, "Untitled" in either language, and for none. The language in force
/// stays as it is: a window may be reading its texts meanwhile.
[[nodiscard]] bool label_sans_titre(std::string_view label);

/// An open project: the file on disk is the working copy, read and rewritten in place. Records are named by
/// their rank: 0 the head, 1 to `nb_rubriques` the items in file order. Ranks and buffered readers hold until
/// the next insertion or removal.
class FichierProjet {
 public:
  FichierProjet() = default;
  FichierProjet(FichierProjet &&) noexcept = default;
  FichierProjet &operator=(FichierProjet &&) noexcept = default;

  // --- documents

  /// Opens a project: tests the magic (messages 1385, 1062, 1063), makes the backup copy unless the settings
  /// forbid it, reads the format and the counters. nullopt when refused; the user was told.
  [[nodiscard]] static std::optional<FichierProjet> ouvre(std::string_view chemin, ModeProjet mode);
  /// Makes the file anew and writes a fresh head. nullopt after message 1385.
  [[nodiscard]] static std::optional<FichierProjet> cree(std::string_view chemin, ModeProjet mode);
  /// A project over a file already open; nothing is tested and no message shown. nullopt when the head cannot
  /// be read.
  [[nodiscard]] static std::optional<FichierProjet> adopte(Fichier fichier, std::string_view chemin,
                                                           ModeProjet mode);

  /// `sauvegarde_entete`, the Save command: counts, forces HFS+ above 65,535 items in the HFS view of a
  /// hybrid project, stores the estimate and the counters, flushes. False on a write error; the user was
  /// told.
  [[nodiscard]] bool sauvegarde_entete();
  /// Save As, after the save above and, with `demande`, question 1061 when the target exists: an unnamed
  /// project moves to the target, a named one is copied and the copy becomes the project. False when refused
  /// or failed, with this project unchanged and no partial target left.
  [[nodiscard]] bool enregistre_sous(std::string_view cible, bool demande = true);
  /// Writes the whole project to its path anew, for a file that was deleted while it was open. False after a
  /// message.
  [[nodiscard]] bool reecrit_fichier();
  /// Closes the file; false when the system reports a late write error.
  bool ferme();

  [[nodiscard]] bool ouvert() const { return fichier_.ouvert(); }
  [[nodiscard]] ModeProjet mode() const { return mode_; }
  [[nodiscard]] const std::string &chemin() const { return chemin_; }
  /// Path of the backup copy.
  [[nodiscard]] std::string chemin_copie() const;
  /// True when the path contains the default name of its mode ("vnpr.vnpr", "vnso.vnso").
  [[nodiscard]] bool sans_nom() const;
  [[nodiscard]] std::uint64_t taille_octets() const;

  // --- state of the open project

  /// Format flag, read from the head at opening.
  [[nodiscard]] bool hfsplus() const { return hfsplus_; }
  void hfsplus(bool valeur) { hfsplus_ = valeur; }
  [[nodiscard]] std::uint32_t dossier_courant() const { return dossier_courant_; }
  void dossier_courant(std::uint32_t numero) { dossier_courant_ = numero; }
  /// Current view, a `Vue`. An ISO+ project has the ISO view only.
  [[nodiscard]] int vue_courante() const { return mode_ == ModeProjet::isop ? kVueIso : vue_courante_; }
  void vue_courante(int vue) { vue_courante_ = vue; }
  /// Running estimate of the payload, 2048-byte sectors.
  [[nodiscard]] std::uint64_t estimation() const { return estimation_; }
  void estimation(std::uint64_t secteurs) { estimation_ = secteurs; }
  void estimation_ajoute(const RubriqueProjet &rubrique) { estimation_ += secteurs_rubrique(rubrique); }
  void estimation_retire(const RubriqueProjet &rubrique);

  /// Running counters. `lecture_compteurs` takes them from the head (a folder counter under 0x11 reads as
  /// 0x11); `ecriture_compteurs` stores them there.
  [[nodiscard]] bool lecture_compteurs();
  [[nodiscard]] bool ecriture_compteurs();
  [[nodiscard]] std::uint32_t dernier_dossier() const { return dernier_dossier_; }
  [[nodiscard]] std::uint32_t dernier_fichier() const { return dernier_fichier_; }
  /// The next number of a folder (positive) or of a file (negative, as stored); 0 when the numbers are used
  /// up.
  [[nodiscard]] std::uint32_t prochain_dossier();
  [[nodiscard]] std::uint32_t prochain_fichier();
  /// Raises the counters to the number of a record that is in the file: a head that was not saved must not
  /// give a number twice.
  void releve_compteurs(const RubriqueProjet &rubrique);

  /// `lecture_label`: label of the current view in working text; "Untitled" if the magic fails or it is
  /// empty. The root view shows the ISO label.
  [[nodiscard]] std::string lecture_label() const;

  // --- records

  [[nodiscard]] bool lit_entete(EnteteProjet &entete) const;
  [[nodiscard]] bool ecrit_entete(const EnteteProjet &entete);
  /// Items, the head not counted. A partial record at the end of the file does not count.
  [[nodiscard]] std::uint64_t nb_rubriques() const;
  /// Record of a rank; rank 0 gives the head in the form of an item. False past the end or on a read error.
  [[nodiscard]] bool lit(std::uint64_t rang, RubriqueProjet &rubrique) const;
  [[nodiscard]] bool ecrit(std::uint64_t rang, const RubriqueProjet &rubrique);
  /// Records from `rang` on into `lot`: number read, 0 at the end or on an error.
  [[nodiscard]] std::size_t lit_lot(std::uint64_t rang, std::span<RubriqueProjet> lot) const;
  /// Byte position of a rank.
  [[nodiscard]] static constexpr std::uint64_t position(std::uint64_t rang) { return rang * kTailleRubrique; }
  /// The file itself, for bulk work on whole runs of records.
  [[nodiscard]] Fichier &fichier() { return fichier_; }
  [[nodiscard]] const Fichier &fichier() const { return fichier_; }

  // --- searches

  /// `cherche_premier`: rank of the first item whose `pere` is at or above the given one, `nb_rubriques` + 1
  /// when none is: where the folder's run begins, or would. Binary search on the order of the file.
  [[nodiscard]] std::uint64_t premier_enfant(std::uint32_t pere) const;
  /// Rank of the item with that number among the children of a folder.
  [[nodiscard]] std::optional<std::uint64_t> cherche_par_numero(std::uint32_t pere, std::uint32_t numero,
                                                                RubriqueProjet &rubrique) const;
  /// Rank of the item with that number, anywhere; number 1 is the head at rank 0. Folders are found through a
  /// table of folder numbers built at the first use; a number that is not where the table says costs one pass
  /// over the file.
  [[nodiscard]] std::optional<std::uint64_t> cherche_numero(std::uint32_t numero,
                                                            RubriqueProjet &rubrique) const;
  /// Tells the table of a folder record just written, so that it is found without a pass.
  void note_dossier(std::uint32_t numero, std::uint32_t pere);

  // --- changes of the array

  /// Opens a gap of `nombre` records before `rang`, its content undefined: the file is extended first and
  /// the tail moved from its end, so that a failure loses nothing. False on a write error (`errno` tells),
  /// with the file as it was.
  [[nodiscard]] bool ouvre_trou(std::uint64_t rang, std::uint64_t nombre);
  /// The same, with the records put in the gap. The table of folders and the estimate are the caller's.
  [[nodiscard]] bool insere(std::uint64_t rang, std::span<const RubriqueProjet> lot);
  /// Removes `nombre` records from `rang` on by moving the tail to the front in large blocks; the file is
  /// then cut.
  [[nodiscard]] bool ferme_trou(std::uint64_t rang, std::uint64_t nombre);
  /// Removes all records from `rang` on for which the test holds, in one pass: number removed, nullopt on an
  /// error. The test is asked once for each record, in file order.
  [[nodiscard]] std::optional<std::uint64_t> retire_si(
      std::uint64_t rang, const std::function<bool(std::uint64_t, const RubriqueProjet &)> &test);
  /// Adds to the counts of a folder or of the root (folders, files). False when the folder is not found or
  /// not written.
  [[nodiscard]] bool ajoute_comptes(std::uint32_t numero, std::int64_t dossiers, std::int64_t fichiers);
  /// Brings everything to the disk.
  [[nodiscard]] bool vide() const { return fichier_vider(fichier_); }

 private:
  /// Folder number -> its `pere`. The display may search while a compile reads the same project.
  struct TableDossiers {
    std::mutex verrou;
    bool prete = false;
    std::unordered_map<std::uint32_t, std::uint32_t> peres;
  };
  [[nodiscard]] std::optional<std::uint32_t> pere_de_dossier(std::uint32_t numero, bool relire) const;
  [[nodiscard]] bool lit_exact(std::uint64_t rang, std::span<RubriqueProjet> lot) const;
  [[nodiscard]] bool ecrit_zeros(std::uint64_t debut, std::uint64_t fin);
  [[nodiscard]] bool decale_fin(std::uint64_t debut, std::uint64_t fin, std::uint64_t nombre);
  [[nodiscard]] bool decale_milieu(std::uint64_t debut, std::uint64_t fin, std::uint64_t nombre);
  void copie_de_sauvegarde() const;
  [[nodiscard]] bool deplace_vers(const std::string &cible);

  Fichier fichier_;
  std::string chemin_;
  ModeProjet mode_ = ModeProjet::hybride;
  bool hfsplus_ = false;
  int vue_courante_ = kVueRacine;
  std::uint32_t dossier_courant_ = kRacine;
  std::uint32_t dernier_dossier_ = kPremierCompteur;
  std::uint32_t dernier_fichier_ = 0;
  std::uint64_t estimation_ = 0;
  std::unique_ptr<TableDossiers> table_ = std::make_unique<TableDossiers>();
};

/// Buffered iteration over the items of a range of ranks.
class LecteurRubriques {
 public:
  /// All items.
  explicit LecteurRubriques(const FichierProjet &projet) : LecteurRubriques(projet, 1, UINT64_MAX) {}
  /// Ranks `debut` to `fin` - 1.
  LecteurRubriques(const FichierProjet &projet, std::uint64_t debut, std::uint64_t fin);

  /// The next item, nullptr at the end. It dies at the next call.
  [[nodiscard]] const RubriqueProjet *suivant();
  /// Rank of the item last given.
  [[nodiscard]] std::uint64_t rang() const { return suivant_ - 1; }
  /// Rewrites the item last given in `projet`, the project that is being read.
  [[nodiscard]] bool reecrit(FichierProjet &projet, const RubriqueProjet &rubrique);

 private:
  const FichierProjet *projet_;
  std::uint64_t suivant_;
  std::uint64_t fin_;
  std::uint64_t debut_lot_ = 0;
  std::vector<RubriqueProjet> lot_;
  std::size_t lus_ = 0;
};

/// The same over the children of one folder.
class LecteurEnfants {
 public:
  LecteurEnfants(const FichierProjet &projet, std::uint32_t pere)
      : pere_(pere), lecteur_(projet, projet.premier_enfant(pere), UINT64_MAX) {}
  /// The next child, nullptr behind the last. It dies at the next call.
  [[nodiscard]] const RubriqueProjet *suivant();
  [[nodiscard]] std::uint64_t rang() const { return lecteur_.rang(); }
  [[nodiscard]] bool reecrit(FichierProjet &projet, const RubriqueProjet &rubrique) {
    return lecteur_.reecrit(projet, rubrique);
  }

 private:
  std::uint32_t pere_;
  LecteurRubriques lecteur_;
  bool finie_ = false;
};

/// Where the run of each folder's children lies, built in one pass, for walks over the whole tree between two
/// changes of the array.
class IndexEnfants {
 public:
  explicit IndexEnfants(const FichierProjet &projet);
  [[nodiscard]] LecteurRubriques enfants(const FichierProjet &projet, std::uint32_t pere) const;

 private:
  struct Suite {
    std::uint32_t pere;
    std::uint64_t debut, fin;
  };
  std::vector<Suite> suites_;
};

/// Item number -> rank, built in one pass, for many look-ups between two changes of the array. The first item
/// of a number wins.
class IndexNumeros {
 public:
  explicit IndexNumeros(const FichierProjet &projet);
  [[nodiscard]] std::optional<std::uint64_t> rang(std::uint32_t numero) const;

 private:
  std::unordered_map<std::uint32_t, std::uint64_t> rangs_;
};

}  // namespace varnion
