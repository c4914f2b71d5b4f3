// Makes a disk image for the bench: genere_dmg FILE zlib|bzip2|raw MEGABYTES. Its content is text of numbers
// between runs of bytes that do not compress.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "outils/fabrique_dmg.hpp"

int main(int argc, char **argv) {
  using varnion::essai::FabriqueDmg;
  if (argc != 4) return 2;
  const std::string genre = argv[2];
  const int mega = std::atoi(argv[3]);
  constexpr std::size_t kMorceau = 1U << 20;
  FabriqueDmg fabrique;
  fabrique.tables.resize(1);
  auto &table = fabrique.tables[0];
  table.premier = 0;
  std::uint64_t hasard = 88172645463325252ULL;
  for (int i = 0; i < mega; ++i) {
    std::string clair;
    while (clair.size() < kMorceau) {
      hasard ^= hasard << 13, hasard ^= hasard >> 7, hasard ^= hasard << 17;
      if (hasard % 4 != 0) {
        clair += "the line of number " + std::to_string(hasard % 100000) + "\n";
      } else {
        clair.append(reinterpret_cast<const char *>(&hasard), sizeof hasard);
      }
    }
    clair.resize(kMorceau);
    table.clair += clair;
    if (genre == "zlib") {
      table.chunks.push_back({0x80000005, kMorceau / 512, FabriqueDmg::par_zlib(clair)});
    } else if (genre == "bzip2") {
      table.chunks.push_back({0x80000006, kMorceau / 512, FabriqueDmg::par_bzip2(clair)});
    } else {
      table.chunks.push_back({1, kMorceau / 512, clair});
    }
  }
  fabrique.secteurs = table.clair.size() / 512;
  const std::string image = fabrique.image();
  std::FILE *fichier = std::fopen(argv[1], "wb");
  if (fichier == nullptr) return 1;
  const bool ecrit = std::fwrite(image.data(), 1, image.size(), fichier) == image.size();
  return std::fclose(fichier) == 0 && ecrit ? 0 : 1;
}
