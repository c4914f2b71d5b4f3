#include "compil/execution.hpp"

#include <algorithm>
#include <cerrno>

#include "compil/descripteurs.hpp"
#include "hfs/pilote_memoire.hpp"
#include "IO/ecarts.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "projet/fichier_projet.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kErreurTemporaires = 1500;
constexpr int kInclusionTemporaires = 1396;
constexpr int kTailleBlocRelevee = 6311;       // journal: size before, after
constexpr int kEchecVolume = 6329;             // the volume's own structures could not be made
constexpr int kTailleRelevee = 6332;           // journal: estimate, true length
constexpr std::uint64_t kDebutVolumePur = 64;  ///< 512-byte block where a pure Macintosh volume begins

std::string chemin_temporaire(const char *nom) {
  return plateforme::dossier_temporaire() + nom;
}

bool ouvre_arbre(ArbreRepertoires &arbre, const char *nom, bool joliet, std::uint32_t racine) {
  arbre.joliet = joliet;
  arbre.racine = racine;
  arbre.secteurs = 0;
  arbre.chemin = chemin_temporaire(nom);
  arbre.fichier = plateforme::ouvre(arbre.chemin, Ouverture::creation);
  return arbre.fichier.ouvert();
}

bool cree_vide(const char *nom) {
  return plateforme::ouvre(chemin_temporaire(nom), Ouverture::creation).ouvert();
}

void supprime_temporaires() {
  for (const char *nom : {kTempIsoL, kTempIsoM, kTempIso, kTempJolietL, kTempJolietM, kTempJoliet})
    static_cast<void>(plateforme::supprime(chemin_temporaire(nom)));
}

}  // namespace

void SuiviCompilation::remarque(std::string_view texte) {
  operations().afficher_erreur(texte);
}

bool trace_phase(SuiviCompilation &suivi, const char *utf8) {
  const std::string texte = plateforme::utf8_vers_texte(utf8);
  if (etat<OptionsProgramme>().niveau_trace != 0) operations().journal(GenreJournal::trace, texte);
  return suivi.trace(texte);
}

Execution::Execution(ContexteCompilation &contexte, SuiviCompilation &suivi, const Fichier &cible)
    : ctx_(contexte),
      suivi_(suivi),
      index_(*contexte.projet),
      sortie_(cible),
      volume_(VolumeMac::cree(contexte.nature)) {}

Execution::~Execution() {
  if (volume_ != nullptr) fenetre_memoire().ferme_fenetre();
}

int Execution::erreur_ecriture() const {
  return sortie_.erreur() != 0 ? sortie_.erreur() : erreur_;
}

bool Execution::echoue(int code) {
  if (code_ == kCompilReussie) code_ = code;
  return false;
}

bool Execution::erreur_systeme() {
  if (erreur_ == 0) erreur_ = errno != 0 ? errno : EIO;
  return echoue(kCompilEchec);
}

bool Execution::echec_volume() {
  operations().afficher_erreur(charger_chaine(kEchecVolume));
  return echoue(kCompilEchec);
}

bool Execution::trace(const char *utf8) {
  return trace_phase(suivi_, utf8) || echoue(kCompilEchec);
}

bool Execution::choisit_plan(const Dimensions &dimensions, BesoinsVolume &besoins) {
  const ContexteCompilation mesure = ctx_;
  secteurs_iso_seul_ = std::max(dimensions.secteurs_iso_seul, besoins.secteurs_iso_seul);
  const std::uint32_t demandee = ctx_.taille_bloc;
  for (;;) {
    if (ctx_.a_iso()) iso_ = planifie_iso(ctx_, dimensions.iso);
    if (volume_ == nullptr) break;
    besoins.blocs_donnees = dimensions.blocs(ctx_.taille_bloc) + besoins.blocs_en_plus;
    const std::uint64_t secteurs =
        ctx_.a_iso() ? iso_.taille_volume : ctx_.secteurs * ctx_.secteurs_par_bloc();
    const std::uint64_t devant = arrondi<std::uint64_t>(secteurs_iso_seul_, ctx_.secteurs_par_bloc());
    const std::uint64_t debut = ctx_.a_iso() ? (iso_.fin_catalogue + devant) * 4 : kDebutVolumePur;
    plan_volume_ = volume_->plan(ctx_, secteurs, debut, besoins);
    if (volume_->tient(plan_volume_, besoins.blocs_donnees)) break;
    const std::uint32_t suivante = ctx_.taille_bloc + kSecteurIso;
    if (suivante >= kTailleBlocMax) return echoue(kCompilHfsplusRequis);
    ctx_ = mesure;
    ctx_.taille_bloc = suivante;
  }
  if (ctx_.taille_bloc != demandee)
    operations().journal(GenreJournal::information,
                         message(kTailleBlocRelevee, {demandee, ctx_.taille_bloc}));
  const std::uint64_t metadonnees = volume_ == nullptr ? 0 : plan_volume_.taille_structures() / 4;
  iso_.taille_volume += metadonnees;
  debut_donnees_ = volume_ == nullptr ? iso_.fin_catalogue : plan_volume_.debut / 4 + metadonnees;
  return true;
}

bool Execution::ouvre_temporaires() {
  if (!trace("==>Creating the temp files./Création des fichiers temp.")) return false;
  if (ouvre_arbre(arbre_iso_, kTempIso, false, iso_.racine_iso) &&
      ouvre_arbre(arbre_joliet_, kTempJoliet, true, iso_.racine_joliet) && cree_vide(kTempIsoL) &&
      cree_vide(kTempIsoM) && cree_vide(kTempJolietL) && cree_vide(kTempJolietM))
    return true;
  operations().afficher_erreur(charger_chaine(kErreurTemporaires));
  return echoue(kCompilTemporaires);
}

bool Execution::prepare(BesoinsVolume &besoins) {
  Dimensions dimensions;
  if (!dimensionne(ctx_, index_, volume_.get(), dimensions)) return echoue(kCompilEchec);
  dimensions.iso.au_moins(besoins.iso);
  if (ctx_.a_iso() && !trace("==>Computing the ISO catalog./Calcul du catalogue ISO")) return false;
  if (volume_ != nullptr &&
      !trace(nature_est_hfsplus(ctx_.nature) ? "==>Computing the HFS+ catalog./Calcul du catalogue HFS+"
                                             : "==>Computing the HFS catalog./Calcul du catalogue HFS"))
    return false;
  if (!choisit_plan(dimensions, besoins)) return false;
  EnteteProjet entete;
  if (!ctx_.projet->lit_entete(entete)) return erreur_systeme();
  if (volume_ != nullptr) {
    secteur_zero_ = secteur_zero(plan_volume_.debut, ctx_.label_hfs);
    if (!volume_->ecrit_structures(ctx_, entete, plan_volume_, carte_)) return echec_volume();
  }
  return !ctx_.a_iso() || ouvre_temporaires();
}

bool Execution::copie_temporaire(const Fichier &fichier, std::uint32_t secteur, std::uint32_t reserve) {
  const std::int64_t taille = fichier_taille(fichier);
  if (taille < 0) return erreur_systeme();
  // Sources that changed, or names that had to be told apart, took more than was measured: nothing may lie
  // over the area behind.
  if (static_cast<std::uint64_t>(taille) > std::uint64_t{reserve} * kSecteurIso)
    return echoue(kCompilReprise);
  if (!sortie_.positionne(std::uint64_t{secteur} * kSecteurIso)) return echoue(kCompilEchec);
  return sortie_.copie(fichier, 0, static_cast<std::uint64_t>(taille)) == taille || erreur_systeme();
}

bool Execution::ecrit_chemins(ArbreRepertoires &arbre, const char *nom_l, const char *nom_m,
                              std::uint32_t secteur_l, std::uint32_t secteur_m, std::uint32_t reserve,
                              std::uint32_t &taille) {
  errno = 0;
  const auto tables = tables_chemins(arbre);
  if (!tables) return erreur_systeme();
  taille = static_cast<std::uint32_t>(tables->l.size());
  arbre.chemins_octets = taille;
  const Fichier l = plateforme::ouvre(chemin_temporaire(nom_l), Ouverture::lecture_ecriture);
  const Fichier m = plateforme::ouvre(chemin_temporaire(nom_m), Ouverture::lecture_ecriture);
  if (!l.ouvert() || !m.ouvert() || !l.ecrire(tables->l) || !m.ecrire(tables->m)) return erreur_systeme();
  return copie_temporaire(l, secteur_l, reserve) && copie_temporaire(m, secteur_m, reserve);
}

bool Execution::ferme_iso(std::uint64_t fin_donnees, std::uint64_t fin_image) {
  if (!trace(ctx_.nature == Nature::hybride_hfsplus
                 ? "==>Copying the temp. files./Copie des fichiers temp."
                 : "==>Copying the temp. ISO files./Copie des fichiers temp. ISO."))
    return false;
  if (!suivi_.texte(charger_chaine(kInclusionTemporaires))) return echoue(kCompilEchec);
  std::uint32_t taille_iso = 0;
  std::uint32_t taille_joliet = 0;
  if (!ecrit_chemins(arbre_iso_, kTempIsoL, kTempIsoM, iso_.chemins_iso_l, iso_.chemins_iso_m,
                     iso_.secteurs_chemins_iso, taille_iso) ||
      !ecrit_chemins(arbre_joliet_, kTempJolietL, kTempJolietM, iso_.chemins_joliet_l, iso_.chemins_joliet_m,
                     iso_.secteurs_chemins_joliet, taille_joliet) ||
      !copie_temporaire(arbre_iso_.fichier, iso_.racine_iso, iso_.secteurs_iso) ||
      !copie_temporaire(arbre_joliet_.fichier, iso_.racine_joliet, iso_.secteurs_joliet))
    return false;

  // The volume space size is the length of the image. Under the classic rule it is the estimate; where blocks
  // larger than a sector made the image longer than that, the true length, so that no reader takes the last
  // files for lying outside.
  std::uint64_t secteurs = quotient_haut<std::uint64_t>(fin_image, kSecteurIso);
  if (!publie(Ecart::taille_iso)) {
    secteurs = quotient_haut<std::uint64_t>(fin_donnees, kSecteurIso);
    if (secteurs > iso_.taille_volume)
      operations().journal(GenreJournal::information,
                           message(kTailleRelevee, {iso_.taille_volume, secteurs}));
    secteurs = std::max(iso_.taille_volume, secteurs);
  }
  const auto taille_volume = static_cast<std::uint32_t>(secteurs);
  EnteteProjet entete;
  if (!ctx_.projet->lit_entete(entete)) return erreur_systeme();
  SecteurDescripteur primaire = descripteur_primaire(entete, iso_, ctx_.label_iso);
  SecteurDescripteur joliet = descripteur_joliet(primaire, entete, iso_, ctx_.label_iso);
  termine_descripteur(primaire, racine_iso_taille_, taille_iso, taille_volume);
  termine_descripteur(joliet, racine_joliet_taille_, taille_joliet, taille_volume);
  const bool ecrit = sortie_.positionne(std::uint64_t{kSecteurPrimaire} * kSecteurIso) &&
                     sortie_.ecrit(primaire) && sortie_.ecrit(joliet) && sortie_.ecrit(descripteur_fin()) &&
                     sortie_.vide();
  supprime_temporaires();
  return ecrit || echoue(kCompilEchec);
}

bool Execution::cloture() {
  // The image reaches to the end of the last block, whatever was left unwritten there.
  const std::uint64_t fin = debut_donnees_ * kSecteurIso + bloc_courant_ * ctx_.taille_bloc;
  if (!sortie_.positionne(fin)) return echoue(kCompilEchec);
  std::uint64_t fin_image = fin;
  if (volume_ != nullptr) {
    if (!trace(nature_est_hfsplus(ctx_.nature)
                   ? "==>Copying the temp files./Copie des fichiers temp."
                   : "==>Copying the temp. HFS files./Copie des fichiers temp. HFS"))
      return false;
    errno = 0;
    if (!volume_->cloture(sortie_, secteur_zero_, carte_)) return erreur_systeme();
    fin_image = std::max(fin_image, sortie_.fin());
  }
  const std::uint64_t fin_donnees = fin_image;
  if ((ctx_.options & kOptionPostgap) != 0) fin_image += std::uint64_t{kSecteursPostgap} * kSecteurIso;
  if (ctx_.a_iso() && !ferme_iso(fin_donnees, fin_image)) return false;
  if (volume_ != nullptr && !(sortie_.positionne(0) && sortie_.ecrit(secteur_zero_) && sortie_.vide()))
    return echoue(kCompilEchec);
  return fichier_tronquer(sortie_.fichier(), fin_image) || erreur_systeme();
}

int Execution::lance(BesoinsVolume &besoins) {
  code_ = kCompilReussie;
  if (!prepare(besoins)) return code_;
  if (!trace(!ctx_.a_volume() ? "==>Creating the ISO image./Création de l'image ISO."
                              : "==>Creating the hybrid image./Création de l'image hybride."))
    return code_;
  Niveau racine;
  racine.extent_iso = iso_.racine_iso;
  racine.extent_joliet = iso_.racine_joliet;
  const Niveau pere = racine;
  if (!creation_volume(kRacine, pere, racine) ||
      (volume_ != nullptr && !volume_->fixe_valence_racine(racine.valence) && !echec_volume())) {
    if (code_ == kCompilReprise && fin_iso_seul_ > secteurs_iso_seul_) {
      besoins.secteurs_iso_seul = fin_iso_seul_ + 1024;
    } else if (code_ == kCompilReprise && blocs_manquants_ != 0) {
      besoins.blocs_en_plus += std::max<std::uint64_t>(blocs_manquants_, 1024);
    } else if (code_ == kCompilReprise) {
      besoins.catalogue_minimum = 2 * std::uint64_t{plan_volume_.catalogue};
    }
    return code_ == kCompilReussie ? kCompilEchec : code_;
  }
  racine_iso_taille_ = racine.taille_iso;
  racine_joliet_taille_ = racine.taille_joliet;
  if (!cloture()) {
    besoins.iso = {arbre_iso_.chemins_octets, arbre_joliet_.chemins_octets, arbre_iso_.secteurs,
                   arbre_joliet_.secteurs};
    return code_;
  }
  return kCompilReussie;
}

}  // namespace varnion
