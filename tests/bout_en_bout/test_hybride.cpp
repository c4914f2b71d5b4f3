#include <gtest/gtest.h>

#include <algorithm>

#include "bout_en_bout/programme.hpp"
#include "outils/decomprime.hpp"
#include "outils/image_lue.hpp"
#include "outils/programmes.hpp"

// Images joined and parted by the real program, read by independent ones.

namespace varnion {
namespace {

using essai::Fin;
namespace fs = std::filesystem;

using Liste = std::vector<std::string>;
/// Names, kinds and lengths of one side.
Liste cote_iso(const outils::ArbreIso &arbre) {
  Liste liste;
  for (const outils::EntreeIso &e : arbre.entrees)
    liste.push_back(e.chemin + (e.dossier ? "/" : " " + std::to_string(e.taille)));
  return liste;
}
Liste cote_mac(const outils::ImageLue &image) {
  Liste liste;
  for (const outils::ObjetMac &o : image.volume.objets)
    liste.push_back(o.chemin + (o.dossier
                                    ? "/"
                                    : " " + o.type + o.createur + " " + std::to_string(o.data.longueur) +
                                          " " + std::to_string(o.rsrc.longueur)));
  std::sort(liste.begin(), liste.end());
  return liste;
}

class Hybride : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    fichier("src/hello.txt", "hello");
    fichier("src/Folder/large.dat", std::string(2'000'000, 'x'));
    reussit({"master", "src", "-o", "mac.dmg", "--kind", "hfs", "--hfs", "--label", "Joined"});
    reussit({"master", "src", "-o", "disc.iso", "--kind", "iso", "--label", "Joined"});
    iso = lit(d + "disc.iso");
  }
  std::string programme(const std::string &commande) const {
    const outils::Sortie s =
        outils::lance("export HOME=" + outils::cite(bac) + "; cd " + outils::cite(d) + "; " + commande);
    EXPECT_EQ(s.statut, 0) << commande << "\n" << s.texte;
    return s.texte;
  }
  std::string iso;
};

TEST_F(Hybride, RejoinedImagesAreReadByOtherPrograms) {
  EXPECT_NE(reussit({"hybrid", "mac.dmg", "disc.iso"}).find("disc.iso: hybrid image, "), std::string::npos);
  EXPECT_NE(programme("isoinfo -J -f -i disc.iso").find("/Folder/large.dat"), std::string::npos);
  programme("xorriso -abort_on SORRY -indev disc.iso -osirrox on -extract / out && diff -r src out");
  // Compiled at once, the same tree lists the same on every side. The mount below writes into its volume, so
  // it gets a copy.
  reussit({"master", "src", "-o", "whole.iso", "--hfs", "--label", "Joined"});
  const outils::ImageLue jointe = outils::lit_image(d + "disc.iso", {.jointe = true});
  const outils::ImageLue compilee = outils::lit_image(d + "whole.iso", {});
  EXPECT_TRUE(jointe.fautes.vide()) << jointe.fautes.texte();
  EXPECT_EQ(cote_iso(jointe.iso), cote_iso(compilee.iso));
  EXPECT_EQ(cote_iso(jointe.joliet), cote_iso(compilee.joliet));
  EXPECT_EQ(cote_mac(jointe), cote_mac(compilee));
  EXPECT_EQ(cote_mac(jointe).size(), 4U);
  fs::copy_file(d + "disc.iso", d + "mounted.iso");
  EXPECT_NE(programme("hmount mounted.iso").find("Joined"), std::string::npos);
  EXPECT_NE(programme("hls -R").find("large.dat"), std::string::npos);
  programme("hcopy -r :Folder:large.dat copy && cmp copy src/Folder/large.dat && humount");
  const std::string octets = lit(d + "disc.iso");
  echoue({"hybrid", "mac.dmg", "disc.iso"}, 1, "already contains");
  EXPECT_TRUE(lit(d + "disc.iso") == octets);
  // The letters do the same.
  reussit({"-DH", "disc.iso"});
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
  reussit({"-H", "mac.dmg", "disc.iso"});
  EXPECT_NE(reussit({"dehybrid", "disc.iso"}).find("disc.iso: ISO image, "), std::string::npos);
  programme("xorriso -abort_on SORRY -indev disc.iso -osirrox on -extract / again && diff -r src again");
}

TEST_F(Hybride, CompressedPartitionImagesAreExpandedFirst) {
  struct Cas {
    const char *nom;
    bool copie_publiee;
  };
  const std::string disque = essai::decomprime("apm/made_apm_hfs.img.gz");
  for (const Cas &cas : {Cas{"made_udzo.dmg", false}, Cas{"made_udbz.dmg", false},
                         Cas{"made_udro.dmg", false}, Cas{"made_udco_overlap.dmg", true}}) {
    SCOPED_TRACE(cas.nom);
    fichier("joined.iso", iso);
    const Fin fin = lance({"hybrid", "-v", VN_DONNEES "/dmg/" + std::string(cas.nom), "joined.iso"});
    EXPECT_EQ(fin.statut, 0);
    EXPECT_EQ(fin.messages.find("published copy of ADC") != std::string::npos, cas.copie_publiee)
        << fin.messages;
    const std::string jointe = lit(d + "joined.iso");
    EXPECT_TRUE(jointe.substr(iso.size(), 819200) == disque.substr(32768, 819200));
    reussit({"dehybrid", "joined.iso"});
    EXPECT_TRUE(lit(d + "joined.iso") == iso);
    reussit({"hybrid", VN_DONNEES "/dmg/" + std::string(cas.nom), "joined.iso"});
    programme("hmount joined.iso && hls -R && humount");
  }
  // A bare volume in a compressed image, a GUID map, data that do not agree: each is told.
  echoue({"hybrid", VN_DONNEES "/dmg/made_whole_noplst.dmg", "disc.iso"}, 1, "no Apple partition map");
  echoue({"hybrid", VN_DONNEES "/dmg/impluse-test-disk.dmg", "disc.iso"}, 1, "no Apple partition map");
  std::string gatee = lit(VN_DONNEES "/dmg/made_udro.dmg");
  gatee[40'000] = static_cast<char>(gatee[40'000] + 1);
  fichier("spoiled.dmg", gatee);
  echoue({"hybrid", "spoiled.dmg", "disc.iso"}, 1, "checksum (CRC-32)");
  fichier("cut.dmg", gatee.substr(0, 60'000) + gatee.substr(gatee.size() - 512));
  echoue({"hybrid", "cut.dmg", "disc.iso"}, 1, "cut or damaged");
  // No room for what is expanded.
  const Fin plein =
      lance_sous({.taille_max = 500'000}, {"hybrid", VN_DONNEES "/dmg/made_udzo.dmg", "disc.iso"});
  EXPECT_EQ(plein.statut, 1);
  EXPECT_NE(plein.messages.find("temporary file"), std::string::npos) << plein.messages;
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
}

TEST_F(Hybride, RefusalsAreToldAndLeaveTheImage) {
  fichier("bare.hfs", "no map");
  fs::resize_file(d + "bare.hfs", 100'000);
  fichier("cut.dmg", lit(d + "mac.dmg").substr(0, 60'000));
  fichier("packed.dmg", lit(d + "mac.dmg") + "koly" + std::string(508, '\x7F'));
  fichier("sparse.dmg", "sprs" + std::string(1000, 's'));
  fichier("no.iso", std::string(50'000, 'n'));
  reussit({"master", "src", "-o", "shared.iso"});
  const std::string partagee = lit(d + "shared.iso");
  echoue({"hybrid", "bare.hfs", "disc.iso"}, 1, "no Apple partition map");
  echoue({"hybrid", "cut.dmg", "disc.iso"}, 1, "cut short");
  echoue({"hybrid", "packed.dmg", "disc.iso"}, 1, "cut or damaged");
  echoue({"hybrid", "sparse.dmg", "disc.iso"}, 1, "cannot be expanded");
  echoue({"hybrid", "absent.dmg", "disc.iso"}, 1, "absent.dmg");
  echoue({"hybrid", "mac.dmg", "absent.iso"}, 1, "absent.iso");
  echoue({"hybrid", "mac.dmg", "no.iso"}, 1, "not an ISO 9660 image");
  echoue({"-H", "cut.dmg", "disc.iso"}, 1, "cut short");
  echoue({"hybrid", "mac.dmg"}, 2, "hybrid PARTITION");
  echoue({"dehybrid", "mac.dmg"}, 1, "not a hybrid image");
  echoue({"dehybrid", "shared.iso"}, 1, "Nothing was changed");
  echoue({"dehybrid", "disc.iso"}, 1, "nothing was changed");
  const Fin fin = lance_sous({.taille_max = iso.size() + 10'000}, {"hybrid", "mac.dmg", "disc.iso"});
  EXPECT_EQ(fin.statut, 1) << fin.messages;
  EXPECT_NE(fin.messages.find("Reading or writing failed"), std::string::npos) << fin.messages;
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
  EXPECT_TRUE(lit(d + "shared.iso") == partagee);
}

TEST_F(Hybride, RawTracksAreWrittenAndJoined) {
  reussit({"track", "raw", "disc.iso", "raw.bin", "--mode", "2"});
  EXPECT_EQ(fs::file_size(d + "raw.bin"), iso.size() / 2048 * 2352);
  echoue({"track", "raw", "disc.iso", "raw.bin"}, 1, "--force");
  echoue({"track", "raw", "disc.iso", "x.bin", "--mode", "3"}, 2, "--mode");
  echoue({"track", "video", "disc.iso", "raw.bin"}, 1, "no partition map");
  reussit({"hybrid", "mac.dmg", "raw.bin"});
  programme("xorriso -abort_on SORRY -indev stdio:raw.bin -osirrox on -extract / out && diff -r src out");
  echoue({"track", "video", "raw.bin", "disc.iso"}, 1, "not a Video CD image");
  EXPECT_TRUE(lit(d + "disc.iso") == iso);
}

}  // namespace
}  // namespace varnion
