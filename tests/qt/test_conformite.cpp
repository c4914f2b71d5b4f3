// Rules of the catalogue and of the dialogs that cut across the subjects of the other files.

#include <gtest/gtest.h>

#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>

#include "app/noyau/routage.hpp"
#include "app/qt/texte_qt.hpp"
#include "essai_formes.hpp"
#include "hfs/creation.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "projet/arborescence.hpp"
#include "projet/inclusion.hpp"

namespace varnion {
namespace {

constexpr const char *kImageProtegee = VN_DONNEES "/hfs/hformat_800k.hfs";

class Conformite : public Formes {
 protected:
  void ouvre_image() {
    const QString image = bac_.filePath("neuve.hfs");
    {
      const Fichier sortie = plateforme::ouvre(de_qt(image), Ouverture::creation);
      ParametresImage parametres;
      parametres.fichier = &sortie;
      parametres.nom = "Essai";
      parametres.taille_mo = 2;
      ASSERT_TRUE(creation_image(parametres));
    }
    ASSERT_TRUE(fenetre_->router_parametre(de_qt(image)));
  }
  // "Sources" with "a.txt", "b.txt" and "Deep/b.doc".
  void remplit() {
    const QDir bac(bac_.path());
    ASSERT_TRUE(bac.mkpath("Sources/Deep"));
    fichier("Sources/a.txt", "one");
    fichier("Sources/b.txt", "two");
    fichier("Sources/Deep/b.doc", "three");
    const std::vector<std::string> chemins{de_qt(bac.filePath("Sources"))};
    ASSERT_TRUE(inclusion_chemins(*fenetre_->projet(), chemins, kRacine).abouti());
    fenetre_->montre_document();
  }
  RubriqueProjet rubrique(const char *chemin) {
    const auto trouve = trouve_chemin(*fenetre_->projet(), chemin, kVueRacine);
    EXPECT_TRUE(trouve) << chemin;
    return trouve ? trouve->rubrique : RubriqueProjet();
  }
  void choisit(const char *chemin) {
    const RubriqueProjet r = rubrique(chemin);
    fenetre_->va_au_dossier(r.pere);
    fenetre_->selectionne_elements({r.numero});
  }
  void proprietes(const char *chemin, Geste geste) {
    choisit(chemin);
    attend("TPropProjet", [geste = std::move(geste)](QDialog &forme) {
      geste(forme);
      clique(forme, "OK");
    });
    execute("Prop1");
  }
  void regarde(const char *commande, const char *nom);
};

TEST_F(Conformite, PopupsOfferThePropertiesFirst) {
  const struct {
    const char *menu, *commande;
  } lignes[] = {{"PopProj", "PopProp"},   {"PopPart", "AttrPart"},   {"PopIsop", "Iprop1"},
                {"TPopProj", "TPopProp"}, {"TPopPart", "TAttrPart"}, {"TPopIsop", "TIprop1"}};
  for (const auto &[nom, commande] : lignes) {
    const auto *menu = fenetre_->findChild<QMenu *>(nom);
    ASSERT_TRUE(menu != nullptr && menu->defaultAction() != nullptr) << nom;
    EXPECT_EQ(menu->defaultAction()->objectName(), commande);
  }
}

TEST_F(Conformite, WithoutAVolumeTheFolderItemStaysAsItWas) {
  EXPECT_TRUE(action("MD")->isEnabled());
  execute("ModePart1");
  EXPECT_FALSE(action("MD")->isEnabled()) << "off since the project was closed";
  ouvre_image();
  EXPECT_TRUE(action("MD")->isEnabled());
  execute("Fermer2");
  EXPECT_TRUE(action("MD")->isEnabled());
  EXPECT_FALSE(action("MdPart1")->isEnabled());
  execute("MD");
  execute("ModeProj1");
  EXPECT_FALSE(action("MD")->isEnabled());
  EXPECT_TRUE(messages_.isEmpty()) << messages_.join('|').toStdString();
}

TEST_F(Conformite, NamesAreEditedInPlaceWhereTheyMayChange) {
  for (const char *nom : {"TV", "LV"})
    EXPECT_TRUE(panneau(nom)->editTriggers() & QAbstractItemView::SelectedClicked) << nom;
  fenetre_->compilation(true);
  EXPECT_EQ(panneau("LV")->editTriggers(), QAbstractItemView::NoEditTriggers);
  fenetre_->compilation(false);
  const QString image = bac_.filePath("seule.hfs");
  ASSERT_TRUE(QFile::copy(kImageProtegee, image));
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(image)));
  ASSERT_TRUE(support().lecture_seule);
  for (const char *nom : {"TV", "LV"})
    EXPECT_EQ(panneau(nom)->editTriggers(), QAbstractItemView::NoEditTriggers) << nom;
}

TEST_F(Conformite, ACompileLeavesStoppingLookingAndPrinting) {
  for (const bool compile : {true, false}) {
    fenetre_->compilation(compile);
    for (const char *nom : {"Fichiers", "Special1", "Options1"})
      EXPECT_EQ(fenetre_->findChild<QMenu *>(nom)->menuAction()->isEnabled(), !compile) << nom;
    for (const char *nom : {"Nouveau1", "Ouvrir1", "EnregistrerAs1", "Fermer1", "Info1", "Label", "Quitter1"})
      EXPECT_EQ(action(nom)->isEnabled(), !compile) << nom;
    for (const char *nom : {"Compil1", "P1", "AideUtil1"}) EXPECT_TRUE(action(nom)->isEnabled()) << nom;
    EXPECT_EQ(action("Compil1")->text(), chaine_qt(compile ? 2098 : 2005));
  }
}

TEST_F(Conformite, SaveAsComesBackWhenAFileIsToStay) {
  const QString pris = fichier("pris.vnpr", "mine"), libre = bac_.filePath("libre.vnpr");
  QStringList departs;
  fenetre_->demandes.enregistrer = [&](int titre, int, const QString &depart, int) {
    EXPECT_EQ(titre, 1352);
    departs << depart;
    return departs.size() == 1 ? pris : libre;
  };
  accepte_ = false;
  execute("EnregistrerAs1");
  ASSERT_EQ(messages_.size(), 1);
  EXPECT_TRUE(messages_[0].startsWith("TMessON") && messages_[0].contains("overwrite"));
  ASSERT_EQ(departs.size(), 2);
  EXPECT_EQ(departs[1], pris);
  EXPECT_EQ(fenetre_->chemin_document(), de_qt(libre));
  EXPECT_EQ(QFile(pris).size(), 4);
  // Yes: the file goes, after one question.
  departs.clear();
  accepte_ = true;
  execute("EnregistrerAs1");
  EXPECT_EQ(messages_.size(), 2);
  EXPECT_EQ(fenetre_->chemin_document(), de_qt(pris));
  EXPECT_GE(QFile(pris).size(), 756);
}

TEST_F(Conformite, AMissingSourceIsMarkedInTheViewTheItemEnters) {
  remplit();
  for (const char *chemin : {"Sources/a.txt", "Sources/b.txt"})
    proprietes(chemin, [](QDialog &forme) { champ<QCheckBox>(forme, "DansHfs")->setChecked(false); });
  ASSERT_TRUE(QFile::remove(bac_.filePath("Sources/a.txt")));
  ASSERT_TRUE(QFile::remove(bac_.filePath("Sources/b.txt")));
  proprietes("Sources/a.txt", [](QDialog &forme) {
    EXPECT_TRUE(champ<QCheckBox>(forme, "Manquant")->isChecked());
    champ<QCheckBox>(forme, "DansHfs")->setChecked(true);
  });
  EXPECT_EQ(rubrique("Sources/a.txt").vue_iso(), kDansVue);
  EXPECT_EQ(rubrique("Sources/a.txt").vue_hfs(), kManquant);
  // The box taken away: what the item enters is not marked.
  proprietes("Sources/b.txt", [](QDialog &forme) {
    champ<QCheckBox>(forme, "Manquant")->setChecked(false);
    champ<QCheckBox>(forme, "DansHfs")->setChecked(true);
  });
  EXPECT_EQ(rubrique("Sources/b.txt").vue_hfs(), kDansVue);
  // The box alone: every view that has the item.
  proprietes("Sources/b.txt",
             [](QDialog &forme) { EXPECT_TRUE(champ<QCheckBox>(forme, "Manquant")->isChecked()); });
  EXPECT_EQ(rubrique("Sources/b.txt").vue_hfs(), kDansVue);
  fichier("Sources/b.txt", "back");
  proprietes("Sources/b.txt", [](QDialog &forme) { champ<QCheckBox>(forme, "Manquant")->setChecked(true); });
  EXPECT_EQ(rubrique("Sources/b.txt").vue_iso(), kManquant);
  EXPECT_EQ(rubrique("Sources/b.txt").vue_hfs(), kManquant);
}

TEST_F(Conformite, AReplacedPathIsComparedWhateverItFound) {
  remplit();
  attend("TCheminAcces", [](QDialog &forme) {
    champ<QLineEdit>(forme, "AncienChemin")->setText("/nowhere/");
    champ<QLineEdit>(forme, "NouveauChemin")->setText("/elsewhere/");
    clique(forme, "OK");
  });
  execute("Path1");
  ASSERT_EQ(messages_.size(), 2) << messages_.join('|').toStdString();
  EXPECT_EQ(messages_[0], "TMessOK: Access path modified for 0 files/folders.");
  EXPECT_TRUE(messages_[1].contains("didn't reveal"));
}

TEST_F(Conformite, GenericSignaturesHaveACommand) {
  EXPECT_FALSE(action("SignGen")->isVisible());
  execute("ModePart1");
  EXPECT_FALSE(action("SignGen")->isEnabled());
  ouvre_image();
  EXPECT_TRUE(action("SignGen")->isVisible() && action("SignGen")->isEnabled());
  execute("SignGen");
  EXPECT_TRUE(dernier_message().contains("No generic signature found."));
}

TEST_F(Conformite, ACommandActsOnThePaneLastWorkedIn) {
  remplit();
  choisit("Sources/a.txt");
  EXPECT_TRUE(fenetre_->depuis_liste());
  // Nothing selected in the list any more: the folder of the tree stays.
  fenetre_->selectionne_elements({});
  EXPECT_TRUE(fenetre_->depuis_liste());
  execute("Supp1");
  EXPECT_EQ(fenetre_->projet()->nb_rubriques(), 5U);
  QTreeView *arbre = panneau("TV");
  const QModelIndex racine = arbre->model()->index(0, 0);
  for (const bool ouvert : {false, true}) {
    fenetre_->va_au_dossier(kRacine);
    arbre->setExpanded(racine, !ouvert);
    fenetre_->selectionne_elements({});
    fenetre_->selectionne_elements({rubrique("Sources").numero});
    ASSERT_TRUE(fenetre_->depuis_liste());
    arbre->setExpanded(racine, ouvert);
    EXPECT_FALSE(fenetre_->depuis_liste()) << ouvert;
  }
}

// --- forms: each text in its room, each control with a name and within reach of the keyboard

bool texte_montre(const QWidget &controle) {
  return qobject_cast<const QLabel *>(&controle) != nullptr ||
         qobject_cast<const QCheckBox *>(&controle) != nullptr ||
         qobject_cast<const QPushButton *>(&controle) != nullptr;
}

bool nomme(const QDialog &forme, const QWidget &controle) {
  if (!controle.accessibleName().isEmpty()) return true;
  for (const QLabel *texte : forme.findChildren<QLabel *>())
    if (texte->buddy() == &controle && !texte->text().isEmpty()) return true;
  return false;
}

void examine(const QDialog &forme) {
  const std::string ici = forme.objectName().toStdString() + " " + std::to_string(base_langue()) + " ";
  EXPECT_FALSE(forme.windowTitle().isEmpty()) << ici;
  for (const QWidget *controle : forme.findChildren<QWidget *>()) {
    const std::string nom = ici + controle->objectName().toStdString();
    if (!controle->isVisibleTo(&forme) || controle->objectName().startsWith("qt_")) continue;
    if (texte_montre(*controle)) {
      EXPECT_GE(controle->width(), controle->minimumSizeHint().width()) << nom;
      EXPECT_GE(controle->height(), controle->minimumSizeHint().height()) << nom;
    }
    const bool bouton = qobject_cast<const QAbstractButton *>(controle) != nullptr;
    const auto *champ = qobject_cast<const QLineEdit *>(controle);
    const bool seul = champ != nullptr &&
                      qobject_cast<const QAbstractSpinBox *>(champ->parentWidget()) == nullptr &&
                      qobject_cast<const QComboBox *>(champ->parentWidget()) == nullptr;
    const bool onglets =
        controle->parentWidget()->inherits("QTabBar") || controle->parentWidget()->inherits("QMenuBar");
    if ((bouton && !onglets) || (seul && !champ->isReadOnly())) {
      EXPECT_NE(controle->focusPolicy() & Qt::TabFocus, 0) << nom;
    }
    if (seul) {
      EXPECT_TRUE(nomme(forme, *controle)) << nom;
    }
  }
}

void Conformite::regarde(const char *commande, const char *nom) {
  attend(nom, [](QDialog &forme) {
    auto *onglets = forme.findChild<QTabWidget *>("Onglets");
    const int pages = onglets != nullptr ? onglets->count() : 1;
    for (int i = 0; i < pages; ++i) {
      if (onglets != nullptr && !onglets->isTabVisible(i)) continue;
      if (onglets != nullptr) onglets->setCurrentIndex(i);
      QCoreApplication::processEvents();
      examine(forme);
      const QString images = qEnvironmentVariable("VN_IMAGES");
      if (images.isEmpty()) continue;
      const QString langue = base_langue() != 0 ? "fr" : "en";
      forme.grab().save(QString("%1/%2%3-%4.png").arg(images, forme.objectName()).arg(i).arg(langue));
    }
    forme.reject();
  });
  execute(commande);
}

TEST_F(Conformite, FormsOfAProjectShowAllOfThemselves) {
  remplit();
  for (const char *langue : {"En2", "Fr1"}) {
    execute(langue);
    choisit("Sources/a.txt");
    regarde("MD", "TNouveauDossier");
    regarde("Ren1", "TRenommer");
    regarde("Prop1", "TPropProjet");
    choisit("Sources");
    regarde("Prop1", "TPropProjet");
    choisit("Sources/a.txt");
    execute("SAll");
    regarde("Prop1", "TPropProjetMulti");
    regarde("Info1", "TInfoProjet");
    regarde("Label", "TLabels");
    regarde("Pref1", "TVarPref");
    regarde("Col", "TColonnes");
    regarde("Log1", "TJournal");
    regarde("Rech1", "TRechFich");
    regarde("RSig", "TRRSig");
    regarde("Path1", "TCheminAcces");
    regarde("Registre1", "TRegistre");
    regarde("RFT", "TTypesFichiers");
    attend("TRechFich", [](QDialog &forme) {
      champ<QLineEdit>(forme, "EditNom")->setText("*b.*");
      clique(forme, "LanceNom");
    });
    regarde("Rech1", "TSelFound");
  }
  ASSERT_TRUE(QFile::remove(bac_.filePath("Sources/a.txt")));
  fichier("Sources/b.txt", "longer");
  for (const char *langue : {"En2", "Fr1"}) {
    execute(langue);
    regarde("Refr", "TRefresh");
  }
}

TEST_F(Conformite, FormsOfAnIsoPlusProjectShowAllOfThemselves) {
  execute("ModeIsop1");
  const QString chemin = bac_.filePath("essai.vnso");
  fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
  execute("No1");
  remplit();
  for (const char *langue : {"En2", "Fr1"}) {
    execute(langue);
    choisit("Sources/a.txt");
    regarde("Prop1", "TPropIsop");
    execute("SAll");
    regarde("Prop1", "TPropIsopMulti");
    regarde("In1", "TInfoIsop");
    regarde("La1", "TLabelIsop");
  }
}

}  // namespace
}  // namespace varnion
