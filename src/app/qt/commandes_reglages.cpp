// Settings, and the programs and files around the window.

#include <QCoreApplication>
#include <QHeaderView>
#include <QProcess>
#include <QSplitter>
#include <QStandardPaths>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/noyau/types_fichiers.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/tcolonnes.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tjournal.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tregistre.hpp"
#include "app/qt/ttypesfichiers.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/tvarpref.hpp"
#include "IO/etat.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr const char *kComposeur = "icofarrow";  // the icon composer, a program of its own
constexpr int kComposeurAbsent = 7199;
constexpr int kComposeurMuet = 7200;
constexpr int kTypeEchec = 7202;
constexpr std::size_t kCheminMessage = 200;
constexpr std::uint32_t kOptionSansBarre = 0x80;

QSplitter *partage(TVarnion &fenetre) {
  return qobject_cast<QSplitter *>(fenetre.arbre()->parentWidget());
}

LargeursPanneaux largeurs_de(TVarnion &fenetre) {
  LargeursPanneaux largeurs;
  const QTreeView *liste = fenetre.liste();
  for (int i = 0; i < kColonnes; ++i)
    largeurs.colonnes[static_cast<std::size_t>(i)] = liste->isColumnHidden(i) ? 0 : liste->columnWidth(i);
  largeurs.arbre = fenetre.arbre()->isHidden() ? 0 : partage(fenetre)->sizes().value(0);
  return largeurs;
}

void pose_largeurs(TVarnion &fenetre, const LargeursPanneaux &largeurs) {
  QTreeView *liste = fenetre.liste();
  for (int i = 0; i < kColonnes; ++i) {
    const int largeur = largeurs.colonnes[static_cast<std::size_t>(i)];
    liste->setColumnHidden(i, largeur <= 0);
    if (largeur > 0) liste->setColumnWidth(i, largeur);
  }
  fenetre.arbre()->setVisible(largeurs.arbre > 0);
  if (largeurs.arbre <= 0) return;
  const int reste = partage(fenetre)->width() - partage(fenetre)->handleWidth() - largeurs.arbre;
  partage(fenetre)->setSizes({largeurs.arbre, std::max(reste, 0)});
}

}  // namespace

void regle_preferences(TVarnion &fenetre) {
  const std::uint32_t avant = etat<OptionsProgramme>().options;
  const IssuePreferences issue = montre_preferences(&fenetre);
  if (issue == IssuePreferences::refusees) return;
  const std::uint32_t apres = etat<OptionsProgramme>().options;
  if (((avant ^ apres) & kOptionSansBarre) != 0) fenetre.montre_outils((apres & kOptionSansBarre) == 0);
  fenetre.rafraichit_jauge();
  if (issue != IssuePreferences::relecture) return;
  if (fenetre.mode() == kModePartition && fenetre.document_ouvert()) {
    const Attente attente;
    fenetre.montre_document();
  }
}

void regle_colonnes(TVarnion &fenetre) {
  if (const auto largeurs = montre_colonnes(&fenetre, largeurs_de(fenetre)))
    pose_largeurs(fenetre, *largeurs);
}

void gere_journal(TVarnion &fenetre) {
  montre_journal(fenetre);
  fenetre.rafraichit_coches();
}

void table_signatures(TVarnion &fenetre) {
  if (!montre_registre(fenetre) || !fenetre.document_ouvert()) return;
  const Attente attente;
  fenetre.affiche_dossier(fenetre.dossier_montre());
}

void enregistre_types(TVarnion &fenetre) {
  const auto types = montre_types_fichiers(&fenetre);
  if (!types || *types == 0) return;
  ResultatTypes resultat;
  fenetre.operations_fenetre().en_fond([&] { resultat = enregistre_types(*types, programme_courant()); });
  if (!resultat.echec.empty())
    operations().afficher_erreur(message(kTypeEchec, {tronque_chemin(resultat.echec, kCheminMessage)}));
}

// Beside the program first, then where the system looks for programs.
void compose_icones(TVarnion & /*fenetre*/) {
  QString programme = QStandardPaths::findExecutable(kComposeur, {QCoreApplication::applicationDirPath()});
  if (programme.isEmpty()) programme = QStandardPaths::findExecutable(kComposeur);
  if (programme.isEmpty())
    operations().afficher_erreur(message(kComposeurAbsent, {kComposeur}));
  else if (!QProcess::startDetached(programme, {}))
    operations().afficher_erreur(message(kComposeurMuet, {tronque_chemin(de_qt(programme), kCheminMessage)}));
}

}  // namespace varnion
