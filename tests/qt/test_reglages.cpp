#include <gtest/gtest.h>

#include <QCheckBox>
#include <QDir>
#include <QHeaderView>
#include <QLineEdit>
#include <QPaintEngine>
#include <QPainter>
#include <QPdfWriter>
#include <QPrinter>
#include <QSpinBox>
#include <QTest>

#include "app/noyau/journal.hpp"
#include "app/noyau/routage.hpp"
#include "app/noyau/types_fichiers.hpp"
#include "app/qt/impression.hpp"
#include "app/qt/texte_qt.hpp"
#include "essai_formes.hpp"
#include "IO/operations.hpp"
#include "projet/noms_rubrique.hpp"
#include "projet/signatures.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = "hfs/hformat_800k.hfs";

class ReglagesQt : public Formes {
 protected:
  static void coche(QDialog &forme, const char *nom, bool oui) {
    champ<QCheckBox>(forme, nom)->setChecked(oui);
  }
  static void largeur(QDialog &forme, const char *nom, int valeur) {
    champ<QSpinBox>(forme, nom)->setValue(valeur);
  }
  void preferences(Geste geste) {
    attend("TVarPref", [geste = std::move(geste)](QDialog &forme) {
      geste(forme);
      clique(forme, "OK");
    });
    execute("Pref1");
  }
};

TEST_F(ReglagesQt, PreferencesStoreEachBoxAndActAtOnce) {
  struct Case {
    const char *nom;
    bool vn;
    std::uint32_t bit;
  };
  constexpr Case kCases[] = {{"SavMode", true, 0x1},  {"SavTronq", true, 0x2},
                             {"SavBack", true, 0x4},  {"journal", true, 0x400},
                             {"Sequoia", true, 0x10}, {"CachBarr2", false, 0x80},
                             {"OpenRoot", true, 0x8}, {"VolRefresh", true, 0x200},
                             {"Cache", false, 0x100}, {"ValDel", false, 0x400}};
  const OptionsProgramme &options = etat<OptionsProgramme>();
  for (const bool oui : {true, false})
    for (const Case &boite : kCases) {
      preferences([&](QDialog &forme) { coche(forme, boite.nom, oui); });
      const std::uint32_t mot = boite.vn ? options.vn_options : options.options;
      EXPECT_EQ((mot & boite.bit) != 0, oui) << boite.nom;
      const std::string_view nom = boite.nom;
      if (nom == "SavTronq") {
        EXPECT_EQ(troncature_noms().iso, oui);
      } else if (nom == "CachBarr2") {
        EXPECT_EQ(fenetre_->findChild<QWidget *>("BarreProj")->isVisible(), !oui);
        EXPECT_EQ(action("CachBarre")->isChecked(), oui);
      }
    }
  EXPECT_EQ(options.options, 0U);
  EXPECT_EQ(options.vn_options, 0U);

  preferences([](QDialog &forme) {
    auto *taille = champ<QSpinBox>(forme, "EdMaxProj");
    taille->selectAll();
    QTest::keyClicks(taille, "1 350");
    taille->interpretText();
    EXPECT_EQ(taille->value(), 1350);
    taille->stepUp();
    EXPECT_EQ(champ<QSpinBox>(forme, "EdMaxIsop")->maximum(), 17000);
  });
  EXPECT_EQ(reglages().taille_projet, 1400);
  // Esc gives up.
  attend("TVarPref", [](QDialog &forme) {
    coche(forme, "SavMode", true);
    QTest::keyClick(&forme, Qt::Key_Escape);
  });
  execute("Pref1");
  EXPECT_EQ(options.vn_options, 0U);
}

// Each form in both languages: its title, and every text in its own room.
TEST_F(ReglagesQt, FormsFollowTheLanguageAndCutNoText) {
  struct Cas {
    const char *commande, *forme;
    int titre;
  };
  for (const char *langue : {"Fr1", "En2"}) {
    execute(langue);
    for (const Cas &cas :
         {Cas{"Rech1", "TRechFich", 1241}, Cas{"RSig", "TRRSig", 1389}, Cas{"Col", "TColonnes", 1306},
          Cas{"Log1", "TJournal", 1554}, Cas{"Registre1", "TRegistre", 7214},
          Cas{"RFT", "TTypesFichiers", 1400}, Cas{"Pref1", "TVarPref", 1430}}) {
      attend(cas.forme, [&](QDialog &forme) {
        EXPECT_EQ(forme.windowTitle(), chaine_qt(cas.titre)) << langue;
        for (const QWidget *texte : forme.findChildren<QWidget *>()) {
          const bool montre = qobject_cast<const QLabel *>(texte) != nullptr ||
                              qobject_cast<const QAbstractButton *>(texte) != nullptr;
          if (!montre || !texte->isVisible() || texte->objectName().startsWith("Scroll")) continue;
          EXPECT_GE(texte->width(), texte->sizeHint().width())
              << langue << " " << cas.forme << " " << texte->objectName().toStdString();
        }
        forme.reject();
      });
      execute(cas.commande);
    }
  }
}

TEST_F(ReglagesQt, HiddenItemsShowAsSoonAsWanted) {
  fenetre_->demandes.enregistrer = [this](int, int, const QString &, int) { return bac_.filePath("c.hfs"); };
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee("dmg/impluse-test-disk.dmg")));
  const int avant = panneau("LV")->model()->rowCount();
  preferences([](QDialog &forme) { coche(forme, "Cache", true); });
  EXPECT_GT(panneau("LV")->model()->rowCount(), avant);
  preferences([](QDialog &forme) { coche(forme, "Cache", false); });
  EXPECT_EQ(panneau("LV")->model()->rowCount(), avant);
}

TEST_F(ReglagesQt, ColumnsHideReturnAndGoBackToTheDefault) {
  auto *lv = panneau("LV");
  const int ancienne = lv->columnWidth(1);
  attend("TColonnes", [](QDialog &forme) {
    coche(forme, "Voir3", false);
    largeur(forme, "Largeur0", 222);
    largeur(forme, "Largeur1", 0);  // still checked: as it was
    coche(forme, "VoirArbre", false);
    clique(forme, "OK");
  });
  execute("Col");
  EXPECT_TRUE(lv->isColumnHidden(3));
  EXPECT_EQ(lv->columnWidth(0), 222);
  EXPECT_EQ(lv->columnWidth(1), ancienne);
  EXPECT_FALSE(panneau("TV")->isVisible());

  attend("TColonnes", [](QDialog &forme) {
    EXPECT_EQ(champ<QSpinBox>(forme, "Largeur3")->value(), 0);
    coche(forme, "Voir3", true);
    clique(forme, "OK");
  });
  execute("Col");
  EXPECT_EQ(lv->columnWidth(3), 70);

  attend("TColonnes", [](QDialog &forme) {
    champ<QAbstractButton>(forme, "Defaut")->click();
    clique(forme, "OK");
  });
  execute("Col");
  EXPECT_EQ(lv->columnWidth(0), 160);
  EXPECT_TRUE(panneau("TV")->isVisible());
  EXPECT_NEAR(panneau("TV")->width(), 120, 2);
}

TEST_F(ReglagesQt, LogOpensEmptiesAndCloses) {
  const QString chemin = bac_.filePath("work.log");
  fenetre_->demandes.enregistrer = [&](int titre, int, const QString &, int) {
    EXPECT_EQ(titre, 1560);
    return chemin;
  };
  etat<OptionsProgramme>().vn_options |= kVnOptionJournal;
  attend("TJournal", [](QDialog &forme) {
    EXPECT_TRUE(champ<QLineEdit>(forme, "EditJournal")->text().endsWith("varnion.log"));
    EXPECT_FALSE(champ<QAbstractButton>(forme, "JournalFermer")->isEnabled());
    champ<QLineEdit>(forme, "EditJournal")->clear();
    clique(forme, "JournalOuvrir");
  });
  attend("TJournal", [&](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "EditJournal")->text(), chemin);
    EXPECT_FALSE(champ<QAbstractButton>(forme, "JournalOuvrir")->isEnabled());
    clique(forme, "OK");
  });
  execute("Log1");
  EXPECT_TRUE(journal_ouvert());
  EXPECT_TRUE(action("Log1")->isChecked());
  EXPECT_EQ(vers_qt(reglages().journal), chemin);
  QFile journal(chemin);
  ASSERT_TRUE(journal.open(QIODevice::ReadOnly));
  EXPECT_EQ(journal.readAll(), "**********\r\n");

  attend("TJournal", [](QDialog &forme) { clique(forme, "JournalVider"); });
  attend("TJournal", [](QDialog &forme) { clique(forme, "JournalFermer"); });
  attend("TJournal", [](QDialog &forme) { forme.reject(); });
  execute("Log1");
  EXPECT_FALSE(journal_ouvert());
  EXPECT_FALSE(action("Log1")->isChecked());
  EXPECT_EQ(etat<OptionsProgramme>().vn_options & kVnOptionJournal, 0U);
  EXPECT_EQ(QFileInfo(chemin).size(), 0);
}

TEST_F(ReglagesQt, SignatureFileIsKeptAndRead) {
  const QString table = fichier("mine.sig", "ABC,ABC DEFG,A comment\r\n");
  fenetre_->demandes.ouvrir = [&](int, int, const QString &) { return table; };
  attend("TRegistre", [&](QDialog &forme) {
    champ<QLineEdit>(forme, "EditSign")->setText(bac_.filePath("none.sig"));
    clique(forme, "OK");
  });
  attend("TRegistre", [](QDialog &forme) { clique(forme, "Parcourir"); });
  attend("TRegistre", [](QDialog &forme) { clique(forme, "OK"); });
  execute("Registre1");
  EXPECT_TRUE(dernier_message().contains("none.sig")) << dernier_message().toStdString();
  EXPECT_EQ(signature_de_fichier("x.abc"), "ABC DEFG");
  lire_options(true);
  EXPECT_EQ(vers_qt(reglages().signatures), table);
}

TEST_F(ReglagesQt, TypesAreRegisteredAndTheComposerIsStarted) {
  attend("TTypesFichiers", [](QDialog &forme) {
    EXPECT_TRUE(champ<QCheckBox>(forme, "TypeProj")->isChecked());
    coche(forme, "TypePart", false);
    clique(forme, "OK");
  });
  execute("RFT");
  EXPECT_EQ(types_enregistres(), kTypeProjet | kTypeIsop);

  const QByteArray chemins = qgetenv("PATH");
  qputenv("PATH", bac_.path().toUtf8());
  execute("EdIcon");
  EXPECT_TRUE(dernier_message().startsWith("TMessOK: The program icofarrow was not found."));
  messages_.clear();
  QFile programme(fichier("icofarrow", "#!/bin/sh\n: > \"$(/usr/bin/dirname \"$0\")/started\"\n"));
  programme.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  execute("EdIcon");
  qputenv("PATH", chemins);
  EXPECT_TRUE(messages_.isEmpty());
  EXPECT_TRUE(QTest::qWaitFor([this] { return QFile::exists(bac_.filePath("started")); }, 5000));
}

// --- printing

// A page on which texts are written down with the place where they were to be drawn.
class Releve final : public QPaintDevice, private QPaintEngine {
 public:
  struct Texte {
    QString texte;
    double x, y;
    QRectF coupe;
  };
  Releve() : QPaintEngine(AllFeatures) {}
  QPaintEngine *paintEngine() const override { return const_cast<Releve *>(this); }
  std::vector<Texte> textes;

 protected:
  int metric(PaintDeviceMetric quoi) const override {
    switch (quoi) {
      case PdmWidth:
        return 6600;
      case PdmHeight:
        return 5100;
      case PdmDpiX:
      case PdmDpiY:
      case PdmPhysicalDpiX:
      case PdmPhysicalDpiY:
        return 600;
      default:
        return QPaintDevice::metric(quoi);
    }
  }

 private:
  bool begin(QPaintDevice *) override { return true; }
  bool end() override { return true; }
  void updateState(const QPaintEngineState &etat) override { coupe_ = etat.painter()->clipBoundingRect(); }
  void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override {}
  void drawPolygon(const QPointF *, int, PolygonDrawMode) override {}
  void drawTextItem(const QPointF &p, const QTextItem &texte) override {
    textes.push_back({texte.text(), p.x(), p.y(), coupe_});
  }
  Type type() const override { return User; }
  QRectF coupe_;
};

DocumentImprime document_essai(int lignes) {
  DocumentImprime document;
  document.gauche = "/path";
  document.milieu = "View";
  document.droite = [](int page) { return QString("Page %1").arg(page); };
  TableauImprime tableau;
  tableau.colonnes = {{"Name", 160, false}, {"Data", 40, true}};
  tableau.lignes = lignes;
  tableau.cellule = [](int ligne, int colonne) {
    return colonne == 0 ? QString("row%1").arg(ligne) : QString::number(ligne * 1000);
  };
  document.tableaux.push_back(std::move(tableau));
  return document;
}

TEST_F(ReglagesQt, PagesHoldHeadCaptionsAndEachRowOnce) {
  Releve releve;
  QPainter peintre(&releve);
  std::vector<std::size_t> fins;
  const SupportPapier support{6600, 5100, 600, [&] {
                          fins.push_back(releve.textes.size());
                          return true;
                        }};
  const int pages = dessine_document(peintre, support, document_essai(100));
  peintre.end();
  EXPECT_GT(pages, 1);
  EXPECT_EQ(fins.size() + 1, static_cast<std::size_t>(pages));
  const auto compte = [&](const QString &texte) {
    return std::count_if(releve.textes.begin(), releve.textes.end(),
                         [&](const Releve::Texte &t) { return t.texte == texte; });
  };
  for (int ligne = 0; ligne < 100; ++ligne) EXPECT_EQ(compte(QString("row%1").arg(ligne)), 1) << ligne;
  for (int page = 1; page <= pages; ++page) EXPECT_EQ(compte(QString("Page %1").arg(page)), 1);
  for (const char *texte : {"/path", "View", "Name", "Data"}) EXPECT_EQ(compte(texte), pages) << texte;
  double bord = 0;
  for (const Releve::Texte &t : releve.textes) {
    EXPECT_GE(t.x, 300) << t.texte.toStdString();
    EXPECT_LE(t.y, 5100 - 150) << t.texte.toStdString();
    if (!t.texte.startsWith("row")) continue;
    EXPECT_NEAR(t.x, 300, 1);
    bord = t.coupe.right();
  }
  // The name column has four fifths of what 400 units of margins leave, and is cut there.
  EXPECT_NEAR(bord, 300 + 6200 * 0.8, 60);
}

TEST_F(ReglagesQt, PrintCommandMakesPagesOfTheList) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee(kImage)));
  const QString chemin = bac_.filePath("list.pdf");
  int demandes = 0;
  demande_imprimante() = [&](QPrinter &imprimante, QWidget *) {
    ++demandes;
    EXPECT_EQ(imprimante.pageLayout().orientation(), QPageLayout::Landscape);
    EXPECT_TRUE(imprimante.docName().contains("hformat_800k.hfs"));
    imprimante.setOutputFormat(QPrinter::PdfFormat);
    imprimante.setOutputFileName(chemin);
    return true;
  };
  execute("P2");
  EXPECT_EQ(demandes, 1);
  QFile pdf(chemin);
  ASSERT_TRUE(pdf.open(QIODevice::ReadOnly));
  EXPECT_TRUE(pdf.readAll().contains("/Count 1"));
  // A printer that cannot be painted on is told.
  demande_imprimante() = [&](QPrinter &imprimante, QWidget *) {
    imprimante.setOutputFormat(QPrinter::PdfFormat);
    imprimante.setOutputFileName(bac_.filePath("no/such/folder.pdf"));
    return true;
  };
  execute("P2");
  EXPECT_TRUE(dernier_message().contains("printer")) << dernier_message().toStdString();
}

}  // namespace
}  // namespace varnion
