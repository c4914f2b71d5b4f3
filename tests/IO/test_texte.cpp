#include <gtest/gtest.h>

#include <string>

#include "IO/plateforme.hpp"

namespace varnion {
namespace {

using namespace plateforme;

struct CasTexte {
  const char *utf8;
  const char *texte;
  std::u16string large;
};

TEST(Texte, DeUtf8) {
  const CasTexte cas[] = {
      {"plain.txt", "plain.txt", u"plain.txt"},
      {"\xC3\xA9t\xC3\xA9", "\xE9t\xE9", u"\u00E9t\u00E9"},
      {"e\xCC\x81te\xCC\x81", "\xE9t\xE9", u"\u00E9t\u00E9"},  // decomposed, as a Mac share gives it
      {"\xE2\x82\xAC \xC5\x93 \xE2\x84\xA2", "\x80 \x9C \x99", u"\u20AC \u0153 \u2122"},
      {"\xC3\xBF\xC5\xB8", "\xFF\x9F", u"\u00FF\u0178"},
      {"\xE2\x84\xAB", "\xC5", u"\u00C5"},     // ANGSTROM SIGN composes to A WITH RING
      {"a\xE2\x98\x83z", "a?z", u"a\u2603z"},  // one "?" for one character
      {"\xF0\x9F\x98\x80", "?", u"\U0001F600"},
      {"\xC2\x81\xC2\x9D", "??", u"\u0081\u009D"},     // controls are no 1252 characters
      {"a\xFFz\xC3", "a?z?", u"a\uFFFDz\uFFFD"},       // stray and cut bytes
      {"\xED\xA0\x80", "???", u"\uFFFD\uFFFD\uFFFD"},  // a surrogate is not valid UTF-8
      {"e\xCC\x81\xFF", "\xE9?", u"\u00E9\uFFFD"},
      {"\xE9", "?", u"\uFFFD"},
  };
  for (const CasTexte &c : cas) {
    EXPECT_EQ(utf8_vers_texte(c.utf8), c.texte) << c.utf8;
    EXPECT_EQ(utf8_vers_large(c.utf8), c.large) << c.utf8;
    EXPECT_EQ(large_vers_texte(c.large), c.texte) << c.utf8;
  }
}

TEST(Texte, ChaqueOctetFaitLAllerRetour) {
  for (int valeur = 0; valeur < 256; ++valeur) {
    const std::string octet(1, static_cast<char>(valeur));
    const bool indefini =
        valeur == 0x81 || valeur == 0x8D || valeur == 0x8F || valeur == 0x90 || valeur == 0x9D;
    const std::string attendu = indefini ? "?" : octet;
    EXPECT_EQ(utf8_vers_texte(texte_vers_utf8(octet)), attendu) << valeur;
    EXPECT_EQ(large_vers_texte(texte_vers_large(octet)), attendu) << valeur;
    EXPECT_EQ(texte_vers_utf8(octet) == "\xEF\xBF\xBD", indefini) << valeur;
  }
}

TEST(Texte, DeLarge) {
  EXPECT_EQ(large_vers_utf8(u"\U0001F600\u20ACa"),
            "\xF0\x9F\x98\x80\xE2\x82\xAC"
            "a");
  // Surrogates without their other half: at the end, and in the wrong order.
  const std::u16string seuls = {char16_t{0xDC00}, u'a', char16_t{0xD800}};
  EXPECT_EQ(large_vers_utf8(seuls),
            "\xEF\xBF\xBD"
            "a\xEF\xBF\xBD");
  EXPECT_EQ(large_vers_texte(u"e\u0301"), "\xE9");
}

TEST(Texte, Majuscules) {
  EXPECT_EQ(majuscules("az09 \xE0\xE9\xF6\xF7\xFE\xFF\x9A\x9C\x9E"),
            "AZ09 \xC0\xC9\xD6\xF7\xDE\x9F\x8A\x8C\x8E");
  EXPECT_EQ(majuscules("\xDF\xAA\xB5\x83\x9B"), "\xDF\xAA\xB5\x83\x9B");
}

TEST(Texte, Crc16) {
  EXPECT_EQ(crc16("123456789"), 0x31C3);  // the check value of CRC-16/XMODEM
  EXPECT_EQ(crc16(""), 0);
}

}  // namespace
}  // namespace varnion
