#pragma once

#include <QDialog>
#include <QString>

class QAbstractButton;
class QDialogButtonBox;
class QFormLayout;
class QGroupBox;
class QLineEdit;
class QVBoxLayout;

namespace varnion {

/// What the dialogs share: the title, a column for the content, the row of buttons with the help button. Esc
/// and the close button of the window give up; Enter takes.
class Forme : public QDialog {
 public:
  /// `nom`: the form's design name, its objectName. `titre`: string id, 0 none. `sujet`: help topic without
  /// its language, 0 no help button.
  Forme(QWidget *parent, const char *nom, int titre, int sujet);

  /// The column above the buttons.
  [[nodiscard]] QVBoxLayout *corps() const { return corps_; }
  /// The button that takes (default id 1001 "&OK") and the one that gives up (1002 "&Cancel"); 0 leaves one
  /// out. Called once, when the content stands.
  void boutons(int accepter = 1001, int refuser = 1002);
  [[nodiscard]] QDialogButtonBox *rangee() const { return rangee_; }
  [[nodiscard]] QAbstractButton *bouton_accepter() const { return accepter_; }
  [[nodiscard]] QAbstractButton *bouton_refuser() const { return refuser_; }
  /// One button more, string id, at the left of the others.
  QAbstractButton *bouton(int legende, const char *nom);

 private:
  int sujet_;
  QVBoxLayout *corps_;
  QDialogButtonBox *rangee_;
  QAbstractButton *accepter_ = nullptr;
  QAbstractButton *refuser_ = nullptr;
};

/// A group box titled by a string, with a form layout; added to a column.
QFormLayout *groupe_champs(QVBoxLayout *colonne, int titre);
/// A text that may be read and copied, not changed, for rows of properties.
[[nodiscard]] QWidget *texte_fixe(const QString &texte, const char *nom);

}  // namespace varnion
