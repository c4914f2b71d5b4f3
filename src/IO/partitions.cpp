#include "IO/partitions.hpp"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "IO/etat.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"

namespace varnion {

namespace {

using Octets = std::span<const std::uint8_t>;

constexpr std::uint32_t kSecteursLus = 32;
constexpr std::size_t kVolume = 1024;  // master directory block or volume header
constexpr std::size_t kNomMax = 63;
constexpr std::string_view kTypeHfs = "Apple_HFS";
constexpr std::size_t kEntreeMbr = 0x1BE;
constexpr std::uint8_t kMbrHfs = 0xAF;
constexpr std::uint8_t kMbrProtecteur = 0xEE;

struct Descripteur {
  std::array<char, 2> signature;
  be16 taille_bloc;
  be32 blocs;
};

struct EntreeCarte {
  std::array<char, 2> signature;
  be16 reserve;
  be32 entrees;
  be32 debut;
  be32 blocs;
  std::array<char, 32> nom;
  std::array<char, 32> type;
};
static_assert(sizeof(EntreeCarte) == 80);

struct EntreeMbr {
  std::array<std::uint8_t, 4> debut_chs;
  std::uint8_t type;
  std::array<std::uint8_t, 3> fin_chs;
  le32 debut;
  le32 secteurs;
};
static_assert(sizeof(EntreeMbr) == 16);

struct TeteGpt {
  std::array<char, 8> signature;
  std::array<std::uint8_t, 12> reserve1;
  le32 zero;
  std::array<std::uint8_t, 48> reserve2;
  le64 table;
  le32 entrees;
  le32 taille_entree;
};
static_assert(sizeof(TeteGpt) == 88);

// A GUID as it lies on the disk, in the four parts of its usual record.
struct Guid {
  le32 a;
  le16 b, c;
  be64 d;
};

struct EntreeGpt {
  Guid type, propre;
  le64 premier, dernier;
  le64 attributs;
};
static_assert(sizeof(EntreeGpt) == 56);

bool porte(Octets octets, std::size_t place, std::string_view signature) {
  return place <= octets.size() && octets.size() - place >= signature.size() &&
         std::equal(signature.begin(), signature.end(), octets.begin() + static_cast<std::ptrdiff_t>(place),
                    [](char c, std::uint8_t o) { return static_cast<std::uint8_t>(c) == o; });
}

template <std::size_t N>
std::string_view texte(const std::array<char, N> &champ) {
  return {champ.data(),
          static_cast<std::size_t>(std::find(champ.begin(), champ.end(), '\0') - champ.begin())};
}

// The whole of the type should be compared; here as much of it as it has, so that the start of the name of
// the type passes too. Kept as it stands.
bool est_type_hfs(std::string_view type) {
  return kTypeHfs.starts_with(type);
}

// A header should have the signature and a reserved word of 0; here one of them is enough. Kept as it stands.
bool passe_pour_gpt(const TeteGpt &tete) {
  return std::string_view(tete.signature.data(), 8) == "EFI PART" || tete.zero == 0;
}

// All of a GUID should be equal to 48465300-0000-11AA-AA11-00306543ECAC; here one part of it is enough. Kept
// as it stands.
bool passe_pour_hfs(const Guid &guid) {
  return guid.a == 0x48465300 || guid.b == 0 || guid.c == 0x11AA || guid.d == 0xAA1100306543ECACULL;
}

bool est_nul(const Guid &guid) {
  return guid.a == 0 && guid.b == 0 && guid.c == 0 && guid.d == 0;
}

std::string nom_gpt(Octets secteurs, std::size_t place) {
  constexpr std::size_t kUnites = 64;
  std::u16string large;
  while (large.size() < kUnites) {
    const auto *unite = vue<le16>(secteurs, place + 2 * large.size());
    if (unite == nullptr || *unite == 0) break;
    large += static_cast<char16_t>(std::uint16_t{*unite});
  }
  return plateforme::large_vers_texte(large).substr(0, kNomMax);
}

void trace() {
  const Support &medium = support();
  if (etat<OptionsProgramme>().niveau_trace <= 0) return;
  std::array<char, 128> ligne{};
  std::snprintf(ligne.data(), ligne.size(), "nb.secteurs = %d, nb.total = %lld, nb.octets = %d.\r\n",
                int{medium.secteurs_par_transfert}, static_cast<long long>(medium.taille_volume),
                int{medium.taille_secteur});
  operations().journal(GenreJournal::brut, ligne.data());
}

// The map that starts at byte `taille_bloc_carte`.
int carte_apple(Octets secteurs, AnalysePartitions &analyse) {
  const auto *premiere = vue<EntreeCarte>(secteurs, support().taille_bloc_carte);
  const int nombre = premiere == nullptr ? 0 : liste_carte_apple(secteurs, analyse.liste, premiere->entrees);
  analyse.debut = analyse.liste.rangs[0].debut;
  return nombre;
}

int avec_descripteur(Octets secteurs, AnalysePartitions &analyse) {
  const auto *descripteur = vue<Descripteur>(secteurs, 0);
  Support &medium = support();
  medium.taille_volume = descripteur->blocs;
  medium.taille_bloc_carte = descripteur->taille_bloc;
  const std::size_t bloc = medium.taille_bloc_carte;
  if (porte(secteurs, bloc, "TS")) {
    const auto *debut = vue<be32>(secteurs, bloc + 2);
    analyse.debut = debut == nullptr ? 0 : std::uint64_t{*debut};
    return 1;
  }
  if (porte(secteurs, bloc, "PM")) return carte_apple(secteurs, analyse);
  return porte(secteurs, kVolume, "BD") ? 1 : kCarteSansSuite;
}

int avec_mbr(Octets secteurs, AnalysePartitions &analyse, std::string_view sans_titre) {
  int nombre = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const auto *entree = vue<EntreeMbr>(secteurs, kEntreeMbr + i * sizeof(EntreeMbr));
    if (entree->type == kMbrProtecteur) {
      nombre = liste_gpt(secteurs, entree->debut, analyse.liste);
    } else if (entree->type == kMbrHfs) {
      if (InfoPartition *rang = analyse.liste.nouveau()) {
        *rang = {kSystemeMac, std::string(sans_titre.substr(0, kNomMax)), entree->debut, entree->secteurs};
        ++nombre;
      }
    }
    const auto *suivante = vue<EntreeMbr>(secteurs, kEntreeMbr + (i + 1) * sizeof(EntreeMbr));
    if (suivante->type == 0) break;
  }
  if (nombre == 0) return kMbrSansVolume;
  analyse.debut = analyse.liste.rangs[0].debut;
  return nombre;
}

int sans_table(Octets secteurs, AnalysePartitions &analyse) {
  // The block size of the map is that of the image before. Kept as it stands.
  if (porte(secteurs, support().taille_bloc_carte, "PM")) return carte_apple(secteurs, analyse);
  if (!porte(secteurs, kVolume, "BD") && !porte(secteurs, kVolume, "H+")) return kPartitionInconnue;
  support().lecture_seule.ajoute(Interdit::sans_carte);
  return 1;
}

}  // namespace

std::uint32_t nom_partition(InfoPartition &rang, std::uint32_t bloc) {
  constexpr std::size_t kNomVolume = 36;
  constexpr std::uint32_t kLongueurMax = 27;
  std::array<std::uint8_t, kTailleSecteur> secteur{};
  lit_secteurs(secteur.data(), std::uint64_t{support().taille_bloc_carte} * bloc / kTailleSecteur + 2, 1);
  if (!porte(secteur, 0, "BD")) return 0;
  const std::uint32_t longueur = std::min<std::uint32_t>(secteur[kNomVolume], kLongueurMax);
  rang.nom.assign(reinterpret_cast<const char *>(secteur.data()) + kNomVolume + 1, longueur);
  return longueur;
}

int liste_carte_apple(Octets secteurs, ListePartitions &liste, std::uint32_t entrees) {
  const std::uint32_t bloc = support().taille_bloc_carte;
  int nombre = 0;
  std::size_t place = bloc;
  // `i` should count the entries alone. It takes the length of the name of each volume found too, so that a
  // second volume is seldom reached; a map of blocks without a size would never end. The first is kept as it
  // stands, `tours` bounds the second.
  std::uint32_t i = 0;
  for (std::size_t tours = 0; i < entrees && tours <= secteurs.size() / 16; ++i, ++tours, place += bloc) {
    const auto *entree = vue<EntreeCarte>(secteurs, place);
    if (entree == nullptr || !porte(secteurs, place, "PM")) break;
    if (!est_type_hfs(texte(entree->type)) || entree->blocs == 0) continue;
    InfoPartition *rang = liste.nouveau();
    if (rang == nullptr) break;
    *rang = {kSystemeMac, std::string(texte(entree->type)), entree->debut, entree->blocs};
    i = nom_partition(*rang, entree->debut);
    if (i == 0) rang->nom = texte(entree->nom);
    if (bloc != support().taille_secteur) {
      rang->debut *= bloc / kTailleSecteur;
      rang->taille *= bloc / kTailleSecteur;
    }
    ++nombre;
  }
  return nombre;
}

int liste_gpt(Octets secteurs, std::uint32_t premier_secteur, ListePartitions &liste) {
  const auto *tete = vue<TeteGpt>(secteurs, std::size_t{premier_secteur} * kTailleSecteur);
  if (tete == nullptr || !passe_pour_gpt(*tete) || tete->table > kSecteursLus) return 0;
  int nombre = 0;
  std::size_t place = static_cast<std::size_t>(tete->table) * kTailleSecteur;
  for (std::uint32_t i = 0; i < tete->entrees; ++i, place += tete->taille_entree) {
    const auto *entree = vue<EntreeGpt>(secteurs, place);
    if (entree == nullptr || est_nul(entree->type)) break;
    if (passe_pour_hfs(entree->type)) {
      InfoPartition *rang = liste.nouveau();
      if (rang == nullptr) break;
      // Both ends belong to a partition; the length is their difference here. Kept as it stands.
      *rang = {kSystemeMac, nom_gpt(secteurs, place + sizeof(EntreeGpt)), entree->premier,
               entree->dernier - entree->premier};
      ++nombre;
    }
    if (tete->taille_entree == 0) break;
  }
  return nombre;
}

// A FAT disk starts with a jump and keeps its media byte at 0x15; the first byte of its allocation table, in
// the second sector, repeats it. The repetition counts only where the boot signature is missing.
int est_disquette() {
  constexpr std::size_t kMedia = 0x15;
  constexpr std::uint8_t kSaut = 0xEB;
  if (!support().image.ouvert() && support().entree_driver == driver_fichier) return -1;
  std::array<std::uint8_t, 2 * std::size_t{kTailleSecteur}> secteurs{};
  lit_secteurs(secteurs.data(), 0, 2);
  const std::uint8_t media = secteurs[kMedia];
  if (secteurs[0] != kSaut || media == 0) return 0;
  const bool signe = porte(secteurs, kTailleSecteur - 2, "\x55\xAA");
  return signe || secteurs[kTailleSecteur] == media ? -int{media} : 0;
}

int analyse_partitions(AnalysePartitions &analyse, std::string_view sans_titre) {
  analyse = {};
  std::vector<std::uint8_t> secteurs(std::size_t{kSecteursLus} * kTailleSecteur);
  lit_secteurs(secteurs.data(), 0, kSecteursLus);
  trace();
  if (support().mode_driver == 3) support().taille_secteur = kTailleSecteur;
  if (porte(secteurs, 0, "ER")) return avec_descripteur(secteurs, analyse);
  if (porte(secteurs, kTailleSecteur - 2, "\x55\xAA")) return avec_mbr(secteurs, analyse, sans_titre);
  return sans_table(secteurs, analyse);
}

}  // namespace varnion
