#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "IO/ecarts.hpp"
#include "noms/iso.hpp"

namespace varnion {
namespace {

TEST(Iso, DescriptorText) {
  const std::pair<std::string, std::string> cas[] = {
      {" \xA0My Disc 1.0 \xA0", "MY_DISC_1_0"},
      {"\xC0\xC5\xE0\xE5\xC6\xE6\x8C\x9C\xC7\xE7", "AAAAAEAEOEOECC"},
      {"\xC8\xEB\xCC\xEF\xD0\xF0\xD1\xF1\xD2\xD6\xD8\xF2\xF6\xF8", "EEIIDDNNOOOOOO"},
      {"\xD9\xDC\xF9\xFC\xDD\xFD\xFF", "UUUUYYY"},
      {"Stra\xDF"
       "e",
       "STRAS_E"},
      {"\xD7\xF7\xDE\x8A\x9F", "_____"},
      {"", ""},
  };
  for (const auto &[texte, attendu] : cas) EXPECT_EQ(nom_d(texte), attendu);
  EXPECT_EQ(champ_d("disc", 8), "DISC    ");
  EXPECT_EQ(champ_d("a long label", 6), "A_LONG");
}

TEST(Iso, Ucs2Field) {
  EXPECT_EQ(champ_ucs2(u"A\u0416", 8), (std::vector<std::uint8_t>{0, 'A', 0x04, 0x16, 0, ' ', 0, ' '}));
  EXPECT_EQ(champ_ucs2(u"ABC", 4), (std::vector<std::uint8_t>{0, 'A', 0, 'B'}));
  EXPECT_EQ(champ_ucs2(u"A", 5), (std::vector<std::uint8_t>{0, 'A', 0, ' ', 0}));
}

TEST(Iso, FileAndVirtualFolderNames) {
  EXPECT_EQ(nom_iso_fichier("readme~1.txt"), "README~1.TXT;1");
  EXPECT_EQ(nom_iso_fichier("a.name.too.long"), "A.NAME.TOO.L;1");
  EXPECT_EQ(nom_iso_virtuel("folder.x"), "FOLDER.X");
  EXPECT_EQ(nom_iso_virtuel("my.new folder"), "MY_NE~~1");
}

// ECMA-119 7.5 and 7.6 at level 1: d-characters, and a dot that stays without an extension.
TEST(Iso, IdentifiersHaveDCharactersAlone) {
  const std::tuple<std::string, std::string, std::string> cas[] = {
      {"README.TXT", "README.TXT;1", "READMETX"},
      {"readme~1.txt", "README_1.TXT;1", "README_1"},
      {"FOLDER", "FOLDER.;1", "FOLDER"},
      {"A-B&C.D!", "A_B_C.D_;1", "A_B_CD_"},
      {"\xC9t\xE9.\xE7", "ETE.C;1", "ETEC"},
      {"\xC6\xC6\xC6\xC6\xC6.HTML", "AEAEAEAE.HTM;1", "AEAEAEAE"},
      {".C", ".C;1", "C"},
      {"", "_.;1", "_"},
  };
  for (const auto &[nom, fichier, dossier] : cas) {
    EXPECT_EQ(identifiant_fichier(nom), fichier);
    EXPECT_EQ(identifiant_dossier(nom), dossier);
  }
}

TEST(Iso, FolderNamesGiveWayToFilesOfThatName) {
  std::vector<std::string> demandes;
  std::size_t pris = 0;
  const PredicatNom existe = [&](std::string_view nom) {
    demandes.emplace_back(nom);
    return demandes.size() <= pris;
  };
  EXPECT_EQ(nom_iso_dossier("DIR.EXT", existe), "DIREXT");
  EXPECT_TRUE(demandes.empty()) << "a name that fits is not looked up";
  EXPECT_EQ(nom_iso_dossier("ABCDEF~1.EXT", existe), "ABCDEF~1");
  demandes.clear();
  pris = 2;
  EXPECT_EQ(nom_iso_dossier("ABCDEFGH.EXT", existe), "ABCDEF~B");
  EXPECT_EQ(demandes, (std::vector<std::string>{"ABCDEFGH", "ABCDEF~A", "ABCDEF~B"}));
  demandes.clear();
  pris = 26;
  EXPECT_EQ(nom_iso_dossier("ABCDEFGH.EXT", existe), "ABCDEF~Z");
  demandes.clear();
  pris = 27;
  EXPECT_EQ(nom_iso_dossier("ABCDEFGH.EXT", existe), std::nullopt);
}

TEST(Joliet, FileNames) {
  const std::u16string limite(62, u'x');
  EXPECT_EQ(nom_joliet_fichier(limite, "XXXXXX~1.TXT"), limite + u";1");
  const std::u16string coupe = nom_joliet_fichier(limite + u"y", "XXXXXX~1.TXT");
  EXPECT_EQ(coupe, limite.substr(6) + u"~1.TXT;1");
  EXPECT_EQ(coupe.size(), 64U);
  EXPECT_EQ(nom_joliet_fichier(limite + u"y", "SHORT.TXT"), u"SHORT.TXT;1");
  EXPECT_EQ(nom_joliet_fichier(limite.substr(7) + u"\U0001F600" + limite, "X~1.TXT"),
            limite.substr(7) + u"_~1.TXT;1")
      << "half a surrogate pair is no name";
}

TEST(Joliet, FolderNamesAndForbiddenUnits) {
  const std::u16string limite(64, u'x');
  EXPECT_EQ(nom_joliet_dossier(limite, "XXXXXX~1"), limite);
  EXPECT_EQ(nom_joliet_dossier(limite + u"x", "XXXXXX~1"), u"XXXXXX~1");
  EXPECT_EQ(nom_joliet_dossier(u"a:b", ""), u"a_b");
  EXPECT_EQ(nom_joliet_fichier(u"12:30?.txt", ""), u"12_30_.txt;1");
  EXPECT_EQ(interdits_joliet(u"*/:?\\\u0001\u001F ;\u0416"), u"_______ _\u0416");
  fixer_regle(Regle::classique);
  EXPECT_EQ(interdits_joliet(u"*/:?\\\u0001\u001F ;\u0416"), u"_______ ;\u0416");
  fixer_regle(Regle::publiee);
}

}  // namespace
}  // namespace varnion
