#include <fstream>

#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "fichiers/mode_copie.hpp"
#include "fichiers/polices.hpp"
#include "fichiers/polices_pc.hpp"
#include "fichiers/ressources.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/creation.hpp"
#include "hfs/lecture.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/bac.hpp"
#include "outils/conteneurs.hpp"
#include "outils/operations_script.hpp"

// Questions and their answers, fonts, and files that change under the copy.

namespace varnion {
namespace {

/// Counts the notices that can be silenced; `tait` ticks the box.
struct OperationsScript : essai::OperationsScript {
  std::size_t annonces = 0;
  bool tait = false;
  bool annoncer_retenir(std::string_view /*texte*/) override {
    ++annonces;
    return tait;
  }
};

std::string lit(const Fichier &fichier, PlageFourche plage) {
  std::string texte(static_cast<std::size_t>(plage.longueur), '\0');
  EXPECT_EQ(fichier.lire_a({reinterpret_cast<std::uint8_t *>(texte.data()), texte.size()}, plage.position),
            static_cast<std::int64_t>(texte.size()));
  return texte;
}

std::string police_essai() {
  const Fichier source =
      plateforme::ouvre(VN_DONNEES "/polices/TestTTF-Regular.expected.ttf", Ouverture::lecture);
  return lit(source, {0, static_cast<std::uint64_t>(fichier_taille(source))});
}

class CopieMac : public essai::Bac, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    Bac::SetUp();
    pose("image");
    const Fichier fichier = plateforme::ouvre(bac + "image", Ouverture::lecture_ecriture);
    ParametresImage parametres;
    parametres.fichier = &fichier;
    parametres.nom = "Essai";
    parametres.taille_mo = 4;
    parametres.hfsplus = GetParam();
    ASSERT_TRUE(creation_image(parametres));
    ASSERT_EQ(ouvrir_partition(bac + "image"), EtatOuverture::montee);
    ASSERT_TRUE(chargement_carte());
    brancher_operations(&script);
    options.signature = [](std::string_view) { return std::string("TEXTttxt"); };
    options.numero_police = [this] { return numero++; };
  }
  void TearDown() override {
    brancher_operations(nullptr);
    fermer_partition();
    Bac::TearDown();
  }
  BilanCopieMac copie(const std::vector<std::string> &noms) {
    CopieVersMac copie(options);
    for (const std::string &nom : noms)
      if (!copie.copie_vers_mac(bac + nom, kIdRacine)) break;
    EXPECT_TRUE(ecriture_structures());
    EXPECT_TRUE(chargement_carte());
    return copie.bilan();
  }
  std::string fourche(const std::string &nom, std::uint8_t numero_fourche) {
    const auto element = element_par_chemin(nom);
    EXPECT_TRUE(element) << nom;
    std::string contenu;
    if (!element) return contenu;
    const auto fin = lit_fourche(*element, numero_fourche, [&](std::span<const std::uint8_t> lus) {
      contenu.append(reinterpret_cast<const char *>(lus.data()), lus.size());
      return true;
    });
    EXPECT_TRUE(fin.entiere());
    return contenu;
  }

  OperationsScript script;
  OptionsCopieMac options;
  std::uint16_t numero = kNumeroPoliceDepart;
};

INSTANTIATE_TEST_SUITE_P(Formats, CopieMac, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

// What each answer does with four containers in a row: which were opened, and how many questions it took.
TEST_P(CopieMac, TheFourAnswersAboutContainers) {
  const struct {
    std::deque<int> reponses;
    std::string ouverts;
  } cas[] = {{{1, 1, 1, 1}, "yyyy"}, {{2}, "yyyy"},     {{0, 1, 0, 1}, "nyny"},
             {{-1}, "nnnn"},         {{1, -1}, "ynnn"}, {{0, 2}, "nyyy"}};
  int rang = 0;
  for (const auto &essai : cas) {
    for (const bool hqx : {false, true}) {
      reponses_conteneurs() = {};
      script.reponses = essai.reponses;
      std::string vu;
      for (std::size_t i = 0; i < 4; ++i) {
        outils::FichierMac mac;
        mac.nom = "Inner " + std::to_string(++rang);
        mac.data = "data";
        const std::string nom = "container " + std::to_string(rang);
        pose(nom, hqx ? outils::binhex(mac) : outils::macbinary(mac));
        EXPECT_EQ(copie({nom}).fichiers, 1U);
        vu += element_par_chemin(mac.nom) ? 'y' : 'n';
        EXPECT_NE(element_par_chemin(mac.nom).has_value(), element_par_chemin(nom).has_value());
      }
      EXPECT_EQ(vu, essai.ouverts);
      EXPECT_TRUE(script.reponses.empty());
    }
  }
}

TEST_P(CopieMac, TheFourAnswersAboutReplacing) {
  pose("f", "old");
  EXPECT_EQ(copie({"f"}).fichiers, 1U);
  pose("f", "new");
  script.reponses = {0};
  EXPECT_EQ(copie({"f"}).sautes, 1U);
  EXPECT_EQ(fourche("f", kFourcheDonnees), "old");
  script.reponses = {1};
  EXPECT_EQ(copie({"f"}).fichiers, 1U);
  EXPECT_EQ(fourche("f", kFourcheDonnees), "new");
  pose("f", "newer");
  script.reponses = {-1};
  EXPECT_EQ(copie({"f", "f"}).sautes, 2U);
  reponses_volume() = {};
  script.reponses = {2};
  EXPECT_EQ(copie({"f"}).fichiers, 1U);
  EXPECT_EQ(fourche("f", kFourcheDonnees), "newer");
  EXPECT_EQ(valence(kIdRacine, 1), 1U);
}

TEST_P(CopieMac, AFileThatChangesMeanwhileLeavesNothing) {
  const auto libres = blocs_libres();
  for (const std::size_t taille : {std::size_t{100}, std::size_t{200000}}) {
    for (const bool grandit : {true, false}) {
      pose("f", std::string(taille, 'x'));
      options.signature = [&](std::string_view) {
        std::filesystem::resize_file(bac + "f", grandit ? taille + 1 : taille - 1);
        return std::string("TEXTttxt");
      };
      const BilanCopieMac bilan = copie({"f"});
      EXPECT_EQ(bilan.fichiers, 0U);
      EXPECT_EQ(bilan.echecs, 1U);
      ASSERT_FALSE(script.erreurs.empty());
      EXPECT_NE(script.erreurs.back().find("/f\n"), std::string::npos) << script.erreurs.back();
      EXPECT_FALSE(element_par_chemin("f"));
      EXPECT_EQ(blocs_libres(), libres);
    }
  }
}

TEST_P(CopieMac, TooManyRunsAreRefused) {
  // The volume is filled, then every other small file goes: no run of free blocks is long.
  const auto bloc = volume_courant().taille_bloc;
  std::vector<std::string> noms;
  pose("small", std::string(bloc, 's'));
  for (int i = 0; blocs_libres() > 40; ++i) {
    const std::string nom = "f" + std::to_string(i);
    pose(nom, std::string(bloc * (i < 60 ? 1U : 60U), 'f'));
    if (copie({nom}).fichiers != 1) break;
    noms.push_back(nom);
  }
  pose("rest", std::string(std::size_t{bloc} * blocs_libres(), 'r'));
  if (blocs_libres() != 0) static_cast<void>(copie({"rest"}));
  for (std::size_t i = 0; i < 60; i += 2) EXPECT_EQ(supprime_par_nom(nom_item(noms[i]), kIdRacine), 1);
  const auto libres = blocs_libres();
  ASSERT_GE(libres, 20U);
  ASSERT_LT(libres, 60U);
  pose("big", std::string(bloc * 20, 'b'));
  EXPECT_EQ(copie({"big"}).echecs, 1U);
  EXPECT_FALSE(element_par_chemin("big"));
  EXPECT_EQ(blocs_libres(), libres);
  // A font that the volume refuses is told as one whose name is taken.
  pose("big.ttf", police_essai() + std::string(bloc * 20 - 4000, 'b'));
  script.reponses = {1};
  EXPECT_EQ(copie({"big.ttf"}).echecs, 1U);
  EXPECT_EQ(script.erreurs.back(),
            "The file\nTestTTF-Regular\nalready exists.\nAborting the copy operation...");
  EXPECT_EQ(blocs_libres(), libres);
}

TEST_P(CopieMac, ATrueTypeFontBecomesASuitcase) {
  const std::string ttf = police_essai();
  pose("font.ttf", ttf);
  script.reponses = {1};
  const BilanCopieMac bilan = copie({"font.ttf"});
  EXPECT_EQ(bilan.polices, 1U);
  EXPECT_EQ(numero, kNumeroPoliceDepart + 1);
  std::string nom;
  static_cast<void>(liste_dossier(kIdRacine, [&](const ElementMac &e) {
    nom = e.nom_utf8();
    EXPECT_EQ(std::string(e.type.begin(), e.type.end()), "tfil");
    EXPECT_EQ(std::string(e.createur.begin(), e.createur.end()), "movr");
    EXPECT_EQ(e.donnees.longueur, 0U);
    return true;
  }));
  const std::string rsrc = fourche(nom, kFourcheRessources);
  const Fichier fork = essai::fichier_de(rsrc);
  const auto ressources = lit_ressources(fork);
  ASSERT_TRUE(ressources);
  ASSERT_EQ(ressources->size(), 2U);
  EXPECT_EQ((*ressources)[0].type, "sfnt");
  EXPECT_EQ((*ressources)[0].nom, nom);
  EXPECT_EQ(lit(fork, (*ressources)[0].octets()), ttf);
  const std::string fond = lit(fork, (*ressources)[1].octets());
  ASSERT_EQ(fond.size(), 78U);
  for (const std::size_t place : {std::size_t{2}, std::size_t{58}})
    EXPECT_EQ(fond.substr(place, 2), std::string("\x04\0", 2)) << place;
  for (const RessourceMac &ressource : *ressources) EXPECT_EQ(ressource.id, kNumeroPoliceDepart);
  // Taken off the volume it is the file that went in.
  std::filesystem::create_directory(bac + "out");
  const auto sortie = DossierSortie::ouvre(bac + "out");
  ASSERT_TRUE(sortie);
  EXPECT_EQ(convertit_police_mac(element_de_volume(*element_par_chemin(nom)), *sortie),
            ResultatPolice::convertie);
  const Fichier rendu = plateforme::ouvre(sortie->chemin() + nom + ".ttf", Ouverture::lecture);
  ASSERT_TRUE(rendu);
  EXPECT_EQ(lit(rendu, {0, ttf.size()}), ttf);
  EXPECT_EQ(fichier_taille(rendu), static_cast<std::int64_t>(ttf.size()));
  // The name is taken: HFS is silent, HFS+ tells.
  script.reponses = {1};
  script.erreurs.clear();
  EXPECT_EQ(copie({"font.ttf"}).sautes, 1U);
  EXPECT_EQ(script.erreurs.size(), GetParam() ? 1U : 0U);
}

// "To hear no more of it" counts for all files without a font.
TEST_P(CopieMac, FilesWithoutAFontAreToldOnce) {
  pose("a.ttf", "no font");
  pose("b.pfb", "none either");
  script.reponses = {2};
  script.tait = true;
  EXPECT_EQ(copie({"a.ttf", "b.pfb"}).fichiers, 2U);
  EXPECT_EQ(script.annonces, 1U);
  EXPECT_EQ(fourche("a.ttf", kFourcheDonnees), "no font");
  EXPECT_EQ(fourche("b.pfb", kFourcheDonnees), "none either");
}

TEST_P(CopieMac, ACustomIconIsShownByItsFolder) {
  outils::FichierMac icone;
  icone.nom = "Icon\r";
  icone.type = "ICNS";
  icone.createur = "MACS";
  icone.data = "icon family";
  icone.rsrc = "icon";
  pose("icon.bin", outils::macbinary(icone));
  icone.data.clear();
  pose("empty.bin", outils::macbinary(icone));
  const auto pose_drapeaux = [](const ElementMac &element, std::uint16_t drapeaux) {
    AttributsItem attributs;
    attributs.drapeaux = drapeaux;
    EXPECT_EQ(change_attributs({element.nom_hfs, element.nom_hfsplus}, element.parent, attributs), 1);
  };
  const std::uint32_t dossier = cree_dossier(nom_item("sub"), kIdRacine);
  ASSERT_NE(dossier, 0U);
  pose_drapeaux(*element_par_id(dossier), 0x4122);
  pose_drapeaux(*element_racine(), 0x0120);
  reponses_conteneurs() = {{1, 1}, {1, 1}};

  // Without a data fork it is a file like any other.
  CopieVersMac vers_dossier(options);
  EXPECT_TRUE(vers_dossier.copie_vers_mac(bac + "empty.bin", dossier));
  EXPECT_EQ(element_par_id(dossier)->drapeaux_finder, 0x4122);
  reponses_volume().reponse_remplacer = 2;
  EXPECT_TRUE(vers_dossier.copie_vers_mac(bac + "icon.bin", dossier));
  EXPECT_EQ(element_par_id(dossier)->drapeaux_finder, 0x4402);
  EXPECT_EQ(element_racine()->drapeaux_finder, 0x0120);
  EXPECT_FALSE(element_par_chemin(".VolumeIcon.icns"));

  reponses_volume() = {};
  EXPECT_EQ(copie({"icon.bin"}).fichiers, 2U);
  EXPECT_EQ(element_racine()->drapeaux_finder, 0x0400);
  for (const std::string nom : {".VolumeIcon.icns", "Icon\r"}) {
    EXPECT_EQ(fourche(nom, kFourcheDonnees), "icon family");
    EXPECT_EQ(fourche(nom, kFourcheRessources), "icon");
  }
  // Both names are asked about when they are taken.
  script.reponses = {0, 1};
  const BilanCopieMac bilan = copie({"icon.bin"});
  EXPECT_EQ(bilan.fichiers, 1U);
  EXPECT_EQ(bilan.sautes, 1U);
  EXPECT_TRUE(script.reponses.empty());
}

TEST_P(CopieMac, ABundleIsFlagged) {
  // A fork as the Resource Manager lays it out, with one empty BNDL.
  std::string rsrc(256, '\0');
  const auto mot = [&rsrc](std::size_t place, std::uint32_t valeur) {
    for (int i = 3; i >= 0; --i, valeur >>= 8)
      rsrc[place + static_cast<std::size_t>(i)] = static_cast<char>(valeur);
  };
  mot(0, 256);
  mot(4, 260);
  mot(8, 4);
  mot(12, 50);
  rsrc += std::string(4, '\0') + std::string(24, '\0') + std::string("\0\x1C\0\x32\0\0BNDL\0\0\0\x0A", 14) +
          std::string("\0\x80\xFF\xFF\0\0\0\0\0\0\0\0", 12);
  pose("app", rsrc);
  mode_copie() = kCopieRessource;
  EXPECT_EQ(copie({"app"}).fichiers, 1U);
  EXPECT_EQ(element_par_chemin("app")->drapeaux_finder & 0x2000, 0x2000);
}

}  // namespace
}  // namespace varnion
