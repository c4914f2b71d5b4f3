#include "hfs/fenetre.hpp"

#include "hfs/extents.hpp"
#include "IO/requete.hpp"

namespace varnion {

OctetsNoeud FenetreSecteurs::lit(std::uint64_t secteur, std::uint32_t nombre) {
  const std::size_t longueur = std::size_t{nombre} * kTailleSecteur;
  const bool dedans = !octets_.empty() && secteur >= debut_ && secteur - debut_ <= kSecteurs - nombre;
  if (!dedans) {
    octets_.assign(std::size_t{kSecteurs} * kTailleSecteur, 0);
    debut_ = secteur;
    lit_secteurs(octets_.data(), secteur, kSecteurs);
  }
  return OctetsNoeud(octets_).subspan(static_cast<std::size_t>(secteur - debut_) * kTailleSecteur, longueur);
}

OctetsNoeud lit_noeud_fenetre(FenetreSecteurs &fenetre, const DescripteurArbre &arbre, std::uint32_t noeud) {
  if (arbre.taille_noeud == 0 || noeud > arbre.fiche().totalNodes) return {};
  const std::uint64_t position = position_noeud(arbre, noeud);
  if (position == kSansPosition) return {};
  return fenetre.lit(position, arbre.taille_noeud / kTailleSecteur);
}

}  // namespace varnion
