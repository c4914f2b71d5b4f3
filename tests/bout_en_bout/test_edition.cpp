#include <gtest/gtest.h>

#include <sys/file.h>

#include <map>

#include "bout_en_bout/programme.hpp"
#include "outils/programmes.hpp"

// Volumes made and changed by the real program.

namespace varnion {
namespace {

using essai::Fin;

class Edition : public essai::Programme, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    Programme::SetUp();
    std::vector<std::string> mots{"new", "v.img", "--size", "10", "--label", "My Disk"};
    if (GetParam()) mots.emplace_back("--hfsplus");
    reussit(mots);
  }
  [[nodiscard]] std::string tout() const { return reussit({"ls", "v.img", "-Ra"}); }
  // A member of the JSON of one item.
  [[nodiscard]] std::string membre(const std::string &chemin, const std::string &nom) const {
    const std::size_t barre = chemin.rfind('/');
    const std::string json =
        reussit({"ls", "v.img", barre == std::string::npos ? "" : chemin.substr(0, barre), "-a", "--json"});
    const std::size_t ligne = json.find("\"path\": \"" + chemin + "\"");
    const std::size_t place = json.find("\"" + nom + "\": ", ligne);
    if (ligne == std::string::npos || place == std::string::npos) return "none";
    const std::size_t debut = place + nom.size() + 4;
    return json.substr(debut, json.find_first_of(",}", debut) - debut);
  }
};

INSTANTIATE_TEST_SUITE_P(Formats, Edition, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

TEST_P(Edition, ANewImageIsAnEmptyVolumeThatIsWritable) {
  const std::string info = reussit({"info", "v.img", "--json"});
  for (const std::string membre : {R"("volume": "My Disk")", R"("files": 0)", R"("read_only": false)",
                                   R"("kind": "Apple")", GetParam() ? R"("HFS+")" : R"("HFS")"})
    EXPECT_NE(info.find(membre), std::string::npos) << membre << "\n" << info;
  EXPECT_EQ(tout(), "");
  echoue({"new", "v.img", "--size", "5"}, 1, "v.img");
  // The label is what the format can hold, as it was typed.
  std::vector<std::string> etiquette{"new", "l.img", "--size", "5", "--label"};
  if (GetParam()) etiquette.insert(etiquette.begin() + 1, "--hfsplus");
  const auto nomme = [&etiquette](const std::string &label) {
    auto mots = etiquette;
    mots.push_back(label);
    return mots;
  };
  const std::string plein(GetParam() ? 255 : 27, 'x');
  echoue(nomme(plein + "x"), 1, GetParam() ? "255" : "27");
  EXPECT_FALSE(existe("l.img"));
  reussit(nomme(plein));
  EXPECT_NE(reussit({"info", "l.img", "--json"}).find(plein), std::string::npos);
  std::filesystem::remove(d + "l.img");
  const std::string large = GetParam() ? "日本語" : "π ≠ Ω";
  reussit(nomme(large));
  EXPECT_NE(reussit({"info", "l.img", "--json"}).find(large), std::string::npos);
  echoue({"new", "w.img"}, 2, "--size");
  echoue({"new", "w.img", "--size", "ten"}, 2, "ten");
  echoue({"new", "w.img", "--size", "4000000000"}, 1, "");
  EXPECT_FALSE(existe("w.img"));
  EXPECT_TRUE(sans_reste());
  // A full disk under the new image.
  Conditions conditions;
  conditions.taille_max = 100000;
  const Fin fin = lance_sous(conditions, {"new", "w.img", "--size", "5", "--zero"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("w.img"), std::string::npos) << fin.messages;
  EXPECT_FALSE(existe("w.img"));
  EXPECT_TRUE(sans_reste());
}

TEST_P(Edition, FoldersAreMadeMovedRenamedAndDeleted) {
  reussit({"mkdir", "v.img", "a/b/c", "d"});
  EXPECT_EQ(tout(), "a/\na/b/\na/b/c/\nd/\n");
  echoue({"mkdir", "v.img", "d"}, 1, "exists already");
  reussit({"mv", "v.img", "a/b", "d"});
  EXPECT_EQ(tout(), "a/\nd/\nd/b/\nd/b/c/\n");
  echoue({"mv", "v.img", "d", "d/b/c"}, 1, "into itself");
  echoue({"mv", "v.img", "a", "d/none"}, 1, "d/none");
  reussit({"mkdir", "v.img", "d/a"});
  echoue({"mv", "v.img", "a", "d"}, 1, "already exists");
  reussit({"rename", "v.img", "d/b", "été: 1/2"});
  EXPECT_EQ(reussit({"ls", "v.img", "d"}), "d/a/\nd/été: 1:2/\n")
      << "in a Macintosh name both are a slash, which a path shows as a colon";
}

TEST_P(Edition, NamesThatAVolumeCannotHoldAreRefused) {
  echoue({"mkdir", "v.img", std::string(256, 'x')}, 1, "xxx");
  const std::string long32(32, 'y');
  if (GetParam()) {
    reussit({"mkdir", "v.img", long32, "日本語 🎵"});
    EXPECT_EQ(tout(), long32 + "/\n日本語 🎵/\n");
  } else {
    echoue({"mkdir", "v.img", long32}, 1, "31");
    echoue({"mkdir", "v.img", "日本語"}, 1, "cannot hold");
    EXPECT_EQ(tout(), "");
  }
  // A name too long never reaches another item, whose name is how it begins.
  const std::string plein = GetParam() ? std::string(255, 'n') : std::string(31, 'n');
  reussit({"mkdir", "v.img", plein});
  echoue({"rm", "v.img", plein + "nn"}, 1, "No item");
  if (GetParam()) {
    std::string accents;
    for (int i = 0; i < 200; ++i) accents += "é";  // two units each on the volume
    echoue({"mkdir", "v.img", accents}, 1, "255");
    echoue({"mkdir", "v.img", "\xEF\xBB\xBF"}, 1, "cannot hold");
    echoue({"mkdir", "v.img", "\xFF\xFE"}, 1, "cannot hold");
  }
  reussit({"rm", "v.img", plein});
  echoue({"attr", "v.img", "/", "--modified", "2001-02-30"}, 1, "2001-02-30");
  echoue({"attr", "v.img", "/", "--modified", "2001-02-03 04:05zz"}, 1, "04:05zz");
  echoue({"rm", "v.img", "/"}, 1, "root folder");
  echoue({"rename", "v.img", "/", "x"}, 1, "root folder");
}

TEST_P(Edition, FoldersWithContentGoOnlyWhenAsked) {
  reussit({"mkdir", "v.img", "a/b/c"});
  echoue({"rm", "v.img", "a"}, 1, "not empty");
  EXPECT_EQ(tout(), "a/\na/b/\na/b/c/\n");
  reussit({"rm", "v.img", "a/b/c"});
  Conditions conditions;
  conditions.entree = "n\n";
  EXPECT_EQ(lance_sous(conditions, {"rm", "v.img", "a", "--ask"}).statut, 1);
  EXPECT_EQ(tout(), "a/\na/b/\n");
  reussit({"rm", "v.img", "a", "-r"});
  EXPECT_EQ(tout(), "");
}

TEST_P(Edition, TheVolumeIsRenamed) {
  reussit({"mkdir", "v.img", "a"});
  reussit({"label", "v.img", "Déjà vu"});
  EXPECT_NE(reussit({"info", "v.img"}).find("Déjà vu"), std::string::npos);
  EXPECT_EQ(tout(), "a/\n");
  if (!GetParam()) echoue({"label", "v.img", std::string(28, 'x')}, 1, "27");
}

TEST_P(Edition, ImagesThatCannotBeWrittenAreLeftAlone) {
  reussit({"mkdir", "v.img", "a"});
  // A volume with no map is read only.
  const std::string image = lit(d + "v.img");
  fichier("bare.img", image.substr((GetParam() ? 64 : 96) * 512));
  echoue({"mkdir", "bare.img", "b"}, 1, "can only be read");
  EXPECT_EQ(lit(d + "bare.img"), image.substr((GetParam() ? 64 : 96) * 512));
  fichier("z.dmg", lit(std::string(VN_DONNEES) + "/dmg/made_udzo.dmg"));
  echoue({"mkdir", "z.dmg", "b"}, 1, "compressed");
  std::filesystem::permissions(d + "v.img", std::filesystem::perms(0444));
  Conditions conditions;
  conditions.sans_droits = true;
  EXPECT_EQ(lance_sous(conditions, {"mkdir", "v.img", "b"}).statut, 1);
  EXPECT_EQ(lit(d + "v.img"), image);
}

TEST_P(Edition, AnImageThatAnotherProgramWritesToIsOnlyRead) {
  reussit({"mkdir", "v.img", "a"});
  const std::string avant = lit(d + "v.img");
  const Fichier autre(::open((d + "v.img").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(::flock(autre.descripteur(), LOCK_EX | LOCK_NB), 0);
  echoue({"mkdir", "v.img", "b"}, 1, "is in use by another program");
  EXPECT_EQ(tout(), "a/\n");
  EXPECT_NE(reussit({"info", "v.img", "--json"}).find(R"("read_only": false)"), std::string::npos);
  EXPECT_TRUE(lit(d + "v.img") == avant);
  ASSERT_EQ(::flock(autre.descripteur(), LOCK_UN), 0);
  reussit({"mkdir", "v.img", "b"});
}

TEST_P(Edition, AFileThatHasTheNameOfAnUnfinishedImageStays) {
  fichier("w.img.varnion-1.part", "mine");
  fichier("w.img.varnion-2.part", "mine too");
  reussit({"new", "w.img", "--size", "5"});
  EXPECT_EQ(lit(d + "w.img.varnion-1.part"), "mine");
  EXPECT_EQ(lit(d + "w.img.varnion-2.part"), "mine too");
  EXPECT_FALSE(existe("w.img.varnion-3.part"));
}

TEST_P(Edition, AResizeThatFailsSaysWhy) {
  if (GetParam()) {
    echoue({"resize", "v.img", "--size", "12"}, 1, "plain HFS");
    return;
  }
  Conditions plein;
  plein.taille_max = std::uint64_t{11} << 20;
  Fin fin = lance_sous(plein, {"resize", "v.img", "--size", "12"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("Not enough space"), std::string::npos) << fin.messages;
  EXPECT_NE(reussit({"info", "v.img", "--json"}).find("\"blocks\": 10240"), std::string::npos);
  EXPECT_NE(reussit({"resize", "v.img", "--size", "12"}).find("12.0 MB"), std::string::npos);
  // Shorter: the alternate master directory block cannot be written.
  plein.taille_max = std::uint64_t{1} << 20;
  fin = lance_sous(plein, {"resize", "v.img", "--size", "9"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("could not be written"), std::string::npos) << fin.messages;
}

// What hfsutils reads of an edited volume, and edits of a volume that it wrote files to.
TEST(EditionHfsutils, BothProgramsWorkOnOneVolume) {
  class Essai : public essai::Programme {
   public:
    void TestBody() override {}
    void corps() {
      SetUp();
      reussit({"new", "v.img", "--size", "5", "--label", "Shared"});
      reussit({"mkdir", "v.img", "Folder/Inner"});
      fichier("a.txt", "from the PC");
      const std::string env = "cd '" + d + "' && export HOME='" + bac + "' && ";
      const auto execute = [&](const std::string &commande) {
        return std::system((env + commande + " >> ../hfs.log 2>&1").c_str());
      };
      ASSERT_EQ(execute("hmount v.img && hcopy -r a.txt ':Folder:Inner:A File' && hattrib -t TEXT -c ttxt "
                        "':Folder:Inner:A File' && humount"),
                0)
          << lit(bac + "hfs.log");
      EXPECT_EQ(reussit({"cat", "v.img", "Folder/Inner/A File"}), "from the PC");
      reussit({"attr", "v.img", "Folder/Inner/A File", "--type", "ABCD", "--creator", "xyz", "--locked", "on",
               "--invisible", "on", "--color", "3", "--modified", "2001-02-03 04:05:06"});
      const std::string json = reussit({"ls", "v.img", "Folder/Inner/A File", "--json"});
      for (const char *membre : {R"("type": "ABCD")", R"("creator": "xyz ")", R"("locked": true)",
                                 R"("modified": "2001-02-03T04:05:06")"})
        EXPECT_NE(json.find(membre), std::string::npos) << membre << "\n" << json;
      reussit({"swap", "v.img", "Folder/Inner/A File"});
      EXPECT_EQ(reussit({"cat", "v.img", "Folder/Inner/A File", "--resource"}), "from the PC");
      EXPECT_EQ(reussit({"cat", "v.img", "Folder/Inner/A File"}), "");
      reussit({"swap", "v.img", "Folder/Inner/A File"});
      EXPECT_NE(reussit({"signature", "v.img", "--replace", "ABCDxyz ", "TEXTttxt"}).find("replaced 1 times"),
                std::string::npos);
      echoue({"signature", "v.img", "--replace", "ABCDxyz ", "TEXTttxt"}, 1, "not found");
      echoue({"signature", "v.img", "--replace", "ABC", "TEXTttxt"}, 2, "ABC");
      reussit({"rename", "v.img", "Folder/Inner/A File", "Other"});
      reussit({"mv", "v.img", "Folder/Inner/Other", "/"});
      reussit({"attr", "v.img", "Other", "--locked", "off"});
      reussit({"resize", "v.img", "--size", "7"});
      EXPECT_NE(reussit({"info", "v.img", "--json"}).find("\"blocks\": 14336"), std::string::npos);
      ASSERT_EQ(execute("hmount v.img && hls -aR > ../ls.txt && hcopy -r :Other out.txt && hcopy -r a.txt "
                        ":Second && humount"),
                0)
          << lit(bac + "hfs.log");
      EXPECT_EQ(lit(d + "out.txt"), "from the PC");
      EXPECT_NE(lit(bac + "ls.txt").find("Other"), std::string::npos);
      EXPECT_EQ(reussit({"ls", "v.img", "-Ra"}), "Folder/\nFolder/Inner/\nOther\nSecond\n");
      reussit({"rename", "v.img", "Sec*", "Dec*"});
      EXPECT_EQ(reussit({"ls", "v.img", "-a"}), "Decond\nFolder/\nOther\n");
      echoue({"rename", "v.img", "None*", "x*"}, 1, "None*");
      // Several in one command: each swap flushes, and the next goes on.
      fichier("b.txt", "again");
      reussit({"put", "v.img", "a.txt", "b.txt"});
      reussit({"swap", "v.img", "a.txt", "b.txt"});
      EXPECT_EQ(reussit({"cat", "v.img", "a.txt", "--resource"}), "from the PC");
      EXPECT_EQ(reussit({"cat", "v.img", "b.txt", "--resource"}), "again");
      TearDown();
    }
  };
  Essai().corps();
}

}  // namespace
}  // namespace varnion
