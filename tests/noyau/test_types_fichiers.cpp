#include "app/noyau/types_fichiers.hpp"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "IO/bac.hpp"

namespace varnion {
namespace {

namespace fs = std::filesystem;

std::string lit(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  return fichier ? essai::tout(fichier) : "-";
}

class EssaiTypes : public essai::Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    const char *valeur = std::getenv("XDG_DATA_HOME");
    if (valeur != nullptr) ancienne_ = valeur;
    ::setenv("XDG_DATA_HOME", bac.c_str(), 1);
  }
  void TearDown() override {
    ancienne_.empty() ? ::unsetenv("XDG_DATA_HOME") : ::setenv("XDG_DATA_HOME", ancienne_.c_str(), 1);
    Bac::TearDown();
  }

 private:
  std::string ancienne_;
};

TEST_F(EssaiTypes, ce_qui_est_choisi_seulement) {
  EXPECT_EQ(types_enregistres(), 0U);
  const ResultatTypes premier = enregistre_types(kTypeImage, "/opt/varnion/bin/varnion");
  EXPECT_EQ(premier.faits, kTypeImage);
  EXPECT_EQ(premier.echec, "");
  EXPECT_EQ(types_enregistres(), kTypeImage);
  EXPECT_FALSE(fs::exists(bac + "mime/packages/varnion.proj.xml"));
  // A kind left out of a later call stays registered.
  EXPECT_EQ(enregistre_types(kTypeProjet | kTypeIsop, "/usr/bin/varnion").faits, kTypeProjet | kTypeIsop);
  EXPECT_EQ(types_enregistres(), kTypeProjet | kTypeImage | kTypeIsop);

  for (const TypeFichier &type : types_fichiers()) {
    const std::string icone = lit(bac + "icons/hicolor/scalable/mimetypes/" + type.icone + ".svg");
    EXPECT_NE(icone.find("<svg"), std::string::npos) << type.icone;
  }
  const std::string mime = lit(bac + "mime/packages/varnion.isop.xml");
  EXPECT_NE(mime.find("<glob pattern=\"*.vnso\"/>"), std::string::npos);
  const std::string lanceur = lit(bac + "applications/varnion.part.desktop");
  EXPECT_NE(lanceur.find("\nExec=\"/opt/varnion/bin/varnion\" %f\n"), std::string::npos) << lanceur;
  EXPECT_NE(lanceur.find("\nMimeType=application/x-varnion-image;\n"), std::string::npos) << lanceur;
}

// The rules of the Exec key: quotes, then the escapes of a string, then field codes.
TEST_F(EssaiTypes, chemins_de_programmes) {
  const std::pair<const char *, const char *> cas[] = {
      {"/home/a b/varnion", "\"/home/a b/varnion\""},     {"/x/$y/varnion", R"("/x/\\$y/varnion")"},
      {"/x/a\"b`c/varnion", R"("/x/a\\"b\\`c/varnion")"}, {"/x/a\\b/varnion", R"("/x/a\\\\b/varnion")"},
      {"/x/100%/varnion", "\"/x/100%%/varnion\""},
  };
  for (const auto &[chemin, voulu] : cas) {
    ASSERT_EQ(enregistre_types(kTypeProjet, chemin).faits, kTypeProjet);
    const std::string lanceur = lit(bac + "applications/varnion.proj.desktop");
    EXPECT_NE(lanceur.find("\nExec=" + std::string(voulu) + " %f\n"), std::string::npos) << lanceur;
  }
}

TEST_F(EssaiTypes, dossier_de_donnees_inutilisable) {
  pose("mime", "a file where a folder is wanted");
  const ResultatTypes resultat = enregistre_types(kTypeProjet | kTypeIsop, "/usr/bin/varnion");
  EXPECT_EQ(resultat.faits, 0U);
  EXPECT_EQ(resultat.echec, bac + "mime/packages/varnion.proj.xml");
  EXPECT_EQ(types_enregistres(), 0U);
}

// The description that the package installs speaks of the same types.
TEST(TypesInstalles, memes_noms) {
  const std::string mime = lit(VN_SOURCES "/src/res/bureau/varnion.xml");
  const std::string lanceur = lit(VN_SOURCES "/src/res/bureau/varnion.desktop");
  for (const TypeFichier &type : types_fichiers()) {
    EXPECT_NE(mime.find("<mime-type type=\"" + std::string(type.mime) + "\">"), std::string::npos)
        << type.mime;
    EXPECT_NE(mime.find("<glob pattern=\"*" + std::string(type.extension) + "\"/>"), std::string::npos);
    EXPECT_NE(lanceur.find(type.mime), std::string::npos) << type.mime;
  }
}

}  // namespace
}  // namespace varnion
