#include <cstring>

#include "outils.hpp"
#include "projet/format.hpp"

namespace varnion::essai {
namespace {

using FormatProjet = EssaiProjet;

// Sets one flag of a cleared and of a filled record, and looks at the bytes from 0x00C to 0x00F.
struct CasDrapeau {
  const char *nom;
  std::size_t octet;  // 0 vue_iso, 1 vue_hfs, 2 etat, 3 codage
  std::uint8_t masque;
  void (*pose)(RubriqueProjet &, bool);
};

TEST(DrapeauxRubrique, TouchentLeurBitSeul) {
  using R = RubriqueProjet;
  const std::vector<CasDrapeau> cas = {
      {"vue_iso", 0, 0x03, [](R &r, bool v) { r.vue_iso(v ? kManquant : kHorsVue); }},
      {"vue_hfs", 1, 0x03, [](R &r, bool v) { r.vue_hfs(v ? kManquant : kHorsVue); }},
      {"nom_unicode", 1, 0x04, [](R &r, bool v) { r.nom_unicode(v); }},
      {"appledouble", 1, 0x08, [](R &r, bool v) { r.est_appledouble(v); }},
      {"applesingle", 1, 0x10, [](R &r, bool v) { r.est_applesingle(v); }},
      {"extension_cachee", 1, 0x20, [](R &r, bool v) { r.extension_cachee(v); }},
      {"macbinaire", 2, 0x01, [](R &r, bool v) { r.est_macbinaire(v); }},
      {"cache_iso", 2, 0x06, [](R &r, bool v) { r.cache_iso(v ? 3 : 0); }},
      {"cache_hfs", 2, 0x18, [](R &r, bool v) { r.cache_hfs(v ? 3 : 0); }},
      {"rafraichir", 2, 0x20, [](R &r, bool v) { r.rafraichir(v); }},
      {"nom_iso_saisi", 2, 0x40, [](R &r, bool v) { r.nom_iso_saisi(v); }},
      {"nom_hfs_final", 2, 0x80, [](R &r, bool v) { r.nom_hfs_final(v); }},
      {"binhex", 3, 0x01, [](R &r, bool v) { r.est_binhex(v); }},
      {"icone_perso", 3, 0x04, [](R &r, bool v) { r.icone_perso(v); }},
      {"nom_hors_page", 3, 0x08, [](R &r, bool v) { r.nom_hors_page(v); }},
      {"codage", 3, 0xF0, [](R &r, bool v) { r.codage(v ? static_cast<Codage>(15) : Codage::aucun); }},
  };
  for (const CasDrapeau &c : cas) {
    for (const bool valeur : {true, false}) {
      RubriqueProjet rubrique;
      std::uint8_t *octets = &rubrique.octet_iso;
      const std::uint8_t fond = valeur ? 0x00 : 0xFF;
      std::memset(octets, fond, 4);
      c.pose(rubrique, valeur);
      for (std::size_t i = 0; i < 4; ++i) {
        const int change = i == c.octet ? c.masque : 0;
        EXPECT_EQ(octets_de(rubrique)[0x00C + i], fond ^ change) << c.nom << " " << valeur;
      }
    }
  }
}

TEST(DrapeauxRubrique, MembreEtManquant) {
  RubriqueProjet rubrique;
  for (const std::uint8_t valeur : {kHorsVue, kDansVue, kManquant}) {
    rubrique.vue_iso(valeur);
    EXPECT_EQ(rubrique.dans_iso(), valeur != kHorsVue);
    EXPECT_EQ(rubrique.manquant(), valeur == kManquant);
  }
}

TEST(ChampsTexte, FermentParUnZeroEtRefusentLeTropLong) {
  RubriqueProjet rubrique;
  ASSERT_TRUE(ecrit_champ(rubrique.nom_hfs, std::string(63, 'a')));
  EXPECT_FALSE(ecrit_champ(rubrique.nom_hfs, std::string(64, 'b')));
  EXPECT_EQ(lit_champ(rubrique.nom_hfs), std::string(63, 'a'));
  ecrit_champ_coupe(rubrique.nom_hfs, std::string(200, 'c'));
  EXPECT_EQ(lit_champ(rubrique.nom_hfs), std::string(63, 'c'));
  ASSERT_TRUE(ecrit_champ(rubrique.nom_hfs, "x"));
  EXPECT_EQ(rubrique.nom_hfs[30], '\0') << "the old text shows behind the new one";

  EnteteProjet entete;
  entete.fichier_resume.fill('!');
  ASSERT_TRUE(ecrit_champ_plein(entete.fichier_copyright, "COPYRIGH.TXT"));
  EXPECT_EQ(lit_champ(entete.fichier_copyright), "COPYRIGH.TXT");
  EXPECT_FALSE(ecrit_champ_plein(entete.fichier_copyright, "COPYRIGHT.TXT"));
}

TEST_F(FormatProjet, EnteteNeuveSelonLesReglages) {
  struct Cas {
    std::uint32_t reglages;
    int format, disque;
  };
  for (const Cas &c : {Cas{0, 0, 0}, Cas{0x10, 1, 0}, Cas{0x200, 0, 0x20}, Cas{0x8, 0, 0x01},
                       Cas{0x218, 1, 0x21}, Cas{0x100, 0, 0}}) {
    reglages().vn_options = c.reglages;
    const FichierProjet projet = neuf();
    std::array<std::uint8_t, kTailleRubrique> tete{};
    ASSERT_EQ(projet.fichier().lire_a(tete, 0), 756);
    EXPECT_EQ(projet.taille_octets(), 756U);
    EXPECT_EQ(std::string(tete.begin(), tete.begin() + 4), "VNRQ");
    EXPECT_EQ(tete[4], 1);
    EXPECT_EQ(tete[8], 0x11);
    EXPECT_EQ(tete[0x0D], c.format) << c.reglages;
    EXPECT_EQ(tete[0x0E], c.disque) << c.reglages;
    EXPECT_STREQ(reinterpret_cast<const char *>(&tete[0x270]), "Untitled");
    EXPECT_STREQ(reinterpret_cast<const char *>(&tete[0x2B4]), "Untitled");
    EXPECT_EQ(projet.hfsplus(), c.format == 1);
  }
}

TEST(DateProjet, ResteDansSesBornes) {
  const std::int64_t biais = plateforme::biais_fuseau();
  EXPECT_EQ(date_projet(biais), 2082844800U);
  EXPECT_EQ(date_projet(biais - 2082844800), 0U);
  EXPECT_EQ(date_projet(INT64_MIN), 0U);
  EXPECT_EQ(date_projet(INT64_MAX), UINT32_MAX);
}

}  // namespace
}  // namespace varnion::essai
