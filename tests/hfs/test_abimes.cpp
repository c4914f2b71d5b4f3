#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "edition_abimee.hpp"
#include "image_essai.hpp"

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

INSTANTIATE_TEST_SUITE_P(Formats, Abimes, ::testing::Bool());

}  // namespace
}  // namespace varnion::essai
