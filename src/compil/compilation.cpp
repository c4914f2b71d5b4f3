#include "compil/compilation.hpp"

#include <algorithm>
#include <cerrno>

#include "compil/execution.hpp"
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

constexpr int kVuesVides = 1550;
constexpr int kVueIsoVide = 1551;
constexpr int kVueHfsVide = 1552;
constexpr int kIsopVide = 1553;
constexpr int kPlaceManque = 1073;
constexpr int kQuatreGigas = 1474;
constexpr int kSansTitre = 1287;
constexpr int kCalculEnCours = 1344;
constexpr int kPatience = 1059;
constexpr int kArrete = 1395;
constexpr int kEcritureImage = 6322;   // image, system error
constexpr int kCibleEstProjet = 6323;  // path
constexpr int kPassageHfsplus = 6324;  // classic HFS cannot hold the project
constexpr int kRepriseJournal = 6325;  // journal
constexpr int kRepriseVaine = 6327;
constexpr int kReconstruction = 1339;
constexpr int kVueDemandeeVide = 6331;
constexpr int kExtensionIso = 1370;
constexpr int kExtensionMac = 1411;
constexpr int kTitreDisque = 1293;  // size, folders, files
constexpr std::size_t kLongueurMessage = 100;
constexpr std::uint64_t kLimiteFat = 0xFFFF0000;
constexpr int kEssaisMax = 6;
constexpr std::size_t kLabelIsoMax = 16;

class Compilation {
 public:
  Compilation(FichierProjet &projet, const DemandeCompilation &demande, SuiviCompilation &suivi)
      : projet_(projet), demande_(demande), suivi_(suivi) {
    ctx_.projet = &projet;
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
  bool erreur_cible(int numero);

  FichierProjet &projet_;
  const DemandeCompilation &demande_;
  SuiviCompilation &suivi_;
  ContexteCompilation ctx_;
  EnteteProjet entete_;
  Fichier cible_;
  std::string chemin_partiel_;
  std::uint64_t octets_ = 0;
};

std::string dossier_de(const std::string &chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  return barre == std::string::npos ? std::string(".") : chemin.substr(0, barre + 1);
}

std::string nom_sans_extension(const std::string &chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::string nom = barre == std::string::npos ? chemin : chemin.substr(barre + 1);
  const std::size_t point = nom.rfind('.');
  return point == std::string::npos || point == 0 ? nom : nom.substr(0, point);
}

bool Compilation::erreur_cible(int numero) {
  operations().afficher_erreur(message(
      kEcritureImage, {tronque_chemin(demande_.cible, kLongueurMessage), plateforme::texte_erreur(numero)}));
  return false;
}

bool Compilation::choisit_nature() {
  if (!estimation_secteurs(projet_) || !projet_.vide() || !projet_.lit_entete(entete_))
    return erreur_cible(errno);
  const bool iso = entete_.compte_iso != 0;
  const bool mac = entete_.compte_hfs != 0;
  if (projet_.mode() == ModeProjet::isop) {
    ctx_.nature = Nature::iso_apple;
    if (!iso) operations().afficher_erreur(charger_chaine(kIsopVide));
    return iso;
  }
  if (!iso && !mac) {
    operations().afficher_erreur(charger_chaine(kVuesVides));
    return false;
  }
  GenreDemande genre = demande_.genre;
  if (genre == GenreDemande::hybride && !iso) {
    operations().afficher_avis(charger_chaine(kVueIsoVide));
    genre = GenreDemande::mac;
  } else if (genre == GenreDemande::hybride && !mac) {
    operations().afficher_avis(charger_chaine(kVueHfsVide));
    genre = GenreDemande::iso;
  }
  if ((genre == GenreDemande::iso && !iso) || (genre == GenreDemande::mac && !mac)) {
    operations().afficher_erreur(charger_chaine(kVueDemandeeVide));
    return false;
  }
  const bool plus = projet_.hfsplus();
  ctx_.nature = genre == GenreDemande::iso   ? Nature::iso
                : genre == GenreDemande::mac ? (plus ? Nature::hfsplus : Nature::hfs)
                                             : (plus ? Nature::hybride_hfsplus : Nature::hybride_hfs);
  return true;
}

bool Compilation::verifie_cible() {
  if (!trace_phase(suivi_, "==>Creating the ISO file./Création du fichier ISO.")) return false;
  const std::string dossier = dossier_de(demande_.cible);
  if (plateforme::est_dossier(demande_.cible)) return erreur_cible(EISDIR);
  if (plateforme::meme_fichier(demande_.cible, projet_.chemin())) {
    operations().afficher_erreur(
        message(kCibleEstProjet, {tronque_chemin(demande_.cible, kLongueurMessage)}));
    return false;
  }
  const std::uint64_t estimation = projet_.estimation();
  if (!plateforme::accepte_gros_fichiers(dossier) && estimation * kSecteurIso > kLimiteFat) {
    operations().afficher_erreur(charger_chaine(kQuatreGigas));
    return false;
  }
  const auto libre = plateforme::espace_libre(dossier);
  if (libre && (*libre >> 20) * 512 < estimation) {
    operations().afficher_erreur(charger_chaine(kPlaceManque));
    return false;
  }
  return true;
}

bool Compilation::passe_en_hfsplus() {
  return change_format(projet_, true, troncature_automatique()) && prend_hfsplus();
}

// The project is in the HFS+ form by now, and so is the image from here on.
bool Compilation::prend_hfsplus() {
  operations().afficher_avis(charger_chaine(kPassageHfsplus));
  ctx_.nature = ctx_.nature == Nature::hfs ? Nature::hfsplus : Nature::hybride_hfsplus;
  ctx_.taille_bloc = kSecteurIso;
  return projet_.lit_entete(entete_) || erreur_cible(errno);
}

bool Compilation::choisit_taille_bloc() {
  ctx_.taille_bloc = kSecteurIso;
  if (!ctx_.a_volume() || nature_est_hfsplus(ctx_.nature)) return true;
  if (ctx_.nature == Nature::hfs &&
      !trace_phase(suivi_, "==>Computing the cluster size./Calcul de la taille des blocs."))
    return false;
  const LongueursProjet longueurs(projet_);
  for (std::uint32_t taille = kSecteurIso; taille < kTailleBlocMax; taille += kSecteurIso) {
    const bool fourches = !demande_.borne_fourches || ctx_.nature != Nature::hybride_hfs ||
                          longueurs.plus_grande_branche() / taille < 0x7FFF;
    if (!fourches || longueurs.blocs(taille) >= 65536) continue;
    ctx_.taille_bloc = taille;
    return true;
  }
  return passe_en_hfsplus();
}

/// True for the label of a new project, in either language, and for none.
bool sans_titre(const std::string &label) {
  const int langue = base_langue();
  bool trouve = label.empty();
  for (const int autre : {kLangueAnglais, kLangueFrancais}) {
    fixer_base_langue(autre);
    trouve = trouve || label == charger_chaine(kSansTitre);
  }
  fixer_base_langue(langue);
  return trouve;
}

// "Untitled" never reaches the disc: a label that still says so becomes the name of the target. Each label is
// looked at for itself, so that one the user typed stays where the other was left alone.
bool Compilation::nomme() {
  const std::string nom = nom_sans_extension(demande_.cible);
  const bool iso = sans_titre(lit_champ(entete_.label_iso));
  const bool hfs = sans_titre(lit_champ(entete_.label_hfs));
  if (iso) ecrit_champ_coupe(entete_.label_iso, nom, kLabelIsoMax);
  if (hfs)
    ecrit_champ_coupe(entete_.label_hfs, entete_.hfsplus() ? nom : nom_mac(nom),
                      entete_.hfsplus() ? entete_.label_hfs.size() - 1 : kNomVolumeHfsMax);
  if ((iso || hfs) && !(projet_.ecrit_entete(entete_) && projet_.vide())) return erreur_cible(errno);
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
  const bool classique = ctx_.a_volume() && !nature_est_hfsplus(ctx_.nature);
  if (comptes->hfsplus && classique && !(prend_hfsplus() && nomme())) return false;
  // Without a Macintosh volume no source stands on the disc twice, whole and decoded.
  ctx_.secteurs = ctx_.a_volume() ? comptes->secteurs : calcul_blocs(projet_, kSecteurIso);
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
  ctx_.reconstruire = entete_.reconstruire();
  if (!ctx_.reconstruire) return true;
  operations().afficher_etat_seul(charger_chaine(kReconstruction));
  if (reconstruction_projet(projet_).abouti) return projet_.lit_entete(entete_) || erreur_cible(errno);
  if (operations().arret_demande()) operations().afficher_erreur(charger_chaine(kArrete));
  return false;
}

// What the disc will be, for the progress display.
bool Compilation::annonce() {
  const std::uint64_t secteurs = ctx_.secteurs + (demande_.postgap ? kSecteursPostgap : 0);
  const std::string taille = std::to_string(quotient_haut<std::uint64_t>(secteurs, 512)) + " MB";
  const bool pur = !nature_a_iso(ctx_.nature);
  return (!pur || trace_phase(suivi_, "==>Calling the compiler./Appel du compilateur.")) &&
         suivi_.texte(message(kTitreDisque, {taille, ctx_.dossiers, ctx_.fichiers}));
}

bool Compilation::ouvre_cible() {
  for (int n = 1; n <= 100; ++n) {
    chemin_partiel_ = demande_.cible + (n == 1 ? ".part" : ".part" + std::to_string(n));
    cible_ = plateforme::ouvre(chemin_partiel_, Ouverture::creation_neuve);
    if (cible_.ouvert()) return true;
    if (errno != EEXIST) return erreur_cible(errno);
  }
  return erreur_cible(EEXIST);
}

int Compilation::execute() {
  BesoinsVolume besoins;
  int resultat = kCompilReprise;
  for (int essai = 0; essai < kEssaisMax && resultat == kCompilReprise; ++essai) {
    if (essai > 0) {
      operations().journal(GenreJournal::information, charger_chaine(kRepriseJournal));
      if (!fichier_tronquer(cible_, 0)) break;
    }
    ctx_.remarques = 0;
    Execution execution(ctx_, suivi_, cible_);
    resultat = execution.lance(besoins);
    if (resultat != kCompilReussie && execution.erreur_ecriture() != 0)
      erreur_cible(execution.erreur_ecriture());
  }
  if (resultat == kCompilReprise) operations().afficher_erreur(charger_chaine(kRepriseVaine));
  return resultat;
}

bool Compilation::termine(int resultat) {
  bool fait = resultat == kCompilReussie;
  if (fait) octets_ = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(cible_), 0));
  if (!cible_.fermer() && fait) fait = erreur_cible(errno);
  if (fait && !plateforme::renomme(chemin_partiel_, demande_.cible)) fait = erreur_cible(errno);
  if (!fait) static_cast<void>(plateforme::supprime(chemin_partiel_));
  return fait;
}

BilanCompilation Compilation::lance() {
  BilanCompilation bilan;
  operations().afficher_etat(charger_chaine(kCalculEnCours), charger_chaine(kPatience));
  const bool pret =
      choisit_nature() && verifie_cible() && choisit_taille_bloc() && nomme() && reconstruit() && compte();
  operations().afficher_etat({}, {});
  bilan.nature = ctx_.nature;
  if (!pret || !annonce() || !ouvre_cible()) return bilan;
  int resultat = execute();
  if (resultat == kCompilHfsplusRequis) {
    // The flag is stored in the project, which then compiles in that form.
    if (passe_en_hfsplus() && choisit_taille_bloc() && nomme()) resultat = execute();
  }
  const bool fait = termine(resultat);
  if (!fait) operations().afficher_erreur(charger_chaine(kArrete));
  bilan.resultat = fait ? kCompilReussie : (resultat == kCompilReussie ? kCompilEchec : resultat);
  bilan.nature = ctx_.nature;
  bilan.fichiers = ctx_.fichiers;
  bilan.dossiers = ctx_.dossiers;
  bilan.octets = octets_;
  bilan.remarques = ctx_.remarques;
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
