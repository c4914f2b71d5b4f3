#include <sys/xattr.h>

#include <cerrno>
#include <ctime>

#include "IO/bac.hpp"
#include "IO/operations.hpp"

namespace varnion {
namespace {

using namespace plateforme;
using essai::Bac;
using essai::tout;

class Plateforme : public Bac {
 protected:
  void TearDown() override {
    ::unsetenv("SOURCE_DATE_EPOCH");
    ::unsetenv("TZ");
    ::tzset();
    Bac::TearDown();
  }
  void relance() { EtatProgramme::courant().reinitialise(); }
};

TEST_F(Plateforme, FluxParNomPuisParAttribut) {
  pose("doc.txt", "data");
  EXPECT_FALSE(ouvre_flux(bac + "doc.txt", "AFP_Resource"));
  EXPECT_EQ(errno, ENODATA);

  const std::string ressource(40000, 'r');
  const bool attributs = ::setxattr((bac + "doc.txt").c_str(), "user.AFP_AfpInfo", "AFP", 4, 0) == 0;
  const Fichier info = ouvre_flux(bac + "DOC.TXT", "AFP_AfpInfo");
  ASSERT_EQ(info.ouvert(), attributs) << "an extended attribute is read where the file system keeps them";
  if (attributs) {
    EXPECT_EQ(tout(info), std::string("AFP\0", 4));
    EXPECT_EQ(fichier_position(info), 0);
  }
  pose("doc.txt:AFP_AfpInfo", "by name");
  pose("doc.txt:AFP_Resource", ressource);
  EXPECT_EQ(tout(ouvre_flux(bac + "doc.txt", "AFP_AfpInfo")), "by name");
  EXPECT_EQ(tout(ouvre_flux(bac + "doc.txt", "AFP_Resource")), ressource);
}

TEST_F(Plateforme, DossierTemporaire) {
  const std::string dossier = dossier_temporaire();
  ASSERT_FALSE(dossier.empty());
  EXPECT_EQ(dossier.back(), '/');
  struct stat fiche {};
  ASSERT_EQ(::stat(dossier.c_str(), &fiche), 0);
  EXPECT_EQ(fiche.st_mode & 0777U, 0700U);

  std::string chemin;
  const Fichier fichier = fichier_temporaire("a/b?", chemin);
  ASSERT_TRUE(fichier);
  EXPECT_EQ(chemin.substr(0, dossier.size() + 4), dossier + "a_b_");
  EXPECT_TRUE(existe(chemin));
  ASSERT_TRUE(cree_dossier(dossier + "sub"));
  ASSERT_TRUE(ouvre(dossier + "sub/x", Ouverture::creation));
  const Fichier anonyme = fichier_anonyme();
  ASSERT_TRUE(fichier_puts("kept", anonyme));
  vide_dossier_temporaire();
  EXPECT_FALSE(existe(dossier));
  EXPECT_EQ(tout(anonyme), "kept");
  EXPECT_NE(dossier_temporaire(), dossier) << "made again when needed";
}

TEST_F(Plateforme, DossierTemporaireHorsDeLaPageDeCodes) {
  pose_dossier("\xE2\x98\x83");
  ::setenv("TMPDIR", (bac + "\xE2\x98\x83").c_str(), 1);
  const std::string dossier = dossier_temporaire();
  ::unsetenv("TMPDIR");
  std::string chemin;
  EXPECT_TRUE(fichier_temporaire("t", chemin));
  EXPECT_EQ(chemin.substr(0, bac.size() + 4), bac + "_~1/");
  EXPECT_TRUE(ouvre(chemin, Ouverture::lecture));
}

TEST_F(Plateforme, DateImposee) {
  ::setenv("SOURCE_DATE_EPOCH", "1000000000", 1);
  relance();
  EXPECT_TRUE(date_imposee());
  EXPECT_EQ(maintenant(), 1000000000);
  const std::uint32_t hasard = nombre_hasard();
  EXPECT_EQ(nombre_hasard(), hasard);
  ::setenv("SOURCE_DATE_EPOCH", "1000000001", 1);
  relance();
  EXPECT_NE(nombre_hasard(), hasard);
  for (const char *faux : {"", "12x", "-5", "99999999999999999999"}) {
    ::setenv("SOURCE_DATE_EPOCH", faux, 1);
    relance();
    EXPECT_FALSE(date_imposee()) << faux;
    EXPECT_NEAR(static_cast<double>(maintenant()), static_cast<double>(std::time(nullptr)), 5.0);
  }
}

TEST_F(Plateforme, FuseauAuDepart) {
  ::setenv("SOURCE_DATE_EPOCH", "1000000000", 1);  // in September: summer time in Paris
  ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  relance();
  EXPECT_EQ(biais_fuseau(), -7200);
  const DateCivile ete = date_locale(1000000000);
  EXPECT_EQ(ete.heure, 3);
  const DateCivile hiver = date_locale(1000000000 + 120 * 86400);
  EXPECT_EQ(hiver.heure, 2);
  ::setenv("TZ", "EST5", 1);
  relance();
  EXPECT_EQ(biais_fuseau(), 18000);
}

TEST_F(Plateforme, DateUtc) {
  struct Cas {
    std::int64_t secondes;
    DateCivile date;
  };
  const Cas cas[] = {
      {0, {1970, 1, 1, 0, 0, 0}},
      {-1, {1969, 12, 31, 23, 59, 59}},
      {951827696, {2000, 2, 29, 12, 34, 56}},
      {-2082844800, {1904, 1, 1, 0, 0, 0}},
      {4107542400, {2100, 3, 1, 0, 0, 0}},
      {-62135596800, {1, 1, 1, 0, 0, 0}},
  };
  for (const auto &[secondes, d] : cas) {
    const DateCivile r = date_utc(secondes);
    EXPECT_TRUE(r.annee == d.annee && r.mois == d.mois && r.jour == d.jour && r.heure == d.heure &&
                r.minute == d.minute && r.seconde == d.seconde)
        << secondes << ": " << r.annee << '-' << r.mois << '-' << r.jour;
  }
  EXPECT_EQ(date_utc(INT64_MAX).seconde, date_utc(60'000'000'000'000'000).seconde);
}

TEST_F(Plateforme, DatesDUnFichier) {
  pose("f", "x");
  const Fichier fichier = ouvre(bac + "f", Ouverture::lecture_ecriture);
  ASSERT_TRUE(fixe_dates(fichier, 1000, 2000));
  auto trouve = cherche_fichier(bac + "f");
  ASSERT_TRUE(trouve);
  EXPECT_EQ(trouve->acces, 1000);
  EXPECT_EQ(trouve->modification, 2000);
  ASSERT_TRUE(fixe_dates(bac + "F", 3000, -4000));
  EXPECT_EQ(cherche_fichier(bac + "f")->modification, -4000);
  EXPECT_FALSE(fixe_dates(bac + "none", 1, 1));
}

TEST_F(Plateforme, EspaceEtSysteme) {
  EXPECT_GT(espace_libre(bac + "not/there/yet.img").value_or(0), 0U);
  EXPECT_EQ(espace_libre(""), std::nullopt);
  EXPECT_TRUE(accepte_gros_fichiers(bac));
  pose("a");
  ASSERT_EQ(::link((bac + "a").c_str(), (bac + "b").c_str()), 0);
  pose("c");
  EXPECT_TRUE(meme_fichier(bac + "a", bac + "b"));
  EXPECT_FALSE(meme_fichier(bac + "a", bac + "c"));
  EXPECT_FALSE(meme_fichier(bac + "x", bac + "x"));
}

TEST_F(Plateforme, Variable) {
  pose_dossier("\xE2\x98\x83 home");
  ::setenv("VN_ESSAI", (bac + "\xE2\x98\x83 home").c_str(), 1);
  EXPECT_EQ(variable("VN_ESSAI"), bac + "_HOME~1");
  ::setenv("VN_ESSAI", "\xC3\xA9", 1);
  EXPECT_EQ(variable("VN_ESSAI"), "\xE9");
  ::unsetenv("VN_ESSAI");
  EXPECT_EQ(variable("VN_ESSAI"), "");
}

TEST_F(Plateforme, OperationsMuettesPuisBranchees) {
  EXPECT_EQ(operations().demander_oui_non("?"), 0);
  EXPECT_FALSE(operations().arret_demande());
  // What ends the process must leave no private folder behind, but never that of a parent.
  const std::string dossier = dossier_temporaire();
  EXPECT_EXIT(erreur_fatale("no memory"), ::testing::ExitedWithCode(255), "");
  EXPECT_TRUE(existe(dossier));
}

}  // namespace
}  // namespace varnion
