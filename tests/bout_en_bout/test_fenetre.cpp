#include <gtest/gtest.h>

#include "bout_en_bout/programme.hpp"
#include "outils/image_lue.hpp"
#include "outils/lecteur_ds_store.hpp"

// The window of a disc's root, laid out, mastered and read back by independent readers.

namespace varnion {
namespace {

using outils::Octets;

constexpr std::string_view kPng("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\x02\x80\0\0\x01\x68\x08\x02\0\0\0", 29);

/// An alias record, version 2, by its published description.
struct AliasLu {
  std::uint32_t dossier = 0;
  std::string volume, systeme, fichier, signature;
  std::map<unsigned, std::string> etiquettes;
};
AliasLu lit_alias(Octets o) {
  AliasLu a;
  EXPECT_EQ(o.be16(4), o.taille());
  EXPECT_EQ(o.be16(6), 2U);
  a.volume = outils::mac_vers_utf8(o.texte(11, o.u8(10)));
  a.systeme = o.texte(42, 2);
  a.dossier = o.be32(46);
  a.fichier = outils::mac_vers_utf8(o.texte(51, o.u8(50)));
  a.signature = o.texte(122, 8);
  std::uint64_t p = 150;
  for (; o.contient(p, 4) && o.be16(p) != 0xFFFF; p += 4 + (o.be16(p + 2) + 1U) / 2 * 2)
    a.etiquettes[o.be16(p)] = o.texte(p + 4, o.be16(p + 2));
  EXPECT_EQ(p + 4, o.taille()) << "the end mark is the end";
  return a;
}

class FenetreDuDisque : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    fichier("src/ReadMe.txt", "read me");
    fichier("src/\xC3\x89t\xC3\xA9/x", "x");
    fichier("src/\xCE\xA9mega/y", "y");  // out of code page 1252
    fichier("images/fond.png", kPng);
    reussit({"project", "new", "p.vnpr", "--hfsplus"});
    reussit({"project", "add", "p.vnpr", "src/*.*"});
    reussit({"project", "label", "p.vnpr", "--hfs", "Mon \xC3\x89t\xC3\xA9"});
  }
  /// The `.DS_Store` of the volume and the alias in it.
  outils::DsStoreLu ds_store(const outils::ImageLue &image) const {
    const outils::ObjetMac *fichier = image.volume.trouve(".DS_Store");
    if (fichier == nullptr) return {};
    contenu = image.volume.contenu(image.vue, fichier->data);
    return outils::lit_ds_store(octets(contenu));
  }
  static Octets octets(const std::string &texte) {
    return Octets({reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()});
  }
  mutable std::string contenu;
};

TEST_F(FenetreDuDisque, BackgroundIsFoundThroughItsAlias) {
  reussit({"layout", "p.vnpr", "--window", "50,60,650,460", "--icon-size", "64", "--text-size", "12",
           "--spacing", "3", "--background", "images/fond.png", "--place", "readme.TXT=30,40", "--place",
           "\xC3\x89t\xC3\xA9=500,300"});
  // Many folders before the disc is made: their numbers must not take that of the background's.
  for (int i = 0; i < 30; ++i) fichier("src2/deep/d" + std::to_string(i) + "/f", "f");
  reussit({"project", "add", "p.vnpr", "src2"});
  for (const char *genre : {"hybrid", "hfs"}) {
    SCOPED_TRACE(genre);
    reussit({"compile", "p.vnpr", "-o", "p.iso", "-f", "--kind", genre});
    outils::Cotes cotes;
    cotes.hfsplus = true;
    cotes.iso = genre == std::string_view("hybrid");
    const outils::ImageLue image = outils::lit_image(d + "p.iso", cotes);
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();

    const auto ds = ds_store(image);
    ASSERT_EQ(contenu.size(), 6148U);
    ASSERT_NE(ds.trouve(".", "pict"), nullptr);
    const AliasLu alias = lit_alias(octets(ds.trouve(".", "pict")->octets));
    EXPECT_EQ(alias.systeme, "H+");
    EXPECT_EQ(alias.volume, outils::compose(image.volume.label));
    EXPECT_EQ(alias.dossier, 17U);
    EXPECT_EQ(alias.etiquettes.at(18), "/.!Background/fond.png");
    EXPECT_EQ(alias.etiquettes.at(19), "/Volumes/" + image.volume.label);
    EXPECT_EQ(outils::utf16be_vers_utf8(octets(alias.etiquettes.at(15).substr(2))), image.volume.label);
    // By numbers: the folder with that number in the catalog, in it the file of that name.
    const outils::ObjetMac *cible = nullptr;
    for (const outils::ObjetMac &o : image.volume.objets)
      if (o.parent == alias.dossier && o.nom == alias.fichier) cible = &o;
    ASSERT_NE(cible, nullptr);
    EXPECT_EQ(cible->chemin, ".!Background/fond.png");
    EXPECT_EQ(image.volume.contenu(image.vue, cible->data), kPng);
    EXPECT_EQ(cible->type + cible->createur, alias.signature);

    // Every item of the root has its place, under the very name of the catalog.
    std::set<std::string> places;
    for (const outils::RubriqueDs &r : ds.rubriques)
      if (r.code == "Iloc") places.insert(r.nom);
    for (const outils::ObjetMac &o : image.volume.objets) {
      const bool place = o.parent == 2 && !o.nom.starts_with('.') && o.nom != "src2";
      EXPECT_TRUE(!place || places.contains(o.nom)) << o.nom;
    }
    EXPECT_EQ(places.size(), 3U);
  }
  const auto ds = ds_store(outils::lit_image(d + "p.iso", {.iso = false, .mac = true, .hfsplus = true}));
  EXPECT_EQ(ds.trouve(".", "fwi0")->octets.substr(0, 8), std::string("\0\x3C\0\x32\x01\xCC\x02\x8A", 8));
  EXPECT_EQ(ds.trouve("ReadMe.txt", "Iloc")->octets.substr(0, 8), std::string("\0\0\0\x1E\0\0\0\x28", 8));
  EXPECT_EQ(ds.trouve(".", "icvt")->nombre, 12U);
}

// No folder but that of the background: the next number of the project is the one that it has on the disc.
TEST_F(FenetreDuDisque, TheFolderSharesItsNumberWithNothing) {
  reussit({"project", "new", "seul.vnpr", "--hfsplus"});
  reussit({"project", "add", "seul.vnpr", "src/ReadMe.txt"});
  reussit({"project", "label", "seul.vnpr", "--hfs", "Seul"});
  reussit({"layout", "seul.vnpr", "--background", "images/fond.png"});
  reussit({"project", "rebuild", "seul.vnpr"});
  reussit({"compile", "seul.vnpr", "-o", "seul.iso"});
  const auto image = outils::lit_image(d + "seul.iso", {.hfsplus = true});
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
  const outils::ObjetMac *fond = image.volume.trouve(".!Background");
  ASSERT_NE(fond, nullptr);
  EXPECT_EQ(fond->cnid, 17U);
  EXPECT_NE(image.volume.trouve(".!Background/fond.png"), nullptr);
  EXPECT_NE(image.volume.trouve(".DS_Store"), nullptr);
}

TEST_F(FenetreDuDisque, ShownAndChangedAgain) {
  reussit({"layout", "p.vnpr", "--background", "images/fond.png", "ReadMe.txt=30,40"});
  EXPECT_TRUE(existe("p.DS_Store"));
  const std::string montre = reussit({"layout", "p.vnpr"});
  EXPECT_NE(montre.find("Window: 100,100,740,460\nIcons: 80 pixels, text: 14 points, spacing: 6\n"),
            std::string::npos)
      << montre;
  EXPECT_NE(montre.find("images/fond.png\n"), std::string::npos) << montre;
  EXPECT_NE(montre.find("ReadMe.txt=30,40\n"), std::string::npos) << montre;
  reussit({"layout", "p.vnpr", "--no-background", "--window", "0,0,500,500", "-o", "images/autre"});
  const std::string json = reussit({"layout", "p.vnpr", "--json"});
  EXPECT_NE(json.find("\"right\": 500, \"bottom\": 500"), std::string::npos) << json;
  EXPECT_NE(json.find("\"background\": \"\""), std::string::npos) << json;
  const std::string liste = reussit({"project", "ls", "p.vnpr", "-R"});
  EXPECT_EQ(liste.find("Background"), std::string::npos) << liste;
  EXPECT_NE(liste.find("autre (hfs: .DS_Store)"), std::string::npos) << liste;
}

TEST_F(FenetreDuDisque, Refusals) {
  echoue({"layout", "p.vnpr", "--window", "1,2,3"}, 1, "1,2,3 is not a value of --window");
  echoue({"layout", "p.vnpr", "--window", "9,2,3,4"}, 1, "--window");
  echoue({"layout", "p.vnpr", "--icon-size", "65"}, 2, "--icon-size");
  echoue({"layout", "p.vnpr", "--place", "ReadMe.txt"}, 1, "NAME=X,Y");
  echoue({"layout", "p.vnpr", "Nobody=1,2"}, 1, "Nobody");
  echoue({"layout", "p.vnpr", "--background", "src/ReadMe.txt"}, 1, "not an image");
  echoue({"layout", "p.vnpr", "--background", "images/none.png"}, 1, "none.png");
  echoue({"layout", "p.vnpr", "--background", "images/fond.png", "--no-background"}, 2, "");
  fichier("p.DS_Store", "mine");
  echoue({"layout", "p.vnpr", "--spacing", "1"}, 1, "p.DS_Store");
  EXPECT_EQ(lit(d + "p.DS_Store"), "mine");
  for (int i = 0; i < 40; ++i) fichier("beaucoup/fichier" + std::to_string(i), "f");
  reussit({"project", "add", "p.vnpr", "beaucoup/*.*"});
  const std::string avant = reussit({"project", "ls", "p.vnpr", "-R"});
  echoue({"layout", "p.vnpr", "--background", "images/fond.png", "-f"}, 1, "43 items are too many");
  EXPECT_EQ(reussit({"project", "ls", "p.vnpr", "-R"}), avant);
  reussit({"project", "new", "vide.vnpr"});
  echoue({"layout", "vide.vnpr", "--spacing", "1"}, 1, "specific label");
  reussit({"project", "new", "plus.vnso"});
  echoue({"layout", "plus.vnso"}, 1, "ISO+");
}

}  // namespace
}  // namespace varnion
