#include <cstdlib>
#include <filesystem>

#include "image_essai.hpp"
#include "outils/carte.hpp"
#include "outils/programmes.hpp"
#include "res/chaines.hpp"

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
  for (const auto &[mo, bloc] :
       {std::pair{1U, 512U}, {7U, 512U}, {8U, 1024U}, {64U, 8192U}, {700U, 89600U}}) {
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

TEST_F(Creation, ToAndFroTheSizeStaysWhatTheMapSays) {
  ASSERT_TRUE(cree("v", false, 100, "Taille"));  // blocks of 25 sectors
  std::uint32_t taille = 100;
  for (const std::uint32_t vers : {97U, 98U, 97U, 100U}) {
    SCOPED_TRACE(vers);
    monte("v", 96);
    EXPECT_EQ(taille_partition_mo(), taille);
    ASSERT_TRUE(redimensionne(taille_partition_mo(), vers));
    taille = vers;
    support().image = {};
    const auto octets = outils::lit_fichier(chemin("v"));
    const outils::Octets image{std::span<const std::uint8_t>(octets)};
    EXPECT_EQ(outils::lit_carte(image).partitions[1].nombre, vers * 2048U);
    EXPECT_EQ(image.be32(4), 96 + vers * 2048U);
    const std::uint32_t blocs = image.be16(98 * 512 + 0x12);
    EXPECT_EQ(blocs, vers * 2048U / 25);
    EXPECT_EQ(image.be16(98 * 512 + 0x22), blocs - 512);
    EXPECT_EQ(octets.size(), std::max(96 + vers * 2048U, 96 + 19 + blocs * 25 + 2) * 512);
  }
}

// What is not the volume's and lies where its end would come.
TEST_F(Creation, WhatLiesBehindThePartitionIsNeverCutOrOverwritten) {
  constexpr std::uint64_t kFin = 96 + 8 * 2048;  // of the partition
  const auto entree = [](std::uint32_t debut, const std::string &type) {
    std::vector<std::uint8_t> secteur(512);
    secteur[0] = 'P';
    secteur[1] = 'M';
    *vue_modifiable<be32>(std::span(secteur), 8) = debut;
    *vue_modifiable<be32>(std::span(secteur), 12) = 2048U;
    std::copy(type.begin(), type.end(), secteur.begin() + 0x30);
    return secteur;
  };
  const auto iso = [](std::uint32_t secteurs) {
    std::vector<std::uint8_t> tete{1, 'C', 'D', '0', '0', '1', 1};
    tete.resize(0x54);
    *vue_modifiable<le32>(std::span(tete), 0x50) = secteurs;
    return tete;
  };
  struct Cas {
    const char *nom;
    std::uint64_t place;
    std::vector<std::uint8_t> octets;
    std::uint32_t vers;
    bool fait;
  };
  const std::vector<std::uint8_t> donnees(3000, 'x');
  const std::vector<Cas> cas{
      {"partition behind, shrink", 3 * 512, entree(kFin + 64, "Apple_HFS"), 6, false},
      {"partition behind, grow", 3 * 512, entree(kFin + 64, "Apple_HFS"), 9, false},
      {"partition inside", 3 * 512, entree(97, "Apple_UNIX_SVR2"), 9, false},
      {"partition in front", 3 * 512, entree(64, "Apple_Driver43"), 9, true},
      {"free space behind", 3 * 512, entree(kFin + 64, "Apple_Free"), 9, true},
      {"bytes behind, shrink", (kFin + 40) * 512, donnees, 6, false},
      {"bytes behind, grow", (kFin + 40) * 512, donnees, 9, false},
      {"bytes far behind, grow", (kFin + 9000) * 512, donnees, 9, true},
      {"zeros behind, grow", (kFin + 40) * 512, std::vector<std::uint8_t>(3000), 9, true},
      {"ISO 9660 over all, shrink", 0x8000, iso(kFin / 4), 6, false},
      {"ISO 9660 in front, shrink", 0x8000, iso(1000), 6, true},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.nom);
    ASSERT_TRUE(cree("v", false, 8, "Derriere"));
    ASSERT_TRUE(plateforme::ouvre(chemin("v"), Ouverture::lecture_ecriture).ecrire_a(c.octets, c.place));
    const std::string avant = contenu(chemin("v"));
    ops.erreurs.clear();
    monte("v", 96);
    EXPECT_EQ(redimensionne(8, c.vers), c.fait);
    support().image = {};
    const std::string apres = contenu(chemin("v"));
    if (c.fait) {
      const std::string dedans(c.octets.begin(), c.octets.end());
      EXPECT_EQ(apres.substr(c.place, dedans.size()), dedans);
      if (c.vers > 8) {
        EXPECT_GE(apres.size(), avant.size());
      }
    } else {
      EXPECT_TRUE(apres == avant) << "the image has changed";
      EXPECT_EQ(ops.erreurs, std::vector<std::string>{charger_chaine(c.vers < 8 ? 1164 : 1165)});
    }
  }
}

}  // namespace
}  // namespace varnion::essai
