#include "inspect/lignes.hpp"

#include "hfs/extents.hpp"
#include "hfs/ouverture.hpp"
#include "inspect/outils.hpp"
#include "inspect/segment.hpp"
#include "IO/bac.hpp"
#include "IO/plateforme.hpp"
#include "outils/programmes.hpp"

namespace varnion::essai {

using Vidage = Bac;

namespace {

std::string texte(const Octets &octets) {
  return {octets.begin(), octets.end()};
}

std::string tout_lu(const SourceSecteurs &source) {
  std::string lu(static_cast<std::size_t>(source.longueur()), '\0');
  EXPECT_EQ(source.lire({reinterpret_cast<std::uint8_t *>(lu.data()), lu.size()}, 0), lu.size());
  return lu;
}

}  // namespace

// The form of a line, written out.
TEST_F(Vidage, lignes) {
  constexpr std::string_view octets("\x00\x01 Az\x7F\x80\x8E\xA5\xC4\xFF\x0D\x40\xC1\xC2\xF0", 16);
  const Octets ligne(octets.begin(), octets.end());
  struct Cas {
    AspectVidage aspect;
    std::uint64_t position;
    const char *attendue;
  };
  // Characters as each table has them, in UTF-8.
  const std::vector<Cas> cas{
      {{10, TableCaracteres::mac},
       512,
       "00000512  00 01 20 41 7a 7f 80 8e  a5 c4 ff 0d 40 c1 c2 f0   _ Az Äé·ƒ__@¡¬_"},
      {{16, TableCaracteres::windows},
       0xAB0,
       "00000ab0  00 01 20 41 7a 7f 80 8e  a5 c4 ff 0d 40 c1 c2 f0   _ Az\x7F€Ž¥Äÿ_@ÁÂð"},
      {{10, TableCaracteres::mac},
       123456789,
       "123456789 00 01 20 41 7a 7f 80 8e  a5 c4 ff 0d 40 c1 c2 f0   _ Az Äé·ƒ__@¡¬_"},
      {{16, TableCaracteres::mac},
       0x123456789A,
       "123456789a00 01 20 41 7a 7f 80 8e  a5 c4 ff 0d 40 c1 c2 f0   _ Az Äé·ƒ__@¡¬_"},
  };
  for (const Cas &c : cas) {
    const std::string faite = ligne_vidage(ligne, c.position, c.aspect);
    EXPECT_EQ(faite.size(), 76U);
    EXPECT_EQ(plateforme::texte_vers_utf8(faite), c.attendue);
  }
  // In code page 437 E9 is a capital theta, which Windows lacks, and 82 is "é"; in EBCDIC C1 to C9 are A to
  // I.
  EXPECT_EQ(static_cast<unsigned char>(caractere_vidage(0x82, TableCaracteres::dos)), 0xE9);
  for (std::uint8_t i = 0; i < 9; ++i)
    EXPECT_EQ(caractere_vidage(static_cast<std::uint8_t>(0xC1 + i), TableCaracteres::ebcdic), 'A' + i);
  EXPECT_EQ(caractere_vidage(0xF7, TableCaracteres::ebcdic), '7');
  // A line that ends early is filled with blanks.
  EXPECT_EQ(ligne_vidage(std::span(ligne).first(3), 0, {}),
            "00000000  00 01 20" + std::string(42, ' ') + " _ " + std::string(12, ' ') + " ");
  const auto liste = lignes_secteur(Octets(512), 0, {});
  ASSERT_EQ(liste.size(), 34U);
  for (std::size_t i = 0; i < liste.size(); ++i) EXPECT_EQ(liste[i].empty(), i == 16 || i == 33) << i;
  for (const std::size_t place : {0U, 15U, 255U, 256U, 511U})
    EXPECT_EQ(std::stoul(liste.at(rang_ligne(place))), place / 16 * 16);
  EXPECT_EQ(liste[0].substr(colonne_hexa(15), 2), "00");
}

TEST_F(Vidage, nombres_demandes) {
  struct Cas {
    const char *texte;
    std::int64_t courant;
    unsigned radix;
    std::int64_t secteur;
  };
  const std::vector<Cas> cas{
      {"12", 5, 10, 12},     {"  12 ", 5, 10, 12},
      {"12", 5, 16, 18},     {"ff", 5, 16, 255},
      {"ff", 5, 10, -1},     {"0xff", 5, 10, 255},
      {"+3", 5, 10, 8},      {"-3", 5, 10, 2},
      {"-1", 0, 10, -1},     {"- 1", 4, 10, 3},
      {"", 5, 10, -1},       {"+", 5, 10, -1},
      {"12a", 5, 10, -1},    {"--3", 5, 10, -1},
      {"+10", 0x10, 16, 32}, {"99999999999999999999", 5, 10, -1},
      {"0x", 5, 10, -1},     {"+9223372036854775807", 5, 10, -1},
  };
  for (const Cas &c : cas) EXPECT_EQ(secteur_demande(c.texte, c.courant, c.radix), c.secteur) << c.texte;
  EXPECT_EQ(fin_demandee("+16", 100, 10), 116U);
  EXPECT_EQ(fin_demandee(" 16", 100, 10), 16U);
  EXPECT_EQ(fin_demandee("x", 100, 10), std::nullopt);
  EXPECT_EQ(nombre_vidage(4096, 16), "1000");
  EXPECT_EQ(nombre_vidage(-1, 10), "-1");
}

TEST_F(Vidage, segments) {
  Octets contenu(1300);
  for (std::size_t i = 0; i < contenu.size(); ++i) contenu[i] = static_cast<std::uint8_t>(i * 7);
  const auto source = source_octets(contenu, "essai");
  EXPECT_EQ(source->dernier_secteur(), 2);
  const auto dossier = DossierSortie::ouvre(bac);
  ASSERT_TRUE(dossier);
  const auto garde = [&](const std::optional<Segment> &segment, std::optional<AspectVidage> aspect = {}) {
    EXPECT_TRUE(segment);
    EXPECT_EQ(enregistre_segment(*source, segment.value_or(Segment{}), aspect, *dossier, "sortie"),
              ResultatSegment::fait);
    return tout(Fichier(::open((bac + "sortie").c_str(), O_RDONLY)));
  };
  const std::string plein = texte(contenu);
  EXPECT_EQ(garde(segment_octets(*source, 0, 1300)), plein);
  EXPECT_EQ(garde(segment_octets(*source, 510, 515)), plein.substr(510, 5));
  EXPECT_EQ(garde(segment_octets(*source, 7, 7)), "");
  // The last sector is whole: zeros stand behind the end.
  EXPECT_EQ(garde(segment_secteurs(*source, 1, 2)), plein.substr(512) + std::string(1536 - 1300, '\0'));
  EXPECT_EQ(segment_secteurs(*source, 2, 3), std::nullopt);
  EXPECT_EQ(segment_secteurs(*source, 2, 1), std::nullopt);
  EXPECT_EQ(segment_octets(*source, 0, 1537), std::nullopt);
  const std::string vidage = garde(segment_octets(*source, 20, 40), AspectVidage{});
  EXPECT_EQ(vidage.size(), 2 * 78U);
  EXPECT_TRUE(vidage.starts_with("00000020  8c 93 9a a1 a8 af b6 bd  c4 cb d2 d9 e0 e7 ee f5"));
  EXPECT_EQ(vidage.substr(78, 21), "00000036  fc 03 0a 11");
  // A run that is stopped leaves what was there.
  EXPECT_EQ(
      enregistre_segment(*source, {0, 1300}, {}, *dossier, "sortie", [](std::uint64_t) { return false; }),
      ResultatSegment::arret);
  EXPECT_EQ(tout(Fichier(::open((bac + "sortie").c_str(), O_RDONLY))), vidage);
}

// A fork, its sectors and a range of it, against the bytes that hcopy takes out of the volume.
TEST_F(Vidage, sources) {
  pose("v.hfs", decomprime("hfs/simple-gsos.hfs.gz"));
  ASSERT_EQ(ouvrir_partition(bac + "v.hfs", {}), EtatOuverture::montee);
  const auto image = source_image("v.hfs");
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->longueur(), 819200U);
  EXPECT_EQ(code_secteur(image->secteur(2), 2), kCodeMdb);
  Octets travers(1000), droit(1512);
  EXPECT_EQ(image->lire(travers, 700), travers.size());
  image->lire_secteurs(droit, 1);
  EXPECT_EQ(texte(travers), texte(droit).substr(188, 1000));
  EXPECT_EQ(image->lire(travers, 819100), 100U);
  EXPECT_EQ(image->lire(travers, 819200), 0U);

  std::size_t compares = 0;
  static_cast<void>(liste_dossier(kIdRacine, [&](const ElementMac &element) {
    if (element.dossier) return true;
    for (const auto &[numero, option] : {std::pair{kFourcheDonnees, "-r"}, {kFourcheRessources, "-m"}}) {
      const auto fourche = source_fourche(element, numero);
      const std::string contenu = tout_lu(*fourche);
      if (contenu.empty()) continue;
      const std::string chez = "HOME=" + outils::cite(bac) + " ";
      const auto sortie = outils::lance(chez + "hmount " + outils::cite(bac + "v.hfs") + " && " + chez +
                                        "hcopy " + option + " " + outils::cite(":" + element.nom_utf8()) +
                                        " " + outils::cite(bac + "hors") + " && " + chez + "humount");
      EXPECT_EQ(sortie.statut, 0) << sortie.texte;
      const std::string hors = tout(Fichier(::open((bac + "hors").c_str(), O_RDONLY)));
      EXPECT_NE(hors.find(contenu), std::string::npos) << element.nom_utf8();
      if (numero == kFourcheDonnees) {
        EXPECT_EQ(hors, contenu);
      }
      // The last sector: what is left of the fork, then zeros.
      std::string entier = contenu;
      entier.resize((entier.size() + 511) / 512 * 512);
      EXPECT_EQ(texte(fourche->secteur(fourche->dernier_secteur())), entier.substr(entier.size() - 512));
      const auto plage = source_plage(*fourche, {1, contenu.size() + 10}, "plage");
      EXPECT_EQ(plage->longueur(), contenu.size() - 1);
      ++compares;
    }
    return true;
  }));
  EXPECT_GE(compares, 2U);
  const Octets vide(512);
  EXPECT_EQ(image->secteur(-1), vide);
  EXPECT_EQ(image->secteur(INT64_MAX), vide);
  fermer_partition();
  EXPECT_EQ(source_image("x"), nullptr);
}

}  // namespace varnion::essai
