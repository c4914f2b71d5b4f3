#include "projet/etat_sources.hpp"

#include <cerrno>

#include "fichiers/applesimple.hpp"
#include "IO/acces.hpp"
#include "IO/operations.hpp"
#include "projet/mesure_source.hpp"

namespace varnion {

namespace {

using plateforme::DonneesRecherche;

struct Source {
  std::string nom;
  std::uint64_t rang;
  bool dossier;
  // What its item says.
  std::uint32_t longueur;
  bool code, appledouble, ntfs;
};

Source source_de(const RubriqueProjet &r, std::uint64_t rang) {
  return {lit_champ(r.nom_source),
          rang,
          r.est_dossier(),
          r.lg_source,
          r.codage() != Codage::aucun || r.est_code_mac(),
          r.est_appledouble(),
          r.codage() == Codage::ntfs};
}

bool dit_absent(int erreur) {
  return erreur == 0 || erreur == ENOENT || erreur == ENOTDIR || erreur == ENAMETOOLONG || erreur == ELOOP;
}

EtatSource etat_entree(const DonneesRecherche &entree, bool veut_dossier) {
  if (entree.est_dossier() != veut_dossier) return {};
  if (veut_dossier) return {Presence::dossier};
  return {Presence::fichier, static_cast<std::uint32_t>(entree.taille & UINT32_MAX)};
}

// An item of a folder that is there but cannot be listed: it may be reached by its name all the same.
EtatSource etat_sans_liste(const std::string &chemin, bool veut_dossier) {
  errno = 0;
  if (const auto entree = plateforme::cherche_fichier(chemin)) return etat_entree(*entree, veut_dossier);
  if (dit_absent(errno)) return {};
  return {veut_dossier ? Presence::dossier : Presence::illisible};
}

// A plain file whose coding the user took away stays plain while its length does: only what lies beside the
// bytes of the file makes one of the same length a Macintosh file.
bool peut_differer(const Source &source, const ListeDisque &liste, const DonneesRecherche &entree,
                   bool flux_possible) {
  return source.code || liste.a_compagnon(entree) != source.appledouble || flux_possible != source.ntfs;
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
    if (!entree.est_dossier() && est_nom_compagnon(entree.nom_long)) compagnons_.insert(entree.nom_large);
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

bool ListeDisque::a_compagnon(const DonneesRecherche &entree) const {
  return !compagnons_.empty() && compagnons_.contains(u"._" + entree.nom_large);
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
      dossiers[chemin].push_back(source_de(*r, tout.rang()));
  }
  plateforme::AccesFichiers acces;
  for (const auto &[chemin, sources] : dossiers) {
    const ListeDisque liste(chemin);
    if (operations().arret_demande()) complets_ = false;
    if (!complets_) return;
    if (liste.absente()) continue;
    for (const Source &source : sources) {
      EtatSource &etat = etats_[static_cast<std::size_t>(source.rang)];
      const std::string nom = chemin + source.nom;
      const DonneesRecherche *entree = liste.lue() ? liste.trouve(source.nom) : nullptr;
      if (!liste.lue())
        etat = etat_sans_liste(nom, source.dossier);
      else if (entree != nullptr)
        etat = etat_entree(*entree, source.dossier);
      if (etat.presence != Presence::fichier && etat.presence != Presence::illisible) continue;
      const Fichier fichier = acces.ouvre(nom);
      if (!fichier.ouvert()) etat = {Presence::illisible};
      etat.change = etat.longueur != source.longueur;
      if (etat.change || !fichier.ouvert() || entree == nullptr) continue;
      const bool flux = acces.flux_possible(fichier);
      RubriqueProjet item;
      if (!peut_differer(source, liste, *entree, flux) || !projet.lit(source.rang, item)) continue;
      const SourceInclusion description{*entree,          nom, source.nom, liste.a_compagnon(*entree),
                                        projet.hfsplus(), flux};
      etat.change = autre_mesure(item, mesure_source(fichier, description));
    }
  }
}

const EtatSource &EtatsSources::rang(std::uint64_t rang) const {
  static constexpr EtatSource kVirtuel{Presence::virtuel};
  return rang < etats_.size() ? etats_[static_cast<std::size_t>(rang)] : kVirtuel;
}

}  // namespace varnion
