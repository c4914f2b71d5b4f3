// Images joined and parted.

#include "app/qt/travaux.hpp"

#include <cerrno>
#include <optional>
#include <string>

#include <QStatusBar>

#include "app/noyau/actions_hybride.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "compil/hybridation.hpp"
#include "hfs/ouverture.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreIso = 1368;
constexpr int kFiltreIso = 1367;
constexpr int kArretee = 6354;
constexpr int kOuverteIci = 7029;
constexpr int kDureeBilan = 8000;  // milliseconds
constexpr std::size_t kCheminMessage = 100;

// The ISO file to change. The image that the window holds open is not one: it would change under the mounted
// volume.
std::optional<std::string> choisit_iso(TVarnion &fenetre) {
  const QString choisi = fenetre.demandes.ouvrir(kTitreIso, kFiltreIso, depart_documents());
  if (choisi.isEmpty()) return std::nullopt;
  auto chemin = chemin_argument(choisi.toStdString());
  if (!chemin) return std::nullopt;
  if (!support().image.ouvert() || !plateforme::meme_fichier(*chemin, partition_courante().chemin))
    return chemin;
  operations().afficher_erreur(message(kOuverteIci, {tronque_chemin(*chemin, kCheminMessage)}));
  return std::nullopt;
}

void montre_bilan(TVarnion &fenetre, const std::string &texte) {
  fenetre.statusBar()->showMessage(vers_qt(texte).replace('\n', ' '), kDureeBilan);
}

}  // namespace

void hybride(TVarnion &fenetre) {
  if (!support().image.ouvert()) return;
  const auto iso = choisit_iso(fenetre);
  if (!iso) return;
  int resultat = kHybrideEcriture;
  fenetre.operations_fenetre().en_fond([&] { resultat = hybridation(support().image, *iso); });
  if (resultat == kHybrideFaite) montre_bilan(fenetre, texte_image(kImageJointe, *iso));
  if (resultat == kHybrideArret) montre_bilan(fenetre, charger_chaine(kArretee));
}

void deshybride(TVarnion &fenetre) {
  const auto iso = choisit_iso(fenetre);
  if (!iso) return;
  int resultat = kSepareEcriture;
  fenetre.operations_fenetre().en_fond([&] {
    errno = 0;
    resultat = deshybridation(*iso);
    if (resultat != kSepareFaite) annonce_separation(resultat, *iso);
  });
  if (resultat == kSepareFaite) montre_bilan(fenetre, texte_image(kImageSeparee, *iso));
}

}  // namespace varnion
