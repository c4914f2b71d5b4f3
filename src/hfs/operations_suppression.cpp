#include <algorithm>
#include <vector>

#include "hfs/format_catalogue.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

// Deletion of files, and of folders with all that is in them.

namespace varnion {
namespace {

constexpr int kMessageDossierPlein = 1163;

// Frees a fork: its record's extents, then those of the extents tree, whose records go too. The design leaves
// the latter behind, and their blocks in use for ever.
template <typename C>
std::uint32_t libere_fourche(const typename C::Extents &extents, std::uint32_t id, std::uint8_t fourche) {
  std::uint32_t liberes = C::libere(extents);
  std::uint64_t blocs = 0;
  for (const auto &extent : extents) blocs += extent.blockCount;
  // A further record exists only behind a full one.
  for (bool plein = extents.back().blockCount != 0; plein;) {
    typename C::Extents suivants{};
    if (C::suivants(suivants, id, blocs, fourche) == nullptr) break;
    if (!retire_extents(id, static_cast<std::uint32_t>(blocs), fourche)) break;
    liberes += C::libere(suivants);
    for (const auto &extent : suivants) blocs += extent.blockCount;
    plein = suivants.back().blockCount != 0;
  }
  return liberes;
}

// Deletes the thread of an item, which files on HFS as a rule do not have.
template <typename C>
void supprime_fil(std::uint32_t id, int type) {
  if (!C::cherche(C::nom(NomItem{}), type, id).empty()) (void)supprime_courante<C>();
}

// Deletes the record that `lue` was copied from, and on which the current node stands.
template <typename C>
bool supprime_rubrique(const RubriqueLue &lue) {
  if (!supprime_courante<C>()) return false;
  const bool dossier = lue.type == kRubriqueDossier;
  trace_operation(dossier ? "*rd " : "*del ", lue.nom);
  // A record that claims the root's id, or none, is not its owner.
  if (lue.id > kIdRacine) supprime_fil<C>(lue.id, dossier ? kRubriqueFilDossier : kRubriqueFilFichier);
  if (!dossier) {
    std::vector<std::uint8_t> octets = lue.donnees;
    const auto &fichier = *fiche_comme<typename C::Fichier>(octets);
    ajuste_blocs_libres(std::int64_t{libere_fourche<C>(C::data(fichier), lue.id, kFourcheDonnees)} +
                        libere_fourche<C>(C::rsrc(fichier), lue.id, kFourcheRessources));
  }
  C::compte(lue.type, lue.parent, -1);
  ajuste_valence(-1, lue.parent);
  return true;
}

// True when the folder may be emptied, empty ones included.
template <typename C>
bool confirme_dossier(const RubriqueLue &lue) {
  std::vector<std::uint8_t> octets = lue.donnees;
  const auto *fiche = fiche_comme<typename C::Dossier>(octets);
  if (fiche == nullptr) return false;
  if (C::valence(*fiche) == 0 && !premier_enfant<C>(lue.id)) return true;
  if ((etat<OptionsProgramme>().options & kOptionDossierPlein) != 0) return true;
  int &retenue = reponses_volume().reponse_dossier_plein;
  if (retenue == -1) return false;
  if (retenue == 2) return true;
  retenue = operations().demander_tous(message(kMessageDossierPlein, {nom_item_windows(lue.nom)}));
  return retenue > 0;
}

// Empties a folder from its first item on, going into folders before they go themselves. The way down is kept
// here; a folder that is met again on it (a damaged catalog) loses its record alone.
template <typename C>
bool vide_dossier(std::uint32_t dossier) {
  std::vector<std::uint32_t> chemin{dossier};
  while (!chemin.empty()) {
    const auto enfant = premier_enfant<C>(chemin.back());
    if (!enfant) {
      const std::uint32_t vide = chemin.back();
      chemin.pop_back();
      if (chemin.empty()) return true;
      const auto lue = premier_enfant<C>(chemin.back());
      if (!lue || lue->id != vide || !supprime_rubrique<C>(*lue)) return false;
      continue;
    }
    const bool descend = enfant->type == kRubriqueDossier && enfant->id > kIdRacine &&
                         std::find(chemin.begin(), chemin.end(), enfant->id) == chemin.end();
    if (descend) {
      operations().afficher_etat_seul(nom_item_windows(enfant->nom));
      chemin.push_back(enfant->id);
    } else if (du_journal<C>(*enfant) || !supprime_rubrique<C>(*enfant)) {
      return false;
    }
  }
  return true;
}

template <typename C>
int supprime_item(std::optional<RubriqueLue> lue, std::uint32_t parent) {
  if (!lue || lue->id <= kIdRacine || lue->parent != parent || du_journal<C>(*lue)) return 0;
  if (lue->type == kRubriqueDossier) {
    if (!confirme_dossier<C>(*lue)) return 0;
    operations().afficher_etat_seul(nom_item_windows(lue->nom));
    const bool fait = vide_dossier<C>(lue->id);
    operations().afficher_etat({}, {});
    if (!fait) return 0;
  }
  // Other nodes have been read since: the record is looked up again.
  const auto encore = rubrique_nommee<C>(C::nom(lue->nom), lue->type, parent);
  return encore && encore->id == lue->id && supprime_rubrique<C>(*encore) ? 1 : 0;
}

}  // namespace

int supprime_par_id(std::uint32_t id, std::uint32_t parent) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) {
    using C = decltype(format);
    return supprime_item<C>(dossier_par_id<C>(id), parent);
  });
}

int supprime_par_nom(const NomItem &nom, std::uint32_t parent) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) {
    using C = decltype(format);
    return supprime_item<C>(rubrique_nommee<C>(C::nom(nom), kRubriqueToute, parent), parent);
  });
}

}  // namespace varnion
