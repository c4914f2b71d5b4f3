#include "app/qt/impression.hpp"

#include <algorithm>
#include <cmath>

#include <QPagedPaintDevice>
#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr double kUnitesPouce = 600;           // in which margins and gaps are given
constexpr double kHauteurLettres = 11.0 / 72;  // inches
constexpr double kIntercolonne = 50;           // units between columns that follow their texts
constexpr double kMargeCellule = 45;           // units between the edge of a scaled column and its text
constexpr int kSansImprimante = 7201;
constexpr int kImpression = 7215;

class Pages {
 public:
  Pages(QPainter &peintre, const SupportPapier &support, const DocumentImprime &document)
      : peintre_(peintre),
        support_(support),
        document_(document),
        unite_(support.points_pouce / kUnitesPouce) {
    QFont police("Helvetica");
    police.setStyleHint(QFont::SansSerif);
    police.setPixelSize(std::max(1, static_cast<int>(std::lround(kHauteurLettres * support.points_pouce))));
    peintre_.setFont(police);
    const QFontMetricsF mesures(police, peintre_.device());
    ligne_ = std::ceil(mesures.height() * 1.1);
    gauche_ = document.marges.gauche * unite_;
    droite_ = support.largeur - document.marges.droite * unite_;
    bas_ = support.hauteur - document.marges.bas * unite_;
  }

  int dessine() {
    tete();
    for (const TableauImprime &tableau : document_.tableaux)
      if (!dessine_tableau(tableau)) break;
    return page_;
  }

 private:
  void tete() {
    ++page_;
    y_ = document_.marges.haut * unite_;
    const QRectF bande(gauche_, y_, droite_ - gauche_, ligne_);
    const QString numero = document_.droite ? document_.droite(page_) : QString();
    // The middle and the right are short; a long path at the left gives way to them.
    const double cote = bande.width() / 2 - largeur(document_.milieu) / 2 - kIntercolonne * unite_;
    texte({bande.left(), bande.top(), std::max(cote, 0.0), ligne_}, document_.gauche, false);
    peintre_.drawText(bande, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextSingleLine, document_.milieu);
    peintre_.drawText(bande, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, numero);
    y_ += ligne_ * 1.2;
    trait();
  }

  void trait() {
    peintre_.setPen(QPen(Qt::black, std::max(1.0, 2 * unite_)));
    peintre_.drawLine(QPointF(gauche_, y_), QPointF(droite_, y_));
    y_ += ligne_ * 0.3;
  }

  [[nodiscard]] double largeur(const QString &texte) const {
    return QFontMetricsF(peintre_.font(), peintre_.device()).horizontalAdvance(texte);
  }

  [[nodiscard]] double largeur_legende(const QString &texte) const {
    QFont grasse = peintre_.font();
    grasse.setBold(true);
    return QFontMetricsF(grasse, peintre_.device()).horizontalAdvance(texte);
  }

  void texte(const QRectF &place, const QString &texte, bool a_droite) {
    peintre_.save();
    peintre_.setClipRect(place);
    const int bord = a_droite ? Qt::AlignRight : Qt::AlignLeft;
    peintre_.drawText(place, bord | Qt::AlignVCenter | Qt::TextSingleLine, texte);
    peintre_.restore();
  }

  // Left edges of the columns, and that of what would follow the last.
  [[nodiscard]] std::vector<double> bords(const TableauImprime &tableau) const {
    double somme = 0;
    for (const ColonneImprimee &colonne : tableau.colonnes) somme += colonne.largeur;
    std::vector<double> places{gauche_};
    for (std::size_t i = 0; i < tableau.colonnes.size(); ++i) {
      double large = 0;
      if (somme > 0) {
        large = tableau.colonnes[i].largeur * (droite_ - gauche_) / somme;
      } else {
        large = largeur_legende(tableau.colonnes[i].legende);
        for (int rang = 0; rang < tableau.lignes; ++rang)
          large = std::max(large, largeur(tableau.cellule(rang, static_cast<int>(i))));
        large += kIntercolonne * unite_;
      }
      places.push_back(std::min(places.back() + large, droite_));
    }
    return places;
  }

  void rangee(const TableauImprime &tableau, const std::vector<double> &places, int rang) {
    const double marge = kMargeCellule * unite_;
    for (std::size_t i = 0; i < tableau.colonnes.size(); ++i) {
      const double large = places[i + 1] - places[i] - marge;
      if (large <= 0) continue;
      const QString contenu =
          rang < 0 ? tableau.colonnes[i].legende : tableau.cellule(rang, static_cast<int>(i));
      texte({places[i], y_, large, ligne_}, contenu, tableau.colonnes[i].a_droite);
    }
    y_ += ligne_;
  }

  void legendes(const TableauImprime &tableau, const std::vector<double> &places) {
    QFont grasse = peintre_.font();
    grasse.setBold(true);
    peintre_.save();
    peintre_.setFont(grasse);
    if (!tableau.titre.isEmpty()) {
      texte({gauche_, y_, droite_ - gauche_, ligne_}, tableau.titre, false);
      y_ += ligne_ * 1.2;
    }
    rangee(tableau, places, -1);
    peintre_.restore();
    trait();
  }

  // A page that has no room for one row at least would never end.
  [[nodiscard]] bool tient(double hauteur) const { return y_ + hauteur <= bas_; }

  bool tourne() {
    if (!support_.nouvelle_page()) return false;
    tete();
    return true;
  }

  bool dessine_tableau(const TableauImprime &tableau) {
    const std::vector<double> places = bords(tableau);
    if (page_lignes_ > 0) y_ += ligne_;
    if (!tient(ligne_ * 5) && page_lignes_ > 0 && !tourne()) return false;
    legendes(tableau, places);
    page_lignes_ = 1;
    for (int rang = 0; rang < tableau.lignes; ++rang) {
      if (!tient(ligne_) && rang > 0) {
        if (!tourne()) return false;
        legendes(tableau, places);
      }
      rangee(tableau, places, rang);
    }
    return true;
  }

  QPainter &peintre_;
  const SupportPapier &support_;
  const DocumentImprime &document_;
  double unite_;
  double ligne_ = 0, gauche_ = 0, droite_ = 0, bas_ = 0, y_ = 0;
  int page_ = 0;
  int page_lignes_ = 0;  ///< tables already on this document
};

struct Imprimante {
  std::function<bool(QPrinter &, QWidget *)> demande = [](QPrinter &imprimante, QWidget *parent) {
    QPrintDialog forme(&imprimante, parent);
    forme.setOptions(QAbstractPrintDialog::PrintToFile | QAbstractPrintDialog::PrintShowPageSize);
    return forme.exec() == QDialog::Accepted;
  };
};

}  // namespace

int dessine_document(QPainter &peintre, const SupportPapier &support, const DocumentImprime &document) {
  return Pages(peintre, support, document).dessine();
}

int imprime_document(QPagedPaintDevice &appareil, const DocumentImprime &document) {
  QPainter peintre;
  if (!peintre.begin(&appareil)) return 0;
  const SupportPapier support{static_cast<double>(appareil.width()), static_cast<double>(appareil.height()),
                        static_cast<double>(appareil.logicalDpiX()),
                        [&appareil] { return !operations().arret_demande() && appareil.newPage(); }};
  return dessine_document(peintre, support, document);
}

std::function<bool(QPrinter &, QWidget *)> &demande_imprimante() {
  return etat<Imprimante>().demande;
}

void imprime(QWidget *parent, const QString &titre, const DocumentImprime &document) {
  QPrinter imprimante(QPrinter::HighResolution);
  imprimante.setDocName(titre);
  imprimante.setPageOrientation(QPageLayout::Landscape);
  imprimante.setFullPage(true);
  if (!demande_imprimante()(imprimante, parent)) return;
  int pages = 0;
  {
    const Attente attente;
    operations().afficher_etat_seul(charger_chaine(kImpression));
    pages = imprime_document(imprimante, document);
    operations().afficher_etat({}, {});
  }
  if (pages == 0) operations().afficher_erreur(charger_chaine(kSansImprimante));
}

}  // namespace varnion
