#include "app/qt/impression_vidage.hpp"

#include <algorithm>

#include <QFontDatabase>
#include <QPainter>
#include <QPrinter>

#include "app/qt/impression.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCorps = 12;           // points
constexpr double kMarge = 150;       // units of 1/600 inch from each edge
constexpr double kDebutSuite = 300;  // where the lines of the pages after the first begin
constexpr double kUnitesPouce = 600;
constexpr int kTropLong = 7235;
constexpr std::uint64_t kSegmentMax = 1U << 20;  // bytes: 65,536 lines, more than a thousand pages

}  // namespace

int dessine_lignes(QPagedPaintDevice &appareil, const QString &titre, const QStringList &lignes) {
  appareil.setPageMargins(QMarginsF(0, 0, 0, 0));
  QPainter peintre;
  if (!peintre.begin(&appareil)) return 0;
  const double echelle = peintre.device()->logicalDpiY() / kUnitesPouce;
  QFont police = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  police.setPointSize(kCorps);
  peintre.setFont(police);
  const QFontMetricsF mesure(police, peintre.device());
  const double hauteur = mesure.height();
  const double bas = peintre.device()->height() - kMarge * echelle;
  const auto ecrit = [&](double haut, const QString &texte) {
    peintre.drawText(QPointF(kMarge * echelle, haut + mesure.ascent()), texte);
  };
  ecrit(kMarge * echelle, titre);
  double haut = kMarge * echelle + 2 * hauteur;
  int pages = 1;
  for (const QString &ligne : lignes) {
    if (haut + hauteur > bas) {
      if (!appareil.newPage()) break;
      ++pages;
      ecrit(kMarge * echelle, titre);
      haut = std::max(kDebutSuite * echelle, kMarge * echelle + 2 * hauteur);
    }
    ecrit(haut, ligne);
    haut += hauteur;
  }
  return pages;
}

void imprime_lignes(QWidget *parent, const QString &titre, const QStringList &lignes) {
  QPrinter imprimante(QPrinter::HighResolution);
  imprimante.setPageOrientation(QPageLayout::Portrait);
  imprimante.setDocName(titre);
  if (demande_imprimante()(imprimante, parent)) static_cast<void>(dessine_lignes(imprimante, titre, lignes));
}

void imprime_segment(QWidget *parent, const QString &titre, const SourceSecteurs &source,
                     const Segment &segment, const AspectVidage &aspect) {
  if (segment.fin - segment.debut > kSegmentMax) {
    operations().afficher_erreur(message(kTropLong, {kSegmentMax}));
    return;
  }
  std::vector<std::uint8_t> octets(static_cast<std::size_t>(segment.fin - segment.debut));
  static_cast<void>(source.lire(octets, segment.debut));
  QStringList lignes;
  for (std::size_t place = 0; place < octets.size(); place += kOctetsParLigne) {
    const std::size_t part = std::min(kOctetsParLigne, octets.size() - place);
    lignes << vers_qt(ligne_vidage(std::span(octets).subspan(place, part), segment.debut + place, aspect));
  }
  imprime_lignes(parent, titre, lignes);
}

}  // namespace varnion
