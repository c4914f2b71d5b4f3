#include "app/noyau/journal.hpp"

#include <gtest/gtest.h>

#include "IO/bac.hpp"

namespace varnion {
namespace {

using essai::Bac;
using EssaiJournal = Bac;

TEST_F(EssaiJournal, LineForms) {
  const HeureJournal heure{{2026, 3, 7, 9, 5, 4}, 8};
  struct {
    GenreJournal genre;
    const char *ligne;
  } const cas[] = {
      {GenreJournal::erreur, "7/3/2026 -  9:05:04:08 - \xC3\xA9t\xC3\xA9\r\n"},
      {GenreJournal::information, "7/3/2026 -  9:05:04:08\t\xC3\xA9t\xC3\xA9\r\n"},
      {GenreJournal::trace, "7/3/2026 -  9:05:04:08 - \xC3\xA9t\xC3\xA9\r\n"},
      {GenreJournal::compilation, "7/3/2026 -  9:05:04:08 - COMPIL : \xC3\xA9t\xC3\xA9\n"},
      {GenreJournal::brut, "\xC3\xA9t\xC3\xA9"},
  };
  for (const auto &[genre, ligne] : cas) EXPECT_EQ(ligne_journal(genre, "\xE9t\xE9", heure), ligne);
}

// A name may hold what it likes: it neither begins an entry nor reaches a terminal that shows the log.
TEST_F(EssaiJournal, NamesForgeNothing) {
  const HeureJournal heure{{2026, 3, 7, 9, 5, 4}, 8};
  EXPECT_EQ(ligne_journal(GenreJournal::erreur, "File\na\n7/3/2026 - forged\x1B[2J", heure),
            "7/3/2026 -  9:05:04:08 - File\n  a\n  7/3/2026 - forged\\x1B[2J\r\n");
  EXPECT_EQ(ligne_journal(GenreJournal::brut, "a\rb\nc\td\r\n", heure), "a\\rb\n  c\td\r\n");
}

TEST_F(EssaiJournal, AppendsAcrossOpeningsAndEmpties) {
  EXPECT_FALSE(vide_journal());
  ecrit_journal(GenreJournal::brut, "nowhere");
  EXPECT_FALSE(ouvre_journal(bac + "absent/vn.log"));
  ASSERT_TRUE(ouvre_journal(bac + "vn.log"));
  ecrit_journal(GenreJournal::brut, "un\r\n");
  ferme_journal();
  ecrit_journal(GenreJournal::brut, "lost");
  ASSERT_TRUE(ouvre_journal(bac + "vn.log"));
  const auto lu = [this] { return essai::tout(plateforme::ouvre(bac + "vn.log", Ouverture::lecture)); };
  EXPECT_EQ(lu(), "**********\r\nun\r\n**********\r\n");
  EXPECT_TRUE(vide_journal());
  ecrit_journal(GenreJournal::brut, "deux");
  EXPECT_EQ(lu(), "deux");
}

}  // namespace
}  // namespace varnion
