#include "projet/etat_sources.hpp"

#include <cerrno>

#include "IO/acces.hpp"
#include "IO/operations.hpp"

namespace varnion {

namespace {

using plateforme::DonneesRecherche;

struct Source {
  std::string nom;
  std::uint64_t rang;
  bool dossier;
};

bool dit_absent(int erreur) {
  return erreur == 0 || erreur == ENOENT || erreur == ENOTDIR || erreur == ENAMETOOLONG || erreur == ELOOP;
}

EtatSource etat_entree(const DonneesRecherche &entree, bool veut_dossier) {
  if (entree.est_dossier() != veut_dossier) return {};
  if (veut_dossier) return {Presence::dossier, 0};
  return {Presence::fichier, static_cast<std::uint32_t>(entree.taille & UINT32_MAX)};
}

// An item of a folder that is there but cannot be listed: it may be reached by its name all the same.
EtatSource etat_sans_liste(const std::string &chemin, bool veut_dossier) {
  errno = 0;
  if (const auto entree = plateforme::cherche_fichier(chemin)) return etat_entree(*entree, veut_dossier);
  if (dit_absent(errno)) return {};
  return {veut_dossier ? Presence::dossier : Presence::illisible, 0};
}

}  // namespace

ListeDisque::ListeDisque(const std::string &dossier) {
  errno = 0;
  auto liste = plateforme::liste_dossier(dossier);
  lue_ = liste.has_value();
  absente_ = !lue_ && dit_absent(errno);
  if (!lue_) return;
  entrees_ = std::move(*liste);
  for (std::size_t i = 0; i < entrees_.size(); ++i) {
    const DonneesRecherche &entree = entrees_[i];
    if (entree.nom_long.find('?') == std::string::npos) {
      longs_.try_emplace(entree.nom_long, i);
      const auto [place, neuf] = plies_.try_emplace(plateforme::majuscules(entree.nom_long), i);
      if (!neuf) place->second.reset();
    }
    if (!entree.nom_court.empty()) courts_.try_emplace(plateforme::majuscules(entree.nom_court), i);
  }
}

const DonneesRecherche *ListeDisque::trouve(std::string_view nom) const {
  if (const auto exact = longs_.find(std::string(nom)); exact != longs_.end())
    return &entrees_[exact->second];
  const std::string plie = plateforme::majuscules(nom);
  if (const auto court = courts_.find(plie); court != courts_.end()) return &entrees_[court->second];
  const auto proche = plies_.find(plie);
  return proche != plies_.end() && proche->second ? &entrees_[*proche->second] : nullptr;
}

EtatsSources::EtatsSources(const FichierProjet &projet) {
  etats_.resize(static_cast<std::size_t>(projet.nb_rubriques()) + 1);
  std::unordered_map<std::string, std::vector<Source>> dossiers;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *r = tout.suivant()) {
    const auto rang = static_cast<std::size_t>(tout.rang());
    if (rang >= etats_.size()) break;
    const std::string chemin = lit_champ(r->chemin);
    if (chemin == kCheminVirtuel)
      etats_[rang].presence = Presence::virtuel;
    else
      dossiers[chemin].push_back({lit_champ(r->nom_source), tout.rang(), r->est_dossier()});
  }
  plateforme::AccesFichiers acces;
  for (const auto &[chemin, sources] : dossiers) {
    const ListeDisque liste(chemin);
    if (operations().arret_demande()) complets_ = false;
    if (!complets_) return;
    if (liste.absente()) continue;
    for (const Source &source : sources) {
      EtatSource &etat = etats_[static_cast<std::size_t>(source.rang)];
      if (!liste.lue()) {
        etat = etat_sans_liste(chemin + source.nom, source.dossier);
      } else if (const DonneesRecherche *entree = liste.trouve(source.nom)) {
        etat = etat_entree(*entree, source.dossier);
      }
      if (etat.presence == Presence::fichier && !acces.ouvre(chemin + source.nom).ouvert())
        etat = {Presence::illisible, 0};
    }
  }
}

const EtatSource &EtatsSources::rang(std::uint64_t rang) const {
  static constexpr EtatSource kVirtuel{Presence::virtuel, 0};
  return rang < etats_.size() ? etats_[static_cast<std::size_t>(rang)] : kVirtuel;
}

}  // namespace varnion
