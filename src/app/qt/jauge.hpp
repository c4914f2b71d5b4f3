#pragma once

#include <cstdint>

#include <QColor>
#include <QWidget>

namespace varnion {

/// The gauge `PB`: the size of a project against its reference size, or the progress of work on a volume.
class Jauge final : public QWidget {
 public:
  explicit Jauge(QWidget *parent = nullptr);

  /// `fond`: the mode's background; `barre`: colour of the bar.
  void couleurs(const QColor &fond, const QColor &barre);
  /// Bytes of the project and of its reference.
  void montre_taille(std::uint64_t octets, std::uint64_t reference);
  void montre_avance(std::uint64_t fait, std::uint64_t total);

  [[nodiscard]] QSize sizeHint() const override;
  [[nodiscard]] const QString &texte() const { return texte_; }

 protected:
  void paintEvent(QPaintEvent *evenement) override;

 private:
  QColor fond_, barre_;
  QString texte_;
  double part_ = 0;  ///< of the width, 1 the whole
  double exces_ = 0;
};

}  // namespace varnion
