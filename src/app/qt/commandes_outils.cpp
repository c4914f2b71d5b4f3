// The project against the disk.

#include "app/noyau/actions_outils.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tcheminacces.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/trefresh.hpp"
#include "app/qt/tvarnion.hpp"
#include "projet/reconstruction.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kRienATrouver = 1338;
constexpr int kRafraichissement = 1339;
constexpr int kProjetVide = 1550;
constexpr int kReconstruit = 6771;
constexpr int kArrete = 6869;
constexpr int kInchange = 6773;

}  // namespace

void compare_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  std::optional<std::vector<Difference>> differences;
  bool arrete = false;
  fenetre.operations_fenetre().en_fond([&] {
    differences = differences_avec_disque(*projet);
    arrete = operations().arret_demande();
  });
  fenetre.rafraichit_jauge();
  if (!differences) {
    if (arrete) operations().afficher_erreur(charger_chaine(kArrete));
    return;
  }
  if (differences->empty()) {
    operations().afficher_avis(charger_chaine(kRienATrouver));
    return;
  }
  montre_differences(fenetre, std::move(*differences));
  fenetre.montre_document();
}

void reconstruit_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  BilanReconstruction bilan;
  bool arrete = false;
  fenetre.operations_fenetre().en_fond([&] {
    operations().afficher_etat_seul(charger_chaine(kRafraichissement));
    bilan = reconstruction_projet(*projet);
    arrete = operations().arret_demande();
  });
  operations().afficher_etat({}, {});
  if (!bilan.abouti && arrete) operations().afficher_erreur(charger_chaine(kInchange));
  fenetre.montre_document();
  if (bilan.abouti)
    operations().afficher_etat_seul(
        message(kReconstruit, {bilan.suppressions, bilan.modifications, bilan.dossiers, bilan.fichiers}));
}

void masque_extensions(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  fenetre.operations_fenetre().en_fond([&] { static_cast<void>(masque_extensions_hfs(*projet)); });
  fenetre.montre_document();
}

void change_chemin(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  if (projet->nb_rubriques() == 0) {
    operations().afficher_erreur(charger_chaine(kProjetVide));
    return;
  }
  if (montre_chemin_acces(fenetre)) compare_projet(fenetre);
}

}  // namespace varnion
