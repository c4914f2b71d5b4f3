#include "fichiers/sfm.hpp"

#include "fichiers/outils.hpp"

namespace varnion {
namespace {

using namespace essai;

class Sfm : public ::testing::Test {
 protected:
  void SetUp() override {
    fichier_ = plateforme::fichier_temporaire("SFM", chemin_);
    ASSERT_TRUE(fichier_.ouvert());
  }
  void TearDown() override { plateforme::vide_dossier_temporaire(); }
  void flux(std::string_view nom, std::string_view contenu) {
    const Fichier f = plateforme::ouvre(chemin_ + ":" + std::string(nom), Ouverture::creation);
    ASSERT_TRUE(f.ecrire_a(octets(contenu), 0));
  }

  std::string chemin_;
  Fichier fichier_;
};

std::string info(std::string_view magie, std::string_view signature, std::string_view drapeaux) {
  return std::string(magie) + std::string(12, '\1') + std::string(signature) + std::string(drapeaux) +
         std::string(60, '\0');
}

TEST_F(Sfm, SansFlux) {
  std::string signature = "reste";
  EXPECT_FALSE(a_flux_sfm(chemin_));
  EXPECT_FALSE(lit_info_afp(chemin_).presente);
  EXPECT_EQ(lecture_afpinfo(chemin_, signature), 0);
  EXPECT_EQ(signature, "");
}

TEST_F(Sfm, FluxDeRessource) {
  flux(kFluxRessource, "ressource");
  EXPECT_TRUE(a_flux_sfm(chemin_));
  EXPECT_EQ(lit_tout(ouvre_ressource_sfm(chemin_)), "ressource");
}

TEST_F(Sfm, InfoAfp) {
  struct Cas {
    std::string contenu, signature_projet, signature_copie;
    std::uint16_t drapeaux;
  };
  const std::string magie("AFP\0", 4);
  const Cas cas[] = {
      {info(magie, "TEXTttxt", "\x21\x40"), "TEXTttxt", "TEXTttxt", 0x2140},
      {info("AFPx", "TEXTttxt", "\x21\x40"), "TEXTttxt", "", 0},
      {info(magie, "TEXTttxt", "\x21\x40").substr(0, 25), "", "", 0},
      {"", "", "", 0},
  };
  for (const Cas &c : cas) {
    flux(kFluxInfo, c.contenu);
    const InfoAfp lue = lit_info_afp(chemin_);
    EXPECT_TRUE(lue.presente);
    EXPECT_EQ(lue.signature, c.signature_projet);
    std::string signature;
    EXPECT_EQ(lecture_afpinfo(chemin_, signature), c.drapeaux);
    EXPECT_EQ(signature, c.signature_copie);
  }
}

}  // namespace
}  // namespace varnion
