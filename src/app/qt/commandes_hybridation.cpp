// Images joined and parted.

#include "app/qt/travaux.hpp"

#include <cerrno>
#include <string>

#include <QStatusBar>

#include "app/noyau/actions_hybride.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/thybridation.hpp"
#include "app/qt/tvarnion.hpp"
#include "compil/hybridation.hpp"
#include "hfs/ouverture.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArretee = 6354;
constexpr int kSeparationArretee = 7783;
constexpr int kDureeBilan = 8000;  // milliseconds

CibleImage cible_de(const ChoixImages &choix) {
  return {choix.cible, choix.remplace ? Ecrasement::connu : Ecrasement::jamais, false};
}

void montre_bilan(TVarnion &fenetre, const std::string &texte) {
  fenetre.statusBar()->showMessage(vers_qt(texte).replace('\n', ' '), kDureeBilan);
}

}  // namespace

void hybride(TVarnion &fenetre) {
  if (!support().image.ouvert()) return;
  const auto choix = boite_hybridation(fenetre);
  if (!choix) return;
  const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
  int resultat = kHybrideEcriture;
  fenetre.operations_fenetre().en_fond([&] {
    errno = 0;
    if (choix->sur_place) {
      resultat = hybridation(support().image, choix->source);
      return;
    }
    resultat = hybridation_vers(support().image, choix->source, cible_de(*choix));
    if (resultat != kHybrideFaite && resultat != kHybrideArret)
      annonce_hybridation(resultat, partition_courante().chemin, choix->source, choix->cible);
  });
  if (resultat == kHybrideFaite) montre_bilan(fenetre, texte_image(kImageJointe, choix->cible));
  if (resultat == kHybrideArret) montre_bilan(fenetre, charger_chaine(kArretee));
}

void deshybride(TVarnion &fenetre) {
  const auto choix = boite_deshybridation(fenetre);
  if (!choix) return;
  const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
  int resultat = kSepareEcriture;
  fenetre.operations_fenetre().en_fond([&] {
    errno = 0;
    resultat = choix->sur_place ? deshybridation(choix->source)
                                : deshybridation_vers(choix->source, cible_de(*choix));
    if (resultat != kSepareFaite && resultat != kSepareArret)
      annonce_separation(resultat, choix->source, choix->cible);
  });
  if (resultat == kSepareFaite) montre_bilan(fenetre, texte_image(kImageSeparee, choix->cible));
  if (resultat == kSepareArret) montre_bilan(fenetre, charger_chaine(kSeparationArretee));
}

}  // namespace varnion
