#include "fichiers/ressources.hpp"

#include <chrono>

#include "fichiers/outils.hpp"
#include "outils/fourche_ressources.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::fait_fourche;
using outils::gros_bout;

TEST(Ressources, EchantillonsReels) {
  struct Attendue {
    const char *type;
    int id;
    std::uint32_t longueur;
    const char *nom;
  };
  struct Cas {
    const char *fichier;
    std::vector<Attendue> ressources;
  };
  const Cas cas[] = {
      {"rsrc/testfile.rsrc",
       {{"STR ", 128, 39, ""},
        {"STR ", 129, 40, "The Name"},
        {"STR ", 130, 45, ""},
        {"STR ", 131, 42, "The Name with Attributes"}}},
      {"rsrc/unicode.textClipping.rsrc",
       {{"utxt", 256, 74, ""}, {"utf8", 256, 45, ""}, {"TEXT", 256, 37, ""}, {"drag", 128, 64, ""}}},
      {"rsrc/empty.rsrc", {}},
      {"rsrc/folder_icon.rsrc", {{"icns", -16455, 5917, ""}}},
      {"alias/alias_of_file_in_root.rsrc", {{"alis", 0, 216, "Alpha.txt"}}},
      {"alias/alias_of_file_in_folder.rsrc", {{"alis", 0, 220, "Charlie.txt"}}},
      {"alias/alias_of_folder.rsrc",
       {{"icns", -16496, 5917, ""},
        {"ICN#", -16496, 256, ""},
        {"icl8", -16496, 1024, ""},
        {"ics#", -16496, 64, ""},
        {"ics8", -16496, 256, ""},
        {"alis", 0, 212, "Bravo"}}},
      {"polices/TestT1-Regular.lwfn",
       {{"POST", 501, 817, ""}, {"POST", 502, 910, ""}, {"POST", 503, 554, ""}, {"POST", 504, 2, ""}}},
      {"polices/TestDFONT.dfont", {{"sfnt", 14116, 2488, ""}, {"FOND", 14116, 674, "Test TTF"}}},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const Fichier fichier = echantillon(c.fichier);
    const auto ressources = lit_ressources(fichier);
    ASSERT_TRUE(ressources);
    ASSERT_EQ(ressources->size(), c.ressources.size());
    for (std::size_t i = 0; i < c.ressources.size(); ++i) {
      const RessourceMac &lue = (*ressources)[i];
      EXPECT_EQ(lue.type, c.ressources[i].type);
      EXPECT_EQ(lue.id, c.ressources[i].id);
      EXPECT_EQ(lue.longueur, c.ressources[i].longueur);
      EXPECT_EQ(lue.nom, c.ressources[i].nom);
      EXPECT_TRUE(lue.presente);
    }
  }
}

TEST(Ressources, ContenuEtAttributs) {
  const Fichier fichier = echantillon("rsrc/testfile.rsrc");
  const auto ressources = lit_ressources(fichier);
  ASSERT_TRUE(ressources && ressources->size() == 4);
  const auto octets_lus = lit_ressource(fichier, (*ressources)[0], 39);
  ASSERT_TRUE(octets_lus && octets_lus->size() == 39);
  EXPECT_EQ((*octets_lus)[0], 38);  // a Pascal string
  EXPECT_FALSE(lit_ressource(fichier, (*ressources)[0], 38));
  EXPECT_EQ((*ressources)[0].attributs, 0);
  EXPECT_NE((*ressources)[3].attributs, 0);

  // The fork of a companion: at 82 whatever its table says.
  const Fichier sit = echantillon("appledouble/._sources_with_comment.sit");
  EXPECT_EQ(base_ressources(sit), 82U);
  EXPECT_TRUE(lit_ressources(sit, base_ressources(sit)));
  EXPECT_EQ(base_ressources(fichier), 0U);
  EXPECT_EQ(lit_ressources(sit, base_ressources(sit))->size(),
            lit_ressources(sit, PlageFourche{82, 368})->size());
}

TEST(Ressources, Bundle) {
  const std::string sans = fait_fourche({{"ICN#", 128, "i"}});
  const std::string avec = fait_fourche({{"ICN#", 128, "i"}, {"BNDL", 128, "b"}});
  std::string ailleurs = avec;
  ailleurs[2] = 2;  // data offset 0x200
  std::string aucun = avec;
  pose(aucun, 256 + 10 + 28, "\xFF\xFF");
  struct Cas {
    const char *quoi;
    std::string octets_fourche;
    bool attendu;
  };
  const Cas cas[] = {
      {"without", sans, false},    {"with", avec, true}, {"other data offset", ailleurs, false},
      {"empty map", aucun, false}, {"empty", "", false}, {"cut", avec.substr(0, 290), false}};
  for (const Cas &c : cas) {
    EXPECT_EQ(a_bundle(fichier_de(c.octets_fourche)), c.attendu) << c.quoi;
    const Fichier decalee = fichier_de(std::string(77, 'x') + c.octets_fourche);
    EXPECT_EQ(a_bundle(decalee, 77), c.attendu) << c.quoi;
    fichier_seek(decalee, 77, 0);
    EXPECT_EQ(a_bundle(decalee), c.attendu) << c.quoi;
    EXPECT_EQ(fichier_position(decalee), 77);
  }
}

TEST(Ressources, CartesAbimees) {
  const std::string bonne = fait_fourche({{"AAAA", 1, "contenu", "nom"}, {"BBBB", 2, "autre"}});
  ASSERT_EQ(lit_ressources(fichier_de(bonne))->size(), 2U);
  EXPECT_TRUE(lit_ressources(fichier_de(""))->empty());
  for (std::size_t longueur = 1; longueur < bonne.size(); ++longueur) {
    const auto ressources = lit_ressources(fichier_de(bonne.substr(0, longueur)));
    if (ressources) {
      EXPECT_LE(ressources->size(), 2U);
    }
  }
  std::string loin = bonne;
  pose(loin, 256, gros_bout(5000, 4));  // the length word of the first
  const auto ressources = lit_ressources(fichier_de(loin));
  ASSERT_EQ(ressources->size(), 2U);
  EXPECT_FALSE((*ressources)[0].presente);
  EXPECT_EQ((*ressources)[0].longueur, 5000U);
  EXPECT_FALSE(lit_ressource(fichier_de(loin), (*ressources)[0], 10000));
  std::string dehors = bonne;
  pose(dehors, 4, gros_bout(0xFFFFFFF0, 4));
  EXPECT_FALSE(lit_ressources(fichier_de(dehors)));

  // Many types, all with one long list: no more entries come out than a map has room for.
  std::string carte = std::string(16 + 8, '\0') + gros_bout(28, 2) + gros_bout(0, 2) + gros_bout(0xFFFE, 2);
  for (int i = 0; i < 0xFFFF; ++i) carte += "TYPE" + gros_bout(0xFFFE, 2) + gros_bout(2, 2);
  const std::string fourche =
      gros_bout(16, 4) + gros_bout(16, 4) + gros_bout(0, 4) + gros_bout(carte.size(), 4) + carte;
  const auto debut = std::chrono::steady_clock::now();
  EXPECT_LE(lit_ressources(fichier_de(fourche))->size(), carte.size() / 12);
  EXPECT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(5));
}

}  // namespace
}  // namespace varnion
