#include "projet/inclusion.hpp"

#include <cerrno>
#include <limits>
#include <optional>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/inclusion_fusion.hpp"
#include "projet/inclusion_parcours.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::string_view kTout = "*.*";
constexpr std::size_t kPlaceChemin = sizeof(RubriqueProjet::chemin);
constexpr std::size_t kCheminMessage = 200;
constexpr double kDureeAnnoncee = 60.0;  // seconds

constexpr int kMessageNomImpossible = 6201;
constexpr int kMessageTemporaire = 6203;
constexpr int kMessageProjet = 6204;
constexpr int kMessageAbime = 6206;
constexpr int kMessageEcartes = 7747;

/// A path of the command cut in its folder, as items store it, and its last component.
struct Cible {
  std::string dossier;  ///< ending in "/"
  std::string nom;      ///< "" for the content of the folder
};

std::string court(std::string_view chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

// The folder part in a form that its field holds; nullopt when there is none.
std::optional<Cible> decoupe(std::string chemin) {
  Cible cible;
  const bool contenu = chemin.ends_with(kTout) &&
                       (chemin.size() == kTout.size() || chemin[chemin.size() - kTout.size() - 1] == '/' ||
                        chemin[chemin.size() - kTout.size() - 1] == '\\');
  if (contenu) chemin.resize(chemin.size() - kTout.size());
  chemin = plateforme::chemin_absolu(chemin.empty() ? "." : chemin);
  while (!chemin.empty() && chemin.back() == '/') chemin.pop_back();
  if (!contenu && !chemin.empty()) {
    const std::size_t barre = chemin.rfind('/');
    cible.nom = chemin.substr(barre + 1);
    chemin.resize(barre);
  }
  chemin += '/';
  errno = 0;
  auto utilisable = plateforme::chemin_utilisable(chemin, kPlaceChemin);
  if (!utilisable) return std::nullopt;
  cible.dossier = std::move(*utilisable);
  return cible;
}

// Counts and icons of the folders that received something. Many are found in one pass.
bool complete_cibles(FichierProjet &projet, const std::vector<CibleInclusion> &cibles) {
  std::optional<IndexNumeros> numeros;
  if (cibles.size() > 2) numeros.emplace(projet);
  for (const CibleInclusion &cible : cibles) {
    if (cible.dossiers == 0 && cible.fichiers == 0 && !cible.icone) continue;
    RubriqueProjet rubrique;
    const auto rang = numeros ? numeros->rang(cible.numero) : projet.cherche_numero(cible.numero, rubrique);
    if (!rang || !projet.lit(*rang, rubrique)) return false;
    // In the head both counts lie at the same place as in an item.
    rubrique.lg_data = static_cast<std::uint32_t>(rubrique.lg_data + cible.dossiers);
    rubrique.lg_rsrc = static_cast<std::uint32_t>(rubrique.lg_rsrc + cible.fichiers);
    if (cible.icone) rubrique.icone_perso(true);
    if (!projet.ecrit(*rang, rubrique)) return false;
  }
  return true;
}

// What the head, the target's record and the table of folders learn of a scan whose records are in the
// project.
bool met_a_jour(FichierProjet &projet, const ParcoursInclusion &parcours) {
  for (const auto &[numero, pere] : parcours.dossiers()) projet.note_dossier(numero, pere);
  parcours.releve_compteurs(projet);
  projet.estimation(projet.estimation() + parcours.secteurs());
  bool juste = complete_cibles(projet, parcours.cibles());
  EnteteProjet entete;
  if (parcours.icone_volume()) {
    juste = projet.lit_entete(entete) && juste;
    entete.icone_volume(true);
    juste = juste && projet.ecrit_entete(entete);
  }
  return projet.ecriture_compteurs() && juste;
}

// Brings a scan that came to its end into the project.
void conclut(FichierProjet &projet, ParcoursInclusion &parcours) {
  BilanInclusion &bilan = parcours.bilan();
  LotsRubriques &lots = parcours.lots();
  if (bilan.arrete || (parcours.en_cours() && lots.nombre() == 0)) return;
  if (lots.erreur() != 0 || !lots.termine()) {
    bilan.echoue = true;
    operations().afficher_erreur(message(kMessageTemporaire, {plateforme::texte_erreur(lots.erreur())}));
  }
  if (bilan.echoue) return;
  std::vector<std::uint32_t> cibles;
  for (const CibleInclusion &cible : parcours.cibles()) cibles.push_back(cible.numero);
  const ResultatFusion resultat = fusionne_lots_projet(projet, cibles, lots);
  if (resultat != ResultatFusion::faite) {
    const int id = resultat == ResultatFusion::abimee ? kMessageAbime : kMessageProjet;
    operations().afficher_erreur(message(id, {court(projet.chemin()), plateforme::texte_erreur(errno)}));
    bilan.echoue = true;
  } else if (!met_a_jour(projet, parcours)) {
    echec_ecriture_projet(projet.chemin());
    bilan.echoue = true;
  }
}

// The closing message of what was told line by line.
void annonce_ecartes(const ParcoursInclusion &parcours) {
  const BilanInclusion &bilan = parcours.bilan();
  if (bilan.ecartes == 0) return;
  std::string noms;
  for (const std::string &nom : parcours.premiers_ecartes()) noms += (noms.empty() ? "" : "\n") + nom;
  if (bilan.ecartes > parcours.premiers_ecartes().size()) noms += "\n...";
  const std::string texte = message(kMessageEcartes, {bilan.ecartes, noms});
  operations().journal(GenreJournal::information, texte);
  operations().afficher_avis(texte);
}

// The frame of every scan: `travail` walks, the end is common. A folder that the project does not have
// receives nothing.
template <typename Travail>
BilanInclusion mene(FichierProjet &projet, std::uint32_t dossier, const OptionsInclusion &options,
                    Travail travail) {
  RubriqueProjet cible;
  if (!projet.cherche_numero(dossier, cible)) {
    BilanInclusion bilan;
    bilan.dossier = dossier;
    bilan.echoue = true;
    return bilan;
  }
  const bool par_lot = etat<OptionsProgramme>().mode_lot;
  ReponsesVues propres;
  ReponsesVues &reponses = options.reponses != nullptr ? *options.reponses : propres;
  if (par_lot) reponses = ReponsesVues::lot();
  if (!par_lot) operations().afficher_etat_seul(charger_chaine(1456));
  operations().curseur_attente_debut();
  ParcoursInclusion parcours(projet, dossier, options, reponses);
  travail(parcours);
  conclut(projet, parcours);
  operations().curseur_attente_fin();
  if (!par_lot) operations().afficher_etat("", "");
  annonce_ecartes(parcours);
  return parcours.bilan();
}

// What a path cut in two names, into the target. `annonce`: a name that is there already is told.
void inclut(ParcoursInclusion &parcours, const Cible &cible, bool annonce) {
  parcours.annonce(annonce);
  if (cible.nom.empty()) return parcours.ajoute_contenu(cible.dossier);
  const std::string chemin = cible.dossier + cible.nom;
  const auto entree = plateforme::cherche_fichier(chemin);
  if (!entree) return parcours.signale(chemin, errno);
  const auto nom = nom_retenu(*entree);
  const int present = nom ? parcours.deja_present(*nom, cible.dossier + *nom) : 0;
  if (present > 0 && !parcours.meme_source(*nom, cible.dossier + *nom)) return parcours.refuse_nom(chemin);
  if (present != 0) {
    if (annonce) annonce_deja_present(present, chemin);
    ++parcours.bilan().ignores;
    return;
  }
  parcours.ajoute_element(cible.dossier, *entree);
}

void inclut_chemin(ParcoursInclusion &parcours, const std::string &chemin, bool annonce) {
  const auto cible = decoupe(chemin);
  if (cible) return inclut(parcours, *cible, annonce);
  if (errno == ENAMETOOLONG) return parcours.signale(message(kMessageNomImpossible, {court(chemin)}));
  parcours.signale(chemin, errno != 0 ? errno : ENOENT);
}

void ouvre_vues(FichierProjet &projet, const BilanInclusion &bilan) {
  const int vue = projet.vue_courante();
  if (bilan.fichiers_niveau + bilan.dossiers_niveau == 0 || vue_de_dossier(projet, bilan.dossier) == vue)
    return;
  if (!ouvre_vues_parents(projet, bilan.dossier, vue != kVueHfs ? kDansVue : kHorsVue,
                          vue != kVueIso ? kDansVue : kHorsVue))
    echec_ecriture_projet(projet.chemin());
}

void annonce_duree(const BilanInclusion &bilan, double secondes) {
  if (secondes < kDureeAnnoncee || etat<OptionsProgramme>().mode_lot) return;
  const auto entieres = static_cast<std::int64_t>(secondes);
  operations().afficher_avis(message(1457, {entieres / 60, entieres % 60, bilan.dossiers, bilan.fichiers}));
}

}  // namespace

BilanInclusion inclusion_arbre(FichierProjet &projet, std::string_view motif, std::uint32_t dossier,
                               const OptionsInclusion &options) {
  std::string chemin(motif);
  if (motif.find_first_of("/\\") == std::string_view::npos && !options.dossier_defaut.empty())
    chemin = options.dossier_defaut + "/" + chemin;
  return mene(projet, dossier, options,
              [&](ParcoursInclusion &parcours) { inclut_chemin(parcours, chemin, false); });
}

BilanInclusion inclusion_demandes(FichierProjet &projet, std::span<const DemandeInclusion> demandes,
                                  const OptionsInclusion &options) {
  if (demandes.empty()) return {};
  return mene(projet, demandes.front().dossier, options, [&](ParcoursInclusion &parcours) {
    std::optional<std::uint32_t> cible;
    parcours.note_dossiers_du_projet();
    for (const DemandeInclusion &demande : demandes) {
      if (!parcours.en_cours()) break;
      if (cible != demande.dossier) parcours.change_cible(demande.dossier, demande.vue);
      cible = demande.dossier;
      if (demande.prete)
        parcours.ajoute_rubrique(*demande.prete);
      else
        inclut_chemin(parcours, demande.motif, false);
    }
  });
}

BilanInclusion inclusion_chemins(FichierProjet &projet, std::span<const std::string> chemins,
                                 std::uint32_t dossier, const OptionsInclusion &options) {
  const double debut = plateforme::chronometre();
  const BilanInclusion bilan = mene(projet, dossier, options, [&](ParcoursInclusion &parcours) {
    for (const std::string &chemin : chemins) {
      if (!parcours.en_cours()) break;
      inclut_chemin(parcours, chemin, true);
    }
  });
  if (bilan.abouti()) ouvre_vues(projet, bilan);
  annonce_duree(bilan, plateforme::chronometre() - debut);
  return bilan;
}

BilanInclusion inclusion_chemin(FichierProjet &projet, std::string_view chemin, std::uint32_t dossier,
                                const OptionsInclusion &options) {
  const std::string seul(chemin);
  return inclusion_chemins(projet, {&seul, 1}, dossier, options);
}

// A path that cannot be brought to working text is missing, or shown by nothing: it goes on as it reads, and
// the message names it.
BilanInclusion inclusion_chemin_utf8(FichierProjet &projet, std::string_view utf8, std::uint32_t dossier,
                                     const OptionsInclusion &options) {
  const auto chemin = plateforme::chemin_utf8_utilisable(utf8, std::numeric_limits<std::size_t>::max());
  return inclusion_chemin(projet, chemin ? *chemin : plateforme::utf8_vers_texte(utf8), dossier, options);
}

}  // namespace varnion
