#include <algorithm>

#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kBlocsMax = 65536;  // allocation blocks of an HFS volume stay below
constexpr std::uint32_t kPasBloc = 2048;

void compte(ComptesProjet &comptes, const RubriqueProjet &rubrique) {
  const bool dossier = rubrique.est_dossier();
  ++(dossier ? comptes.dossiers : comptes.fichiers);
  if (rubrique.dans_iso()) ++(dossier ? comptes.dossiers_iso : comptes.fichiers_iso);
  if (rubrique.dans_hfs()) ++(dossier ? comptes.dossiers_hfs : comptes.fichiers_hfs);
  if (!dossier) comptes.secteurs += secteurs_rubrique(rubrique);
}

}  // namespace

std::optional<ComptesProjet> compte_projet(FichierProjet &projet) {
  ComptesProjet comptes;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) compte(comptes, *rubrique);
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) {
    echec_ecriture_projet(projet.chemin());
    return std::nullopt;
  }
  const bool force = !entete.hfsplus() && comptes.fichiers_hfs + comptes.dossiers_hfs > kItemsHfsMax;
  if (force && !change_format(projet, true, troncature_automatique())) return std::nullopt;
  comptes.hfsplus = force || entete.hfsplus();
  return comptes;
}

bool estimation_secteurs(FichierProjet &projet) {
  std::uint64_t secteurs = 0;
  std::uint32_t items_iso = 0;
  std::uint32_t items_hfs = 0;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    secteurs += secteurs_rubrique(*rubrique);
    if (rubrique->dans_iso()) ++items_iso;
    if (rubrique->dans_hfs()) ++items_hfs;
    projet.releve_compteurs(*rubrique);
  }
  projet.estimation(secteurs);
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  entete.taille_secteurs = secteurs;
  entete.compte_hfs = items_hfs;
  entete.compte_iso = items_iso;
  return projet.ecrit_entete(entete) || echec_ecriture_projet(projet.chemin());
}

LongueursProjet::LongueursProjet(const FichierProjet &projet) {
  const auto ajoute = [this](std::uint32_t longueur) {
    if (longueur != 0) longueurs_.push_back(longueur);
  };
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    if (rubrique->numero_signe() >= 1) continue;
    if (rubrique->dans_iso()) ajoute(rubrique->lg_source);
    if (!rubrique->dans_hfs()) continue;
    if (rubrique->lg_source == 0) ajoute(rubrique->lg_data);
    ajoute(rubrique->lg_rsrc);
    plus_grande_ = std::max<std::uint64_t>({plus_grande_, rubrique->lg_data, rubrique->lg_rsrc});
  }
}

std::uint64_t LongueursProjet::blocs(std::uint32_t taille) const {
  if (taille == 0) return 0;
  std::uint64_t total = 0;
  for (const std::uint32_t longueur : longueurs_) total += quotient_haut(longueur, taille);
  return total;
}

std::optional<std::uint32_t> LongueursProjet::taille_bloc(std::uint32_t limite) const {
  // The count never grows with the size, so the first size that fits is found by halving.
  std::uint32_t bas = 1;
  std::uint32_t haut = (limite - 1) / kPasBloc;
  if (limite <= kPasBloc || blocs(haut * kPasBloc) >= kBlocsMax) return std::nullopt;
  while (bas < haut) {
    const std::uint32_t milieu = bas + (haut - bas) / 2;
    if (blocs(milieu * kPasBloc) < kBlocsMax)
      haut = milieu;
    else
      bas = milieu + 1;
  }
  return bas * kPasBloc;
}

std::uint64_t calcul_blocs(const FichierProjet &projet, std::uint32_t taille) {
  return LongueursProjet(projet).blocs(taille);
}

std::uint64_t plus_grande_branche(const FichierProjet &projet) {
  return LongueursProjet(projet).plus_grande_branche();
}

}  // namespace varnion
