#include "fichiers/macbinaire.hpp"

#include "fichiers/outils.hpp"

namespace varnion {
namespace {

using namespace essai;

TEST(MacBinaire, EchantillonsReels) {
  struct Cas {
    const char *fichier, *nom, *signature;
    std::uint32_t data, crc_data, rsrc, crc_rsrc, creation, modif;
  };
  const Cas cas[] = {
      {"date_test.bin", "Date Test", "TEXTMPS ", 34, 0x98FED6B8, 0, 0, 3762669652U, 3762669652U},
      {"no_resource_fork.bin", "No resource fork.txt", "TEXTttxt", 17, 0x682B71F4, 0, 0, 0, 3762484923U},
      {"text_file_1.bin", "Text File", "TEXTR*ch", 21, 0x44E72DFD, 1454, 0xC159E514, 3762345192U,
       3762347785U},
      {"text_file_2.bin", "Text File", "TEXTR*ch", 21, 0x44E72DFD, 1454, 0xC159E514, 3762345192U,
       3762347785U},
      {"text_file_3.bin", "Text File", "TEXTR*ch", 21, 0x44E72DFD, 1454, 0xCEA9DE3C, 3762345192U,
       3762345192U},
      {"sources_with_comment.sit.bin", "sources_with_comment.sit", "SITDSIT!", 2804, 0xABB899AF, 368,
       0xA3D77462, 3758588621U, 3758588651U},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.fichier);
    const Fichier fichier = echantillon(std::string("macbinary/") + c.fichier);
    fichier_seek(fichier, 40, 0);
    EXPECT_TRUE(est_macbinaire(fichier));
    EXPECT_EQ(fichier_position(fichier), 0);
    const auto tete = lit_tete_macbinaire(fichier);
    ASSERT_TRUE(tete);
    EXPECT_EQ(nom_macbinaire(*tete), c.nom);
    EXPECT_EQ(signature_macbinaire(*tete), c.signature);
    EXPECT_EQ(drapeaux_macbinaire(*tete), 0x0100);
    EXPECT_EQ(tete->date_creation, c.creation);
    EXPECT_EQ(tete->date_modif, c.modif);
    const auto taille = static_cast<std::uint64_t>(fichier_taille(fichier));
    const PlageFourche data = plage_data_macbinaire(*tete, taille);
    const PlageFourche rsrc = plage_rsrc_macbinaire(*tete, taille);
    EXPECT_EQ(data.longueur, c.data);
    EXPECT_EQ(rsrc.longueur, c.rsrc);
    EXPECT_EQ(somme(fichier, data), c.crc_data);
    EXPECT_EQ(somme(fichier, rsrc), c.crc_rsrc);
  }
}

// A head that passes: name "abc", type and creator, a data fork of 10 bytes.
std::string tete_valide() {
  std::string tete(128, '\0');
  pose(tete, 1, "\3abc");
  pose(tete, 65, "TEXTttxt");
  pose(tete, 83, be32_texte(10));
  return tete;
}

TEST(MacBinaire, Detection) {
  struct Cas {
    const char *quoi;
    std::size_t position;
    std::string octets;
    std::uint64_t longueur;
    bool attendu;
  };
  const std::string nom63(63, 'x');
  const Cas cas[] = {
      {"as it is", 0, {}, 138, true},
      {"byte 0", 0, "\1", 138, false},
      {"name length 0", 1, std::string(1, '\0'), 138, false},
      {"name longer than told", 1, "\2", 138, false},
      {"name shorter than told", 1, "\4", 138, false},
      {"63 characters", 1, "\x3F" + nom63, 138, true},
      {"64 characters", 1, "\x40" + nom63, 138, false},
      {"type and creator all zero", 65, std::string(8, '\0'), 138, true},
      {"type without creator", 69, std::string(4, '\0'), 138, false},
      {"one zero in the creator", 72, std::string(1, '\0'), 138, false},
      {"byte 74", 74, "\x40", 138, true},
      {"byte 82", 82, "\1", 138, false},
      {"no fork", 83, std::string(4, '\0'), 128, false},
      {"no fork, length not known", 83, std::string(4, '\0'), 0, false},
      {"cut by 128 bytes", 0, {}, 10, true},
      {"cut by 129 bytes", 0, {}, 9, false},
      {"length not known", 83, be32_texte(0x10000000), 0, true},
      {"sum at 31 bits", 83, be32_texte(0x7FFFFFFF), 0x80000000U, true},
      {"sum past 31 bits", 83, be32_texte(0x7FFFFFFF) + be32_texte(1), 0x90000000U, false},
      {"sum past 32 bits", 83, be32_texte(0xFFFFFFFF) + be32_texte(2), 138, false},
      {"fields of later versions", 99, std::string(29, '\x7F'), 138, true},
  };
  for (const Cas &c : cas) {
    std::string tete = tete_valide();
    pose(tete, c.position, c.octets);
    EXPECT_EQ(est_macbinaire(octets(tete), c.longueur), c.attendu) << c.quoi;
  }
  EXPECT_FALSE(est_macbinaire(octets(tete_valide()).first(127), 138));
  EXPECT_FALSE(est_macbinaire(fichier_de(tete_valide().substr(0, 127))));
}

TEST(MacBinaire, PositionsEtPlages) {
  EXPECT_EQ(position_ressource(0), 128U);
  EXPECT_EQ(position_ressource(1), 256U);
  EXPECT_EQ(position_ressource(128), 256U);
  EXPECT_EQ(position_ressource(129), 384U);
  EXPECT_EQ(position_ressource(0xFFFFFFFF), 0x100000080U);

  TeteMacBinaire tete;
  tete.lg_data = 200;
  tete.lg_rsrc = 50;
  EXPECT_EQ(plage_data_macbinaire(tete, 1000).longueur, 200U);
  EXPECT_EQ(plage_rsrc_macbinaire(tete, 1000).position, 384U);
  EXPECT_EQ(plage_data_macbinaire(tete, 300).longueur, 172U);
  EXPECT_EQ(plage_rsrc_macbinaire(tete, 400).longueur, 16U);
  EXPECT_EQ(plage_rsrc_macbinaire(tete, 300).longueur, 0U);
  EXPECT_EQ(plage_data_macbinaire(tete, 100).longueur, 0U);
}

TEST(MacBinaire, DrapeauxEtNom) {
  std::string octets_tete = tete_valide();
  pose(octets_tete, 73, "\x21\x40");
  const auto *tete = vue<TeteMacBinaire>(octets(octets_tete), 0);
  ASSERT_NE(tete, nullptr);
  EXPECT_EQ(drapeaux_macbinaire(*tete), 0x2140);
  TeteMacBinaire mauvaise;
  mauvaise.lg_nom = 255;
  mauvaise.nom.fill('n');
  EXPECT_EQ(nom_macbinaire(mauvaise), std::string(63, 'n'));
}

}  // namespace
}  // namespace varnion
