#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/journal.hpp"
#include "app/noyau/ligne_commande.hpp"
#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/instance_unique.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kDejaLance = 1347;

// A command letter, or a long option: the work of the command line, which needs no display.
bool est_commande(const std::string &mot) {
  return commande_lettre(mot).has_value() || mot.starts_with("--");
}

int lance_commande(const std::vector<std::string> &mots) {
  OptionsConsole terminal;
  terminal.programme = "varnion";
  terminal.terminal = ::isatty(STDERR_FILENO) == 1;
  return ligne_commande(mots, terminal, std::cin, std::cout, std::cerr);
}

// Gives the document to the first instance. The status is 1 whatever came of it: nothing was opened here.
int seconde_instance(const InstanceUnique &instance, const QString &document) {
  if (!document.isEmpty()) {
    static_cast<void>(instance.remet(document));
    return kEchec;
  }
  lire_options(true);
  QMessageBox::information(nullptr, "Varnion", chaine_qt(kDejaLance));
  return kEchec;
}

int lance_fenetre(InstanceUnique &instance, const QString &document) {
  OperationsQt operations_qt;
  brancher_operations(&operations_qt);
  lire_options(false);
  branche_aide();
  int statut = 0;
  {
    TVarnion fenetre(operations_qt);
    QObject::connect(&instance, &InstanceUnique::recu, &fenetre, &TVarnion::recoit_document);
    fenetre.show();
    std::string chemin;
    if (!document.isEmpty()) chemin = chemin_argument(document.toStdString()).value_or(std::string());
    fenetre.demarre(chemin);
    statut = QApplication::exec();
  }
  brancher_operations(nullptr);
  ferme_journal();
  plateforme::vide_dossier_temporaire();
  return statut;
}

}  // namespace
}  // namespace varnion

int main(int argc, char **argv) {
  const std::vector<std::string> mots(argv + (argc > 0 ? 1 : 0), argv + argc);
  if (!mots.empty() && varnion::est_commande(mots[0])) return varnion::lance_commande(mots);

  QApplication application(argc, argv);
  QApplication::setApplicationName("Varnion");
  QApplication::setApplicationVersion(VARNION_VERSION);
  const QStringList arguments = QApplication::arguments();
  const QString document = arguments.size() > 1 ? QFileInfo(arguments[1]).absoluteFilePath() : QString();
  varnion::InstanceUnique instance;
  if (!instance.premiere()) return varnion::seconde_instance(instance, document);
  return varnion::lance_fenetre(instance, document);
}
