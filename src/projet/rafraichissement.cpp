#include "projet/rafraichissement.hpp"

#include <unordered_set>

#include "fichiers/applesimple.hpp"
#include "IO/operations.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "projet/etat_sources.hpp"
#include "projet/inclusion.hpp"
#include "projet/inclusion_parcours.hpp"

namespace varnion {

namespace {

/// One folder on the way down: its children, and where new names are looked for.
struct NiveauControle {
  std::uint32_t numero;
  bool ajouts;
  LecteurRubriques enfants;
  std::string base = {};
};

class Controle {
 public:
  Controle(const FichierProjet &projet, bool ajouts)
      : projet_(projet), ajouts_(ajouts), etats_(projet), index_(projet) {}

  std::optional<std::vector<Difference>> depuis(std::uint32_t dossier) {
    if (!etats_.complets()) return std::nullopt;
    entre(dossier, ajouts_);
    while (!niveaux_.empty()) {
      if (operations().arret_demande()) return std::nullopt;
      avance();
    }
    return std::move(differences_);
  }

 private:
  void entre(std::uint32_t dossier, bool ajouts) {
    if (!vus_.insert(dossier).second) return note_arbre_abime(projet_.chemin(), dossier);
    niveaux_.push_back({dossier, ajouts, index_.enfants(projet_, dossier)});
  }

  // Goes on in the level at hand, to its end or into a folder.
  void avance() {
    NiveauControle &niveau = niveaux_.back();
    while (const RubriqueProjet *r = niveau.enfants.suivant()) {
      const EtatSource &etat = etats_.rang(niveau.enfants.rang());
      if (niveau.base.empty() && !r->est_virtuel()) niveau.base = lit_champ(r->chemin);
      if (etat.presence == Presence::virtuel) continue;
      compare(*r, etat);
      if (etat.presence == Presence::dossier) return entre(r->numero, ajouts_ || r->rafraichir());
    }
    if (niveau.ajouts && niveau.numero != kRacine && !niveau.base.empty()) cherche_ajouts(niveau);
    niveaux_.pop_back();
  }

  void compare(const RubriqueProjet &r, const EtatSource &etat) {
    Difference difference{GenreDifference::modification, r.pere, r.numero, r.lg_source, lit_champ(r.chemin),
                          lit_champ(r.nom_source)};
    const bool dossier = etat.presence == Presence::dossier;
    if (etat.presence == Presence::absent) {
      difference.genre = GenreDifference::suppression;
    } else {
      difference.contenu = !dossier && etat.change;
      if (!r.manquant() && !difference.contenu) return;
      if (!r.manquant()) difference.longueur = etat.longueur;
    }
    differences_.push_back(std::move(difference));
  }

  void cherche_ajouts(const NiveauControle &niveau) {
    const ListeDisque liste(niveau.base);
    const NomsPresents presents(projet_, niveau.numero);
    std::vector<std::string> noms;
    std::vector<const plateforme::DonneesRecherche *> entrees;
    for (const auto &entree : liste.entrees()) {
      const auto nom = nom_retenu(entree);
      const bool compagnon = !entree.est_dossier() && est_nom_compagnon(entree.nom_long);
      if (!nom || compagnon || (entree.par_lien && dossiers_du_projet().contains(entree.identite))) continue;
      noms.push_back(*nom);
      entrees.push_back(&entree);
    }
    for (const std::size_t rang : ordre_noms(noms)) {
      if (presents.deja_present(noms[rang], niveau.base + noms[rang], projet_.vue_courante()) != 0) continue;
      const auto longueur = static_cast<std::uint32_t>(entrees[rang]->taille & UINT32_MAX);
      differences_.push_back({GenreDifference::ajout, niveau.numero, 0,
                              entrees[rang]->est_dossier() ? 0 : longueur, niveau.base, noms[rang]});
    }
  }

  // A link to a folder that the project has is nothing new. Most disks have no such link.
  const IdentitesDossiers &dossiers_du_projet() {
    if (!dossiers_) dossiers_ = identites_dossiers(projet_);
    return *dossiers_;
  }

  const FichierProjet &projet_;
  bool ajouts_;
  EtatsSources etats_;
  IndexEnfants index_;
  std::optional<IdentitesDossiers> dossiers_;
  std::vector<NiveauControle> niveaux_;
  std::unordered_set<std::uint32_t> vus_;
  std::vector<Difference> differences_;
};

}  // namespace

std::string ligne_difference(const Difference &difference) {
  return std::string(1, static_cast<char>(difference.genre)) + "|" + std::to_string(difference.dossier) +
         "|" + std::to_string(static_cast<std::int32_t>(difference.numero)) + "|" +
         std::to_string(difference.longueur) + "|" + difference.chemin + "|" + difference.nom_source;
}

std::optional<std::vector<Difference>> controle_projet(const FichierProjet &projet, std::uint32_t dossier,
                                                       bool ajouts) {
  return Controle(projet, ajouts).depuis(dossier);
}

}  // namespace varnion
