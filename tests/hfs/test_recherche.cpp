#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "hfs/cache.hpp"
#include "hfs/extents.hpp"
#include "volume_essai.hpp"

namespace varnion::essai {
namespace {

// A volume of some depth: 40 folders in the root, with ten files each.
template <typename Format>
class Recherche : public VolumeEssai<Format> {
 protected:
  static constexpr std::uint32_t kDossiers = 40;

  void SetUp() override {
    VolumeEssai<Format>::SetUp();
    this->construit(1500, 2);
    for (std::uint32_t d = 0; d < kDossiers; ++d) {
      ASSERT_TRUE(this->ajoute(kIdRacine, nom_dossier(d), Format::dossier(id_dossier(d))));
      ASSERT_TRUE(this->ajoute_fil(id_dossier(d), kIdRacine, nom_dossier(d)));
    }
    for (std::uint32_t d = 0; d < kDossiers; ++d) {
      for (std::uint32_t f = 0; f < 10; ++f) {
        ASSERT_TRUE(this->ajoute(id_dossier(d), "Fichier " + std::to_string(f),
                                 Format::fichier(id_dossier(d) + 1 + f)));
      }
    }
    ASSERT_GE(this->entete().treeDepth, 2U);
  }

  static std::string nom_dossier(std::uint32_t d) {
    return std::string(1, static_cast<char>('A' + d % 26)) + "dos" + std::to_string(d);
  }
  static std::uint32_t id_dossier(std::uint32_t d) { return 20 + 20 * d; }

  static std::uint32_t id_de(OctetsNoeud noeud) { return noeud.empty() ? 0 : Format::id_trouve(); }
};

using Formats = ::testing::Types<FormatHfs, FormatPlus<1024>, FormatPlus<4096>>;
TYPED_TEST_SUITE(Recherche, Formats);

TYPED_TEST(Recherche, FindsByNameTypeAndParent) {
  using F = TypeParam;
  const std::uint32_t d = this->id_dossier(7);
  const struct {
    const char *nom;
    int type;
    std::uint32_t parent;
    std::uint32_t id;
  } cas[] = {
      {"Hdos7", kRubriqueDossier, kIdRacine, d},
      {"hDOS7", kRubriqueToute, kIdRacine, d},
      {"Hdos7", kRubriqueFichier, kIdRacine, 0},
      {"Hdos7", kRubriqueDossier, d, 0},
      {"Fichier 0", kRubriqueFichier, d, d + 1},
      {"Fichier 9", kRubriqueToute, d, d + 10},
      {"Fichier", kRubriqueToute, d, 0},
      {"Fichier 0", kRubriqueDossier, d, 0},
      {"", kRubriqueToute, d, 0},
      {"zzz", kRubriqueToute, 0xFFFFFFFF, 0},
      {"Essai", kRubriqueDossier, kIdParentRacine, kIdRacine},
  };
  for (const auto &c : cas) {
    EXPECT_EQ(this->id_de(F::cherche_exacte(c.nom, c.type, c.parent)), c.id) << c.nom << c.type;
    EXPECT_EQ(this->id_de(F::cherche(c.nom, c.type, c.parent)), c.id) << c.nom << c.type;
  }
  EXPECT_EQ(this->id_de(F::cherche("*", kRubriqueFichier, d)), d + 1);
  EXPECT_EQ(this->id_de(F::cherche("*8", kRubriqueFichier, d)), d + 9);
  EXPECT_EQ(this->id_de(F::cherche("Hdos7*", kRubriqueDossier, kIdRacine)), d);
  EXPECT_EQ(this->id_de(F::cherche_exacte("*", kRubriqueFichier, d)), 0U) << "no wildcard here";
}

TYPED_TEST(Recherche, FollowsThreads) {
  for (std::uint32_t d = 0; d < this->kDossiers; ++d) {
    EXPECT_EQ(parent_de(this->id_dossier(d)), kIdRacine) << d;
    EXPECT_EQ(TypeParam::cherche_dossier(this->nom_dossier(d), kIdRacine), this->id_dossier(d)) << d;
  }
  EXPECT_EQ(parent_de(kIdRacine), kIdParentRacine);
  EXPECT_EQ(parent_de(21), 0U) << "a file without thread";
  EXPECT_EQ(TypeParam::cherche_dossier("absent", kIdRacine), 0U);
}

TYPED_TEST(Recherche, FindsByIdAndByChild) {
  using F = TypeParam;
  const std::uint32_t d = this->id_dossier(30);
  EXPECT_EQ(this->id_de(F::cherche_par_id(d, kRubriqueDossier, kIdRacine)), d);
  EXPECT_EQ(this->id_de(F::cherche_par_id(d + 4, kRubriqueFichier, d)), d + 4);
  EXPECT_TRUE(F::cherche_par_id(d, kRubriqueFichier, kIdRacine).empty());

  // Each leaf, from the left, has its index record one level up.
  OctetsNoeud noeud = trouve_tete_niveau(volume_courant().catalogue, 1);
  ASSERT_EQ(volume_courant().catalogue.noeud, this->entete().firstLeafNode);
  unsigned feuilles = 0;
  while (!noeud.empty()) {
    const std::uint32_t numero = volume_courant().catalogue.noeud;
    const auto fiche = enregistrement(noeud, 0);
    const std::uint32_t parent = F::kPlus ? parent_cle_hfsplus(fiche) : parent_cle_hfs(fiche);
    ASSERT_FALSE(F::cherche_enfant(2, numero, parent).empty()) << numero;
    const auto index = enregistrement_courant();
    EXPECT_EQ(F::kPlus ? fils_hfsplus(index) : fils_hfs(index), numero);
    ++feuilles;
    const std::uint32_t suivant = entete_noeud(lecture_noeud(numero))->fLink;
    noeud = suivant != 0 ? lecture_noeud(suivant) : OctetsNoeud{};
  }
  EXPECT_GT(feuilles, 10U);
}

TYPED_TEST(Recherche, PointsAtThePlaceOfANewName) {
  using F = TypeParam;
  const DescripteurArbre &arbre = volume_courant().catalogue;
  ASSERT_FALSE(F::cherche_place("peu importe", kIdParentRacine).empty());
  EXPECT_EQ(arbre.noeud, this->entete().firstLeafNode);
  EXPECT_EQ(arbre.index, 0);
  const std::uint32_t d = this->id_dossier(3);
  ASSERT_FALSE(F::cherche_place("Fichier 4", d).empty());  // behind the equal one, before the next
  const auto suivante = enregistrement_courant();
  if (!suivante.empty()) {
    EXPECT_EQ(F::id_trouve(), d + 6);
  } else {
    EXPECT_EQ(arbre.index, kIndexFin);
  }
  ASSERT_FALSE(F::cherche_place("z", 0xFFFFFFFF).empty());
  EXPECT_EQ(arbre.noeud, this->entete().lastLeafNode);
  EXPECT_EQ(arbre.index, kIndexFin);
}

TYPED_TEST(Recherche, ReadsOnlyNodesOfTheTree) {
  const std::uint32_t total = this->entete().totalNodes;
  const std::vector<std::uint8_t> avant(lecture_noeud(1).begin(), lecture_noeud(1).end());
  EXPECT_TRUE(lecture_noeud(total + 1).empty());
  EXPECT_TRUE(lecture_noeud(0xFFFFFFFF).empty());
  const OctetsNoeud tampon = volume_courant().catalogue.octets();
  EXPECT_TRUE(std::equal(avant.begin(), avant.end(), tampon.begin())) << "the buffer stays";
  EXPECT_EQ(lecture_noeud(0)[8], 1);
  EXPECT_TRUE(trouve_tete_niveau(volume_courant().catalogue, 200).empty());
}

// --- damaged trees

template <typename Format>
class Casse : public Recherche<Format> {
 protected:
  // Everything that reads, and an insertion, on whatever the disk holds now. To end at all is what is asked.
  void essaie_tout() {
    vide_cache();
    libere_carte_noeuds();
    ouverture_arbres();
    for (const std::uint32_t id : {2U, 20U, 420U, 5000U}) {
      static_cast<void>(Format::cherche_exacte("Fichier 3", kRubriqueToute, id));
      static_cast<void>(Format::cherche("zz*", kRubriqueFichier, id));
      static_cast<void>(Format::cherche_par_id(99999, kRubriqueToute, id));
      static_cast<void>(Format::cherche_enfant(2, 99999, id));
      static_cast<void>(parent_de(id));
      static_cast<void>(Format::cherche_dossier("absent*", id));
    }
    static_cast<void>(trouve_tete_niveau(volume_courant().catalogue, 1));
    static_cast<void>(nom_volume());
    charge_carte_noeuds();
    for (int i = 0; i < 20; ++i) {
      static_cast<void>(this->ajoute(kIdRacine, "Neuf " + std::to_string(i), Format::fichier(7)));
      static_cast<void>(this->ajoute_fil(60000 + static_cast<std::uint32_t>(i), kIdRacine, "Neuf"));
    }
    recopie_carte_noeuds();
  }
};
TYPED_TEST_SUITE(Casse, Formats);

TYPED_TEST(Casse, EndsOnBrokenLinksOffsetsAndNumbers) {
  const std::size_t taille = TypeParam::kTailleNoeud;
  struct Cas {
    const char *nom;
    bool racine;  // the node to break: the root, else the first leaf
    std::function<void(std::vector<std::uint8_t> &, std::uint32_t)> casse;
  };
  const auto tete = [](std::vector<std::uint8_t> &o) -> EnteteNoeud & {
    return *vue_modifiable<EnteteNoeud>(o, 0);
  };
  const auto mot = [](std::vector<std::uint8_t> &o, std::size_t p, std::uint16_t v) {
    *vue_modifiable<be16>(o, p) = v;
  };
  const std::vector<Cas> cas = {
      {"leaf follows itself", false, [&](auto &o, std::uint32_t n) { tete(o).fLink = n; }},
      {"leaf follows the root", false,
       [&](auto &o, std::uint32_t) { tete(o).fLink = this->entete().rootNode; }},
      {"leaf link out of range", false, [&](auto &o, std::uint32_t) { tete(o).fLink = 0x7FFFFFFF; }},
      {"too many records", false, [&](auto &o, std::uint32_t) { tete(o).numRecords = 0xFFFF; }},
      {"offset outside", false, [&](auto &o, std::uint32_t) { mot(o, taille - 4, 0xFFF0); }},
      {"offset before the records", false, [&](auto &o, std::uint32_t) { mot(o, taille - 2, 2); }},
      {"offsets fall", false, [&](auto &o, std::uint32_t) { mot(o, taille - 6, 14); }},
      {"key length 0", false, [&](auto &o, std::uint32_t) { o[14] = o[15] = 0; }},
      {"key length FF", false, [&](auto &o, std::uint32_t) { o[14] = o[15] = 0xFF; }},
      {"name longer than its key", false,
       [&](auto &o, std::uint32_t) { o[TypeParam::kPlus ? 21 : 20] = 0xFE; }},
      {"leaf is an index", false, [&](auto &o, std::uint32_t) { tete(o).kind = 0; }},
      {"root is its own child", true,
       [&](auto &o, std::uint32_t n) {
         for (std::size_t p = 14; p + 4 < taille / 2; ++p) *vue_modifiable<be32>(o, p) = n;
       }},
      {"root is a leaf by kind only", true, [&](auto &o, std::uint32_t) { tete(o).kind = -1; }},
      {"root of height 0", true, [&](auto &o, std::uint32_t) { tete(o).height = 0; }},
      {"root of height 255", true, [&](auto &o, std::uint32_t) { tete(o).height = 255; }},
      {"empty root", true, [&](auto &o, std::uint32_t) { tete(o).numRecords = 0; }},
      {"node of zeros", false, [&](auto &o, std::uint32_t) { std::fill(o.begin(), o.end(), 0); }},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.nom);
    this->SetUp();
    const std::uint32_t noeud = c.racine ? this->entete().rootNode : this->entete().firstLeafNode;
    auto octets = this->octets_noeud(noeud);
    c.casse(octets, noeud);
    this->pose_noeud(noeud, octets);
    this->essaie_tout();
    EXPECT_EQ(volume_courant().catalogue.taille_noeud, taille);
  }
}

TYPED_TEST(Casse, EndsOnBrokenHeaders) {
  const struct {
    const char *nom;
    std::size_t place;
    std::uint32_t valeur;
  } cas[] = {
      {"root 0", 16, 0},
      {"root out of range", 16, 0x10000},
      {"first leaf 0", 24, 0},
      {"last leaf the root", 28, 1},
      {"no nodes", 36, 0},
      {"more nodes than the file", 36, 0xFFFFFFFF},
      {"no free node", 40, 0},
      {"all nodes free", 40, 0xFFFFFFFF},
      {"map chain into a leaf", 0, 1},
      {"map chain to itself", 0, 0},
  };
  for (const auto &c : cas) {
    SCOPED_TRACE(c.nom);
    this->SetUp();
    auto octets = this->octets_noeud(0);
    *vue_modifiable<be32>(octets, c.place) = c.valeur;
    this->pose_noeud(0, octets);
    this->essaie_tout();
    EXPECT_LE(carte_noeuds().octets.size(), std::size_t{TypeParam::kTailleNoeud} * 2);
  }
}

TYPED_TEST(Casse, EndsOnRandomBytes) {
  std::mt19937 hasard(7);
  for (int tour = 0; tour < 60; ++tour) {
    if (tour % 20 == 0) this->SetUp();
    for (int i = 0; i < 4; ++i) {
      const auto noeud = static_cast<std::uint32_t>(hasard() % 60);
      auto octets = this->octets_noeud(noeud);
      for (int j = 0; j < 6; ++j)
        octets[hasard() % (j % 2 == 0 ? 64 : octets.size())] = static_cast<std::uint8_t>(hasard());
      if (noeud == 0) *vue_modifiable<be16>(octets, 32) = std::uint16_t{TypeParam::kTailleNoeud};
      this->pose_noeud(noeud, octets);
    }
    this->essaie_tout();
    EXPECT_EQ(volume_courant().catalogue.taille_noeud, TypeParam::kTailleNoeud);
  }
}

// --- extents

template <typename Format>
class Extents : public VolumeEssai<Format> {};
TYPED_TEST_SUITE(Extents, Formats);

TYPED_TEST(Extents, FindNodesBeyondTheHeader) {
  constexpr std::uint32_t kMorceaux = TypeParam::kPlus ? 11 : 5;
  constexpr std::size_t kDansEntete = TypeParam::kPlus ? 8 : 3;
  this->construit(1000, kMorceaux);
  const DescripteurArbre &arbre = volume_courant().catalogue;
  const std::uint32_t dernier = 999;
  EXPECT_EQ(position_noeud(arbre, dernier), kSansPosition) << "not in the extents tree yet";
  EXPECT_TRUE(lecture_noeud(dernier).empty());

  // One leaf in the extents tree: a record of another file, then that of the catalog.
  std::vector<std::uint8_t> feuille(TypeParam::kTailleNoeud);
  auto &tete = *vue_modifiable<EnteteNoeud>(feuille, 0);
  tete.kind = kNoeudFeuille;
  tete.height = 1;
  tete.numRecords = 2;
  std::uint32_t debut = 0;
  for (std::size_t i = 0; i < kDansEntete; ++i) debut += this->extents[i].blockCount;
  std::size_t place = 14;
  for (const std::uint32_t fichier : {3U, 4U}) {
    *vue_modifiable<be16>(feuille, feuille.size() - (fichier == 3 ? 2 : 4)) =
        static_cast<std::uint16_t>(place);
    if constexpr (TypeParam::kPlus) {
      *vue_modifiable<be16>(feuille, place) = std::uint16_t{10};
      *vue_modifiable<be32>(feuille, place + 4) = fichier;
      *vue_modifiable<be32>(feuille, place + 8) = debut;
      place += 12;
    } else {
      feuille[place] = 7;
      *vue_modifiable<be32>(feuille, place + 2) = fichier;
      *vue_modifiable<be16>(feuille, place + 6) = static_cast<std::uint16_t>(debut);
      place += 8;
    }
    for (std::size_t i = kDansEntete; i < kMorceaux; ++i) {
      const ExtentPlus extent = fichier == 4 ? this->extents[i] : ExtentPlus{9, 1};
      if constexpr (TypeParam::kPlus) {
        *vue_modifiable<ExtentPlus>(feuille, place) = extent;
        place += 8;
      } else {
        *vue_modifiable<ExtentHfs>(feuille, place) = {static_cast<std::uint16_t>(extent.startBlock),
                                                      static_cast<std::uint16_t>(extent.blockCount)};
        place += 4;
      }
    }
    place += ((TypeParam::kPlus ? 8 : 3) - (kMorceaux - kDansEntete)) * (TypeParam::kPlus ? 8 : 4);
  }
  *vue_modifiable<be16>(feuille, feuille.size() - 6) = static_cast<std::uint16_t>(place);
  DescripteurArbre &arbre_extents = volume_courant().extents;
  arbre_extents.fiche().rootNode = arbre_extents.fiche().firstLeafNode = 1;
  const std::uint64_t secteur = position_noeud(arbre_extents, 1);
  medium().ecrit(secteur, TypeParam::kTailleNoeud / kTailleSecteur, feuille.data());

  for (std::uint32_t noeud = 0; noeud <= dernier; ++noeud) {
    ASSERT_EQ(position_noeud(arbre, noeud), this->secteur_noeud(noeud)) << noeud;
  }
  EXPECT_EQ(position_noeud(arbre, 100000), kSansPosition);
  // The same file seen as a fork, sector by sector; behind its end there is 0.
  const auto fourche = [](std::uint64_t s) {
    if constexpr (TypeParam::kPlus) return position_fourche_hfsplus(s, volume_courant().vhb->catalogFile, 4);
    return position_fourche_hfs(s, volume_courant().mdb->drCTExtRec, 4);
  };
  const std::uint32_t par_noeud = TypeParam::kTailleNoeud / kTailleSecteur;
  EXPECT_EQ(fourche(std::uint64_t{500} * par_noeud), this->secteur_noeud(500));
  EXPECT_EQ(fourche(std::uint64_t{dernier} * par_noeud), this->secteur_noeud(dernier));
  EXPECT_EQ(fourche(1U << 30), 0U);
}

TYPED_TEST(Extents, AreWrittenIntoTheirOwnFile) {
  this->construit(20);
  std::vector<std::uint8_t> noeud(TypeParam::kTailleNoeud, 0x55);
  const auto catalogue = this->octets_noeud(0);
  const auto suite = this->octets_noeud(1);
  EXPECT_TRUE(ecriture_noeud_extents(1, noeud));
  EXPECT_EQ(this->octets_noeud(0), catalogue);
  EXPECT_EQ(this->octets_noeud(1), suite);
  EXPECT_EQ(lecture_noeud_extents(1)[20], 0x55);
}

// --- the cache

class Cache : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kTaille = 512;

  void SetUp() override { cache.prepare(kTaille); }
  // A read as the tree does it: true when the cache had the node.
  bool lit(std::uint32_t noeud) {
    std::vector<std::uint8_t> octets(kTaille);
    if (cache.lit(noeud, octets)) {
      EXPECT_EQ(octets[0], static_cast<std::uint8_t>(noeud));
      return true;
    }
    octets.assign(kTaille, static_cast<std::uint8_t>(noeud));
    cache.ajoute(noeud, octets);
    return false;
  }
  CacheNoeuds cache;
};

TEST_F(Cache, KeepsTheFirstNodesAndThenTheOnesAskedForMost) {
  for (std::uint32_t n = 1; n <= 64; ++n) EXPECT_FALSE(lit(n));
  for (std::uint32_t n = 1; n <= 64; ++n) EXPECT_TRUE(lit(n)) << n;  // two passes each
  EXPECT_FALSE(lit(100));                                            // waiting, 1
  EXPECT_FALSE(lit(100));                                            // 2, not above the weakest resident
  EXPECT_FALSE(lit(100));  // 3: comes in, for the first of those with fewer
  EXPECT_TRUE(lit(100));
  EXPECT_FALSE(lit(1));  // the one that went; it waits with its two passes
  EXPECT_TRUE(lit(1));   // and was back with the third
  EXPECT_FALSE(lit(2));
}

TEST_F(Cache, ForgetsHalfOfTheWaitingWhenFull) {
  for (std::uint32_t n = 1; n <= 64; ++n) lit(n);
  for (std::uint32_t n = 1000; n < 1128; ++n) EXPECT_FALSE(lit(n));
  EXPECT_EQ(cache.attentes()[127].noeud, 1127U);
  EXPECT_FALSE(lit(2000));  // no room: 64 to 127 are cleared, and this one is not noted
  EXPECT_EQ(cache.attentes()[63].noeud, 1063U);
  EXPECT_EQ(cache.attentes()[64].noeud, 0U);
  lit(2001);
  EXPECT_EQ(cache.attentes()[64].noeud, 2001U);
}

TEST_F(Cache, FollowsWritesAndForgetsFreedNodes) {
  EXPECT_FALSE(lit(0));
  EXPECT_FALSE(lit(0)) << "the header node is never held";
  EXPECT_FALSE(lit(5));
  std::vector<std::uint8_t> octets(kTaille, 9);
  cache.ecrit(5, octets);
  ASSERT_TRUE(cache.lit(5, octets));
  EXPECT_EQ(octets[0], 9);
  EXPECT_EQ(cache.residents()[0].passages, 3U);
  cache.oublie(5);
  EXPECT_FALSE(cache.lit(5, octets));
  lit(6);
  cache.prepare(kTaille);
  EXPECT_TRUE(lit(6)) << "a tree of the same node size finds the cache as it was";
  cache.prepare(1024);
  EXPECT_EQ(cache.residents()[0].noeud, 0U);
}

}  // namespace
}  // namespace varnion::essai
