#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "bout_en_bout/programme.hpp"
#include "outils/fabrique_dmg.hpp"
#include "outils/programmes.hpp"

// What the program may write over, and what it leaves beside: driven as the user drives it.

namespace varnion {
namespace {

using essai::FabriqueDmg;
using essai::Fin;
namespace fs = std::filesystem;

class Cibles : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    fichier("src/a.txt", "the words of a");
    fichier("src/b.txt", "the words of b");
    // AppleDouble (RFC 1740): one entry, the resource fork.
    std::string double_("\0\5\x16\7\0\2\0\0", 8);
    double_ += std::string(16, '\0') + std::string("\0\1\0\0\0\2\0\0\0\x26\0\0\0\4", 14) + "RSRC";
    fichier("src/._a.txt", double_);
    fichier("t.sig", ".txt TEXTttxt a text\r\n");
    reussit({"project", "new", "p.vnpr"});
    reussit({"project", "add", "p.vnpr", "src"});
  }
  [[nodiscard]] mode_t mode(const std::string &nom) const {
    struct stat fiche {};
    return ::stat((d + nom).c_str(), &fiche) == 0 ? fiche.st_mode & 07777 : 0;
  }
  /// Content of every file here.
  [[nodiscard]] std::map<std::string, std::string> tous() const {
    std::map<std::string, std::string> contenus;
    for (const auto &entree : fs::recursive_directory_iterator(d))
      if (entree.is_regular_file()) contenus[entree.path().string().substr(d.size())] = lit(entree.path());
    return contenus;
  }
  /// A source that keeps a compile busy for a while.
  void source_longue() const {
    fichier("src/long.bin", "");
    fs::resize_file(d + "src/long.bin", std::uint64_t{1} << 30);
    reussit({"project", "add", "p.vnpr", "src/long.bin"});
  }
  bool attend(const std::string &nom) const {
    std::error_code erreur;
    for (int i = 0; i < 20000; ++i) {
      if (fs::file_size(d + nom, erreur) > (4 << 20) && !erreur) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ADD_FAILURE() << nom << " never came";
    return false;
  }
  int second(const std::string &mots) const {
    const std::string maison = outils::cite(bac + "autre");
    return outils::lance("mkdir -p " + maison + "; cd " + outils::cite(d) + "; export TMPDIR=" + maison +
                         " XDG_CONFIG_HOME=" + maison + "; " + VN_CLI + " " + mots)
        .statut;
  }
};

TEST_F(Cibles, ACompileNeverReplacesWhatItIsMadeFrom) {
  fs::create_hard_link(d + "src/a.txt", d + "hard");
  fs::create_symlink("src/b.txt", d + "link");
  fs::create_hard_link(d + "src/._a.txt", d + "companion");
  fs::create_hard_link(d + "p.vnpr", d + "project");
  reussit({"project", "ls", "p.vnpr"});
  fs::copy_file(d + "p.vnpr", d + "p.BAK", fs::copy_options::skip_existing);
  const auto avant = tous();
  const std::pair<const char *, const char *> cas[] = {{"src/a.txt", "is a source"},
                                                       {"hard", "is a source"},
                                                       {"link", "is a source"},
                                                       {"src/../src/b.txt", "is a source"},
                                                       {"src/._a.txt", "is a source"},
                                                       {"companion", "is a source"},
                                                       {"p.vnpr", "overwrite the project"},
                                                       {"project", "overwrite the project"},
                                                       {"p.BAK", "overwrite the project"},
                                                       {"t.sig", "table of signatures"}};
  for (const auto &[cible, message] : cas)
    echoue({"compile", "p.vnpr", "-o", cible, "-f", "--signatures", "t.sig"}, 1, message);
  echoue({"master", "src", "-o", "src/a.txt", "-f"}, 1, "is a source");
  echoue({"master", "src/a.txt", "src/b.txt", "-o", "hard", "-f"}, 1, "is a source");
  auto apres = tous();
  // The backup copy is written anew by each opening.
  apres["p.BAK"] = avant.at("p.BAK");
  EXPECT_TRUE(apres == avant);
  // The copy of the project is refused before it is there as well: the next opening would write over the
  // image.
  fs::remove(d + "q.BAK");
  fs::copy_file(d + "p.vnpr", d + "q.vnpr");
  echoue({"compile", "q.vnpr", "-o", "q.BAK", "-f"}, 1, "overwrite the project");
  // The letters overwrite an image without a word, never a source.
  fichier("src/l.txt", "x");
  fs::rename(d + "src/a.txt", d + "src/p.iso");
  reussit({"project", "new", "src/p.vnpr"});
  reussit({"project", "add", "src/p.vnpr", "src/p.iso"});
  echoue({"-C", "src/p.vnpr"}, 1, "is a source");
  EXPECT_EQ(lit(d + "src/p.iso"), "the words of a");
}

// An image of a run before that lies in the folder is left out and replaced; that is not a source.
TEST_F(Cibles, AFolderIsMasteredIntoItselfAgain) {
  reussit({"master", "src", "-o", "src/disc.iso"});
  const auto taille = fs::file_size(d + "src/disc.iso");
  reussit({"master", "src", "-o", "src/disc.iso", "-f"});
  EXPECT_EQ(fs::file_size(d + "src/disc.iso"), taille);
}

TEST_F(Cibles, AFileThatAppearsDuringTheRunStaysAndTheImageToo) {
  source_longue();
  const auto pose_cible = [&](pid_t enfant) {
    if (!attend("p.iso.varnion-1.part")) return;
    ::kill(enfant, SIGSTOP);
    // Meanwhile a second run leaves the file of the first alone.
    EXPECT_EQ(second("compile p.vnpr -o p.iso --kind iso"), 0);
    EXPECT_TRUE(existe("p.iso.varnion-1.part"));
    fichier("p.iso", "mine");
    ::kill(enfant, SIGCONT);
  };
  const Fin fin = lance_sous({.pendant = pose_cible}, {"compile", "p.vnpr", "--kind", "iso"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("p (2).iso"), std::string::npos) << fin.messages;
  EXPECT_EQ(lit(d + "p.iso"), "mine");
  EXPECT_GT(fs::file_size(d + "p (2).iso"), std::uint64_t{1} << 30);
  EXPECT_NE(outils::lance("isoinfo -d -i " + outils::cite(d + "p (2).iso")).texte.find("ISO 9660"),
            std::string::npos);
  EXPECT_TRUE(sans_reste());
}

TEST_F(Cibles, WhatAKilledRunLeftIsTakenAwayByTheNext) {
  source_longue();
  const auto tue = [&](pid_t enfant) {
    attend("p.iso.varnion-1.part");
    ::kill(enfant, SIGKILL);
  };
  // A killed program leaves its temporary folder as well, which is none of this test.
  const pid_t enfant = ::fork();
  if (enfant == 0) {
    const std::string maison = bac + "autre";
    fs::create_directory(maison);
    ::setenv("TMPDIR", maison.c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", maison.c_str(), 1);
    if (::chdir(d.c_str()) != 0) ::_exit(126);
    ::execl(VN_CLI, "varnion-cli", "compile", "p.vnpr", "--kind", "iso", "-q", nullptr);
    ::_exit(127);
  }
  tue(enfant);
  int statut = 0;
  ASSERT_EQ(::waitpid(enfant, &statut, 0), enfant);
  ASSERT_TRUE(WIFSIGNALED(statut));
  EXPECT_TRUE(existe("p.iso.varnion-1.part"));
  EXPECT_EQ(mode("p.iso.varnion-1.part") & 077, 0U);
  fichier("p.iso.part", "a download");
  fichier("p.iso.varnion-2.part", "a user's file");
  reussit({"compile", "p.vnpr", "--kind", "iso"});
  EXPECT_FALSE(existe("p.iso.varnion-1.part"));
  EXPECT_EQ(lit(d + "p.iso.part"), "a download");
  EXPECT_EQ(lit(d + "p.iso.varnion-2.part"), "a user's file");
}

// Names that the program itself once used for its unfinished files belong to the user.
TEST_F(Cibles, NothingIsWrittenThroughALinkThatLiesInWait) {
  fichier("treasure", "gold");
  for (const char *nom : {"p.BAK.part", "r.vnpr.part", "t.BAK.part", "d.iso.part", "d.iso.varnion-1.part",
                          "p.BAK.varnion-1.part", "r.vnpr.varnion-1.part", "x.bin.varnion-1.part"})
    fs::create_symlink("treasure", d + nom);
  fs::create_hard_link(d + "treasure", d + "second");
  reussit({"project", "add", "p.vnpr", "src/a.txt", "--into", "more"});
  reussit({"project", "new", "r.vnpr"});
  reussit({"compile", "p.vnpr", "-o", "d.iso"});
  reussit({"track", "raw", "d.iso", "x.bin"});
  EXPECT_EQ(lit(d + "treasure"), "gold");
  EXPECT_EQ(lit(d + "second"), "gold");
  EXPECT_EQ(fs::read_symlink(d + "p.BAK.part"), "treasure");
  // A target that is a link stays one; what it leads to is replaced.
  fichier("old.iso", "old");
  fs::create_symlink("old.iso", d + "current.iso");
  reussit({"compile", "p.vnpr", "-o", "current.iso", "-f"});
  EXPECT_TRUE(fs::is_symlink(d + "current.iso"));
  EXPECT_TRUE(lit(d + "old.iso").size() == lit(d + "d.iso").size());
}

TEST_F(Cibles, WhatIsReplacedKeepsItsMode) {
  fs::permissions(d + "p.vnpr", fs::perms::owner_read | fs::perms::owner_write);
  fs::remove(d + "p.BAK");
  reussit({"project", "mkdir", "p.vnpr", "more"});
  EXPECT_EQ(mode("p.vnpr"), 0600U);
  EXPECT_EQ(mode("p.BAK"), 0600U) << "a copy tells no more people than the project";
  reussit({"compile", "p.vnpr"});
  for (const mode_t voulu : {mode_t{0600}, mode_t{0640}}) {
    ASSERT_EQ(::chmod((d + "p.iso").c_str(), voulu), 0);
    ASSERT_EQ(::chmod((d + "p.BAK").c_str(), 0600), 0);
    reussit({"compile", "p.vnpr", "-f"});
    EXPECT_EQ(mode("p.iso"), voulu);
    EXPECT_EQ(mode("p.BAK"), 0600U);
    reussit({"project", "new", "n.vnpr", "-f"});
    ASSERT_EQ(::chmod((d + "n.vnpr").c_str(), voulu), 0);
    reussit({"project", "new", "n.vnpr", "-f"});
    EXPECT_EQ(mode("n.vnpr"), voulu);
  }
  reussit({"new", "v.img", "--size", "5"});
  fichier("f.txt", "x");
  reussit({"put", "v.img", "f.txt"});
  fichier("out/f.txt", "old");
  ASSERT_EQ(::chmod((d + "out/f.txt").c_str(), 0600), 0);
  reussit({"get", "v.img", "/f.txt", "--to", "out", "--overwrite", "yes"});
  EXPECT_EQ(lit(d + "out/f.txt"), "x");
  EXPECT_EQ(mode("out/f.txt"), 0600U);
}

TEST_F(Cibles, AFailureKeepsTheOldTargetAndLeavesNothing) {
  reussit({"compile", "p.vnpr", "-o", "d.iso"});
  fichier("old", "the old file");
  const Fin piste = lance_sous({.taille_max = 100'000}, {"track", "raw", "d.iso", "old", "-f"});
  EXPECT_EQ(piste.statut, 1);
  EXPECT_NE(piste.messages.find("Reading or writing failed"), std::string::npos) << piste.messages;
  EXPECT_EQ(lit(d + "old"), "the old file");
  // A disk image that lists no table holds nothing.
  FabriqueDmg fabrique;
  fichier("none.dmg", fabrique.image());
  for (const bool usuel : {true, false}) {
    std::vector<std::string> mots{"unpack", "none.dmg", "old", "-f"};
    if (usuel) mots.push_back("--usual");
    echoue(mots, 1, "no block tables");
    EXPECT_EQ(lit(d + "old"), "the old file");
  }
  const std::string dmg = lit(d + "none.dmg");
  echoue({"unpack", "none.dmg", "none.dmg", "-f"}, 1, "one of the images that are read");
  EXPECT_TRUE(lit(d + "none.dmg") == dmg);
  EXPECT_TRUE(sans_reste());
}

TEST_F(Cibles, ImagesAreJoinedAndPartedToATarget) {
  reussit({"master", "src", "-o", "mac.dmg", "--kind", "hfs", "--hfs"});
  reussit({"master", "src", "-o", "disc.iso", "--kind", "iso"});
  const std::string iso = lit(d + "disc.iso");
  EXPECT_NE(reussit({"hybrid", "mac.dmg", "disc.iso", "-o", "joined.iso"}).find("joined.iso: hybrid image, "),
            std::string::npos);
  const std::string jointe = lit(d + "joined.iso");
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
  reussit({"dehybrid", "joined.iso", "-o", "parted.iso"});
  EXPECT_TRUE(lit(d + "parted.iso") == iso);
  EXPECT_TRUE(lit(d + "joined.iso") == jointe);
  echoue({"dehybrid", "joined.iso", "-o", "parted.iso"}, 1, "--force");
  echoue({"hybrid", "mac.dmg", "disc.iso", "-o", "parted.iso"}, 1, "--force");
  echoue({"hybrid", "mac.dmg", "disc.iso", "-o", "mac.dmg", "-f"}, 1, "one of the images that are read");
  echoue({"dehybrid", "joined.iso", "-o", "./joined.iso", "-f"}, 1, "one of the images that are read");
  reussit({"dehybrid", "joined.iso", "-o", "parted.iso", "-f"});
  // Boot code stays unless it is said otherwise, by the letter too.
  std::string amorce = iso;
  amorce.replace(0, 3, "\xEB\x3C\x90");
  fichier("boot.iso", amorce);
  echoue({"hybrid", "mac.dmg", "boot.iso"}, 1, "boot code");
  echoue({"-H", "mac.dmg", "boot.iso"}, 1, "boot code");
  echoue({"hybrid", "mac.dmg", "boot.iso", "-o", "new.iso"}, 1, "boot code");
  EXPECT_TRUE(lit(d + "boot.iso") == amorce);
  EXPECT_FALSE(existe("new.iso"));
  reussit({"hybrid", "mac.dmg", "boot.iso", "-f"});
  EXPECT_TRUE(lit(d + "boot.iso") == jointe);
  // Nothing else is ever cleared, by the letter either.
  for (const char *nom : {"p.vnpr", "disc.iso", "mac.dmg", "src/a.txt"}) {
    const std::string avant = lit(d + nom);
    EXPECT_EQ(lance({"dehybrid", nom}).statut, 1) << nom;
    EXPECT_EQ(lance({"-DH", nom}).statut, 1) << nom;
    EXPECT_TRUE(lit(d + nom) == avant) << nom;
  }
}

}  // namespace
}  // namespace varnion
