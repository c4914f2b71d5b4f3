#include "IO/partitions.hpp"

#include "IO/bac.hpp"
#include "IO/partitions_choix.hpp"
#include "IO/requete.hpp"
#include "outils/decomprime.hpp"
#include "outils/fabrique_dmg.hpp"

namespace varnion {
namespace {

using essai::decomprime;
using essai::FabriqueDmg;
using essai::fichier_de;

class Partitions : public ::testing::Test {
 protected:
  void SetUp() override { EtatProgramme::courant().reinitialise(); }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }

  int analyse(const std::string &image) {
    support().image = fichier_de(image);
    support().lecture_seule = false;
    return analyse_partitions(resultat, "Untitled");
  }
  [[nodiscard]] const InfoPartition &rang(std::size_t i) const { return resultat.liste.rangs[i]; }

  AnalysePartitions resultat;
};

void pose(std::string &image, std::size_t place, std::string_view octets) {
  image.replace(place, octets.size(), octets);
}
std::string be(std::uint64_t valeur, int octets) {
  return FabriqueDmg::be(valeur, octets);
}
std::string le(std::uint64_t valeur, int octets) {
  const std::string gros = be(valeur, octets);
  return {gros.rbegin(), gros.rend()};
}
std::string vide() {
  return std::string(64 * 512, '\0');
}
std::string entree_carte(std::uint32_t entrees, std::uint32_t debut, std::uint32_t blocs,
                         const std::string &nom, const std::string &type) {
  std::string octets = std::string("PM\0\0", 4) + be(entrees, 4) + be(debut, 4) + be(blocs, 4) + nom;
  octets.resize(48, '\0');
  octets += type;
  octets.resize(80, '\0');
  return octets;
}
std::string descripteur(std::uint32_t bloc) {
  return "ER" + be(bloc, 2) + be(1000, 4);
}
std::string entree_mbr(unsigned type, std::uint32_t debut, std::uint32_t secteurs) {
  return le(0, 4) + le(type, 1) + le(0, 3) + le(debut, 4) + le(secteurs, 4);
}
std::string mdb(const std::string &nom) {
  std::string octets = "BD";
  octets.resize(36, '\0');
  return octets + static_cast<char>(nom.size()) + nom;
}

TEST_F(Partitions, Echantillons) {
  struct Cas {
    const char *nom;
    int nombre;
    std::uint64_t debut;
    bool lecture_seule;
    const char *titre;
  };
  for (const Cas &cas : {Cas{"made_apm_hfs.img.gz", 1, 32768, false, nullptr},
                         Cas{"apm-prodos-hfs.iso.gz", 1, 821248, false, nullptr},
                         Cas{"hybrid_hfsplus_apm2048.iso.gz", 1, 65536, false, "HFSPLUS_Hybrid"},
                         Cas{"hybrid_hfs_nopart.iso.gz", kMbrSansVolume, 0, false, ""},
                         Cas{"hfsplus_gpt.raw.gz", 1, 20480, false, nullptr}}) {
    EXPECT_EQ(analyse(decomprime(std::string("apm/") + cas.nom)), cas.nombre) << cas.nom;
    EXPECT_EQ(resultat.debut * 512, cas.debut) << cas.nom;
    EXPECT_EQ(support().lecture_seule, cas.lecture_seule) << cas.nom;
    if (cas.titre != nullptr) {
      EXPECT_EQ(rang(0).nom, cas.titre) << cas.nom;
    }
  }
}

TEST_F(Partitions, CarteApple) {
  std::string image = vide();
  pose(image, 0, descripteur(512));
  EXPECT_EQ(analyse(image), kCarteSansSuite);
  EXPECT_EQ(support().taille_volume, 1000U);
  pose(image, 1024, "BD");
  EXPECT_EQ(analyse(image), 1);
  EXPECT_FALSE(support().lecture_seule) << "a descriptor makes it writable";

  image = vide();
  pose(image, 0, descripteur(512));
  pose(image, 512, "TS" + be(77, 4));
  EXPECT_EQ(analyse(image), 1);
  EXPECT_EQ(resultat.debut, 77U);

  // Four entries: the map, one without blocks, a volume, and one that its name keeps from being seen.
  pose(image, 512, entree_carte(4, 1, 63, "Apple", "Apple_partition_map"));
  pose(image, 1024, entree_carte(4, 9, 0, "nothing", "Apple_HFS"));
  pose(image, 1536, entree_carte(4, 40, 8, "first", "Apple_HFS"));
  pose(image, 2048, entree_carte(4, 50, 9, "second", "Apple"));
  pose(image, 42 * 512, mdb("Volume"));
  EXPECT_EQ(analyse(image), 1);
  EXPECT_EQ(rang(0).nom, "Volume");
  EXPECT_EQ(rang(0).taille, 8U);
  EXPECT_EQ(resultat.debut, 40U);
  pose(image, 42 * 512, "xx");
  EXPECT_EQ(analyse(image), 2) << "without a volume name the count goes on, and the start of a type will do";
  EXPECT_EQ(rang(0).nom, "first");
  EXPECT_EQ(rang(1).debut, 50U);
  pose(image, 1536 + 48, "Apple_HFSX");
  pose(image, 2048, std::string(80, '\0'));
  EXPECT_EQ(analyse(image), 0) << "a map without a volume is no failure";
  EXPECT_EQ(resultat.debut, 0U);

  // A map without its descriptor is looked for where the image before had its blocks.
  pose(image, 0, "  ");
  pose(image, 512, entree_carte(1, 40, 8, "only", "Apple_HFS"));
  EXPECT_EQ(analyse(image), 1);
  support().taille_bloc_carte = 0;
  EXPECT_EQ(analyse(image), kPartitionInconnue);
  pose(image, 0, entree_carte(0xFFFFFFFF, 0, 8, "endless", "Apple_HFS"));
  EXPECT_EQ(analyse(image), static_cast<int>(kPartitionsMax)) << "bounded by the rows";
  pose(image, 0, entree_carte(0xFFFFFFFF, 0, 8, "endless", "Other"));
  EXPECT_EQ(analyse(image), 0);
}

TEST_F(Partitions, MbrEtGpt) {
  std::string image = vide();
  pose(image, 510, "\x55\xAA");
  EXPECT_EQ(analyse(image), kMbrSansVolume);
  pose(image, 0x1BE,
       entree_mbr(0x0C, 1, 1) + entree_mbr(0xAF, 20, 30) + entree_mbr(0, 0, 0) + entree_mbr(0xAF, 21, 31));
  EXPECT_EQ(analyse(image), 1) << "an empty entry ends the table";
  EXPECT_EQ(rang(0).nom, "Untitled");
  EXPECT_EQ(resultat.debut, 20U);
  EXPECT_EQ(rang(0).taille, 30U);

  pose(image, 0x1BE, entree_mbr(0xAF, 20, 30) + entree_mbr(0xEE, 1, 63) + entree_mbr(0, 0, 0));
  EXPECT_EQ(analyse(image), kMbrSansVolume) << "the count of the GPT replaces the other";
  EXPECT_EQ(rang(0).debut, 20U) << "but the row stays";

  using namespace std::literals;
  pose(image, 0x1BE, entree_mbr(0xEE, 1, 63) + entree_mbr(0, 0, 0));
  const auto gpt = [&](std::uint32_t entrees, std::uint32_t taille) {
    pose(image, 512, "EFI PART");
    pose(image, 512 + 72, le(2, 8) + le(entrees, 4) + le(taille, 4));
  };
  const std::string hfs = "\x00\x53\x46\x48\x00\x00\xAA\x11\xAA\x11\x00\x30\x65\x43\xEC\xAC"s;
  const std::string autre = "\x28\x73\x2A\xC1\x1F\xF8\xD2\x11\xBA\x4B\x00\xA0\xC9\x3E\xC9\x3B"s;
  pose(image, 1024, autre + hfs + le(3, 8) + le(4, 8));
  pose(image, 1024 + 128, hfs + autre + le(40, 8) + le(59, 8) + le(0, 8) + "D\0i\0s\0c\0"s);
  gpt(4, 128);
  EXPECT_EQ(analyse(image), 1);
  EXPECT_EQ(rang(0).nom, "Disc");
  EXPECT_EQ(rang(0).debut, 40U);
  EXPECT_EQ(rang(0).taille, 19U) << "last less first, without the one more";
  pose(image, 1024, autre.substr(0, 6) + hfs.substr(6, 2));
  EXPECT_EQ(analyse(image), 2) << "one part of the type is enough";
  for (const std::uint32_t taille : {0U, 1U, 0xFFFFFFFFU}) {
    gpt(0xFFFFFFFF, taille);
    EXPECT_LE(analyse(image), static_cast<int>(kPartitionsMax)) << taille;
  }
}

TEST_F(Partitions, VolumesNus) {
  for (const std::string_view signature : {"BD", "H+"}) {
    std::string image = vide();
    EXPECT_EQ(analyse(image), kPartitionInconnue);
    pose(image, 1024, signature);
    EXPECT_EQ(analyse(image), 1);
    EXPECT_EQ(resultat.debut, 0U);
    EXPECT_TRUE(support().lecture_seule);
  }
}

TEST_F(Partitions, ImagesCourtes) {
  for (const std::size_t longueur : {0U, 1U, 511U, 513U, 1025U}) {
    std::string image = vide();
    pose(image, 0, descripteur(512));
    pose(image, 512, entree_carte(2, 40, 8, "far", "Apple_HFS"));
    const int nombre = analyse(image.substr(0, longueur));
    EXPECT_EQ(nombre, longueur == 1025U ? 1 : (longueur >= 511U ? kCarteSansSuite : kPartitionInconnue))
        << longueur;
    support().taille_bloc_carte = 0;
  }
}

TEST_F(Partitions, Disquettes) {
  const auto examine = [](const std::string &image) {
    support().image = fichier_de(image);
    return est_disquette();
  };
  EXPECT_EQ(est_disquette(), -1) << "no image is open";
  std::string image = vide();
  image[0] = '\xEB';
  image[0x15] = '\xF9';
  EXPECT_EQ(examine(image), 0);
  image[512] = '\xF9';
  EXPECT_EQ(examine(image), -0xF9) << "the allocation table repeats the media byte";
  image[512] = '\xF0';
  EXPECT_EQ(examine(image), 0);
  pose(image, 510, "\x55\xAA");
  EXPECT_EQ(examine(image), -0xF9) << "a boot signature is enough";
  image[0x15] = '\0';
  EXPECT_EQ(examine(image), 0);
  image[0x15] = '\xF9';
  image[0] = '\xE9';
  EXPECT_EQ(examine(image), 0);
}

TEST_F(Partitions, Choix) {
  ListePartitions liste;
  std::uint64_t debut = 7;
  EXPECT_EQ(ChoixPartition(liste).accepte(debut), -2);
  EXPECT_EQ(debut, 0U);
  for (const std::uint64_t depart : {40U, 50U, 60U}) *liste.nouveau() = {kSystemeMac, "v", depart, 5000};
  ChoixPartition choix(liste);
  choix.haut();
  EXPECT_EQ(choix.accepte(debut), 2);
  EXPECT_EQ(debut, 60U);
  choix.bas();
  choix.bas();
  EXPECT_EQ(choix.accepte(debut), 1);
  EXPECT_EQ(choix.annule(debut), -2);
  EXPECT_EQ(debut, 0U);
  EXPECT_EQ(choix.ferme(), 0);
  EXPECT_EQ(support().unite_courante, 0xFF);
  EXPECT_EQ(mega_partition(liste.rangs[0]), 2U);
  EXPECT_EQ(systeme_partition({1, "", 0, 0}), "Windows");
}

}  // namespace
}  // namespace varnion
