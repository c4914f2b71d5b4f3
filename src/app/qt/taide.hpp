#pragma once

#include <QMainWindow>
#include <QPointer>

#include "app/qt/pages_aide.hpp"

class QAction;
class QLabel;
class QLineEdit;
class QTabWidget;
class QTextBrowser;
class QTreeWidget;
class QTreeWidgetItem;

namespace varnion {

/// The help window: contents, index and search at the left, the page at the right. It follows the language of
/// the program and answers beside modal dialogs.
class TAide final : public QMainWindow {
 public:
  explicit TAide(QWidget *parent);

  void montre_sujet(int sujet);
  void montre_index();
  void montre_recherche();
  /// Address of the page shown, "page.html" or "page.html#t1101".
  [[nodiscard]] QString adresse() const;
  /// Makes the window one of `modale`'s, so that input reaches it; nullptr: the main window's again.
  void suit(QWidget *modale);
  /// The same page in the language in force.
  void suit_langue();

 private:
  void construit_barre();
  void construit_volets();
  QWidget *construit_page();
  QAction *ajoute_action(int texte, const char *nom, QIcon icone, const QKeySequence &touche);
  QTreeWidget *ajoute_volet(int titre, const char *nom, QLineEdit *champ, const QString &nom_champ);
  void retraduit();
  void remplit();
  void va(const QString &adresse);
  void suit_page(const QUrl &page);
  void filtre_index(const QString &debut);
  void lance_recherche();
  void trouve(bool arriere);
  void imprime();
  void vient_devant();

  int base_;
  QTextBrowser *texte_ = nullptr;
  QTabWidget *volets_ = nullptr;
  QTreeWidget *sommaire_ = nullptr;
  QTreeWidget *index_ = nullptr;
  QTreeWidget *trouves_ = nullptr;
  QLineEdit *champ_index_ = nullptr;
  QLineEdit *champ_recherche_ = nullptr;
  QLabel *compte_ = nullptr;
  QWidget *bande_ = nullptr;  ///< find in page
  QLineEdit *champ_page_ = nullptr;
  QLabel *absent_ = nullptr;
};

}  // namespace varnion
