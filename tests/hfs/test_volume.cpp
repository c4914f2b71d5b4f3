#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "hfs/extents.hpp"
#include "hfs/pilote_memoire.hpp"
#include "IO/fichier.hpp"
#include "IO/plateforme.hpp"
#include "volume_essai.hpp"

namespace varnion::essai {
namespace {

std::vector<std::uint8_t> echantillon() {
  std::ifstream flux(VN_DONNEES "/hfs/hformat_800k.hfs", std::ios::binary);
  return {std::istreambuf_iterator<char>(flux), {}};
}

class Montage : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    medium().branche();
  }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }

  static void pose(const std::vector<std::uint8_t> &octets, std::uint64_t secteur) {
    medium().ecrit(secteur, static_cast<std::uint32_t>(octets.size() / kTailleSecteur), octets.data());
  }
  static void monte(std::uint64_t secteur) {
    volume_courant().debut_allocation = secteur;
    lecture_entete_volume();
    ASSERT_EQ(ouverture_arbres(), 1);
  }
  static EnteteVolumePlus entete_plus() {
    EnteteVolumePlus entete{};
    entete.signature = kSignatureHfsPlus;
    entete.blockSize = 2048;
    entete.totalBlocks = 1000;
    entete.allocationFile.totalBlocks = 3;
    return entete;
  }
};

TEST_F(Montage, ReadsAVolumeOfAnotherProgram) {
  pose(echantillon(), 100);
  monte(100);
  const VolumeCourant &volume = volume_courant();
  EXPECT_FALSE(volume.est_hfsplus);
  EXPECT_EQ(volume.vhb, nullptr);
  EXPECT_EQ(volume.debut_volume, 100U);
  EXPECT_EQ(volume.debut_allocation, 104U);
  EXPECT_EQ(volume.taille_bloc, 512U);
  EXPECT_EQ(volume.secteurs_carte, 1U);
  EXPECT_EQ(volume.octets_carte, 512U);
  EXPECT_EQ(support().taille_volume, (1594U << 16) + 101) << "the displayed size, count in the upper half";
  EXPECT_EQ(nom_volume(),
            "\xC9"
            "chantillon");
  EXPECT_EQ(volume.catalogue.fiche().treeDepth, 3U);
  EXPECT_EQ(volume.mdb->drFilCnt, 25U);

  EXPECT_EQ(cherche_dossier_hfs("dossier 7", kIdRacine), 22U);
  EXPECT_EQ(parent_de(22), kIdRacine);
  ASSERT_FALSE(cherche_exacte_hfs("Fichier 3", kRubriqueFichier, 22).empty());
  const auto *fichier = fiche_comme<FichierHfs>(donnees_hfs(enregistrement_courant()));
  ASSERT_NE(fichier, nullptr);
  EXPECT_EQ(fichier->filUsrWds.fdType, (std::array<std::uint8_t, 4>{'T', 'E', 'X', 'T'}));
  EXPECT_EQ(fichier->filLgLen, 10U);
  const std::uint64_t secteur = position_fourche_hfs(0, fichier->filExtRec, fichier->filFlNum);
  const auto contenu = medium().octets(secteur, 1);
  EXPECT_EQ(std::string(contenu.begin(), contenu.begin() + 10), "contenu 3\n");
}

TEST_F(Montage, WritesIntoAVolumeOfAnotherProgram) {
  pose(echantillon(), 0);
  monte(0);
  FicheEnteteArbre &entete = volume_courant().catalogue.fiche();
  const auto lit = [](std::uint32_t noeud) {
    return medium().octets(position_noeud(volume_courant().catalogue, noeud), 1);
  };
  ASSERT_EQ(Verificateur(lit, 512, false).verifie(), "") << "as it came";
  for (std::uint32_t id = 100; id < 120; ++id) {
    entete.leafRecords = entete.leafRecords + 1;
    ASSERT_TRUE(
        insere_hfs(cle_hfs(kIdRacine, "Ajout " + std::to_string(id)), FormatHfs::dossier(id), kIdRacine));
  }
  const std::uint32_t avant = volume_courant().mdb->drLsMod;
  ASSERT_TRUE(ecriture_structures());
  EXPECT_NE(volume_courant().mdb->drLsMod, avant);
  EXPECT_EQ(Verificateur(lit, 512, false).verifie(), "");
  const auto origine = echantillon();
  EXPECT_EQ(medium().octets(2, 1), std::vector<std::uint8_t>(origine.begin() + 1024, origine.begin() + 1536))
      << "without the bitmap the master directory block stays as it was";
  ecriture_mdb_secours();
  EXPECT_EQ(medium().octets(4 + 1594, 1)[0], 'B');
}

TEST_F(Montage, ReadsHeadersBySignature) {
  const struct {
    std::uint16_t signature;
    bool monte;
  } cas[] = {{kSignatureHfsPlus, true}, {kSignatureHfsX, true}, {0x482A, false}, {0, false}};
  for (const auto &c : cas) {
    SetUp();
    EnteteVolumePlus entete = entete_plus();
    entete.signature = c.signature;
    entete.allocationFile.totalBlocks = 0x10003;
    medium().pose(42, entete);
    monte(40);
    const VolumeCourant &volume = volume_courant();
    EXPECT_EQ(volume.est_hfsplus, c.monte) << c.signature;
    EXPECT_EQ(volume.debut_allocation, 40U);
    EXPECT_EQ(volume.taille_bloc, c.monte ? 2048U : 0U);
    EXPECT_EQ(volume.secteurs_carte, c.monte ? 12U : 0U) << "block count cut to 16 bits";
    EXPECT_EQ(support().taille_volume, c.monte ? 4000U : 0U);
    EXPECT_EQ(nom_volume(), "");
    EXPECT_TRUE(lecture_noeud(0).empty()) << "no node size, no tree";
  }
}

TEST_F(Montage, FollowsAWrapperByItsClumpSize) {
  for (const std::uint32_t clump : {4096U, 8192U}) {
    SetUp();
    Mdb mdb{};
    mdb.drSigWord = kSignatureHfs;
    mdb.drVBMSt = 3;
    mdb.drAlBlSt = 20;
    mdb.drAlBlkSiz = 4096;
    mdb.drClpSiz = clump;
    mdb.drEmbedSigWord = kSignatureHfsPlus;
    mdb.drEmbedExtent = {10, 100};
    medium().pose(2, mdb);
    medium().pose(20 + 80 + 2, entete_plus());
    monte(0);
    const VolumeCourant &volume = volume_courant();
    EXPECT_TRUE(volume.est_hfsplus);
    EXPECT_EQ(volume.mdb, nullptr);
    EXPECT_EQ(volume.debut_allocation, 20 + 10 * clump / 512);
    EXPECT_EQ(volume.taille_bloc, clump == 4096 ? 2048U : 0U) << "a clump of another size leads astray";
    EXPECT_EQ(support().taille_volume, clump == 4096 ? 4000U : 0U);
  }
}

TEST_F(Montage, KeepsTheFormerStateOnAnMdbWithoutCatalog) {
  medium().pose(42, entete_plus());
  monte(40);
  Mdb mdb{};
  mdb.drSigWord = kSignatureHfs;
  mdb.drVBMSt = 3;
  mdb.drAlBlSt = 9;
  medium().pose(2, mdb);
  monte(0);
  EXPECT_TRUE(volume_courant().est_hfsplus);
  EXPECT_EQ(volume_courant().taille_bloc, 2048U);
  EXPECT_EQ(volume_courant().secteurs_carte, 6U);
}

TEST_F(Montage, RefusesNodeSizesThatTheBlockCannotHold) {
  for (const std::uint16_t taille :
       {std::uint16_t{0}, std::uint16_t{100}, std::uint16_t{513}, std::uint16_t{65024}}) {
    SetUp();
    EnteteVolumePlus entete = entete_plus();
    entete.catalogFile.extents[0] = {5, 100};
    medium().pose(2, entete);
    std::vector<std::uint8_t> noeud(512);
    vue_modifiable<FicheEnteteArbre>(noeud, 14)->nodeSize = taille;
    pose(noeud, 20);
    monte(0);
    EXPECT_EQ(volume_courant().catalogue.taille_noeud, 0U) << taille;
    EXPECT_TRUE(cherche_exacte_hfsplus_sans_joker(nom_unicode(u"x"), kRubriqueToute, 2).empty());
    EXPECT_FALSE(insere_hfsplus(cle_hfsplus(2, nom_unicode(u"x")), FormatPlus<4096>::dossier(5), 2));
  }
}

// The sectors beside a header are the boot blocks or belong to files, and so does the place of an alternate
// header on a volume that has none.
TEST_F(Montage, FlushesTheHfsPlusHeaderAndTheCopyThatIsThere) {
  for (const bool copie : {true, false}) {
    SetUp();
    constexpr std::uint64_t kDebut = 40, kCopie = 40 + 4000 - 4;
    for (const std::uint64_t secteur : {kDebut, kCopie})
      pose(std::vector<std::uint8_t>(2048, 0xAB), static_cast<std::uint32_t>(secteur));
    medium().pose(kDebut + 2, entete_plus());
    if (copie) medium().pose(kCopie + 2, entete_plus());
    monte(kDebut);
    volume_courant().vhb->fileCount = 7;
    ASSERT_TRUE(ecriture_structures());
    for (const std::uint64_t secteur : {kDebut, kCopie}) {
      const auto octets = medium().octets(secteur, 4);
      for (const std::size_t place : {0U, 1023U, 1536U, 2047U}) EXPECT_EQ(octets[place], 0xAB) << place;
      const auto *entete = vue<EnteteVolumePlus>(octets, 1024);
      const bool ecrit = copie || secteur == kDebut;
      EXPECT_EQ(entete->signature, ecrit ? kSignatureHfsPlus : 0xABAB);
      EXPECT_EQ(entete->fileCount, ecrit ? 7U : 0xABABABAB);
      EXPECT_EQ(entete->writeCount, ecrit ? 1U : 0xABABABAB);
    }
  }
}

TEST_F(Montage, TellsDatesInTheTimeOfTheFormat) {
  constexpr std::int64_t kJour = 1700000000;
  volume_courant().est_hfsplus = true;
  EXPECT_EQ(date_mac_de(0), 2082844800U);
  EXPECT_EQ(unix_de_date_mac(date_mac_de(kJour)), kJour);
  volume_courant().est_hfsplus = false;
  EXPECT_EQ(date_mac_de(kJour), static_cast<std::uint32_t>(kJour + 2082844800 - plateforme::biais_fuseau()));
  EXPECT_EQ(unix_de_date_mac(date_mac_de(kJour)), kJour);
}

// --- the memory window

class Fenetre : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    support().image = Fichier(::memfd_create("essai", 0));
    ASSERT_TRUE(support().image.ecrire_a(std::vector<std::uint8_t>(512000, 0x11), 0));
    ASSERT_TRUE(fenetre_memoire().ouvre_fenetre(kDebut, kNombre));
  }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }

  static std::vector<std::uint8_t> lit(std::uint64_t secteur, std::uint32_t nombre) {
    std::vector<std::uint8_t> octets(std::size_t{nombre} * 512, 0xEE);
    lit_secteurs(octets.data(), secteur, nombre);
    return octets;
  }
  static void ecrit(std::uint64_t secteur, std::uint32_t nombre, std::uint8_t valeur) {
    const std::vector<std::uint8_t> octets(std::size_t{nombre} * 512, valeur);
    ecrit_secteurs(octets.data(), secteur, nombre);
  }
  // First byte of each sector, as the image file has it.
  static std::string fichier(std::uint64_t secteur, std::uint32_t nombre) {
    std::string sortie;
    for (std::uint32_t i = 0; i < nombre; ++i) {
      std::vector<std::uint8_t> octet(1);
      EXPECT_EQ(support().image.lire_a(octet, (secteur + i) * 512), 1);
      sortie += static_cast<char>(octet[0]);
    }
    return sortie;
  }

  static constexpr std::uint64_t kDebut = 100;
  static constexpr std::uint64_t kNombre = 300;  // two whole pages and a part
};

TEST_F(Fenetre, SplitsRequestsAtItsBorders) {
  const auto avant = lit(98, 4);
  EXPECT_EQ(avant[1023], 0x11);
  EXPECT_EQ(avant[1024], 0) << "the window reads as zeros at first";
  ecrit(98, 304, 0x22);  // across both borders
  EXPECT_EQ(fichier(97, 4), "\x11\x22\x22\x11");
  EXPECT_EQ(fichier(399, 4), "\x11\x22\x22\x11");
  EXPECT_EQ(lit(97, 306)[511], 0x11);
  EXPECT_EQ(lit(98, 304), std::vector<std::uint8_t>(155648, 0x22));
  EXPECT_EQ(lit(~std::uint64_t{0} - 3, 1)[0], 0xEE) << "no such place: the buffer stays";
}

TEST_F(Fenetre, WritesOnlyTouchedPagesOut) {
  ecrit(kDebut + 130, 1, 0x33);          // second page
  ecrit(kDebut + kNombre - 1, 1, 0x44);  // last sector, in the short page
  ASSERT_TRUE(fenetre_memoire().vide_fenetre(support().image));
  EXPECT_EQ(fichier(kDebut + 127, 4), std::string("\x11\x00\x00\x33", 4))
      << "the first page was never touched";
  EXPECT_EQ(fichier(kDebut + kNombre - 1, 2), "\x44\x11") << "nothing behind the window";
  ASSERT_TRUE(support().image.ecrire_a(std::vector<std::uint8_t>(512, 0x77), (kDebut + 130) * 512));
  ASSERT_TRUE(fenetre_memoire().vide_fenetre(support().image));
  EXPECT_EQ(fichier(kDebut + 130, 1), "\x77") << "pages already written stay out of the way";
  fenetre_memoire().ferme_fenetre();
  EXPECT_EQ(lit(kDebut + 130, 1)[0], 0x77);
}

TEST_F(Fenetre, ReportsAFailedWriteAndCanTryAgain) {
  ecrit(kDebut, 200, 0x55);
  EXPECT_FALSE(fenetre_memoire().vide_fenetre(Fichier{}));
  ASSERT_TRUE(fenetre_memoire().vide_fenetre(support().image));
  EXPECT_EQ(fichier(kDebut + 199, 1), "\x55");
}

TEST_F(Fenetre, HoldsAWindowFarLargerThanMemory) {
  ASSERT_TRUE(fenetre_memoire().ouvre_fenetre(1000, std::uint64_t{1} << 27));
  ecrit((std::uint64_t{1} << 27) + 999, 1, 0x66);
  EXPECT_EQ(lit((std::uint64_t{1} << 27) + 999, 1)[0], 0x66);
  EXPECT_FALSE(fenetre_memoire().ouvre_fenetre(0, ~std::uint64_t{0} / 512));
}

}  // namespace
}  // namespace varnion::essai
