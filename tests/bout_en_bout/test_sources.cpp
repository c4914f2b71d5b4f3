#include <gtest/gtest.h>

#include <filesystem>

#include "bout_en_bout/programme.hpp"
#include "outils/image_lue.hpp"
#include "outils/programmes.hpp"

// What a compile says of its sources, and what it makes of those that cannot go in as they are.

namespace varnion::essai {
namespace {

namespace fs = std::filesystem;
using outils::octets_quelconques;

class Sources : public Programme {
 protected:
  /// Times that a text stands in another.
  static std::size_t compte(const std::string &texte, const std::string &quoi) {
    std::size_t n = 0;
    for (std::size_t p = texte.find(quoi); p != std::string::npos; p = texte.find(quoi, p + 1)) ++n;
    return n;
  }
};

// Names that are one name once Joliet has mapped them: every file can be reached in the tree, whole, and each
// new name is told.
TEST_F(Sources, noms_joliet_egaux_une_fois_ecrits) {
  const std::string japonais_compose = "src/\u304C.txt", japonais_decompose = "src/\u304B\u3099.txt";
  const std::vector<std::pair<std::string, std::string>> fichiers = {
      {"src/a_b.txt", "underscore"},      {"src/a\\b.txt", "backslash"},   {"src/a*b.txt", "star"},
      {"src/x\xFF.txt", "invalid ff"},    {"src/x\xFE.txt", "invalid fe"}, {japonais_compose, "composed"},
      {japonais_decompose, "decomposed"}, {"src/d\xFF/q", "in ff"},        {"src/d\xFE/q", "in fe"},
  };
  for (const auto &[nom, contenu] : fichiers) fichier(nom, contenu);
  const Fin fin = lance({"master", "src", "-o", "o.iso", "--kind", "iso"});
  EXPECT_EQ(fin.statut, 0) << fin.messages;
  EXPECT_EQ(compte(fin.messages, "The Joliet name of"), 5U) << fin.messages;
  const outils::ImageLue image = outils::lit_image(d + "o.iso", {true, false, false});
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
  std::set<std::string> noms, contenus, attendus;
  for (const outils::EntreeIso &e : image.joliet.entrees) {
    EXPECT_TRUE(noms.insert(e.chemin).second) << e.chemin << " stands there twice";
    if (!e.dossier) contenus.insert(image.vue.texte(e.extent * outils::kSecteurLu, e.taille));
  }
  for (const auto &[nom, contenu] : fichiers) attendus.insert(contenu);
  EXPECT_EQ(contenus, attendus);
  EXPECT_TRUE(noms.count("a_b~1.txt;1") == 1 && noms.count("a_b~2.txt;1") == 1) << "the extension stays";
  const auto extrait =
      outils::lance("cd " + outils::cite(d) + " && xorriso -indev o.iso -osirrox on -extract / out");
  EXPECT_EQ(extrait.statut, 0) << extrait.texte;
  EXPECT_EQ(lit(d + "out/a_b.txt") + lit(d + "out/a_b~1.txt") + lit(d + "out/a_b~2.txt"),
            "starunderscorebackslash")
      << extrait.texte;
}

// Classic HFS ends at 2^31 - 1 bytes: a longer fork is named, nothing is written, and HFS+ is offered.
TEST_F(Sources, une_fourche_de_deux_gigaoctets_est_refusee_en_hfs) {
  fichier("src/movie.dat", "");
  fichier("src/small.txt", "small");
  fs::resize_file(d + "src/movie.dat", std::uintmax_t{1} << 31);
  for (const char *genre : {"hybrid", "hfs"}) {
    const Fin fin = lance({"master", "src", "-o", "o.iso", "--hfs", "--kind", genre});
    EXPECT_EQ(fin.statut, 1) << genre;
    EXPECT_NE(fin.messages.find("src/movie.dat"), std::string::npos) << fin.messages;
    EXPECT_NE(fin.messages.find("2147483648 bytes"), std::string::npos) << fin.messages;
    EXPECT_NE(fin.messages.find("HFS+ holds it"), std::string::npos) << fin.messages;
    EXPECT_FALSE(existe("o.iso"));
    EXPECT_TRUE(sans_reste());
  }
}

// Damaged containers end a master with status 1, each with its fault; hfsutils finds their own bytes.
TEST_F(Sources, conteneurs_abimes_d_un_dossier) {
  outils::FichierMac f;
  f.nom = "Inside";
  f.data = octets_quelconques(1000, 1);
  f.rsrc = octets_quelconques(500, 2);
  const std::string single = outils::applesingle(f), compagnon = outils::appledouble(f);
  fichier("src/sound.as", single);
  fichier("src/cut.as", single.substr(0, single.size() - 1));
  fichier("src/cut.bin", outils::macbinary(f).substr(0, 128 + 1024 + 448));
  std::string texte = outils::binhex(f);
  texte[700] = texte[700] == 'A' ? 'B' : 'A';
  fichier("src/wrong.hqx", texte);
  fichier("src/pair", "data of the pair");
  fichier("src/._pair", compagnon.substr(0, compagnon.size() - 1));
  fichier("src/large.dat", octets_quelconques(1'000'000, 3));  // hfsutils wants 800 KB
  for (const char *genre : {"hybrid", "hfs"}) {
    const Fin fin = lance({"master", "src", "-o", "o.iso", "--hfs", "--kind", genre, "-f"});
    EXPECT_EQ(fin.statut, 1) << genre;
    EXPECT_EQ(compte(fin.messages, "is damaged"), 4U) << fin.messages;
    EXPECT_EQ(compte(fin.messages, "sound.as"), 0U) << fin.messages;
    for (const char *nom : {"cut.as", "cut.bin", "wrong.hqx", "pair", "._pair"}) {
      const auto copie = outils::lance("cd " + outils::cite(d) + " && hmount o.iso && hcopy -r ':" + nom +
                                       "' out && humount && cmp out src/" + nom + " && rm out");
      EXPECT_EQ(copie.statut, 0) << genre << " " << nom << "\n" << copie.texte;
    }
  }
}

}  // namespace
}  // namespace varnion::essai
