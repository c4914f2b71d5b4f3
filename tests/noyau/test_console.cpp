#include "app/noyau/console.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "app/noyau/journal.hpp"
#include "IO/bac.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

class EssaiConsole : public essai::Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    fixer_base_langue(kLangueAnglais);
  }
  std::ostringstream messages;
};

TEST_F(EssaiConsole, ErrorsAreSetInNumberedAndLogged) {
  std::istringstream entree;
  Console console(messages, entree);
  ASSERT_TRUE(ouvre_journal(bac + "vn.log"));
  console.options.silencieux = true;
  console.afficher_erreur("\nL'\xE9t\xE9\n\x1B[2J\n");
  console.afficher_avis("notice");
  console.afficher_etat("state", "");
  EXPECT_EQ(messages.str(), "varnion-cli: L'\xC3\xA9t\xC3\xA9\n  \\x1B[2J\n")
      << "no control byte reaches the screen";
  EXPECT_EQ(console.erreurs(), 1U);
  ferme_journal();
  EXPECT_NE(essai::tout(plateforme::ouvre(bac + "vn.log", Ouverture::lecture)).find("\xC3\xA9t\xC3\xA9"),
            std::string::npos);
}

TEST_F(EssaiConsole, TheBarIsDrawnInPlaceAndHoldsNoControls) {
  std::istringstream entree;
  Console console(messages, entree);
  console.options.terminal = true;
  console.barre("50 %  \xE9t\xE9\r\x1B[A");
  console.barre("\xE9");
  console.barre("");
  EXPECT_EQ(messages.str(), "\r50 %  \xC3\xA9t\xC3\xA9\\r\\x1B[A\r\xC3\xA9" + std::string(16, ' ') + "\r \r");
}

TEST_F(EssaiConsole, BatchAnswersItsOwnQuestions) {
  std::istringstream entree("y\nY\nnom\n");
  Console console(messages, entree);
  EXPECT_EQ(console.demander_oui_non("Sure?"), 0);
  EXPECT_EQ(messages.str(), "varnion-cli: Sure?\n  Answered: No.\n");
  EXPECT_EQ(console.demander_tous("All?"), 2);
  std::string nom = "a name that is too long.text";
  EXPECT_TRUE(console.demander_nom("Truncation", nom, 12));
  EXPECT_EQ(nom, "a name .text");
  EXPECT_EQ(entree.peek(), 'y') << "nothing was read";
}

TEST_F(EssaiConsole, AskedQuestionsTakeTheUsersWord) {
  struct {
    const char *saisie;
    int oui_non, tous;
  } const cas[] = {
      {"y\n", 1, 1}, {"Y\n", 1, 2},           {"n\n", 0, 0}, {"N\n", 0, -1},
      {"o\n", 1, 1}, {"\nwhat\nyes\n", 1, 1}, {"", 0, 0},    {"y", 1, 1},
  };
  for (const auto &[saisie, oui_non, tous] : cas) {
    std::istringstream une(saisie);
    std::istringstream autre(saisie);
    Console console(messages, une);
    console.options.interroge = true;
    EXPECT_EQ(console.demander_oui_non("?"), oui_non) << saisie;
    Console seconde(messages, autre);
    seconde.options.interroge = true;
    EXPECT_EQ(seconde.demander_tous("?"), tous) << saisie;
  }
  std::istringstream entree("much too long\n\xC3\xA9t\xC3\xA9\n\n");
  Console console(messages, entree);
  console.options.interroge = true;
  std::string nom = "a long name";
  EXPECT_TRUE(console.demander_nom("Truncation", nom, 6));
  EXPECT_EQ(nom, "\xE9t\xE9");
  nom = "a long name";
  EXPECT_TRUE(console.demander_nom("Truncation", nom, 6));
  EXPECT_EQ(nom, "a long") << "an empty line takes the proposal";
  EXPECT_FALSE(console.demander_nom("Truncation", nom, 3)) << "the end of the answers gives up";
}

TEST_F(EssaiConsole, AnEndlessStreamOfWrongAnswersEnds) {
  std::string fleuve;
  for (int i = 0; i < 5000; ++i) fleuve += "?\n";
  std::istringstream entree(fleuve);
  Console console(messages, entree);
  console.options.interroge = true;
  EXPECT_EQ(console.demander_oui_non("?"), 0);
  EXPECT_FALSE(entree.eof());
}

TEST_F(EssaiConsole, TheBarGivesWayToMessages) {
  std::istringstream entree;
  Console console(messages, entree);
  console.barre("no terminal");
  EXPECT_EQ(messages.str(), "");
  console.options.terminal = true;
  console.barre("12345");
  console.barre("123");
  console.afficher_avis("x");
  EXPECT_EQ(messages.str(), "\r12345\r123  \r   \rvarnion-cli: x\n");
}

TEST_F(EssaiConsole, ProgressTexts) {
  const std::uint64_t mo = 1 << 20;
  EXPECT_EQ(texte_avancement({0, 100 * mo, 3}), "0%");
  EXPECT_EQ(texte_avancement({50 * mo, 100 * mo, 25}), "50%, 2.0 MB/s, 0:25 left");
  EXPECT_EQ(texte_avancement({150 * mo, 100 * mo, 10}), "100%, 15.0 MB/s, 0:00 left")
      << "the total is an estimate";
  EXPECT_EQ(texte_avancement({0, 0, 1}), "100%");
  const std::string barre = barre_avancement({50 * mo, 100 * mo, 25}, "dossier.txt", 80);
  EXPECT_EQ(barre, "[###############---------------] 50%, 2.0 MB/s, 0:25 left  dossier.txt");
  for (const int colonnes : {0, 1, 20, 51, 60, 100})
    EXPECT_LT(barre_avancement({50 * mo, 100 * mo, 25}, "a long name of a file.txt", colonnes).size(),
              static_cast<std::size_t>(std::max(colonnes, 1)));
  EXPECT_EQ(taille_lisible(1023), "1023 bytes");
  EXPECT_EQ(taille_lisible(1536), "1.5 KB");
  EXPECT_EQ(taille_lisible(UINT64_MAX), "16777215.9 TB");
  fixer_base_langue(kLangueFrancais);
  EXPECT_EQ(taille_lisible(3 * mo / 2), "1,5 Mo");
}

}  // namespace
}  // namespace varnion
