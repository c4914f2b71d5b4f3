#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QPlainTextEdit>

namespace varnion {

/// The lines of a dump: they can be read, selected and copied; one is the current line.
class VueVidage final : public QPlainTextEdit {
 public:
  explicit VueVidage(QWidget *parent = nullptr);

  /// Working text. The first line becomes the current one.
  void montre(const std::vector<std::string> &lignes);
  /// Marks columns of a line, which becomes the current one. A second range is marked with it.
  void marque(int ligne, int colonne, int longueur);
  void efface_marques();
  /// Makes a line the current one.
  void montre_ligne(int ligne) { va_a(ligne); }
  void corps(int points);
  [[nodiscard]] int ligne() const { return ligne_; }

  /// A step beyond the first line (-1) or the last one (1).
  std::function<void(int sens)> deborde;

 protected:
  void keyPressEvent(QKeyEvent *evenement) override;
  void wheelEvent(QWheelEvent *evenement) override;
  void mousePressEvent(QMouseEvent *evenement) override;

 private:
  struct Marque {
    int ligne, colonne, longueur;
  };
  void avance(int sens);
  void peint();
  void va_a(int ligne);

  int ligne_ = 0;
  int molette_ = 0;
  std::vector<Marque> marques_;
};

}  // namespace varnion
