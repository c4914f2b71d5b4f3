// The editor of signature files, on a file of both languages.

#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>

#include "app/qt/texte_qt.hpp"
#include "fenetre_essai.hpp"

namespace varnion {
namespace {

const QByteArray kAnglais =
    "# a table\r\ntxt,TEXTttxt,Plain text\r\njpg,JPEG8BIM,Picture\r\nhqx,TEXTSITx,BinHex\r\n";
const QByteArray kFrancais = "#[1]\r\ntxt,TEXTttxt,Texte seul\r\n# une remarque\r\njpg,JPEG8BIM,Image\r\n";

class EditeurSignatures : public FenetrePilotee {
 protected:
  void SetUp() override {
    FenetrePilotee::SetUp();
    chemin_ = fichier("table.sig", kAnglais + kFrancais);
    reglages().signatures = chemin_.toStdString();
  }
  QByteArray relu() {
    QFile fichier(chemin_);
    EXPECT_TRUE(fichier.open(QIODevice::ReadOnly));
    return fichier.readAll();
  }
  static QTreeView *liste(QDialog &forme) { return forme.findChild<QTreeView *>("ListeSignatures"); }
  static QString cellule(QDialog &forme, int ligne, int colonne) {
    return liste(forme)->model()->index(ligne, colonne).data().toString();
  }
  static void choisit(QDialog &forme, int ligne) {
    liste(forme)->selectionModel()->select(liste(forme)->model()->index(ligne, 0),
                                           QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  }
  void saisit(const char *extension, const char *type, const char *createur, const char *commentaire) {
    prevoit("TSignItem", [=](QDialog &item) {
      item.findChild<QLineEdit *>("EditExt")->setText(extension);
      item.findChild<QLineEdit *>("EditType")->setText(type);
      item.findChild<QLineEdit *>("EditCrea")->setText(createur);
      item.findChild<QLineEdit *>("EditComm")->setText(commentaire);
      item.accept();
    });
  }

  QString chemin_;
};

TEST_F(EditeurSignatures, RowsAreEditedAndTheOtherLanguageStays) {
  prevoit("TSignEdit", [&](QDialog &forme) {
    EXPECT_EQ(liste(forme)->model()->rowCount(), 3);
    saisit("zip", "Zip", "", "Archive, packed");
    agit(forme, "SigAjouter");
    EXPECT_EQ(cellule(forme, 3, 1), "Zip ");
    EXPECT_EQ(cellule(forme, 3, 2), "????");
    choisit(forme, 1);
    saisit("jpeg", "JPEG", "ogle", "A picture");
    agit(forme, "SigModifier");
    EXPECT_EQ(cellule(forme, 1, 3), "A picture");
    agit(forme, "SigMonter");
    agit(forme, "SigMonter");  // beeps
    EXPECT_EQ(cellule(forme, 0, 0), "jpeg");
    choisit(forme, 2);
    agit(forme, "SigCouper");
    EXPECT_EQ(QApplication::clipboard()->text(), "hqx\r\nTEXT\r\nSITx\r\nBinHex\r\n");
    agit(forme, "SigColler");
    EXPECT_EQ(cellule(forme, 3, 0), "hqx");
    EXPECT_TRUE(forme.isWindowModified());
    agit(forme, "SigEnregistrer");
    EXPECT_FALSE(forme.isWindowModified());
    agit(forme, "SigQuitter");
  });
  lance([&] { execute("Sign1"); });
  const QByteArray attendu =
      "# a table\r\njpeg,JPEGogle,A picture\r\ntxt,TEXTttxt,Plain text\r\nzip,Zip ????,Archive, packed\r\n"
      "hqx,TEXTSITx,BinHex\r\n";
  EXPECT_EQ(relu().toStdString(), (attendu + kFrancais).toStdString());
  QFile sauvegarde(bac_.filePath("table.BAK"));
  ASSERT_TRUE(sauvegarde.open(QIODevice::ReadOnly));
  EXPECT_EQ(sauvegarde.readAll().toStdString(), (kAnglais + kFrancais).toStdString());
}

TEST_F(EditeurSignatures, ItSortsAndAsksBeforeItForgets) {
  prevoit("TSignEdit", [&](QDialog &forme) {
    emit liste(forme)->header()->sectionClicked(0);
    EXPECT_EQ(cellule(forme, 0, 0), "hqx");
    emit liste(forme)->header()->sectionClicked(0);
    EXPECT_EQ(cellule(forme, 0, 0), "txt");
    emit liste(forme)->header()->sectionClicked(0);
    EXPECT_EQ(cellule(forme, 0, 0), "hqx");
    prevoit("TMessON", [](QDialog &question) { question.reject(); });
    forme.reject();
  });
  lance([&] { execute("Sign1"); });
  EXPECT_EQ(relu().toStdString(), (kAnglais + kFrancais).toStdString());
}

TEST_F(EditeurSignatures, FrenchRowsAreThoseOfTheSecondSection) {
  execute("Fr1");
  prevoit("TSignEdit", [&](QDialog &forme) {
    ASSERT_EQ(liste(forme)->model()->rowCount(), 2);
    EXPECT_EQ(cellule(forme, 1, 3), "Image");
    choisit(forme, 0);
    agit(forme, "SigCouper");
    agit(forme, "SigQuitter");
  });
  lance([&] { execute("Sign1"); });
  EXPECT_TRUE(relu().startsWith(kAnglais));
  EXPECT_TRUE(relu().contains("jpg,JPEG8BIM,Image"));
  EXPECT_FALSE(relu().contains("Texte seul"));
}

}  // namespace
}  // namespace varnion
