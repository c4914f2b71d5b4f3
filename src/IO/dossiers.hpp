#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <deque>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Folder index and path resolution, for the platform layer alone. Paths named `utf8` are the system's own
// bytes.

namespace varnion::plateforme {

/// What tells one state of a folder from another.
struct EmpreinteDossier {
  dev_t unite = 0;
  ino_t inode = 0;
  timespec modification{};
  timespec changement{};

  static EmpreinteDossier de(const struct stat &fiche);
  [[nodiscard]] bool meme_dossier(const EmpreinteDossier &autre) const;
  [[nodiscard]] bool operator==(const EmpreinteDossier &autre) const;
};

/// The names of one entry.
struct NomsEntree {
  std::string disque;  ///< bytes on the disk
  std::string texte;   ///< working text
  std::string court;   ///< 8.3 name, empty when the upper-case form serves
  bool lisible =
      false;  ///< looking up `texte` finds this entry: every character shown, no like name before it
  bool regulier = false;  ///< the folder tells of a regular file; a link or an unknown kind is none
};

/// The names in one folder with constant-time look-ups. Short names are worked out when first asked for.
class IndexDossier {
 public:
  /// Reads the folder; nullopt when it cannot be read (`errno` tells).
  static std::optional<IndexDossier> lit(const std::string &dossier_utf8);

  /// Rank of the entry that a working-text name means: exact text, short name, unique match but for case.
  [[nodiscard]] std::optional<std::size_t> cherche(std::string_view texte);
  /// Rank of the entry of that name on the disk.
  [[nodiscard]] std::optional<std::size_t> cherche_disque(std::string_view disque) const;
  [[nodiscard]] const std::string &disque(std::size_t rang) const { return entrees_[rang].disque; }
  [[nodiscard]] NomsEntree noms(std::size_t rang);
  [[nodiscard]] bool vivante(std::size_t rang) const { return entrees_[rang].vivante; }
  [[nodiscard]] std::size_t nombre() const { return entrees_.size(); }

  /// Takes a name in or out without reading the folder again; false when only reading again will do.
  [[nodiscard]] bool ajoute(std::string_view disque);
  [[nodiscard]] bool retire(std::string_view disque);

  [[nodiscard]] const EmpreinteDossier &empreinte() const { return empreinte_; }
  /// Accepts `empreinte` as the state after a change that this process made itself.
  void adopte(const EmpreinteDossier &empreinte);
  /// False while a change of the folder could have gone unseen within the grain of its time stamp.
  [[nodiscard]] bool fiable() const;

 private:
  struct Entree {
    std::string disque;
    std::string texte;
    bool vivante = true;
    bool regulier = false;
  };
  struct HachePli {
    std::size_t operator()(std::string_view texte) const;
  };
  struct MemePli {
    bool operator()(std::string_view a, std::string_view b) const;
  };
  struct Candidats {
    std::size_t rang = 0;
    std::size_t nombre = 0;
  };

  bool insere(std::string disque, bool regulier);
  void fait_noms_courts();
  [[nodiscard]] bool est_lisible(std::size_t rang) const;

  std::deque<Entree> entrees_;  // the maps look into its strings, which never move
  std::unordered_map<std::string_view, std::size_t> par_disque_;
  std::unordered_map<std::string_view, std::size_t> par_texte_;
  std::unordered_map<std::string_view, Candidats, HachePli, MemePli> par_pli_;
  std::vector<std::string> courts_;
  std::unordered_map<std::string_view, std::size_t> par_court_;
  bool courts_faits_ = false;
  EmpreinteDossier empreinte_;
  timespec lecture_{};  // when the folder was read or a change of our own adopted
  bool adoptee_ = false;
};

/// The indexes of the folders in use lately. One lock for all: look-ups are short and come from two threads
/// at most.
class CacheDossiers {
 public:
  /// Name on the disk of what `texte` means in a folder; nullopt with `errno`.
  [[nodiscard]] std::optional<std::string> cherche(const std::string &dossier_utf8, std::string_view texte);
  /// The names of the entry `disque` of a folder; where the file system itself ignores case, of the entry
  /// meant.
  [[nodiscard]] std::optional<NomsEntree> noms(const std::string &dossier_utf8, const std::string &disque);
  /// All names of a folder, in byte order when freshly read (`relit`).
  [[nodiscard]] std::optional<std::vector<NomsEntree>> liste(const std::string &dossier_utf8, bool relit = true);

  /// Around a change that this process makes in a folder: `avant` drops an index that is out of date already,
  /// `apres` brings it up to the change (`ancien` gone, `nouveau` come; either may be empty).
  void avant_changement(const std::string &dossier_utf8);
  void apres_changement(const std::string &dossier_utf8, std::string_view ancien, std::string_view nouveau);

 private:
  [[nodiscard]] IndexDossier *index(const std::string &dossier_utf8, bool relit);
  [[nodiscard]] std::list<IndexDossier>::iterator trouve(const EmpreinteDossier &empreinte);

  std::mutex verrou_;
  std::list<IndexDossier> indexes_;  // the last used first
};

/// A path made ready for the system.
struct CheminResolu {
  std::string utf8;     ///< the whole
  std::string dossier;  ///< its folder, without the name; "" for the current folder, "/" for the root
  std::string nom;      ///< its last component on the disk; "" where the path names a root, "." or ".."
  bool existe = false;
  bool regulier = false;  ///< known to be a regular file itself, not a link to one

  [[nodiscard]] std::string dossier_ouvrable() const { return dossier.empty() ? "." : dossier; }
};

/// Resolves a working-text path. Where only the last component is missing the result has `existe` false and
/// that component as it stands; nullopt (`errno` tells) where nothing can have this path.
[[nodiscard]] std::optional<CheminResolu> resout(std::string_view chemin);
/// The same for what must exist.
[[nodiscard]] std::optional<CheminResolu> resout_existant(std::string_view chemin);

/// True when the system knows this path, if only as a link.
[[nodiscard]] bool est_la(const std::string &utf8);
/// `dossier` and `nom` as one path.
[[nodiscard]] std::string joint(const std::string &dossier, std::string_view nom);
/// True when the text names one thing in UTF-8: no "?", no byte without a character.
[[nodiscard]] bool texte_univoque(std::string_view texte);

/// Tells the folder index of a change of our own, if it succeeded.
class ChangementDossier {
 public:
  explicit ChangementDossier(std::string dossier_utf8);
  void apres(std::string_view ancien, std::string_view nouveau) const;

 private:
  std::string dossier_;
};

}  // namespace varnion::plateforme
