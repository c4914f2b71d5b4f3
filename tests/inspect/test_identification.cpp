#include "inspect/identification.hpp"

#include <set>

#include "inspect/outils.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion::essai {

namespace {

/// Bytes at a place, in hexadecimal pairs.
struct Pose {
  std::size_t place;
  std::vector<std::uint8_t> octets;
};

struct Cas {
  const char *nom;
  std::vector<Pose> poses;
  int code;
  std::uint64_t numero = 7;
};

Octets secteur(const std::vector<Pose> &poses) {
  Octets octets(512);
  for (const Pose &p : poses)
    std::copy(p.octets.begin(), p.octets.end(), octets.begin() + static_cast<std::ptrdiff_t>(p.place));
  return octets;
}

const Pose kAmorce{0x1FE, {0x55, 0xAA}};

}  // namespace

TEST(Identification, premier_test_qui_passe) {
  const std::vector<Cas> cas{
      {"zeros", {}, 0},
      {"H+", {{0, {'H', '+'}}}, 1},
      {"HX", {{0, {'H', 'X'}}}, 1},
      {"HP", {{0, {'H', 'P'}}}, 0},
      {"H+ that would be a header node", {{0, {'H', '+'}}, {8, {1, 1, 0, 3}}}, 1},
      {"BD", {{0, {'B', 'D'}}}, 2},
      {"ER of 512", {{0, {'E', 'R', 0x02, 0x00}}}, 3},
      {"ER of 2,048", {{0, {'E', 'R', 0x08, 0x00}}}, 3},
      {"ER of 1,000 falls through", {{0, {'E', 'R', 0x03, 0xE8}}}, 0},
      {"PM", {{0, {'P', 'M'}}}, 4},
      {"header node", {{8, {1, 0, 0, 3}}}, 5},
      {"header node of two records", {{8, {1, 0, 0, 2}}}, 0},
      {"leaf of height 1", {{8, {0xFF, 1, 0, 1}}}, 6},
      {"leaf of height 8, 256 records", {{8, {0xFF, 8, 1, 0}}}, 6},
      {"leaf of height 9", {{8, {0xFF, 9, 0, 1}}}, 0},
      {"empty leaf", {{8, {0xFF, 1, 0, 0}}}, 0},
      {"index node", {{8, {0, 2, 0, 4}}}, 15},
      {"index node of height 0", {{8, {0, 0, 0, 4}}}, 0},
      {"primary descriptor", {{0, {1, 'C', 'D', '0', '0', '1', 1}}}, 7},
      {"supplementary descriptor", {{0, {2, 'C', 'D', '0', '0', '1', 1}}}, 7},
      {"boot record", {{0, {0, 'C', 'D', '0', '0', '1', 1}}}, 0},
      {"partition descriptor", {{0, {3, 'C', 'D', '0', '0', '1', 1}}}, 0},
      {"terminator", {{0, {255, 'C', 'D', '0', '0', '1', 1}}}, 0},
      {"path table, type L", {{0, {1, 0, 0x17, 0, 0, 0, 1, 0}}}, 8},
      {"path table, type M", {{0, {1, 0, 0, 0, 0, 0x19, 0, 1}}}, 8},
      {"path table, parent 2", {{0, {1, 0, 0x17, 0, 0, 0, 2, 0}}}, 0},
      {"path table, type L from sector 256 on is taken for type M", {{0, {1, 0, 0, 1, 0, 0, 1, 0}}}, 0},
      {"directory", {{0, {0x22}}, {0x22, {0x22}}}, 9},
      {"FAT, number 0", {{0, {0xEB, 0x3C, 0x90}}, kAmorce}, 11, 0},
      {"FAT, elsewhere", {{0, {0xEB, 0x3C, 0x90}}, kAmorce}, 11, 63},
      {"jump without signature", {{0, {0xEB, 0x3C, 0x90}}}, 0, 0},
      {"MBR", {kAmorce}, 10, 0},
      {"signature elsewhere", {kAmorce}, 0, 1},
      {"number with a zero low half", {kAmorce}, 0, std::uint64_t{1} << 32},
  };
  for (const Cas &c : cas) {
    const Octets octets = secteur(c.poses);
    EXPECT_EQ(identifier_secteur(octets, static_cast<std::uint32_t>(c.numero),
                                 static_cast<std::uint32_t>(c.numero >> 32)),
              c.code)
        << c.nom;
  }
}

// The only effect of the chain: the block size of the map is that of the driver map that was looked at.
TEST(Identification, taille_bloc_de_la_carte) {
  EtatProgramme::courant().reinitialise();
  support().taille_bloc_carte = 77;
  EXPECT_EQ(identifier_secteur(secteur({{0, {'E', 'R', 0x03, 0xE8}}}), 0, 0), 0);
  EXPECT_EQ(support().taille_bloc_carte, 77);
  EXPECT_EQ(identifier_secteur(secteur({{0, {'E', 'R', 0x08, 0x00}}}), 0, 0), 3);
  EXPECT_EQ(support().taille_bloc_carte, 2048);
  EXPECT_EQ(identifier_secteur(secteur({{0, {'P', 'M'}}}), 0, 0), 4);
  EXPECT_EQ(support().taille_bloc_carte, 2048);
  EtatProgramme::courant().reinitialise();
}

TEST(Identification, repartition) {
  const std::vector<std::pair<int, const char *>> classes{
      {1, "TSectHPP"}, {2, "TSectBD"},  {3, "TSectER"},   {4, "TSectPM"}, {5, "TSectB"}, {6, "TSectND"},
      {7, "TSectISO"}, {8, "TPathISO"}, {9, "TRepISO"},   {10, "TMBR"},   {11, "TBoot"}, {12, "TMacBin"},
      {13, "TAS"},     {14, "TAD"},     {15, "TBranche"}, {16, "Tefi"},
  };
  for (const auto &[code, classe] : classes) {
    for (const int mode : {1, 3}) {
      const GenreAnalyse *genre = genre_de(forme_de_code(code, mode));
      ASSERT_NE(genre, nullptr) << code;
      EXPECT_EQ(genre->classe, classe);
      EXPECT_EQ(genre->code, code);
    }
    const bool tetes = code == 3 || code == 4;
    EXPECT_EQ(forme_de_code(code, 2) == FormeSecteur::tetes_mac, tetes) << code;
  }
  for (const int code : {-1, 0, 17, 1000}) EXPECT_EQ(forme_de_code(code, 3), FormeSecteur::aucune);
}

// Each row of the menu can be told from the others, has its texts, and shows a form of its own.
TEST(Identification, menu) {
  std::set<std::string> legendes, mots;
  for (const GenreAnalyse &genre : genres_analyse()) {
    ASSERT_TRUE(chaine_si_connue(genre.legende)) << genre.classe;
    EXPECT_TRUE(legendes.insert(charger_chaine(genre.legende)).second) << genre.classe;
    EXPECT_TRUE(mots.insert(std::string(genre.mot)).second) << genre.mot;
    EXPECT_EQ(genre_nomme(genre.mot), &genre);
    const Octets vide(512);
    EXPECT_EQ(analyse(genre.forme, {vide, 0, 512, nullptr, {}}).forme, genre.forme);
  }
  EXPECT_EQ(legendes.size(), 18U);
  EXPECT_EQ(genre_nomme("nothing"), nullptr);
}

}  // namespace varnion::essai
