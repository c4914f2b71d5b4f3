#include <cstdlib>
#include <filesystem>

#include "image_essai.hpp"
#include "outils/carte.hpp"
#include "outils/programmes.hpp"

// New images, their layout, and other programs' opinion of them.

namespace varnion::essai {
namespace {

class Creation : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&ops);
    dossier = std::filesystem::temp_directory_path() / ("varnion-creation-" + std::to_string(::getpid()));
    std::filesystem::create_directories(dossier);
  }
  void TearDown() override {
    liberation_carte();
    support().image = {};
    brancher_operations(nullptr);
    plateforme::vide_dossier_temporaire();
    std::filesystem::remove_all(dossier);
    EtatProgramme::courant().reinitialise();
  }
  std::string chemin(const std::string &nom) { return (dossier / nom).string(); }

  bool cree(const std::string &nom, bool hfsplus, std::uint32_t taille_mo, const std::string &label,
            bool tout = false) {
    Fichier fichier = plateforme::ouvre(chemin(nom), Ouverture::creation);
    ParametresImage p;
    p.fichier = &fichier;
    p.nom = label;
    p.taille_mo = taille_mo;
    p.hfsplus = hfsplus;
    p.tout_effacer = tout;
    return creation_image(p);
  }
  void monte(const std::string &nom, std::uint64_t debut) {
    support().image = plateforme::ouvre(chemin(nom), Ouverture::lecture_ecriture);
    support().entree_driver = support().entree_driver_carte = driver_fichier;
    vide_cache();
    volume_courant().debut_allocation = debut;
    lecture_entete_volume();
    ouverture_arbres();
    ASSERT_TRUE(chargement_carte());
  }
  void demonte() {
    EXPECT_TRUE(ecriture_structures());
    liberation_carte();
    support().image = {};
  }
  // hfsutils keep their state in the home folder.
  outils::Sortie hfsutils(const std::string &commandes) {
    return outils::lance("export HOME=" + outils::cite(dossier.string()) + "; cd " +
                         outils::cite(dossier.string()) + "; " + commandes);
  }
  static std::string octets_hasard(std::size_t n, unsigned graine) {
    std::string texte(n, ' ');
    for (char &c : texte) c = static_cast<char>((graine = graine * 1103515245U + 12345U) >> 16);
    return texte;
  }
  static SourceFourche source(const std::string &octets) {
    return source_octets({reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size()});
  }
  static std::string contenu(const std::string &chemin) {
    const auto octets = outils::lit_fichier(chemin);
    return {octets.begin(), octets.end()};
  }

  OperationsVolume ops;
  std::filesystem::path dossier;
};

TEST_F(Creation, LaysHfsOutByItsSize) {
  for (const auto &[mo, bloc] : {std::pair{1U, 512U}, {7U, 512U}, {8U, 1024U}, {64U, 8192U}, {700U, 89600U}}) {
    const PlanImage plan = calcul_hfs(mo);
    EXPECT_EQ(plan.taille_bloc, bloc) << mo;
    EXPECT_EQ(plan.nb_blocs, mo * 2048 / (bloc / 512)) << mo;
  }
  EXPECT_EQ(calcul_hfs(1).nb_blocs, 2048U);
  EXPECT_EQ(calcul_hfsplus(700).nb_blocs, 358400U);
  EXPECT_EQ(calcul_hfsplus(700).blocs_carte, 44U);  // twice what the bits need
}

TEST_F(Creation, WritesAMapAndAVolume) {
  for (const bool plus : {false, true}) {
    SCOPED_TRACE(plus);
    ASSERT_TRUE(cree("v", plus, 5, "", plus));
    const auto octets = outils::lit_fichier(chemin("v"));
    const outils::Octets image{std::span<const std::uint8_t>(octets)};
    const outils::CarteLue carte = outils::lit_carte(image);
    EXPECT_EQ(carte.fautes.texte(), "");
    ASSERT_EQ(carte.partitions.size(), 2U);
    EXPECT_EQ(carte.partitions[0].nom, std::string("Varnion - ") + VARNION_VERSION);
    EXPECT_EQ(carte.partitions[0].nombre, plus ? 63U : 2U);
    EXPECT_EQ(carte.partitions[1].nom, plus ? "Untitled" : "MacOS");
    EXPECT_EQ(carte.partitions[1].statut, plus ? 0x40000033U : 0x13U);
    EXPECT_EQ(carte.partitions[1].debut, plus ? 64U : 96U);
    EXPECT_EQ(carte.partitions[1].nombre, 5U * 2048);
    EXPECT_EQ(image.texte(0x8001, 5) == "CD001", !plus);
    const outils::Octets entete = image.partie(carte.partitions[1].debut * 512 + 1024, 512);
    if (plus) {
      EXPECT_EQ(entete.be32(0x30), 2560U - (1 + 32 + 256 + 2));
      EXPECT_EQ(entete.be32(0x34), 1U + 32 + 256 + 1);
      EXPECT_EQ(image.be32((64 + 4 * (1 + 1 + 32)) * 512 + 36), 256U) << "nodes counted as blocks";
      EXPECT_EQ(image.texte((64 + 5 * 2048 - 2) * 512, 2), "H+");
      EXPECT_TRUE(image.rempli((64 + 4) * 512, 8, 0xFF));
      EXPECT_EQ(image.u8((64 + 4) * 512 + 8), 0);
    } else {
      EXPECT_EQ(entete.be16(0x12), 10240U);
      EXPECT_EQ(entete.be16(0x22), 10240U - 512);
      EXPECT_EQ(entete.be32(0x1E), 17U);
      EXPECT_EQ(entete.be16(0x10), 512U);
      EXPECT_EQ(outils::lit_hfs(image, 96 * 512, (19 + 10240 + 2) * 512).fautes.texte(), "");
    }
    EXPECT_EQ(entete.partie(plus ? 0x68 : 0x74, 4).be32(0),
              outils::Octets(entete).partie(plus ? 0x6C : 0x78, 4).le32(0));
  }
}

TEST_F(Creation, RefusesSizesThatDoNotFit) {
  EXPECT_FALSE(cree("v", false, 0, "a"));
  EXPECT_FALSE(cree("v", false, kTailleMoMax + 1, "a"));
  EXPECT_EQ(ops.erreurs.size(), 2U);
}

TEST_F(Creation, HfsutilsReadWhatWasCreatedAndEdited) {
  ASSERT_TRUE(cree("v", false, 8, "Disque"));
  monte("v", 96);
  std::map<std::string, std::string> attendus;
  const std::uint32_t dedans = cree_dossier(nom_item("Dossier"), kIdRacine);
  for (unsigned i = 0; i < 300; ++i) {
    const std::string nom = "fichier" + std::to_string(i);
    const std::string data = octets_hasard(i * 37 % 5000, i);
    ASSERT_NE(insere_fichier(i % 2 == 0 ? kIdRacine : dedans, nom_item(nom), {}, source(data), source("")),
              0U);
    attendus[(i % 2 == 0 ? "" : "Dossier:") + nom] = data;
  }
  for (unsigned i = 0; i < 300; i += 3) {
    const std::string nom = "fichier" + std::to_string(i);
    ASSERT_EQ(supprime_par_nom(nom_item(nom), i % 2 == 0 ? kIdRacine : dedans), 1);
    attendus.erase((i % 2 == 0 ? "" : "Dossier:") + nom);
  }
  ASSERT_EQ(nom_volume_change(nom_item("Nouveau")), 1);
  demonte();
  const auto montage = hfsutils("hmount v");
  ASSERT_EQ(montage.statut, 0) << montage.texte;
  EXPECT_NE(montage.texte.find("\"Nouveau\""), std::string::npos) << montage.texte;
  const auto liste = hfsutils("hls -1R");
  EXPECT_EQ(liste.statut, 0) << liste.texte;
  std::filesystem::create_directory(dossier / "sortie");
  std::string commandes;
  int n = 0;
  for (const auto &[nom, data] : attendus)
    commandes += "hcopy -r ':" + nom + "' sortie/" + std::to_string(n++) + " && ";
  const auto copie = hfsutils(commandes + "humount");
  ASSERT_EQ(copie.statut, 0) << copie.texte;
  n = 0;
  for (const auto &[nom, data] : attendus)
    EXPECT_EQ(contenu(chemin("sortie/" + std::to_string(n++))), data) << nom;
}

TEST_F(Creation, VolumesOfHfsutilsSurviveEditing) {
  std::ofstream(chemin("source"), std::ios::binary) << octets_hasard(30000, 5);
  std::string commandes = "truncate -s 3M v; hformat -l Autre v; hmkdir :D;";
  for (int i = 0; i < 40; ++i) commandes += "hcopy -r source ':D:f" + std::to_string(i) + "';";
  const auto fait = hfsutils(commandes + "humount");
  ASSERT_EQ(fait.statut, 0) << fait.texte;
  monte("v", 0);
  const std::uint32_t d = cherche_dossier_hfs("D", kIdRacine);
  ASSERT_NE(d, 0U);
  for (int i = 0; i < 40; i += 2) EXPECT_EQ(supprime_par_nom(nom_item("f" + std::to_string(i)), d), 1);
  const std::string neuf = octets_hasard(50000, 9);
  EXPECT_NE(insere_fichier(d, nom_item("neuf"), {}, source(neuf), source("")), 0U);
  EXPECT_EQ(deplace(nom_item("f1"), d, kIdRacine), 1);
  demonte();
  const auto lu = hfsutils(
      "hmount v && hls -1 :D && hcopy -r :D:neuf n && hcopy -r :f1 f1 && hcopy -r :D:f39 f39 && "
      "hcopy -r source :D:encore && hcopy -r :D:encore e && humount");
  ASSERT_EQ(lu.statut, 0) << lu.texte;
  EXPECT_EQ(contenu(chemin("n")), neuf);
  for (const char *nom : {"f1", "f39", "e"})
    EXPECT_EQ(contenu(chemin(nom)), contenu(chemin("source"))) << nom;
  EXPECT_EQ(lu.texte.find("f2\n"), std::string::npos);
}

TEST_F(Creation, ChangesTheSizeOfAnHfsImage) {
  ASSERT_TRUE(cree("v", false, 8, "Taille"));
  monte("v", 96);
  const std::string data = octets_hasard(3000000, 1);
  ASSERT_NE(insere_fichier(kIdRacine, nom_item("gros"), {}, source(data), source("")), 0U);
  EXPECT_EQ(taille_maximale(), 63U);
  EXPECT_FALSE(redimensionne(8, 3));  // the file reaches further
  ASSERT_TRUE(chargement_carte());
  EXPECT_FALSE(redimensionne(8, 64));
  EXPECT_EQ(ops.erreurs.size(), 2U);
  for (const auto &[de, vers] : {std::pair{8U, 20U}, {20U, 5U}}) {
    SCOPED_TRACE(vers);
    ASSERT_TRUE(redimensionne(de, vers));
    support().image = {};
    monte("v", 96);
    if (vers == 20) {
      EXPECT_NE(
          insere_fichier(kIdRacine, nom_item("loin"), {}, source(octets_hasard(9000000, 2)), source("")), 0U);
      EXPECT_EQ(supprime_par_nom(nom_item("loin"), kIdRacine), 1);
    }
    EXPECT_TRUE(ecriture_structures());
    ASSERT_TRUE(chargement_carte());
    const auto octets = outils::lit_fichier(chemin("v"));
    const outils::Octets image{std::span<const std::uint8_t>(octets)};
    EXPECT_EQ(outils::lit_carte(image).partitions[1].nombre, vers * 2048U);
    const outils::VolumeLu lu =
        outils::lit_hfs(image, 96 * 512, (19 + std::uint64_t{vers} * 2048 + 2) * 512, true);
    EXPECT_EQ(lu.fautes.texte(), "");
    ASSERT_NE(lu.trouve("gros"), nullptr);
    EXPECT_EQ(lu.contenu(image, lu.trouve("gros")->data), data);
    EXPECT_EQ(octets.size(), (96 + 19 + vers * 2048U + 2) * 512);
  }
}

}  // namespace
}  // namespace varnion::essai
