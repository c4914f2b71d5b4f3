#include <gtest/gtest.h>

#include "fichiers/nom_pc.hpp"

namespace varnion {
namespace {

// A table with one row: TEXT/ttxt files are "txt"; whatever else is text goes to the generic row.
std::optional<std::string> extension(std::string_view signature) {
  if (signature == "TEXTttxt") return "txt";
  if (signature.starts_with("TEXT")) return "___";
  return std::nullopt;
}

struct Cas {
  std::u16string_view nom;
  std::string_view signature;
  ModeNommage mode;
  std::u16string_view attendu;
};

TEST(NomPc, FilesGetTheNameOfTheRuleInForce) {
  constexpr auto L = ModeNommage::longs;
  const Cas table[] = {
      {u"a.b/c", "????????", L, u"a.b_c"},
      {u"ReadMe", "TEXTttxt", L, u"ReadMe.txt"},
      {u"ReadMe", "TEXTR*ch", L, u"ReadMe.___"},
      {u"ReadMe", "APPLxxxx", L, u"ReadMe"},
      {u"a.tar.gz", "TEXTttxt", L, u"a.tar.gz"},
      {u"main.c", "TEXTttxt", L, u"main.c"},
      {u"end.", "TEXTttxt", L, u"end.txt"},
      {u"end.", "APPLxxxx", L, u"end."},
      {u"CON", "TEXTttxt", L, u"CON_.txt"},
      {u"CONTENTS", "APPLxxxx", L, u"CONTENTS_"},
      {u"Console", "APPLxxxx", L, u"Console"},
      {u"LPT3.prn", "APPLxxxx", L, u"LPT3_.prn"},
      {u"LPT4", "APPLxxxx", L, u"LPT4"},
      {u"  Icon\r", "APPLxxxx", L, u"Icon_"},
      {u"\u00A0x \u00A0", "APPLxxxx", L, u"x"},
      {u"   ", "APPLxxxx", L, u"_"},
      {u"日本\u0301<語>", "APPLxxxx", L, u"日本\u0301_語_"},
      {u"a.txt", "TEXTttxt", ModeNommage::garde, u"a.txt.txt"},
      {u"plain", "TEXTttxt", ModeNommage::garde, u"plain"},
      {u"a.doc", "TEXTttxt", ModeNommage::entier, u"a.doc.txt"},
      {u"a.doc", "APPLxxxx", ModeNommage::entier, u"a.doc"},
  };
  for (const Cas &cas : table)
    EXPECT_EQ(nom_fichier_pc(cas.nom, cas.signature, cas.mode, extension), cas.attendu)
        << testing::PrintToString(std::u16string(cas.nom));
  EXPECT_EQ(nom_fichier_pc(u"x", "TEXTttxt", L, nullptr), u"x") << "no table";
}

TEST(NomPc, FoldersKeepNoDot) {
  EXPECT_EQ(nom_dossier_pc(u" a.b/c "), u"a_b_c");
  EXPECT_EQ(nom_dossier_pc(u"Système 7.5"), u"Système 7_5");
  EXPECT_EQ(nom_dossier_pc(u".."), u"__");
}

TEST(NomPc, TheOptionWordPicksTheRule) {
  const ModeNommage attendu[] = {ModeNommage::longs,  ModeNommage::longs, ModeNommage::saisie,
                                 ModeNommage::longs,  ModeNommage::garde, ModeNommage::longs,
                                 ModeNommage::entier, ModeNommage::longs};
  for (unsigned options = 0; options < 8; ++options) {
    EXPECT_EQ(mode_nommage(options), attendu[options]) << options;
    EXPECT_EQ(mode_nommage(options | 0xFFF8U), attendu[options]) << options;
  }
}

TEST(NomPc, WhatTheDiskCannotHoldIsCutBetweenCharacters) {
  bool coupe = true;
  EXPECT_EQ(nom_disque(u"é.txt", 255, coupe), "é.txt");
  EXPECT_FALSE(coupe);
  EXPECT_EQ(nom_disque(u"", 255, coupe), "_");
  EXPECT_EQ(nom_disque(u".", 255, coupe), "_");
  EXPECT_EQ(nom_disque(u"..", 255, coupe), "__");

  const std::u16string japonais = std::u16string(254, u'語');
  const std::string court = nom_disque(japonais + u".txt", 255, coupe);
  EXPECT_TRUE(coupe);
  EXPECT_EQ(court.size(), 253U) << "83 characters of three bytes, and the extension";
  EXPECT_TRUE(court.starts_with("語語")) << court;
  EXPECT_TRUE(court.ends_with("語.txt")) << court;
  EXPECT_EQ(nom_disque(japonais, 254, coupe).size(), 252U);

  EXPECT_EQ(nom_disque_numerote("a.txt", 1, 255), "a-001.txt");
  EXPECT_EQ(nom_disque_numerote(".profile", 12, 255), ".profile-012");
  EXPECT_EQ(nom_disque_numerote(court, 1000, 255).size(), 255U);
}

}  // namespace
}  // namespace varnion
