#include "hfs/ecriture.hpp"

#include "hfs/cache.hpp"
#include "hfs/extents.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

void ecrit_noeud_disque(const DescripteurArbre &arbre, std::uint32_t noeud,
                        std::span<const std::uint8_t> octets) {
  const std::uint64_t position = position_noeud(arbre, noeud);
  if (position == kSansPosition) return;
  ecrit_volume(octets.data(), position, arbre.taille_noeud / kTailleSecteur);
}

}  // namespace

void ecriture_noeud(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
  const DescripteurArbre &arbre = volume_courant().catalogue;
  if (arbre.taille_noeud == 0 || octets.size() != arbre.taille_noeud) return;
  ++compteurs_noeuds().nb_ecritures;
  if (etat<OptionsProgramme>().niveau_trace > 1) {
    operations().journal(GenreJournal::brut, formate("M\xE0j nd cat - %04d\r\n", {noeud}));
  }
  cache_noeuds().ecrit(noeud, octets);
  if (noeud > arbre.fiche().totalNodes) return;
  ecrit_noeud_disque(arbre, noeud, octets);
  ecrit_noeud_disque(arbre, 0, arbre.octets_entete());
}

// By design this takes the sector count from the catalog's node size and, on HFS+, the place from the
// catalog's fork instead of that of the extents file. On HFS both trees have nodes of 512 bytes and nothing
// comes of it. On HFS+ the header node written behind each node would land on the catalog's own header and
// destroy the volume, so the extents file and its node size are taken there, as for a read.
bool ecriture_noeud_extents(std::uint32_t noeud, std::span<const std::uint8_t> octets) {
  const DescripteurArbre &arbre = volume_courant().extents;
  if (arbre.taille_noeud == 0 || octets.size() != arbre.taille_noeud) return false;
  if (noeud > arbre.fiche().totalNodes || position_noeud(arbre, noeud) == kSansPosition) return false;
  ecrit_noeud_disque(arbre, noeud, octets);
  ecrit_noeud_disque(arbre, 0, arbre.octets_entete());
  return true;
}

void ecriture_entete_arbre() {
  VolumeCourant &volume = volume_courant();
  if (volume.catalogue.taille_noeud == 0 || !volume.a_entete()) return;
  const std::uint32_t maintenant = date_mac();
  if (volume.est_hfsplus) {
    volume.vhb->modifyDate = maintenant;
    volume.vhb->lastMountedVersion = kEstampille;
  } else {
    volume.mdb->drLsMod = maintenant;
  }
  ecrit_noeud_disque(volume.catalogue, 0, volume.catalogue.octets_entete());
}

}  // namespace varnion
