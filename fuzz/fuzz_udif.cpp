// Disk images: whatever the file says, both readings end, the target has the size told, and threads do not
// change the result.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "IO/iodmg.hpp"
#include "IO/plateforme.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  constexpr std::uint64_t kAssez = 16U << 20;
  static const Fichier source = plateforme::fichier_anonyme();
  static const Fichier cible = plateforme::fichier_anonyme();
  if (!fichier_tronquer(source, 0) || !source.ecrire_a({donnees, taille}, 0)) std::abort();
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
      if (fils == 1) premier = resultat.etat;
      if (resultat.etat != premier) std::abort();
    }
  }
  if (!fichier_tronquer(cible, 0)) std::abort();
  return 0;
}
