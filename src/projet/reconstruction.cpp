#include "projet/reconstruction.hpp"

#include <algorithm>
#include <cerrno>
#include <unordered_set>

#include "fichiers/applesimple.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/arborescence.hpp"
#include "projet/etat_sources.hpp"
#include "projet/inclusion.hpp"
#include "projet/inclusion_parcours.hpp"
#include "projet/instantane.hpp"
#include "projet/mesure_source.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kJournalModification = 1088;
constexpr int kJournalSuppression = 1089;
constexpr int kJournalIllisible = 6210;
constexpr int kJournalConteneur = 6211;
constexpr int kQuestionDisparu = 7748;  // folder, items
constexpr int kRefusDisparu = 7749;     // folder, items
constexpr std::size_t kCheminMessage = 120;
constexpr std::string_view kTout = "*.*";

void note(int id, const RubriqueProjet &rubrique) {
  operations().journal(GenreJournal::information, message(id, {chemin_source(rubrique)}));
}

// A file whose forks are not simply its bytes. The rule of a rebuild gives the data fork the length of the
// source, which would carry the head and the resource fork of a container into the data: it is read again.
bool est_conteneur(const RubriqueProjet &rubrique) {
  return rubrique.codage() != Codage::aucun || rubrique.est_code_mac();
}

// The backup copy of a project is named after it.
std::string chemin_copie(const std::string &chemin) {
  const std::size_t point = chemin.find_last_of("./\\");
  const bool extension = point != std::string::npos && chemin[point] == '.';
  return chemin.substr(0, extension ? point : chemin.size()) + ".BAK";
}

// The project and its backup copy: neighbours that never come in.
std::vector<plateforme::IdentiteFichier> fichiers_du_projet(const FichierProjet &projet) {
  std::vector<plateforme::IdentiteFichier> fichiers;
  for (const auto &identite :
       {plateforme::identite(projet.fichier()), plateforme::identite(chemin_copie(projet.chemin()))})
    if (identite) fichiers.push_back(*identite);
  return fichiers;
}

// The disk folder that all items of the root with a source share; "" when they do not.
std::string base_commune(const FichierProjet &projet) {
  std::string base;
  LecteurEnfants racine(projet, kRacine);
  while (const RubriqueProjet *r = racine.suivant()) {
    const std::string chemin = lit_champ(r->chemin);
    if (chemin == kCheminVirtuel) continue;
    if (base.empty()) base = chemin;
    if (base != chemin) return {};
  }
  return base;
}

class Reconstruction {
 public:
  Reconstruction(FichierProjet &projet, const OptionsReconstruction &options)
      : projet_(projet), options_(options), instantane_(projet) {}

  BilanReconstruction applique() {
    const EtatsSources etats(projet_);
    if (!etats.complets()) return {};
    releve_sommets(etats);
    if (!permise(etats)) {
      bilan_.refusee = true;
      return bilan_;
    }
    if (!instantane_.prend()) return {};
    errno = 0;
    if (options_.voisins) base_ = base_commune(projet_);
    if (!compare(etats) || !suppression_rangs(projet_, condamnes_)) return echoue(true);
    const auto demandes = dossiers_a_lire();
    OptionsInclusion inclusion;
    inclusion.sauf = fichiers_du_projet(projet_);
    const BilanInclusion ajouts = inclusion_demandes(projet_, demandes, inclusion);
    if (!ajouts.abouti()) return echoue(false);
    if (!estimation_secteurs(projet_) || !projet_.vide()) return echoue(true);
    instantane_.confirme();
    bilan_.fichiers = ajouts.fichiers;
    bilan_.dossiers = ajouts.dossiers;
    bilan_.echecs += ajouts.echecs;
    bilan_.abouti = true;
    return bilan_;
  }

 private:
  BilanReconstruction echoue(bool dit) {
    if (dit) echec_projet_inchange(projet_);
    instantane_.restaure();
    return {};
  }

  // The items that the user put in himself, at the root or in folders without a source: which folders among
  // them are gone, and whether anything is left.
  void releve_sommets(const EtatsSources &etats) {
    std::unordered_set<std::uint32_t> hauts{kRacine};
    LecteurRubriques dossiers(projet_);
    while (const RubriqueProjet *r = dossiers.suivant())
      if (r->est_dossier() && r->est_virtuel()) hauts.insert(r->numero);
    std::string premier;
    bool reste = false;
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (r->est_virtuel() || !hauts.contains(r->pere)) continue;
      if (etats.rang(tout.rang()).presence != Presence::absent) {
        reste = true;
        continue;
      }
      const std::string chemin = lit_champ(r->chemin);
      const bool plein = r->est_dossier() && std::uint64_t{r->lg_data} + r->lg_rsrc > 0;
      if (premier.empty()) premier = plein ? chemin_source(*r) : chemin;
      if (!disparu_.empty()) continue;
      if (!plateforme::est_dossier(chemin))
        disparu_ = chemin;
      else if (plein)
        disparu_ = chemin_source(*r);
    }
    if (!reste && disparu_.empty()) disparu_ = premier;
  }

  bool permise(const EtatsSources &etats) const {
    if (disparu_.empty() || options_.force) return true;
    const std::uint64_t nombre = compte_partants(etats);
    const std::string chemin = tronque_chemin(disparu_, kCheminMessage);
    if (!etat<OptionsProgramme>().mode_lot)
      return operations().demander_oui_non(message(kQuestionDisparu, {chemin, nombre})) == 1;
    operations().afficher_erreur(message(kRefusDisparu, {chemin, nombre}));
    return false;
  }

  std::uint64_t compte_partants(const EtatsSources &etats) const {
    std::uint64_t nombre = 0;
    std::unordered_set<std::uint32_t> partis;
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (!partis.contains(r->pere) && etats.rang(tout.rang()).presence != Presence::absent) continue;
      if (r->est_dossier()) partis.insert(r->numero);
      ++nombre;
    }
    return nombre;
  }

  // What lies below a folder that is gone goes with it, and is neither told nor counted.
  bool compare(const EtatsSources &etats) {
    std::unordered_set<std::uint32_t> partis;
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *r = tout.suivant()) {
      const EtatSource &etat = etats.rang(tout.rang());
      const bool dessous = partis.contains(r->pere);
      if (dessous || etat.presence == Presence::absent) {
        if (r->est_dossier()) partis.insert(r->numero);
        if (dessous) continue;
        condamnes_.push_back(tout.rang());
        ++bilan_.suppressions;
        note(kJournalSuppression, *r);
        continue;
      }
      const bool fichier = etat.presence == Presence::fichier || etat.presence == Presence::illisible;
      if (!fichier || !etat.change) continue;
      if (!tout.reecrit(projet_, modifie(*r, etat))) return false;
    }
    return true;
  }

  RubriqueProjet modifie(RubriqueProjet rubrique, const EtatSource &etat) {
    note(kJournalModification, rubrique);
    ++bilan_.modifications;
    if (etat.presence == Presence::illisible) {
      ++bilan_.echecs;
      operations().afficher_erreur(message(kJournalIllisible, {chemin_source(rubrique)}));
    }
    const auto mesure = mesure_source(rubrique, projet_.hfsplus());
    const bool conteneur = est_conteneur(rubrique) || (mesure && est_conteneur(*mesure));
    if (mesure) {
      reprend_mesure(rubrique, *mesure);
    } else {
      rubrique.lg_source = etat.longueur;
      rubrique.lg_data = etat.longueur;
    }
    if (conteneur)
      operations().journal(GenreJournal::information, message(kJournalConteneur, {chemin_source(rubrique)}));
    return rubrique;
  }

  std::vector<DemandeInclusion> dossiers_a_lire() const {
    std::vector<DemandeInclusion> demandes;
    if (!base_.empty() && plateforme::est_dossier(base_))
      demandes.push_back({kRacine, kVueRacine, base_ + std::string(kTout)});
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (!r->est_dossier() || r->est_virtuel() || lit_champ(r->chemin).empty()) continue;
      demandes.push_back({r->numero, vue_de_rubrique(*r), chemin_source(*r) + "/" + std::string(kTout)});
    }
    return demandes;
  }

  FichierProjet &projet_;
  const OptionsReconstruction &options_;
  InstantaneProjet instantane_;
  std::string disparu_;  ///< a folder whose items are not to go without a question
  std::string base_;     ///< of the root as it was before the deletions, where neighbours come in
  std::vector<std::uint64_t> condamnes_;
  BilanReconstruction bilan_;
};

}  // namespace

VoisinsProjet voisins_projet(const FichierProjet &projet, std::size_t noms) {
  VoisinsProjet voisins;
  voisins.dossier = base_commune(projet);
  if (voisins.dossier.empty()) return voisins;
  const ListeDisque liste(voisins.dossier);
  const NomsPresents presents(projet, kRacine);
  const auto sauf = fichiers_du_projet(projet);
  std::vector<std::string> nouveaux;
  for (const auto &entree : liste.entrees()) {
    const auto nom = nom_retenu(entree);
    const bool ecarte = (!entree.est_dossier() && est_nom_compagnon(entree.nom_long)) ||
                        std::find(sauf.begin(), sauf.end(), entree.identite) != sauf.end();
    if (nom && !ecarte && presents.deja_present(*nom, voisins.dossier + *nom, projet.vue_courante()) == 0)
      nouveaux.push_back(*nom);
  }
  voisins.nombre = nouveaux.size();
  for (const std::size_t rang : ordre_noms(nouveaux)) {
    if (voisins.premiers.size() == noms) break;
    voisins.premiers.push_back(nouveaux[rang]);
  }
  return voisins;
}

BilanReconstruction reconstruction_projet(FichierProjet &projet, const OptionsReconstruction &options) {
  operations().curseur_attente_debut();
  const BilanReconstruction bilan = Reconstruction(projet, options).applique();
  operations().curseur_attente_fin();
  return bilan;
}

}  // namespace varnion
