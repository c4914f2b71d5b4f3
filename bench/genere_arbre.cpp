// Makes a tree of files with known sizes and repeatable bytes: genere_arbre FOLDER small|large|mixed|many|flat [COUNT]
//   small  60,000 files of 1 to 8 KB in 2,000 folders      large  one file of 2,000,000,000 bytes
//   mixed  3,000 files and 1 GB in 100 folders             many   60,000 files of up to 34 KB, 1 GB, in 300 folders
//   flat   20,000 files of 100 bytes in one folder
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

std::uint64_t graine = 0x9E3779B97F4A7C15ULL;

std::uint64_t hasard() {
  graine ^= graine << 13;
  graine ^= graine >> 7;
  graine ^= graine << 17;
  return graine;
}

void ecrit(const std::filesystem::path &chemin, std::uint64_t taille) {
  static std::vector<std::uint64_t> tampon(1 << 17);
  std::ofstream flux(chemin, std::ios::binary);
  while (taille > 0) {
    const std::uint64_t part = taille < tampon.size() * 8 ? taille : tampon.size() * 8;
    for (std::uint64_t i = 0; i < (part + 7) / 8; ++i) tampon[i] = hasard();
    flux.write(reinterpret_cast<const char *>(tampon.data()), static_cast<std::streamsize>(part));
    taille -= part;
  }
  flux.close();
  if (!flux) {
    std::fprintf(stderr, "cannot write %s\n", chemin.c_str());
    std::exit(1);
  }
}

template <typename Taille>
void arbre(const std::filesystem::path &racine, int dossiers, int fichiers, Taille taille) {
  for (int d = 0; d < dossiers; ++d) {
    const auto dossier =
        racine / ("group " + std::to_string(d / 50)) / ("folder " + std::to_string(d));
    std::filesystem::create_directories(dossier);
    for (int f = d; f < fichiers; f += dossiers) ecrit(dossier / ("file number " + std::to_string(f) + ".dat"), taille());
  }
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 3) {
    std::fputs("genere_arbre FOLDER small|large|mixed|many|flat [COUNT]\n", stderr);
    return 2;
  }
  const std::filesystem::path racine(argv[1]);
  const std::string genre(argv[2]);
  const int nombre = argc > 3 ? std::atoi(argv[3]) : 0;
  std::filesystem::create_directories(racine);
  if (genre == "small") {
    arbre(racine, 2000, nombre > 0 ? nombre : 60000, [] { return 1024 + hasard() % 7168; });
  } else if (genre == "large") {
    ecrit(racine / "large.dat", 2000000000ULL);
  } else if (genre == "mixed") {
    arbre(racine, 100, nombre > 0 ? nombre : 3000, [] {
      const std::uint64_t tirage = hasard() % 10;
      return tirage < 7 ? hasard() % 65536 : hasard() % 2200000;
    });
  } else if (genre == "many") {
    arbre(racine, 300, nombre > 0 ? nombre : 60000, [] { return hasard() % 34800; });
  } else {
    for (int f = 0; f < (nombre > 0 ? nombre : 20000); ++f) ecrit(racine / ("flat file " + std::to_string(f)), 100);
  }
  return 0;
}
