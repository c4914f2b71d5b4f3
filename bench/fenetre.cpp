// Times the window: fenetre DEBUT [IMAGE [PROJECT]]
//   DEBUT    when the caller started this program, nanoseconds since 1970 (date +%s%N)
//   IMAGE    a volume whose root holds one big folder       PROJECT  a project whose views are switched
// One line a figure: name, milliseconds. Each time ends when the window was painted and nothing waits to be
// done.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <QApplication>
#include <QElapsedTimer>
#include <QScrollBar>
#include <QTreeView>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/modele_liste.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tvarnion.hpp"

namespace {

void au_repos(QWidget &fenetre) {
  QApplication::processEvents();
  fenetre.repaint();
  QApplication::processEvents();
}

void dit(const char *nom, double millisecondes) {
  std::printf("%-28s %8.1f\n", nom, millisecondes);
}

double depuis(const QElapsedTimer &montre) {
  return static_cast<double>(montre.nsecsElapsed()) / 1e6;
}

void mesure_volume(varnion::TVarnion &fenetre, const std::string &image) {
  QElapsedTimer montre;
  montre.start();
  if (!fenetre.router_parametre(image)) std::exit(1);
  au_repos(fenetre);
  dit("open the volume", depuis(montre));
  const auto &rangees = fenetre.modele_liste();
  for (int i = 0; i < rangees.rowCount(); ++i) {
    if (!rangees.ligne(i).dossier) continue;
    montre.restart();
    fenetre.va_au_dossier(rangees.ligne(i).id);
    au_repos(fenetre);
    dit("open the big folder", depuis(montre));
    break;
  }
  std::printf("%-28s %8d\n", "  items in it", rangees.rowCount());
  QScrollBar *barre = fenetre.liste()->verticalScrollBar();
  double pire = 0;
  const int pages = 200;
  for (int i = 1; i <= pages; ++i) {
    montre.restart();
    barre->setValue(static_cast<int>(static_cast<long long>(barre->maximum()) * i / pages));
    au_repos(fenetre);
    pire = std::max(pire, depuis(montre));
  }
  dit("slowest of 200 scroll steps", pire);
  montre.restart();
  fenetre.execute(*varnion::commande_nommee("SAll"));
  au_repos(fenetre);
  dit("select all", depuis(montre));
}

void mesure_projet(varnion::TVarnion &fenetre, const std::string &projet) {
  QElapsedTimer montre;
  montre.start();
  if (!fenetre.router_parametre(projet)) std::exit(1);
  au_repos(fenetre);
  dit("open the project", depuis(montre));
  for (const char *vue : {"VI1", "VM1", "VH1"}) {
    montre.restart();
    fenetre.execute(*varnion::commande_nommee(vue));
    au_repos(fenetre);
    dit((std::string("switch view ") + vue).c_str(), depuis(montre));
  }
}

}  // namespace

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  if (argc < 2) return 2;
  varnion::OperationsQt operations;
  varnion::brancher_operations(&operations);
  varnion::lire_options(false);
  {
    varnion::TVarnion fenetre(operations);
    fenetre.show();
    fenetre.demarre({});
    au_repos(fenetre);
    const auto maintenant = std::chrono::system_clock::now().time_since_epoch();
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(maintenant).count();
    dit("start to a usable window", static_cast<double>(ns - std::atoll(argv[1])) / 1e6);
    if (argc > 2) mesure_volume(fenetre, argv[2]);
    if (argc > 3) mesure_projet(fenetre, argv[3]);
  }
  varnion::brancher_operations(nullptr);
  return 0;
}
