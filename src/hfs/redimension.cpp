#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <vector>

#include "hfs/bits.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/creation.hpp"
#include "hfs/extents.hpp"
#include "hfs/volume.hpp"
#include "hfs/zones_iso.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

// The size of a plain HFS image changed in place.

namespace varnion {
namespace {

constexpr int kMessageTronque = 1164;
constexpr int kMessageAgrandit = 1165;
constexpr std::uint64_t kSecteursParMo = 2048;
constexpr std::uint32_t kEntreesMax = 256;
constexpr std::string_view kTypeHfs = "Apple_HFS";
constexpr std::string_view kTypeLibre = "Apple_Free";
constexpr std::size_t kTailleType = 32;

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

// Sector `n` of the map; false where the map has ended.
bool lit_entree(Secteur &secteur, std::uint32_t n) {
  secteur.fill(0);
  lit_secteurs(secteur.data(), n, 1);
  return secteur[0] == 'P' && secteur[1] == 'M';
}

// pmParType, padded with zeros.
std::string_view type_entree(const Secteur &entree) {
  const std::string_view type(reinterpret_cast<const char *>(entree.data()) + 0x30, kTailleType);
  return type.substr(0, type.find('\0'));
}

// The sector of the map entry of the mounted volume, 0 when there is none.
std::uint32_t entree_du_volume(Secteur &secteur) {
  for (std::uint32_t n = 1; n <= kEntreesMax && lit_entree(secteur, n); ++n)
    if (type_entree(secteur) == kTypeHfs && *vue<be32>(secteur, 8) == volume_courant().debut_volume) return n;
  return 0;
}

// True when a partition in use begins behind the first sector of the mounted volume's.
bool partition_derriere(std::uint32_t place) {
  Secteur secteur{};
  for (std::uint32_t n = 1; n <= kEntreesMax && lit_entree(secteur, n); ++n)
    if (n != place && type_entree(secteur) != kTypeLibre &&
        *vue<be32>(secteur, 8) > volume_courant().debut_volume)
      return true;
  return false;
}

bool est_image_hfs(const Secteur &zero) {
  const VolumeCourant &volume = volume_courant();
  return !volume.est_hfsplus && volume.mdb != nullptr && zero[0] == 'E' && zero[1] == 'R' &&
         volume.secteurs_par_bloc != 0 && support().image.ouvert() && !support().lecture_seule;
}

// What becomes of the volume. Sectors of the image; blocks of the volume.
struct Plan {
  std::uint32_t place = 0;    // of the map entry
  std::int64_t secteurs = 0;  // more, or fewer when negative
  std::uint64_t fin_avant = 0, fin = 0;
  std::int64_t blocs_avant = 0, blocs = 0;

  [[nodiscard]] bool agrandit() const { return secteurs > 0; }
};

// Bytes that the image needs: to the end of the partition, or to the sector behind the alternate MDB.
std::uint64_t octets_image(std::uint64_t fin_partition, std::int64_t blocs) {
  const VolumeCourant &volume = volume_courant();
  const std::uint64_t fin_blocs =
      volume.debut_allocation + static_cast<std::uint64_t>(blocs) * volume.secteurs_par_bloc + 2;
  return std::max(fin_partition, fin_blocs) * kTailleSecteur;
}
std::uint64_t octets_avant(const Plan &plan) {
  return octets_image(plan.fin_avant, plan.blocs_avant);
}
std::uint64_t octets_apres(const Plan &plan) {
  return octets_image(plan.fin, plan.blocs);
}

// Blocks of the volume in a partition of the new length. Sectors at its end that were too few for a block
// count too, so that going to and fro costs none; what stands around the blocks is kept out of them where the
// whole volume lies inside its partition.
std::int64_t nombre_de_blocs(const Plan &plan) {
  const VolumeCourant &volume = volume_courant();
  const auto par_bloc = std::int64_t{volume.secteurs_par_bloc};
  const auto autour = static_cast<std::int64_t>(volume.debut_allocation - volume.debut_volume) + 2;
  std::int64_t reste =
      static_cast<std::int64_t>(plan.fin_avant - volume.debut_volume) - plan.blocs_avant * par_bloc;
  if (reste >= autour) reste -= autour;
  if (reste > 0) reste %= par_bloc;
  const std::int64_t delta = plan.secteurs + reste;
  const std::int64_t arrondi = delta < 0 ? par_bloc - 1 : 0;
  return plan.blocs_avant + (delta - arrondi) / par_bloc;
}

// Within the fields that hold them, and changed the way the partition is.
bool longueurs_admises(const Plan &plan) {
  const std::int64_t longueur =
      static_cast<std::int64_t>(plan.fin_avant - volume_courant().debut_volume) + plan.secteurs;
  return longueur > 0 && longueur <= std::int64_t{0xFFFFFFFF} && plan.blocs > 0 && plan.blocs <= 65535 &&
         (plan.agrandit() ? plan.blocs >= plan.blocs_avant : plan.blocs <= plan.blocs_avant);
}

// False where a damaged map would make the file longer by far more than was asked for.
bool agrandissement_admis(const Plan &plan, std::uint64_t taille) {
  constexpr std::uint64_t kDepassement = std::uint64_t{1} << 20;  // bytes
  return octets_apres(plan) <=
         taille + static_cast<std::uint64_t>(plan.secteurs) * kTailleSecteur + kDepassement;
}

// True when the file holds anything but zeros from a byte on up to another.
bool porte_octets(std::uint64_t debut, std::uint64_t fin) {
  std::vector<std::uint8_t> tampon(std::size_t{1} << 16);
  while (debut < fin) {
    const std::span voulus = std::span(tampon).first(std::min<std::uint64_t>(tampon.size(), fin - debut));
    const std::int64_t lus = support().image.lire_a(voulus, debut);
    if (lus <= 0) return lus < 0;
    const std::span vus = voulus.first(static_cast<std::size_t>(lus));
    if (std::any_of(vus.begin(), vus.end(), [](std::uint8_t octet) { return octet != 0; })) return true;
    debut += static_cast<std::uint64_t>(lus);
  }
  return false;
}

// Bytes of the ISO 9660 volume in the image, 0 for none (ECMA-119 8.4: sector 16, type 1, volume space size).
std::uint64_t octets_iso() {
  constexpr std::uint64_t kDescripteur = 0x8000;
  constexpr std::uint64_t kSecteurIso = 2048;
  constexpr std::string_view kMarque = "\1CD001";
  std::array<std::uint8_t, 0x54> tete{};
  if (support().image.lire_a(tete, kDescripteur) != static_cast<std::int64_t>(tete.size()) ||
      !std::equal(kMarque.begin(), kMarque.end(), tete.begin()))
    return 0;
  return *vue<le32>(tete, 0x50) * kSecteurIso;
}

// True when nothing that is not the volume's lies where the new end will be.
bool place_libre(const Plan &plan) {
  const std::int64_t taille = fichier_taille(support().image);
  if (taille < 0 || partition_derriere(plan.place)) return false;
  const auto octets = static_cast<std::uint64_t>(taille);
  const std::uint64_t iso = zones_iso().empty() ? 0 : zones_iso().back().fin * kTailleSecteur;
  if (!plan.agrandit())
    return octets <= octets_avant(plan) && std::max(octets_iso(), iso) <= octets_apres(plan);
  return agrandissement_admis(plan, octets) && !porte_octets(octets_avant(plan), octets_apres(plan));
}

// A file that is longer already stays so.
bool allonge_fichier(const Plan &plan) {
  const std::uint64_t voulue = octets_apres(plan);
  const std::int64_t taille = fichier_taille(support().image);
  return taille >= 0 &&
         (static_cast<std::uint64_t>(taille) >= voulue || fichier_tronquer(support().image, voulue));
}

void change_structures(const Plan &plan) {
  Mdb &mdb = *volume_courant().mdb;
  CarteAllocation &carte = carte_allocation();
  const bool copie = place_copie_entete() != 0;
  mdb.drNmAlBlks = static_cast<std::uint16_t>(plan.blocs);
  // The copy goes with the end of the partition, where the blocks leave room for it.
  VolumeCourant &volume = volume_courant();
  const std::uint64_t fin_blocs = secteur_de_bloc(static_cast<std::uint64_t>(plan.blocs)) + 2;
  volume.fin_partition = volume.fin_partition > plan.fin_avant ? std::max(plan.fin, fin_blocs) : plan.fin;
  volume.copie_entete = copie && volume.fin_partition >= fin_blocs ? volume.fin_partition - 2 : 0;
  mdb.drFreeBks = static_cast<std::uint16_t>(mdb.drFreeBks + plan.blocs - plan.blocs_avant);
  if (mdb.drAllocPtr >= plan.blocs) mdb.drAllocPtr = std::uint16_t{0};
  if (!plan.agrandit()) return;
  const std::span bits(carte.tampon.get() + std::size_t{mdb.drVBMSt} * kTailleSecteur, carte.taille);
  carte.nb_blocs =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(plan.blocs), std::uint64_t{carte.taille} * 8);
  fixe_bits(bits, static_cast<std::uint64_t>(plan.blocs_avant), carte.nb_blocs, false);
}

bool ecrit_carte_partitions(const Plan &plan, Secteur &zero, Secteur &entree) {
  ajoute(zero, 4, plan.secteurs);
  ajoute(entree, 0x0C, plan.secteurs);
  ajoute(entree, 0x54, plan.secteurs);
  ecrit_secteurs(entree.data(), plan.place, 1);
  if (support().echec_ecriture == 0) ecrit_secteurs(zero.data(), 0, 1);
  return support().echec_ecriture == 0;
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

std::uint64_t secteurs_partition() {
  Secteur entree{};
  return entree_du_volume(entree) == 0 ? 0 : std::uint64_t{*vue<be32>(entree, 0xC)};
}

std::uint32_t taille_partition_mo() {
  return static_cast<std::uint32_t>(secteurs_partition() / kSecteursParMo);
}

// By design the sizes are changed unseen. Here what lies behind the partition, blocks in use, the length of
// the bitmap and room on the disk are looked at first, and bitmap and alternate MDB follow.
bool redimensionne(std::uint32_t ancienne, std::uint32_t nouvelle) {
  if (nouvelle == ancienne) return true;
  const bool agrandit = nouvelle > ancienne;
  Secteur zero{};
  Secteur entree{};
  lit_secteurs(zero.data(), 0, 1);
  if (!est_image_hfs(zero)) return refuse(agrandit);
  Plan plan;
  plan.place = entree_du_volume(entree);
  plan.secteurs = (std::int64_t{nouvelle} - ancienne) * std::int64_t{kSecteursParMo};
  plan.fin_avant = *vue<be32>(entree, 8) + std::uint64_t{*vue<be32>(entree, 0xC)};
  plan.fin = plan.fin_avant + static_cast<std::uint64_t>(plan.secteurs);
  plan.blocs_avant = volume_courant().mdb->drNmAlBlks;
  plan.blocs = nombre_de_blocs(plan);
  if (plan.place == 0 || nouvelle > taille_maximale() || !longueurs_admises(plan)) return refuse(agrandit);
  const std::int64_t dernier = dernier_bloc_utilise();
  if (!carte_allocation().chargee) return false;  // the load has told why
  const std::int64_t libres = volume_courant().mdb->drFreeBks + (plan.blocs - plan.blocs_avant);
  if (plan.blocs <= dernier || libres < 0 || libres > plan.blocs || !place_libre(plan))
    return refuse(agrandit);
  // A longer file first, a shorter one last, and the partition is never too short for its volume.
  if (agrandit && !allonge_fichier(plan)) return refuse(true);
  if (agrandit && !ecrit_carte_partitions(plan, zero, entree)) return false;
  change_structures(plan);
  if (!ecriture_structures() || (!agrandit && !ecrit_carte_partitions(plan, zero, entree))) return false;
  support().taille_volume += static_cast<std::uint64_t>(plan.secteurs);
  return agrandit || fichier_tronquer(support().image, octets_apres(plan)) || refuse(false);
}

}  // namespace varnion
