#include "hfs/arbre.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "hfs/cache.hpp"
#include "hfs/extents.hpp"
#include "hfs/noeud.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "noms/ordre.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr std::uint8_t kCompareBinaire = 0xBC;

// Reads a node into the tree's buffer; false when the file has no such place. What a shortened image lacks
// reads as zeros, which no walk takes for a node; the node read before must not pass for this one.
bool lit_noeud_disque(DescripteurArbre &arbre, std::uint32_t noeud) {
  const std::uint64_t position = position_noeud(arbre, noeud);
  if (position == kSansPosition) return false;
  std::fill_n(arbre.tampon, arbre.taille_noeud, std::uint8_t{0});
  lit_secteurs(arbre.tampon, position, arbre.taille_noeud / kTailleSecteur);
  return true;
}

}  // namespace

CompteursNoeuds &compteurs_noeuds() {
  return etat<CompteursNoeuds>();
}

void vide_cache() {
  cache_noeuds().vide();
}

OctetsNoeud lecture_noeud(std::uint32_t noeud) {
  DescripteurArbre &arbre = volume_courant().catalogue;
  if (arbre.taille_noeud == 0) return {};
  arbre.noeud = noeud;
  arbre.index = 0;
  ++compteurs_noeuds().nb_lectures;
  if (cache_noeuds().lit(noeud, arbre.octets())) return arbre.octets();
  ++compteurs_noeuds().nb_lectures_disque;
  if (etat<OptionsProgramme>().niveau_trace > 1) {
    operations().journal(GenreJournal::brut, formate("Lect. nd cat - %04d\r\n", {noeud}));
  }
  if (noeud > arbre.fiche().totalNodes || !lit_noeud_disque(arbre, noeud)) return {};
  cache_noeuds().ajoute(noeud, arbre.octets());
  return arbre.octets();
}

OctetsNoeud lecture_noeud_extents(std::uint32_t noeud) {
  DescripteurArbre &arbre = volume_courant().extents;
  if (arbre.taille_noeud == 0) return {};
  arbre.noeud = noeud;
  arbre.index = 0;
  if (noeud > arbre.fiche().totalNodes || !lit_noeud_disque(arbre, noeud)) return {};
  return arbre.octets();
}

EnteteNoeud *entete_noeud(OctetsNoeud noeud) {
  return vue_modifiable<EnteteNoeud>(noeud, 0);
}

std::int32_t nb_enregistrements(OctetsNoeud noeud) {
  const EnteteNoeud *tete = entete_noeud(noeud);
  if (tete == nullptr) return 0;
  const std::size_t nombre = tete->numRecords;
  return kDebutEnregistrements + 2 * (nombre + 1) <= noeud.size() ? static_cast<std::int32_t>(nombre) : 0;
}

std::span<std::uint8_t> enregistrement(OctetsNoeud noeud, std::int32_t index) {
  const std::int32_t nombre = nb_enregistrements(noeud);
  if (index < 0 || index >= nombre) return {};
  const std::size_t debut = decalage(noeud, index);
  const std::size_t fin = decalage(noeud, index + 1);
  const std::size_t table = noeud.size() - 2 * (static_cast<std::size_t>(nombre) + 1);
  if (debut < kDebutEnregistrements || debut >= fin || fin > table) return {};
  return noeud.subspan(debut, fin - debut);
}

std::span<std::uint8_t> enregistrement_courant() {
  const DescripteurArbre &arbre = volume_courant().catalogue;
  return enregistrement(arbre.octets(), arbre.index);
}

// --- keys of the two formats

std::size_t TraitsHfs::taille_cle(std::span<const std::uint8_t> fiche) {
  if (fiche.size() < 7 || fiche[0] < 6 || fiche.size() <= fiche[0]) return 0;
  return std::size_t{fiche[0]} + 1;
}

std::size_t TraitsHfs::debut_donnees(std::span<const std::uint8_t> fiche) {
  return arrondi<std::size_t>(taille_cle(fiche), 2);
}

std::optional<TraitsHfs::CleLue> TraitsHfs::cle(std::span<const std::uint8_t> fiche) {
  const std::size_t taille = taille_cle(fiche);
  if (taille == 0 || std::size_t{7} + fiche[6] > taille) return std::nullopt;
  return CleLue{*vue<be32>(fiche, 2), {reinterpret_cast<const char *>(fiche.data()) + 7, fiche[6]}};
}

TraitsHfs::Nom TraitsHfs::nom_du_fil(std::span<const std::uint8_t> donnees) {
  const FilHfs *fil = vue<FilHfs>(donnees, 0);
  if (fil == nullptr) return {};
  return {reinterpret_cast<const char *>(fil->thdCName.data()),
          std::min<std::size_t>(fil->thdCNameLongueur, fil->thdCName.size())};
}

int TraitsHfs::compare(Nom a, Nom b) {
  return compare_hfs(a, b, volume_courant().ordre.noms);
}
int TraitsHfs::compare_motif(Nom motif, Nom nom) {
  return compare_nom_hfs(motif, nom);
}

namespace {

// Units of a name whose 16-bit length stands at `position`; nothing when they do not all lie in `octets`.
std::optional<std::span<const be16>> unites_a(std::span<const std::uint8_t> octets, std::size_t position) {
  const be16 *longueur = vue<be16>(octets, position);
  if (longueur == nullptr || *longueur > kUnitesMax) return std::nullopt;
  const std::size_t nombre = *longueur;
  if (octets.size() - position - 2 < 2 * nombre) return std::nullopt;
  return std::span(reinterpret_cast<const be16 *>(octets.data() + position + 2), nombre);
}

}  // namespace

std::size_t TraitsHfsPlus::taille_cle(std::span<const std::uint8_t> fiche) {
  const be16 *longueur = vue<be16>(fiche, 0);
  if (longueur == nullptr || *longueur < 6) return 0;
  const std::size_t taille = std::size_t{*longueur} + 2;
  return taille <= fiche.size() ? taille : 0;
}

std::optional<TraitsHfsPlus::CleLue> TraitsHfsPlus::cle(std::span<const std::uint8_t> fiche) {
  const std::size_t taille = taille_cle(fiche);
  if (taille == 0) return std::nullopt;
  const auto unites = unites_a(fiche.first(taille), 6);
  if (!unites) return std::nullopt;
  return CleLue{*vue<be32>(fiche, 2), *unites};
}

TraitsHfsPlus::Nom TraitsHfsPlus::nom_du_fil(std::span<const std::uint8_t> donnees) {
  return unites_a(donnees, 8).value_or(Nom{});
}

int TraitsHfsPlus::compare(Nom a, Nom b) {
  // Binary order is for HFSX volumes alone (TN1150, "HFSX"); on "H+" the field is reserved.
  const VolumeCourant &volume = volume_courant();
  const bool binaire = volume.vhb != nullptr && volume.vhb->signature == kSignatureHfsX &&
                       volume.catalogue.fiche().keyCompareType == kCompareBinaire;
  if (!binaire) return compare_hfsplus(a, b);
  const auto [x, y] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  if (x != a.end() && y != b.end()) return std::uint16_t{*x} < std::uint16_t{*y} ? -1 : 1;
  return x != a.end() ? 1 : y != b.end() ? -1 : 0;
}

int TraitsHfsPlus::compare_motif(Nom motif, Nom nom) {
  if (!contient_etoile(motif)) return compare_hfsplus(motif, nom);
  const auto copie = [](Nom unites) {
    NomUnicode sortie;
    for (const be16 &unite : unites) sortie.ajoute(static_cast<char16_t>(std::uint16_t{unite}));
    return sortie;
  };
  return compare_nom_hfsplus(copie(motif), copie(nom));
}

// --- record accessors

int type_hfs(std::span<const std::uint8_t> fiche) {
  const std::size_t debut = TraitsHfs::debut_donnees(fiche);
  return debut != 0 && debut < fiche.size() ? fiche[debut] : 0;
}

int type_hfsplus(std::span<const std::uint8_t> fiche) {
  const std::size_t debut = TraitsHfsPlus::debut_donnees(fiche);
  const be16 *type = debut != 0 ? vue<be16>(fiche, debut) : nullptr;
  return type != nullptr ? std::uint16_t{*type} : 0;
}

std::span<std::uint8_t> donnees_hfs(std::span<std::uint8_t> fiche) {
  const std::size_t debut = TraitsHfs::debut_donnees(fiche);
  return debut != 0 && debut < fiche.size() ? fiche.subspan(debut) : std::span<std::uint8_t>{};
}

std::span<std::uint8_t> donnees_hfsplus(std::span<std::uint8_t> fiche) {
  const std::size_t debut = TraitsHfsPlus::debut_donnees(fiche);
  return debut != 0 && debut < fiche.size() ? fiche.subspan(debut) : std::span<std::uint8_t>{};
}

std::uint32_t fils_hfs(std::span<const std::uint8_t> fiche) {
  const be32 *fils = vue<be32>(fiche, TraitsHfs::kTailleCleIndex);
  return fils != nullptr ? std::uint32_t{*fils} : 0;
}

std::uint32_t fils_hfsplus(std::span<const std::uint8_t> fiche) {
  const std::size_t debut = TraitsHfsPlus::taille_cle(fiche);
  const be32 *fils = debut != 0 ? vue<be32>(fiche, debut) : nullptr;
  return fils != nullptr ? std::uint32_t{*fils} : 0;
}

std::uint32_t parent_cle_hfs(std::span<const std::uint8_t> fiche) {
  const auto cle = TraitsHfs::cle(fiche);
  return cle ? cle->parent : 0;
}

std::uint32_t parent_cle_hfsplus(std::span<const std::uint8_t> fiche) {
  const auto cle = TraitsHfsPlus::cle(fiche);
  return cle ? cle->parent : 0;
}

std::string_view nom_cle_hfs(std::span<const std::uint8_t> fiche) {
  const auto cle = TraitsHfs::cle(fiche);
  return cle ? cle->nom : std::string_view{};
}

std::span<const be16> nom_cle_hfsplus(std::span<const std::uint8_t> fiche) {
  const auto cle = TraitsHfsPlus::cle(fiche);
  return cle ? cle->nom : std::span<const be16>{};
}

}  // namespace varnion
