#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"

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

}  // namespace
}  // namespace varnion
