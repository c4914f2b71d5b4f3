// Replays saved inputs: every regular file of the folders and files named on the command line goes once
// through the fuzz entry. Fails when no input was found, so that a lost corpus is noticed.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille);

namespace {

std::size_t rejoue(const std::filesystem::path &chemin) {
  std::ifstream flux(chemin, std::ios::binary);
  std::vector<char> octets{std::istreambuf_iterator<char>(flux), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size());
  return 1;
}

}  // namespace

int main(int argc, char **argv) {
  std::size_t total = 0;
  for (int i = 1; i < argc; ++i) {
    const std::filesystem::path racine(argv[i]);
    if (!std::filesystem::is_directory(racine)) {
      total += rejoue(racine);
      continue;
    }
    for (const auto &entree : std::filesystem::directory_iterator(racine))
      if (entree.is_regular_file()) total += rejoue(entree.path());
  }
  std::printf("%zu inputs replayed\n", total);
  return total == 0 ? 1 : 0;
}
