#include "hfs/ordre_catalogue.hpp"

#include <optional>
#include <string>

#include "hfs/fenetre.hpp"
#include "hfs/noeud.hpp"
#include "hfs/traits.hpp"
#include "hfs/volume.hpp"
#include "noms/ordre.hpp"

namespace varnion {
namespace {

/// What the keys seen so far leave possible.
class TemoinOrdre {
 public:
  void voit(const TraitsHfs::CleLue &cle) {
    if (parent_ == cle.parent) {
      publie_ = publie_ && compare_hfs(nom_, cle.nom, OrdreHfs::publie) <= 0;
      classique_ = classique_ && compare_hfs(nom_, cle.nom, OrdreHfs::classique) <= 0;
    }
    parent_ = cle.parent;
    nom_.assign(cle.nom);
  }

  [[nodiscard]] bool admet(OrdreHfs ordre) const { return ordre == OrdreHfs::publie ? publie_ : classique_; }
  [[nodiscard]] bool decide() const { return !publie_ && !classique_; }

 private:
  std::optional<std::uint32_t> parent_;
  std::string nom_;
  bool publie_ = true, classique_ = true;
};

TemoinOrdre lit_feuilles(const DescripteurArbre &arbre) {
  TemoinOrdre temoin;
  FenetreSecteurs fenetre;
  GardeChaine garde(arbre.fiche().totalNodes);
  for (std::uint32_t numero = arbre.fiche().firstLeafNode; garde.admet(numero) && !temoin.decide();) {
    const OctetsNoeud noeud = lit_noeud_fenetre(fenetre, arbre, numero);
    if (noeud.empty() || entete_noeud(noeud)->kind != kNoeudFeuille) break;
    for (std::int32_t i = 0; i < nb_enregistrements(noeud); ++i)
      if (const auto cle = TraitsHfs::cle(enregistrement(noeud, i))) temoin.voit(*cle);
    numero = entete_noeud(noeud)->fLink;
  }
  return temoin;
}

}  // namespace

void reconnait_ordre() {
  VolumeCourant &volume = volume_courant();
  if (volume.ordre.lu || volume.est_hfsplus || volume.catalogue.taille_noeud == 0) return;
  volume.ordre.lu = true;
  const TemoinOrdre temoin = lit_feuilles(volume.catalogue);
  if (temoin.admet(volume.ordre.noms)) return;
  const OrdreHfs autre = volume.ordre.noms == OrdreHfs::publie ? OrdreHfs::classique : OrdreHfs::publie;
  if (temoin.admet(autre)) volume.ordre.noms = autre;
  volume.ordre.desordre = !temoin.admet(autre);
}

RefusOrdre refus_ordre() {
  const VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus) return RefusOrdre::aucun;
  reconnait_ordre();
  if (volume.ordre.desordre) return RefusOrdre::desordre;
  // A catalog in the published order is changed in that order under both rules.
  const bool classique = volume.ordre.noms == OrdreHfs::classique && ordre_hfs_voulu() == OrdreHfs::publie;
  return classique ? RefusOrdre::classique : RefusOrdre::aucun;
}

}  // namespace varnion
