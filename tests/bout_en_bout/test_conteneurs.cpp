#include <gtest/gtest.h>

#include <map>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/image_lue.hpp"

// Containers, resources and aliases by the real program.

namespace varnion {
namespace {

using essai::Fin;
using outils::FichierMac;

constexpr std::uint32_t kEpoque = 2082844800;

class Conteneurs : public essai::Programme {
 protected:
  void copie(const std::string &donnee, const std::string &nom) const {
    fichier(nom, lit(std::string(VN_DONNEES) + "/" + donnee));
  }
};

TEST_F(Conteneurs, AreTurnedIntoEachOther) {
  FichierMac f;
  f.nom = "Both";
  f.type = "SIT!";
  f.createur = "SIT5";
  f.data = "data fork";
  f.rsrc = "resource fork";
  f.creation = f.modification = kEpoque + 1000000;
  fichier("both.bin", outils::macbinary(f));
  fichier("both.hqx", outils::binhex(f));
  for (const std::string source : {"both.bin", "both.hqx"}) {
    reussit({"convert", source, "--to", source + ".d", "--mode", "applesingle"});
    reussit({"convert", source + ".d/Both", "--to", source + ".e", "--mode", "appledouble"});
    EXPECT_EQ(lit(d + source + ".e/Both"), f.data);
    reussit({"convert", source + ".e/Both", "--to", source + ".f", "--mode", "macbinary"});
    const std::string fin = lit(d + source + ".f/Both");
    EXPECT_EQ(fin.substr(65, 8), "SIT!SIT5");
    EXPECT_EQ(fin.substr(128, f.data.size()), f.data);
    EXPECT_EQ(fin.substr(256), f.rsrc);
    reussit({"convert", source, "--to", source + ".g", "--mode", "resource"});
    EXPECT_EQ(lit(d + source + ".g/Both"), f.rsrc);
  }
  echoue({"convert", "none.bin", "--to", "x"}, 1, "none.bin");
  fichier("cut.hqx", lit(d + "both.hqx").substr(0, 100));
  EXPECT_EQ(lance({"convert", "cut.hqx", "--to", "x"}).statut, 1);
}

TEST_F(Conteneurs, ResourcesAreListedAndTakenOut) {
  copie("rsrc/testfile.rsrc", "t.rsrc");
  copie("rsrc/empty.rsrc", "empty.rsrc");
  const std::string liste = reussit({"rsrc", "t.rsrc"});
  EXPECT_NE(liste.find("STR     129         40 00 The Name\n"), std::string::npos) << liste;
  EXPECT_EQ(reussit({"rsrc", "empty.rsrc"}), "");
  EXPECT_EQ(reussit({"rsrc", "empty.rsrc", "--json"}), "[]\n");
  // The same fork inside each container gives the same list.
  FichierMac f;
  f.nom = "Res";
  f.rsrc = lit(d + "t.rsrc");
  fichier("res.bin", outils::macbinary(f));
  EXPECT_EQ(reussit({"rsrc", "res.bin"}), liste);
  reussit({"convert", "res.bin", "--to", "as", "--mode", "applesingle"});
  EXPECT_EQ(reussit({"rsrc", "as/Res"}), liste);
  reussit({"convert", "res.bin", "--to", "ad", "--mode", "appledouble"});
  EXPECT_EQ(reussit({"rsrc", "ad/Res"}), liste);
  EXPECT_EQ(reussit({"rsrc", "ad/._Res"}), liste);
  reussit({"master", "res.bin", "-o", "i.iso", "--hfs"});
  EXPECT_EQ(reussit({"rsrc", "i.iso", "Res"}), liste);

  const std::string type = liste.substr(0, 4);
  const std::string id = std::to_string(std::stoi(liste.substr(4)));
  reussit({"rsrc", "t.rsrc", "--extract", type + ":" + id, "-o", "one"});
  EXPECT_NE(f.rsrc.find(lit(d + "one")), std::string::npos);
  reussit({"rsrc", "t.rsrc", "--extract", type + ":" + id, "-o", "one.txt", "--hex"});
  EXPECT_NE(lit(d + "one.txt").find("\r\n"), std::string::npos);
  echoue({"rsrc", "t.rsrc", "--extract", type + ":" + id, "-o", "one"}, 1, "one");
  echoue({"rsrc", "t.rsrc", "--extract", "NONE:1", "-o", "x"}, 1, "NONE:1");
  echoue({"rsrc", "t.rsrc", "--extract", "NONE", "-o", "x"}, 2, "NONE");
  fichier("plain.txt", "text");
  echoue({"rsrc", "plain.txt"}, 1, "plain.txt");
}

TEST_F(Conteneurs, AliasesTellTheirTargets) {
  copie("alias/alias_of_file_in_folder.rsrc", "a.rsrc");
  copie("alias/growl_pict.alias", "pict");
  const std::string texte = reussit({"alias", "a.rsrc"});
  EXPECT_NE(texte.find("Test disk 10MB 2.0"), std::string::npos) << texte;
  EXPECT_NE(reussit({"alias", "pict", "--json"}).find("\"file_system\": \"H+\""), std::string::npos);
  fichier("plain.txt", std::string(400, 'x'));
  echoue({"alias", "plain.txt"}, 1, "plain.txt");
}

// The icon of the root is the volume's and lies on the Macintosh side twice; one in a folder is the folder's.
TEST_F(Conteneurs, CustomIconsAreShownOnTheDisc) {
  FichierMac icone;
  icone.nom = "Icon\r";
  icone.type = "ICNS";
  icone.createur = "MACS";
  icone.drapeaux = 0x4000;
  icone.data = "icon family";
  icone.rsrc = "icon";
  fichier("src/icon.bin", outils::macbinary(icone));
  fichier("src/with/icon.bin", outils::macbinary(icone));
  fichier("src/without/plain.txt", "text");
  for (const bool plus : {false, true}) {
    reussit({"master", "src", "-o", "i.iso", plus ? "--hfsplus" : "--hfs", "--force"});
    const outils::ImageLue image = outils::lit_image(d + "i.iso", {.hfsplus = plus});
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    EXPECT_EQ(image.joliet.entrees.size(), 6U);  // with the root; no second icon on this side
    std::map<std::string, unsigned> drapeaux;
    for (const outils::ObjetMac &o : image.volume.objets) {
      drapeaux[o.parent == 1 ? "/" : o.chemin] = o.drapeaux;
      if (o.dossier || o.nom == "plain.txt") continue;
      EXPECT_EQ(image.volume.contenu(image.vue, o.data), icone.data) << o.chemin;
      EXPECT_EQ(image.volume.contenu(image.vue, o.rsrc), icone.rsrc) << o.chemin;
    }
    EXPECT_EQ(drapeaux, (std::map<std::string, unsigned>{{"/", 0x0400},
                                                         {".VolumeIcon.icns", 0x4000},
                                                         {"Icon\r", 0x4000},
                                                         {"with", 0x0400},
                                                         {"with/Icon\r", 0x4000},
                                                         {"without", 0x0100},
                                                         {"without/plain.txt", 0}}));
  }
}

TEST_F(Conteneurs, AnImageListsItsAliases) {
  FichierMac f;
  f.drapeaux = 0x8000;
  f.nom = "To Charlie";
  f.rsrc = lit(std::string(VN_DONNEES) + "/alias/alias_of_file_in_folder.rsrc");
  fichier("src/sub/a.bin", outils::macbinary(f));
  f.nom = "Plain";
  f.drapeaux = 0;
  fichier("src/b.bin", outils::macbinary(f));
  f.nom = "App alias";  // by its type alone
  f.type = "adrp";
  f.rsrc = lit(std::string(VN_DONNEES) + "/alias/alias_of_folder.rsrc");
  fichier("src/c.bin", outils::macbinary(f));
  for (const std::string format : {"--hfs", "--hfsplus"}) {
    reussit({"master", "src", "-o", "i.iso", format, "--force"});
    EXPECT_EQ(reussit({"alias", "i.iso"}),
              "App alias -> Test disk 10MB 2.0:Bravo\n"
              "sub/To Charlie -> Test disk 10MB 2.0:Bravo:Charlie.txt\n");
    const std::string json = reussit({"alias", "i.iso", "--json"});
    EXPECT_NE(json.find(R"({"path": "sub/To Charlie", "alias": {"target": "Charlie.txt")"), std::string::npos)
        << json;
  }
  // One that cannot be read is listed and told; an image without aliases has an empty list.
  f.rsrc = "no fork";
  fichier("src/c.bin", outils::macbinary(f));
  reussit({"master", "src", "-o", "i.iso", "--hfs", "--force"});
  const Fin fin = lance({"alias", "i.iso"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_EQ(fin.sortie.rfind("App alias -> ?\n", 0), 0U) << fin.sortie;
  EXPECT_NE(fin.messages.find("App alias"), std::string::npos) << fin.messages;
  reussit({"new", "e.img", "--size", "5"});
  EXPECT_EQ(reussit({"alias", "e.img"}), "");
  EXPECT_EQ(reussit({"alias", "e.img", "--json"}), "[]\n");
}

TEST_F(Conteneurs, FontsComeOutAsFontsWhenAsked) {
  FichierMac f;
  f.nom = "TestT1";
  f.type = "LWFN";
  f.createur = "ASPF";
  f.rsrc = lit(std::string(VN_DONNEES) + "/polices/TestT1-Regular.lwfn");
  ASSERT_FALSE(f.rsrc.empty());
  fichier("font.bin", outils::macbinary(f));
  reussit({"master", "font.bin", "-o", "i.iso", "--hfs"});
  reussit({"get", "i.iso", "TestT1", "--to", "o", "--fonts", "yes"});
  EXPECT_EQ(lit(d + "o/TestT1-Regular.pfb"),
            lit(std::string(VN_DONNEES) + "/polices/TestT1-Regular.expected.pfb"));
  EXPECT_TRUE(existe("o/TestT1-Regular.pfm"));
  // Again: the fonts that are there stay.
  fichier("o/TestT1-Regular.pfb", "mine");
  reussit({"get", "i.iso", "TestT1", "--to", "o", "--fonts", "yes"});
  EXPECT_EQ(lit(d + "o/TestT1-Regular.pfb"), "mine");
  EXPECT_TRUE(existe("o/TestT1-Regular-001.pfb"));
  reussit({"get", "i.iso", "TestT1", "--to", "p", "--mode", "resource"});
  EXPECT_EQ(lit(d + "p/TestT1"), f.rsrc);
}

}  // namespace
}  // namespace varnion
