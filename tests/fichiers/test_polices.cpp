#include "fichiers/polices.hpp"

#include <cstring>

#include "fichiers/mode_copie.hpp"
#include "fichiers/outils.hpp"
#include "fichiers/pfm.hpp"
#include "IO/etat.hpp"
#include "IO/octets.hpp"
#include "outils/fourche_ressources.hpp"
#include "outils/operations_script.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::fait_fourche;
using outils::gros_bout;

struct OperationsPolices : OperationsScript {
  std::vector<std::string> annonces;
  bool coche = false;
  bool annoncer_retenir(std::string_view texte) override {
    annonces.emplace_back(texte);
    return coche;
  }
};

class Polices : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&operations_);
    dossier_ = plateforme::dossier_temporaire();
    sortie_ = DossierSortie::ouvre(dossier_);
    ASSERT_TRUE(sortie_);
  }
  void TearDown() override {
    plateforme::vide_dossier_temporaire();
    EtatProgramme::courant().reinitialise();
  }
  ResultatPolice convertit(const char *type, std::string fourche, const char *nom = "Police") {
    ElementFichier e;
    e.nom = nom;
    std::memcpy(e.info_finder.data(), type, 4);
    e.rsrc = fourche_de_texte(std::move(fourche));
    return convertit_police_mac(e, *sortie_);
  }
  [[nodiscard]] std::string contenu(const std::string &nom) const {
    const Fichier fichier = plateforme::ouvre(dossier_ + nom, Ouverture::lecture);
    return fichier.ouvert() ? lit_tout(fichier) : "-";
  }
  [[nodiscard]] std::vector<std::string> noms() const {
    std::vector<std::string> noms_lus;
    const auto entrees = plateforme::liste_dossier(dossier_);
    EXPECT_TRUE(entrees.has_value());
    if (!entrees) return noms_lus;
    for (const auto &entree : *entrees) noms_lus.push_back(entree.nom_long);
    return noms_lus;
  }

  OperationsPolices operations_;
  std::string dossier_;
  std::optional<DossierSortie> sortie_;
};

std::string post(int genre, const std::string &texte) {
  return std::string(1, static_cast<char>(genre)) + '\0' + texte;
}

constexpr const char *kTexte = "%!\r/FontName /Essai def\r/Encoding StandardEncoding def\r";

TEST_F(Polices, EchantillonsReels) {
  EXPECT_EQ(convertit("LWFN", lit_tout(echantillon("polices/TestT1-Regular.lwfn"))),
            ResultatPolice::convertie);
  EXPECT_EQ(convertit("FFIL", lit_tout(echantillon("polices/TestDFONT.dfont"))), ResultatPolice::convertie);
  EXPECT_EQ(noms(),
            (std::vector<std::string>{"TestT1-Regular.pfb", "TestT1-Regular.pfm", "TestTTF-Regular.ttf"}));
  EXPECT_TRUE(contenu("TestT1-Regular.pfb") == lit_tout(echantillon("polices/TestT1-Regular.expected.pfb")));
  EXPECT_TRUE(contenu("TestTTF-Regular.ttf") ==
              lit_tout(echantillon("polices/TestTTF-Regular.expected.ttf")));
  // The same suitcase again: the name is taken.
  EXPECT_EQ(convertit("tfil", lit_tout(echantillon("polices/TestDFONT.dfont"))), ResultatPolice::convertie);
  EXPECT_EQ(convertit("tfil", lit_tout(echantillon("polices/TestDFONT.dfont"))), ResultatPolice::convertie);
  EXPECT_EQ(noms().size(), 5U);
  for (const std::string &nom : noms())
    EXPECT_TRUE(!nom.ends_with(".ttf") || contenu(nom).size() == 2488U) << nom;
  EXPECT_TRUE(operations_.erreurs.empty() && operations_.annonces.empty());
}

std::uint32_t petit(const std::string &octets_lus, std::size_t position, std::size_t taille) {
  std::uint32_t valeur = 0;
  for (std::size_t i = taille; i-- > 0;)
    valeur = valeur << 8 | static_cast<std::uint8_t>(octets_lus.at(position + i));
  return valeur;
}

// By the layout of the published printer metrics file, whose numbers are little-endian.
TEST_F(Polices, MetriquesDeLEchantillon) {
  ASSERT_EQ(convertit("LWFN", lit_tout(echantillon("polices/TestT1-Regular.lwfn"))),
            ResultatPolice::convertie);
  const std::string pfm = contenu("TestT1-Regular.pfm");
  struct Champ {
    const char *nom;
    std::size_t position, taille;
    std::uint32_t valeur;
  };
  const std::uint32_t lg_nom = 15, largeurs = 0xD2 + 2 * lg_nom;
  const Champ champs[] = {
      {"version", 0, 2, 0x100},
      {"size", 2, 4, largeurs + 2 * 224},
      {"type", 66, 2, 0x81},
      {"points", 68, 2, 10},
      {"vertical", 70, 2, 300},
      {"horizontal", 72, 2, 300},
      {"ascent", 74, 2, 750},
      {"leading", 76, 2, 0},
      {"italic", 80, 1, 0},
      {"weight", 83, 2, 400},
      {"pixel height", 88, 2, 668},
      {"pitch", 90, 1, 0x21},
      {"average", 91, 2, 500},
      {"maximum", 93, 2, 1000},
      {"first", 95, 1, 0x20},
      {"last", 96, 1, 0xFF},
      {"default", 97, 1, 0x75},
      {"device", 101, 4, 199},
      {"face", 105, 4, 0xD2},
      {"extension", 117, 2, 0x1E},
      {"metrics", 119, 4, 0x93},
      {"widths", 123, 4, largeurs},
      {"font name", 139, 4, 0xD2 + lg_nom},
      {"etm size", 147, 2, 0x34},
      {"etm last", 189, 2, 50},
      {"etm rest", 191, 4, 0},
      {"width of space", largeurs, 2, 225},
      {"width of A", largeurs + 2 * ('A' - 32), 2, 624},
      {"width of z", largeurs + 2 * ('z' - 32), 2, 468},
  };
  for (const Champ &c : champs) EXPECT_EQ(petit(pfm, c.position, c.taille), c.valeur) << c.nom;
  EXPECT_EQ(pfm.size(), largeurs + 448U);
  EXPECT_STREQ(pfm.c_str() + 6, "Transferred by Tarrowby Systems");
  EXPECT_STREQ(pfm.c_str() + 199, "PostScript");
  EXPECT_STREQ(pfm.c_str() + 0xD2, "TestT1-Regular");
  EXPECT_STREQ(pfm.c_str() + 0xD2 + lg_nom, "TestT1-Regular");
}

TEST(Pfm, TraitsDuTexte) {
  struct Cas {
    const char *suite;
    bool lu;
    int droite, haut;
    bool italique, gras, fixe;
    int premier, dernier;
  };
  const Cas cas[] = {
      {"/Encoding StandardEncoding def", true, 0, 0, false, false, false, 0x20, 0xFF},
      {"/FontBBox{-168 -281 1000.9 924}readonly def\r/Encoding StandardEncoding def", true, 1000, 924, false,
       false, false, 0x20, 0xFF},
      {"/FontBBox [ 0 -200 600 900 ] def /ItalicAngle -12.5 def /Weight (Bold) readonly def "
       "/isFixedPitch true def /Encoding StandardEncoding def",
       true, 600, 900, true, true, true, 0x20, 0xFF},
      {"/ItalicAngle 0.000 def/Weight (SemiBold) def/Encoding StandardEncoding def", true, 0, 0, false, false,
       false, 0x20, 0xFF},
      {"/Encoding 256 array\r0 1 255 {1 index exch /.notdef put} for\rdup 65 /A put\rdup 200 /B put\r"
       "dup 33 /exclam put\rreadonly def\rdup 5 /x put",
       true, 0, 0, false, false, false, 33, 200},
      {"/Encoding 256 array dup 300 /x put dup x def", true, 0, 0, false, false, false, 0x20, 0xFF},
      {"/Encoding ISOLatin1Encoding def", false, 0, 0, false, false, false, 0, 0},
      {"", false, 0, 0, false, false, false, 0, 0},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.suite);
    const auto traits = lit_traits_postscript(std::string("/FontName /X def ") + c.suite);
    ASSERT_EQ(traits.has_value(), c.lu);
    if (!traits) continue;
    EXPECT_EQ(traits->boite[2], c.droite);
    EXPECT_EQ(traits->boite[3], c.haut);
    EXPECT_EQ(traits->italique, c.italique);
    EXPECT_EQ(traits->gras, c.gras);
    EXPECT_EQ(traits->fixe, c.fixe);
    EXPECT_EQ(traits->premier, c.premier);
    EXPECT_EQ(traits->dernier, c.dernier);
    const auto pfm = fait_pfm(*traits);
    const std::size_t largeurs = 0xD2 + 4;
    ASSERT_EQ(pfm.size(), largeurs + 2U * static_cast<unsigned>(c.dernier - c.premier + 1));
    EXPECT_EQ(pfm[90], c.fixe ? 0x20 : 0x21);
    if (c.fixe) {
      EXPECT_EQ(*vue<le16>(pfm, largeurs + 2 * 100), 600);
    }
    if (c.premier == 33) {
      EXPECT_EQ(*vue<le16>(pfm, largeurs), 240);
    }
  }
  EXPECT_FALSE(lit_traits_postscript("/FontName X /Encoding StandardEncoding"));
}

TEST_F(Polices, SegmentsPfb) {
  const std::string fourche = fait_fourche({{"POST", 501, post(1, kTexte)},
                                            {"POST", 502, post(1, "suite\r")},
                                            {"POST", 503, "z"},  // no room for a kind
                                            {"POST", 504, post(2, "binaire")},
                                            {"POST", 505, post(5, "")},
                                            {"POST", 506, post(1, "apres la fin")}});
  EXPECT_EQ(convertit("LWFN", fourche), ResultatPolice::convertie);
  const std::string texte = std::string(kTexte) + "suite\r";
  const std::string lg_texte = {static_cast<char>(texte.size()), 0, 0, 0};
  const std::string attendu =
      "\x80\x01" + lg_texte + texte + std::string("\x80\x02\x07\0\0\0", 6) + "binaire\x80\x03";
  EXPECT_EQ(contenu("Essai.pfb"), attendu);
  EXPECT_EQ(contenu("Essai.pfm").size(), 0xD2U + 12 + 448);
  EXPECT_EQ(operations_.journaux.size(), 1U);

  // Without an end the font is closed all the same; the files of before are replaced.
  EXPECT_EQ(convertit("LWFN", fait_fourche({{"POST", 501, post(1, kTexte)}})), ResultatPolice::convertie);
  EXPECT_TRUE(contenu("Essai.pfb").ends_with("\x80\x03"));
  EXPECT_EQ(contenu("Essai.pfb").size(), 6 + std::strlen(kTexte) + 2);
  EXPECT_EQ(operations_.journaux.size(), 2U);
}

TEST_F(Polices, NomsEtFichiersSansPolice) {
  const auto lwfn = [](const char *nom, const char *codage) {
    return fait_fourche(
        {{"POST", 501, post(1, std::string("/FontName /") + nom + " def /Encoding " + codage)},
         {"POST", 502, post(5, "")}});
  };
  EXPECT_EQ(convertit("LWFN", lwfn("a/b:c", "StandardEncoding")), ResultatPolice::convertie);
  EXPECT_EQ(noms(), (std::vector<std::string>{"a_b_c.pfb", "a_b_c.pfm"}));
  EXPECT_EQ(convertit("LWFN", lwfn("x", "Autre")), ResultatPolice::convertie);  // no PFM
  EXPECT_EQ(noms().size(), 3U);
  ASSERT_FALSE(operations_.journaux.empty());
  EXPECT_EQ(operations_.journaux.back(),
            "The encoding of the font x is not understood: no PFM file was made.");

  const std::string rien = fait_fourche({{"STR ", 1, "x"}});
  EXPECT_EQ(convertit("LWFN", rien, "Sans"), ResultatPolice::aucune);
  EXPECT_EQ(operations_.annonces.back(), "No Type 1 or True Type fonts\nin file\n\"Sans\".");
  EXPECT_EQ(convertit("FFIL", ""), ResultatPolice::aucune);
  EXPECT_EQ(convertit("LWFN", fait_fourche({{"POST", 1, post(1, "sans nom")}})), ResultatPolice::aucune);
  EXPECT_EQ(operations_.annonces.size(), 3U);
  operations_.coche = true;
  EXPECT_EQ(convertit("LWFN", rien), ResultatPolice::aucune);
  EXPECT_EQ(convertit("LWFN", rien), ResultatPolice::aucune);
  EXPECT_EQ(operations_.annonces.size(), 4U);
  EXPECT_EQ(noms().size(), 3U);
}

struct Nom {
  unsigned plateforme_nom, codage, langue, numero;
  std::string octets_nom;
};

std::string sfnt(const std::vector<Nom> &liste) {
  std::string fiches, chaines;
  for (const Nom &n : liste) {
    for (const unsigned v : {n.plateforme_nom, n.codage, n.langue, n.numero}) fiches += gros_bout(v, 2);
    fiches += gros_bout(n.octets_nom.size(), 2) + gros_bout(chaines.size(), 2);
    chaines += n.octets_nom;
  }
  const std::string table =
      gros_bout(0, 2) + gros_bout(liste.size(), 2) + gros_bout(6 + fiches.size(), 2) + fiches + chaines;
  return gros_bout(0x00010000, 4) + gros_bout(1, 2) + std::string(6, '\0') + "name" + std::string(4, '\0') +
         gros_bout(28, 4) + gros_bout(table.size(), 4) + table;
}

TEST_F(Polices, NomsTrueType) {
  struct Cas {
    const char *quoi;
    std::vector<Nom> noms_table;
    std::optional<std::string> nom;
  };
  const std::string large("\0W\0i\0n", 6);
  const Cas cas[] = {
      {"Macintosh", {{1, 0, 0, 4, "complet"}, {1, 0, 0, 6, "Mac"}, {3, 0, 0x409, 6, large}}, "Mac"},
      {"Windows first", {{3, 0, 0x409, 6, large}, {1, 0, 0, 6, "Mac"}}, "Win"},
      {"Unicode of Windows is not looked at", {{3, 1, 0x409, 6, large}}, std::nullopt},
      {"French", {{1, 0, 1, 6, "Fr"}, {3, 0, 0x40C, 6, large}}, std::nullopt},
      {"cut", {{1, 0, 0, 6, std::string(40, 'n')}}, std::string(31, 'n')},
      {"empty", {{1, 0, 0, 6, ""}, {1, 0, 0, 6, "second"}}, "second"},
      {"none", {}, std::nullopt},
  };
  for (const Cas &c : cas) {
    const std::string police = sfnt(c.noms_table);
    EXPECT_EQ(nom_truetype(fichier_de("xx" + police + "yy"), {2, police.size()}), c.nom) << c.quoi;
    for (std::size_t n = 0; n < police.size(); ++n)
      (void)nom_truetype(fichier_de(police.substr(0, n)), {0, police.size()});
  }
  // Without such a name the file is called as on the Macintosh.
  EXPECT_EQ(convertit("tfil", fait_fourche({{"sfnt", 1, sfnt({})}, {"sfnt", 2, "x"}}), "Valise"),
            ResultatPolice::convertie);
  EXPECT_EQ(noms().size(), 2U);
  EXPECT_EQ(contenu("Valise.ttf"), sfnt({}));
}

TEST_F(Polices, Echecs) {
  std::string fourche =
      fait_fourche({{"POST", 501, post(1, kTexte)}, {"POST", 502, post(2, std::string(5000, 'b'))}});
  {
    const DisquePlein plein(
        fourche.size());  // the work file fits, the font does too; its metrics do not matter
    EXPECT_EQ(convertit("LWFN", fourche), ResultatPolice::convertie);
  }
  pose(fourche, 256 + 4 + 2 + std::strlen(kTexte), gros_bout(100000, 4));  // the second goes past the fork
  operations_.erreurs.clear();
  EXPECT_TRUE(sortie_->supprime("Essai.pfb") && sortie_->supprime("Essai.pfm"));
  EXPECT_EQ(convertit("LWFN", fourche), ResultatPolice::echec);
  EXPECT_EQ(operations_.erreurs.size(), 1U);
  const std::string valise = fait_fourche({{"sfnt", 1, sfnt({})}});
  {
    const DisquePlein plein(20);
    EXPECT_EQ(convertit("tfil", valise), ResultatPolice::echec);
  }
  EXPECT_EQ(operations_.erreurs.size(), 2U);
  EXPECT_TRUE(noms().empty());
  // A folder stands where the font should.
  ASSERT_TRUE(plateforme::cree_dossier(dossier_ + "Essai.pfb"));
  EXPECT_EQ(convertit("LWFN", fait_fourche({{"POST", 501, post(1, kTexte)}})), ResultatPolice::echec);
  EXPECT_EQ(operations_.erreurs.size(), 3U);
}

// Fifty references to one font: the fork holds it once, the folder would get it fifty times.
TEST_F(Polices, RessourcesQuiSeRecouvrent) {
  for (const char *type : {"sfnt", "POST"}) {
    const bool postscript = std::string_view(type) == "POST";
    const std::string police = postscript ? post(1, std::string(kTexte) + std::string(5000, ' '))
                                          : sfnt({{1, 0, 0, 6, std::string(5000, 'n')}});
    std::vector<outils::RessourceFaite> toutes(50, {type, 1, ""});
    toutes[0].octets = police;
    std::string fourche = fait_fourche(toutes);
    const std::size_t liste = fourche.size() - 50 * 12;  // the references end the map: there are no names
    for (std::size_t i = 1; i < 50; ++i) pose(fourche, liste + i * 12 + 4, gros_bout(0, 4));
    operations_.erreurs.clear();
    EXPECT_EQ(convertit(postscript ? "LWFN" : "tfil", fourche), ResultatPolice::echec) << type;
    EXPECT_EQ(operations_.erreurs.size(), 1U) << type;
    EXPECT_TRUE(noms().empty()) << type;
  }
}

TEST_F(Polices, Consentement) {
  EXPECT_TRUE(est_police_mac("LWFN") && est_police_mac("tfil") && est_police_mac("FFIL"));
  EXPECT_FALSE(est_police_mac("ffil") || est_police_mac(""));
  operations_.reponses = {1, 0, -1};
  EXPECT_TRUE(veut_convertir_police(CotePolices::mac, "a"));
  EXPECT_FALSE(veut_convertir_police(CotePolices::mac, "a"));
  EXPECT_FALSE(veut_convertir_police(CotePolices::mac, "a"));
  EXPECT_FALSE(veut_convertir_police(CotePolices::mac, "a"));  // no more questions
  operations_.reponses = {2};
  EXPECT_TRUE(veut_convertir_police(CotePolices::pc, "b"));
  EXPECT_TRUE(veut_convertir_police(CotePolices::pc, "b"));
  EXPECT_EQ(mode_copie(), kCopieData | kPolicesPc);
  EtatProgramme::courant().reinitialise();
  mode_copie() |= kPolicesMac;
  EXPECT_TRUE(veut_convertir_police(CotePolices::mac, "c"));  // nothing was asked
  EXPECT_TRUE(operations_.reponses.empty());
}

}  // namespace
}  // namespace varnion
