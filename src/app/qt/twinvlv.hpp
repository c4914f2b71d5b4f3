#pragma once

#include <string>
#include <vector>

#include "app/qt/forme.hpp"
#include "app/qt/modele_pc.hpp"

class QLabel;
class QTreeView;

namespace varnion {

class OperationsQt;

/// The browser of the PC: files and folders to be copied to the volume. It opens at the folder it was left
/// at (`WReper`), with its size, columns and order (`WinVLV`).
class TWinVLV final : public Forme {
 public:
  TWinVLV(QWidget *parent, OperationsQt &operations);

  /// Paths in working text, in the order of the list.
  [[nodiscard]] const std::vector<std::string> &choisis() const { return choisis_; }
  /// False, after a message, when the folder cannot be read.
  bool va(const QString &dossier);
  /// Stays, after a message, when the selection has no room on the volume (1156, 1157).
  void accept() override;
  void done(int resultat) override;

 protected:
  bool eventFilter(QObject *cible, QEvent *evenement) override;
  void keyPressEvent(QKeyEvent *evenement) override;

 private:
  void construit();
  void restaure();
  void retient() const;
  void monte();
  void ouvre(const QModelIndex &index);
  void chemin_tape();
  void montre_nombre();
  [[nodiscard]] QStringList selection() const;

  OperationsQt &operations_;
  ModelePc *modele_;
  QTreeView *liste_;
  QLineEdit *chemin_;
  QLabel *nombre_;
  QString dossier_;
  std::vector<std::string> choisis_;
};

}  // namespace varnion
