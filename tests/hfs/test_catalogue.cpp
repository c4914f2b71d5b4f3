#include "hfs/catalogue.hpp"

#include <fstream>
#include <iterator>
#include <set>

#include "hfs/texte_mac.hpp"
#include "IO/plateforme.hpp"
#include "volume_essai.hpp"

namespace varnion::essai {
namespace {

template <typename Format>
class Catalogue : public VolumeEssai<Format> {
 protected:
  static void dossier(std::uint32_t id, std::uint32_t parent, const std::string &nom) {
    ASSERT_TRUE(VolumeEssai<Format>::ajoute(parent, nom, Format::dossier(id)));
    ASSERT_TRUE(VolumeEssai<Format>::ajoute_fil(id, parent, nom));
  }
  static void fichier(std::uint32_t id, std::uint32_t parent, const std::string &nom) {
    ASSERT_TRUE(VolumeEssai<Format>::ajoute(parent, nom, Format::fichier(id)));
  }
  // Five folders of sixty files, one folder in another, interleaved so that leaves are shared.
  void peuple(std::uint32_t noeuds = 400) {
    this->construit(noeuds);
    for (std::uint32_t d = 16; d < 21; ++d) dossier(d, d == 20 ? 19 : 2, "Dossier " + std::to_string(d));
    for (std::uint32_t n = 0; n < 300; ++n) fichier(100 + n, 16 + n % 5, "Fichier " + std::to_string(n));
  }
  static std::multiset<std::uint32_t> ids(std::uint32_t dossier, ResultatParcours *resultat = nullptr) {
    std::multiset<std::uint32_t> vus;
    const auto fin = liste_dossier(dossier, [&](const ElementMac &element) {
      EXPECT_EQ(element.parent, dossier);
      vus.insert(element.id);
      return true;
    });
    if (resultat != nullptr) *resultat = fin;
    return vus;
  }
};

using Formats =
    ::testing::Types<FormatHfs, FormatPlus<512>, FormatPlus<1024>, FormatPlus<4096>, FormatPlus<32768>>;
TYPED_TEST_SUITE(Catalogue, Formats);

TYPED_TEST(Catalogue, ListsFoldersAndTheVolumeWithNestedWalks) {
  this->peuple();
  EXPECT_GE(+this->entete().treeDepth, TypeParam::kPlus && TypeParam::kTailleNoeud == 512 ? 4 : 1);
  ASSERT_EQ(element_racine()->id, kIdRacine);
  std::size_t total = 1;
  std::function<void(std::uint32_t)> descend = [&](std::uint32_t id) {
    std::string precedent;
    const auto fin = liste_dossier(id, [&](const ElementMac &element) {
      ++total;
      EXPECT_EQ(chemin_de(element).value_or("?").find("Dossier"), 0U);
      if (element.dossier) descend(element.id);
      return true;
    });
    EXPECT_TRUE(fin.entier());
  };
  descend(kIdRacine);
  EXPECT_EQ(total, 306U);
  std::size_t vus = 0;
  EXPECT_TRUE(parcours_volume([&](const ElementMac &element) {
                ++vus;
                return element.id != 0;
              }).entier());
  EXPECT_EQ(vus, 306U);
  EXPECT_EQ(liste_dossier(17, [](const ElementMac &) { return false; }).elements, 1U);
  ResultatParcours absent;
  EXPECT_TRUE(this->ids(99, &absent).empty());
  EXPECT_EQ(absent.etat, EtatParcours::endommage);
}

TYPED_TEST(Catalogue, GoesFromPathToElementAndBack) {
  this->peuple();
  for (const char *chemin : {"Dossier 19/Dossier 20/Fichier 299", "Dossier 16", "dossier 17/FICHIER 6"}) {
    const auto element = element_par_chemin(chemin);
    ASSERT_TRUE(element) << chemin;
    EXPECT_TRUE(element_par_chemin("/" + *chemin_de(*element) + "/"));
  }
  EXPECT_EQ(chemin_de(*element_par_chemin("dossier 19/dossier 20/fichier 4")),
            "Dossier 19/Dossier 20/Fichier 4");
  EXPECT_EQ(element_par_id(20)->parent, 19U);
  EXPECT_FALSE(element_par_chemin("Dossier 16/Fichier 0/rien"));
  EXPECT_FALSE(element_par_chemin("Dossier 16/Fichier 1"));
  EXPECT_EQ(element_par_chemin("")->id, kIdRacine);
}

TYPED_TEST(Catalogue, SaysWhenANodeIsDamaged) {
  this->peuple();
  ResultatParcours fin;
  const std::size_t entiers = this->ids(18, &fin).size();
  ASSERT_EQ(entiers, 60U);
  // A leaf of this folder, found through one of its files.
  const std::uint32_t noeud = element_par_chemin("Dossier 18/Fichier 52")->noeud;
  const auto octets = this->octets_noeud(noeud);
  const auto essaie = [&](const char *quoi, auto change) {
    auto copie = octets;
    change(copie);
    this->pose_noeud(noeud, copie);
    vide_cache();
    EXPECT_LE(this->ids(18, &fin).size(), entiers) << quoi;
    EXPECT_EQ(fin.etat, EtatParcours::endommage) << quoi;
    EXPECT_EQ(parcours_volume([](const ElementMac &) { return true; }).etat, EtatParcours::endommage) << quoi;
  };
  essaie("record offset outside the node", [](auto &copie) { copie[copie.size() - 3] = 0xFF; });
  essaie("record count", [](auto &copie) { copie[10] = 0xFF; });
  essaie("kind", [](auto &copie) { copie[8] = 2; });
  essaie("key length", [](auto &copie) { copie[14] = 0xFF; });
  essaie("nothing there", [](auto &copie) { std::fill(copie.begin(), copie.end(), std::uint8_t{0}); });
}

TYPED_TEST(Catalogue, StopsInACircleOfLeaves) {
  this->peuple();
  const std::uint32_t noeud = element_par_chemin("Dossier 18/Fichier 52")->noeud;
  auto octets = this->octets_noeud(noeud);
  *vue_modifiable<be32>(octets, 0) = noeud;
  this->pose_noeud(noeud, octets);
  vide_cache();
  const auto fin = parcours_volume([](const ElementMac &) { return true; });
  EXPECT_EQ(fin.etat, EtatParcours::endommage);
  EXPECT_EQ(fin.noeud, noeud);
  EXPECT_LE(fin.elements, 306U);
}

TYPED_TEST(Catalogue, FoldersThatHoldEachOtherHaveNoPath) {
  this->construit(20);
  this->dossier(16, 17, "a");
  this->dossier(17, 16, "b");
  ASSERT_TRUE(element_par_id(16));
  EXPECT_FALSE(chemin_de(*element_par_id(16)));
}

TYPED_TEST(Catalogue, SearchesTheWholeVolumeUpToALimit) {
  this->peuple();
  EXPECT_EQ(cherche_nom("fichier 29").size(), 1U);
  EXPECT_EQ(cherche_nom("Dossier*").size(), 5U);
  EXPECT_EQ(cherche_nom("*").size(), kTrouvailles);
  EXPECT_EQ(cherche_nom("*", 1000).size(), 306U);
  EXPECT_TRUE(liste_alias().empty());
}

TEST(Signature, AgreesWithTypeAndCreator) {
  const std::array<std::uint8_t, 8> signature{'T', 'E', 'X', 'T', 't', 't', 'x', 't'};
  for (const auto &[texte, attendu] :
       std::initializer_list<std::pair<const char *, bool>>{{"TEXT", true},
                                                            {"TE", true},
                                                            {"ttxt", true},
                                                            {"tt", true},
                                                            {"TEXTttxt", true},
                                                            {"TEXTtt", true},
                                                            {"ttxtTEXT", false},
                                                            {"text", false},
                                                            {"EXT", false},
                                                            {"ttxtt", false},
                                                            {"TEXTttxt!", false}}) {
    EXPECT_EQ(compare_signature(texte, signature), attendu) << texte;
  }
}

TEST(TexteMac, FollowsThePublishedTable) {
  std::ifstream flux(VN_DONNEES "/unicode/macroman_to_unicode.txt");
  std::string octet;
  std::string point;
  int lignes = 0;
  while (flux >> octet >> point) {
    const auto code = static_cast<char16_t>(std::stoul(point, nullptr, 16));
    const std::string mac(1, static_cast<char>(std::stoul(octet, nullptr, 16)));
    const std::string utf8 = mac_vers_utf8(mac);
    EXPECT_EQ(plateforme::utf8_vers_large(utf8), std::u16string(1, code)) << octet;
    EXPECT_EQ(utf8_vers_mac(utf8), mac) << octet;
    ++lignes;
  }
  EXPECT_EQ(lignes, 256);
  EXPECT_FALSE(utf8_vers_mac("\xE2\x98\x83"));
  EXPECT_EQ(utf8_vers_mac("e\xCC\x81"), "\x8E");
}

TEST(PartiesDeChemin, SwapSlashAndColon) {
  EXPECT_EQ(partie_de_nom("a/b"), "a:b");
  EXPECT_EQ(nom_de_partie("a:b"), "a/b");
  const std::string zeros("\0x", 2);
  EXPECT_EQ(nom_de_partie(partie_de_nom(zeros)), zeros);
}

class VolumeHformat : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    medium().branche();
    std::ifstream flux(VN_DONNEES "/hfs/hformat_800k.hfs", std::ios::binary);
    const std::vector<std::uint8_t> octets{std::istreambuf_iterator<char>(flux), {}};
    medium().ecrit(0, static_cast<std::uint32_t>(octets.size() / kTailleSecteur), octets.data());
    lecture_entete_volume();
    static_cast<void>(ouverture_arbres());
  }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }
};

TEST_F(VolumeHformat, ListsAFolderOfAnotherProgram) {
  EXPECT_EQ(element_racine()->nom_utf8(),
            "\xC3\x89"
            "chantillon");
  EXPECT_EQ(element_racine()->valence, 20U);
  const auto dossier = element_par_chemin("Dossier 7");
  ASSERT_TRUE(dossier);
  std::set<std::uint32_t> ids;
  EXPECT_TRUE(liste_dossier(dossier->id, [&](const ElementMac &element) {
                ids.insert(element.id);
                return true;
              }).entier());
  EXPECT_EQ(ids.size(), 25U);
  EXPECT_EQ(*ids.begin(), 36U);
  EXPECT_EQ(valence(dossier->id, kIdRacine), 25U);
  EXPECT_EQ(valence(kIdRacine, 0), 20U);
}

}  // namespace
}  // namespace varnion::essai
