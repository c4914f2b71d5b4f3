#include "projet/reconstruction.hpp"

#include <cerrno>
#include <unordered_set>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "projet/arborescence.hpp"
#include "projet/etat_sources.hpp"
#include "projet/inclusion.hpp"
#include "projet/inclusion_fichier.hpp"
#include "projet/instantane.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kJournalModification = 1088;
constexpr int kJournalSuppression = 1089;
constexpr int kJournalIllisible = 6210;
constexpr int kJournalConteneur = 6211;
constexpr std::string_view kTout = "*.*";

void note(int id, const RubriqueProjet &rubrique) {
  operations().journal(GenreJournal::information, message(id, {chemin_source(rubrique)}));
}

// A container whose lengths were read at its inclusion. The rule of a rebuild gives the data fork the length
// of the source, which would carry the head and the resource fork into the data: the head is read instead.
bool est_conteneur(const RubriqueProjet &rubrique) {
  return rubrique.est_applesingle() || rubrique.est_code_mac();
}

void relit_conteneur(RubriqueProjet &rubrique, bool hfsplus) {
  const std::string chemin = chemin_source(rubrique);
  const auto entree = plateforme::cherche_fichier(chemin);
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!entree || !fichier.ouvert()) return;
  RubriqueProjet neuve;
  neuve.lg_source = rubrique.lg_source;
  reconnait_fichier(neuve, fichier, {*entree, chemin, lit_champ(rubrique.nom_source), true, hfsplus});
  rubrique.codage(neuve.codage());
  rubrique.est_applesingle(neuve.est_applesingle());
  rubrique.est_appledouble(neuve.est_appledouble());
  rubrique.est_macbinaire(neuve.est_macbinaire());
  rubrique.est_binhex(neuve.est_binhex());
  rubrique.lg_data = neuve.lg_data;
  rubrique.lg_rsrc = neuve.lg_rsrc;
  operations().journal(GenreJournal::information, message(kJournalConteneur, {chemin}));
}

class Reconstruction {
 public:
  explicit Reconstruction(FichierProjet &projet) : projet_(projet), instantane_(projet) {}

  BilanReconstruction applique() {
    const EtatsSources etats(projet_);
    if (!etats.complets() || !instantane_.prend()) return {};
    errno = 0;
    base_ = base_commune();
    if (!compare(etats) || !suppression_rangs(projet_, condamnes_)) return echoue(true);
    const auto demandes = dossiers_a_lire();
    const BilanInclusion ajouts = inclusion_demandes(projet_, demandes);
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
      if (!fichier || etat.longueur == r->lg_source) continue;
      if (!tout.reecrit(projet_, modifie(*r, etat))) return false;
    }
    return true;
  }

  RubriqueProjet modifie(RubriqueProjet rubrique, const EtatSource &etat) {
    note(kJournalModification, rubrique);
    ++bilan_.modifications;
    rubrique.lg_source = etat.longueur;
    if (etat.presence == Presence::illisible) {
      ++bilan_.echecs;
      operations().afficher_erreur(message(kJournalIllisible, {chemin_source(rubrique)}));
    }
    if (est_conteneur(rubrique) && etat.presence == Presence::fichier)
      relit_conteneur(rubrique, projet_.hfsplus());
    else
      rubrique.lg_data = etat.longueur;
    return rubrique;
  }

  // The disk folder that all items of the root with a source share; "" when they do not. Items whose source
  // is gone have their say in it, and are not there any more afterwards.
  std::string base_commune() const {
    std::string base;
    LecteurEnfants racine(projet_, kRacine);
    while (const RubriqueProjet *r = racine.suivant()) {
      const std::string chemin = lit_champ(r->chemin);
      if (chemin == kCheminVirtuel) continue;
      if (base.empty()) base = chemin;
      if (base != chemin) return {};
    }
    return base;
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
  InstantaneProjet instantane_;
  std::string base_;  ///< of the root, as it was before the deletions
  std::vector<std::uint64_t> condamnes_;
  BilanReconstruction bilan_;
};

}  // namespace

BilanReconstruction reconstruction_projet(FichierProjet &projet) {
  operations().curseur_attente_debut();
  const BilanReconstruction bilan = Reconstruction(projet).applique();
  operations().curseur_attente_fin();
  return bilan;
}

}  // namespace varnion
