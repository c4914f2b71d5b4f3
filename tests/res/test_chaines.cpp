#include "res/chaines.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "res/table_chaines.hpp"

namespace varnion {
namespace {

struct JournalNote final : Operations {
  std::vector<std::string> lignes;

  void afficher_erreur(std::string_view) override {}
  void afficher_avis(std::string_view) override {}
  int demander_oui_non(std::string_view) override { return 0; }
  int demander_tous(std::string_view) override { return 0; }
  bool demander_nom(std::string_view, std::string &, std::size_t) override { return false; }
  void afficher_etat(std::string_view, std::string_view) override {}
  void afficher_etat_seul(std::string_view) override {}
  void progression_debut(std::uint64_t) override {}
  void progression_pas(std::uint64_t) override {}
  void progression_fin() override {}
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal genre, std::string_view texte) override {
    if (genre == GenreJournal::information) lignes.emplace_back(texte);
  }
  bool arret_demande() override { return false; }
};

class Chaines : public ::testing::Test {
 protected:
  void SetUp() override { EtatProgramme::courant().reinitialise(); }
  void TearDown() override {
    brancher_operations(nullptr);
    EtatProgramme::courant().reinitialise();
  }
};

TEST_F(Chaines, FormatsEveryConversion) {
  const struct {
    const char *modele;
    std::initializer_list<Argument> valeurs;
    const char *attendu;
  } cas[] = {
      {"%s and %d", {"one", 2}, "one and 2"},
      {"%5d|%-5d|%05d", {42, 42, -42}, "   42|42   |-0042"},
      {"%.3s|%6s|%-4s|", {"abcdef", "ab", "ab"}, "abc|    ab|ab  |"},
      {"%x %X %08x", {255, 255, -2}, "ff FF fffffffe"},
      {"%u|%I64x", {UINT64_MAX, -1}, "18446744073709551615|ffffffffffffffff"},
      {"%I64d > %lu.%03lu %Ld %I32d", {INT64_MIN, 1, 7, 8, 9}, "-9223372036854775808 > 1.007 8 9"},
      {"%2d'%02d\" 100%%", {3, 4}, " 3'04\" 100%"},
      {"%d %s", {"text", 12}, "text 12"},
      {"%s-%s", {"only"}, "only-"},
      {"surplus %s", {"a", "b"}, "surplus a"},
      {"50% off %", {1}, "50% off %"},
      {"%q %c %", {1}, "%q %c %"},
      {"%n%*d", {1}, "%n%*d"},
      {"%.s|", {"gone"}, "|"},
  };
  for (const auto &c : cas) EXPECT_EQ(formate(c.modele, c.valeurs), c.attendu) << c.modele;
}

TEST_F(Chaines, HoldsWidthAndPrecisionBounded) {
  EXPECT_EQ(formate("%999999999999999999999d", {1}).size(), 512U);
  EXPECT_EQ(formate("%-.99999999999999999999s", {std::string(2000, 'x')}).size(), 512U);
  EXPECT_EQ(formate("%600s", {std::string(700, 'x')}).size(), 700U);
}

TEST_F(Chaines, GivesTextsInTheLanguageInForce) {
  const struct {
    int id;
    const char *anglais;
    const char *francais;
  } cas[] = {
      {1000, "&Close", "&Fermer"},
      {1268,
       "Fran\xE7"
       "ais",
       "Fran\xE7"
       "ais"},
      {1287, "Untitled", "Sans titre"},
      {1385, "Error opening file\n%s.", "Erreur \xE0 l\x92ouverture du fichier\n%s."},
      {1457, "Inclusion completed in %2d'%02d\" for %d folders and %d files.",
       "Inclusion termin\xE9"
       "e en %2d'%02d\" pour %d dossiers et %d fichiers."},
      {1090, "Addition\t%s", "Ajout\t%s"},
      {2268,
       ".Change the access path of files/folders included in the project (for instance, 'C:\\' becomes "
       "'D:\\project\\').",
       ".Change le chemin d\x92"
       "acc\xE8s des fichiers et dossiers inclus dans le projet (par exemple, \xAB\xA0"
       "C:\\\xA0\xBB devient \xAB\xA0"
       "D:\\projet\\\xA0\xBB)."},
      {5422, "sig", "sig"},
  };
  for (const auto &c : cas) {
    fixer_base_langue(kLangueAnglais);
    EXPECT_EQ(charger_chaine(c.id), c.anglais);
    fixer_base_langue(kLangueFrancais);
    EXPECT_EQ(charger_chaine(c.id), c.francais);
  }
  EXPECT_EQ(message(1408, {12}),
            "Chemin d\x92"
            "acc\xE8s modifi\xE9 pour 12 fichiers/dossiers.");
}

TEST_F(Chaines, MissingIdIsJournalledAndReadsAsItsNumber) {
  JournalNote operations_notees;
  brancher_operations(&operations_notees);
  EXPECT_EQ(base_langue(), kLangueAnglais);
  // 11000 is the French form of 1000, not an id of its own.
  for (const int id : {0, -9000, 1099, 5999, 11000}) {
    EXPECT_EQ(chaine_si_connue(id), std::nullopt);
    EXPECT_EQ(charger_chaine(id), "[" + std::to_string(id) + "]");
    EXPECT_NE(operations_notees.lignes.back().find(std::to_string(id)), std::string::npos);
  }
  EXPECT_EQ(operations_notees.lignes.size(), 5U);
}

TEST_F(Chaines, EveryTextFitsTheCodePageAndTheBuffer) {
  int anglaises = 0;
  for (const EntreeChaine &entree : table_chaines()) {
    if (entree.id < kLangueFrancais) ++anglaises;
    const std::string texte = plateforme::utf8_vers_texte(entree.utf8);
    EXPECT_FALSE(texte.empty()) << entree.id;
    EXPECT_LE(texte.size(), 255U) << entree.id;
    EXPECT_EQ(std::ranges::count(texte, '?'), std::ranges::count(entree.utf8, '?')) << entree.id;
    const int base = entree.id < kLangueFrancais ? kLangueAnglais : kLangueFrancais;
    fixer_base_langue(base);
    EXPECT_EQ(chaine_si_connue(entree.id - base), texte);
  }
  EXPECT_GE(anglaises, 862);
}

/// Runs the build tool on two string files; gives its exit status and what it said.
std::pair<int, std::string> genere(const std::string &anglais, const std::string &francais) {
  const auto dossier = std::filesystem::path(::testing::TempDir()) / ("chaines" + std::to_string(getpid()));
  std::filesystem::create_directories(dossier);
  std::ofstream(dossier / "en.txt", std::ios::binary) << anglais;
  std::ofstream(dossier / "fr.txt", std::ios::binary) << francais;
  const std::string d = dossier.string();
  const std::string commande =
      std::string("'") + VN_GENERE_CHAINES + "' '" + d + "/t.cpp' '" + d + "/en.txt' '" + d + "/fr.txt' 2>&1";
  std::string dit;
  int statut = -1;
  if (FILE *const tube = popen(commande.c_str(), "r")) {
    for (int c = fgetc(tube); c != EOF; c = fgetc(tube)) dit += static_cast<char>(c);
    statut = WEXITSTATUS(pclose(tube));
  }
  EXPECT_EQ(std::filesystem::exists(dossier / "t.cpp"), statut == 0);
  std::filesystem::remove_all(dossier);
  return {statut, dit};
}

TEST_F(Chaines, GeneratorNamesTheFaultyLine) {
  const struct {
    const char *anglais;
    const char *francais;
    const char *place;  ///< nullptr: the files are right
  } cas[] = {
      {"# c\n\n1\tA %s\\n%5d\n", "10001\tB %s\\n%5d\n", nullptr},
      {"1\t100%%\r\n", "10001\t100 %%\r\n", nullptr},
      {"1\tA\n1\tB\n", "10001\tA\n", "en.txt:2: error: id 1 stands twice"},
      {"2\tA\n1\tB\n", "10001\tB\n10002\tA\n", "en.txt:2: error: id 1 is out of order"},
      {"1\tA\n", "10001\tA\\x\n", "fr.txt:1: error: unknown escape"},
      {"1\tA\\\n", "10001\tA\n", "en.txt:1: error: unknown escape"},
      {"1\tA\n# c\n2\tB\n", "10001\tA\n", "en.txt:3: error: id 2 has no counterpart"},
      {"1\tA\n", "10001\tA\n10002\tB\n", "fr.txt:2: error: id 10002 has no counterpart"},
      {"1\t%s %d\n", "10001\t%d %s\n", "fr.txt:1: error: the % conversions"},
      {"1\t%s\n", "10001\tA\n", "fr.txt:1: error: the % conversions"},
      {"1\t50 % of\n", "10001\t50 % of\n", "en.txt:1: error: a % that begins no conversion"},
      {"1 A\n", "10001\tA\n", "en.txt:1: error: not of the form"},
      {"x\tA\n", "10001\tA\n", "en.txt:1: error: not of the form"},
      {"", "", "en.txt:0: error"},
  };
  for (const auto &c : cas) {
    const auto [statut, dit] = genere(c.anglais, c.francais);
    EXPECT_EQ(statut, c.place == nullptr ? 0 : 1) << c.anglais;
    EXPECT_NE(dit.find(c.place == nullptr ? "" : c.place), std::string::npos) << dit;
  }
}

}  // namespace
}  // namespace varnion
