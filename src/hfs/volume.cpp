#include "hfs/volume.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "hfs/cache.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/garde.hpp"
#include "hfs/noeud.hpp"
#include "hfs/zones_iso.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/tables.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr std::int64_t kEcartEpoques = 2082844800;  // seconds from 1904 to 1970
constexpr std::size_t kPlaceEntete = 1024;          // header behind the two boot sectors
constexpr std::uint64_t kEntete = 2;                // its sector; the copy is as far from the end
constexpr std::size_t kOctetsSecteur = kTailleSecteur;
constexpr int kMessageEcriture = 1083;

// Size of the HFS+ bitmap. A volume may have more blocks than this product says: both factors are cut to 16
// bits, which is enough for any volume that this program can make.
std::uint32_t secteurs_carte_coupes(std::uint32_t secteurs_par_bloc, std::uint32_t blocs) {
  return (secteurs_par_bloc & 0xFFFF) * (blocs & 0xFFFF);
}

// Size shown for a bare HFS volume. The number of sectors would be drNmAlBlks times the sectors of a block;
// here the count lands in the upper half of a 32-bit word. The value is only ever displayed and is kept as it
// stands.
std::uint64_t taille_affichee(const Mdb &mdb, std::uint64_t debut_volume) {
  return (std::uint64_t{mdb.drNmAlBlks} << 16) + debut_volume + 1;
}

// Sectors from the start of a wrapper to its embedded volume. Inside Macintosh counts drEmbedExtent in
// allocation blocks (drAlBlkSiz); here the clump size is the multiplier, so that a wrapper in which the two
// differ is misread.
std::uint64_t decalage_volume_enveloppe(const Mdb &mdb) {
  return std::uint64_t{mdb.drClpSiz} * mdb.drEmbedExtent.startBlock / kTailleSecteur + mdb.drAlBlSt;
}

void fixe_taille_bloc(VolumeCourant &volume, std::uint32_t taille) {
  volume.taille_bloc = taille;
  volume.secteurs_par_bloc = taille / kTailleSecteur;
}

void fixe_carte(VolumeCourant &volume, std::uint32_t secteurs) {
  volume.secteurs_carte = secteurs;
  volume.octets_carte = kTailleSecteur * secteurs;
}

void adopte_hfsplus(VolumeCourant &volume, std::uint8_t *entete) {
  volume.est_hfsplus = true;
  volume.vhb = reinterpret_cast<EnteteVolumePlus *>(entete);
  volume.mdb = nullptr;
  fixe_taille_bloc(volume, volume.vhb->blockSize);
  fixe_carte(volume, secteurs_carte_coupes(volume.secteurs_par_bloc, volume.vhb->allocationFile.totalBlocks));
}

void adopte_hfs(VolumeCourant &volume, const Mdb &mdb, std::uint64_t debut) {
  volume.vhb = nullptr;
  volume.est_hfsplus = false;
  volume.debut_volume = debut;
  volume.debut_allocation = debut + mdb.drAlBlSt;
  fixe_taille_bloc(volume, mdb.drAlBlkSiz);
  if (support().taille_volume == 0) support().taille_volume = taille_affichee(mdb, debut);
}

void adopte_enveloppe(VolumeCourant &volume, std::uint64_t debut) {
  volume.debut_allocation = debut + decalage_volume_enveloppe(*volume.mdb);
  std::array<std::uint8_t, kTailleSecteur> secteur{};
  lit_secteurs(secteur.data(), volume.debut_allocation + 2, 1);
  std::uint8_t *zone = volume.bloc.get() + kZoneEntete;
  std::copy(secteur.begin(), secteur.end(), zone);
  adopte_hfsplus(volume, zone);
  support().taille_volume = std::uint64_t{volume.vhb->totalBlocks} * volume.secteurs_par_bloc;
}

void adopte_signature_bd(VolumeCourant &volume, std::span<const std::uint8_t> entete) {
  std::uint8_t *zone = volume.bloc.get() + kZoneEntete;
  std::copy_n(entete.begin(), sizeof(Mdb), zone);
  volume.mdb = reinterpret_cast<Mdb *>(zone);
  const Mdb &mdb = *volume.mdb;
  const std::uint64_t debut = volume.debut_allocation;
  if (mdb.drEmbedSigWord == 0 && mdb.drCTExtRec[0].blockCount != 0) adopte_hfs(volume, mdb, debut);
  fixe_carte(volume, std::uint32_t{mdb.drAlBlSt} - std::uint32_t{mdb.drVBMSt});
  if (mdb.drEmbedSigWord == kSignatureHfsPlus) adopte_enveloppe(volume, debut);
}

std::uint32_t premier_bloc(const VolumeCourant &volume, const DescripteurArbre &arbre) {
  if (volume.est_hfsplus) {
    const FourchePlus &fourche = arbre.genre == 0 ? volume.vhb->catalogFile : volume.vhb->extentsFile;
    return fourche.extents[0].startBlock;
  }
  return arbre.genre == 0 ? volume.mdb->drCTExtRec[0].startBlock : volume.mdb->drXTExtRec[0].startBlock;
}

void ouvre_arbre(const VolumeCourant &volume, DescripteurArbre &arbre) {
  arbre.noeud = 0;
  arbre.index = 0;
  arbre.taille_noeud = 0;
  std::fill_n(arbre.entete, kTailleNoeudMax, std::uint8_t{0});
  if (!volume.a_entete()) return;
  const std::uint64_t secteur = secteur_de_bloc(premier_bloc(volume, arbre));
  lit_secteurs(arbre.entete, secteur, 1);
  std::uint32_t taille = kTailleSecteur;
  if (volume.est_hfsplus) taille = arbre.fiche().nodeSize;
  if (taille == 0 || taille > kTailleNoeudMax || taille % kTailleSecteur != 0) {
    operations().journal(GenreJournal::erreur,
                         formate("B-tree %d: node size %d not usable", {arbre.genre, taille}));
    return;
  }
  if (taille > kTailleSecteur) lit_secteurs(arbre.entete, secteur, taille / kTailleSecteur);
  arbre.taille_noeud = taille;
}

// Header and alternate header, and nothing beside them: on a volume of small blocks what lies there belongs
// to files.
void ecrit_entetes_hfsplus(const VolumeCourant &volume) {
  ecrit_volume(volume.vhb, volume.debut_allocation + kEntete, 1);
  const std::uint64_t copie = place_copie_entete();
  if (copie > volume.debut_allocation + kEntete && !touche_iso(copie, copie + 1))
    ecrit_volume(volume.vhb, copie, 1);
}

// True when a header of the mounted volume's format, made at the same time, stands in a sector.
bool porte_copie(std::uint64_t secteur) {
  const VolumeCourant &volume = volume_courant();
  std::array<std::uint8_t, kTailleSecteur> octets{};
  lit_secteurs(octets.data(), secteur, 1);
  if (volume.est_hfsplus) {
    const auto &copie = *vue<EnteteVolumePlus>(octets, 0);
    return (copie.signature == kSignatureHfsPlus || copie.signature == kSignatureHfsX) &&
           copie.createDate == volume.vhb->createDate;
  }
  const auto &copie = *vue<Mdb>(octets, 0);
  return copie.drSigWord == kSignatureHfs && copie.drCrDate == volume.mdb->drCrDate;
}

std::string filtre_affichage(const std::string &texte) {
  return traduit_filtre(texte, texte.size());
}

}  // namespace

VolumeCourant::VolumeCourant() : bloc(std::make_unique<std::uint8_t[]>(kTailleBlocMoteur)) {
  catalogue.genre = 0;
  catalogue.entete = bloc.get() + kZoneCatalogueEntete;
  catalogue.tampon = bloc.get() + kZoneCatalogueTampon;
  extents.genre = 1;
  extents.entete = bloc.get() + kZoneExtentsEntete;
  extents.tampon = bloc.get() + kZoneExtentsTampon;
}

VolumeCourant &volume_courant() {
  return etat<VolumeCourant>();
}

void lecture_entete_volume() {
  VolumeCourant &volume = volume_courant();
  volume.ordre = {ordre_hfs_voulu()};
  std::array<std::uint8_t, 3 * kOctetsSecteur> secteurs{};
  lit_secteurs(secteurs.data(), volume.debut_allocation, 3);
  const std::uint64_t ancien_debut = volume.debut_allocation;
  volume.fin_partition = 0;
  volume.copie_entete.reset();
  const std::uint16_t signature = *vue<be16>(secteurs, kPlaceEntete);
  if (signature == kSignatureHfsPlus || signature == kSignatureHfsX) {
    std::uint8_t *zone = volume.bloc.get() + kZoneEntete;
    std::copy(secteurs.begin(), secteurs.end(), zone);
    adopte_hfsplus(volume, zone + kPlaceEntete);
    support().taille_volume = std::uint64_t{volume.vhb->totalBlocks} * volume.taille_bloc / kTailleSecteur;
  } else if (signature == kSignatureHfs) {
    adopte_signature_bd(volume, std::span(secteurs).subspan(kPlaceEntete));
  }
  if (support().mode_driver != 3) volume.debut_allocation = ancien_debut;
}

int ouverture_arbres() {
  VolumeCourant &volume = volume_courant();
  liberation_carte();
  oublie_index_extents();
  oublie_garde();
  ouvre_arbre(volume, volume.catalogue);
  if (volume.catalogue.taille_noeud != 0) cache_noeuds().prepare(volume.catalogue.taille_noeud);
  ouvre_arbre(volume, volume.extents);
  return 1;
}

std::string nom_volume() {
  const VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus) {
    const OctetsNoeud noeud = lecture_noeud(volume.catalogue.fiche().firstLeafNode);
    return filtre_affichage(unicode_vers_windows(nom_cle_hfsplus(enregistrement(noeud, 0))));
  }
  if (volume.mdb == nullptr) return {};
  const auto &nom = volume.mdb->drVN;
  const std::size_t longueur = std::min<std::size_t>(nom[0], nom.size() - 1);
  return filtre_affichage(
      traduit({reinterpret_cast<const char *>(nom.data()) + 1, longueur}, mac_vers_windows));
}

std::uint32_t date_mac_de(std::int64_t secondes_unix) {
  const std::int64_t biais = volume_courant().est_hfsplus ? 0 : plateforme::biais_fuseau();
  return static_cast<std::uint32_t>(secondes_unix + kEcartEpoques - biais);
}

std::int64_t unix_de_date_mac(std::uint32_t date) {
  const std::int64_t biais = volume_courant().est_hfsplus ? 0 : plateforme::biais_fuseau();
  return std::int64_t{date} - kEcartEpoques + biais;
}

std::uint32_t date_mac() {
  return date_mac_de(plateforme::maintenant());
}

std::uint64_t place_copie_entete() {
  VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return 0;
  if (volume.copie_entete) return *volume.copie_entete;
  volume.copie_entete = 0;
  const std::uint64_t fin = volume.est_hfsplus ? secteur_de_bloc(volume.vhb->totalBlocks) : 0;
  const std::uint64_t debut = volume.est_hfsplus ? volume.debut_allocation : volume.debut_volume;
  for (const std::uint64_t bout : {volume.fin_partition, fin}) {
    if (*volume.copie_entete == 0 && bout > debut + 2 * kEntete && porte_copie(bout - kEntete))
      volume.copie_entete = bout - kEntete;
  }
  return *volume.copie_entete;
}

void adopte_copie_entete(std::uint64_t secteur) {
  volume_courant().copie_entete = secteur;
}

std::uint64_t fin_volume() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return 0;
  constexpr std::uint64_t kDerriereHfs = 2;  // the alternate MDB and the sector behind it
  const std::uint64_t blocs =
      volume.est_hfsplus ? std::uint64_t{volume.vhb->totalBlocks} : std::uint64_t{volume.mdb->drNmAlBlks};
  const std::uint64_t fin =
      volume.debut_allocation + blocs * volume.secteurs_par_bloc + (volume.est_hfsplus ? 0 : kDerriereHfs);
  return volume.fin_partition != 0 ? std::min(fin, volume.fin_partition) : fin;
}

void ecrit_volume(const void *tampon, std::uint64_t position, std::uint32_t nombre) {
  Support &medium = support();
  // `entree_driver` may stand before the file driver with something kept in memory; the other entry tells
  // where it all goes.
  if (medium.entree_driver_carte == driver_fichier && medium.image.ouvert()) {
    std::uint64_t fin = fin_volume();
    // The alternate header may stand in the slack behind the blocks.
    if (position == volume_courant().copie_entete) fin = std::max(fin, position + 1);
    if (!carte_allocation().chargee) {
      const auto taille = static_cast<std::uint64_t>(std::max<std::int64_t>(0, fichier_taille(medium.image)));
      fin = std::min(fin, quotient_haut<std::uint64_t>(taille, kTailleSecteur));
    }
    if (nombre > fin || position > fin - nombre) {
      if (medium.echec_ecriture == 0)
        operations().journal(GenreJournal::erreur,
                             formate("volume: write to sector %u outside of it, refused", {position}));
      if (medium.echec_ecriture == 0) medium.echec_ecriture = EIO;
      return;
    }
  }
  ecrit_secteurs(tampon, position, nombre);
}

void ecriture_mdb_secours() {
  const VolumeCourant &volume = volume_courant();
  if (volume.mdb == nullptr) return;
  const std::uint64_t fin = secteur_de_bloc(volume.mdb->drNmAlBlks);
  const std::uint64_t copie = place_copie_entete();
  const bool dedans = volume.fin_partition == 0 || fin < volume.fin_partition;
  if (dedans && !touche_iso(fin, fin + 1)) ecrit_volume(volume.mdb, fin, 1);
  if (copie != 0 && copie != fin && !touche_iso(copie, copie + 1)) ecrit_volume(volume.mdb, copie, 1);
}

bool ecriture_structures() {
  VolumeCourant &volume = volume_courant();
  if (support().lecture_seule) return support().echec_ecriture == 0;
  if (carte_noeuds().chargee) recopie_carte_noeuds();
  if (!volume.est_hfsplus && volume.a_entete() && carte_allocation().chargee) {
    operations().afficher_etat_seul(charger_chaine(kMessageEcriture));
    ecriture_carte_hfs();
    operations().afficher_etat({}, {});
  }
  if (volume.est_hfsplus && volume.a_entete()) {
    operations().afficher_etat_seul(charger_chaine(kMessageEcriture));
    volume.vhb->writeCount = volume.vhb->writeCount + 1;
    ecrit_entetes_hfsplus(volume);
    ecriture_carte_hfsplus();
    operations().afficher_etat({}, {});
  }
  return support().echec_ecriture == 0;
}

}  // namespace varnion
