#include <algorithm>
#include <string>
#include <vector>

#include "hfs/catalogue.hpp"
#include "hfs/garde.hpp"
#include "image_essai.hpp"
#include "IO/ecarts.hpp"
#include "noms/ordre.hpp"
#include "noms/texte.hpp"

// Volumes whose names stand in the published order, in that of the classic rule, and in none.

namespace varnion::essai {
namespace {

// Windows-1252. The two orders differ in many of them.
const std::vector<std::string> kNoms = {"\xC9t\xE9", "\xCAtre", "\xCEle",  "\xD4ter", "Stra\xDF" "e", "Zoo", "_x",
                                        "0",         "ea",      "Eb",      "\xD1" "and", "nz",          "\xFCm", "aa"};

class OrdreVolume : public VolumeEdite<SurHfs> {
 protected:
  void cree_sous(Regle r) {
    fixer_regle(r);
    oublie_garde();
    cree(2);
    for (const std::string &nom : kNoms) ASSERT_NE(ajoute(kIdRacine, nom, "content of " + nom), 0U) << nom;
    ASSERT_TRUE(ecriture_structures());
  }
  /// A new mount under a rule, nothing loaded.
  void ouvre(Regle r) {
    fixer_regle(r);
    liberation_carte();
    vide_cache();
    oublie_garde();
    support().lecture_seule.oublie_volume();
    volume_courant().debut_allocation = SurHfs::kEntete;
    lecture_entete_volume();
    ouverture_arbres();
    ops.erreurs.clear();
  }
  /// Names of the root, as the leaves have them.
  static std::vector<std::string> noms() {
    std::vector<std::string> noms;
    EXPECT_TRUE(liste_dossier(kIdRacine, [&](const ElementMac &e) {
                  noms.push_back(e.nom_hfs);
                  return true;
                }).entier());
    return noms;
  }
  static bool rangee(OrdreHfs ordre) {
    const auto lus = noms();
    return lus.size() >= kNoms.size() && std::is_sorted(lus.begin(), lus.end(), [&](const auto &a, const auto &b) {
             return compare_hfs(a, b, ordre) < 0;
           });
  }
  static void trouve_tous() {
    for (const std::string &nom : kNoms) {
      const auto element = element_hfs(kIdRacine, nom_mac(nom));
      ASSERT_TRUE(element) << nom;
      EXPECT_EQ(element->nom_hfs, nom_mac(nom));
    }
    EXPECT_FALSE(element_hfs(kIdRacine, "absent"));
  }
  /// Exchanges the keys of two files, one letter each, in the image.
  static void echange(char a, char b) {
    for (std::size_t i = 0; i + 8 < image().size(); ++i) {
      // length 7, reserved, parent 2, a name of one letter
      const bool cle = image()[i] == 7 && image()[i + 5] == kIdRacine && image()[i + 6] == 1 &&
                       image()[i + 2] == 0 && image()[i + 3] == 0 && image()[i + 4] == 0;
      if (cle && image()[i + 7] == a) {
        image()[i + 7] = static_cast<std::uint8_t>(b);
      } else if (cle && image()[i + 7] == b) {
        image()[i + 7] = static_cast<std::uint8_t>(a);
      }
    }
  }
};

TEST_F(OrdreVolume, GivesEachRuleItsOrder) {
  cree_sous(Regle::publiee);
  EXPECT_TRUE(rangee(OrdreHfs::publie));
  EXPECT_FALSE(rangee(OrdreHfs::classique));
  trouve_tous();
  cree_sous(Regle::classique);
  EXPECT_TRUE(rangee(OrdreHfs::classique));
  EXPECT_FALSE(rangee(OrdreHfs::publie));
  trouve_tous();
}

TEST_F(OrdreVolume, ReadsTheClassicOrderAndChangesItUnderClassicOnly) {
  cree_sous(Regle::classique);
  const auto avant = image();
  ouvre(Regle::publiee);
  trouve_tous();
  EXPECT_FALSE(chargement_carte());
  ASSERT_EQ(ops.erreurs.size(), 1U);
  EXPECT_NE(ops.erreurs[0].find("--classic"), std::string::npos) << ops.erreurs[0];
  EXPECT_EQ(cree_dossier(nom_item("neuf"), kIdRacine), 0U);
  EXPECT_EQ(image(), avant);

  ouvre(Regle::classique);
  EXPECT_TRUE(chargement_carte());
  EXPECT_NE(ajoute(kIdRacine, "\xCAtreint", "x"), 0U);
  EXPECT_TRUE(rangee(OrdreHfs::classique));
}

TEST_F(OrdreVolume, KeepsThePublishedOrderUnderBothRules) {
  cree_sous(Regle::publiee);
  ouvre(Regle::classique);
  trouve_tous();
  EXPECT_TRUE(chargement_carte());
  EXPECT_NE(ajoute(kIdRacine, "\xCAtreint", "x"), 0U);
  EXPECT_EQ(supprime_par_nom(nom_item("\xCEle"), kIdRacine), 1);
  EXPECT_NE(ajoute(kIdRacine, "\xCEles", "x"), 0U);
  EXPECT_TRUE(rangee(OrdreHfs::publie));
}

TEST_F(OrdreVolume, FindsNamesThatStandInNoOrderAndRefusesToAddOne) {
  for (const Regle regle : {Regle::publiee, Regle::classique}) {
    fixer_regle(regle);
    cree(2);
    for (const char *nom : {"b", "d", "f", "h"}) ASSERT_NE(ajoute(kIdRacine, nom, nom), 0U);
    ASSERT_TRUE(ecriture_structures());
    echange('b', 'h');
    ouvre(regle);
    for (const char *nom : {"b", "d", "f", "h"}) EXPECT_TRUE(element_hfs(kIdRacine, nom)) << nom;
    const auto avant = image();
    EXPECT_FALSE(chargement_carte());
    EXPECT_EQ(ops.erreurs.size(), 1U);
    EXPECT_EQ(image(), avant);
    liberation_carte();
    EtatProgramme::courant().reinitialise();
    brancher_operations(&ops);
  }
}

}  // namespace
}  // namespace varnion::essai
