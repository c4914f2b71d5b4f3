#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"
#include "outils/programmes.hpp"

// Images joined and parted by the real program, read by independent ones.

namespace varnion {
namespace {

using essai::Fin;
namespace fs = std::filesystem;

class Hybride : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    fichier("src/hello.txt", "hello");
    fichier("src/Folder/large.dat", std::string(2'000'000, 'x'));
    reussit({"master", "src", "-o", "mac.dmg", "--kind", "hfs", "--hfs", "--label", "Joined"});
    reussit({"master", "src", "-o", "disc.iso", "--kind", "iso", "--label", "Joined"});
    iso = lit(d + "disc.iso");
  }
  std::string programme(const std::string &commande) const {
    const outils::Sortie s =
        outils::lance("export HOME=" + outils::cite(bac) + "; cd " + outils::cite(d) + "; " + commande);
    EXPECT_EQ(s.statut, 0) << commande << "\n" << s.texte;
    return s.texte;
  }
  std::string iso;
};

TEST_F(Hybride, RejoinedImagesAreReadByOtherPrograms) {
  EXPECT_NE(reussit({"hybrid", "mac.dmg", "disc.iso"}).find("disc.iso: hybrid image, "), std::string::npos);
  EXPECT_NE(programme("isoinfo -J -f -i disc.iso").find("/Folder/large.dat"), std::string::npos);
  programme("xorriso -abort_on SORRY -indev disc.iso -osirrox on -extract / out && diff -r src out");
  EXPECT_NE(programme("hmount disc.iso").find("Joined"), std::string::npos);
  EXPECT_NE(programme("hls -R").find("large.dat"), std::string::npos);
  programme("hcopy -r :Folder:large.dat copy && cmp copy src/Folder/large.dat && humount");
  const std::string jointe = lit(d + "disc.iso");
  echoue({"hybrid", "mac.dmg", "disc.iso"}, 1, "already contains");
  EXPECT_TRUE(lit(d + "disc.iso") == jointe);
  // The letters do the same.
  reussit({"-DH", "disc.iso"});
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
  reussit({"-H", "mac.dmg", "disc.iso"});
  EXPECT_NE(reussit({"dehybrid", "disc.iso"}).find("disc.iso: ISO image, "), std::string::npos);
  programme("xorriso -abort_on SORRY -indev disc.iso -osirrox on -extract / again && diff -r src again");
}

TEST_F(Hybride, RefusalsAreToldAndLeaveTheImage) {
  fichier("bare.hfs", "no map");
  fs::resize_file(d + "bare.hfs", 100'000);
  fichier("cut.dmg", lit(d + "mac.dmg").substr(0, 60'000));
  fichier("packed.dmg", lit(d + "mac.dmg") + "koly" + std::string(508, '\x7F'));
  fichier("no.iso", std::string(50'000, 'n'));
  reussit({"master", "src", "-o", "shared.iso"});
  const std::string partagee = lit(d + "shared.iso");
  echoue({"hybrid", "bare.hfs", "disc.iso"}, 1, "no Apple partition map");
  echoue({"hybrid", "cut.dmg", "disc.iso"}, 1, "cut short");
  echoue({"hybrid", "packed.dmg", "disc.iso"}, 1, "cannot be expanded");
  echoue({"hybrid", "absent.dmg", "disc.iso"}, 1, "absent.dmg");
  echoue({"hybrid", "mac.dmg", "absent.iso"}, 1, "absent.iso");
  echoue({"hybrid", "mac.dmg", "no.iso"}, 1, "not an ISO 9660 image");
  echoue({"-H", "cut.dmg", "disc.iso"}, 1, "cut short");
  echoue({"hybrid", "mac.dmg"}, 2, "hybrid PARTITION");
  echoue({"dehybrid", "mac.dmg"}, 1, "not a hybrid image");
  echoue({"dehybrid", "shared.iso"}, 1, "Nothing was changed");
  echoue({"dehybrid", "disc.iso"}, 1, "nothing was cut off");
  const Fin fin = lance_sous({.taille_max = iso.size() + 10'000}, {"hybrid", "mac.dmg", "disc.iso"});
  EXPECT_EQ(fin.statut, 1) << fin.messages;
  EXPECT_NE(fin.messages.find("Reading or writing failed"), std::string::npos) << fin.messages;
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
  EXPECT_TRUE(lit(d + "shared.iso") == partagee);
}

TEST_F(Hybride, RawTracksAreWrittenAndJoined) {
  reussit({"track", "raw", "disc.iso", "raw.bin", "--mode", "2"});
  EXPECT_EQ(fs::file_size(d + "raw.bin"), iso.size() / 2048 * 2352);
  echoue({"track", "raw", "disc.iso", "raw.bin"}, 1, "--force");
  echoue({"track", "raw", "disc.iso", "x.bin", "--mode", "3"}, 2, "--mode");
  echoue({"track", "video", "disc.iso", "raw.bin"}, 1, "no partition map");
  reussit({"hybrid", "mac.dmg", "raw.bin"});
  programme("xorriso -abort_on SORRY -indev stdio:raw.bin -osirrox on -extract / out && diff -r src out");
  echoue({"track", "video", "raw.bin", "disc.iso"}, 1, "not a Video CD image");
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
}

}  // namespace
}  // namespace varnion
