#include "app/noyau/reglages.hpp"

#include <gtest/gtest.h>

#include "app/noyau/journal.hpp"
#include "hfs/volume.hpp"
#include "IO/bac.hpp"
#include "IO/operations.hpp"
#include "projet/noms_rubrique.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

class EssaiReglages : public essai::Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    for (const char *nom : {"LC_ALL", "LC_MESSAGES", "LANG", "XDG_CONFIG_HOME"}) {
      const char *valeur = std::getenv(nom);
      if (valeur != nullptr) anciennes_.emplace_back(nom, valeur);
      ::unsetenv(nom);
    }
    conf_ = bac;
    ::setenv("XDG_CONFIG_HOME", bac.c_str(), 1);
  }
  void TearDown() override {
    ::unsetenv("XDG_CONFIG_HOME");
    for (const auto &[nom, valeur] : anciennes_) ::setenv(nom.c_str(), valeur.c_str(), 1);
    Bac::TearDown();
  }
  /// Settings as a file written before this run holds them; each in a folder of its own, since the store
  /// takes a file of the same size and time for unchanged.
  void magasin(std::string_view lignes) {
    conf_ = bac + "conf" + std::to_string(++rang_) + "/";
    ::setenv("XDG_CONFIG_HOME", conf_.c_str(), 1);
    std::filesystem::create_directories(conf_ + "Tarrowby");
    pose(conf_.substr(bac.size()) + "Tarrowby/Varnion.conf", "[General]\n" + std::string(lignes));
  }
  [[nodiscard]] std::string magasin() const {
    const Fichier fichier = plateforme::ouvre(conf_ + "Tarrowby/Varnion.conf", Ouverture::lecture);
    return fichier ? essai::tout(fichier) : "-";
  }
  static OptionsProgramme &mots() { return etat<OptionsProgramme>(); }

 private:
  std::vector<std::pair<std::string, std::string>> anciennes_;
  std::string conf_;
  int rang_ = 0;
};

TEST_F(EssaiReglages, WithoutAFileTheDefaultsHoldAndABatchRunWritesNone) {
  lire_options(true);
  const Reglages &r = reglages();
  EXPECT_EQ(r.ext, "TXT");
  EXPECT_EQ(r.corps, 10);
  EXPECT_EQ(r.taille_projet, 700);
  EXPECT_EQ(r.rect.largeur, 700);
  EXPECT_EQ(r.colonnes, (std::array<int, 7>{160, 90, 70, 70, 90, 90, 120}));
  EXPECT_EQ(r.mode_depart, kModeIndecis);
  EXPECT_TRUE(r.reper.size() <= 3 || r.reper.ends_with('/')) << r.reper;
  EXPECT_FALSE(journal_ouvert());
  EXPECT_EQ(magasin(), "-");
}

TEST_F(EssaiReglages, ReadsEachFormAndCorrectsWhatIsOutOfRange) {
  magasin(
      "Ext=ABCDE\nOptions=-2147483648\nVN-Options=0x12\nCorps=9\nszProj=650\nszIsop=abc\n"
      "Rect=\"0,2001,700,-1,400\"\nCol=10,20,30\nSign=/sig/été.sig\n[MRU1]\n1=/a.vnpr\n2=\n3=/c.vnpr\n");
  lire_options(true);
  const Reglages &r = reglages();
  EXPECT_EQ(r.ext, "ABCD");
  EXPECT_EQ(mots().options, 0x80000000U);
  EXPECT_EQ(mots().vn_options, 0U) << "decimal: the number ends at the x";
  EXPECT_EQ(r.corps, 10) << "one character counts as none";
  EXPECT_EQ(r.taille_projet, 650);
  EXPECT_EQ(r.taille_isop, 0);
  EXPECT_EQ(r.rect.gauche, 50);
  EXPECT_EQ(r.rect.haut, 50);
  EXPECT_EQ(r.rect.largeur, 700);
  EXPECT_EQ(r.rect.hauteur, 500);
  EXPECT_EQ(r.rect.arbre, 120);
  EXPECT_EQ(r.colonnes, (std::array<int, 7>{10, 20, 30, 70, 90, 90, 120}));
  EXPECT_EQ(r.signatures, "/sig/\xE9t\xE9.sig");
  EXPECT_EQ(r.recents[0], (std::vector<std::string>{"/a.vnpr", "/c.vnpr"}));
}

TEST_F(EssaiReglages, WindowRules) {
  struct {
    RectFenetre lue, corrigee;
  } const cas[] = {
      {{1, 1, 0, 0, 0}, {1, 1, 0, 0, 0}},
      {{2500, 2000, 2000, 2000, 1000}, {2500, 2000, 2000, 2000, 1000}},
      {{2501, 0, 2001, 2001, 375}, {50, 50, 750, 500, 375}},
      {{-5, 7, 2001, 10, 376}, {50, 7, 750, 10, 120}},
      {{5, 7, 100, 10, -1}, {5, 7, 100, 10, 120}},
  };
  for (const auto &[lue, corrigee] : cas) {
    const RectFenetre r = rect_corrige(lue);
    EXPECT_EQ(std::tie(r.gauche, r.haut, r.largeur, r.hauteur, r.arbre),
              std::tie(corrigee.gauche, corrigee.haut, corrigee.largeur, corrigee.hauteur, corrigee.arbre));
  }
}

TEST_F(EssaiReglages, LanguageFromTheEnvironmentThenFromTheSetting) {
  struct {
    const char *all, *messages, *lang, *reglage;
    int base;
  } const cas[] = {
      {"", "", "", "", kLangueAnglais},        {"", "", "fr_FR.UTF-8", "", kLangueFrancais},
      {"", "", "fr", "", kLangueFrancais},     {"", "", "frp_IT", "", kLangueAnglais},
      {"C", "", "fr_FR", "", kLangueAnglais},  {"", "fr_CA@x", "en_US", "", kLangueFrancais},
      {"", "en", "fr_FR", "", kLangueAnglais}, {"", "", "fr_FR", "0", kLangueAnglais},
      {"", "", "en_US", "1", kLangueFrancais}, {"", "", "en_US", "x", kLangueAnglais},
  };
  for (const auto &c : cas) {
    ::setenv("LC_ALL", c.all, 1);
    ::setenv("LC_MESSAGES", c.messages, 1);
    ::setenv("LANG", c.lang, 1);
    magasin("Lang=" + std::string(c.reglage) + "\n");
    lire_options(true);
    EXPECT_EQ(base_langue(), c.base) << c.all << "|" << c.messages << "|" << c.lang << "|" << c.reglage;
  }
}

TEST_F(EssaiReglages, OptionBitsActAtStart) {
  magasin("VN-Options=1475\nJournal=" + bac + "vn.log\n");  // 0x5C3: mode kept, truncation, mode 3, HFS+, log
  lire_options(true);
  EXPECT_EQ(reglages().mode_depart, 0) << "there is no mode 3";
  EXPECT_TRUE(troncature_noms().iso && troncature_noms().hfs && troncature_noms().hfsplus);
  EXPECT_TRUE(volume_courant().est_hfsplus);
  EXPECT_TRUE(journal_ouvert());
  EXPECT_EQ(contenu("vn.log"), "**********\r\n");
  magasin("VN-Options=1024\nJournal=" + bac + "absent/vn.log\n");
  lire_options(true);
  EXPECT_FALSE(journal_ouvert());
}

TEST_F(EssaiReglages, WhatIsWrittenAtExitReadsTheSame) {
  lire_options(false);
  EXPECT_NE(magasin().find("Ext=TXT"), std::string::npos);
  Reglages &r = reglages();
  r.rect = {60, 70, 800, 600, 200};
  r.ext = "BIN";
  r.journal = "/tmp/journal \xE9.log";
  r.recents[2] = {"/un.vnso", "/deux.vnso"};
  mots().options = 0xFFFFFFFF;
  mots().vn_options = kVnOptionGardeMode | 0x40;
  fixer_base_langue(kLangueFrancais);
  EXPECT_TRUE(ecrire_options(2));
  EXPECT_TRUE(enregistre_reglage("MRU3"));
  EXPECT_FALSE(enregistre_reglage("Mode"));
  const std::string texte = magasin();
  EXPECT_NE(texte.find("Rect=\"60,70,800,600,200\""), std::string::npos) << texte;
  EXPECT_NE(texte.find("Col=\"160,90,70,70,90,90,120,\""), std::string::npos) << texte;
  EXPECT_NE(texte.find("Options=4294967295"), std::string::npos) << texte;
  EXPECT_EQ(texte.find("Journal"), std::string::npos) << "stored at exit only when it opens at start";
  EtatProgramme::courant().reinitialise();
  lire_options(true);
  EXPECT_EQ(reglages().rect.largeur, 800);
  EXPECT_EQ(reglages().ext, "BIN");
  EXPECT_EQ(reglages().mode_depart, 2);
  EXPECT_EQ(base_langue(), kLangueFrancais);
  EXPECT_EQ(reglages().recents[2], (std::vector<std::string>{"/un.vnso", "/deux.vnso"}));
  mots().vn_options &= ~kVnOptionGardeMode;
  EXPECT_TRUE(ecrire_options(1));
  EXPECT_EQ(mots().vn_options & kVnOptionModes, 0U) << "no mode is kept when none is to be";
}

TEST_F(EssaiReglages, AStoreThatCannotBeIsNoError) {
  pose("fichier", "");
  ::setenv("XDG_CONFIG_HOME", (bac + "fichier").c_str(), 1);
  lire_options(true);
  EXPECT_EQ(reglages().ext, "TXT");
  EXPECT_FALSE(ecrire_options(0));
}

}  // namespace
}  // namespace varnion
