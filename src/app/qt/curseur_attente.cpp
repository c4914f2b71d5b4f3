#include "app/qt/curseur_attente.hpp"

#include <QPainter>
#include <QPixmap>

namespace varnion {

namespace {

constexpr int kCote = 24;  // pixels
constexpr int kTour = 360 * 16;

}  // namespace

QCursor curseur_attente(int image) {
  QPixmap dessin(kCote, kCote);
  dessin.fill(Qt::transparent);
  QPainter peintre(&dessin);
  peintre.setRenderHint(QPainter::Antialiasing);
  const QRectF disque(2, 2, kCote - 4, kCote - 4);
  peintre.setPen(QPen(Qt::black, 1.2));
  peintre.setBrush(Qt::white);
  peintre.drawEllipse(disque);
  peintre.setBrush(QColor(0x3D, 0x7A, 0xB8));
  peintre.drawPie(disque, kTour / 4, -kTour * (image + 1) / kImagesCurseur);
  peintre.setBrush(Qt::white);
  peintre.drawEllipse(disque.center(), 3, 3);
  peintre.end();
  return QCursor(dessin, kCote / 2, kCote / 2);
}

}  // namespace varnion
