#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"

// A project and a disk that have drifted apart, by the real program.

namespace varnion {
namespace {

namespace fs = std::filesystem;

class Refresh : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    // Alone in a folder: a rebuild also looks for what is new beside a folder that was dropped.
    fichier("t/src/a.txt", "hello");
    fichier("t/src/Sub/b.txt", "bb");
    fichier("t/src/Sub/c.txt", "c");
    reussit({"project", "new", "p.vnpr"});
    reussit({"project", "add", "p.vnpr", "t/src"});
  }
  void derive() const {
    fs::remove(d + "t/src/a.txt");
    fichier("t/src/Sub/b.txt", "bbbb");
    fichier("t/src/Sub/new.txt", "12345");
  }
  /// Names of all items.
  [[nodiscard]] std::string noms() const { return reussit({"project", "ls", "p.vnpr", "-R"}); }
  [[nodiscard]] bool a(const std::string &nom) const { return noms().find(nom) != std::string::npos; }
};

TEST_F(Refresh, DifferencesAreListedAndAcceptedByKind) {
  reussit({"project", "refresh", "p.vnpr"});
  EXPECT_NE(lance({"project", "refresh", "p.vnpr"}).messages.find("didn't reveal"), std::string::npos);
  derive();
  const std::string avant = lit(d + "p.vnpr");
  const std::string lignes = reussit({"project", "refresh", "p.vnpr", "--additions"});
  EXPECT_EQ(lignes, "D|18|-1|5|" + d + "t/src/|a.txt\nM|19|-2|4|" + d + "t/src/Sub/|b.txt\nA|19|0|5|" + d +
                        "t/src/Sub/|new.txt\n");
  EXPECT_EQ(lit(d + "p.vnpr"), avant) << "listing changes nothing";

  reussit({"project", "refresh", "p.vnpr", "--accept", "deletions"});
  EXPECT_FALSE(a("a.txt"));
  EXPECT_FALSE(a("new.txt"));
  reussit({"project", "refresh", "p.vnpr", "--accept", "modifications"});
  reussit({"project", "refresh", "p.vnpr", "--accept", "additions"});
  EXPECT_TRUE(a("new.txt"));
  EXPECT_EQ(reussit({"project", "refresh", "p.vnpr", "--additions"}), "");
  EXPECT_EQ(lance({"project", "refresh", "p.vnpr", "--accept", "some"}).statut, 2);
}

TEST_F(Refresh, RebuildByCommandAndByLetter) {
  derive();
  EXPECT_EQ(reussit({"project", "rebuild", "p.vnpr", "--log", "r.log"}),
            "1 deletions, 1 modifications; 0 folders and 1 files added.\n");
  const std::string journal = lit(d + "r.log");
  for (const std::string &ligne : {"Deletion\t" + d + "t/src/a.txt", "Modification\t" + d + "t/src/Sub/b.txt",
                                   "Addition\t" + d + "t/src/Sub/new.txt"})
    EXPECT_NE(journal.find(ligne), std::string::npos) << ligne << "\n" << journal;
  EXPECT_TRUE(a("new.txt"));

  fs::remove_all(d + "t/src/Sub");
  EXPECT_EQ(reussit({"-RJ", "p.vnpr", "j.log"}),
            "1 deletions, 0 modifications; 0 folders and 0 files added.\n");
  EXPECT_NE(lit(d + "j.log").find("Deletion\t" + d + "t/src/Sub"), std::string::npos);
  EXPECT_FALSE(a("b.txt"));
  fichier("t/src/last.txt", "x");
  reussit({"-R", "p.vnpr"});
  EXPECT_TRUE(a("last.txt"));
  EXPECT_EQ(lance({"-RJ", "p.vnpr"}).statut, 2);
  echoue({"project", "rebuild", "p.vnpr", "--log", "none/r.log"}, 1, "none/r.log");
  echoue({"-R", "none.vnpr"}, 1, "none.vnpr");
}

TEST_F(Refresh, MovedSourcesAreFoundAgain) {
  fs::rename(d + "t/src", d + "t/moved");
  EXPECT_EQ(reussit({"project", "move-path", "p.vnpr", "t/src", "t/moved"}),
            "Access path modified for 5 files/folders.\n");
  EXPECT_EQ(reussit({"project", "refresh", "p.vnpr", "--additions"}), "");
  reussit({"project", "new", "empty.vnpr"});
  echoue({"project", "move-path", "empty.vnpr", "src", "moved"}, 1, "contains no files");
}

// Where the head of a project asks for it, a compile brings the project up to date first.
TEST_F(Refresh, ACompileRebuildsTheProjectThatAsksForIt) {
  derive();
  std::string octets = lit(d + "p.vnpr");
  ASSERT_GT(octets.size(), 0x0EU);
  octets[0x0E] = static_cast<char>(octets[0x0E] | 0x20);
  fichier("p.vnpr", octets);
  reussit({"compile", "p.vnpr", "-o", "i.iso"});
  EXPECT_TRUE(a("new.txt"));
  EXPECT_FALSE(a("a.txt"));
  const std::string image = lit(d + "i.iso");
  EXPECT_NE(image.find("12345"), std::string::npos);
  EXPECT_NE(image.find("NEW.TXT"), std::string::npos);
  EXPECT_EQ(image.find("hello"), std::string::npos);
}

// Files that come in below a new folder get their type and creator from the table, as those of "project add"
// do.
TEST_F(Refresh, NewFilesGetTheSignatureOfTheirExtension) {
  fichier("t.sig", "txt,R*chtext,Text\r\n");
  const auto signatures = [&](const std::vector<std::string> &commande, bool reconstruit) {
    fs::remove(d + "p.vnpr");
    fs::remove_all(d + "t/src/Late");
    reussit({"project", "new", "p.vnpr"});
    reussit({"project", "add", "p.vnpr", "t/src"});
    fichier("t/src/Late/late.txt", "late");
    if (reconstruit) {
      std::string octets = lit(d + "p.vnpr");
      octets.at(0x0E) = static_cast<char>(octets.at(0x0E) | 0x20);
      fichier("p.vnpr", octets);
    }
    reussit(commande);
    const std::string octets = lit(d + "p.vnpr");
    for (std::size_t ici = 756; ici + 756 <= octets.size(); ici += 756)
      if (octets.compare(ici + 0x170, 9, std::string("late.txt\0", 9)) == 0)
        return octets.substr(ici + 0x66, 8);
    return std::string("none");
  };
  const struct {
    std::vector<std::string> commande;
    bool reconstruit;
  } cas[] = {
      {{"project", "rebuild", "p.vnpr"}, false},
      {{"-R", "p.vnpr"}, false},
      {{"project", "refresh", "p.vnpr", "--additions", "--accept", "additions"}, false},
      {{"compile", "p.vnpr", "-o", "i.iso", "-f"}, true},
      {{"-C", "p.vnpr"}, true},
  };
  for (const auto &c : cas) EXPECT_EQ(signatures(c.commande, c.reconstruit), "R*chtext") << c.commande[0];
  // Of two tables in the folder none is taken, but for the one that is named.
  fichier("other.sig", "txt,Moreless,Text\r\n");
  for (const auto &c : cas) {
    auto nommee = c.commande;
    nommee.insert(nommee.end(), {"--signatures", "other.sig"});
    EXPECT_EQ(signatures(nommee, c.reconstruit), "Moreless") << c.commande[0];
    nommee.back() = "none.sig";
    echoue(nommee, 1, "none.sig");
  }
}

}  // namespace
}  // namespace varnion
