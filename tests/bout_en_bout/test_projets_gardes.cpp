#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "bout_en_bout/programme.hpp"

// What a project takes from the disk and what it does not, by the real program.

namespace varnion {
namespace {

namespace fs = std::filesystem;

class ProjetsGardes : public essai::Programme {
 protected:
  [[nodiscard]] std::string noms(const std::string &projet = "p.vnpr") const {
    return reussit({"project", "ls", projet, "-R"});
  }
  [[nodiscard]] bool a(const std::string &nom, const std::string &projet = "p.vnpr") const {
    return noms(projet).find(nom) != std::string::npos;
  }
  /// A home folder with one folder of it in a project that lies beside.
  void maison() const {
    fichier("Discs/a.txt", "hello");
    fichier(".ssh/id_rsa", "SECRET KEY");
    fichier("letter.txt", "private");
    reussit({"project", "new", "p.vnpr"});
    reussit({"project", "add", "p.vnpr", "Discs"});
  }
  void reconstruit_avant_compilation() const {
    std::string octets = lit(d + "p.vnpr");
    octets.at(0x0E) = static_cast<char>(octets.at(0x0E) | 0x20);
    fichier("p.vnpr", octets);
  }
};

TEST_F(ProjetsGardes, ARebuildStaysInsideWhatTheProjectLists) {
  maison();
  fichier("Discs/new.txt", "new");
  reconstruit_avant_compilation();
  reussit({"compile", "p.vnpr", "-o", "i.iso"});
  const std::string image = lit(d + "i.iso");
  EXPECT_NE(image.find("NEW.TXT"), std::string::npos);
  EXPECT_EQ(image.find("SECRET KEY"), std::string::npos);
  reussit({"-R", "p.vnpr"});
  const essai::Fin fin = lance({"project", "rebuild", "p.vnpr"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_NE(fin.messages.find("3 items of the folder " + d), std::string::npos) << fin.messages;
  EXPECT_FALSE(a("id_rsa") || a("letter.txt") || a("i.iso") || a("p.vnpr"));
  reussit({"project", "rebuild", "p.vnpr", "--siblings"});
  EXPECT_TRUE(a("id_rsa") && a("letter.txt"));
  EXPECT_FALSE(a("p.vnpr") || a("p.BAK"));
}

TEST_F(ProjetsGardes, ARebuildWhoseRootFolderIsGoneEmptiesNothing) {
  maison();
  reconstruit_avant_compilation();
  fs::rename(d + "Discs", d + "away");
  const std::string avant = lit(d + "p.vnpr");
  for (const std::vector<std::string> &commande : {std::vector<std::string>{"project", "rebuild", "p.vnpr"},
                                                   {"-R", "p.vnpr"},
                                                   {"project", "rebuild", "p.vnpr", "--quiet"},
                                                   {"compile", "p.vnpr", "-o", "i.iso"}}) {
    echoue(commande, 1, d + "Discs");
    EXPECT_EQ(lit(d + "p.vnpr").substr(756), avant.substr(756)) << commande[0];
    EXPECT_FALSE(existe("i.iso"));
  }
  const Programme::Conditions non{.entree = "n\n"};
  EXPECT_EQ(lance_sous(non, {"project", "rebuild", "p.vnpr", "--ask"}).statut, 1);
  EXPECT_TRUE(a("a.txt"));
  const Programme::Conditions oui{.entree = "y\n"};
  EXPECT_EQ(lance_sous(oui, {"project", "rebuild", "p.vnpr", "--ask"}).statut, 0);
  EXPECT_EQ(noms(), "");
  fs::rename(d + "away", d + "Discs");
  reussit({"project", "add", "p.vnpr", "Discs"});
  fs::remove_all(d + "Discs");
  EXPECT_EQ(reussit({"project", "rebuild", "p.vnpr", "--force"}),
            "1 deletions, 0 modifications; 0 folders and 0 files added.\n");
}

TEST_F(ProjetsGardes, WhatAFolderHasAndADiscCannotHoldIsTold) {
  fichier("src/a.txt", "hello");
  fichier("src/._lone", "x");
  ASSERT_EQ(::mkfifo((d + "src/pipe").c_str(), 0600), 0);
  fs::create_symlink("nowhere", d + "src/dangling");
  fs::create_directory_symlink("..", d + "src/up");
  reussit({"project", "new", "p.vnpr"});
  for (const std::vector<std::string> &commande :
       {std::vector<std::string>{"project", "add", "p.vnpr", "src"}, {"master", "src", "-o", "i.iso"}}) {
    const essai::Fin fin = lance(commande);
    EXPECT_EQ(fin.statut, 1) << commande[0];
    for (const char *nom : {"._lone", "pipe", "dangling", "up"}) {
      const std::string ligne = "varnion-cli: Left out, ";
      const std::size_t ici = fin.messages.find(": " + d + "src/" + nom + "\n");
      ASSERT_NE(ici, std::string::npos) << nom << "\n" << fin.messages;
      EXPECT_EQ(fin.messages.compare(fin.messages.rfind('\n', ici) + 1, ligne.size(), ligne), 0) << nom;
    }
    EXPECT_NE(fin.messages.find("4 items were left out:"), std::string::npos) << fin.messages;
  }
  EXPECT_TRUE(a("a.txt"));
  EXPECT_TRUE(existe("i.iso")) << "the rest is on the disc";
}

TEST_F(ProjetsGardes, TheSecondOfANameIsNamed) {
  fichier("a/x.txt", "1");
  fichier("b/x.txt", "2");
  fichier("b/y.txt", "3");
  for (const char *projet : {"p.vnso", "p.vnpr"}) {
    reussit({"project", "new", projet});
    reussit({"project", "add", projet, "a/x.txt"});
    echoue({"project", "add", projet, "b/x.txt", "b/y.txt"}, 1, "b/x.txt");
    EXPECT_TRUE(a("y.txt", projet));
    echoue({"project", "add", projet, "b/*.*"}, 1, "b/x.txt");
  }
  echoue({"master", "a/x.txt", "b/x.txt", "-o", "i.iso"}, 1, "b/x.txt");
  reussit({"project", "add", "p.vnso", "a/x.txt"});
}

TEST_F(ProjetsGardes, NamesOfTheHfsSideSurviveTheFormat) {
  fichier("src/a.txt", "1");
  reussit({"project", "new", "p.vnpr", "--hfsplus"});
  reussit({"project", "add", "p.vnpr", "src"});
  const std::string nom = "A name typed by hand, longer than HFS holds.txt";
  reussit({"project", "rename", "p.vnpr", "src/a.txt", nom, "--view", "hfs"});
  reussit({"project", "options", "p.vnpr", "--format", "hfs"});
  EXPECT_NE(
      reussit({"project", "ls", "p.vnpr", "-R", "--view", "hfs"}).find("A name typed by hand, longe.txt"),
      std::string::npos);
  reussit({"project", "label", "p.vnpr", "--hfs", "Disc"});
  reussit({"layout", "p.vnpr", "--window", "10,10,400,400"});
  EXPECT_NE(reussit({"project", "ls", "p.vnpr", "-R", "--view", "hfs"}).find(nom), std::string::npos);
  reussit({"project", "rename", "p.vnpr", "src/a.txt", "\u00D0 " + nom, "--view", "hfs"});
  const std::string avant = lit(d + "p.vnpr");
  echoue({"project", "options", "p.vnpr", "--format", "hfs"}, 1, nom);
  EXPECT_EQ(lit(d + "p.vnpr"), avant);
  reussit({"project", "options", "p.vnpr", "--format", "hfs", "--force"});
}

}  // namespace
}  // namespace varnion
