// The window of a disc's root, laid out in its form.

#include <utility>

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QLineEdit>
#include <QMouseEvent>
#include <QProcess>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QTreeWidget>

#include "app/qt/ecran_ds.hpp"
#include "fenetre_essai.hpp"
#include "finder/fenetre_racine.hpp"

namespace varnion {
namespace {

class FormeDs : public Fenetre {
 protected:
  void SetUp() override {
    Fenetre::SetUp();
    projet_ = bac_.filePath("disc.vnpr");
    QDir(bac_.path()).mkpath("tree/Folder");
    fichier("tree/Read Me", "text");
    fichier("tree/Folder/inside", "text");
    QImage fond(640, 480, QImage::Format_RGB32);
    fond.fill(Qt::darkCyan);
    ASSERT_TRUE(fond.save(bac_.filePath("back.png")));
    for (const char *nom : {"tree/Read Me", "tree/Folder"})
      ASSERT_EQ(QProcess::execute(VN_PROGRAMME, {"/I", projet_, bac_.filePath(nom)}), 0);
    ASSERT_EQ(QProcess::execute(VN_PROGRAMME, {"/L", projet_, "My Disc"}), 0);
    ASSERT_TRUE(fenetre_->router_parametre(projet_.toStdString()));
    fenetre_->demandes.enregistrer = [this](int, int, const QString &, int) {
      return bac_.filePath("window.ds");
    };
    fenetre_->demandes.ouvrir = [this](int, int, const QString &) { return bac_.filePath("back.png"); };
  }
  // Runs the command; `travail` works in the form once it shows. Other dialogs are answered as they come.
  void conduit(const std::function<void(QDialog &)> &travail) {
    minuterie_.stop();
    bool vue = false;
    QTimer conduite;
    QObject::connect(&conduite, &QTimer::timeout, [&] {
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      if (forme == nullptr) return;
      if (forme->objectName() != "TDS_Store") return repond();
      if (!std::exchange(vue, true)) travail(*forme);
    });
    conduite.start(5);
    execute("dsstor");
    EXPECT_TRUE(vue);
    minuterie_.start(5);
  }
  template <typename T>
  static T *champ(QDialog &forme, const char *nom) {
    T *trouve = forme.findChild<T *>(nom);
    EXPECT_NE(trouve, nullptr) << nom;
    return trouve;
  }
  FenetreRacine relue() { return ouvre_fenetre_racine(*fenetre_->projet()); }

  QString projet_;
};

TEST_F(FormeDs, KeepsWhatWasLaidOut) {
  conduit([&](QDialog &forme) {
    champ<QSpinBox>(forme, "Gauche")->setValue(120);
    EXPECT_EQ(champ<QSpinBox>(forme, "Droite")->value(), 470);
    champ<QPushButton>(forme, "browse")->click();
    EXPECT_EQ(champ<QSpinBox>(forme, "Largeur")->value(), 640);
    EXPECT_EQ(champ<QSpinBox>(forme, "Hauteur")->value(), 480);
    champ<QComboBox>(forme, "TailleIcone")->setCurrentIndex(7);
    champ<QComboBox>(forme, "TailleTexte")->setCurrentIndex(3);
    champ<QSlider>(forme, "Espacement")->setValue(0);
    auto *liste = champ<QTreeWidget>(forme, "ListeElements");
    ASSERT_EQ(liste->topLevelItemCount(), 2);
    const QString premier = liste->topLevelItem(0)->text(0);
    EXPECT_EQ(liste->topLevelItem(0)->text(1), "77");
    EXPECT_EQ(liste->topLevelItem(1)->text(1), QString::number(77 + 146));
    liste->setCurrentItem(liste->topLevelItem(0));
    EXPECT_FALSE(champ<QPushButton>(forme, "Monter")->isEnabled());
    champ<QPushButton>(forme, "Descendre")->click();
    EXPECT_EQ(liste->topLevelItem(1)->text(0), premier);
    champ<QPushButton>(forme, "Modifier")->click();
    champ<QSpinBox>(forme, "PositionH")->setValue(333);
    champ<QSpinBox>(forme, "PositionV")->setValue(222);
    champ<QPushButton>(forme, "valid")->click();
  });
  EXPECT_TRUE(messages_.join("\n").contains("Mac OS Extended"));
  EXPECT_EQ(QFileInfo(bac_.filePath("window.ds")).size(), static_cast<qint64>(kTailleDsStore));
  const FenetreRacine fenetre = relue();
  EXPECT_TRUE(fenetre.lue);
  EXPECT_EQ(fenetre.valeurs.rect, (RectEcran{120, 100, 760, 580}));
  EXPECT_EQ(fenetre.valeurs.taille_icone, 7);
  EXPECT_EQ(fenetre.valeurs.taille_texte, 3);
  EXPECT_EQ(fenetre.valeurs.espacement, 0);
  EXPECT_TRUE(fenetre.valeurs.image.ends_with("/back.png"));
  ASSERT_EQ(fenetre.valeurs.elements.size(), 2U);
  int deplaces = 0;
  for (const ElementFenetre &element : fenetre.valeurs.elements)
    deplaces += element.x == 333 && element.y == 222 ? 1 : 0;
  EXPECT_EQ(deplaces, 1);
}

TEST_F(FormeDs, AnOpenPaneFollowsTheGrid) {
  fenetre_->demandes.enregistrer = [this](int, int, const QString &, int) { return projet_; };
  const auto longueur = QFileInfo(projet_).size();
  conduit([&](QDialog &forme) {
    auto *liste = champ<QTreeWidget>(forme, "ListeElements");
    liste->setCurrentItem(liste->topLevelItem(0));
    champ<QPushButton>(forme, "Modifier")->click();
    champ<QComboBox>(forme, "TailleTexte")->setCurrentIndex(3);
    champ<QSlider>(forme, "Espacement")->setValue(0);
    champ<QComboBox>(forme, "TailleIcone")->setCurrentIndex(7);
    EXPECT_EQ(champ<QSpinBox>(forme, "PositionH")->value(), 77);
    champ<QPushButton>(forme, "EnregistrerElement")->click();
    EXPECT_EQ(liste->topLevelItem(0)->text(1), "77");
    // Return behind a picture that is not there does not take the form.
    auto *image = champ<QLineEdit>(forme, "Image");
    image->setFocus();
    image->setText(bac_.filePath("none.png"));
    QTimer reponse;
    QObject::connect(&reponse, &QTimer::timeout, [&] {
      if (QApplication::activeModalWidget() != &forme) repond();
    });
    reponse.start(5);
    QTest::keyClick(image, Qt::Key_Return);
    reponse.stop();
    EXPECT_TRUE(forme.isVisible());
    EXPECT_EQ(image->text(), "");
    QApplication::processEvents();
    champ<QPushButton>(forme, "valid")->click();
  });
  EXPECT_TRUE(messages_.last().contains("is open in this window")) << messages_.last().toStdString();
  EXPECT_GE(QFileInfo(projet_).size(), longueur);
}

TEST_F(FormeDs, TheMouseMovesAndStretchesTheWindow) {
  conduit([&](QDialog &forme) {
    auto *ecran = champ<EcranDs>(forme, "Ecran");
    const auto tire = [&](QPoint de, QPoint a) {
      QTest::mousePress(ecran, Qt::LeftButton, {}, de);
      QMouseEvent bouge(QEvent::MouseMove, a, ecran->mapToGlobal(a), Qt::NoButton, Qt::LeftButton, {});
      QApplication::sendEvent(ecran, &bouge);
      QTest::mouseRelease(ecran, Qt::LeftButton, {}, a);
    };
    tire({60, 60}, {70, 50});  // inside: 40 pixels right and up on the screen
    EXPECT_EQ(champ<QSpinBox>(forme, "Gauche")->value(), 140);
    EXPECT_EQ(champ<QSpinBox>(forme, "Haut")->value(), 60);
    EXPECT_EQ(champ<QSpinBox>(forme, "Largeur")->value(), 350);
    const int droite = champ<QSpinBox>(forme, "Droite")->value() / kEchelleDessin;
    tire({droite - 2, 50}, {droite + 23, 50});
    EXPECT_EQ(champ<QSpinBox>(forme, "Gauche")->value(), 140);
    EXPECT_EQ(champ<QSpinBox>(forme, "Largeur")->value(), 450);
    champ<QPushButton>(forme, "Annuler")->click();
  });
  EXPECT_FALSE(relue().lue);
}

}  // namespace
}  // namespace varnion
