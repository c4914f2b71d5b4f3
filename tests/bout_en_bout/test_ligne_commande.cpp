#include <gtest/gtest.h>

#include <map>
#include <thread>

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "bout_en_bout/programme.hpp"

// The real program on real files: results, messages, exit statuses and what it leaves on the disk.

namespace varnion {
namespace {

using essai::Fin;
namespace fs = std::filesystem;

class LigneCommande : public essai::Programme {
 protected:
  void SetUp() override {
    Programme::SetUp();
    fichier("src/a.txt", "hello");
    fichier("src/Sous/\xC3\x89t\xC3\xA9.txt", std::string(5000, 'x'));
  }
  void projet() const {
    reussit({"project", "new", "p.vnpr"});
    reussit({"project", "add", "p.vnpr", "src"});
  }
  /// Items of a project by path.
  [[nodiscard]] std::map<std::string, QJsonObject> elements(
      const std::string &nom = "p.vnpr", const std::vector<std::string> &options = {}) const {
    std::vector<std::string> mots{"project", "ls", nom, "-R", "--json"};
    mots.insert(mots.end(), options.begin(), options.end());
    const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(reussit(mots)));
    EXPECT_TRUE(json.isArray());
    std::map<std::string, QJsonObject> resultat;
    for (const auto &valeur : json.array())
      resultat[valeur.toObject()["path"].toString().toStdString()] = valeur.toObject();
    return resultat;
  }
  /// Volume identifier of the primary descriptor, blanks behind; "" where there is none.
  [[nodiscard]] std::string label_iso(const std::string &nom) const {
    const std::string image = lit(d + nom);
    return image.size() > 0x8048 ? image.substr(0x8028, 32) : "";
  }
  [[nodiscard]] static std::string vues(const QJsonObject &element) {
    return std::string(element["views"].toObject()["iso"].toBool() ? "I" : "-") +
           (element["views"].toObject()["hfs"].toBool() ? "H" : "-");
  }
  static std::string texte(const QJsonObject &objet, const char *nom) {
    return objet[nom].toString().toStdString();
  }
};

// --- projects
// -------------------------------------------------------------------------------------------------

TEST_F(LigneCommande, AProjectIsMadeFilledAndListed) {
  projet();
  echoue({"project", "new", "p.vnpr"}, 1, "--force");
  const auto e = elements();
  ASSERT_EQ(e.size(), 4U);
  const QJsonObject ete = e.at("src/Sous/\xC3\x89t\xC3\xA9.txt");
  EXPECT_EQ(texte(ete, "kind"), "file");
  EXPECT_EQ(ete["data_length"].toInt(), 5000);
  EXPECT_EQ(texte(ete, "coding"), "none");
  EXPECT_EQ(texte(ete, "source"), d + "src/Sous/\xC3\x89t\xC3\xA9.txt");
  EXPECT_TRUE(QDateTime::fromString(ete["modified"].toString(), Qt::ISODate).isValid());
  EXPECT_EQ(e.at("src")["files"].toInt(), 1);
  EXPECT_EQ(e.at("src")["folders"].toInt(), 1);
  EXPECT_NE(reussit({"project", "ls", "p.vnpr", "src"}).find("a.txt"), std::string::npos);
  EXPECT_EQ(reussit({"project", "ls", "p.vnpr"}).find("a.txt"), std::string::npos) << "not recursive";
  const auto info =
      QJsonDocument::fromJson(QByteArray::fromStdString(reussit({"project", "info", "p.vnpr", "--json"})))
          .object();
  EXPECT_EQ(texte(info, "format"), "HFS");
  EXPECT_EQ(info["files"].toInt(), 2);
  reussit({"project", "new", "plus.vnpr", "--hfsplus"});
  EXPECT_NE(reussit({"project", "info", "plus.vnpr"}).find("HFS+"), std::string::npos);
  EXPECT_EQ(reussit({"project", "ls", "plus.vnpr", "--json"}), "[]\n");
}

TEST_F(LigneCommande, LookingAtAProjectChangesNothing) {
  projet();
  fs::remove(d + "p.BAK");
  const std::string avant = lit(d + "p.vnpr");
  reussit({"project", "ls", "-R", "p.vnpr"});
  reussit({"project", "info", "p.vnpr"});
  EXPECT_EQ(lit(d + "p.vnpr"), avant);
  EXPECT_FALSE(existe("p.BAK"));
}

TEST_F(LigneCommande, AddsIntoAFolderAndAView) {
  reussit({"project", "new", "p.vnpr"});
  reussit({"project", "mkdir", "p.vnpr", "A/B", "C", "--view", "iso"});
  reussit({"project", "add", "p.vnpr", "src/a.txt", "--into", "A/B/D", "--view", "hfs"});
  reussit({"project", "add", "p.vnpr", "src/Sous", "--into", "A/b"});
  auto e = elements();
  EXPECT_EQ(vues(e["C"]), "I-");
  EXPECT_EQ(vues(e["A/B"]), "IH") << "opened for what came into it";
  EXPECT_EQ(vues(e["A/B/D"]), "-H");
  EXPECT_EQ(vues(e["A/B/D/a.txt"]), "-H");
  EXPECT_EQ(vues(e["A/B/Sous/\xC3\x89t\xC3\xA9.txt"]), "IH");
  reussit({"project", "add", "p.vnpr", "src/a.txt", "--into", "A", "--view", "hfs"});
  EXPECT_EQ(vues(elements()["A/a.txt"]), "-H") << "the view asked for, in a folder of both";
  echoue({"project", "add", "p.vnpr", "src/a.txt", "--into", "A/B/D/a.txt"}, 1, "is a file, not a folder");
  echoue({"project", "mkdir", "p.vnpr", "X/../Y"}, 1, "X/../Y");
  echoue({"project", "mkdir", "p.vnpr", std::string(63, 'n')}, 1, "62 characters");
}

TEST_F(LigneCommande, NamesWhatCannotBeAdded) {
  projet();
  fichier("autre/a.txt", "other");
  fichier("un.txt", "1");
  echoue({"project", "add", "p.vnpr", "absent", "un.txt"}, 1, "absent");
  EXPECT_EQ(elements().count("un.txt"), 1U) << "the others are in";
  echoue({"project", "add", "p.vnpr", "src"}, 1, "already exists in the same folder");
  reussit({"project", "add", "p.vnpr", "src/a.txt"});
  echoue({"project", "add", "p.vnpr", "autre/a.txt"}, 1, "autre/a.txt");
  fichier("liste", "src/Sous\r\nrien\r\n");
  echoue({"project", "add", "p.vnpr", "--list", "liste"}, 1, "rien");
  EXPECT_EQ(elements().count("Sous"), 1U);
  echoue({"project", "add", "p.vnpr", "--list", "absente"}, 1, "absente");
  echoue({"project", "add", "p.vnpr", "--signatures", "absente", "un.txt"}, 1, "absente");
}

TEST_F(LigneCommande, SignaturesComeFromTheFileGivenOrTheOnlyOneThere) {
  fichier("x.sig", "txt,ABCDWXYZ,test\r\n");
  fichier("autre/y.sig", "txt,EFGHwxyz,test\r\n");
  projet();
  EXPECT_EQ(texte(elements()["src/a.txt"], "creator"), "WXYZ");
  reussit({"project", "add", "p.vnpr", "src/a.txt", "--signatures", "autre/y.sig"});
  EXPECT_EQ(texte(elements()["a.txt"], "type"), "EFGH");
  fichier("z.sig", "txt,IJKLMNOP,test\r\n");
  reussit({"project", "add", "p.vnpr", "src/Sous"});
  EXPECT_EQ(texte(elements()["Sous/\xC3\x89t\xC3\xA9.txt"], "type"), "TEXT")
      << "two files: none, and no question";
}

// Without any set-up: the table beside the program, else the one of its data folder, behind what was chosen.
TEST_F(LigneCommande, SignaturesComeWithTheProgram) {
  const std::string programme = bac + "pose/bin/varnion-cli";
  std::filesystem::create_directories(bac + "pose/bin");
  std::filesystem::create_directories(bac + "pose/share/varnion");
  std::filesystem::copy_file(VN_CLI, programme);
  fichier("src/photo.jpg", "j");
  int essai = 0;
  const auto signature = [&] {
    const std::string projet = "p" + std::to_string(++essai) + ".vnpr";
    for (const std::vector<std::string> &mots :
         {std::vector<std::string>{"project", "new", projet}, {"project", "add", projet, "src/photo.jpg"}})
      EXPECT_EQ(lance_sous({.programme = programme}, mots).statut, 0);
    const std::string liste = reussit({"project", "ls", projet});
    return liste.substr(liste.find("photo.jpg") - 9, 8);
  };
  EXPECT_EQ(signature(), "TEXT????");
  std::filesystem::copy_file(VN_SOURCES "/src/res/varnion.sig", bac + "pose/share/varnion/varnion.sig");
  EXPECT_EQ(signature(), "JPEGogle");
  pose("pose/bin/varnion.sig", "JPG,BESIDEIT,x\r\n");
  EXPECT_EQ(signature(), "BESIDEIT");
  fichier("here.sig", "JPG,HEREHERE,x\r\n");
  EXPECT_EQ(signature(), "HEREHERE");
  fichier("chosen.sig", "JPG,CHOSENIT,x\r\n");
  pose_dossier("conf/Tarrowby");
  pose("conf/Tarrowby/Varnion.conf", "[General]\nSign=" + d + "chosen.sig\n");
  EXPECT_EQ(signature(), "CHOSENIT");
}

TEST_F(LigneCommande, DeletesFilesAndFullFoldersWhenTold) {
  projet();
  echoue({"project", "rm", "p.vnpr", "src"}, 1, "is not empty");
  EXPECT_EQ(elements().size(), 4U);
  echoue({"project", "rm", "p.vnpr", "absent", "src/a.txt"}, 1, "absent");
  EXPECT_EQ(elements().size(), 3U);
  EXPECT_EQ(elements()["src"]["files"].toInt(), 0);
  echoue({"project", "rm", "p.vnpr", "/", "-r"}, 1, "root");
  EXPECT_EQ(lance_sous({.entree = "n\n"}, {"project", "rm", "--ask", "p.vnpr", "src"}).statut, 1);
  EXPECT_EQ(elements().size(), 3U);
  EXPECT_EQ(lance_sous({.entree = "y\n"}, {"project", "rm", "--ask", "p.vnpr", "src/Sous"}).statut, 0);
  EXPECT_EQ(elements().size(), 1U);
  reussit({"project", "add", "p.vnpr", "src/Sous"});
  reussit({"project", "rm", "-r", "p.vnpr", "Sous", "src"});
  EXPECT_EQ(elements().size(), 0U);
  EXPECT_TRUE(fs::exists(d + "src/a.txt")) << "the sources stay";
}

TEST_F(LigneCommande, RenamesWithinTheLimitsOfEachView) {
  projet();
  reussit({"project", "rename", "p.vnpr", "src/a.txt", "\xC3\xA9t\xC3\xA9.txt"});
  reussit({"project", "rename", "p.vnpr", "src/a.txt", std::string(62, 'i'), "--view", "iso"});
  const auto noms = elements()["src/a.txt"]["names"].toObject();
  EXPECT_EQ(texte(noms, "source"), "a.txt");
  EXPECT_EQ(texte(noms, "iso"), std::string(62, 'i'));
  EXPECT_EQ(texte(noms, "hfs"), "\xC3\xA9t\xC3\xA9.txt");
  echoue({"project", "rename", "p.vnpr", "src/a.txt", std::string(63, 'i'), "--view", "iso"}, 1,
         "62 characters");
  echoue({"project", "rename", "p.vnpr", "src/a.txt", std::string(32, 'i'), "--view", "hfs"}, 1,
         "31 characters");
  echoue({"project", "rename", "p.vnpr", "src/a.txt", ""}, 1, "empty");
  echoue({"project", "rename", "p.vnpr", "src/a.txt", "\xE6\x97\xA5"}, 1, "cannot hold");
  echoue({"project", "rename", "p.vnpr", "src/a.txt", "SOUS"}, 1, "taken by another item");
  reussit({"project", "rename", "p.vnpr", "src/Sous", "sous"});
  reussit({"project", "set", "p.vnpr", "src/Sous", "--views", "hfs"});
  reussit({"project", "rename", "p.vnpr", "src/a.txt", "Sous", "--view", "iso"});
  EXPECT_EQ(texte(elements()["src/a.txt"]["names"].toObject(), "iso"), "Sous")
      << "nothing of that name in the view";
}

// Bits of the record whose source has that name: 1 and 2 missing in the ISO and HFS view, 4 refresh.
TEST_F(LigneCommande, SetsMissingAndRefresh) {
  projet();
  const auto bits = [this](const std::string &nom) {
    const std::string octets = lit(d + "p.vnpr");
    for (std::size_t ici = 756; ici + 756 <= octets.size(); ici += 756)
      if (octets.compare(ici + 0x170, nom.size() + 1, nom.c_str(), nom.size() + 1) == 0)
        return (octets[ici + 0x0C] >> 1 & 1) | (octets[ici + 0x0D] & 2) | (octets[ici + 0x0E] >> 3 & 4);
    return -1;
  };
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--missing", "on"});
  EXPECT_EQ(bits("a.txt"), 3);
  EXPECT_EQ(vues(elements()["src/a.txt"]), "IH");
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--missing", "off"});
  EXPECT_EQ(bits("a.txt"), 0);
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--views", "hfs"});
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--missing", "on"});
  EXPECT_EQ(bits("a.txt"), 2) << "out of the ISO view it is not missing there";
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--missing", "on", "--views", "both"});
  EXPECT_EQ(bits("a.txt"), 3);
  reussit({"project", "set", "p.vnpr", "src", "--refresh", "on"});
  EXPECT_EQ(bits("src"), 4);
  EXPECT_EQ(bits("Sous"), 0);
  reussit({"project", "set", "p.vnpr", "src", "--refresh", "on", "-R"});
  EXPECT_EQ(bits("Sous"), 4);
  EXPECT_EQ(bits("a.txt"), 3) << "a file has no contents";
  reussit({"project", "mkdir", "p.vnpr", "virtual"});
  for (const char *chemin : {"virtual", "src/a.txt"})
    echoue({"project", "set", "p.vnpr", chemin, "--refresh", "on"}, 1, "no contents to refresh");
  echoue({"project", "set", "p.vnpr", "/", "--missing", "on"}, 1, "none of the other properties");
}

TEST_F(LigneCommande, OptionsOfAProjectAreSetToldAndWritten) {
  projet();
  const auto objet = [this] {
    return QJsonDocument::fromJson(
               QByteArray::fromStdString(reussit({"project", "options", "p.vnpr", "--json"})))
        .object();
  };
  const struct {
    const char *option, *json;
    std::size_t place, longueur, image;  // bytes in the head, byte in the primary descriptor
  } champs[] = {{"system", "system", 0x20, 32, 8},
                {"volume", "volume", 0x270, 32, 40},
                {"volume-set", "volume_set", 0x40, 128, 190},
                {"publisher", "publisher", 0xC0, 128, 318},
                {"preparer", "preparer", 0x140, 128, 446},
                {"application", "application", 0x1C0, 128, 574},
                {"copyright-file", "copyright_file", 0x240, 12, 702},
                {"abstract-file", "abstract_file", 0x24C, 12, 739},
                {"bibliographic-file", "bibliographic_file", 0x258, 12, 776}};
  for (const auto &c : champs) {
    EXPECT_EQ(texte(objet(), c.json), c.json == std::string("volume") ? "Untitled" : "") << c.option;
    const std::string plein(c.longueur, static_cast<char>(c.option[0] - 'a' + 'A'));
    const std::string option = std::string("--") + c.option;
    echoue({"project", "options", "p.vnpr", option, plein + "X"}, 1, std::to_string(c.longueur));
    reussit({"project", "options", "p.vnpr", option, plein});
    EXPECT_EQ(texte(objet(), c.json), plein) << c.option;
    EXPECT_EQ(lit(d + "p.vnpr").substr(c.place, c.longueur), plein) << c.option;
  }
  reussit({"compile", "p.vnpr", "-o", "o.iso"});
  for (const auto &c : champs) {
    const std::string debut(12, static_cast<char>(c.option[0] - 'a' + 'A'));
    EXPECT_EQ(lit(d + "o.iso").substr(16 * 2048 + c.image, 12), debut) << c.option;
  }
  // The last of them taken away, the others are told to be without effect.
  reussit({"project", "options", "p.vnpr", "--system", "", "--volume", ""});
  EXPECT_EQ(texte(objet(), "volume"), "Untitled");
  EXPECT_NE(lance({"project", "options", "p.vnpr", "--publisher", "Me"}).messages.find("System"),
            std::string::npos);
  const std::string lignes = reussit({"project", "options", "p.vnpr"});
  for (const char *ligne :
       {"System: (Varnion", "Publisher: Me\n", "Format: HFS\n", "Rebuild the project: off\n"})
    EXPECT_NE(lignes.find(ligne), std::string::npos) << lignes;

  const struct {
    const char *option, *json;
    std::size_t place;
    int masque;
  } cases[] = {{"--open-root", "open_root", 0x0E, 1},
               {"--rebuild", "rebuild", 0x0E, 0x20},
               {"--custom-icon", "custom_icon", 0x0F, 4}};
  for (const auto &c : cases)
    for (const bool valeur : {true, false}) {
      const int avant = lit(d + "p.vnpr").at(c.place) & ~c.masque;
      reussit({"project", "options", "p.vnpr", c.option, valeur ? "on" : "off"});
      EXPECT_EQ(lit(d + "p.vnpr").at(c.place), avant | (valeur ? c.masque : 0)) << c.option;
      EXPECT_EQ(objet()[c.json].toBool(), valeur) << c.option;
    }
  EXPECT_EQ(lance({"project", "options", "p.vnpr", "--json", "--system", "x"}).statut, 2);
}

TEST_F(LigneCommande, TheFormatOfAProjectChangesWithItsNames) {
  const std::string long_nom = "A name of forty characters, with dot.txt";
  fichier("src/" + long_nom, "x");
  projet();
  const auto nom = [&] { return texte(elements()["src/" + long_nom]["names"].toObject(), "hfs"); };
  EXPECT_LE(nom().size(), 31U);
  reussit({"project", "options", "p.vnpr", "--format", "hfsplus"});
  EXPECT_EQ(nom(), long_nom);
  EXPECT_EQ(lit(d + "p.vnpr").at(0x0D) & 3, 1);
  reussit({"project", "options", "p.vnpr", "--format", "hfs"});
  EXPECT_LE(nom().size(), 31U);
  EXPECT_EQ(lit(d + "p.vnpr").at(0x0D) & 3, 0);

  // 65,536 copies of one record: more than classic HFS holds.
  reussit({"project", "options", "p.vnpr", "--format", "hfsplus"});
  std::string octets = lit(d + "p.vnpr").substr(0, 2 * 756);
  for (int i = 1; i < 65'536; ++i) octets.append(octets, 756, 756);
  fichier("big.vnpr", octets);
  echoue({"project", "options", "big.vnpr", "--format", "hfs"}, 1, "65,535 files or folders");
  const std::string apres = lit(d + "big.vnpr");
  EXPECT_TRUE(apres.substr(756) == octets.substr(756));
  EXPECT_EQ(apres.at(0x0D), 1);

  reussit({"project", "new", "s.vnso"});
  for (const char *option : {"--open-root", "--custom-icon"})
    echoue({"project", "options", "s.vnso", option, "on"}, 1, "ISO view only");
  echoue({"project", "options", "s.vnso", "--format", "hfsplus"}, 1, "ISO view only");
  reussit({"project", "options", "s.vnso", "--rebuild", "on", "--publisher", "Me", "--system", "Us"});
  EXPECT_NE(reussit({"project", "options", "s.vnso"}).find("Publisher: Me"), std::string::npos);
}

TEST_F(LigneCommande, SetsProperties) {
  fichier("src/Un nom de fichier plus long que le HFS.txt", "x");
  projet();
  reussit({"project", "set", "p.vnpr", "src/a.txt", "--type", "AB", "--creator", "\xC3\xA9xyz", "--hide",
           "hfs", "--hidden-ext", "on"});
  auto a = elements()["src/a.txt"];
  EXPECT_EQ(texte(a, "type"), "AB  ");
  EXPECT_EQ(texte(a, "creator"), "\xC3\xA9xyz");
  EXPECT_TRUE(a["hidden"].toObject()["hfs"].toBool());
  EXPECT_FALSE(a["hidden"].toObject()["iso"].toBool());
  EXPECT_TRUE(a["hidden_extension"].toBool());
  reussit({"project", "set", "p.vnpr", "src", "-R", "--type", "ABCD", "--hide", "none"});
  auto e = elements();
  EXPECT_EQ(texte(e["src/Sous/\xC3\x89t\xC3\xA9.txt"], "type"), "ABCD");
  EXPECT_FALSE(e["src/a.txt"]["hidden"].toObject()["hfs"].toBool());
  echoue({"project", "set", "p.vnpr", "src", "--type", "ABCD"}, 1, "src");
  echoue({"project", "set", "p.vnpr", "src/a.txt", "--type", "ABCDE"}, 1, "ABCDE");
  echoue({"project", "set", "p.vnpr", "src/a.txt", "--hide", "all"}, 2, "iso|hfs|both|none");
  echoue({"project", "set", "p.vnpr", "src/a.txt"}, 2, "Usage");

  reussit({"project", "set", "p.vnpr", "src", "--views", "none"});
  for (const auto &[chemin, element] : elements()) EXPECT_EQ(vues(element), "--") << chemin;
  reussit({"project", "set", "p.vnpr", "src/Sous", "--views", "hfs"});
  e = elements();
  EXPECT_EQ(vues(e["src"]), "-H") << "a child opens its parents";
  EXPECT_EQ(vues(e["src/Sous/\xC3\x89t\xC3\xA9.txt"]), "-H");
  EXPECT_EQ(vues(e["src/a.txt"]), "--");
  EXPECT_EQ(elements("p.vnpr", {"--view", "hfs"}).size(), 3U);
  reussit({"project", "set", "p.vnpr", "/", "--custom-icon", "on"});
  EXPECT_NE(reussit({"project", "info", "p.vnpr", "--json"}).find("\"custom_icon\": true"),
            std::string::npos);
}

// What was added to the ISO view alone carries its whole name on the other side until it goes there.
TEST_F(LigneCommande, ALongNameIsMadeFitWhenItsItemEntersTheHfsView) {
  fichier("Un tr\xC3\xA8s long nom de fichier, trop pour HFS.txt", "x");
  reussit({"project", "new", "p.vnpr"});
  reussit(
      {"project", "add", "p.vnpr", "Un tr\xC3\xA8s long nom de fichier, trop pour HFS.txt", "--view", "iso"});
  const std::string chemin = elements().begin()->first;
  reussit({"project", "set", "p.vnpr", chemin, "--views", "both"});
  EXPECT_EQ(texte(elements().begin()->second["names"].toObject(), "hfs"),
            "Un tr\xC3\xA8s long nom de fichier.txt");
}

TEST_F(LigneCommande, LabelsHaveTheirLimits) {
  projet();
  reussit({"--classic", "project", "label", "p.vnpr", "--iso", "SIXTEEN_LETTERS_", "--hfs",
           "\xC3\x89t\xC3\xA9"});
  const std::string info = reussit({"project", "info", "p.vnpr"});
  EXPECT_NE(info.find("SIXTEEN_LETTERS_"), std::string::npos);
  EXPECT_NE(info.find("\xC3\x89t\xC3\xA9"), std::string::npos);
  const std::string avant = lit(d + "p.vnpr");
  echoue({"--classic", "project", "label", "p.vnpr", "--iso", "SEVENTEEN_LETTERS"}, 1, "16 characters");
  echoue({"project", "label", "p.vnpr", "--iso", std::string(33, 'i')}, 1, "32 characters");
  echoue({"project", "label", "p.vnpr", "--iso", "OK", "--hfs", std::string(28, 'h')}, 1, "27 characters");
  EXPECT_EQ(lit(d + "p.vnpr"), avant) << "both or none";
  reussit({"project", "label", "p.vnpr", "--iso", std::string(32, 'i')});
  EXPECT_NE(reussit({"project", "info", "p.vnpr"}).find(std::string(32, 'i')), std::string::npos);
  echoue({"project", "label", "p.vnpr"}, 2, "Usage");
}

TEST_F(LigneCommande, AnIsoPlusProjectHasOneView) {
  reussit({"project", "new", "i.vnso"});
  reussit({"project", "add", "i.vnso", "src"});
  auto e = elements("i.vnso");
  EXPECT_EQ(vues(e["src/a.txt"]), "I-");
  echoue({"project", "ls", "i.vnso", "--view", "hfs"}, 1, "ISO view only");
  echoue({"project", "set", "i.vnso", "src", "--views", "both"}, 1, "ISO view only");
  echoue({"compile", "i.vnso", "--kind", "hfs"}, 1, "ISO view only");
  reussit({"-C", "i.vnso"});
  EXPECT_EQ(lit(d + "i.ISO").substr(16 * 2048 + 1, 5), "CD001");
  reussit({"compile", "i.vnso", "-o", "k.iso"});
  EXPECT_EQ(fs::file_size(d + "k.iso"), fs::file_size(d + "i.ISO"));
  reussit({"-CH", "i.vnso"});
  EXPECT_FALSE(existe("i.dmg")) << "a letter without meaning for an ISO+ project";
  echoue({"--classic", "project", "label", "i.vnso", "--iso", "THIRTEEN_LETT"}, 1, "12 characters");
  reussit({"project", "label", "i.vnso", "--iso", "THIRTEEN_LETT"});
}

// --- images
// ---------------------------------------------------------------------------------------------------

TEST_F(LigneCommande, CompilesAndRefusesToOverwrite) {
  projet();
  reussit({"project", "label", "p.vnpr", "--iso", "MY_LABEL"});
  const Fin fin = lance({"compile", "p.vnpr"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_EQ(fin.sortie.rfind("p.iso: ", 0), 0U) << fin.sortie;
  EXPECT_NE(fin.sortie.find("2 folders and 2 files."), std::string::npos);
  EXPECT_EQ(fin.messages, "Compilation succeeded.\n");
  const std::string image = lit(d + "p.iso");
  ASSERT_GT(image.size(), 0x9000U);
  EXPECT_EQ(image.substr(0x8001, 5), "CD001");
  EXPECT_EQ(image.substr(0x8028, 8), "MY_LABEL");
  EXPECT_NE(image.find(std::string(5000, 'x')), std::string::npos);
  echoue({"compile", "p.vnpr"}, 1, "p.iso");
  EXPECT_EQ(lit(d + "p.iso"), image);
  EXPECT_EQ(lance({"-q", "compile"}).statut, 2);
  const Fin discret = lance({"compile", "p.vnpr", "-qf", "--no-postgap"});
  EXPECT_EQ(discret.statut, 0);
  EXPECT_EQ(discret.messages, "");
  EXPECT_EQ(fs::file_size(d + "p.iso") + 150 * 2048, image.size());
  reussit({"compile", "p.vnpr", "-o", "autre.iso", "--kind", "iso"});
  EXPECT_LT(fs::file_size(d + "autre.iso"), image.size());
  echoue({"compile", "p.vnpr", "-f", "-o", "p.vnpr"}, 1, "overwrite the project");
  echoue({"compile", "p.vnpr", "-o", "absent/x.iso"}, 1, "absent/x.iso");
  echoue({"compile", "p.vnpr", "-o", "src", "-f"}, 1, "src");
}

TEST_F(LigneCommande, MastersAFolderInOneCommand) {
  const std::string sortie = reussit({"master", "src", "-o", "Disque.iso"});
  EXPECT_NE(sortie.find("1 folders and 2 files."), std::string::npos)
      << "the content, not the folder: " << sortie;
  EXPECT_EQ(label_iso("Disque.iso").substr(0, 6), "DISQUE");
  reussit({"master", "src", "-o", "m2.iso", "--label", "AUTRE", "--hfsplus"});
  EXPECT_EQ(label_iso("m2.iso").substr(0, 5), "AUTRE");
  EXPECT_NE(reussit({"master", "src", "src/a.txt", "-o", "m3.iso"}).find("2 folders and 3 files."),
            std::string::npos);
  for (const auto &entree : fs::directory_iterator(d)) EXPECT_NE(entree.path().extension(), ".vnpr");
  echoue({"master", "src"}, 2, "Usage");
  echoue({"master", "src", "-o", "m2.iso"}, 1, "m2.iso");
  echoue({"master", "absent", "src", "-o", "x.iso"}, 1, "absent");
  fs::create_directory(d + "vide");
  echoue({"master", "vide", "-o", "x.iso"}, 1, "contains no files");
  // A label is bound by the sides that the image has.
  echoue({"master", "src", "-o", "x.iso", "--hfs", "--label", std::string(28, 'l')}, 1, "27 characters");
  echoue({"master", "src", "-o", "x.iso", "--kind", "iso", "--label", std::string(33, 'l')}, 1,
         "32 characters");
  echoue({"--classic", "master", "src", "-o", "x.iso", "--label", std::string(17, 'l')}, 1, "16 characters");
  reussit({"--classic", "master", "src", "-o", "l.dmg", "--kind", "hfs", "--label", std::string(27, 'l')});
  reussit({"master", "src", "-o", "l.iso", "--kind", "iso", "--label", std::string(32, 'l')});
  EXPECT_EQ(label_iso("l.iso"), std::string(32, 'L'));
  EXPECT_FALSE(existe("x.iso"));
  EXPECT_TRUE(sans_reste());
  reussit({"master", "src", "-o", "src/dedans.iso"});
  const auto taille = fs::file_size(d + "src/dedans.iso");
  const Fin seconde = lance({"master", "src", "-f", "-o", "src/dedans.iso"});
  EXPECT_EQ(seconde.statut, 0);
  EXPECT_NE(seconde.messages.find("dedans.iso"), std::string::npos);
  EXPECT_EQ(fs::file_size(d + "src/dedans.iso"), taille) << "the image of the run before is not on the disc";
}

TEST_F(LigneCommande, LettersDoTheSameAsTheReadableCommands) {
  fichier("liste.txt", "src/a.txt\nsrc/Sous\n");
  const Conditions fixe{.environnement = {{"SOURCE_DATE_EPOCH", "1700000000"}}};
  const std::vector<std::string> commandes[] = {
      {"-F", "a.vnpr", "Un\\Deux"},
      {"/fh", "a.vnpr", "Mac"},
      {"-I", "a.vnpr", "$liste.txt"},
      {"\\II", "a.vnpr", "src"},
      {"-LI", "a.vnpr", "LABEL"},
      {"-lh", "a.vnpr", "Label \xC3\xA9"},
      {"-C", "a.vnpr"},
      {"project", "new", "b.vnpr"},
      {"project", "mkdir", "b.vnpr", "Un/Deux"},
      {"project", "mkdir", "b.vnpr", "Mac", "--view", "hfs"},
      {"project", "add", "b.vnpr", "src/a.txt", "src/Sous"},
      {"project", "add", "b.vnpr", "src", "--view", "iso"},
      {"project", "label", "b.vnpr", "--iso", "LABEL", "--hfs", "Label \xC3\xA9"},
      {"compile", "b.vnpr", "--classic"},
  };
  for (const auto &mots : commandes) {
    const Fin fin = lance_sous(fixe, mots);
    EXPECT_EQ(fin.statut, 0) << mots[0] << " " << mots[1] << "\n" << fin.messages;
  }
  EXPECT_FALSE(existe("a.iso")) << "a letter writes \"ISO\"";
  const std::string image = lit(d + "a.ISO");
  ASSERT_GT(image.size(), 0x9000U);
  EXPECT_EQ(image == lit(d + "b.iso"), true) << "the same bytes";
  const auto e = elements("a.vnpr");
  EXPECT_EQ(vues(e.at("Un/Deux")) + vues(e.at("Mac")) + vues(e.at("src/a.txt")) + vues(e.at("a.txt")),
            "IH-HI-IH");
  reussit({"-CI", "a.vnpr"});
  EXPECT_LT(fs::file_size(d + "a.ISO"), image.size()) << "a letter overwrites";
  EXPECT_EQ(lance_sous(fixe, {"-CH", "a.vnpr"}).statut, 0);
  reussit({"compile", "a.vnpr", "--kind", "hfs", "-o", "h.dmg"});
  EXPECT_EQ(fs::file_size(d + "a.dmg"), fs::file_size(d + "h.dmg"));
  EXPECT_EQ(lit(d + "a.dmg").substr(64 * 512 + 1024, 2), "BD");
}

TEST_F(LigneCommande, LettersTellWhatTheyCannotDo) {
  projet();
  fichier("p.hfs", "no image");
  EXPECT_EQ(lance({"/c", "p.hfs"}).statut, 0) << "nothing to do";
  echoue({"-H", "p.hfs", "x.iso"}, 1, "x.iso");
  echoue({"-DC", "p.hfs", "x"}, 1, "no compressed disk image");
  echoue({"-DC", "p.hfs"}, 2, "-DC IMAGE TARGET");
  echoue({"-X", "p.vnpr"}, 2, "-X");
  echoue({"-CZ", "p.vnpr"}, 2, "-CZ");
  echoue({"-I", "p.vnpr"}, 2, "-I[H|I]");
  echoue({"-L", "p.vnpr", "a", "b"}, 2, "b");
  echoue({"-C", "x.txt"}, 1, "not managed");
  echoue({"-I", "p.vnpr", "$absente"}, 1, "absente");
  echoue({"-C", "absent.vnpr"}, 1, "absent.vnpr");
  EXPECT_FALSE(existe("absent.vnpr"));
}

// --- what goes wrong
// ------------------------------------------------------------------------------------------

TEST_F(LigneCommande, BadProjectsAreToldApart) {
  fichier("nul.vnpr", "");
  fichier("autre.vnpr", std::string(2000, 'z'));
  fichier("vieux.vnpr", "VNRP" + std::string(752, '\0'));
  fichier("x.txt", "x");
  for (const std::string commande : {"ls", "info", "add", "rm", "set", "rename", "label", "mkdir"}) {
    std::vector<std::string> mots{"project", commande, ""};
    if (commande == "add" || commande == "rm" || commande == "mkdir") mots.push_back("x.txt");
    if (commande == "set") mots.insert(mots.end(), {"x", "--hide", "iso"});
    if (commande == "rename") mots.insert(mots.end(), {"x", "y"});
    if (commande == "label") mots.insert(mots.end(), {"--iso", "L"});
    for (const auto &[nom, message] :
         {std::pair("nul.vnpr", "is not recognized as a project"),
          std::pair("autre.vnpr", "is not recognized as a project"),
          std::pair("vieux.vnpr", "rebuild it from scratch"), std::pair("absent.vnpr", "Error opening file"),
          std::pair("x.txt", "is not managed")}) {
      mots[2] = nom;
      echoue(mots, 1, message);
    }
  }
  EXPECT_EQ(lit(d + "autre.vnpr"), std::string(2000, 'z'));
  EXPECT_FALSE(existe("autre.BAK"));
  echoue({"compile", "vieux.vnpr"}, 1, "rebuild it from scratch");
}

TEST_F(LigneCommande, SourcesThatChangedAreNamedAndTheImageStays) {
  projet();
  fs::remove(d + "src/a.txt");
  fichier("src/Sous/\xC3\x89t\xC3\xA9.txt", "short");
  const Fin fin = lance({"compile", "p.vnpr"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("a.txt"), std::string::npos) << fin.messages;
  EXPECT_NE(fin.messages.find("\xC3\x89t\xC3\xA9.txt"), std::string::npos) << fin.messages;
  EXPECT_NE(fin.messages.find("complete but for"), std::string::npos) << fin.messages;
  EXPECT_TRUE(existe("p.iso"));
  EXPECT_TRUE(sans_reste());
}

TEST_F(LigneCommande, AnUnreadableFileIsNamedAndTheRestIsAdded) {
  fs::permissions(d + "src/a.txt", fs::perms::none);
  fs::permissions(d + "src/Sous/\xC3\x89t\xC3\xA9.txt", fs::perms::all);
  const Fin fin = lance_sous({.sans_droits = true}, {"master", "src", "-o", "m.iso"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("a.txt"), std::string::npos) << fin.messages;
  EXPECT_NE(fin.sortie.find("1 folders and 1 files."), std::string::npos) << fin.sortie;
}

TEST_F(LigneCommande, TwoEqualNamesStopTheCompile) {
  projet();
  fichier("b.txt", "b");
  reussit({"project", "add", "p.vnpr", "b.txt", "--into", "src"});
  // Typed behind the back of the checks: the records are 756 bytes, the name of the HFS view at 0x2B4.
  std::string octets = lit(d + "p.vnpr");
  const auto place = octets.find(std::string("b.txt") + '\0', 0x2B4);
  ASSERT_NE(place, std::string::npos);
  for (std::size_t i = 0; i < octets.size(); i += 756)
    if (octets.compare(i + 0x2B4, 5, "b.txt") == 0) octets[i + 0x2B4] = 'a';
  fichier("p.vnpr", octets);
  echoue({"compile", "p.vnpr"}, 1, "two items have the same name");
  EXPECT_FALSE(existe("p.iso"));
  EXPECT_TRUE(sans_reste());
}

TEST_F(LigneCommande, AFullDiskLeavesWhatWasThere) {
  fichier("src/gros.bin", std::string(3 << 20, 'g'));
  projet();
  const std::string avant = lit(d + "p.vnpr");
  fichier("p.iso", "the image before");
  const Fin fin = lance_sous({.taille_max = 1 << 20}, {"compile", "-f", "p.vnpr"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("p.iso"), std::string::npos) << fin.messages;
  EXPECT_EQ(lit(d + "p.iso"), "the image before");
  EXPECT_TRUE(sans_reste());
  const Fin ajout = lance_sous({.taille_max = 800}, {"project", "add", "p.vnpr", "src/a.txt"});
  EXPECT_EQ(ajout.statut, 1);
  EXPECT_NE(ajout.messages, "");
  EXPECT_EQ(elements().size(), 5U) << "the project is unharmed";
}

TEST_F(LigneCommande, OneInterruptionStopsACompileAndLeavesNothing) {
  fs::create_directories(d + "gros");
  fichier("gros/g.bin", "");
  fs::resize_file(d + "gros/g.bin", std::uint64_t{2} << 30);
  reussit({"project", "new", "p.vnpr"});
  reussit({"project", "add", "p.vnpr", "gros"});
  const std::string avant = lit(d + "p.vnpr");
  for (const int numero : {SIGINT, SIGTERM}) {
    const auto interrompt = [&](pid_t enfant) {
      std::error_code erreur;
      for (int i = 0; i < 10000; ++i) {
        const auto taille = fs::file_size(d + "p.iso.varnion-1.part", erreur);
        if (!erreur && taille > (8 << 20)) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      ::kill(enfant, numero);
    };
    const Fin fin = lance_sous({.pendant = interrompt}, {"compile", "p.vnpr"});
    EXPECT_EQ(fin.statut, 1);
    EXPECT_NE(fin.messages.find("aborted at your request"), std::string::npos) << fin.messages;
    EXPECT_FALSE(existe("p.iso"));
    EXPECT_TRUE(sans_reste());
  }
  EXPECT_EQ(elements().size(), 2U);
  EXPECT_EQ(lit(d + "p.vnpr").size(), avant.size());
}

TEST_F(LigneCommande, ResultsThatCannotBeWrittenAreAFailure) {
  projet();
  const Fin fin = lance_sous({.sortie_vers = "/dev/full"}, {"project", "ls", "-R", "p.vnpr"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("could not be written"), std::string::npos);
}

// --- the words
// ------------------------------------------------------------------------------------------------

TEST_F(LigneCommande, HelpVersionAndUsage) {
  EXPECT_NE(reussit({"--version"}).find(VARNION_VERSION), std::string::npos);
  const std::string aide = reussit({"--help"});
  EXPECT_EQ(reussit({"-h"}), aide);
  EXPECT_EQ(reussit({"help"}), aide);
  for (const std::string commande : {"new", "add", "mkdir", "label", "ls", "info", "rm", "rename", "set"}) {
    EXPECT_NE(aide.find("project " + commande), std::string::npos);
    EXPECT_NE(reussit({"project", commande, "--help"}).find("Usage: varnion-cli project " + commande),
              std::string::npos);
  }
  EXPECT_EQ(reussit({"compile", "-h"}), reussit({"help", "compile"}));
  EXPECT_NE(reussit({"master", "--help"}).find("--no-postgap"), std::string::npos);
  EXPECT_NE(reussit({"project", "--help"}).find("project rm"), std::string::npos);
  echoue({}, 2, "Usage");
  echoue({"bogus"}, 2, "bogus");
  echoue({"project"}, 2, "Usage");
  echoue({"project", "bogus"}, 2, "project bogus");
  echoue({"compile"}, 2, "compile PROJECT");
  echoue({"compile", "a.vnpr", "b.vnpr"}, 2, "b.vnpr");
  echoue({"compile", "a.vnpr", "--bogus"}, 2, "--bogus");
  echoue({"--lang", "de", "--help"}, 2, "en|fr");
  echoue({"--lang"}, 2, "--lang");
}

TEST_F(LigneCommande, SpeaksBothLanguages) {
  fs::create_directory(d + "vide");
  const Conditions fr{.environnement = {{"LANG", "fr_FR.UTF-8"}}};
  EXPECT_NE(lance_sous(fr, {"--help"}).sortie.find("Utilisation"), std::string::npos);
  EXPECT_NE(lance_sous(fr, {"--lang", "en", "--help"}).sortie.find("Usage"), std::string::npos);
  EXPECT_NE(lance({"compile", "--help", "--lang=fr"}).sortie.find("Utilisation"), std::string::npos);
  const Fin fin = lance({"--lang", "fr", "compile", "absent.vnpr"});
  EXPECT_EQ(fin.statut, 1);
  EXPECT_NE(fin.messages.find("Erreur \xC3\xA0 l"), std::string::npos) << fin.messages;
  fs::create_directories(bac + "conf/Tarrowby");
  pose("conf/Tarrowby/Varnion.conf", "[General]\nLang=1\nVN-Options=1044\nJournal=" + bac + "vn.log\n");
  EXPECT_NE(lance({"--help"}).sortie.find("Utilisation"), std::string::npos) << "the setting over the system";
  reussit({"project", "new", "p.vnpr"});
  EXPECT_NE(reussit({"project", "info", "p.vnpr"}).find("HFS+"), std::string::npos)
      << "a default of the settings";
  echoue({"compile", "absent.vnpr"}, 1, "absent.vnpr");
  const std::string journal = lit(bac + "vn.log");
  EXPECT_EQ(journal.rfind("**********\r\n", 0), 0U);
  EXPECT_NE(journal.find("absent.vnpr.\n  ("), std::string::npos) << journal;
  EXPECT_EQ(lit(bac + "conf/Tarrowby/Varnion.conf").rfind("[General]\nLang=1\nVN-Options=1044\n", 0), 0U)
      << "a batch run does not write the settings";
}

}  // namespace
}  // namespace varnion
