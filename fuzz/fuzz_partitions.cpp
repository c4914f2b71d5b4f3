// Partition maps: the count never passes the rows, and the rows behind it stay empty.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "IO/partitions.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  Support &medium = support();
  if (!medium.image.ouvert()) medium.image = plateforme::fichier_anonyme();
  if (!fichier_tronquer(medium.image, 0) || !medium.image.ecrire_a({donnees, taille}, 0)) std::abort();
  medium.taille_bloc_carte = 0;
  // The second pass finds the block size that the first one left.
  for (int passe = 0; passe < 2; ++passe) {
    AnalysePartitions analyse;
    const int nombre = analyse_partitions(analyse, "Untitled");
    if (nombre > static_cast<int>(kPartitionsMax) || analyse.liste.nombre > kPartitionsMax) std::abort();
    for (std::size_t i = 0; i < kPartitionsMax; ++i) {
      const InfoPartition &rang = analyse.liste.rangs[i];
      if (rang.nom.size() > 63 || (i >= analyse.liste.nombre && rang.taille != 0)) std::abort();
    }
  }
  return 0;
}
