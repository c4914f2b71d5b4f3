#include <gtest/gtest.h>

#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "app/qt/document.hpp"
#include "app/qt/instance_unique.hpp"
#include "app/qt/modele_arbre.hpp"
#include "app/qt/modele_liste.hpp"
#include "app/qt/texte_qt.hpp"
#include "hfs/ouverture.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr const char *kImage = VN_DONNEES "/hfs/hformat_800k.hfs";

class Modeles : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    OptionsOuverture options;
    options.lecture_seule = true;
    ASSERT_EQ(ouvrir_partition(kImage, options), EtatOuverture::montee);
  }
  void TearDown() override {
    fermer_partition();
    EtatProgramme::courant().reinitialise();
  }
};

QString cellule(const ModeleListe &modele, int ligne, int colonne) {
  return modele.data(modele.index(ligne, colonne), Qt::DisplayRole).toString();
}

TEST_F(Modeles, TreeReadsAFolderWhenItOpens) {
  const DocumentVolume document(false);
  ModeleArbre arbre;
  arbre.montre(&document);
  const QModelIndex racine = arbre.index_racine();
  EXPECT_EQ(arbre.data(racine, Qt::DisplayRole).toString(), QString::fromUtf8("Échantillon"));
  EXPECT_EQ(arbre.rowCount(racine), 0);
  ASSERT_TRUE(arbre.canFetchMore(racine));
  arbre.fetchMore(racine);
  ASSERT_EQ(arbre.rowCount(racine), 20);
  // Names in byte order: "Dossier 1", "Dossier 10", "Dossier 11" …
  EXPECT_EQ(arbre.data(arbre.index(1, 0, racine), Qt::DisplayRole).toString(), "Dossier 10");
  const QModelIndex sept = arbre.enfant(racine, 22);
  ASSERT_TRUE(sept.isValid());
  EXPECT_EQ(arbre.data(sept, Qt::DisplayRole).toString(), "Dossier 7");
  // It holds files alone: the mark goes once it was opened.
  EXPECT_TRUE(arbre.hasChildren(sept));
  arbre.fetchMore(sept);
  EXPECT_FALSE(arbre.hasChildren(sept));
  EXPECT_EQ(document.chemin(22), (std::vector<std::uint32_t>{2, 22}));
  EXPECT_EQ(document.chemin(999), (std::vector<std::uint32_t>{2}));
}

TEST_F(Modeles, ListShowsAFolder) {
  const DocumentVolume document(false);
  ModeleListe liste;
  liste.montre(document.contenu(2), document.dates_utc());
  ASSERT_EQ(liste.rowCount(), 20);
  EXPECT_EQ(liste.nb_dossiers(), 20);
  int plein = -1;
  for (int i = 0; i < liste.rowCount(); ++i)
    if (liste.ligne(i).id == 22) plein = i;
  ASSERT_GE(plein, 0);
  fixer_base_langue(kLangueAnglais);
  EXPECT_EQ(cellule(liste, plein, 1), "Folder");
  EXPECT_EQ(cellule(liste, plein, 2), "[25]");
  EXPECT_EQ(cellule(liste, plein, 3), "");
  fixer_base_langue(kLangueFrancais);
  EXPECT_EQ(cellule(liste, plein, 1), "Dossier");
  EXPECT_EQ(liste.headerData(2, Qt::Horizontal, Qt::DisplayRole).toString().trimmed(),
            QString::fromUtf8("Données"));
  fixer_base_langue(kLangueAnglais);

  liste.montre(document.contenu(22), document.dates_utc());
  ASSERT_EQ(liste.rowCount(), 25);
  EXPECT_EQ(liste.nb_dossiers(), 0);
  EXPECT_FALSE(cellule(liste, 0, 5).isEmpty());
  liste.montre(document.contenu(36), document.dates_utc());
  EXPECT_EQ(liste.rowCount(), 0);
}

LigneListe ligne(const char *nom, bool dossier, std::uint64_t donnees) {
  LigneListe l;
  l.nom = nom;
  l.dossier = dossier;
  l.valence = dossier ? static_cast<std::uint32_t>(donnees) : 0;
  l.donnees = dossier ? 0 : donnees;
  return l;
}

TEST(ModeleListeSeul, AClickSortsTheNextTurnsRound) {
  ModeleListe liste;
  const ContenuDossier contenu{{ligne("b", false, 900), ligne("A", true, 3), ligne("a", false, 1000),
                                ligne("C", false, 20), ligne("Z", true, 1)},
                               false};
  const auto ordre = [&liste] {
    std::string noms;
    for (int i = 0; i < liste.rowCount(); ++i) noms += liste.ligne(i).nom;
    return noms;
  };
  liste.montre(contenu, false);
  EXPECT_EQ(ordre(), "bAaCZ");
  EXPECT_FALSE(liste.tri());
  const struct {
    int colonne;
    const char *attendu;
  } clics[] = {{0, "AZCab"}, {0, "ZAbaC"}, {0, "AZCab"}, {2, "ZACba"}, {2, "AZabC"}, {0, "AZCab"}};
  for (const auto &[colonne, attendu] : clics) {
    liste.clique_colonne(colonne);
    EXPECT_EQ(ordre(), attendu) << colonne;
  }
  liste.montre(contenu, false);
  EXPECT_FALSE(liste.tri());
}

TEST(TexteQt, SizesAndFilters) {
  const struct {
    std::uint64_t octets;
    const char *anglais, *francais;
  } tailles[] = {{0, "0", "0"},
                 {999, "999", "999"},
                 {10000, "10,000",
                  "10\xA0"
                  "000"},
                 {999999, "999,999",
                  "999\xA0"
                  "999"},
                 {1500000, "1,464k",
                  "1\xA0"
                  "464k"},
                 {std::uint64_t{1000000} << 10, "976M", "976M"},
                 {UINT64_MAX, "17,592,186,044,415M",
                  "17\xA0"
                  "592\xA0"
                  "186\xA0"
                  "044\xA0"
                  "415M"}};
  for (const auto &[octets, anglais, francais] : tailles) {
    fixer_base_langue(kLangueAnglais);
    EXPECT_EQ(taille_liste(octets), anglais);
    fixer_base_langue(kLangueFrancais);
    EXPECT_EQ(taille_liste(octets), francais);
  }
  fixer_base_langue(kLangueAnglais);
  EXPECT_EQ(taille_volume(0), "0.000MB");
  EXPECT_EQ(taille_volume(1), "0.001MB");
  EXPECT_EQ(taille_volume((std::uint64_t{1234} << 20) + (1023 << 10)), "1,234.999MB");
  EXPECT_EQ(filtre_qt("HFS Images [*.iso;*.hfs]|*.iso;*.hfs|All Files (*.*)|*.*"),
            "HFS Images (*.iso *.hfs);;All Files (*)");
  EXPECT_EQ(filtre_qt("Projects (*.vnpr)|*.vnpr|All Files (*.*)|*.*", "*.vnpr;*.cat"),
            "Projects (*.vnpr *.cat);;All Files (*)");
  EXPECT_EQ(date_liste(0, false), "");
}

TEST(Instance, TheSecondHandsItsDocumentOver) {
  const QTemporaryDir dossier;
  InstanceUnique premiere(dossier.path());
  ASSERT_TRUE(premiere.premiere());
  QSignalSpy recus(&premiere, &InstanceUnique::recu);
  {
    InstanceUnique seconde(dossier.path());
    EXPECT_FALSE(seconde.premiere());
    EXPECT_TRUE(seconde.remet(QString::fromUtf8("/tête/à.hfs")));
  }
  ASSERT_TRUE(recus.count() > 0 || recus.wait(2000));
  EXPECT_EQ(recus.at(0).at(0).toString(), QString::fromUtf8("/tête/à.hfs"));
}

TEST(Programme, CommandsNeedNoDisplay) {
  QProcessEnvironment sans_ecran = QProcessEnvironment::systemEnvironment();
  for (const char *nom : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) sans_ecran.remove(nom);
  const struct {
    QStringList mots;
    int statut;
  } cas[] = {{{"--version"}, 0}, {{"-C", "/nowhere/missing.vnpr"}, 1}, {{"-q", "x"}, 2}};
  for (const auto &[mots, statut] : cas) {
    QProcess programme;
    programme.setProcessEnvironment(sans_ecran);
    programme.start(VN_PROGRAMME, mots);
    ASSERT_TRUE(programme.waitForFinished(10000));
    EXPECT_EQ(programme.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(programme.exitCode(), statut) << mots.join(' ').toStdString();
  }
}

}  // namespace
}  // namespace varnion
