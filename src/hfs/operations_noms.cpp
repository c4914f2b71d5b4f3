#include <algorithm>
#include <set>
#include <vector>

#include "hfs/format_catalogue.hpp"
#include "IO/operations.hpp"
#include "noms/ordre.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

// Renaming, moving, and the name of the volume. A record that gets another key is inserted anew, and the old
// one deleted behind that: a failure in between leaves an item twice, never lost.

namespace varnion {
namespace {

constexpr int kMessageDeplacement = 1152;
constexpr int kMessageNomPris = 6022;
constexpr std::size_t kNomAffiche = 45;

// Gives the record of `lue` the key (parent, nom).
template <typename C>
bool change_cle(const RubriqueLue &lue, std::uint32_t parent, const NomItem &nom) {
  if (!insere_compte<C>(C::cle(parent, C::nom(nom)), lue.donnees, parent)) return false;
  // Of equal keys the older record stands first.
  const auto vieille = rubrique_nommee<C>(C::nom(lue.nom), lue.type, lue.parent);
  return vieille && vieille->id == lue.id && supprime_courante<C>();
}

// Rewrites the thread of an item, where it has one.
template <typename C>
bool maj_thread(const RubriqueLue &lue, std::uint32_t parent, const NomItem &nom) {
  const int type = lue.type == kRubriqueDossier ? kRubriqueFilDossier : kRubriqueFilFichier;
  if (C::cherche(C::nom(NomItem{}), type, lue.id).empty()) return true;
  const PetitTampon fil = C::fil(type, parent, C::nom(nom));
  const auto donnees = C::donnees(enregistrement_courant());
  if (donnees.size() == fil.size()) {
    std::copy(fil.octets().begin(), fil.octets().end(), donnees.begin());
    ecrit_courant();
    return true;
  }
  // HFS+: another length. The new thread goes in behind the old one, which the look-up finds first.
  const PetitTampon cle = C::cle(lue.id, C::nom(NomItem{}));
  if (!insere_compte<C>(cle, fil, lue.id)) return false;
  return !C::cherche(C::nom(NomItem{}), type, lue.id).empty() && supprime_courante<C>();
}

// New key and new thread, or neither: the thread first, for on HFS+ it may find no room.
template <typename C>
bool change_cle_et_fil(const RubriqueLue &lue, std::uint32_t parent, const NomItem &nom) {
  if (!maj_thread<C>(lue, parent, nom)) return false;
  if (change_cle<C>(lue, parent, nom)) return true;
  if (!maj_thread<C>(lue, lue.parent, lue.nom))
    operations().journal(GenreJournal::erreur, formate("catalog: thread of %d not put back", {lue.id}));
  return false;
}

template <typename C>
int renomme_rubrique(const std::optional<RubriqueLue> &lue, const NomItem &nouveau, std::uint32_t parent) {
  if (!lue || lue->parent != parent || lue->id <= kIdRacine || C::vide(C::nom(nouveau))) return 0;
  if (du_journal<C>(*lue)) return 0;
  const auto autre = rubrique_nommee<C>(C::nom(nouveau), kRubriqueToute, parent);
  if (autre && autre->id != lue->id) {
    operations().afficher_erreur(message(kMessageNomPris, {nom_item_windows(nouveau)}));
    return 0;
  }
  trace_operation("*ren ", lue->nom, &nouveau);
  return change_cle_et_fil<C>(*lue, parent, nouveau) ? 1 : 0;
}

// True when `dossier` is `ancetre` or lies below it; also when the way up runs in a circle.
template <typename C>
bool dans(std::uint32_t dossier, std::uint32_t ancetre) {
  std::set<std::uint32_t> vus;
  while (dossier > kIdRacine) {
    if (dossier == ancetre || !vus.insert(dossier).second) return true;
    const auto lue = dossier_par_id<C>(dossier);
    if (!lue) return true;
    dossier = lue->parent;
  }
  return dossier != kIdRacine;
}

template <typename C>
int deplace_de(const NomItem &nom, std::uint32_t de, std::uint32_t vers) {
  const auto lue = rubrique_nommee<C>(C::nom(nom), kRubriqueToute, de);
  if (!lue || lue->id <= kIdRacine || de == vers || du_journal<C>(*lue)) return 0;
  if (existe(nom, vers) != 0) {
    operations().afficher_erreur(
        message(kMessageDeplacement, {tronque_chemin(nom_item_windows(nom), kNomAffiche)}));
    return 0;
  }
  if (lue->type == kRubriqueDossier && dans<C>(vers, lue->id)) return 0;
  auto cible = dossier_par_id<C>(vers);
  const auto *fiche = cible ? fiche_comme<typename C::Dossier>(cible->donnees) : nullptr;
  if (fiche == nullptr || C::valence(*fiche) >= C::kValenceMax) return 0;
  if (!change_cle_et_fil<C>(*lue, vers, lue->nom)) return 0;
  C::compte(lue->type, de, -1);
  C::compte(lue->type, vers, 1);
  ajuste_valence(-1, de);
  ajuste_valence(1, vers);
  return 1;
}

template <typename C>
int nom_volume_change_de(NomItem nom) {
  if (!C::kPlus) nom.mac.resize(std::min(nom.mac.size(), kNomVolumeHfsMax));
  if (C::vide(C::nom(nom))) return 0;
  const auto racine = dossier_par_id<C>(kIdRacine);
  if (!racine) return 0;
  trace_operation("*label ", nom);
  if (!change_cle_et_fil<C>(*racine, kIdParentRacine, nom)) return 0;
  if (!C::kPlus) {
    auto &champ = volume_courant().mdb->drVN;
    champ.fill(0);
    champ[0] = static_cast<std::uint8_t>(nom.mac.size());
    std::copy(nom.mac.begin(), nom.mac.end(), champ.begin() + 1);
  }
  return 1;
}

// What `renomme_masque` makes of a name.
std::string nom_par_masque(std::string_view motif, std::string_view nouveau, std::string_view ancien) {
  const std::size_t etoile = nouveau.find('*');
  if (etoile == std::string_view::npos) return std::string(nouveau.substr(0, kNomHfsMax));
  const std::size_t dans_motif = motif.find('*');
  const std::size_t place =
      std::min(dans_motif == std::string_view::npos ? etoile : dans_motif, ancien.size());
  return (std::string(nouveau.substr(0, etoile)) + std::string(ancien.substr(place))).substr(0, kNomHfsMax);
}

// Names in a folder that match a pattern, in the order of keys; the first only when `un`. They are taken
// before any is changed, or a new name that matches too would be renamed for ever.
std::vector<std::string> noms_du_masque(std::string_view motif, std::uint32_t parent, bool un) {
  std::vector<std::string> noms;
  DescripteurArbre &arbre = volume_courant().catalogue;
  OctetsNoeud noeud = place_de_cle<TraitsHfs>({parent, {}});
  std::int32_t index = arbre.index == kIndexFin ? nb_enregistrements(noeud) : arbre.index;
  std::uint64_t reste = std::uint64_t{arbre.fiche().totalNodes} + 1;
  while (!noeud.empty() && entete_noeud(noeud)->kind == kNoeudFeuille && reste-- > 0) {
    for (; index < nb_enregistrements(noeud); ++index) {
      const auto fiche = enregistrement(noeud, index);
      const auto cle = TraitsHfs::cle(fiche);
      if (!cle || cle->parent < parent) continue;
      if (cle->parent > parent) return noms;
      const int type = TraitsHfs::type(fiche);
      if (type != kRubriqueDossier && type != kRubriqueFichier) continue;
      if (compare_nom_hfs(motif, cle->nom) == 0) noms.emplace_back(cle->nom);
      if (un && !noms.empty()) return noms;
    }
    index = 0;
    const std::uint32_t suivant = entete_noeud(noeud)->fLink;
    noeud = suivant != 0 ? lecture_noeud(suivant) : OctetsNoeud{};
  }
  return noms;
}

}  // namespace

int renomme_par_id(const NomItem &nouveau, std::uint32_t id, std::uint32_t parent) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) {
    using C = decltype(format);
    return renomme_rubrique<C>(dossier_par_id<C>(id), nouveau, parent);
  });
}

int renomme_par_nom(const NomItem &ancien, const NomItem &nouveau, std::uint32_t parent) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) {
    using C = decltype(format);
    return renomme_rubrique<C>(rubrique_nommee<C>(C::nom(ancien), kRubriqueToute, parent), nouveau, parent);
  });
}

int renomme_masque(std::string_view motif, std::string_view nouveau, std::uint32_t parent, int *refuses) {
  if (volume_courant().est_hfsplus || !modifiable()) return 0;
  const bool un = nouveau.find('*') == std::string_view::npos;
  int renommes = 0;
  for (const std::string &ancien : noms_du_masque(motif, parent, un)) {
    const std::string nom = nom_par_masque(motif, nouveau, ancien);
    if (nom == ancien) continue;
    if (renomme_par_nom({ancien, {}}, {nom, {}}, parent) == 1)
      renommes = 1;
    else if (refuses != nullptr)
      ++*refuses;
  }
  return renommes;
}

int deplace(const NomItem &nom, std::uint32_t de, std::uint32_t vers) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) { return deplace_de<decltype(format)>(nom, de, vers); });
}

int nom_volume_change(const NomItem &nom) {
  if (!modifiable()) return 0;
  return selon_format([&](auto format) { return nom_volume_change_de<decltype(format)>(nom); });
}

}  // namespace varnion
