// Compiles from the window: real projects, real boxes, and the image read by readers of its own.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>

#include <QAbstractButton>
#include <QCheckBox>
#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QUrl>

#include "app/qt/tcompilation.hpp"
#include "app/qt/texte_qt.hpp"
#include "compil/compilation.hpp"
#include "fenetre_essai.hpp"
#include "IO/plateforme.hpp"
#include "outils/arbre_source.hpp"
#include "outils/image_lue.hpp"
#include "outils/operations_script.hpp"
#include "projet/arborescence.hpp"
#include "projet/inclusion.hpp"

namespace varnion {
namespace {

namespace fs = std::filesystem;
using outils::ArbreSource;
using outils::octets_quelconques;

constexpr int kAttente = 60'000;  // milliseconds

// No stop, nothing kept: the images that a test needs before the window is asked.
struct SuiviMuet final : SuiviCompilation {
  bool debut_fichier(std::uint64_t, std::string_view, std::uint64_t) override { return true; }
  bool avance_fichier(std::uint64_t) override { return true; }
  bool fin_fichier(std::uint64_t) override { return true; }
  bool trace(std::string_view) override { return true; }
  bool texte(std::string_view) override { return true; }
};

class Compile : public Fenetre {
 protected:
  using Reponse = std::function<void(QDialog *)>;

  void SetUp() override {
    Fenetre::SetUp();
    minuterie_.stop();
    etat<OptionsProgramme>().vn_options |= kVnOptionSansCopie;
    guide_ = std::make_unique<QObject>();
    guette();
    cible_ = bac_.filePath("o.iso");
    fenetre_->demandes.enregistrer = [this](int, int filtre, const QString &depart, int extension) {
      demande_ = QString("%1 %2 %3").arg(filtre).arg(extension).arg(QString(depart).section('/', -1));
      return cible_;
    };
  }
  void TearDown() override {
    guide_.reset();
    Fenetre::TearDown();
    plateforme::vide_dossier_temporaire();
  }
  // A dialog is answered once; while its answer opens another one, that one is served too.
  void guette() {
    QTimer::singleShot(5, guide_.get(), [this] {
      guette();
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      if (forme == nullptr || forme == servie_) return;
      servie_ = forme;
      const auto *texte = forme->findChild<QLabel *>("texte");
      vus_ << forme->objectName() + ": " + (texte != nullptr ? texte->text() : forme->windowTitle());
      const auto reponse = reponses_.find(forme->objectName());
      reponse != reponses_.end() ? reponse->second(forme) : forme->accept();
      servie_ = nullptr;
    });
  }
  bool attend(const std::function<bool()> &fini) { return QTest::qWaitFor(fini, kAttente); }
  bool attend_fin() {
    return attend([this] { return !fenetre_->compilation_en_cours(); });
  }
  [[nodiscard]] bool vu(const QString &texte) const { return vus_.join('|').contains(texte); }
  [[nodiscard]] std::string tout_vu() const { return vus_.join('|').toStdString(); }

  std::string bac(const char *nom) const { return bac_.filePath(nom).toStdString(); }
  void bati(ArbreSource &a) {
    a.fichier("un.txt", octets_quelconques(3000, 1));
    a.fichier("deux.txt", octets_quelconques(100, 2));
    a.dossier("sous");
    a.fichier("sous/grand.dat", octets_quelconques(1'700'000, 3));
    a.fichier("sous/petit.dat", "petit");
  }
  // A project file with the content of a folder in a view, for the window to open.
  std::string projet(const char *nom, bool hfsplus = false, int vue = kVueRacine,
                     ModeProjet mode = ModeProjet::hybride) {
    auto &options = etat<OptionsProgramme>().vn_options;
    options = hfsplus ? options | kVnOptionHfsplus : options & ~kVnOptionHfsplus;
    const std::string chemin = bac(nom);
    auto neuf = FichierProjet::cree(chemin, mode);
    EXPECT_TRUE(neuf.has_value());
    neuf->vue_courante(vue);
    if (fs::exists(bac("src"))) {
      EXPECT_TRUE(inclusion_chemin_utf8(*neuf, bac("src") + "/*.*", kRacine).abouti());
    }
    EXPECT_TRUE(neuf->sauvegarde_entete() && neuf->ferme());
    return chemin;
  }
  void ouvre(const std::string &chemin) { ASSERT_TRUE(fenetre_->router_parametre(chemin)); }
  void image(const char *nom, GenreDemande genre) {
    auto lu = FichierProjet::ouvre(projet("tmp.vnpr"), ModeProjet::hybride);
    DemandeCompilation demande;
    demande.cible = bac(nom);
    demande.genre = genre;
    SuiviMuet suivi;
    ASSERT_EQ(varnion::compile_projet(*lu, demande, suivi).resultat, kCompilReussie);
  }
  void pose(const std::string &chemin, const std::string &octets) {
    std::ofstream(chemin, std::ios::binary) << octets;
  }
  std::string octets(const std::string &chemin) {
    const auto lus = outils::lit_fichier(chemin);
    return {lus.begin(), lus.end()};
  }
  [[nodiscard]] int restes() const {
    return static_cast<int>(QDir(bac_.path()).entryList({"o.iso.*", "o.dmg.*"}).size());
  }
  void boite(Reponse reponse) { reponses_["TCompilation"] = std::move(reponse); }

  std::unique_ptr<QObject> guide_;
  std::map<QString, Reponse> reponses_;
  QDialog *servie_ = nullptr;
  QStringList vus_;
  QString cible_, demande_;
};

QLineEdit *champ(QWidget *forme, const char *nom) {
  return forme->findChild<QLineEdit *>(nom);
}

TEST_F(Compile, MakesAHybridImageWhileTheWindowLives) {
  for (const bool plus : {false, true}) {
    SCOPED_TRACE(plus);
    vus_.clear();
    fs::remove_all(bac("src"));
    ArbreSource source(bac("src"));
    bati(source);
    ouvre(projet(plus ? "plus.vnpr" : "hfs.vnpr", plus));
    boite([](QDialog *forme) {
      EXPECT_EQ(forme->windowTitle(), "Compiling a Hybrid Image");
      EXPECT_EQ(champ(forme, "label_iso")->text(), "o");  // "Untitled" never reaches the disc
      QTest::keyClicks(champ(forme, "label_iso"), "ONE DISC");
      QTest::keyClick(forme, Qt::Key_Return);
    });
    execute("Compil1");
    ASSERT_TRUE(fenetre_->compilation_en_cours()) << tout_vu();
    EXPECT_EQ(demande_, QString("1367 1370 ") + (plus ? "plus.iso" : "hfs.iso"));
    EXPECT_EQ(action("Compil1")->text(), "Abort Compilation");
    for (const char *nom :
         {"Nouveau1", "Ouvrir1", "Enregistrer1", "EnregistrerAs1", "Fermer1", "Info1", "Label", "Quitter1"})
      EXPECT_FALSE(action(nom)->isEnabled()) << nom;
    for (const char *nom : {"Fichiers", "Special1", "Options1"})
      EXPECT_FALSE(fenetre_->findChild<QMenu *>(nom)->menuAction()->isEnabled()) << nom;
    const QPointer<QDialog> progres = fenetre_->findChild<QDialog *>("TVarProgress");
    ASSERT_TRUE(progres != nullptr && progres->isVisible() && !progres->isModal());
    progres->reject();
    EXPECT_TRUE(progres->isVisible());

    // Files are refused, the panes are walked.
    QMimeData fichiers;
    fichiers.setUrls({QUrl::fromLocalFile(bac_.filePath("src/un.txt"))});
    QDragEnterEvent entree(QPoint(5, 5), Qt::CopyAction, &fichiers, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(panneau("LV")->viewport(), &entree);
    EXPECT_FALSE(entree.isAccepted());
    emit panneau("LV")->activated(panneau("LV")->model()->index(0, 0));
    EXPECT_EQ(texte_panneau(3), "Files: 2");

    ASSERT_TRUE(attend_fin());
    EXPECT_TRUE(vu("TMessOK: CD-ROM of 2 MB\n(1 folders and 4 files).\nCompilation succeeded.")) << tout_vu();
    EXPECT_EQ(action("Compil1")->text(), "Com&pile...");
    EXPECT_TRUE(action("Nouveau1")->isEnabled());
    EXPECT_TRUE(progres.isNull() || !progres->isVisible());
    outils::ImageLue image = outils::lit_image(cible_.toStdString(), {true, true, plus});
    outils::Confrontation(image, source, image.fautes).verifie();
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    EXPECT_EQ(octets(cible_.toStdString()).substr(0x8028, 12), "ONE_DISC    ");
    EXPECT_EQ(restes(), 0);
    fs::remove(cible_.toStdString());
  }
  EXPECT_EQ(reglages().dossier_compile, bac("") + "/");
}

TEST_F(Compile, TellsWhichViewIsEmpty) {
  ArbreSource source(bac("src"));
  bati(source);
  const struct {
    int vue;
    ModeProjet mode;
    const char *fichier, *avis, *titre, *demande;
    outils::Cotes cotes;
    int limite;
  } cas[] = {
      {kVueIso,
       ModeProjet::hybride,
       "i.vnpr",
       "in pure ISO mode",
       "Compiling an ISO Image",
       "1367 1370 i.iso",
       {true, false, false},
       32},
      {kVueHfs,
       ModeProjet::hybride,
       "h.vnpr",
       "in pure HFS/HFS+ mode",
       "Compiling a Macintosh Image",
       "1410 1411 h.dmg",
       {false, true, false},
       27},
      {kVueRacine,
       ModeProjet::isop,
       "p.vnso",
       "TCompilation",
       "Compiling an ISO+ Image",
       "1367 1370 p.iso",
       {true, false, false, true},
       32},
  };
  for (const auto &c : cas) {
    SCOPED_TRACE(c.fichier);
    vus_.clear();
    ouvre(projet(c.fichier, false, c.vue, c.mode));
    boite([&](QDialog *forme) {
      EXPECT_EQ(forme->windowTitle(), c.titre);
      auto *label = champ(forme, c.cotes.iso ? "label_iso" : "label_hfs");
      ASSERT_NE(label, nullptr);
      EXPECT_EQ(label->maxLength(), c.limite);
      EXPECT_EQ(champ(forme, "label_hfs") != nullptr, c.cotes.mac);
      EXPECT_EQ(forme->findChild<QAbstractButton *>("Avance") != nullptr, c.cotes.iso);
      EXPECT_EQ(forme->findChild<QCheckBox *>("hfsplus") != nullptr, c.cotes.mac);
      EXPECT_TRUE(forme->findChild<QCheckBox *>("postgap")->isChecked());
      forme->accept();
    });
    execute(c.mode == ModeProjet::isop ? "CompISOP" : "Compil1");
    ASSERT_TRUE(attend_fin());
    EXPECT_TRUE(vu(c.avis) && vu("Compilation succeeded.")) << tout_vu();
    EXPECT_EQ(demande_, c.demande);
    const outils::ImageLue image = outils::lit_image(cible_.toStdString(), c.cotes);
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    fs::remove(cible_.toStdString());
  }
  fs::remove_all(bac("src"));
  for (const auto &[nom, mode] :
       {std::pair("v.vnpr", ModeProjet::hybride), std::pair("v.vnso", ModeProjet::isop)}) {
    vus_.clear();
    ouvre(projet(nom, false, kVueRacine, mode));
    execute(mode == ModeProjet::isop ? "CompISOP" : "Compil1");
    EXPECT_FALSE(fenetre_->compilation_en_cours());
    ASSERT_EQ(vus_.size(), 1) << tout_vu();
    EXPECT_TRUE(vu("The project file contains no files")) << tout_vu();
  }
}

TEST_F(Compile, StopsAndKeepsTheOlderImage) {
  ArbreSource source(bac("src"));
  source.fichier("un.txt", "un");
  pose(bac("src") + "/grand.dat", "x");
  fs::resize_file(bac("src") + "/grand.dat", 300'000'000);
  ouvre(projet("p.vnpr"));
  const auto progres = [this] { return fenetre_->findChild<QDialog *>("TVarProgress"); };
  const std::function<void()> facons[] = {
      [&] { execute("Compil1"); },
      [&] { progres()->findChild<QAbstractButton *>("Arret")->click(); },
      [&] {
        const auto *barre = progres()->findChild<QProgressBar *>("PBGeneral");
        EXPECT_TRUE(attend([&] { return barre->value() > 0; }));
        EXPECT_GT(progres()->findChild<QProgressBar *>("PBFichier")->maximum(), 1);
        EXPECT_TRUE(progres()->findChild<QLabel *>("Texte")->text().contains("grand.dat"));
        execute("CompProj");
      },
      [&] { fenetre_->close(); },
  };
  for (const auto &stoppe : facons) {
    vus_.clear();
    pose(cible_.toStdString(), "before");
    execute("Compil1");
    ASSERT_TRUE(fenetre_->compilation_en_cours()) << tout_vu();
    const auto avant = vus_.size();  // the file is there (1061), and the box
    EXPECT_EQ(avant, 2);
    stoppe();
    ASSERT_TRUE(attend_fin());
    EXPECT_TRUE(vus_.last().contains("Current compilation was aborted at your request.")) << tout_vu();
    EXPECT_EQ(octets(cible_.toStdString()), "before");
    EXPECT_EQ(restes(), 0);
  }
  EXPECT_TRUE(attend([this] { return !fenetre_->isVisible(); }));
  EXPECT_TRUE(vu("TMessON: A compile is running.")) << tout_vu();
  auto lu = FichierProjet::ouvre(bac("p.vnpr"), ModeProjet::hybride);
  ASSERT_TRUE(lu.has_value());
  EXPECT_EQ(lu->nb_rubriques(), 2U);
}

TEST_F(Compile, GoingAwayWithTheWindowStopsTheRun) {
  ArbreSource source(bac("src"));
  source.fichier("un.txt", "un");
  pose(bac("src") + "/grand.dat", "x");
  fs::resize_file(bac("src") + "/grand.dat", 300'000'000);
  ouvre(projet("p.vnpr"));
  execute("Compil1");
  ASSERT_TRUE(fenetre_->compilation_en_cours());
  fenetre_.reset();
  EXPECT_FALSE(fs::exists(cible_.toStdString()));
  EXPECT_EQ(restes(), 0);
}

TEST_F(Compile, ADocumentFromOutsideWaitsForTheEnd) {
  ArbreSource source(bac("src"));
  bati(source);
  const std::string autre = projet("autre.vnpr"), ici = projet("p.vnpr");
  ouvre(ici);
  execute("Compil1");
  ASSERT_TRUE(fenetre_->compilation_en_cours());
  fenetre_->recoit_document(QString::fromStdString(autre));
  EXPECT_EQ(fenetre_->chemin_document(), ici);
  ASSERT_TRUE(attend_fin());
  EXPECT_TRUE(vu("Compilation succeeded.")) << tout_vu();
  EXPECT_TRUE(attend([&] { return fenetre_->chemin_document() == autre; }));
}

TEST_F(Compile, ADiskThatFillsIsNamedAndLeavesTheOlderImage) {
  ArbreSource source(bac("src"));
  bati(source);
  ouvre(projet("p.vnpr"));
  pose(cible_.toStdString(), "before");
  {
    const essai::DisquePlein plein(1'000'000);
    execute("Compil1");
    ASSERT_TRUE(attend_fin());
  }
  ASSERT_GE(vus_.size(), 3);
  EXPECT_TRUE(vus_[vus_.size() - 2].contains("cannot be written")) << tout_vu();
  EXPECT_TRUE(vus_.last().contains("aborted")) << tout_vu();
  EXPECT_EQ(octets(cible_.toStdString()), "before");
  EXPECT_EQ(restes(), 0);
}

TEST_F(Compile, RefusedTargetsAreToldBeforeTheBox) {
  ArbreSource source(bac("src"));
  bati(source);
  const std::string chemin = projet("p.vnpr");
  const std::string avant = octets(chemin);
  ouvre(chemin);
  for (const QString &cible :
       {QString(), bac_.filePath("p.vnpr"), bac_.filePath("absent/o.iso"), bac_.path()}) {
    vus_.clear();
    cible_ = cible;
    execute("Compil1");
    EXPECT_FALSE(fenetre_->compilation_en_cours());
    EXPECT_EQ(vus_.size(), cible.isEmpty() ? 0 : 1) << tout_vu();
    EXPECT_FALSE(vu("TCompilation"));
  }
  EXPECT_EQ(octets(chemin).size(), avant.size());
}

TEST_F(Compile, ListsTheSourcesThatVanished) {
  ArbreSource source(bac("src"));
  bati(source);
  ouvre(projet("p.vnpr"));
  fs::remove(bac("src") + "/deux.txt");
  QString liste;
  reponses_["TRemarques"] = [&](QDialog *forme) {
    liste = forme->findChild<QPlainTextEdit *>("Liste")->toPlainText();
    forme->accept();
  };
  execute("Compil1");
  ASSERT_TRUE(attend_fin());
  EXPECT_TRUE(liste.contains("deux.txt")) << tout_vu();
  EXPECT_TRUE(vu("TRemarques: CD-ROM of") && vu("Compilation succeeded.")) << tout_vu();
  const outils::ImageLue image = outils::lit_image(cible_.toStdString(), {true, true, false});
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
  EXPECT_EQ(image.joliet.trouve("deux.txt;1"), nullptr);
  EXPECT_NE(image.joliet.trouve("un.txt;1"), nullptr);

  // Rebuilt first, the project forgets what is gone, and nothing is left to list.
  vus_.clear();
  liste.clear();
  boite([](QDialog *forme) {
    forme->findChild<QCheckBox *>("reconstruire")->setChecked(true);
    forme->accept();
  });
  execute("Compil1");
  ASSERT_TRUE(attend_fin());
  EXPECT_TRUE(liste.isEmpty() && vu("TMessOK: CD-ROM of 2 MB\n(1 folders and 3 files).")) << tout_vu();
  EXPECT_EQ(texte_panneau(3), "Files: 1");

  // What lies beside its items is asked about, once where the answer is to be kept.
  source.fichier("neuf.txt", "neuf");
  reponses_["TMessONT"] = [](QDialog *forme) {
    EXPECT_TRUE(forme->findChild<QLabel *>("texte")->text().contains("\nneuf.txt\n"));
    EXPECT_TRUE(forme->findChild<QPushButton *>("MessNon")->isDefault());
    forme->findChild<QCheckBox *>("Toujours")->setChecked(true);
    forme->reject();
  };
  for (const int questions : {1, 0}) {
    vus_.clear();
    execute("Compil1");
    ASSERT_TRUE(attend_fin());
    EXPECT_EQ(vus_.filter("TMessONT").size(), questions) << tout_vu();
    EXPECT_TRUE(vu("(1 folders and 3 files)")) << tout_vu();
  }
}

TEST_F(Compile, TheBoxChangesTheProject) {
  ArbreSource source(bac("src"));
  bati(source);
  ouvre(projet("p.vnpr"));
  boite([this](QDialog *forme) {
    auto *hfs = champ(forme, "label_hfs");
    EXPECT_EQ(hfs->maxLength(), 27);
    forme->findChild<QCheckBox *>("hfsplus")->setChecked(true);
    EXPECT_EQ(hfs->maxLength(), 62);
    hfs->selectAll();
    QTest::keyClicks(hfs, "A volume name of more than twenty-seven");
    reponses_["TDescripteurIso"] = [](QDialog *descripteur) {
      EXPECT_TRUE(champ(descripteur, "id_systeme")->text().startsWith("Varnion - "));
      EXPECT_EQ(champ(descripteur, "id_systeme")->maxLength(), 32);
      EXPECT_EQ(champ(descripteur, "fichier_biblio")->maxLength(), 12);
      champ(descripteur, "label_iso")->setText("NAME OF MORE THAN SIXTEEN");
      champ(descripteur, "id_editeur")->setText("Tarrowby");
      champ(descripteur, "fichier_resume")->setText("ABSTRACT.TXT");
      descripteur->accept();
    };
    forme->findChild<QAbstractButton *>("Avance")->click();
    EXPECT_EQ(champ(forme, "label_iso")->text(), "NAME OF MORE THAN SIXTEEN");
    forme->accept();
  });
  execute("Compil1");
  ASSERT_TRUE(attend_fin());
  EXPECT_TRUE(vu("TDescripteurIso: ISO Descriptor") && vu("succeeded")) << tout_vu();
  EXPECT_TRUE(fenetre_->projet()->hfsplus());
  const outils::ImageLue image = outils::lit_image(cible_.toStdString(), {true, true, true});
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
  const std::string disque = octets(cible_.toStdString());
  EXPECT_EQ(disque.substr(0x8000 + 318, 9), "TARROWBY ");
  EXPECT_EQ(disque.substr(0x8000 + 739, 12), "ABSTRACT.TXT");
  EnteteProjet entete;
  ASSERT_TRUE(fenetre_->projet()->lit_entete(entete));
  EXPECT_EQ(lit_champ(entete.label_iso), "NAME OF MORE THAN SIXTEEN");
  EXPECT_EQ(lit_champ(entete.label_hfs), "A volume name of more than twenty-seven");

  // Given up, the box changes nothing and leaves no file.
  fs::remove(cible_.toStdString());
  boite([](QDialog *forme) {
    forme->findChild<QCheckBox *>("hfsplus")->setChecked(false);
    forme->reject();
  });
  execute("Compil1");
  EXPECT_FALSE(fenetre_->compilation_en_cours());
  EXPECT_TRUE(fenetre_->projet()->hfsplus());
  EXPECT_FALSE(fs::exists(cible_.toStdString()));
  EXPECT_EQ(restes(), 0);
}

TEST_F(Compile, ClassicHfsIsRefusedForTooManyItems) {
  ouvre(projet("p.vnpr"));
  ProposeCompilation propose;
  propose.nature = Nature::hybride_hfsplus;
  propose.comptes.fichiers_hfs = 70'000;
  boite([](QDialog *forme) {
    auto *plus = forme->findChild<QCheckBox *>("hfsplus");
    plus->click();
    EXPECT_TRUE(plus->isChecked());
    forme->accept();
  });
  const auto choix = boite_compilation(fenetre_.get(), *fenetre_->projet(), propose);
  ASSERT_TRUE(choix.has_value());
  EXPECT_TRUE(choix->hfsplus);
  EXPECT_TRUE(vu("You can't select the HFS format")) << tout_vu();
}

TEST_F(Compile, SpeaksFrench) {
  ArbreSource source(bac("src"));
  bati(source);
  ouvre(projet("p.vnpr"));
  execute("Fr1");
  boite([](QDialog *forme) {
    EXPECT_EQ(forme->windowTitle(), "Compilation d\u2019une image hybride");
    EXPECT_EQ(forme->findChild<QCheckBox *>("postgap")->text(), "Ajouter le &postgap");
    EXPECT_EQ(champ(forme, "label_iso")->text(), "o");
    forme->accept();
  });
  execute("Compil1");
  EXPECT_EQ(action("Compil1")->text(), "Abandonner la compilation");
  const auto *progres = fenetre_->findChild<QDialog *>("TVarProgress");
  ASSERT_NE(progres, nullptr);
  EXPECT_EQ(progres->findChild<QAbstractButton *>("Arret")->text(), "Abandonner la compilation");
  ASSERT_TRUE(attend_fin());
  EXPECT_TRUE(vu(vers_qt(charger_chaine(1295)).trimmed())) << tout_vu();
  EXPECT_EQ(action("Compil1")->text(), "Com&piler...");
}

// The forms of hybridation and deshybridation, filled in and then answered.
class Images : public Compile {
 protected:
  struct Vue {
    QString cible, effets, pertes, bouton;
    bool permis = false;
  };
  // Types the paths ("" leaves the target that is proposed), keeps what the form says, and takes it when that
  // is permitted; whatever then stays open is given up.
  void remplit(const char *forme, const QString &source, const QString &cible, bool prend = true) {
    reponses_[forme] = [this, source, cible, prend](QDialog *f) {
      const auto tape = [f](const char *nom, const QString &texte) {
        champ(f, nom)->setText(texte);
        emit champ(f, nom)->editingFinished();
      };
      tape("Source", source);
      if (!cible.isEmpty()) tape("Cible", cible);
      auto *ok = f->findChild<QAbstractButton *>("OK");
      const auto *pertes = f->findChild<QLabel *>("Pertes");
      vue_ = {champ(f, "Cible")->text(), f->findChild<QLabel *>("Effets")->text(),
              pertes->isVisible() ? pertes->text() : QString(), ok->text(), ok->isEnabled()};
      // No line of what is told is cut.
      for (const char *nom : {"Effets", "Pertes"}) {
        const auto *dit = f->findChild<QLabel *>(nom);
        EXPECT_TRUE(!dit->isVisible() || dit->height() >= dit->heightForWidth(dit->width())) << nom;
      }
      if (prend) ok->click();
      if (f->isVisible()) f->reject();
    };
  }
  // The next question: No must be what Enter gives.
  void question(const QString &texte, bool oui) {
    reponses_["TMessON"] = [texte, oui](QDialog *f) {
      EXPECT_TRUE(f->findChild<QLabel *>("texte")->text().contains(texte))
          << f->findChild<QLabel *>("texte")->text().toStdString();
      EXPECT_TRUE(f->findChild<QPushButton *>("MessNon")->isDefault());
      oui ? f->accept() : f->reject();
    };
  }
  QString ici(const char *nom) const { return bac_.filePath(nom); }
  QStringList fichiers() const { return QDir(bac_.path()).entryList(QDir::Files); }

  Vue vue_;
};

TEST_F(Images, AreJoinedAndPartedToNewFiles) {
  ArbreSource source(bac("src"));
  bati(source);
  image("iso.iso", GenreDemande::iso);
  image("mac.dmg", GenreDemande::mac);
  const std::string iso = octets(bac("iso.iso"));
  const std::string mac = octets(bac("mac.dmg"));
  ouvre(bac("mac.dmg"));
  const QStringList avant = fichiers();
  remplit("THybridation", ici("iso.iso"), {}, false);
  execute("Hybrid1");
  EXPECT_EQ(vue_.cible, ici("iso-hybrid.iso"));
  EXPECT_EQ(vue_.bouton, "&Create Image");
  EXPECT_TRUE(vue_.permis && vue_.effets.contains("Both images stay as they are"))
      << vue_.effets.toStdString();
  EXPECT_TRUE(vue_.pertes.isEmpty()) << vue_.pertes.toStdString();
  EXPECT_EQ(fichiers(), avant);
  remplit("THybridation", ici("iso.iso"), {});
  execute("Hybrid1");
  EXPECT_EQ(vus_.size(), 2) << tout_vu();
  EXPECT_TRUE(fenetre_->statusBar()->currentMessage().contains("hybrid image"));
  const outils::ImageLue lue = outils::lit_image(bac("iso-hybrid.iso"), {.jointe = true});
  EXPECT_TRUE(lue.fautes.vide()) << lue.fautes.texte();
  EXPECT_EQ(octets(bac("iso.iso")), iso);
  EXPECT_EQ(octets(bac("mac.dmg")), mac);
  // Its name is taken now: the next one proposed is free.
  remplit("THybridation", ici("iso.iso"), {}, false);
  execute("Hybrid1");
  EXPECT_EQ(vue_.cible, ici("iso-hybrid-2.iso"));

  const std::string hybride = octets(bac("iso-hybrid.iso"));
  remplit("TDeshybridation", ici("iso-hybrid.iso"), {});
  execute("Desh1");
  EXPECT_EQ(vue_.cible, ici("iso-hybrid-iso.iso"));
  EXPECT_TRUE(vue_.effets.contains("The hybrid image stays as it is")) << vue_.effets.toStdString();
  EXPECT_TRUE(fenetre_->statusBar()->currentMessage().contains("ISO image"));
  EXPECT_EQ(octets(bac("iso-hybrid-iso.iso")).substr(2560), iso.substr(2560));
  EXPECT_EQ(octets(bac("iso-hybrid.iso")), hybride);

  // A file that has the name of the target goes for an answer alone.
  pose(bac("pris.iso"), "older");
  remplit("TDeshybridation", ici("iso-hybrid.iso"), ici("pris.iso"));
  question("exists already", false);
  execute("Desh1");
  EXPECT_TRUE(vue_.pertes.contains("pris.iso exists already and is replaced")) << vue_.pertes.toStdString();
  EXPECT_EQ(octets(bac("pris.iso")), "older");
  question("exists already", true);
  execute("Desh1");
  EXPECT_EQ(octets(bac("pris.iso")), octets(bac("iso-hybrid-iso.iso")));
}

TEST_F(Images, ThatCannotBeTakenSayWhy) {
  ArbreSource source(bac("src"));
  bati(source);
  image("iso.iso", GenreDemande::iso);
  image("mac.dmg", GenreDemande::mac);
  image("h.iso", GenreDemande::hybride);
  pose(bac("boot.iso"), std::string(2048, 'b') + octets(bac("iso.iso")).substr(2048));
  ouvre(bac("mac.dmg"));
  const QStringList avant = fichiers();
  const struct {
    const char *commande, *forme, *source, *cible, *raison;
  } refus[] = {
      {"Hybrid1", "THybridation", "h.iso", "", "already contains a Macintosh partition"},
      {"Hybrid1", "THybridation", "absent.iso", "x.iso", "cannot be opened"},
      {"Hybrid1", "THybridation", "iso.iso", "mac.dmg", "is open in this window"},
      {"Desh1", "TDeshybridation", "iso.iso", "", "names no partition"},
      {"Desh1", "TDeshybridation", "h.iso", "mac.dmg", "is open in this window"},
  };
  for (const auto &[commande, forme, depuis, cible, raison] : refus) {
    remplit(forme, ici(depuis), *cible == '\0' ? QString() : ici(cible));
    execute(commande);
    EXPECT_FALSE(vue_.permis) << commande << ' ' << depuis;
    EXPECT_TRUE(vue_.effets.contains(raison)) << vue_.effets.toStdString();
  }
  EXPECT_EQ(fichiers(), avant);
  // What would be lost is told ahead, and asked about.
  remplit("TDeshybridation", ici("h.iso"), {});
  question("would be lost with it", false);
  execute("Desh1");
  EXPECT_TRUE(vue_.pertes.contains("their content is lost")) << vue_.pertes.toStdString();
  remplit("THybridation", ici("boot.iso"), {});
  question("not empty", false);
  execute("Hybrid1");
  EXPECT_TRUE(vue_.pertes.contains("Boot code")) << vue_.pertes.toStdString();
  EXPECT_EQ(fichiers(), avant);
}

TEST_F(Images, AreChangedThemselvesOnlyWhenThatIsConfirmed) {
  ArbreSource source(bac("src"));
  bati(source);
  image("iso.iso", GenreDemande::iso);
  image("mac.dmg", GenreDemande::mac);
  const std::string iso = octets(bac("iso.iso"));
  ouvre(bac("mac.dmg"));
  const QStringList avant = fichiers();
  remplit("THybridation", ici("iso.iso"), ici("iso.iso"));
  question("itself is changed", false);
  execute("Hybrid1");
  EXPECT_EQ(vue_.bouton, "&Change Image");
  EXPECT_TRUE(vue_.pertes.contains("The ISO image itself is changed")) << vue_.pertes.toStdString();
  EXPECT_TRUE(octets(bac("iso.iso")) == iso);
  question("itself is changed", true);
  execute("Hybrid1");
  const outils::ImageLue lue = outils::lit_image(bac("iso.iso"), {.jointe = true});
  EXPECT_TRUE(lue.fautes.vide()) << lue.fautes.texte();
  const std::string hybride = octets(bac("iso.iso"));
  remplit("TDeshybridation", ici("iso.iso"), ici("iso.iso"));
  question("itself is changed", false);
  execute("Desh1");
  EXPECT_TRUE(octets(bac("iso.iso")) == hybride);
  question("itself is changed", true);
  execute("Desh1");
  EXPECT_TRUE(octets(bac("iso.iso")).substr(2560) == iso.substr(2560));
  EXPECT_EQ(fichiers(), avant);

  // Esc on the way leaves the ISO file as it was, and nothing of a new one.
  execute("Fermer2");
  fs::resize_file(bac("mac.dmg"), 400'000'000);
  ouvre(bac("mac.dmg"));
  const std::string entier = octets(bac("iso.iso"));
  for (const char *cible : {"iso.iso", "neuf.iso"}) {
    remplit("THybridation", ici("iso.iso"), ici(cible));
    QTimer echappe;
    QObject::connect(&echappe, &QTimer::timeout, [this] {
      if (operations_->occupe() && QApplication::activeModalWidget() == nullptr)
        QTest::keyClick(fenetre_.get(), Qt::Key_Escape);
    });
    echappe.start(1);
    execute("Hybrid1");
    echappe.stop();
    EXPECT_TRUE(octets(bac("iso.iso")) == entier);
    EXPECT_TRUE(fenetre_->statusBar()->currentMessage().contains("not joined")) << cible;
    EXPECT_EQ(fichiers(), avant);
  }
}

}  // namespace
}  // namespace varnion
