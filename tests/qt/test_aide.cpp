#include <map>
#include <set>

#include <QDir>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWindow>

#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/message.hpp"
#include "app/qt/taide.hpp"
#include "app/qt/texte_qt.hpp"
#include "fenetre_essai.hpp"

namespace varnion {
namespace {

constexpr int kLangues[] = {kLangueAnglais, kLangueFrancais};

QString html(int base, const QString &nom) {
  QFile fichier(QString(":/aide/%1/%2").arg(base == kLangueFrancais ? "fr" : "en", nom));
  return fichier.open(QIODevice::ReadOnly) ? QString::fromUtf8(fichier.readAll()) : QString();
}

std::set<int> sujets_des_pages(int base) {
  std::set<int> sujets{0};
  for (const PageAide &page : PagesAide::de_langue(base).pages())
    for (const TitreAide &titre : page.titres)
      EXPECT_TRUE(titre.sujet == 0 || sujets.insert(titre.sujet).second) << titre.sujet << " twice";
  return sujets;
}

TEST(PagesAide, chaque_sujet_a_sa_page) {
  std::set<int> voulus{1098, 1099, 1991, 1992, 1993, 3003, sujet::kAssistance};
  for (const SujetForme &forme : sujets_formes()) voulus.insert(forme.sujet);
  for (const Commande &commande : commandes())
    if (commande.operation == Operation::aide) voulus.insert(commande.valeur);
  for (const int base : kLangues)
    for (const int sujet : voulus)
      EXPECT_TRUE(PagesAide::de_langue(base).adresse(sujet).has_value()) << base << " " << sujet;
  EXPECT_EQ(sujets_des_pages(kLangueAnglais), sujets_des_pages(kLangueFrancais));
}

// The table of forms speaks of forms that there are.
TEST(PagesAide, chaque_forme_existe) {
  QString sources;
  const QDir dossier(VN_SOURCES "/src/app/qt");
  for (const QString &nom : dossier.entryList({"*.cpp"})) {
    QFile fichier(dossier.filePath(nom));
    ASSERT_TRUE(fichier.open(QIODevice::ReadOnly));
    if (nom != "sujets_aide.cpp") sources += QString::fromUtf8(fichier.readAll());
  }
  for (const SujetForme &forme : sujets_formes())
    EXPECT_TRUE(sources.contains('"' + QString(forme.forme) + '"')) << forme.forme;
}

TEST(PagesAide, aucun_lien_mort) {
  static const QRegularExpression lien("href=\"([^\"#]*)(?:#([^\"]*))?\"");
  for (const int base : kLangues) {
    int liens = 0;
    for (const PageAide &page : PagesAide::de_langue(base).pages()) {
      const QString texte = html(base, page.nom);
      for (auto i = lien.globalMatch(texte); i.hasNext(); ++liens) {
        const QRegularExpressionMatch vu = i.next();
        const QString cible = html(base, vu.captured(1));
        EXPECT_FALSE(cible.isEmpty()) << page.nom.toStdString() << ": " << vu.captured(0).toStdString();
        EXPECT_TRUE(vu.captured(2).isEmpty() || cible.contains(" id=\"" + vu.captured(2) + "\""))
            << page.nom.toStdString() << ": " << vu.captured(0).toStdString();
      }
    }
    EXPECT_GT(liens, 100);
  }
}

// The contents lead to every page once, and the index to every topic.
TEST(PagesAide, sommaire_et_index_complets) {
  for (const int base : kLangues) {
    const PagesAide &pages = PagesAide::de_langue(base);
    std::map<QString, int> vues;
    for (const RenvoiAide &renvoi : pages.sommaire()) ++vues[renvoi.adresse];
    std::set<QString> indexees;
    for (const RenvoiAide &renvoi : pages.index()) indexees.insert(renvoi.adresse);
    for (const PageAide &page : pages.pages()) {
      EXPECT_EQ(vues[page.nom], page.nom == "accueil.html" ? 0 : 1) << page.nom.toStdString();
      EXPECT_FALSE(page.mots_cles.isEmpty()) << page.nom.toStdString();
      EXPECT_FALSE(page.titre.isEmpty()) << page.nom.toStdString();
      for (const TitreAide &titre : page.titres)
        EXPECT_TRUE(titre.sujet == 0 || indexees.contains(*pages.adresse(titre.sujet))) << titre.sujet;
    }
  }
}

TEST(PagesAide, recherche) {
  const PagesAide &francais = PagesAide::de_langue(kLangueFrancais);
  const auto sans_accents = francais.cherche("DECOMPRESSER");
  ASSERT_FALSE(sans_accents.empty());
  EXPECT_EQ(sans_accents.front().adresse, "image_compressee.html");
  EXPECT_TRUE(sans_accents.front().extrait.contains("compress"));
  const PagesAide &anglais = PagesAide::de_langue(kLangueAnglais);
  EXPECT_TRUE(anglais.cherche("postgap zzz").empty());  // every word counts
  EXPECT_TRUE(anglais.cherche("  ").empty());
  EXPECT_EQ(anglais.cherche("signature editor").front().adresse, "editeur_signatures.html");
}

class EssaiAide : public Fenetre {
 protected:
  void SetUp() override {
    Fenetre::SetUp();
    branche_aide();
  }
  TAide *aide_ouverte() { return static_cast<TAide *>(fenetre_->findChild<QWidget *>("TAide")); }
  QString page() { return aide_ouverte() != nullptr ? aide_ouverte()->adresse() : QString("-"); }
  QTreeWidget *volet(const char *nom) { return aide_ouverte()->findChild<QTreeWidget *>(nom); }
  // Runs `forme` as a modal dialog; `travail` is done while it stands, then it is closed.
  void pendant(QDialog &forme, const std::function<void()> &travail) {
    minuterie_.stop();
    QTimer::singleShot(0, &forme, [&] {
      travail();
      forme.reject();
    });
    forme.exec();
    minuterie_.start();
  }
};

TEST_F(EssaiAide, commandes) {
  const std::pair<const char *, const char *> cas[] = {
      {"AideUtil1", "accueil.html"},        {"HH1", "aide.html"},
      {"WizProj", "assistant_projet.html"}, {"WizPart", "assistant_partition.html"},
      {"WizIso", "assistant_isop.html"},    {"WH1", "assistance.html"},
      {"HelpPart", "accueil.html"},
  };
  for (const auto &[commande, voulue] : cas) {
    execute(commande);
    EXPECT_EQ(page(), voulue) << commande;
  }
  EXPECT_TRUE(aide_ouverte()->isVisible());
  execute("HS");
  EXPECT_TRUE(aide_ouverte()->findChild<QLineEdit *>("Mots")->isVisible());
  execute("HI");
  EXPECT_TRUE(aide_ouverte()->findChild<QLineEdit *>("MotCle")->isVisible());
}

TEST_F(EssaiAide, f1_dans_un_dialogue) {
  Forme forme(fenetre_.get(), "TVarPref", 1430, sujet::kPreferences);
  auto *champ = new QLineEdit;
  forme.corps()->addWidget(champ);
  forme.boutons();
  pendant(forme, [&] {
    QTest::keyClick(champ, Qt::Key_F1);
    EXPECT_EQ(page(), "preferences.html");
    aide(sujet::kSommaire);
    forme.findChild<QPushButton *>("Aide")->click();
    EXPECT_EQ(page(), "preferences.html");
    EXPECT_EQ(forme.findChild<QPushButton *>("Aide")->toolTip(), chaine_qt(2329));
  });
  // A form without a topic of its own has that of its name; a message has that of messages.
  FormeMessage message_ok(fenetre_.get(), "TMessOK", "x", {});
  pendant(message_ok, [&] { QTest::keyClick(&message_ok, Qt::Key_F1); });
  EXPECT_EQ(page(), "messages.html");
  QDialog inconnue(&message_ok);
  EXPECT_EQ(sujet_de(&inconnue), sujet::kMessages);
  QTest::keyClick(aide_ouverte()->findChild<QWidget *>("Page"), Qt::Key_F1);
  EXPECT_EQ(page(), "aide.html");
}

TEST_F(EssaiAide, f1_dans_les_dialogues_des_commandes) {
  const std::pair<const char *, const char *> cas[] = {
      {"Pref1", "preferences.html"},
      {"Col", "fenetre.html#t1104"},
      {"Log1", "preferences.html#t1102"},
      {"RFT", "preferences.html#t1103"},
      {"Info1", "projet.html"},
      {"Label", "projet.html#t1122"},
      {"Registre1", "signatures.html#t1171"},
      {"MD", "noms.html#t1121"},
      {"Rech1", "recherche.html"},
      {"Sign1", "editeur_signatures.html"},
  };
  minuterie_.stop();
  for (const auto &[commande, voulue] : cas) {
    aide(sujet::kGlossaire);
    QTimer::singleShot(50, fenetre_.get(), [&] {
      auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
      ASSERT_NE(forme, nullptr) << commande;
      QTest::keyClick(forme->focusWidget() != nullptr ? forme->focusWidget() : forme, Qt::Key_F1);
      EXPECT_EQ(page(), voulue) << commande;
      forme->reject();
    });
    execute(commande);
  }
}

// Keys go to the window, as they come from the window system: they would stop at a blocked one.
TEST_F(EssaiAide, repond_a_cote_des_dialogues) {
  const auto tape = [&] {
    auto *mots = aide_ouverte()->findChild<QLineEdit *>("Mots");
    mots->clear();
    mots->setFocus();
    QTest::keyClick(aide_ouverte()->windowHandle(), Qt::Key_H);
    return mots->text();
  };
  Forme forme(fenetre_.get(), "TVarPref", 1430, sujet::kPreferences);
  forme.boutons();
  pendant(forme, [&] {
    aide_recherche();
    EXPECT_EQ(tape(), "h") << "opened from the dialog";
  });
  ASSERT_TRUE(aide_ouverte()->isVisible());
  QApplication::processEvents();
  EXPECT_EQ(tape(), "h") << "after the dialog";
  Forme seconde(fenetre_.get(), "TVarPref", 1430, sujet::kPreferences);
  seconde.boutons();
  pendant(seconde, [&] {
    EXPECT_EQ(tape(), "h") << "open before the dialog";
    FormeMessage question(&seconde, "TMessON", "x", {});
    pendant(question, [&] { EXPECT_EQ(tape(), "h") << "a message over the dialog"; });
    QApplication::processEvents();
    EXPECT_EQ(tape(), "h") << "the message gone";
  });
}

TEST_F(EssaiAide, suit_la_langue) {
  aide(sujet::kJournal);
  const QString anglais = aide_ouverte()->windowTitle();
  execute("Fr1");
  EXPECT_EQ(page(), "preferences.html#t1102");
  EXPECT_NE(aide_ouverte()->windowTitle(), anglais);
  EXPECT_EQ(volet("Sommaire")->topLevelItem(0)->text(0), "Pas à pas");
  execute("En2");
  EXPECT_EQ(aide_ouverte()->windowTitle(), anglais);
}

TEST_F(EssaiAide, volets) {
  aide(sujet::kCompilation);
  EXPECT_EQ(volet("Sommaire")->currentItem()->text(0), "Compile an image");
  aide_index();
  QTest::keyClicks(aide_ouverte()->findChild<QLineEdit *>("MotCle"), "postg");
  QTest::keyClick(aide_ouverte()->findChild<QLineEdit *>("MotCle"), Qt::Key_Return);
  EXPECT_EQ(page(), "compilation.html");
  aide_recherche();
  QTest::keyClicks(aide_ouverte()->findChild<QLineEdit *>("Mots"), "glossary");
  QTest::keyClick(aide_ouverte()->findChild<QLineEdit *>("Mots"), Qt::Key_Return);
  EXPECT_EQ(page(), "glossaire.html");
  aide_ouverte()->findChild<QAction *>("Precedent")->trigger();
  EXPECT_EQ(page(), "compilation.html");
}

}  // namespace
}  // namespace varnion
