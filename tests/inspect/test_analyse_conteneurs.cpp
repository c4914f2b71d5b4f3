// Heads of containers. The three samples hold one Macintosh file: 2,804 and 368 bytes, type SITD, creator
// SIT!.
#include "inspect/outils.hpp"

namespace varnion::essai {

namespace {

FicheAnalyse comme(FormeSecteur forme, const std::string &nom) {
  const auto source = echantillon(nom);
  EtatAnalyse etat;
  return analyse_secteur_comme(forme, *source, 0, etat);
}

}  // namespace

TEST(AnalyseConteneurs, macbinaire) {
  const FicheAnalyse fiche = comme(FormeSecteur::macbinaire, "macbinary/sources_with_comment.sit.bin");
  compare(fiche, {{"cont_fnom", "sources_with_comment.sit"},
                  {"cont_type", "SITD"},
                  {"cont_crea", "SIT!"},
                  {"cont_data", "128"},
                  {"cont_lgdata", "2804"},
                  {"cont_ress", "2944"},
                  {"cont_lgress", "368"}});
  EXPECT_EQ(mene(fiche, "GoR"), 2944 / 512);
  EXPECT_EQ(bouton(fiche, "GoD"), nullptr);
  // Data fork alone: nothing is shown of the other one.
  const FicheAnalyse data = comme(FormeSecteur::macbinaire, "macbinary/no_resource_fork.bin");
  EXPECT_NE(champ(data, "cont_lgdata"), nullptr);
  EXPECT_EQ(champ(data, "cont_ress"), nullptr);
  EXPECT_EQ(champ(data, "cont_lgress"), nullptr);
}

TEST(AnalyseConteneurs, applesingle) {
  const FicheAnalyse fiche = comme(FormeSecteur::applesingle, "applesingle/sources_with_comment.sit.as");
  compare(fiche, {{"cont_type", "SITD"},
                  {"cont_crea", "SIT!"},
                  {"cont_ress", "186"},
                  {"cont_lgress", "368"},
                  {"cont_data", "554"},
                  {"cont_lgdata", "2804"}});
  EXPECT_EQ(mene(fiche, "GoD"), 1);
  EXPECT_EQ(bouton(fiche, "GoR")->cible.secteur, 0);
  // Without entry 9 there is no type, and entry 9 behind the first sector is read where it lies.
  EXPECT_EQ(champ(comme(FormeSecteur::applesingle, "applesingle/gshk_v1.as"), "cont_type"), nullptr);
  const FicheAnalyse loin = comme(FormeSecteur::applesingle, "applesingle/macip.res.as");
  compare(loin, {{"cont_lgdata", "0"}, {"cont_ress", "62"}, {"cont_lgress", "1375"}, {"cont_crea", "pdos"}});
}

TEST(AnalyseConteneurs, appledouble) {
  const FicheAnalyse fiche = comme(FormeSecteur::appledouble, "appledouble/._sources_with_comment.sit");
  compare(fiche, {{"cont_type", ""}, {"cont_crea", ""}, {"cont_ress", "82"}, {"cont_lgress", "368"}});
  // The data fork of AppleSingle is none of this form, even where the table names one.
  EXPECT_EQ(champ(comme(FormeSecteur::appledouble, "applesingle/sources_with_comment.sit.as"), "cont_data"),
            nullptr);
}

// A table that runs past the sector, and one that names an entry twice.
TEST(AnalyseConteneurs, tables_abimees) {
  Octets secteur(512);
  met_gros(secteur, 24, 2, 0xFFFF);
  for (std::size_t i = 0; 26 + 12 * (i + 1) <= secteur.size(); ++i) {
    met_gros(secteur, 26 + 12 * i, 4, 2);
    met_gros(secteur, 26 + 12 * i + 4, 4, 1000 + i);
  }
  const FicheAnalyse fiche = analyse(FormeSecteur::appledouble, {secteur, 0, 512, nullptr, {}});
  ASSERT_EQ(fiche.onglets.size(), 1U);
  EXPECT_EQ(fiche.onglets[0].champs.size(), 2U);
  EXPECT_EQ(valeur(fiche, "cont_ress"), "1039");
}

}  // namespace varnion::essai
