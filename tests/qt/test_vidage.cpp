// The dump viewer and the forms of the analyzers, on real images.

#include <QClipboard>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPrinter>
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QStatusTipEvent>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>
#include <QWheelEvent>

#include "app/qt/forme_vidage.hpp"
#include "app/qt/impression_vidage.hpp"
#include "app/qt/travaux.hpp"
#include "fenetre_essai.hpp"
#include "fichiers/mode_copie.hpp"
#include "hfs/creation.hpp"
#include "hfs/extents.hpp"
#include "IO/plateforme.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = "hfs/hformat_800k.hfs";

class Vidage : public FenetrePilotee {
 protected:
  static QString panneau_vidage(QDialog &forme, int rang) {
    return forme.findChild<QLabel *>(QString("Panneau%1").arg(rang))->text();
  }
  static QString texte(QDialog &forme, const char *nom) {
    const auto *champ = forme.findChild<QLineEdit *>(nom);
    return champ != nullptr ? champ->text() : QString("no ") + nom;
  }
  static QString lignes(QDialog &forme) { return forme.findChild<QPlainTextEdit *>("Liste")->toPlainText(); }
  static void touche(QDialog &forme, int touche) {
    QTest::keyClick(forme.findChild<QPlainTextEdit *>("Liste"), static_cast<Qt::Key>(touche));
  }
  void va_a(QDialog & /*vidage*/, const QString &secteur) {
    prevoit("TAllerSecteur", [secteur](QDialog &forme) {
      forme.findChild<QLineEdit *>("Secteur")->setText(secteur);
      forme.accept();
    });
  }
};

TEST_F(Vidage, WalksAndAnalyzesAnImage) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee(kImage)));
  prevoit("TMacDump", [&](QDialog &vidage) {
    EXPECT_EQ(panneau_vidage(vidage, 0), "0");
    EXPECT_EQ(panneau_vidage(vidage, 1), "1599");
    EXPECT_TRUE(vidage.findChild<QLabel *>("Noeuds")->text().startsWith("Catalog nodes: "));
    touche(vidage, Qt::Key_PageDown);
    touche(vidage, Qt::Key_End);
    EXPECT_EQ(panneau_vidage(vidage, 0), "1599");
    touche(vidage, Qt::Key_PageDown);  // beeps
    EXPECT_EQ(panneau_vidage(vidage, 0), "1599");
    agit(vidage, "Prec");
    EXPECT_EQ(panneau_vidage(vidage, 0), "1");
    touche(vidage, Qt::Key_Down);
    EXPECT_EQ(panneau_vidage(vidage, 0), "1");
    touche(vidage, Qt::Key_Up);
    touche(vidage, Qt::Key_Up);
    EXPECT_EQ(panneau_vidage(vidage, 0), "0");
    va_a(vidage, "+2");
    agit(vidage, "Go1");
    EXPECT_TRUE(lignes(vidage).startsWith("00001024  42 44 "));
    agit(vidage, "Hex1");
    EXPECT_TRUE(lignes(vidage).startsWith("00000400  42 44 "));
    EXPECT_EQ(panneau_vidage(vidage, 2), "400");
    agit(vidage, "Dec1");
    QString catalogue;
    prevoit("TFiche", [&](QDialog &fiche) {
      EXPECT_EQ(fiche.windowTitle(), "HFS Descriptor Block");
      EXPECT_EQ(texte(fiche, "cont_sign"), "BD");
      EXPECT_EQ(texte(fiche, "cont_nbrrac"), "20");
      auto *onglets = fiche.findChild<QTabWidget *>();
      ASSERT_NE(onglets, nullptr);
      onglets->setCurrentIndex(3);
      ASSERT_NE(fiche.focusWidget(), nullptr);
      EXPECT_EQ(fiche.focusWidget()->objectName(), "go_poscat1");
      fiche.findChild<QPushButton *>("go_poscat1")->click();
    });
    agit(vidage, "Act1");
    prevoit("TFiche", [&](QDialog &fiche) {
      EXPECT_EQ(fiche.windowTitle(), "B-Tree Header");
      auto *dessine = fiche.findChild<QPushButton *>("AffTree");
      ASSERT_NE(dessine, nullptr);
      dessine->click();
      EXPECT_FALSE(fiche.findChild<QPushButton *>("go_racine")->isEnabled());
      auto *fermer = fiche.findChild<QPushButton *>("Fermer");
      for (int i = 0; i < 400 && !fermer->isEnabled(); ++i) QTest::qWait(5);
      ASSERT_TRUE(fermer->isEnabled());
      const auto *arbre = fiche.findChild<QTreeView *>("Arbre");
      EXPECT_GT(arbre->model()->rowCount(), 0);
      EXPECT_TRUE(fiche.findChild<QPushButton *>("go_racine")->isEnabled());
      fermer->click();
    });
    agit(vidage, "Act1");
    prevoit("TFiche", [&](QDialog &fiche) {
      EXPECT_EQ(texte(fiche, "cont_sign"), "0xAA55");
      fiche.reject();
    });
    agit(vidage, "Comme_mbr");
    prevoit("TFiche", [](QDialog &fiche) { fiche.reject(); });
    agit(vidage, "Comme_gpt-entries");  // none: a form without a tab
    QStatusTipEvent indice("what it does");
    QApplication::sendEvent(vidage.findChild<QMenuBar *>(), &indice);
    EXPECT_EQ(vidage.findChild<QStatusBar *>("DumpBar")->currentMessage(), "what it does");
    vidage.reject();
  });
  lance([&] { execute("AffImage"); });
}

TEST_F(Vidage, SearchesAndSavesAFork) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee(kImage)));
  auto *liste = panneau("LV");
  int plein = 0;
  while (plein < 20 && liste->model()->index(plein, 0).data().toString() != "Dossier 7") ++plein;
  emit liste->activated(liste->model()->index(plein, 0));
  liste->setCurrentIndex(liste->model()->index(0, 0));
  liste->selectionModel()->select(liste->model()->index(0, 0),
                                  QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  const QString cible = bac_.filePath("piece");
  fenetre_->demandes.enregistrer = [&](int, int, const QString &, int) { return cible; };
  prevoit("TMacDump", [&](QDialog &vidage) {
    const QString debut = lignes(vidage).left(76);
    const QString motif = "0x" + debut.mid(10, 5);  // the first two bytes
    const auto cherche = [&](const QString &quoi) {
      prevoit("TChercheVidage", [quoi](QDialog &forme) {
        forme.findChild<QLineEdit *>("Chaine")->setText(quoi);
        forme.accept();
      });
      agit(vidage, "Ch1");
    };
    EXPECT_FALSE(vidage.findChild<QAction *>("Reb1")->isEnabled());
    cherche(motif);
    EXPECT_TRUE(vidage.findChild<QAction *>("Reb1")->isEnabled());
    EXPECT_EQ(panneau_vidage(vidage, 0), "0");
    cherche("no such words in here");
    EXPECT_EQ(messages_.last().toStdString(), "TMessOK: No match found for no such words in here");
    EXPECT_FALSE(vidage.findChild<QAction *>("Reb1")->isEnabled());
    prevoit("TSSegm", [](QDialog &forme) {
      forme.findChild<QRadioButton *>("Data")->setChecked(true);
      forme.findChild<QLineEdit *>("ValDeb")->setText("0");
      forme.findChild<QLineEdit *>("ValFin")->setText("+2");
      forme.findChild<QPushButton *>("Exe1")->click();
      EXPECT_TRUE(forme.isVisible());
      forme.reject();
    });
    agit(vidage, "Act2");
    QFile piece(cible);
    ASSERT_TRUE(piece.open(QIODevice::ReadOnly));
    EXPECT_EQ("0x" + QString(piece.readAll().toHex(' ')), motif);
    agit(vidage, "co1");
    EXPECT_TRUE(QApplication::clipboard()->text().startsWith(debut));
    vidage.reject();
  });
  lance([&] { execute("Aff1"); });
}

TEST_F(Vidage, ComesBackFromTheTreeOfResources) {
  const QString image = bac_.filePath("work.hfs");
  Fichier neuf = plateforme::ouvre(image.toStdString(), Ouverture::creation_neuve);
  ParametresImage parametres;
  parametres.fichier = &neuf;
  parametres.taille_mo = 2;
  ASSERT_TRUE(creation_image(parametres) && neuf.fermer());
  const auto longueur = QFile(image).size();
  ASSERT_TRUE(fenetre_->router_parametre(image.toStdString()));
  mode_copie() = kCopieRessource;
  depose_volume(*fenetre_, {VN_DONNEES "/rsrc/testfile.rsrc"}, 2);
  fenetre_->demandes.enregistrer = [&](int, int, const QString &, int) { return image; };
  prevoit("TMacDump", [&](QDialog &vidage) {
    const auto permises = [&] {
      QString liste;
      for (const char *nom : {"Go1", "Ch1", "Hom", "Fin", "Prec"})
        if (vidage.findChild<QAction *>(nom)->isEnabled()) liste += nom;
      return liste;
    };
    agit(vidage, "Arb");
    EXPECT_EQ(permises(), "");
    auto *arbre = vidage.findChild<QTreeWidget *>("RessTV");
    arbre->expandAll();
    QWheelEvent cran({5, 5}, arbre->viewport()->mapToGlobal(QPointF(5, 5)), {}, {0, -240}, Qt::NoButton, {},
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(arbre->viewport(), &cran);
    EXPECT_TRUE(arbre->currentItem()->text(0).startsWith("id=0x0"))
        << arbre->currentItem()->text(0).toStdString();
    emit arbre->itemActivated(arbre->currentItem(), 0);
    const QStringList octets = vidage.findChild<QPlainTextEdit *>("ListArb")->toPlainText().split('\n');
    EXPECT_EQ(octets.last().mid(10, 48).count(' '), 16) << octets.last().toStdString();  // a row of 16
    agit(vidage, "co1");
    EXPECT_EQ(QApplication::clipboard()->text(), octets.join('\n'));
    prevoit("TPropFichier", [](QDialog &forme) {
      auto *nom = forme.findChild<QLineEdit *>("Nom");
      nom->selectAll();
      QTest::keyClicks(nom, "renamed");
      forme.findChild<QPushButton *>("OK")->click();
    });
    agit(vidage, "Att1");
    EXPECT_TRUE(vidage.windowTitle().startsWith("renamed (")) << vidage.windowTitle().toStdString();
    prevoit("TSSegm", [](QDialog &forme) {
      forme.findChild<QPushButton *>("Exe1")->click();
      forme.reject();
    });
    agit(vidage, "Act2");
    EXPECT_TRUE(messages_.last().contains("is open in this window")) << messages_.last().toStdString();
    prevoit("TFiche", [](QDialog &fiche) {
      for (auto *bouton : fiche.findChildren<QPushButton *>())
        if (bouton->objectName().startsWith("go_") && bouton->isEnabled()) return bouton->click();
      ADD_FAILURE() << "no button leads on";
    });
    agit(vidage, "Comme_btree-leaf");
    EXPECT_EQ(permises(), "Go1Ch1HomFinPrec");
    EXPECT_TRUE(vidage.findChild<QAction *>("Ress")->isChecked());
    EXPECT_FALSE(vidage.findChild<QAction *>("Arb")->isChecked());
    vidage.reject();
  });
  lance([&] { execute("Aff1"); });
  EXPECT_EQ(QFile(image).size(), longueur);
}

TEST(ImpressionVidage, BeginsAPageWhenOneIsFull) {
  QTemporaryDir bac;
  const auto pages = [&](int nombre) {
    QPrinter imprimante(QPrinter::HighResolution);
    imprimante.setOutputFormat(QPrinter::PdfFormat);
    imprimante.setOutputFileName(bac.filePath("page.pdf"));
    QStringList lignes;
    for (int i = 0; i < nombre; ++i) lignes << QString("line %1").arg(i);
    return dessine_lignes(imprimante, "title", lignes);
  };
  EXPECT_EQ(pages(34), 1);
  EXPECT_GE(pages(400), 5);
}

}  // namespace
}  // namespace varnion
