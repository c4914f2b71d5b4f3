#include "fichiers/copie_vers_mac.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "fichiers/applesimple.hpp"
#include "fichiers/nom_volume.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

// The walk over the files and folders of the PC.

namespace varnion {

namespace {

using plateforme::DonneesRecherche;

constexpr int kManquePlace = 1073;
constexpr int kCopieDossier = 1118;
constexpr int kArreter = 1124;
constexpr int kDossierExiste = 1160;
constexpr int kIllisible = 6127;       // path, reason
constexpr int kRenomme = 6129;         // path, name on the volume
constexpr int kSansNom = 6133;         // path
constexpr int kDossierNonFait = 6134;  // path
constexpr int kBoucle = 6135;          // path
constexpr int kOrphelin = 6136;        // path
constexpr int kLaisse = 6137;          // path
constexpr std::size_t kCheminMessage = 200;

std::string court(std::string_view chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

std::uint32_t prochain_id() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return 0;
  return volume.est_hfsplus ? std::uint32_t{volume.vhb->nextCatalogID} : std::uint32_t{volume.mdb->drNxtCNID};
}

/// What is known of the companions among the entries of a folder.
class Compagnons {
 public:
  explicit Compagnons(const std::vector<DonneesRecherche> &liste) {
    for (const DonneesRecherche &entree : liste)
      if (!entree.est_dossier() && est_nom_compagnon(entree.nom_long)) noms_.insert(entree.nom_large);
    if (noms_.empty()) return;
    for (const DonneesRecherche &entree : liste)
      if (!entree.est_dossier()) fichiers_.insert(entree.nom_large);
  }
  [[nodiscard]] bool a(const DonneesRecherche &entree) const {
    return !noms_.empty() && noms_.contains(u"._" + entree.nom_large);
  }
  /// The file that this companion belongs to lies beside it.
  [[nodiscard]] bool sert(const DonneesRecherche &compagnon) const {
    return fichiers_.contains(compagnon.nom_large.substr(kPrefixeCompagnon.size()));
  }

 private:
  std::unordered_set<std::u16string> noms_, fichiers_;
};

}  // namespace

CopieVersMac::CopieVersMac(OptionsCopieMac options)
    : options_(std::move(options)), hfsplus_(volume_courant().est_hfsplus), premier_id_(prochain_id()) {}

bool CopieVersMac::arret_voulu() {
  if (!operations().arret_demande()) return false;
  bilan_.arret =
      etat<OptionsProgramme>().mode_lot || operations().demander_oui_non(charger_chaine(kArreter)) != 0;
  return bilan_.arret;
}

CopieVersMac::Suite CopieVersMac::echec(const std::string &message) {
  ++bilan_.echecs;
  operations().afficher_erreur(message);
  return Suite::fin;
}

CopieVersMac::Suite CopieVersMac::sans_place(const std::string &chemin) {
  bilan_.arret = true;
  return echec(charger_chaine(kManquePlace) + "\n" + court(chemin));
}

bool CopieVersMac::copie_vers_mac(const std::string &chemin, std::uint32_t dossier, const std::string &lieu) {
  std::string absolu = plateforme::chemin_absolu(chemin);
  while (absolu.size() > 1 && absolu.back() == '/') absolu.pop_back();
  const auto donnees = plateforme::cherche_fichier(absolu);
  if (!donnees) {
    static_cast<void>(echec(message(kIllisible, {court(chemin), plateforme::texte_erreur(errno)})));
    return true;
  }
  if (!element_tient(absolu, *donnees)) {
    ++bilan_.echecs;
    bilan_.arret = true;
    return false;
  }
  lieu_ = lieu;
  ancetres_ = {};
  if (!arret_voulu()) static_cast<void>(copie_element(absolu, *donnees, dossier, true));
  return !bilan_.arret;
}

CopieVersMac::Suite CopieVersMac::copie_element(const std::string &chemin, const DonneesRecherche &donnees,
                                                std::uint32_t parent, bool compagnon_possible) {
  return donnees.est_dossier() ? copie_dossier_vers_mac(chemin, donnees, parent)
                               : copie_fichier_vers_mac(chemin, donnees, parent, compagnon_possible);
}

// --- names
// ----------------------------------------------------------------------------------------------------

// True, and told, when the volume cannot hold the name as the PC has it.
bool CopieVersMac::dit_si_renomme(const NomItem &nom, const DonneesRecherche &donnees,
                                  const std::string &chemin) {
  const std::string windows = nom_item_windows(nom);
  const bool change = hfsplus_ ? donnees.nom_large.find(u':') != std::u16string::npos
                               : nom_hors_page(donnees) || windows != donnees.nom_long;
  if (!change) return false;
  ++bilan_.renommes;
  operations().afficher_avis(message(kRenomme, {court(chemin), windows}));
  return true;
}

// The name that a PC file or folder gets; nullopt, told, when the user gives it up.
std::optional<NomItem> CopieVersMac::nom_de_pc(const DonneesRecherche &donnees, std::uint32_t parent,
                                               const std::string &chemin) {
  NomItem nom;
  if (hfsplus_) {
    nom = nom_hfsplus_de_pc(donnees);
  } else {
    const auto pris = [parent](std::string_view mac) { return existe({std::string(mac), {}}, parent) != 0; };
    const auto mac = tronque_nom_mac(nom_mac_de_pc(donnees), pris, options_.troncature);
    if (!mac) {
      ++bilan_.sautes;
      operations().afficher_erreur(message(kLaisse, {court(chemin)}));
      return std::nullopt;
    }
    nom.mac = *mac;
  }
  if (nom_vide(nom)) {
    static_cast<void>(echec(message(kSansNom, {court(chemin)})));
    return std::nullopt;
  }
  static_cast<void>(dit_si_renomme(nom, donnees, chemin));
  return nom;
}

// --- folders
// --------------------------------------------------------------------------------------------------

CopieVersMac::Suite CopieVersMac::copie_dossier_vers_mac(const std::string &chemin,
                                                         const DonneesRecherche &donnees,
                                                         std::uint32_t parent) {
  if (!ancetres_.entre(chemin)) {
    static_cast<void>(echec(message(kBoucle, {court(chemin)})));
    return Suite::saute;
  }
  auto nom = nom_de_pc(donnees, parent, chemin);
  Suite suite = Suite::saute;
  // Two folders of the PC with one name on the volume: the second keeps its content under another one.
  if (nom && reponses_volume().reponse_remplacer != 0) {
    const auto autre = hfsplus_ ? element_hfsplus(parent, nom->unicode) : element_hfs(parent, nom->mac);
    if (autre && autre->id >= premier_id_) {
      *nom = nom_distinct(*nom, donnees);
      ++bilan_.renommes;
      operations().afficher_avis(message(kRenomme, {court(chemin), nom_item_windows(*nom)}));
    }
  }
  if (nom && existe(*nom, parent) != 0) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kDossierExiste, {nom_item_windows(*nom)}));
  } else if (nom) {
    const std::uint32_t id = cree_dossier(*nom, parent);
    if (id == 0) {
      bilan_.arret = true;
      suite = echec(message(kDossierNonFait, {court(chemin)}));
    } else {
      ++bilan_.dossiers;
      const std::string lieu = lieu_ + nom_item_windows(*nom) + "/";
      if (etat<OptionsProgramme>().niveau_trace > 1)
        operations().journal(GenreJournal::brut, message(kCopieDossier, {chemin, lieu}) + "\r\n");
      const std::string ici = std::exchange(lieu_, lieu);
      suite = copie_contenu(chemin, id);
      lieu_ = ici;
    }
  }
  ancetres_.sort();
  return suite;
}

CopieVersMac::Suite CopieVersMac::copie_contenu(const std::string &chemin, std::uint32_t dossier) {
  const auto liste = plateforme::liste_dossier(chemin);
  if (!liste) return echec(message(kIllisible, {court(chemin), plateforme::texte_erreur(errno)}));
  const Compagnons compagnons(*liste);
  for (std::size_t i = 0; i < liste->size(); ++i) {
    const DonneesRecherche &entree = (*liste)[i];
    if (arret_voulu()) {
      bilan_.non_atteints += liste->size() - i;
      return Suite::fin;
    }
    if (hfsplus_ && est_nom_compagnon(entree.nom_long)) {
      ++bilan_.compagnons;
      if (!entree.est_dossier() && compagnons.sert(entree)) continue;
      ++bilan_.sautes;
      operations().afficher_erreur(message(kOrphelin, {court(chemin + "/" + entree.nom_long)}));
      continue;
    }
    const auto nom = nom_ouvrable(entree);
    const Suite suite = nom ? copie_element(chemin + "/" + *nom, entree, dossier, compagnons.a(entree))
                            : echec(message(kSansNom, {court(chemin + "/" + entree.nom_long)}));
    // A folder that stopped halfway does not stop the one above it, unless all is to stop.
    if (suite == Suite::fin && (bilan_.arret || !entree.est_dossier())) {
      bilan_.non_atteints += liste->size() - i - 1;
      return Suite::fin;
    }
  }
  return Suite::entre;
}

// --- files
// ----------------------------------------------------------------------------------------------------

CopieVersMac::Suite CopieVersMac::copie_fichier_vers_mac(const std::string &chemin,
                                                         const DonneesRecherche &donnees,
                                                         std::uint32_t parent, bool compagnon_possible) {
  FichierPc fichier;
  fichier.donnees = &donnees;
  fichier.chemin = chemin;
  fichier.fichier = acces_.ouvre(chemin);
  if (!fichier.fichier || !lit_debut_pc(fichier))
    return echec(message(kIllisible, {court(fichier.affiche()), plateforme::texte_erreur(errno)}));
  IndicesPc indices;
  indices.compagnon_possible = compagnon_possible;
  indices.flux_possible = acces_.flux_possible(fichier.fichier);
  indices.polices = options_.polices;
  indices.hfsplus = hfsplus_;
  Fichier compagnon;
  const ClassePc classe = classe_fichier_pc(fichier, indices, compagnon);
  const Suite suite = copie_classe(fichier, classe, compagnon, parent);
  if (options_.suivi) options_.suivi(bilan_);
  return suite;
}

}  // namespace varnion
