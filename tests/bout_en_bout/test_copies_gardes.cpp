#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/fabrique_dmg.hpp"

// What protects who reads an image from strangers: names that deceive, room on the disk, links in the target.

namespace varnion {
namespace {

namespace fs = std::filesystem;
using essai::Fin;

class CopiesGardees : public essai::Programme {
 protected:
  void maitre(std::vector<std::string> sources, bool hfsplus = true) const {
    sources.insert(sources.begin(), "master");
    sources.insert(sources.end(), {"-o", "i.iso", "--label", "Disc", "--force"});
    if (hfsplus) sources.emplace_back("--hfsplus");
    reussit(sources);
  }
  [[nodiscard]] static bool a(std::string_view texte, std::string_view cherche) {
    return texte.find(cherche) != std::string_view::npos;
  }
};

// Nothing that a terminal obeys or that turns a name round leaves the program raw, by whatever command.
TEST_F(CopiesGardees, NamesReachNeitherTerminalNorDiskRaw) {
  fichier("src/src/sub\u202Egpj.exe", "x");
  fichier("src/src/esc\x1B[2Jx", "y");
  fichier("src/src/two\nlines", "z");
  fichier("src/src/deep\u200Bdir/a", "w");
  maitre({"src"});
  for (const std::vector<std::string> &mots : std::vector<std::vector<std::string>>{
           {"ls", "i.iso", "-R"},
           {"ls", "i.iso", "-lR"},
           {"ls", "i.iso", "-R", "--json"},
           {"find", "i.iso", "two\nlines"},
           {"get", "i.iso", "src", "--to", "o"},
           {"--verbose", "get", "i.iso", "src", "--to", "o2"},
       }) {
    const Fin fin = lance(mots);
    EXPECT_EQ(fin.statut, 0) << mots[0] << fin.messages;
    const std::string tout = fin.sortie + fin.messages;
    for (const char *brut : {"\x1B", "\u202E", "\u200B", "two\nlines"})
      EXPECT_FALSE(a(tout, brut)) << mots[0] << "\n" << tout;
  }
  const std::string liste = reussit({"ls", "i.iso", "-R"});
  EXPECT_TRUE(a(liste, "src/sub\\u202Egpj.exe\n")) << liste;
  EXPECT_TRUE(a(liste, "src/esc\\x1B[2Jx\n")) << liste;
  EXPECT_TRUE(a(liste, "src/two\\nlines\n")) << liste;
  EXPECT_TRUE(a(reussit({"ls", "i.iso", "-R", "--json"}), "\"src/sub\\u202egpj.exe\""));
  EXPECT_TRUE(existe("o/src/sub_gpj.exe"));
  EXPECT_TRUE(existe("o/src/esc_[2Jx"));
  EXPECT_TRUE(existe("o/src/two_lines"));
  EXPECT_TRUE(existe("o/src/deep_dir/a"));
  const Fin fin = lance({"get", "i.iso", "src", "--to", "o3"});
  EXPECT_TRUE(a(fin.messages, "sub\\u202Egpj.exe")) << fin.messages;
  EXPECT_TRUE(a(fin.messages, "sub_gpj.exe")) << fin.messages;
  EXPECT_TRUE(a(fin.messages, "deep\\u200Bdir")) << fin.messages;
}

// The bytes of a file are no text: they come as they are.
TEST_F(CopiesGardees, CatGivesBytes) {
  const std::string octets("\x1B[2J\xFF\x00\r\n\xE2\x80\xAE", 11);
  fichier("src/src/b", octets);
  maitre({"src"});
  EXPECT_EQ(reussit({"cat", "i.iso", "src/b"}), octets);
}

// A list of JSON begins with its bracket, whoever writes it, and an empty one is one too.
TEST_F(CopiesGardees, ListsOfJsonAreWellFormed) {
  fichier("src/a", "x");
  fichier("src/b", "y");
  maitre({"src"});
  reussit({"project", "new", "p.vnpr"});
  reussit({"project", "add", "p.vnpr", "src"});
  reussit({"new", "v.img", "--size", "1", "--label", "Empty"});
  const auto commence = [this](const std::vector<std::string> &mots, std::size_t objets) {
    const std::string json = reussit(mots);
    EXPECT_TRUE(objets == 0 ? json == "[]\n" : json.starts_with("[\n  {") && json.ends_with("}\n]\n"))
        << json;
    std::size_t separes = 0;
    for (std::size_t i = json.find("},\n  {"); i != std::string::npos; i = json.find("},\n  {", i + 1))
      ++separes;
    EXPECT_EQ(separes + 1, std::max<std::size_t>(objets, 1)) << json;
  };
  commence({"ls", "i.iso", "--json"}, 2);
  commence({"find", "i.iso", "a", "--json"}, 1);
  commence({"ls", "v.img", "--json"}, 0);
  commence({"project", "ls", "p.vnpr", "-R", "--json"}, 3);
  commence({"alias", "i.iso", "--json"}, 0);
}

// Below a folder of the target lies a link: nothing goes through it unless the user says so.
TEST_F(CopiesGardees, LinksInTheTargetAreNotFollowed) {
  fichier("src/src/deep/a", "x");
  maitre({"src"});
  fs::create_directories(d + "elsewhere");
  fs::create_directories(d + "o/src");
  fs::create_directory_symlink(d + "elsewhere", d + "o/src/deep");
  fs::create_directory_symlink(d + "o", d + "link");
  for (const char *cible : {"o", "link"}) {
    const Fin fin = lance({"get", "i.iso", "src", "--to", cible});
    EXPECT_EQ(fin.statut, 1) << cible;
    EXPECT_TRUE(a(fin.messages, "src/deep") && a(fin.messages, "is a link")) << fin.messages;
    EXPECT_TRUE(fs::is_empty(d + "elsewhere")) << cible;
  }
  reussit({"get", "i.iso", "src", "--to", "o", "--force"});
  EXPECT_EQ(lit(d + "elsewhere/a"), "x");
  // A link where a file is to be written is replaced, not followed.
  fichier("other", "untouched");
  fs::create_directories(d + "p/src/deep");
  fs::create_symlink(d + "other", d + "p/src/deep/a");
  reussit({"get", "i.iso", "src", "--to", "p", "--overwrite", "yes"});
  EXPECT_EQ(lit(d + "other"), "untouched");
  EXPECT_EQ(lit(d + "p/src/deep/a"), "x");
}

TEST_F(CopiesGardees, ForksThatAModeLeavesOutAreTold) {
  outils::FichierMac mac;
  mac.rsrc = "r";
  for (const char *nom : {"one", "two"}) {
    mac.nom = nom;
    fichier(std::string("src/") + nom + ".bin", outils::macbinary(mac));
  }
  fichier("src/three", "no fork");
  maitre({"src"}, false);
  EXPECT_TRUE(a(reussit({"get", "i.iso", "one", "three", "--to", "o"}), "\n1 file had a resource fork"));
  const std::string deux = reussit({"get", "i.iso", "one", "two", "--to", "p"});
  EXPECT_TRUE(a(deux, "\n2 files had a resource fork") && a(deux, "MacBinary")) << deux;
  EXPECT_FALSE(a(reussit({"get", "i.iso", "three", "--to", "q"}), "fork"));
  EXPECT_FALSE(a(reussit({"get", "i.iso", "one", "--to", "r", "--mode", "macbinary"}), "fork"));
}

// A small image that becomes a large one: no reading command does that unasked.
TEST_F(CopiesGardees, AnImageThatExpandsOutOfProportionIsRefused) {
  constexpr std::uint64_t kMorceau = 64U << 20;
  const std::string zeros = essai::FabriqueDmg::par_zlib(std::string(kMorceau, '\0'));
  essai::FabriqueDmg bombe;
  bombe.tables.push_back({0, std::vector<essai::ChunkDmg>(5, {0x80000005, kMorceau / 512, zeros}), {}});
  fichier("bomb.dmg", bombe.image());
  for (const std::vector<std::string> &mots : std::vector<std::vector<std::string>>{
           {"info", "bomb.dmg"},
           {"ls", "bomb.dmg"},
           {"find", "bomb.dmg", "a"},
           {"cat", "bomb.dmg", "a"},
           {"get", "bomb.dmg", "a", "--to", "o"},
           {"alias", "bomb.dmg"},
           {"dump", "bomb.dmg"},
           {"analyze", "bomb.dmg", "--sector", "0"},
       }) {
    const Conditions petit{.taille_max = kMorceau};
    const Fin fin = lance_sous(petit, mots);
    EXPECT_EQ(fin.statut, 1) << mots[0];
    EXPECT_TRUE(a(fin.messages, "320.0 MB") && a(fin.messages, "--force")) << mots[0] << fin.messages;
  }
  // Asked for, it goes on: to the end of the room, here.
  const Fin force = lance_sous({.taille_max = kMorceau}, {"info", "bomb.dmg", "--force"});
  EXPECT_EQ(force.statut, 1);
  EXPECT_FALSE(a(force.messages, "--force")) << force.messages;
  EXPECT_TRUE(a(force.messages, "cannot be written")) << force.messages;
}

TEST_F(CopiesGardees, SharedChunksAreNoticed) {
  const std::string comprime = essai::FabriqueDmg::par_zlib(std::string(200 * 512, 'x'));
  essai::FabriqueDmg image;
  image.tables.push_back({0, {{0x80000005, 200, comprime}}, {}});
  while (image.tables[0].chunks.size() < 30)
    image.tables[0].chunks.push_back({0x80000005, 200, {}, UINT64_MAX, comprime.size(), 0});
  fichier("shared.dmg", image.image());
  for (const std::vector<std::string> &mots :
       std::vector<std::vector<std::string>>{{"info", "shared.dmg"}, {"unpack", "shared.dmg", "plain"}}) {
    const Fin fin = lance(mots);
    EXPECT_EQ(fin.statut, 1);
    EXPECT_TRUE(a(fin.messages, "names the same bytes")) << fin.messages;
    EXPECT_FALSE(existe("plain"));
  }
}

}  // namespace
}  // namespace varnion
