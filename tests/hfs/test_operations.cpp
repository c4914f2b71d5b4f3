#include <array>

#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "image_essai.hpp"

// Single operations, and what refuses them.

namespace varnion::essai {
namespace {

template <typename Format>
class Edition : public VolumeEdite<Format> {
 protected:
  // Faults that the independent reader finds, "" for none.
  std::string fautes() { return this->lit().fautes.texte(); }
  [[nodiscard]] bool montre(const std::string &debut) const {
    return std::any_of(this->ops.erreurs.begin(), this->ops.erreurs.end(),
                       [&](const std::string &e) { return e.find(debut) != std::string::npos; });
  }
  static std::uint32_t taille_bloc() { return volume_courant().taille_bloc; }
  // Fills the volume with files of `blocs` blocks: their names.
  std::vector<std::string> remplit(std::uint32_t blocs) {
    std::vector<std::string> noms;
    const std::string contenu(std::size_t{blocs} * taille_bloc(), 'x');
    while (blocs_libres() >= blocs && noms.size() < 3000) {
      noms.push_back("f" + std::to_string(noms.size()));
      if (this->ajoute(kIdRacine, noms.back(), contenu) != 0) continue;
      noms.pop_back();
      break;
    }
    this->ops.erreurs.clear();
    return noms;
  }
  // Leaves free runs of these sizes, in this order, one block apart, and little else.
  void troue(const std::vector<std::uint32_t> &tailles) {
    for (std::size_t i = 0; i < tailles.size(); ++i) {
      const std::string contenu(std::size_t{tailles[i]} * taille_bloc(), 'x');
      ASSERT_NE(this->ajoute(kIdRacine, "trou" + std::to_string(i), contenu), 0U);
      ASSERT_NE(this->ajoute(kIdRacine, "mur" + std::to_string(i), "x"), 0U);
    }
    ASSERT_NE(this->ajoute(kIdRacine, "reste", std::string(std::size_t{blocs_libres()} * taille_bloc(), 'x')),
              0U);
    for (std::size_t i = 0; i < tailles.size(); ++i)
      ASSERT_EQ(supprime_par_nom(nom_item("trou" + std::to_string(i)), kIdRacine), 1);
  }
};
TYPED_TEST_SUITE(Edition, DeuxFormats);

TYPED_TEST(Edition, GivesFirstIdsAndKeepsDefaultWindow) {
  this->cree(1);
  EXPECT_EQ(cree_dossier(nom_item("a"), kIdRacine), TypeParam::kPlus ? 23U : 17U);
  static constexpr std::array<std::uint8_t, 16> kFenetre{0, 0x50, 0, 0x30, 1, 0x10, 1, 0xE0,
                                                         0, 0,    0, 0x70, 2, 0x48, 1, 0};
  auto place = std::search(this->image().begin(), this->image().end(), kFenetre.begin(), kFenetre.end());
  ASSERT_NE(place, this->image().end());
  place = std::search(place + 1, this->image().end(), kFenetre.begin(), kFenetre.end());  // behind the root
  EXPECT_NE(place, this->image().end());
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, RefusesTakenNamesWithoutChange) {
  this->cree(1);
  EXPECT_NE(cree_dossier(nom_item("Dossier"), kIdRacine), 0U);
  EXPECT_NE(this->ajoute(kIdRacine, "Fichier", "abc"), 0U);
  EXPECT_EQ(cree_dossier(nom_item("DOSSIER"), kIdRacine), 0U);  // 1160
  EXPECT_TRUE(this->montre("exists already.\nAborting"));
  EXPECT_EQ(this->ajoute(kIdRacine, "fichier", "x"), 0U);  // 6022
  EXPECT_EQ(renomme_par_nom(nom_item("Fichier"), nom_item("dossier"), kIdRacine), 0);
  EXPECT_EQ(cree_dossier(nom_item(""), kIdRacine), 0U);
  EXPECT_EQ(cree_dossier(nom_item("b"), 4711), 0U);
  EXPECT_EQ(this->ops.erreurs.size(), 3U);
  EXPECT_EQ(this->lit().objets.size(), 3U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, TellsWhenThereIsNoSpace) {
  this->cree(1);
  const std::uint32_t libres = blocs_libres();
  EXPECT_EQ(this->ajoute(kIdRacine, "a", std::string((libres + 1) * this->taille_bloc(), 'x')), 0U);
  EXPECT_TRUE(this->montre("Not enough free space\non the target disk"));
  EXPECT_EQ(blocs_libres(), libres);
  // Both forks fit alone, not together.
  const std::string moitie(std::size_t{libres} * this->taille_bloc() * 3 / 4, 'x');
  EXPECT_EQ(this->ajoute(kIdRacine, "a", moitie, moitie), 0U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, TellsWhenTheSpaceIsInTooManyPieces) {
  this->cree(2);
  // HFS takes runs of 10 blocks, HFS+ those longer than an eighth of what is still wanted.
  using Tailles = std::vector<std::uint32_t>;
  this->troue(TypeParam::kPlus ? Tailles{13, 11, 10, 9, 8, 7, 6, 5, 200} : Tailles{12, 12, 12, 200});
  const std::uint32_t trop = TypeParam::kPlus ? 100 : 40;
  const std::uint32_t juste = TypeParam::kPlus ? 69 : 36;
  const std::uint32_t libres = blocs_libres();
  const auto contenu = [this](std::uint32_t blocs) {
    return std::string(std::size_t{blocs} * this->taille_bloc(), 'x');
  };
  EXPECT_EQ(this->ajoute(kIdRacine, "gros", contenu(trop)), 0U);
  EXPECT_TRUE(this->montre("too fragmented"));
  EXPECT_EQ(blocs_libres(), libres);
  EXPECT_NE(this->ajoute(kIdRacine, "juste", contenu(juste)), 0U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, AsksBeforeEmptyingAFolder) {
  this->cree(1);
  const std::uint32_t dossier = cree_dossier(nom_item("plein"), kIdRacine);
  const std::uint32_t dedans = cree_dossier(nom_item("dedans"), dossier);
  EXPECT_NE(this->ajoute(dedans, "fichier", "abc", "def"), 0U);
  this->ops.reponse = 0;
  EXPECT_EQ(supprime_par_id(dossier, kIdRacine), 0);
  this->ops.reponse = -1;
  EXPECT_EQ(supprime_par_nom(nom_item("plein"), kIdRacine), 0);
  EXPECT_EQ(supprime_par_nom(nom_item("plein"), kIdRacine), 0);
  EXPECT_EQ(this->ops.questions, 2) << "no to all is remembered";
  EXPECT_EQ(this->lit().objets.size(), 4U);
  reponses_volume() = {};
  etat<OptionsProgramme>().options = kOptionDossierPlein;
  EXPECT_EQ(supprime_par_id(dossier, kIdRacine), 1);
  EXPECT_EQ(this->ops.questions, 2);
  EXPECT_EQ(supprime_par_id(kIdRacine, kIdParentRacine), 0);
  EXPECT_EQ(this->lit().objets.size(), 1U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, DoublesTheCatalogOrSaysThatItCannot) {
  this->cree(2);
  const auto total = [] { return std::uint32_t{volume_courant().catalogue.fiche().totalNodes}; };
  const std::uint32_t debut = total();
  const std::string nom(TypeParam::kPlus ? 200 : 20, 'n');
  std::uint32_t n = 0;
  while (total() == debut && n < 5000)
    ASSERT_NE(cree_dossier(nom_item(std::to_string(n++) + nom), kIdRacine), 0U);
  EXPECT_EQ(total(), 2 * debut);
  EXPECT_EQ(this->fautes(), "");
  // Too little is left for a second doubling.
  (void)this->remplit(1000);
  (void)this->remplit(20);
  std::uint32_t id = 1;
  while (id != 0 && n < 9000) id = cree_dossier(nom_item(std::to_string(n++) + nom), kIdRacine);
  EXPECT_EQ(id, 0U);
  EXPECT_TRUE(this->montre("Error trying to extend the catalog tree."));
  EXPECT_EQ(this->fautes(), "");
  EXPECT_EQ(supprime_par_nom(nom_item("0" + nom), kIdRacine), 1) << "deletion must go on working";
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, GrowsACatalogIntoTheExtentsTree) {
  this->cree(TypeParam::kPlus ? 8 : 3);
  // Each growth finds a run of its own: on HFS any of 10 blocks, on HFS+ one longer than an eighth of the
  // catalog. Short runs make up the free space that a doubling asks for.
  std::vector<std::uint32_t> tailles(TypeParam::kPlus ? 50 : 60, TypeParam::kPlus ? 24 : 12);
  for (std::uint32_t catalogue = 256; TypeParam::kPlus && tailles.size() < 62; catalogue += tailles.back())
    tailles.push_back(catalogue / 8 + 2 - catalogue / 8 % 2);
  this->troue(tailles);
  const std::string nom(TypeParam::kPlus ? 200 : 20, 'n');
  for (std::uint32_t n = 0; n < 5000 && volume_courant().extents.fiche().leafRecords == 0U; ++n)
    if (cree_dossier(nom_item(std::to_string(n) + nom), kIdRacine) == 0) break;
  EXPECT_GT(std::uint32_t{volume_courant().extents.fiche().leafRecords}, 0U);
  EXPECT_EQ(this->fautes(), "");
  this->remonte();
  EXPECT_EQ(this->fautes(), "");
  EXPECT_NE(cree_dossier(nom_item("encore"), kIdRacine), 0U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, RenamesTheVolumeWhateverItsFirstLeafHolds) {
  this->cree(1, "ab");
  for (const char *nom : {"Un nom de volume assez long", "x", "X", "Zebre"}) {
    for (int i = 0; i < 40; ++i)
      EXPECT_NE(cree_dossier(nom_item(std::string(nom) + std::to_string(i)), kIdRacine), 0U);
    EXPECT_EQ(nom_volume_change(nom_item(nom)), 1);
    EXPECT_EQ(nom_volume(), nom);
    EXPECT_EQ(this->lit().label, nom);
    EXPECT_EQ(this->fautes(), "");
    this->remonte();
    EXPECT_EQ(nom_volume(), nom);
    for (int i = 0; i < 40; ++i)
      EXPECT_EQ(supprime_par_nom(nom_item(std::string(nom) + std::to_string(i)), kIdRacine), 1);
  }
}

TYPED_TEST(Edition, FreesExtentsOfTheTreeWithTheirFile) {
  this->cree(1);
  const std::uint32_t libres = blocs_libres();
  const std::uint32_t id = this->ajoute(kIdRacine, "morcele", std::string(12 * this->taille_bloc(), 'x'));
  ASSERT_NE(id, 0U);
  // The file's one run becomes several of one block; those that the record has no room for go to the tree.
  const std::size_t dans_fiche = TypeParam::kPlus ? 8 : 3;
  std::uint32_t debut = 0;
  if constexpr (TypeParam::kPlus) {
    (void)cherche_exacte_hfsplus_sans_joker(nom_item("morcele").unicode, kRubriqueFichier, kIdRacine);
    auto *f = fiche_comme<FichierPlus>(donnees_hfsplus(enregistrement_courant()));
    debut = f->dataFork.extents[0].startBlock;
    for (std::uint32_t i = 0; i < 8; ++i) f->dataFork.extents[i] = {debut + i, 1U};
  } else {
    (void)cherche_exacte_hfs("morcele", kRubriqueFichier, kIdRacine);
    auto *f = fiche_comme<FichierHfs>(donnees_hfs(enregistrement_courant()));
    debut = f->filExtRec[0].startBlock;
    for (std::uint32_t i = 0; i < 3; ++i)
      f->filExtRec[i] = {static_cast<std::uint16_t>(debut + i), std::uint16_t{1}};
  }
  ecriture_noeud(volume_courant().catalogue.noeud, volume_courant().catalogue.octets());
  for (auto i = static_cast<std::uint32_t>(dans_fiche); i < 12; ++i) {
    if constexpr (TypeParam::kPlus) {
      ASSERT_TRUE(ajoute_extents_hfsplus({debut + i, 1U}, id, i, kFourcheDonnees));
    } else {
      ASSERT_TRUE(ajoute_extents_hfs({static_cast<std::uint16_t>(debut + i), std::uint16_t{1}}, id, i,
                                     kFourcheDonnees));
    }
  }
  EXPECT_EQ(std::uint32_t{volume_courant().extents.fiche().leafRecords}, TypeParam::kPlus ? 1U : 3U);
  EXPECT_EQ(echange_fourches(nom_item("morcele"), kIdRacine), TypeParam::kPlus ? 3 : 3);
  EXPECT_EQ(supprime_par_nom(nom_item("morcele"), kIdRacine), 1);
  EXPECT_EQ(blocs_libres(), libres);
  EXPECT_EQ(std::uint32_t{volume_courant().extents.fiche().leafRecords}, 0U);
  EXPECT_EQ(this->fautes(), "");
}

TYPED_TEST(Edition, ReplacesAsTheUserAnswers) {
  this->cree(1);
  EXPECT_EQ(remplacer_si_existe(nom_item("a"), kIdRacine), 0);
  EXPECT_NE(this->ajoute(kIdRacine, "a", "1"), 0U);
  this->ops.reponse = 0;
  EXPECT_EQ(remplacer_si_existe(nom_item("a"), kIdRacine), -1);
  this->ops.reponse = 2;
  EXPECT_EQ(remplacer_si_existe(nom_item("a"), kIdRacine), 0);
  EXPECT_EQ(existe(nom_item("a"), kIdRacine), 0);
  EXPECT_NE(this->ajoute(kIdRacine, "a", "2"), 0U);
  EXPECT_EQ(remplacer_si_existe(nom_item("a"), kIdRacine), 0);
  EXPECT_EQ(this->ops.questions, 2);
}

TYPED_TEST(Edition, ReplacesSignatures) {
  this->cree(1);
  for (int i = 0; i < 60; ++i) EXPECT_NE(this->ajoute(kIdRacine, "f" + std::to_string(i), "x"), 0U);
  const Signature ancienne{'T', 'E', 'X', 'T', 't', 't', 'x', 't'};
  const Signature nouvelle{'P', 'I', 'C', 'T', '8', 'B', 'I', 'M'};
  EXPECT_EQ(remplace_signature(nouvelle, ancienne), 0);
  EXPECT_EQ(remplace_signature(ancienne, nouvelle), 60);
  for (const auto &o : this->lit().objets) EXPECT_EQ(o.createur, o.dossier ? "" : "8BIM");
}

TYPED_TEST(Edition, RefusesChangesWithoutTheBitmap) {
  this->cree(1);
  liberation_carte();
  EXPECT_EQ(cree_dossier(nom_item("a"), kIdRacine), 0U);
  support().lecture_seule = true;
  EXPECT_FALSE(chargement_carte());
  EXPECT_EQ(this->ajoute(kIdRacine, "a", "x"), 0U);
  EXPECT_EQ(nom_volume_change(nom_item("a")), 0);
}

// A process that ends between two calls: the disk as it is then mounts, and its bitmap does not offer blocks
// that a file has.
TYPED_TEST(Edition, LeavesAVolumeThatMountsAtAnyMoment) {
  this->cree(2);
  const std::string nom(TypeParam::kPlus ? 180 : 20, 'n');
  for (int i = 0; i < 700; ++i) {
    const std::string contenu = "contenu " + std::to_string(i);
    if (this->ajoute(kIdRacine, std::to_string(i) + nom, contenu) == 0) break;
    if (i % 50 != 0) continue;
    this->ops.erreurs.clear();
    liberation_carte();
    this->monte();
    NouveauFichier f;
    EXPECT_NE(this->ajoute(kIdRacine, "apres" + std::to_string(i), "apres"), 0U);
    const auto lu = this->lit();
    for (const std::string &faute : lu.fautes.liste())
      EXPECT_TRUE(faute.find("two owners") == std::string::npos && faute.find("catalog") == std::string::npos)
          << faute;
    const auto *o = lu.trouve(std::to_string(i) + nom);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(lu.contenu(outils::Octets{std::span<const std::uint8_t>(this->image())}, o->data), contenu);
  }
}

// --- HFS alone

class EditionHfs : public Edition<SurHfs> {};

TEST_F(EditionHfs, TakesRunsByTheRuleOfTen) {
  this->cree(1);
  const std::uint32_t fin = 2048;
  const SuiteBlocs tout = *alloue_hfs(fin - 512);
  EXPECT_EQ(tout.debut, 512U);
  libere_suite({600, 5});
  libere_suite({700, 3});
  libere_suite({800, 30});
  libere_extents_hfs({});  // the hint goes to 0
  const auto trente = alloue_hfs(30);
  ASSERT_TRUE(trente.has_value());
  EXPECT_EQ(trente->debut, 800U);
  libere_extents_hfs({});
  EXPECT_EQ(alloue_hfs(3)->debut, 600U);  // the first run that is long enough
  libere_suite({600, 3});
  libere_extents_hfs({});
  EXPECT_FALSE(alloue_hfs(9).has_value());  // 5 and 3 are left: too short to be used
  EXPECT_TRUE(montre("Not enough free space"));
  EXPECT_EQ(alloue_hfs(5)->debut, 600U);
}

TEST_F(EditionHfs, RenamesByMask) {
  this->cree(1);
  for (const char *nom : {"file1", "file2", "other"}) EXPECT_NE(ajoute(kIdRacine, nom, "x"), 0U);
  EXPECT_EQ(renomme_masque("file*", "filex*", kIdRacine), 1);
  for (const char *nom : {"filex1", "filex2", "other"}) EXPECT_EQ(existe(nom_item(nom), kIdRacine), 2) << nom;
  EXPECT_EQ(renomme_masque("filex*", "seul", kIdRacine), 1);
  EXPECT_EQ(existe(nom_item("filex2"), kIdRacine), 2);
  EXPECT_EQ(renomme_masque("absent*", "y*", kIdRacine), 0);
  EXPECT_EQ(fautes(), "");
}

TEST_F(EditionHfs, EditsGenericSignatures) {
  this->cree(1);
  for (int i = 0; i < 12; ++i) EXPECT_NE(ajoute(kIdRacine, "f" + std::to_string(i), "x"), 0U);
  AttributsItem generique;
  generique.createur = {'?', '?', '?', '?'};
  for (int i = 0; i < 6; ++i)
    EXPECT_EQ(change_attributs(nom_item("f" + std::to_string(i)), kIdRacine, generique), 1);
  int dialogues = 0;
  const auto dialogue = [&](std::string_view, const Signature &) -> std::optional<ReponseSignature> {
    (void)existe(nom_item("f9"), kIdRacine);  // a dialog may look at the volume
    return ReponseSignature{{'A', 'B', 'C', 'D', 'e', 'f', 'g', 'h'}, ++dialogues == 2};
  };
  EXPECT_EQ(edite_signatures(dialogue), 6);
  EXPECT_EQ(dialogues, 2);
  EXPECT_EQ(ops.questions, 2);
  EXPECT_EQ(fautes(), "");
}

TEST_F(EditionHfs, RefusesABitmapThatHasNoPlace) {
  this->cree(1);
  liberation_carte();
  volume_courant().mdb->drVBMSt = std::uint16_t{40};  // behind drAlBlSt
  EXPECT_FALSE(chargement_carte());
  EXPECT_TRUE(montre("allocation table"));
}

// --- HFS+ alone

class EditionHfsPlus : public Edition<SurHfsPlus> {};

TEST_F(EditionHfsPlus, TakesRunsLongerThanAnEighth) {
  this->cree(2);
  const std::uint32_t hint = volume_courant().vhb->nextAllocation;
  (void)alloue_hfsplus(blocs_libres());
  libere_extents_hfsplus({ExtentPlus{hint + 16, 12U}, ExtentPlus{hint + 64, 13U}});
  EXPECT_EQ(std::uint32_t{volume_courant().vhb->nextAllocation}, hint + 16);
  const auto suite = alloue_hfsplus(100);
  ASSERT_TRUE(suite.has_value());
  EXPECT_EQ(suite->debut, hint + 64);  // 12 is no more than 100 / 8
  EXPECT_EQ(suite->nombre, 13U);
  EXPECT_EQ(std::uint32_t{volume_courant().vhb->nextAllocation}, hint + 16)
      << "only a first try moves the hint";
}

TEST_F(EditionHfsPlus, NeverGivesOutBlocksOfItsOwnFiles) {
  this->cree(1);
  volume_courant().vhb->nextAllocation = 0U;  // as another system might leave it
  EXPECT_NE(ajoute(kIdRacine, "a", std::string(20000, 'x')), 0U);
  EXPECT_EQ(fautes(), "");
}

TEST_F(EditionHfsPlus, RemovesItsWorkFile) {
  this->cree(1);
  const std::string chemin = carte_allocation().chemin;
  EXPECT_TRUE(plateforme::existe(chemin));
  liberation_carte();
  EXPECT_FALSE(plateforme::existe(chemin));
}

}  // namespace
}  // namespace varnion::essai
