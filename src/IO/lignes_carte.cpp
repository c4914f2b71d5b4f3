#include "IO/lignes_carte.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

#include "IO/octets.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::uint16_t kMarquePM = 0x504D;
constexpr std::uint16_t kMarqueER = 0x4552;
constexpr std::uint16_t kMarqueAmorce = 0xAA55;
constexpr std::uint8_t kTypeProtecteur = 0xEE;
constexpr std::size_t kSecteur = 512;

/// Partition map entry (Inside Macintosh: Devices, 3-26), as far as it is shown.
struct EntreeApple {
  be16 pmSig;                               // 00
  be16 pmSigPad;                            // 02
  be32 pmMapBlkCnt;                         // 04: entries
  be32 pmPyPartStart;                       // 08: blocks
  be32 pmPartBlkCnt;                        // 0C
  std::array<std::uint8_t, 32> pmPartName;  // 10
  std::array<std::uint8_t, 32> pmParType;   // 30
};
static_assert(sizeof(EntreeApple) == 0x50);

struct EntreeMbr {
  std::array<std::uint8_t, 4> avant;  // 0
  std::uint8_t type;                  // 4
  std::array<std::uint8_t, 3> apres;  // 5
  le32 debut;                         // 8: sectors
  le32 taille;                        // C
};
static_assert(sizeof(EntreeMbr) == 16);

struct EnteteGpt {
  std::array<std::uint8_t, 8> marque;   // 00: "EFI PART"
  std::array<std::uint8_t, 64> autres;  // 08
  le64 entrees;                         // 48: sector
  le32 nombre;                          // 50
  le32 taille;                          // 54: bytes of an entry
};
static_assert(sizeof(EnteteGpt) == 0x58);

struct EntreeGpt {
  std::array<std::uint8_t, 16> type;  // 00
  std::array<std::uint8_t, 16> id;    // 10
  le64 premier;                       // 20
  le64 dernier;                       // 28
  le64 attributs;                     // 30
  std::array<le16, 36> nom;           // 38
};
static_assert(sizeof(EntreeGpt) == 128);

template <typename T>
bool lit(const Fichier &image, std::uint64_t position, T &fiche) {
  std::array<std::uint8_t, sizeof(T)> octets{};
  if (image.lire_a(octets, position) != static_cast<std::int64_t>(sizeof(T))) return false;
  fiche = *vue<T>(octets, 0);
  return true;
}

template <std::size_t N>
std::string champ(const std::array<std::uint8_t, N> &octets) {
  return {octets.begin(), std::find(octets.begin(), octets.end(), 0)};
}

std::string texte_guid(const std::array<std::uint8_t, 16> &g) {
  std::array<char, 40> texte{};
  std::snprintf(texte.data(), texte.size(),
                "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X", g[3], g[2], g[1],
                g[0], g[5], g[4], g[7], g[6], g[8], g[9], g[10], g[11], g[12], g[13], g[14], g[15]);
  return texte.data();
}

// The entries follow each other by blocks of the size that the map counts by: that of the driver descriptor,
// or the distance at which the second entry is found.
bool lit_apple(const Fichier &image, CarteImage &carte) {
  EntreeApple entree;
  std::uint32_t bloc = 0;
  for (const std::uint32_t essai : {512U, 2048U, 1024U, 4096U})
    if (bloc == 0 && lit(image, essai, entree) && entree.pmSig == kMarquePM) bloc = essai;
  if (bloc == 0) return false;
  struct {
    be16 marque;
    be16 taille;
  } descripteur;
  const bool annonce =
      lit(image, 0, descripteur) && descripteur.marque == kMarqueER && descripteur.taille != 0;
  carte.genre = GenreCarte::apple;
  // A disc may carry two maps: one by 512 bytes ahead of that by the block size of the medium.
  carte.taille_bloc = bloc == 512 || !annonce ? bloc : std::uint32_t{descripteur.taille};
  const std::size_t nombre = std::min<std::size_t>(std::uint32_t{entree.pmMapBlkCnt}, kLignesCarteMax);
  for (std::size_t rang = 1; rang <= nombre; ++rang) {
    if (!lit(image, rang * std::uint64_t{bloc}, entree) || entree.pmSig != kMarquePM) break;
    carte.lignes.push_back({champ(entree.pmParType), champ(entree.pmPartName),
                            std::uint64_t{std::uint32_t{entree.pmPyPartStart}} * carte.taille_bloc,
                            std::uint64_t{std::uint32_t{entree.pmPartBlkCnt}} * carte.taille_bloc});
  }
  return true;
}

bool lit_gpt(const Fichier &image, CarteImage &carte) {
  EnteteGpt entete;
  std::uint32_t bloc = 0;
  for (const std::uint32_t essai : {512U, 4096U})
    if (bloc == 0 && lit(image, essai, entete) && champ(entete.marque) == "EFI PART") bloc = essai;
  if (bloc == 0) return false;
  carte.genre = GenreCarte::gpt;
  carte.taille_bloc = bloc;
  const std::uint32_t pas = entete.taille;
  if (pas < sizeof(EntreeGpt) || pas > kSecteur * 8) return true;
  const std::uint64_t debut = std::uint64_t{entete.entrees} * bloc;
  const std::size_t nombre = std::min<std::size_t>(std::uint32_t{entete.nombre}, kLignesCarteMax);
  for (std::size_t rang = 0; rang < nombre; ++rang) {
    EntreeGpt entree;
    if (!lit(image, debut + rang * pas, entree)) break;
    if (std::all_of(entree.type.begin(), entree.type.end(), [](std::uint8_t o) { return o == 0; })) continue;
    std::u16string nom;
    for (const le16 unite : entree.nom)
      if (unite != 0) nom += static_cast<char16_t>(std::uint16_t{unite});
    const std::uint64_t premier = entree.premier, dernier = entree.dernier;
    const std::uint64_t secteurs = dernier < premier ? 0 : dernier - premier + 1;
    carte.lignes.push_back(
        {texte_guid(entree.type), plateforme::large_vers_utf8(nom), premier * bloc, secteurs * bloc});
  }
  return true;
}

bool lit_mbr(const Fichier &image, CarteImage &carte) {
  struct {
    std::array<std::uint8_t, 446> programme;
    std::array<EntreeMbr, 4> entrees;
    le16 marque;
  } secteur;
  if (!lit(image, 0, secteur) || secteur.marque != kMarqueAmorce) return false;
  carte.genre = GenreCarte::mbr;
  for (const EntreeMbr &entree : secteur.entrees) {
    if (entree.type == 0) continue;
    if (entree.type == kTypeProtecteur && lit_gpt(image, carte)) return true;
    std::array<char, 8> type{};
    std::snprintf(type.data(), type.size(), "0x%02X", static_cast<unsigned>(entree.type));
    carte.lignes.push_back({type.data(), "", std::uint64_t{std::uint32_t{entree.debut}} * kSecteur,
                            std::uint64_t{std::uint32_t{entree.taille}} * kSecteur});
  }
  if (carte.lignes.empty()) carte.genre = GenreCarte::aucune;
  return !carte.lignes.empty();
}

}  // namespace

CarteImage lit_carte(const Fichier &image) {
  CarteImage carte;
  if (!lit_apple(image, carte)) static_cast<void>(lit_mbr(image, carte));
  return carte;
}

std::uint64_t fin_de_partition(const CarteImage &carte, std::uint64_t debut) {
  std::uint64_t fin = 0;
  for (const LigneCarte &ligne : carte.lignes) {
    if (ligne.debut != debut || ligne.taille == 0) continue;
    if (fin == 0 || ligne.taille < fin - debut) fin = debut + ligne.taille;
  }
  return fin;
}

}  // namespace varnion
