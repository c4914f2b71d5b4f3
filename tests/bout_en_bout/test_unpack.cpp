#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"
#include "outils/decomprime.hpp"
#include "outils/fabrique_dmg.hpp"

// The real program on disk images: what it gives, says and leaves behind.

namespace varnion {
namespace {

using essai::decomprime;
using essai::FabriqueDmg;
using essai::Fin;

class Unpack : public essai::Programme {
 protected:
  [[nodiscard]] static std::string image(const std::string &nom) {
    return std::string(VN_DONNEES "/dmg/") + nom;
  }
  [[nodiscard]] std::string fait(const std::string &nom) const { return lit(d + nom); }
};

TEST_F(Unpack, EntiereOuHabituelle) {
  const std::string disque = decomprime("apm/made_apm_hfs.img.gz");
  for (const char *nom : {"made_udzo.dmg", "made_udbz.dmg", "made_udco_overlap.dmg", "made_udro.dmg"}) {
    EXPECT_NE(reussit({"unpack", image(nom), "out", "--force"}).find("4 block tables"), std::string::npos);
    EXPECT_TRUE(fait("out") == disque) << nom;
  }
  echoue({"unpack", image("made_udzo.dmg"), "out"}, 1, "exists already");
  reussit({"unpack", image("hfsplus_adc.dmg"), "out", "--force"});
  EXPECT_EQ(fait("out").size(), 1964032U);
  reussit({"unpack", image("hfsplus_adc.dmg"), "out", "--force", "--usual"});
  EXPECT_EQ(fait("out").size(), 20480U);
  echoue({"unpack", image("impluse-test-disk.dmg"), "usual", "--usual"}, 1, "no block tables");
  EXPECT_FALSE(existe("usual"));
  reussit({"-DC", image("impluse-test-disk.dmg"), "letter"});
  EXPECT_EQ(fait("letter").size(), 10485760U);

  Conditions non;
  non.entree = "n\n";
  const Fin fin = lance_sous(non, {"unpack", image("hfsplus_adc.dmg"), "asked", "--ask"});
  EXPECT_NE(fin.messages.find("takes only 4 of the 8 block tables"), std::string::npos) << fin.messages;
  EXPECT_EQ(fait("asked").size(), 20480U);
}

TEST_F(Unpack, RienNeResteDUnEchec) {
  FabriqueDmg fabrique;
  const std::string clair(512 * 64, 'v');
  fabrique.secteurs = 64;
  fabrique.tables = {{0, {{0x80000005, 64, FabriqueDmg::par_zlib(clair)}}, clair}};
  fichier("good.dmg", fabrique.image());
  fichier("cut.dmg", fabrique.image().substr(40));
  fabrique.fausse_crc = 1;
  fichier("crc.dmg", fabrique.image());
  fabrique.tables[0].chunks[0].type = 0x80000007;
  fichier("type.dmg", fabrique.image());
  fichier("plain.img", clair);
  echoue({"unpack", "cut.dmg", "out"}, 1, "damaged");
  echoue({"unpack", "crc.dmg", "out"}, 1, "checksum (CRC-32)");
  echoue({"unpack", "type.dmg", "out"}, 1, "Unknown block type - Value 80000007.");
  echoue({"unpack", "plain.img", "out"}, 1, "no compressed disk image");
  echoue({"unpack", "none.dmg", "out"}, 1, "cannot be read");
  echoue({"unpack", "good.dmg", "none/out"}, 1, "cannot be written");
  Conditions plein;
  plein.taille_max = 8192;
  for (const bool usuel : {false, true}) {
    std::vector<std::string> mots{"unpack", "good.dmg", "out"};
    if (usuel) mots.push_back("--usual");
    const Fin fin = lance_sous(plein, mots);
    EXPECT_EQ(fin.statut, 1);
    EXPECT_NE(fin.messages.find("cannot be written"), std::string::npos) << fin.messages;
    EXPECT_FALSE(existe("out"));
  }
  EXPECT_TRUE(sans_reste());
  reussit({"unpack", "good.dmg", "out"});
  EXPECT_TRUE(fait("out") == clair);

  // What no checksum of a table proves is held against that of the data; what no table tells of is named.
  fabrique.fausse_crc = 0;
  fabrique.tables = {{0, {{1, 64, clair}}, {}}};
  fabrique.secteurs = 68;
  fabrique.controle_donnees = true;
  std::string image = fabrique.image();
  fichier("partial.dmg", image);
  const Fin fin = lance({"unpack", "partial.dmg", "partial"});
  EXPECT_EQ(fin.statut, 0);
  EXPECT_NE(fin.messages.find("No block table speaks of 2.0 KB"), std::string::npos) << fin.messages;
  image[100] ^= 1;
  fichier("flipped.dmg", image);
  echoue({"unpack", "flipped.dmg", "flipped"}, 1, "checksum of its data (CRC-32)");
  EXPECT_TRUE(sans_reste() && !existe("flipped"));
}

}  // namespace
}  // namespace varnion
