#include "app/qt/image_de_cote.hpp"

#include <utility>

#include "hfs/arbre.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/garde.hpp"
#include "hfs/montage.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

ImageDeCote::ImageDeCote() {
  if (!support().image.ouvert()) return;
  gardee_ = true;
  const VolumeCourant &volume = volume_courant();
  debut_ = volume.est_hfsplus ? volume.debut_allocation : volume.debut_volume;
  fin_partition_ = volume.fin_partition;
  liberation_carte();
  vide_cache();
  support_ = std::exchange(support(), Support());
  partition_ = std::exchange(partition_courante(), PartitionCourante());
}

ImageDeCote::~ImageDeCote() {
  if (!gardee_) return;
  fermer_partition();
  support() = std::move(support_);
  partition_courante() = std::move(partition_);
  static_cast<void>(monte_volume(debut_, true));
  volume_courant().fin_partition = fin_partition_;
  // The words for what was found damaged tell where.
  const Interdit raison = support().lecture_seule.raison();
  if (raison == Interdit::catalogue_abime || raison == Interdit::extents_abimes) juge_structure();
}

void ImageDeCote::lache() {
  if (!gardee_) return;
  gardee_ = false;
  support_.image = {};
  if (partition_.image_temporaire) static_cast<void>(plateforme::supprime(partition_.chemin_temporaire));
}

}  // namespace varnion
