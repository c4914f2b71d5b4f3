#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "volume_essai.hpp"

namespace varnion::essai {
namespace {

struct Element {
  std::uint32_t parent;
  std::string nom;
  std::uint32_t id;
};

enum class Ordre { hasard, montant, descendant, dossiers };

template <typename Format>
class Insertion : public VolumeEssai<Format> {
 protected:
  using Base = VolumeEssai<Format>;

  // Names of all lengths, unique without regard to case; one in eight begins with the wildcard character.
  std::string nom_hasard(std::size_t rang) {
    constexpr std::string_view kSignes =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .*_-\xE9\xC0";
    std::string nom = rang % 8 == 0 ? "*" : "";
    const std::size_t longueur = des() % (Format::kNomMax - 8) + 1;
    while (nom.size() < longueur) nom += kSignes[des() % kSignes.size()];
    return nom + "#" + std::to_string(rang);
  }

  std::vector<Element> elements(std::size_t nombre, Ordre ordre) {
    std::vector<Element> liste;
    for (std::size_t i = 0; i < nombre; ++i) {
      liste.push_back({kIdRacine, nom_hasard(i), static_cast<std::uint32_t>(100 + i)});
    }
    const auto avant = [](const Element &a, const Element &b) {
      if constexpr (Format::kPlus) {
        return compare_hfsplus(Format::nom(a.nom).vue(), Format::nom(b.nom).vue()) < 0;
      } else {
        return compare_hfs(a.nom, b.nom) < 0;
      }
    };
    if (ordre == Ordre::montant || ordre == Ordre::descendant) std::sort(liste.begin(), liste.end(), avant);
    if (ordre == Ordre::descendant) std::reverse(liste.begin(), liste.end());
    return liste;
  }

  // The way of the compiler: the files and folders of a folder, each folder's thread at the end, then the
  // folders.
  void remplit_dossiers(std::size_t nombre, std::vector<Element> &faits) {
    std::vector<std::uint32_t> file{kIdRacine};
    std::uint32_t id = 16;
    for (std::size_t place = 0; place < file.size() && faits.size() < nombre; ++place) {
      for (std::size_t i = 0; i < 1 + des() % 40; ++i) {
        const Element element{file[place], nom_hasard(faits.size()), id++};
        const bool dossier = des() % 5 == 0 || i == 0;
        ASSERT_TRUE(this->ajoute(element.parent, element.nom,
                                 dossier ? Format::dossier(element.id) : Format::fichier(element.id)));
        if (dossier) {
          ASSERT_TRUE(this->ajoute_fil(element.id, element.parent, element.nom));
          file.push_back(element.id);
        }
        faits.push_back(element);
        if (faits.size() < 100 || faits.size() % 50 == 0) {
          ASSERT_EQ(this->verifie(), "") << faits.size();
        }
      }
    }
  }

  void insere_tous(const std::vector<Element> &liste) {
    for (std::size_t i = 0; i < liste.size(); ++i) {
      const Element &element = liste[i];
      ASSERT_TRUE(this->ajoute(element.parent, element.nom, Format::fichier(element.id))) << i;
      if (i < 100 || i % 50 == 0) {
        ASSERT_EQ(this->verifie(), "") << i;
      }
    }
  }

  void trouve_tous(const std::vector<Element> &liste) {
    for (const Element &element : liste) {
      ASSERT_FALSE(Format::cherche_exacte(element.nom, kRubriqueToute, element.parent).empty())
          << element.nom;
      EXPECT_EQ(Format::id_trouve(), element.id);
    }
    EXPECT_TRUE(Format::cherche_exacte("absent", kRubriqueToute, kIdRacine).empty());
  }

  std::uint32_t des() { return static_cast<std::uint32_t>(hasard_()); }

 private:
  std::mt19937 hasard_{20240607};
};

using Formats =
    ::testing::Types<FormatHfs, FormatPlus<512>, FormatPlus<1024>, FormatPlus<4096>, FormatPlus<32768>>;
TYPED_TEST_SUITE(Insertion, Formats);

// Nodes small enough to fill many, large enough for three records in a leaf.
template <typename Format>
class Division : public Insertion<Format> {};
using FormatsDivision = ::testing::Types<FormatHfs, FormatPlus<1024>, FormatPlus<4096>>;
TYPED_TEST_SUITE(Division, FormatsDivision);

TYPED_TEST(Insertion, KeepsTheTreeSoundInEveryOrder) {
  // 32 KiB nodes hold some 80 of these records: they need more of them to split at all.
  const std::size_t nombre = TypeParam::kTailleNoeud > 4096 ? 1500 : 2500;
  for (const Ordre ordre : {Ordre::hasard, Ordre::montant, Ordre::descendant, Ordre::dossiers}) {
    SCOPED_TRACE(static_cast<int>(ordre));
    this->construit(6000);
    ASSERT_TRUE(ajoute_noeuds_carte());
    std::vector<Element> faits;
    if (ordre == Ordre::dossiers) {
      this->remplit_dossiers(nombre, faits);
    } else {
      faits = this->elements(nombre, ordre);
      this->insere_tous(faits);
    }
    if (this->HasFatalFailure()) return;
    ASSERT_EQ(this->verifie(), "");
    this->trouve_tous(faits);

    // What lies on the disk, read back with nothing in memory.
    recopie_carte_noeuds();
    vide_cache();
    Verificateur disque = this->verificateur();
    ASSERT_EQ(disque.verifie(), "");
    EXPECT_GE(disque.profondeur(), TypeParam::kTailleNoeud > 4096 ? 2U : 3U);
    lecture_entete_volume();
    ouverture_arbres();
    this->trouve_tous(faits);
  }
}

TYPED_TEST(Division, ReachesDepthFourWithMapNodes) {
  const std::uint32_t bits = (TypeParam::kTailleNoeud - 256U) * 8;
  const std::uint32_t par_noeud = (TypeParam::kTailleNoeud - 20U) * 8;
  this->construit(bits + par_noeud + 500, 3);
  charge_carte_noeuds();
  ASSERT_TRUE(ajoute_noeuds_carte());
  ASSERT_EQ(carte_noeuds().chaine.size(), 2U);
  ASSERT_EQ(this->verifie(), "");
  const std::size_t nombre = TypeParam::kTailleNoeud > 512 ? 3000 : 9000;
  std::size_t fiches = 0;
  for (std::uint32_t profondeur = 0; profondeur < 4 || fiches < nombre; ++fiches) {
    std::string nom = this->nom_hasard(fiches);
    nom.insert(0, TypeParam::kNomMax - nom.size(), 'a' + static_cast<char>(fiches % 26));
    ASSERT_TRUE(this->ajoute(kIdRacine, nom, TypeParam::fichier(1)));
    profondeur = this->entete().treeDepth;
    ASSERT_LT(fiches, 50000U);
  }
  ASSERT_TRUE(ecriture_structures());
  vide_cache();
  Verificateur disque = this->verificateur();
  ASSERT_EQ(disque.verifie(), "");
  EXPECT_EQ(disque.nb_noeuds_carte(), 2U);
  EXPECT_GT(disque.nb_noeuds(), TypeParam::kTailleNoeud == 512 ? bits : 500U);  // some marked in a map node
  charge_carte_noeuds();
  EXPECT_EQ(this->verifie(), "");
}

TYPED_TEST(Insertion, StopsWithASoundTreeWhenNodesRunOut) {
  for (const std::uint32_t noeuds : {2U, 3U, 8U, 30U}) {
    this->construit(noeuds);
    std::vector<Element> faits;
    for (const Element &element : this->elements(5000, Ordre::hasard)) {
      if (!this->ajoute(element.parent, element.nom, TypeParam::fichier(element.id))) break;
      faits.push_back(element);
    }
    ASSERT_LT(faits.size(), 5000U) << noeuds;
    ASSERT_EQ(this->verifie(), "") << noeuds;
    this->trouve_tous(faits);
    const std::uint32_t libres = this->entete().freeNodes;
    EXPECT_LE(libres, std::uint32_t{this->entete().treeDepth} + 1);
    EXPECT_FALSE(this->ajoute_fil(90000, 2, std::string(TypeParam::kNomMax, 'z')) &&
                 libres < this->entete().freeNodes);
    ASSERT_EQ(this->verifie(), "") << noeuds;
  }
}

TYPED_TEST(Insertion, PutsAThreadOfALowIdInItsPlace) {
  this->construit(200);
  for (std::uint32_t id = 40; id < 80; ++id) ASSERT_TRUE(this->ajoute_fil(id, 2, "x"));
  ASSERT_TRUE(this->ajoute_fil(17, 2, ".!Background"));
  EXPECT_EQ(this->verifie(), "");
  EXPECT_EQ(parent_de(17), 2U);
}

TYPED_TEST(Insertion, KeepsEqualKeysInTheOrderOfTheirComing) {
  this->construit(2000);
  for (std::uint32_t id = 100; id < 300; ++id) {
    ASSERT_TRUE(this->ajoute(kIdRacine, "jumeau", TypeParam::dossier(id)));
    ASSERT_TRUE(this->ajoute(kIdRacine, "autre" + std::to_string(id), TypeParam::fichier(id)));
    ASSERT_TRUE(this->ajoute(kIdRacine, "suite" + std::to_string(id), TypeParam::fichier(id)));
  }
  EXPECT_EQ(this->verifie(), "");
  ASSERT_FALSE(TypeParam::cherche_exacte("JUMEAU", kRubriqueDossier, kIdRacine).empty());
  EXPECT_EQ(TypeParam::id_trouve(), 100U);
}

TYPED_TEST(Insertion, CorrectsTheIndexWhenARecordComesFirst) {
  this->construit(2000);
  const std::string long_nom(TypeParam::kNomMax, 'm');
  for (std::uint32_t id = 100; id < 700; ++id) {
    ASSERT_TRUE(this->ajoute(kIdRacine, long_nom.substr(8) + std::to_string(id), TypeParam::fichier(id)));
  }
  const std::uint32_t profondeur = this->entete().treeDepth;
  ASSERT_GE(profondeur, 2U);
  for (int i = 99; i > 0; --i) {
    const std::string nom =
        "A" + std::to_string(100 + i) + std::string(i % 2 == 0 ? 0 : TypeParam::kNomMax - 4, 'a');
    ASSERT_TRUE(this->ajoute(kIdParentRacine, nom, TypeParam::fichier(5))) << i;
    if (i % 5 == 0) {
      ASSERT_EQ(this->verifie(), "") << i;
    }
  }
}

TYPED_TEST(Insertion, RefusesWhatCanNeverStand) {
  this->construit(50);
  const auto avant = this->octets_noeud(1);
  const std::vector<std::uint8_t> trop(TypeParam::kTailleNoeud - 20);
  const auto cle = TypeParam::cle(2, "nom");
  EXPECT_FALSE(TypeParam::insere(cle, trop, 2));
  EXPECT_FALSE(TypeParam::insere(cle, TypeParam::fichier(5), 3)) << "parent of another folder";
  EXPECT_FALSE(TypeParam::insere(cle, {}, 2));
  PetitTampon coupee;
  coupee.ajoute(cle.octets().first(cle.size() - 1));
  EXPECT_FALSE(TypeParam::insere(coupee, TypeParam::fichier(5), 2));
  EXPECT_FALSE(TypeParam::insere_fin(PetitTampon{}, TypeParam::fichier(5), 2));
  EXPECT_EQ(this->octets_noeud(1), avant);
  EXPECT_EQ(this->verifie(), "");
}

// Records of each leaf, in the order of the chain, straight from the disk.
template <typename Format>
std::vector<unsigned> comptes(const std::vector<std::vector<std::uint8_t>> &noeuds) {
  std::vector<unsigned> sortie;
  sortie.reserve(noeuds.size());
  for (const auto &noeud : noeuds) sortie.push_back(static_cast<unsigned>(noeud[10] << 8 | noeud[11]));
  return sortie;
}

TYPED_TEST(Division, SplitsALeafWhereTheFormatSays) {
  this->construit(100);
  // Names of one length, inserted downward, so that the first split is not at the end.
  for (int i = 999; this->entete().treeDepth == 1; --i) {
    ASSERT_TRUE(this->ajoute(kIdRacine, "nom" + std::to_string(i), TypeParam::fichier(5)));
  }
  const auto tailles = comptes<TypeParam>({this->octets_noeud(1), this->octets_noeud(2)});
  const unsigned pleine = tailles[0] + tailles[1] - 1;  // before the record that made it split
  const unsigned garde = TypeParam::kPlus ? 2 * (pleine / 3) : pleine - pleine / 2;
  EXPECT_EQ(tailles[0], garde + 1);
  EXPECT_EQ(tailles[1], pleine - garde);
}

TYPED_TEST(Division, SplitsAnIndexNodeAtThreeQuarters) {
  this->construit(9000);
  std::uint32_t racine = 0;
  for (int i = 10000; this->entete().treeDepth < 3 && i < 60000; ++i) {
    racine = this->entete().treeDepth == 2 ? std::uint32_t{this->entete().rootNode} : racine;
    const std::string nom = std::to_string(i) + std::string(20, 'n');
    ASSERT_TRUE(this->ajoute(kIdRacine, nom, TypeParam::fichier(5)));
  }
  ASSERT_EQ(this->entete().treeDepth, 3U);
  const auto gauche = this->octets_noeud(racine);
  const auto droite = this->octets_noeud(vue<EnteteNoeud>(gauche, 0)->fLink);
  const auto tailles = comptes<TypeParam>({gauche, droite});
  const unsigned pleine = tailles[0] + tailles[1] - 1;
  EXPECT_EQ(tailles[0], 3 * pleine / 4);  // the new record follows the last one: it goes to the right
}

using InsertionPlus = Insertion<FormatPlus<4096>>;

TEST_F(InsertionPlus, OrdersByUnitsWhereTheHeaderAsksForIt) {
  construit(100);
  volume_courant().vhb->signature = kSignatureHfsX;
  entete().keyCompareType = 0xBC;
  std::uint32_t id = 100;
  for (const char *nom : {"b", "A", "a", "B"})
    ASSERT_TRUE(ajoute(kIdRacine, nom, FormatPlus<4096>::dossier(id++)));
  trouve_tous({{kIdRacine, "b", 100}, {kIdRacine, "A", 101}, {kIdRacine, "a", 102}, {kIdRacine, "B", 103}});
  std::string ordre;
  for (std::int32_t i = 2; i < 6; ++i) {
    const auto nom = nom_cle_hfsplus(enregistrement(lecture_noeud(1), i));
    ASSERT_EQ(nom.size(), 1U);
    ordre += static_cast<char>(std::uint16_t{nom[0]});
  }
  EXPECT_EQ(ordre, "ABab");
}

using InsertionHfs = Insertion<FormatHfs>;

TEST_F(InsertionHfs, GivesAnAppendThatDoesNotFitALeafOfItsOwn) {
  construit(100);
  for (int i = 100; entete().treeDepth == 1; ++i) {
    ASSERT_TRUE(ajoute(kIdRacine, "nom" + std::to_string(i), FormatHfs::fichier(5)));
  }
  EXPECT_EQ(comptes<FormatHfs>({octets_noeud(1), octets_noeud(2)}), (std::vector<unsigned>{5, 1}));
  EXPECT_EQ(verifie(), "");
}

TEST_F(InsertionHfs, NodesOfForeignMapsKeepTheirTwoLastBytes) {
  construit(9000);
  charge_carte_noeuds();
  ASSERT_TRUE(ajoute_noeuds_carte());
  ASSERT_EQ(carte_noeuds().chaine, (std::vector<std::uint32_t>{2, 3}));
  recopie_carte_noeuds();
  // The record as other writers lay it down: to the table of offsets, 494 bytes.
  auto noeud = octets_noeud(2);
  *vue_modifiable<be16>(noeud, 508) = 508;
  noeud[507] = 0x80;
  pose_noeud(2, noeud);
  charge_carte_noeuds();
  ASSERT_EQ(carte_noeuds().octets.size(), 256U + 494 + 492);
  EXPECT_EQ(carte_noeuds().octets[256 + 493], 0x80);
  recopie_carte_noeuds();
  EXPECT_EQ(octets_noeud(2)[507], 0x80);
}

TEST_F(InsertionHfs, GivesBackNodesInOrder) {
  construit(5000);
  DescripteurArbre &arbre = volume_courant().catalogue;
  for (std::uint32_t attendu = 2; attendu < 2048; ++attendu) ASSERT_EQ(alloue_noeud_hfs(arbre), attendu);
  EXPECT_EQ(alloue_noeud_hfs(arbre), 0U) << "no map for the nodes behind";
  libere_noeud(arbre, 1000);
  libere_noeud(arbre, 70);
  EXPECT_EQ(alloue_noeud_hfs(arbre), 70U);
  EXPECT_EQ(alloue_noeud_hfs(arbre), 1000U);
  EXPECT_EQ(entete().freeNodes, 5000U - 2048);
}

TEST_F(InsertionHfs, DoesNotGoPastTheEndOfTheCatalogFile) {
  construit(20);
  entete().totalNodes = 200;  // a header that counts ten times what the file holds
  entete().freeNodes = 198;
  int faits = 0;
  while (ajoute(kIdRacine, "nom" + std::to_string(1000 + faits), FormatHfs::fichier(5)) && faits < 500)
    ++faits;
  EXPECT_GT(faits, 20);
  EXPECT_LT(faits, 100);
  EXPECT_EQ(verifie(), "");
}

}  // namespace
}  // namespace varnion::essai
