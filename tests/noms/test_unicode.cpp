#include <gtest/gtest.h>

#include <map>
#include <string>

#include "noms/tables.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"
#include "outils.hpp"

namespace varnion {
namespace {

using Suites = std::map<unsigned, std::u16string>;

/// Published decomposition of each byte above 7F of Mac Roman ('M') or code page 1252 ('W').
Suites decompositions_publiees(char jeu) {
  Suites suites;
  for (const auto &ligne : essai::table_publiee("roman_and_1252_decomposition.txt")) {
    const std::string &octet = ligne[jeu == 'M' ? 1 : 2];
    if (octet == "-") continue;
    std::u16string suite;
    for (std::size_t i = 3; i < 5 && ligne[3] != "-"; ++i)
      suite += static_cast<char16_t>(essai::hexa(ligne[i]));
    if (suite.empty()) suite = static_cast<char16_t>(essai::hexa(ligne[0]));
    suites[essai::hexa(octet.substr(1))] = suite;
  }
  return suites;
}

TEST(MacVersUnicode, DepartsFromRomanOnlyWhereMeant) {
  const Suites publiees = decompositions_publiees('M');
  ASSERT_EQ(publiees.size(), 128U);
  Suites differences;
  for (const auto &[octet, suite] : publiees) {
    const std::u16string obtenue = mac_vers_unicode(std::string(1, static_cast<char>(octet))).large();
    if (obtenue != suite) differences[octet] = obtenue;
  }
  const Suites attendues = {{0x98, u"o\u0301"}, {0xA1, u"\u02B0"},  {0xA5, u"\u00B7"},  {0xCA, u""},
                            {0xDA, u"\u2223"},  {0xDB, u"\u00A4"},  {0xE1, u"\u2027"},  {0xEA, u"I\u0302"},
                            {0xEB, u"I\u0300"}, {0xED, u"I\u0301"}, {0xF0, u"\uF02A"},  {0xF6, u" \u0302"},
                            {0xF7, u" \u030B"}, {0xF8, u" \u0304"}, {0xF9, u" \u0304"}, {0xFA, u" \u0307"},
                            {0xFB, u" \u030A"}, {0xFC, u" \u0327"}, {0xFD, u" \u0308"}, {0xFE, u" \u0328"},
                            {0xFF, u" \u0306"}};
  EXPECT_EQ(differences, attendues);
}

TEST(MacVersUnicode, Bounds) {
  EXPECT_EQ(mac_vers_unicode(std::string("a\x7F\xCA"
                                         "b\0c",
                                         6))
                .large(),
            u"ab");
  EXPECT_EQ(mac_vers_unicode("\xCA").longueur, 0);
  const NomUnicode plein = mac_vers_unicode(std::string(200, '\x8E'));
  EXPECT_EQ(plein.longueur, 254) << "a letter and its mark stay together";
  EXPECT_EQ(plein.large().substr(252), u"e\u0301");
}

TEST(LargeVersUnicode, DepartsFrom1252OnlyWhereMeant) {
  Suites publiees = decompositions_publiees('W');
  Suites differences;
  for (unsigned unite = 0x80; unite < 0x100; ++unite) {
    const std::u16string obtenue =
        large_vers_unicode(std::u16string(1, static_cast<char16_t>(unite))).large();
    if (obtenue != publiees[unite]) differences[unite] = obtenue;
  }
  EXPECT_EQ(differences,
            (Suites{{0x88, u"\u0302"}, {0x98, u"\u0303"}, {0x91, u"\u201B"}, {0x8E, u""}, {0x9E, u""}}));
  for (const char16_t perdue : std::u16string_view(u"\x81\x8D\x8F\x90\x9D")) {
    EXPECT_EQ(large_vers_unicode(std::u16string(1, perdue)).longueur, 0);
  }
}

TEST(LargeVersUnicode, PrivateRangeAndBounds) {
  EXPECT_EQ(
      large_vers_unicode(u"a\uF001\uF01F\uF020\uF021\uF022\uF023\uF024\uF025\uF026\uF027\uF02A\uF028\uF029")
          .large(),
      u"a\u0001\u001F\"*/<>?\\|\uF8FF .");
  EXPECT_EQ(large_vers_unicode(u"\u20AC\u0416\U0001F600\uF02B").large(), u"\u20AC\u0416\U0001F600\uF02B");
  EXPECT_EQ(large_vers_unicode(std::u16string(u"a\0b", 3)).large(), u"a");
  EXPECT_EQ(large_vers_unicode(std::u16string(300, u'x')).longueur, 255);
}

TEST(WindowsUnicode, EveryByteGoesAndComesBack) {
  for (const auto &ligne : essai::table_publiee("cp1252_to_unicode.txt")) {
    const unsigned octet = essai::hexa(ligne[0]);
    if (octet == 0) continue;
    const std::string texte(1, static_cast<char>(octet));
    const NomUnicode nom = windows_vers_unicode(texte);
    const unsigned attendu = ligne[1] == "----" ? octet : essai::hexa(ligne[1]);
    ASSERT_EQ(nom.longueur, 1);
    EXPECT_EQ(nom.unites[0], attendu) << ligne[0];
    EXPECT_EQ(unicode_vers_windows(nom), texte) << ligne[0];
  }
  const NomUnicode nom = windows_vers_unicode(std::string(300, 'x'));
  EXPECT_EQ(nom.longueur, 255);
  EXPECT_EQ(windows_vers_unicode(std::string("a\0b", 3)).longueur, 1);
  EXPECT_EQ(nom_hfsplus("12:30").large(), u"12_30");
}

TEST(WindowsUnicode, ShowsDecomposedNamesComposed) {
  for (const auto &[octet, suite] : decompositions_publiees('W')) {
    EXPECT_EQ(unicode_vers_windows(nom_unicode(suite)), std::string(1, static_cast<char>(octet)))
        << std::hex << octet;
  }
  EXPECT_EQ(unicode_vers_windows(nom_unicode(u"x\u0301\u0416\U0001F600z")), "x???z");
  NomUnicode casse = nom_unicode(u"ab");
  casse.longueur = 0xFFFF;
  EXPECT_EQ(unicode_vers_windows(casse).size(), 255U) << "a damaged length stays inside the record";
  EXPECT_FALSE(casse.ajoute(u'c'));
}

TEST(DecomposeHfsPlus, Samples) {
  const std::pair<std::u16string, std::u16string> cas[] = {
      {u"\u00E9t\u00E9", u"e\u0301te\u0301"},
      {u"\u1EBF", u"e\u0302\u0301"},
      {u"\u01D5", u"U\u0308\u0304"},
      {u"\u0419", u"\u0418\u0306"},
      {u"\u03AC", u"\u03B1\u030D"},  // TN1150 has 030D where Unicode has 0301
      {u"\u0958", u"\u0915\u093C"},
      {u"\u304C", u"\u304B\u3099"},
      {u"\uAC00", u"\u1100\u1161"},
      {u"\uD55C", u"\u1112\u1161\u11AB"},
      {u"\uD7A3", u"\u1112\u1175\u11C2"},
      {u"\u2260\u212B\uF900", u"\u2260\u212B\uF900"},  // nothing in 2000-2FFF and F900-FAFF
      {u"\U0001F600\u01F8", u"\U0001F600\u01F8"},
      {u"a:b", u"a_b"},
  };
  for (const auto &[large, attendu] : cas) EXPECT_EQ(decompose_hfsplus(large).large(), attendu);
  EXPECT_EQ(decompose_hfsplus(std::u16string(254, u'x') + u"\u00E9").longueur, 254);
  EXPECT_EQ(decompose_hfsplus(std::u16string(254, u'x') + u"\U0001F600").longueur, 254);
}

/// For what 1252 has, both roads to HFS+ agree with Unicode's own decomposition.
TEST(DecomposeHfsPlus, AgreesWithTheRomanTable) {
  for (const auto &ligne : essai::table_publiee("roman_and_1252_decomposition.txt")) {
    std::u16string attendu;
    for (std::size_t i = 3; i < 5 && ligne[3] != "-"; ++i)
      attendu += static_cast<char16_t>(essai::hexa(ligne[i]));
    const std::u16string large(1, static_cast<char16_t>(essai::hexa(ligne[0])));
    EXPECT_EQ(decompose_hfsplus(large).large(), attendu.empty() ? large : attendu) << ligne[0];
  }
}

TEST(Composition, Latin) {
  for (const auto &ligne : essai::table_publiee("roman_and_1252_decomposition.txt")) {
    const unsigned code = essai::hexa(ligne[0]);
    if (code > 0xFF || ligne[3] == "-") continue;
    const bool tilde = ligne[4] == "0303" && (code | 0x20U) != 0xF1;  // known on N and n only
    EXPECT_EQ(compose_latin(static_cast<char16_t>(essai::hexa(ligne[3])),
                            static_cast<char16_t>(essai::hexa(ligne[4]))),
              tilde ? 0U : code);
  }
  EXPECT_EQ(compose_latin(u'x', 0x301), 0);
  EXPECT_EQ(compose_latin(u'\u0165', 0x30A), 0) << "a base above 7F is not its low byte";
  EXPECT_EQ(utf8_vers_latin1("e\xCC\x81t\xC3\xA9 a\xE2\x82\xAC"
                             "b\xC5\x93\xC3"),
            "\xE9t\xE9 abS");
  EXPECT_EQ(utf8_vers_latin1("\xCC\x81\x80z\xF0\x9F\x98\x80"), "\x01z");
}

TEST(Prive, CarriesWhatWindowsForbids) {
  const std::string interdits = "\x01\x1F\"*/<>?\\|";
  EXPECT_EQ(windows_vers_prive(interdits), u"\uF001\uF01F\uF020\uF021\uF022\uF023\uF024\uF025\uF026\uF027");
  EXPECT_EQ(mac_vers_prive("a. b."), u"a. b\uF029");
  EXPECT_EQ(mac_vers_prive("a. "), u"a.\uF028");
  EXPECT_EQ(mac_vers_prive("\xF0\x8E\xB0"), u"\uF02A\u00E9_");
  EXPECT_EQ(windows_vers_prive("\xF0\x8E"), u"\uF02A\u008E");
  EXPECT_EQ(prive_vers_mac(u"\u00E9\u20AC\u2014\u0416\u00FF\uF02A\uF029"), "\x8E\xDB-__\xF0.");
  EXPECT_EQ(prive_vers_windows(u"\u00E9\u20AC\u2014\u0416\u00FF\uF02A\uF030\uF000"), "\xE9\x80-__\xF0__");
  EXPECT_EQ(prive_vers_mac(u"a\u0089b"), "a");
  EXPECT_EQ(prive_vers_mac(u"\u0089b"), "_b");
  EXPECT_TRUE(correspond_prive(mac_vers_prive("\xB0*b"), u"\u221E\uF021b"));
  EXPECT_FALSE(correspond_prive(u"ab", u"abc"));
}

TEST(Prive, RoundTrips) {
  for (unsigned octet = 1; octet < 0xFF; ++octet) {
    const std::string nom{'x', static_cast<char>(octet)};
    EXPECT_EQ(prive_vers_windows(windows_vers_prive(nom)), nom) << std::hex << octet;
    const std::uint8_t windows = mac_vers_windows[octet];
    const bool sans_perte =
        octet == 0xF0 || (windows != '_' && windows_vers_mac[windows] == octet) || octet < 0x20;
    if (!sans_perte || windows == 0xFF) continue;  // FF lies above what goes back unchanged
    EXPECT_EQ(prive_vers_mac(mac_vers_prive(nom)), nom) << std::hex << octet;
  }
}

}  // namespace
}  // namespace varnion
