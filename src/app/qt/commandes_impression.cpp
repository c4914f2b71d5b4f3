// The list of the window on paper.

#include <QHeaderView>
#include <QLabel>
#include <QTreeView>

#include "app/qt/impression.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kPage = 7195;
// Name that the job has in the queue of the printer.
constexpr const char *kTitreImpression = "Brenwick (%1)";

}  // namespace

void imprime_liste(TVarnion &fenetre) {
  const ModeleListe &modele = fenetre.modele_liste();
  const QTreeView *liste = fenetre.liste();
  std::vector<int> montrees;
  TableauImprime tableau;
  for (int i = 0; i < kColonnes; ++i) {
    if (liste->isColumnHidden(i)) continue;
    const int bord = modele.headerData(i, Qt::Horizontal, Qt::TextAlignmentRole).toInt();
    tableau.colonnes.push_back({modele.headerData(i, Qt::Horizontal, Qt::DisplayRole).toString(),
                                static_cast<double>(liste->columnWidth(i)), (bord & Qt::AlignRight) != 0});
    montrees.push_back(i);
  }
  tableau.lignes = modele.rowCount();
  tableau.cellule = [&modele, &montrees](int ligne, int colonne) {
    return modele.index(ligne, montrees[static_cast<std::size_t>(colonne)]).data().toString();
  };
  DocumentImprime document;
  document.gauche = vers_qt(fenetre.chemin_document());
  if (const auto *panneau = fenetre.findChild<QLabel *>("Panneau0")) document.milieu = panneau->text();
  document.droite = [](int page) { return vers_qt(message(kPage, {page})); };
  document.tableaux.push_back(std::move(tableau));
  imprime(&fenetre, QString(kTitreImpression).arg(document.gauche), document);
}

}  // namespace varnion
