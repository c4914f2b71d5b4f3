#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <set>

#include "bout_en_bout/programme.hpp"
#include "outils/conteneurs.hpp"
#include "outils/programmes.hpp"

// Files of the PC put into Macintosh volumes by the real program.

namespace varnion {
namespace {

namespace fs = std::filesystem;
using essai::Fin;
using outils::FichierMac;

constexpr std::uint32_t kEpoque = 2082844800;
constexpr std::string_view kKatakana = "\xE6\x97\xA5\xE6\x9C\xAC.txt";
constexpr std::string_view kAutres = "\xE4\xB8\xAD\xE5\x9B\xBD.txt";

class Put : public essai::Programme, public ::testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    Programme::SetUp();
    image("4");
    mac_.nom = "Appl.\x8E";  // an acute e at its end
    mac_.type = "APPL";
    mac_.createur = "Va!n";
    mac_.drapeaux = 0x0100;
    mac_.creation = kEpoque + 800000000;
    mac_.modification = kEpoque + 900000000;
    mac_.data = std::string(5000, 'd') + "data";
    mac_.rsrc = std::string(1000, 'r') + "rsrc";
  }
  void image(const std::string &megas) const {
    std::vector<std::string> mots{"new", "i.img", "--size", megas, "--label", "Essai", "--force"};
    if (GetParam()) mots.emplace_back("--hfsplus");
    reussit(mots);
  }
  [[nodiscard]] Fin met(std::vector<std::string> mots) const {
    mots.insert(mots.begin(), {"put", "i.img"});
    return lance(mots);
  }
  void entre(std::vector<std::string> mots) const {
    const Fin fin = met(std::move(mots));
    EXPECT_EQ(fin.statut, 0) << fin.sortie << fin.messages;
  }
  void reste(std::vector<std::string> mots, std::string_view message) const {
    const Fin fin = met(std::move(mots));
    EXPECT_EQ(fin.statut, 1) << fin.sortie;
    EXPECT_NE(fin.messages.find(message), std::string::npos) << fin.messages;
  }
  [[nodiscard]] std::string data(const std::string &nom) const { return reussit({"cat", "i.img", nom}); }
  [[nodiscard]] std::string rsrc(const std::string &nom) const {
    return reussit({"cat", "i.img", nom, "--resource"});
  }
  [[nodiscard]] std::string liste() const { return reussit({"ls", "i.img", "-lRa"}); }
  [[nodiscard]] std::string json() const { return reussit({"ls", "i.img", "-lRa", "--json"}); }
  [[nodiscard]] bool a(const std::string &texte, const std::string &ou) const {
    return ou.find(texte) != std::string::npos;
  }
  void date_pc(const std::string &nom, std::int64_t secondes) const {
    const timespec dates[2] = {{secondes, 0}, {secondes, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (d + nom).c_str(), dates, 0), 0);
  }

  FichierMac mac_;
};

INSTANTIATE_TEST_SUITE_P(Formats, Put, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

TEST_P(Put, AFolderGoesInWithAllThatIsInIt) {
  fichier("src/Read Me", "hello");
  fichier("src/empty", "");
  fichier("src/a/b/deep.txt", std::string(100000, 'x') + "end");
  entre({"src"});
  EXPECT_EQ(data("src/Read Me"), "hello");
  EXPECT_EQ(data("src/empty"), "");
  EXPECT_EQ(data("src/a/b/deep.txt"), std::string(100000, 'x') + "end");
  // Into a folder that is there; a folder of that name is refused.
  fichier("two", "2");
  entre({"two", "--into", "src/a"});
  EXPECT_EQ(data("src/a/two"), "2");
  reste({"src"}, "exists already");
  reste({"two", "--into", "src/a/two"}, "no folder");
  reste({"two", "--into", "nowhere"}, "nowhere");
  reste({"missing"}, "missing");
}

TEST_P(Put, EveryContainerGivesItsFile) {
  fichier("m.bin", outils::macbinary(mac_));
  FichierMac hqx = mac_;
  hqx.nom = "Hex";
  fichier("h.hqx", outils::binhex(hqx));
  fichier("Single", outils::applesingle(mac_));
  fichier("Double", mac_.data);
  fichier("._Double", outils::appledouble(mac_));
  date_pc("Single", 1000000000);
  entre({"m.bin", "h.hqx", "Single", "Double"});
  const std::string vu = json();
  for (const std::string nom : {"Appl.\xC3\xA9", "Hex", "Single", "Double"}) {
    EXPECT_EQ(data(nom), mac_.data) << nom;
    EXPECT_EQ(rsrc(nom), mac_.rsrc) << nom;
    EXPECT_TRUE(a("\"" + nom + "\"", vu)) << vu;
  }
  std::size_t signatures = 0;
  for (std::size_t p = 0; (p = vu.find("APPL", p)) != std::string::npos; ++p) ++signatures;
  EXPECT_EQ(signatures, 4U) << vu;
  // Dates and flags of a head come out again; without one the PC file's time counts.
  reussit({"get", "i.img", "Appl.\xC3\xA9", "Single", "--to", "o", "--mode", "macbinary"});
  const std::string tete = lit(d + "o/Appl.\xC3\xA9");
  EXPECT_EQ(tete.substr(65, 10), std::string("APPLVa!n\x01\0", 10));
  EXPECT_EQ(tete.substr(91, 8), outils::macbinary(mac_).substr(91, 8));
  struct stat fiche {};
  ASSERT_EQ(::stat((d + "o/Single").c_str(), &fiche), 0);
  EXPECT_EQ(fiche.st_mtime, 1000000000);
}

TEST_P(Put, AContainerRefusedGoesInAsItIs) {
  fichier("m.bin", outils::macbinary(mac_));
  fichier("plain", "p");
  entre({"m.bin", "--containers", "no"});
  EXPECT_EQ(data("m.bin"), outils::macbinary(mac_));
  // Asked, and "no" once: the next one is asked again.
  Conditions conditions;
  conditions.entree = "n\ny\n";
  fichier("n.bin", outils::macbinary(mac_));
  fichier("o.bin", outils::macbinary(mac_));
  const Fin fin = lance_sous(conditions, {"put", "i.img", "n.bin", "o.bin", "--containers", "ask"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_EQ(data("n.bin"), outils::macbinary(mac_));
  EXPECT_EQ(data("Appl.\xC3\xA9"), mac_.data);
  entre({"plain", "--mode", "resource"});
  EXPECT_EQ(rsrc("plain"), "p");
  EXPECT_EQ(data("plain"), "");
}

TEST_P(Put, CompanionsGoTheWayOfTheirFormat) {
  fichier("src/Double", "the data");
  fichier("src/._Double", outils::appledouble(mac_));
  const Fin fin = met({"src"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_EQ(rsrc("src/Double"), mac_.rsrc);
  EXPECT_EQ(a("._Double", liste()), !GetParam());  // on HFS it is copied as a file of its own too
  fichier("alone/._Gone", outils::appledouble(mac_));
  EXPECT_EQ(met({"alone"}).statut, GetParam() ? 1 : 0);
}

TEST_P(Put, StreamsOfAServerAreForks) {
  fichier("stream.txt", "data");
  mac_.type = "WDBN";
  const std::string info = outils::afp_info(mac_);
  const std::string chemin = d + "stream.txt";
  ASSERT_EQ(::setxattr(chemin.c_str(), "user.AFP_Resource", mac_.rsrc.data(), mac_.rsrc.size(), 0), 0);
  ASSERT_EQ(::setxattr(chemin.c_str(), "user.AFP_AfpInfo", info.data(), info.size(), 0), 0);
  entre({"stream.txt"});
  EXPECT_EQ(rsrc("stream.txt"), mac_.rsrc);
  EXPECT_TRUE(a("WDBN", liste()));
}

TEST_P(Put, DamagedContainersAreTold) {
  std::string hqx = outils::binhex(mac_);
  fichier("cut.hqx", hqx.substr(0, hqx.size() / 2));
  reste({"cut.hqx"}, "cut.hqx");
  std::string simple = outils::applesingle(mac_);
  fichier("short", simple.substr(0, simple.size() - 100));
  reste({"short"}, "damaged or cut short");
  EXPECT_EQ(data("short"), mac_.data.substr(0, mac_.data.size() - 100));
}

TEST_P(Put, WhatIsThereStaysUnlessToldOtherwise) {
  fichier("one/f", "first");
  fichier("two/f", "second, which is longer");
  entre({"one/f"});
  reste({"two/f"}, "already");
  EXPECT_EQ(data("f"), "first");
  entre({"two/f", "--replace", "yes"});
  EXPECT_EQ(data("f"), "second, which is longer");
  const auto repond = [&](const std::string &reponse) {
    Conditions conditions;
    conditions.entree = reponse + "\n";
    return lance_sous(conditions, {"put", "i.img", "one/f", "--replace", "ask"});
  };
  EXPECT_EQ(repond("n").statut, 1);
  EXPECT_EQ(data("f"), "second, which is longer");
  EXPECT_EQ(repond("y").statut, 0);
  EXPECT_EQ(data("f"), "first");
  // A full folder never makes room for a file by itself.
  fichier("f2/in", "kept");
  entre({"f2"});
  fichier("three/f2", "file");
  reste({"three/f2", "--replace", "yes"}, "could not be replaced");
  EXPECT_EQ(data("f2/in"), "kept");
}

TEST_P(Put, TwoFilesOfOneNameBothArrive) {
  fichier("src/name.txt", "lower");
  fichier("src/NAME.TXT", "upper");
  fichier("src/a:b", "colon");
  fichier("src/" + std::string(kKatakana), "katakana");
  fichier("src/" + std::string(kAutres), "autres");
  const Fin fin = met({"src", "--replace", "yes"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_TRUE(a("5 files in 1 folders", fin.sortie)) << fin.sortie;
  reussit({"get", "i.img", "src", "--to", "o"});
  std::set<std::string> contenus;
  for (const auto &entree : fs::directory_iterator(d + "o/src")) contenus.insert(lit(entree.path().string()));
  EXPECT_EQ(contenus, (std::set<std::string>{"lower", "upper", "colon", "katakana", "autres"}));
  if (GetParam()) {
    EXPECT_EQ(data("src/" + std::string(kKatakana)), "katakana");
  }
  EXPECT_EQ(data("src/a_b"), "colon");
}

TEST_P(Put, LongNamesAreCutOnHfs) {
  const std::string juste(31, 'a'), long1(32, 'b'), long2 = std::string(31, 'b') + "c";
  fichier("s/" + juste, "31");
  fichier("s/" + long1, "one");
  entre({"s/" + juste, "s/" + long1});
  EXPECT_EQ(data(juste), "31");
  EXPECT_EQ(data(GetParam() ? long1 : std::string(31, 'b')), "one");
  fichier("s/" + long2, "two");
  if (GetParam()) {
    entre({"s/" + long2});
    EXPECT_EQ(data(long2), "two");
    fichier("s/\xF0\x9F\x98\x80.txt", "emoji");
    entre({"s/\xF0\x9F\x98\x80.txt"});
    EXPECT_EQ(data("\xF0\x9F\x98\x80.txt"), "emoji");
    return;
  }
  reste({"s/" + long2}, long2);
  EXPECT_EQ(data(std::string(31, 'b')), "one");
  entre({"s/" + long2, "--truncate", "crc"});
  EXPECT_TRUE(a(std::string(26, 'b') + "-", liste())) << liste();
}

TEST_P(Put, WhatDoesNotFitIsRefusedWhole) {
  fichier("big/a", std::string(1000000, 'a'));
  fichier("big/b", std::string(4000000, 'b'));
  const auto libre = [this] {
    const std::string texte = reussit({"info", "i.img"});
    const std::size_t debut = texte.find("blocks: ");
    return texte.substr(debut, texte.find('\n', debut) - debut);
  };
  const std::string avant = libre();
  reste({"big"}, "Not enough free room");
  EXPECT_EQ(liste(), "");
  EXPECT_EQ(libre(), avant);
  // What fits in the first place only: the drop ends at the second.
  fichier("half/a", std::string(2000000, 'c'));
  const Fin fin = met({"half", "big/b", "big/a"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_EQ(data("half/a"), std::string(2000000, 'c'));
  EXPECT_FALSE(a(" a\n", liste())) << liste();
}

TEST_P(Put, AFullDiskAndAnUnwritableImageAreTold) {
  fichier("big", std::string(3000000, 'x'));
  Conditions plein;
  plein.taille_max = 1500000;
  EXPECT_EQ(lance_sous(plein, {"put", "i.img", "big"}).statut, 1);
  image("4");
  fs::permissions(d + "i.img", fs::perms::owner_read | fs::perms::others_read | fs::perms::group_read);
  Conditions lecteur;
  lecteur.sans_droits = true;
  const Fin fin = lance_sous(lecteur, {"put", "i.img", "big"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_TRUE(a("can only be read", fin.messages)) << fin.messages;
}

TEST_P(Put, AFailedReplacementLeavesTheOldFile) {
  fichier("old/f", "first");
  entre({"old/f"});
  fichier("new/f", std::string(3000000, 'x'));
  Conditions plein;
  plein.taille_max = 1500000;
  EXPECT_EQ(lance_sous(plein, {"put", "i.img", "new/f", "--replace", "yes"}).statut, 1);
  EXPECT_EQ(data("f"), "first");
  EXPECT_FALSE(a(".part", liste())) << liste();
  entre({"new/f", "--replace", "yes"});
  EXPECT_EQ(data("f").size(), 3000000U);
  EXPECT_FALSE(a(".part", liste())) << liste();
}

TEST_P(Put, AnUnreadableFileEndsItsFolderAndIsNamed) {
  fichier("src/a", "a");
  fichier("src/b", "b");
  fichier("src/c", "c");
  fichier("src2/d", "d");
  for (const char *nom : {"src/a", "src/c", "src2/d"}) fs::permissions(d + nom, fs::perms::all);
  fs::permissions(d + "src/b", fs::perms::none);
  fs::permissions(d + "i.img", fs::perms::all);
  Conditions lecteur;
  lecteur.sans_droits = true;
  const Fin fin = lance_sous(lecteur, {"put", "i.img", "src", "src2"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_TRUE(a("src/b", fin.messages)) << fin.messages;
  EXPECT_TRUE(a("Not reached behind them: 1", fin.sortie)) << fin.sortie;
  EXPECT_EQ(data("src/a"), "a");
  EXPECT_EQ(data("src2/d"), "d");
  EXPECT_FALSE(a(" c\n", liste())) << liste();
}

TEST_P(Put, IconsAreShownByTheirFolder) {
  FichierMac icone;
  icone.nom = "Icon\r";
  icone.type = "ICNS";
  icone.createur = "MACS";
  icone.drapeaux = 0x4000;
  icone.data = "icon family";
  icone.rsrc = "icns";
  fichier("sub/icon.bin", outils::macbinary(icone));
  entre({"sub"});
  EXPECT_EQ(data("sub/Icon\r"), "icon family");
  EXPECT_FALSE(a(".VolumeIcon", liste()));
  entre({"sub/icon.bin"});
  EXPECT_EQ(data(".VolumeIcon.icns"), "icon family");
  EXPECT_EQ(rsrc("Icon\r"), "icns");
}

TEST_P(Put, FontsBecomeMacintoshFonts) {
  fichier("t.ttf", lit(std::string(VN_DONNEES) + "/polices/TestTTF-Regular.expected.ttf"));
  fichier("plain.ttf", "no font at all");
  fichier("f.pfb", "\x80\x01....%!PS-AdobeFont-1.0\n/FontName /Essai-Roman def\n");
  entre({"plain.ttf", "--fonts", "yes"});
  EXPECT_EQ(data("plain.ttf"), "no font at all");
  // Nothing converts this font: its file goes in as it is, and so does a second of the same name.
  fichier("sub/f.pfb", "\x80\x01....%!PS-AdobeFont-1.0\n/FontName /Essai-Roman Bold\n");
  const Fin fin = met({"f.pfb", "--fonts", "yes"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_TRUE(a("Essai-Roman", fin.messages) && a("unchanged", fin.messages)) << fin.messages;
  EXPECT_TRUE(a("Fonts copied unchanged: 1.", fin.sortie)) << fin.sortie;
  entre({"sub", "--fonts", "yes"});
  EXPECT_EQ(data("f.pfb"), lit(d + "f.pfb"));
  EXPECT_EQ(data("sub/f.pfb"), lit(d + "sub/f.pfb"));
  EXPECT_FALSE(a("tfilmovr", liste())) << liste();
}

class PutHfs : public Put {};
INSTANTIATE_TEST_SUITE_P(Classic, PutHfs, ::testing::Values(false));

TEST_P(PutHfs, HfsutilsReadsWhatWasPut) {
  std::string gros(700000, '\0');
  for (std::size_t i = 0; i < gros.size(); ++i) gros[i] = static_cast<char>(i * 31 >> 3);
  fichier("src/big.bin", gros);
  fichier("src/dir/small", "s");
  fichier("m.bin", outils::macbinary(mac_));
  for (int i = 0; i < 300; ++i) fichier("src/many/file " + std::to_string(i), std::to_string(i));
  entre({"src", "m.bin"});
  const auto outil = [this](const std::string &commande) {
    const auto sortie =
        outils::lance("cd " + outils::cite(d) + " && HOME=" + outils::cite(bac) + " " + commande);
    EXPECT_EQ(sortie.statut, 0) << commande << sortie.texte;
    return sortie.texte;
  };
  outil("hmount i.img");
  outil("hcopy -r :src:big.bin out.bin");
  EXPECT_EQ(lit(d + "out.bin"), gros);
  outil("hcopy -r ':src:many:file 217' out.txt");
  EXPECT_EQ(lit(d + "out.txt"), "217");
  EXPECT_TRUE(a("APPL/Va!n", outil("hls -l")));
  const std::string noms = outil("hls -a1 :src:many");
  EXPECT_EQ(std::count(noms.begin(), noms.end(), '\n'), 300);
  outil("humount");
}

}  // namespace
}  // namespace varnion
