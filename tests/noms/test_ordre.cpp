#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "noms/ordre.hpp"
#include "outils.hpp"

namespace varnion {
namespace {

int signe(int valeur) {
  return (valeur > 0) - (valeur < 0);
}

constexpr OrdreHfs kClassique = OrdreHfs::classique;

TEST(OrdreHfs, OrdersEveryPairOfBytesAsPublished) {
  const auto lignes = essai::table_publiee("hfs_name_order.txt");
  ASSERT_EQ(lignes.size(), 256U);
  for (const auto &a : lignes) {
    for (const auto &b : lignes) {
      const std::string x(1, static_cast<char>(essai::hexa(a[0])));
      const std::string y(1, static_cast<char>(essai::hexa(b[0])));
      const int attendu = static_cast<int>(essai::hexa(a[1])) - static_cast<int>(essai::hexa(b[1]));
      ASSERT_EQ(signe(compare_hfs(x, y, OrdreHfs::publie)), signe(attendu)) << a[0] << " " << b[0];
    }
  }
  // \x8A and \x90, \xA7, \xEB: letters that the table places between others, and one that it does not know.
  EXPECT_LT(compare_hfs("azz", "\x8Ar", OrdreHfs::publie), 0);
  EXPECT_LT(compare_hfs("\x90tre", "f", OrdreHfs::publie), 0);
  EXPECT_LT(compare_hfs("Strasz", "Stra\xA7" "e", OrdreHfs::publie), 0);
  EXPECT_GT(compare_hfs("\xEBle", "z", OrdreHfs::publie), 0);
}

TEST(OrdreHfs, ClassicFacts) {
  struct Cas {
    std::string a, b;
    int signe;
  };
  const Cas cas[] = {
      {"a", "A", 0},
      {"", "", 0},
      {"Read Me", "read me", 0},
      {"a", "b", -1},
      {"abc", "abcd", -1},
      {"", "a", -1},
      {"Z", "a", 1},
      {"9", "A", -1},
      {"e\x8E", "e", 1},
      {"\x83", "\x8E", 0},
      {"e", "\x8E", -1},
      {"\x8E", "f", -1},
      {"\xCA", "~", 1},
      {"`", "a", 1},
      {"`", "B", -1},
      {"\\", "!", -1},
      {"\\", "", 1},
      {"a\\", "a", 1},
      {"\\a", "a", -1},
      {"\\", std::string("\x01"), -1},
      {"\xC7\xC8", "\"", 1},
      {"\xC8", "#", -1},
  };
  for (const Cas &c : cas) {
    EXPECT_EQ(signe(compare_hfs(c.a, c.b, kClassique)), c.signe) << c.a << " / " << c.b;
    EXPECT_EQ(signe(compare_hfs(c.b, c.a, kClassique)), -c.signe) << c.b << " / " << c.a;
  }
  EXPECT_EQ(compare_hfs("b", "a", kClassique), 0x10) << "the difference of the weights";
}

TEST(OrdreHfs, CountedCompareRunsPastTheEnds) {
  EXPECT_EQ(compare_hfs_n("abcX", "ABCy", 3), 0);
  EXPECT_NE(compare_hfs_n("abcX", "ABCy", 4), 0);
  EXPECT_GT(compare_hfs_n("abc", "ab", 3), 0);
  EXPECT_EQ(compare_hfs_n("ab", "ab", 1000), 0);
}

TEST(OrdreHfs, Wildcards) {
  struct Cas {
    std::string motif, nom;
    bool accord;
  };
  const Cas cas[] = {
      {"*", "anything", true},      {"*", "", true},
      {"ab*", "xabx", true},        {"ab*", "XABX", true},
      {"ab*cd", "xxcdxx", true},    {"ab*cd", "ab", true},
      {"ab*cd", "xacbd", false},    {"*cd", "xcdx", true},
      {"*cd", "xdcx", false},       {"AB*", "abx", true},
      {"AB*", "xabx", false},       {"name", "NAME  \xA0 ", true},
      {"name", "nam", false},       {"a*b", "a*b", true},
      {"a*b", "axb", true},         {"a*b", "zz*", false},
      {"\x8E*", "\x83t\x8E", true}, {"**", "abc", false},
      {"", "abc", false},           {"ab*", "", false},
  };
  for (const Cas &c : cas)
    EXPECT_EQ(compare_nom_hfs(c.motif, c.nom) == 0, c.accord) << c.motif << " / " << c.nom;
}

int compare(std::u16string_view a, std::u16string_view b) {
  const NomUnicode nom_a = nom_unicode(a);
  const NomUnicode nom_b = nom_unicode(b);
  return compare_hfsplus(nom_a.vue(), nom_b.vue());
}

TEST(OrdreHfsPlus, FoldsWhatThePublishedTableFoldsAndNothingElse) {
  const auto lignes = essai::table_publiee("tn1150_case_folding.txt");
  ASSERT_EQ(lignes.size(), 329U);
  std::vector<std::uint16_t> attendu(0x10000);
  for (std::size_t i = 0; i < attendu.size(); ++i) attendu[i] = static_cast<std::uint16_t>(i);
  for (const auto &ligne : lignes)
    attendu[essai::hexa(ligne[0])] = static_cast<std::uint16_t>(essai::hexa(ligne[1]));
  std::set<std::size_t> differents;
  for (std::size_t i = 0; i < attendu.size(); ++i) {
    if (pliage_hfsplus(static_cast<std::uint16_t>(i)) != attendu[i]) differents.insert(i);
  }
  EXPECT_TRUE(differents.empty()) << "first: " << *differents.begin();
}

TEST(OrdreHfsPlus, FastUnicodeCompare) {
  EXPECT_EQ(compare(u"Read Me", u"rEAD mE"), 0);
  EXPECT_EQ(compare(u"\u041F\u0420\u0418", u"\u043F\u0440\u0438"), 0) << "Cyrillic";
  EXPECT_EQ(compare(u"\u0391\u03A9", u"\u03B1\u03C9"), 0) << "Greek";
  EXPECT_EQ(compare(u"E\u0301", u"e\u0301"), 0);
  EXPECT_EQ(compare(u"\u00C9", u"\u00E9"), -1) << "precomposed letters do not fold";
  EXPECT_EQ(compare(u"a\u200Db", u"ab"), 0) << "ignored units";
  EXPECT_EQ(compare(u"\uFEFF\u202A", u""), 0);
  EXPECT_EQ(compare(u"ab\u200C", u"abc"), -1);
  EXPECT_EQ(compare(u"", u""), 0);
  EXPECT_EQ(compare(u"ab", u"abc"), -1);
  EXPECT_EQ(compare(u"B", u"a"), 1);
  EXPECT_EQ(compare(std::u16string(1, u'\0'), u"\uFFFD"), 1) << "a true zero sorts last";
}

TEST(OrdreHfsPlus, Wildcards) {
  const auto accord = [](std::u16string_view motif, std::u16string_view nom) {
    return compare_nom_hfsplus(nom_unicode(motif), nom_unicode(nom)) == 0;
  };
  EXPECT_TRUE(accord(u"*", u"anything"));
  EXPECT_TRUE(accord(u"NAME", u"name"));
  EXPECT_TRUE(accord(u"ab*", u"xabx"));
  EXPECT_TRUE(accord(u"zz*cd", u"xcd"));
  EXPECT_FALSE(accord(u"ab*", u"XABX")) << "the search is plain";
  EXPECT_FALSE(accord(u"*cd", u"xdc"));
  EXPECT_TRUE(accord(u"A*b", u"a*B"));
  EXPECT_FALSE(accord(u"ab*", u"ab*c"));
}

}  // namespace
}  // namespace varnion
