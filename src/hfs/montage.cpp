#include "hfs/montage.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <span>

#include "hfs/extents.hpp"
#include "hfs/garde.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "hfs/zones_iso.hpp"
#include "IO/lignes_carte.hpp"
#include "IO/operations.hpp"
#include "IO/partitions.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kSansVolume = 1332;
constexpr int kAnalyse = 1303;
constexpr int kAttente = 1059;
constexpr int kSansTitre = 1287;
constexpr int kEnveloppePubliee = 6060;
constexpr int kAutreEntree = 6061;
constexpr int kSansCatalogue = 6062;
constexpr int kMotAncien = 6064;
constexpr int kVolumeNu = 6063;

constexpr std::uint64_t kEntete = 2;  // sectors from the start of a volume
constexpr std::size_t kEntreeMbr = 0x1BE;
constexpr std::uint8_t kMbrProtecteur = 0xEE;
constexpr std::uint32_t kGrandSecteur = 4096;
constexpr std::uint32_t kEntreesMax = 1024;  // of a GUID table
constexpr std::uint32_t kTailleEntreeMax = 4096;
constexpr std::array<std::uint8_t, 16> kGuidHfsPlus{0x00, 0x53, 0x46, 0x48, 0x00, 0x00, 0xAA, 0x11,
                                                    0xAA, 0x11, 0x00, 0x30, 0x65, 0x43, 0xEC, 0xAC};

using Secteur = std::array<std::uint8_t, kTailleSecteur>;

// What the image does not hold reads as zeros.
Secteur lit_secteur(std::uint64_t secteur) {
  Secteur octets{};
  lit_secteurs(octets.data(), secteur, 1);
  return octets;
}

bool est_plus(std::uint16_t signature) {
  return signature == kSignatureHfsPlus || signature == kSignatureHfsX;
}

std::uint16_t signature_a(std::uint64_t debut) {
  return *vue<be16>(lit_secteur(debut + kEntete), 0);
}

void journalise(const std::string &texte) {
  operations().journal(GenreJournal::information, texte);
}

// Inside Macintosh and TN1150 place the embedded volume by allocation blocks of the wrapper.
std::uint64_t place_publiee(std::uint64_t debut, const Mdb &mdb) {
  const std::uint64_t octets = std::uint64_t{mdb.drAlBlkSiz} * mdb.drEmbedExtent.startBlock;
  return debut + mdb.drAlBlSt + octets / kTailleSecteur;
}

void corrige_enveloppe(std::uint64_t debut, const Mdb &mdb) {
  VolumeCourant &volume = volume_courant();
  const std::uint64_t place = place_publiee(debut, mdb);
  if (est_plus(volume.vhb->signature) || !est_plus(signature_a(place))) return;
  volume.debut_allocation = place;
  lecture_entete_volume();
  journalise(charger_chaine(kEnveloppePubliee));
}

// --- GUID tables

struct TeteGpt {
  std::array<char, 8> signature;        // 0
  std::array<std::uint8_t, 64> autres;  // 8
  le64 table;                           // 72: sector of the first entry
  le32 entrees;                         // 80
  le32 taille_entree;                   // 84
};
static_assert(sizeof(TeteGpt) == 88);

struct EntreeGpt {
  std::array<std::uint8_t, 16> type;    // 0
  std::array<std::uint8_t, 16> propre;  // 16
  le64 premier;                         // 32
};
static_assert(sizeof(EntreeGpt) == 40);

// The first sector of the first entry, whatever its type. It is a 64-bit number; here its low half counts.
// Kept as it stands.
std::uint64_t debut_premiere_entree(std::uint32_t secteur_tete) {
  const Secteur tete = lit_secteur(secteur_tete);
  const Secteur entrees = lit_secteur(vue<TeteGpt>(tete, 0)->table);
  return vue<EntreeGpt>(entrees, 0)->premier & 0xFFFFFFFFU;
}

// UEFI, GUID Partition Table: the first HFS+ entry that holds a volume, in a table of sectors of `taille`
// bytes; 0 when there is none.
std::uint64_t debut_entree_hfsplus(std::uint32_t taille) {
  const std::uint64_t facteur = taille / kTailleSecteur;
  const Secteur octets = lit_secteur(facteur);
  const auto *tete = vue<TeteGpt>(octets, 0);
  const std::uint32_t pas = tete->taille_entree;
  if (std::string_view(tete->signature.data(), tete->signature.size()) != "EFI PART" || pas < 128 ||
      pas > kTailleEntreeMax || pas % 128 != 0 || tete->table > 0xFFFFFFFFU)
    return 0;
  for (std::uint32_t i = 0; i < std::min<std::uint32_t>(tete->entrees, kEntreesMax); ++i) {
    const std::uint64_t octet = tete->table * std::uint64_t{taille} + std::uint64_t{i} * pas;
    const Secteur secteur = lit_secteur(octet / kTailleSecteur);
    const auto *entree = vue<EntreeGpt>(secteur, octet % kTailleSecteur);
    if (entree == nullptr || entree->type != kGuidHfsPlus || entree->premier > 0xFFFFFFFFU) continue;
    const std::uint64_t debut = entree->premier * facteur;
    if (debut != 0 && porte_volume(debut)) return debut;
  }
  return 0;
}

bool monte_gpt_publiee() {
  for (const std::uint32_t taille : {kTailleSecteur, kGrandSecteur}) {
    const std::uint64_t debut = debut_entree_hfsplus(taille);
    if (debut == 0 || !monte_volume(debut, true)) continue;
    journalise(message(kAutreEntree, {debut}));
    return true;
  }
  return false;
}

// A volume at the start of an image whose map leads nowhere: a hybrid disc with the boot signature of an MBR,
// a case-sensitive volume without a map. Read-only, as every volume without a map.
bool monte_nu() {
  if (!monte_volume(0, true)) return false;
  support().lecture_seule.ajoute(Interdit::sans_carte);
  journalise(charger_chaine(kVolumeNu));
  return true;
}

// The first place of the list that has a volume. The usual one is the first of all.
std::uint64_t place_de_volume(const AnalysePartitions &analyse) {
  if (porte_volume(analyse.debut)) return analyse.debut;
  for (const InfoPartition &rang : std::span(analyse.liste.rangs).first(analyse.liste.nombre)) {
    if (porte_volume(rang.debut)) return rang.debut;
  }
  return analyse.debut;
}

// The place that the user chooses where the image has several volumes, else the first; nullopt for none.
std::optional<std::uint64_t> place_choisie(const AnalysePartitions &analyse,
                                           const OptionsOuverture &options) {
  ListePartitions volumes;
  for (const InfoPartition &rang : std::span(analyse.liste.rangs).first(analyse.liste.nombre)) {
    const auto connus = std::span(volumes.rangs).first(volumes.nombre);
    const bool connu = std::any_of(connus.begin(), connus.end(),
                                   [&](const InfoPartition &autre) { return autre.debut == rang.debut; });
    if (!connu && porte_volume(rang.debut)) *volumes.nouveau() = rang;
  }
  if (!options.choix_partition || volumes.nombre < 2)
    return options.descriptions_publiees ? place_de_volume(analyse) : analyse.debut;
  const auto rang = options.choix_partition(volumes);
  if (!rang || *rang >= volumes.nombre) return std::nullopt;
  return volumes.rangs[*rang].debut;
}

// The word behind the Finder information says what a wrapper holds. Older systems kept the size of a volume
// cache there (drVCSize, Inside Macintosh: Files, 2-62): with anything but 0 or "H+" in it the usual mount
// leaves the state of the volume before in force. The volume is an ordinary one.
void monte_ancien_hfs(VolumeCourant &volume, std::uint64_t debut, const Mdb &mdb) {
  volume.debut_volume = debut;
  volume.debut_allocation = debut + mdb.drAlBlSt;
  volume.taille_bloc = mdb.drAlBlkSiz;
  volume.secteurs_par_bloc = volume.taille_bloc / kTailleSecteur;
  journalise(message(kMotAncien, {std::uint16_t{mdb.drEmbedSigWord}}));
}

// Images of this program count the blocks alone as the partition of an HFS volume, not what stands in front
// of them and behind: what is missing is the volume's as long as nobody else has it. 0 for any other.
std::uint64_t fin_sans_voisin(const CarteImage &carte, std::uint64_t fin) {
  const VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus || volume.mdb == nullptr || fin == 0) return 0;
  const std::uint64_t voulue = secteur_de_bloc(volume.mdb->drNmAlBlks) + 2;
  if (voulue <= fin || voulue - fin > volume.mdb->drAlBlSt + std::uint64_t{2} || porte_iso()) return 0;
  const bool voisin = std::any_of(carte.lignes.begin(), carte.lignes.end(), [&](const LigneCarte &ligne) {
    return ligne.debut >= fin * kTailleSecteur && ligne.debut < voulue * kTailleSecteur;
  });
  return voisin ? 0 : voulue;
}

// Sector behind the partition that begins at `debut`, and behind the room that a wrapper has for its volume;
// 0 when the map does not tell.
std::uint64_t fin_de_place(std::uint64_t debut, const Mdb *enveloppe) {
  if (!support().image.ouvert()) return 0;
  const CarteImage carte = lit_carte(support().image);
  const std::uint64_t fin = fin_de_partition(carte, debut * kTailleSecteur) / kTailleSecteur;
  if (enveloppe == nullptr || enveloppe->drEmbedExtent.blockCount == 0)
    return std::max(fin, fin_sans_voisin(carte, fin));
  const std::uint64_t place =
      volume_courant().debut_allocation +
      std::uint64_t{enveloppe->drEmbedExtent.blockCount} * enveloppe->drAlBlkSiz / kTailleSecteur;
  return fin == 0 ? place : std::min(fin, place);
}

// The words for a bare volume, when there is a map that does not have it, are others.
void precise_sans_carte() {
  LectureSeule &seule = support().lecture_seule;
  if (seule.raison() == Interdit::sans_carte && support().image.ouvert() &&
      lit_carte(support().image).genre != GenreCarte::aucune)
    seule = Interdit::hors_carte;
}

void oublie_volume(VolumeCourant &volume) {
  volume.est_hfsplus = false;
  volume.mdb = nullptr;
  volume.vhb = nullptr;
  volume.debut_volume = 0;
  volume.taille_bloc = 0;
  volume.secteurs_par_bloc = 0;
}

int sans_volume() {
  operations().afficher_erreur(charger_chaine(kSansVolume));
  return 0;
}

}  // namespace

bool porte_volume(std::uint64_t debut) {
  const std::uint16_t signature = signature_a(debut);
  return signature == kSignatureHfs || est_plus(signature);
}

bool monte_volume(std::uint64_t debut, bool publiee) {
  // Without a header the mount would go on with the state of the volume before, and show or change this image
  // by the places of another.
  if (!porte_volume(debut)) return false;
  VolumeCourant &volume = volume_courant();
  const Secteur octets = lit_secteur(debut + kEntete);
  const Mdb &mdb = *vue<Mdb>(octets, 0);
  oublie_volume(volume);
  volume.debut_allocation = debut;
  lecture_entete_volume();
  const bool hfs = mdb.drSigWord == kSignatureHfs;
  const bool enveloppe = hfs && mdb.drEmbedSigWord == kSignatureHfsPlus;
  if (enveloppe && publiee) corrige_enveloppe(debut, mdb);
  if (hfs && !enveloppe && mdb.drEmbedSigWord != 0 && publiee) monte_ancien_hfs(volume, debut, mdb);
  volume.fin_partition = fin_de_place(debut, enveloppe ? &mdb : nullptr);
  static_cast<void>(ouverture_arbres());
  const bool sans_entete = volume.est_hfsplus && !est_plus(volume.vhb->signature);
  if (volume.catalogue.taille_noeud == 0 || volume.taille_bloc == 0 || sans_entete ||
      (mdb.drSigWord == kSignatureHfs && !enveloppe && mdb.drCTExtRec[0].blockCount == 0)) {
    support().lecture_seule.ajoute(Interdit::sans_catalogue);
    journalise(charger_chaine(kSansCatalogue));
  }
  juge_entete();
  partition_courante().nom_volume = nom_volume();
  return true;
}

int analyse_volume(const OptionsOuverture &options) {
  AnalysePartitions analyse;
  support().lecture_seule.oublie_volume();
  const int nombre = analyse_partitions(analyse, charger_chaine(kSansTitre));
  const bool publiee = options.descriptions_publiees;
  if (nombre < 0) {
    if (!publiee || !monte_nu()) return sans_volume();
    precise_sans_carte();
    return 1;
  }
  precise_sans_carte();
  partition_courante().nb_partitions = nombre;
  operations().afficher_etat(charger_chaine(kAnalyse), charger_chaine(kAttente));
  const auto place = place_choisie(analyse, options);
  if (!place) return -1;
  return monte_volume(*place, publiee) ? 1 : sans_volume();
}

int analyse_gpt(const OptionsOuverture &options) {
  support().lecture_seule.oublie_volume();
  const Secteur mbr = lit_secteur(0);
  if (mbr[510] != 0x55 || mbr[511] != 0xAA || mbr[kEntreeMbr + 4] != kMbrProtecteur) return 0;
  const std::uint64_t debut = debut_premiere_entree(*vue<le32>(mbr, kEntreeMbr + 8));
  if (monte_volume(debut, options.descriptions_publiees)) return 1;
  return options.descriptions_publiees && monte_gpt_publiee() ? 1 : 0;
}

}  // namespace varnion
