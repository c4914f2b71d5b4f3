#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>

#include <QCryptographicHash>

#include "bout_en_bout/programme.hpp"

// The bytes of the classic rule, compared with those that release 0.1.0 made: the sums lie in
// tests/donnees/classique. The command letters are classic by themselves, the subcommands with --classic.

namespace varnion {
namespace {

using essai::Fin;
namespace fs = std::filesystem;

constexpr int kUnDeMoins = 1;  // one companion is no AppleDouble file: it is left out, and told
constexpr const char *kMaintenant = "1262349296";  // "now" of every run: 2010-01-01 12:34:56

class Classique : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    sommes_ = lit_sommes();
    ASSERT_FALSE(sommes_.empty());
    pose("d/types.sig", lit(std::string(VN_SOURCES) + "/src/res/varnion.sig"));
    remplit_source();
  }

  /// A run at a fixed time, in a fixed zone, on files with a fixed birth.
  Fin classique(std::vector<std::string> mots, int statut = 0) const {
    Conditions conditions;
    conditions.environnement = {{"SOURCE_DATE_EPOCH", kMaintenant},
                                {"TZ", "Europe/Paris"},
                                {"LD_PRELOAD", VN_NAISSANCE_FIXE},
                                {"ASAN_OPTIONS", "verify_asan_link_order=0"}};
    if (!mots[0].starts_with('-')) mots.insert(mots.begin(), "--classic");
    std::string ligne;
    for (const auto &mot : mots) ligne += mot + " ";
    Fin fin = lance_sous(conditions, std::move(mots));
    EXPECT_EQ(fin.statut, statut) << ligne << "\n" << fin.messages;
    return fin;
  }

  /// Holds a file or a folder against the sum that is kept under a name.
  void compare(const std::string &nom, const std::string &chemin) const {
    const std::string vue = somme(d + chemin);
    const auto place = sommes_.find(nom);
    if (place == sommes_.end())
      ADD_FAILURE() << "no sum is kept: " << nom << " " << vue;
    else
      EXPECT_EQ(place->second, vue) << nom << " " << vue;
  }

  [[nodiscard]] static std::string donnee(const std::string &nom) {
    return std::string(VN_DONNEES) + "/" + nom;
  }
  void copie(const std::string &nom, const std::string &vers) const {
    fichier(vers, lit(donnee(nom)));
    date(vers);
  }
  void projet(const std::string &nom, const std::vector<std::string> &options = {}) const {
    std::vector<std::string> mots{"project", "new", nom};
    mots.insert(mots.end(), options.begin(), options.end());
    classique(mots);
    classique({"project", "add", nom, "src", "--signatures", "types.sig"}, kUnDeMoins);
    classique({"project", "label", nom, "--iso", "ETE_2010"});
    if (nom.ends_with(".vnpr")) classique({"project", "label", nom, "--hfs", "\xC3\x89t\xC3\xA9 2010"});
  }

 private:
  static std::map<std::string, std::string> lit_sommes() {
    std::istringstream lignes(lit(donnee("classique/sommes.txt")));
    std::map<std::string, std::string> resultat;
    for (std::string nom, somme; lignes >> nom >> somme;) resultat[nom] = somme;
    return resultat;
  }
  // One time a file, from its name.
  void date(const std::string &nom) const {
    std::int64_t temps = 1100000000;
    for (const char c : nom) temps = temps * 31 % 200000000 + c;
    const timespec dates[2] = {{1100000000 + temps, 0}, {1100000000 + temps, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (d + nom).c_str(), dates, 0), 0) << nom;
  }
  void plain(const std::string &nom, std::size_t taille) const {
    std::string contenu(taille, '\0');
    std::uint32_t graine = static_cast<std::uint32_t>(taille) + 17;
    for (char &c : contenu) c = static_cast<char>((graine = graine * 1664525 + 1013904223) >> 24);
    fichier("src/" + nom, contenu);
    date("src/" + nom);
  }

  void remplit_source() const {
    for (const std::size_t taille : {0, 1, 511, 512, 513, 2047, 2048, 2049, 70000})
      plain("sizes/f" + std::to_string(taille) + ".dat", taille);
    for (const char *nom : {"\xC3\x89t\xC3\xA9.txt",
                            "Stra\xC3\x9F"
                            "e.txt",
                            "\xC3\x8Ele.txt", "\xC3\x94ter.txt", "Zoo.txt", "zebra", "a b c.html",
                            "\xE6\x97\xA5\xE6\x9C\xAC.txt", "UPPER.TXT", "x.y.z"})
      plain(std::string("names/") + nom, 100);
    plain("names/" + std::string(60, 'n') + ".long", 10);
    plain("names/" + std::string(60, 'm') + "o.long", 11);
    for (int i = 0; i < 300; ++i) plain("many/item " + std::to_string(i * 7919 % 1000), 20);
    plain("a/b/c/d/e/f/g/deep.txt", 30);
    copie("macbinary/text_file_1.bin", "src/containers/text_file_1.bin");
    copie("macbinary/sources_with_comment.sit.bin", "src/containers/with_comment.bin");
    copie("macbinary/no_resource_fork.bin", "src/containers/no_resource.bin");
    copie("applesingle/gshk_v1.as", "src/containers/gshk.as");
    copie("binhex/eyeball.gif.hqx", "src/containers/eyeball.gif.hqx");
    plain("containers/gshk.docs", 900);
    copie("appledouble/gshk.docs", "src/containers/._gshk.docs");
    date_dossiers();
  }
  void date_dossiers() const {
    std::vector<std::string> dossiers;
    for (const auto &entree : fs::recursive_directory_iterator(d + "src"))
      if (entree.is_directory()) dossiers.push_back(fs::relative(entree.path(), d));
    for (const auto &dossier : dossiers) date(dossier);
    date("src");
  }

  // Of a folder: the names below it, each with its content.
  static std::string somme(const std::string &chemin) {
    QCryptographicHash hachage(QCryptographicHash::Sha256);
    const auto ajoute = [&](const std::string &texte) {
      hachage.addData(QByteArrayView(texte.data(), static_cast<qsizetype>(texte.size())));
    };
    if (fs::is_directory(chemin)) {
      std::vector<std::string> noms;
      for (const auto &entree : fs::recursive_directory_iterator(chemin))
        noms.push_back(fs::relative(entree.path(), chemin).string() + (entree.is_directory() ? "/" : ""));
      std::sort(noms.begin(), noms.end());
      for (const auto &nom : noms)
        ajoute(nom + "\n" + (nom.back() == '/' ? "" : lit(chemin + "/" + nom)) + "\n");
    } else {
      ajoute(lit(chemin));
    }
    return hachage.result().toHex().first(32).toStdString();
  }

  std::map<std::string, std::string> sommes_;
};

TEST_F(Classique, DiscsOfEveryKind) {
  projet("hfs.vnpr");
  projet("hfsplus.vnpr", {"--hfsplus"});
  for (const std::string format : {"hfs", "hfsplus"})
    for (const std::string genre : {"hybrid", "iso", "hfs"}) {
      const std::string image = format + "-" + genre + ".img";
      classique({"compile", format + ".vnpr", "-o", image, "--kind", genre, "--signatures", "types.sig"});
      compare("disc-" + format + "-" + genre, image);
    }
  projet("apple.vnso");
  classique({"compile", "apple.vnso", "-o", "apple.iso", "--signatures", "types.sig"});
  compare("disc-isoplus", "apple.iso");
  classique(
      {"master", "src", "-o", "m.iso", "--label", "Master", "--no-postgap", "--signatures", "types.sig"},
      kUnDeMoins);
  compare("master", "m.iso");
}

TEST_F(Classique, LettersAreClassicByThemselves) {
  for (const std::string option : {"", "H", "I"}) {
    const std::string nom = "lettre" + option;
    classique({"-I" + option, nom + ".vnpr", "src", "--signatures", "types.sig"}, kUnDeMoins);
    classique({"-LI", nom + ".vnpr", "LETTRE"});
    classique({"-C" + option, nom + ".vnpr", "--signatures", "types.sig"});
    for (const auto &entree : fs::directory_iterator(d)) {
      const std::string image = entree.path().filename().string();
      if (image.starts_with(nom + ".") && !image.ends_with("vnpr") && !image.ends_with("BAK"))
        compare("letters-" + image, image);
    }
    fs::remove_all(d + nom + ".vnpr");
  }
}

TEST_F(Classique, VolumesMadeAndChanged) {
  for (const std::string format : {"hfs", "hfsplus"}) {
    const std::string image = format + ".img";
    std::vector<std::string> mots{"new", image, "--size", "24", "--label", "Work"};
    if (format == "hfsplus") mots.push_back("--hfsplus");
    classique(mots);
    compare("volume-" + format + "-new", image);
    classique({"mkdir", image, "Letters"});
    compare("volume-" + format + "-mkdir", image);
    classique({"put", image, "src/sizes", "src/many", "--into", "Letters", "--signatures", "types.sig"});
    compare("volume-" + format + "-put", image);
    classique({"put", image, "src/containers", "src/names/Zoo.txt", "--signatures", "types.sig"});
    compare("volume-" + format + "-containers", image);
    classique({"rename", image, "Zoo.txt", "Zebra.txt"});
    classique({"attr", image, "Zebra.txt", "--type", "TEXT", "--creator", "ttxt", "--locked", "on"});
    classique({"mv", image, "Zebra.txt", "Letters"});
    classique({"rm", image, "Letters/many/item 919"});
    compare("volume-" + format + "-changed", image);
    classique({"rm", image, "Letters/many", "-r"});
    classique({"label", image, "Play"});
    compare("volume-" + format + "-emptied", image);
  }
  classique({"new", "big.img", "--size", "200"});
  compare("volume-hfs-200", "big.img");
}

TEST_F(Classique, CopiesToThePC) {
  classique({"new", "v.img", "--size", "12"});
  classique({"put", "v.img", "src/containers/text_file_1.bin", "src/containers/gshk.as",
             "src/containers/eyeball.gif.hqx", "src/names/zebra", "src/names/Zoo.txt", "src/sizes",
             "--signatures", "types.sig"});
  for (const std::string mode : {"data", "resource", "macbinary", "appledouble", "applesingle"}) {
    classique({"get", "v.img", "/", "--to", "get-" + mode, "--mode", mode, "--signatures", "types.sig"});
    compare("get-" + mode, "get-" + mode);
    classique({"convert", "src/containers/text_file_1.bin", "src/containers/gshk.as",
               "src/containers/eyeball.gif.hqx", "src/containers/gshk.docs", "--to", "convert-" + mode,
               "--mode", mode, "--signatures", "types.sig"});
    compare("convert-" + mode, "convert-" + mode);
  }
}

TEST_F(Classique, JoinedAndParted) {
  projet("p.vnpr");
  classique({"compile", "p.vnpr", "-o", "p.iso", "--kind", "iso", "--signatures", "types.sig"});
  classique({"compile", "p.vnpr", "-o", "p.hfs", "--kind", "hfs", "--signatures", "types.sig"});
  classique({"hybrid", "p.hfs", "p.iso"});
  compare("joined", "p.iso");
  classique({"dehybrid", "p.iso"});
  compare("parted", "p.iso");
}

}  // namespace
}  // namespace varnion
