#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "IO/acces.hpp"
#include "IO/plateforme.hpp"
#include "projet/arborescence.hpp"
#include "projet/inclusion.hpp"
#include "projet/inclusion_lots.hpp"

namespace varnion {

struct HacheIdentite {
  std::size_t operator()(const plateforme::IdentiteFichier &identite) const {
    return std::hash<std::uint64_t>{}(identite.inode * 0x9E3779B97F4A7C15U + identite.unite);
  }
};
/// Disk folders and a path that leads to each.
using IdentitesDossiers = std::unordered_map<plateforme::IdentiteFichier, std::string, HacheIdentite>;
/// The sources of the folders of a project, as far as they are there.
[[nodiscard]] IdentitesDossiers identites_dossiers(const FichierProjet &projet);

/// What one folder of the project received from a scan.
struct CibleInclusion {
  std::uint32_t numero = 0;
  std::uint64_t dossiers = 0, fichiers = 0;  ///< added directly to it
  bool icone = false;                        ///< it takes a custom icon
};

/// One scan: walks the disk depth first, level by level, and gathers the records in temporary files. All
/// items of a folder are numbered before those of its first subfolder. The project is only read; what is to
/// be done to it at the end is told by the accessors.
class ParcoursInclusion {
 public:
  ParcoursInclusion(FichierProjet &projet, std::uint32_t dossier, const OptionsInclusion &options,
                    ReponsesVues &reponses);

  /// The items that follow go into another folder of the project, `vue` being its view code.
  void change_cible(std::uint32_t dossier, int vue);
  /// Puts a finished record of a file into the target, under the next number.
  void ajoute_rubrique(RubriqueProjet rubrique);
  /// Scans one entry of the disk folder `dossier_disque` (ending in "/") into the target, with all below it.
  void ajoute_element(const std::string &dossier_disque, const plateforme::DonneesRecherche &entree);
  /// Scans the content of a disk folder into the target.
  void ajoute_contenu(const std::string &dossier_disque);

  /// From now on names that the target has from another source are told; else they are a log line.
  void annonce(bool valeur) { annonce_ = valeur; }
  /// Links to the folders that the project has are left out from now on.
  void note_dossiers_du_projet() { parcourus_ = identites_dossiers(projet_); }
  /// Leaves out an item whose name the target has from another source.
  void refuse_nom(const std::string &chemin);

  /// Counts one item left out with a message: a text, or the system's reason for a path.
  void signale(const std::string &texte);
  void signale(const std::string &chemin, int erreur);

  /// 0, or a duplicate result: see `deja_present`.
  [[nodiscard]] int deja_present(std::string_view nom, std::string_view chemin) const;
  [[nodiscard]] bool meme_source(std::string_view nom, std::string_view chemin) const {
    return presents_.meme_source(nom, chemin);
  }

  [[nodiscard]] bool en_cours() const { return !bilan_.arrete && !bilan_.echoue; }
  [[nodiscard]] BilanInclusion &bilan() { return bilan_; }
  [[nodiscard]] const BilanInclusion &bilan() const { return bilan_; }
  [[nodiscard]] LotsRubriques &lots() { return lots_; }
  [[nodiscard]] bool icone_volume() const { return icone_volume_; }
  /// Paths of the first items of `ecartes`.
  [[nodiscard]] const std::vector<std::string> &premiers_ecartes() const { return premiers_ecartes_; }
  /// The targets, each time that one was taken up.
  [[nodiscard]] const std::vector<CibleInclusion> &cibles() const { return cibles_; }
  /// Sectors that the new items add to the estimate.
  [[nodiscard]] std::uint64_t secteurs() const { return secteurs_; }
  /// The new folders: number and folder that holds it.
  [[nodiscard]] const std::vector<std::pair<std::uint32_t, std::uint32_t>> &dossiers() const {
    return dossiers_;
  }
  /// Brings the running counters of the project up to the numbers given here.
  void releve_compteurs(FichierProjet &projet) const;

 private:
  using Compagnons = std::unordered_set<std::u16string>;
  using Identite = plateforme::IdentiteFichier;

  /// A folder to scan, and what its items need to know of it.
  struct Niveau {
    std::uint32_t numero = 0;
    std::string chemin;  ///< as items store it, ending in "/"
    Identite identite;
    int vue = kVueRacine;
    std::optional<std::uint64_t> place;  ///< rank of its record among the new ones; none for the target
    std::size_t profondeur = 0;
    std::uint32_t dossiers = 0, fichiers = 0;
  };

  bool commence();
  bool arret();
  [[nodiscard]] bool numeros_restent(std::uint32_t dernier);
  void descend();
  void scanne(Niveau &niveau);
  void element(Niveau &niveau, const plateforme::DonneesRecherche &entree, const std::string &nom,
               const Compagnons *compagnons);
  void dossier(Niveau &niveau, const plateforme::DonneesRecherche &entree, const std::string &nom,
               const std::string &chemin, bool nomme);
  void fichier(Niveau &niveau, const plateforme::DonneesRecherche &entree, const std::string &nom,
               const std::string &chemin, const Compagnons *compagnons);
  [[nodiscard]] RubriqueProjet rubrique_neuve(const Niveau &niveau,
                                              const plateforme::DonneesRecherche &entree,
                                              const std::string &nom) const;
  std::uint64_t inscrit(Niveau &niveau, RubriqueProjet &rubrique, const plateforme::DonneesRecherche &entree,
                        const std::string &nom);
  void icone(Niveau &niveau, RubriqueProjet rubrique);
  void commence_demande(const std::string &sommet);
  void ecarte(int id, const std::string &chemin, const std::string &autre = {});
  void ecarte_orphelins(const Niveau &niveau, const std::vector<plateforme::DonneesRecherche> &liste);
  [[nodiscard]] bool ecarte_dossier(const Niveau &niveau, const plateforme::DonneesRecherche &entree,
                                    const std::string &chemin, bool nomme);
  [[nodiscard]] std::optional<std::string> deja_parcouru(const plateforme::DonneesRecherche &entree,
                                                         const std::string &chemin);
  [[nodiscard]] bool boucle(const plateforme::DonneesRecherche &entree, const std::string &chemin,
                            std::size_t profondeur) const;
  [[nodiscard]] Niveau niveau_cible(const std::string &dossier_disque) const;
  void note_presents();
  void reprend_comptes(const Niveau &niveau);
  void avance();

  FichierProjet &projet_;
  const OptionsInclusion &options_;
  ReponsesVues &reponses_;
  plateforme::AccesFichiers acces_;
  NomsPresents presents_;
  std::vector<RubriqueProjet> venus_;  ///< put into the target folder by the path in hand
  LotsRubriques lots_;
  std::vector<Niveau> a_faire_;             // folders to descend into, the next one last
  std::string haut_;                        // disk folder of the path in hand
  std::vector<Identite> ancetres_;          // disk folders on the way to the level at hand
  IdentitesDossiers parcourus_;             // folders taken
  IdentitesDossiers de_la_demande_;         // those of the path in hand
  std::string sommet_;                      // what the path in hand names
  std::optional<std::string> sommet_reel_;  // the same without links, once a link asks for it
  std::vector<std::string> premiers_ecartes_;
  bool annonce_ = false;
  BilanInclusion bilan_;
  int vue_cible_ = kVueRacine;
  std::vector<CibleInclusion> cibles_;
  std::uint32_t dernier_dossier_, dernier_fichier_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> dossiers_;
  std::uint64_t secteurs_ = 0;
  bool icone_volume_ = false;
};

/// The name under which an entry is kept: its long name, or the short one where the long name has characters
/// out of the code page, a separator, or more bytes than its field; nullopt when neither serves.
[[nodiscard]] std::optional<std::string> nom_retenu(const plateforme::DonneesRecherche &entree);

}  // namespace varnion
