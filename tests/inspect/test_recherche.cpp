#include "inspect/recherche.hpp"

#include <random>

#include "inspect/outils.hpp"

namespace varnion::essai {

namespace {

/// All places by the plainest way there is.
std::vector<std::uint64_t> naif(const std::string &octets, const std::string &motif, std::size_t depuis,
                                std::size_t fin) {
  std::vector<std::uint64_t> places;
  for (std::size_t i = depuis; i < fin && i + motif.size() <= octets.size(); ++i)
    if (octets.compare(i, motif.size(), motif) == 0) places.push_back(i);
  return places;
}

std::vector<std::uint64_t> toutes(const SourceSecteurs &source, const DemandeRecherche &demande) {
  std::vector<std::uint64_t> places;
  const auto r = cherche(source, demande, [&](std::uint64_t place) {
    places.push_back(place);
    return true;
  });
  EXPECT_EQ(r.nombre, places.size());
  EXPECT_EQ(r.etat == EtatRecherche::trouve, !places.empty());
  return places;
}

/// A source that cannot be read in its second half.
class SourceAbimee final : public SourceSecteurs {
 public:
  SourceAbimee() : SourceSecteurs("abimee") {}
  std::uint64_t longueur() const override { return 4096; }
  std::size_t lire(std::span<std::uint8_t> octets, std::uint64_t position) const override {
    if (position >= 2048) return 0;
    const auto n = std::min<std::size_t>(octets.size(), static_cast<std::size_t>(2048 - position));
    std::fill_n(octets.begin(), n, std::uint8_t{'a'});
    return n;
  }
};

}  // namespace

TEST(Recherche, motifs) {
  EXPECT_EQ(motif_recherche("0x4D5A"), "MZ");
  EXPECT_EQ(motif_recherche("0X4d 5a 00"), std::string("MZ\0", 3));
  EXPECT_EQ(motif_recherche("x4D5A"), "x4D5A");
  EXPECT_EQ(motif_recherche("\xE9t\xE9"), "\xE9t\xE9");
  for (const char *faux : {"", "0x", "0x4", "0x4D5", "0x4G", "0x4 D"})
    EXPECT_FALSE(motif_recherche(faux)) << faux;
}

// Texts of few and of many different bytes, with what is looked for across the limits of sectors and blocks.
TEST(Recherche, comme_une_recherche_naive) {
  std::mt19937 hasard(20260101);
  const std::size_t bloc = std::size_t{512} << 10;
  for (const unsigned lettres : {1U, 2U, 4U, 256U}) {
    std::string octets(2 * bloc + 12345, '\0');
    for (char &c : octets) c = static_cast<char>('a' + hasard() % lettres);
    for (const std::size_t place : {std::size_t{510}, bloc - 1, bloc - 3, 2 * bloc - 2, octets.size() - 5})
      octets.replace(place, 5, "=+_+=");
    const auto source = source_de(octets);
    octets.resize((octets.size() + 511) / 512 * 512);  // the last sector is whole
    std::vector<std::string> motifs{"=+_+=", "=", "_+", std::string(40, 'a'), "aab", std::string(3, '\0')};
    motifs.push_back(octets.substr(bloc - 20, 40));
    for (const std::string &motif : motifs) {
      // All ones of one letter alone would be a million matches.
      if (lettres == 1 && motif == std::string(40, 'a')) continue;
      EXPECT_EQ(toutes(*source, {motif, 0, -1, false}), naif(octets, motif, 0, octets.size())) << lettres;
      EXPECT_EQ(toutes(*source, {motif, 511, 1500, false}), naif(octets, motif, 511, 1501 * 512)) << lettres;
    }
  }
}

TEST(Recherche, debuts_de_secteurs) {
  std::string octets(10 * 512 + 100, 'x');
  for (const std::size_t place :
       {std::size_t{0}, std::size_t{3 * 512}, std::size_t{4 * 512 + 1}, std::size_t{10 * 512}})
    octets.replace(place, 2, "MZ");
  const auto source = source_de(octets);
  EXPECT_EQ(toutes(*source, {"MZ", 0, -1, true}), (std::vector<std::uint64_t>{0, 1536, 5120}));
  // From sector 0 only those behind it are looked at.
  EXPECT_EQ(toutes(*source, {"MZ", depart_recherche(*source, 0, -1, true), -1, true}),
            (std::vector<std::uint64_t>{1536, 5120}));
  EXPECT_TRUE(toutes(*source, {std::string(513, 'x'), 0, -1, true}).empty());
}

// A search goes on one byte behind the match, in its sector; on another sector it starts afresh.
TEST(Recherche, suite_d_une_recherche) {
  const auto source = source_de(std::string(600, 'a'));
  const auto premier = cherche_premier(*source, {"aaa", 0, -1, false});
  EXPECT_EQ(premier.position, 0U);
  EXPECT_EQ(depart_recherche(*source, 0, 0, false), 1U);
  EXPECT_EQ(depart_recherche(*source, 0, 511, false), 512U);
  EXPECT_EQ(depart_recherche(*source, 1, 511, false), 512U);
  EXPECT_EQ(depart_recherche(*source, 1, 3, false), 512U);
  EXPECT_EQ(depart_recherche(*source, 1, -1, false), 512U);
  EXPECT_EQ(depart_recherche(*source, -1, -1, false), 0U);
}

TEST(Recherche, arret_et_erreurs) {
  const auto source = source_de(std::string(std::size_t{3} << 20, 'a'));
  int appels = 0;
  const auto arretee =
      cherche_premier(*source, {"b", 0, -1, false}, [&](std::uint64_t) { return ++appels < 3; });
  EXPECT_EQ(arretee.etat, EtatRecherche::arrete);
  EXPECT_EQ(appels, 3);
  const SourceAbimee abimee;
  EXPECT_EQ(cherche_premier(abimee, {"b", 0, -1, false}).etat, EtatRecherche::illisible);
  EXPECT_EQ(cherche_premier(abimee, {"a", 0, -1, false}).etat, EtatRecherche::trouve);
  EXPECT_EQ(cherche_premier(*source_de(""), {"a", 0, -1, false}).etat, EtatRecherche::absent);
  EXPECT_EQ(cherche_premier(*source, {"", 0, -1, false}).etat, EtatRecherche::absent);
}

}  // namespace varnion::essai
