// The roads from a file to a mounted volume, and those that lead nowhere.

#include "fabrique_carte.hpp"
#include "image_essai.hpp"
#include "IO/plateforme.hpp"
#include "outils/operations_script.hpp"
#include "res/chaines.hpp"

namespace varnion::essai {
namespace {

/// Keeps the questions too.
struct OperationsTemoin final : OperationsScript {
  std::vector<std::string> questions;
  int demander_oui_non(std::string_view texte) override {
    questions.emplace_back(texte);
    return OperationsScript::demander_oui_non(texte);
  }
};

class Routes : public Images {
 protected:
  void SetUp() override {
    Images::SetUp();
    brancher_operations(&script);
  }
  void TearDown() override {
    brancher_operations(nullptr);
    Images::TearDown();
  }
  OperationsTemoin script;
};

std::string avec_signature(std::string volume, const char *signature) {
  pose_dans(volume, 1024, signature);
  return volume;
}

TEST_F(Routes, LeadThroughEveryMapAndWrapper) {
  const std::string hfs = echantillon("hfs/simple-linux.hfs.gz");
  const std::string plus = echantillon("hfsplus/test-documents.hfsplus.gz");
  struct Cas {
    const char *nom;
    std::string image;
    bool usuelle;  // found without the published descriptions too
    bool lecture_seule;
    int genre;
  };
  const std::vector<Cas> cas{
      {"Apple map 512, HFS", avec_carte_apple(hfs, 512), true, false, kImageSimple},
      {"Apple map 512, HFS+", avec_carte_apple(plus, 512), true, false, kImageSimple},
      {"Apple map 2048, HFS", avec_carte_apple(hfs, 2048), true, false, kImageSimple},
      {"Apple map 2048, HFS+", avec_carte_apple(plus, 2048), true, false, kImageSimple},
      {"MBR, HFS+", avec_mbr(plus, 0), true, false, kImageMbr},
      {"MBR, third entry", avec_mbr(hfs, 2), true, false, kImageSimple},
      {"GPT, HFS+", avec_gpt(plus, 512, 0), true, false, kImageGpt},
      {"GPT, behind an EFI partition", avec_gpt(plus, 512, 1), false, false, kImageGpt},
      {"GPT of 4,096", avec_gpt(plus, 4096, 0), false, false, kImageGpt},
      {"bare HFS", hfs, true, true, kImageSimple},
      {"bare HFS+", plus, true, true, kImageSimple},
      {"bare HFSX", avec_signature(plus, "HX"), false, true, kImageSimple},
      {"HFSX in a map", avec_carte_apple(avec_signature(plus, "HX"), 512), true, false, kImageSimple},
      {"wrapper", avec_enveloppe(plus, 4096), true, true, kImageSimple},
      {"wrapper in a map", avec_carte_apple(avec_enveloppe(plus, 4096), 512), true, false, kImageSimple},
      {"wrapper with larger clumps", avec_enveloppe(plus, 16384), false, true, kImageSimple}};
  for (const Cas &un : cas) {
    SCOPED_TRACE(un.nom);
    const bool est_hfs =
        un.image.find("simple-") == std::string::npos && un.image.find("chunks1") != std::string::npos;
    ASSERT_EQ(ouvre(un.image), EtatOuverture::montee);
    EXPECT_EQ(volume_courant().est_hfsplus, !est_hfs);
    EXPECT_EQ(support().lecture_seule, un.lecture_seule);
    EXPECT_EQ(partition_courante().genre, un.genre);
    EXPECT_EQ(parcourt_tout(), est_hfs ? 12 : 11);
    EXPECT_EQ(partition_courante().nom_volume, est_hfs ? "New Disk" : "TikaTest");
    OptionsOuverture usuelle;
    usuelle.descriptions_publiees = false;
    EtatProgramme::courant().reinitialise();
    const bool montee = ouvre(un.image, usuelle) == EtatOuverture::montee && parcourt_tout() > 0;
    EXPECT_EQ(montee, un.usuelle);
    EtatProgramme::courant().reinitialise();
  }
}

TEST_F(Routes, ThatFailLeaveNothingOpenAndSayWhy) {
  const std::string bon = echantillon("hfs/simple-linux.hfs.gz");
  std::string abime = echantillon("dmg/made_udzo.dmg");
  abime[abime.size() / 3] = static_cast<char>(abime[abime.size() / 3] ^ 0x55);
  struct Cas {
    const char *nom;
    std::string image;
    EtatOuverture etat;
    std::size_t messages;
  };
  std::string sans_hfs = avec_carte_apple(bon, 512);
  pose_dans(sans_hfs, 3 * 512 + 48, "Apple_Free");
  for (const Cas &un : {Cas{"empty", "", EtatOuverture::vide, 1},
                        Cas{"text", std::string(50000, 'a'), EtatOuverture::sans_volume, 1},
                        Cas{"short", "abc", EtatOuverture::sans_volume, 1},
                        Cas{"sparse image", "sprs" + std::string(50000, '\0'), EtatOuverture::eparse, 0},
                        Cas{"map without a volume", sans_hfs, EtatOuverture::sans_volume, 1},
                        Cas{"GPT that leads nowhere", avec_gpt(std::string(5000, 'x'), 512, 0),
                            EtatOuverture::sans_volume, 1},
                        Cas{"cut GPT", avec_gpt(bon, 512, 0).substr(0, 700), EtatOuverture::sans_volume, 1},
                        Cas{"damaged disk image", abime, EtatOuverture::decompression, 1}}) {
    ASSERT_EQ(ouvre(bon), EtatOuverture::montee);
    script.erreurs.clear();
    script.avis.clear();
    EXPECT_EQ(ouvre(un.image), un.etat) << un.nom;
    EXPECT_EQ(script.erreurs.size() + script.avis.size(), un.messages) << un.nom;
    EXPECT_FALSE(support().image.ouvert()) << un.nom;
    EXPECT_TRUE(partition_courante().chemin.empty()) << un.nom;
  }
  EXPECT_EQ(ouvrir_partition(bac + "rien"), EtatOuverture::fichier);
}

TEST_F(Routes, AskAboutCompressedImages) {
  const std::string image = echantillon("dmg/made_udzo.dmg");
  OptionsOuverture options;
  options.questions = true;
  options.chemin_sauvegarde = [this] { return std::optional(bac + "claire"); };
  script.reponses = {0};
  EXPECT_EQ(ouvre(image, options), EtatOuverture::refusee);
  ASSERT_EQ(script.questions.size(), 1U);
  EXPECT_EQ(script.questions[0], message(1502, {bac + "image"}));
  script.reponses = {1, 1};
  EXPECT_EQ(ouvre(image, options), EtatOuverture::montee);
  EXPECT_EQ(partition_courante().chemin, bac + "claire");
  EXPECT_EQ(script.questions.back(), charger_chaine(1503));
  EXPECT_EQ(parcourt_tout(), 8);
  fermer_partition();
  EXPECT_TRUE(plateforme::existe(bac + "claire"));
  script.reponses = {1, 1, 1};
  EXPECT_EQ(ouvre(image, options), EtatOuverture::montee);  // over the file that is there now
  EXPECT_EQ(script.questions.back(), message(1061, {bac + "claire"}));
  script.reponses = {1, 1};
  options.chemin_sauvegarde = [] { return std::optional<std::string>(); };
  EXPECT_EQ(ouvre(image, options), EtatOuverture::refusee);
}

TEST_F(Routes, OpenReadOnlyWhenAskedOrWhenTheFileIsSo) {
  const std::string image = echantillon("apm/made_apm_hfs.img.gz");
  EXPECT_EQ(ouvre(image), EtatOuverture::montee);
  EXPECT_FALSE(support().lecture_seule);
  OptionsOuverture options;
  options.lecture_seule = true;
  EXPECT_EQ(ouvre(image, options), EtatOuverture::montee);
  EXPECT_TRUE(support().lecture_seule);
  EXPECT_EQ(ouvre(image), EtatOuverture::montee);
  EXPECT_FALSE(support().lecture_seule);
}

TEST_F(Routes, AHeaderWithoutACatalogKeepsTheVolumeFromBeingWritten) {
  std::string image = avec_carte_apple(echantillon("hfs/simple-linux.hfs.gz"), 512);
  pose_dans(image, 65536 + 1024 + 0x98, gros(0, 2));
  EXPECT_EQ(ouvre(image), EtatOuverture::montee);
  EXPECT_TRUE(support().lecture_seule);
}

}  // namespace
}  // namespace varnion::essai
