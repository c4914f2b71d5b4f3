#include "finder/alias.hpp"

#include <algorithm>

#include "fichiers/outils.hpp"
#include "outils/fourche_ressources.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::fait_fourche;
using outils::gros_bout;

TEST(Alias, FichesReelles) {
  struct Cas {
    const char *fichier;
    const char *cible, *volume, *dossier, *chemin, *systeme;
    std::uint32_t numero_dossier, numero, date_volume, date_fichier;
    unsigned genre;
    std::vector<unsigned> etiquettes;
  };
  const Cas cas[] = {
      {"growl_pict.alias",
       "growlSDK.png",
       "Growl-SDK",
       ".background",
       "Growl-SDK:.background:growlSDK.png",
       "H+",
       18,
       19,
       3250334218,
       3250334216,
       0,
       {0, 16, 17, 1, 2, 14, 15, 18, 19, 20}},
      {"testbkg.alias",
       "TestBkg.tiff",
       "Test Title",
       ".background",
       "Test Title:.background:",
       "H+",
       19,
       20,
       3471531604,
       3471531608,
       0,
       {0, 1, 2, 15, 18, 19}},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const std::string octets_fiche = lit_tout(echantillon(std::string("alias/") + c.fichier));
    const auto *fiche = vue<FicheAlias>(octets(octets_fiche), 0);
    ASSERT_NE(fiche, nullptr);
    EXPECT_EQ(fiche->longueur, octets_fiche.size());
    EXPECT_EQ(fiche->version, 2);
    EXPECT_EQ(fiche->genre, c.genre);
    EXPECT_EQ(std::string(fiche->systeme.begin(), fiche->systeme.end()), c.systeme);
    EXPECT_EQ(fiche->dossier, c.numero_dossier);
    EXPECT_EQ(fiche->numero, c.numero);
    EXPECT_EQ(fiche->date_volume, c.date_volume);
    EXPECT_EQ(fiche->date_fichier, c.date_fichier);
    std::vector<unsigned> etiquettes;
    for (const auto &e : etiquettes_alias(octets(octets_fiche))) etiquettes.push_back(e.etiquette);
    EXPECT_EQ(etiquettes, c.etiquettes);
    const TextesAlias textes = textes_alias(octets(octets_fiche));
    EXPECT_EQ(textes.fichier, c.cible);
    EXPECT_EQ(textes.volume, c.volume);
    EXPECT_EQ(textes.dossier, c.dossier);
    EXPECT_EQ(textes.chemin, c.chemin);
  }
}

TEST(Alias, FichiersAlias) {
  struct Cas {
    const char *fichier;
    const char *cible, *dossier, *chemin;
    std::uint32_t numero_dossier, numero;
    unsigned genre;
  };
  const Cas cas[] = {
      {"alias_of_file_in_root.rsrc", "Alpha.txt", "Test disk 10MB 2.0", "Test disk 10MB 2.0:Alpha.txt", 2, 21,
       0},
      {"alias_of_file_in_folder.rsrc", "Charlie.txt", "Bravo", "Test disk 10MB 2.0:Bravo:Charlie.txt", 22, 24,
       0},
      {"alias_of_folder.rsrc", "Bravo", "Test disk 10MB 2.0", "Test disk 10MB 2.0:Bravo", 2, 22, 1},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    ElementFichier element;
    element.rsrc = fourche_de_texte(lit_tout(echantillon(std::string("alias/") + c.fichier)));
    TamponAlias tampon{};
    ASSERT_EQ(lecture_alias(element, tampon), 0);
    const auto *fiche = vue<FicheAlias>(tampon, 0);
    EXPECT_EQ(fiche->genre, c.genre);
    EXPECT_EQ(fiche->numero, c.numero);
    EXPECT_EQ(fiche->dossier, c.numero_dossier);
    const TextesAlias textes = textes_alias(tampon);
    EXPECT_EQ(textes.fichier, c.cible);
    EXPECT_EQ(textes.volume, "Test disk 10MB 2.0");
    EXPECT_EQ(textes.dossier, c.dossier);
    EXPECT_EQ(textes.chemin, c.chemin);
  }
}

TEST(Alias, LimitesDeLecture) {
  TamponAlias tampon{};
  const auto lit_fourche = [&](const std::string &fourche) {
    return lecture_alias(fichier_de(fourche), tampon);
  };
  const std::string long_alias(1000, 'a');
  EXPECT_EQ(lit_fourche(fait_fourche({{"STR ", 1, "x"}, {"alis", 0, long_alias}, {"alis", 1, "z"}})), 0);
  EXPECT_TRUE(std::equal(long_alias.begin(), long_alias.end(), tampon.begin()));
  EXPECT_EQ(lit_fourche(fait_fourche({{"alis", 0, long_alias + 'a'}})), -1);
  const auto vide = [&] {
    return std::all_of(tampon.begin(), tampon.end(), [](std::uint8_t o) { return o == 0; });
  };
  EXPECT_TRUE(vide());
  tampon.fill(7);
  for (const std::string &fourche : {std::string(), fait_fourche({{"STR ", 1, "x"}})}) {
    EXPECT_EQ(lit_fourche(fourche), 0);
    EXPECT_TRUE(vide());
    const TextesAlias textes = textes_alias(tampon);
    EXPECT_EQ(textes.fichier + textes.volume + textes.dossier + textes.chemin, "");
  }
  EXPECT_EQ(lit_fourche("abimee"), -1);
  ElementFichier illisible;
  illisible.rsrc = {10, [](const Puits &) { return false; }};
  EXPECT_EQ(lecture_alias(illisible, tampon), -1);
}

std::string fiche_avec(const std::string &suite) {
  std::string octets_fiche(150, '\0');
  pose(octets_fiche, 50,
       "\x03"
       "f\x8E"
       "c");
  octets_fiche += suite;
  pose(octets_fiche, 4, gros_bout(octets_fiche.size(), 2));
  return octets_fiche;
}

std::string etiquette(unsigned numero, const std::string &contenu) {
  return gros_bout(numero, 2) + gros_bout(contenu.size(), 2) + contenu +
         std::string(contenu.size() % 2, '\0');
}

TEST(Alias, TextesDuDialogue) {
  std::string chemin;
  for (int i = 0; i < 210; ++i) chemin += static_cast<char>('a' + i % 26);
  const std::string fin = etiquette(0xFFFF, "");
  const auto chemin_de = [&](std::size_t longueur) {
    return textes_alias(
        octets(fiche_avec(etiquette(0, "dos") + etiquette(2, chemin.substr(0, longueur)) + fin)));
  };
  EXPECT_EQ(chemin_de(199).chemin, chemin.substr(0, 199));
  EXPECT_EQ(chemin_de(200).chemin, chemin.substr(0, 100) + " [...] " + chemin.substr(100, 100));
  EXPECT_EQ(chemin_de(200).dossier, "dos");
  EXPECT_EQ(chemin_de(200).fichier,
            "f\xE9"
            "c");  // Mac Roman to Windows

  // The end mark ends the walk, and so does an item that runs past the record.
  EXPECT_EQ(textes_alias(octets(fiche_avec(fin + etiquette(2, "apres")))).chemin, "");
  EXPECT_EQ(
      textes_alias(octets(fiche_avec(etiquette(0, "ok") + gros_bout(2, 2) + gros_bout(50, 2) + "court")))
          .dossier,
      "ok");
  // In a buffer that is longer than the record no zeros are taken for items.
  EXPECT_EQ(textes_alias(octets(fiche_avec(etiquette(0, "ok")) + std::string(100, '\0'))).dossier, "ok");
  EXPECT_EQ(textes_alias(octets(std::string(149, 'x'))).fichier, "");
  std::string trop = fiche_avec(fin);
  trop[50] = trop[10] = '\xFF';
  EXPECT_LE(textes_alias(octets(trop)).fichier.size(), 63U);
}

}  // namespace
}  // namespace varnion
