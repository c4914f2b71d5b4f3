#include <gtest/gtest.h>

#include <thread>

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "fenetre_essai.hpp"
#include "IO/etat.hpp"
#include "projet/arborescence.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = "hfs/hformat_800k.hfs";

TEST_F(Fenetre, ShowsTheCommandsOfTheMode) {
  for (const char *bascule : {"ModePart1", "ModeIsop1", "ModeProj1"}) {
    execute(bascule);
    const int mode = fenetre_->mode();
    EXPECT_EQ(mode, commande_nommee(bascule)->valeur);
    for (const Commande &commande : commandes()) {
      const QAction *ici = action(commande.nom);
      ASSERT_EQ(ici != nullptr, commande.faite()) << commande.nom;
      if (ici == nullptr || commande.operation == Operation::recent) continue;
      EXPECT_EQ(ici->isVisible(), commande.montree(mode)) << commande.nom << " in " << mode;
    }
    EXPECT_EQ(fenetre_->findChild<QWidget *>("PB")->isVisible(), mode != kModePartition);
    EXPECT_EQ(fenetre_->findChild<QWidget *>("BarrePart")->isVisible(), mode == kModePartition);
    EXPECT_EQ(fenetre_->findChild<QMenu *>("Partitions1")->menuAction()->isVisible(), mode == kModePartition);
  }
  EXPECT_EQ(fenetre_->findChild<QMenu *>("PopPart")->defaultAction(), action("AttrPart"));
  EXPECT_EQ(panneau("LV")->palette().color(QPalette::Base), QColor(0xFE, 0xFC, 0xF6));
  execute("ChangementMode");
  EXPECT_EQ(fenetre_->mode(), kModePartition);
}

TEST_F(Fenetre, LanguageChangesAtOnce) {
  EXPECT_EQ(action("Ouvrir1")->text(), "&Open...");
  EXPECT_EQ(texte_panneau(0), "View: HYBRID");
  execute("Fr1");
  EXPECT_EQ(action("Ouvrir1")->text(), vers_qt(charger_chaine(2002)));
  EXPECT_NE(action("Ouvrir1")->text(), "&Open...");
  EXPECT_EQ(texte_panneau(0), QString::fromUtf8("Vue\u00A0: HYBRIDE"));
  EXPECT_TRUE(action("Fr1")->isChecked());
  EXPECT_FALSE(action("En2")->isChecked());
  EXPECT_EQ(panneau("LV")->model()->headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), "Nom");
  execute("En2");
  EXPECT_EQ(action("Ouvrir1")->text(), "&Open...");
}

TEST_F(Fenetre, WalksAVolume) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee(kImage)));
  EXPECT_EQ(fenetre_->mode(), kModePartition);
  EXPECT_EQ(fenetre_->windowTitle(), "hformat_800k.hfs [Varnion]");
  EXPECT_EQ(texte_panneau(2), "Folders: 20");
  EXPECT_EQ(texte_panneau(3), "Files: 0");
  EXPECT_FALSE(action("PerePart")->isEnabled());
  auto *liste = panneau("LV");
  int plein = 0;
  while (plein < 20 && liste->model()->index(plein, 0).data().toString() != "Dossier 7") ++plein;
  emit liste->activated(liste->model()->index(plein, 0));
  EXPECT_EQ(texte_panneau(3), "Files: 25");
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Dossier 7");
  EXPECT_TRUE(action("PerePart")->isEnabled());
  execute("SAll");
  EXPECT_EQ(liste->selectionModel()->selectedRows().size(), 25);
  EXPECT_TRUE(action("Mac2PC")->isEnabled());
  execute("Inv");
  EXPECT_EQ(liste->selectionModel()->selectedRows().size(), 0);
  execute("F5");
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Dossier 7");
  execute("PerePart");
  EXPECT_EQ(texte_panneau(2), "Folders: 20");
  ASSERT_EQ(reglages().recents[1].size(), 1U);
  execute("Fermer2");
  EXPECT_EQ(fenetre_->windowTitle(), "Varnion");
  EXPECT_EQ(liste->model()->rowCount(), 0);
  execute("R21");
  EXPECT_TRUE(fenetre_->document_ouvert());
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
}

TEST_F(Fenetre, TellsWhyADocumentDoesNotOpen) {
  const struct {
    const char *nom;
    QByteArray octets;
    const char *message;
  } cas[] = {
      {"a.txt", "text", "is not managed by Varnion."},
      {"vide.hfs", "", "Null length file."},
      {"bruit.hfs", QByteArray(40960, 'q'), "doesn't contain a valid HFS partition."},
      {"faux.vnpr", QByteArray(756, 'x'), "is not recognized as a project file"},
      {"faux.vnso", QByteArray(756, 'x'), "is not recognized as a project file"},
  };
  for (const auto &[nom, octets, attendu] : cas) {
    messages_.clear();
    EXPECT_FALSE(fenetre_->router_parametre(de_qt(fichier(nom, octets)))) << nom;
    ASSERT_EQ(messages_.size(), 1) << nom;
    EXPECT_TRUE(messages_[0].startsWith("TMessOK") && messages_[0].contains(attendu))
        << messages_[0].toStdString();
    EXPECT_EQ(panneau("LV")->model()->rowCount(), 0);
    EXPECT_EQ(fenetre_->mode(), kModeProjet);
    EXPECT_TRUE(vers_qt(fenetre_->chemin_document()).endsWith("/vnpr.vnpr"));
  }
}

TEST_F(Fenetre, SwitchesTheViewOfAProject) {
  const QString chemin = bac_.filePath("essai.vnpr");
  fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
  execute("Nouveau1");
  ASSERT_EQ(fenetre_->chemin_document(), de_qt(chemin));
  execute("Fermer1");
  {
    auto projet = FichierProjet::ouvre(de_qt(chemin), ModeProjet::hybride);
    ASSERT_TRUE(projet);
    const std::uint32_t commun = ajout_dossier_virtuel(*projet, "Both");
    projet->vue_courante(kVueHfs);
    projet->dossier_courant(commun);
    ASSERT_NE(ajout_dossier_virtuel(*projet, "Mac"), 0U);
    ASSERT_TRUE(projet->sauvegarde_entete());
  }
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(chemin)));
  EXPECT_EQ(texte_panneau(2), "Folders: 1");
  auto *liste = panneau("LV");
  emit liste->activated(liste->model()->index(0, 0));
  emit liste->activated(liste->model()->index(0, 0));
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Mac");
  // The folder is not in the ISO view: the nearest above that is.
  execute("VI1");
  EXPECT_EQ(texte_panneau(0), "View: ISO");
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Both");
  EXPECT_EQ(texte_panneau(4), "Empty folder");
  execute("ModeVue");
  EXPECT_EQ(texte_panneau(0), "View: HYBRID");
  EXPECT_EQ(liste->model()->rowCount(), 1);
  EXPECT_TRUE(action("Enregistrer1")->isEnabled());
  execute("Enregistrer1");
  execute("ModeIsop1");
  EXPECT_FALSE(fenetre_->document_ouvert());
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
}

TEST_F(Fenetre, KeepsWindowAndColumns) {
  const QString defaut = bac_.filePath("Tarrowby/Varnion/vnpr.vnpr");
  EXPECT_TRUE(QFileInfo::exists(defaut));
  EXPECT_FALSE(action("Enregistrer1")->isEnabled());
  fenetre_->resize(820, 520);
  panneau("LV")->setColumnWidth(1, 133);
  panneau("LV")->setColumnHidden(6, true);
  execute("Fr1");
  execute("Quitter1");
  EXPECT_FALSE(fenetre_->isVisible());
  EXPECT_FALSE(QFileInfo::exists(defaut));
  fenetre_.reset();
  lire_options(false);
  ouvre_fenetre();
  EXPECT_EQ(fenetre_->size(), QSize(820, 520));
  EXPECT_EQ(panneau("LV")->columnWidth(1), 133);
  EXPECT_TRUE(panneau("LV")->isColumnHidden(6));
  EXPECT_EQ(base_langue(), kLangueFrancais);
}

TEST_F(Fenetre, AsksWithTheBoxThatKeepsTheAnswer) {
  EXPECT_EQ(operations_->demander_oui_non("a"), 1);
  EXPECT_EQ(operations_->demander_tous("b"), 1);
  accepte_ = false;
  EXPECT_EQ(operations_->demander_oui_non("c"), 0);
  EXPECT_EQ(operations_->demander_tous("d"), 0);
  std::string nom(40, 'n');
  EXPECT_FALSE(operations_->demander_nom("long", nom, 31));
  accepte_ = true;
  EXPECT_TRUE(operations_->demander_nom("long", nom, 31));
  EXPECT_EQ(nom, std::string(31, 'n'));
  EXPECT_EQ(messages_, QStringList({"TMessON: a", "TMessONT: b", "TMessON: c", "TMessONT: d",
                                    "TTTronq: ", "TTTronq: "}));
}

TEST_F(Fenetre, ExpandsACompressedImageAndHidesWhatIsHidden) {
  const QString copie = bac_.filePath("copie.hfs");
  fenetre_->demandes.enregistrer = [copie](int titre, int, const QString &, int) {
    EXPECT_EQ(titre, 1504);
    return copie;
  };
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee("dmg/impluse-test-disk.dmg")));
  // Expand it, save it, and its only table of blocks is read in the published way.
  EXPECT_EQ(messages_.size(), 3) << messages_.join("|").toStdString();
  EXPECT_EQ(fenetre_->chemin_document(), de_qt(copie));
  EXPECT_EQ(QFileInfo(copie).size(), 10 << 20);
  EXPECT_FALSE(fenetre_->findChild<QWidget *>("PB")->isVisible());
  const int montres = panneau("LV")->model()->rowCount();
  EXPECT_EQ(montres, 3);
  etat<OptionsProgramme>().options |= 0x100;
  execute("F5");
  EXPECT_GT(panneau("LV")->model()->rowCount(), montres);
  // Given up at the question, the one before stays.
  messages_.clear();
  accepte_ = false;
  EXPECT_FALSE(fenetre_->router_parametre(copie_donnee("dmg/impluse-test-disk.dmg")));
  EXPECT_EQ(messages_.size(), 1);
  EXPECT_EQ(fenetre_->windowTitle(), "copie.hfs [Varnion]");
}

TEST_F(Fenetre, EscReachesTheWorkInHandAndNothingElseDoes) {
  const auto tape = [this](int touche) {
    QApplication::postEvent(fenetre_.get(), new QKeyEvent(QEvent::KeyPress, touche, Qt::ControlModifier));
    QTest::qWait(110);
  };
  {
    const Attente attente;
    EXPECT_FALSE(operations_->arret_demande());
    tape(Qt::Key_M);
    execute("ModePart1");
    EXPECT_FALSE(fenetre_->close());
    EXPECT_EQ(fenetre_->mode(), kModeProjet);
    tape(Qt::Key_Escape);
    EXPECT_TRUE(operations_->arret_demande());
    EXPECT_TRUE(operations_->arret_demande());
    // The answer to the question settles it.
    EXPECT_EQ(operations_->demander_oui_non("stop?"), 1);
    EXPECT_FALSE(operations_->arret_demande());
  }
  EXPECT_EQ(QApplication::overrideCursor(), nullptr);
  execute("ModePart1");
  EXPECT_EQ(fenetre_->mode(), kModePartition);
}

TEST_F(Fenetre, MessagesOfAWorkerWaitForTheirAnswer) {
  int reponse = 0;
  QString etat;
  QObject::connect(operations_.get(), &OperationsQt::etat, [&etat](const QString &texte) { etat = texte; });
  std::thread ouvrier([this, &reponse] {
    operations_->afficher_etat("one", "two");
    reponse = operations_->demander_tous("worker?");
  });
  EXPECT_TRUE(QTest::qWaitFor([&reponse] { return reponse != 0; }, 2000));
  ouvrier.join();
  EXPECT_EQ(reponse, 1);
  EXPECT_EQ(etat, "one two");
  EXPECT_EQ(messages_, QStringList("TMessONT: worker?"));
}

}  // namespace
}  // namespace varnion
