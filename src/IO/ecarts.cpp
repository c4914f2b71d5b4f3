#include "IO/ecarts.hpp"

#include <array>
#include <atomic>

#include "IO/etat.hpp"

namespace varnion {

namespace {

struct RegleEnForce {
  std::atomic<Regle> regle{Regle::publiee};  // a compile in the background asks as well
};

constexpr int kPremierTexte = 8000;
constexpr int kTextes = 3;

constexpr FicheEcart fiche(Ecart ecart, std::string_view nom) {
  return {ecart, nom, kPremierTexte + kTextes * static_cast<int>(ecart)};
}

constexpr std::array kFiches{
    fiche(Ecart::ordre_hfs, "hfs-name-order"),          fiche(Ecart::fourche_vide, "empty-fork"),
    fiche(Ecart::blocs_comptes, "compiled-bitmap"),     fiche(Ecart::volume_demonte, "compiled-flags"),
    fiche(Ecart::entete_secours, "compiled-alternate"), fiche(Ecart::dates_hfsplus, "hfsplus-dates"),
    fiche(Ecart::fiches_paires, "iso-record-length"),   fiche(Ecart::ordre_iso, "iso-order"),
    fiche(Ecart::taille_iso, "iso-volume-size"),        fiche(Ecart::annees_iso, "iso-years"),
    fiche(Ecart::fourches_iso, "isoplus-forks"),        fiche(Ecart::labels_longs, "iso-labels"),
    fiche(Ecart::noms_vue_iso, "iso-view-names"),       fiche(Ecart::table_clump, "compiled-clumps"),
};

constexpr bool dans_l_ordre() {
  for (std::size_t i = 0; i < kFiches.size(); ++i)
    if (static_cast<std::size_t>(kFiches[i].ecart) != i) return false;
  return kFiches.size() == static_cast<std::size_t>(Ecart::table_clump) + 1;
}
static_assert(dans_l_ordre(), "one row for each departure, in their order");

}  // namespace

std::span<const FicheEcart> fiches_ecarts() {
  return kFiches;
}

Regle regle() {
  return etat<RegleEnForce>().regle;
}

void fixer_regle(Regle regle) {
  etat<RegleEnForce>().regle = regle;
}

bool publie(Ecart) {
  return regle() == Regle::publiee;
}

}  // namespace varnion
