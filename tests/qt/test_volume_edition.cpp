#include <gtest/gtest.h>

#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <deque>
#include <functional>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "fenetre_essai.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/operations_catalogue.hpp"
#include "hfs/ouverture.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "projet/noms_rubrique.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

// The mounted volume changed from the window, every form answered by its own controls.
class Edition : public Fenetre {
 protected:
  using Geste = std::function<void(QDialog &)>;

  void SetUp() override {
    Fenetre::SetUp();
    minuterie_.stop();
    execute("ModePart1");
    QObject::connect(&pilote_, &QTimer::timeout, [this] { guette(); });
    pilote_.start(5);
  }
  void TearDown() override {
    EXPECT_TRUE(etapes_.empty()) << "never shown: " << (etapes_.empty() ? "" : etapes_.front().first);
    pilote_.stop();
    Fenetre::TearDown();
  }
  /// The next form to show, and what is done at it.
  void attend(const char *forme, Geste geste) { etapes_.emplace_back(forme, std::move(geste)); }
  void attend_message(const char *forme, int chaine, const char *bouton) {
    attend(forme, [=](QDialog &montree) {
      const QString debut = chaine_qt(chaine).section('\n', 0, 0).section('%', 0, 0).trimmed();
      const QString texte = montree.findChild<QLabel *>("texte")->text();
      EXPECT_TRUE(texte.startsWith(debut)) << chaine << ": " << texte.toStdString();
      clique(montree, bouton);
    });
  }
  static void clique(QDialog &forme, const char *bouton) {
    auto *trouve = forme.findChild<QAbstractButton *>(bouton);
    ASSERT_NE(trouve, nullptr) << bouton;
    ASSERT_TRUE(trouve->isEnabled()) << bouton;
    trouve->click();
  }
  static Geste tape(const QString &nom, const char *bouton = "OK") {
    return [=](QDialog &forme) {
      forme.findChild<QLineEdit *>("EditNom")->setText(nom);
      clique(forme, bouton);
    };
  }
  // Makes an image through the dialog.
  QString cree(const char *nom, bool hfsplus, int taille = 5, const QString &label = "Essai") {
    const QString chemin = bac_.filePath(nom);
    fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
    attend("TNouvelleImage", [=](QDialog &forme) {
      forme.findChild<QLineEdit *>("EditLabel")->setText(label);
      forme.findChild<QSpinBox *>("EditTaille")->setValue(taille);
      forme.findChild<QCheckBox *>("HfsPlus")->setChecked(hfsplus);
      clique(forme, "OK");
    });
    execute("Nouvelle1");
    EXPECT_TRUE(fenetre_->document_ouvert());
    return chemin;
  }
  QStringList noms() {
    QStringList noms;
    for (int i = 0; i < fenetre_->modele_liste().rowCount(); ++i)
      noms << QString::fromStdString(fenetre_->modele_liste().ligne(i).nom);
    noms.sort();
    return noms;
  }
  QStringList selection() {
    QStringList noms;
    for (const QModelIndex &index : panneau("LV")->selectionModel()->selectedRows())
      noms << index.data().toString();
    noms.sort();
    return noms;
  }
  QModelIndex rang(const QString &nom) {
    for (int i = 0; i < fenetre_->modele_liste().rowCount(); ++i)
      if (QString::fromStdString(fenetre_->modele_liste().ligne(i).nom) == nom)
        return fenetre_->modele_liste().index(i, 0);
    ADD_FAILURE() << nom.toStdString() << " is not in the list";
    return {};
  }
  void choisit(const QStringList &noms) {
    std::vector<std::uint32_t> ids;
    for (const QString &nom : noms) ids.push_back(fenetre_->modele_liste().ligne(rang(nom).row()).id);
    fenetre_->selectionne_elements(ids);
  }
  // A folder with two files and a folder, one of them large.
  QString arbre_pc() {
    QDir(bac_.path()).mkpath("source/Dossier/Dedans");
    fichier("source/Dossier/un.txt", "premier\n");
    fichier("source/Dossier/Dedans/gros.dat", QByteArray(300000, 'g'));
    return fichier("source/seul.bin", "seul").section('/', 0, -2);
  }
  QByteArray octets(const QString &chemin) {
    QFile lu(chemin);
    EXPECT_TRUE(lu.open(QIODevice::ReadOnly)) << chemin.toStdString();
    return lu.readAll();
  }
  int hfsutils(const QString &commandes) {
    const QString ligne = "export HOME='" + bac_.path() + "' && cd '" + bac_.path() + "' && (" + commandes +
                          ") > hfsutils.log 2>&1";
    return std::system(ligne.toUtf8().constData());
  }

  QTimer pilote_;
  std::deque<std::pair<const char *, Geste>> etapes_;

 private:
  void guette() {
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr || !forme->isEnabled() || prevu_) return;
    prevu_ = true;
    QTimer::singleShot(0, [this] { joue(); });
  }
  void joue() {
    prevu_ = false;
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr || !forme->isEnabled()) return;
    if (etapes_.empty() || forme->objectName() != etapes_.front().first) {
      const auto *texte = forme->findChild<QLabel *>("texte");
      ADD_FAILURE() << "unexpected " << forme->objectName().toStdString() << ": "
                    << (texte != nullptr ? texte->text().toStdString() : "") << ", expected "
                    << (etapes_.empty() ? "nothing" : etapes_.front().first);
      forme->reject();
      return;
    }
    const Geste geste = etapes_.front().second;
    etapes_.pop_front();
    geste(*forme);
  }

  bool prevu_ = false;
};

TEST_F(Edition, MakesImagesOfBothFormats) {
  for (const bool plus : {false, true}) {
    const QString chemin = cree(plus ? "neuf+.hfs" : "neuf.hfs", plus, 5, "Mon disque");
    EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), "Mon disque");
    EXPECT_GE(QFileInfo(chemin).size(), (5 * 2048 + (plus ? 64 : 96)) * 512);
    EXPECT_EQ(vers_qt(reglages().recents[1].front()), chemin);
    EXPECT_EQ(vers_qt(reglages().dossier_projet), bac_.path());
  }
  // The one that is there goes for an answer alone, and once the new one stands; a Cancel leaves all as it
  // was.
  const QString ouverte = vers_qt(fenetre_->chemin_document());
  const QString chemin = bac_.filePath("neuf.hfs");
  fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
  const QByteArray avant = octets(chemin);
  attend_message("TMessON", 1061, "MessNon");
  execute("Nouvelle1");
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), ouverte);
  fenetre_->demandes.enregistrer = [chemin](int titre, int filtre, const QString &, int extension) {
    EXPECT_EQ(titre, 1356);
    EXPECT_EQ(filtre, 1355);
    EXPECT_EQ(extension, 1359);
    return chemin;
  };
  attend_message("TMessON", 1061, "MessOui");
  attend("TNouvelleImage", [](QDialog &forme) {
    auto *taille = forme.findChild<QSpinBox *>("EditTaille");
    auto *reglette = forme.findChild<QSlider *>("Reglette");
    taille->setValue(0);
    EXPECT_EQ(taille->value(), 1);
    reglette->setValue(700);
    EXPECT_EQ(taille->value(), 700);
    EXPECT_NE(forme.findChild<QLabel *>("TailleBloc")->text().indexOf("89,600"), -1)
        << forme.findChild<QLabel *>("TailleBloc")->text().toStdString();
    taille->setValue(70000);
    EXPECT_EQ(taille->value(), 70000);
    EXPECT_EQ(reglette->value(), 700);
    clique(forme, "OK");
  });
  attend_message("TMessOK", 6021, "MessFermer");
  attend("TNouvelleImage", [](QDialog &forme) { clique(forme, "Annuler"); });
  execute("Nouvelle1");
  EXPECT_EQ(octets(chemin), avant);
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), ouverte);
  EXPECT_TRUE(QDir(bac_.path()).entryList({"*.part*"}).isEmpty());
}

TEST_F(Edition, TakesATreeInAndGivesItBack) {
  const QString source = arbre_pc();
  for (const bool plus : {false, true}) {
    const QString image = cree(plus ? "p.hfs" : "h.hfs", plus);
    depose_volume(*fenetre_, {source + "/Dossier", source + "/seul.bin"}, 2);
    EXPECT_EQ(noms(), QStringList({"Dossier", "seul.bin"}));
    EXPECT_EQ(selection(), noms());
    EXPECT_TRUE(fenetre_->statusBar()->currentMessage().startsWith("Copied: 3 files in 2 folders"))
        << fenetre_->statusBar()->currentMessage().toStdString();
    // Once more: the folder is refused, the file asked about.
    attend_message("TMessOK", 1160, "MessFermer");
    attend_message("TMessONT", 1161, "MessNon");
    attend("TMessOK", [](QDialog &forme) {
      EXPECT_TRUE(forme.findChild<QLabel *>("texte")->text().contains("left as it is"));
      clique(forme, "MessFermer");
    });
    depose_volume(*fenetre_, {source + "/Dossier", source + "/seul.bin"}, 2);
    const QString cible = bac_.filePath(plus ? "rendu+" : "rendu");
    QDir().mkpath(cible);
    attend("TDestSel", [cible](QDialog &forme) {
      forme.findChild<QLineEdit *>("Chemin")->setText(cible);
      clique(forme, "CopNow");
    });
    execute("SAll");
    execute("Mac2PC");
    for (const char *nom : {"/seul.bin", "/Dossier/un.txt", "/Dossier/Dedans/gros.dat"})
      EXPECT_EQ(octets(cible + nom), octets(source + nom)) << nom;
    execute("Fermer2");
    if (plus) continue;
    EXPECT_EQ(hfsutils("hmount h.hfs && hcopy -r ':Dossier:Dedans:gros.dat' lu.dat && humount"), 0)
        << octets(bac_.filePath("hfsutils.log")).toStdString();
    EXPECT_EQ(octets(bac_.filePath("lu.dat")), octets(source + "/Dossier/Dedans/gros.dat"));
  }
}

TEST_F(Edition, AsksBeforeItConvertsFonts) {
  const QByteArray ttf = octets(VN_DONNEES "/polices/TestTTF-Regular.expected.ttf");
  const QString source = fichier("police.ttf", ttf);
  for (const bool plus : {false, true}) {
    cree(plus ? "p.hfs" : "h.hfs", plus);
    attend_message("TMessONT", 1125, "MessNon");
    depose_volume(*fenetre_, {source}, 2);
    EXPECT_EQ(noms(), QStringList("police.ttf"));
    attend_message("TMessONT", 1125, "MessOui");
    depose_volume(*fenetre_, {source}, 2);
    EXPECT_EQ(selection(), QStringList("TestTTF-Regular"));
    const QString cible = bac_.filePath(plus ? "rendu+" : "rendu");
    QDir().mkpath(cible);
    attend("TDestSel", [cible](QDialog &forme) {
      forme.findChild<QLineEdit *>("Chemin")->setText(cible);
      clique(forme, "CopNow");
    });
    attend_message("TMessONT", 1125, "MessOui");
    execute("Mac2PC");
    EXPECT_EQ(octets(cible + "/TestTTF-Regular.ttf"), ttf);
    execute("Fermer2");
  }
}

TEST_F(Edition, StopsADropThatHasNoRoom) {
  cree("petit.hfs", false, 2);
  const QString trop = fichier("trop.dat", QByteArray(3 << 20, 'x'));
  const QString un = fichier("un.dat", "1");
  attend_message("TMessOK", 1153, "MessFermer");
  depose_volume(*fenetre_, {un, trop, fichier("deux.dat", "2")}, 2);
  EXPECT_EQ(noms(), QStringList({"un.dat"}));
}

TEST_F(Edition, StopsADropAtEsc) {
  cree("arret.hfs", false, 40);
  constexpr int kNombre = 1500;
  QDir(bac_.path()).mkpath("beaucoup");
  QStringList sources;
  for (int i = 0; i < kNombre; ++i)
    sources << fichier(QString("beaucoup/f%1").arg(i, 4, 10, QChar('0')).toUtf8().constData(),
                       QByteArray(2000, 'a'));
  QTimer touche;
  QObject::connect(&touche, &QTimer::timeout, [&] {
    if (!operations_->occupe()) return;
    touche.stop();
    QTest::keyClick(fenetre_.get(), Qt::Key_Escape);
  });
  touche.start(1);
  attend_message("TMessON", 1124, "MessOui");
  depose_volume(*fenetre_, sources, 2);
  const auto entres = noms().size();
  EXPECT_LT(entres, kNombre);
  EXPECT_EQ(selection().size(), entres);
  // What went in before is whole, and the next drop goes on from there.
  depose_volume(*fenetre_, sources.mid(entres), 2);
  EXPECT_EQ(noms().size(), kNombre);
  execute("SAll");
  attend("TMessON", [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QLabel *>("texte")->text(),
              "Do you really want to delete the 1500 selected items?\nIn all, files: 1500, folders: 0.");
    clique(forme, "MessOui");
  });
  execute("Supp1");
  EXPECT_EQ(noms().size(), 0);
}

TEST_F(Edition, ChoosesInTheBrowser) {
  const QString source = arbre_pc();
  cree("n.hfs", false, 2);
  reglages().dossier_navigateur = de_qt(source + "/Dossier");
  const QString trop = fichier("source/trop.dat", QByteArray(3 << 20, 'x'));
  attend("TWinVLV", [=](QDialog &forme) {
    auto *liste = forme.findChild<QTreeView *>("ListePC");
    auto *ok = forme.findChild<QAbstractButton *>("OK");
    EXPECT_EQ(liste->model()->rowCount(), 2);
    EXPECT_FALSE(ok->isEnabled());
    QTest::keyClick(liste, Qt::Key_Backspace);
    EXPECT_EQ(forme.findChild<QLineEdit *>("Chemin")->text(), source);
    EXPECT_EQ(liste->currentIndex().data().toString(), "Dossier");
    QTest::keyClick(liste, Qt::Key_Return);
    EXPECT_EQ(forme.findChild<QLineEdit *>("Chemin")->text(), source + "/Dossier");
    auto *chemin = forme.findChild<QLineEdit *>("Chemin");
    chemin->setText("..");
    QTest::keyClick(chemin, Qt::Key_Return);
    EXPECT_EQ(liste->model()->rowCount(), 3);
    liste->selectAll();
    // A path that leads nowhere neither moves nor takes what is selected.
    chemin->setFocus();
    chemin->setText("/absent/x");
    QTest::keyClick(chemin, Qt::Key_Return);
    EXPECT_EQ(liste->model()->rowCount(), 3);
    clique(forme, "OK");
  });
  attend_message("TMessOK", 7068, "MessFermer");
  attend_message("TMessOK", 1157, "MessFermer");
  attend("TWinVLV", [](QDialog &forme) {
    auto *liste = forme.findChild<QTreeView *>("ListePC");
    liste->sortByColumn(1, Qt::DescendingOrder);
    EXPECT_EQ(liste->model()->index(0, 0).data().toString(), "Dossier");
    EXPECT_EQ(liste->model()->index(1, 0).data().toString(), "trop.dat");
    liste->selectionModel()->clear();
    for (const int i : {0, 2})
      liste->selectionModel()->select(liste->model()->index(i, 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    clique(forme, "OK");
  });
  execute("PC2Mac");
  EXPECT_EQ(noms(), QStringList({"Dossier", "seul.bin"}));
  EXPECT_EQ(vers_qt(reglages().dossier_navigateur), source);
  EXPECT_TRUE(vers_qt(reglages().navigateur).endsWith(",1,1")) << reglages().navigateur;
  // A folder that has gone since is no reason for a message.
  reglages().dossier_navigateur = de_qt(bac_.filePath("parti"));
  attend("TWinVLV", [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QLineEdit *>("Chemin")->text(), QDir::homePath());
    clique(forme, "Annuler");
  });
  execute("PC2Mac");
  QFile::remove(trop);
}

TEST_F(Edition, MakesAFolder) {
  for (const bool plus : {false, true}) {
    cree(plus ? "p.hfs" : "h.hfs", plus);
    const QString nom = QString::fromUtf8("\u00c9t\u00e9 1/2");
    attend("TNouveauDossier", [](QDialog &forme) {
      EXPECT_EQ(forme.findChild<QLineEdit *>("EditNom")->text(), "New Folder");
      clique(forme, "OK");
    });
    execute("MD");
    EXPECT_EQ(selection(), QStringList({"New Folder"}));
    attend("TNouveauDossier", tape(""));
    attend("TNouveauDossier", tape("new folder"));
    attend_message("TMessOK", 6022, "MessFermer");
    attend("TNouveauDossier", tape("a:b"));
    attend_message("TMessOK", 7400, "MessFermer");
    attend("TNouveauDossier", tape(nom));
    execute("MD");
    EXPECT_EQ(noms(), QStringList({"New Folder", nom}));
    EXPECT_EQ(selection(), QStringList({nom}));
    fenetre_->va_au_dossier(fenetre_->modele_liste().ligne(rang(nom).row()).id);
    attend("TNouveauDossier", tape("Inner"));
    execute("MdPart1");
    EXPECT_EQ(noms(), QStringList({"Inner"}));
    EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), nom);
    attend("TNouveauDossier", tape("x", "Annuler"));
    execute("MD");
    EXPECT_EQ(noms().size(), 1);
  }
}

TEST_F(Edition, RenamesInPlaceAndByDialog) {
  const QString source = arbre_pc();
  for (const bool plus : {false, true}) {
    cree(plus ? "p.hfs" : "h.hfs", plus);
    depose_volume(*fenetre_, {source + "/Dossier", source + "/seul.bin"}, 2);
    auto *modele = panneau("LV")->model();
    EXPECT_FALSE(modele->setData(rang("seul.bin"), "seul.bin", Qt::EditRole));
    attend_message("TMessOK", 6022, "MessFermer");
    EXPECT_FALSE(modele->setData(rang("seul.bin"), "DOSSIER", Qt::EditRole));
    const QString nom = plus ? QString::fromUtf8("\u65e5\u672c.txt") : QString(40, 'z');
    ASSERT_TRUE(modele->setData(rang("seul.bin"), nom, Qt::EditRole));
    QTest::qWait(20);
    const QString neuf = plus ? nom : QString(31, 'z');
    EXPECT_EQ(noms(), QStringList({"Dossier", neuf}));
    EXPECT_EQ(selection(), QStringList({neuf}));
    // The case alone may change.
    ASSERT_TRUE(modele->setData(rang("Dossier"), "DOSSIER", Qt::EditRole));
    QTest::qWait(20);
    EXPECT_EQ(noms().first(), "DOSSIER");

    choisit({"DOSSIER", neuf});
    attend("TRenommer", [](QDialog &forme) {
      EXPECT_EQ(forme.findChild<QLineEdit *>("AncienNom")->text(), "DOSSIER");
      tape("Autre")(forme);
    });
    attend("TRenommer", tape("autre"));
    attend_message("TMessOK", 6022, "MessFermer");
    attend("TRenommer", tape("encore.txt"));
    execute("Ren1");
    EXPECT_EQ(noms(), QStringList({"Autre", "encore.txt"}));
    EXPECT_EQ(selection(), noms());
    // Giving up keeps what was done before it.
    attend("TRenommer", tape("Autre 2"));
    attend("TRenommer", tape("x", "Annuler"));
    execute("Ren1");
    EXPECT_EQ(noms(), QStringList({"Autre 2", "encore.txt"}));
    // The folder of the tree, with what it holds.
    auto *arbre = panneau("TV");
    const QModelIndex noeud = arbre->model()->index(0, 0, arbre->model()->index(0, 0));
    ASSERT_TRUE(arbre->model()->setData(noeud, "Par l'arbre", Qt::EditRole));
    QTest::qWait(20);
    fenetre_->va_au_dossier(fenetre_->modele_liste().ligne(rang("Par l'arbre").row()).id);
    EXPECT_EQ(noms(), QStringList({"Dedans", "un.txt"}));
  }
}

TEST_F(Edition, DeletesAfterOneQuestionWithCounts) {
  const QString source = arbre_pc();
  // The text, and No as the button that Enter gives.
  const auto attend_question = [this](const QString &texte, const char *bouton) {
    attend("TMessON", [=](QDialog &forme) {
      EXPECT_EQ(forme.findChild<QLabel *>("texte")->text(), texte);
      EXPECT_TRUE(forme.findChild<QPushButton *>("MessNon")->isDefault());
      EXPECT_TRUE(forme.findChild<QPushButton *>("MessNon")->hasFocus());
      clique(forme, bouton);
    });
  };
  const QString question = "Do you really want to delete ";
  const QString dossier = question + "the folder\nDossier\nwith all that is in it?\nFiles: 2. Folders: 1.";
  for (const bool plus : {false, true}) {
    const QString image = cree(plus ? "p.hfs" : "h.hfs", plus);
    depose_volume(*fenetre_, {source + "/Dossier", source + "/seul.bin"}, 2);
    const QByteArray avant = octets(image);
    choisit({"seul.bin"});
    attend_question(question.trimmed() + "\nseul.bin?", "MessNon");
    fenetre_->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(fenetre_.get()));
    QTest::keyClick(panneau("LV"), Qt::Key_Delete);
    choisit({"Dossier", "seul.bin"});
    attend_question(question + "the 2 selected items?\nIn all, files: 3, folders: 2.", "MessNon");
    execute("DelPart");
    EXPECT_EQ(noms(), QStringList({"Dossier", "seul.bin"}));
    EXPECT_EQ(octets(image), avant);
    choisit({"seul.bin"});
    attend_question(question.trimmed() + "\nseul.bin?", "MessOui");
    execute("SuppPart");
    EXPECT_EQ(noms(), QStringList({"Dossier"}));
    // From the tree, its parent is shown then.
    fenetre_->va_au_dossier(fenetre_->modele_liste().ligne(0).id);
    attend_question(dossier, "MessOui");
    execute("TSuppPart");
    EXPECT_EQ(noms(), QStringList());
    EXPECT_EQ(fenetre_->dossier_montre(), 2U);
    EXPECT_EQ(panneau("TV")->model()->rowCount(panneau("TV")->model()->index(0, 0)), 0);
    // Without a question where the preferences say so.
    depose_volume(*fenetre_, {source + "/Dossier", source + "/seul.bin"}, 2);
    etat<OptionsProgramme>().options |= 0x400;
    execute("SAll");
    execute("Supp1");
    etat<OptionsProgramme>().options &= ~0x400U;
    EXPECT_EQ(noms(), QStringList());
    if (plus) continue;
    execute("Fermer2");
    EXPECT_EQ(hfsutils("hmount h.hfs && hls -aR && humount"), 0);
    EXPECT_EQ(octets(bac_.filePath("hfsutils.log")).indexOf("Dossier"), -1);
  }
}

TEST_F(Edition, SwapsForks) {
  cree("h.hfs", false);
  depose_volume(*fenetre_, {fichier("a.txt", "abcde"), fichier("b.txt", "xyz")}, 2);
  execute("SW1");
  EXPECT_EQ(selection(), QStringList({"a.txt", "b.txt"}));
  for (const auto &[nom, taille] : {std::pair("a.txt", 5U), std::pair("b.txt", 3U)}) {
    EXPECT_EQ(fenetre_->modele_liste().ligne(rang(nom).row()).ressources, taille);
    EXPECT_EQ(fenetre_->modele_liste().ligne(rang(nom).row()).donnees, 0U);
  }
  attend("TNouveauDossier", tape("Aucun fichier"));
  execute("MD");
  attend_message("TMessOK", 1172, "MessFermer");
  execute("SW1");
}

TEST_F(Edition, SavesUnderAnotherName) {
  const QString ancienne = cree("a.hfs", false);
  attend("TNouveauDossier", tape("Garde"));
  execute("MD");
  execute("Enr2");
  fenetre_->va_au_dossier(fenetre_->modele_liste().ligne(0).id);
  const QByteArray avant = octets(ancienne);
  // A copy that cannot be made keeps the document.
  fenetre_->demandes.enregistrer = [this](int titre, int, const QString &, int) {
    EXPECT_EQ(titre, 1358);
    return bac_.filePath("absent/b.hfs");
  };
  attend_message("TMessOK", 7423, "MessFermer");
  execute("EnrAs2");
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), ancienne);
  fenetre_->demandes.enregistrer = [ancienne](int, int, const QString &, int) { return ancienne; };
  attend_message("TMessOK", 7072, "MessFermer");
  execute("EnrAs2");
  const QString copie = fichier("b.hfs", "older");
  fenetre_->demandes.enregistrer = [copie](int, int, const QString &, int) { return copie; };
  attend_message("TMessON", 1061, "MessNon");
  execute("EnrAs2");
  EXPECT_EQ(octets(copie), "older");
  attend_message("TMessON", 1061, "MessOui");
  execute("EnrAs2");
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), copie);
  EXPECT_EQ(octets(copie), avant);
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Garde");
  EXPECT_EQ(QDir(bac_.path()).entryList({"*.part*"}).size(), 0);
  // The old image is out of it.
  attend("TNouveauDossier", tape("Apres"));
  execute("MD");
  EXPECT_EQ(octets(ancienne), avant);
  EXPECT_NE(octets(copie), avant);
}

TEST_F(Edition, LeavesAReadOnlyVolumeAsItIs) {
  const QString image = bac_.filePath("seule.hfs");
  ASSERT_TRUE(QFile::copy(VN_DONNEES "/hfs/hformat_800k.hfs", image));
  QFile::setPermissions(image, QFile::ReadOwner | QFile::WriteOwner);
  const QByteArray avant = octets(image);
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(image)));
  ASSERT_TRUE(support().lecture_seule);
  const std::uint32_t id = fenetre_->modele_liste().ligne(0).id;
  fenetre_->selectionne_elements({id});
  const std::function<void()> commandes[] = {
      [&] { supprime_volume(*fenetre_); },           [&] { renomme_volume(*fenetre_); },
      [&] { cree_dossier_volume(*fenetre_); },       [&] { permute_branches(*fenetre_); },
      [&] { copie_vers_le_mac(*fenetre_); },         [&] { enregistre_volume(*fenetre_); },
      [&] { depose_volume(*fenetre_, {image}, 2); }, [&] { renomme_volume_sur_place(*fenetre_, id, "x"); },
  };
  for (const auto &commande : commandes) {
    attend_message("TMessOK", 7860, "MessFermer");
    commande();
    EXPECT_TRUE(etapes_.empty());
  }
  // The reason is in sight, and goes with the volume.
  EXPECT_FALSE(action("PC2Mac")->isEnabled());
  EXPECT_TRUE(texte_panneau(4).startsWith("Read only: ")) << texte_panneau(4).toStdString();
  EXPECT_EQ(action("PC2Mac")->statusTip(), texte_panneau(4));
  execute("Fermer2");
  EXPECT_EQ(texte_panneau(4), "");
  EXPECT_FALSE(action("PC2Mac")->statusTip().contains("Read only"));
  EXPECT_EQ(octets(image), avant);
}

TEST_F(Edition, TellsOfAnImageThatHasGone) {
  const QString image = cree("a.hfs", false);
  attend("TNouveauDossier", tape("Reste"));
  execute("MD");
  ASSERT_TRUE(QFile::remove(image));
  attend_message("TMessOK", 7060, "MessFermer");
  execute("MD");
  fenetre_->selectionne_elements({fenetre_->modele_liste().ligne(0).id});
  attend_message("TMessOK", 7060, "MessFermer");
  execute("Supp1");
  execute("F5");
  EXPECT_EQ(noms(), QStringList({"Reste"}));
  const QString sauvee = bac_.filePath("sauvee.hfs");
  fenetre_->demandes.enregistrer = [sauvee](int, int, const QString &, int) { return sauvee; };
  execute("EnrAs2");
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), sauvee);
  EXPECT_EQ(noms(), QStringList({"Reste"}));
  attend("TNouveauDossier", tape("Encore"));
  execute("MD");
  EXPECT_EQ(noms(), QStringList({"Encore", "Reste"}));
}

TEST_F(Edition, TellsOfADiskThatTakesNoMore) {
  for (const bool plus : {false, true}) {
    cree(plus ? "p.hfs" : "h.hfs", plus, 8);
    depose_volume(*fenetre_, {fichier("avant.dat", QByteArray(100000, 'a'))}, 2);
    rlimit ancienne{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &ancienne), 0);
    std::signal(SIGXFSZ, SIG_IGN);
    const QString gros = fichier("gros.dat", QByteArray(4 << 20, 'g'));
    const rlimit courte{3 << 20, ancienne.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &courte), 0);
    attend("TMessOK", [](QDialog &forme) { clique(forme, "MessFermer"); });
    attend_message("TMessOK", 7402, "MessFermer");
    depose_volume(*fenetre_, {gros}, 2);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &ancienne), 0);
    EXPECT_EQ(noms(), QStringList({"avant.dat"}));
    attend("TNouveauDossier", tape("Apres"));
    execute("MD");
    EXPECT_EQ(noms(), QStringList({"Apres", "avant.dat"}));
  }
}

TEST_F(Edition, CutsNamesByTheirKind) {
  const std::string long_nom(40, 'n');
  const auto demande = [&](int legende, std::string &nom) {
    nom = long_nom;
    return operations_->demander_nom(charger_chaine(legende), nom, 31);
  };
  std::string nom;
  attend("TTTronq", [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QLineEdit *>("NomOriginal")->text(), QString(40, 'n'));
    EXPECT_EQ(forme.findChild<QLineEdit *>("EditNom")->text(), QString(31, 'n'));
    EXPECT_FALSE(forme.findChild<QCheckBox *>("Retient")->isEnabled());
    tape("court")(forme);
  });
  EXPECT_TRUE(demande(1490, nom));
  EXPECT_EQ(nom, "court");
  EXPECT_EQ(choix_troncature().methode, MethodeTroncature::saisie);
  attend("TTTronq", [](QDialog &forme) {
    for (const char *boite : {"Coupe31", "AvecCrc", "Retient"}) clique(forme, boite);
    clique(forme, "OK");
  });
  EXPECT_TRUE(demande(1490, nom));
  EXPECT_EQ(choix_troncature().methode, MethodeTroncature::crc);
  EXPECT_EQ(etat<OptionsProgramme>().options & 0x18U, 0x18U);
  attend("TTTronq", tape("x", "Annuler"));
  EXPECT_FALSE(demande(1490, nom));

  const std::pair<int, bool TroncatureNoms::*> genres[] = {
      {1280, &TroncatureNoms::iso}, {1282, &TroncatureNoms::hfs}, {1279, &TroncatureNoms::hfsplus}};
  for (const auto &[legende, drapeau] : genres) {
    troncature_noms() = {};
    attend("TTroncature", [](QDialog &forme) {
      clique(forme, "Automatique");
      clique(forme, "Annuler");
    });
    EXPECT_FALSE(demande(legende, nom));
    EXPECT_FALSE(troncature_noms().*drapeau);
    attend("TTroncature", [=](QDialog &forme) {
      EXPECT_EQ(forme.windowTitle(), chaine_qt(legende));
      clique(forme, "Automatique");
      tape("un nom")(forme);
    });
    EXPECT_TRUE(demande(legende, nom));
    EXPECT_EQ(nom, "un nom");
    const TroncatureNoms posees = troncature_noms();
    EXPECT_TRUE(posees.*drapeau);
    EXPECT_EQ(posees.iso + posees.hfs + posees.hfsplus, 1) << legende;
  }
  // A name on its way to an HFS volume meets the form in the drop.
  cree("h.hfs", false);
  etat<OptionsProgramme>().options &= ~0x18U;
  choix_troncature() = {};
  const QString source = fichier((QString(36, 'a') + ".txt").toUtf8().constData(), "x");
  attend("TTTronq", tape("typed.txt"));
  attend("TMessOK", [](QDialog &forme) { clique(forme, "MessFermer"); });
  depose_volume(*fenetre_, {source}, 2);
  EXPECT_EQ(noms(), QStringList({"typed.txt"}));
}

TEST_F(Edition, ChoosesAmongVolumes) {
  const QByteArray un = octets(cree("un.hfs", false, 2, "P"));
  const QByteArray deux = octets(cree("deux.hfs", false, 2, "S"));
  execute("Fermer2");
  QByteArray image = un + deux.mid(96 * 512);
  // A third entry in the map: the volume behind the first one. Short names, which the walk of the map counts.
  QByteArray entree = un.mid(2 * 512, 512);
  const auto debut = static_cast<quint32>(un.size() / 512);
  for (int i = 0; i < 4; ++i) entree[8 + i] = static_cast<char>(debut >> (24 - 8 * i));
  image.replace(3 * 512, 512, entree);
  for (const int secteur : {1, 2, 3}) image[secteur * 512 + 7] = 3;
  const QString chemin = fichier("double.hfs", image);
  const auto ouvre = [&](const Geste &geste) {
    attend("TChoixPartition", geste);
    return fenetre_->router_parametre(de_qt(chemin));
  };
  EXPECT_TRUE(ouvre([](QDialog &forme) {
    auto *liste = forme.findChild<QListWidget *>("Volumes");
    ASSERT_EQ(liste->count(), 2);
    EXPECT_EQ(liste->currentRow(), 0);
    EXPECT_EQ(liste->item(1)->text(), "[1] S (Type MacOS, size 2 MB)");
    QTest::keyClick(liste, Qt::Key_Up);
    EXPECT_EQ(liste->currentRow(), 1);
    clique(forme, "OK");
  }));
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), "S");
  attend("TNouveauDossier", tape("Ici"));
  execute("MD");
  EXPECT_TRUE(ouvre([](QDialog &forme) { clique(forme, "OK"); }));
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), "P");
  EXPECT_EQ(noms(), QStringList());
  // An empty selection stays; giving up leaves the one that is open.
  attend("TChoixPartition", [](QDialog &forme) {
    forme.findChild<QListWidget *>("Volumes")->clearSelection();
    clique(forme, "OK");
  });
  EXPECT_FALSE(ouvre([](QDialog &forme) { clique(forme, "Annuler"); }));
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), "P");
  EXPECT_EQ(partition_courante().nom_volume, "P");
}

}  // namespace
}  // namespace varnion
