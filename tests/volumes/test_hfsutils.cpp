// Volumes written by hfsutils: deep folders, fragmented files with records in the extents tree, long and
// accented names. What hfsutils reads back is what this program must read.

#include <map>
#include <random>

#include "image_essai.hpp"
#include "outils/programmes.hpp"

namespace varnion::essai {
namespace {

using outils::cite;
using outils::lance;

class Hfsutils : public Images {
 protected:
  void formate_volume(int kilooctets) {
    image = bac + "volume";
    std::filesystem::resize_file(image_vide(), static_cast<std::uintmax_t>(kilooctets) * 1024);
    commande("hformat -l Essai " + cite(image));
  }
  void commande(const std::string &texte) {
    const auto sortie = lance("HOME=" + cite(bac) + " " + texte);
    ASSERT_EQ(sortie.statut, 0) << texte << "\n" << sortie.texte;
  }
  void copie(const std::string &nom, const std::string &contenu) {
    pose("source", contenu);
    commande("hcopy -r " + cite(bac + "source") + " " + cite(nom));
    attendus[nom] = contenu;
  }
  void efface(const std::string &nom) {
    commande("hdel " + cite(nom));
    attendus.erase(nom);
  }
  std::string bruit(std::size_t octets) {
    std::string contenu(octets, '\0');
    for (char &c : contenu) c = static_cast<char>(hasard());
    return contenu;
  }
  void compare() {
    commande("humount");
    ASSERT_EQ(ouvrir_partition(image), EtatOuverture::montee);
    for (const auto &[nom, contenu] : attendus) {
      std::string chemin = nom.substr(1);
      std::replace(chemin.begin(), chemin.end(), ':', '/');
      const auto element = element_par_chemin(chemin);
      ASSERT_TRUE(element) << chemin;
      EtatFourche etat{};
      EXPECT_EQ(lit(*element, kFourcheDonnees, &etat), contenu) << chemin;
      EXPECT_EQ(etat, EtatFourche::entiere) << chemin;
    }
  }

  std::string image;
  std::map<std::string, std::string> attendus;  // hfsutils path
  std::mt19937 hasard{20};

 private:
  [[nodiscard]] std::string image_vide() const {
    pose("volume", "");
    return image;
  }
};

TEST_F(Hfsutils, FragmentedFilesComeOutWhole) {
  formate_volume(2400);
  // Small files fill the volume; every other one goes, and large files take the gaps.
  for (int i = 0; i < 120; ++i) copie(":Petit " + std::to_string(i), bruit(15000));
  for (int i = 0; i < 120; i += 2) efface(":Petit " + std::to_string(i));
  for (int i = 0; i < 4; ++i) copie(":Grand " + std::to_string(i), bruit(230000));
  compare();
  EXPECT_GT(volume_courant().extents.fiche().leafRecords, 5U);
  std::size_t morceaux = 0;
  for (int i = 0; i < 4; ++i)
    morceaux +=
        LecteurFourche(*element_par_chemin("Grand " + std::to_string(i)), kFourcheDonnees).extents().size();
  EXPECT_GT(morceaux, 20U);
  EXPECT_EQ(parcourt_tout(), 64);
  EXPECT_EQ(valence(kIdRacine, 0), 64U);
}

TEST_F(Hfsutils, DeepFoldersAndLongNamesAreFound) {
  formate_volume(1600);
  std::string dossier = ":";
  for (int niveau = 0; niveau < 40; ++niveau) {
    dossier += "Dossier de niveau " + std::to_string(100 + niveau) + " abcdefghi";
    commande("hmkdir " + cite(dossier));
    dossier += ":";
    copie(dossier + "f", bruit(10 + static_cast<std::size_t>(niveau)));
  }
  copie(":Trente et un octets, exactement", "a");
  commande("hmkdir " + cite(":\xC9t\xE9 \xE0 la m\xE8re"));  // hfsutils takes Latin-1
  compare();
  EXPECT_EQ(element_par_chemin("Trente et un octets, exactement")->nom_hfs.size(), 31U);
  const auto profond = element_par_chemin(std::string("Dossier de niveau 100 abcdefghi"));
  ASSERT_TRUE(profond);
  std::size_t vus = 0;
  EXPECT_TRUE(parcours_volume([&](const ElementMac &element) {
                const auto chemin = chemin_de(element);
                EXPECT_TRUE(chemin);
                EXPECT_EQ(element_par_chemin(chemin.value_or("?"))->id, element.id);
                ++vus;
                return true;
              }).entier());
  EXPECT_EQ(vus, 83U);
  EXPECT_EQ(parcourt_tout(), 82);
}

}  // namespace
}  // namespace varnion::essai
