#pragma once

#include <QDialog>

class QCheckBox;

namespace varnion {

/// The message forms: a text with one button or two, and the box that keeps the answer where it is wanted.
class FormeMessage final : public QDialog {
 public:
  enum class Genre { information, erreur, question };
  struct Choix {
    Genre genre = Genre::information;
    bool toujours = false;  ///< with the box 1042
    int duree = 0;          ///< milliseconds until it closes by itself, 0 never
  };
  /// `nom`: the form's design name. `texte`: plain text.
  FormeMessage(QWidget *parent, const QString &nom, const QString &texte, const Choix &choix);

  [[nodiscard]] bool toujours() const;

 private:
  QCheckBox *toujours_ = nullptr;
};

}  // namespace varnion
