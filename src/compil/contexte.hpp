#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace varnion {

class Conteneurs;
class FichierProjet;

/// What a compile makes.
enum class Nature : int {
  hybride_hfs = 0,      ///< ISO 9660 + Joliet + HFS
  hybride_hfsplus = 1,  ///< ISO 9660 + Joliet + HFS+
  iso_apple = 2,        ///< ISO 9660 + Joliet with Apple extensions
  iso = 3,              ///< pure ISO 9660 + Joliet
  hfs = 4,              ///< pure HFS behind a partition map
  hfsplus = 5,          ///< pure HFS+ behind a partition map
};

[[nodiscard]] constexpr bool nature_a_iso(Nature nature) {
  return nature != Nature::hfs && nature != Nature::hfsplus;
}
[[nodiscard]] constexpr bool nature_a_volume(Nature nature) {
  return nature != Nature::iso && nature != Nature::iso_apple;
}
[[nodiscard]] constexpr bool nature_est_hfsplus(Nature nature) {
  return nature == Nature::hybride_hfsplus || nature == Nature::hfsplus;
}

/// Results of a compile routine.
constexpr int kCompilReussie = 0;
constexpr int kCompilEchec = -1;        ///< stopped or failed
constexpr int kCompilTemporaires = -3;  ///< the temporary files could not be made
/// A reserved area turned out too small: the run is to be planned again with the reserves of the context.
constexpr int kCompilReprise = -10;
/// Classic HFS cannot hold the project with any block size.
constexpr int kCompilHfsplusRequis = -11;

constexpr int kOptionPostgap = 0x4;

constexpr std::uint32_t kSecteurIso = 2048;
constexpr std::uint32_t kSecteursPostgap = 150;  ///< 300 KB, the postgap of a track

/// Where the worker reports to. Every call returns false when the run is to stop. Calls come from the thread
/// of the compile.
struct SuiviCompilation {
  virtual ~SuiviCompilation() = default;
  /// A large file begins: number of slices, name, size in bytes.
  virtual bool debut_fichier(std::uint64_t tranches, std::string_view nom, std::uint64_t taille) = 0;
  /// One slice of a large file is written: 2048-byte sectors.
  virtual bool avance_fichier(std::uint64_t secteurs) = 0;
  /// A small file is written: 2048-byte sectors, 0 for an empty one.
  virtual bool fin_fichier(std::uint64_t secteurs) = 0;
  /// A phase begins (the text carries both languages).
  virtual bool trace(std::string_view texte) = 0;
  /// A line for the progress display.
  virtual bool texte(std::string_view texte) = 0;
  /// The image is written from its start: the first time, or once more with larger reserves.
  virtual void commence() {}
  /// An item is left out or is not what it was; the text names it. Shown as a message unless the display
  /// keeps these for the end.
  virtual void remarque(std::string_view texte);
};

/// One compile: what is asked, what was counted, and the reserves found too small in a run before.
struct ContexteCompilation {
  FichierProjet *projet = nullptr;
  Conteneurs *conteneurs =
      nullptr;  ///< what the sources turned out to be; none: taken as the project has them
  std::string chemin_cible;
  Nature nature = Nature::hybride_hfs;
  int resultat = 0;
  int options = 0;             ///< kOption…
  std::uint64_t secteurs = 0;  ///< payload, 2048-byte sectors
  std::uint64_t fichiers = 0, dossiers = 0;
  bool reconstruire = false;
  std::string label_hfs;  ///< Mac Roman for classic HFS, working text for HFS+
  std::uint64_t fichiers_hfs = 0, dossiers_hfs = 0;
  std::uint64_t noeuds = 0, octets_noeud = 0, cles_noeud = 0;  ///< running estimate of catalog leaf nodes
  bool icone_volume = false, ouvrir_racine = false;
  bool dossier_fond = false;  ///< the project has the folder whose catalog id on HFS+ is fixed
  std::string label_iso;
  std::uint64_t taille_chemins_iso = 0, taille_chemins_joliet = 0;  ///< bytes
  std::uint64_t secteurs_iso = 0, secteurs_joliet = 0;              ///< directory sectors
  std::uint64_t fichiers_iso = 0, dossiers_iso = 0;
  std::uint32_t taille_bloc = kSecteurIso;  ///< allocation block

  /// Items left out or changed since they were added; each was named to the user.
  std::uint64_t remarques = 0;

  [[nodiscard]] bool a_iso() const { return nature_a_iso(nature); }
  [[nodiscard]] bool a_volume() const { return nature_a_volume(nature); }
  [[nodiscard]] std::uint32_t unites() const { return taille_bloc / 512; }
  [[nodiscard]] std::uint32_t secteurs_par_bloc() const { return taille_bloc / kSecteurIso; }
};

/// The exact needs of the ISO side, from the names in the project; a plan takes them where the estimate is
/// lower.
struct BesoinsIso {
  std::uint64_t chemins_iso = 0, chemins_joliet = 0;    ///< bytes
  std::uint64_t secteurs_iso = 0, secteurs_joliet = 0;  ///< directory sectors

  void au_moins(const BesoinsIso &autre) {
    chemins_iso = std::max(chemins_iso, autre.chemins_iso);
    chemins_joliet = std::max(chemins_joliet, autre.chemins_joliet);
    secteurs_iso = std::max(secteurs_iso, autre.secteurs_iso);
    secteurs_joliet = std::max(secteurs_joliet, autre.secteurs_joliet);
  }
};

/// Needs beyond the estimate, measured or computed, kept from one attempt to the next.
struct BesoinsVolume {
  BesoinsIso iso;                       ///< what the directories of the attempt before took
  std::uint64_t blocs_donnees = 0;      ///< allocation blocks of all forks, upper bound
  std::uint64_t catalogue_minimum = 0;  ///< 512-byte blocks, 0 when the estimate has not failed
  std::uint64_t secteurs_iso_seul = 0;  ///< at least, for data that the ISO side alone reads
  std::uint64_t blocs_en_plus = 0;      ///< for sources that grew since they were added
};

/// Sectors (2048 bytes) of the ISO side.
struct PlanIso {
  std::uint32_t chemins_iso_l = 0, chemins_iso_m = 0, racine_iso = 0;
  std::uint32_t chemins_joliet_l = 0, chemins_joliet_m = 0, racine_joliet = 0;
  std::uint32_t secteurs_iso = 0, secteurs_joliet = 0;  ///< reserved for directories
  std::uint32_t secteurs_chemins_iso = 0, secteurs_chemins_joliet = 0;
  std::uint64_t fin_catalogue = 0;  ///< first sector behind the ISO area
  std::uint64_t taille_volume = 0;  ///< volume space size of the descriptors
};

/// 512-byte blocks of the Macintosh volume.
struct PlanVolume {
  std::uint64_t debut = 0;  ///< `debut_hfs`
  std::uint32_t carte = 0, extents = 0, catalogue = 0;
  std::uint64_t taille = 0;     ///< estimate of the whole volume
  std::uint32_t bloc_base = 0;  ///< allocation block of `bloc_courant` 0
  std::uint32_t tete = 3;       ///< boot blocks and header
  bool aligne = true;           ///< begins on an allocation block of the image

  /// All that lies before the first data block.
  [[nodiscard]] std::uint64_t taille_structures() const {
    return std::uint64_t{tete} + carte + extents + catalogue;
  }
};

}  // namespace varnion
