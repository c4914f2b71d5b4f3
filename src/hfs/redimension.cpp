#include <algorithm>
#include <array>

#include "hfs/bits.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/creation.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

// The size of a plain HFS image changed in place.

namespace varnion {
namespace {

constexpr int kMessageTronque = 1164;
constexpr int kMessageAgrandit = 1165;
constexpr std::uint64_t kSecteursParMo = 2048;
constexpr std::uint32_t kEntreesMax = 32;

using Secteur = std::array<std::uint8_t, kTailleSecteur>;

bool refuse(bool agrandit) {
  liberation_carte();
  operations().afficher_erreur(charger_chaine(agrandit ? kMessageAgrandit : kMessageTronque));
  return false;
}

// Adds to a 32-bit count in a sector of the map.
void ajoute(Secteur &secteur, std::size_t place, std::int64_t delta) {
  if (be32 *champ = vue_modifiable<be32>(secteur, place))
    *champ = static_cast<std::uint32_t>(std::int64_t{*champ} + delta);
}

// The sector of the map entry of the mounted volume, 0 when there is none.
std::uint32_t entree_du_volume(Secteur &secteur) {
  constexpr std::string_view kType = "Apple_HFS";
  for (std::uint32_t n = 1; n <= kEntreesMax; ++n) {
    secteur.fill(0);
    lit_secteurs(secteur.data(), n, 1);
    if (secteur[0] != 'P' || secteur[1] != 'M') return 0;
    if (std::equal(kType.begin(), kType.end(), secteur.begin() + 0x30) && secteur[0x30 + kType.size()] == 0 &&
        *vue<be32>(secteur, 8) == volume_courant().debut_volume)
      return n;
  }
  return 0;
}

bool est_image_hfs(const Secteur &zero) {
  const VolumeCourant &volume = volume_courant();
  return !volume.est_hfsplus && volume.mdb != nullptr && zero[0] == 'E' && zero[1] == 'R' &&
         volume.secteurs_par_bloc != 0 && support().image.ouvert() && !support().lecture_seule;
}

// Bytes that the image needs: to the end of the partition, or to the sector behind the alternate MDB.
std::uint64_t octets_image(std::uint64_t fin_partition) {
  const VolumeCourant &volume = volume_courant();
  const std::uint64_t fin_blocs =
      volume.debut_allocation + std::uint64_t{volume.mdb->drNmAlBlks} * volume.secteurs_par_bloc + 2;
  return std::max(fin_partition, fin_blocs) * kTailleSecteur;
}

// False where a damaged map would make the file longer by far more than was asked for.
bool agrandissement_admis(std::uint64_t fin_partition, std::int64_t secteurs) {
  constexpr std::int64_t kDepassement = std::int64_t{1} << 20;  // bytes
  const std::int64_t taille = fichier_taille(support().image);
  const std::int64_t admis = taille + secteurs * std::int64_t{kTailleSecteur} + kDepassement;
  return taille >= 0 && octets_image(fin_partition) <= static_cast<std::uint64_t>(admis);
}

}  // namespace

std::int64_t dernier_bloc_utilise() {
  if (volume_courant().est_hfsplus || !chargement_carte()) return -1;
  const Mdb &mdb = *volume_courant().mdb;
  const CarteAllocation &carte = carte_allocation();
  const std::uint8_t *bits = carte.tampon.get() + std::size_t{mdb.drVBMSt} * kTailleSecteur;
  std::int64_t bloc = static_cast<std::int64_t>(carte.nb_blocs) - 1;
  while (bloc >= 0 && (bits[bloc / 8] & (0x80 >> (bloc % 8))) == 0) --bloc;
  return bloc;
}

std::uint32_t taille_maximale() {
  const VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus || volume.mdb == nullptr || volume.mdb->drAlBlSt < 3) return 0;
  const std::uint64_t bits = (std::uint64_t{volume.mdb->drAlBlSt} - 3) * 4096;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(bits, 65535) * volume.secteurs_par_bloc /
                                    kSecteursParMo);
}

// By design the sizes are changed unseen. Here blocks in use, the length of the bitmap and room on the disk
// are looked at first, and bitmap and alternate MDB follow.
bool redimensionne(std::uint32_t ancienne, std::uint32_t nouvelle) {
  VolumeCourant &volume = volume_courant();
  const bool agrandit = nouvelle > ancienne;
  if (nouvelle == ancienne) return true;
  Secteur zero{};
  Secteur entree{};
  lit_secteurs(zero.data(), 0, 1);
  if (!est_image_hfs(zero)) return refuse(agrandit);
  const std::uint32_t place = entree_du_volume(entree);
  const std::int64_t secteurs = (std::int64_t{nouvelle} - ancienne) * std::int64_t{kSecteursParMo};
  const std::int64_t blocs = secteurs / std::int64_t{volume.secteurs_par_bloc};
  const std::int64_t total = volume.mdb->drNmAlBlks + blocs;
  if (place == 0 || nouvelle == 0 || total > 65535 || nouvelle > taille_maximale()) return refuse(agrandit);
  const std::int64_t dernier = dernier_bloc_utilise();
  if (!carte_allocation().chargee) return false;  // the load has told why
  if (total <= dernier || volume.mdb->drFreeBks + blocs < 0) return refuse(agrandit);

  Mdb &mdb = *volume.mdb;
  const std::uint64_t fin =
      *vue<be32>(entree, 8) + std::uint64_t{*vue<be32>(entree, 0xC)} + static_cast<std::uint64_t>(secteurs);
  const std::uint32_t avant = mdb.drNmAlBlks;
  const std::uint16_t libres = mdb.drFreeBks;
  mdb.drNmAlBlks = static_cast<std::uint16_t>(total);
  mdb.drFreeBks = static_cast<std::uint16_t>(libres + blocs);
  // A longer file first, a shorter one last: the structures never name what is not there.
  if (agrandit &&
      (!agrandissement_admis(fin, secteurs) || !fichier_tronquer(support().image, octets_image(fin)))) {
    mdb.drNmAlBlks = static_cast<std::uint16_t>(avant);
    mdb.drFreeBks = libres;
    return refuse(true);
  }
  CarteAllocation &carte = carte_allocation();
  if (agrandit) {
    const std::span bits(carte.tampon.get() + std::size_t{mdb.drVBMSt} * kTailleSecteur, carte.taille);
    carte.nb_blocs =
        std::min<std::uint64_t>(static_cast<std::uint64_t>(total), std::uint64_t{carte.taille} * 8);
    fixe_bits(bits, avant, carte.nb_blocs, false);
  }
  if (mdb.drAllocPtr >= total) mdb.drAllocPtr = std::uint16_t{0};
  ajoute(zero, 4, secteurs);
  ajoute(entree, 0x0C, secteurs);
  ajoute(entree, 0x54, secteurs);
  ecrit_secteurs(zero.data(), 0, 1);
  ecrit_secteurs(entree.data(), place, 1);
  if (!ecriture_structures()) return false;
  support().taille_volume += static_cast<std::uint64_t>(secteurs);
  return agrandit || fichier_tronquer(support().image, octets_image(fin));
}

}  // namespace varnion
