#include "app/noyau/actions_projet.hpp"

#include <algorithm>
#include <cerrno>

#include "app/noyau/ligne_commande.hpp"
#include "app/noyau/routage.hpp"
#include "IO/ecarts.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSansTitre = 1287;
constexpr int kCompilReussieTexte = 1295;
constexpr int kVueIsoTexte = 6305;
constexpr int kVueHfsTexte = 6306;
constexpr int kExisteDeja = 6540;
constexpr int kPasUnDossier = 6542;
constexpr int kNomImpossible = 6546;
constexpr int kLabelTropLong = 6547;
constexpr int kImageFaite = 6548;
constexpr int kImageIncomplete = 6549;
constexpr int kAppareil = 6988;

constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kLabelIsoMax = 32;  ///< of the primary descriptor; the classic rule stops earlier
constexpr std::size_t kLabelIsoClassique = 16;
constexpr std::size_t kLabelIsopClassique = 12;
constexpr std::size_t kLabelHfsplusMax = 62;

std::vector<std::string> niveaux(std::string_view chemin) {
  std::vector<std::string> resultat;
  while (!chemin.empty()) {
    const std::size_t fin = std::min(chemin.find_first_of("/\\"), chemin.size());
    if (fin > 0 && chemin.substr(0, fin) != ".") resultat.emplace_back(chemin.substr(0, fin));
    chemin.remove_prefix(std::min(fin + 1, chemin.size()));
  }
  return resultat;
}

// The child of a folder that a level of a path means.
std::optional<ElementTrouve> trouve_niveau(const FichierProjet &projet, std::uint32_t pere,
                                           std::string_view nom, int vue) {
  for (const int essai : {vue, int{kVueRacine}, int{kVueIso}, int{kVueHfs}})
    if (auto enfant = trouve_enfant(projet, pere, nom, essai)) return enfant;
  return std::nullopt;
}

// A device, a pipe or a socket: such a thing is neither opened nor replaced.
bool est_appareil(const std::string &chemin) {
  return plateforme::existe(chemin) && !plateforme::ouvre(chemin, Ouverture::lecture) && errno == ENXIO;
}

bool label_tient(const std::string &label, std::size_t limite, int vue) {
  if (label.size() <= limite) return true;
  operations().afficher_erreur(message(kLabelTropLong, {label, limite, charger_chaine(vue)}));
  return false;
}

}  // namespace

// --- documents
// ------------------------------------------------------------------------------------------------

std::optional<ModeProjet> genre_projet(const std::string &chemin) {
  const auto mode = mode_de_document(chemin);
  if (mode == kModeProjet) return ModeProjet::hybride;
  if (mode == kModeIsop) return ModeProjet::isop;
  annonce_inconnu(chemin);
  return std::nullopt;
}

std::optional<FichierProjet> ouvre_projet(const std::string &chemin) {
  const auto genre = genre_projet(chemin);
  return genre ? FichierProjet::ouvre(chemin, *genre) : std::nullopt;
}

std::optional<FichierProjet> consulte_projet(const std::string &chemin) {
  const auto genre = genre_projet(chemin);
  if (!genre) return std::nullopt;
  Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!fichier) {
    erreur_fichier(chemin, errno);
    return std::nullopt;
  }
  const int magie = test_magie(fichier);
  if (magie == 0 || (magie < 0 && *genre == ModeProjet::hybride)) {
    operations().afficher_erreur(message(magie == 0 ? 1062 : 1063, {tronque_chemin(chemin, 50)}));
    return std::nullopt;
  }
  auto projet = FichierProjet::adopte(std::move(fichier), chemin, *genre);
  if (!projet) erreur_fichier(chemin, errno);
  return projet;
}

std::optional<FichierProjet> cree_projet(const std::string &chemin, std::optional<bool> hfsplus) {
  const auto genre = genre_projet(chemin);
  if (!genre) return std::nullopt;
  auto projet = FichierProjet::cree(chemin, *genre);
  if (projet && hfsplus && *genre == ModeProjet::hybride &&
      !change_format(*projet, *hfsplus, troncature_automatique()))
    return std::nullopt;
  return projet;
}

bool enregistre_projet(FichierProjet &projet) {
  if (!projet.sauvegarde_entete()) return false;
  return projet.ferme() || echec_ecriture_projet(projet.chemin());
}

bool cible_libre(const std::string &chemin, bool force) {
  if (est_appareil(chemin)) {
    operations().afficher_erreur(message(kAppareil, {tronque_chemin(chemin, kCheminMessage)}));
    return false;
  }
  if (force || !plateforme::existe(chemin)) return true;
  operations().afficher_erreur(message(kExisteDeja, {tronque_chemin(chemin, kCheminMessage)}));
  return false;
}

// --- content
// --------------------------------------------------------------------------------------------------

std::optional<ElementTrouve> trouve_element(const FichierProjet &projet, std::string_view chemin, int vue) {
  ElementTrouve courant;
  if (!projet.lit(0, courant.rubrique)) return std::nullopt;
  for (const std::string &niveau : niveaux(chemin)) {
    if (!courant.rubrique.est_dossier()) return std::nullopt;
    const auto enfant = trouve_niveau(projet, courant.rubrique.numero, niveau, vue);
    if (!enfant) return std::nullopt;
    courant = *enfant;
  }
  return courant;
}

std::uint32_t fait_dossier(FichierProjet &projet, std::string_view chemin, int vue) {
  projet.vue_courante(vue);
  std::uint32_t dossier = kRacine;
  for (const std::string &niveau : niveaux(chemin)) {
    if (niveau == "..") {
      operations().afficher_erreur(message(kNomImpossible, {chemin}));
      return 0;
    }
    const auto present = trouve_niveau(projet, dossier, niveau, vue);
    if (present && !present->rubrique.est_dossier()) {
      operations().afficher_erreur(message(kPasUnDossier, {niveau}));
      return 0;
    }
    dossier =
        present ? present->rubrique.numero.operator unsigned() : creation_chemin(projet, "", niveau, dossier);
    if (dossier == 0) return 0;
  }
  const int effective = projet.vue_courante();
  const bool ouvert = ouvre_vues_parents(projet, dossier, effective != kVueHfs ? kDansVue : kHorsVue,
                                         effective != kVueIso ? kDansVue : kHorsVue);
  return ouvert ? dossier : 0;
}

std::size_t limite_label_iso(const FichierProjet &projet) {
  if (publie(Ecart::labels_longs)) return kLabelIsoMax;
  return projet.mode() == ModeProjet::isop ? kLabelIsopClassique : kLabelIsoClassique;
}

std::size_t limite_label_hfs(const FichierProjet &projet) {
  return projet.hfsplus() ? kLabelHfsplusMax : kNomVolumeHfsMax;
}

bool pose_labels(FichierProjet &projet, const std::optional<std::string> &iso,
                 const std::optional<std::string> &hfs) {
  if (iso && !label_tient(*iso, limite_label_iso(projet), kVueIsoTexte)) return false;
  if (hfs && !label_tient(*hfs, limite_label_hfs(projet), kVueHfsTexte)) return false;
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  if (iso) ecrit_champ_coupe(entete.label_iso, iso->empty() ? charger_chaine(kSansTitre) : *iso);
  if (hfs) {
    const std::string label = hfs->empty() ? charger_chaine(kSansTitre) : *hfs;
    ecrit_champ_coupe(entete.label_hfs, projet.hfsplus() ? label : nom_mac(label));
  }
  return projet.ecrit_entete(entete) || echec_ecriture_projet(projet.chemin());
}

bool prepare_signatures(const Arguments &arguments) {
  constexpr std::string_view kOption = "signatures";
  return prepare_signatures(arguments.a(kOption) ? std::optional(arguments.valeur(kOption)) : std::nullopt);
}

bool prepare_signatures(const Arguments &arguments, const FichierProjet &projet) {
  EnteteProjet entete;
  const bool utile = arguments.a("signatures") || (projet.lit_entete(entete) && entete.reconstruire());
  return !utile || prepare_signatures(arguments);
}

int compile_vers(FichierProjet &projet, const DemandeCompilation &demande, Console &console,
                 std::ostream &sortie, std::uint64_t manques) {
  BilanCompilation bilan;
  {
    SuiviConsole suivi(console, projet.estimation());
    bilan = compile_projet(projet, demande, suivi);
  }
  if (!projet.ferme() && bilan.resultat == kCompilReussie) echec_ecriture_projet(projet.chemin());
  if (bilan.resultat != kCompilReussie) return kEchec;
  const std::string ligne =
      message(kImageFaite, {bilan.image, taille_lisible(bilan.octets), bilan.dossiers, bilan.fichiers});
  sortie << plateforme::texte_vers_utf8(ligne) << "\n";
  if (bilan.ailleurs) return kEchec;
  if (bilan.remarques + manques > 0) {
    console.afficher_erreur(message(kImageIncomplete, {bilan.remarques + manques}));
    return kEchec;
  }
  if (!console.options.silencieux) console.ligne(charger_chaine(kCompilReussieTexte));
  return kFait;
}

}  // namespace varnion
