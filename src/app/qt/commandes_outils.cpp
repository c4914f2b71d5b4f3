// The project against the disk.

#include "app/noyau/actions_outils.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tcheminacces.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/trefresh.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/etat.hpp"
#include "IO/montrable.hpp"
#include "noms/regles.hpp"
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
constexpr int kVoisins = 7737;  // number, folder, names
constexpr std::size_t kCheminMessage = 100;
constexpr std::size_t kNomMessage = 60;

// The answer that the user wants kept about what lies beside the items of a project.
struct ReponseVoisins {
  std::string projet;
  int reponse = 0;  ///< as of `demander_tous`, 0 none
};

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

bool veut_voisins(TVarnion &fenetre, bool retenir) {
  const FichierProjet &projet = *fenetre.projet();
  const VoisinsProjet voisins = voisins_projet(projet);
  if (voisins.nombre == 0) return false;
  auto &gardee = etat<ReponseVoisins>();
  if (gardee.projet != projet.chemin()) gardee = {projet.chemin(), 0};
  if (retenir && gardee.reponse != 0) return gardee.reponse > 0;
  std::string noms;
  for (const std::string &nom : voisins.premiers)
    noms += (noms.empty() ? "" : "\n") +
            tronque_chemin(de_qt(QString::fromStdString(texte_montrable(nom))), kNomMessage);
  if (voisins.nombre > voisins.premiers.size()) noms += "\n...";
  const std::string texte =
      message(kVoisins, {voisins.nombre, tronque_chemin(voisins.dossier, kCheminMessage), noms});
  const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
  if (!retenir) return operations().demander_oui_non(texte) != 0;
  const int dite = operations().demander_tous(texte);
  if (dite == -1 || dite == 2) gardee.reponse = dite;
  return dite > 0;
}

void reconstruit_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  BilanReconstruction bilan;
  bool arrete = false;
  fenetre.operations_fenetre().en_fond([&] {
    operations().afficher_etat_seul(charger_chaine(kRafraichissement));
    OptionsReconstruction options;
    options.voisins = veut_voisins(fenetre, false);
    const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
    bilan = reconstruction_projet(*projet, options);
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
