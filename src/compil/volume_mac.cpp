#include "compil/volume_mac.hpp"

#include <algorithm>

#include "compil/volume_hfs.hpp"
#include "compil/volume_hfsplus.hpp"
#include "hfs/fiches.hpp"
#include "IO/ecarts.hpp"

namespace varnion {

std::unique_ptr<VolumeMac> VolumeMac::cree(Nature nature) {
  if (!nature_a_volume(nature)) return nullptr;
  if (nature_est_hfsplus(nature)) return std::make_unique<VolumeHfsPlus>();
  return std::make_unique<VolumeHfs>();
}

void place_noeud(ContexteCompilation &contexte, std::uint32_t taille_fiche, std::uint32_t taille_noeud) {
  const std::uint64_t place =
      taille_noeud - 2 * std::min<std::uint64_t>(contexte.cles_noeud, taille_noeud / 2);
  if (contexte.octets_noeud + taille_fiche > place) {
    contexte.octets_noeud = taille_fiche + kDebutEnregistrements;
    contexte.cles_noeud = 2;
    ++contexte.noeuds;
  } else {
    contexte.octets_noeud += taille_fiche;
    ++contexte.cles_noeud;
  }
}

std::uint32_t debut_fourche(const Fourche &fourche) {
  return fourche.blocs == 0 && publie(Ecart::fourche_vide) ? 0 : fourche.bloc;
}

std::uint32_t quart_volume(std::uint64_t blocs, std::uint32_t taille_bloc) {
  const std::uint64_t quart = std::max<std::uint64_t>(blocs / 4, 1) * taille_bloc;
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(quart, UINT32_MAX / taille_bloc * taille_bloc));
}

void pose_info_dossier(InfoDossier &info, bool cache, bool icone) {
  info.haut = 80;
  info.gauche = 48;
  info.bas = 272;
  info.droite = 480;
  info.frLocation_v = 112;
  info.frLocation_h = 584;
  info.frView = 0x0100;
  std::uint16_t drapeaux = icone ? kFinderIcone : kFinderVu;
  if (cache) drapeaux |= kFinderInvisible;
  info.frFlags = drapeaux;
}

}  // namespace varnion
