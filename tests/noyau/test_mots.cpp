#include <gtest/gtest.h>

#include <set>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/arguments.hpp"
#include "app/noyau/json.hpp"
#include "app/noyau/lettres.hpp"
#include "app/noyau/routage.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/bac.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

TEST(Routage, CommandOrPath) {
  struct {
    const char *argument;
    char lettre, option;
  } const cas[] = {
      {"-C", 'C', '\0'}, {"/ci", 'C', 'I'}, {"\\L", 'L', '\0'}, {"-hX", 'H', 'X'}, {"--", 0, 0},
      {"-", 0, 0},       {"/tmp", 0, 0},    {"-Cab", 0, 0},     {"-1", 0, 0},      {"\\\\a", 0, 0},
      {"C", 0, 0},       {"", 0, 0},        {"/a.b", 0, 0},     {"/\xE9", 0, 0},
  };
  for (const auto &[argument, lettre, option] : cas) {
    const auto commande = commande_lettre(argument);
    EXPECT_EQ(commande.has_value(), lettre != 0) << argument;
    if (commande) {
      EXPECT_EQ(*commande, (CommandeLettre{lettre, option})) << argument;
    }
  }
}

TEST(Routage, DocumentsByExtension) {
  struct {
    const char *chemin;
    int mode;  // -1 for none
  } const cas[] = {
      {"/a/b.vnpr", 0}, {"B.CAT", 0},  {"b.hfs", 1}, {"b.Iso", 1},          {"b.dmg", 1}, {"b.vnso", 2},
      {"b.hfsx", 1},    {"x.txt", -1}, {"vnpr", -1}, {"dir.vnpr/file", -1}, {"b.hf", -1}, {"", -1},
  };
  for (const auto &[chemin, mode] : cas) EXPECT_EQ(mode_de_document(chemin).value_or(-1), mode) << chemin;
}

TEST(Lettres, EveryLetterTakesItsOptionsOnly) {
  const std::string permises[] = {"C-", "CH", "CI", "DC", "DH", "F-", "FH", "FI", "H-",
                                  "I-", "IH", "II", "L-", "LH", "LI", "R-", "RJ"};
  for (char lettre = 'A'; lettre <= 'Z'; ++lettre)
    for (const char option : {'\0', 'C', 'H', 'I', 'J', 'Z'}) {
      const std::string forme{lettre, option == '\0' ? '-' : option};
      const bool voulue = std::find(std::begin(permises), std::end(permises), forme) != std::end(permises);
      EXPECT_EQ(fiche_lettre({lettre, option}) != nullptr, voulue) << forme;
    }
}

TEST(Arguments, SortsOptionsFromPositions) {
  constexpr OptionCli options[] = {
      {"output", 'o', 6730, ""}, {"view", '\0', 6710, "iso|hfs"}, {"force", 'f', 6702}};
  struct {
    std::vector<std::string> mots;
    bool courtes;
    std::string lu;  // positions, then options; "!" for an error
  } const cas[] = {
      {{"a", "--output", "x", "b"}, true, "a b output=x"},
      {{"-fox", "a"}, true, "a force= output=x"},
      {{"-o", "-f", "--view=iso"}, true, "output=-f view=iso"},
      {{"--force", "--", "--force", "-o"}, true, "--force -o force="},
      {{"-", "a"}, true, "- a"},
      {{"-x", "-o"}, false, "-x -o"},
      {{"--view", "zzz"}, true, "!"},
      {{"--view="}, true, "!"},
      {{"--force=1"}, true, "!"},
      {{"--output"}, true, "!"},
      {{"-o"}, true, "!"},
      {{"-x"}, true, "!"},
      {{"--for"}, true, "!"},
  };
  const std::span<const OptionCli> tables[] = {options};
  for (const auto &c : cas) {
    Arguments arguments;
    const auto erreur = analyse_arguments(c.mots, tables, c.courtes, arguments);
    std::string lu = erreur ? "!" : "";
    if (!erreur) {
      for (const auto &position : arguments.positions) lu += position + " ";
      for (const auto &[nom, valeur] : arguments.options)
        lu.append(nom).append("=").append(valeur).append(" ");
      lu.pop_back();
    }
    EXPECT_EQ(lu, c.lu) << c.mots[0] << erreur.value_or("");
  }
}

// Each text of the help exists in both languages, and an option is not told apart by its short form alone.
TEST(SousCommandes, HelpIsCompleteAndOptionsAreDistinct) {
  for (const SousCommande &commande : sous_commandes()) {
    std::set<char> courtes{'h', 'q', 'v'};
    for (const OptionCli &option : commande.options) {
      EXPECT_TRUE(option.courte == '\0' || courtes.insert(option.courte).second)
          << commande.mots() << option.nom;
      const bool nomme_valeur = !charger_chaine(option.aide).starts_with('\t');
      EXPECT_EQ(nomme_valeur, option.valeurs != nullptr) << commande.mots() << " " << option.nom;
    }
    for (const int langue : {kLangueAnglais, kLangueFrancais}) {
      fixer_base_langue(langue);
      EXPECT_TRUE(charger_chaine(commande.synopsis).starts_with(commande.mots())) << commande.mots();
      EXPECT_TRUE(chaine_si_connue(commande.resume)) << commande.mots();
      for (const OptionCli &option : commande.options)
        EXPECT_TRUE(chaine_si_connue(option.aide)) << option.nom;
    }
  }
  fixer_base_langue(kLangueAnglais);
}

TEST(Json, EscapesAndOrders) {
  EXPECT_EQ(json_texte("a\"b\\c\n\x7F\xE9"), "\"a\\\"b\\\\c\\u000a\\u007f\xC3\xA9\"");
  ObjetJson objet;
  objet.texte("t", "x").nombre("n", -3).vrai("v", true).texte_ou_nul("u", std::nullopt);
  objet.objet("o", ObjetJson().nombre("k", UINT64_MAX));
  EXPECT_EQ(objet.fini(), R"({"t": "x", "n": -3, "v": true, "u": null, "o": {"k": 18446744073709551615}})");
}

using EssaiMots = essai::Bac;

TEST_F(EssaiMots, ListFilesTakeAnyLineEndAndEncoding) {
  pose("liste", "\xEF\xBB\xBFun\r\ndeux\n\n\xC3\xA9t\xC3\xA9\r\xE9t\xE9");
  const auto lus = lit_liste(bac + "liste");
  ASSERT_TRUE(lus);
  EXPECT_EQ(*lus, (std::vector<std::string>{"un", "deux", "\xC3\xA9t\xC3\xA9", "\xC3\xA9t\xC3\xA9"}));
  EXPECT_FALSE(lit_liste(bac + "absente"));
}

TEST_F(EssaiMots, NamesThatAProjectCannotHoldAreRefused) {
  EXPECT_EQ(texte_argument("e\xCC\x81t\xC3\xA9?"), "\xE9t\xE9?");
  EXPECT_FALSE(texte_argument("\xE6\x97\xA5"));
  EXPECT_FALSE(chemin_argument(""));
  EXPECT_EQ(chemin_extension("/a.b/c", "ISO"), "/a.b/c.ISO");
  EXPECT_EQ(chemin_extension("c.vnpr", "ISO"), "c.ISO");
  EXPECT_EQ(chemin_extension("/d/.cache", "ISO"), "/d/.cache.ISO");
}

}  // namespace
}  // namespace varnion
