#include "outils.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion::essai {
namespace {

class Signatures : public EssaiProjet {
 protected:
  void TearDown() override {
    fixer_base_langue(kLangueAnglais);
    EssaiProjet::TearDown();
  }
  static const EntreeSignature &ligne(std::size_t rang) { return table_signatures().lignes.at(rang); }
  static void charge(std::string_view texte, bool seconde = false) {
    lit_signatures(texte, seconde, table_signatures());
  }
};

TEST_F(Signatures, FormesDeLignes) {
  struct Cas {
    std::string texte, extension, signature, commentaire;
  };
  const std::vector<Cas> cas = {
      {"TXT,TEXTttxt,Text file", "TXT", "TEXTttxt", "Text file"},
      {" \xA0 TXT,TEXTttxt,Text\r\n", "TXT", "TEXTttxt", "Text"},
      {"htmlx,TEXTR*ch,Page", "html", "TEXTR*ch", "Page"},
      {",APPL????,Application", " ", "APPL????", "Application"},
      {"CDR,a,b,c,d,,Vecteurs, et plus", "CDR", "a,b,c,d,", "Vecteurs, et plus"},
      {"SND, Sd  x  ,Son", "SND", " Sd  x  ", "Son"},
      {"PDF,PDF CARO", "PDF", "PDF CARO", ""},
      {"PDF,PDF CAROreste,Lecteur", "PDF", "PDF CARO", "Lecteur"},
      {"APPLxyz!", "", "APPLxyz!", ""},
      {"AB,court", "AB", "court", ""},
      {"C,TEXTttxt," + std::string(80, 'c'), "C", "TEXTttxt", std::string(64, 'c')},
  };
  for (const Cas &c : cas) {
    charge("# remark\n\r\n" + c.texte);
    EXPECT_EQ(ligne(1).texte_extension(), c.extension) << c.texte;
    EXPECT_EQ(ligne(1).texte_signature(), c.signature) << c.texte;
    EXPECT_EQ(ligne(1).texte_commentaire(), c.commentaire) << c.texte;
    EXPECT_EQ(ligne(1).icone, -1);
    EXPECT_EQ(ligne(2).texte_signature(), "") << c.texte;
    EXPECT_EQ(ligne(0).texte_extension(), "___");
  }
  charge("A," + std::string(97, 's') + "B,TEXTttxt,x");
  EXPECT_EQ(ligne(2).texte_extension(), "B") << "a line over 99 characters is read as two";
}

TEST_F(Signatures, CentVingtSeptLignes) {
  std::string texte;
  for (int i = 1; i <= 128; ++i)
    texte += "#\n\nX" + std::to_string(i) + ",TEXT" + std::to_string(1000 + i) + ",c\r\n";
  charge(texte);
  EXPECT_EQ(ligne(127).texte_extension(), "X127");
  EXPECT_EQ(signature_de_fichier("a.X127"), "TEXT1127");
  EXPECT_EQ(signature_de_fichier("a.x128"), "TEXT????");
}

TEST_F(Signatures, SectionsDesDeuxLangues) {
  const std::string texte =
      "TXT,TEXTttxt,Text\r\nBIN,BINAhDmp,Binary\r\n#[1] French\r\nTXT,TEXTttxt,Texte\r\nSON,SND ?SND,Son\r\n";
  charge(texte);
  EXPECT_EQ(commentaire_de_signature("TEXTttxt"), "Text");
  EXPECT_EQ(signature_de_fichier("a.son"), "SND ?SND")
      << "the second section answers for what the first lacks";
  charge(texte, true);
  EXPECT_EQ(commentaire_de_signature("TEXTttxt"), "Texte");
  EXPECT_EQ(signature_de_fichier("a.bin"), "TEXT????");
  charge("TXT,TEXTttxt,Text\nBIN,BINAhDmp,B\n", true);
  EXPECT_EQ(signature_de_fichier("a.bin"), "BINAhDmp") << "without a mark the whole file is read";
  charge("a,AAAABBBB,x\n#[1]", true);
  EXPECT_EQ(ligne(1).texte_signature(), "");
}

TEST_F(Signatures, Recherches) {
  EXPECT_EQ(signature_de_fichier("a.txt"), "TEXT????");
  EXPECT_EQ(extension_de_signature("TEXTttxt"), nullptr);
  EXPECT_EQ(commentaire_de_signature("TEXTttxt"), "");
  EXPECT_EQ(icone_de_signature("TEXTttxt"), -1);

  charge(
      "txt,TEXTttxt,Text\nGIF,GIFf8BIM,Image\nJPG,JPEG8BIM,Photo\nC,nu\nZIP,ZIP "
      "SITx,\nSIT,SITDSIT!,Archive\n");
  for (std::size_t i = 0; i < 8; ++i) table_signatures().lignes[i].icone = static_cast<std::int32_t>(i);
  struct Nom {
    const char *nom, *signature;
  };
  for (const Nom &n : {Nom{"a.TXT", "TEXTttxt"}, Nom{"/d.gif/x.y.Gif", "GIFf8BIM"}, Nom{"a", "TEXT????"},
                       Nom{"a.", "TEXT????"}, Nom{"a.jpegx", "TEXT????"}, Nom{"a.gif2", "TEXT????"},
                       Nom{"a.___", "TEXT????"}, Nom{"a.sit", "SITDSIT!"}, Nom{"", "TEXT????"}})
    EXPECT_EQ(signature_de_fichier(n.nom), n.signature) << n.nom;
  EXPECT_EQ(signature_de_fichier("a.c").size(), 8U) << "a short signature is filled up";

  struct Sig {
    const char *signature, *extension, *commentaire;
    std::int32_t icone;
  };
  for (const Sig &s : {Sig{"GIFf8BIM", "GIF", "Image", 2},   // all eight
                       Sig{"GIFfXXXX", "GIF", "Image", 2},   // type
                       Sig{"GIxxXXXX", "GIF", "Image", -1},  // two letters, not for the icon
                       Sig{"TEXTzzzz", "___", "---", 0},     // row 0 takes part
                       Sig{"gifF8bim", "-", "---", -1},      // case counts
                       Sig{"SITDSIT!", "SIT", "---", -1},    // behind a row without comment
                       Sig{"ZIP SITx", "ZIP", "---", -1},    // that row itself
                       Sig{"QQQQQQQQ", "-", "---", -1}}) {
    const EntreeSignature *trouvee = extension_de_signature(s.signature);
    EXPECT_EQ(trouvee != nullptr ? trouvee->texte_extension() : "-", s.extension) << s.signature;
    EXPECT_EQ(commentaire_de_signature(s.signature), s.commentaire) << s.signature;
    EXPECT_EQ(icone_de_signature(s.signature), s.icone) << s.signature;
  }
  reglages().options = kOptionExtensionDefaut;
  ASSERT_NE(extension_de_signature("QQQQQQQQ"), nullptr);
  EXPECT_EQ(extension_de_signature("QQQQQQQQ")->texte_extension(), "___");
}

TEST_F(Signatures, ChoixDuFichier) {
  SourceSignatures source;
  source.dossier_courant = source.dossier_programme = bac;
  std::string memorise;
  std::vector<std::string> offerts;
  source.memorise = [&](std::string_view chemin) { memorise = chemin; };
  source.choisit = [&](std::string_view titre,
                       const std::vector<std::string> &noms) -> std::optional<std::size_t> {
    EXPECT_EQ(titre, "Select a signature file");
    offerts = noms;
    return 1;
  };
  charge("OLD,oldTYPE!,x\n");
  EXPECT_FALSE(charge_signatures(source));
  EXPECT_EQ(signature_de_fichier("a.old"), "oldTYPE!") << "with no file the table stays as it was";

  pose("un.sig", "AA,aaaaAAAA,un\n");
  source.icone_pour = [](std::string_view nom) { return static_cast<std::int32_t>(nom.size()); };
  EXPECT_TRUE(charge_signatures(source));
  EXPECT_TRUE(offerts.empty()) << "one file is taken without a question";
  EXPECT_EQ(memorise, bac + "un.sig");
  EXPECT_EQ(signature_de_fichier("a.old"), "TEXT????");
  EXPECT_EQ(icone_de_signature("aaaaAAAA"), 3);

  pose("deux.SIG", "BB,bbbbBBBB,deux\n");
  EXPECT_TRUE(charge_signatures(source));
  EXPECT_EQ(offerts.size(), 2U);
  EXPECT_EQ(memorise, bac + offerts.at(1));
  source.chemin = bac + "deux.SIG";
  source.choisit = nullptr;
  EXPECT_TRUE(charge_signatures(source));
  EXPECT_EQ(signature_de_fichier("a.bb"), "bbbbBBBB");
  fixer_base_langue(kLangueFrancais);
  pose("deux.SIG", "BB,bbbbBBBB,deux\n#[1]\nCC,ccccCCCC,trois\n");
  EXPECT_TRUE(charge_signatures(source));
  EXPECT_EQ(signature_de_fichier("a.bb"), "TEXT????");
}

TEST_F(Signatures, RemplacementDansUnProjet) {
  std::vector<RubriqueProjet> items(150, item(1, -1, "f"));
  for (std::size_t i = 0; i < items.size(); ++i)
    items[i].signature = i % 3 == 0 ? std::array{'T', 'E', 'X', 'T', '?', '?', '?', '?'}
                                    : std::array{'T', 'E', 'X', 'T', 't', 't', 'x', 't'};
  FichierProjet projet = avec(items);
  const std::string avant = tout(projet.fichier());
  EXPECT_EQ(remplace_signatures_annonce(projet, demande_signatures("TEXT", "none", "x", "y")), 0);
  EXPECT_EQ(tout(projet.fichier()), avant);
  EXPECT_EQ(remplace_signatures_annonce(projet, demande_signatures("TEXT", "????", "PDF", "CARO")), 50);
  EXPECT_EQ(script.avis,
            (Lignes{"Signature TEXTnone\nnot found.", "Signature TEXT????\nreplaced 50 times."}));
  RubriqueProjet r;
  ASSERT_TRUE(projet.lit(1, r));
  EXPECT_EQ(std::string(r.signature.data(), 8), "PDF CARO") << "a short code is padded with a blank";
  ASSERT_TRUE(projet.lit(2, r));
  EXPECT_EQ(std::string(r.signature.data(), 8), "TEXTttxt");
}

}  // namespace
}  // namespace varnion::essai
