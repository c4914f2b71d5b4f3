// Disk images: whatever the file says, both readings end, the target has the size told, and threads do not
// change the result. Inputs without a trailer are taken as a block table and the data behind it, in an image
// made around them: past base64 the fuzzer would not find its way to the chunks.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "IO/iodmg.hpp"
#include "IO/plateforme.hpp"

namespace {

using namespace varnion;

constexpr std::uint64_t kAssez = 16U << 20;
constexpr std::size_t kFin = 512;

std::string be(std::uint64_t valeur, int octets) {
  std::string texte;
  while (octets-- > 0) texte += static_cast<char>(valeur >> (8 * octets));
  return texte;
}

std::string base64(std::string_view octets) {
  constexpr std::string_view kSignes = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string texte;
  for (std::size_t i = 0; i < octets.size(); i += 3) {
    std::uint32_t groupe = 0;
    for (std::size_t j = i; j < i + 3; ++j)
      groupe = groupe << 8 | (j < octets.size() ? static_cast<std::uint8_t>(octets[j]) : 0U);
    for (unsigned j = 0; j < 4; ++j) texte += kSignes[groupe >> (18 - 6 * j) & 63U];
  }
  return texte;
}

// Two bytes of length, the table, the data fork.
std::string image_autour(std::string_view entree) {
  std::size_t longueur = 0;
  if (entree.size() >= 2)
    longueur = static_cast<std::uint8_t>(entree[0]) * 256U + static_cast<std::uint8_t>(entree[1]);
  entree.remove_prefix(std::min<std::size_t>(2, entree.size()));
  const std::string_view table = entree.substr(0, longueur);
  std::string image(entree.substr(table.size()));
  const std::size_t donnees = image.size();
  image += "<plist><dict><key>blkx</key><array><dict><key>Data</key><data>" + base64(table) +
           "</data></dict></array></dict></plist>";
  std::string fin = "koly" + be(4, 4);
  fin.resize(32, '\0');
  fin += be(donnees, 8);
  fin.resize(216, '\0');
  fin += be(donnees, 8) + be(image.size() - donnees, 8);
  fin.resize(kFin, '\0');
  return image + fin;
}

void essaie(const Fichier &source, const Fichier &cible) {
  (void)apercu_dmg(source);
  for (const bool usuelle : {false, true}) {
    EtatDmg premier = EtatDmg::bon;
    for (const unsigned fils : {1U, 3U}) {
      OptionsDmg options;
      options.usuelle = usuelle;
      options.fils = fils;
      options.progression = [](std::uint64_t fait, std::uint64_t) { return fait < kAssez; };
      const ResultatDmg resultat = decompresse_image(source, cible, options);
      if (resultat.reussi() && static_cast<std::uint64_t>(fichier_taille(cible)) != resultat.octets)
        std::abort();
      if (resultat.octets_nus > resultat.octets) std::abort();
      if (fils == 1) premier = resultat.etat;
      if (resultat.etat != premier) std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  static const Fichier source = plateforme::fichier_anonyme();
  static const Fichier cible = plateforme::fichier_anonyme();
  std::string image(reinterpret_cast<const char *>(donnees), taille);
  if (taille < kFin || image.compare(taille - kFin, 4, "koly") != 0) image = image_autour(image);
  const std::span octets(reinterpret_cast<const std::uint8_t *>(image.data()), image.size());
  if (!fichier_tronquer(source, 0) || !source.ecrire_a(octets, 0)) std::abort();
  essaie(source, cible);
  if (!fichier_tronquer(cible, 0)) std::abort();
  return 0;
}
