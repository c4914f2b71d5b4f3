#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <regex>

#include "bout_en_bout/programme.hpp"

// What "master" puts on a volume comes out again with "get", in every form, and what comes out in a container
// goes onto another volume.

namespace varnion {
namespace {

namespace fs = std::filesystem;

using Arbre = std::map<std::string, std::string>;  ///< content by path

constexpr std::uint32_t kEpoque = 2082844800;

std::uint32_t u32(const std::string &octets, std::size_t place) {
  std::uint32_t valeur = 0;
  for (std::size_t i = 0; i < 4; ++i) valeur = valeur << 8 | static_cast<std::uint8_t>(octets.at(place + i));
  return valeur;
}

std::uint32_t u16(const std::string &octets, std::size_t place) {
  return u32(octets, place - 2) & 0xFFFF;
}

/// What an AppleSingle or AppleDouble file has under an id; "-" without such an entry.
std::string entree(const std::string &octets, std::uint32_t id) {
  for (std::size_t i = 0; i < u16(octets, 24); ++i)
    if (u32(octets, 26 + 12 * i) == id)
      return octets.substr(u32(octets, 30 + 12 * i), u32(octets, 34 + 12 * i));
  return "-";
}

/// One file of a volume, as it should be or as a listing tells it.
struct Attendu {
  std::string signature, data, rsrc;
  std::uint32_t drapeaux = 0;
};

class AllerRetour : public essai::Programme, public ::testing::WithParamInterface<bool> {
 protected:
  void maitre(std::vector<std::string> sources, const std::string &image) const {
    sources.insert(sources.begin(), "master");
    sources.insert(sources.end(),
                   {"-o", image, "--label", "Disc", "--force", GetParam() ? "--hfsplus" : "--hfs"});
    reussit(sources);
  }
  [[nodiscard]] Arbre prend(const std::string &image, const std::string &forme, const std::string &ou) const {
    reussit({"get", image, "/", "--to", ou, "--mode", forme});
    return arbre(ou + "/Disc");
  }
  [[nodiscard]] Arbre arbre(const std::string &dossier) const {
    Arbre trouve;
    const fs::path racine = d + dossier;
    for (const auto &entree : fs::recursive_directory_iterator(racine))
      if (entree.is_regular_file())
        trouve[entree.path().lexically_relative(racine).string()] = lit(entree.path().string());
    return trouve;
  }
  [[nodiscard]] std::vector<std::string> dedans(const std::string &dossier) const {
    std::vector<std::string> noms;
    for (const auto &entree : fs::directory_iterator(d + dossier))
      noms.push_back(dossier + "/" + entree.path().filename().string());
    return noms;
  }
  /// The files of an image by path, its forks through "cat".
  [[nodiscard]] std::map<std::string, Attendu> volume(const std::string &image) const {
    std::map<std::string, Attendu> fichiers;
    const std::string liste = reussit({"ls", image, "-R", "--json"});
    const std::regex ligne(
        R"re("path": "([^"]*)", "folder": false.*"type": "(....)", "creator": "(....)".*"finder_flags": (\d+))re");
    for (std::sregex_iterator i(liste.begin(), liste.end(), ligne); i != std::sregex_iterator(); ++i) {
      const std::string chemin = (*i)[1];
      fichiers[chemin] = {(*i)[2].str() + (*i)[3].str(), reussit({"cat", image, chemin}),
                          reussit({"cat", image, chemin, "--resource"}),
                          static_cast<std::uint32_t>(std::stoul((*i)[4]))};
    }
    return fichiers;
  }
  void fait_exemple() const {
    const std::string commande = "'" VN_SOURCES "/exemples/disque/faire' '" + d + "src'";
    ASSERT_EQ(std::system(commande.c_str()), 0);
    maitre(dedans("src"), "i.iso");
  }
};

INSTANTIATE_TEST_SUITE_P(Formats, AllerRetour, ::testing::Bool(),
                         [](const auto &cas) { return cas.param ? "HfsPlus" : "Hfs"; });

TEST_P(AllerRetour, TheExampleDiscComesOutInEveryForm) {
  fait_exemple();
  const auto fichiers = volume("i.iso");
  ASSERT_EQ(fichiers.size(), 14U);
  // The volume itself: plain files are their sources, the one of MacBinary is what was put together for it.
  const Arbre sources = arbre("src");
  std::size_t simples = 0;
  for (const auto &[chemin, fichier] : fichiers)
    if (const auto source = sources.find(chemin);
        source != sources.end() && fichier.rsrc.empty() && ++simples != 0) {
      EXPECT_EQ(fichier.data, source->second) << chemin;
    }
  EXPECT_GE(simples, 9U);
  const Attendu &image = fichiers.at("Macintosh files/Picture");
  EXPECT_EQ(image.signature, "PICTttxt");
  EXPECT_EQ(image.data, sources.at("Macintosh files/With a companion"));
  EXPECT_EQ(image.rsrc, std::string(16, '\0') + "The resource fork, as bytes that no program reads." +
                            std::string(30, '\0'));

  for (const std::string forme : {"data", "resource", "macbinary", "applesingle", "appledouble"}) {
    Arbre sortis = prend("i.iso", forme, forme);
    EXPECT_EQ(sortis.size(), fichiers.size() * (forme == "appledouble" ? 2 : 1)) << forme;
    for (const auto &[chemin, fichier] : fichiers) {
      const fs::path relatif(chemin);
      const std::string &octets = sortis[chemin];
      const std::string ou = forme + " " + chemin;
      if (forme == "macbinary") {
        ASSERT_GE(octets.size(), 128U) << ou;
        EXPECT_EQ(octets.substr(65, 8), fichier.signature) << ou;
        EXPECT_EQ(u16(octets, 73), fichier.drapeaux) << ou;
        ASSERT_EQ(u32(octets, 83), fichier.data.size()) << ou;
        ASSERT_EQ(u32(octets, 87), fichier.rsrc.size()) << ou;
        const std::size_t rsrc = 128 + (fichier.data.size() + 127) / 128 * 128;
        EXPECT_EQ(octets.substr(128, fichier.data.size()), fichier.data) << ou;
        if (!fichier.rsrc.empty()) {
          EXPECT_EQ(octets.substr(rsrc, fichier.rsrc.size()), fichier.rsrc) << ou;
        }
      } else if (forme == "data" || forme == "resource") {
        EXPECT_EQ(octets, forme == "data" ? fichier.data : fichier.rsrc) << ou;
      } else {
        const bool double_forme = forme == "appledouble";
        const std::string tete =
            double_forme ? sortis[(relatif.parent_path() / ("._" + relatif.filename().string())).string()]
                         : octets;
        ASSERT_GT(tete.size(), 26U) << ou;
        EXPECT_EQ(entree(tete, 9).substr(0, 8), fichier.signature) << ou;
        EXPECT_EQ(u16(entree(tete, 9), 8), fichier.drapeaux) << ou;
        EXPECT_EQ(entree(tete, 2), fichier.rsrc) << ou;
        EXPECT_EQ(double_forme ? octets : entree(tete, 1), fichier.data) << ou;
      }
    }
  }
  // Local time of 1994-05-17 10:30 and 1996-11-02 16:45.
  const std::string binaire = lit(d + "macbinary/Disc/Macintosh files/Picture");
  const std::string simple = lit(d + "applesingle/Disc/Macintosh files/Picture");
  EXPECT_EQ(u32(binaire, 91), 769170600U + kEpoque);
  EXPECT_EQ(u32(binaire, 95), 846953100U + kEpoque);
  EXPECT_EQ(u32(entree(simple, 8), 0), u32(binaire, 91));
  EXPECT_EQ(u32(entree(simple, 8), 4), u32(binaire, 95));
  for (const char *forme : {"data", "resource", "macbinary", "applesingle", "appledouble"}) {
    struct stat fiche {};
    ASSERT_EQ(::stat((d + forme + "/Disc/Macintosh files/Picture").c_str(), &fiche), 0);
    EXPECT_EQ(fiche.st_mtime, 846953100 + plateforme::biais_fuseau()) << forme;
  }
}

// MacBinary keeps forks, type, creator and flags, and dates that are set; a file without any content is none.
// Of AppleSingle, a project reads forks, type and creator.
TEST_P(AllerRetour, ContainersMakeTheSameVolumeAgain) {
  fait_exemple();
  const auto avant = volume("i.iso");
  for (const std::string forme : {"macbinary", "applesingle"}) {
    Arbre premiers = prend("i.iso", forme, "o" + forme);
    maitre(dedans("o" + forme + "/Disc"), "j.iso");
    const auto apres = volume("j.iso");
    EXPECT_EQ(apres.size(), avant.size());
    for (const auto &[chemin, fichier] : avant) {
      const std::string nom = fs::path(chemin).filename().string();
      // Names in a head of MacBinary end at 31 characters.
      const bool court = forme == "applesingle" || nom.size() <= 31;
      if (!court || (forme == "macbinary" && fichier.data.empty() && fichier.rsrc.empty())) continue;
      const auto lui = apres.find(chemin);
      ASSERT_NE(lui, apres.end()) << forme << " " << chemin;
      EXPECT_EQ(lui->second.signature, fichier.signature) << forme << " " << chemin;
      EXPECT_EQ(lui->second.data, fichier.data) << forme << " " << chemin;
      EXPECT_EQ(lui->second.rsrc, fichier.rsrc) << forme << " " << chemin;
      if (forme == "macbinary") {
        EXPECT_EQ(lui->second.drapeaux, fichier.drapeaux) << chemin;
      }
    }
    Arbre seconds = prend("j.iso", forme, "p" + forme);
    if (forme == "macbinary") {
      EXPECT_EQ(seconds["Macintosh files/Picture"], premiers["Macintosh files/Picture"]);
    }
  }
}

TEST_P(AllerRetour, AGeneratedTreeComesOutByteForByte) {
  std::uint32_t graine = 12345;
  const auto tire = [&graine] { return graine = graine * 1664525 + 1013904223, graine >> 8; };
  for (int i = 0; i < 2000; ++i) {
    std::string octets(i % 100 == 7 ? 0 : i % 250 == 9 ? 150000 + tire() % 100000 : tire() % 6000, '\0');
    for (char &c : octets) c = static_cast<char>(tire());
    const int dossier = i % 40;
    fichier("src/group " + std::to_string(dossier % 4) + "/folder " + std::to_string(dossier) + "/file " +
                std::to_string(i) + ".dat",
            octets);
  }
  maitre(dedans("src"), "i.iso");
  const Arbre source = arbre("src"), sorti = prend("i.iso", "data", "o");
  EXPECT_EQ(source.size(), 2000U);
  EXPECT_EQ(sorti.size(), source.size());
  for (const auto &[chemin, octets] : source) {
    const auto lui = sorti.find(chemin);
    ASSERT_NE(lui, sorti.end()) << chemin;
    ASSERT_TRUE(lui->second == octets) << chemin;
  }
}

}  // namespace
}  // namespace varnion
