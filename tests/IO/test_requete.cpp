#include "IO/requete.hpp"

#include <cerrno>
#include <limits>
#include <vector>

#include "IO/bac.hpp"

namespace varnion {
namespace {

using essai::fichier_de;
using essai::tout;

class Requetes : public ::testing::Test {
 protected:
  void SetUp() override { EtatProgramme::courant().reinitialise(); }
  void TearDown() override { EtatProgramme::courant().reinitialise(); }

  static int passe(std::uint32_t operation, std::vector<std::uint8_t> &tampon, std::uint64_t position) {
    RequeteIO requete;
    requete.operation = operation;
    requete.nb_secteurs = static_cast<std::uint32_t>(tampon.size() / kTailleSecteur);
    requete.position = position;
    requete.tampon = tampon.data();
    return driver_fichier(requete);
  }
};

TEST_F(Requetes, VerdictDuDriver) {
  std::vector<std::uint8_t> un(512);
  EXPECT_EQ(passe(kOperationLire, un, 0), -1) << "no image is open";
  support().image = fichier_de(std::string(512 * 512, 'i'));
  std::vector<std::uint8_t> beaucoup(512 * 512);
  EXPECT_EQ(passe(kOperationLire, beaucoup, 0), 0);
  EXPECT_EQ(passe(kOperationLire, un, 0), 1);
  EXPECT_EQ(un[511], 'i');
  std::vector<std::uint8_t> autre(512, 7);
  EXPECT_EQ(passe(0x12, autre, 0), 1) << "neither read nor write: no transfer";
  EXPECT_EQ(autre[0], 7);
  std::vector<std::uint8_t> vide;
  EXPECT_EQ(passe(kOperationLire, vide, 0), 0);
}

TEST_F(Requetes, AuDelaDeLaFin) {
  support().image = fichier_de(std::string(700, 'i'));
  std::vector<std::uint8_t> tampon(1024, 7);
  passe(kOperationLire, tampon, 1);
  EXPECT_EQ(tampon[187], 'i');
  EXPECT_EQ(tampon[188], 7) << "what the file does not hold stays";
  std::vector<std::uint8_t> intact(512, 7);
  for (const std::uint64_t position :
       {std::uint64_t{2}, std::uint64_t{1} << 40, std::numeric_limits<std::uint64_t>::max()}) {
    passe(kOperationLire, intact, position);
    EXPECT_EQ(intact, std::vector<std::uint8_t>(512, 7)) << position;
  }
  EXPECT_EQ(support().echec_ecriture, 0);
  passe(kOperationEcrire, intact,
        std::uint64_t{1} << 55);  // 2^64 bytes: must not wrap to the start of the file
  EXPECT_EQ(support().echec_ecriture, EFBIG);
  EXPECT_EQ(tout(support().image), std::string(700, 'i'));
}

TEST_F(Requetes, EcritureEtEchec) {
  support().image = fichier_de("");
  const std::vector<std::uint8_t> donnees(1024, 'w');
  ecrit_secteurs(donnees.data(), 3, 2);
  EXPECT_EQ(tout(support().image), std::string(1536, '\0') + std::string(1024, 'w'));
  std::vector<std::uint8_t> relu(1024);
  lit_secteurs(relu.data(), 3, 2);
  EXPECT_EQ(relu, donnees);
  EXPECT_EQ(support().echec_ecriture, 0);
  support().image = Fichier(::open("/dev/full", O_RDWR | O_CLOEXEC));
  ecrit_secteurs(donnees.data(), 0, 1);
  EXPECT_EQ(support().echec_ecriture, ENOSPC);
}

TEST_F(Requetes, UnAutreDriverPrendLaPlace) {
  static RequeteIO vue;
  support().unite_courante = 3;
  support().entree_driver = [](RequeteIO &requete) {
    vue = requete;
    return 0;
  };
  std::uint8_t tampon[1024];
  lit_secteurs(tampon, 77, 2);
  EXPECT_EQ(vue.operation, kOperationLire);
  EXPECT_EQ(vue.unite, 3U);
  EXPECT_EQ(vue.position, 77U);
  EXPECT_EQ(vue.nb_secteurs, 2U);
  EXPECT_EQ(vue.tampon, tampon);
}

std::string image(std::string_view debut, int type_mbr = -1, bool koly = false, std::size_t taille = 2048) {
  std::string contenu(taille, '\0');
  contenu.replace(0, debut.size(), debut);
  if (type_mbr >= 0) {
    contenu[0x1C2] = static_cast<char>(type_mbr);
    contenu[510] = '\x55';
    contenu[511] = '\xAA';
  }
  if (koly) contenu.replace(taille - 512, 4, "koly");
  return contenu;
}

TEST_F(Requetes, TypeImage) {
  std::string sans_marque = image("", 0xEE);
  sans_marque[511] = '\0';
  const std::pair<std::string, int> cas[] = {
      {image(""), kImageSimple},
      {image("PM"), kImagePM},
      {image("BZ"), kImageBZ},
      {image("x"), kImageZlib},
      {image("sp"), kImageEparse},
      {image("ER"), kImageSimple},
      {image("", 0xEE), kImageGpt},
      {image("", 0xAF), kImageMbr},
      {image("", 0x0B), kImageSimple},
      {sans_marque, kImageSimple},
      {image("xy", 0xEE), kImageZlib},
      {image("ER", 0xEE), kImageSimple},
      {image("ER", 0xEE, true), kImageKoly},
      {image("BX", 0xAF), kImageMbr},
      {image("", -1, true), kImageKoly},
      {image("", 0x0B, true), kImageKoly},
      {image("", 0xAF, true), kImageMbr},
      {image("BZ", -1, true), kImageBZ},
      {image("", -1, true, 512), kImageKoly},
      {"koly", kImageSimple},
      {"", kImageSimple},
      {"x", kImageZlib},
      {"P", kImageSimple},
      {"sp", kImageEparse},
  };
  for (std::size_t i = 0; i < std::size(cas); ++i) {
    const Fichier fichier = fichier_de(cas[i].first);
    fichier_seek(fichier, 1, 0);
    EXPECT_EQ(type_image(fichier), cas[i].second) << i;
    EXPECT_EQ(fichier_position(fichier), 0) << i;
  }
}

}  // namespace
}  // namespace varnion
