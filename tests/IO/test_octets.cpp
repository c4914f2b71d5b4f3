#include "IO/octets.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace varnion {
namespace {

struct Fiche {
  be16 a;                        // 0
  le32 b;                        // 2
  DoubleOrdre<std::uint16_t> c;  // 6
};
static_assert(sizeof(Fiche) == 10);

TEST(Octets, NombresSurLeSupport) {
  Fiche fiche;
  fiche.a = 0x1234;
  fiche.b = 0x89ABCDEF;
  fiche.c = 0x0102;
  const std::uint8_t attendu[] = {0x12, 0x34, 0xEF, 0xCD, 0xAB, 0x89, 0x02, 0x01, 0x01, 0x02};
  const auto octets = octets_de(fiche);
  EXPECT_TRUE(std::equal(octets.begin(), octets.end(), std::begin(attendu), std::end(attendu)));
  EXPECT_EQ(be64(0xFEDCBA9876543210U), 0xFEDCBA9876543210U);
  EXPECT_EQ(vue<Fiche>(attendu, 0)->b, 0x89ABCDEFU);
}

TEST(Octets, UneVueResteDedans) {
  const std::uint8_t octets[12] = {};
  EXPECT_NE(vue<Fiche>(octets, 2), nullptr);
  EXPECT_EQ(vue<Fiche>(octets, 3), nullptr);
  EXPECT_EQ(vue<Fiche>(octets, 13), nullptr);
  EXPECT_EQ(vue<Fiche>(octets, std::numeric_limits<std::size_t>::max() - 4), nullptr);
  EXPECT_EQ(vue<be16>({}, 0), nullptr);
}

TEST(Octets, Arrondis) {
  EXPECT_EQ(arrondi<std::uint32_t>(2049, 2048), 4096U);
  EXPECT_EQ(arrondi<std::uint32_t>(2048, 2048), 2048U);
  EXPECT_EQ(quotient_haut<std::uint64_t>(1, 512), 1U);
  EXPECT_EQ(quotient_haut<std::uint64_t>(std::numeric_limits<std::uint64_t>::max(), 512),
            std::uint64_t{1} << 55);
}

}  // namespace
}  // namespace varnion
