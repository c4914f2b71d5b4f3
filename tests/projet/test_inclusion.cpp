#include "projet/inclusion.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "projet/outils.hpp"

namespace varnion {
namespace {

using namespace essai;
namespace fs = std::filesystem;

constexpr std::int64_t kEpoque = 1000000000;  // modification time given to generated files

/// Answers names as well, and asks for the stop after so many items.
struct OperationsScan final : OperationsScript {
  std::deque<std::string> noms;
  std::vector<std::string> legendes;
  int avant_arret = -1;

  bool demander_nom(std::string_view legende, std::string &nom, std::size_t /*limite*/) override {
    legendes.emplace_back(legende);
    if (noms.empty()) return false;
    nom = noms.front();
    noms.pop_front();
    return true;
  }
  bool arret_demande() override { return avant_arret >= 0 && avant_arret-- == 0; }
};

class Inclusion : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    brancher_operations(&op);
    pose_dossier("src");
  }
  std::string source(std::string_view nom = "") const { return bac + "src/" + std::string(nom); }
  void copie(const std::string &echantillon, const std::string &nom) const {
    fs::copy_file(VN_DONNEES "/" + echantillon, bac + "src/" + nom);
  }
  BilanInclusion scanne(FichierProjet &projet, std::string_view motif = "*.*",
                        std::uint32_t dossier = kRacine) {
    return inclusion_arbre(projet, source(motif), dossier);
  }
  static void mode_lot() { reglages().mode_lot = true; }
  static std::map<std::string, RubriqueProjet> par_nom(const FichierProjet &projet) {
    std::map<std::string, RubriqueProjet> items;
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *rubrique = tout.suivant()) items[lit_champ(rubrique->nom_iso)] = *rubrique;
    return items;
  }
  static std::string octets_projet(const FichierProjet &projet) { return tout(projet.fichier()); }

  OperationsScan op;
};

std::string signature(const RubriqueProjet &rubrique) {
  return {rubrique.signature.data(), rubrique.signature.size()};
}

// --- the tree
// -------------------------------------------------------------------------------------------------

// All items of a level are numbered before those of its first subfolder; runs lie in ascending order of
// folder.
TEST_F(Inclusion, NumerosEtOrdre) {
  for (const char *dossier : {"src/b", "src/D", "src/b/x", "src/b/y", "src/b/x/z"}) pose_dossier(dossier);
  for (const char *fichier : {"src/A.txt", "src/c.txt", "src/b/1.txt", "src/b/x/2.txt", "src/b/x/z/3.txt",
                              "src/D/4.txt", "src/D/5.txt"})
    pose(fichier, "x");
  FichierProjet projet = neuf();
  const BilanInclusion bilan = inclusion_chemin(projet, bac + "src", kRacine);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.dossiers, 6U);
  EXPECT_EQ(bilan.fichiers, 7U);
  EXPECT_EQ(bilan.dossiers_niveau, 1U);
  EXPECT_EQ(bilan.fichiers_niveau, 0U);
  EXPECT_EQ(liste_items(projet),
            (Lignes{"1/18 src", "18/-1 A.txt", "18/19 b", "18/-2 c.txt", "18/20 D", "19/-3 1.txt", "19/21 x",
                    "19/22 y", "20/-6 4.txt", "20/-7 5.txt", "21/-4 2.txt", "21/23 z", "23/-5 3.txt"}));
  EXPECT_EQ(lue(projet, 18).lg_data, 2U);
  EXPECT_EQ(lue(projet, 18).lg_rsrc, 2U);
  EXPECT_EQ(lue(projet, 21).lg_data, 1U);
  EXPECT_EQ(lue(projet, 22).lg_data, 0U);
  EXPECT_EQ(lue(projet, 1).lg_data, 1U);
  EXPECT_EQ(lit_champ(lue(projet, -5).chemin), source("b/x/z/"));
  EXPECT_EQ(projet.dernier_dossier(), 23U);
  EXPECT_EQ(projet.dernier_fichier(), 7U);
  const std::uint64_t estimation = projet.estimation();
  EXPECT_TRUE(estimation_secteurs(projet));
  EXPECT_EQ(projet.estimation(), estimation);

  auto rouvert = FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride);
  ASSERT_TRUE(rouvert);
  EXPECT_EQ(rouvert->dernier_dossier(), 23U);
  EXPECT_EQ(rouvert->dernier_fichier(), 7U);
}

TEST_F(Inclusion, FusionDansUnDossierPlein) {
  FichierProjet projet =
      avec({item(1, 20, "dossier"), item(1, -1, "m.txt", "/ailleurs/"), item(20, -2, "b.txt", "/ailleurs/"),
            item(20, -3, "p.txt", "/ailleurs/"), item(21, -4, "suite.txt", "/ailleurs/")});
  projet.releve_compteurs(item(1, 21, ""));
  projet.releve_compteurs(item(1, -4, ""));
  ASSERT_TRUE(projet.ajoute_comptes(20, 0, 2));
  pose_dossier("src/sous");
  for (const char *nom : {"src/a.txt", "src/c.txt", "src/z.txt", "src/B.TXT", "src/sous/s.txt"}) pose(nom);
  const BilanInclusion bilan = scanne(projet, "*.*", 20);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.ignores, 1U);  // B.TXT is there, case ignored, without a word
  EXPECT_TRUE(op.erreurs.empty());
  EXPECT_EQ(liste_items(projet),
            (Lignes{"1/20 dossier", "1/-1 m.txt", "20/-5 a.txt", "20/-2 b.txt", "20/-6 c.txt", "20/-3 p.txt",
                    "20/22 sous", "20/-7 z.txt", "21/-4 suite.txt", "22/-8 s.txt"}));
  EXPECT_EQ(lue(projet, 20).lg_rsrc, 5U);
  EXPECT_EQ(lue(projet, 20).lg_data, 1U);
}

// The order of a scan ignores case, the order of a run does not: the merge takes both streams as they come.
TEST_F(Inclusion, FusionDUnFluxDesordonne) {
  FichierProjet projet = avec({item(1, -1, "M", "/x/")});
  projet.releve_compteurs(item(1, -1, ""));
  for (const char *nom : {"src/a", "src/B", "src/z"}) pose(nom);
  scanne(projet);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-1 M", "1/-2 a", "1/-3 B", "1/-4 z"}));
}

TEST_F(Inclusion, OrdreDesNoms) {
  const auto range = [](const std::vector<std::string> &noms) {
    std::string suite;
    for (const std::size_t rang : ordre_noms(noms)) suite += noms[rang] + " ";
    return suite;
  };
  EXPECT_EQ(range({"b", "A", "a", "B", "\xE9", "\xC9", "ab", "a.b"}), "A a a.b ab B b \xC9 \xE9 ");
  EXPECT_EQ(range({}), "");
  // Two runs of one name each merge by bytes.
  const std::string geant(kOctetsLot, 'c');
  const std::vector<std::string> grands{geant, "B", "a"};
  EXPECT_EQ(ordre_noms(grands), (std::vector<std::size_t>{1, 2, 0}));
  EXPECT_EQ(ordre_noms(std::vector<std::string>{"B", "a"}), (std::vector<std::size_t>{1, 0}));
}

TEST_F(Inclusion, FormesDeChemin) {
  pose_dossier("src/d");
  pose("src/d/f.txt", "12345");
  const auto ancien = fs::current_path();
  fs::current_path(bac + "src/d");
  for (const std::string &chemin : {std::string("."), std::string("../d"), source("d/"), source("d//"),
                                    source("x/../d/."), std::string(source("d"))}) {
    FichierProjet projet = neuf();
    const BilanInclusion bilan = inclusion_chemin(projet, chemin, kRacine);
    EXPECT_EQ(liste_items(projet), (Lignes{"1/18 d", "18/-1 f.txt"})) << chemin;
    EXPECT_EQ(bilan.echecs, 0U);
    EXPECT_EQ(lit_champ(lue(projet, 18).chemin), source());
  }
  for (const std::string &chemin : {std::string("*.*"), std::string("./*.*"), source("d/*.*")}) {
    FichierProjet projet = neuf();
    EXPECT_TRUE(inclusion_chemin_utf8(projet, chemin, kRacine).abouti());
    EXPECT_EQ(liste_items(projet), (Lignes{"1/-1 f.txt"})) << chemin;
    EXPECT_EQ(lue(projet, -1).lg_source, 5U);
  }
  FichierProjet projet = neuf();
  OptionsInclusion options;
  options.dossier_defaut = source("d");
  EXPECT_EQ(inclusion_arbre(projet, "f.txt", kRacine, options).fichiers, 1U);
  fs::current_path(ancien);
}

TEST_F(Inclusion, CheminsAbsents) {
  FichierProjet projet = neuf();
  const std::string avant = octets_projet(projet);
  EXPECT_EQ(inclusion_chemin(projet, source("rien.txt"), kRacine).echecs, 1U);
  EXPECT_EQ(inclusion_chemin(projet, source("rien/*.*"), kRacine).echecs, 1U);
  EXPECT_EQ(inclusion_chemin_utf8(projet, "/\xE6\x97\xA5/absent", kRacine).echecs, 1U);
  ASSERT_EQ(op.erreurs.size(), 3U);
  EXPECT_NE(op.erreurs[0].find(source("rien.txt")), std::string::npos);
  EXPECT_NE(op.erreurs[1].find(source("rien/")), std::string::npos);
  EXPECT_NE(op.erreurs[2].find("absent"), std::string::npos);
  EXPECT_TRUE(inclusion_arbre(projet, source("*.*"), 999).echoue);
  EXPECT_EQ(octets_projet(projet), avant);
}

TEST_F(Inclusion, DejaPresent) {
  pose("src/a.txt");
  pose_dossier("src/autre");
  pose("src/autre/a.txt");
  FichierProjet projet = neuf();
  EXPECT_EQ(inclusion_chemin(projet, source("a.txt"), kRacine).fichiers, 1U);
  EXPECT_EQ(inclusion_chemin(projet, source("a.txt"), kRacine).ignores, 1U);
  EXPECT_EQ(inclusion_chemin(projet, source("autre/a.txt"), kRacine).ignores, 1U);
  ASSERT_EQ(op.avis.size(), 1U);
  ASSERT_EQ(op.erreurs.size(), 1U);
  EXPECT_NE(op.avis[0].find("already exists in the same folder"), std::string::npos);
  EXPECT_NE(op.erreurs[0].find("different views"), std::string::npos);
  EXPECT_EQ(projet.nb_rubriques(), 1U);
  // In the HFS view the other name is free when the first is in the ISO view only.
  RubriqueProjet rubrique = lue(projet, -1);
  rubrique.vue_hfs(kHorsVue);
  ASSERT_TRUE(projet.ecrit(1, rubrique));
  projet.vue_courante(kVueHfs);
  EXPECT_EQ(inclusion_chemin(projet, source("autre/a.txt"), kRacine).fichiers, 1U);
  EXPECT_TRUE(lue(projet, -2).dans_hfs());
  EXPECT_FALSE(lue(projet, -2).dans_iso());
}

TEST_F(Inclusion, PlusieursChemins) {
  pose_dossier("src/m");
  for (const char *nom : {"src/z.txt", "src/a.txt", "src/m/i.txt"}) pose(nom);
  FichierProjet projet = avec({item(1, -1, "k.txt", "/ailleurs/")});
  projet.releve_compteurs(item(1, -1, ""));
  const std::vector<std::string> chemins{source("z.txt"), source("m"), source("a.txt"), source("z.txt")};
  const BilanInclusion bilan = inclusion_chemins(projet, chemins, kRacine);
  EXPECT_EQ(bilan.fichiers_niveau, 2U);
  EXPECT_EQ(bilan.ignores, 1U);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-4 a.txt", "1/-1 k.txt", "1/18 m", "1/-2 z.txt", "18/-3 i.txt"}));
}

// A folder of one view, filled while another is shown, comes into that view with its parents.
TEST_F(Inclusion, VuesDesParents) {
  RubriqueProjet dehors = item(1, 20, "dehors");
  RubriqueProjet dedans = item(20, 21, "dedans");
  for (RubriqueProjet *dossier : {&dehors, &dedans}) dossier->vue_iso(kHorsVue);
  FichierProjet projet = avec({dehors, dedans});
  projet.releve_compteurs(dedans);
  projet.vue_courante(kVueIso);
  pose("src/f.txt");
  EXPECT_TRUE(inclusion_chemin(projet, source("f.txt"), 21).abouti());
  EXPECT_FALSE(lue(projet, -1).dans_iso());  // it takes the view that its folder had
  EXPECT_TRUE(lue(projet, 20).dans_iso());
  EXPECT_TRUE(lue(projet, 21).dans_iso());
}

// --- one file
// -------------------------------------------------------------------------------------------------

TEST_F(Inclusion, Codages) {
  copie("macbinary/text_file_3.bin", "mb.bin");
  copie("binhex/sources_with_comment.sit.hqx", "bh.hqx");
  copie("applesingle/sources_with_comment.sit.as", "as.as");
  copie("appledouble/gshk.docs", "ad.docs");
  copie("appledouble/._gshk.docs", "._ad.docs");
  copie("appledouble/._gshk.docs", "._seul");
  copie("appledouble/not_adf", "faux");
  copie("appledouble/._not_adf", "._faux");
  pose("src/ntfs.dat", "donnees");
  pose("src/ntfs.dat:AFP_Resource", "ressource");
  pose("src/ntfs.dat:AFP_AfpInfo",
       std::string("AFP\0", 4) + std::string(12, '\0') + "TYPECREA" + std::string(56, '\0'));
  pose("src/vide.dat:AFP_Resource", "r");
  pose("src/vide.dat:AFP_AfpInfo", std::string(16, '\0') + "TEXTLMAN" + std::string(56, '\0'));
  pose("src/vide.dat", "abc");
  op.reponses = {2, 2};  // 1049 for the Apple containers, 1048 for the two others: yes to all
  FichierProjet projet = neuf();
  EXPECT_EQ(scanne(projet).echecs, 2U);
  const auto items = par_nom(projet);
  struct Cas {
    const char *nom;
    Codage codage;
    std::uint32_t data, rsrc;
    std::string signature, nom_hfs;
  };
  const std::string zeros(8, '\0');
  const Cas cas[] = {
      {"mb.bin", Codage::macbinary, 21, 1454, "TEXTR*ch", "Text File"},
      {"bh.hqx", Codage::binhex, 2804, 368, "SITDSIT!", "sources_with_comment.sit"},
      {"as.as", Codage::apple, 2804, 368, "SITDSIT!", "as.as"},
      {"ad.docs", Codage::apple, 28920, 575, "TEXTpdos", "ad.docs"},
      {"faux", Codage::aucun, 18, 0, "TEXT????", "faux"},
      {"ntfs.dat", Codage::ntfs, 7, 9, "TYPECREA", "ntfs.dat"},
      {"vide.dat", Codage::aucun, 3, 0, "TEXT????", "vide.dat"},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.nom);
    ASSERT_TRUE(items.contains(c.nom));
    const RubriqueProjet &rubrique = items.at(c.nom);
    EXPECT_EQ(rubrique.codage(), c.codage);
    EXPECT_EQ(rubrique.lg_data, c.data);
    EXPECT_EQ(rubrique.lg_rsrc, c.rsrc);
    EXPECT_EQ(signature(rubrique), c.signature);
    EXPECT_EQ(lit_champ(rubrique.nom_hfs), c.nom_hfs);
    EXPECT_TRUE(rubrique.dans_iso());
    EXPECT_TRUE(rubrique.dans_hfs());
  }
  EXPECT_FALSE(items.contains("._ad.docs"));
  EXPECT_FALSE(items.contains("._seul"));
  EXPECT_TRUE(items.at("ad.docs").est_appledouble());
  EXPECT_TRUE(items.at("as.as").est_applesingle());
  EXPECT_EQ(items.at("ad.docs").date_modif, 0U);  // no date entry of the container is read
  EXPECT_TRUE(items.at("mb.bin").est_macbinaire());
  EXPECT_EQ(items.at("mb.bin").date_modif, 3762345192U);
  EXPECT_EQ(items.at("mb.bin").lg_source, 1792U);
  EXPECT_TRUE(items.at("bh.hqx").est_binhex());
}

TEST_F(Inclusion, CompagnonDUnSeulFichier) {
  copie("appledouble/gshk.docs", "ad.docs");
  copie("appledouble/._gshk.docs", "._ad.docs");
  mode_lot();
  FichierProjet projet = neuf();
  EXPECT_EQ(inclusion_chemin(projet, source("ad.docs"), kRacine).fichiers, 1U);
  EXPECT_EQ(lue(projet, -1).lg_rsrc, 575U);
  EXPECT_EQ(inclusion_chemin(projet, source("._ad.docs"), kRacine).ignores, 1U);
  EXPECT_EQ(projet.nb_rubriques(), 1U);
}

TEST_F(Inclusion, DrapeauxFinder) {
  std::string compagnon("\0\5\x16\7\0\2\0\0", 8);
  compagnon += std::string(16, '\0') + std::string("\0\1\0\0\0\x9\0\0\0\x26\0\0\0\x20", 14) + "TYPECREA" +
               std::string("\x04\x10", 2) + std::string(22, '\0');
  pose("src/f", "abc");
  pose("src/._f", compagnon);
  mode_lot();
  FichierProjet projet = neuf();
  scanne(projet);
  EXPECT_TRUE(lue(projet, -1).icone_perso());
  EXPECT_TRUE(lue(projet, -1).extension_cachee());
  EXPECT_EQ(lue(projet, -1).lg_rsrc, 0U);
}

TEST_F(Inclusion, CachesEtDates) {
  pose(".src", "");
  pose("src/.cache", "");
  pose("src/daté.txt", "");
  const auto quand = fs::file_time_type(
      std::chrono::file_clock::from_sys(std::chrono::sys_seconds(std::chrono::seconds(kEpoque))));
  fs::last_write_time(bac + "src/daté.txt", quand);
  FichierProjet projet = neuf();
  scanne(projet);
  const RubriqueProjet cache = lue(projet, -1);
  EXPECT_EQ(cache.cache_iso(), 1);
  EXPECT_EQ(cache.cache_hfs(), 1);
  const RubriqueProjet date = lue(projet, -2);
  EXPECT_EQ(date.cache_iso(), 0);
  EXPECT_EQ(date.date_modif, date_projet(kEpoque));
  EXPECT_EQ(date.date_creation, date.date_modif);  // never later than the last change
  EXPECT_EQ(lit_champ(date.nom_hfs), "dat\x8E.txt");
  EXPECT_EQ(lit_champ(date.nom_iso), "dat\xE9.txt");
}

// A custom icon in its MacBinary container.
std::string icone_macbinaire() {
  std::string tete(256, '\0');
  tete.replace(1, 6, "\5Icon\r");
  tete.replace(65, 8, "ICNSMACS");
  tete[86] = 10;
  return tete;
}

TEST_F(Inclusion, IconeDuVolume) {
  pose("src/icone.bin", icone_macbinaire());
  mode_lot();
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_EQ(bilan.fichiers, 1U);
  ASSERT_EQ(projet.nb_rubriques(), 2U);
  RubriqueProjet premiere, seconde;
  ASSERT_TRUE(projet.lit(1, premiere) && projet.lit(2, seconde));
  EXPECT_EQ(lit_champ(premiere.nom_hfs), "Icon\r");
  EXPECT_TRUE(premiere.dans_iso());
  EXPECT_EQ(lit_champ(seconde.nom_hfs), ".VolumeIcon.icns");
  EXPECT_TRUE(seconde.nom_hfs_final());
  EXPECT_FALSE(seconde.dans_iso());
  EXPECT_EQ(seconde.numero, premiere.numero);
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_TRUE(entete.icone_volume());
  EXPECT_EQ(entete.lg_rsrc, 1U);
}

TEST_F(Inclusion, IconeDUnDossier) {
  pose_dossier("src/d");
  pose("src/d/icone.bin", icone_macbinaire());
  mode_lot();
  FichierProjet projet = neuf();
  scanne(projet);
  EXPECT_EQ(projet.nb_rubriques(), 2U);
  EXPECT_TRUE(lue(projet, 18).icone_perso());
  EXPECT_EQ(lit_champ(lue(projet, -1).nom_hfs), "Icon\r");
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_FALSE(entete.icone_volume());
  // Into a folder that stands already.
  pose_dossier("src/e");
  pose("src/e/icone.bin", icone_macbinaire());
  ASSERT_TRUE(projet.insere(1, std::vector{item(1, 19, "c")}));
  scanne(projet, "e/*.*", 19);
  EXPECT_TRUE(lue(projet, 19).icone_perso());
}

// --- questions
// ------------------------------------------------------------------------------------------------

enum class Genre { mac, apple, exe, autre };

RubriqueProjet de_genre(Genre genre) {
  RubriqueProjet rubrique = item(1, -1, genre == Genre::exe ? "setup.exe.txt" : "SETUP.EXE");
  rubrique.est_binhex(genre == Genre::mac);
  rubrique.est_applesingle(genre == Genre::apple);
  return rubrique;
}

TEST_F(Inclusion, ChoixDesVues) {
  constexpr int kSansQuestion = 9;
  struct Cas {
    Genre genre;
    int vue, reponse;
    bool iso, hfs;
    int retenue;
  };
  const Cas cas[] = {
      {Genre::mac, 0, 0, false, true, 0},
      {Genre::mac, 0, 1, true, false, 0},
      {Genre::mac, 1, 1, true, true, 0},
      {Genre::mac, 1, 2, true, true, 1},
      {Genre::mac, 0, 2, true, false, 1},
      {Genre::mac, 1, -1, false, true, -1},
      {Genre::mac, 2, kSansQuestion, false, true, 0},
      {Genre::apple, 0, 1, true, false, 0},
      {Genre::apple, 1, 0, false, true, 0},
      {Genre::apple, 1, 2, true, true, 1},
      {Genre::apple, 2, kSansQuestion, false, true, 0},
      {Genre::exe, 0, kSansQuestion, true, false, 0},
      {Genre::exe, 1, 0, true, false, 0},
      {Genre::exe, 1, 1, true, true, 0},
      {Genre::exe, 2, 1, false, true, 0},
      {Genre::exe, 2, 0, true, false, 0},
      {Genre::exe, 1, 2, true, true, 1},
      {Genre::exe, 2, 2, true, false, 1},
      {Genre::exe, 2, -1, true, false, -1},
      {Genre::autre, 0, kSansQuestion, true, false, 0},
      {Genre::autre, 1, kSansQuestion, true, true, 0},
      {Genre::autre, 2, kSansQuestion, false, true, 0},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(testing::Message() << static_cast<int>(c.genre) << " in view " << c.vue << " answer "
                                    << c.reponse);
    ReponsesVues reponses;
    const int &retenue = c.genre == Genre::mac     ? reponses.mac
                         : c.genre == Genre::apple ? reponses.apple
                                                   : reponses.exe;
    if (c.reponse != kSansQuestion) op.reponses = {c.reponse};
    // The second item gets the kept answer without a question.
    for (int fois = 0; fois < (c.retenue != 0 || c.reponse == kSansQuestion ? 2 : 1); ++fois) {
      RubriqueProjet rubrique = de_genre(c.genre);
      choix_vue(rubrique, c.vue, reponses);
      EXPECT_EQ(rubrique.dans_iso(), c.iso);
      EXPECT_EQ(rubrique.dans_hfs(), c.hfs);
    }
    EXPECT_EQ(retenue, c.retenue);
    EXPECT_TRUE(op.reponses.empty());
  }
}

TEST_F(Inclusion, Noms) {
  const std::string n31(31, 'a'), n32(32, 'a'), n62(62, 'b'), n63(63, 'b');
  struct Cas {
    std::string nom;
    bool hfsplus, lot;
    std::deque<std::string> reponses;
    Lignes legendes;
    std::string iso, hfs;
  };
  const std::string l_iso = "Truncation of the ISO/Joliet Filename", l_hfs = "Truncation of the HFS Filename",
                    l_plus = "Truncation of the HFS+ Filename";
  const Cas cas[] = {
      {n31, false, false, {}, {}, n31, n31},
      {n32, false, false, {"court"}, {l_hfs}, n32, "court"},
      {n62, true, false, {}, {}, n62, n62},
      {n63, true, false, {"iso", "plus"}, {l_iso, l_plus}, "iso", "plus"},
      {n63 + ".jpeg", true, true, {}, {}, std::string(57, 'b') + ".jpeg", std::string(57, 'b') + ".jpeg"},
      {n63 + ".jpeg", false, true, {}, {}, std::string(57, 'b') + ".jpeg", std::string(26, 'b') + ".jpeg"},
      {n63 + ".jpegs", false, true, {}, {}, n62, std::string(31, 'b')},
      {n63, false, false, {}, {l_iso, l_hfs}, "~", "~"},
      {n63,
       false,
       false,
       {std::string(80, 'x'), ""},
       {l_iso, l_hfs},
       std::string(62, 'x'),
       std::string(31, 'b')},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.nom);
    reglages().vn_options = c.lot ? kVnOptionTronque : 0;
    op.noms = c.reponses;
    op.legendes.clear();
    RubriqueProjet rubrique = item(1, -1, "");
    noms_rubrique(rubrique, c.nom, {true, c.hfsplus});
    EXPECT_EQ(op.legendes, c.legendes);
    EXPECT_EQ(lit_champ(rubrique.nom_iso), c.iso);
    EXPECT_EQ(lit_champ(rubrique.nom_hfs), c.hfs);
    EXPECT_EQ(rubrique.dans_iso(), c.iso != "~");
    EXPECT_EQ(rubrique.dans_hfs(), c.hfs != "~");
  }
  // The flag of one kind leaves the question of the other.
  reglages().vn_options = 0;
  troncature_noms().iso = true;
  op.legendes.clear();
  RubriqueProjet rubrique = item(1, -1, "");
  noms_rubrique(rubrique, n63, {true, false});
  EXPECT_EQ(op.legendes, Lignes{l_hfs});
}

TEST_F(Inclusion, NomHfsLaisse) {
  struct Cas {
    Codage codage;
    bool hybride, dans_hfs;
    std::string attendu;
  };
  for (const Cas &c :
       {Cas{Codage::macbinary, true, true, "dedans"}, Cas{Codage::binhex, true, true, "dedans"},
        Cas{Codage::ntfs, true, true, "dedans"}, Cas{Codage::apple, true, true, "caf\x8E"},
        Cas{Codage::aucun, true, false, "caf\xE9"}, Cas{Codage::aucun, false, true, "dedans"}}) {
    RubriqueProjet rubrique = item(1, -1, "dedans");
    rubrique.codage(c.codage);
    rubrique.vue_hfs(c.dans_hfs ? kDansVue : kHorsVue);
    noms_rubrique(rubrique, "caf\xE9", {c.hybride, false});
    EXPECT_EQ(lit_champ(rubrique.nom_hfs), c.attendu);
  }
}

TEST_F(Inclusion, ModeIsop) {
  copie("macbinary/text_file_3.bin", "mb.bin");
  pose("src/setup.exe", "x");
  FichierProjet projet = neuf(ModeProjet::isop);
  EXPECT_EQ(scanne(projet).fichiers, 2U);  // no question is asked
  for (const int numero : {-1, -2}) {
    EXPECT_TRUE(lue(projet, numero).dans_iso());
    EXPECT_FALSE(lue(projet, numero).dans_hfs());
  }
  EXPECT_EQ(inclusion_chemin(projet, source("mb.bin"), kRacine).ignores, 1U);
}

// --- what a record cannot hold
// ------------------------------------------------------------------------------------

TEST_F(Inclusion, NomsHorsPage) {
  pose_dossier("src/\xE6\x97\xA5\xE6\x9C\xAC");
  pose("src/\xE6\x97\xA5\xE6\x9C\xAC/dedans.txt", "123");
  pose("src/\xCE\xB1\xCE\xB2.txt", "4567");
  pose("src/a\\b.txt", "1");
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_EQ(bilan.echecs, 0U);
  EXPECT_EQ(bilan.fichiers, 3U);
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    const std::string nom = lit_champ(rubrique->nom_source);
    EXPECT_EQ(nom.find('?'), std::string::npos);
    EXPECT_EQ(rubrique->nom_hors_page(), rubrique->pere == kRacine) << nom;
    EXPECT_TRUE(plateforme::existe(chemin_source(*rubrique))) << chemin_source(*rubrique);
    if (rubrique->pere == kRacine) {
      EXPECT_EQ(lit_champ(rubrique->nom_iso), nom);
    }
  }
}

TEST_F(Inclusion, NomsEtCheminsLongs) {
  const std::string long_nom(250, 'n');
  pose("src/" + long_nom + ".txt", "1");
  std::string chemin = "src";
  for (int i = 0; i < 4; ++i)
    pose_dossier(chemin += "/" + std::string(90, static_cast<char>('a' + i)) + "x.y z");
  pose(chemin + "/fond.txt", "23");
  mode_lot();
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_EQ(bilan.echecs, 0U);
  EXPECT_EQ(bilan.dossiers, 4U);
  const auto items = par_nom(projet);
  ASSERT_TRUE(items.contains(std::string(58, 'n') + ".txt"));
  ASSERT_TRUE(items.contains("fond.txt"));
  for (const auto &[nom, rubrique] : items)
    EXPECT_TRUE(plateforme::existe(chemin_source(rubrique))) << chemin_source(rubrique);
}

TEST_F(Inclusion, CheminSansFormeCourte) {
  std::string chemin = "src";
  for (int i = 0; i < 40; ++i) pose_dossier(chemin += "/dossier" + std::to_string(i % 10));
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.echecs, 1U);
  ASSERT_EQ(op.erreurs.size(), 1U);
  EXPECT_NE(op.erreurs[0].find("too long"), std::string::npos);
  EXPECT_EQ(projet.nb_rubriques(), bilan.dossiers);
}

TEST_F(Inclusion, FichierTropGros) {
  pose("src/gros.bin");
  pose("src/juste.bin");
  pose("src/petit.txt", "1");
  fs::resize_file(source("gros.bin"), 0x100000000);
  fs::resize_file(source("juste.bin"), 0xFFFFFFFF);
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_EQ(bilan.echecs, 1U);
  EXPECT_EQ(bilan.fichiers, 2U);
  ASSERT_EQ(op.erreurs.size(), 1U);
  EXPECT_NE(op.erreurs[0].find("gros.bin"), std::string::npos);
  EXPECT_EQ(par_nom(projet).at("juste.bin").lg_source, 0xFFFFFFFFU);
}

// A folder that links lead to a second time is taken once, where it really lies when that is scanned too.
TEST_F(Inclusion, LiensEnBoucle) {
  pose_dossier("src/b");
  pose_dossier("src/b/c");
  pose("src/b/f.txt");
  pose_dossier("dehors");
  pose("dehors/g.txt");
  fs::create_directory_symlink("..", source("b/c/haut"));
  fs::create_directory_symlink(source(), source("b/racine"));
  fs::create_directory_symlink(source("b"), source("a_lien"));
  fs::create_directory_symlink(bac + "dehors", source("d1"));
  fs::create_directory_symlink(bac + "dehors", source("d2"));
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.echecs, 4U);
  EXPECT_EQ(bilan.ecartes, 4U);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/18 b", "1/19 d1", "18/20 c", "18/-1 f.txt", "19/-2 g.txt"}));
  Lignes dites = op.erreurs;
  std::sort(dites.begin(), dites.end());
  ASSERT_EQ(dites.size(), 4U);
  EXPECT_EQ(dites[0], "Left out, a folder that is taken already: " + source("a_lien") + " is " + source("b"));
  EXPECT_EQ(dites[1], "Left out, a folder that is taken already: " + source("d2") + " is " + source("d1"));
  EXPECT_EQ(dites[2], "Left out, a link to a folder that holds it: " + source("b/c/haut"));
  EXPECT_EQ(dites[3], "Left out, a link to a folder that holds it: " + source("b/racine"));
  // A path that is named is taken whole, link or not.
  const std::vector<std::string> nommes{source("b"), source("b/c"), source("a_lien")};
  FichierProjet second = neuf();
  EXPECT_EQ(inclusion_chemins(second, nommes, kRacine).dossiers_niveau, 3U);
}

TEST_F(Inclusion, DesLiensEnEventailNeFontPasGrandirLeParcours) {
  for (int n = 0; n < 20; ++n) {
    const std::string dossier = "src/n" + std::to_string(n);
    pose_dossier(dossier);
    pose(dossier + "/f");
    if (n < 19)
      for (const char *lien : {"/a", "/b", "/c"})
        fs::create_directory_symlink("../n" + std::to_string(n + 1), bac + dossier + lien);
  }
  FichierProjet projet = neuf();
  const BilanInclusion bilan = inclusion_chemin(projet, source("n0"), kRacine);
  EXPECT_EQ(bilan.dossiers, 20U);
  EXPECT_EQ(bilan.fichiers, 20U);
  EXPECT_EQ(bilan.ecartes, 38U);
}

// What the disk has and a project cannot take: a line each, and the count.
TEST_F(Inclusion, CeQuiResteDehorsEstDit) {
  pose_dossier("src/d");
  pose_dossier("src/d/Folder");
  ASSERT_EQ(::mkfifo((source("d/pipe")).c_str(), 0600), 0);
  fs::create_symlink("nowhere", source("d/dangling"));
  fs::create_symlink("circle", source("d/circle"));
  fs::create_symlink("/dev/null", source("d/device"));
  pose("src/d/._alone", "x");
  pose("src/d/._Folder", "x");  // the companion of a folder is read by nobody
  pose("src/d/with", "x");
  pose("src/d/._with", "no AppleDouble");
  copie("appledouble/._gshk.docs", "d/._good");
  pose("src/d/good", "x");
  FichierProjet projet = neuf();
  mode_lot();
  const BilanInclusion bilan = inclusion_chemin(projet, source("d"), kRacine);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.fichiers, 2U);
  EXPECT_EQ(bilan.ecartes, 7U);
  EXPECT_EQ(bilan.echecs, 7U);
  const auto dit = [&](const std::string &texte) {
    return std::count(op.erreurs.begin(), op.erreurs.end(), texte);
  };
  for (const char *nom : {"pipe", "device"})
    EXPECT_EQ(dit("Left out, neither a file nor a folder: " + source("d/") + nom), 1);
  for (const char *nom : {"dangling", "circle"})
    EXPECT_EQ(dit("Left out, a link that leads nowhere: " + source("d/") + nom), 1);
  for (const char *nom : {"._alone", "._Folder"})
    EXPECT_EQ(dit("Left out, a companion file without its file: " + source("d/") + nom), 1);
  EXPECT_EQ(dit("Left out, a companion file that is no AppleDouble file: " + source("d/._with")), 1);
  ASSERT_EQ(op.avis.size(), 1U) << "one message stands for all of them in a window";
  EXPECT_TRUE(op.avis[0].starts_with("7 items were left out:\n"));
  EXPECT_TRUE(op.avis[0].ends_with("\n...")) << op.avis[0];
  // Named by itself: with its file it comes in, alone it does not.
  op.erreurs.clear();
  EXPECT_EQ(inclusion_chemin(projet, source("d/._good"), kRacine).echecs, 0U);
  EXPECT_EQ(inclusion_chemin(projet, source("d/._alone"), kRacine).echecs, 1U);
  EXPECT_EQ(dit("Left out, a companion file without its file: " + source("d/._alone")), 1);
}

// Of two items of one name only one is on the disc: which one is not is told, by which way it came.
TEST_F(Inclusion, LeSecondDUnNomEstDit) {
  for (const char *nom : {"src/a", "src/b", "src/a/Dir", "src/b/dir"}) pose_dossier(nom);
  for (const char *nom : {"src/a/x.txt", "src/b/x.txt", "src/b/y.txt"}) pose(nom, "1");
  for (const ModeProjet mode : {ModeProjet::isop, ModeProjet::hybride}) {
    for (const bool contenu : {false, true}) {
      if (mode == ModeProjet::hybride && !contenu) continue;  // 1406, named by the command
      SCOPED_TRACE(contenu);
      mode_lot();
      op.erreurs.clear();
      FichierProjet projet = neuf(mode);
      std::vector<std::string> chemins{source("a/x.txt"), source("a/Dir"), source("b/x.txt"), source("b/dir"),
                                       source("b/y.txt")};
      if (contenu) chemins = {source("a/*.*"), source("b/*.*")};
      const BilanInclusion bilan = inclusion_chemins(projet, chemins, kRacine);
      EXPECT_EQ(bilan.fichiers, 2U);
      EXPECT_EQ(bilan.dossiers, 1U);
      EXPECT_EQ(bilan.ecartes, 2U);
      Lignes dites = op.erreurs;
      std::sort(dites.begin(), dites.end());
      const std::string debut = "Left out, another item of that name is there already: ";
      EXPECT_EQ(dites, (Lignes{debut + source("b/dir"), debut + source("b/x.txt")}));
      // The same source a second time is there already.
      EXPECT_EQ(inclusion_chemin(projet, source("a/x.txt"), kRacine).ecartes, 0U);
    }
  }
}

TEST_F(Inclusion, FondNonReserve) {
  pose_dossier("src/.!Background");
  FichierProjet projet = neuf();
  scanne(projet);
  EXPECT_EQ(lue(projet, 18).pere, kRacine);
}

// --- failures
// -------------------------------------------------------------------------------------------------

TEST_F(Inclusion, FichierIllisible) {
  pose("src/a.txt", "1");
  pose("src/b.txt", "1");
  fs::permissions(source("a.txt"), fs::perms::none);
  if (plateforme::ouvre(source("a.txt"), Ouverture::lecture)) {
    // The superuser reads everything but what the kernel lets be written only.
    fs::remove(source("a.txt"));
    fs::create_symlink("/proc/sys/vm/compact_memory", source("a.txt"));
  }
  FichierProjet projet = neuf();
  const BilanInclusion bilan = scanne(projet);
  EXPECT_TRUE(bilan.abouti());
  EXPECT_EQ(bilan.fichiers, 1U);
  EXPECT_EQ(bilan.echecs, 1U);
  ASSERT_EQ(op.erreurs.size(), 1U);
  EXPECT_NE(op.erreurs[0].find(source("a.txt")), std::string::npos);
  EXPECT_TRUE(par_nom(projet).contains("b.txt"));
  EXPECT_EQ(lue(projet, -2).pere, kRacine);  // the number of the unreadable file stays free
}

TEST_F(Inclusion, ArretLaisseLeProjet) {
  pose_dossier("src/d");
  for (int i = 0; i < 20; ++i) pose("src/d/f" + std::to_string(i));
  FichierProjet projet = avec({item(1, -1, "ancien")});
  projet.releve_compteurs(item(1, -1, ""));
  const std::string avant = octets_projet(projet);
  for (const int items : {0, 1, 7, 21}) {
    op.avant_arret = items;
    const BilanInclusion bilan = inclusion_chemin(projet, source(), kRacine);
    EXPECT_TRUE(bilan.arrete) << items;
    EXPECT_EQ(octets_projet(projet), avant) << items;
    EXPECT_EQ(projet.dernier_dossier(), kPremierCompteur);
    EXPECT_EQ(projet.dernier_fichier(), 1U);
  }
  op.avant_arret = -1;
  EXPECT_EQ(inclusion_chemin(projet, source(), kRacine).fichiers, 20U);
  EXPECT_EQ(lue(projet, -2).pere, 19U);
}

TEST_F(Inclusion, DisquePleinLaisseLeProjet) {
  pose_dossier("src/d");
  for (int i = 0; i < 30; ++i) pose("src/d/f" + std::to_string(i));
  std::vector<RubriqueProjet> anciens;
  for (int i = 1; i <= 40; ++i) anciens.push_back(item(1, -i, "k" + std::to_string(100 + i), "/ailleurs/"));
  FichierProjet projet = avec(anciens);
  projet.releve_compteurs(anciens.back());
  const std::string avant = octets_projet(projet);
  // The limit meets the temporary file first, then the merge, then the end of the project.
  for (const std::uint64_t rubriques : {5, 35, 41, 50, 70}) {
    const DisquePlein plein(rubriques * kTailleRubrique);
    op.erreurs.clear();
    const BilanInclusion bilan = inclusion_chemin(projet, source("*.*"), kRacine);
    EXPECT_TRUE(bilan.echoue) << rubriques;
    EXPECT_EQ(op.erreurs.size(), 1U) << rubriques;
    EXPECT_EQ(octets_projet(projet), avant) << rubriques;
    EXPECT_EQ(projet.dernier_dossier(), kPremierCompteur);
  }
  EXPECT_EQ(inclusion_chemin(projet, source("*.*"), kRacine).fichiers, 30U);
  EXPECT_EQ(projet.nb_rubriques(), 71U);
}

TEST_F(Inclusion, ModeLot) {
  copie("macbinary/text_file_3.bin", "mb.bin");
  pose("src/setup.exe");
  pose("src/" + std::string(70, 'l'));
  mode_lot();
  FichierProjet projet = neuf();
  std::uint64_t appels = 0;
  OptionsInclusion options;
  options.avancement = [&](const BilanInclusion &bilan) { appels = std::max(appels, bilan.fichiers); };
  EXPECT_EQ(inclusion_chemin(projet, source("*.*"), kRacine, options).fichiers, 3U);
  EXPECT_EQ(appels, 3U);
  const auto items = par_nom(projet);
  EXPECT_TRUE(items.at("mb.bin").dans_iso() && items.at("setup.exe").dans_hfs());
  EXPECT_TRUE(items.contains(std::string(62, 'l')));
}

TEST_F(Inclusion, GrandDossier) {
  constexpr int kNombre = 3000;
  for (int i = 0; i < kNombre; ++i) pose("src/f" + std::to_string(10000 + i));
  FichierProjet projet = neuf();
  EXPECT_EQ(scanne(projet).fichiers, static_cast<std::uint64_t>(kNombre));
  const Lignes lignes = liste_items(projet);
  ASSERT_EQ(lignes.size(), static_cast<std::size_t>(kNombre));
  EXPECT_EQ(lignes[1500], "1/-1501 f11500");
  EXPECT_EQ(scanne(projet).ignores, static_cast<std::uint64_t>(kNombre));
}

}  // namespace
}  // namespace varnion
