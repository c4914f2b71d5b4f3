#include "compil/disposition.hpp"

#include <algorithm>
#include <bit>
#include <cstring>

#include "compil/descripteurs.hpp"

namespace varnion {

namespace {

struct DescripteurPilotes {
  std::array<std::uint8_t, 2> sbSig{'E', 'R'};  // 0
  be16 sbBlkSize{512};                          // 2
  be32 sbBlkCount{0x1000};                      // 4
  std::array<std::uint8_t, 504> reste{};        // 8
};
static_assert(sizeof(DescripteurPilotes) == 512);

struct EntreePartition {
  std::array<std::uint8_t, 2> pmSig{'P', 'M'};  // 0x00
  be16 pmSigPad;                                // 0x02
  be32 pmMapBlkCnt{2};                          // 0x04
  be32 pmPyPartStart;                           // 0x08
  be32 pmPartBlkCnt;                            // 0x0C
  std::array<char, 32> pmPartName{};            // 0x10
  std::array<char, 32> pmParType{};             // 0x30
  be32 pmLgDataStart;                           // 0x50
  be32 pmDataCnt;                               // 0x54
  be32 pmPartStatus{0x13};                      // 0x58: valid, allocated, in use
  std::array<std::uint8_t, 420> reste{};        // 0x5C
};
static_assert(sizeof(EntreePartition) == 512);

struct Secteur {
  DescripteurPilotes pilotes;
  EntreePartition carte;
  EntreePartition volume;
  std::array<std::uint8_t, 512> zeros{};
};
static_assert(sizeof(Secteur) == kSecteurIso);

constexpr std::uint32_t kBlocsProvisoires = 1000;

void pose(std::array<char, 32> &champ, std::string_view texte) {
  std::copy_n(texte.begin(), std::min(texte.size(), champ.size() - 1), champ.begin());
}

}  // namespace

SecteurZero secteur_zero(std::uint64_t debut_hfs, std::string_view label_hfs) {
  Secteur s;
  pose(s.carte.pmPartName, signature_produit());
  pose(s.carte.pmParType, "Apple_partition_map");
  s.carte.pmPyPartStart = 1;
  s.carte.pmPartBlkCnt = 2;
  s.carte.pmDataCnt = 2;
  pose(s.volume.pmPartName, label_hfs);
  pose(s.volume.pmParType, "Apple_HFS");
  s.volume.pmPyPartStart = static_cast<std::uint32_t>(debut_hfs);
  s.volume.pmPartBlkCnt = kBlocsProvisoires;
  s.volume.pmDataCnt = kBlocsProvisoires;
  SecteurZero octets;
  std::memcpy(octets.data(), &s, sizeof s);
  return octets;
}

void termine_secteur_zero(SecteurZero &secteur, std::uint32_t blocs_image, std::uint32_t blocs_partition) {
  auto *s = vue_modifiable<Secteur>(secteur, 0);
  s->pilotes.sbBlkCount = blocs_image;
  s->volume.pmPartBlkCnt = blocs_partition;
  s->volume.pmDataCnt = blocs_partition;
}

bool DispositionImage::marque(std::uint64_t debut, std::uint64_t nombre) {
  const std::uint64_t bits = octets_.size() * 8;
  if (debut > bits || nombre > bits - debut) return false;
  std::uint64_t bloc = debut;
  const std::uint64_t fin = debut + nombre;
  for (; bloc < fin && bloc % 8 != 0; ++bloc)
    octets_[bloc / 8] |= static_cast<std::uint8_t>(0x80U >> (bloc & 7));
  for (; fin - bloc >= 8 && bloc < fin; bloc += 8) octets_[bloc / 8] = 0xFF;
  for (; bloc < fin; ++bloc) octets_[bloc / 8] |= static_cast<std::uint8_t>(0x80U >> (bloc & 7));
  return true;
}

std::uint64_t DispositionImage::marques() const {
  std::uint64_t nombre = 0;
  for (const std::uint8_t octet : octets_) nombre += static_cast<std::uint64_t>(std::popcount(octet));
  return nombre;
}

}  // namespace varnion
