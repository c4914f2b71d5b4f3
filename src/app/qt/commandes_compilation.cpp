// From the project to an image: what is asked before the worker begins.

#include "app/qt/travaux.hpp"

#include <cerrno>
#include <optional>
#include <string>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tcompilation.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/tvarthread.hpp"
#include "compil/compilation.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/reconstruction.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCalculEnCours = 1344;
constexpr int kPatience = 1059;
constexpr int kReconstruction = 1339;
constexpr int kTitreCible = 1369;
constexpr int kArrete = 1395;
constexpr int kFermerQuandMeme = 7024;

// String ids of the choice of a target.
struct DialogueCible {
  int filtre, extension;
};
constexpr DialogueCible kCibleIso{1367, 1370};
constexpr DialogueCible kCibleMac{1410, 1411};

// "DComp", the name of the project with another extension.
QString depart_cible(const FichierProjet &projet, int extension) {
  const std::string &chemin = projet.chemin();
  const std::string nom = chemin.substr(chemin.find_last_of("/\\") + 1);
  std::string dossier = reglages().dossier_compile;
  if (!dossier.empty() && !dossier.ends_with('/')) dossier += '/';
  return vers_qt(dossier + chemin_extension(nom, charger_chaine(extension)));
}

// `choix_cible_iso` and `choix_cible_dmg`, which differ by their strings. The file itself is made by the run.
std::optional<std::string> choix_cible(TVarnion &fenetre, Nature nature) {
  const FichierProjet &projet = *fenetre.projet();
  const DialogueCible &ids = nature_a_iso(nature) ? kCibleIso : kCibleMac;
  const QString choisi = fenetre.demandes.enregistrer(kTitreCible, ids.filtre,
                                                      depart_cible(projet, ids.extension), ids.extension);
  if (choisi.isEmpty()) return std::nullopt;
  auto cible = chemin_argument(choisi.toStdString());
  if (!cible || !cible_possible(projet, *cible) || !peut_ecraser(*cible) || !cible_accessible(*cible))
    return std::nullopt;
  const std::size_t barre = cible->find_last_of("/\\");
  if (barre != std::string::npos) {
    reglages().dossier_compile = cible->substr(0, barre + 1);
    static_cast<void>(enregistre_reglage("DComp"));
  }
  return cible;
}

// The steps between the choice of the target and the start of the worker, each false when the command ends.
class Preparation {
 public:
  Preparation(TVarnion &fenetre, Nature nature, std::string cible)
      : fenetre_(fenetre), projet_(*fenetre.projet()) {
    propose_.nature = nature;
    propose_.cible = std::move(cible);
    // The choice of a name that is taken has been confirmed by now.
    ecrasement_ = plateforme::existe(propose_.cible) ? Ecrasement::connu : Ecrasement::jamais;
  }

  bool etudie();
  bool demande();
  bool applique();
  bool lance();

 private:
  bool compte();
  bool reconstruit();
  [[nodiscard]] GenreDemande genre() const;

  TVarnion &fenetre_;
  FichierProjet &projet_;
  ProposeCompilation propose_;
  Ecrasement ecrasement_ = Ecrasement::jamais;
  ChoixCompilation choix_;
};

bool Preparation::compte() {
  if (!taille_bloc_demandee(projet_, propose_.nature, true) && !impose_hfsplus(projet_)) return false;
  const auto comptes = compte_projet(projet_);
  if (!comptes) return echec_ecriture_projet(projet_.chemin());
  propose_.comptes = *comptes;
  if (projet_.hfsplus() && propose_.nature == Nature::hfs) propose_.nature = Nature::hfsplus;
  if (projet_.hfsplus() && propose_.nature == Nature::hybride_hfs) propose_.nature = Nature::hybride_hfsplus;
  propose_.secteurs = charge_image(projet_, propose_.nature, comptes->secteurs);
  return nomme_labels(projet_, propose_.cible);
}

bool Preparation::etudie() {
  bool pret = false;
  fenetre_.operations_fenetre().en_fond([&] {
    operations().afficher_etat(charger_chaine(kCalculEnCours), charger_chaine(kPatience));
    pret = compte();
  });
  operations().afficher_etat({}, {});
  return pret;
}

bool Preparation::demande() {
  EnteteProjet entete;
  if (!projet_.lit_entete(entete)) return echec_ecriture_projet(projet_.chemin());
  propose_.label_iso = lit_champ(entete.label_iso);
  const std::string label = lit_champ(entete.label_hfs);
  propose_.label_hfs = entete.hfsplus() ? label : nom_windows(label);
  propose_.reconstruire = entete.reconstruire();
  const auto choix = boite_compilation(&fenetre_, projet_, propose_);
  if (choix) choix_ = *choix;
  return choix.has_value();
}

bool Preparation::reconstruit() {
  operations().afficher_etat_seul(charger_chaine(kReconstruction));
  OptionsReconstruction options;
  options.voisins = veut_voisins(fenetre_, true);
  const bool abouti = reconstruction_projet(projet_, options).abouti;
  if (!abouti && operations().arret_demande()) operations().afficher_erreur(charger_chaine(kArrete));
  return abouti;
}

// What the box changed goes into the project, which is then brought up to date with the disk.
bool Preparation::applique() {
  bool fait = true;
  const QuestionsPrudentes prudentes(fenetre_.operations_fenetre());
  fenetre_.operations_fenetre().en_fond([&] {
    if (nature_a_volume(propose_.nature) && choix_.hfsplus != projet_.hfsplus())
      fait = change_format(projet_, choix_.hfsplus, troncature_selon_reglages(choix_.hfsplus));
    fait = fait && pose_labels(projet_, choix_.label_iso, choix_.label_hfs);
    if (fait && choix_.reconstruire) fait = reconstruit();
    if (fait && !projet_.vide()) fait = echec_ecriture_projet(projet_.chemin());
  });
  operations().afficher_etat({}, {});
  fenetre_.montre_document();
  return fait;
}

GenreDemande Preparation::genre() const {
  if (!nature_a_iso(propose_.nature)) return GenreDemande::mac;
  return propose_.nature == Nature::iso ? GenreDemande::iso : GenreDemande::hybride;
}

// The run reads the project through a file of its own: the panes go on reading theirs.
bool Preparation::lance() {
  Fichier fichier = plateforme::ouvre(projet_.chemin(), Ouverture::lecture_ecriture);
  if (!fichier) return echec_ecriture_projet(projet_.chemin());
  auto projet = FichierProjet::adopte(std::move(fichier), projet_.chemin(), projet_.mode());
  if (!projet) return echec_ecriture_projet(projet_.chemin());
  DemandeCompilation demande;
  demande.cible = propose_.cible;
  demande.ecrasement = ecrasement_;
  demande.genre = genre();
  demande.postgap = choix_.postgap;
  demande.borne_fourches = true;
  demande.reconstruire = false;  // done by now
  new TVarThread(fenetre_, std::move(*projet), std::move(demande), propose_.secteurs);
  return true;
}

}  // namespace

void compile_projet(TVarnion &fenetre) {
  if (TVarThread *fil = TVarThread::courant(fenetre)) return fil->arrete();
  if (fenetre.projet() == nullptr) return;
  std::optional<Nature> nature;
  fenetre.operations_fenetre().en_fond(
      [&] { nature = nature_demandee(*fenetre.projet(), GenreDemande::hybride); });
  if (!nature) return;
  const auto cible = choix_cible(fenetre, *nature);
  if (!cible) return;
  Preparation preparation(fenetre, *nature, *cible);
  if (preparation.etudie() && preparation.demande() && preparation.applique())
    static_cast<void>(preparation.lance());
  else
    fenetre.reprend_projet();
}

void ferme_pendant_compilation(TVarnion &fenetre) {
  if (!demande_prudente(charger_chaine(kFermerQuandMeme))) return;
  // It may have ended while the question stood.
  if (TVarThread *fil = TVarThread::courant(fenetre)) return fil->arrete_et_ferme();
  fenetre.close();
}

void termine_compilation(TVarnion &fenetre) {
  delete TVarThread::courant(fenetre);
}

}  // namespace varnion
