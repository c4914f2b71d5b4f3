#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "compil/contexte.hpp"
#include "compil/dimension.hpp"
#include "compil/disposition.hpp"
#include "compil/noms_disque.hpp"
#include "compil/repertoires.hpp"
#include "compil/sortie.hpp"
#include "compil/volume_mac.hpp"
#include "fichiers/plage.hpp"
#include "IO/acces.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

// The six temporary files, under fixed names in the private folder of the run.
inline constexpr const char *kTempIsoL = "ftiso1.tmp";
inline constexpr const char *kTempIsoM = "ftiso2.tmp";
inline constexpr const char *kTempIso = "faiso.tmp";
inline constexpr const char *kTempJolietL = "ftjol1.tmp";
inline constexpr const char *kTempJolietM = "ftjol2.tmp";
inline constexpr const char *kTempJoliet = "fajol.tmp";

/// Range of an entry of an Apple container, from the first 256 bytes of a file with that magic; empty when it
/// is not there.
[[nodiscard]] PlageFourche plage_verifiee(const Fichier &fichier, std::uint32_t magie, std::uint32_t entree);

/// Tells that a phase begins: to the journal where a trace is wanted, and to `suivi`, whose answer it gives.
/// `utf8` carries both languages.
[[nodiscard]] bool trace_phase(SuiviCompilation &suivi, const char *utf8);

/// One attempt at writing the image: plan, first structures, the walk that places all data, the end.
class Execution {
 public:
  Execution(ContexteCompilation &contexte, SuiviCompilation &suivi, const Fichier &cible);
  ~Execution();
  Execution(const Execution &) = delete;
  Execution &operator=(const Execution &) = delete;

  /// kCompil… of contexte.hpp; after kCompilReprise `besoins` says more than before.
  [[nodiscard]] int lance(BesoinsVolume &besoins);
  /// errno of the write that failed, 0 when none did.
  [[nodiscard]] int erreur_ecriture() const;

 private:
  /// A directory of the project where it stands in the three trees.
  struct Niveau {
    std::uint32_t extent_iso = 0, taille_iso = 0;
    std::uint32_t extent_joliet = 0, taille_joliet = 0;
    std::uint32_t cnid = 2;     ///< catalog id, 2 for the root; 0 for a folder outside the HFS view
    std::uint32_t valence = 0;  ///< items directly in it on the Macintosh side
  };
  /// The two directories being filled; absent in a kind without an ISO side.
  struct RepertoiresOuverts {
    std::unique_ptr<Repertoire> iso, joliet;
    NomsIso noms;
    NomsJoliet noms_joliet;
    std::unordered_set<std::u16string> noms_tardifs;  ///< on the volume, those that came from the source
  };
  /// A folder whose content comes after its siblings.
  struct DossierEnAttente {
    RubriqueProjet rubrique;
    std::u16string nom_large;
    std::uint32_t cnid = 0;
    std::uint64_t fiche_iso = 0, fiche_joliet = 0;  ///< ranks, then bytes in the temporary files
  };
  /// A source file on its way in.
  struct Source {
    const RubriqueProjet &rubrique;
    const plateforme::DonneesRecherche &donnees;
    std::string chemin;
    Fichier fichier;
    std::uint64_t taille = 0;
  };
  /// Where the bytes of a fork come from; a closed file leaves zeros.
  struct OrigineFourche {
    const Fichier &fichier;
    std::uint64_t position = 0, longueur = 0;
  };

  // execution.cpp: the phases
  bool prepare(BesoinsVolume &besoins);
  bool choisit_plan(const Dimensions &dimensions, BesoinsVolume &besoins);
  bool ouvre_temporaires();
  bool cloture();
  bool ferme_iso(std::uint64_t fin_donnees, std::uint64_t fin_image);
  bool copie_temporaire(const Fichier &fichier, std::uint32_t secteur, std::uint32_t reserve);
  bool ecrit_chemins(ArbreRepertoires &arbre, const char *nom_l, const char *nom_m, std::uint32_t secteur_l,
                     std::uint32_t secteur_m, std::uint32_t reserve, std::uint32_t &taille);
  bool trace(const char *utf8);
  bool echoue(int code);  ///< notes why the run ends; always false
  bool erreur_systeme();  ///< notes `errno`; always false
  bool echec_volume();    ///< tells that the volume's structures could not be made; always false

  // parcours.cpp: the walk
  bool creation_volume(std::uint32_t dossier, const Niveau &pere, Niveau &ici);
  bool place_enfants(std::uint32_t dossier, Niveau &ici, RepertoiresOuverts &ouverts,
                     std::vector<DossierEnAttente> &attente);
  bool place_dossier(const RubriqueProjet &r, Niveau &ici, RepertoiresOuverts &ouverts,
                     std::vector<DossierEnAttente> &attente);
  bool ferme_repertoires(RepertoiresOuverts &ouverts, Niveau &ici, std::vector<DossierEnAttente> &attente,
                         bool racine);
  bool descend(const DossierEnAttente &d, const Niveau &ici);
  /// In the HFS view, and its folder too: what lies in a folder outside the view is not reached there.
  [[nodiscard]] bool va_sur_volume(const RubriqueProjet &r, const Niveau &ici) const;
  bool note_catalogue(Catalogue resultat, const RubriqueProjet &r);
  /// False, after a message, when another item of the folder has the name that the volume is to have.
  bool nom_mac_libre(const RubriqueProjet &r, std::u16string_view nom_large, const Niveau &ici,
                     RepertoiresOuverts &ouverts);
  /// Bytes of a Joliet name; one that is not the item's own is told.
  std::string octets_joliet(const NomJoliet &nom, const std::string &chemin);
  void remarque(int id, const std::string &chemin, const std::string &detail = {});
  void remarque(const std::string &texte);

  // inclusion.cpp: the data of one file
  bool inclusion_fichier(const RubriqueProjet &rubrique, Niveau &ici, RepertoiresOuverts &ouverts);
  bool inclusion_iso(const Source &source, bool partage, RepertoiresOuverts &ouverts, Fourche &copie);
  bool copie_iso_seul(const Source &source);
  bool copie_donnees(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur,
                     const Source &source, std::uint64_t cible);
  bool inclusion_mac(Source &source, const Fourche *copie, Niveau &ici, RepertoiresOuverts &ouverts);
  bool copie_fourche(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur,
                     const Source &source, Fourche &fourche);
  bool reserve_blocs(std::uint64_t longueur);
  bool ressource_double(const Source &source, Fourche &rsrc);
  /// The MacBinary form of a MacBinary or BinHex source, where it begins in which file.
  struct FormeMacBinaire {
    const Fichier *fichier = nullptr;
    std::uint64_t base = 0;
    std::uint16_t drapeaux = 0;
    Fichier decode;  ///< of a text that the measure did not keep
  };
  /// False when the run ends.
  bool forme_macbinaire(const Source &source, FormeMacBinaire &forme);
  bool decode_source(const Source &source, Fichier &decode);
  bool copie_single(const Source &source, Fourche &data, Fourche &rsrc);
  bool copie_macbinaire(const Source &source, Fourche &data, Fourche &rsrc, std::uint16_t &drapeaux);
  std::int64_t copie_vers_image(const Fichier &fichier, std::uint64_t position, std::uint64_t longueur,
                                const std::string &nom);

  // inclusion_apple.cpp: the files of an ISO+ project
  bool inclusion_apple(const Source &source, RepertoiresOuverts &ouverts);
  bool iso_plain(const Source &source, RepertoiresOuverts &ouverts);
  bool iso_double(const Source &source, RepertoiresOuverts &ouverts);
  bool iso_single(const Source &source, RepertoiresOuverts &ouverts);
  bool iso_macbinary(const Source &source, RepertoiresOuverts &ouverts);
  bool place_paire(const Source &source, const OrigineFourche &rsrc, const OrigineFourche &data,
                   const DateRepertoire &date, std::uint16_t finder, RepertoiresOuverts &ouverts);

  ContexteCompilation &ctx_;
  SuiviCompilation &suivi_;
  IndexEnfants index_;
  plateforme::AccesFichiers acces_;
  SortieImage sortie_;
  std::unique_ptr<VolumeMac> volume_;
  PlanIso iso_;
  PlanVolume plan_volume_;
  SecteurZero secteur_zero_{};
  DispositionImage carte_;
  ArbreRepertoires arbre_iso_, arbre_joliet_;
  std::uint32_t racine_iso_taille_ = 0, racine_joliet_taille_ = 0;
  std::uint64_t debut_donnees_ = 0;      ///< sector of `bloc_courant` 0
  std::uint64_t secteurs_iso_seul_ = 0;  ///< room ahead of the volume for what the ISO side alone reads
  std::uint64_t fin_iso_seul_ = 0;       ///< sectors of it that are taken
  std::uint64_t bloc_courant_ = 0;
  std::uint64_t blocs_manquants_ = 0;  ///< run of blocks that found no bit in the map
  int code_ = kCompilReussie;
  int erreur_ = 0;
  bool petits_annonces_ = false;  ///< the line "small files" stands in the progress display
};

}  // namespace varnion
