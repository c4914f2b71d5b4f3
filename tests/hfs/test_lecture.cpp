#include "hfs/lecture.hpp"

#include "IO/plateforme.hpp"
#include "volume_essai.hpp"

namespace varnion::essai {
namespace {

struct Suite {
  std::uint32_t fichier;
  std::uint8_t fourche;
  std::uint32_t debut;  // block of the fork
  std::vector<ExtentMac> extents;
};

/// A mounted volume whose extents tree is written by hand: a root and leaves of a few records.
template <typename Format>
class Lecture : public VolumeEssai<Format> {
 protected:
  static constexpr std::size_t kTaille = Format::kTailleNoeud;
  static constexpr std::uint32_t kBlocFichiers = 200;
  static constexpr int kParFeuille = Format::kPlus ? 5 : 20;

  static std::vector<std::uint8_t> fiche(const Suite &suite) {
    std::vector<std::uint8_t> octets(Format::kPlus ? 76 : 20);
    if constexpr (Format::kPlus) {
      *vue_modifiable<be16>(octets, 0) = std::uint16_t{10};
      octets[2] = suite.fourche;
      *vue_modifiable<be32>(octets, 4) = suite.fichier;
      *vue_modifiable<be32>(octets, 8) = suite.debut;
    } else {
      octets[0] = 7;
      octets[1] = suite.fourche;
      *vue_modifiable<be32>(octets, 2) = suite.fichier;
      *vue_modifiable<be16>(octets, 6) = static_cast<std::uint16_t>(suite.debut);
    }
    for (std::size_t i = 0; i < suite.extents.size(); ++i) {
      if constexpr (Format::kPlus)
        *vue_modifiable<ExtentPlus>(octets, 12 + 8 * i) = {suite.extents[i].debut, suite.extents[i].nombre};
      else
        *vue_modifiable<ExtentHfs>(octets, 8 + 4 * i) = {static_cast<std::uint16_t>(suite.extents[i].debut),
                                                         static_cast<std::uint16_t>(suite.extents[i].nombre)};
    }
    return octets;
  }
  static void pose_noeud_extents(std::uint32_t numero, std::int8_t genre, std::uint32_t suivant,
                                 const std::vector<std::vector<std::uint8_t>> &fiches) {
    std::vector<std::uint8_t> octets(kTaille);
    auto &tete = *vue_modifiable<EnteteNoeud>(octets, 0);
    tete.fLink = suivant;
    tete.kind = genre;
    tete.height = genre == kNoeudFeuille ? 1 : 2;
    tete.numRecords = static_cast<std::uint16_t>(fiches.size());
    std::size_t place = 14, entree = kTaille - 2;
    for (const auto &fiche : fiches) {
      *vue_modifiable<be16>(octets, entree) = static_cast<std::uint16_t>(place);
      entree -= 2;
      std::copy(fiche.begin(), fiche.end(), octets.begin() + static_cast<std::ptrdiff_t>(place));
      place += fiche.size();
    }
    *vue_modifiable<be16>(octets, entree) = static_cast<std::uint16_t>(place);
    const auto secteurs = static_cast<std::uint32_t>(kTaille / kTailleSecteur);
    medium().ecrit(secteur_de_bloc(kBlocExtents) + std::uint64_t{numero} * secteurs, secteurs, octets.data());
  }
  /// In the order given: a tree whose records are not in order is a damaged one.
  void pose_extents(const std::vector<Suite> &suites) {
    this->construit(40);
    std::vector<std::vector<std::uint8_t>> racine, feuille;
    std::uint32_t numero = 2;
    for (std::size_t i = 0; i < suites.size(); ++i) {
      feuille.push_back(fiche(suites[i]));
      const bool derniere = i + 1 == suites.size();
      if (feuille.size() < kParFeuille && !derniere) continue;
      const std::size_t cle = Format::kPlus ? 12 : 8;
      racine.emplace_back(feuille.front().begin(),
                          feuille.front().begin() + static_cast<std::ptrdiff_t>(cle));
      racine.back().resize(cle + 4);
      *vue_modifiable<be32>(racine.back(), cle) = numero;
      pose_noeud_extents(numero, kNoeudFeuille, derniere ? 0 : numero + 1, feuille);
      feuille.clear();
      ++numero;
    }
    pose_noeud_extents(1, kNoeudIndex, 0, racine);
    FicheEnteteArbre &entete = volume_courant().extents.fiche();
    entete.rootNode = 1;
    entete.firstLeafNode = 2;
    entete.totalNodes = numero;
    volume_courant().extents.noeud = 0;
    oublie_index_extents();
  }
  /// Each block of the medium holds its number.
  static void remplit_blocs(std::uint32_t nombre) {
    for (std::uint32_t bloc = kBlocFichiers; bloc < kBlocFichiers + nombre; ++bloc) {
      std::vector<std::uint8_t> octets(kTailleBloc);
      for (std::size_t i = 0; i < octets.size(); i += 4) *vue_modifiable<be32>(octets, i) = bloc;
      medium().ecrit(secteur_de_bloc(bloc), kTailleBloc / kTailleSecteur, octets.data());
    }
  }
  static ElementMac element(std::uint64_t longueur, const std::vector<ExtentMac> &extents) {
    ElementMac element;
    element.hfsplus = Format::kPlus;
    element.id = 77;
    element.ressources.longueur = longueur;
    std::copy(extents.begin(), extents.end(), element.ressources.extents.begin());
    return element;
  }
  // Block numbers that came out, one for each block begun.
  static std::vector<std::uint32_t> blocs(const ElementMac &element, ResultatFourche &resultat) {
    std::vector<std::uint8_t> octets;
    resultat = lit_fourche(element, kFourcheRessources, [&](std::span<const std::uint8_t> lus) {
      octets.insert(octets.end(), lus.begin(), lus.end());
      return true;
    });
    EXPECT_EQ(octets.size(), resultat.octets);
    std::vector<std::uint32_t> numeros;
    for (std::size_t i = 0; i + 4 <= octets.size(); i += kTailleBloc)
      numeros.push_back(*vue<be32>(octets, i));
    return numeros;
  }
  static constexpr std::uint32_t kBase = kBlocFichiers;

  static std::vector<Suite> beaucoup() {
    std::vector<Suite> suites;
    for (std::uint32_t f = 0; f < 4 * kParFeuille; ++f)
      suites.push_back({100 + f, kFourcheDonnees, 8, {{kBase + f, 1}}});
    return suites;
  }
};

using Formats = ::testing::Types<FormatHfs, FormatPlus<512>, FormatPlus<4096>>;
TYPED_TEST_SUITE(Lecture, Formats);

TYPED_TEST(Lecture, FollowsAForkThroughItsRecords) {
  constexpr std::uint32_t b = TestFixture::kBase;
  std::vector<ExtentMac> debut;
  std::vector<std::uint32_t> attendus;
  const std::size_t places = TypeParam::kPlus ? 8 : 3;
  for (std::size_t i = 0; i < places; ++i) {
    debut.push_back({b + 20 - 2 * static_cast<std::uint32_t>(i), 1});
    attendus.push_back(debut.back().debut);
  }
  const auto n = static_cast<std::uint32_t>(places);
  this->pose_extents({{77, 0, n, {{b + 60, 9}}},
                      {77, kFourcheRessources, n, {{b + 30, 3}, {b + 33, 1}, {b + 40, 1}}},
                      {78, kFourcheRessources, n, {{b + 70, 9}}}});
  this->remplit_blocs(100);
  attendus.insert(attendus.end(), {b + 30, b + 31, b + 32, b + 33, b + 40});
  ResultatFourche resultat;
  const std::uint64_t longueur = (n + 4) * std::uint64_t{kTailleBloc} + 100;
  ElementMac element = this->element(longueur, debut);
  EXPECT_EQ(this->blocs(element, resultat), attendus);
  EXPECT_TRUE(resultat.entiere());
  EXPECT_EQ(resultat.octets, longueur);
  EXPECT_FALSE(support().lecture_seule) << "a read changes nothing of what may be done";
  // Any piece of it, over the borders of extents.
  const LecteurFourche fourche(element, kFourcheRessources);
  std::vector<std::uint8_t> piece(2 * kTailleBloc);
  EXPECT_EQ(fourche.lire(piece, (n - 1) * std::uint64_t{kTailleBloc} + 8), piece.size());
  EXPECT_EQ(*vue<be32>(piece, 0), attendus[n - 1]);
  EXPECT_EQ(*vue<be32>(piece, kTailleBloc), b + 30);
  EXPECT_EQ(fourche.lire(piece, longueur - 60), 60U);
  EXPECT_EQ(fourche.lire(piece, longueur), 0U);
  // One byte more than the extents reach: what there is, and the result says so.
  element.ressources.longueur = (n + 5) * std::uint64_t{kTailleBloc} + 1;
  EXPECT_EQ(this->blocs(element, resultat), attendus);
  EXPECT_EQ(resultat.etat, EtatFourche::courte);
}

TYPED_TEST(Lecture, EndsAtAHoleAndWithTheReceiver) {
  constexpr std::uint32_t b = TestFixture::kBase;
  this->pose_extents({{77, kFourcheRessources, 2, {{b + 9, 1}}}});
  this->remplit_blocs(20);
  ResultatFourche resultat;
  const ElementMac trou = this->element(3 * kTailleBloc, {{b, 2}, {0, 0}, {b + 5, 1}});
  EXPECT_EQ(this->blocs(trou, resultat), (std::vector<std::uint32_t>{b, b + 1}));
  EXPECT_EQ(resultat.etat, EtatFourche::courte);
  EXPECT_FALSE(support().lecture_seule);
  EXPECT_EQ(lit_fourche(trou, kFourcheRessources, [](auto) { return false; }).etat, EtatFourche::puits);
  EXPECT_TRUE(
      lit_fourche(this->element(0, {{b, 1}}), kFourcheRessources, [](auto) { return false; }).entiere());
  const ElementMac immense = this->element(~std::uint64_t{0}, {{b, 1}});
  EXPECT_EQ(this->blocs(immense, resultat), (std::vector<std::uint32_t>{b}));
}

TYPED_TEST(Lecture, CopiesToAFile) {
  constexpr std::uint32_t b = TestFixture::kBase;
  this->pose_extents({});
  this->remplit_blocs(400);
  const Fichier flux = plateforme::fichier_anonyme();
  ResultatFourche resultat;
  const std::uint32_t longueur = 300 * kTailleBloc + 5;  // more than one read
  if constexpr (TypeParam::kPlus) {
    FourchePlus fourche{};
    fourche.extents[0] = {b, 301};
    resultat = lecture_fourche_hfsplus(flux, fourche, longueur, 77, kFourcheDonnees);
  } else {
    ExtentsHfs morceaux{};
    morceaux[0] = {static_cast<std::uint16_t>(b), 301};
    resultat = lecture_fourche_hfs(flux, morceaux, longueur, 77, kFourcheDonnees);
  }
  EXPECT_TRUE(resultat.entiere());
  ASSERT_EQ(fichier_taille(flux), longueur);
  std::vector<std::uint8_t> octets(longueur);
  ASSERT_EQ(flux.lire_a(octets, 0), longueur);
  for (std::uint32_t i = 0; i < 300; ++i) ASSERT_EQ(*vue<be32>(octets, i * kTailleBloc), b + i);
  EXPECT_TRUE(lecture_secteurs(flux, secteur_de_bloc(b), 700).entiere());
  EXPECT_EQ(fichier_taille(flux), longueur + 700);
}

TYPED_TEST(Lecture, WritesAFileToSectors) {
  this->pose_extents({});
  const Fichier flux = plateforme::fichier_anonyme();
  std::string contenu(70 * std::size_t{kTailleSecteur} + 100, 'x');
  contenu[0] = 'a';
  contenu.back() = 'z';
  ASSERT_TRUE(fichier_puts(contenu, flux));
  ASSERT_TRUE(fichier_debut(flux));
  ASSERT_TRUE(ecriture_secteurs(flux, 5000, 71));
  const auto octets = medium().octets(5000, 72);
  EXPECT_EQ(octets[0], 'a');
  EXPECT_EQ(octets[contenu.size() - 1], 'z');
  EXPECT_EQ(octets[71 * std::size_t{kTailleSecteur}], 0);  // not one sector more
}

// Sectors asked of the medium, to tell a descent from a scan.
struct Compteur {
  std::uint64_t requetes = 0;
  EntreeDriver dessous = nullptr;
};
int driver_compteur(RequeteIO &requete) {
  ++etat<Compteur>().requetes;
  return etat<Compteur>().dessous(requete);
}

std::uint32_t premier_bloc(bool hfsplus, std::uint32_t fichier) {
  ExtentsHfs hfs{};
  ExtentsPlus plus{};
  if (hfsplus && extents_suivants_hfsplus(plus, fichier, 8, 0) != nullptr) return plus[0].startBlock;
  if (!hfsplus && extents_suivants_hfs(hfs, fichier, 8, 0) != nullptr) return hfs[0].startBlock;
  return 0;
}

TYPED_TEST(Lecture, FindsRecordsWithoutReadingTheWholeTree) {
  const auto suites = this->beaucoup();
  this->pose_extents(suites);
  auto &compteur = etat<Compteur>();
  compteur.dessous = std::exchange(support().entree_driver, driver_compteur);
  for (std::size_t i = suites.size(); i-- > 0;)
    EXPECT_EQ(premier_bloc(TypeParam::kPlus, suites[i].fichier), suites[i].extents[0].debut);
  EXPECT_LE(compteur.requetes, 3 * suites.size() + 10);
  // Of files that are not there only the first costs a pass over the leaves.
  compteur.requetes = 0;
  for (std::uint32_t f = 0; f < 100; ++f) EXPECT_EQ(premier_bloc(TypeParam::kPlus, 50000 + f), 0U);
  EXPECT_LE(compteur.requetes, 100U * 3 + 30);
}

TYPED_TEST(Lecture, FindsRecordsOfATreeOutOfOrder) {
  auto suites = this->beaucoup();
  std::reverse(suites.begin(), suites.end());
  this->pose_extents(suites);
  for (const Suite &suite : suites)
    EXPECT_EQ(premier_bloc(TypeParam::kPlus, suite.fichier), suite.extents[0].debut);
  EXPECT_EQ(premier_bloc(TypeParam::kPlus, 99), 0U);
}

}  // namespace
}  // namespace varnion::essai
