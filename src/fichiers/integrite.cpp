#include "fichiers/integrite.hpp"

#include <algorithm>

#include "fichiers/applesimple.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kInfoFinderLue = 16;  ///< bytes of entry 9 that are made use of

void note(FourchesConteneur &fourches, DefautConteneur defaut) {
  if (fourches.intact()) fourches.defaut = defaut;
}

}  // namespace

FourchesConteneur fourches_apple(std::span<const std::uint8_t> debut, std::uint64_t lg_fichier) {
  FourchesConteneur fourches;
  const auto *tete = vue<TeteApple>(debut, 0);
  if (tete == nullptr ||
      lg_fichier < sizeof(TeteApple) + std::uint64_t{tete->nb_entrees} * sizeof(EntreeApple)) {
    note(fourches, DefautConteneur::tete);
    return fourches;
  }
  if (const auto finder = cherche_entree_apple(debut, kEntreeFinder)) {
    const std::uint64_t voulus = std::min<std::uint64_t>(finder->longueur, kInfoFinderLue);
    if (plage_bornee(finder->position, voulus, lg_fichier).longueur < voulus)
      note(fourches, DefautConteneur::tete);
  }
  const auto fourche = [&](std::uint32_t id, PlageFourche &plage, DefautConteneur defaut) {
    const auto entree = cherche_entree_apple(debut, id);
    if (!entree) return;
    plage = plage_bornee(entree->position, entree->longueur, lg_fichier);
    if (plage.longueur != entree->longueur) note(fourches, defaut);
  };
  if (magie_apple(debut) == kMagieAppleSingle) fourche(kEntreeData, fourches.data, DefautConteneur::data);
  fourche(kEntreeRessource, fourches.rsrc, DefautConteneur::ressource);
  return fourches;
}

FourchesConteneur fourches_macbinaire(const TeteMacBinaire &tete, std::uint64_t lg_fichier) {
  FourchesConteneur fourches;
  fourches.data = plage_data_macbinaire(tete, lg_fichier);
  fourches.rsrc = plage_rsrc_macbinaire(tete, lg_fichier);
  if (fourches.data.longueur != tete.lg_data) note(fourches, DefautConteneur::data);
  if (fourches.rsrc.longueur != tete.lg_rsrc) note(fourches, DefautConteneur::ressource);
  return fourches;
}

FourchesConteneur fourches_binhex(const TeteMacBinaire &tete, std::uint64_t lg_fichier,
                                  const ControleBinHex &controle) {
  FourchesConteneur fourches = fourches_macbinaire(tete, lg_fichier);
  if (!controle.juste()) note(fourches, DefautConteneur::somme);
  return fourches;
}

}  // namespace varnion
