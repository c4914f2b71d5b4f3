#pragma once

#include <cstdint>
#include <string>

#include "app/qt/forme.hpp"

class QCheckBox;
class QLabel;
class QSlider;
class QSpinBox;

namespace varnion {

/// What a new image is to be.
struct ReponseImage {
  std::string label;  ///< working text
  std::uint32_t taille_mo = 0;
  bool tout_effacer = false;
  bool hfsplus = false;
};

/// The dialog of a new image (1064). It tells the allocation blocks that follow from size and format.
class TNouvelleImage final : public Forme {
 public:
  /// `chemin`: the image to be, whose disk must have the room.
  TNouvelleImage(QWidget *parent, std::string chemin);

  [[nodiscard]] const ReponseImage &reponse() const { return reponse_; }
  /// Stays, after a message, where the size, the room on the disk or the label will not do.
  void accept() override;

 private:
  void montre_blocs();

  std::string chemin_;
  ReponseImage reponse_;
  QLineEdit *label_;
  QSpinBox *taille_;
  QSlider *reglette_;
  QCheckBox *effacer_;
  QCheckBox *hfsplus_;
  QLabel *blocs_;
  QLabel *taille_bloc_;
};

}  // namespace varnion
