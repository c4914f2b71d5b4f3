#include <gtest/gtest.h>

#include <string>

#include "noms/regles.hpp"

namespace varnion {
namespace {

TEST(Regles, CrcIsWrittenLowestNibbleFirst) {
  EXPECT_EQ(crc_texte(""), "0000");
  EXPECT_EQ(crc_texte("123456789"), "3C13");  // check value 31C3
  EXPECT_EQ(crc_texte("A"), "5E85");          // 58E5
}

TEST(Regles, CutKeepsAShortExtension) {
  struct Cas {
    std::string nom;
    std::size_t limite;
    std::string attendu;
  };
  const Cas cas[] = {
      {"short.txt", 31, "short.txt"},        {"abcdefghij.txt", 10, "abcdef.txt"},
      {"abcdefghij.jpeg", 10, "abcde.jpeg"}, {"abcdefghij.jpegs", 10, "abcdefghij"},
      {"abcdefghijkl", 10, "abcdefghij"},    {"abcdefghijk.", 10, "abcdefghij"},
      {"a.b.cdefghij.c", 10, "a.b.cdef.c"},  {"abcdef.txt", 3, "abc"},
  };
  for (const Cas &c : cas) EXPECT_EQ(coupe_nom(c.nom, c.limite), c.attendu) << c.nom;
}

TEST(Regles, ForbiddenCharacters) {
  EXPECT_EQ(remplace_interdits(" \xA0 a/b\\c|d:e<f>g*h?i\"j\x15k\x01l\x1F"), "a_b_c_d_e_f_g_h_i_j_k_l_");
  EXPECT_EQ(remplace_interdits("a:b/c", ":"), "a_b/c");
  EXPECT_EQ(remplace_interdits("   "), "");
  EXPECT_EQ(remplace_interdits(u" \u00A0\u0416:\u4E2D?\u0001"), u"\u0416_\u4E2D__");
}

TEST(Regles, DeviceNames) {
  const std::pair<std::string, std::string> cas[] = {
      {"CON", "CON_"},       {"con.txt", "con_.txt"},
      {"Lpt9", "Lpt9_"},     {"com1.tar.gz", "com1_.tar.gz"},
      {"clock$", "clock$_"}, {"COM0", "COM0"},
      {"COM10", "COM10"},    {"console", "console"},
      {"my.con", "my.con"},  {"", ""},
      {".nul", ".nul"},
  };
  for (const auto &[nom, attendu] : cas) EXPECT_EQ(corrige_peripherique(nom), attendu);
}

TEST(Regles, NumberedName) {
  EXPECT_EQ(nom_numerote("photo.old.jpg", 0), "photo.old-001.jpg");
  EXPECT_EQ(nom_numerote("photo", 41), "photo-042");
  EXPECT_EQ(nom_numerote(".profile", 1233), ".profile-1234");
}

TEST(Regles, ShortenedPaths) {
  struct Cas {
    std::string chemin;
    std::size_t limite;
    std::string attendu;
  };
  const Cas cas[] = {
      {"/home/a/b.txt", 50, "/home/a/b.txt"},
      {"/home/user/projects/disc/files/readme.txt", 30, "/home/.../files/readme.txt"},
      {"C:\\users\\mine\\projects\\disc\\readme.txt", 30, "C:\\users\\.../disc\\readme.txt"},
      {"/verylongcomponentname/disc/readme.txt", 24, "/.../disc/readme.txt"},
      {"verylongcomponentname/disc/readme.txt", 24, "very.../disc/readme.txt"},
      {"folder/averylongfilename.txt", 24, "averylongfilename.txt"},
      {"/home/averylongfilename.text.txt", 16, "home/averylon..."},
      {"averylongfilename.txt", 10, "averylo..."},
      {"averylongfilename.txt", 2, "av"},
      {"", 0, ""},
  };
  for (const Cas &c : cas) EXPECT_EQ(tronque_chemin(c.chemin, c.limite), c.attendu) << c.chemin;
}

/// No path of any shape passes the limit or ends in a walk without end.
TEST(Regles, ShortenedPathsNeverPassTheLimit) {
  const std::string chemins[] = {
      std::string(60, '/'), "a" + std::string(59, '\\'), "/" + std::string(70, 'x'),
      std::string(30, 'x') + "/" + std::string(30, 'y'), "a/b/c/d/e/f/g/h/i/j/k/l/m/n/o/p/"};
  for (const std::string &chemin : chemins) {
    for (std::size_t limite = 0; limite <= chemin.size(); ++limite) {
      EXPECT_LE(tronque_chemin(chemin, limite).size(), limite) << chemin << ' ' << limite;
    }
  }
}

}  // namespace
}  // namespace varnion
