#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/decomprime.hpp"

// Macintosh volumes seen, read and copied to the PC by the real program.

namespace varnion {
namespace {

namespace fs = std::filesystem;
using essai::Fin;
using outils::FichierMac;

constexpr std::uint32_t kEpoque = 2082844800;

std::uint32_t u32(const std::string &octets, std::size_t place) {
  std::uint32_t valeur = 0;
  for (std::size_t i = 0; i < 4; ++i) valeur = valeur << 8 | static_cast<std::uint8_t>(octets.at(place + i));
  return valeur;
}

/// A disc in both formats with one file of two forks, made by the program from a MacBinary file.
class Volumes : public essai::Programme, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    Programme::SetUp();
    app_.nom = "Appl.\x8E";  // an acute e at its end
    app_.type = "APPL";
    app_.createur = "Va!n";
    app_.drapeaux = 0x2100;
    app_.creation = kEpoque + 800000000;
    app_.modification = kEpoque + 900000000;
    app_.data = std::string(130, 'd') + "data";
    app_.rsrc = std::string(1000, 'r') + "rsrc";
    fichier("src/app.bin", outils::macbinary(app_));
    fichier("src/a.b/Read Me", "hello");
    fichier("src/a.b/empty.txt", "");
    fichier("src/.hidden", "h");
    maitre({"src/app.bin", "src/a.b", "src/.hidden"});
  }
  void maitre(std::vector<std::string> sources) const {
    sources.insert(sources.begin(), "master");
    sources.insert(sources.end(), {"-o", "i.iso", "--label", "My.Disc", "--force"});
    if (GetParam()) sources.emplace_back("--hfsplus");
    reussit(sources);
  }
  // The first copy goes to folder "o".
  std::string prend(const std::vector<std::string> &mots, const std::string &forme = "data") const {
    std::vector<std::string> tous{"get", "i.iso"};
    tous.insert(tous.end(), mots.begin(), mots.end());
    tous.insert(tous.end(), {"--to", "o", "--mode", forme});
    return reussit(tous);
  }
  [[nodiscard]] std::string sorti(const std::string &nom) const { return lit(d + "o/" + nom); }

  FichierMac app_;
};

INSTANTIATE_TEST_SUITE_P(Formats, Volumes, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

constexpr const char *kApp = "Appl.é";

TEST_P(Volumes, EveryFormHoldsWhatWentIn) {
  prend({kApp}, "data");
  EXPECT_EQ(sorti(kApp), app_.data);
  struct stat fiche {};
  ASSERT_EQ(::stat((d + "o/" + kApp).c_str(), &fiche), 0);
  EXPECT_EQ(fiche.st_mtime, 900000000 + plateforme::biais_fuseau());
  for (const char *forme : {"resource", "macbinary", "applesingle", "appledouble"}) {
    fs::remove_all(d + "o");
    prend({kApp}, forme);
    const std::string tout = sorti(kApp), compagnon = sorti(std::string("._") + kApp);
    if (forme == std::string("resource")) {
      EXPECT_EQ(tout, app_.rsrc);
      continue;
    }
    if (forme == std::string("macbinary")) {
      ASSERT_EQ(tout.size(), 128U + 256U + app_.rsrc.size());
      EXPECT_EQ(tout.substr(1, 7), std::string(1, '\x06') + app_.nom);
      EXPECT_EQ(tout.substr(65, 10), app_.type + app_.createur + std::string("\x21\x00", 2));
      EXPECT_EQ(u32(tout, 91), app_.creation);
      EXPECT_EQ(u32(tout, 95), app_.modification);
      EXPECT_EQ(tout.substr(128, app_.data.size()), app_.data);
      EXPECT_EQ(tout.substr(128 + 256), app_.rsrc);
      continue;
    }
    const bool simple = forme == std::string("applesingle");
    const std::string &tete = simple ? tout : compagnon;
    ASSERT_GT(tete.size(), 122U) << forme;
    EXPECT_EQ(u32(tete, 0), simple ? 0x00051600U : 0x00051607U);
    const std::size_t finder = simple ? 90 : 78;
    EXPECT_EQ(tete.substr(finder, 10), app_.type + app_.createur + std::string("\x21\x00", 2));
    EXPECT_EQ(tete.substr(finder + 32, app_.rsrc.size()), app_.rsrc);
    EXPECT_EQ(simple ? tete.substr(122 + app_.rsrc.size()) : tout, app_.data);
  }
}

TEST_P(Volumes, WhatComesOutInAContainerGoesBackInUnchanged) {
  const std::string avant = reussit({"ls", "i.iso", "-lRa"});
  for (const char *forme : {"macbinary", "applesingle"}) {
    fs::remove_all(d + "o");
    prend({kApp}, forme);
    const std::string premier = reussit({"cat", "i.iso", kApp, "--resource"});
    reussit(
        {"master", std::string("o/") + kApp, "-o", "i2.iso", "--force", GetParam() ? "--hfsplus" : "--hfs"});
    EXPECT_EQ(reussit({"cat", "i2.iso", kApp}), app_.data) << forme;
    EXPECT_EQ(reussit({"cat", "i2.iso", kApp, "--resource"}), app_.rsrc) << forme;
    EXPECT_NE(reussit({"ls", "i2.iso", "-l"}).find("APPLVa!n"), std::string::npos) << forme;
  }
}

TEST_P(Volumes, AWholeVolumeComesOutUnderItsName) {
  const std::string texte = prend({"/"});
  EXPECT_EQ(sorti("My_Disc/a_b/Read Me"), "hello");
  EXPECT_EQ(sorti(std::string("My_Disc/") + kApp), app_.data);
  EXPECT_EQ(sorti("My_Disc/.hidden"), "h");
  EXPECT_TRUE(existe("o/My_Disc/a_b/empty.txt"));
  EXPECT_NE(texte.find("4 files in 2 folders"), std::string::npos) << texte;
  EXPECT_NE(texte.find("1 files have no such fork"), std::string::npos) << texte;
}

TEST_P(Volumes, FilesThatAreThereStayUnlessToldOtherwise) {
  fichier("o/.hidden", "mine");
  echoue({"get", "i.iso", ".hidden", "--to", "o"}, 1, "o/.hidden");
  EXPECT_EQ(sorti(".hidden"), "mine");
  const auto repond = [this](const std::string &reponse) {
    Conditions conditions;
    conditions.entree = reponse + "\n";
    return lance_sous(conditions, {"get", "i.iso", ".hidden", "--to", "o", "--overwrite", "ask"});
  };
  EXPECT_NE(repond("n").messages.find("already exists"), std::string::npos);
  EXPECT_EQ(sorti(".hidden"), "mine");
  EXPECT_EQ(repond("y").statut, 0);
  EXPECT_EQ(sorti(".hidden"), "h");
  fichier("o/.hidden", "mine");
  reussit({"get", "i.iso", ".hidden", "--to", "o", "--overwrite", "yes"});
  EXPECT_EQ(sorti(".hidden"), "h");
  // A folder of that name is never removed for a file.
  fs::remove_all(d + "o");
  fichier("o/.hidden/x", "x");
  echoue({"get", "i.iso", ".hidden", "--to", "o", "--overwrite", "yes"}, 1, ".hidden");
  EXPECT_EQ(sorti(".hidden/x"), "x");
}

// Two Macintosh names that become one on the PC: both files come out.
TEST_P(Volumes, NamesThatMeetOnThePcAreNumbered) {
  fichier("two/a_b.txt", "underscore");
  fichier("two/other.txt", "slash");
  std::vector<std::string> neuf{"project", "new", "p.vnpr"};
  if (GetParam()) neuf.emplace_back("--hfsplus");
  reussit(neuf);
  reussit({"project", "add", "p.vnpr", "two"});
  reussit({"project", "rename", "p.vnpr", "two/other.txt", "a/b.txt", "--view", "hfs"});
  reussit({"compile", "p.vnpr", "-o", "i.iso", "--force"});
  EXPECT_EQ(reussit({"cat", "i.iso", "two/a:b.txt"}), "slash");
  const Fin fin = lance({"get", "i.iso", "two", "--to", "o", "--overwrite", "yes"});
  EXPECT_EQ(fin.statut, 0);
  EXPECT_NE(fin.messages.find("a_b-001.txt"), std::string::npos) << fin.messages;
  EXPECT_EQ(sorti("two/a_b.txt").size() + sorti("two/a_b-001.txt").size(), 15U);
}

// Folders that become one on the PC: what the first brought is not replaced by the second.
TEST_P(Volumes, FoldersThatMeetOnThePcKeepAllTheirFiles) {
  fichier("f/a.b/x", "dot");
  fichier("f/a_b/x", "underscore");
  maitre({"f/a.b", "f/a_b"});
  EXPECT_EQ(lance({"get", "i.iso", "/", "--to", "o", "--overwrite", "yes"}).statut, 0);
  EXPECT_EQ(sorti("My_Disc/a_b/x").size() + sorti("My_Disc/a_b/x-001").size(), 13U);
}

TEST_P(Volumes, TheImageItselfAndOldFilesAreNeverLost) {
  fichier("g/i.iso", "small");
  maitre({"g/i.iso"});
  const std::string image = lit(d + "i.iso");
  echoue({"get", "i.iso", "i.iso", "--to", ".", "--overwrite", "yes"}, 1, "being read");
  EXPECT_EQ(lit(d + "i.iso"), image);
  // A file that cannot be written whole leaves the one that it would replace.
  fichier("big/big.dat", std::string(300000, 'x'));
  maitre({"big/big.dat"});
  fichier("o/big.dat", "older");
  Conditions conditions;
  conditions.taille_max = 100000;
  EXPECT_EQ(lance_sous(conditions, {"get", "i.iso", "big.dat", "--to", "o", "--overwrite", "yes"}).statut, 1);
  EXPECT_EQ(sorti("big.dat"), "older");
  EXPECT_EQ(std::distance(fs::directory_iterator(d + "o"), fs::directory_iterator()), 1);
}

// One press of Ctrl-C asks, and Yes stops; without questions it stops at once.
TEST_P(Volumes, AStopIsAskedAboutWhereQuestionsAre) {
  for (int i = 0; i < 400; ++i) fichier("many/f" + std::to_string(i), std::string(20000, 'm'));
  maitre({"many"});
  for (const bool interroge : {false, true}) {
    fs::remove_all(d + "o");
    Conditions conditions;
    conditions.entree = "y\n";
    conditions.pendant = [this](pid_t enfant) {
      for (int essai = 0; essai < 2000 && !existe("o/My_Disc/f1"); ++essai) ::usleep(500);
      ::kill(enfant, SIGINT);
    };
    std::vector<std::string> mots{"get", "i.iso", "/", "--to", "o"};
    if (interroge) mots.emplace_back("--ask");
    const Fin fin = lance_sous(conditions, mots);
    EXPECT_EQ(fin.statut, existe("o/My_Disc/f99") ? 0 : 1) << fin.messages;
    if (fin.statut == 0) continue;  // it was faster than the signal
    EXPECT_EQ(fin.messages.find("really want to abort") != std::string::npos, interroge) << fin.messages;
    for (const auto &entree : fs::directory_iterator(d + "o/My_Disc"))
      EXPECT_EQ(entree.file_size(), 20000U) << entree.path();
  }
}

TEST_P(Volumes, ListsFindsAndTellsFacts) {
  EXPECT_EQ(reussit({"ls", "i.iso"}), std::string("a.b/\n") + kApp + "\n");
  EXPECT_NE(reussit({"ls", "i.iso", "-a"}).find(".hidden"), std::string::npos);
  EXPECT_EQ(reussit({"ls", "i.iso", "a.b"}), "a.b/empty.txt\na.b/Read Me\n");
  EXPECT_NE(reussit({"ls", "i.iso", "-R"}).find("a.b/Read Me"), std::string::npos);
  const std::string longue = reussit({"ls", "i.iso", kApp, "-l"});
  EXPECT_NE(longue.find("APPLVa!n"), std::string::npos) << longue;
  EXPECT_NE(longue.find(" 134 "), std::string::npos) << longue;
  const std::string json = reussit({"ls", "i.iso", kApp, "--json"});
  EXPECT_NE(json.find("\"resource_length\": 1004"), std::string::npos) << json;
  EXPECT_NE(json.find("\"finder_flags\": 8448"), std::string::npos) << json;

  EXPECT_EQ(reussit({"find", "i.iso", "Read*"}), "a.b/Read Me\n");
  EXPECT_EQ(reussit({"find", "i.iso", "--signature", "APPL"}), std::string(kApp) + "\n");
  EXPECT_EQ(reussit({"find", "i.iso", "--signature", "Va!n"}), std::string(kApp) + "\n");
  echoue({"find", "i.iso", "nothing"}, 1, "nothing");
  echoue({"cat", "i.iso", "a.b"}, 1, "is a folder");
  echoue({"cat", "i.iso", "a.b/none"}, 1, "a.b/none");
  echoue({"get", "i.iso", "/"}, 2, "--to");

  const std::string info = reussit({"info", "i.iso", "--json"});
  for (const std::string membre :
       {R"("kind": "Apple")", R"("volume": "My.Disc")", R"("files": 4)", R"("folders": 1)",
        R"("read_only": false)", GetParam() ? R"("HFS+")" : R"("HFS")"})
    EXPECT_NE(info.find(membre), std::string::npos) << membre << "\n" << info;
}

TEST_P(Volumes, ImagesThatHoldNothingAreRefused) {
  fichier("empty.img", "");
  fichier("text.img", "no volume in here");
  for (const char *mot : {"info", "ls"}) {
    echoue({mot, "empty.img"}, 1, "Null length file");
    echoue({mot, "text.img"}, 1, "doesn't contain a valid HFS partition");
    echoue({mot, "none.img"}, 1, "none.img");
  }
}

TEST_P(Volumes, AFullDiskLeavesNoHalfFile) {
  fichier("big/big.dat", std::string(300000, 'x'));
  maitre({"big/big.dat"});
  Conditions conditions;
  conditions.taille_max = 100000;
  for (const char *forme : {"data", "macbinary", "appledouble"}) {
    const Fin fin = lance_sous(conditions, {"get", "i.iso", "big.dat", "--to", "o", "--mode", forme});
    EXPECT_EQ(fin.statut, 1) << forme;
    EXPECT_NE(fin.messages.find("big.dat"), std::string::npos) << fin.messages;
    EXPECT_FALSE(existe("o/big.dat")) << forme;
  }
}

TEST_P(Volumes, OfATruncatedImageComesOutWhatIsThere) {
  fichier("big/a.dat", std::string(100000, 'a'));
  fichier("big/z.dat", std::string(400000, 'z'));
  maitre({"big/a.dat", "big/z.dat"});
  std::string image = lit(d + "i.iso");
  image.resize(image.rfind('z') - 200000);
  fichier("i.iso", image);
  const Fin fin = lance({"get", "i.iso", "/", "--to", "o"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("z.dat"), std::string::npos) << fin.messages;
  EXPECT_EQ(sorti("My_Disc/a.dat"), std::string(100000, 'a'));
  const std::string reste = sorti("My_Disc/z.dat");
  EXPECT_GT(reste.size(), 100000U);
  EXPECT_EQ(reste.find_first_not_of('z'), std::string::npos);
}

}  // namespace
}  // namespace varnion
