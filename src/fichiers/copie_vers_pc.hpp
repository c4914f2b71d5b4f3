#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_set>

#include "fichiers/ecriture.hpp"
#include "fichiers/element.hpp"
#include "fichiers/nom_pc.hpp"
#include "hfs/catalogue.hpp"
#include "IO/dossier_sortie.hpp"

// Files and folders of the mounted volume to the PC, in the form that `mode_copie()` asks for.

namespace varnion {

/// What is done where the PC has a file of that name already.
enum class Remplacement {
  demande,  ///< asks 1161
  tous,     ///< the old file goes
  aucun,    ///< the file is left out and named
};

/// Answers that stay in force for the run of the program.
struct ReponsesCopiePc {
  Remplacement remplacement = Remplacement::demande;
  bool tait_hfs = false;  ///< 1119 and 1120 are silenced: such files become empty files
  bool tait_hfsplus = false;
};
[[nodiscard]] ReponsesCopiePc &reponses_copie_pc();

struct BilanCopiePc {
  std::uint64_t fichiers = 0, dossiers = 0;  ///< begun
  std::uint64_t octets = 0;      ///< as the status line counts them: nothing in the two Apple modes
  std::uint64_t copies = 0;      ///< files that are whole on the PC
  std::uint64_t octets_lus = 0;  ///< of their forks
  std::uint64_t vides = 0;       ///< files without the fork that was asked for, copied as empty files
  std::uint64_t renommes = 0;    ///< told by name: cut, cleared of characters that mislead, or numbered
  std::uint64_t sautes = 0;      ///< left out by an answer or for want of the fork
  std::uint64_t amputes = 0;     ///< of `copies`, those with another fork that the mode leaves out
  std::uint64_t echecs = 0;      ///< not whole, each told by name
  bool arret = false;            ///< the user stopped it, or nothing more could be written
  [[nodiscard]] bool complet() const { return !arret && echecs == 0; }
};

/// Longest path of a file of the PC, and longest name in it with its extension, in characters.
constexpr std::size_t kCheminPcMax = 260;
constexpr std::size_t kNomPcMax = 254;

/// A path of the PC in its parts, UTF-8.
struct CheminPc {
  std::string dossier;  ///< closed by "/"
  std::string base;
  std::string extension;   ///< without dot
  std::string autre = {};  ///< folder chosen instead of the first: a path in working text; "" for the same
  [[nodiscard]] std::string nom() const { return extension.empty() ? base : base + "." + extension; }
};
/// Characters of a UTF-8 text, as UTF-16 counts them.
[[nodiscard]] std::size_t caracteres(std::string_view utf8);

struct OptionsCopiePc {
  ModeNommage nommage = ModeNommage::longs;
  ExtensionDeSignature extension;
  bool polices = true;  ///< fonts may be converted, once the user agrees
  bool force = false;   ///< neither the room on the disk nor that in the volume is weighed before a copy
  /// Asks for the name on the PC where the rule of names wants that: `nom` is the one proposed and becomes
  /// the answer, at most `limite` characters; false leaves the file out. Empty: `Operations::demander_nom`.
  std::function<bool(const std::string &mac, std::string &nom, std::size_t limite)> demande_nom = {};
  /// What a path of more than kCheminPcMax characters becomes: nullopt stops the copy. Empty: the path is
  /// taken as it is, which the disk allows.
  std::function<std::optional<CheminPc>(const CheminPc &)> raccourcit = {};
  /// Called after each file; may be empty.
  std::function<void(const BilanCopiePc &)> suivi;
};

/// A file on its way to the PC.
struct FichierCopie {
  ElementFichier element;
  std::string chemin;    ///< where it comes from, in UTF-8, for messages
  bool hfsplus = false;  ///< both kinds of catalog have their own silence about empty forks
  /// Bytes that its medium holds: damaged lengths are not believed beyond it.
  std::uint64_t plafond = ~std::uint64_t{0};
  std::string source = {};  ///< path of the container, working text; empty for a file of the volume
};

/// One command that copies to the PC: the counters of its status line and the names it has given.
class CopieVersPc {
 public:
  explicit CopieVersPc(OptionsCopiePc options) : options_(std::move(options)) {}

  /// Copies one item with what lies below it into a folder of the PC. False: the walk of the enclosing folder
  /// ends here (the reason was told); a selection goes on with its next item unless `bilan().arret`.
  bool copie_vers_pc(const ElementMac &element, const DossierSortie &cible);
  /// The same for a file that lies on no volume.
  bool copie_fichier(const FichierCopie &fichier, const DossierSortie &cible);
  [[nodiscard]] const BilanCopiePc &bilan() const { return bilan_; }

 private:
  enum class Suite {
    continue_,
    reprise,  ///< the user took the stop back: the file is copied again from its start
    arret,
  };

  [[nodiscard]] bool taille_admise(const ElementMac &element, const DossierSortie &cible);
  bool copie_element(const ElementMac &element, const DossierSortie &dossier);
  bool copie_dossier_vers_pc(const ElementMac &dossier, const DossierSortie &cible);
  bool copie_contenu(const ElementMac &dossier, const DossierSortie &dedans, const std::string &chemin);
  bool dossier_refuse(const std::string &message, int erreur);

  bool convertit_police(const FichierCopie &fichier, const DossierSortie &dossier);
  bool police_remplace(const std::string &nom, const DossierSortie &dossier);
  [[nodiscard]] bool place_suffit(const FichierCopie &fichier, const DossierSortie &dossier);
  [[nodiscard]] bool a_fourche_voulue(const FichierCopie &fichier);
  [[nodiscard]] Suite copie_une_fois(const FichierCopie &fichier, const DossierSortie &dossier);

  [[nodiscard]] std::string nom_demande(const FichierCopie &fichier, const DossierSortie &dossier,
                                        bool &suite);
  [[nodiscard]] std::string nom_regle(const FichierCopie &fichier);
  [[nodiscard]] bool raccourcit_chemin(std::string &nom, const DossierSortie &dossier,
                                       std::optional<DossierSortie> &ailleurs);
  void ouvre_cible(const FichierCopie &fichier, const DossierSortie &dossier, const std::string &nom,
                   std::optional<CibleFichier> &cible, bool &suite);
  void ouvre_numerotee(const FichierCopie &fichier, const DossierSortie &dossier,
                       std::optional<CibleFichier> &cible);
  [[nodiscard]] bool accepte_remplacer(const FichierCopie &fichier, const std::string &nom,
                                       const DossierSortie &dossier, bool &suite);
  [[nodiscard]] static bool est_source(const FichierCopie &fichier, const std::string &nom,
                                       const DossierSortie &dossier);

  [[nodiscard]] Suite ecrit(const FichierCopie &fichier, const DossierSortie &dossier, CibleFichier &cible);
  [[nodiscard]] Suite ecrit_compagnon(const FichierCopie &fichier, const DossierSortie &dossier,
                                      const std::string &nom, std::optional<CibleFichier> &compagnon);
  [[nodiscard]] Suite echec_lecture(ResultatEcriture resultat, const FichierCopie &fichier);
  bool echec_ecriture(const std::string &chemin, int erreur);
  void annonce(const FichierCopie &fichier, const std::string &cible);
  [[nodiscard]] bool arret_voulu();

  OptionsCopiePc options_;
  BilanCopiePc bilan_;
  std::string source_;                       ///< path of the folder being copied, in UTF-8, closed by "/"
  std::unordered_set<std::string> donnes_;   ///< PC paths that this copy has given
  std::unordered_set<std::uint32_t> vus_;    ///< folders entered: a damaged tree may lead into itself
  std::unordered_set<std::uint32_t> peses_;  ///< files whose blocks are in `octets_peses_`
  std::uint64_t octets_peses_ = 0;
  std::size_t profondeur_ = 0;
};

/// A file of the mounted volume for the writers of containers.
[[nodiscard]] ElementFichier element_de_volume(const ElementMac &fichier);

/// How many files lost a fork to the copy mode, and which modes keep it; "" when none did.
[[nodiscard]] std::string texte_amputes(const BilanCopiePc &bilan);

/// " - Copied: %d f. (%lu.%03lu MB)"
[[nodiscard]] std::string texte_copies(std::uint64_t fichiers, std::uint64_t octets);

}  // namespace varnion
