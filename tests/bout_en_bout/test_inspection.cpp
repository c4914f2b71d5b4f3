#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/decomprime.hpp"
#include "outils/programmes.hpp"

// "dump" and "analyze" by the real program: discs that it made itself, media of other makers, plain files.

namespace varnion {
namespace {

using essai::Fin;
using outils::FichierMac;

class Inspection : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    FichierMac mac;
    mac.nom = "Appl";
    mac.type = "APPL";
    mac.createur = "Va!n";
    mac.data = std::string(1000, 'd') + "aiguille" + std::string(100, 'e');
    mac.rsrc = std::string(700, 'r');
    fichier("src/app.bin", outils::macbinary(mac));
    fichier("src/dossier/lisez.txt", "bonjour");
  }
  /// Value of a field in the JSON of an analysis.
  [[nodiscard]] static std::string valeur(const std::string &json, const std::string &champ) {
    const std::regex forme("\"name\": \"" + champ +
                           "\", \"label\": \"[^\"]*\",( \"group\": \"[^\"]*\", \"row\": \\d+,)? "
                           "\"value\": \"([^\"]*)\"");
    std::smatch trouve;
    return std::regex_search(json, trouve, forme) ? trouve[2].str() : "<none>";
  }
  /// Sector that a button leads to.
  [[nodiscard]] static std::string mene(const std::string &json, const std::string &bouton) {
    const std::regex forme("\"name\": \"" + bouton + "\", \"caption\"[^}]*\"sector\": (-?\\d+)");
    std::smatch trouve;
    return std::regex_search(json, trouve, forme) ? trouve[1].str() : "<none>";
  }
  [[nodiscard]] static std::string genre(const std::string &json) {
    std::smatch trouve;
    const std::regex forme("\"kind\": \"([^\"]*)\", \"form\"");
    return std::regex_search(json, trouve, forme) ? trouve[1].str() : "<none>";
  }
  [[nodiscard]] std::string analyse(const std::string &image, const std::string &secteur) const {
    return reussit({"analyze", image, "--sector", secteur, "--json"});
  }
  /// Follows the headers of a Macintosh volume from its first one to the first leaf.
  void suit_volume(const std::string &image, const std::string &entete, bool hfsplus) const {
    const std::string volume = analyse(image, entete);
    ASSERT_EQ(genre(volume), hfsplus ? "hfsplus-header" : "hfs-mdb");
    EXPECT_EQ(valeur(volume, "cont_nbfic"), "2");
    EXPECT_EQ(valeur(volume, "cont_nbrep"), "1");
    EXPECT_EQ(valeur(volume, "cont_label"), hfsplus ? "<none>" : "ESSAI");
    const std::string arbre = analyse(image, mene(volume, "go_poscat1"));
    ASSERT_EQ(genre(arbre), "btree-header");
    EXPECT_EQ(mene(arbre, "AffTree"), mene(volume, "go_poscat1"));
    const std::string feuille = analyse(image, mene(arbre, "go_prem"));
    ASSERT_EQ(genre(feuille), "btree-leaf");
    EXPECT_NE(feuille.find("\"cells\": [\"ESSAI\", \"2\", \"[2]\", \"***\"]"), std::string::npos) << feuille;
    const std::string dessin = reussit({"analyze", image, "--sector", mene(volume, "go_poscat1"), "--tree"});
    EXPECT_NE(dessin.find(" * lisez.txt ["), std::string::npos) << dessin;
    EXPECT_NE(dessin.find(" * ESSAI [00000002]"), std::string::npos) << dessin;
    // The same rows as JSON.
    const std::string json =
        reussit({"analyze", image, "--sector", mene(volume, "go_poscat1"), "--tree", "--json"});
    EXPECT_TRUE(json.ends_with("}], \"whole\": true}\n")) << json;
    const std::regex texte("\"text\": \"([^\"]*)\"\\}");
    std::string rangees;
    for (std::sregex_iterator i(json.begin(), json.end(), texte), fin; i != fin; ++i)
      rangees += (*i)[1].str() + "\n";
    EXPECT_EQ(rangees, std::regex_replace(dessin, std::regex("(^|\n) +"), "$1"));
  }
  void image(const std::string &nom, const std::string &echantillon) const {
    std::ofstream(d + nom, std::ios::binary) << essai::decomprime(echantillon);
  }
};

TEST_F(Inspection, DiscsOfEachKind) {
  struct Genre {
    const char *nom, *format;
    bool iso, mac;
  };
  for (const Genre &g : {Genre{"hybrid", "--hfs", true, true},
                         {"hybrid", "--hfsplus", true, true},
                         {"hfs", "--hfs", false, true},
                         {"hfs", "--hfsplus", false, true},
                         {"iso", "--hfs", true, false}}) {
    SCOPED_TRACE(std::string(g.nom) + " " + g.format);
    reussit({"master", "src", "-o", "d.iso", "--label", "ESSAI", "--kind", g.nom, g.format, "-f"});
    if (g.iso) {
      const std::string descripteur = analyse("d.iso", "64");
      EXPECT_EQ(genre(descripteur), "iso-descriptor");
      const auto isoinfo = outils::lance("isoinfo -d -i " + outils::cite(d + "d.iso"));
      EXPECT_NE(isoinfo.texte.find("Volume id: " + valeur(descripteur, "cont_volid") + "\n"),
                std::string::npos);
      EXPECT_NE(isoinfo.texte.find("Volume size is: " + valeur(descripteur, "cont_long") + "\n"),
                std::string::npos);
      const std::string chemins = analyse("d.iso", mene(descripteur, "go_pthtab"));
      EXPECT_EQ(genre(chemins), "iso-path-table");
      EXPECT_NE(chemins.find("\"DOSSIER\""), std::string::npos) << chemins;
      EXPECT_EQ(genre(reussit({"analyze", "d.iso", "--sector", mene(descripteur, "go_root"), "--as",
                               "iso-directory", "--json"})),
                "iso-directory");
    }
    if (!g.mac) continue;
    EXPECT_EQ(genre(analyse("d.iso", "0")), "driver-map");
    std::string entete;
    for (int n = 1; n < 8 && entete.empty(); ++n) {
      const std::string entree = analyse("d.iso", std::to_string(n));
      ASSERT_EQ(genre(entree), "partition-entry");
      if (valeur(entree, "cont_type") == "Apple_HFS")
        entete = std::to_string(std::stoi(valeur(entree, "cont_debut")) + 2);
    }
    suit_volume("d.iso", entete, std::string(g.format) == "--hfsplus");
  }
}

// The sixth kind has its descriptor, tables and no partition map.
TEST_F(Inspection, DiscWithAppleExtensions) {
  reussit({"project", "new", "p.vnso"});
  reussit({"project", "add", "p.vnso", "src/dossier", "src/app.bin"});
  reussit({"project", "label", "p.vnso", "--iso", "ESSAI"});
  reussit({"compile", "p.vnso", "-o", "p.iso"});
  const std::string descripteur = analyse("p.iso", "64");
  const auto isoinfo = outils::lance("isoinfo -d -i " + outils::cite(d + "p.iso"));
  EXPECT_EQ(valeur(descripteur, "cont_volid"), "ESSAI");
  EXPECT_NE(isoinfo.texte.find("Volume size is: " + valeur(descripteur, "cont_long") + "\n"),
            std::string::npos);
  for (const char *table : {"go_pthtab", "go_pthtab2"})
    EXPECT_NE(analyse("p.iso", mene(descripteur, table)).find("[\"DOSSIER\", \"1\", "), std::string::npos);
  const std::string racine = reussit(
      {"analyze", "p.iso", "--sector", mene(descripteur, "go_root"), "--as", "iso-directory", "--json"});
  EXPECT_NE(racine.find("[\"DOSSIER\", \"2048\", "), std::string::npos) << racine;
  echoue({"analyze", "p.iso", "--sector", "0"}, 1, "Unable to identify");
}

// The lines against od, the places of a text against grep, saved sectors against dd.
TEST_F(Inspection, DumpAgreesWithOtherTools) {
  image("i.iso", "apm/hybrid_hfsplus.iso.gz");
  const std::string i = outils::cite(d + "i.iso");
  const std::string lignes = reussit({"dump", "i.iso", "--sector", "64-65"});
  const auto od = outils::lance("od -v -A d -t x1 -j 32768 -N 1024 " + i);
  std::istringstream faites(lignes), attendues(od.texte);
  std::size_t comparees = 0;
  for (std::string ligne, vraie; std::getline(faites, ligne);) {
    if (ligne.empty()) continue;
    ASSERT_TRUE(std::getline(attendues, vraie));
    std::string nue = ligne.substr(1, 57);
    nue.erase(33, 1);  // the blank in the middle
    nue.erase(7, 1);   // and one behind the position
    EXPECT_EQ(nue, vraie);
    ++comparees;
  }
  EXPECT_EQ(comparees, 64U);
  EXPECT_EQ(lignes.find("\n\n"), 16 * lignes.find('\n') + 15);
  EXPECT_NE(reussit({"dump", "i.iso", "--sector", "0x40", "--radix", "16"}).find("00008000  01 43 44 30"),
            std::string::npos);

  const std::string trouves = reussit({"dump", "i.iso", "--search", "CD001"});
  const auto grep = outils::lance("LC_ALL=C grep -obUa CD001 " + i + " | cut -d: -f1");
  std::istringstream places(grep.texte);
  std::string suite;
  for (std::string place; std::getline(places, place);)
    suite += "sector " + std::to_string(std::stoull(place) / 512) + ", byte " +
             std::to_string(std::stoull(place) % 512) + ", position " + place + "\n";
  EXPECT_EQ(trouves, suite);
  EXPECT_EQ(reussit({"dump", "i.iso", "--search", "0x4344303031", "--sector", "66-70"}),
            "sector 68, byte 1, position 34817\n");
  echoue({"dump", "i.iso", "--search", "absent du disque"}, 1, "No match found for absent du disque");

  reussit({"dump", "i.iso", "--sector", "60-70", "--save", "s.bin"});
  reussit({"dump", "i.iso", "--save", "tout.bin"});
  EXPECT_EQ(outils::lance("dd if=" + i + " bs=512 skip=60 count=11 status=none | cmp - " +
                          outils::cite(d + "s.bin") + " && cmp " + i + " " + outils::cite(d + "tout.bin"))
                .statut,
            0);
  echoue({"dump", "i.iso", "--sector", "1", "--save", "s.bin"}, 1, "exists");
  reussit({"dump", "i.iso", "--sector", "64", "--save", "s.bin", "--hex", "-f"});
  EXPECT_EQ(lit(d + "s.bin").size(), 32 * 78U);
  EXPECT_TRUE(sans_reste());
}

TEST_F(Inspection, ForksOfAnImage) {
  reussit({"master", "src", "-o", "d.iso", "--label", "ESSAI"});
  EXPECT_EQ(reussit({"dump", "d.iso", "Appl", "--search", "aiguille"}),
            "sector 1, byte 488, position 1000\n");
  EXPECT_NE(reussit({"dump", "d.iso", "Appl", "--resource", "--sector", "1"}).find("00000688  72 72 72 72"),
            std::string::npos);
  reussit({"dump", "d.iso", "Appl", "--resource", "--save", "r.bin"});
  EXPECT_EQ(lit(d + "r.bin"), std::string(700, 'r'));
  reussit({"dump", "d.iso", "Appl", "--resource", "--sector", "1-", "--save", "fin.bin"});
  EXPECT_EQ(lit(d + "fin.bin"), std::string(188, 'r') + std::string(324, '\0'));
  echoue({"dump", "d.iso", "dossier/lisez.txt", "--resource"}, 1, "Null length file");
  echoue({"dump", "d.iso", "dossier"}, 1, "is a folder");
  echoue({"dump", "d.iso", "rien"}, 1, "rien");
}

// Media without a Macintosh volume, and a compressed image.
TEST_F(Inspection, OtherMedia) {
  fichier("fat.img", [] {
    std::string fat(4096, '\0');
    fat.replace(0, 11, "\xEB\x3C\x90MSDOS5.0");
    fat[0x0C] = 2;  // 512 bytes a sector
    fat[0x0E] = 1;
    fat[0x10] = 2;
    fat[0x13] = 8;
    fat[0x16] = 1;
    fat[0x26] = 0x29;
    fat.replace(0x2B, 19, "ESSAI FAT  FAT12   ");
    fat[0x1FE] = '\x55';
    fat[0x1FF] = '\xAA';
    return fat;
  }());
  const std::string fat = analyse("fat.img", "0");
  EXPECT_EQ(genre(fat), "fat-boot");
  EXPECT_EQ(valeur(fat, "cont_label"), "ESSAI FAT");
  EXPECT_EQ(mene(fat, "go_racine"), "3");
  image("gpt.img", "apm/hfsplus_gpt.raw.gz");
  EXPECT_EQ(genre(analyse("gpt.img", "0")), "mbr");
  echoue({"analyze", "gpt.img", "--sector", "1"}, 1, "Unable to identify the sector.");
  EXPECT_EQ(genre(reussit({"analyze", "gpt.img", "--sector", "1", "--as", "gpt-header", "--json"})),
            "gpt-header");
  // The node size of a leaf in the middle of the medium is found through the headers.
  image("hfs.img", "hfs/impluse-test-disk.hfs.gz");
  std::filesystem::copy_file(VN_DONNEES "/dmg/impluse-test-disk.dmg", d + "c.dmg");
  EXPECT_EQ(reussit({"dump", "c.dmg", "--sector", "0-99"}), reussit({"dump", "hfs.img", "--sector", "0-99"}));
  EXPECT_EQ(analyse("c.dmg", "2"), analyse("hfs.img", "2"));
  const std::string texte = reussit({"analyze", "hfs.img", "--sector", "2"});
  EXPECT_TRUE(texte.starts_with("HFS Descriptor Block\n[General]\n")) << texte;
}

TEST_F(Inspection, Refusals) {
  fichier("court", "abc");
  fichier("vide", "");
  fichier("zeros", std::string(4096, '\0'));
  EXPECT_NE(reussit({"dump", "court"}).find("00000000  61 62 63 00"), std::string::npos);
  echoue({"dump", "vide"}, 1, "Null length file");
  echoue({"dump", "absent"}, 1, "absent");
  echoue({"dump", "court", "--sector", "1"}, 1, "There is no sector 1");
  echoue({"dump", "court", "--sector", "x"}, 2, "x");
  echoue({"dump", "court", "--sector", "3-1"}, 2, "3-1");
  echoue({"dump", "court", "--resource"}, 2, "--resource");
  echoue({"dump", "court", "--search", "0x1"}, 2, "0x1");
  echoue({"dump", "court", "--radix", "8"}, 2, "10|16");
  echoue({"dump", "court", "--search", std::string(100000, 'z')}, 1, "zzz...");
  echoue({"dump", "court", "--search", "\xE6\x97\xA5\xE6\x9C\xAC"}, 2, "searched as bytes");
  // Not even by force does a file take the place of a pipe.
  ASSERT_EQ(::mkfifo((d + "tube").c_str(), 0600), 0);
  echoue({"dump", "court", "--save", "tube", "-f"}, 1, "a device or a pipe");
  echoue({"master", "zeros", "-o", "tube", "-f"}, 1, "a device or a pipe");
  EXPECT_TRUE(std::filesystem::is_fifo(d + "tube"));
  fichier("grand", "");
  std::filesystem::resize_file(d + "grand", std::uintmax_t{5} << 30);
  EXPECT_TRUE(reussit({"dump", "grand", "--sector", "10485759"}).starts_with("5368708608  00 00"));
  echoue({"analyze", "zeros", "--sector", "0", "--as", "mbr", "--tree"}, 1, "no B-tree header");
  echoue({"analyze", "court"}, 2, "--sector");
  echoue({"analyze", "court", "--sector", "0-1"}, 2, "0-1");
  echoue({"analyze", "court", "--sector", "9"}, 1, "There is no sector 9");
  echoue({"analyze", "court", "--sector", "0"}, 1, "Unable to identify");
  // Each of the kinds that a wrong one is answered with shows its own form.
  const Fin refus = lance({"analyze", "court", "--sector", "0", "--as", "nothing"});
  EXPECT_EQ(refus.statut, 2);
  const std::regex mot("[a-z0-9-]+(?=\\|)|\\|([a-z0-9-]+)");
  std::size_t genres = 0;
  for (std::sregex_iterator i(refus.messages.begin(), refus.messages.end(), mot), fin; i != fin; ++i) {
    const std::string trouve = (*i)[1].matched ? (*i)[1].str() : i->str();
    EXPECT_EQ(genre(reussit({"analyze", "zeros", "--sector", "0", "--as", trouve, "--json"})), trouve);
    ++genres;
  }
  EXPECT_EQ(genres, 18U);
}

}  // namespace
}  // namespace varnion
