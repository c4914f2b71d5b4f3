#pragma once

#include <QDialog>

class QCheckBox;
class QDialogButtonBox;

namespace varnion {

/// The message forms: a text with one button to three, and the box that keeps the answer where it is wanted.
class FormeMessage final : public QDialog {
 public:
  enum class Genre { information, erreur, question };
  /// What `exec` gives for the button `tiers`; the others are Accepted and Rejected.
  static constexpr int kTiers = 2;
  struct Choix {
    Genre genre = Genre::information;
    bool toujours = false;  ///< with the box 1042
    int duree = 0;          ///< milliseconds until it closes by itself, 0 never
    bool prudent = false;   ///< a question: Enter gives the refusal
    // String ids of the buttons of a question.
    int oui = 1043;
    int tiers = 0;  ///< destroys something: nothing but a click gives it; 0 none
    int non = 1044;
  };
  /// `nom`: the form's design name. `texte`: plain text.
  FormeMessage(QWidget *parent, const QString &nom, const QString &texte, const Choix &choix);

  [[nodiscard]] bool toujours() const;

 private:
  void pose_question(QDialogButtonBox &boutons, const Choix &choix);

  QCheckBox *toujours_ = nullptr;
};

}  // namespace varnion
