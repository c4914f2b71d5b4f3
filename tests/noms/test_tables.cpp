#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>

#include "IO/etat.hpp"
#include "noms/tables.hpp"
#include "noms/texte.hpp"
#include "outils.hpp"

namespace varnion {
namespace {

using Differences = std::map<unsigned, unsigned>;

/// What a byte of one published set is in another, by way of its code point.
Differences conversion_publiee(const std::string &depuis, const std::string &vers, unsigned absent) {
  std::map<std::string, unsigned> cibles;
  for (const auto &ligne : essai::table_publiee(vers)) cibles[ligne[1]] = essai::hexa(ligne[0]);
  cibles.erase("----");
  Differences resultat;
  for (const auto &ligne : essai::table_publiee(depuis)) {
    const auto trouve = cibles.find(ligne[1]);
    resultat[essai::hexa(ligne[0])] = trouve == cibles.end() ? absent : trouve->second;
  }
  return resultat;
}

Differences differences(const TableOctets &table, const Differences &publiee) {
  Differences resultat;
  for (const auto &[octet, valeur] : publiee) {
    if (table[octet] != valeur) resultat[octet] = table[octet];
  }
  return resultat;
}

TEST(Tables, DepartFromThePublishedSetsOnlyWhereMeant) {
  const auto vers_windows = conversion_publiee("macroman_to_unicode.txt", "cp1252_to_unicode.txt", '_');
  ASSERT_EQ(vers_windows.size(), 256U);
  EXPECT_EQ(differences(mac_vers_windows, vers_windows),
            (Differences{{0x7F, 0x20}, {0xA0, 0x5F}, {0xA5, 0xB7}, {0xC9, 0x5F}, {0xCA, 0x5F},
                         {0xCE, 0x5F}, {0xCF, 0x5F}, {0xD0, 0x2D}, {0xD1, 0x2D}, {0xD2, 0x5F},
                         {0xD3, 0x5F}, {0xD9, 0x59}, {0xDA, 0xA6}, {0xDC, 0x5F}, {0xDD, 0x5F},
                         {0xE0, 0x5F}, {0xE1, 0x5F}, {0xE2, 0x5F}, {0xE3, 0x5F}, {0xE4, 0x5F},
                         {0xF5, 0x69}, {0xF6, 0x5E}, {0xF7, 0x22}, {0xFB, 0xB0}, {0xFD, 0x22}}));
  const auto vers_mac = conversion_publiee("cp1252_to_unicode.txt", "macroman_to_unicode.txt", 0);
  ASSERT_EQ(vers_mac.size(), 256U);
  EXPECT_EQ(differences(windows_vers_mac, vers_mac),
            (Differences{{0x3A, 0x5F}, {0x82, 0},    {0x83, 0},    {0x84, 0},    {0x86, 0},    {0x87, 0},
                         {0x88, 0},    {0x89, 0},    {0x8B, 0},    {0x93, 0x99}, {0x94, 0},    {0x95, 0x95},
                         {0x96, 0},    {0x97, 0},    {0x98, 0},    {0x9B, 0},    {0x9F, 0},    {0xA0, 0x20},
                         {0xA4, 0xDB}, {0xA6, 0xDA}, {0xAD, 0xD0}, {0xB2, 0x32}, {0xB3, 0x33}, {0xB4, 0xD5},
                         {0xB7, 0xA5}, {0xD7, 0x78}, {0xDD, 0xD9}, {0xFD, 0xD8}, {0xFE, 0xA5}}));
}

/// A slipped row or column of the dump tables shows in these: they follow ASCII, code page 437 and EBCDIC
/// 500.
TEST(Tables, DumpViewsShowTheirSets) {
  const auto vue = [](std::string_view texte, const TableOctets &table) { return traduit(texte, table); };
  EXPECT_EQ(vue("Az~ 09\x80\x82\x8D\x9A\xA4\xE1\xF1\xFD", dos_vers_windows),
            "Az~ 09\xC7\xE9\xEC\xDC\xF1\xDF\xB1\xB2");
  EXPECT_EQ(dos_vers_windows[0x0D], '_');
  EXPECT_EQ(dos_vers_windows[0xC4], 0);
  EXPECT_EQ(vue("\xC8\x85\x93\x93\x96\x6B\x40\xE6\x96\x99\x93\x84\x5A\xF0\xF9", ebcdic_vers_windows),
            "Hello, World]09");
  EXPECT_EQ(ebcdic_vers_windows[0x00], '.');
}

TEST(Texte, TranslationEndsAtAZeroOfTextOrTable) {
  const std::string avec_zero("ab\0cd", 5);
  EXPECT_EQ(traduit(avec_zero, mac_vers_windows), "ab");
  EXPECT_EQ(nom_mac("r\xE9sum\xE9.txt"), "r\x8Esum\x8E.txt");
  EXPECT_EQ(nom_mac("a:b"), "a_b");
  EXPECT_EQ(nom_mac("prix \x89 net"), "prix ");
  EXPECT_EQ(nom_mac("\x89 net\x96"), "_ net_") << "an item must have a name";
  EXPECT_EQ(nom_mac(""), "");
  EXPECT_EQ(nom_windows("r\x8Esum\x8E\xA5"), "r\xE9sum\xE9\xB7");
}

TEST(Texte, ListFilter) {
  EtatProgramme::courant().reinitialise();
  const std::string brut("a:b\0\x1F\x7F\x80\x81\x85\x8C\x9C\x9F\xA0\xFF", 14);
  EXPECT_EQ(traduit_filtre(brut, 14), "a_b__\x7F\x80_\x85\x8C\x9C_\xA0\xFF");
  caractere_remplacement() = '?';
  EXPECT_EQ(traduit_filtre(brut, 4), "a?b?");
  EXPECT_EQ(traduit_filtre("ab", 255), "ab");
  EtatProgramme::courant().reinitialise();
  EXPECT_EQ(caractere_remplacement(), '_');
}

/// Folding by way of the published set: upper and lower case of each accented pair are the two cases of one
/// letter, which decompose to base letters 20 (hexadecimal) apart.
TEST(Texte, MacLowerCasePairsAreTheTwoCasesOfALetter) {
  std::map<unsigned, unsigned> points;
  for (const auto &ligne : essai::table_publiee("macroman_to_unicode.txt"))
    points[essai::hexa(ligne[0])] = essai::hexa(ligne[1]);
  unsigned paires = 0;
  for (unsigned octet = 0x80; octet < 256; ++octet) {
    const unsigned bas = minuscule_mac(static_cast<std::uint8_t>(octet));
    if (bas == octet) continue;
    ++paires;
    const bool latin1 = points[octet] >= 0xC0 && points[octet] <= 0xDE;
    const bool particuliere = octet == 0xCE || octet == 0xD9;  // OE ligature, Y diaeresis
    EXPECT_TRUE(particuliere || (latin1 && points[bas] == points[octet] + 0x20)) << std::hex << octet;
  }
  EXPECT_EQ(paires, 29U);
  EXPECT_EQ(minuscule_mac("AZ[\x83\xCE\xD9"), "az[\x8E\xCF\xD8");
}

}  // namespace
}  // namespace varnion
