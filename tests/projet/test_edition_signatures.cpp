#include "projet/edition_signatures.hpp"

#include <algorithm>
#include <set>

#include "outils.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion::essai {
namespace {

const std::string kDeuxLangues =
    "# head\r\n\r\nTXT,TEXTttxt,Text\r\n# about binaries\r\nBIN,BINAhDmp,Binary, and more\r\n# tail\r\n"
    "#[1] second\r\n# t\xEAte\r\nTXT,TEXTttxt,Texte\r\n\r\nSON,SND ?SND,Son";

class EditionSig : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    chemin = bac + "essai.sig";
  }
  void TearDown() override {
    fixer_base_langue(kLangueAnglais);
    EssaiProjet::TearDown();
  }
  [[nodiscard]] std::string lit(const std::string &nom) const {
    const Fichier fichier = plateforme::ouvre(bac + nom, Ouverture::lecture);
    return fichier ? tout(fichier) : "-";
  }
  [[nodiscard]] EditionSignatures charge(std::string_view texte) const {
    pose("essai.sig", texte);
    EditionSignatures edition;
    EXPECT_TRUE(edition.charge(chemin));
    EXPECT_FALSE(edition.modifie());
    return edition;
  }
  static Lignes extensions(const EditionSignatures &edition) {
    Lignes liste;
    for (const LigneSignature &l : edition.lignes()) liste.push_back(l.extension);
    return liste;
  }
  std::string chemin;
};

TEST_F(EditionSig, FormesDeLignes) {
  struct Cas {
    std::string ligne;
    LigneSignature lue;
    std::string ecrite;
  };
  const std::string longue(200, 'c');
  const Cas cas[] = {
      {"TXT,TEXTttxt,Text", {"TXT", "TEXT", "ttxt", "Text"}, "TXT,TEXTttxt,Text"},
      {" \xA0 TXT,TEXTttxt,a, b", {"TXT", "TEXT", "ttxt", "a, b"}, "TXT,TEXTttxt,a, b"},
      {"CDR,a,b,c,d,,x", {"CDR", "a,b,", "c,d,", "x"}, "CDR,a,b,c,d,,x"},
      {"HTMLX,TEXTMSIE,p", {"HTMLX", "TEXT", "MSIE", "p"}, "HTML,TEXTMSIE,p"},
      {",APPL????,Program", {"", "APPL", "????", "Program"}, ",APPL????,Program"},
      {"APPLxyz!", {"", "APPL", "xyz!", ""}, ",APPLxyz!,"},
      {"A,SND Sd  rest,c", {"A", "SND ", "Sd  ", "c"}, "A,SND Sd  ,c"},
      {"AB,court", {"AB", "cour", "t", ""}, "AB,court,"},
      {"AB,x", {"AB", "x", "", ""}, "AB,x,"},
      {"L,TEXTttxt," + longue, {"L", "TEXT", "ttxt", longue}, "L,TEXTttxt," + longue},
  };
  for (const Cas &c : cas) {
    const auto lignes = lignes_de_section(c.ligne, false);
    ASSERT_EQ(lignes.size(), 1U) << c.ligne;
    EXPECT_EQ(lignes[0], c.lue) << c.ligne;
    EXPECT_EQ(texte_avec_lignes("", lignes, false), c.ecrite + "\r\n");
  }
  // What would be read back otherwise than it was meant.
  const LigneSignature delicates[] = {
      {"#[1]", "TEXT", "ttxt", "c"}, {"A", "B", "C", "D"}, {"A", "B", "C", ""}};
  for (const LigneSignature &l : delicates) {
    const auto relue = lignes_de_section(texte_avec_lignes("", {&l, 1}, false), false);
    ASSERT_EQ(relue.size(), 1U) << l.extension;
    EXPECT_EQ(relue[0].extension, l.extension);
    EXPECT_EQ(relue[0].type.substr(0, l.type.size()), l.type);
    EXPECT_EQ(relue[0].createur.substr(0, l.createur.size()), l.createur);
    EXPECT_EQ(relue[0].commentaire, l.commentaire);
  }
  // More than 255 characters are read as two rows; remarks of any length are none.
  const auto coupee =
      lignes_de_section("#" + std::string(600, 'r') + "\nL,TEXTttxt," + std::string(250, 'c'), false);
  ASSERT_EQ(coupee.size(), 2U);
  EXPECT_EQ(coupee[0].commentaire.size() + 11, 255U);
}

TEST_F(EditionSig, SaisieDansLeDialogue) {
  const std::pair<std::array<const char *, 4>, LigneSignature> cas[] = {
      {{"txt", "TEXT", "ttxt", "c"}, {"txt", "TEXT", "ttxt", "c"}},
      {{"x", "SND", "", "son"}, {"x", "SND ", "????", "son"}},
      {{"", "", "R*", ""}, {"", "    ", "R*  ", ""}},
      {{" a,bcdef", "TOOLONG", "CREATOR", "x\ny"}, {"abcd", "TOOL", "CREA", "x y"}},
  };
  for (const auto &[saisie, ligne] : cas)
    EXPECT_EQ(ligne_saisie(saisie[0], saisie[1], saisie[2], saisie[3]), ligne) << saisie[0];
  EXPECT_EQ(ligne_saisie("a", "b", "c", std::string(80, 'c')).commentaire.size(), 64U);
}

TEST_F(EditionSig, AutreSectionIntacte) {
  const std::size_t marque = kDeuxLangues.find("#[1]");
  EditionSignatures anglaise = charge(kDeuxLangues);
  EXPECT_TRUE(anglaise.a_section());
  EXPECT_EQ(extensions(anglaise), (Lignes{"TXT", "BIN"}));
  anglaise.ajoute(ligne_saisie("C", "TEXT", "CWIE", "Source"));
  anglaise.deplace(0, 1);
  ASSERT_TRUE(anglaise.enregistre());
  EXPECT_FALSE(anglaise.modifie());
  EXPECT_TRUE(anglaise.enregistre_une_fois());
  EXPECT_EQ(lit("essai.sig"),
            "# head\r\n\r\n# about binaries\r\nBIN,BINAhDmp,Binary, and more\r\nTXT,TEXTttxt,Text\r\n"
            "C,TEXTCWIE,Source\r\n# tail\r\n" +
                kDeuxLangues.substr(marque));
  EXPECT_EQ(lit("essai.BAK"), kDeuxLangues);

  fixer_base_langue(kLangueFrancais);
  EditionSignatures francaise = charge(kDeuxLangues);
  EXPECT_EQ(extensions(francaise), (Lignes{"TXT", "SON"}));
  francaise.remplace(0, ligne_saisie("txt", "TEXT", "R*ch", "Texte"));
  ASSERT_TRUE(francaise.enregistre());
  EXPECT_EQ(lit("essai.sig"),
            kDeuxLangues.substr(0, marque) +
                "#[1] second\r\n# t\xEAte\r\ntxt,TEXTR*ch,Texte\r\n\r\nSON,SND ?SND,Son\r\n");
}

TEST_F(EditionSig, SansMarqueEtFichiersVides) {
  fixer_base_langue(kLangueFrancais);
  EditionSignatures seule = charge("# only\nA,AAAABBBB,x\nB,BBBBCCCC,y");
  EXPECT_FALSE(seule.a_section());
  const std::size_t rangs[] = {0, 7};
  seule.supprime(rangs);
  ASSERT_TRUE(seule.enregistre());
  EXPECT_EQ(lit("essai.sig"), "# only\nB,BBBBCCCC,y\r\n");

  const std::pair<std::string, std::string> cas[] = {
      {"", "N,TEXTttxt,n\r\n"},
      {"# remark", "# remark\r\nN,TEXTttxt,n\r\n"},
      {"A,AAAABBBB,x\r\n#[1]", "A,AAAABBBB,x\r\n#[1]\r\nN,TEXTttxt,n\r\n"},
  };
  for (const auto &[avant, apres] : cas) {
    EditionSignatures edition = charge(avant);
    EXPECT_TRUE(edition.lignes().empty());
    edition.ajoute({"N", "TEXT", "ttxt", "n"});
    ASSERT_TRUE(edition.enregistre());
    EXPECT_EQ(lit("essai.sig"), apres);
  }
  EditionSignatures neuve;
  EXPECT_FALSE(neuve.enregistre());
  ASSERT_TRUE(neuve.enregistre(bac + "vide.sig"));
  EXPECT_EQ(lit("vide.sig"), "");
  EXPECT_EQ(lit("vide.BAK"), "-");
}

TEST_F(EditionSig, SousUnAutreNom) {
  EditionSignatures edition = charge(kDeuxLangues);
  pose("cible.sig", "OLD,oldTYPE!,x\r\n#[1]\r\nOLD,oldTYPE!,x\r\n");
  edition.trie(kColonneExtension);
  ASSERT_TRUE(edition.enregistre(bac + "cible.sig"));
  EXPECT_EQ(edition.chemin(), bac + "cible.sig");
  EXPECT_NE(lit("cible.sig").find("#[1] second\r\n# t\xEAte\r\nTXT,TEXTttxt,Texte"), std::string::npos)
      << "the other section comes along from the file that was opened";
  EXPECT_EQ(lit("cible.sig").find("OLD"), std::string::npos);
  EXPECT_EQ(lit("cible.BAK").substr(0, 3), "OLD");
  EXPECT_EQ(lit("essai.sig"), kDeuxLangues);
}

TEST_F(EditionSig, EchecsLaissentLeFichier) {
  EditionSignatures edition = charge(kDeuxLangues);
  edition.ajoute({"N", "TEXT", "ttxt", "n"});
  EXPECT_FALSE(edition.enregistre(bac + "nulle part/x.sig"));
  EXPECT_FALSE(edition.charge(bac + "absent.sig"));
  EXPECT_EQ(edition.lignes().size(), 3U);
  {
    const DisquePlein plein(20);
    EXPECT_FALSE(edition.enregistre());
  }
  EXPECT_TRUE(edition.modifie());
  EXPECT_EQ(lit("essai.sig"), kDeuxLangues);
  EXPECT_EQ(lit("essai.BAK"), "-");
  // More than can be read whole is not half read and then written back.
  pose("enorme.sig", std::string((1U << 20) + 1, '\n'));
  EXPECT_FALSE(edition.charge(bac + "enorme.sig"));
  EXPECT_FALSE(edition.enregistre(bac + "enorme.sig"));
}

TEST_F(EditionSig, DeuxCentsLignes) {
  std::string texte;
  for (int i = 0; i < 200; ++i)
    texte += "X" + std::to_string(i % 50) + ",TE" + std::to_string(10 + i % 7) + "ttxt,c" +
             std::to_string(i) + "\r\n";
  EditionSignatures edition = charge(texte);
  ASSERT_EQ(edition.lignes().size(), 200U);
  ASSERT_TRUE(edition.enregistre());
  EXPECT_EQ(lit("essai.sig"), texte);
  const auto commentaires = [&edition] {
    Lignes liste;
    for (const LigneSignature &l : edition.lignes()) liste.push_back(l.commentaire);
    return liste;
  };
  edition.trie(kColonneType);
  EXPECT_TRUE(edition.modifie());
  const Lignes premiere = commentaires();
  EXPECT_EQ(premiere[0], "c0");
  EXPECT_EQ(premiere[1], "c7") << "equal rows keep their order";
  edition.trie(kColonneType);
  EXPECT_TRUE(edition.tri_descendant());
  EXPECT_EQ(edition.lignes()[0].type, "TE16");
  EXPECT_NE(commentaires(), premiere);
  edition.trie(kColonneType);
  EXPECT_EQ(commentaires(), premiere) << "the third click is the first again";
  edition.trie(kColonneExtension);
  EXPECT_FALSE(edition.tri_descendant());
  EXPECT_EQ(edition.lignes()[0].extension, "X0");
}

TEST_F(EditionSig, LignesDeplaceesEtPressePapiers) {
  EditionSignatures edition = charge("b,BBBBbbbb,\r\nA,AAAAaaaa,one\r\nc,CCCCcccc,three\r\n");
  EXPECT_FALSE(edition.deplace(0, -1));
  EXPECT_FALSE(edition.deplace(2, 1));
  EXPECT_FALSE(edition.deplace(9, -1));
  EXPECT_FALSE(edition.modifie());
  EXPECT_TRUE(edition.deplace(0, 1));
  EXPECT_EQ(extensions(edition), (Lignes{"A", "b", "c"}));

  const std::size_t deux[] = {0, 1};
  const std::string texte = edition.copie(deux);
  EXPECT_EQ(texte, "A\r\nAAAA\r\naaaa\r\none\r\nb\r\nBBBB\r\nbbbb\r\n\r\n");
  EXPECT_EQ(edition.colle(texte), 2U);
  EXPECT_EQ(extensions(edition), (Lignes{"A", "b", "c", "A", "b"}));
  EXPECT_EQ(edition.lignes()[3], edition.lignes()[0]);
  for (const char *rien : {"", "A\nAAAA\naaaa\none\n", "A AAAA aaaa", "A\r\nAAAA\r\naaaa\r\n"})
    EXPECT_EQ(edition.colle(rien), 0U) << rien;
  // What is pasted may not break the lines of the file.
  EXPECT_EQ(edition.colle("a,b\r\nTEXT\r\nttxt\r\nx\ny\r\n"), 1U);
  ASSERT_TRUE(edition.enregistre());
  EditionSignatures relue;
  ASSERT_TRUE(relue.charge(chemin));
  EXPECT_EQ(extensions(relue), extensions(edition));
  EXPECT_EQ(relue.lignes().back(), (LigneSignature{"ab", "TEXT", "ttxt", "x y"}));

  const auto pages = pages_signatures(relue, 4);
  ASSERT_EQ(pages.size(), 2U);
  EXPECT_EQ(pages[1].titre, "SignEdit (essai.sig)");
  EXPECT_EQ(pages[1].page, "Page 2");
  EXPECT_EQ(pages[1].lignes.size(), 2U);
  EXPECT_EQ(pages_signatures({}, 0).size(), 1U);
}

// The table that is installed: both sections are read whole, by the loader and by the editor.
TEST_F(EditionSig, TableLivree) {
  const std::string livree = std::string(VN_SOURCES) + "/src/res/varnion.sig";
  std::vector<Lignes> par_langue;
  for (const int langue : {kLangueAnglais, kLangueFrancais}) {
    fixer_base_langue(langue);
    EditionSignatures edition;
    ASSERT_TRUE(edition.charge(livree));
    EXPECT_TRUE(edition.a_section());
    par_langue.push_back(extensions(edition));
    ASSERT_TRUE(charge_signatures(livree));
    const auto &table = table_signatures().lignes;
    ASSERT_LT(edition.lignes().size(), kLignesSignatures);
    for (std::size_t i = 0; i < edition.lignes().size(); ++i) {
      const LigneSignature &l = edition.lignes()[i];
      EXPECT_EQ(table[i + 1].texte_extension(), l.extension);
      EXPECT_EQ(table[i + 1].texte_signature(), l.type + l.createur) << l.extension;
      EXPECT_EQ(l.type.size() + l.createur.size(), 8U) << l.extension;
      EXPECT_EQ(table[i + 1].texte_commentaire(), l.commentaire) << l.extension;
      EXPECT_FALSE(l.commentaire.empty()) << l.extension << " would hide the rows behind it";
    }
    EXPECT_EQ(signature_de_fichier("photo.jpg"), "JPEGogle");
    EXPECT_EQ(extension_de_signature("JPEG8BIM")->texte_extension(), "JPG");
  }
  EXPECT_GE(par_langue[0].size(), 100U);
  EXPECT_EQ(par_langue[0], par_langue[1]);
  EXPECT_EQ(std::set<std::string>(par_langue[0].begin(), par_langue[0].end()).size(), par_langue[0].size());
  EXPECT_EQ(commentaire_de_signature("CWWPBOBO"), "Document AppleWorks");
}

}  // namespace
}  // namespace varnion::essai
