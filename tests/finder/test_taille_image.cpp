#include "finder/taille_image.hpp"

#include "fichiers/outils.hpp"
#include "outils/fourche_ressources.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::gros_bout;

std::string petit_bout(std::uint64_t valeur, int taille) {
  const std::string gros = gros_bout(valeur, taille);
  return {gros.rbegin(), gros.rend()};
}

std::string segment(char marque, const std::string &contenu) {
  return std::string("\xFF") + marque + gros_bout(contenu.size() + 2, 2) + contenu;
}
// Frame header and scan header of one component (ITU-T T.81, B.2.2 and B.2.3).
std::string fait_jpeg(const std::string &devant, int largeur, int hauteur) {
  return "\xFF\xD8" + devant +
         segment('\xC0', "\x08" + gros_bout(static_cast<unsigned>(hauteur), 2) +
                             gros_bout(static_cast<unsigned>(largeur), 2) +
                             std::string("\x01\x01\x11\0", 4)) +
         segment('\xDA', std::string("\x01\x01\0\0\x3F\0", 6));
}

std::string fait_png(std::uint32_t largeur, std::uint32_t hauteur) {
  return "\x89PNG\r\n\x1A\n" + gros_bout(13, 4) + "IHDR" + gros_bout(largeur, 4) + gros_bout(hauteur, 4) +
         std::string(9, '\0');
}

// A directory at the end, with the height in a LONG and the width in a SHORT.
std::string fait_tiff(bool petit, unsigned largeur, unsigned hauteur) {
  const auto n = [petit](std::uint64_t v, int t) { return petit ? petit_bout(v, t) : gros_bout(v, t); };
  return (petit ? "II" : "MM") + n(42, 2) + n(20, 4) + std::string(12, 'x') + n(3, 2) +  //
         n(254, 2) + n(4, 2) + n(1, 4) + n(0, 4) +                                       //
         n(256, 2) + n(3, 2) + n(1, 4) + n(largeur, 2) + n(0x7777, 2) +                  //
         n(257, 2) + n(4, 2) + n(1, 4) + n(hauteur, 4);
}

std::string fait_bmp(std::uint32_t entete, const std::string &dimensions) {
  return "BM" + std::string(12, '\0') + petit_bout(entete, 4) + dimensions + std::string(8, '\0');
}

TEST(TailleImage, ParLeContenu) {
  using enum FormatImage;
  const std::string profils =
      segment('\xE1', std::string(65000, 'e')) + segment('\xE2', std::string(65000, 'i'));
  struct Cas {
    const char *quoi;
    FormatImage genre;
    std::string octets;
    std::optional<TailleImage> taille;
  };
  const Cas cas[] = {
      {"jpeg", jpeg, fait_jpeg("", 1024, 768), TailleImage{1024, 768}},
      {"jpeg behind profiles", jpeg, fait_jpeg(profils, 300, 5), TailleImage{300, 5}},
      {"jpeg without frame", jpeg, "\xFF\xD8" + profils, std::nullopt},
      {"jpeg cut", jpeg, fait_jpeg("", 10, 10).substr(0, 8), std::nullopt},
      {"jpeg empty", jpeg, "", std::nullopt},
      {"jpeg that is png", jpeg, fait_png(5, 5), std::nullopt},
      {"png", png, fait_png(640, 480), TailleImage{640, 480}},
      {"png of no width", png, fait_png(0, 480), std::nullopt},
      {"png cut", png, fait_png(640, 480).substr(0, 23), std::nullopt},
      {"png that is jpeg", png, fait_jpeg("", 9, 9) + std::string(40, 'x'), std::nullopt},
      {"tiff II", tiff, fait_tiff(true, 800, 100000), TailleImage{800, 100000}},
      {"tiff MM", tiff, fait_tiff(false, 801, 601), TailleImage{801, 601}},
      {"tiff cut", tiff, fait_tiff(true, 8, 6).substr(0, 45), std::nullopt},
      {"tiff directory outside", tiff, "II" + petit_bout(42, 2) + petit_bout(0xFFFFFFF0, 4), std::nullopt},
      {"tiff mixed", tiff, "IM" + fait_tiff(true, 8, 6).substr(2), std::nullopt},
      {"bmp", bmp, fait_bmp(40, petit_bout(32, 4) + petit_bout(0xFFFFFFF0, 4)), TailleImage{32, 16}},
      {"bmp of old", bmp, fait_bmp(12, petit_bout(33, 2) + petit_bout(17, 2)), TailleImage{33, 17}},
      {"of no kind", aucun, fait_png(640, 480), std::nullopt},
  };
  for (const Cas &c : cas) EXPECT_EQ(taille_image(fichier_de(c.octets), c.genre), c.taille) << c.quoi;
}

TEST(TailleImage, GenreParExtension) {
  using enum FormatImage;
  const std::pair<const char *, FormatImage> cas[] = {
      {"/a/fond.jpg", jpeg},  {"/a/FOND.JPEG", jpeg},  {"fond.Png", png},   {"fond.tif", tiff},
      {"fond.TIFF", tiff},    {"fond.bmp", bmp},       {"fond.gif", aucun}, {"fond", aucun},
      {"/a.jpg/fond", aucun}, {"fond.jpg.txt", aucun}, {"", aucun},
  };
  for (const auto &[chemin, genre] : cas) EXPECT_EQ(genre_image(chemin), genre) << chemin;
}

}  // namespace
}  // namespace varnion
