#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstddef>

#include "hfs/cache.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/noeud.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

DescripteurArbre &catalogue() {
  return volume_courant().catalogue;
}

std::span<std::uint8_t> carte_de_l_entete() {
  const OctetsNoeud entete = catalogue().octets_entete();
  constexpr std::size_t kQuatreDecalages = 8;  // of the three records and the free space, behind the map
  return entete.subspan(kDebutCarteEntete, entete.size() - kQuatreDecalages - kDebutCarteEntete);
}

// Map bytes that this program puts into a map node: two fewer than the record could hold.
std::size_t octets_par_noeud_carte(std::size_t taille_noeud) {
  return taille_noeud - 20;
}

// The map bytes in a map node. Nodes of other writers fill the record to the table of offsets, two bytes more
// than ours: the offsets tell.
std::span<std::uint8_t> carte_du_noeud(OctetsNoeud noeud) {
  const std::span<std::uint8_t> fiche = enregistrement(noeud, 0);
  if (decalage(noeud, 0) == kDebutEnregistrements && !fiche.empty()) return fiche;
  return noeud.subspan(kDebutEnregistrements, octets_par_noeud_carte(noeud.size()));
}

// Map nodes are read beside the current-node buffer, which belongs to the search in hand.
bool lit_noeud_carte(std::uint32_t noeud, OctetsNoeud sortie) {
  const std::uint64_t position = position_noeud(catalogue(), noeud);
  if (noeud > catalogue().fiche().totalNodes || position == kSansPosition) return false;
  lit_secteurs(sortie.data(), position, catalogue().taille_noeud / kTailleSecteur);
  return entete_noeud(sortie)->kind == kNoeudCarte;
}

void assure_carte() {
  if (!carte_noeuds().chargee) charge_carte_noeuds();
}

// Bits of the map that stand for nodes of the tree.
std::uint32_t nb_bits(const CarteNoeuds &carte) {
  const std::uint64_t bits = std::uint64_t{carte.octets.size()} * 8;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(bits, catalogue().fiche().totalNodes));
}

// The free node number `rang` (0 the first); 0 when there are not so many. Node 0 is never free.
std::uint32_t cherche_libre(const CarteNoeuds &carte, std::uint32_t rang) {
  const std::uint32_t fin = nb_bits(carte);
  for (std::size_t place = carte.octet_bas; place < carte.octets.size() && place * 8 < fin; ++place) {
    std::uint8_t libres = static_cast<std::uint8_t>(~carte.octets[place]);
    if (place == 0) libres &= 0x7F;
    const auto nombre = static_cast<std::uint32_t>(std::popcount(libres));
    if (rang >= nombre) {
      rang -= nombre;
      continue;
    }
    for (; rang > 0; --rang) libres &= static_cast<std::uint8_t>(~std::bit_floor(libres));
    const auto noeud =
        static_cast<std::uint32_t>(place * 8 + static_cast<std::size_t>(std::countl_zero(libres)));
    return noeud < fin ? noeud : 0;
  }
  return 0;
}

// While a volume is edited, a bit that changes goes to the header in memory, which each node write brings
// along, or to its map node on the disk at once: the disk never takes a node in use for free.
void reporte_octet(const CarteNoeuds &carte, std::size_t place) {
  const auto entete = carte_de_l_entete();
  if (place < entete.size()) {
    entete[place] = carte.octets[place];
    return;
  }
  if (!carte_allocation().chargee) return;
  std::size_t reste = place - entete.size();
  std::vector<std::uint8_t> octets(catalogue().taille_noeud);
  for (const std::uint32_t noeud : carte.chaine) {
    if (!lit_noeud_carte(noeud, octets)) return;
    const auto bits = carte_du_noeud(octets);
    if (reste < bits.size()) {
      bits[reste] = carte.octets[place];
      return ecriture_noeud(noeud, octets);
    }
    reste -= bits.size();
  }
}

std::uint32_t alloue_noeud(DescripteurArbre &arbre) {
  assure_carte();
  CarteNoeuds &carte = carte_noeuds();
  while (carte.octet_bas < carte.octets.size() && carte.octets[carte.octet_bas] == 0xFF) ++carte.octet_bas;
  if (!noeuds_disponibles(1)) return 0;
  const std::uint32_t noeud = cherche_libre(carte, 0);
  carte.octets[noeud / 8] |= static_cast<std::uint8_t>(0x80 >> (noeud & 7));
  arbre.fiche().freeNodes = arbre.fiche().freeNodes - 1;
  reporte_octet(carte, noeud / 8);
  return noeud;
}

// Links a new map node behind the last one, or behind the header.
void enchaine_noeud_carte(CarteNoeuds &carte, std::uint32_t noeud) {
  DescripteurArbre &arbre = catalogue();
  std::vector<std::uint8_t> octets(arbre.taille_noeud);
  if (carte.chaine.empty()) {
    entete_noeud(arbre.octets_entete())->fLink = noeud;
  } else if (lit_noeud_carte(carte.chaine.back(), octets)) {
    entete_noeud(octets)->fLink = noeud;
    ecriture_noeud(carte.chaine.back(), octets);
  }
  initialise_noeud(octets, kNoeudCarte, 0);
  const std::size_t taille = octets_par_noeud_carte(octets.size());
  entete_noeud(octets)->numRecords = 1;
  fixe_decalage(octets, 1, kDebutEnregistrements + taille);  // 1FA for nodes of 512 bytes, FFA for 4,096
  ecriture_noeud(noeud, octets);
  carte.chaine.push_back(noeud);
}

// Copies the bits to the map nodes from number `rang` of the chain on.
bool ecrit_noeuds_carte(const CarteNoeuds &carte, std::size_t rang) {
  std::span<const std::uint8_t> reste = carte.octets;
  reste = reste.subspan(std::min(reste.size(), carte_de_l_entete().size()));
  std::vector<std::uint8_t> octets(catalogue().taille_noeud);
  for (std::size_t i = 0; i < carte.chaine.size(); ++i) {
    if (!lit_noeud_carte(carte.chaine[i], octets)) {
      operations().journal(GenreJournal::erreur,
                           formate("catalog: map node %d cannot be read back", {carte.chaine[i]}));
      if (support().echec_ecriture == 0)
        support().echec_ecriture = EIO;  // the flush is not what it should be
      return false;
    }
    const auto cible = carte_du_noeud(octets);
    const std::size_t nombre = std::min(cible.size(), reste.size());
    std::copy_n(reste.begin(), nombre, cible.begin());
    reste = reste.subspan(nombre);
    if (i >= rang) ecriture_noeud(carte.chaine[i], octets);
  }
  return true;
}

}  // namespace

CarteNoeuds &carte_noeuds() {
  return etat<CarteNoeuds>();
}

void libere_carte_noeuds() {
  carte_noeuds() = {};
}

void charge_carte_noeuds() {
  libere_carte_noeuds();
  const DescripteurArbre &arbre = catalogue();
  if (arbre.taille_noeud == 0) return;
  CarteNoeuds &carte = carte_noeuds();
  const auto tete = carte_de_l_entete();
  carte.octets.assign(tete.begin(), tete.end());
  carte.chargee = true;
  std::vector<std::uint8_t> octets(arbre.taille_noeud);
  GardeChaine garde(arbre.fiche().totalNodes);
  std::uint32_t noeud = entete_noeud(arbre.octets_entete())->fLink;
  while (garde.admet(noeud) && lit_noeud_carte(noeud, octets)) {
    const auto bits = carte_du_noeud(octets);
    carte.octets.insert(carte.octets.end(), bits.begin(), bits.end());
    carte.chaine.push_back(noeud);
    noeud = entete_noeud(octets)->fLink;
  }
}

void recopie_carte_noeuds() {
  const CarteNoeuds carte = std::move(carte_noeuds());
  libere_carte_noeuds();
  if (!carte.chargee || catalogue().taille_noeud == 0) return;
  const auto entete = carte_de_l_entete();
  std::copy_n(carte.octets.begin(), std::min(entete.size(), carte.octets.size()), entete.begin());
  ecriture_entete_arbre();
  (void)ecrit_noeuds_carte(carte, 0);
}

bool noeuds_disponibles(std::uint32_t nombre) {
  assure_carte();
  const DescripteurArbre &arbre = catalogue();
  if (nombre == 0) return true;
  if (arbre.taille_noeud == 0 || arbre.fiche().freeNodes < nombre) return false;
  const std::uint32_t dernier = cherche_libre(carte_noeuds(), nombre - 1);
  // A header may count more nodes than its file has room for; such a node could not be written.
  return dernier != 0 && position_noeud(arbre, dernier) != kSansPosition;
}

bool ajoute_noeuds_carte() {
  assure_carte();
  CarteNoeuds &carte = carte_noeuds();
  const DescripteurArbre &arbre = catalogue();
  if (arbre.taille_noeud == 0) return false;
  const std::uint64_t bits = std::uint64_t{carte.octets.size()} * 8;
  const std::uint64_t total = arbre.fiche().totalNodes;
  if (total <= bits) return true;
  const std::uint64_t octets_par_noeud = octets_par_noeud_carte(arbre.taille_noeud);
  const std::uint64_t manque = quotient_haut(total - bits, octets_par_noeud * 8);
  // More bits than a catalog of this program ever has come from a damaged header.
  constexpr std::uint64_t kOctetsMax = std::uint64_t{1} << 26;
  if (manque > total || manque * octets_par_noeud > kOctetsMax) return false;
  // The new nodes may lie among those that get their bits only now.
  const std::size_t ancienne_taille = carte.octets.size();
  const std::size_t rang = carte.chaine.size();
  carte.octets.resize(ancienne_taille + static_cast<std::size_t>(manque * octets_par_noeud));
  if (!noeuds_disponibles(static_cast<std::uint32_t>(manque))) {
    carte.octets.resize(ancienne_taille);
    return false;
  }
  for (std::uint64_t i = 0; i < manque; ++i) {
    const std::uint32_t noeud = alloue_noeud(catalogue());
    if (noeud == 0) return false;
    enchaine_noeud_carte(carte, noeud);
  }
  return ecrit_noeuds_carte(carte, rang);
}

std::uint32_t alloue_noeud_hfs(DescripteurArbre &arbre) {
  return alloue_noeud(arbre);
}
std::uint32_t alloue_noeud_hfsplus(DescripteurArbre &arbre) {
  return alloue_noeud(arbre);
}

void libere_noeud(DescripteurArbre &arbre, std::uint32_t noeud) {
  assure_carte();
  CarteNoeuds &carte = carte_noeuds();
  const std::size_t place = noeud / 8;
  if (noeud == 0 || place >= carte.octets.size()) return;
  arbre.fiche().freeNodes = arbre.fiche().freeNodes + 1;
  carte.octets[place] &= static_cast<std::uint8_t>(~(0x80 >> (noeud & 7)));
  carte.octet_bas = std::min(carte.octet_bas, place);
  reporte_octet(carte, place);
  cache_noeuds().oublie(noeud);
}

}  // namespace varnion
