// Documents that are replaced, closed and given up: nothing goes unless the user said so.

#include <gtest/gtest.h>

#include <sys/file.h>

#include <fcntl.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QAction>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "fenetre_essai.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "outils/fabrique_dmg.hpp"
#include "projet/arborescence.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = "hfs/hformat_800k.hfs";
constexpr const char *kComprimee = "dmg/made_udzo.dmg";

class Documents : public FenetrePilotee {
 protected:
  static std::function<void(QDialog &)> clique(const char *bouton) {
    return [bouton](QDialog &forme) {
      auto *trouve = forme.findChild<QAbstractButton *>(bouton);
      ASSERT_NE(trouve, nullptr) << bouton;
      trouve->click();
    };
  }
  // The button that Enter gives.
  static QString defaut(const QDialog &forme) {
    for (const auto *bouton : forme.findChildren<QPushButton *>())
      if (bouton->isDefault()) return bouton->objectName();
    return {};
  }
  void repond_chemin(const QString &chemin) {
    fenetre_->demandes.ouvrir = [chemin](int, int, const QString &) { return chemin; };
    fenetre_->demandes.enregistrer = [chemin](int, int, const QString &, int) { return chemin; };
  }
  QStringList noms() {
    QStringList noms;
    for (int i = 0; i < fenetre_->modele_liste().rowCount(); ++i)
      noms << QString::fromStdString(fenetre_->modele_liste().ligne(i).nom);
    return noms;
  }
  QStringList selection() {
    QStringList noms;
    for (const QModelIndex &index : panneau("LV")->selectionModel()->selectedRows())
      noms << index.data().toString();
    return noms;
  }
  static QByteArray octets(const QString &chemin) {
    QFile lu(chemin);
    EXPECT_TRUE(lu.open(QIODevice::ReadOnly)) << chemin.toStdString();
    return lu.readAll();
  }
  // A folder in the unnamed project of the mode.
  QString remplit_brouillon() {
    EXPECT_NE(ajout_dossier_virtuel(*fenetre_->projet(), "Travail"), 0U);
    execute("F5");
    EXPECT_EQ(noms(), QStringList("Travail"));
    return vers_qt(fenetre_->chemin_document());
  }
  QString projet(const char *nom, const char *dossier) {
    const QString chemin = bac_.filePath(nom);
    auto neuf =
        FichierProjet::cree(de_qt(chemin), chemin.endsWith("vnso") ? ModeProjet::isop : ModeProjet::hybride);
    EXPECT_TRUE(neuf && ajout_dossier_virtuel(*neuf, dossier) != 0 && neuf->ferme());
    return chemin;
  }
};

TEST_F(Documents, AnUnnamedProjectIsKeptUntilTheUserDiscardsIt) {
  const QString autre = projet("autre.vnpr", "Autre");
  const QString image = QString::fromStdString(copie_donnee(kImage));
  reglages().recents[0] = {de_qt(autre)};
  const QString brouillon = remplit_brouillon();
  repond_chemin(autre);
  const std::pair<const char *, std::function<void()>> routes[] = {
      {"close", [&] { EXPECT_FALSE(fenetre_->close()); }},
      {"Fermer1", [&] { execute("Fermer1"); }},
      {"Quitter1", [&] { execute("Quitter1"); }},
      {"Nouveau1", [&] { execute("Nouveau1"); }},
      {"Ouvrir1", [&] { execute("Ouvrir1"); }},
      {"R11", [&] { execute("R11"); }},
      {"ModePart1", [&] { execute("ModePart1"); }},
      {"ModeIsop1", [&] { execute("ModeIsop1"); }},
      {"Ctrl+M", [&] { execute("ChangementMode"); }},
      {"document handed over", [&] { fenetre_->recoit_document(image); }},
      {"end of the session", [&] { EXPECT_FALSE(fenetre_->fin_de_session(true)); }},
  };
  const auto intact = [&] {
    EXPECT_TRUE(fenetre_->isVisible());
    EXPECT_EQ(fenetre_->mode(), kModeProjet);
    EXPECT_EQ(noms(), QStringList("Travail"));
    EXPECT_EQ(vers_qt(fenetre_->chemin_document()), brouillon);
    EXPECT_EQ(QFileInfo(brouillon).size(), 2 * 756);
    EXPECT_TRUE(action("ModeProj1")->isChecked());
  };
  for (const auto &[nom, route] : routes) {
    SCOPED_TRACE(nom);
    prevoit("TMessEnr", [&](QDialog &forme) {
      EXPECT_TRUE(forme.findChild<QLabel *>("texte")->text().contains("Items in it: 1."));
      EXPECT_EQ(defaut(forme), "MessOui");
      forme.reject();
    });
    lance(route);
    intact();
  }
  // Save, and then no name, or one that cannot be written.
  for (const QString &chemin : {QString(), bac_.filePath("absent/x.vnpr")}) {
    repond_chemin(chemin);
    for (const char *nom : {"close", "Fermer1", "R11"}) {
      SCOPED_TRACE(nom);
      prevoit("TMessEnr", clique("MessOui"));
      lance([&] { QLatin1String(nom) == "close" ? void(fenetre_->close()) : execute(nom); });
      intact();
    }
  }
  // Where the session asks nothing the file is left for the next start.
  messages_.clear();
  EXPECT_TRUE(fenetre_->fin_de_session(false));
  EXPECT_TRUE(messages_.isEmpty());
  intact();
  // Discarded for a document that does not open.
  repond_chemin(fichier("faux.vnpr", QByteArray(756, 'x')));
  prevoit("TMessEnr", clique("MessTiers"));
  lance([&] { execute("Ouvrir1"); });
  intact();
  prevoit("TMessEnr", clique("MessTiers"));
  lance([&] { execute("R11"); });
  EXPECT_EQ(noms(), QStringList("Autre"));
  EXPECT_FALSE(QFileInfo::exists(brouillon));
}

TEST_F(Documents, AnUnnamedProjectIsSavedWhenTheWindowCloses) {
  fenetre_.reset();
  reglages().mode_depart = kModeIsop;
  ouvre_fenetre();
  const QString brouillon = remplit_brouillon();
  const QString cible = bac_.filePath("garde.vnso");
  repond_chemin(cible);
  prevoit("TMessEnr", clique("MessOui"));
  lance([&] { EXPECT_TRUE(fenetre_->close()); });
  EXPECT_EQ(QFileInfo(cible).size(), 2 * 756);
  EXPECT_FALSE(QFileInfo::exists(brouillon));
}

TEST_F(Documents, AFileOfTheUserIsNoUnnamedProject) {
  // Its name holds the default one, and it is as short as a new project.
  const QString chemin = bac_.filePath("old-vnpr.vnpr");
  ASSERT_TRUE(FichierProjet::cree(de_qt(chemin), ModeProjet::hybride));
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(chemin)));
  EXPECT_TRUE(action("Enregistrer1")->isEnabled());
  execute("Fermer1");
  EXPECT_TRUE(QFileInfo::exists(chemin));
}

TEST_F(Documents, ANewDocumentTakesThePlaceOnlyWhenItOpens) {
  const QString image = QString::fromStdString(copie_donnee(kImage));
  const QString prise = bac_.filePath("prise.hfs");
  ASSERT_TRUE(QFile::copy(image, prise));
  const int verrou = ::open(prise.toUtf8().constData(), O_RDWR | O_CLOEXEC);
  ASSERT_EQ(::flock(verrou, LOCK_EX | LOCK_NB), 0);
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(image)));
  int plein = 0;
  while (plein < 20 && panneau("LV")->model()->index(plein, 0).data().toString() != "Dossier 7") ++plein;
  emit panneau("LV")->activated(panneau("LV")->model()->index(plein, 0));
  const QStringList lignes = noms();
  ASSERT_EQ(lignes.size(), 25);
  fenetre_->selectionne_elements(
      {fenetre_->modele_liste().ligne(3).id, fenetre_->modele_liste().ligne(9).id});
  const QStringList choix = selection();
  const auto intact = [&] {
    EXPECT_EQ(fenetre_->windowTitle(), "hformat_800k.hfs [Varnion]");
    EXPECT_EQ(noms(), lignes);
    EXPECT_EQ(selection(), choix);
    EXPECT_EQ(panneau("TV")->currentIndex().data().toString(), "Dossier 7");
    EXPECT_TRUE(action("PerePart")->isEnabled());
    // The engine reads the volume that is shown.
    EXPECT_EQ(fenetre_->elements_choisis().size(), 2U);
    EXPECT_EQ(partition_courante().dossier, fenetre_->dossier_montre());
    EXPECT_EQ(vers_qt(partition_courante().chemin), image);
  };
  for (const QString &chemin : {QString(), bac_.filePath("absent.hfs"), fichier("vide.hfs", ""),
                                fichier("bruit.hfs", QByteArray(40960, 'q')), prise,
                                fichier("eparse.hfs", "sprs" + QByteArray(4096, 's'))}) {
    SCOPED_TRACE(chemin.toStdString());
    repond_chemin(chemin);
    execute("Ouvrir2");
    intact();
  }
  repond_chemin({});
  execute("Nouvelle1");
  intact();
  // A new image given up in its form: what bore the name is as it was.
  const QString ancien = fichier("ancien.hfs", "older");
  repond_chemin(ancien);
  prevoit("TNouvelleImage", [](QDialog &forme) { forme.reject(); });
  lance([&] { execute("Nouvelle1"); });
  intact();
  EXPECT_EQ(octets(ancien), "older");
  EXPECT_TRUE(QDir(bac_.path()).entryList({"*.part*"}).isEmpty());
  // The image that is open is none to make anew.
  const QByteArray avant = octets(image);
  repond_chemin(image);
  execute("Nouvelle1");
  EXPECT_TRUE(messages_.last().contains("open in this window"));
  intact();
  EXPECT_EQ(octets(image), avant);
  // A compressed one that is not wanted expanded, or that goes over the open one.
  repond_chemin(QString::fromStdString(copie_donnee(kComprimee)));
  accepte_ = false;
  execute("Ouvrir2");
  intact();
  accepte_ = true;
  fenetre_->demandes.enregistrer = [image](int, int, const QString &, int) { return image; };
  execute("Ouvrir2");
  intact();
  EXPECT_EQ(octets(image), avant);
  // A damaged project of another mode.
  EXPECT_FALSE(fenetre_->router_parametre(de_qt(fichier("faux.vnpr", QByteArray(756, 'x')))));
  intact();
  EXPECT_EQ(fenetre_->mode(), kModePartition);
  // The open image opens anew, and its lock with it.
  repond_chemin(image);
  execute("Ouvrir2");
  EXPECT_EQ(texte_panneau(2), "Folders: 20");
  const int second = ::open(image.toUtf8().constData(), O_RDWR | O_CLOEXEC);
  EXPECT_NE(::flock(second, LOCK_EX | LOCK_NB), 0);
  ::close(second);
  ::close(verrou);
  repond_chemin(prise);
  execute("Ouvrir2");
  EXPECT_EQ(fenetre_->windowTitle(), "prise.hfs [Varnion]");
}

TEST_F(Documents, AVolumeThatStoodAsideIsChangedAsBefore) {
  execute("ModePart1");
  for (const bool plus : {false, true}) {
    const QString image = bac_.filePath(plus ? "p.hfs" : "h.hfs");
    repond_chemin(image);
    prevoit("TNouvelleImage", [plus](QDialog &forme) {
      forme.findChild<QAbstractButton *>("HfsPlus")->setChecked(plus);
      forme.accept();
    });
    lance([&] { execute("Nouvelle1"); });
    depose_volume(*fenetre_, {fichier("avant.txt", "avant")}, 2);
    // What fails stands in its place for a while: another format, and nothing at all.
    for (const char *autre : {plus ? "hfs/hformat_800k.hfs" : "", ""}) {
      repond_chemin(*autre != '\0' ? QString() : fichier("bruit.hfs", QByteArray(40960, 'q')));
      execute("Ouvrir2");
    }
    prevoit("TNouveauDossier", [](QDialog &forme) { forme.accept(); });
    lance([&] { execute("MD"); });
    depose_volume(*fenetre_, {fichier("apres.txt", QByteArray(100000, 'p'))}, 2);
    EXPECT_EQ(noms().size(), 3);
    execute("Fermer2");
    repond_chemin(image);
    execute("Ouvrir2");
    QStringList lus = noms();
    lus.sort();
    EXPECT_EQ(lus, QStringList({"New Folder", "apres.txt", "avant.txt"}));
    EXPECT_FALSE(support().lecture_seule);
    // An image of the other format is made meanwhile, and the one that is all that is left of its file kept.
    ASSERT_TRUE(QFile::remove(image));
    repond_chemin(bac_.filePath(plus ? "autre.hfs" : "autre+.hfs"));
    prevoit("TNouvelleImage", [plus](QDialog &forme) {
      forme.findChild<QAbstractButton *>("HfsPlus")->setChecked(!plus);
      forme.accept();
    });
    prevoit("TMessEnr", [](QDialog &forme) { forme.reject(); });
    lance([&] { execute("Nouvelle1"); });
    execute("F5");
    EXPECT_EQ(noms().size(), 3);
    execute("SAll");
    EXPECT_EQ(fenetre_->elements_choisis().size(), 3U);
    EXPECT_EQ(volume_courant().est_hfsplus, plus);
    prevoit("TMessEnr", clique("MessTiers"));
    lance([&] { execute("Fermer2"); });
  }
}

TEST_F(Documents, AProjectStaysWhenAnotherDoesNotOpen) {
  const QString mien = projet("mien.vnpr", "Mien");
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(mien)));
  fenetre_->selectionne_elements({fenetre_->modele_liste().ligne(0).id});
  const auto intact = [&] {
    EXPECT_EQ(vers_qt(fenetre_->chemin_document()), mien);
    EXPECT_EQ(selection(), QStringList("Mien"));
  };
  repond_chemin({});
  for (const char *commande : {"Ouvrir1", "Nouveau1"}) {
    execute(commande);
    intact();
  }
  for (const QString &chemin : {bac_.filePath("absent.vnpr"), fichier("faux.vnpr", QByteArray(756, 'x'))}) {
    repond_chemin(chemin);
    execute("Ouvrir1");
    intact();
    EXPECT_FALSE(fenetre_->router_parametre(de_qt(chemin)));
    intact();
  }
  EXPECT_FALSE(fenetre_->router_parametre(de_qt(fichier("bruit.hfs", QByteArray(40960, 'q')))));
  intact();
  EXPECT_EQ(fenetre_->mode(), kModeProjet);
  // A new project over the file of the open one would empty it.
  const QByteArray avant = octets(mien);
  repond_chemin(mien);
  execute("Nouveau1");
  intact();
  EXPECT_EQ(octets(mien), avant);
  // No to writing over another keeps both.
  const QString autre = projet("autre.vnpr", "Autre");
  repond_chemin(autre);
  accepte_ = false;
  execute("Nouveau1");
  intact();
  accepte_ = true;
  execute("Nouveau1");
  EXPECT_EQ(vers_qt(fenetre_->chemin_document()), autre);
  EXPECT_EQ(noms(), QStringList());
}

// A few thousand bytes that tell of more than a gigabyte: the question comes from the worker that opens the
// image.
TEST_F(Documents, AnImageThatGrowsOutOfProportionIsAskedAbout) {
  const QString image = QString::fromStdString(copie_donnee(kImage));
  ASSERT_TRUE(fenetre_->router_parametre(de_qt(image)));
  essai::FabriqueDmg fabrique;
  const essai::ChunkDmg morceau{0x80000005, 0x20000, essai::FabriqueDmg::par_zlib("x")};
  fabrique.tables = {{0, std::vector<essai::ChunkDmg>(20, morceau), ""}};
  fabrique.secteurs = 20 * morceau.secteurs;
  const QString bombe = fichier("bombe.dmg", QByteArray::fromStdString(fabrique.image()));
  repond_chemin(bombe);
  prevoit("TMessON", clique("MessOui"));  // expand it
  prevoit("TMessON", [](QDialog &forme) {
    const QString texte = forme.findChild<QLabel *>("texte")->text();
    EXPECT_TRUE(texte.contains("1.2 GB")) << texte.toStdString();
    forme.reject();
  });
  lance([&] { execute("Ouvrir2"); });
  EXPECT_EQ(fenetre_->windowTitle(), "hformat_800k.hfs [Varnion]");
  EXPECT_EQ(texte_panneau(2), "Folders: 20");
  EXPECT_TRUE(QDir(vers_qt(plateforme::dossier_temporaire())).entryList({"image*"}, QDir::Files).isEmpty());
}

TEST_F(Documents, ATemporaryCopyIsOnlyReadAndSaysSo) {
  const QString image = QString::fromStdString(copie_donnee(kComprimee));
  const QByteArray avant = octets(image);
  repond_chemin(image);
  execute("ModePart1");
  const auto ouvre = [&] {
    prevoit("TMessON", clique("MessOui"));  // expand it
    prevoit("TMessON", clique("MessNon"));  // and keep no file
    lance([&] { execute("Ouvrir2"); });
    ASSERT_TRUE(partition_courante().image_temporaire);
  };
  ouvre();
  const QStringList lignes = noms();
  ASSERT_FALSE(lignes.isEmpty());
  execute("SAll");
  for (const char *nom :
       {"Enr2", "MD", "MkDirPart", "PC2Mac", "PCM1", "DelPart", "Supp1", "Ren1", "SignGen"}) {
    EXPECT_FALSE(action(nom)->isEnabled()) << nom;
    EXPECT_TRUE(action(nom)->statusTip().contains("temporary copy")) << nom;
  }
  EXPECT_EQ(fenetre_->windowTitle(), "made_udzo.dmg (read only) [Varnion]");
  EXPECT_EQ(texte_panneau(4), "Read only: temporary copy");
  for (const char *nom : {"EnrAs2", "Mac2PC", "Fermer2"}) {
    EXPECT_TRUE(action(nom)->isEnabled()) << nom;
    EXPECT_FALSE(action(nom)->statusTip().contains("temporary copy")) << nom;
  }
  // What has no look at the state of the commands.
  messages_.clear();
  execute("MdPart1");
  supprime_volume(*fenetre_);
  depose_volume(*fenetre_, {image}, 2);
  ASSERT_EQ(messages_.size(), 3);
  for (const QString &texte : messages_) EXPECT_TRUE(texte.contains("Save As makes")) << texte.toStdString();
  EXPECT_EQ(noms(), lignes);
  // A failed opening brings the copy back, with its file.
  const std::string copie = partition_courante().chemin_temporaire;
  repond_chemin(fichier("bruit.hfs", QByteArray(40960, 'q')));
  execute("Ouvrir2");
  EXPECT_EQ(partition_courante().chemin_temporaire, copie);
  EXPECT_TRUE(QFileInfo::exists(vers_qt(copie)));
  EXPECT_TRUE(support().lecture_seule);
  EXPECT_EQ(texte_panneau(4), "Read only: temporary copy");
  // Save As: from there on it is an image like others.
  const QString sauvee = bac_.filePath("sauvee.hfs");
  repond_chemin(sauvee);
  execute("EnrAs2");
  EXPECT_EQ(fenetre_->windowTitle(), "sauvee.hfs [Varnion]");
  EXPECT_FALSE(QFileInfo::exists(vers_qt(copie)));
  EXPECT_EQ(texte_panneau(4), "");
  EXPECT_TRUE(action("MD")->isEnabled());
  EXPECT_FALSE(action("MD")->statusTip().contains("temporary copy"));
  EXPECT_EQ(noms(), lignes);
  EXPECT_EQ(octets(image), avant);

  // While the file that it came from is there nothing is lost with it.
  repond_chemin(image);
  ouvre();
  execute("Fermer2");
  EXPECT_FALSE(fenetre_->document_ouvert());
  ouvre();
  ASSERT_TRUE(QFile::remove(image));
  prevoit("TMessEnr", [](QDialog &forme) {
    EXPECT_TRUE(forme.findChild<QLabel *>("texte")->text().contains("all that is left"));
    forme.reject();
  });
  lance([&] { EXPECT_FALSE(fenetre_->close()); });
  EXPECT_EQ(noms(), lignes);
  prevoit("TMessEnr", clique("MessTiers"));
  lance([&] { execute("Fermer2"); });
  EXPECT_FALSE(fenetre_->document_ouvert());
}

}  // namespace
}  // namespace varnion
