// The copy of files and folders of the mounted volume to the PC.

#include <optional>
#include <string>
#include <vector>

#include <QApplication>
#include <QStatusBar>
#include <QThread>

#include "app/noyau/actions_copie.hpp"
#include "app/qt/modification_volume.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tdestsel.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tmaxpath.hpp"
#include "app/qt/tnompc.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreDossiers = 7013;
constexpr int kCopies = 7019;
constexpr int kDecompte = 7126;
constexpr int kDureeBilan = 8000;  // milliseconds

// Runs a dialog of a worker at the window, under the ordinary cursor.
template <typename F>
void a_la_fenetre(TVarnion &fenetre, F dialogue) {
  const auto montre = [&] {
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    dialogue();
    QApplication::restoreOverrideCursor();
  };
  if (QThread::currentThread() == fenetre.thread()) return montre();
  QMetaObject::invokeMethod(&fenetre, montre, Qt::BlockingQueuedConnection);
}

OptionsCopiePc options_copie(TVarnion &fenetre) {
  OptionsCopiePc options;
  options.nommage = mode_nommage(etat<OptionsProgramme>().options);
  options.extension = extension_copie;
  options.demande_nom = [&fenetre](const std::string &mac, std::string &nom, std::size_t limite) {
    bool donne = false;
    a_la_fenetre(fenetre, [&] { donne = demande_nom_pc(&fenetre, mac, nom, limite); });
    return donne;
  };
  options.raccourcit = [&fenetre](const CheminPc &chemin) {
    std::optional<CheminPc> choisi;
    a_la_fenetre(fenetre, [&] {
      choisi = raccourcit_chemin_pc(&fenetre, chemin, [&fenetre](const QString &depart) {
        return fenetre.demandes.dossier(kTitreDossiers, depart);
      });
    });
    return choisi;
  };
  options.suivi = [](const BilanCopiePc &) {
    operations().progression_pas(1);
    static_cast<void>(operations().arret_demande());
  };
  return options;
}

}  // namespace

void copie_vers_le_pc(TVarnion &fenetre) {
  const std::vector<ElementMac> elements = fenetre.elements_choisis();
  if (elements.empty()) return;
  const auto cible = choisit_cible(fenetre, elements.size());
  if (!cible) return;
  CopieVersPc copie(options_copie(fenetre));
  fenetre.operations_fenetre().en_fond([&] {
    operations().afficher_etat(charger_chaine(kDecompte), {});
    const auto comptes = compte_elements(elements);
    operations().progression_debut(comptes ? comptes->fichiers : 0);
    for (const ElementMac &element : elements)
      if (!copie.copie_vers_pc(element, cible->dossier) && copie.bilan().arret) break;
    operations().progression_fin();
  });
  operations().afficher_etat({}, {});
  const BilanCopiePc &bilan = copie.bilan();
  fenetre.statusBar()->showMessage(
      vers_qt(message(kCopies, {bilan.copies, bilan.dossiers, bilan.sautes, bilan.echecs})), kDureeBilan);
  if (bilan.amputes != 0) operations().afficher_avis(texte_amputes(bilan));
  fenetre.rafraichit_commandes();
}

}  // namespace varnion
