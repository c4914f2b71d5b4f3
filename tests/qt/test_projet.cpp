// Projects worked on through the window: real commands and forms on real files.

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QUrl>

#include "app/noyau/routage.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "fenetre_essai.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/signatures.hpp"

namespace varnion {
namespace {

// A named project, and answers by the name of the form that asks.
class ProjetFenetre : public Fenetre {
 protected:
  using Reponse = std::function<void(QDialog &)>;

  void SetUp() override {
    Fenetre::SetUp();
    minuterie_.stop();
    minuterie_.disconnect();
    QObject::connect(&minuterie_, &QTimer::timeout, [this] {
      // Out of the slot of the timer, which would not beat while a message of the form is shown.
      QMetaObject::invokeMethod(
          &minuterie_, [this] { repond_forme(); }, Qt::QueuedConnection);
    });
    minuterie_.start(5);
    nouveau("essai.vnpr");
  }

  void repond_forme() {
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr || forme == en_main_) return;
    const auto reponse = reponses_.find(forme->objectName());
    if (reponse == reponses_.end()) return repond();
    formes_ << forme->objectName();
    en_main_ = forme;
    reponse->second(*forme);
    en_main_ = nullptr;
  }

  void nouveau(const char *nom) {
    const QString chemin = bac_.filePath(nom);
    fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
    execute(fenetre_->mode() == kModeIsop ? "No1" : "Nouveau1");
    ASSERT_TRUE(fenetre_->document_ouvert());
  }

  // Files of the disk: two with accents, one whose bytes are MacBinary, in a folder of their own.
  QString sources() {
    const QString dossier = bac_.filePath("Été");
    QDir().mkpath(dossier + "/sous dossier");
    ecrit(dossier + "/naïf.txt", "one");
    ecrit(dossier + "/Île.jpg", QByteArray(5000, 'j'));
    ecrit(dossier + "/sous dossier/profond.txt", "two");
    QByteArray binaire(256 + 128, '\0');
    binaire[1] = 4;
    binaire.replace(2, 4, "Bin1");
    binaire.replace(65, 8, "TEXTttxt");
    binaire[86] = 5;
    binaire.replace(128, 5, "hello");
    ecrit(dossier + "/paquet.bin", binaire.left(256));
    return dossier;
  }
  static void ecrit(const QString &chemin, const QByteArray &octets) {
    QFile sortie(chemin);
    ASSERT_TRUE(sortie.open(QIODevice::WriteOnly));
    sortie.write(octets);
  }

  QStringList noms() {
    QStringList liste;
    auto *modele = panneau("LV")->model();
    for (int rang = 0; rang < modele->rowCount(); ++rang) liste << modele->index(rang, 0).data().toString();
    return liste;
  }
  void choisit(const QStringList &voulus) {
    std::vector<std::uint32_t> ids;
    for (int rang = 0; rang < fenetre_->modele_liste().rowCount(); ++rang)
      if (voulus.contains(QString::fromStdString(fenetre_->modele_liste().ligne(rang).nom)))
        ids.push_back(fenetre_->modele_liste().ligne(rang).id);
    fenetre_->selectionne_elements(ids);
  }
  QStringList choisis() {
    QStringList liste;
    for (const std::uint32_t id : fenetre_->ids_choisis()) {
      RubriqueProjet rubrique;
      EXPECT_TRUE(fenetre_->projet()->cherche_numero(id, rubrique));
      liste << vers_qt(lit_champ(rubrique.nom_source));
    }
    return liste;
  }
  RubriqueProjet rubrique(const char *chemin) {
    const auto trouve = trouve_chemin(*fenetre_->projet(), de_qt(QString::fromUtf8(chemin)), kVueRacine);
    EXPECT_TRUE(trouve) << chemin;
    return trouve ? trouve->rubrique : RubriqueProjet();
  }
  std::uint32_t numero(const char *chemin) { return rubrique(chemin).numero; }
  void depose(const QStringList &chemins, std::uint32_t dossier = kRacine) {
    depose_projet(*fenetre_, chemins, dossier);
  }
  static Reponse nomme(const QString &nom, const char *champ = "EditNom") {
    return [nom, champ](QDialog &forme) {
      forme.findChild<QLineEdit *>(champ)->setText(nom);
      forme.findChild<QPushButton *>("OK")->click();
    };
  }
  static void pousse(QDialog &forme, const char *bouton) { forme.findChild<QPushButton *>(bouton)->click(); }
  static QCheckBox *boite(QDialog &forme, const char *nom) { return forme.findChild<QCheckBox *>(nom); }
  static void tape(QDialog &forme, const char *champ, const QString &texte) {
    auto *edite = forme.findChild<QLineEdit *>(champ);
    edite->selectAll();
    QTest::keyClicks(edite, texte);
  }

  std::map<QString, Reponse> reponses_;
  QStringList formes_;
  QDialog *en_main_ = nullptr;  ///< form that is being answered
};

TEST_F(ProjetFenetre, DropsAFolderAndShowsWhatCame) {
  const QString dossier = sources();
  depose({dossier, bac_.filePath("absent.txt")});
  // The path that is not there is named, the rest is in.
  ASSERT_EQ(messages_.size(), 2) << messages_.join('|').toStdString();
  EXPECT_TRUE(messages_[1].contains("absent.txt")) << messages_[1].toStdString();
  EXPECT_TRUE(messages_[0].contains("MacBinary")) << messages_[0].toStdString();
  EXPECT_EQ(noms(), QStringList("Été"));
  EXPECT_EQ(choisis(), QStringList("Été"));
  EXPECT_EQ(rubrique("Été").lg_rsrc, 3U);
  EXPECT_GT(fenetre_->projet()->estimation(), 2U);
  // The same again: told, and nothing twice.
  messages_.clear();
  depose({dossier});
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("already exists in the same folder"));
  EXPECT_EQ(noms().size(), 1);
  // Into a folder, in the view shown alone.
  messages_.clear();
  execute("VI1");
  ecrit(bac_.filePath("seul.txt"), "s");
  depose({bac_.filePath("seul.txt")}, numero("Été"));
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Été");
  EXPECT_TRUE(rubrique("Été/seul.txt").dans_iso());
  EXPECT_FALSE(rubrique("Été/seul.txt").dans_hfs());
  execute("VM1");
  EXPECT_FALSE(noms().contains("seul.txt"));
  // A file of that name from elsewhere belongs in the other view.
  QDir().mkpath(bac_.filePath("autre"));
  ecrit(bac_.filePath("autre/seul.txt"), "t");
  depose({bac_.filePath("autre/seul.txt")}, numero("Été"));
  EXPECT_TRUE(noms().contains("seul.txt"));
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
  execute("VH1");
  depose({bac_.filePath("autre/seul.txt"), dossier + "/naïf.txt"}, numero("Été"));
  EXPECT_EQ(messages_.size(), 2);
}

TEST_F(ProjetFenetre, EscDuringADropChangesNothing) {
  const QString dossier = bac_.filePath("mille");
  QDir().mkpath(dossier);
  for (int i = 0; i < 1500; ++i) ecrit(dossier + QString("/f%1").arg(i), "x");
  QTimer::singleShot(0, [this] {
    QApplication::postEvent(fenetre_.get(), new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
  });
  const std::uint64_t avant = fenetre_->projet()->taille_octets();
  depose({dossier});
  EXPECT_EQ(fenetre_->projet()->taille_octets(), avant);
  EXPECT_TRUE(noms().isEmpty());
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("unchanged")) << messages_[0].toStdString();
}

TEST_F(ProjetFenetre, PastesIntoTheFolderShown) {
  const QString dossier = sources();
  auto *donnees = new QMimeData;
  donnees->setUrls({QUrl::fromLocalFile(dossier + "/naïf.txt")});
  QApplication::clipboard()->setMimeData(donnees);
  execute("DrExpl");
  EXPECT_EQ(noms(), QStringList("naïf.txt"));
  const QMimeData *reste = QApplication::clipboard()->mimeData();
  EXPECT_TRUE(reste == nullptr || !reste->hasUrls());
}

TEST_F(ProjetFenetre, FoldersAreMadeMovedAndDeleted) {
  reponses_["TNouveauDossier"] = nomme("A");
  execute("MD");
  EXPECT_EQ(choisis(), QStringList("A"));
  reponses_["TNouveauDossier"] = nomme("a");
  execute("MD");
  EXPECT_EQ(noms(), QStringList("A")) << "a name that is there is refused without a word";
  reponses_["TNouveauDossier"] = nomme("B");
  execute("MD");
  fenetre_->va_au_dossier(numero("A"));
  reponses_["TNouveauDossier"] = nomme("dans A");
  execute("MD");
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
  // A (lower number) into B: its folders are numbered anew, and its content comes along.
  fenetre_->va_au_dossier(kRacine);
  deplace_projet(*fenetre_, {numero("A")}, numero("B"));
  EXPECT_EQ(noms(), QStringList("B"));
  EXPECT_GT(numero("B/A"), numero("B"));
  EXPECT_GT(numero("B/A/dans A"), numero("B/A"));
  EXPECT_EQ(rubrique("B").lg_data, 1U);
  // Not toward its own child.
  deplace_projet(*fenetre_, {numero("B")}, numero("B/A"));
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("toward one of its children"));
  EXPECT_EQ(noms(), QStringList("B"));
  // A name that is taken stays where it is.
  reponses_["TNouveauDossier"] = nomme("A");
  execute("MD");
  messages_.clear();
  deplace_projet(*fenetre_, {numero("A")}, numero("B"));
  EXPECT_EQ(messages_.size(), 1);
  EXPECT_EQ(noms(), QStringList({"A", "B"}));
  // Deleted from the tree: the question is answered No, then Yes; the next folder is shown.
  messages_.clear();
  fenetre_->va_au_dossier(numero("B"));
  accepte_ = false;
  execute("Supp1");
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].startsWith("TMessONT") && messages_[0].contains("is not empty"));
  accepte_ = true;
  execute("Supp1");
  EXPECT_EQ(fenetre_->dossier_montre(), numero("A"));
  EXPECT_EQ(fenetre_->projet()->nb_rubriques(), 1U);
  fenetre_->va_au_dossier(kRacine);
  execute("SAll");
  execute("Supp1");
  EXPECT_EQ(fenetre_->projet()->nb_rubriques(), 0U);
  EnteteProjet entete;
  ASSERT_TRUE(fenetre_->projet()->lit_entete(entete));
  EXPECT_EQ(entete.lg_data, 0U);
}

TEST_F(ProjetFenetre, RenamesByFormAndInPlace) {
  depose({sources() + "/naïf.txt", bac_.filePath("Été/Île.jpg")});
  execute("VM1");
  choisit({"naïf.txt", "Île.jpg"});
  ASSERT_EQ(choisis().size(), 2) << noms().join('|').toStdString();
  // One form an item; a name of the same view is refused, and the form stays.
  int tour = 0;
  reponses_["TRenommer"] = [&tour](QDialog &forme) {
    ++tour;
    nomme(tour == 1 ? "île.JPG" : tour == 2 ? "premier" : "second")(forme);
  };
  execute("Ren1");
  EXPECT_EQ(tour, 3);
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("is taken"));
  EXPECT_EQ(noms(), QStringList({"premier", "second"}));
  EXPECT_EQ(choisis().size(), 2);
  EXPECT_EQ(lit_champ(rubrique("naïf.txt").nom_iso), de_qt("naïf.txt"));
  // In place, classic HFS holds 31 characters; the Hybrid view gives both views the name.
  auto *liste = panneau("LV");
  const QString longue(40, 'z');
  EXPECT_TRUE(liste->model()->setData(liste->model()->index(0, 0), longue, Qt::EditRole));
  QApplication::processEvents();
  EXPECT_TRUE(noms().contains(QString(31, 'z')));
  execute("VH1");
  const int rang = static_cast<int>(noms().indexOf("naïf.txt"));
  EXPECT_TRUE(liste->model()->setData(liste->model()->index(rang, 0), "deux", Qt::EditRole));
  QApplication::processEvents();
  EXPECT_EQ(lit_champ(rubrique("naïf.txt").nom_iso), "deux");
  EXPECT_EQ(nom_windows(lit_champ(rubrique("naïf.txt").nom_hfs)), "deux");
  messages_.clear();
  EXPECT_FALSE(
      liste->model()->setData(liste->model()->index(rang, 0), QString::fromUtf8("日本"), Qt::EditRole));
  EXPECT_EQ(messages_.size(), 1);
}

TEST_F(ProjetFenetre, PropertiesOfOneItem) {
  depose({sources()});
  messages_.clear();
  fenetre_->va_au_dossier(numero("Été"));
  choisit({"paquet.bin"});
  reponses_["TPropProjet"] = [](QDialog &forme) {
    EXPECT_TRUE(forme.findChild<QRadioButton *>("MacBinary")->isChecked());
    EXPECT_FALSE(forme.findChild<QRadioButton *>("BinHex")->isEnabled());
    forme.findChild<QRadioButton *>("SansCodage")->click();
    EXPECT_EQ(forme.findChild<QLineEdit *>("EditType")->text(), "TEXT");
    tape(forme, "EditCreateur", "a2");
    boite(forme, "CacheHfs")->setChecked(true);
    boite(forme, "DansIso")->setChecked(false);
    EXPECT_FALSE(forme.findChild<QLineEdit *>("NomIso")->isEnabled());
    forme.findChild<QLineEdit *>("NomHfs")->setText("Bin2");
    pousse(forme, "OK");
  };
  execute("Prop1");
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("cancel the decoding"));
  RubriqueProjet r = rubrique("Été/paquet.bin");
  EXPECT_FALSE(r.est_macbinaire());
  EXPECT_EQ(r.codage(), Codage::aucun);
  EXPECT_EQ(r.lg_data, r.lg_source);
  EXPECT_EQ(std::string(r.signature.data(), 8), "TEXTa2  ");
  EXPECT_FALSE(r.dans_iso());
  EXPECT_EQ(r.cache_hfs(), 1);
  EXPECT_EQ(r.cache_iso(), 0);
  EXPECT_EQ(lit_champ(r.nom_hfs), "Bin2");
  // An empty name, and Cancel: nothing changes.
  choisit({"naïf.txt"});
  int tour = 0;
  reponses_["TPropProjet"] = [&tour](QDialog &forme) {
    forme.findChild<QLineEdit *>("NomIso")->clear();
    pousse(forme, ++tour == 1 ? "OK" : "Annuler");
  };
  execute("Prop1");
  EXPECT_EQ(tour, 2);
  EXPECT_EQ(lit_champ(rubrique("Été/naïf.txt").nom_iso), de_qt("naïf.txt"));
  // A folder from the tree: what is below follows it out of a view.
  fenetre_->va_au_dossier(numero("Été/sous dossier"));
  reponses_["TPropProjet"] = [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QLabel *>("Fichiers")->text(), "1");
    EXPECT_EQ(forme.findChild<QWidget *>("EditType"), nullptr);
    boite(forme, "Rafraichir")->setChecked(true);
    boite(forme, "IconePerso")->setChecked(true);
    boite(forme, "DansHfs")->setChecked(false);
    pousse(forme, "OK");
  };
  execute("Prop1");
  r = rubrique("Été/sous dossier");
  EXPECT_TRUE(r.rafraichir() && r.icone_perso() && r.dans_iso() && !r.dans_hfs());
  EXPECT_FALSE(rubrique("Été/sous dossier/profond.txt").dans_hfs());
  EXPECT_TRUE(rubrique("Été/sous dossier/profond.txt").dans_iso());
}

TEST_F(ProjetFenetre, PropertiesOfSeveralItemsLeaveTheThirdStateAlone) {
  depose({sources()});
  fenetre_->va_au_dossier(numero("Été"));
  choisit({"naïf.txt"});
  reponses_["TPropProjet"] = [](QDialog &forme) {
    boite(forme, "DansIso")->setChecked(false);
    boite(forme, "CacheHfs")->setChecked(true);
    pousse(forme, "OK");
  };
  execute("Prop1");
  choisit({"naïf.txt", "Île.jpg", "sous dossier"});
  reponses_["TPropProjetMulti"] = [](QDialog &forme) {
    EXPECT_EQ(boite(forme, "DansIso")->checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(boite(forme, "DansHfs")->checkState(), Qt::Checked);
    EXPECT_EQ(boite(forme, "CacheHfs")->checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(boite(forme, "CacheIso")->checkState(), Qt::Unchecked);
    boite(forme, "CacheIso")->setCheckState(Qt::Checked);
    tape(forme, "EditCreateur", "ogle");
    pousse(forme, "OK");
  };
  execute("Prop1");
  EXPECT_FALSE(rubrique("Été/naïf.txt").dans_iso());
  EXPECT_TRUE(rubrique("Été/Île.jpg").dans_iso());
  EXPECT_EQ(rubrique("Été/naïf.txt").cache_hfs(), 1);
  EXPECT_EQ(rubrique("Été/Île.jpg").cache_hfs(), 0);
  for (const char *chemin : {"Été/naïf.txt", "Été/Île.jpg", "Été/sous dossier"})
    EXPECT_EQ(rubrique(chemin).cache_iso(), 1) << chemin;
  for (const char *chemin : {"Été/naïf.txt", "Été/Île.jpg"})
    EXPECT_EQ(std::string(rubrique(chemin).signature.data(), 8), "TEXTogle") << chemin;
  EXPECT_EQ(choisis().size(), 3);
}

TEST_F(ProjetFenetre, PropertiesAndLabelsOfTheProject) {
  const QString longue = QString(35, 'n') + ".txt";
  ecrit(bac_.filePath(longue), "x");
  reponses_["TTroncature"] = [](QDialog &forme) { forme.accept(); };
  depose({bac_.filePath(longue), sources()});
  messages_.clear();
  EXPECT_EQ(lit_champ(rubrique(longue.toUtf8().constData()).nom_hfs).size(), 31U);
  reponses_["TInfoProjet"] = [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QLabel *>("TotalFichiers")->text(), "5");
    EXPECT_EQ(forme.findChild<QLabel *>("RacineDossiers")->text(), "1");
    pousse(forme, "Calculer");
    EXPECT_TRUE(forme.findChild<QLabel *>("TailleReelle")->text().endsWith("MB"));
    boite(forme, "HfsPlus")->setChecked(true);
    boite(forme, "Reconstruire")->setChecked(true);
    boite(forme, "OuvrirRacine")->setChecked(true);
    pousse(forme, "OK");
  };
  execute("Info1");
  EXPECT_TRUE(fenetre_->projet()->hfsplus());
  EnteteProjet entete;
  ASSERT_TRUE(fenetre_->projet()->lit_entete(entete));
  EXPECT_TRUE(entete.hfsplus() && entete.reconstruire() && entete.ouvrir_racine() && !entete.icone_volume());
  EXPECT_EQ(lit_champ(rubrique(longue.toUtf8().constData()).nom_hfs), de_qt(longue));
  // Back: the long name is asked for, and giving it up leaves HFS+.
  reponses_["TInfoProjet"] = [](QDialog &forme) {
    boite(forme, "HfsPlus")->setChecked(false);
    pousse(forme, "OK");
  };
  execute("Info1");
  EXPECT_FALSE(fenetre_->projet()->hfsplus());
  EXPECT_EQ(lit_champ(rubrique(longue.toUtf8().constData()).nom_hfs).size(), 31U);
  // Labels: one that was never given is blank; the tree bears that of the view.
  reponses_["TLabels"] = [](QDialog &forme) {
    auto *iso = forme.findChild<QLineEdit *>("LabelIso");
    auto *hfs = forme.findChild<QLineEdit *>("LabelHfs");
    EXPECT_EQ(iso->text(), "");
    EXPECT_EQ(iso->maxLength(), 32);
    EXPECT_EQ(hfs->maxLength(), 27);
    iso->setText("DISQUE");
    hfs->setText(QString::fromUtf8("Été"));
    pousse(forme, "OK");
  };
  execute("Label");
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), "DISQUE");
  execute("VM1");
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), QString::fromUtf8("Été"));
  ASSERT_TRUE(fenetre_->projet()->lit_entete(entete));
  EXPECT_EQ(lit_champ(entete.label_hfs), nom_mac(de_qt(QString::fromUtf8("Été"))));
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
}

TEST_F(ProjetFenetre, IsoPlusProjectsHaveOneView) {
  execute("ModeIsop1");
  nouveau("essai.vnso");
  depose({sources() + "/naïf.txt", bac_.filePath("Été/sous dossier")});
  EXPECT_EQ(noms(), QStringList({"naïf.txt", "sous dossier"}));
  choisit({"naïf.txt"});
  reponses_["TPropIsop"] = [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QWidget *>("DansHfs"), nullptr);
    boite(forme, "CacheIso")->setChecked(true);
    forme.findChild<QLineEdit *>("NomIso")->setText("autre.txt");
    pousse(forme, "OK");
  };
  execute("Prop1");
  EXPECT_EQ(rubrique("naïf.txt").cache_iso(), 1);
  EXPECT_EQ(lit_champ(rubrique("naïf.txt").nom_iso), "autre.txt");
  execute("SAll");
  reponses_["TPropIsopMulti"] = [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QWidget *>("DansIso"), nullptr);
    EXPECT_EQ(boite(forme, "CacheIso")->checkState(), Qt::PartiallyChecked);
    boite(forme, "CacheIso")->setCheckState(Qt::Unchecked);
    pousse(forme, "OK");
  };
  execute("Prop1");
  EXPECT_EQ(rubrique("naïf.txt").cache_iso(), 0);
  reponses_["TInfoIsop"] = [](QDialog &forme) {
    EXPECT_EQ(forme.findChild<QWidget *>("OK"), nullptr);
    EXPECT_EQ(forme.findChild<QLabel *>("TotalFichiers")->text(), "2");
    pousse(forme, "Annuler");
  };
  execute("In1");
  reponses_["TLabelIsop"] = nomme(QString(40, 'L'), "LabelIso");
  execute("La1");
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString().size(), 32);
  EXPECT_EQ(formes_.count("TInfoIsop"), 1);
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
}

TEST_F(ProjetFenetre, WhatACrashLeftIsOffered) {
  execute("Fermer1");
  const QString defaut = bac_.filePath("Tarrowby/Varnion/vnpr.vnpr");
  const auto laisse = [&] {
    QDir().mkpath(QFileInfo(defaut).path());
    auto projet = FichierProjet::cree(de_qt(defaut), ModeProjet::hybride);
    ASSERT_TRUE(projet && ajout_dossier_virtuel(*projet, "perdu") != 0 && projet->ferme());
  };
  // Enter and Esc both go on with it.
  for (const bool reprend : {true, false}) {
    laisse();
    accepte_ = reprend;
    messages_.clear();
    ouvre_fenetre();
    ASSERT_EQ(messages_.size(), 1) << messages_.join('|').toStdString();
    EXPECT_TRUE(messages_[0].startsWith("TMessRep:") && messages_[0].contains("Items in it: 1."));
    EXPECT_EQ(noms(), QStringList("perdu"));
    EXPECT_FALSE(action("Enregistrer1")->isEnabled());
    fenetre_.reset();
    EXPECT_EQ(QFileInfo(defaut).size(), 2 * 756);
  }
  accepte_ = true;
  reponses_["TMessRep"] = [](QDialog &forme) { pousse(forme, "MessTiers"); };
  ouvre_fenetre();
  EXPECT_EQ(noms(), QStringList());
  EXPECT_EQ(QFileInfo(defaut).size(), 756);
}

TEST_F(ProjetFenetre, AProjectFileDeletedMeanwhileIsWrittenAnew) {
  const QString chemin = bac_.filePath("essai.vnpr");
  reponses_["TNouveauDossier"] = nomme("garde");
  execute("MD");
  ASSERT_TRUE(QFile::remove(chemin));
  execute("Enregistrer1");
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].contains("written anew"));
  ASSERT_TRUE(QFile::remove(chemin));
  execute("Fermer1");
  EXPECT_EQ(QFileInfo(chemin).size(), 2 * 756);
  // A file that is not there any more is refused, and the window goes on.
  ASSERT_TRUE(QFile::remove(chemin));
  messages_.clear();
  EXPECT_FALSE(fenetre_->router_parametre(de_qt(chemin)));
  EXPECT_EQ(messages_.size(), 1);
  EXPECT_FALSE(fenetre_->document_ouvert());
}

// Every form in both languages: each has its title, and no text is cut.
TEST_F(ProjetFenetre, FormsSpeakBothLanguagesAndFit) {
  depose({sources()});
  const QString images = qEnvironmentVariable("VN_IMAGES");
  const auto regarde = [&images](QDialog &forme) {
    EXPECT_FALSE(forme.windowTitle().isEmpty() || forme.windowTitle().startsWith('['));
    for (const QWidget *enfant : forme.findChildren<QWidget *>()) {
      if (!enfant->isVisibleTo(&forme) || qobject_cast<const QLineEdit *>(enfant) != nullptr) continue;
      const bool texte = qobject_cast<const QLabel *>(enfant) != nullptr ||
                         qobject_cast<const QAbstractButton *>(enfant) != nullptr;
      if (texte) {
        EXPECT_GE(enfant->width(), enfant->minimumSizeHint().width()) << enfant->objectName().toStdString();
      }
    }
    if (!images.isEmpty())
      forme.grab().save(images + "/" + forme.objectName() + (base_langue() != 0 ? "-fr" : "-en") + ".png");
    forme.reject();
  };
  for (const char *langue : {"En2", "Fr1"}) {
    execute(langue);
    formes_.clear();
    for (const char *forme :
         {"TNouveauDossier", "TRenommer", "TPropProjet", "TPropProjetMulti", "TInfoProjet", "TLabels"})
      reponses_[forme] = regarde;
    fenetre_->va_au_dossier(numero("Été"));
    execute("MD");
    choisit({"paquet.bin"});
    execute("Ren1");
    execute("Prop1");
    execute("SAll");
    execute("Prop1");
    execute("Info1");
    execute("Label");
    EXPECT_EQ(formes_.size(), 6) << formes_.join(' ').toStdString();
  }
}

}  // namespace
}  // namespace varnion
