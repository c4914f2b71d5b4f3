// Properties of a volume and its items, and the copy to the PC, through the real dialogs on real images.

#include <deque>
#include <filesystem>

#include <QAbstractButton>
#include <QCheckBox>
#include <QDateTime>
#include <QDir>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QTreeWidget>

#include "app/noyau/actions_edition.hpp"
#include "app/qt/champs_mac.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/ttable_signatures.hpp"
#include "fenetre_essai.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "fichiers/mode_copie.hpp"
#include "hfs/creation.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "outils/decomprime.hpp"
#include "outils/fourche_ressources.hpp"
#include "outils/programmes.hpp"
#include "projet/signatures.hpp"

namespace varnion {
namespace {

using Geste = std::function<void(QDialog &)>;

template <typename T>
T &champ(QDialog &forme, const char *nom) {
  auto *trouve = forme.findChild<T *>(nom);
  if (trouve == nullptr) qFatal("no field %s", nom);
  return *trouve;
}
QString texte(QDialog &forme, const char *nom) {
  return champ<QLabel>(forme, nom).text();
}
void saisit(QDialog &forme, const char *nom, const QString &valeur) {
  champ<QLineEdit>(forme, nom).setText(valeur);
}
void clique(QDialog &forme, const char *nom) {
  champ<QAbstractButton>(forme, nom).click();
}
bool permis(QDialog &forme, const char *nom) {
  return champ<QAbstractButton>(forme, nom).isEnabled();
}

// The dialogs to come, in order: each gets its gesture once it is on the screen. One that keeps open takes
// the next gesture too.
class Proprietes : public Fenetre {
 protected:
  void SetUp() override {
    Fenetre::SetUp();
    minuterie_.stop();
    QObject::connect(&guet_, &QTimer::timeout, [this] { guette(); });
    guet_.start(5);
    execute("ModePart1");
  }
  void TearDown() override {
    guet_.stop();
    EXPECT_TRUE(attendus_.empty()) << attendus_.front().first.toStdString();
    fermer_partition();
    Fenetre::TearDown();
  }
  void puis(const char *forme, Geste geste) { attendus_.emplace_back(forme, std::move(geste)); }
  // A message: closed by the button named.
  void message_attendu(const char *forme, const QString &contient, const char *bouton) {
    puis(forme, [contient, bouton](QDialog &message) {
      EXPECT_TRUE(texte(message, "texte").contains(contient)) << texte(message, "texte").toStdString();
      clique(message, bouton);
    });
  }
  void guette() {
    if (QApplication::activeModalWidget() == nullptr || poste_) return;
    poste_ = true;
    // From the event loop, so that a gesture that opens another dialog does not hold the timer up.
    QMetaObject::invokeMethod(
        &guet_, [this] { agit(); }, Qt::QueuedConnection);
  }
  void agit() {
    poste_ = false;
    auto *forme = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (forme == nullptr || !forme->isEnabled()) return;  // or it is writing
    if (attendus_.empty() || attendus_.front().first != forme->objectName()) {
      const auto *mot = forme->findChild<QLabel *>("texte");
      ADD_FAILURE() << "not expected: " << forme->objectName().toStdString() << " "
                    << (mot != nullptr ? mot->text().toStdString() : "");
      return forme->reject();
    }
    const Geste geste = std::move(attendus_.front().second);
    attendus_.pop_front();
    geste(*forme);
  }

  std::string copie_image(const char *echantillon) {
    const std::string nom = echantillon;
    const bool comprime = nom.ends_with(".gz");
    image_ = bac_.filePath("image.hfs");
    if (comprime)
      fichier("image.hfs", QByteArray::fromStdString(essai::decomprime(nom)));
    else
      QFile::copy(VN_DONNEES "/" + QString::fromStdString(nom), image_);
    QFile::setPermissions(image_, QFile::ReadOwner | QFile::WriteOwner);
    return de_qt(image_);
  }
  void image_neuve(bool hfsplus) {
    image_ = bac_.filePath("neuve.hfs");
    {
      const Fichier sortie = plateforme::ouvre(de_qt(image_), Ouverture::creation);
      ParametresImage parametres;
      parametres.fichier = &sortie;
      parametres.nom = "Essai";
      parametres.taille_mo = 6;
      parametres.hfsplus = hfsplus;
      ASSERT_TRUE(creation_image(parametres));
    }
    ASSERT_TRUE(fenetre_->router_parametre(de_qt(image_)));
  }
  // Names in UTF-8, as parts of a path.
  void pose(const std::string &nom, const std::string &data, const std::string &rsrc,
            const char *signature = "TEXTttxt", std::uint16_t drapeaux = 0) {
    ASSERT_TRUE(modifie_volume_monte("image", [&] {
      NouveauFichier neuf;
      std::copy_n(signature, 4, neuf.info.fdType.begin());
      std::copy_n(signature + 4, 4, neuf.info.fdCreator.begin());
      neuf.info.fdFlags = drapeaux;
      neuf.creation = neuf.modification = 3000000000U;
      const auto source = [](const std::string &octets) {
        return source_octets({reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size()});
      };
      return insere_fichier(kIdRacine, *nom_tape(nom), neuf, source(data), source(rsrc)) != 0;
    }));
    execute("F5");
  }
  // Selects rows of the list by name; the command acts on the list.
  void selectionne(const QStringList &noms) {
    auto *liste = panneau("LV");
    liste->setFocus();
    liste->clearSelection();
    for (int rang = 0; rang < liste->model()->rowCount(); ++rang) {
      const QModelIndex index = liste->model()->index(rang, 0);
      if (noms.contains(index.data().toString()))
        liste->selectionModel()->setCurrentIndex(index,
                                                 QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    ASSERT_EQ(liste->selectionModel()->selectedRows().size(), noms.size()) << noms.join("|").toStdString();
  }
  void va_a(const QString &dossier) {
    auto *liste = panneau("LV");
    for (int rang = 0; rang < liste->model()->rowCount(); ++rang)
      if (liste->model()->index(rang, 0).data().toString() == dossier)
        return emit liste->activated(liste->model()->index(rang, 0));
    FAIL() << dossier.toStdString();
  }
  QString hfsutils(const std::string &commande) {
    const std::string bac = outils::cite(bac_.path().toStdString());
    return QString::fromStdString(outils::lance("export HOME=" + bac + "; " + commande).texte);
  }

  QString image_;

 private:
  QTimer guet_;
  bool poste_ = false;
  std::deque<std::pair<QString, Geste>> attendus_;
};

class SurLesDeux : public Proprietes, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Formats, SurLesDeux, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

TEST_P(SurLesDeux, AFileIsChanged) {
  image_neuve(GetParam());
  pose("Lettre", std::string(2000, 'd'), "r", "TEXTttxt", 0x0021);
  pose("Autre", "", "");
  charge_signatures(de_qt(fichier("t.sig", "txt,TEXTttxt,Plain text\r\ngif,GIFfogle,Picture\r\n")));
  selectionne({"Lettre"});
  puis("TPropFichier", [](QDialog &forme) {
    EXPECT_EQ(forme.windowTitle(), "File Properties");
    EXPECT_FALSE(permis(forme, "OK"));
    EXPECT_EQ(texte(forme, "Identification"), "Plain text");
    EXPECT_EQ(texte(forme, "Longueur"), "2,001");
    EXPECT_EQ(champ<QPlainTextEdit>(forme, "ExtentsData").toPlainText().count('\n'), 0);
    EXPECT_TRUE(champ<QPlainTextEdit>(forme, "ExtentsData").toPlainText().startsWith("Abs. Sect. "));
    EXPECT_EQ(forme.findChild<QWidget *>("EditAlias"), nullptr);
    const int etroite = forme.width();
    clique(forme, "Avance");
    EXPECT_GT(forme.width(), etroite);
    EXPECT_TRUE(champ<QCheckBox>(forme, "554").isChecked());
    EXPECT_TRUE(champ<QCheckBox>(forme, "559").isChecked());
    EXPECT_FALSE(permis(forme, "559"));
    clique(forme, "EditionDrapeaux");
    EXPECT_TRUE(permis(forme, "559"));
    clique(forme, "559");
    EXPECT_TRUE(permis(forme, "OK"));
    clique(forme, "Cache");
    EXPECT_TRUE(champ<QCheckBox>(forme, "568").isChecked());
    saisit(forme, "Nom",
           "Lettre \xC3\xA9"
           "crite");
    saisit(forme, "Type", "GIFf");
    saisit(forme, "Createur", "og");
    EXPECT_EQ(texte(forme, "Identification"), "Picture");
    clique(forme, "OK");
  });
  execute("AttrPart");
  const auto element = element_par_chemin(
      "Lettre \xC3\xA9"
      "crite");
  ASSERT_TRUE(element);
  EXPECT_EQ(texte_code(element->type), "GIFf");
  EXPECT_EQ(texte_code(element->createur), "og  ");
  EXPECT_EQ(element->drapeaux_finder, 0x4001);
  EXPECT_EQ(element->creation, 3000000000U);
  EXPECT_EQ(element->modification, 3000000000U);
  EXPECT_FALSE(element_par_chemin("Lettre"));
  EXPECT_EQ(panneau("LV")->model()->rowCount(), 1) << "what is hidden now has left the list";
}

// The constant that turns an entered date into a Macintosh one is four hours short of the epochs' distance.
TEST_P(SurLesDeux, DatesAreWrittenOnlyWhenTouched) {
  image_neuve(GetParam());
  pose("Lettre", "d", "");
  for (const int base : {kLangueAnglais, kLangueFrancais}) {
    fixer_base_langue(base);
    selectionne({"Lettre"});
    puis("TPropFichier", [base](QDialog &forme) {
      clique(forme, "Avance");
      const auto &jour = champ<QSpinBox>(forme, "ModificationJour");
      const auto &mois = champ<QSpinBox>(forme, "ModificationMois");
      EXPECT_EQ(jour.x() < mois.x(), base == kLangueFrancais);
      champ<QSpinBox>(forme, "ModificationMois").setValue(2);
      champ<QSpinBox>(forme, "ModificationJour").setValue(30);
      champ<QSpinBox>(forme, "ModificationAnnee").setValue(2001);
      champ<QSpinBox>(forme, "ModificationHeure").setValue(13);
      champ<QSpinBox>(forme, "ModificationMinute").setValue(base == kLangueFrancais ? 45 : 44);
      clique(forme, "OK");
    });
    // There is no such day: the form stays.
    puis("TPropFichier", [](QDialog &forme) {
      champ<QSpinBox>(forme, "ModificationJour").setValue(28);
      clique(forme, "OK");
    });
    execute("AttrPart");
    const auto element = element_par_chemin("Lettre");
    ASSERT_TRUE(element);
    EXPECT_EQ(element->creation, 3000000000U);
    const std::int64_t saisie = QDateTime(QDate(2001, 2, 28), QTime(13, base == kLangueFrancais ? 45 : 44),
                                          GetParam() ? Qt::LocalTime : Qt::UTC)
                                    .toSecsSinceEpoch();
    EXPECT_EQ(element->modification, saisie + 2082830400);
  }
}

TEST_P(SurLesDeux, WhatCannotBeIsRefusedAndNothingChanges) {
  image_neuve(GetParam());
  pose("Un", "1", "");
  pose("Deux", "2", "");
  selectionne({"Un"});
  puis("TPropFichier", [](QDialog &forme) {
    saisit(forme, "Nom", "Deux");
    saisit(forme, "Type", "ABCD");
    clique(forme, "OK");
  });
  message_attendu("TMessOK", "Deux", "MessFermer");
  puis("TPropFichier", [](QDialog &forme) {
    saisit(forme, "Nom", "");
    clique(forme, "OK");
  });
  puis("TPropFichier", [](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "Nom").maxLength(), GetParam() ? 255 : 31);
    saisit(forme, "Nom", "Un");
    saisit(forme, "Type", QString::fromUtf8("\xE6\x97\xA5"));
    clique(forme, "OK");
  });
  message_attendu("TMessOK", "?", "MessFermer");
  puis("TPropFichier", [](QDialog &forme) { clique(forme, "Annuler"); });
  execute("AttrPart");
  const auto element = element_par_chemin("Un");
  ASSERT_TRUE(element);
  EXPECT_EQ(texte_code(element->type), "TEXT");
  EXPECT_TRUE(element_par_chemin("Deux"));
}

TEST_P(SurLesDeux, SeveralComeOneAfterAnotherAndAReadOnlyVolumeStays) {
  image_neuve(GetParam());
  for (const char *nom : {"a", "b", "c", "d"}) pose(nom, nom, "");
  selectionne({"a", "b", "c", "d"});
  QStringList titres;
  const auto note = [&titres](QDialog &forme) {
    titres << forme.windowTitle() + " " + champ<QLineEdit>(forme, "Nom").text();
  };
  puis("TPropFichier", [note](QDialog &forme) {
    note(forme);
    saisit(forme, "Createur", "R*ch");
    clique(forme, "OK");
  });
  puis("TPropFichier", [note](QDialog &forme) {
    note(forme);
    clique(forme, "Annuler");
  });
  puis("TPropFichier", [note](QDialog &forme) {
    note(forme);
    clique(forme, "ToutFermer");
  });
  execute("Prop1");
  EXPECT_EQ(titres, QStringList({"File Properties - File 1 of 4 a", "File Properties - File 2 of 4 b",
                                 "File Properties - File 3 of 4 c"}));
  EXPECT_EQ(panneau("LV")->selectionModel()->selectedRows().size(), 4);
  EXPECT_EQ(texte_code(element_par_chemin("a")->createur), "R*ch");
  support().lecture_seule = true;
  selectionne({"b"});
  puis("TPropFichier", [](QDialog &forme) {
    clique(forme, "Avance");
    EXPECT_FALSE(permis(forme, "EditionDrapeaux"));
    EXPECT_FALSE(permis(forme, "Cache"));
    saisit(forme, "Type", "ZZZZ");
    EXPECT_FALSE(permis(forme, "OK"));
    forme.accept();
    EXPECT_TRUE(forme.isVisible());
    clique(forme, "Annuler");
  });
  execute("AttrPart");
  puis("TPropVolume", [](QDialog &forme) {
    saisit(forme, "Label", "Autre");
    EXPECT_FALSE(permis(forme, "OK"));
    clique(forme, "Annuler");
  });
  execute("PropVol1");
  EXPECT_EQ(texte_code(element_par_chemin("b")->type), "TEXT");
}

TEST_P(SurLesDeux, AVolumeGetsAnotherNameAndAnIcon) {
  image_neuve(GetParam());
  pose("f", "1", "");
  puis("TPropVolume", [](QDialog &forme) {
    EXPECT_EQ(forme.windowTitle(), "Macintosh Volume: Essai");
    EXPECT_EQ(texte(forme, "Fichiers"), "1");
    EXPECT_EQ(texte(forme, "Systeme"), GetParam() ? "HFS+" : "HFS");
    EXPECT_EQ(texte(forme, "Pilote"), GetParam() ? "TRBf" : "None");
    EXPECT_EQ(texte(forme, "TailleBloc"), QString::number(volume_courant().taille_bloc));
    EXPECT_EQ(champ<QLineEdit>(forme, "Label").maxLength(), GetParam() ? 255 : 27);
    EXPECT_FALSE(permis(forme, "OK"));
    saisit(forme, "Label", "");
    clique(forme, "OK");
  });
  puis("TPropVolume", [](QDialog &forme) {
    saisit(forme, "Label", QString::fromUtf8("\xC3\x89t\xC3\xA9"));
    clique(forme, "Avance");
    clique(forme, "IconePropre");
    clique(forme, "OK");
  });
  execute("PropVol1");
  EXPECT_EQ(nom_volume(), "\xC9t\xE9");
  EXPECT_EQ(element_racine()->drapeaux_finder & 0x0400, 0x0400);
  EXPECT_EQ(panneau("TV")->model()->index(0, 0).data().toString(), QString::fromUtf8("\xC3\x89t\xC3\xA9"));
  puis("TLabelVolume", [](QDialog &forme) {
    EXPECT_EQ(texte(forme, "AncienNom"), QString::fromUtf8("\xC3\x89t\xC3\xA9"));
    saisit(forme, "Label", "Hiver");
    clique(forme, "OK");
  });
  panneau("TV")->setCurrentIndex(panneau("TV")->model()->index(0, 0));
  execute("Ren1");
  execute("Fermer2");
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(image_)));
  EXPECT_EQ(nom_volume(), "Hiver");
  EXPECT_TRUE(element_par_chemin("f"));
}

TEST_F(Proprietes, AFolderIsRenamedAndHfsutilsAgrees) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_image("apm/made_apm_hfs.img.gz")));
  ASSERT_TRUE(modifie_volume_monte("image", [] { return cree_dossier(*nom_tape("Sept"), kIdRacine) != 0; }));
  execute("F5");
  selectionne({"Sept"});
  puis("TPropDossier", [](QDialog &forme) {
    EXPECT_EQ(forme.windowTitle(), "Folder Properties");
    EXPECT_EQ(texte(forme, "Contenu"), "0 files/folders");
    saisit(forme, "Nom", "Dossier 7");
    clique(forme, "Cache");
    clique(forme, "Cache");
    clique(forme, "IconePropre");
    clique(forme, "OK");
  });
  execute("AttrPart");
  const QModelIndex racine = panneau("TV")->model()->index(0, 0);
  bool vu = false;
  for (int rang = 0; rang < racine.model()->rowCount(racine); ++rang)
    vu = vu || racine.model()->index(rang, 0, racine).data().toString() == "Dossier 7";
  EXPECT_TRUE(vu);
  pose("lettre", "corps", "");
  selectionne({"lettre"});
  puis("TPropFichier", [](QDialog &forme) {
    saisit(forme, "Type", "GIFf");
    saisit(forme, "Createur", "ogle");
    clique(forme, "OK");
  });
  execute("AttrPart");
  // The root: looked at, never renamed here.
  panneau("LV")->clearSelection();
  emit panneau("TV")->clicked(panneau("TV")->model()->index(0, 0));
  puis("TPropDossier", [](QDialog &forme) {
    EXPECT_TRUE(champ<QLineEdit>(forme, "Nom").isReadOnly());
    EXPECT_EQ(texte(forme, "Numero"), "2");
    clique(forme, "Annuler");
  });
  execute("TAttrPart");
  execute("Fermer2");
  const QString lu = hfsutils("hmount " + outils::cite(image_.toStdString()) + " && hls -l && humount");
  EXPECT_TRUE(lu.contains(QRegularExpression("GIFf/ogle +0 +5 .* lettre"))) << lu.toStdString();
  EXPECT_TRUE(lu.contains(QRegularExpression("d .* 0 items .* Dossier 7"))) << lu.toStdString();
}

TEST_F(Proprietes, AnAliasIsShown) {
  image_neuve(false);
  QFile fourche(VN_DONNEES "/alias/alias_of_file_in_folder.rsrc");
  ASSERT_TRUE(fourche.open(QIODevice::ReadOnly));
  pose("renvoi", "", fourche.readAll().toStdString(), "adrpMACS", 0x8000);
  // An `alis` of 1,001 bytes.
  pose("trop long", "", outils::fait_fourche({{"alis", 0, std::string(1001, 'x')}}), "adrpMACS", 0x8000);
  selectionne({"renvoi", "trop long"});
  puis("TPropFichier", [](QDialog &forme) { clique(forme, "EditAlias"); });
  puis("TAlias", [](QDialog &forme) {
    EXPECT_FALSE(champ<QLineEdit>(forme, "Fichier").text().isEmpty());
    const QString volume = champ<QLineEdit>(forme, "Volume").text();
    EXPECT_FALSE(volume.isEmpty());
    EXPECT_TRUE(champ<QLineEdit>(forme, "Chemin").text().startsWith(volume + ":"));
    EXPECT_FALSE(permis(forme, "Browse1"));
    EXPECT_FALSE(permis(forme, "Align"));
    clique(forme, "OK");
  });
  puis("TPropFichier", [](QDialog &forme) {
    EXPECT_FALSE(permis(forme, "OK"));
    clique(forme, "Annuler");
  });
  puis("TPropFichier", [](QDialog &forme) { clique(forme, "EditAlias"); });
  message_attendu("TMessOK", "Unable to load the alias resource.", "MessFermer");
  puis("TPropFichier", [](QDialog &forme) { clique(forme, "Annuler"); });
  execute("AttrPart");
}

TEST_F(Proprietes, ASignatureIsChosenInTheTable) {
  image_neuve(false);
  pose("f", "1", "");
  charge_signatures(de_qt(fichier("t.sig", "txt,TEXTttxt,Plain text\r\ngif,GIFfogle,Picture\r\n")));
  selectionne({"f"});
  puis("TPropFichier", [](QDialog &forme) { clique(forme, "TableS"); });
  puis("TTableSignatures", [](QDialog &forme) {
    auto &table = champ<QTreeWidget>(forme, "Table");
    ASSERT_NE(table.currentItem(), nullptr);
    EXPECT_EQ(table.currentItem()->text(3), "Plain text");
    EXPECT_EQ(table.topLevelItemCount(), 3);
    saisit(forme, "Filtre", "pict");
    EXPECT_FALSE(permis(forme, "OK"));
    table.setCurrentItem(table.topLevelItem(2));
    EXPECT_EQ(table.currentItem()->text(1), "GIFf");
    clique(forme, "OK");
  });
  puis("TPropFichier", [](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "Type").text(), "GIFf");
    EXPECT_EQ(champ<QLineEdit>(forme, "Createur").text(), "ogle");
    clique(forme, "OK");
  });
  execute("AttrPart");
  EXPECT_EQ(texte_code(element_par_chemin("f")->createur), "ogle");
}

TEST_F(Proprietes, GenericSignaturesAreEditedOneByOne) {
  image_neuve(false);
  message_attendu("TMessOK", "No generic signature found.", "MessFermer");
  edite_signatures_generiques(*fenetre_);
  for (const char *nom : {"a", "b", "c", "d"}) pose(nom, nom, "", "TEXT????");
  message_attendu("TMessONT", "of file a?", "MessOui");
  puis("TSignature", [](QDialog &forme) {
    EXPECT_EQ(texte(forme, "AncienType"), "TEXT");
    clique(forme, "Ignorer");
  });
  message_attendu("TMessONT", "of file b?", "MessOui");
  puis("TSignature", [](QDialog &forme) {
    saisit(forme, "Createur", "R*ch");
    clique(forme, "Changer");
  });
  message_attendu("TMessONT", "of file c?", "MessOui");
  puis("TSignature", [](QDialog &forme) {
    saisit(forme, "Type", "GIFf");
    clique(forme, "ChangerTout");
  });
  edite_signatures_generiques(*fenetre_);
  QStringList lus;
  for (const char *nom : {"a", "b", "c", "d"}) {
    const auto element = element_par_chemin(nom);
    lus << texte_code(element->type) + texte_code(element->createur);
  }
  EXPECT_EQ(lus, QStringList({"TEXT????", "TEXTR*ch", "GIFf????", "GIFf????"}));
}

// --- copies to the PC

class CopiePc : public Proprietes {
 protected:
  void SetUp() override {
    Proprietes::SetUp();
    cible_ = bac_.filePath("pc");
    QDir().mkpath(cible_);
    mode_copie() = kCopieData;
  }
  void copie_vers(const QString &dossier) {
    puis("TDestSel", [dossier](QDialog &forme) {
      saisit(forme, "Chemin", dossier);
      clique(forme, "CopNow");
    });
  }
  static QByteArray contenu(const QString &chemin) {
    QFile lu(chemin);
    EXPECT_TRUE(lu.open(QIODevice::ReadOnly)) << chemin.toStdString();
    return lu.readAll();
  }
  QStringList noms(const QString &dossier) const {
    return QDir(dossier).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
  }

  QString cible_;
};

TEST_F(CopiePc, TheTargetIsAskedForAndKept) {
  image_neuve(true);
  pose("note.txt", "data", "");
  selectionne({"note.txt"});
  QString demande;
  reglages().reper.clear();
  fenetre_->demandes.dossier = [this, &demande](int, const QString &depart) {
    demande = depart;
    return cible_;
  };
  puis("TDestSel", [this](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "Chemin").text(), QDir::currentPath());
    EXPECT_EQ(texte(forme, "Elements"), "1");
    saisit(forme, "Chemin", bac_.filePath("absent"));
    clique(forme, "CopNow");
  });
  message_attendu("TMessOK", "absent", "MessFermer");
  puis("TDestSel", [](QDialog &forme) { clique(forme, "Browse"); });
  puis("TDestSel", [this](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "Chemin").text(), cible_);
    clique(forme, "CopNow");
  });
  execute("Mac2PC");
  EXPECT_EQ(demande, bac_.filePath("absent"));
  EXPECT_EQ(contenu(cible_ + "/note.txt"), "data");
  EXPECT_EQ(reglages().reper, de_qt(cible_) + "/");
  // The next time it is there already; giving up copies nothing.
  puis("TDestSel", [this](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "Chemin").text(), cible_ + "/");
    clique(forme, "Annuler");
  });
  execute("Mac2PC");
}

TEST_F(CopiePc, FiveModesAndNamesThatCollide) {
  image_neuve(true);
  pose("note.txt", "data", "resource");
  pose("x|y.txt", "bar", "b");
  pose("x?y.txt", "question", "q");
  fixer_base_langue(kLangueFrancais);
  const struct {
    std::uint32_t mode;
    QByteArray debut;
    QStringList noms;
  } cas[] = {
      {kCopieData, "data", {"note.txt", "x_y.txt"}},
      {kCopieRessource, "resource", {"note.txt", "x_y.txt"}},
      {kCopieMacBinaire, QByteArray("\0\x08note.txt", 10), {"note.txt", "x_y.txt"}},
      {kCopieAppleDouble, "data", {"._note.txt", "._x_y.txt", "note.txt", "x_y.txt"}},
      {kCopieAppleSingle, QByteArray("\0\x05\x16\0", 4), {"note.txt", "x_y.txt"}},
  };
  for (const auto &[mode, debut, attendus] : cas) {
    const QString dossier = cible_ + QString::number(mode);
    QDir().mkpath(dossier);
    mode_copie() = mode;
    selectionne({"note.txt", "x|y.txt", "x?y.txt"});
    copie_vers(dossier);
    // The second of the two stops at the question.
    message_attendu("TMessONT", "x_y.txt", "MessNon");
    // A mode of one fork tells what it left out of those that were copied.
    if (mode == kCopieData) message_attendu("TMessOK", "2 fichiers avaient une branche de r", "MessFermer");
    if (mode == kCopieRessource)
      message_attendu("TMessOK", "2 fichiers avaient une branche de d", "MessFermer");
    execute("Mac2PC");
    EXPECT_EQ(noms(dossier), attendus) << mode;
    EXPECT_TRUE(contenu(dossier + "/note.txt").startsWith(debut)) << mode;
  }
  EXPECT_TRUE(contenu(cible_ + "4/note.txt").endsWith("resource"));
  EXPECT_TRUE(contenu(cible_ + "8/._note.txt").endsWith("resource"));
  // Yes to all: the second file of one copy gets a number, a file of an earlier copy goes.
  mode_copie() = kCopieData;
  selectionne({"note.txt", "x|y.txt", "x?y.txt"});
  copie_vers(cible_ + "1");
  puis("TMessONT", [](QDialog &forme) {
    clique(forme, "Toujours");
    clique(forme, "MessOui");
  });
  message_attendu("TMessOK", "x_y", "MessFermer");
  message_attendu("TMessOK", "3 fichiers avaient une branche de r", "MessFermer");
  execute("Mac2PC");
  EXPECT_EQ(noms(cible_ + "1"), QStringList({"note.txt", "x_y-001.txt", "x_y.txt"}));
}

TEST_F(CopiePc, AnEmptyForkIsToldUntilItIsSilenced) {
  image_neuve(false);
  for (const char *nom : {"a.txt", "b.txt", "c.txt"}) pose(nom, "data", "");
  mode_copie() = kCopieRessource;
  selectionne({"a.txt", "b.txt", "c.txt"});
  copie_vers(cible_);
  message_attendu("TMessAnn", "a.txt\nhas no resource fork.", "MessFermer");
  puis("TMessAnn", [](QDialog &forme) {
    clique(forme, "Toujours");
    clique(forme, "MessFermer");
  });
  message_attendu("TMessOK", "1 file had a data fork", "MessFermer");
  execute("Mac2PC");
  EXPECT_EQ(noms(cible_), QStringList("c.txt"));
  EXPECT_TRUE(contenu(cible_ + "/c.txt").isEmpty());
  EXPECT_TRUE(reponses_copie_pc().tait_hfs);
  EXPECT_FALSE(reponses_copie_pc().tait_hfsplus);
}

TEST_F(CopiePc, ALongPathIsCutByTheUser) {
  image_neuve(true);
  const std::string nom(120, 'n');
  pose(nom + ".txt", "data", "");
  pose("court.txt", "c", "");
  QString profond = cible_;
  while (profond.size() < 180) profond += "/" + QString(20, 'p');
  QDir().mkpath(profond);
  selectionne({QString::fromStdString(nom) + ".txt", "court.txt"});
  copie_vers(profond);
  puis("TMaxPath", [&nom](QDialog &forme) {
    EXPECT_EQ(champ<QLineEdit>(forme, "cont_fich").text().toStdString(), nom);
    EXPECT_EQ(champ<QLineEdit>(forme, "cont_ext").text(), "txt");
    EXPECT_FALSE(permis(forme, "MPVal"));
    saisit(forme, "cont_fich", "bref");
    EXPECT_TRUE(permis(forme, "MPVal"));
    saisit(forme, "cont_ext", "");
    saisit(forme, "cont_fich", "");
    EXPECT_FALSE(permis(forme, "MPVal"));
    saisit(forme, "cont_fich", "bref");
    clique(forme, "MPVal");
  });
  execute("Mac2PC");
  EXPECT_EQ(contenu(profond + "/bref"), "data");
  EXPECT_EQ(contenu(profond + "/court.txt"), "c");
  // Another folder instead.
  fenetre_->demandes.dossier = [this](int, const QString &) { return cible_; };
  copie_vers(profond);
  message_attendu("TMessONT", "court.txt", "MessNon");
  puis("TMaxPath", [](QDialog &forme) { clique(forme, "MPBrowse"); });
  puis("TMaxPath", [](QDialog &forme) { clique(forme, "MPVal"); });
  execute("Mac2PC");
  EXPECT_EQ(contenu(cible_ + "/" + QString::fromStdString(nom) + ".txt"), "data");
  // Giving up stops the copy: what comes behind is not copied.
  pose("zone.txt", "z", "");
  selectionne({QString::fromStdString(nom) + ".txt", "zone.txt"});
  copie_vers(profond);
  puis("TMaxPath", [](QDialog &forme) { clique(forme, "Annuler"); });
  execute("Mac2PC");
  EXPECT_EQ(noms(profond), QStringList({"bref", "court.txt"}));
}

TEST_F(CopiePc, NamesAreAskedForWhereTheSettingsSaySo) {
  image_neuve(false);
  pose("a:b", "data", "");
  pose("c", "c", "");
  pose("d", "d", "");
  etat<OptionsProgramme>().options |= 2;
  selectionne({"a/b", "c", "d"});
  copie_vers(cible_);
  puis("TNomPC", [](QDialog &forme) {
    EXPECT_EQ(texte(forme, "NomMac"), "a/b");
    EXPECT_EQ(champ<QLineEdit>(forme, "NomPC").text(), "a_b");
    EXPECT_EQ(champ<QLineEdit>(forme, "NomPC").maxLength(), 31);
    saisit(forme, "NomPC", "");
    EXPECT_FALSE(permis(forme, "OK"));
    saisit(forme, "NomPC", "choisi");
    clique(forme, "OK");
  });
  puis("TNomPC", [](QDialog &forme) { clique(forme, "Annuler"); });
  puis("TNomPC", [](QDialog &forme) {
    saisit(forme, "NomPC", "choisi");
    clique(forme, "OK");
  });
  message_attendu("TMessOK", "already exists.", "MessFermer");
  execute("Mac2PC");
  EXPECT_EQ(noms(cible_), QStringList("choisi"));
  EXPECT_EQ(contenu(cible_ + "/choisi"), "data");
}

TEST_F(CopiePc, AFolderOfTheTreeGoesWithAllThatIsInIt) {
  ASSERT_TRUE(fenetre_->router_parametre(copie_image("hfs/hformat_800k.hfs")));
  va_a("Dossier 7");
  panneau("LV")->clearSelection();
  copie_vers(cible_);
  execute("MPC1");
  EXPECT_EQ(noms(cible_ + "/Dossier 7").size(), 25);
  EXPECT_EQ(fenetre_->statusBar()->currentMessage(),
            "Copied: 25 files in 1 folders. Left out: 0. Failed: 0.");
}

}  // namespace
}  // namespace varnion
