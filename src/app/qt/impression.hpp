#pragma once

#include <functional>
#include <vector>

#include <QString>

class QPagedPaintDevice;
class QPainter;
class QPrinter;
class QWidget;

// Tables on paper: the list of the window and the lists of the refresh form are drawn by the same pages.

namespace varnion {

struct ColonneImprimee {
  QString legende;
  double largeur = 0;  ///< share of the page's width; 0 in all columns: each takes the room of its texts
  bool a_droite = false;
};

/// One table; several follow one another on the same pages.
struct TableauImprime {
  QString titre;  ///< a line above the header row, "" none
  std::vector<ColonneImprimee> colonnes;
  int lignes = 0;
  std::function<QString(int ligne, int colonne)> cellule;
};

/// The edges of a page, in units of 1/600 inch.
struct MargesImprimees {
  int gauche = 300, droite = 100, haut = 150, bas = 150;
};

struct DocumentImprime {
  QString gauche, milieu;                   ///< of the page head
  std::function<QString(int page)> droite;  ///< the same, pages from 1 on
  MargesImprimees marges;
  std::vector<TableauImprime> tableaux;
};

/// What the pages are drawn on.
struct SupportPapier {
  double largeur = 0, hauteur = 0;      ///< of the whole page, pixels of the painter
  double points_pouce = 600;            ///< pixels an inch
  std::function<bool()> nouvelle_page;  ///< false ends the work
};

/// Draws a document with a painter that stands on its first page: pages drawn.
int dessine_document(QPainter &peintre, const SupportPapier &support, const DocumentImprime &document);

/// The same on a device of pages, whose margins are set aside. 0 when it cannot be painted on.
int imprime_document(QPagedPaintDevice &appareil, const DocumentImprime &document);

/// Asks for the printer and the copies; a test puts its own in place.
[[nodiscard]] std::function<bool(QPrinter &, QWidget *)> &demande_imprimante();

/// Asks for the printer and prints in landscape under a title; a printer that does not open is told.
void imprime(QWidget *parent, const QString &titre, const DocumentImprime &document);

}  // namespace varnion
