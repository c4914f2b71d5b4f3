#include "IO/dossiers.hpp"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <map>

#include "IO/bac.hpp"

namespace varnion {
namespace {

using namespace plateforme;
using essai::Bac;

class Dossiers : public Bac {
 protected:
  /// Short names of the folder by the wide name.
  std::map<std::u16string, DonneesRecherche> par_large() const {
    std::map<std::u16string, DonneesRecherche> resultat;
    const auto liste = liste_dossier(bac);
    EXPECT_TRUE(liste.has_value());
    for (const auto &entree : *liste) resultat[entree.nom_large] = entree;
    return resultat;
  }
};

TEST_F(Dossiers, UnNomDecomposeSOuvreParSonTexte) {
  pose("e\xCC\x81te\xCC\x81.txt", "summer");
  pose_dossier("A\xCC\x8Angstro\xCC\x88m");
  pose("A\xCC\x8Angstro\xCC\x88m/x", "inside");
  EXPECT_EQ(contenu("\xE9t\xE9.txt"), "summer");
  EXPECT_EQ(contenu("\xC9T\xC9.TXT"), "summer");
  EXPECT_EQ(contenu("\xC5ngstr\xF6m/x"), "inside");
  EXPECT_EQ(contenu("\xE5NGSTR\xD6M\\X"), "inside");
  const auto trouve = cherche_fichier(bac + "\xE9t\xE9.txt");
  ASSERT_TRUE(trouve);
  EXPECT_EQ(trouve->nom_long, "\xE9t\xE9.txt");
  EXPECT_EQ(trouve->nom_large, u"\u00E9t\u00E9.txt");
  EXPECT_EQ(trouve->nom_court, "ETE~1.TXT");
}

// Composed and decomposed forms side by side: the text means the composed one, the other keeps its short
// name.
TEST_F(Dossiers, DeuxFormesDUnMemeTexte) {
  pose("\xC3\xA9.txt", "composed");
  pose("e\xCC\x81.txt", "decomposed");
  EXPECT_EQ(contenu("\xE9.txt"), "composed");
  const auto chemin = chemin_utf8_utilisable(bac + "e\xCC\x81.txt", 4096);
  ASSERT_TRUE(chemin);
  EXPECT_EQ(contenu(chemin->substr(bac.size())), "decomposed");
  ASSERT_TRUE(supprime(bac + "\xE9.txt"));
  EXPECT_EQ(contenu("\xE9.txt"), "decomposed");
}

// Names that the working text cannot bring back open by their short names, and never by a look-alike.
TEST_F(Dossiers, NomsQueLeTexteNeMontrePas) {
  const std::pair<const char *, const char *> cas[] = {
      {"snow\xE2\x98\x83.txt", "snow?.txt"},
      {"moon\xFF.txt", "moon?.txt"},
      {"mark?.txt", "mark?.txt"},
      {"back\\slash", "back\\slash"},
      {"repl\xEF\xBF\xBD.txt", "repl?.txt"},
  };
  for (const auto &[disque, texte] : cas) pose(disque, disque);
  const auto liste = liste_dossier(bac);
  ASSERT_TRUE(liste);
  ASSERT_EQ(liste->size(), std::size(cas));
  for (const auto &[disque, texte] : cas) {
    EXPECT_EQ(contenu(texte), "-") << texte;
    const auto chemin = chemin_utf8_utilisable(bac + disque, 4096);
    ASSERT_TRUE(chemin) << disque;
    EXPECT_EQ(contenu(chemin->substr(bac.size())), disque);
    const auto trouve = cherche_fichier(*chemin);
    ASSERT_TRUE(trouve) << disque;
    EXPECT_EQ(trouve->nom_long, texte);
    EXPECT_EQ(chemin->substr(bac.size()), trouve->nom_court);
  }
  EXPECT_FALSE(ouvre(bac + "new?.txt", Ouverture::creation));
  EXPECT_EQ(errno, EINVAL);
  EXPECT_FALSE(ouvre(bac + "new\x81.txt", Ouverture::creation));
  EXPECT_EQ(liste_dossier(bac)->size(), std::size(cas));
}

TEST_F(Dossiers, LaCasse) {
  pose("Mixed Case.txt", "mixed");
  pose("Twin.txt", "first");
  pose("TWIN.TXT", "second");
  EXPECT_EQ(contenu("mixed case.TXT"), "mixed");
  EXPECT_EQ(contenu("Twin.txt"), "first");
  EXPECT_EQ(contenu("TWIN.TXT"), "second");
  EXPECT_EQ(contenu("twin.txt"), "-") << "two names differ in case alone";
  EXPECT_EQ(contenu("twin~1.txt"), "first");
  EXPECT_EQ(contenu("MIXEDC~1.TXT"), "mixed");
  // Made files take the name that is there, or the one given.
  ASSERT_TRUE(ouvre(bac + "MIXED CASE.txt", Ouverture::creation));
  EXPECT_EQ(contenu("Mixed Case.txt"), "");
  ASSERT_TRUE(ouvre(bac + "tWin.TXT", Ouverture::creation));
  EXPECT_EQ(liste_dossier(bac)->size(), 4U);
}

TEST_F(Dossiers, LesChangementsSontVus) {
  EXPECT_EQ(contenu("ALPHA BETA"), "-");
  pose("alpha beta", "x");  // by another program, in the same tick
  EXPECT_EQ(contenu("ALPHA BETA"), "x");
  ASSERT_TRUE(renomme(bac + "Alpha Beta", bac + "Gamma Delta"));
  EXPECT_EQ(contenu("ALPHA BETA"), "-");
  EXPECT_EQ(contenu("gamma delta"), "x");
  EXPECT_EQ(contenu("GAMMAD~1"), "x");
  ASSERT_TRUE(renomme(bac + "gamma delta", bac + "GAMMA delta"));
  EXPECT_EQ(liste_dossier(bac)->front().nom_long, "GAMMA delta");
  ASSERT_TRUE(ouvre(bac + "Gamma Dental", Ouverture::creation_neuve));
  EXPECT_EQ(contenu("GAMMAD~2"), "");
  EXPECT_FALSE(ouvre(bac + "gamma dental", Ouverture::creation_neuve)) << "there but for case";
  EXPECT_EQ(errno, EEXIST);
  ASSERT_TRUE(supprime(bac + "GAMMA DELTA"));
  EXPECT_EQ(contenu("GAMMAD~2"), "-");
  EXPECT_EQ(contenu("GAMMAD~1"), "") << "short names follow from the names that are left";
  ASSERT_TRUE(cree_dossier(bac + "Sub Folder"));
  EXPECT_FALSE(cree_dossier(bac + "sub folder"));
  EXPECT_TRUE(est_dossier(bac + "SUBFOL~1"));
  ASSERT_TRUE(supprime_dossier(bac + "SUBFOL~1/"));
  EXPECT_FALSE(existe(bac + "Sub Folder"));
}

TEST_F(Dossiers, ListeEtAttributs) {
  pose("b.txt", "12345");
  pose(".hidden");
  pose_dossier("Sub");
  ASSERT_EQ(::symlink("b.txt", (bac + "link").c_str()), 0);
  ASSERT_EQ(::symlink("nowhere", (bac + "dangling").c_str()), 0);
  ASSERT_EQ(::symlink("circle", (bac + "circle").c_str()), 0);
  ASSERT_EQ(::mkfifo((bac + "pipe").c_str(), 0600), 0);
  const auto liste = liste_dossier(bac.substr(0, bac.size() - 1));
  ASSERT_TRUE(liste);
  std::vector<std::string> noms;
  for (const auto &entree : *liste) noms.push_back(entree.nom_long);
  EXPECT_EQ(noms, (std::vector<std::string>{".hidden", "Sub", "b.txt", "link"}));
  EXPECT_TRUE((*liste)[0].est_cache());
  EXPECT_EQ((*liste)[0].nom_court, "HIDDEN~1");
  EXPECT_TRUE((*liste)[1].est_dossier());
  EXPECT_FALSE((*liste)[2].est_cache() || (*liste)[2].est_dossier());
  EXPECT_EQ((*liste)[2].taille, 5U);
  EXPECT_EQ((*liste)[3].taille, 5U) << "a link counts as its target";
  EXPECT_FALSE(liste_dossier(bac + "none"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(liste_dossier(bac + "b.txt"));
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(Dossiers, AucunPeripheriqueNeSOuvre) {
  ASSERT_EQ(::mkfifo((bac + "pipe").c_str(), 0600), 0);
  for (const Ouverture mode :
       {Ouverture::lecture, Ouverture::lecture_ecriture, Ouverture::creation, Ouverture::ajout}) {
    EXPECT_FALSE(ouvre(bac + "pipe", mode)) << "must neither open nor wait";
    EXPECT_FALSE(ouvre("/dev/zero", mode));
    EXPECT_FALSE(ouvre(bac, mode));
    EXPECT_EQ(errno, EISDIR);
  }
  EXPECT_FALSE(cherche_fichier(bac + "pipe"));
  // Nor does a file take the place of one, or of a link to one.
  pose("file", "x");
  std::filesystem::create_symlink("pipe", bac + "link");
  for (const char *nom : {"pipe", "link"}) {
    EXPECT_FALSE(renomme(bac + "file", bac + nom));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_TRUE(std::filesystem::is_fifo(bac + nom));
  }
  EXPECT_EQ(contenu("file"), "x");
}

TEST_F(Dossiers, CheminsImpossibles) {
  pose("file", "x");
  const std::string long_nom(300, 'n');
  for (const std::string &nom : {long_nom, std::string(200, '\xE9'), long_nom + "/deep"}) {
    EXPECT_FALSE(ouvre(bac + nom, Ouverture::creation));
    EXPECT_EQ(errno, ENAMETOOLONG) << nom;
    EXPECT_FALSE(existe(bac + nom));
  }
  std::string profond = bac;
  for (int i = 0; i < 100000; ++i) profond += "a/";
  EXPECT_FALSE(cherche_fichier(profond));
  EXPECT_FALSE(ouvre(std::string("file\0hidden", 11), Ouverture::creation)) << "a zero must not cut the name";
  EXPECT_FALSE(ouvre(bac + "file/below", Ouverture::creation));
  EXPECT_FALSE(ouvre(bac + "none/below", Ouverture::creation));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(ouvre("", Ouverture::creation));
  EXPECT_FALSE(renomme(bac + "file", bac + "none/x"));
  EXPECT_EQ(contenu("file"), "x");
}

TEST_F(Dossiers, CheminTropLong) {
  pose_dossier("A quite long folder name");
  pose("A quite long folder name/And a long file name.text", "deep");
  const std::string reste = "A quite long folder name/And a long file name.text";
  const std::string court = bac + "AQUITE~1/ANDALO~1.TEX";
  EXPECT_EQ(chemin_utilisable(bac + reste, bac.size() + reste.size() + 1), bac + reste);
  EXPECT_EQ(chemin_utilisable(bac + reste, bac.size() + reste.size()), court);
  EXPECT_EQ(chemin_utilisable(bac + reste, court.size() + 1), court);
  EXPECT_EQ(chemin_utilisable(bac + reste, court.size()), std::nullopt);
  EXPECT_EQ(contenu("AQUITE~1/ANDALO~1.TEX"), "deep");
  EXPECT_EQ(contenu("aquite~1\\and a long file name.text"), "deep");
  // What does not exist yet keeps its name behind a shortened folder.
  EXPECT_EQ(chemin_utilisable(bac + "A quite long folder name/new.txt", bac.size() + 20),
            bac + "AQUITE~1/new.txt");
  EXPECT_EQ(chemin_utilisable(bac + "A quite long folder name/", bac.size() + 12), bac + "AQUITE~1/");
  EXPECT_EQ(chemin_utf8_utilisable(bac + "\xE2\x98\x83.new", 4096), std::nullopt)
      << "nothing shows this name";
  EXPECT_EQ(chemin_utf8_utilisable(bac + "\xC3\xA9.new", 4096), bac + "\xE9.new");
  EXPECT_EQ(chemin_utf8_utilisable(bac + "A quite long folder name\\And a long file name.text", 4096),
            bac + reste);
}

TEST_F(Dossiers, CheminAbsolu) {
  const std::pair<const char *, const char *> cas[] = {
      {"/a/./b//c/../d", "/a/b/d"}, {"/..", "/"}, {"/a/..", "/"}, {"\\a\\b\\", "/a/b/"}, {"/", "/"}, {"", ""},
  };
  for (const auto &[chemin, attendu] : cas) EXPECT_EQ(chemin_absolu(chemin), attendu);
  const std::string courant = chemin_absolu(".");
  EXPECT_EQ(chemin_absolu("x/../y"), courant + "/y");
  EXPECT_TRUE(meme_fichier(courant, "."));
}

// The folder grows while it is looked into: neither the look-ups nor the creations may read it again each
// time.
TEST_F(Dossiers, VingtMilleEntreesEnTempsLineaire) {
  constexpr int kNombre = 20000;
  const auto debut = std::chrono::steady_clock::now();
  for (int i = 0; i < kNombre; ++i) {
    ASSERT_TRUE(
        ouvre(bac + "Entry with a long name " + std::to_string(i) + ".dat", Ouverture::creation_neuve));
  }
  const auto liste = liste_dossier(bac);
  ASSERT_TRUE(liste);
  ASSERT_EQ(liste->size(), std::size_t{kNombre});
  for (const auto &entree : *liste) {
    const auto par_long = cherche_fichier(bac + entree.nom_long);
    ASSERT_TRUE(par_long) << entree.nom_long;
    ASSERT_EQ(par_long->nom_court, entree.nom_court);
    const auto par_court = cherche_fichier(bac + entree.nom_court);
    ASSERT_TRUE(par_court) << entree.nom_court;
    ASSERT_EQ(par_court->nom_long, entree.nom_long);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(30));
}

}  // namespace
}  // namespace varnion
