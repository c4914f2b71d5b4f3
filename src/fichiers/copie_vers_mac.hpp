#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "fichiers/classe_pc.hpp"
#include "fichiers/place_volume.hpp"
#include "fichiers/plage.hpp"
#include "hfs/operations_catalogue.hpp"
#include "IO/acces.hpp"

// Files and folders of the PC into the mounted volume. The command around it loads the bitmap
// (`chargement_carte`) before, and flushes (`ecriture_structures`) after, whatever the result.

namespace varnion {

/// Forks of the record that `ecriture_fichier_mac` makes, and where its dates come from.
enum class GenreEcritureMac : int {
  ressource = -1,   ///< the whole file as resource fork
  macbinaire = 0,   ///< both forks and the dates by a MacBinary head
  data = 1,         ///< the whole file as data fork
  appledouble = 2,  ///< the file as data fork, a range of another one as resource fork; also for streams
  applesingle = 3,  ///< both forks are ranges of the file
};

struct BilanCopieMac {
  std::uint64_t fichiers = 0, dossiers = 0;
  std::uint64_t octets = 0;          ///< of all forks written
  std::uint64_t renommes = 0;        ///< told by name: the volume holds another name than the PC
  std::uint64_t sautes = 0;          ///< left out by an answer or a rule, told by name
  std::uint64_t echecs = 0;          ///< failed, told by name
  std::uint64_t non_atteints = 0;    ///< entries of folders behind one that ended the walk
  std::uint64_t compagnons = 0;      ///< "._" files not copied by themselves: their file has taken them in
  std::uint64_t abimes = 0;          ///< told by name: damaged containers, copied as far as they go
  std::uint64_t polices = 0;         ///< fonts made, within `fichiers`
  std::uint64_t polices_telles = 0;  ///< PFB files that were to be converted: they went in unchanged
  bool arret = false;                ///< the user stopped it, or the volume takes no more

  /// Everything is on the volume.
  [[nodiscard]] bool complet() const { return !arret && sautes + echecs + non_atteints + abimes == 0; }
};

struct OptionsCopieMac {
  /// Type and creator, 8 bytes, for the name of a PC file (working text).
  std::function<std::string(std::string_view nom)> signature;
  /// The next font number, counted on at each use.
  std::function<std::uint16_t()> numero_police;
  std::uint32_t troncature = 0;  ///< bits of `Options` for the 31-character rule
  bool polices = true;           ///< fonts may be converted, once the user agrees
  /// Called after each file; may be empty.
  std::function<void(const BilanCopieMac &)> suivi;
};

/// One command that copies to the mounted volume.
class CopieVersMac {
 public:
  explicit CopieVersMac(OptionsCopieMac options);

  /// Copies one chosen file or folder (working text) with what lies below it into the folder of that catalog
  /// id, if the volume has room for it (1153). False: the command is to stop. `lieu` is the path of that
  /// folder for messages, "" or ending in "/".
  bool copie_vers_mac(const std::string &chemin, std::uint32_t dossier, const std::string &lieu = {});
  [[nodiscard]] const BilanCopieMac &bilan() const { return bilan_; }

 private:
  enum class Suite {
    entre,  ///< it is on the volume
    saute,  ///< left out; the walk goes on
    fin,    ///< it failed, which was told: the walk of its folder ends
  };
  /// A range of an open file; the first bytes of the file may be at hand.
  struct Fourche {
    const Fichier *fichier = nullptr;
    PlageFourche plage;
    std::uint64_t taille = 0;  ///< of the whole file, when it was opened
    std::span<const std::uint8_t> debut = {};
  };
  struct Ecriture {
    GenreEcritureMac genre = GenreEcritureMac::data;
    NomItem nom;
    std::string signature;
    std::uint16_t drapeaux = 0;
    std::uint32_t creation = 0, modification = 0;  ///< of a head, local time
    Fourche data, rsrc;
    bool remplace = false;  ///< a file of that name goes when this one is whole
  };
  struct EtatSource;

  // --- copie_vers_mac.cpp
  Suite copie_element(const std::string &chemin, const plateforme::DonneesRecherche &donnees,
                      std::uint32_t parent, bool compagnon_possible);
  Suite copie_dossier_vers_mac(const std::string &chemin, const plateforme::DonneesRecherche &donnees,
                               std::uint32_t parent);
  Suite copie_contenu(const std::string &chemin, std::uint32_t dossier);
  Suite copie_fichier_vers_mac(const std::string &chemin, const plateforme::DonneesRecherche &donnees,
                               std::uint32_t parent, bool compagnon_possible);
  std::optional<NomItem> nom_de_pc(const plateforme::DonneesRecherche &donnees, std::uint32_t parent,
                                   const std::string &chemin);
  bool dit_si_renomme(const NomItem &nom, const plateforme::DonneesRecherche &donnees,
                      const std::string &chemin);
  Suite echec(const std::string &message);
  Suite sans_place(const std::string &chemin);
  bool arret_voulu();

  // --- copie_vers_mac_genres.cpp
  Suite copie_classe(const FichierPc &fichier, ClassePc classe, const Fichier &compagnon,
                     std::uint32_t parent);
  Suite copie_simple(const FichierPc &fichier, std::uint32_t parent);
  Suite copie_conteneur(const FichierPc &fichier, bool binhex, std::uint32_t parent);
  Suite copie_icone(const FichierPc &fichier, Ecriture &ecriture, std::uint32_t parent);
  Suite copie_apple(const FichierPc &fichier, const Fichier *compagnon, std::uint32_t parent);
  Suite copie_flux(const FichierPc &fichier, std::uint32_t parent);
  Suite copie_police(const FichierPc &fichier, bool truetype, std::uint32_t parent);
  void signale_abime(const FichierPc &fichier);

  // --- ecriture_vers_mac.cpp
  Suite libere_nom(const FichierPc &fichier, Ecriture &ecriture, std::uint32_t parent);
  [[nodiscard]] static NomItem nom_provisoire(std::uint32_t parent);
  Suite ecriture_fichier_mac(const FichierPc &fichier, Ecriture &ecriture, std::uint32_t parent);
  Suite echec_ecriture(const FichierPc &fichier, const Ecriture &ecriture, const EtatSource &etat);
  [[nodiscard]] NouveauFichier fiche_nouvelle(const FichierPc &fichier, const Ecriture &ecriture) const;
  void annonce(const FichierPc &fichier, const NomItem &nom);

  OptionsCopieMac options_;
  BilanCopieMac bilan_;
  bool hfsplus_;
  std::uint32_t premier_id_;  ///< items from this id on are of this copy
  std::string lieu_;          ///< path of the folder being filled, for messages
  plateforme::AccesFichiers acces_;
  Ancetres ancetres_;
};

}  // namespace varnion
