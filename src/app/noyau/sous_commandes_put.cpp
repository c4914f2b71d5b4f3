// "put": from the PC into a Macintosh volume.

#include <utility>

#include "app/noyau/actions_copie.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_volume.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "fichiers/mode_copie.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/memoire_secteurs.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArrete = 6869;
constexpr int kCopies = 6960;
constexpr int kManques = 6961;
constexpr int kRemarques = 6962;
constexpr int kNonEcrit = 6963;
constexpr int kPasDossier = 6964;
constexpr double kPasBarre = 0.1;  // seconds between two bars

int reponse_nommee(std::string_view nom, int toujours, int jamais) {
  if (nom == "yes") return toujours;
  return nom == "no" ? jamais : 0;
}

// Sets the answers that stand ahead of the questions.
void pose_reponses(const Arguments &arguments, Console &console) {
  const bool interroge = console.options.interroge;
  const std::string remplacer = arguments.valeur("replace", interroge ? "ask" : "no");
  const std::string conteneurs = arguments.valeur("containers", interroge ? "ask" : "yes");
  if (remplacer == "ask" || conteneurs == "ask" || arguments.valeur("truncate") == "ask") {
    console.options.interroge = true;
    etat<OptionsProgramme>().mode_lot = false;
  }
  reponses_volume().reponse_remplacer = reponse_nommee(remplacer, 2, -1);
  // A file never takes the place of a folder with all that is in it unless the user says so.
  reponses_volume().reponse_dossier_plein = remplacer == "ask" ? 0 : -1;
  const int ouvrir = reponse_nommee(conteneurs, 1, -1);
  reponses_conteneurs() = {{ouvrir, ouvrir}, {ouvrir, ouvrir}};
}

OptionsCopieMac options_put(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  Console &console = contexte.console;
  const bool interroge = console.options.interroge;
  mode_copie() = arguments.valeur("mode") == "resource" ? kCopieRessource : kCopieData;
  const std::string polices = arguments.valeur("fonts", interroge ? "" : "no");
  if (polices == "yes") mode_copie() |= kPolicesPc;
  OptionsCopieMac options = options_copie_mac();
  options.polices = polices != "no";
  const std::string coupe = arguments.valeur("truncate", interroge ? "ask" : "auto");
  if (coupe != "ask") options.troncature = kOptionTroncatureAuto;
  if (coupe == "crc") options.troncature |= kOptionTroncatureCrc;
  options.suivi = [&console, dernier = plateforme::chronometre()](const BilanCopieMac &bilan) mutable {
    if (!console.options.terminal || plateforme::chronometre() - dernier < kPasBarre) return;
    dernier = plateforme::chronometre();
    console.barre(texte_copies(bilan.fichiers, bilan.octets));
  };
  return options;
}

std::optional<ElementMac> dossier_vise(const Arguments &arguments) {
  const std::string chemin = arguments.valeur("into");
  auto element = trouve_mac(chemin);
  if (!element || element->dossier) return element;
  operations().afficher_erreur(message(kPasDossier, {plateforme::utf8_vers_texte(chemin)}));
  return std::nullopt;
}

int conclut(ContexteCli &contexte, const BilanCopieMac &bilan) {
  contexte.console.barre({});
  const auto ligne = [&contexte](const std::string &texte) {
    contexte.sortie << plateforme::texte_vers_utf8(texte) << "\n";
  };
  ligne(message(kCopies, {bilan.fichiers, bilan.dossiers, taille_lisible(bilan.octets)}));
  if (bilan.sautes + bilan.echecs + bilan.non_atteints != 0)
    ligne(message(kManques, {bilan.sautes, bilan.echecs, bilan.non_atteints}));
  if (bilan.renommes + bilan.abimes + bilan.polices_telles != 0)
    ligne(message(kRemarques, {bilan.renommes, bilan.abimes, bilan.polices_telles}));
  if (bilan.arret && contexte.console.arret_demande()) operations().afficher_erreur(charger_chaine(kArrete));
  return bilan.complet() ? kFait : kEchec;
}

}  // namespace

int commande_put(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!prepare_signatures(arguments)) return kEchec;
  const VolumeOuvert volume(contexte, arguments.positions[0], AccesVolume::ecriture);
  if (!volume) return kEchec;
  const auto dossier = dossier_vise(arguments);
  if (!dossier) return kEchec;
  if (!chargement_carte()) return kEchec;
  const MemoireSecteurs memoire;
  OptionsCopieMac options = options_put(contexte);
  pose_reponses(arguments, contexte.console);
  CopieVersMac copie(std::move(options));
  const std::string lieu = nom_volume() + "/";
  bool trouves = true;
  for (std::size_t rang = 1; rang < arguments.positions.size() && !copie.bilan().arret; ++rang) {
    const auto chemin = chemin_argument(arguments.positions[rang]);
    if (chemin) static_cast<void>(copie.copie_vers_mac(*chemin, dossier->id, lieu));
    trouves = trouves && chemin.has_value();
  }
  const bool ecrit = ecriture_structures();
  if (!ecrit)
    operations().afficher_erreur(message(kNonEcrit, {plateforme::texte_erreur(support().echec_ecriture)}));
  const int statut = conclut(contexte, copie.bilan());
  return trouves && ecrit ? statut : kEchec;
}

}  // namespace varnion
