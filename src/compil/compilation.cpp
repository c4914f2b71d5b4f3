#include "compil/compilation.hpp"

#include <algorithm>
#include <cerrno>

#include "compil/conteneurs.hpp"
#include "compil/execution.hpp"
#include "compil/preparation.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/reconstruction.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCalculEnCours = 1344;
constexpr int kPatience = 1059;
constexpr int kArrete = 1395;
constexpr int kPassageHfsplus = 6324;  // classic HFS cannot hold the project
constexpr int kRepriseJournal = 6325;  // journal
constexpr int kRepriseVaine = 6327;
constexpr int kReconstruction = 1339;
constexpr int kExtensionIso = 1370;
constexpr int kExtensionMac = 1411;
constexpr int kPlacePrise = 7790;  // target, system error, path of the image
constexpr int kEssaisMax = 6;
constexpr std::size_t kCheminMessage = 100;

class Compilation {
 public:
  Compilation(FichierProjet &projet, const DemandeCompilation &demande, SuiviCompilation &suivi)
      : projet_(projet), demande_(demande), suivi_(suivi), conteneurs_(suivi) {
    ctx_.projet = &projet;
    ctx_.conteneurs = &conteneurs_;
    ctx_.chemin_cible = demande.cible;
    ctx_.options = demande.postgap ? kOptionPostgap : 0;
  }

  BilanCompilation lance();

 private:
  bool choisit_nature();
  bool verifie_cible();
  bool choisit_taille_bloc();
  bool passe_en_hfsplus();
  bool prend_hfsplus();
  bool nomme();
  bool reconstruit();
  bool compte();
  bool annonce();
  bool ouvre_cible();
  int execute();
  bool termine(int resultat);
  bool garde_a_cote();
  bool erreur_cible(int numero);
  /// Tells that the run was stopped; always false.
  static bool arrete();

  FichierProjet &projet_;
  const DemandeCompilation &demande_;
  SuiviCompilation &suivi_;
  Conteneurs conteneurs_;
  ContexteCompilation ctx_;
  EnteteProjet entete_;
  FichierVoisin cible_;
  std::string image_;  // where it is in the end
  bool ailleurs_ = false;
  std::uint64_t octets_ = 0;
};

bool Compilation::erreur_cible(int numero) {
  return erreur_image(demande_.cible, numero);
}

bool Compilation::arrete() {
  operations().afficher_erreur(charger_chaine(kArrete));
  return false;
}

bool Compilation::choisit_nature() {
  const auto nature = nature_demandee(projet_, demande_.genre);
  if (nature) ctx_.nature = *nature;
  return nature && (projet_.lit_entete(entete_) || erreur_cible(errno));
}

bool Compilation::verifie_cible() {
  if (!trace_phase(suivi_, "==>Creating the ISO file./Création du fichier ISO.")) return arrete();
  return cible_possible(projet_, demande_.cible);
}

bool Compilation::passe_en_hfsplus() {
  return impose_hfsplus(projet_) && prend_hfsplus();
}

// The project is in the HFS+ form by now, and so is the image from here on.
bool Compilation::prend_hfsplus() {
  ctx_.nature = ctx_.nature == Nature::hfs ? Nature::hfsplus : Nature::hybride_hfsplus;
  ctx_.taille_bloc = kSecteurIso;
  return projet_.lit_entete(entete_) || erreur_cible(errno);
}

bool Compilation::choisit_taille_bloc() {
  if (ctx_.nature == Nature::hfs &&
      !trace_phase(suivi_, "==>Computing the cluster size./Calcul de la taille des blocs."))
    return arrete();
  const auto taille = taille_bloc_demandee(projet_, ctx_.nature, demande_.borne_fourches);
  if (!taille) return passe_en_hfsplus();
  ctx_.taille_bloc = *taille;
  return true;
}

bool Compilation::nomme() {
  if (!nomme_labels(projet_, demande_.cible)) return false;
  if (!projet_.lit_entete(entete_)) return erreur_cible(errno);
  ctx_.label_iso = lit_champ(entete_.label_iso);
  ctx_.label_hfs = lit_champ(entete_.label_hfs);
  ctx_.icone_volume = entete_.icone_volume();
  ctx_.ouvrir_racine = entete_.ouvrir_racine();
  return true;
}

bool Compilation::compte() {
  const auto comptes = compte_projet(projet_);
  if (!comptes) return erreur_cible(errno);
  // Counting turns a project with more items than classic HFS can name into an HFS+ one.
  if (comptes->hfsplus && ctx_.a_volume() && !nature_est_hfsplus(ctx_.nature)) {
    operations().afficher_avis(charger_chaine(kPassageHfsplus));
    if (!(prend_hfsplus() && nomme())) return false;
  }
  ctx_.secteurs = charge_image(projet_, ctx_.nature, comptes->secteurs);
  ctx_.fichiers = comptes->fichiers;
  ctx_.dossiers = comptes->dossiers;
  ctx_.fichiers_hfs = comptes->fichiers_hfs;
  ctx_.dossiers_hfs = comptes->dossiers_hfs;
  ctx_.fichiers_iso = comptes->fichiers_iso;
  ctx_.dossiers_iso = comptes->dossiers_iso;
  return true;
}

// Brings the project up to date with the disk first, where its head asks for it.
bool Compilation::reconstruit() {
  ctx_.reconstruire = demande_.reconstruire.value_or(entete_.reconstruire());
  if (!ctx_.reconstruire) return true;
  operations().afficher_etat_seul(charger_chaine(kReconstruction));
  if (reconstruction_projet(projet_).abouti)
    return (projet_.lit_entete(entete_) || erreur_cible(errno)) && cible_permise(projet_, demande_.cible);
  return operations().arret_demande() && arrete();
}

// What the disc will be, for the progress display.
bool Compilation::annonce() {
  const std::uint64_t secteurs = ctx_.secteurs + (demande_.postgap ? kSecteursPostgap : 0);
  const bool pur = !nature_a_iso(ctx_.nature);
  return (!pur || trace_phase(suivi_, "==>Calling the compiler./Appel du compilateur.")) &&
         suivi_.texte(texte_disque(secteurs, ctx_.dossiers, ctx_.fichiers));
}

bool Compilation::ouvre_cible() {
  cible_ = FichierVoisin::commence(demande_.cible);
  if (!cible_) return erreur_cible(errno);
  return demande_.ecrasement != Ecrasement::jamais || !cible_.existait() || erreur_cible(EEXIST);
}

int Compilation::execute() {
  BesoinsVolume besoins;
  int resultat = kCompilReprise;
  for (int essai = 0; essai < kEssaisMax && resultat == kCompilReprise; ++essai) {
    if (essai > 0) {
      operations().journal(GenreJournal::information, charger_chaine(kRepriseJournal));
      if (!fichier_tronquer(cible_.fichier(), 0)) break;
    }
    suivi_.commence();
    ctx_.remarques = 0;
    Execution execution(ctx_, suivi_, cible_.fichier());
    resultat = execution.lance(besoins);
    if (resultat != kCompilReussie && execution.erreur_ecriture() != 0)
      erreur_cible(execution.erreur_ecriture());
  }
  if (resultat == kCompilReprise) operations().afficher_erreur(charger_chaine(kRepriseVaine));
  return resultat;
}

bool Compilation::termine(int resultat) {
  if (resultat != kCompilReussie) {
    cible_.jette();
    return false;
  }
  octets_ = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(cible_.fichier()), 0));
  if (cible_.pose(demande_.ecrasement)) {
    image_ = demande_.cible;
    return true;
  }
  if (errno != EIO && errno != ENOSPC && errno != EDQUOT) return garde_a_cote();
  erreur_cible(errno);
  cible_.jette();
  return false;
}

// The image is whole: what came in its way costs it its name, not the work.
bool Compilation::garde_a_cote() {
  const std::string raison = plateforme::texte_erreur(errno);
  image_ = cible_.pose_a_cote();
  ailleurs_ = true;
  operations().afficher_erreur(message(kPlacePrise, {tronque_chemin(demande_.cible, kCheminMessage), raison,
                                                     tronque_chemin(image_, kCheminMessage)}));
  return true;
}

BilanCompilation Compilation::lance() {
  BilanCompilation bilan;
  operations().afficher_etat(charger_chaine(kCalculEnCours), charger_chaine(kPatience));
  const bool pret =
      choisit_nature() && verifie_cible() && choisit_taille_bloc() && nomme() && reconstruit() && compte();
  operations().afficher_etat({}, {});
  bilan.nature = ctx_.nature;
  if (!pret) return bilan;
  if ((!annonce() && !arrete()) || !ouvre_cible()) return bilan;
  int resultat = execute();
  if (resultat == kCompilHfsplusRequis) {
    // The flag is stored in the project, which then compiles in that form.
    if (passe_en_hfsplus() && choisit_taille_bloc() && nomme()) resultat = execute();
  }
  const bool fait = termine(resultat);
  if (!fait) arrete();
  bilan.resultat = fait ? kCompilReussie : (resultat == kCompilReussie ? kCompilEchec : resultat);
  bilan.nature = ctx_.nature;
  bilan.fichiers = ctx_.fichiers;
  bilan.dossiers = ctx_.dossiers;
  bilan.octets = octets_;
  bilan.remarques = ctx_.remarques;
  bilan.image = image_;
  bilan.ailleurs = ailleurs_;
  return bilan;
}

}  // namespace

std::string extension_image(FichierProjet &projet, GenreDemande genre) {
  EnteteProjet entete;
  const bool isop = projet.mode() == ModeProjet::isop;
  const bool mac =
      !isop && (genre == GenreDemande::mac ||
                (genre == GenreDemande::hybride && estimation_secteurs(projet) && projet.lit_entete(entete) &&
                 entete.compte_iso == 0U && entete.compte_hfs != 0U));
  return charger_chaine(mac ? kExtensionMac : kExtensionIso);
}

BilanCompilation compile_projet(FichierProjet &projet, const DemandeCompilation &demande,
                                SuiviCompilation &suivi) {
  return Compilation(projet, demande, suivi).lance();
}

}  // namespace varnion
