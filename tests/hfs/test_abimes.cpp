#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <random>

#include "edition_abimee.hpp"
#include "image_essai.hpp"
#include "res/chaines.hpp"

// Editing on damaged volumes in image files. VARNION_ABIMES multiplies the rounds.

namespace varnion::essai {
namespace {

class Abimes : public ::testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&ops);
  }
  void TearDown() override {
    fermer_partition();
    brancher_operations(nullptr);
    EtatProgramme::courant().reinitialise();
  }
  OperationsVolume ops;
};

std::vector<std::uint8_t> recette(std::uint32_t graine, bool plus) {
  std::mt19937 hasard(graine);
  std::vector<std::uint8_t> octets(1 + 5 * 12 + 120);
  for (std::uint8_t &octet : octets) octet = static_cast<std::uint8_t>(hasard());
  octets[0] = static_cast<std::uint8_t>((1 + hasard() % 12) << 1 | (plus ? 1U : 0U));
  return octets;
}

TEST_P(Abimes, EditingEndsAndStaysInTheImage) {
  const VolumeSain sains[2] = {FabriqueVolume::fabrique(false), FabriqueVolume::fabrique(true)};
  ASSERT_FALSE(sains[0].octets.empty());
  ASSERT_FALSE(sains[1].octets.empty());
  ASSERT_GT(sains[0].zones.size(), 20U);
  ASSERT_GT(sains[1].zones.size(), 14U);
  const char *facteur = std::getenv("VARNION_ABIMES");
  const int tours = 300 * (facteur != nullptr ? std::max(1, std::atoi(facteur)) : 1);
  for (int tour = 0; tour < tours; ++tour) {
    const auto debut = std::chrono::steady_clock::now();
    ASSERT_EQ(EditionAbimee::joue(sains, recette(static_cast<std::uint32_t>(tour), GetParam())), "") << tour;
    ASSERT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(8)) << tour;
    ops.erreurs.clear();
    ops.journaux.clear();
  }
}

// Sizes in the header that the image does not bear out, and an image that lacks no more than its very end.
TEST_P(Abimes, SizesAreHeldAgainstTheImage) {
  constexpr std::int64_t kSansCoupe = -1;
  struct Cas {
    const char *nom;
    std::size_t place[2];  // in the header: HFS, HFS+
    std::uint8_t valeur;
    std::int64_t coupe;  // bytes taken from the end of the image
    bool permis;         // the volume can be changed
  };
  const Cas cas[] = {
      {"as it is", {36, 110}, 'x', kSansCoupe, true},
      {"cut by a little", {36, 110}, 'x', 50000, true},
      {"many more blocks", {18, 44}, 0xF0, kSansCoupe, false},
      {"blocks of megabytes", {20, 40}, 0x01, kSansCoupe, false},
      {"blocks of no whole sectors", {23, 43}, 0x01, kSansCoupe, false},
  };
  const bool plus = GetParam();
  VolumeSain sain = FabriqueVolume::fabrique(plus);
  const std::vector<std::uint8_t> original = sain.octets;
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.nom);
    fermer_partition();
    ops.erreurs.clear();
    sain.octets = original;
    if (c.valeur != 'x') sain.octets[sain.zones[0].place + c.place[plus ? 1 : 0]] = c.valeur;
    if (c.coupe > 0) sain.octets.resize(sain.octets.size() - static_cast<std::size_t>(c.coupe));
    support().image = plateforme::fichier_anonyme();
    support().lecture_seule = false;
    support().echec_ecriture = 0;
    ASSERT_TRUE(support().image.ecrire_a(sain.octets, 0));
    ASSERT_EQ(analyse_volume(), 1);
    EXPECT_EQ(chargement_carte(), c.permis);
    if (!c.permis) {
      EXPECT_TRUE(support().lecture_seule);
      EXPECT_EQ(FabriqueVolume::ajoute(kIdRacine, "neuf", 10), 0U);
      EXPECT_FALSE(redimensionne(1, 2));
      std::vector<std::uint8_t> apres(sain.octets.size() + 1);
      EXPECT_EQ(support().image.lire_a(apres, 0), static_cast<std::int64_t>(sain.octets.size()));
      apres.pop_back();
      EXPECT_TRUE(apres == sain.octets) << "the image has changed";
    } else {
      EXPECT_NE(FabriqueVolume::ajoute(kIdRacine, "neuf", 10), 0U);
      EXPECT_TRUE(ecriture_structures());
      EXPECT_LE(static_cast<std::size_t>(fichier_taille(support().image)), original.size());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, Abimes, ::testing::Bool());

}  // namespace
}  // namespace varnion::essai
