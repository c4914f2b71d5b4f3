#include <algorithm>
#include <cerrno>
#include <unordered_map>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/arborescence.hpp"
#include "projet/etat_sources.hpp"
#include "projet/inclusion.hpp"
#include "projet/inclusion_fichier.hpp"
#include "projet/instantane.hpp"
#include "projet/mesure_source.hpp"
#include "projet/rafraichissement.hpp"

namespace varnion {

namespace {

// The record of a new file: a plain one. Whether the file is a Macintosh container, and its type and creator,
// are not looked at, unlike in an inclusion; such a file goes in with all its bytes. What lies beside them,
// in a companion or in streams, is taken.
RubriqueProjet rubrique_ajoutee(const FichierProjet &projet, const Difference &difference, int vue,
                                const plateforme::DonneesRecherche &entree) {
  RubriqueProjet rubrique;
  ecrit_champ_coupe(rubrique.chemin, difference.chemin);
  ecrit_champ_coupe(rubrique.nom_source, difference.nom_source);
  rubrique.nom_hors_page(difference.nom_source != entree.nom_long);
  const std::string &court = entree.nom_court.empty() ? entree.nom_long : entree.nom_court;
  static_cast<void>(ecrit_champ_plein(rubrique.nom_court, court.substr(0, rubrique.nom_court.size())));
  ecrit_champ_coupe(rubrique.nom_iso, coupe_nom(difference.nom_source, kNomIsoMax));
  pose_nom_hfs(rubrique, coupe_nom(difference.nom_source, projet.hfsplus() ? kNomHfsplusMax : kNomHfsMax),
               projet.hfsplus());
  rubrique.nom_hfs_final(false);
  pose_vues(rubrique, vue, projet.mode());
  rubrique.lg_source = difference.longueur;
  rubrique.lg_data = difference.longueur;
  const auto mesure = mesure_source(rubrique, projet.hfsplus());
  const bool a_cote = mesure && (mesure->codage() == Codage::ntfs ||
                                 (mesure->codage() == Codage::apple && mesure->est_appledouble()));
  if (a_cote) reprend_mesure(rubrique, *mesure);
  dates_rubrique(rubrique, entree);
  ordonne_dates(rubrique);
  return rubrique;
}

// The source as it is now, also where it became a container or ceased to be one; one that does not open gives
// no more than its length.
void reprend_source(RubriqueProjet &rubrique, const Difference &difference, bool hfsplus) {
  const auto mesure = mesure_source(rubrique, hfsplus);
  if (mesure) return reprend_mesure(rubrique, *mesure);
  const bool simple = rubrique.lg_source == rubrique.lg_data;
  rubrique.lg_source = difference.longueur;
  if (simple) rubrique.lg_data = difference.longueur;
}

class Accord {
 public:
  explicit Accord(FichierProjet &projet) : projet_(projet), instantane_(projet) {}

  BilanAccord applique(std::span<const Difference> differences) {
    if (!instantane_.prend()) return bilan_;
    for (const Difference &difference : differences) {
      if (difference.genre == GenreDifference::ajout)
        ajouts_.push_back(&difference);
      else
        par_item_[cle(difference.dossier, difference.numero)].push_back(&difference);
    }
    errno = 0;
    const bool change = change_items() && suppression_rangs(projet_, condamnes_);
    if (!change) return echoue(true);
    if (!ajoute()) return echoue(false);
    if (!estimation_secteurs(projet_) || !projet_.vide()) return echoue(true);
    bilan_.restes += restent_ + ajouts_.size() - std::min<std::uint64_t>(bilan_.ajouts, ajouts_.size());
    bilan_.abouti = true;
    instantane_.confirme();
    return bilan_;
  }

 private:
  static std::uint64_t cle(std::uint32_t dossier, std::uint32_t numero) {
    return std::uint64_t{dossier} << 32 | numero;
  }

  BilanAccord echoue(bool dit) {
    if (dit) echec_projet_inchange(projet_);
    instantane_.restaure();
    return {};
  }

  // One pass: modified items are rewritten, those to delete are gathered. Items that share a number take one
  // difference each.
  bool change_items() {
    for (const auto &[numero, liste] : par_item_) restent_ += liste.size();
    if (restent_ == 0) return true;
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *lue = tout.suivant()) {
      const auto trouve = par_item_.find(cle(lue->pere, lue->numero));
      if (trouve == par_item_.end() || trouve->second.empty()) continue;
      const Difference &difference = *trouve->second.front();
      trouve->second.erase(trouve->second.begin());
      if (difference.genre == GenreDifference::suppression) {
        if (lue->est_dossier() && !confirme_suppression(projet_, *lue)) continue;
        condamnes_.push_back(tout.rang());
        ++bilan_.suppressions;
      } else {
        RubriqueProjet changee = *lue;
        if (difference.contenu && !changee.est_dossier())
          reprend_source(changee, difference, projet_.hfsplus());
        if (!tout.reecrit(projet_, changee)) return false;
        ++bilan_.modifications;
      }
      --restent_;
    }
    return true;
  }

  // View codes of the folders that take additions; a folder that is gone is not there.
  std::unordered_map<std::uint32_t, int> vues() const {
    std::unordered_map<std::uint32_t, int> resultat;
    for (const Difference *ajout : ajouts_) resultat.try_emplace(ajout->dossier, -1);
    if (resultat.contains(kRacine)) resultat[kRacine] = kVueRacine;
    LecteurRubriques tout(projet_);
    while (const RubriqueProjet *lue = tout.suivant()) {
      if (!lue->est_dossier()) continue;
      if (const auto place = resultat.find(lue->numero); place != resultat.end())
        place->second = vue_de_rubrique(*lue);
    }
    return resultat;
  }

  bool ajoute() {
    if (ajouts_.empty()) return true;
    std::stable_sort(ajouts_.begin(), ajouts_.end(), [](const Difference *a, const Difference *b) {
      return a->dossier != b->dossier ? a->dossier < b->dossier : a->chemin < b->chemin;
    });
    const auto codes = vues();
    std::vector<DemandeInclusion> demandes;
    std::optional<ListeDisque> liste;
    const std::string *listee = nullptr;
    for (const Difference *ajout : ajouts_) {
      const int vue = codes.at(ajout->dossier);
      if (listee == nullptr || *listee != ajout->chemin) liste.emplace(ajout->chemin);
      listee = &ajout->chemin;
      const auto *entree = liste->trouve(ajout->nom_source);
      if (vue < 0 || entree == nullptr) continue;
      DemandeInclusion demande{ajout->dossier, vue, ajout->chemin + ajout->nom_source};
      // A new folder brings all that lies below it: without items of its own it would never be looked into.
      if (!entree->est_dossier()) demande.prete = rubrique_ajoutee(projet_, *ajout, vue, *entree);
      demandes.push_back(std::move(demande));
    }
    const BilanInclusion bilan = inclusion_demandes(projet_, demandes);
    bilan_.ajouts = bilan.fichiers_niveau + bilan.dossiers_niveau;
    return demandes.empty() || bilan.abouti();
  }

  FichierProjet &projet_;
  InstantaneProjet instantane_;
  std::unordered_map<std::uint64_t, std::vector<const Difference *>> par_item_;
  std::vector<const Difference *> ajouts_;
  std::vector<std::uint64_t> condamnes_;
  std::uint64_t restent_ = 0;
  BilanAccord bilan_;
};

}  // namespace

BilanAccord accepte_differences(FichierProjet &projet, std::span<const Difference> differences) {
  return Accord(projet).applique(differences);
}

}  // namespace varnion
