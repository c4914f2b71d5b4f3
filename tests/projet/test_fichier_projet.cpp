#include <cstring>
#include <random>

#include "outils.hpp"
#include "projet/fichier_projet.hpp"

namespace varnion::essai {
namespace {

using Documents = EssaiProjet;
using Tableau = EssaiProjet;

std::string tete(std::string_view magie) {
  std::string octets(kTailleRubrique, '\0');
  octets.replace(0, magie.size(), magie);
  return octets;
}

TEST_F(Documents, MagieEtMessages) {
  struct Cas {
    std::string contenu;
    int magie;
    bool hybride, isop;
    const char *message;  // in Project Mode
  };
  const std::vector<Cas> cas = {
      {tete("VNRQ"), 1, true, true, ""},
      {tete("VNRX"), -1, false, true, "is not a correct project file"},
      {tete("VNXQ"), 0, false, false, "is not recognized as a project file"},
      {tete("vnrq"), 0, false, false, "is not recognized as a project file"},
      {"VNRQ", 0, false, false, "is not recognized as a project file"},
      {"", 0, false, false, "is not recognized as a project file"},
  };
  for (const Cas &c : cas) {
    pose("a.vnpr", c.contenu);
    const Fichier fichier = plateforme::ouvre(bac + "a.vnpr", Ouverture::lecture);
    fichier_seek(fichier, 3, 0);
    EXPECT_EQ(test_magie(fichier), c.magie);
    EXPECT_EQ(fichier_position(fichier), 3);
    script.erreurs.clear();
    EXPECT_EQ(FichierProjet::ouvre(bac + "a.vnpr", ModeProjet::hybride).has_value(), c.hybride);
    ASSERT_EQ(script.erreurs.size(), c.hybride ? 0U : 1U);
    if (!c.hybride) {
      EXPECT_NE(script.erreurs[0].find(c.message), std::string::npos) << script.erreurs[0];
    }
    EXPECT_EQ(FichierProjet::ouvre(bac + "a.vnpr", ModeProjet::isop).has_value(), c.isop);
  }
  script.erreurs.clear();
  EXPECT_FALSE(FichierProjet::ouvre(bac + "absent.vnpr", ModeProjet::hybride));
  ASSERT_EQ(script.erreurs.size(), 1U);
  EXPECT_TRUE(script.erreurs[0].starts_with("Error opening file"));
}

TEST_F(Documents, CopieDeSauvegarde) {
  static_cast<void>(avec({item(1, -1, "a")}));
  ASSERT_TRUE(FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride));
  EXPECT_FALSE(plateforme::existe(bac + "essai.BAK")) << "the settings forbid it";

  reglages().vn_options = 0;
  ASSERT_TRUE(FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride));
  auto copie = FichierProjet::ouvre(bac + "essai.BAK", ModeProjet::hybride);
  ASSERT_TRUE(copie) << "a backup is a project, and opening it must not put a copy in its place";
  EXPECT_EQ(liste_items(*copie), Lignes{"1/-1 a"});
  ASSERT_TRUE(copie->insere(2, {{item(1, -2, "b")}}) && copie->sauvegarde_entete());
  copie = FichierProjet::ouvre(bac + "essai.BAK", ModeProjet::hybride);
  EXPECT_EQ(copie->nb_rubriques(), 2U);

  // A disk too full for the copy: the project opens, the old backup stays, nothing partial is left.
  auto grand = FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride);
  ASSERT_TRUE(grand);
  ASSERT_TRUE(grand->insere(1, std::vector(50, item(1, -2, "b"))));
  {
    const DisquePlein plein(20 * kTailleRubrique);
    EXPECT_TRUE(FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride));
  }
  EXPECT_EQ(script.journaux.size(), 1U);
  copie = FichierProjet::ouvre(bac + "essai.BAK", ModeProjet::hybride);
  EXPECT_EQ(copie->nb_rubriques(), 1U);
  EXPECT_FALSE(plateforme::existe(bac + "essai.BAK.part"));
}

TEST_F(Documents, EnregistrerSous) {
  FichierProjet projet = avec({item(1, -1, "a")});
  ASSERT_TRUE(projet.enregistre_sous(bac + "autre.vnpr"));
  EXPECT_EQ(projet.chemin(), bac + "autre.vnpr");
  ASSERT_TRUE(projet.insere(1, {{item(1, -2, "b")}}));
  auto ancien = FichierProjet::ouvre(bac + "essai.vnpr", ModeProjet::hybride);
  EXPECT_EQ(ancien->nb_rubriques(), 1U) << "the old project stays as it was saved";

  // Over an existing file: asked, and nothing happens on No or on a full disk.
  script.reponses = {0, 1, 1};
  EXPECT_FALSE(projet.enregistre_sous(bac + "essai.vnpr"));
  ASSERT_TRUE(projet.insere(1, std::vector(30, item(1, -3, "c"))));
  {
    const DisquePlein plein(20 * kTailleRubrique);
    EXPECT_FALSE(projet.enregistre_sous(bac + "essai.vnpr"));
  }
  EXPECT_EQ(script.erreurs.size(), 1U);
  EXPECT_EQ(projet.chemin(), bac + "autre.vnpr");
  EXPECT_EQ(ancien->nb_rubriques(), 1U);
  EXPECT_TRUE(projet.enregistre_sous(bac + "essai.vnpr"));
  EXPECT_EQ(projet.nb_rubriques(), 32U);
  EXPECT_TRUE(projet.enregistre_sous(bac + "essai.vnpr")) << "onto itself: a plain save, no question";
  EXPECT_EQ(projet.nb_rubriques(), 32U);
}

TEST_F(Documents, UnSansNomEstDeplace) {
  auto projet = FichierProjet::cree(bac + "vnpr.vnpr", ModeProjet::hybride);
  ASSERT_TRUE(projet);
  EXPECT_TRUE(projet->sans_nom());
  ASSERT_TRUE(projet->enregistre_sous(bac + "nom.vnpr"));
  EXPECT_FALSE(projet->sans_nom());
  EXPECT_FALSE(plateforme::existe(bac + "vnpr.vnpr"));
  ASSERT_TRUE(projet->insere(1, {{item(1, -1, "a")}}));
  EXPECT_EQ(FichierProjet::ouvre(bac + "nom.vnpr", ModeProjet::hybride)->nb_rubriques(), 1U);
}

TEST_F(Documents, Compteurs) {
  FichierProjet projet = neuf();
  EXPECT_EQ(projet.prochain_dossier(), 0x12U);
  for (std::int32_t i = 1; i <= 9; ++i)
    ASSERT_TRUE(insertion_rubrique(
        projet, item(1, static_cast<std::int32_t>(projet.prochain_fichier()), std::to_string(i))));
  ASSERT_EQ(suppression_element(projet, static_cast<std::uint32_t>(-9), 1), Suppression::fichier);
  ASSERT_TRUE(projet.sauvegarde_entete());
  auto rouvert = FichierProjet::ouvre(projet.chemin(), ModeProjet::hybride);
  EXPECT_EQ(static_cast<std::int32_t>(rouvert->prochain_fichier()), -10);
  EXPECT_EQ(rouvert->prochain_dossier(), 0x13U);

  // A counter under 0x11, and records that a lost save left behind the counters.
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  entete.dernier_dossier = 3;
  entete.dernier_fichier = 0;
  ASSERT_TRUE(projet.ecrit_entete(entete));
  rouvert = FichierProjet::ouvre(projet.chemin(), ModeProjet::hybride);
  EXPECT_EQ(rouvert->dernier_dossier(), 0x11U);
  EXPECT_EQ(rouvert->dernier_fichier(), 8U);
}

TEST_F(Documents, LabelDeLaVue) {
  FichierProjet projet = neuf();
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  ASSERT_TRUE(ecrit_champ(entete.label_iso, "DISQUE"));
  ASSERT_TRUE(ecrit_champ(entete.label_hfs, "\x8Et\x8E"));  // Mac Roman
  ASSERT_TRUE(projet.ecrit_entete(entete));
  projet.vue_courante(kVueIso);
  EXPECT_EQ(projet.lecture_label(), "DISQUE");
  projet.vue_courante(kVueHfs);
  EXPECT_EQ(projet.lecture_label(), "\xE9t\xE9");
  projet.hfsplus(true);
  EXPECT_EQ(projet.lecture_label(), "\x8Et\x8E");
  entete.magie[3] = 'X';
  ASSERT_TRUE(projet.ecrit_entete(entete));
  EXPECT_EQ(projet.lecture_label(), "Untitled");
}

// --- the array

TEST_F(Tableau, RunsParRechercheBinaire) {
  const FichierProjet projet =
      avec({item(1, 18, "a"), item(1, -1, "b"), item(18, -2, "c"), item(18, -3, "d"), item(30, -4, "e")});
  const std::vector<std::pair<std::uint32_t, std::uint64_t>> cas = {
      {0, 1}, {1, 1}, {2, 3}, {18, 3}, {19, 5}, {30, 5}, {31, 6}, {UINT32_MAX, 6}};
  for (const auto &[pere, rang] : cas) EXPECT_EQ(projet.premier_enfant(pere), rang) << pere;

  LecteurEnfants enfants(projet, 18);
  EXPECT_EQ(lit_champ(enfants.suivant()->nom_iso), "c");
  EXPECT_EQ(lit_champ(enfants.suivant()->nom_iso), "d");
  EXPECT_EQ(enfants.rang(), 4U);
  EXPECT_EQ(enfants.suivant(), nullptr);
  EXPECT_EQ(enfants.suivant(), nullptr);
  EXPECT_EQ(neuf().premier_enfant(1), 1U);
}

// Gaps of all sizes against a model, over more records than one block holds.
TEST_F(Tableau, TrousCommeUnModele) {
  std::mt19937 hasard(7);
  std::vector<std::int32_t> modele;
  FichierProjet projet = neuf();
  std::int32_t suivant = 1;
  for (const std::size_t nombre : {3000U, 1U, 1U, 40U, 2000U, 5000U, 1U}) {
    const std::size_t rang = hasard() % (modele.size() + 1);
    std::vector<RubriqueProjet> lot(nombre);
    for (RubriqueProjet &r : lot) {
      r = item(1, suivant, "x");
      modele.insert(modele.begin() + static_cast<std::ptrdiff_t>(rang) + (&r - lot.data()), suivant++);
    }
    ASSERT_TRUE(projet.insere(rang + 1, lot));
    const std::size_t retire = hasard() % modele.size();
    const std::size_t n = std::min<std::size_t>(modele.size() - retire, hasard() % 50);
    ASSERT_TRUE(projet.ferme_trou(retire + 1, n));
    modele.erase(modele.begin() + static_cast<std::ptrdiff_t>(retire),
                 modele.begin() + static_cast<std::ptrdiff_t>(retire + n));
    const auto pair = [](std::uint64_t, const RubriqueProjet &r) { return r.numero % 7 == 0; };
    ASSERT_TRUE(projet.retire_si(1, pair));
    std::erase_if(modele, [](std::int32_t numero) { return numero % 7 == 0; });

    std::vector<std::int32_t> lus;
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) lus.push_back(r->numero_signe());
    ASSERT_EQ(lus, modele);
    ASSERT_EQ(projet.taille_octets(), (modele.size() + 1) * kTailleRubrique);
  }
}

TEST_F(Tableau, UnDisquePleinNePerdRien) {
  std::vector<RubriqueProjet> items;
  for (std::int32_t i = 1; i <= 3000; ++i) items.push_back(item(1, -i, "x"));
  FichierProjet projet = avec(items);
  const std::string avant = tout(projet.fichier());
  struct Cas {
    std::uint64_t rang;
    std::size_t nombre;
    std::uint64_t place;  // bytes free behind the end
  };
  for (const Cas &c :
       {Cas{1, 1, 0}, Cas{1, 1, 755}, Cas{3001, 1, 700}, Cas{2990, 100, 15000}, Cas{5, 1500, 900000}}) {
    const DisquePlein plein(avant.size() + c.place);
    EXPECT_FALSE(projet.insere(c.rang, std::vector(c.nombre, item(1, 99, "y"))));
    EXPECT_EQ(tout(projet.fichier()), avant) << c.rang << " " << c.nombre;
  }
  const DisquePlein plein(avant.size());
  EXPECT_FALSE(insertion_rubrique(projet, item(1, -3001, "a")));
  ASSERT_EQ(script.erreurs.size(), 1U);
  EXPECT_TRUE(script.erreurs[0].starts_with("Error writing the project file"));
}

TEST_F(Tableau, RecherchesParNumero) {
  FichierProjet projet = avec({item(1, 18, "a"), item(18, 19, "b"), item(19, -1, "c")});
  RubriqueProjet r;
  EXPECT_EQ(projet.cherche_numero(kRacine, r), 0U);
  EXPECT_EQ(r.numero, 1U) << "the head answers as the root";
  EXPECT_EQ(projet.cherche_numero(19, r), 2U);
  EXPECT_EQ(projet.cherche_numero(static_cast<std::uint32_t>(-1), r), 3U);
  EXPECT_FALSE(projet.cherche_numero(20, r));
  EXPECT_FALSE(projet.cherche_numero(0, r));
  // The table of folders follows changes that it was not told of.
  ASSERT_TRUE(projet.insere(1, {{item(1, 20, "A")}}));
  EXPECT_EQ(projet.cherche_numero(20, r), 1U);
  EXPECT_EQ(projet.cherche_numero(19, r), 3U);
  ASSERT_TRUE(projet.ferme_trou(3, 1));
  EXPECT_FALSE(projet.cherche_numero(19, r));

  const IndexNumeros index(projet);
  EXPECT_EQ(index.rang(1), 0U);
  EXPECT_EQ(index.rang(18), 2U);
  EXPECT_EQ(index.rang(static_cast<std::uint32_t>(-1)), 3U);
  EXPECT_FALSE(index.rang(19));
}

TEST_F(Tableau, UneFicheEntameeEnFinDeFichierNeComptePas) {
  pose("a.vnpr", tete("VNRQ") + std::string(755, 'x'));
  auto projet = FichierProjet::ouvre(bac + "a.vnpr", ModeProjet::hybride);
  EXPECT_EQ(projet->nb_rubriques(), 0U);
  ASSERT_TRUE(projet->insere(1, {{item(1, -1, "a")}}));
  EXPECT_EQ(liste_items(*projet), Lignes{"1/-1 a"});
}

}  // namespace
}  // namespace varnion::essai
