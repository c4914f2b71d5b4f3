#include "app/qt/ecran_ds.hpp"

#include <algorithm>

#include <QMouseEvent>
#include <QPainter>

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr QSize kEcran(1600, 1200);  // pixels of the screen that the drawing stands for
constexpr int kLettres = 14;         // of a name, as far as it is drawn
constexpr QColor kBureau(0x4C, 0x6E, 0x96);
constexpr QColor kTitre(0xD8, 0xD8, 0xDC);
constexpr QColor kDossier(0x6F, 0x9B, 0xD1);
constexpr QColor kFichier(0xF4, 0xF4, 0xF4);
constexpr int kBarreTitre = 22 / kEchelleDessin;

Qt::CursorShape forme_curseur(BordFenetre bord) {
  switch (bord) {
    case BordFenetre::haut:
    case BordFenetre::bas:
      return Qt::SizeVerCursor;
    case BordFenetre::gauche:
    case BordFenetre::droit:
      return Qt::SizeHorCursor;
    case BordFenetre::haut_gauche:
    case BordFenetre::bas_droit:
      return Qt::SizeFDiagCursor;
    case BordFenetre::haut_droit:
    case BordFenetre::bas_gauche:
      return Qt::SizeBDiagCursor;
    case BordFenetre::interieur:
      return Qt::SizeAllCursor;
    case BordFenetre::aucun:
      return Qt::ArrowCursor;
  }
  return Qt::ArrowCursor;
}

}  // namespace

EcranDs::EcranDs(QWidget *parent) : QWidget(parent) {
  setMouseTracking(true);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize EcranDs::sizeHint() const {
  return kEcran / kEchelleDessin;
}

void EcranDs::montre(const ValeursFenetre &valeurs) {
  valeurs_ = valeurs;
  update();
}

void EcranDs::image(const QPixmap &image) {
  image_ = image;
  update();
}

QRect EcranDs::dessin() const {
  const RectEcran &rect = valeurs_.rect;
  return {rect.gauche / kEchelleDessin, rect.haut / kEchelleDessin, rect.largeur() / kEchelleDessin,
          rect.hauteur() / kEchelleDessin};
}

BordFenetre EcranDs::bord(const QPoint &point) const {
  const QRect ici = dessin();
  return bord_fenetre(point.x() - ici.x(), point.y() - ici.y(), ici.width(), ici.height());
}

void EcranDs::paintEvent(QPaintEvent * /*evenement*/) {
  QPainter peintre(this);
  peintre.fillRect(rect(), kBureau);
  const QRect ici = dessin();
  peintre.fillRect(ici, Qt::white);
  peintre.save();
  peintre.setClipRect(ici);
  if (!image_.isNull()) peintre.drawPixmap(ici.topLeft(), image_);
  dessine_elements(peintre);
  peintre.restore();
  const QRect titre(ici.x(), ici.y() - kBarreTitre, ici.width(), kBarreTitre);
  peintre.fillRect(titre, kTitre);
  peintre.setPen(Qt::black);
  peintre.drawRect(ici.united(titre).adjusted(0, 0, -1, -1));
}

void EcranDs::dessine_elements(QPainter &peintre) const {
  const QPoint origine = dessin().topLeft();
  const int cote =
      std::max(kTaillesIcone[static_cast<std::size_t>(valeurs_.taille_icone)] / kEchelleDessin, 3);
  QFont petite = peintre.font();
  petite.setPixelSize(std::max(kTaillesTexte[static_cast<std::size_t>(valeurs_.taille_texte)] / 2, 5));
  peintre.setFont(petite);
  const QFontMetrics mesure(petite);
  for (const ElementFenetre &element : valeurs_.elements) {
    const QPoint centre = origine + QPoint(element.x, element.y) / kEchelleDessin;
    QRect icone(0, 0, cote, cote);
    icone.moveCenter(centre);
    peintre.setPen(QColor(0x50, 0x50, 0x50));
    peintre.setBrush(element.numero < 0 ? kFichier : kDossier);
    peintre.drawRoundedRect(icone, 1, 1);
    const QString nom =
        mesure.elidedText(vers_qt(element.nom), Qt::ElideRight, mesure.averageCharWidth() * kLettres);
    QRect place(0, 0, mesure.horizontalAdvance(nom) + 2, mesure.height());
    place.moveCenter({centre.x(), icone.bottom() + 1 + mesure.height() / 2});
    peintre.setPen(Qt::black);
    peintre.drawText(place, Qt::AlignCenter, nom);
  }
}

void EcranDs::mousePressEvent(QMouseEvent *evenement) {
  if (evenement->button() != Qt::LeftButton) return;
  saisi_ = bord(evenement->position().toPoint());
  depart_ = evenement->position().toPoint();
  rect_depart_ = valeurs_.rect;
}

void EcranDs::mouseMoveEvent(QMouseEvent *evenement) {
  const QPoint point = evenement->position().toPoint();
  if ((evenement->buttons() & Qt::LeftButton) == 0) {
    setCursor(forme_curseur(bord(point)));
    return;
  }
  if (saisi_ == BordFenetre::aucun || !deplace) return;
  deplace(rect_tire(rect_depart_, saisi_, point.x() - depart_.x(), point.y() - depart_.y()));
}

void EcranDs::mouseReleaseEvent(QMouseEvent * /*evenement*/) {
  saisi_ = BordFenetre::aucun;
}

}  // namespace varnion
