#include "app/qt/travaux.hpp"

#include "app/qt/tvarnion.hpp"

namespace varnion {

void cree_image(TVarnion & /*fenetre*/) {}

void enregistre_volume(TVarnion & /*fenetre*/) {}

void enregistre_volume_sous(TVarnion & /*fenetre*/) {}

void copie_vers_le_mac(TVarnion & /*fenetre*/) {}

void depose_volume(TVarnion & /*fenetre*/, const QStringList & /*chemins*/, std::uint32_t /*dossier*/) {}

void supprime_volume(TVarnion & /*fenetre*/) {}

void renomme_volume(TVarnion & /*fenetre*/) {}

bool renomme_volume_sur_place(TVarnion & /*fenetre*/, std::uint32_t /*id*/, const QString & /*nom*/) {
  return false;
}

void cree_dossier_volume(TVarnion & /*fenetre*/) {}

void permute_branches(TVarnion & /*fenetre*/) {}

}  // namespace varnion
