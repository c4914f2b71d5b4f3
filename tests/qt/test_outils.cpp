#include <gtest/gtest.h>

#include <algorithm>

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QThread>
#include <QTreeWidget>

#include "app/noyau/actions_outils.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travail_forme.hpp"
#include "essai_formes.hpp"
#include "projet/arborescence.hpp"
#include "projet/inclusion.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = "hfs/hformat_800k.hfs";

// A project over a folder of the disk: "Sources" with "a.txt", "b.txt", "Deep/b.doc".
class Outils : public Formes {
 protected:
  void remplit() {
    QDir bac(bac_.path());
    ASSERT_TRUE(bac.mkpath("Sources/Deep"));
    fichier("Sources/a.txt", "one");
    fichier("Sources/b.txt", "two");
    fichier("Sources/Deep/b.doc", "three");
    const std::vector<std::string> chemins{de_qt(bac.filePath("Sources"))};
    ASSERT_TRUE(inclusion_chemins(projet(), chemins, kRacine).abouti());
    fenetre_->montre_document();
  }
  FichierProjet &projet() { return *fenetre_->projet(); }
  std::optional<RubriqueProjet> rubrique(const char *chemin) {
    const auto trouve = trouve_chemin(projet(), chemin, kVueIso);
    return trouve ? std::optional(trouve->rubrique) : std::nullopt;
  }
  QStringList noms_choisis() {
    QStringList noms;
    for (const QModelIndex &index : panneau("LV")->selectionModel()->selectedRows())
      noms << index.data().toString();
    return noms;
  }
  /// Types a text on a page of the search form and searches.
  void cherche(const char *champ_texte, const char *bouton, int onglet, const QString &texte) {
    attend("TRechFich", [=](QDialog &forme) {
      champ<QTabWidget>(forme, "Onglets")->setCurrentIndex(onglet);
      champ<QLineEdit>(forme, champ_texte)->setText(texte);
      clique(forme, bouton);
    });
  }
  static QTreeView *liste(QDialog &forme, const char *nom) { return champ<QTreeView>(forme, nom); }
  static void choisit(QTreeView *vue, const QString &nom) {
    vue->clearSelection();
    for (int i = 0; i < vue->model()->rowCount(); ++i)
      if (vue->model()->index(i, 0).data().toString() == nom)
        vue->selectionModel()->select(vue->model()->index(i, 0),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
  }
};

TEST_F(Outils, SearchGoesToTheOnlyMatch) {
  remplit();
  cherche("EditNom", "LanceNom", 0, "*.DOC");
  execute("Rech1");
  EXPECT_EQ(noms_choisis(), QStringList{"b.doc"});
  EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Deep");
  // The fields recall the last search; without a text there is nothing to search.
  attend("TRechFich", [](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "EditNom")->text(), "*.DOC");
    champ<QLineEdit>(forme, "EditNom")->clear();
    EXPECT_FALSE(champ<QAbstractButton>(forme, "LanceNom")->isEnabled());
    forme.reject();
  });
  execute("RechProj");
}

TEST_F(Outils, SearchOffersSeveralMatches) {
  remplit();
  cherche("EditNom", "LanceNom", 0, "b.*");
  attend("TSelFound", [](QDialog &forme) {
    auto *trouves = champ<QTreeWidget>(forme, "Liste");
    ASSERT_EQ(trouves->topLevelItemCount(), 2);
    for (int i = 0; i < 2; ++i)
      if (trouves->topLevelItem(i)->text(1) == "/Sources/Deep")
        trouves->setCurrentItem(trouves->topLevelItem(i));
    clique(forme, "OK");
  });
  execute("Rech1");
  EXPECT_EQ(noms_choisis(), QStringList{"b.doc"});

  cherche("EditNom", "LanceNom", 0, "nowhere");
  execute("Rech1");
  EXPECT_EQ(dernier_message(), "TMessOK: No file found\nfor your search criteria\n(nowhere).");
}

TEST_F(Outils, SearchOfAVolume) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_donnee(kImage)));
  cherche("EditNom", "LanceNom", 0, "dossier 7");
  execute("RechPart");
  EXPECT_EQ(noms_choisis(), QStringList{"Dossier 7"});
  cherche("EditSign", "LanceSign", 1, "zzzz");
  execute("RechPart");
  EXPECT_TRUE(dernier_message().contains("(zzzz)")) << dernier_message().toStdString();
}

TEST_F(Outils, NamesAgreeWithWildcards) {
  struct Cas {
    const char *motif, *nom;
    bool agree;
  };
  for (const Cas &cas : {Cas{"a.txt", "A.TXT", true}, Cas{"a.txt", "a.txt2", false}, Cas{"*", "", true},
                         Cas{"*.txt", "x.txt", true}, Cas{"*.txt", "x.txt.bak", false},
                         Cas{"a?c", "abc", true}, Cas{"a?c", "ac", false}, Cas{"*a*b*", "xxaxxbxx", true},
                         Cas{"*ab", "aab", true}, Cas{"\xE9*", "\xC9t\xE9", true}})
    EXPECT_EQ(agree_nom(cas.motif, cas.nom), cas.agree) << cas.motif << " and " << cas.nom;
}

TEST_F(Outils, SignaturesAreReplaced) {
  remplit();
  std::uint64_t rang = 0;
  auto a = trouve_chemin(projet(), "Sources/a.txt", kVueIso);
  ASSERT_TRUE(a);
  rang = a->rang;
  std::copy_n("TEXTMSIE", 8, a->rubrique.signature.begin());
  ASSERT_TRUE(projet().ecrit(rang, a->rubrique));
  const auto remplace = [this](const char *createur) {
    attend("TRRSig", [createur](QDialog &forme) {
      EXPECT_FALSE(champ<QAbstractButton>(forme, "Lancer")->isEnabled());
      champ<QLineEdit>(forme, "AncienCreateur")->setText(createur);
      champ<QLineEdit>(forme, "AncienType")->setText("TEXT");
      champ<QLineEdit>(forme, "NouveauCreateur")->setText("MOS");
      champ<QLineEdit>(forme, "NouveauType")->setText("TEXTE");
      clique(forme, "Lancer");
    });
    execute("RSig");
  };
  remplace("MSIE");
  EXPECT_EQ(dernier_message(), "TMessOK: Signature TEXTMSIE\nreplaced 1 times.");
  EXPECT_EQ(std::string(rubrique("Sources/a.txt")->signature.data(), 8), "TEXTMOS ");
  remplace("MSIE");
  EXPECT_EQ(dernier_message(), "TMessOK: Signature TEXTMSIE\nnot found.");
}

TEST_F(Outils, RefreshListsAcceptsAndRejects) {
  remplit();
  EnteteProjet entete;
  ASSERT_TRUE(projet().lit_entete(entete));
  entete.reconstruire(true);
  ASSERT_TRUE(projet().ecrit_entete(entete));
  execute("Refr");
  EXPECT_TRUE(dernier_message().startsWith("TMessOK: The check didn't reveal"));

  ASSERT_TRUE(QFile::remove(bac_.filePath("Sources/a.txt")));
  fichier("Sources/b.txt", "longer");
  fichier("Sources/Deep/new.txt", "1234567");
  fichier("Sources/Deep/other.txt", "1");
  attend("TRefresh", [](QDialog &forme) {
    auto *onglets = champ<QTabWidget>(forme, "Onglets");
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(onglets->isTabVisible(i));
    auto *modifiees = liste(forme, "Modifications");
    EXPECT_EQ(modifiees->model()->index(0, 0).data().toString(), "b.txt");
    EXPECT_EQ(modifiees->model()->index(0, 3).data().toString(), "6");
    EXPECT_FALSE(champ<QAction>(forme, "A1")->isEnabled());
    declenche(forme, "RA1");  // the deletion is not to be
  });
  attend("TRefresh", [](QDialog &forme) {
    auto *onglets = champ<QTabWidget>(forme, "Onglets");
    EXPECT_FALSE(onglets->isTabVisible(0));
    onglets->setCurrentIndex(2);
    auto *ajouts = liste(forme, "Ajouts");
    ASSERT_EQ(ajouts->model()->rowCount(), 2);
    choisit(ajouts, "other.txt");
    EXPECT_FALSE(champ<QAction>(forme, "Localiser")->isEnabled());
    declenche(forme, "R1");
  });
  attend("TRefresh", [](QDialog &forme) { declenche(forme, "AT1"); });  // and closes by itself
  execute("Refr");
  EXPECT_TRUE(rubrique("Sources/a.txt"));
  EXPECT_EQ(rubrique("Sources/b.txt")->lg_data, 6U);
  EXPECT_EQ(rubrique("Sources/Deep/new.txt")->lg_source, 7U);
  EXPECT_FALSE(rubrique("Sources/Deep/other.txt"));

  // In French, and what was rejected is told again by the next comparison.
  execute("Fr1");
  attend("TRefresh", [](QDialog &forme) {
    EXPECT_EQ(champ<QTabWidget>(forme, "Onglets")->tabText(0), chaine_qt(1561));
    EXPECT_EQ(liste(forme, "Suppressions")->model()->rowCount(), 1);
    declenche(forme, "AA1");
  });
  attend("TRefresh", [](QDialog &forme) { forme.reject(); });
  execute("Refr");
  EXPECT_FALSE(rubrique("Sources/a.txt"));
}

TEST_F(Outils, AFolderThatIsKeptStaysInTheList) {
  remplit();
  ASSERT_TRUE(QDir(bac_.filePath("Sources/Deep")).removeRecursively());
  for (const bool oui : {false, true}) {
    attend("TRefresh", [this, oui](QDialog &forme) {
      accepte_ = oui;
      declenche(forme, "AA1");
    });
    if (!oui)
      attend("TRefresh", [](QDialog &forme) {
        EXPECT_EQ(liste(forme, "Suppressions")->model()->rowCount(), 1);
        forme.reject();
      });
    execute("Refr");
    EXPECT_EQ(rubrique("Sources/Deep/b.doc").has_value(), !oui);
  }
  EXPECT_TRUE(messages_.contains("TMessOK: Not accepted: 1. They stay in the lists."));
}

TEST_F(Outils, EscStopsTheWorkOfAForm) {
  Forme forme(fenetre_.get(), "TEssai", 0, 0);
  forme.setModal(true);
  forme.boutons();
  forme.show();
  QTimer::singleShot(30, &forme, [&forme] {
    QTest::keyClick(&forme, Qt::Key_Return);
    QTest::keyClick(&forme, Qt::Key_Escape);
  });
  travaille(*fenetre_, forme, [] {
    for (int i = 0; i < 400 && !operations().arret_demande(); ++i) QThread::msleep(10);
    EXPECT_TRUE(operations().arret_demande());
  });
  EXPECT_TRUE(forme.isVisible());  // neither key reached it
  EXPECT_TRUE(forme.isEnabled());
}

TEST_F(Outils, LocatesAMissingFileAndAFolder) {
  remplit();
  QDir bac(bac_.path());
  ASSERT_TRUE(bac.mkpath("Elsewhere/Far"));
  ASSERT_TRUE(QFile::rename(bac_.filePath("Sources/a.txt"), bac_.filePath("Elsewhere/Far/a.txt")));
  ASSERT_TRUE(bac.rename("Sources/Deep", "Elsewhere/Deep"));
  fenetre_->demandes.dossier = [this](int, const QString &) { return bac_.filePath("Elsewhere"); };
  for (const char *nom : {"Deep", "a.txt"}) {
    attend("TRefresh", [nom](QDialog &forme) {
      choisit(liste(forme, "Suppressions"), nom);
      declenche(forme, "Localiser");
    });
    attend("TLocalise", [](QDialog &forme) {
      EXPECT_FALSE(champ<QAbstractButton>(forme, "OK")->isEnabled());
      clique(forme, "Parcourir");
    });
    attend("TLocalise", [](QDialog &forme) {
      EXPECT_TRUE(champ<QAbstractButton>(forme, "SurDisque")->isChecked());
      clique(forme, "LanceLocalise");
    });
    attend("TLocalise", [](QDialog &forme) {
      EXPECT_EQ(champ<QListWidget>(forme, "Resultats")->count(), 1);
      clique(forme, "OK");
    });
  }
  execute("Refr");
  EXPECT_EQ(lit_champ(rubrique("Sources/a.txt")->chemin), de_qt(bac_.filePath("Elsewhere/Far/")));
  EXPECT_EQ(lit_champ(rubrique("Sources/Deep/b.doc")->chemin), de_qt(bac_.filePath("Elsewhere/Deep/")));
}

TEST_F(Outils, AccessPathIsChangedAndCompared) {
  execute("Path1");
  EXPECT_TRUE(dernier_message().startsWith("TMessOK: The project file contains no files"));
  remplit();
  ASSERT_TRUE(QDir(bac_.path()).rename("Sources", "Moved"));
  const QString ancien = bac_.filePath("Sources/");
  fenetre_->demandes.dossier = [this](int titre, const QString &) {
    EXPECT_EQ(titre, 1148);
    return bac_.filePath("Moved");
  };
  attend("TCheminAcces", [ancien](QDialog &forme) {
    EXPECT_FALSE(champ<QAbstractButton>(forme, "OK")->isEnabled());
    EXPECT_FALSE(champ<QAbstractButton>(forme, "Precedent")->isEnabled());
    auto *champ_ancien = champ<QLineEdit>(forme, "AncienChemin");
    for (int i = 0; i < 9 && champ_ancien->text() != ancien; ++i)
      champ<QAbstractButton>(forme, "Suivant")->click();
    EXPECT_EQ(champ_ancien->text(), ancien);
    champ<QCheckBox>(forme, "Garder")->setChecked(true);
    clique(forme, "Parcourir");
  });
  attend("TCheminAcces", [](QDialog &forme) { clique(forme, "OK"); });
  attend("TCheminAcces", [](QDialog &forme) {
    EXPECT_TRUE(champ<QLineEdit>(forme, "NouveauChemin")->text().isEmpty());
    forme.reject();
  });
  execute("Path1");
  EXPECT_TRUE(messages_.contains("TMessOK: Access path modified for 5 files/folders."))
      << messages_.join("; ").toStdString();
  EXPECT_TRUE(dernier_message().startsWith("TMessOK: The check didn't reveal"));
  EXPECT_EQ(lit_champ(rubrique("Sources/Deep/b.doc")->chemin), de_qt(bac_.filePath("Moved/Deep/")));
}

TEST_F(Outils, RebuildFollowsTheDiskAndExtensionsAreHidden) {
  remplit();
  ASSERT_TRUE(QFile::remove(bac_.filePath("Sources/a.txt")));
  fichier("Sources/.profile", "x");
  fichier("Sources/c.longext", "x");
  fichier("neighbour.txt", "x");
  // What lies beside the folder that was dropped comes in on the user's word alone.
  const auto attend_voisins = [this](const char *bouton) {
    attend("TMessON", [this, bouton](QDialog &forme) {
      const QString texte = champ<QLabel>(forme, "texte")->text();
      EXPECT_TRUE(texte.contains(bac_.path()) && texte.contains("\nneighbour.txt")) << texte.toStdString();
      EXPECT_TRUE(champ<QPushButton>(forme, "MessNon")->isDefault());
      clique(forme, bouton);
    });
  };
  attend_voisins("MessNon");
  execute("Clean1");
  EXPECT_FALSE(rubrique("Sources/a.txt"));
  ASSERT_TRUE(rubrique("Sources/c.longext"));
  EXPECT_FALSE(rubrique("neighbour.txt"));
  attend_voisins("MessOui");
  execute("Clean1");
  EXPECT_TRUE(rubrique("neighbour.txt"));
  // A disk that is not there does not empty the project.
  ASSERT_TRUE(QDir(bac_.path()).rename("Sources", "Away"));
  attend("TMessON", [](QDialog &forme) { clique(forme, "MessNon"); });  // what "Away" would bring
  attend("TMessON", [](QDialog &forme) {
    EXPECT_TRUE(champ<QLabel>(forme, "texte")->text().contains("is gone"));
    EXPECT_TRUE(champ<QPushButton>(forme, "MessNon")->isDefault());
    clique(forme, "MessNon");
  });
  execute("Clean1");
  EXPECT_TRUE(rubrique("Sources/c.longext"));
  ASSERT_TRUE(QDir(bac_.path()).rename("Away", "Sources"));
  execute("DelExt");
  EXPECT_EQ(lit_champ(rubrique("Sources/b.txt")->nom_hfs), "b");
  EXPECT_EQ(lit_champ(rubrique("Sources/b.txt")->nom_iso), "b.txt");
  EXPECT_EQ(lit_champ(rubrique("Sources/c.longext")->nom_hfs), "c.longext");
}

}  // namespace
}  // namespace varnion
