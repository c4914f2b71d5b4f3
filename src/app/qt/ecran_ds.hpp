#pragma once

#include <functional>

#include <QPixmap>
#include <QWidget>

#include "finder/grille_icones.hpp"

namespace varnion {

/// The screen at a quarter of its size, with the window on it: its background, the icons where they will
/// stand. The mouse moves the window and its edges.
class EcranDs final : public QWidget {
 public:
  explicit EcranDs(QWidget *parent = nullptr);

  void montre(const ValeursFenetre &valeurs);
  /// The picture behind the icons, at the size of the screen or smaller; a null one for none.
  void image(const QPixmap &image);
  /// Called while the mouse drags the window.
  std::function<void(const RectEcran &)> deplace;

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent *evenement) override;
  void mousePressEvent(QMouseEvent *evenement) override;
  void mouseMoveEvent(QMouseEvent *evenement) override;
  void mouseReleaseEvent(QMouseEvent *evenement) override;

 private:
  [[nodiscard]] QRect dessin() const;
  [[nodiscard]] BordFenetre bord(const QPoint &point) const;
  void dessine_elements(QPainter &peintre) const;

  ValeursFenetre valeurs_;
  QPixmap image_;
  BordFenetre saisi_ = BordFenetre::aucun;
  QPoint depart_;
  RectEcran rect_depart_;
};

}  // namespace varnion
