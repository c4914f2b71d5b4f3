#include <gtest/gtest.h>

#include <map>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/lecteur_iso.hpp"
#include "outils/programmes.hpp"

// What the real program refuses to change, and what a change leaves alone.

namespace varnion {
namespace {

using essai::Fin;
using Contenus = std::map<std::string, std::string>;

class VolumesGardes : public essai::Programme, public ::testing::WithParamInterface<bool> {
 protected:
  [[nodiscard]] static std::string format() { return GetParam() ? "--hfsplus" : "--hfs"; }
  void nouveau(const std::string &taille) const {
    std::vector<std::string> mots{"new", "v.img", "--size", taille};
    if (GetParam()) mots.emplace_back("--hfsplus");
    reussit(mots);
  }
  // Every file of both ISO trees.
  [[nodiscard]] Contenus cote_iso() const {
    const std::string image = lit(d + "i.iso");
    const outils::Octets octets{
        std::span(reinterpret_cast<const std::uint8_t *>(image.data()), image.size())};
    Contenus contenus;
    for (const bool joliet : {false, true}) {
      const outils::ArbreIso arbre = outils::lit_iso(octets, joliet, false, regle(), false);
      EXPECT_TRUE(arbre.fautes.vide()) << arbre.fautes.texte();
      for (const outils::EntreeIso &e : arbre.entrees)
        if (!e.dossier)
          contenus[(joliet ? "J:" : "I:") + e.chemin] =
              octets.texte(std::uint64_t{e.extent} * 2048, e.taille);
    }
    return contenus;
  }
  [[nodiscard]] std::string par_isoinfo(const std::string &chemin) const {
    return outils::lance("isoinfo -i " + outils::cite(d + "i.iso") + " -x " + outils::cite(chemin)).texte;
  }
  void refuse(const std::vector<std::string> &mots, std::string_view raison) const {
    const std::string avant = lit(d + mots[1]);
    echoue(mots, 1, raison);
    EXPECT_TRUE(lit(d + mots[1]) == avant) << mots[0] << " changed the image";
  }
};

INSTANTIATE_TEST_SUITE_P(Formats, VolumesGardes, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

std::string motif(std::size_t octets, unsigned graine) {
  std::string texte(octets, ' ');
  for (char &c : texte) c = static_cast<char>('a' + (graine = graine * 1664525 + 1013904223) % 26);
  return texte;
}

// The data of files lie once in a hybrid image. What is freed on the Macintosh side is still the ISO side's.
TEST_P(VolumesGardes, EditingAHybridLeavesItsIsoSideAlone) {
  outils::FichierMac app;
  app.nom = "App";
  app.type = "APPL";
  app.createur = "Va!n";
  app.data = motif(3000, 1);
  app.rsrc = motif(120000, 2);  // blocks of the Macintosh side alone
  fichier("src/app.bin", outils::macbinary(app));
  fichier("src/shared.txt", motif(200000, 3));
  fichier("src/folder/other.txt", motif(70000, 4));
  for (int i = 0; i < 40; ++i)
    fichier("src/many/f" + std::to_string(i), motif(500 + 97 * static_cast<unsigned>(i), 9));
  reussit({"master", "src", "-o", "i.iso", format(), "--label", "Both"});
  const Contenus avant = cote_iso();
  ASSERT_EQ(avant.size(), 2U * 43U);
  reussit({"rm", "i.iso", "shared.txt", "many", "-r"});
  fichier("big.txt", std::string(150000, 'B'));
  const Fin fin = lance({"put", "i.iso", "big.txt"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("ISO 9660 side"), std::string::npos) << fin.messages;
  EXPECT_TRUE(cote_iso() == avant);
  // Blocks that are the Macintosh side's own are used again.
  reussit({"rm", "i.iso", "App"});
  fichier("small.txt", std::string(60000, 'S'));
  reussit({"put", "i.iso", "small.txt"});
  EXPECT_EQ(reussit({"cat", "i.iso", "small.txt"}), std::string(60000, 'S'));
  for (int i = 0; i < 60; ++i)
    reussit(
        {"mkdir", "i.iso", "a folder with a long name " + std::to_string(i % 7) + "/d" + std::to_string(i)});
  static_cast<void>(lance({"resize", "i.iso", "--size", "1"}));
  static_cast<void>(lance({"resize", "i.iso", "--size", "9"}));
  EXPECT_TRUE(cote_iso() == avant);
  EXPECT_EQ(par_isoinfo("/SHARED.TXT;1"), motif(200000, 3));
  EXPECT_EQ(par_isoinfo("/FOLDER/OTHER.TXT;1"), motif(70000, 4));
  EXPECT_EQ(reussit({"cat", "i.iso", "folder/other.txt"}), motif(70000, 4));
}

TEST_P(VolumesGardes, ADamagedVolumeIsOnlyReadUnlessForced) {
  nouveau("5");
  std::vector<std::string> mots{"put", "v.img"};
  for (int i = 0; i < 60; ++i) {
    fichier("f" + std::to_string(i), "content " + std::to_string(i));
    mots.push_back("f" + std::to_string(i));
  }
  reussit(mots);
  EXPECT_NE(reussit({"info", "v.img", "--json"}).find("\"read_only\": false"), std::string::npos);
  // A leaf of the catalog, found by the names in it.
  std::string image = lit(d + "v.img");
  std::string nom = "f33";
  if (GetParam()) nom = std::string("\0f\0003\0003", 6);
  const std::size_t place = image.find(nom);
  ASSERT_NE(place, std::string::npos);
  const std::size_t noeud = GetParam() ? 4096 : 512;
  const std::size_t debut =
      (place - (GetParam() ? 32768 : 48640) % noeud) / noeud * noeud + (GetParam() ? 32768 : 48640) % noeud;
  image.replace(debut, 512, 512, '\0');
  fichier("v.img", image);
  const std::string info = reussit({"info", "v.img"});
  EXPECT_NE(info.find("Read only: its catalog is damaged"), std::string::npos) << info;
  const std::vector<std::vector<std::string>> essais{
      {"put", "v.img", "f1"},
      {"rm", "v.img", "f1"},
      {"mkdir", "v.img", "new"},
      {"rename", "v.img", "f1", "g1"},
      {"mv", "v.img", "f1", "/"},
      {"attr", "v.img", "f1", "--type", "ABCD"},
      {"swap", "v.img", "f1"},
      {"label", "v.img", "Other"},
      {"signature", "v.img", "PICTPICT", "--replace", "TEXTTEXT"}};
  for (const auto &essai : essais) refuse(essai, "damaged");
  if (!GetParam()) refuse({"resize", "v.img", "--size", "6"}, "damaged");
  const Fin fin = lance({"attr", "v.img", "f0", "--type", "ABCD", "--force"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_NE(fin.messages.find("damaged"), std::string::npos) << fin.messages;
  EXPECT_NE(reussit({"ls", "v.img", "f0", "-l"}).find("ABCD"), std::string::npos);
}

TEST_P(VolumesGardes, ACutImageIsOnlyRead) {
  nouveau("5");
  fichier("a.dat", motif(1000000, 5));
  reussit({"put", "v.img", "a.dat"});
  std::string image = lit(d + "v.img");
  const std::size_t fin = image.find(motif(1000000, 5).substr(999000)) + 1000;
  image.resize(fin - 20000);
  fichier("v.img", image);
  EXPECT_NE(reussit({"info", "v.img"}).find("Read only: the image file ends before the last block in use"),
            std::string::npos);
  fichier("b.dat", "b");
  refuse({"put", "v.img", "b.dat"}, "ends before the last block");
  refuse({"rm", "v.img", "a.dat"}, "ends before the last block");
}

// The partition of a new HFS image counts the blocks alone; the last of them are the volume's all the same.
TEST_P(VolumesGardes, ANewImageTakesFilesUpToItsLastBlock) {
  nouveau("1");
  const std::string info = reussit({"info", "v.img", "--json"});
  const auto nombre = [&info](const std::string &nom) {
    return std::stoul(info.substr(info.find("\"" + nom + "\": ") + nom.size() + 4));
  };
  const std::string tout = motif(nombre("free_blocks") * nombre("block_size"), 6);
  fichier("all.dat", tout);
  if (GetParam()) fichier("all.dat", tout.substr(0, tout.size() - 8 * nombre("block_size")));
  const auto taille = std::filesystem::file_size(d + "v.img");
  reussit({"put", "v.img", "all.dat"});
  EXPECT_NE(reussit({"info", "v.img"}).find("Read only: no"), std::string::npos);
  reussit({"attr", "v.img", "all.dat", "--invisible", "on"});
  EXPECT_TRUE(reussit({"cat", "v.img", "all.dat"}) == lit(d + "all.dat"));
  EXPECT_EQ(std::filesystem::file_size(d + "v.img"), taille);
  reussit({"rm", "v.img", "all.dat"});
}

}  // namespace
}  // namespace varnion
