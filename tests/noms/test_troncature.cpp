#include <gtest/gtest.h>

#include <deque>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"

namespace varnion {
namespace {

/// Answers the form and the question from a script and keeps what was asked.
struct Scenario final : Operations {
  std::deque<std::optional<std::string>> noms;
  MethodeTroncature methode = MethodeTroncature::saisie;
  int reponse = 0;
  std::vector<std::string> questions;
  std::vector<std::string> formes;
  std::vector<std::string> erreurs;

  bool demander_nom(std::string_view, std::string &nom, std::size_t limite) override {
    EXPECT_EQ(limite, 31U);
    formes.push_back(nom);
    if (noms.empty() || !noms.front()) return false;
    nom = *noms.front();
    noms.pop_front();
    choix_troncature().methode = methode;
    return true;
  }
  int demander_oui_non(std::string_view texte) override {
    questions.emplace_back(texte);
    return reponse;
  }
  void afficher_erreur(std::string_view texte) override { erreurs.emplace_back(texte); }
  void afficher_avis(std::string_view) override {}
  int demander_tous(std::string_view) override { return 0; }
  void afficher_etat(std::string_view, std::string_view) override {}
  void afficher_etat_seul(std::string_view) override {}
  void progression_debut(std::uint64_t) override {}
  void progression_pas(std::uint64_t) override {}
  void progression_fin() override {}
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal, std::string_view) override {}
  bool arret_demande() override { return false; }
};

class Troncature : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&scenario);
  }
  void TearDown() override {
    brancher_operations(nullptr);
    EtatProgramme::courant().reinitialise();
  }
  std::optional<std::string> tronque(std::string_view nom, std::uint32_t options) {
    return tronque_nom_mac(
        nom, [this](std::string_view n) { return dossier.contains(std::string(n)); }, options);
  }

  Scenario scenario;
  std::set<std::string> dossier;
  const std::string nom_long = "A very long name of thirty-six chars";
};

constexpr std::uint32_t kCrc = kOptionTroncatureAuto | kOptionTroncatureCrc;

TEST_F(Troncature, AutomaticCutStripsBlanksAndAsksNothing) {
  EXPECT_EQ(tronque("31 characters are short enough.", kOptionTroncatureAuto),
            "31 characters are short enough.");
  EXPECT_EQ(tronque(nom_long, kOptionTroncatureAuto), "A very long name of thirty-six");
  EXPECT_EQ(tronque(std::string(40, ' '), kOptionTroncatureAuto), "_") << "no item without a name";
  etat<OptionsProgramme>().mode_lot = true;
  EXPECT_EQ(tronque(nom_long, 0), "A very long name of thirty-six");
  EXPECT_TRUE(scenario.formes.empty());
}

TEST_F(Troncature, ConflictTakesTheCrcForm) {
  dossier = {"A very long name of thirty-six"};
  const std::string forme_crc = "A very long name of thirty-" + crc_texte(nom_long);
  EXPECT_EQ(tronque(nom_long, kCrc), forme_crc);
  EXPECT_EQ(forme_crc.size(), 31U);
  EXPECT_TRUE(scenario.questions.empty());
  dossier.insert(forme_crc);
  EXPECT_EQ(tronque(nom_long, kCrc), std::nullopt) << "No to the question gives the item up";
  ASSERT_EQ(scenario.questions.size(), 1U);
  EXPECT_NE(scenario.questions[0].find(nom_long), std::string::npos);
  EXPECT_NE(scenario.questions[0].find(forme_crc), std::string::npos);
}

TEST_F(Troncature, YesToTheQuestionTakesTheTypedNameAsItIs) {
  dossier = {"A very long name of thirty-six", "taken"};
  scenario.reponse = 1;
  scenario.noms = {"taken"};
  EXPECT_EQ(tronque(nom_long, kOptionTroncatureAuto), "taken");
  EXPECT_EQ(scenario.formes.size(), 1U);
}

TEST_F(Troncature, FormGivesTheTypedNameInMacRoman) {
  scenario.noms = {"d\xE9j\xE0:vu", std::nullopt};
  EXPECT_EQ(tronque(nom_long + "\x8E", 0), "d\x8Ej\x88_vu");
  EXPECT_EQ(scenario.formes[0], nom_long + "\xE9") << "the form shows working text";
  EXPECT_EQ(tronque(nom_long, 0), std::nullopt) << "Cancel";
  scenario.noms = {std::string(60, 'z'), ""};
  EXPECT_EQ(tronque(nom_long, 0), std::string(31, 'z'));
  EXPECT_EQ(tronque(nom_long, 0), std::nullopt) << "an empty name";
}

TEST_F(Troncature, ChosenMethodStaysInForce) {
  scenario.noms = {nom_long};
  scenario.methode = MethodeTroncature::crc;
  dossier = {"A very long name of thirty-six"};
  const auto premier = tronque(nom_long, 0);
  EXPECT_EQ(premier, "A very long name of thirty-" + crc_texte(nom_long));
  EXPECT_EQ(tronque(nom_long, 0), premier);
  EXPECT_EQ(scenario.formes.size(), 1U) << "the form is shown once in a run";
}

TEST_F(Troncature, OpenErrorShowsAShortenedPath) {
  erreur_fichier("/home/someone/projects/a-rather-long-folder-name/disc/readme.txt");
  ASSERT_EQ(scenario.erreurs.size(), 1U);
  EXPECT_NE(scenario.erreurs[0].find("/home/someone/projects/.../disc/readme.txt"), std::string::npos)
      << scenario.erreurs[0];
}

}  // namespace
}  // namespace varnion
