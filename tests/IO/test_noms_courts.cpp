#include "IO/noms_courts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "IO/plateforme.hpp"

namespace varnion {
namespace {

using plateforme::majuscules;
using plateforme::noms_courts;

std::vector<std::string> courts(const std::vector<std::string> &noms) {
  const std::vector<std::string_view> vues(noms.begin(), noms.end());
  return noms_courts(vues);
}

TEST(NomsCourts, UnNomSeul) {
  const std::pair<const char *, const char *> cas[] = {
      {"README.TXT", ""},
      {"readme.txt", ""},
      {"a", ""},
      {"_^$~!#%&.-{}", ""},
      {"()@'`", ""},
      {"12345678.123", ""},
      {"123456789.123", "123456~1.123"},
      {"12345678.1234", "123456~1.123"},
      {"a.b.c", "AB~1.C"},
      {"two words.txt", "TWOWOR~1.TXT"},
      {"a b", "AB~1"},
      {"name.", "NAME~1"},
      {".profile", "PROFIL~1"},
      {"..x.y", "X~1.Y"},
      {"a+b=c.x,y", "A_B_C~1.X_Y"},
      {"\xC3\xA9t\xC3\xA9", "ETE~1"},
      {"e\xCC\x81te\xCC\x81.tx\xCC\x8At", "ETE~1.TXT"},
      {"\xE2\x98\x83.txt", "_~1.TXT"},
      {"\xC5\x93uvre", "_UVRE~1"},
      {"\xFF\xFE.dat", "__~1.DAT"},
      {"what?", "WHAT_~1"},
      {"back\\slash", "BACK_S~1"},
      {"...", "~1"},
      {" ", "~1"},
      {"x.\xC3\xA9\xC3\xA9", "X~1.EE"},
  };
  for (const auto &[nom, court] : cas) EXPECT_EQ(courts({nom})[0], court) << nom;
}

TEST(NomsCourts, EchellePuisCrc) {
  std::vector<std::string> noms;
  for (int i = 1; i <= 6; ++i) noms.push_back("Document number " + std::to_string(i) + ".text");
  const auto resultat = courts(noms);
  for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(resultat[i], "DOCUME~" + std::to_string(i + 1) + ".TEX");
  for (std::size_t i = 4; i < 6; ++i) {
    char attendu[16];
    std::snprintf(attendu, sizeof attendu, "DO%04X~1.TEX", static_cast<unsigned>(plateforme::crc16(noms[i])));
    EXPECT_EQ(resultat[i], attendu);
  }
}

TEST(NomsCourts, LesNomsNaturelsPassentDAbord) {
  const auto resultat = courts({"longname a", "LONGNA~1", "longna~2", "Longname.txt", "LONGNAME.TXT"});
  EXPECT_EQ(resultat, (std::vector<std::string>{"LONGNA~3", "", "", "LONGNA~1.TXT", ""}));
}

void verifie_uniques(const std::vector<std::string> &noms, const std::vector<std::string> &resultat) {
  std::set<std::string> vus;
  for (std::size_t i = 0; i < noms.size(); ++i) {
    const std::string court = resultat[i].empty() ? majuscules(noms[i]) : resultat[i];
    ASSERT_TRUE(plateforme::est_nom_court_legal(court)) << noms[i] << " -> " << court;
    ASSERT_TRUE(vus.insert(court).second) << noms[i] << " -> " << court;
  }
}

TEST(NomsCourts, VingtMilleNomsDeMemeDebutSansOrdre) {
  std::vector<std::string> noms;
  for (int i = 0; i < 20000; ++i) noms.push_back("Same prefix " + std::to_string(i) + ".data");
  for (int i = 0; i < 100; ++i) noms.push_back("SAMEPR~" + std::to_string(i % 10) + "." + std::to_string(i));
  const auto resultat = courts(noms);
  verifie_uniques(noms, resultat);

  std::map<std::string, std::string> attendu;
  for (std::size_t i = 0; i < noms.size(); ++i) attendu[noms[i]] = resultat[i];
  std::shuffle(noms.begin(), noms.end(), std::mt19937(7));
  const auto melanges = courts(noms);
  for (std::size_t i = 0; i < noms.size(); ++i) ASSERT_EQ(melanges[i], attendu[noms[i]]) << noms[i];
}

// Names made to share stem and CRC take one number after another; that stays quick only when no search starts
// over.
TEST(NomsCourts, CrcEgaux) {
  std::vector<std::string> noms;
  for (unsigned i = 0; noms.size() < 12000; ++i) {
    std::string nom = "clash " + std::to_string(i);
    // A message with its own CRC behind it has the CRC 0.
    const std::uint16_t crc = plateforme::crc16(nom);
    nom.push_back(static_cast<char>(crc >> 8));
    nom.push_back(static_cast<char>(crc & 0xFF));
    if (nom.find_first_of(std::string_view("\0/. ", 4), nom.size() - 2) != std::string::npos) continue;
    ASSERT_EQ(plateforme::crc16(nom), 0);
    noms.push_back(nom);
  }
  const auto debut = std::chrono::steady_clock::now();
  const auto resultat = courts(noms);
  EXPECT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(5));
  std::set<std::string> vus(resultat.begin(), resultat.end());
  EXPECT_EQ(vus.size(), noms.size());
}

}  // namespace
}  // namespace varnion
