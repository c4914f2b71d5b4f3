#include "finder/ds_store.hpp"

#include "fichiers/outils.hpp"
#include "finder/grille_icones.hpp"
#include "outils/lecteur_ds_store.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::RubriqueDs;

/// What the independent reader says against the free lists of every file made here, and nothing else.
const std::vector<std::string> kListesLibres = {"DS_Store: free block at 1024 twice",
                                                "DS_Store: addresses from 256 to 512"};

ElementFenetre element(const std::string &nom, int x, int y, std::int32_t numero) {
  ElementFenetre e;
  e.nom = nom;
  e.x = x;
  e.y = y;
  e.numero = numero;
  return e;
}

outils::DsStoreLu independant(std::span<const std::uint8_t> fichier) {
  auto lu = outils::lit_ds_store(outils::Octets(fichier));
  EXPECT_EQ(lu.fautes.liste(), kListesLibres);
  EXPECT_EQ(lu.niveaux, 0U);
  EXPECT_EQ(lu.taille_page, 0x1000U);
  return lu;
}

std::vector<std::string> noms_et_codes(const outils::DsStoreLu &lu) {
  std::vector<std::string> liste;
  for (const RubriqueDs &r : lu.rubriques) liste.push_back(r.nom + " " + r.code + " " + r.genre);
  return liste;
}

TEST(DsStore, EnregistrementsSelonUnLecteurIndependant) {
  ValeursFenetre v;
  v.rect = {10, 20, 410, 320};
  v.taille_icone = 7;
  v.taille_texte = 0;
  v.espacement = 5;
  v.elements = {element("zoo", 300, 70000 - 65536, -4), element("\xC9t\xE9", 5, 6, 18),
                element("Zed", 1, 2, -1), element("b:c", 1, 1, -2)};
  const auto fichier = fait_ds_store(v, {});
  ASSERT_TRUE(fichier);
  ASSERT_EQ(fichier->size(), 6148U);
  const auto lu = independant(*fichier);
  // No picture: seven records of the folder, no "pict". Order without regard to case; folders have two.
  const std::vector<std::string> attendus = {". BKGD blob",
                                             ". fwi0 blob",
                                             ". fwvh shor",
                                             ". icgo blob",
                                             ". icvo blob",
                                             ". icvt shor",
                                             ". vstl type",
                                             "b_c Iloc blob",
                                             "Zed Iloc blob",
                                             "zoo Iloc blob",
                                             "E\xCC\x81te\xCC\x81 Iloc blob",
                                             "E\xCC\x81te\xCC\x81 icgo blob"};
  EXPECT_EQ(noms_et_codes(lu), attendus);

  const std::pair<const char *, std::string> blobs[] = {
      {"BKGD", std::string("DefB\0\0\0\0\0\0\0\0", 12)},
      {"fwi0", std::string("\0\x14\0\x0A\x01\x40\x01\x9Aicnv\0\0\0\0", 16)},
      {"icgo", std::string("\0\0\0\x04\0\0\0\x04", 8)},
      {"icvo", std::string("icv4\0\x80gridbotm\0\0\0\0\0\x04\0\0\0\x04\0\x01\0\0\0\x48\0\x01", 32)},
      {"vstl", "icnv"},
  };
  for (const auto &[code, octets] : blobs) EXPECT_EQ(lu.trouve(".", code)->octets, octets) << code;
  EXPECT_EQ(lu.trouve(".", "fwvh")->nombre, 300U);
  EXPECT_EQ(lu.trouve(".", "icvt")->nombre, 10U);
  EXPECT_EQ(lu.trouve("zoo", "Iloc")->octets,
            std::string("\0\0\x01\x2C\0\0\x11\x70\xFF\xFF\xFF\xFF\xFF\xFF\0\0", 16));
}

TEST(DsStore, ImageDeFond) {
  const std::vector<std::uint8_t> alias(300, 7);
  const auto fichier = fait_ds_store({}, alias);
  ASSERT_TRUE(fichier);
  const auto lu = independant(*fichier);
  EXPECT_EQ(lu.rubriques.size(), 8U);
  EXPECT_EQ(lu.trouve(".", "BKGD")->octets, std::string("PctB\0\0\x01\x2C\0\0\xFF\xBF", 12));
  EXPECT_EQ(lu.trouve(".", "pict")->octets, std::string(300, '\7'));
}

TEST(DsStore, PleineFeuilleEtRefus) {
  // 194 bytes for the folder; a file takes 32 and two for each unit of its name, a folder 56 and four.
  ValeursFenetre v;
  for (int i = 0; i < 16; ++i) v.elements.push_back(element("fichier" + std::to_string(10 + i), 1, 1, -1));
  v.elements.back().nom = std::string(6, 'x');
  std::size_t besoin = 0;
  ASSERT_TRUE(fait_ds_store(v, {}, &besoin));
  const std::size_t reste = kPlaceDsStore - besoin;
  ASSERT_EQ(reste % 2, 0U);
  v.elements.back().nom += std::string(reste / 2, 'y');
  auto fichier = fait_ds_store(v, {}, &besoin);
  ASSERT_TRUE(fichier);
  EXPECT_EQ(besoin, kPlaceDsStore);
  EXPECT_EQ(independant(*fichier).rubriques.size(), 23U);

  v.elements.back().nom += 'z';
  EXPECT_FALSE(fait_ds_store(v, {}, &besoin));
  EXPECT_EQ(besoin, kPlaceDsStore + 2);
  v.elements.resize(10'000, element(std::string(200, 'n'), 0, 0, 5));
  EXPECT_FALSE(fait_ds_store(v, {}));
}

TEST(DsStore, ValeursRefusees) {
  const auto refuse = [](auto change) {
    ValeursFenetre v;
    v.elements = {element("a", 1, 1, -1)};
    EXPECT_TRUE(fait_ds_store(v, {}));
    change(v);
    EXPECT_FALSE(fait_ds_store(v, {}));
  };
  refuse([](ValeursFenetre &v) { v.rect.droite = v.rect.gauche; });
  refuse([](ValeursFenetre &v) { v.rect.bas = 40000; });
  refuse([](ValeursFenetre &v) { v.rect.gauche = -1; });
  refuse([](ValeursFenetre &v) { v.taille_icone = 8; });
  refuse([](ValeursFenetre &v) { v.taille_texte = -1; });
  refuse([](ValeursFenetre &v) { v.espacement = 8; });
  refuse([](ValeursFenetre &v) { v.elements[0].x = -5; });
  refuse([](ValeursFenetre &v) { v.elements[0].nom.clear(); });
}

TEST(DsStore, RelitCeQuIlEcrit) {
  for (int i = 0; i < 8; ++i) {
    ValeursFenetre v;
    v.rect = {i, 2 * i, 300 + i, 32000 + i};
    v.taille_icone = i;
    v.taille_texte = i % 4;
    v.espacement = 7 - i;
    v.elements = {element("A\xE7", i, 9, 20), element("b", 32767, 0, -3)};
    v.elements[1].nom_disque = u"\u3042b";
    const auto fichier = fait_ds_store(v, {});
    ASSERT_TRUE(fichier);
    const auto lu = lit_ds_store(*fichier);
    ASSERT_TRUE(lu);
    EXPECT_EQ(lu->valeurs.rect, v.rect);
    EXPECT_EQ(lu->valeurs.taille_icone, v.taille_icone);
    EXPECT_EQ(lu->valeurs.taille_texte, v.taille_texte);
    EXPECT_EQ(lu->valeurs.espacement, v.espacement);
    ASSERT_EQ(lu->valeurs.elements.size(), 2U);
    EXPECT_EQ(lu->valeurs.elements[0].nom, "A\xE7");
    EXPECT_EQ(lu->valeurs.elements[0].x, i);
    EXPECT_EQ(lu->valeurs.elements[1].nom_disque, u"\u3042b");
    EXPECT_EQ(lu->valeurs.elements[1].x, 32767);
    EXPECT_EQ(lu->nom_image, "");
  }
}

TEST(DsStore, FichiersDuFinderEtFichiersAbimes) {
  struct Cas {
    const char *fichier;
    std::vector<std::string> elements;
  };
  const Cas cas[] = {
      {"executor_dmg.DS_Store", {"Applications", "Executor 2000.app"}},
      {"growl.DS_Store",
       {"Bindings", "Frameworks", "Growl Developer Documentation.webloc",
        "Growl version history for developers.webloc"}},
      {"iloc_only.DS_Store", {"bam", "bar", "baz"}},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const std::string fichier = lit_tout(echantillon(std::string("ds_store/") + c.fichier));
    const auto lu = outils::lit_ds_store(outils::Octets(octets(fichier)));
    EXPECT_TRUE(lu.fautes.vide()) << lu.fautes.texte();
    std::vector<std::string> elements;
    for (const RubriqueDs &r : lu.rubriques)
      if (r.code == "Iloc") elements.push_back(r.nom);
    EXPECT_EQ(elements, c.elements);
    EXPECT_FALSE(lit_ds_store(octets(fichier))) << "made by the Finder, and told so";
  }
  ValeursFenetre v;
  v.elements = {element("a", 1, 1, -1), element("dossier", 1, 1, 20)};
  const std::vector<std::uint8_t> alias(200, 1);
  const auto entier = fait_ds_store(v, alias);
  ASSERT_TRUE(entier);
  const std::size_t fin = 0x40C + 194 + 18 + 200 + 34 + 46 + 38;
  for (std::size_t longueur = 0; longueur < fin; ++longueur)
    EXPECT_FALSE(lit_ds_store(std::span(*entier).first(longueur))) << longueur;
  EXPECT_TRUE(lit_ds_store(std::span(*entier).first(fin)));
  auto casse = *entier;
  casse[4] = 'b';
  EXPECT_FALSE(lit_ds_store(casse));
  casse = *entier;
  casse[0x40B] = 0;  // no records, hence no rectangle
  EXPECT_FALSE(lit_ds_store(casse));
  casse = *entier;
  std::fill_n(casse.begin() + 20, 4, std::uint8_t{0xFF});
  EXPECT_FALSE(lit_ds_store(casse));
}

TEST(GrilleIcones, LignesConnuesEtCroissance) {
  using Huit = std::array<int, 8>;
  const PlacesIcones &premiere = grille_icones(0, 0);
  EXPECT_EQ(premiere.premier_x, (Huit{27, 35, 44, 51, 58, 67, 75, 84}));
  EXPECT_EQ(premiere.pas_x, (Huit{48, 64, 80, 96, 110, 128, 144, 160}));
  EXPECT_EQ(premiere.pas_y, (Huit{38, 38, 50, 50, 50, 50, 50, 50}));
  const PlacesIcones &derniere = grille_icones(3, 7);
  EXPECT_EQ(derniere.premier_x, (Huit{77, 83, 90, 96, 104, 109, 116, 124}));
  EXPECT_EQ(derniere.pas_x, (Huit{146, 160, 174, 186, 200, 212, 226, 240}));
  EXPECT_EQ(derniere.pas_y, (Huit{172, 172, 190, 190, 190, 190, 190, 190}));
  const Huit hauts = {15, 24, 33, 42, 51, 60, 69, 78};
  const int derniers_pas[] = {160, 180, 200, 240};
  const int derniers_x[] = {84, 94, 104, 124};
  for (std::size_t t = 0; t < 4; ++t)
    for (std::size_t i = 0; i < 8; ++i) {
      const PlacesIcones &p = grille_icones(t, i);
      EXPECT_EQ(p.premier_y, hauts[i]);
      EXPECT_EQ(p.pas_x[7], derniers_pas[t]);
      EXPECT_EQ(p.premier_x[7], derniers_x[t]);
      for (std::size_t s = 0; s < 8; ++s) {
        if (s > 0) {
          EXPECT_LT(p.premier_x[s - 1], p.premier_x[s]) << t << i << s;
          EXPECT_LT(p.pas_x[s - 1], p.pas_x[s]) << t << i << s;
          EXPECT_LE(p.pas_y[s - 1], p.pas_y[s]) << t << i << s;
        }
        EXPECT_LE(grille_icones(t > 0 ? t - 1 : 0, i).pas_x[s], p.pas_x[s]) << t << i << s;
        EXPECT_LE(grille_icones(t, i > 0 ? i - 1 : 0).pas_x[s], p.pas_x[s]) << t << i << s;
        EXPECT_GE(p.pas_x[s], kTaillesIcone[i]) << "icons overlap";
        EXPECT_GE(p.pas_y[s], kTaillesIcone[i] + kTaillesTexte[t]) << "names lie under icons";
      }
    }
}

TEST(GrilleIcones, RegleDesChamps) {
  ValeursFenetre v;
  for (int i = 0; i < 4; ++i) v.elements.push_back(element("e", 0, 0, -1));
  const auto places = [&v] {
    std::string texte;
    for (const ElementFenetre &e : v.elements) texte += std::to_string(e.x) + "," + std::to_string(e.y) + " ";
    return texte;
  };
  v.taille_icone = v.taille_texte = v.espacement = 0;
  fixe_gauche(v, 120);
  EXPECT_EQ(v.rect, (RectEcran{120, 100, 470, 400}));
  fixe_haut(v, 0);
  EXPECT_EQ(v.rect, (RectEcran{120, 0, 470, 300}));
  EXPECT_EQ(places(), "27,15 75,15 123,15 171,15 ");
  fixe_largeur(v, 40);
  EXPECT_EQ(v.rect, (RectEcran{120, 0, 160, 300}));
  EXPECT_EQ(places(), "27,15 27,53 27,91 27,129 ");
  fixe_droite(v, 195);
  EXPECT_EQ(places(), "27,15 75,15 27,53 75,53 ") << "an icon at the very width stays in its row";
  fixe_hauteur(v, 50);
  fixe_bas(v, 70);
  EXPECT_EQ(v.rect, (RectEcran{120, 0, 195, 70}));
  EXPECT_TRUE(fixe_taille_icone(v, 7));
  EXPECT_EQ(v.elements[0].y, 78);
  EXPECT_FALSE(fixe_taille_icone(v, 8));
  EXPECT_FALSE(fixe_taille_texte(v, -1));
  EXPECT_FALSE(fixe_espacement(v, 8));
  EXPECT_EQ(v.taille_icone, 7);

  v.elements[0].nom = "un";
  EXPECT_FALSE(deplace_element(v, 0, -1));
  EXPECT_FALSE(deplace_element(v, 3, 1));
  EXPECT_TRUE(deplace_element(v, 0, 1));
  EXPECT_EQ(v.elements[1].nom, "un");
  EXPECT_GT(v.elements[1].y, v.elements[0].y);
  v.elements.resize(1);
  EXPECT_FALSE(deplace_element(v, 0, 1));
}

TEST(GrilleIcones, BordsDeLaFenetreDessinee) {
  using enum BordFenetre;
  const struct {
    int x, y;
    BordFenetre bord;
    RectEcran tire;  ///< {100, 100, 500, 400} dragged by 2, -3
  } cas[] = {
      {50, 0, haut, {100, 88, 500, 400}},        {6, 6, haut_gauche, {108, 88, 500, 400}},
      {93, 6, haut_droit, {100, 88, 508, 400}},  {50, 74, bas, {100, 100, 500, 388}},
      {99, 68, bas_droit, {100, 100, 508, 388}}, {0, 74, bas_gauche, {108, 100, 500, 388}},
      {6, 40, gauche, {108, 100, 500, 400}},     {93, 7, droit, {100, 100, 508, 400}},
      {7, 7, interieur, {108, 88, 508, 388}},    {100, 10, aucun, {100, 100, 500, 400}},
      {-1, 10, aucun, {100, 100, 500, 400}},
  };
  for (const auto &c : cas) {
    EXPECT_EQ(bord_fenetre(c.x, c.y, 100, 75), c.bord) << c.x << "," << c.y;
    EXPECT_EQ(rect_tire({100, 100, 500, 400}, c.bord, 2, -3), c.tire) << c.x << "," << c.y;
  }
  EXPECT_EQ(rect_tire({100, 100, 500, 400}, gauche, 1000, 0), (RectEcran{500, 100, 500, 400}));
  EXPECT_EQ(rect_tire({100, 100, 500, 400}, haut_droit, -1000, 1000), (RectEcran{100, 400, 100, 400}));
}

}  // namespace
}  // namespace varnion
