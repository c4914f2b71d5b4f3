#include <sys/syscall.h>

#include <cerrno>
#include <cstring>

#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "fichiers/mode_copie.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/creation.hpp"
#include "hfs/fiches.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/bac.hpp"
#include "outils/conteneurs.hpp"
#include "outils/operations_script.hpp"
#include "res/chaines.hpp"

namespace {
int panne = 0;          // what each write to a file fails with
int panne_dossier = 0;  // and each new folder
}  // namespace

// In place of the library's, so that a write fails as a disk of one's choice would make it fail.
extern "C" ssize_t pwrite64(int fichier, const void *octets, size_t nombre, off64_t place) {
  if (panne != 0) {
    errno = panne;
    return -1;
  }
  return ::syscall(SYS_pwrite64, fichier, octets, nombre, place);
}

extern "C" int mkdirat(int dossier, const char *nom, mode_t droits) noexcept {
  if (panne_dossier != 0) {
    errno = panne_dossier;
    return -1;
  }
  return static_cast<int>(::syscall(SYS_mkdirat, dossier, nom, droits));
}

// The copy to the PC, from volumes that are damaged or made to harm, and to disks that fail.

namespace varnion {
namespace {

namespace fs = std::filesystem;
using outils::FichierMac;

class CopiePc : public essai::Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    pose("image");
    {
      const Fichier fichier = plateforme::ouvre(bac + "image", Ouverture::lecture_ecriture);
      ParametresImage parametres;
      parametres.fichier = &fichier;
      parametres.nom = "Essai";
      parametres.taille_mo = 1;
      ASSERT_TRUE(creation_image(parametres));
    }
    brancher_operations(&script);
    pose_dossier("o");
  }
  void TearDown() override {
    panne = panne_dossier = 0;
    brancher_operations(nullptr);
    fermer_partition();
    Bac::TearDown();
  }
  // Fills the volume and mounts it afresh; `change` gets the record of each file whose name it is asked for.
  void remplit(const std::vector<FichierMac> &fichiers) {
    ASSERT_EQ(ouvrir_partition(bac + "image"), EtatOuverture::montee);
    ASSERT_TRUE(chargement_carte());
    OptionsCopieMac options;
    options.signature = [](std::string_view) { return std::string("TEXTttxt"); };
    for (const FichierMac &fichier : fichiers) {
      pose(fichier.nom, outils::macbinary(fichier));
      CopieVersMac copie(options);
      script.reponses = {1};
      ASSERT_TRUE(copie.copie_vers_mac(bac + fichier.nom, kIdRacine)) << fichier.nom;
    }
    ASSERT_TRUE(ecriture_structures());
    fermer_partition();
    script = {};
  }
  // The catalog record of a file of the image, found by its key.
  void change(const std::string &nom, const std::function<void(FichierHfs &)> &faire) const {
    const Fichier image = plateforme::ouvre(bac + "image", Ouverture::lecture_ecriture);
    std::string octets = essai::tout(image);
    const std::string cle = static_cast<char>(nom.size()) + nom;
    for (std::size_t place = octets.find(cle); place != std::string::npos;
         place = octets.find(cle, place + 1)) {
      const std::size_t debut = (place + cle.size() + 1) & ~std::size_t{1};
      if (octets[debut] != 2 || octets[debut + 1] != 0) continue;
      FichierHfs fiche;
      std::memcpy(&fiche, octets.data() + debut, sizeof fiche);
      faire(fiche);
      ASSERT_TRUE(image.ecrire_a({reinterpret_cast<const std::uint8_t *>(&fiche), sizeof fiche}, debut));
      return;
    }
    FAIL() << nom;
  }
  [[nodiscard]] BilanCopiePc copie(const std::vector<std::string> &noms, OptionsCopiePc options = {}) {
    EXPECT_EQ(ouvrir_partition(bac + "image"), EtatOuverture::montee);
    const auto cible = DossierSortie::ouvre(bac + "o");
    EXPECT_TRUE(cible.has_value());
    CopieVersPc copie(std::move(options));
    for (const std::string &nom : noms) {
      const auto element = element_par_chemin(nom);
      EXPECT_TRUE(element.has_value()) << nom;
      if (!element || (!copie.copie_vers_pc(*element, *cible) && copie.bilan().arret)) break;
    }
    fermer_partition();
    return copie.bilan();
  }
  [[nodiscard]] std::string sorti(const std::string &nom) const { return contenu("o/" + nom); }
  [[nodiscard]] std::size_t sortis() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(bac + "o"), {}));
  }
  static FichierMac mac(const std::string &nom, const std::string &data, const std::string &rsrc = "") {
    FichierMac fichier;
    fichier.nom = nom;
    fichier.data = data;
    fichier.rsrc = rsrc;
    return fichier;
  }

  essai::OperationsScript script;
};

// A disk that takes nothing any more ends the copy at the first file; another fault ends that file alone.
TEST_F(CopiePc, UnDisqueQuiNePrendPlusRienArreteLaCopie) {
  remplit({mac("a", "aa"), mac("b", "bb")});
  struct {
    int erreur;
    bool arret;
  } const cas[] = {{ENOSPC, true}, {EDQUOT, true}, {EROFS, true},
                   {EIO, true},    {EFBIG, false}, {EPERM, false}};
  for (const auto &[erreur, arret] : cas) {
    panne = erreur;
    const BilanCopiePc bilan = copie({"a", "b"});
    panne = 0;
    EXPECT_EQ(bilan.arret, arret) << std::strerror(erreur);
    EXPECT_EQ(bilan.echecs, arret ? 1U : 2U) << std::strerror(erreur);
    EXPECT_EQ(script.erreurs.size(), bilan.echecs);
    EXPECT_NE(script.erreurs.at(0).find(plateforme::texte_erreur(erreur)), std::string::npos);
    EXPECT_EQ(sortis(), 0U);
    script.erreurs.clear();
  }
}

TEST_F(CopiePc, UnDossierQuiNeSeFaitPlusArreteLaCopie) {
  remplit({});
  ASSERT_EQ(ouvrir_partition(bac + "image"), EtatOuverture::montee);
  ASSERT_TRUE(chargement_carte());
  for (const char *nom : {"d1", "d2"}) {
    pose_dossier(nom);
    CopieVersMac entree({});
    ASSERT_TRUE(entree.copie_vers_mac(bac + nom, kIdRacine));
  }
  ASSERT_TRUE(ecriture_structures());
  fermer_partition();
  struct {
    int erreur;
    bool arret;
  } const cas[] = {{ENOSPC, true}, {EDQUOT, true}, {EROFS, true}, {EACCES, false}};
  for (const auto &[erreur, arret] : cas) {
    panne_dossier = erreur;
    const BilanCopiePc bilan = copie({"d1", "d2"});
    panne_dossier = 0;
    EXPECT_EQ(bilan.arret, arret) << std::strerror(erreur);
    EXPECT_EQ(bilan.echecs, arret ? 1U : 2U) << std::strerror(erreur);
  }
}

// What could be read of a damaged fork is kept, but never in the place of an older file.
TEST_F(CopiePc, UneLecturePartielleNeRemplaceRien) {
  remplit({mac("a", std::string(3000, 'a'))});
  change("a", [](FichierHfs &fiche) { fiche.filLgLen = 90000; });
  EXPECT_EQ(copie({"a"}).echecs, 1U);
  EXPECT_EQ(sorti("a").substr(0, 3000), std::string(3000, 'a'));
  pose("o/a", "older");
  reponses_copie_pc().remplacement = Remplacement::tous;
  const BilanCopiePc bilan = copie({"a"});
  EXPECT_EQ(bilan.echecs, 1U);
  EXPECT_EQ(bilan.copies, 0U);
  EXPECT_EQ(sorti("a"), "older");
}

// Ten files with the blocks of one: together more than the volume, noticed ahead of the first byte.
TEST_F(CopiePc, DesBlocsEnCommunSontRemarques) {
  std::vector<FichierMac> fichiers{mac("gros", std::string(300'000, 'g'))};
  std::vector<std::string> noms{"gros"};
  for (int i = 0; i < 9; ++i) {
    noms.push_back("p" + std::to_string(i));
    fichiers.push_back(mac(noms.back(), "p"));
  }
  remplit(fichiers);
  FichierHfs gros{};
  change("gros", [&gros](FichierHfs &fiche) { gros = fiche; });
  EXPECT_EQ(copie(noms).copies, 10U) << "a sound volume is copied without a question";
  reponses_copie_pc().remplacement = Remplacement::tous;
  EXPECT_EQ(copie(std::vector<std::string>(5, "gros")).copies, 5U)
      << "one file taken again and again is no overlap";
  reponses_copie_pc().remplacement = Remplacement::demande;
  fs::remove_all(bac + "o");
  pose_dossier("o");
  for (std::size_t i = 1; i < noms.size(); ++i)
    change(noms[i], [&gros](FichierHfs &fiche) {
      fiche.filLgLen = gros.filLgLen;
      fiche.filPyLen = gros.filPyLen;
      fiche.filExtRec = gros.filExtRec;
    });
  const auto racine = [this](OptionsCopiePc options = {}) { return copie({""}, std::move(options)); };
  script.reponses = {0};
  const BilanCopiePc refuse = racine();
  EXPECT_TRUE(refuse.arret && refuse.copies == 0 && !refuse.complet());
  EXPECT_EQ(sortis(), 0U);
  etat<OptionsProgramme>().mode_lot = true;
  EXPECT_EQ(racine().copies, 0U);
  ASSERT_EQ(script.erreurs.size(), 1U);
  EXPECT_NE(script.erreurs[0].find("--force"), std::string::npos) << script.erreurs[0];
  etat<OptionsProgramme>().mode_lot = false;
  script.reponses = {1};
  EXPECT_EQ(racine().copies, 10U);
  OptionsCopiePc force;
  force.force = true;
  reponses_copie_pc().remplacement = Remplacement::tous;
  EXPECT_EQ(racine(std::move(force)).copies, 10U);
}

TEST_F(CopiePc, LesFourchesLaisseesSontComptees) {
  remplit({mac("un", "d", "r"), mac("deux", "d", "r"), mac("sans", "d"), mac("vide", "", "r")});
  struct {
    std::uint32_t mode;
    std::vector<std::string> noms;
    std::uint64_t amputes;
    const char *anglais, *francais;
  } const cas[] = {
      {kCopieData,
       {"un", "sans"},
       1,
       "1 file had a resource fork",
       "1 fichier avait une branche de ressources"},
      {kCopieData,
       {"un", "deux", "sans"},
       2,
       "2 files had a resource fork",
       "2 fichiers avaient une branche"},
      {kCopieRessource, {"un", "vide"}, 1, "1 file had a data fork", "1 fichier avait une branche de donn"},
      {kCopieMacBinaire, {"un", "deux"}, 0, "", ""},
      {kCopieAppleDouble, {"un", "deux"}, 0, "", ""},
      {kCopieAppleSingle, {"un", "deux"}, 0, "", ""},
  };
  for (const auto &c : cas) {
    mode_copie() = c.mode;
    const BilanCopiePc bilan = copie(c.noms);
    EXPECT_EQ(bilan.amputes, c.amputes) << c.mode;
    fixer_base_langue(kLangueAnglais);
    EXPECT_TRUE(texte_amputes(bilan).starts_with(c.anglais)) << texte_amputes(bilan);
    fixer_base_langue(kLangueFrancais);
    EXPECT_TRUE(texte_amputes(bilan).starts_with(c.francais)) << texte_amputes(bilan);
    EXPECT_EQ(texte_amputes(bilan).empty(), c.amputes == 0);
    fixer_base_langue(kLangueAnglais);
    fs::remove_all(bac + "o");
    pose_dossier("o");
  }
}

}  // namespace
}  // namespace varnion
