#include "hfs/operations_catalogue.hpp"

#include <algorithm>
#include <limits>

#include "hfs/croissance.hpp"
#include "hfs/format_catalogue.hpp"
#include "hfs/garde.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

// Names, creation of folders and files, valences.

namespace varnion {
namespace {

constexpr int kMessageDossierExiste = 1160;
constexpr int kMessageRemplacer = 1161;
constexpr int kMessagePlein = 1073;
constexpr int kMessageNomPris = 6022;
constexpr int kMessageTropGrand = 6023;

void erreur_nommee(int message_id, const NomItem &nom) {
  operations().afficher_erreur(message(message_id, {nom_item_windows(nom)}));
}

template <typename C>
bool nom_valable(const NomItem &nom) {
  return !C::vide(C::nom(nom));
}

// The folder may take one more item.
template <typename C>
bool peut_recevoir(std::uint32_t dossier) {
  auto lue = dossier_par_id<C>(dossier);
  const auto *fiche = lue ? fiche_comme<typename C::Dossier>(lue->donnees) : nullptr;
  if (fiche != nullptr && C::valence(*fiche) < C::kValenceMax) return true;
  operations().journal(GenreJournal::erreur,
                       formate("catalog: %d is no folder, or one that is full", {dossier}));
  return false;
}

// The next catalog id, 0 when they are used up; behind all that are in use, whatever the header says. It is
// on the disk before a record has it.
template <typename C>
std::uint32_t prend_id() {
  const std::uint32_t pris = dernier_id_pris();
  if (pris >= C::prochain_id()) {
    operations().journal(
        GenreJournal::information,
        formate("volume: next catalog id %u is in use, %u follows", {std::uint32_t{C::prochain_id()}, pris}));
    C::prochain_id() = pris < std::numeric_limits<std::uint32_t>::max() ? pris + 1 : pris;
  }
  const std::uint32_t id = C::prochain_id();
  if (id < 16 || id == std::numeric_limits<std::uint32_t>::max()) {
    operations().journal(GenreJournal::erreur, "volume: no catalog id left");
    return 0;
  }
  C::prochain_id() = id + 1;
  ecrit_marques();
  return id;
}

// Inserts a record and its thread, or neither.
template <typename C>
bool insere_avec_fil(std::uint32_t parent, const NomItem &nom, std::uint32_t id,
                     std::span<const std::uint8_t> donnees, int type) {
  if (!insere_compte<C>(C::cle(parent, C::nom(nom)), donnees, parent)) return false;
  const bool dossier = type == kRubriqueDossier;
  if (!dossier && !C::kFilDeFichier) return true;
  const int type_fil = dossier ? kRubriqueFilDossier : kRubriqueFilFichier;
  if (insere_compte<C>(C::cle(id, C::nom(NomItem{})), C::fil(type_fil, parent, C::nom(nom)), id, true))
    return true;
  const auto lue = rubrique_nommee<C>(C::nom(nom), type, parent);
  if (lue && lue->id == id) (void)supprime_courante<C>();
  return false;
}

template <typename C>
std::uint32_t cree_dossier_de(const NomItem &nom, std::uint32_t parent) {
  if (!modifiable() || !nom_valable<C>(nom) || !peut_recevoir<C>(parent)) return 0;
  if (existe(nom, parent) != 0) {
    erreur_nommee(kMessageDossierExiste, nom);
    return 0;
  }
  const std::uint32_t id = prend_id<C>();
  if (id == 0) return 0;
  const auto fiche = C::nouveau_dossier(id, date_mac(), info_nouveau_dossier());
  if (!insere_avec_fil<C>(parent, nom, id, octets_de(fiche), kRubriqueDossier)) return 0;
  C::compte(kRubriqueDossier, parent, 1);
  ajuste_valence(1, parent);
  return id;
}

// --- files

std::uint64_t blocs_pour(std::uint64_t octets) {
  return quotient_haut<std::uint64_t>(octets, std::max(1U, volume_courant().taille_bloc));
}

template <typename C>
bool fourches_admises(const NomItem &nom, std::uint64_t data, std::uint64_t rsrc) {
  constexpr std::uint64_t kFourcheHfsMax = 0x7FFFFFFF;
  if (!C::kPlus && std::max(data, rsrc) > kFourcheHfsMax) {
    erreur_nommee(kMessageTropGrand, nom);
    return false;
  }
  if (blocs_pour(data) <= blocs_libres() && blocs_pour(data) + blocs_pour(rsrc) <= blocs_libres())
    return true;
  operations().afficher_erreur(charger_chaine(kMessagePlein));
  return false;
}

template <typename C>
std::uint32_t insere_fichier_de(std::uint32_t parent, const NomItem &nom, const NouveauFichier &fichier,
                                const SourceFourche &data, const SourceFourche &rsrc) {
  if (!modifiable() || !nom_valable<C>(nom) || !peut_recevoir<C>(parent)) return 0;
  if (existe(nom, parent) != 0) {
    erreur_nommee(kMessageNomPris, nom);
    return 0;
  }
  if (!fourches_admises<C>(nom, data.longueur, rsrc.longueur)) return 0;
  typename C::Extents de_data{};
  typename C::Extents de_rsrc{};
  const std::string texte = nom_item_windows(nom);
  if (data.longueur != 0 && !C::copie(data, de_data, texte)) return 0;
  if (rsrc.longueur != 0 && !C::copie(rsrc, de_rsrc, texte)) {
    C::libere(de_data);
    return 0;
  }
  C::compte_ecriture();
  const std::uint32_t id = prend_id<C>();
  bool fait = id != 0;
  if (fait) {
    auto fiche = C::nouveau_fichier(id, fichier, date_mac());
    C::pose_fourches(fiche, data.longueur, de_data, rsrc.longueur, de_rsrc);
    fait = insere_avec_fil<C>(parent, nom, id, octets_de(fiche), kRubriqueFichier);
  }
  if (!fait) {
    C::libere(de_data);
    C::libere(de_rsrc);
    return 0;
  }
  ajuste_blocs_libres(-static_cast<std::int64_t>(blocs_pour(data.longueur) + blocs_pour(rsrc.longueur)));
  C::compte(kRubriqueFichier, parent, 1);
  ajuste_valence(1, parent);
  return id;
}

template <typename C>
typename C::Dossier *fiche_dossier_courante(std::uint32_t dossier) {
  if (!dossier_par_id<C>(dossier)) return nullptr;
  return fiche_comme<typename C::Dossier>(C::donnees(enregistrement_courant()));
}

}  // namespace

// --- names

NomItem nom_item(std::string_view windows) {
  if (volume_courant().est_hfsplus) return {{}, nom_hfsplus(windows)};
  return {nom_mac(windows).substr(0, kNomHfsMax), {}};
}

NomItem nom_item_mac(std::string_view mac) {
  if (volume_courant().est_hfsplus) return {{}, mac_vers_unicode(mac)};
  return {std::string(mac.substr(0, kNomHfsMax)), {}};
}

NomItem nom_item_large(std::u16string_view large) {
  if (volume_courant().est_hfsplus) return {{}, decompose_hfsplus(large)};
  return {prive_vers_mac(large).substr(0, kNomHfsMax), {}};
}

std::string nom_item_windows(const NomItem &nom) {
  return volume_courant().est_hfsplus ? unicode_vers_windows(nom.unicode) : nom_windows(nom.mac);
}

ReponsesVolume &reponses_volume() {
  return etat<ReponsesVolume>();
}

// --- operations

int existe(const NomItem &nom, std::uint32_t parent) {
  return selon_format([&](auto format) {
    using C = decltype(format);
    const auto lue = rubrique_nommee<C>(C::nom(nom), kRubriqueToute, parent);
    return lue ? lue->type : 0;
  });
}

int remplacer_si_existe(const NomItem &nom, std::uint32_t parent) {
  if (existe(nom, parent) == 0) return 0;
  int &retenue = reponses_volume().reponse_remplacer;
  if (retenue == -1) return -1;
  if (retenue != 2) {
    const int reponse = operations().demander_tous(message(kMessageRemplacer, {nom_item_windows(nom)}));
    if (reponse != 0) retenue = reponse;
    if (reponse <= 0) return -1;
  }
  return supprime_par_nom(nom, parent) == 1 ? 0 : -1;
}

std::uint32_t cree_dossier(const NomItem &nom, std::uint32_t parent) {
  return selon_format([&](auto format) { return cree_dossier_de<decltype(format)>(nom, parent); });
}

std::uint32_t insere_fichier(std::uint32_t parent, const NomItem &nom, const NouveauFichier &fichier,
                             const SourceFourche &data, const SourceFourche &rsrc) {
  return selon_format(
      [&](auto format) { return insere_fichier_de<decltype(format)>(parent, nom, fichier, data, rsrc); });
}

void ajuste_valence(std::int32_t delta, std::uint32_t dossier) {
  selon_format([&](auto format) {
    using C = decltype(format);
    auto *fiche = fiche_dossier_courante<C>(dossier);
    if (fiche == nullptr) return 0;
    C::fixe_valence(*fiche, static_cast<std::uint32_t>(std::int64_t{C::valence(*fiche)} + delta));
    ecrit_courant();
    return 1;
  });
}

}  // namespace varnion
