#include "projet/rafraichissement.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>

#include "projet/changement_chemin.hpp"
#include "projet/inclusion.hpp"
#include "projet/outils.hpp"
#include "projet/reconstruction.hpp"

namespace varnion {
namespace {

using namespace essai;
namespace fs = std::filesystem;

struct OperationsArret final : OperationsScript {
  int avant_arret = -1;
  bool arret_demande() override { return avant_arret >= 0 && avant_arret-- == 0; }
};

class Rafraichissement : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    brancher_operations(&op);
    reglages().mode_lot = true;
    pose_dossier("w");
    pose_dossier("w/src");
    pose_dossier("w/src/Dir");
    pose_dossier("w/src/Dir/Sub");
    pose("w/src/a.txt", "aaaa");
    pose("w/src/b.txt", "bb");
    pose("w/src/Dir/c.txt", "ccc");
    pose("w/src/Dir/Sub/d.txt", "d");
  }
  FichierProjet scanne(const std::string &nom = "w/src") {
    FichierProjet projet = neuf();
    EXPECT_TRUE(inclusion_chemin(projet, bac + nom, kRacine).abouti());
    return projet;
  }
  static std::optional<RubriqueProjet> cherche(const FichierProjet &projet, std::string_view nom) {
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant())
      if (lit_champ(r->nom_source) == nom) return *r;
    return std::nullopt;
  }
  static void change(FichierProjet &projet, std::string_view nom, auto changement) {
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (lit_champ(r->nom_source) != nom) continue;
      RubriqueProjet autre = *r;
      changement(autre);
      ASSERT_TRUE(tout.reecrit(projet, autre));
    }
  }
  /// "letter name length" of each difference.
  static Lignes lignes(const std::vector<Difference> &differences) {
    Lignes resultat;
    for (const Difference &d : differences)
      resultat.push_back(std::string(1, static_cast<char>(d.genre)) + " " + d.nom_source + " " +
                         std::to_string(d.longueur));
    return resultat;
  }
  static std::vector<Difference> controle(const FichierProjet &projet, bool ajouts = true) {
    auto differences = controle_projet(projet, kRacine, ajouts);
    EXPECT_TRUE(differences.has_value());
    return differences.value_or(std::vector<Difference>{});
  }
  static std::string octets_projet(const FichierProjet &projet) { return tout(projet.fichier()); }
  /// Every folder's counts are those of its run, and every folder is there.
  static void verifie_comptes(const FichierProjet &projet) {
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> comptes;
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> lus;
    EnteteProjet entete;
    ASSERT_TRUE(projet.lit_entete(entete));
    lus[kRacine] = {entete.lg_data, entete.lg_rsrc};
    std::uint32_t avant = 0;
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      EXPECT_LE(avant, r->pere);
      avant = r->pere;
      ++(r->est_dossier() ? comptes[r->pere].first : comptes[r->pere].second);
      if (r->est_dossier()) lus[r->numero] = {r->lg_data, r->lg_rsrc};
    }
    for (const auto &[numero, compte] : comptes) EXPECT_TRUE(lus.contains(numero)) << numero;
    for (const auto &[numero, compte] : lus) EXPECT_EQ(compte, comptes[numero]) << numero;
  }

  OperationsArret op;
};

TEST_F(Rafraichissement, EachKindIsFoundAndRejectingChangesNothing) {
  FichierProjet projet = scanne();
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", "bbb");
  pose("w/src/Dir/new.txt", "12345");
  pose("w/src/Dir/._c.txt", "companion");
  const std::string avant = octets_projet(projet);
  const auto differences = controle(projet);
  EXPECT_EQ(lignes(differences), (Lignes{"D a.txt 4", "M b.txt 3", "D Sub 0", "A new.txt 5"}));
  EXPECT_EQ(lignes(controle(projet, false)), (Lignes{"D a.txt 4", "M b.txt 3", "D Sub 0"}));
  EXPECT_EQ(ligne_difference(differences[0]), "D|18|-1|4|" + bac + "w/src/|a.txt");
  const BilanAccord rien = accepte_differences(projet, {});
  EXPECT_TRUE(rien.abouti);
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_EQ(octets_projet(projet).substr(kTailleRubrique), avant.substr(kTailleRubrique));
}

TEST_F(Rafraichissement, AcceptedDifferencesAreDone) {
  FichierProjet projet = scanne();
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", "bbb");
  pose("w/src/Dir/new.txt", "12345");
  pose_dossier("w/src/Dir/Fresh");
  pose_dossier("w/src/Dir/Fresh/in");
  pose("w/src/Dir/Fresh/in/x.txt", "xx");
  reponses_projet().dossier_plein = 0;
  op.reponses = {1};
  const BilanAccord bilan = accepte_differences(projet, controle(projet));
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.suppressions, 2U);
  EXPECT_EQ(bilan.modifications, 1U);
  EXPECT_EQ(bilan.ajouts, 2U);
  EXPECT_EQ(bilan.restes, 0U);
  EXPECT_FALSE(cherche(projet, "a.txt") || cherche(projet, "Sub") || cherche(projet, "d.txt"));
  EXPECT_EQ(cherche(projet, "b.txt")->lg_data, 3U);
  const auto neuve = cherche(projet, "new.txt");
  ASSERT_TRUE(neuve);
  EXPECT_EQ(neuve->lg_data, 5U);
  EXPECT_EQ(neuve->lg_source, 5U);
  EXPECT_EQ(neuve->pere, cherche(projet, "Dir")->numero);
  EXPECT_TRUE(neuve->dans_iso() && neuve->dans_hfs());
  EXPECT_NE(neuve->date_modif, 0U);
  EXPECT_TRUE(cherche(projet, "x.txt"));
  verifie_comptes(projet);
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
}

// A folder with content is only deleted with the user's word; a file coded as MacBinary keeps the length of
// its data fork; a missing mark is told each time; what lies in a folder without a source is not looked at.
TEST_F(Rafraichissement, RefusalsMarksAndCodedFiles) {
  FichierProjet projet = scanne();
  reglages().options = 0;
  reponses_projet().dossier_plein = 0;
  change(projet, "a.txt", [](RubriqueProjet &r) {
    r.est_macbinaire(true);
    r.codage(Codage::macbinary);
    r.lg_data = 1U;
  });
  change(projet, "c.txt", [](RubriqueProjet &r) { r.vue_hfs(kManquant); });
  pose("w/src/a.txt", "seven77");
  fs::remove_all(bac + "w/src/Dir/Sub");
  projet.dossier_courant(kRacine);
  const std::uint32_t virtuel = ajout_dossier_virtuel(projet, "Virtual");
  ASSERT_TRUE(projet.insere(projet.nb_rubriques() + 1, std::vector{item(virtuel, -90, "gone", "/nowhere/")}));
  const auto differences = controle(projet, false);
  EXPECT_EQ(lignes(differences), (Lignes{"M a.txt 7", "M c.txt 3", "D Sub 0"}));
  op.reponses = {0};
  const BilanAccord bilan = accepte_differences(projet, differences);
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.restes, 1U);
  EXPECT_TRUE(cherche(projet, "Sub") && cherche(projet, "d.txt"));
  EXPECT_EQ(cherche(projet, "a.txt")->lg_data, 1U);
  EXPECT_EQ(cherche(projet, "a.txt")->lg_source, 7U);
  EXPECT_TRUE(cherche(projet, "c.txt")->manquant());
}

TEST_F(Rafraichissement, AFolderAsksForItsOwnNewNames) {
  FichierProjet projet = scanne();
  change(projet, "Sub", [](RubriqueProjet &r) { r.rafraichir(true); });
  pose("w/src/Dir/Sub/e.txt", "e");
  pose("w/src/Dir/f.txt", "f");
  EXPECT_EQ(lignes(controle(projet, false)), Lignes{"A e.txt 1"});
}

// From nothing changed to everything changed: what a rebuild leaves is what a scan of the disk gives, but for
// the numbers and what the user set on items that stay.
TEST_F(Rafraichissement, ARebuiltProjectEqualsAFreshScan) {
  FichierProjet projet = scanne();
  change(projet, "b.txt", [](RubriqueProjet &r) {
    ecrit_champ_coupe(r.nom_hfs, "By hand");
    r.vue_iso(kHorsVue);
    r.cache_hfs(1);
  });
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", std::string(5000, 'b'));
  pose("w/src/Dir/new.txt", "12345");
  pose_dossier("w/src/Deep");
  pose_dossier("w/src/Deep/er");
  pose("w/src/Deep/er/x.txt", "xx");
  pose("w/src/zz.txt", "z");
  const BilanReconstruction bilan = reconstruction_projet(projet);
  EXPECT_TRUE(bilan.complet());
  EXPECT_EQ(bilan.suppressions, 2U);
  EXPECT_EQ(bilan.modifications, 1U);
  EXPECT_EQ(bilan.fichiers, 3U);
  EXPECT_EQ(bilan.dossiers, 2U);
  EXPECT_NE(std::find(op.journaux.begin(), op.journaux.end(), "Deletion\t" + bac + "w/src/a.txt"),
            op.journaux.end());
  verifie_comptes(projet);
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
  const auto b = cherche(projet, "b.txt");
  EXPECT_EQ(lit_champ(b->nom_hfs), "By hand");
  EXPECT_FALSE(b->dans_iso());
  EXPECT_EQ(b->cache_hfs(), 1);
  EXPECT_EQ(b->lg_data, 5000U);

  const auto records = [](const FichierProjet &p) {
    std::map<std::string, std::string> resultat;
    LecteurRubriques tout(p);
    while (const RubriqueProjet *r = tout.suivant()) {
      RubriqueProjet sans = *r;
      sans.pere = 0U;
      sans.numero = 0U;
      const std::string nom = lit_champ(r->nom_source);
      // Items that stay keep their dates, and what was typed.
      if (r->est_dossier()) sans.date_creation = sans.date_modif = 0U;
      if (nom != "b.txt") resultat[chemin_source(*r)] = {reinterpret_cast<const char *>(&sans), sizeof sans};
    }
    return resultat;
  };
  const auto refaits = records(projet);
  const std::uint64_t estimation = projet.estimation();
  FichierProjet frais = scanne();
  EXPECT_EQ(refaits, records(frais));
  EXPECT_EQ(estimation, projet.estimation());

  const std::string avant = octets_projet(frais);
  EXPECT_TRUE(reconstruction_projet(frais).complet());
  EXPECT_EQ(octets_projet(frais).substr(kTailleRubrique), avant.substr(kTailleRubrique));
}

// The root takes new names only where its items share one disk folder.
TEST_F(Rafraichissement, TheRootIsReadWhereItHasOneFolder) {
  FichierProjet projet = neuf();
  ASSERT_TRUE(inclusion_arbre(projet, bac + "w/src/*.*", kRacine).abouti());
  pose("w/src/more.txt", "m");
  EXPECT_EQ(reconstruction_projet(projet).fichiers, 1U);
  pose_dossier("other");
  pose("other/o.txt", "o");
  ASSERT_TRUE(inclusion_chemin(projet, bac + "other/o.txt", kRacine).abouti());
  pose("w/src/again.txt", "m");
  pose("w/src/Dir/again2.txt", "m");
  EXPECT_EQ(reconstruction_projet(projet).fichiers, 1U);
  EXPECT_FALSE(cherche(projet, "again.txt"));
  verifie_comptes(projet);
}

// The folder of the root is that of the items before those without a source go.
TEST_F(Rafraichissement, DeletionsHaveNoSayInTheFolderOfTheRoot) {
  pose_dossier("other");
  pose("other/y.txt", "y");
  pose("w/src/Dir/beside.txt", "b");
  {
    FichierProjet projet = neuf();
    for (const char *nom : {"w/src/Dir/c.txt", "other/y.txt"})
      ASSERT_TRUE(inclusion_chemin(projet, bac + nom, kRacine).abouti());
    fs::remove(bac + "other/y.txt");
    const BilanReconstruction bilan = reconstruction_projet(projet);
    EXPECT_TRUE(bilan.complet());
    EXPECT_EQ(bilan.suppressions, 1U);
    EXPECT_EQ(bilan.fichiers, 0U);
    EXPECT_FALSE(cherche(projet, "beside.txt"));
    verifie_comptes(projet);
  }
  FichierProjet projet = neuf();
  pose("other/old.txt", "z");
  ASSERT_TRUE(inclusion_chemin(projet, bac + "other/old.txt", kRacine).abouti());
  fs::rename(bac + "other/old.txt", bac + "other/new.txt");
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  EXPECT_FALSE(cherche(projet, "old.txt"));
  ASSERT_TRUE(cherche(projet, "new.txt"));
  verifie_comptes(projet);
  // The folder itself is gone: nothing is left to look through.
  fs::remove_all(bac + "other");
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  EXPECT_EQ(projet.nb_rubriques(), 0U);
}

TEST_F(Rafraichissement, AMacBinaryThatChangedIsReadAgain) {
  fs::remove_all(bac + "w/src");
  pose_dossier("w/src");
  const auto tete = [](std::uint8_t data, std::uint8_t rsrc) {
    std::string octets(128, '\0');
    octets[1] = 4;
    octets.replace(2, 4, "Name");
    octets.replace(65, 8, "TEXTttxt");
    octets[86] = static_cast<char>(data);
    octets[90] = static_cast<char>(rsrc);
    return octets;
  };
  pose("w/src/m.bin", tete(10, 0) + std::string(128, 'x'));
  FichierProjet projet = scanne();
  ASSERT_TRUE(cherche(projet, "m.bin")->est_macbinaire());
  pose("w/src/m.bin", tete(100, 20) + std::string(256, 'x'));
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  const auto m = cherche(projet, "m.bin");
  EXPECT_EQ(m->lg_data, 100U);
  EXPECT_EQ(m->lg_rsrc, 20U);
  EXPECT_EQ(m->lg_source, 384U);
}

// A link to a folder above is not followed on a rebuild either.
TEST_F(Rafraichissement, ALinkUpwardsStaysOut) {
  FichierProjet projet = scanne();
  fs::create_directory_symlink(bac + "w/src", bac + "w/src/Dir/Sub/loop");
  const BilanReconstruction bilan = reconstruction_projet(projet);
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.dossiers, 0U);
  EXPECT_EQ(bilan.echecs, 1U);
}

TEST_F(Rafraichissement, AStopOrAFailureLeavesTheProjectAsItWas) {
  FichierProjet projet = scanne();
  fs::remove(bac + "w/src/a.txt");
  for (int i = 0; i < 300; ++i) pose("w/src/Dir/n" + std::to_string(i), "n");
  const std::string avant = octets_projet(projet);
  for (const int pas : {0, 2, 4, 40, 200}) {
    op.avant_arret = pas;
    EXPECT_FALSE(reconstruction_projet(projet).abouti) << pas;
    EXPECT_EQ(octets_projet(projet), avant) << pas;
  }
  op.avant_arret = -1;
  const auto differences = controle(projet);
  ASSERT_EQ(differences.size(), 301U);
  {
    const DisquePlein plein(avant.size() + 5 * kTailleRubrique);
    EXPECT_FALSE(reconstruction_projet(projet).abouti);
    EXPECT_FALSE(accepte_differences(projet, differences).abouti);
  }
  EXPECT_EQ(octets_projet(projet), avant);
  EXPECT_FALSE(op.erreurs.empty());
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  verifie_comptes(projet);
}

TEST_F(Rafraichissement, MovedFoldersAreFoundAgain) {
  FichierProjet projet = scanne();
  ASSERT_TRUE(projet.insere(projet.nb_rubriques() + 1,
                            std::vector{item(99, -70, "near", bac + "w/src2/"), item(99, -71, "v", "..")}));
  fs::rename(bac + "w/src", bac + "w/moved");
  EXPECT_EQ(changement_chemin(projet, bac + "w/src", bac + "w/moved"), 7U);
  EXPECT_EQ(lit_champ(cherche(projet, "near")->chemin), bac + "w/src2/");
  EXPECT_EQ(lit_champ(cherche(projet, "v")->chemin), "..");
  const auto sommet = cherche(projet, "moved");
  ASSERT_TRUE(sommet);
  EXPECT_EQ(lit_champ(sommet->chemin), bac + "w/");
  EXPECT_EQ(lit_champ(sommet->nom_iso), "src");
  EXPECT_EQ(lignes(controle(projet)), Lignes{});

  const std::string avant = octets_projet(projet);
  EXPECT_EQ(changement_chemin(projet, bac + "w/moved", "/" + std::string(250, 'x')), std::nullopt);
  EXPECT_EQ(octets_projet(projet), avant);
  EXPECT_EQ(changement_chemin(projet, "/none", "/other"), 0U);
}

TEST_F(Rafraichissement, PathsOfWindowsArePutRight) {
  FichierProjet projet = scanne();
  for (const auto &[nom, chemin] :
       {std::pair("src", "D:\\Disc\\"), std::pair("Dir", "D:\\Disc\\src\\"),
        std::pair("Sub", "D:\\Disc\\src\\Dir\\"), std::pair("d.txt", "D:\\Disc\\src\\Dir\\Sub\\")})
    change(projet, nom, [&](RubriqueProjet &r) { ecrit_champ_coupe(r.chemin, chemin); });
  EXPECT_FALSE(controle(projet).empty());
  EXPECT_EQ(changement_chemin(projet, "D:\\Disc\\src", bac + "w/src"), 4U);
  EXPECT_EQ(lit_champ(cherche(projet, "d.txt")->chemin), bac + "w/src/Dir/Sub/");
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
}

TEST_F(Rafraichissement, TwentyThousandItemsAreQuick) {
  for (int d = 0; d < 100; ++d) {
    const std::string dossier = "w/src/g" + std::to_string(d);
    pose_dossier(dossier);
    for (int i = 0; i < 200; ++i) pose(dossier + "/f" + std::to_string(i), "x");
  }
  FichierProjet projet = scanne();
  for (int i = 0; i < 250; ++i)
    fs::remove(bac + "w/src/g" + std::to_string(i % 100) + "/f" + std::to_string(i));
  for (int i = 0; i < 250; ++i) pose("w/src/g" + std::to_string(i % 100) + "/n" + std::to_string(i), "x");
  const auto debut = std::chrono::steady_clock::now();
  EXPECT_EQ(controle(projet).size(), 450U);
  const BilanReconstruction bilan = reconstruction_projet(projet);
  const std::chrono::duration<double> duree = std::chrono::steady_clock::now() - debut;
  EXPECT_TRUE(bilan.complet());
  EXPECT_EQ(bilan.suppressions, 200U);
  EXPECT_EQ(bilan.fichiers, 250U);
  verifie_comptes(projet);
  EXPECT_LT(duree.count(), 20.0);
}

}  // namespace
}  // namespace varnion
