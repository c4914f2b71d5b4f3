#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hfs/arbre.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/operations_catalogue.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"

// The two catalogs as the operations see them. For this folder's sources.

namespace varnion {

struct CatalogueHfs {
  using Traits = TraitsHfs;
  using Dossier = DossierHfs;
  using Fichier = FichierHfs;
  using Extents = ExtentsHfs;
  using Nom = std::string_view;
  static constexpr bool kPlus = false;
  static constexpr bool kFilDeFichier = false;

  static Nom nom(const NomItem &n) { return n.mac; }
  static NomItem item(Nom n) { return {std::string(n), {}}; }
  static NomItem item_lu(TraitsHfs::Nom n) { return item(n); }
  static bool vide(Nom n) { return n.empty(); }
  static PetitTampon cle(std::uint32_t parent, Nom n) { return cle_hfs(parent, n); }
  static PetitTampon fil(int type, std::uint32_t parent, Nom n) {
    PetitTampon tampon;
    tampon.ajoute(octets_de(fil_hfs(type, parent, n)));
    return tampon;
  }
  static OctetsNoeud cherche(Nom n, int type, std::uint32_t parent) {
    return cherche_exacte_hfs(n, type, parent);
  }
  static std::span<std::uint8_t> donnees(std::span<std::uint8_t> fiche) { return donnees_hfs(fiche); }
  static bool insere(const PetitTampon &cle, std::span<const std::uint8_t> donnees, std::uint32_t parent) {
    return insere_hfs(cle, donnees, parent);
  }
  static bool insere_fin(const PetitTampon &cle, std::span<const std::uint8_t> donnees,
                         std::uint32_t parent) {
    return insere_fin_hfs(cle, donnees, parent);
  }
  static bool supprime(std::int32_t index) { return supprime_hfs(index); }
  static std::uint32_t valence(const Dossier &d) { return d.dirVal; }
  static void fixe_valence(Dossier &d, std::uint32_t v) { d.dirVal = static_cast<std::uint16_t>(v); }
  static constexpr std::uint32_t kValenceMax = 0xFFFF;
  static Extents *suivants(Extents &sortie, std::uint32_t fichier, std::uint64_t debut,
                           std::uint8_t fourche) {
    return extents_suivants_hfs(sortie, fichier, debut, fourche);
  }
  static std::uint32_t libere(const Extents &extents) { return libere_extents_hfs(extents); }
  static const Extents &data(const Fichier &f) { return f.filExtRec; }
  static const Extents &rsrc(const Fichier &f) { return f.filRExtRec; }
  static bool copie(const SourceFourche &source, Extents &extents, std::string_view nom) {
    return copie_fourche_hfs(source, extents, nom);
  }
  static Dossier nouveau_dossier(std::uint32_t id, std::uint32_t date, const InfoDossier &info);
  static Fichier nouveau_fichier(std::uint32_t id, const NouveauFichier &fichier, std::uint32_t maintenant);
  static void pose_fourches(Fichier &f, std::uint64_t data, const Extents &de_data, std::uint64_t rsrc,
                            const Extents &de_rsrc);
  static void compte(int type, std::uint32_t parent, int delta);
  static be32 &prochain_id() { return volume_courant().mdb->drNxtCNID; }
  static void compte_ecriture() { volume_courant().mdb->drWrCnt = volume_courant().mdb->drWrCnt + 1; }
};

struct CatalogueHfsPlus {
  using Traits = TraitsHfsPlus;
  using Dossier = DossierPlus;
  using Fichier = FichierPlus;
  using Extents = ExtentsPlus;
  using Nom = const NomUnicode &;
  static constexpr bool kPlus = true;
  static constexpr bool kFilDeFichier = true;

  static Nom nom(const NomItem &n) { return n.unicode; }
  static NomItem item(Nom n) { return {{}, n}; }
  static NomItem item_lu(TraitsHfsPlus::Nom n) {
    NomItem item;
    for (const be16 &unite : n) item.unicode.ajoute(static_cast<char16_t>(std::uint16_t{unite}));
    return item;
  }
  static bool vide(Nom n) { return n.longueur == 0; }
  static PetitTampon cle(std::uint32_t parent, Nom n) { return cle_hfsplus(parent, n); }
  static PetitTampon fil(int type, std::uint32_t parent, Nom n) { return fil_hfsplus(type, parent, n); }
  static OctetsNoeud cherche(Nom n, int type, std::uint32_t parent) {
    return cherche_exacte_hfsplus_sans_joker(n, type, parent);
  }
  static std::span<std::uint8_t> donnees(std::span<std::uint8_t> fiche) { return donnees_hfsplus(fiche); }
  static bool insere(const PetitTampon &cle, std::span<const std::uint8_t> donnees, std::uint32_t parent) {
    return insere_hfsplus(cle, donnees, parent);
  }
  static bool insere_fin(const PetitTampon &cle, std::span<const std::uint8_t> donnees,
                         std::uint32_t parent) {
    return insere_fin_hfsplus(cle, donnees, parent);
  }
  static bool supprime(std::int32_t index) { return supprime_hfsplus(index); }
  static std::uint32_t valence(const Dossier &d) { return d.valence; }
  static void fixe_valence(Dossier &d, std::uint32_t v) { d.valence = v; }
  static constexpr std::uint32_t kValenceMax = 0xFFFFFFFF;
  static Extents *suivants(Extents &sortie, std::uint32_t fichier, std::uint64_t debut,
                           std::uint8_t fourche) {
    return extents_suivants_hfsplus(sortie, fichier, debut, fourche);
  }
  static std::uint32_t libere(const Extents &extents) { return libere_extents_hfsplus(extents); }
  static const Extents &data(const Fichier &f) { return f.dataFork.extents; }
  static const Extents &rsrc(const Fichier &f) { return f.resourceFork.extents; }
  static bool copie(const SourceFourche &source, Extents &extents, std::string_view nom) {
    return copie_fourche_hfsplus(source, extents, nom);
  }
  static Dossier nouveau_dossier(std::uint32_t id, std::uint32_t date, const InfoDossier &info);
  static Fichier nouveau_fichier(std::uint32_t id, const NouveauFichier &fichier, std::uint32_t maintenant);
  static void pose_fourches(Fichier &f, std::uint64_t data, const Extents &de_data, std::uint64_t rsrc,
                            const Extents &de_rsrc);
  static void compte(int type, std::uint32_t parent, int delta);
  static be32 &prochain_id() { return volume_courant().vhb->nextCatalogID; }
  static void compte_ecriture() { volume_courant().vhb->writeCount = volume_courant().vhb->writeCount + 1; }
};

/// Calls `f` with the catalog of the mounted format.
template <typename F>
auto selon_format(F f) {
  return volume_courant().est_hfsplus ? f(CatalogueHfsPlus{}) : f(CatalogueHfs{});
}

/// A record copied out of its node.
struct RubriqueLue {
  int type = 0;
  std::uint32_t id = 0;      ///< of a folder or file
  std::uint32_t parent = 0;  ///< in the key
  NomItem nom;               ///< in the key
  std::vector<std::uint8_t> donnees;
};

/// The record of the last search.
template <typename C>
[[nodiscard]] std::optional<RubriqueLue> rubrique_courante() {
  const auto fiche = enregistrement_courant();
  const auto cle = C::Traits::cle(fiche);
  if (!cle) return std::nullopt;
  const auto donnees = C::donnees(fiche);
  RubriqueLue lue{
      C::Traits::type(fiche), 0, cle->parent, C::item_lu(cle->nom), {donnees.begin(), donnees.end()}};
  if (lue.type == kRubriqueDossier || lue.type == kRubriqueFichier) {
    const bool dossier = lue.type == kRubriqueDossier;
    const be32 *id = vue<be32>(lue.donnees, dossier ? C::Traits::kIdDeDossier : C::Traits::kIdDeFichier);
    if (id == nullptr ||
        lue.donnees.size() < (dossier ? sizeof(typename C::Dossier) : sizeof(typename C::Fichier)))
      return std::nullopt;
    lue.id = *id;
  }
  return lue;
}

template <typename C>
[[nodiscard]] std::optional<RubriqueLue> rubrique_nommee(typename C::Nom nom, int type,
                                                         std::uint32_t parent) {
  if (C::cherche(nom, type, parent).empty()) return std::nullopt;
  return rubrique_courante<C>();
}

/// A folder by its id, through its thread; the root is the first record of the first leaf. The current node
/// and `index` stand on its record.
template <typename C>
[[nodiscard]] std::optional<RubriqueLue> dossier_par_id(std::uint32_t id);

/// The first item in a folder, by the order of keys; the current node and `index` stand on it.
template <typename C>
[[nodiscard]] std::optional<RubriqueLue> premier_enfant(std::uint32_t dossier);

/// Insertion and deletion with leafRecords kept right.
template <typename C>
[[nodiscard]] bool insere_compte(const PetitTampon &cle, std::span<const std::uint8_t> donnees,
                                 std::uint32_t parent, bool fin = false);
template <typename C>
[[nodiscard]] bool supprime_courante();

/// Default window of a new folder: 80, 48, 272, 480 on the screen, its icon at 112, 584.
[[nodiscard]] InfoDossier info_nouveau_dossier();

/// Writes the current node, in which a record has been changed in place.
void ecrit_courant();

/// True when the volume may be changed: mounted, and its bitmap loaded. Else a journal line.
[[nodiscard]] bool modifiable();

/// True, after message 7870, for a file that the journal of a journaled volume needs where it is: the journal
/// and its info block are found by their blocks, and their files keep others from taking them (TN1150).
template <typename C>
[[nodiscard]] bool du_journal(const RubriqueLue &lue);

/// Raw line of the journal at trace level above 1: "*del name" and the like.
void trace_operation(std::string_view genre, const NomItem &nom, const NomItem *second = nullptr);

}  // namespace varnion
