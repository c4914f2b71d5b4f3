#include "hfs/extents.hpp"

#include <algorithm>
#include <compare>
#include <optional>
#include <vector>

#include "hfs/noeud.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"

namespace varnion {
namespace {

struct CleExtents {
  std::uint32_t fichier = 0;
  std::uint8_t fourche = 0;
  std::uint32_t debut = 0;
  auto operator<=>(const CleExtents &) const = default;  // NOLINT(modernize-use-nullptr)
};

struct ExtentsDeHfs {
  using Extents = ExtentsHfs;
  static constexpr std::size_t kDonnees = 8;  // key length 7
  static std::optional<CleExtents> cle(std::span<const std::uint8_t> fiche) {
    if (fiche.size() < kDonnees) return std::nullopt;
    return CleExtents{*vue<be32>(fiche, 2), fiche[1], *vue<be16>(fiche, 6)};
  }
  static ExtentsHfs *suivants(ExtentsHfs &sortie, std::uint32_t fichier, std::uint64_t debut) {
    return extents_suivants_hfs(sortie, fichier, debut, kFourcheDonnees);
  }
};

struct ExtentsDePlus {
  using Extents = ExtentsPlus;
  static constexpr std::size_t kDonnees = 12;  // key length 10
  static std::optional<CleExtents> cle(std::span<const std::uint8_t> fiche) {
    if (fiche.size() < kDonnees) return std::nullopt;
    return CleExtents{*vue<be32>(fiche, 4), fiche[2], *vue<be32>(fiche, 8)};
  }
  static ExtentsPlus *suivants(ExtentsPlus &sortie, std::uint32_t fichier, std::uint64_t debut) {
    return extents_suivants_hfsplus(sortie, fichier, debut, kFourcheDonnees);
  }
};

// Walks the extents of a file, record after record, until `essaie` takes one. `essaie` gets the first block
// and the number of blocks of an extent. A file whose `suite` is false has no records in the extents tree.
template <typename Format, typename Essai>
std::uint64_t parcourt_extents(typename Format::Extents extents, std::uint32_t fichier, bool suite,
                               Essai essaie) {
  std::uint64_t blocs = 0;
  for (;;) {
    const std::uint64_t avant = blocs;
    for (const auto &extent : extents) {
      if (const auto position = essaie(extent.startBlock, extent.blockCount)) return *position;
      blocs += extent.blockCount;
    }
    typename Format::Extents suivants{};
    if (!suite || blocs == avant || Format::suivants(suivants, fichier, blocs) == nullptr)
      return kSansPosition;
    extents = suivants;
  }
}

template <typename Format>
std::uint64_t position_de_noeud(const DescripteurArbre &arbre, const typename Format::Extents &extents,
                                std::uint32_t noeud, std::uint32_t fichier) {
  const std::uint32_t taille = arbre.taille_noeud;
  if (taille < kTailleSecteur) return kSansPosition;
  const std::uint64_t taille_bloc = volume_courant().taille_bloc;
  std::uint64_t total = 0;
  // The extents file itself has no records in its own tree (TN1150, Extents Overflow File).
  const bool suite = fichier != kIdFichierExtents;
  return parcourt_extents<Format>(
      extents, fichier, suite,
      [&](std::uint64_t debut, std::uint64_t nombre) -> std::optional<std::uint64_t> {
        const std::uint64_t noeuds = nombre * taille_bloc / taille;
        if (noeud < total + noeuds) return secteur_de_bloc(debut) + taille / kTailleSecteur * (noeud - total);
        total += noeuds;
        return std::nullopt;
      });
}

template <typename Format>
std::uint64_t position_de_fourche(std::uint64_t secteur, const typename Format::Extents &extents,
                                  std::uint32_t fichier) {
  std::uint64_t total = 0;
  const std::uint64_t position = parcourt_extents<Format>(
      extents, fichier, true, [&](std::uint64_t debut, std::uint64_t nombre) -> std::optional<std::uint64_t> {
        const std::uint64_t secteurs = nombre * volume_courant().secteurs_par_bloc;
        if (secteur < total + secteurs) return secteur_de_bloc(debut) + (secteur - total);
        total += secteurs;
        return std::nullopt;
      });
  return position == kSansPosition ? 0 : position;
}

// Shows the records of a leaf, from record `index` on, to `essaie` until it takes one; the tree's `index`
// stands on that record.
template <typename Format, typename Essai>
bool essaie_feuille(OctetsNoeud noeud, std::int32_t index, Essai essaie) {
  if (noeud.empty() || entete_noeud(noeud)->kind != kNoeudFeuille) return false;
  std::int32_t &place = volume_courant().extents.index;
  for (place = std::max(index, 0); place < nb_enregistrements(noeud); ++place) {
    const auto fiche = enregistrement(noeud, place);
    const auto cle = Format::cle(fiche);
    if (cle && essaie(*cle, fiche)) return true;
  }
  return false;
}

template <typename Format>
bool cherche_dans_feuille(OctetsNoeud noeud, std::int32_t index, const CleExtents &cle,
                          typename Format::Extents &sortie) {
  return essaie_feuille<Format>(
      noeud, index, [&](const CleExtents &lue, std::span<const std::uint8_t> fiche) {
        const auto *extents = vue<typename Format::Extents>(fiche, Format::kDonnees);
        if (lue != cle || extents == nullptr) return false;
        sortie = *extents;
        return true;
      });
}

// `descend_extents`: the child of the last key not above the wanted one, or the first child.
template <typename Format>
std::uint32_t fils_pour(OctetsNoeud noeud, const CleExtents &cle) {
  std::uint32_t fils = 0;
  for (std::int32_t i = 0; i < nb_enregistrements(noeud); ++i) {
    const auto fiche = enregistrement(noeud, i);
    const auto lue = Format::cle(fiche);
    const be32 *numero = vue<be32>(fiche, Format::kDonnees);
    if (!lue || numero == nullptr) continue;
    if (*lue > cle && fils != 0) break;
    fils = *numero;
  }
  return fils;
}

// The leaf where the key belongs.
template <typename Format>
OctetsNoeud cherche_extents(const CleExtents &cle) {
  OctetsNoeud noeud = lecture_noeud_extents(volume_courant().extents.fiche().rootNode);
  for (int hauteur = 256; !noeud.empty();) {
    const EnteteNoeud *tete = entete_noeud(noeud);
    if (tete->kind == kNoeudFeuille) return noeud;
    if (tete->kind != kNoeudIndex || tete->height >= hauteur) return {};
    hauteur = tete->height;
    const std::uint32_t fils = fils_pour<Format>(noeud, cle);
    noeud = fils != 0 ? lecture_noeud_extents(fils) : OctetsNoeud{};
  }
  return {};
}

// Where each record of the extents tree lies, for a tree whose order is damaged: made by one pass over the
// leaf chain at the first search that the descent fails, so that a thousand such searches cost no more.
struct IndexExtents {
  struct Place {
    CleExtents cle;
    std::uint32_t noeud;
  };
  std::vector<Place> places;
  bool fait = false;
};

template <typename Format>
void remplit_index(IndexExtents &index) {
  const DescripteurArbre &arbre = volume_courant().extents;
  index.places.clear();
  index.fait = true;
  GardeChaine garde(arbre.fiche().totalNodes);
  OctetsNoeud noeud = lecture_noeud_extents(arbre.fiche().firstLeafNode);
  while (!noeud.empty() && garde.admet(arbre.noeud) && entete_noeud(noeud)->kind == kNoeudFeuille) {
    essaie_feuille<Format>(noeud, 0, [&](const CleExtents &cle, std::span<const std::uint8_t>) {
      index.places.push_back({cle, arbre.noeud});
      return false;
    });
    noeud = lecture_noeud_extents(entete_noeud(noeud)->fLink);
  }
  std::ranges::stable_sort(index.places, {}, &IndexExtents::Place::cle);
}

template <typename Format>
bool cherche_par_index(const CleExtents &cle, typename Format::Extents &sortie) {
  auto &index = etat<IndexExtents>();
  if (!index.fait) remplit_index<Format>(index);
  const auto place = std::ranges::lower_bound(index.places, cle, {}, &IndexExtents::Place::cle);
  if (place == index.places.end() || place->cle != cle) return false;
  return cherche_dans_feuille<Format>(lecture_noeud_extents(place->noeud), 0, cle, sortie);
}

// The descent finds a key in one leaf when the tree is in order. What it does not find is looked for in the
// whole chain, as though there were no order.
template <typename Format>
bool cherche_extents_de(const CleExtents &cle, typename Format::Extents &sortie) {
  if (volume_courant().extents.taille_noeud == 0) return false;
  return cherche_dans_feuille<Format>(cherche_extents<Format>(cle), 0, cle, sortie) ||
         cherche_par_index<Format>(cle, sortie);
}

}  // namespace

std::uint64_t secteur_de_bloc(std::uint64_t bloc) {
  const VolumeCourant &volume = volume_courant();
  return bloc * volume.secteurs_par_bloc + volume.debut_allocation;
}

std::uint64_t secteurs_de_blocs(std::uint64_t blocs) {
  return blocs * volume_courant().taille_bloc / kTailleSecteur;
}

std::uint64_t position_noeud_hfs(const DescripteurArbre &arbre, const ExtentsHfs &extents,
                                 std::uint32_t noeud, std::uint32_t fichier) {
  return position_de_noeud<ExtentsDeHfs>(arbre, extents, noeud, fichier);
}

std::uint64_t position_noeud_hfsplus(const DescripteurArbre &arbre, const FourchePlus &fourche,
                                     std::uint32_t noeud, std::uint32_t fichier) {
  return position_de_noeud<ExtentsDePlus>(arbre, fourche.extents, noeud, fichier);
}

std::uint64_t position_noeud(const DescripteurArbre &arbre, std::uint32_t noeud) {
  const VolumeCourant &volume = volume_courant();
  const bool catalogue = arbre.genre == 0;
  const std::uint32_t fichier = catalogue ? kIdFichierCatalogue : kIdFichierExtents;
  if (!volume.a_entete()) return kSansPosition;
  if (volume.est_hfsplus) {
    const FourchePlus &fourche = catalogue ? volume.vhb->catalogFile : volume.vhb->extentsFile;
    return position_noeud_hfsplus(arbre, fourche, noeud, fichier);
  }
  const ExtentsHfs &extents = catalogue ? volume.mdb->drCTExtRec : volume.mdb->drXTExtRec;
  return position_noeud_hfs(arbre, extents, noeud, fichier);
}

ExtentsHfs *extents_suivants_hfs(ExtentsHfs &sortie, std::uint32_t fichier, std::uint64_t debut,
                                 std::uint8_t fourche) {
  if (debut > 0xFFFF) return nullptr;
  const CleExtents cle{fichier, fourche, static_cast<std::uint32_t>(debut)};
  return cherche_extents_de<ExtentsDeHfs>(cle, sortie) ? &sortie : nullptr;
}

ExtentsPlus *extents_suivants_hfsplus(ExtentsPlus &sortie, std::uint32_t fichier, std::uint64_t debut,
                                      std::uint8_t fourche) {
  if (debut > 0xFFFFFFFF) return nullptr;
  const CleExtents cle{fichier, fourche, static_cast<std::uint32_t>(debut)};
  DescripteurArbre &arbre = volume_courant().extents;
  // The records of one fork follow each other: the search resumes in the leaf where the last one ended.
  if (const std::uint32_t reprise = arbre.noeud; reprise != 0) {
    const std::int32_t index = arbre.index;
    if (cherche_dans_feuille<ExtentsDePlus>(lecture_noeud_extents(reprise), index, cle, sortie))
      return &sortie;
  }
  return cherche_extents_de<ExtentsDePlus>(cle, sortie) ? &sortie : nullptr;
}

void oublie_index_extents() {
  etat<IndexExtents>() = {};
}

std::uint64_t position_fourche_hfs(std::uint64_t secteur, const ExtentsHfs &extents, std::uint32_t fichier) {
  return position_de_fourche<ExtentsDeHfs>(secteur, extents, fichier);
}

std::uint64_t position_fourche_hfsplus(std::uint64_t secteur, const FourchePlus &fourche,
                                       std::uint32_t fichier) {
  return position_de_fourche<ExtentsDePlus>(secteur, fourche.extents, fichier);
}

}  // namespace varnion
