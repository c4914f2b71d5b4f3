#include "fichiers/applesimple.hpp"

#include <vector>

#include "fichiers/outils.hpp"

namespace varnion {
namespace {

using namespace essai;

TEST(AppleSingle, EchantillonsReels) {
  struct Cas {
    const char *fichier;
    int trouvees;
    std::uint64_t data;
    std::uint32_t crc_data;
    std::uint64_t rsrc;
    std::uint32_t crc_rsrc;
    std::optional<std::string> signature;
  };
  const std::string zeros(8, '\0');
  const Cas cas[] = {
      {"sources_with_comment.sit.as", 2, 2804, 0xABB899AF, 368, 0xA3D77462, "SITDSIT!"},
      {"hello.as", 1, 14, 0x7B55A718, 0, 0, zeros},
      {"illegal-chars.as", 2, 22, 0x20881FAC, 27, 0x018A1C8F, zeros},
      {"gshk_v1.as", 2, 29, 0xFC48C698, 600, 0x3C6D4A6D, std::nullopt},
      {"macip.res.as", 2, 0, 0, 1375, 0x8497C941, std::nullopt},  // entry 9 lies at byte 1437
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const std::string chemin = std::string("applesingle/") + c.fichier;
    const Fichier fichier = echantillon(chemin);
    EXPECT_TRUE(est_applesingle(fichier));
    const FourchesApple fourches = entrees_applesingle(fichier);
    EXPECT_EQ(fichier_position(fichier), 0);
    EXPECT_EQ(fourches.trouvees, c.trouvees);
    EXPECT_EQ(fourches.data.longueur, c.data);
    EXPECT_EQ(fourches.rsrc.longueur, c.rsrc);
    EXPECT_EQ(somme(fichier, fourches.data), c.crc_data);
    EXPECT_EQ(somme(fichier, fourches.rsrc), c.crc_rsrc);
    EXPECT_EQ(signature_apple(VN_DONNEES "/" + chemin), c.signature);
  }
}

TEST(AppleDouble, EchantillonsReels) {
  const std::string dossier = VN_DONNEES "/appledouble/";
  EXPECT_TRUE(est_appledouble(dossier + "sources_with_comment.sit"));
  EXPECT_TRUE(est_appledouble(dossier + "gshk.docs"));
  EXPECT_FALSE(est_appledouble(dossier + "not_adf"));  // a companion by its name alone
  EXPECT_FALSE(est_appledouble(dossier + "._gshk.docs"));
  EXPECT_FALSE(est_appledouble(dossier + "absent"));

  const Fichier sit = echantillon("appledouble/._sources_with_comment.sit");
  EXPECT_EQ(somme(sit, taille_entree_apple(sit)), 0xA3D77462U);
  const Fichier docs = echantillon("appledouble/._gshk.docs");
  const PlageFourche rsrc = taille_entree_apple(docs);
  EXPECT_EQ(rsrc.position, 3810U);
  EXPECT_EQ(somme(docs, rsrc), 0xB812CD17U);
  EXPECT_EQ(signature_apple(dossier + "._gshk.docs"), "TEXTpdos");
  EXPECT_EQ(signature_apple(dossier + "._sources_with_comment.sit"), std::string(8, '\0'));

  const Fichier casse = echantillon("appledouble/._not_adf");
  EXPECT_EQ(taille_entree_apple(casse).longueur, 0U);
}

TEST(AppleDouble, NomDuCompagnon) {
  struct Cas {
    const char *chemin, *compagnon;
  };
  const Cas cas[] = {
      {"/a/b/fichier.txt", "/a/b/._fichier.txt"}, {"fichier", "._fichier"}, {"/d.x/a.b.c", "/d.x/._a.b.c"},
      {"C:\\d\\a.txt", "C:\\d\\._a.txt"},         {".cache", "._.cache"},
  };
  for (const Cas &c : cas) EXPECT_EQ(nom_compagnon(c.chemin), c.compagnon);
  EXPECT_TRUE(est_nom_compagnon("._a"));
  EXPECT_FALSE(est_nom_compagnon(".a"));
}

struct Entree {
  std::uint32_t id, position, longueur;
};

std::string table(std::uint32_t magie, const std::vector<Entree> &entrees, std::size_t taille) {
  std::string octets_table = be32_texte(magie) + be32_texte(0x00020000) + std::string(16, '\0');
  octets_table += static_cast<char>(entrees.size() >> 8);
  octets_table += static_cast<char>(entrees.size());
  for (const Entree &e : entrees)
    octets_table += be32_texte(e.id) + be32_texte(e.position) + be32_texte(e.longueur);
  octets_table.resize(std::max(taille, octets_table.size()), 'z');
  return octets_table;
}

TEST(TableApple, EntreesAbimees) {
  struct Cas {
    const char *quoi;
    std::vector<Entree> entrees;
    std::uint64_t position, longueur;
  };
  const Cas cas[] = {
      {"cut by the end of the file", {{2, 100, 5000}}, 100, 500},
      {"behind the end", {{2, 700, 10}}, 600, 0},
      {"near 4 GiB", {{2, 0xFFFFFFF0, 0xFFFFFFFF}}, 600, 0},
      {"first of two", {{2, 200, 10}, {2, 300, 20}}, 200, 10},
      {"absent", {{1, 200, 10}}, 0, 0},
      {"no entries", {}, 0, 0},
  };
  for (const Cas &c : cas) {
    const Fichier fichier = fichier_de(table(kMagieAppleDouble, c.entrees, 600));
    const PlageFourche plage = taille_entree_apple(fichier);
    EXPECT_EQ(plage.position, c.position) << c.quoi;
    EXPECT_EQ(plage.longueur, c.longueur) << c.quoi;
  }
}

TEST(TableApple, LimiteDeLecture) {
  // 40 entries fit in the first 512 bytes, 19 in the first 256.
  std::vector<Entree> entrees(41, Entree{77, 0, 0});
  entrees[40] = {2, 10, 20};
  std::string octets_table = table(kMagieAppleSingle, entrees, 1000);
  EXPECT_FALSE(cherche_entree_apple(octets(octets_table), kEntreeRessource));
  entrees[39] = {2, 10, 20};
  octets_table = table(kMagieAppleSingle, entrees, 1000);
  EXPECT_TRUE(cherche_entree_apple(octets(octets_table), kEntreeRessource));
  EXPECT_FALSE(cherche_entree_apple(octets(octets_table).first(kLectureAppleScan), kEntreeRessource));
  // A count that the bytes do not hold ends with them.
  octets_table = table(kMagieAppleSingle, {{2, 10, 20}}, 38);
  octets_table[24] = octets_table[25] = '\xFF';
  EXPECT_EQ(cherche_entree_apple(octets(octets_table), kEntreeRessource)->position, 10U);
  EXPECT_FALSE(cherche_entree_apple(octets(octets_table), kEntreeData));
  EXPECT_FALSE(cherche_entree_apple(octets(octets_table).first(25), kEntreeRessource));
}

TEST(TableApple, Signature) {
  struct Cas {
    const char *quoi;
    std::uint32_t magie, position;
    bool trouvee;
  };
  const Cas cas[] = {
      {"AppleSingle", kMagieAppleSingle, 504, true},
      {"AppleDouble", kMagieAppleDouble, 100, true},
      {"other magic", 0x00051601, 100, false},
      {"half behind byte 512", kMagieAppleSingle, 505, false},
      {"behind byte 512", kMagieAppleSingle, 600, false},
      {"at 4 GiB", kMagieAppleSingle, 0xFFFFFFFF, false},
  };
  for (const Cas &c : cas) {
    std::string octets_table = table(c.magie, {{9, c.position, 32}}, 1000);
    if (c.position < 900) pose(octets_table, c.position, "TYPECREA");
    const auto signature = signature_apple(octets(octets_table));
    EXPECT_EQ(signature.has_value(), c.trouvee) << c.quoi;
    if (c.trouvee) {
      EXPECT_EQ(*signature, "TYPECREA") << c.quoi;
    }
  }
  EXPECT_FALSE(signature_apple(std::string_view("/absent/tout a fait")));
  EXPECT_EQ(magie_apple(octets("abc")), 0U);
}

}  // namespace
}  // namespace varnion
