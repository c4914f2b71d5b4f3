#include <gtest/gtest.h>

#include "edition_abimee.hpp"
#include "hfs/garde.hpp"
#include "hfs/lecture.hpp"
#include "hfs/zones_iso.hpp"
#include "image_essai.hpp"
#include "petits_blocs.hpp"
#include "res/chaines.hpp"

// What keeps a change from spoiling files: the places of headers, the bounds of map and image, ids, journals,
// damage.

namespace varnion::essai {
namespace {

using Image = std::vector<std::uint8_t>;

class Gardes : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&ops);
  }
  void TearDown() override {
    fermer_partition();
    brancher_operations(nullptr);
    plateforme::vide_dossier_temporaire();
    EtatProgramme::courant().reinitialise();
  }

  void monte(const Image &image) {
    fermer_partition();
    support().image = plateforme::fichier_anonyme();
    support().lecture_seule = Interdit::aucun;
    support().echec_ecriture = 0;
    ops.erreurs.clear();
    ASSERT_TRUE(support().image.ecrire_a(image, 0));
    ASSERT_EQ(analyse_volume(), 1);
  }
  static Image image() {
    Image octets(static_cast<std::size_t>(fichier_taille(support().image)));
    EXPECT_EQ(support().image.lire_a(octets, 0), static_cast<std::int64_t>(octets.size()));
    return octets;
  }
  static std::string contenu(const std::string &chemin) {
    const auto element = element_par_chemin(chemin);
    std::string texte;
    if (!element) return "no such file";
    (void)lit_fourche(*element, kFourcheDonnees, [&](std::span<const std::uint8_t> octets) {
      texte.append(octets.begin(), octets.end());
      return true;
    });
    return texte;
  }
  static std::uint32_t ajoute(const std::string &nom, const std::string &octets) {
    return insere_fichier(
        kIdRacine, nom_item(nom), {},
        source_octets({reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size()}), {});
  }
  static bool marque(const std::string &nom) {
    AttributsItem attributs;
    attributs.drapeaux = 0x4000;
    return change_attributs(nom_item(nom), kIdRacine, attributs) == 1;
  }
  OperationsVolume ops;
};

std::string motif(std::size_t octets, char c) {
  std::string texte(octets, c);
  for (std::size_t i = 0; i < octets; i += 97) texte[i] = static_cast<char>('A' + i % 23);
  return texte;
}

// Small blocks: the header shares its neighbourhood with files, and where the partition is longer than the
// blocks, the last block is a file's.
TEST_F(Gardes, HeadersNeverTouchFilesOfAFullVolume) {
  for (const std::uint32_t taille : {512U, 1024U, 2048U, 4096U}) {
    for (const std::int64_t reste : {std::int64_t{0}, std::int64_t{taille / 512 + 2}}) {
      SCOPED_TRACE(std::to_string(taille) + " bytes, partition longer by " + std::to_string(reste));
      PetitsBlocs p;
      p.taille_bloc = taille;
      p.reste = reste;
      const Image avant = p.image();
      ASSERT_NO_FATAL_FAILURE(monte(avant));
      ASSERT_TRUE(chargement_carte()) << texte_interdit();
      const std::uint32_t devant =
          p.bloc_a(PetitsBlocs::kBitmap) - quotient_haut<std::uint32_t>(1536, taille);
      const std::string premier = motif(std::size_t{devant} * taille, 'f');
      ASSERT_TRUE(devant == 0 || ajoute("front", premier) != 0);
      const std::string dernier = motif(std::size_t{blocs_libres()} * taille, 'l');
      ASSERT_NE(ajoute("last", dernier), 0U);
      ASSERT_EQ(blocs_libres(), 0U);
      ASSERT_TRUE(marque("last"));
      ASSERT_TRUE(ecriture_structures());
      const Image apres = image();
      EXPECT_EQ(apres.size(), avant.size());
      monte(apres);
      EXPECT_TRUE(devant == 0 || contenu("front") == premier);
      EXPECT_TRUE(contenu("last") == dernier);
      EXPECT_TRUE(std::equal(apres.begin(), apres.begin() + PetitsBlocs::kDebut * 512 + 1024, avant.begin()))
          << "map or boot blocks";
      const std::size_t copie = static_cast<std::size_t>(p.place_copie()) * 512;
      EXPECT_EQ(vue<EnteteVolumePlus>(apres, copie)->fileCount, devant != 0 ? 2U : 1U)
          << "the alternate header";
      const auto voisin = static_cast<std::ptrdiff_t>((PetitsBlocs::kDebut + p.partition()) * 512);
      EXPECT_TRUE(std::equal(apres.begin() + voisin, apres.end(), avant.begin() + voisin))
          << "the next partition";
    }
  }
}

// A volume without an alternate header gets one only where nobody has the blocks.
TEST_F(Gardes, AMissingCopyIsMadeWhereItsBlocksAreFree) {
  for (const bool libre : {true, false}) {
    PetitsBlocs p;
    p.copie = false;
    Image octets = p.image();
    const std::size_t carte = PetitsBlocs::kDebut * 512 + PetitsBlocs::kBitmap;
    if (libre)
      for (const std::uint32_t bloc : {p.blocs - 2, p.blocs - 1})
        octets[carte + bloc / 8] &= static_cast<std::uint8_t>(~(0x80 >> bloc % 8));
    const auto copie = static_cast<std::ptrdiff_t>(p.place_copie() * 512);
    std::fill_n(octets.begin() + copie, 512, std::uint8_t{0x77});
    ASSERT_NO_FATAL_FAILURE(monte(octets));
    ASSERT_TRUE(chargement_carte());
    ASSERT_NE(ajoute("a", "x"), 0U);
    ASSERT_TRUE(ecriture_structures());
    const Image apres = image();
    EXPECT_EQ(vue<EnteteVolumePlus>(apres, static_cast<std::size_t>(copie))->signature,
              libre ? kSignatureHfsPlus : 0x7777);
  }
}

// A header that is larger than its partition: the blocks inside are used, nothing behind them is written;
// with blocks in use out there nothing changes at all.
TEST_F(Gardes, WritesEndWithThePartition) {
  PetitsBlocs p;
  p.reste = -50;
  p.copie = false;
  const Image avant = p.image();
  ASSERT_NO_FATAL_FAILURE(monte(avant));
  ASSERT_TRUE(chargement_carte()) << texte_interdit();
  EXPECT_EQ(ajoute("large", motif(std::size_t{blocs_libres()} * 512, 'x')), 0U);
  int fichiers = 0;
  while (fichiers < 2000 && ajoute("f" + std::to_string(fichiers), motif(5 * 512, 'x')) != 0) ++fichiers;
  EXPECT_GT(fichiers, 100);
  ASSERT_TRUE(ecriture_structures());
  const Image apres = image();
  const auto fin = static_cast<std::ptrdiff_t>((PetitsBlocs::kDebut + p.partition()) * 512);
  EXPECT_TRUE(std::equal(apres.begin() + fin, apres.end(), avant.begin() + fin, avant.end()));

  Image pris = avant;
  const std::uint32_t bloc = p.blocs - 20;
  pris[PetitsBlocs::kDebut * 512 + PetitsBlocs::kBitmap + bloc / 8] |=
      static_cast<std::uint8_t>(0x80 >> bloc % 8);
  ASSERT_NO_FATAL_FAILURE(monte(pris));
  EXPECT_EQ(interdit_volume(), Interdit::partition);
  EXPECT_EQ(texte_interdit(), charger_chaine(7862));
  EXPECT_FALSE(chargement_carte());
  EXPECT_EQ(ajoute("a", "x"), 0U);
  EXPECT_TRUE(ecriture_structures());
  EXPECT_TRUE(image() == pris);
}

TEST_F(Gardes, AnImageThatLacksBlocksInUseIsOnlyRead) {
  for (const bool plus : {false, true}) {
    const VolumeSain sain = FabriqueVolume::fabrique(plus);
    ASSERT_FALSE(sain.octets.empty());
    ASSERT_NO_FATAL_FAILURE(monte(sain.octets));
    std::uint64_t fin = 0;
    (void)parcours_volume([&](const ElementMac &element) {
      for (const ExtentMac &extent : element.donnees.extents)
        fin =
            std::max<std::uint64_t>(fin, secteur_de_bloc(std::uint64_t{extent.debut} + extent.nombre) * 512);
      for (const ExtentMac &extent : element.ressources.extents)
        fin =
            std::max<std::uint64_t>(fin, secteur_de_bloc(std::uint64_t{extent.debut} + extent.nombre) * 512);
      return true;
    });
    ASSERT_GT(fin, 100000U);
    for (const std::int64_t manque : {0, 1, 512, 40000}) {
      Image coupe = sain.octets;
      coupe.resize(static_cast<std::size_t>(static_cast<std::int64_t>(fin) - manque));
      ASSERT_NO_FATAL_FAILURE(monte(coupe));
      // A sector that is there in part is there for the reader.
      const bool permis = manque <= 1;
      EXPECT_EQ(interdit_volume(), permis ? Interdit::aucun : Interdit::image_courte) << manque;
      EXPECT_EQ(chargement_carte(), permis) << manque;
      if (permis) continue;
      EXPECT_EQ(supprime_par_nom(nom_item("f1"), kIdRacine), 0);
      EXPECT_TRUE(ecriture_structures());
      EXPECT_TRUE(image() == coupe);
    }
  }
}

// --- ids

template <typename Format>
class Ids : public VolumeEdite<Format> {};
TYPED_TEST_SUITE(Ids, DeuxFormats);

TYPED_TEST(Ids, NoIdIsGivenTwiceWhenTheHeaderIsBehind) {
  this->cree(1);
  std::uint32_t dernier = 0;
  for (int i = 0; i < 60; ++i) dernier = cree_dossier(nom_item("d" + std::to_string(i)), kIdRacine);
  ASSERT_NE(dernier, 0U);
  const std::uint32_t contenu = this->ajoute(dernier, "kept", "x");
  VolumeCourant &volume = volume_courant();
  be32 &prochain = TypeParam::kPlus ? volume.vhb->nextCatalogID : volume.mdb->drNxtCNID;
  prochain = 20U;
  this->remonte();
  const std::uint32_t neuf = cree_dossier(nom_item("new"), kIdRacine);
  EXPECT_GT(neuf, contenu);
  EXPECT_EQ(
      TypeParam::kPlus ? std::uint32_t{volume.vhb->nextCatalogID} : std::uint32_t{volume.mdb->drNxtCNID},
      neuf + 1);
  EXPECT_EQ(supprime_par_nom(nom_item("new"), kIdRacine), 1);
  EXPECT_EQ(existe(nom_item("kept"), dernier), 2);
  // What an extents record is kept for counts as in use, too.
  ASSERT_TRUE(TypeParam::kPlus ? ajoute_extents_hfsplus({300, 1}, 5000, 8, kFourcheDonnees)
                               : ajoute_extents_hfs({300, 1}, 5000, 3, kFourcheDonnees));
  this->remonte();
  EXPECT_EQ(cree_dossier(nom_item("newer"), kIdRacine), 5001U);
}

// A fork in nine pieces needs the extents tree; reading it changes nothing of what may be done.
TEST_F(Gardes, ReadingAForkInManyPiecesLeavesTheVolumeWritable) {
  ASSERT_NO_FATAL_FAILURE(monte(PetitsBlocs{}.image()));
  ASSERT_TRUE(chargement_carte());
  ASSERT_TRUE(ajoute_extents_hfsplus({220, 1}, 17, 8, kFourcheDonnees));
  FourcheMac fourche{std::uint64_t{9} * 512, 0, {}};
  for (std::uint32_t i = 0; i < 8; ++i) fourche.extents[i] = {200 + 2 * i, 1};
  const LecteurFourche lecteur(true, 17, kFourcheDonnees, fourche);
  EXPECT_EQ(lecteur.atteints(), fourche.longueur);
  EXPECT_EQ(interdit_volume(), Interdit::aucun);
  EXPECT_NE(ajoute("a", "x"), 0U);
}

// --- journal

struct CasJournal {
  const char *nom;
  std::uint32_t drapeaux;  // of the info block
  std::uint64_t debut, fin;
  bool petit;  // bytes in the order of Intel
  std::uint32_t marque;
  Interdit interdit;
};

TEST_F(Gardes, AJournalThatIsNotEmptyStopsChanges) {
  constexpr std::uint32_t kJnl = 0x4A4E4C78;
  constexpr std::uint32_t kTaille = 8192;
  const CasJournal cas[] = {
      {"empty, big-endian", 1, 1024, 1024, false, kJnl, Interdit::aucun},
      {"empty, little-endian", 1, 512, 512, true, kJnl, Interdit::aucun},
      {"empty, come round", 1, 512, kTaille, true, kJnl, Interdit::aucun},
      {"to be made", 5, 700, 9000, true, 0, Interdit::aucun},
      {"full, big-endian", 1, 512, 2048, false, kJnl, Interdit::journal_plein},
      {"full, little-endian", 1, 4096, 1024, true, kJnl, Interdit::journal_plein},
      {"on another device", 2, 512, 512, true, kJnl, Interdit::journal_illisible},
      {"no journal there", 1, 512, 512, true, 0x12345678, Interdit::journal_illisible},
      {"offsets outside", 1, 512, 90000, true, kJnl, Interdit::journal_illisible},
  };
  // The two files of the journal are made before the volume has one.
  ASSERT_NO_FATAL_FAILURE(monte(PetitsBlocs{}.image()));
  ASSERT_TRUE(chargement_carte());
  ASSERT_NE(ajoute("front", std::string(5 * 512, 'x')), 0U);
  ASSERT_NE(ajoute(".journal_info_block", std::string(512, '\0')), 0U);
  ASSERT_NE(ajoute(".journal", std::string(kTaille, '\0')), 0U);
  ASSERT_NE(cree_dossier(nom_item("folder"), kIdRacine), 0U);
  const std::uint32_t info = element_par_chemin(".journal_info_block")->donnees.extents[0].debut;
  const std::uint32_t journal = element_par_chemin(".journal")->donnees.extents[0].debut;
  ASSERT_TRUE(ecriture_structures());
  const Image base = image();
  for (const CasJournal &c : cas) {
    SCOPED_TRACE(c.nom);
    Image octets = base;
    const auto place = [](std::uint64_t bloc) {
      return static_cast<std::size_t>((PetitsBlocs::kDebut + bloc) * 512);
    };
    auto &entete = *vue_modifiable<EnteteVolumePlus>(octets, place(2));
    entete.attributes = entete.attributes | 0x2000U;
    entete.journalInfoBlock = info;
    entete.lastMountedVersion = {'H', 'F', 'S', 'J'};
    *vue_modifiable<be32>(octets, place(info)) = c.drapeaux;
    *vue_modifiable<be64>(octets, place(info) + 36) = std::uint64_t{journal} * 512;
    *vue_modifiable<be64>(octets, place(info) + 44) = std::uint64_t{kTaille};
    std::size_t fin = place(journal);
    const auto ecrit = [&](std::uint64_t valeur, std::size_t nombre) {
      for (std::size_t i = 0; i < nombre; ++i)
        octets[fin + i] = static_cast<std::uint8_t>(valeur >> 8 * (c.petit ? i : nombre - 1 - i));
      fin += nombre;
    };
    ecrit(c.marque, 4);
    ecrit(0x12345678, 4);
    ecrit(c.debut, 8);
    ecrit(c.fin, 8);
    ecrit(kTaille, 8);
    ecrit(4096, 4);
    ecrit(0, 4);
    ecrit(512, 4);
    ASSERT_NO_FATAL_FAILURE(monte(octets));
    EXPECT_EQ(interdit_volume(), c.interdit);
    EXPECT_EQ(chargement_carte(), c.interdit == Interdit::aucun);
    if (c.interdit != Interdit::aucun) {
      EXPECT_TRUE(image() == octets);
      continue;
    }
    // The volume is edited; its journal stays where and as it is.
    for (const char *nom : {".journal", ".journal_info_block"}) {
      const NomItem item = nom_item(nom);
      EXPECT_EQ(supprime_par_nom(item, kIdRacine), 0);
      EXPECT_EQ(renomme_par_nom(item, nom_item("x"), kIdRacine), 0);
      EXPECT_EQ(deplace(item, kIdRacine, element_par_chemin("folder")->id), 0);
      EXPECT_NE(echange_fourches(item, kIdRacine), 0);
      reponses_volume() = {2, 2};
      EXPECT_EQ(remplacer_si_existe(item, kIdRacine), -1);
      ASSERT_EQ(ops.erreurs.size(), 5U);
      for (const std::string &erreur : ops.erreurs) EXPECT_EQ(erreur, message(7870, {nom}));
      ops.erreurs.clear();
    }
    EXPECT_NE(ajoute("new", "x"), 0U);
    EXPECT_EQ(supprime_par_nom(nom_item("folder"), kIdRacine), 1);
    ASSERT_TRUE(ecriture_structures());
    const Image apres = image();
    EXPECT_TRUE(std::equal(apres.begin() + static_cast<std::ptrdiff_t>(place(journal)),
                           apres.begin() + static_cast<std::ptrdiff_t>(place(journal)) + kTaille,
                           octets.begin() + static_cast<std::ptrdiff_t>(place(journal))));
    const auto &lu = *vue<EnteteVolumePlus>(apres, place(2));
    EXPECT_EQ(lu.attributes & 0x2000U, 0x2000U);
    EXPECT_NE(lu.lastMountedVersion, (std::array<std::uint8_t, 4>{'H', 'F', 'S', 'J'}))
        << "its old transactions must not pass for newer than the volume";
  }
  // Without a journal these are names like any other.
  ASSERT_NO_FATAL_FAILURE(monte(base));
  ASSERT_TRUE(chargement_carte());
  EXPECT_EQ(supprime_par_nom(nom_item(".journal"), kIdRacine), 1);
}

// --- damage

struct Degat {
  const char *nom;
  void (*abime)(OctetsNoeud feuille);  // the second leaf of the catalog
};

const Degat kDegats[] = {
    {"all zeros", [](OctetsNoeud n) { std::fill(n.begin(), n.end(), std::uint8_t{0}); }},
    {"kind", [](OctetsNoeud n) { n[8] = 0; }},
    {"height", [](OctetsNoeud n) { n[9] = 2; }},
    {"more records than fit", [](OctetsNoeud n) { n[10] = 0x7F; }},
    {"an offset outside", [](OctetsNoeud n) { n[n.size() - 4] = 0xFF; }},
    {"a link out of the tree", [](OctetsNoeud n) { n[0] = 0x10; }},
    {"the chain ends early", [](OctetsNoeud n) { std::fill_n(n.begin(), 4, std::uint8_t{0}); }},
    {"a circle", [](OctetsNoeud n) { std::copy_n(n.begin() + 4, 4, n.begin()); }},
    {"the link back", [](OctetsNoeud n) { n[7] ^= 0x55; }},
    {"a key out of order", [](OctetsNoeud n) { n[14 + 2] = 0x70; }},
};

TEST_F(Gardes, DamagedTreesRefuseChangesUnlessForced) {
  for (const bool plus : {false, true}) {
    const VolumeSain sain = FabriqueVolume::fabrique(plus);
    ASSERT_NO_FATAL_FAILURE(monte(sain.octets));
    ASSERT_TRUE(chargement_carte()) << "as it came: " << texte_interdit();
    const DescripteurArbre &arbre = volume_courant().catalogue;
    const std::uint32_t premiere = arbre.fiche().firstLeafNode;
    const std::uint32_t seconde = entete_noeud(lecture_noeud(premiere))->fLink;
    ASSERT_NE(seconde, 0U);
    const auto place = static_cast<std::size_t>(position_noeud(arbre, seconde)) * 512;
    const std::size_t taille = arbre.taille_noeud;
    for (const Degat &degat : kDegats) {
      SCOPED_TRACE(std::string(plus ? "HFS+, " : "HFS, ") + degat.nom);
      Image octets = sain.octets;
      degat.abime(std::span(octets).subspan(place, taille));
      ASSERT_NO_FATAL_FAILURE(monte(octets));
      EXPECT_EQ(interdit_volume(), Interdit::aucun) << "the trees are not read before they must";
      EXPECT_FALSE(chargement_carte());
      EXPECT_EQ(interdit_volume(), Interdit::catalogue_abime);
      ASSERT_EQ(ops.erreurs.size(), 1U);
      EXPECT_NE(ops.erreurs[0].find(texte_interdit()), std::string::npos) << ops.erreurs[0];
      EXPECT_EQ(ajoute("new", "x"), 0U);
      EXPECT_EQ(supprime_par_nom(nom_item("f1"), kIdRacine), 0);
      EXPECT_TRUE(ecriture_structures());
      EXPECT_TRUE(image() == octets);
      ASSERT_NO_FATAL_FAILURE(monte(octets));
      force_abimes();
      EXPECT_TRUE(chargement_carte());
      EXPECT_GT(dernier_id_pris(), 80U) << "what can be read counts";
      // Another mount is another matter.
      ASSERT_EQ(analyse_volume(), 1);
      EXPECT_FALSE(chargement_carte());
    }
  }
}

TEST_F(Gardes, WhatAListMeetsCountsAsDamage) {
  const VolumeSain sain = FabriqueVolume::fabrique(false);
  ASSERT_NO_FATAL_FAILURE(monte(sain.octets));
  const std::uint32_t seconde =
      entete_noeud(lecture_noeud(volume_courant().catalogue.fiche().firstLeafNode))->fLink;
  Image octets = sain.octets;
  octets[static_cast<std::size_t>(position_noeud(volume_courant().catalogue, seconde)) * 512 + 8] = 0;
  vide_cache();
  ASSERT_NO_FATAL_FAILURE(monte(octets));
  EXPECT_EQ(parcours_volume([](const ElementMac &) { return true; }).etat, EtatParcours::endommage);
  EXPECT_EQ(interdit_volume(), Interdit::catalogue_abime);
  EXPECT_EQ(texte_interdit(), message(7867, {seconde}));
}

TEST_F(Gardes, DamagedExtentsTreesAndCountsRefuseChanges) {
  for (const bool plus : {false, true}) {
    const VolumeSain sain = FabriqueVolume::fabrique(plus);
    ASSERT_NO_FATAL_FAILURE(monte(sain.octets));
    const auto feuille = static_cast<std::size_t>(position_noeud(volume_courant().extents, 1)) * 512;
    Image octets = sain.octets;
    octets[feuille + 8] = 7;
    ASSERT_NO_FATAL_FAILURE(monte(octets));
    EXPECT_FALSE(chargement_carte());
    EXPECT_EQ(interdit_volume(), Interdit::extents_abimes);
    octets = sain.octets;
    const std::size_t entete = sain.zones[0].place;
    for (std::size_t i = 0; i < 2; ++i) octets[entete + (plus ? 0x30 : 0x22) + i] = 0xFF;  // free blocks
    ASSERT_NO_FATAL_FAILURE(monte(octets));
    EXPECT_FALSE(chargement_carte());
    EXPECT_EQ(interdit_volume(), Interdit::comptes_abimes);
  }
}

// --- the ISO side

// An ISO tree of one directory and files whose records lie and run in circles.
TEST_F(Gardes, ZonesOfAnIsoTreeAreFoundWhateverItsRecordsSay) {
  Image octets(std::size_t{200} * 2048);
  const auto secteur = [&](std::size_t n) { return std::span(octets).subspan(n * 2048, 2048); };
  const auto texte = [](std::span<std::uint8_t> s, std::size_t place, std::string_view t) {
    std::copy(t.begin(), t.end(), s.begin() + static_cast<std::ptrdiff_t>(place));
  };
  const auto fiche = [](std::span<std::uint8_t> s, std::size_t place, std::uint32_t extent,
                        std::uint32_t taille, std::uint8_t drapeaux, std::string_view systeme = {}) {
    s[place] = static_cast<std::uint8_t>(34 + systeme.size());
    *vue_modifiable<le32>(s, place + 2) = extent;
    *vue_modifiable<be32>(s, place + 6) = extent;
    *vue_modifiable<le32>(s, place + 10) = taille;
    *vue_modifiable<be32>(s, place + 14) = taille;
    s[place + 25] = drapeaux;
    s[place + 32] = 1;
    s[place + 33] = 'A';
    std::copy(systeme.begin(), systeme.end(), s.begin() + static_cast<std::ptrdiff_t>(place + 34));
    return place + s[place];
  };
  for (const std::uint8_t type : {std::uint8_t{1}, std::uint8_t{255}}) {
    const auto s = secteur(type == 1 ? 16 : 17);
    s[0] = type;
    texte(s, 1, "CD001");
  }
  const auto pvd = secteur(16);
  *vue_modifiable<le16>(pvd, 128) = std::uint16_t{2048};
  *vue_modifiable<le32>(pvd, 132) = 10U;
  *vue_modifiable<le32>(pvd, 140) = 18U;
  *vue_modifiable<be32>(pvd, 148) = 19U;
  (void)fiche(pvd, 156, 20, 4096, 2);
  auto racine = secteur(20);
  std::size_t p = fiche(racine, 0, 20, 4096, 2);  // itself
  p = fiche(racine, p, 20, 0xFFFFFFFF, 2);        // itself, without end
  p = fiche(racine, p, 30, 3000, 0x80);           // the first of two extents
  p = fiche(racine, p, 40, 100, 0);               // the second
  p = fiche(racine, p, 50, 0, 0);                 // an empty file
  p = fiche(racine, p, 190, 0x7FFFFFFF, 0);       // longer than the image
  std::string ce = "CE\x1C\x01" + std::string(24, '\0');
  ce[4] = 60;
  ce[20] = 30;
  p = fiche(racine, p, 70, 2048, 0, ce);                                        // goes on in sector 60
  *vue_modifiable<be32>(racine, fiche(racine, p, 80, 2048, 0) - 34 + 6) = 90U;  // two places
  racine = secteur(21);
  (void)fiche(racine, 0, 100, 2048, 2);  // a directory in the second sector
  (void)fiche(secteur(100), 0, 110, 5, 0);
  support().image = plateforme::fichier_anonyme();
  ASSERT_TRUE(support().image.ecrire_a(octets, 0));
  std::string lues;
  for (const ZoneIso &zone : lit_zones_iso())
    lues += std::to_string(zone.debut / 4) + "-" + std::to_string(zone.fin / 4 - 1) + " ";
  // The endless directory counts to the end of the image: only a size that the image holds frees the rest.
  EXPECT_EQ(lues, "0-199 ");
  racine = secteur(20);
  *vue_modifiable<le32>(racine, 34 + 10) = 4096U;
  *vue_modifiable<be32>(racine, 34 + 14) = 4096U;
  ASSERT_TRUE(support().image.ecrire_a(octets, 0));
  lues.clear();
  for (const ZoneIso &zone : lit_zones_iso())
    lues += std::to_string(zone.debut / 4) + "-" + std::to_string(zone.fin / 4 - 1) + " ";
  EXPECT_EQ(lues, "0-21 30-31 40-40 60-60 70-70 80-80 90-90 100-100 110-110 190-199 ");
  // Without a primary descriptor there is no tree.
  octets[16 * 2048] = 0;
  ASSERT_TRUE(support().image.ecrire_a(octets, 0));
  EXPECT_TRUE(lit_zones_iso().empty());
}

}  // namespace
}  // namespace varnion::essai
