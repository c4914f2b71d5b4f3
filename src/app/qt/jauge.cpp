#include "app/qt/jauge.hpp"

#include <algorithm>

#include <QPainter>

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr QColor kExces(0xAA, 0x08, 0x2B);
constexpr QColor kEncre(0x20, 0x20, 0x20);
constexpr QColor kCadre(0xA8, 0xA8, 0xA0);

double rapport(std::uint64_t part, std::uint64_t tout) {
  return tout == 0 ? 0 : static_cast<double>(part) / static_cast<double>(tout);
}

}  // namespace

Jauge::Jauge(QWidget *parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize Jauge::sizeHint() const {
  return {200, fontMetrics().height() + 8};
}

void Jauge::couleurs(const QColor &fond, const QColor &barre) {
  fond_ = fond;
  barre_ = barre;
  update();
}

void Jauge::montre_taille(std::uint64_t octets, std::uint64_t reference) {
  part_ = std::min(rapport(octets, reference), 1.0);
  exces_ = std::clamp(rapport(octets, reference) - 1.0, 0.0, 1.0);
  texte_ = vers_qt(taille_volume(octets));
  update();
}

void Jauge::montre_avance(std::uint64_t fait, std::uint64_t total) {
  part_ = std::min(rapport(fait, total), 1.0);
  exces_ = 0;
  texte_ = QString("%1 %").arg(static_cast<int>(part_ * 100));
  update();
}

void Jauge::paintEvent(QPaintEvent * /*evenement*/) {
  QPainter peintre(this);
  const QRect cadre = rect().adjusted(0, 0, -1, -1);
  peintre.fillRect(rect(), fond_);
  const auto large = [this](double part) { return static_cast<int>(part * width()); };
  peintre.fillRect(0, 0, large(part_), height(), barre_);
  if (exces_ > 0) {
    peintre.fillRect(width() - large(exces_), 0, large(exces_), height(), kExces);
  }
  peintre.setPen(kCadre);
  peintre.drawRect(cadre);
  peintre.setPen(exces_ > 0.4 ? QColor(Qt::white) : kEncre);
  peintre.drawText(rect(), Qt::AlignCenter, texte_);
}

}  // namespace varnion
