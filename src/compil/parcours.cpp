#include <algorithm>
#include <span>

#include "compil/conteneurs.hpp"
#include "compil/execution.hpp"
#include "hfs/fiches.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "projet/fichier_projet.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSourceDisparue = 6314;       // path
constexpr int kCatalogueImpossible = 6315;  // path
constexpr int kNomDejaLa = 6308;            // path
constexpr int kNomJolietChange = 7820;      // path, name on the disc
constexpr std::size_t kLongueurMessage = 100;

std::span<const std::uint8_t> octets_du_nom(const std::string &nom) {
  return {reinterpret_cast<const std::uint8_t *>(nom.data()), nom.size()};
}

/// A folder without a source on the disk is a folder all the same: its times are now.
plateforme::DonneesRecherche donnees_virtuelles(const RubriqueProjet &r) {
  plateforme::DonneesRecherche d;
  d.attributs = plateforme::kAttributDossier;
  d.creation = d.acces = d.modification = plateforme::maintenant();
  d.nom_long = lit_champ(r.nom_source);
  d.nom_large = plateforme::texte_vers_large(d.nom_long);
  return d;
}

}  // namespace

void Execution::remarque(int id, const std::string &chemin, const std::string &detail) {
  remarque(message(id, {tronque_chemin(chemin, kLongueurMessage), detail}));
}

void Execution::remarque(const std::string &texte) {
  ++ctx_.remarques;
  suivi_.remarque(texte);
}

bool Execution::va_sur_volume(const RubriqueProjet &r, const Niveau &ici) const {
  return volume_ != nullptr && r.dans_hfs() && ici.cnid != 0;
}

bool Execution::note_catalogue(Catalogue resultat, const RubriqueProjet &r) {
  if (resultat == Catalogue::fait) return true;
  if (resultat == Catalogue::plein) return echoue(kCompilReprise);
  operations().afficher_erreur(
      message(kCatalogueImpossible, {tronque_chemin(chemin_source(r), kLongueurMessage)}));
  return echoue(kCompilEchec);
}

// Names of the project were compared before the image was begun. One that comes from the source is known only
// now: it may be that of an item in the catalog, or of one that is still to come.
bool Execution::nom_mac_libre(const RubriqueProjet &r, std::u16string_view nom_large, const Niveau &ici,
                              RepertoiresOuverts &ouverts) {
  const bool tardif = volume_->nom_de_la_source(r, nom_large);
  bool libre = !tardif || !volume_->existe(ici.cnid, r, nom_large);
  if (tardif)
    ouverts.noms_tardifs.insert(volume_->cle_nom(r, nom_large));
  else if (!ouverts.noms_tardifs.empty())
    libre = !ouverts.noms_tardifs.contains(volume_->cle_nom(r, nom_large));
  if (libre) return true;
  operations().afficher_erreur(message(kNomDejaLa, {tronque_chemin(chemin_source(r), kLongueurMessage)}));
  return echoue(kCompilEchec);
}

// The item is on the disc, whole: it does not count among those left out or changed.
std::string Execution::octets_joliet(const NomJoliet &nom, const std::string &chemin) {
  if (!nom.change.empty())
    suivi_.remarque(message(kNomJolietChange, {tronque_chemin(chemin, kLongueurMessage), nom.change}));
  return nom.octets;
}

bool Execution::place_dossier(const RubriqueProjet &r, Niveau &ici, RepertoiresOuverts &ouverts,
                              std::vector<DossierEnAttente> &attente) {
  plateforme::DonneesRecherche donnees;
  if (lit_champ(r.chemin).starts_with('.')) {
    donnees = donnees_virtuelles(r);
  } else {
    auto trouvees = plateforme::cherche_fichier(chemin_source(r));
    if (!trouvees || !trouvees->est_dossier()) {
      remarque(kSourceDisparue, chemin_source(r));
      return true;
    }
    donnees = std::move(*trouvees);
  }
  DossierEnAttente d{r, donnees.nom_large, 0, 0, 0};
  if (ouverts.iso != nullptr && r.dans_iso()) {
    FicheRepertoire fiche;
    fiche.date = date_repertoire(donnees.modification);
    fiche.drapeaux = kDrapeauDossier;
    if (r.cache_iso() != 0) fiche.drapeaux |= kDrapeauCache;
    d.fiche_iso = ouverts.iso->ajoute(fiche, octets_du_nom(ouverts.noms.dossier(r, donnees)));
    d.fiche_joliet = ouverts.joliet->ajoute(
        fiche, octets_du_nom(octets_joliet(ouverts.noms_joliet.place(r, donnees), chemin_source(r))));
  }
  if (va_sur_volume(r, ici)) {
    if (!nom_mac_libre(r, d.nom_large, ici, ouverts)) return false;
    if (!note_catalogue(volume_->cree_dossier(ici.cnid, r, d.nom_large, d.cnid), r)) return false;
    ++ici.valence;
  }
  if (r.dans_iso() || r.dans_hfs()) attente.push_back(std::move(d));
  return true;
}

bool Execution::place_enfants(std::uint32_t dossier, Niveau &ici, RepertoiresOuverts &ouverts,
                              std::vector<DossierEnAttente> &attente) {
  const auto place = [&](const RubriqueProjet &r) {
    return r.est_dossier() ? place_dossier(r, ici, ouverts, attente) : inclusion_fichier(r, ici, ouverts);
  };
  LecteurRubriques enfants = index_.enfants(*ctx_.projet, dossier);
  while (const RubriqueProjet *r = enfants.suivant())
    if (!place(*r)) return echoue(kCompilEchec);
  if (ctx_.conteneurs != nullptr)
    for (const RubriqueProjet &r : ctx_.conteneurs->compagnons(dossier))
      if (!place(r)) return echoue(kCompilEchec);
  return true;
}

bool Execution::ferme_repertoires(RepertoiresOuverts &ouverts, Niveau &ici,
                                  std::vector<DossierEnAttente> &attente, bool racine) {
  ouverts.iso->ferme(racine);
  ouverts.joliet->ferme(racine);
  const std::uint64_t base_iso = std::uint64_t{arbre_iso_.secteurs} * kSecteurIso;
  const std::uint64_t base_joliet = std::uint64_t{arbre_joliet_.secteurs} * kSecteurIso;
  for (DossierEnAttente &d : attente) {
    if (!d.rubrique.dans_iso()) continue;
    d.fiche_iso = base_iso + ouverts.iso->position(d.fiche_iso);
    d.fiche_joliet = base_joliet + ouverts.joliet->position(d.fiche_joliet);
  }
  ici.taille_iso = ouverts.iso->taille();
  ici.taille_joliet = ouverts.joliet->taille();
  return (arbre_iso_.ajoute(*ouverts.iso) && arbre_joliet_.ajoute(*ouverts.joliet)) || erreur_systeme();
}

bool Execution::descend(const DossierEnAttente &d, const Niveau &ici) {
  Niveau fils;
  fils.cnid = d.cnid;
  if (!creation_volume(d.rubrique.numero, ici, fils)) return false;
  if (ctx_.a_iso() && d.rubrique.dans_iso() &&
      !(arbre_iso_.fixe_enfant(d.fiche_iso, fils.extent_iso, fils.taille_iso) &&
        arbre_joliet_.fixe_enfant(d.fiche_joliet, fils.extent_joliet, fils.taille_joliet)))
    return erreur_systeme();
  if (volume_ != nullptr && d.cnid != 0 &&
      !volume_->fixe_valence(ici.cnid, d.rubrique, d.nom_large, fils.valence))
    return echec_volume();
  return true;
}

bool Execution::creation_volume(std::uint32_t dossier, const Niveau &pere, Niveau &ici) {
  std::vector<DossierEnAttente> attente;
  {
    RepertoiresOuverts ouverts;
    if (ctx_.a_iso()) {
      ici.extent_iso = arbre_iso_.prochain();
      ici.extent_joliet = arbre_joliet_.prochain();
      const DateRepertoire date = date_repertoire(plateforme::maintenant());
      ouverts.iso =
          std::make_unique<Repertoire>(false, date, ici.extent_iso, pere.extent_iso, pere.taille_iso);
      ouverts.joliet =
          std::make_unique<Repertoire>(true, date, ici.extent_joliet, pere.extent_joliet, pere.taille_joliet);
    }
    if (!place_enfants(dossier, ici, ouverts, attente)) return false;
    if (ctx_.a_iso() && !ferme_repertoires(ouverts, ici, attente, dossier == kRacine)) return false;
  }
  return std::all_of(attente.begin(), attente.end(),
                     [&](const DossierEnAttente &d) { return descend(d, ici); });
}

}  // namespace varnion
