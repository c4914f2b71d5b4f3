// Broken volumes: every listing and reading ends, and what is not whole is not called whole.

#include <random>

#include "fabrique_carte.hpp"
#include "image_essai.hpp"

namespace varnion::essai {
namespace {

class Casses : public Images {
 protected:
  // Opens, walks and reads all that is there; the number of items of the volume walk.
  int use(const std::string &image) {
    if (ouvre(image) != EtatOuverture::montee) return -1;
    int vus = 0;
    static_cast<void>(parcours_volume([&](const ElementMac &element) {
      ++vus;
      lit(element, kFourcheDonnees);
      lit(element, kFourcheRessources);
      static_cast<void>(chemin_de(element));
      return vus < 2000;
    }));
    static_cast<void>(parcourt_tout());
    static_cast<void>(cherche_nom("*"));
    static_cast<void>(element_par_chemin("a/b"));
    return vus;
  }
};

TEST_F(Casses, CutImagesGiveShortForksAndDamagedListings) {
  const std::string entier = echantillon("hfs/simple-gsos.hfs.gz");
  ASSERT_EQ(ouvre(entier), EtatOuverture::montee);
  ASSERT_EQ(parcourt_tout(), 16);
  const auto dernier = element_par_chemin("HardPressed.FXT");
  ASSERT_TRUE(dernier);
  const std::uint64_t place = secteur_de_bloc(dernier->donnees.extents[0].debut) * kTailleSecteur;
  ASSERT_EQ(ouvre(entier.substr(0, place + 1000)), EtatOuverture::montee);
  EtatFourche etat{};
  EXPECT_EQ(lit(*dernier, kFourcheDonnees, &etat), entier.substr(place, 1000));
  EXPECT_EQ(etat, EtatFourche::illisible);
  EXPECT_EQ(parcourt_tout(), -1);
  // Without its catalog the volume lists nothing, and says so.
  ASSERT_EQ(ouvre(entier.substr(0, 4096)), EtatOuverture::montee);
  EXPECT_EQ(liste_dossier(kIdRacine, [](const ElementMac &) { return true; }).etat, EtatParcours::endommage);
  for (std::size_t taille = 0; taille < 40000; taille += 1111) use(entier.substr(0, taille));
}

TEST_F(Casses, ExtentsOutsideTheImageAreNotRead) {
  std::string image = echantillon("hfs/simple-gsos.hfs.gz");
  ASSERT_EQ(ouvre(image), EtatOuverture::montee);
  const auto element = element_par_chemin("HardPressed.FXT");
  ASSERT_TRUE(element);
  const std::string marque =
      gros(element->donnees.extents[0].debut, 2) + gros(element->donnees.extents[0].nombre, 2);
  const std::size_t fiche = image.find(gros(15096, 4));
  const std::size_t place = image.find(marque, fiche);
  ASSERT_LT(place, fiche + 100);
  pose_dans(image, place, gros(0xFFF0, 2));
  ASSERT_EQ(ouvre(image), EtatOuverture::montee);
  EtatFourche etat{};
  EXPECT_EQ(lit(*element_par_chemin("HardPressed.FXT"), kFourcheDonnees, &etat), "");
  EXPECT_EQ(etat, EtatFourche::illisible);
}

TEST_F(Casses, LyingValencesChangeNothing) {
  std::string image = echantillon("hfs/simple-gsos.hfs.gz");
  ASSERT_EQ(ouvre(image), EtatOuverture::montee);
  const auto dossier = element_par_chemin("SIZES");
  ASSERT_TRUE(dossier);
  const std::size_t place = image.find(gros(dossier->valence, 2) + gros(dossier->id, 4));
  ASSERT_NE(place, std::string::npos);
  pose_dans(image, place, gros(60000, 2));
  ASSERT_EQ(ouvre(image), EtatOuverture::montee);
  EXPECT_EQ(element_par_chemin("SIZES")->valence, 60000U);
  EXPECT_EQ(parcourt_tout(), 16);
}

TEST_F(Casses, RandomDamageEnds) {
  std::mt19937 hasard(7);
  for (const char *nom : {"hfs/simple-linux.hfs.gz", "hfsplus/hfsplus_overflow.img.gz",
                          "apm/made_apm_hfs.img.gz", "hfsplus/test-documents.hfsplus.gz"}) {
    const std::string entier = echantillon(nom);
    const std::size_t debut = entier.starts_with("ER") ? 32768 : 1024;
    for (int essai = 0; essai < 60; ++essai) {
      std::string image = entier;
      for (int i = 0; i < 12; ++i) image[debut + hasard() % 60000] = static_cast<char>(hasard());
      use(image);
    }
  }
}

}  // namespace
}  // namespace varnion::essai
