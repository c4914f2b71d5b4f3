#include "finder/fenetre_racine.hpp"

#include "finder/alias.hpp"
#include "finder/grille_icones.hpp"
#include "outils/lecteur_ds_store.hpp"
#include "projet/inclusion.hpp"
#include "projet/outils.hpp"
#include "res/chaines.hpp"

namespace varnion::essai {
namespace {

constexpr std::string_view kPng("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\x02\x80\0\0\x01\x68\x08\x02\0\0\0", 29);

class Fenetre : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    pose("fond.png", kPng);
    pose("autre.png", kPng);
    pose("Lisez.txt", "x");
    pose_dossier("Dossier");
    chemin = bac + "essai.DS_Store";
  }
  /// An HFS+ project with a label, a file and a folder.
  [[nodiscard]] FichierProjet projet_plus() const {
    FichierProjet projet = neuf();
    EXPECT_TRUE(change_format(projet, true, troncature_automatique()));
    EnteteProjet entete;
    EXPECT_TRUE(projet.lit_entete(entete));
    ecrit_champ_coupe(entete.label_hfs, "Disque \xE9");
    EXPECT_TRUE(projet.ecrit_entete(entete));
    const std::vector<std::string> sources = {bac + "Lisez.txt", bac + "Dossier"};
    EXPECT_EQ(inclusion_chemins(projet, sources, kRacine).fichiers, 1U);
    return projet;
  }
  /// "pere name views" in file order.
  static Lignes items(const FichierProjet &projet) {
    Lignes lignes;
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant())
      lignes.push_back(std::to_string(r->pere) + " " + lit_champ(r->nom_hfs) + (r->dans_iso() ? " i" : " ") +
                       (r->dans_hfs() ? "h" : ""));
    return lignes;
  }
  outils::DsStoreLu lu_du_disque() const {
    octets_lus = outils::lit_fichier(chemin);
    return outils::lit_ds_store(outils::Octets(octets_lus));
  }
  [[nodiscard]] std::string lit_octets(const std::string &nom) const {
    return tout(plateforme::ouvre(bac + nom, Ouverture::lecture));
  }
  static std::string places(const ValeursFenetre &v) {
    std::string texte;
    for (const ElementFenetre &e : v.elements)
      texte += e.nom + "=" + std::to_string(e.x) + "," + std::to_string(e.y) + "/" +
               std::to_string(e.numero) + " ";
    return texte;
  }
  mutable std::vector<std::uint8_t> octets_lus;
  std::string chemin;
};

TEST_F(Fenetre, EnregistreeEtRelue) {
  FichierProjet projet = projet_plus();
  FenetreRacine fenetre = ouvre_fenetre_racine(projet);
  EXPECT_FALSE(fenetre.lue);
  EXPECT_EQ(places(fenetre.valeurs), "Dossier=96,51/18 Lisez.txt=282,51/-1 ");
  ASSERT_TRUE(prend_image(fenetre.valeurs, bac + "fond.png"));
  EXPECT_EQ(fenetre.valeurs.rect, (RectEcran{100, 100, 740, 460}));
  fenetre.valeurs.elements[1].x = 77;
  ASSERT_TRUE(ecrit_ds_store(projet, fenetre, chemin));
  const Lignes attendus = {"1 .!Background h", "1 Dossier ih", "1 Lisez.txt ih", "1 .DS_Store h",
                           "17 fond.png h"};
  EXPECT_EQ(items(projet), attendus);
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_EQ(entete.lg_data, 2U);
  EXPECT_EQ(entete.lg_rsrc, 2U);

  // The alias in the file names the folder by the number that it has on the disc, and the item.
  const auto ds = lu_du_disque();
  ASSERT_NE(ds.trouve(".", "pict"), nullptr);
  const std::string alias = ds.trouve(".", "pict")->octets;
  EXPECT_EQ(ds.trouve(".", "BKGD")->octets.substr(4, 4), std::string("\0\0", 2) + alias.substr(4, 2));
  const std::span<const std::uint8_t> vue_alias(reinterpret_cast<const std::uint8_t *>(alias.data()),
                                                alias.size());
  const auto *fiche = vue<FicheAlias>(vue_alias, 0);
  EXPECT_EQ(fiche->longueur, alias.size());
  EXPECT_EQ(fiche->dossier, 17U);
  EXPECT_EQ(fiche->date_fichier, lue(projet, -2).date_creation);
  const TextesAlias textes = textes_alias(vue_alias);
  EXPECT_EQ(textes.volume, "Disque \xE9");
  EXPECT_EQ(textes.fichier, "fond.png");
  EXPECT_EQ(textes.chemin, "Disque \xE9:.!Background:fond.png");

  FenetreRacine relue = ouvre_fenetre_racine(projet);
  EXPECT_TRUE(relue.lue);
  EXPECT_EQ(relue.chemin, chemin);
  EXPECT_EQ(relue.valeurs.image, bac + "fond.png");
  EXPECT_EQ(places(relue.valeurs), places(fenetre.valeurs));

  // A second time: the item and its folder are replaced, not joined by others.
  ASSERT_TRUE(prend_image(relue.valeurs, bac + "autre.png"));
  ASSERT_TRUE(ecrit_ds_store(projet, relue, chemin));
  Lignes apres = attendus;
  apres.back() = "17 autre.png h";
  EXPECT_EQ(items(projet), apres);
  ASSERT_TRUE(prend_image(relue.valeurs, ""));
  ASSERT_TRUE(ecrit_ds_store(projet, relue, chemin));
  EXPECT_EQ(items(projet), (Lignes{"1 Dossier ih", "1 Lisez.txt ih", "1 .DS_Store h"}));
  EXPECT_EQ(lu_du_disque().trouve(".", "pict"), nullptr);
  EXPECT_TRUE(script.erreurs.empty()) << script.erreurs.front();
}

TEST_F(Fenetre, ElementsPartisEtVenus) {
  FichierProjet projet = projet_plus();
  FenetreRacine fenetre = ouvre_fenetre_racine(projet);
  fenetre.valeurs.elements[1].x = 5;
  ASSERT_TRUE(ecrit_ds_store(projet, fenetre, chemin));
  ASSERT_EQ(suppression_element(projet, 18, kRacine), Suppression::dossier);
  pose("neuf", "x");
  ASSERT_EQ(inclusion_chemin(projet, bac + "neuf", kRacine).fichiers, 1U);
  const FenetreRacine relue = ouvre_fenetre_racine(projet);
  EXPECT_EQ(places(relue.valeurs), "Lisez.txt=5,51/-1 neuf=282,51/-3 ");
  ASSERT_FALSE(script.journaux.empty());
  EXPECT_EQ(script.journaux.back(), "Dossier is in the .DS_Store file but no longer in the project root.");
}

TEST_F(Fenetre, FichierEtrangerOuAbsent) {
  FichierProjet projet = projet_plus();
  pose(".DS_Store", "Bud1");
  projet.vue_courante(kVueHfs);
  ASSERT_EQ(inclusion_chemin(projet, bac + ".DS_Store", kRacine).fichiers, 1U);
  FenetreRacine fenetre = ouvre_fenetre_racine(projet);
  EXPECT_FALSE(fenetre.lue);
  EXPECT_EQ(fenetre.valeurs.elements.size(), 2U);
  ASSERT_EQ(script.erreurs, Lignes{charger_chaine(1538)});
  // It is replaced all the same: a volume has no room for two of that name.
  ASSERT_TRUE(ecrit_ds_store(projet, fenetre, chemin));
  EXPECT_EQ(items(projet), (Lignes{"1 Dossier ih", "1 Lisez.txt ih", "1 .DS_Store h"}));
  ASSERT_TRUE(plateforme::supprime(chemin));
  EXPECT_FALSE(ouvre_fenetre_racine(projet).lue);
  EXPECT_NE(script.erreurs.back().find("essai.DS_Store"), std::string::npos);
}

TEST_F(Fenetre, EchecsLaissentLeProjet) {
  FichierProjet projet = projet_plus();
  FenetreRacine fenetre = ouvre_fenetre_racine(projet);
  ASSERT_TRUE(ecrit_ds_store(projet, fenetre, chemin));
  ASSERT_TRUE(prend_image(fenetre.valeurs, bac + "fond.png"));
  const Lignes avant = items(projet);
  const auto refuse = [&](const FenetreRacine &celle, const std::string &ou, std::string_view mot) {
    FenetreRacine essai = celle;
    script.erreurs.clear();
    EXPECT_FALSE(ecrit_ds_store(projet, essai, ou));
    EXPECT_EQ(items(projet), avant) << mot;
    ASSERT_EQ(script.erreurs.size(), 1U) << mot;
    EXPECT_NE(script.erreurs[0].find(mot), std::string::npos) << script.erreurs[0];
    EXPECT_EQ(projet.vue_courante(), kVueRacine);
  };
  FenetreRacine pleine = fenetre;
  pleine.valeurs.elements.resize(30, pleine.valeurs.elements[0]);
  refuse(pleine, chemin, "30 items");
  FenetreRacine immense = fenetre;
  immense.valeurs.elements.resize(10'000, immense.valeurs.elements[0]);
  fixe_largeur(immense.valeurs, 100);
  refuse(immense, chemin, "10000 items");
  FenetreRacine sans_image = fenetre;
  sans_image.valeurs.image = bac + "perdue.png";
  refuse(sans_image, chemin, "perdue.png");
  FenetreRacine plate = fenetre;
  plate.valeurs.rect.bas = plate.valeurs.rect.haut;
  refuse(plate, chemin, "width and a height");
  refuse(fenetre, bac + "fond.png", "is the background image");
  EXPECT_EQ(lit_octets("fond.png"), kPng);
  refuse(fenetre, bac + "nulle part/x.DS_Store", "nulle part");
  pose_dossier("dossier.DS_Store");
  refuse(fenetre, bac + "dossier.DS_Store", "dossier.DS_Store");
}

TEST_F(Fenetre, LabelFormatEtImage) {
  FichierProjet projet = neuf();
  EXPECT_FALSE(label_precise(projet));
  EXPECT_EQ(script.erreurs, Lignes{charger_chaine(1037)});
  fixer_base_langue(kLangueFrancais);
  EXPECT_FALSE(label_precise(projet)) << "made while English was spoken, untitled all the same";
  fixer_base_langue(kLangueAnglais);
  ASSERT_EQ(inclusion_chemin(projet, bac + "Lisez.txt", kRacine).fichiers, 1U);
  ASSERT_TRUE(exige_hfsplus(projet));
  EXPECT_EQ(script.avis, Lignes{charger_chaine(1542)});
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_TRUE(projet.hfsplus() && entete.hfsplus());
  ASSERT_TRUE(exige_hfsplus(projet));
  EXPECT_EQ(script.avis.size(), 1U);
  EXPECT_EQ(chemin_propose(projet, {}), chemin);

  ValeursFenetre v;
  pose("texte.jpg", "rien");
  pose("large.png", std::string(kPng.substr(0, 16)) + std::string("\0\0\x80\0\0\0\0\x10", 8));
  for (const char *nom : {"texte.jpg", "large.png", "absente.png", "Lisez.txt"}) {
    script.erreurs.clear();
    EXPECT_FALSE(prend_image(v, bac + nom));
    ASSERT_EQ(script.erreurs.size(), 1U) << nom;
    EXPECT_NE(script.erreurs[0].find(nom), std::string::npos) << script.erreurs[0];
    EXPECT_EQ(v.image, "");
    EXPECT_EQ(v.rect, RectEcran{});
  }
}

TEST_F(Fenetre, DossierDeFondVenuDUnDisque) {
  FichierProjet projet = projet_plus();
  pose_dossier(".!Background");
  ASSERT_EQ(inclusion_chemin(projet, bac + ".!Background", kRacine).dossiers, 1U);
  FenetreRacine fenetre = ouvre_fenetre_racine(projet);
  ASSERT_TRUE(prend_image(fenetre.valeurs, bac + "fond.png"));
  ASSERT_TRUE(ecrit_ds_store(projet, fenetre, chemin));
  // An ordinary number is not kept on the disc, and that is told.
  ASSERT_EQ(script.avis.size(), 1U);
  EXPECT_NE(script.avis[0].find("19 instead of 17"), std::string::npos) << script.avis[0];
}

}  // namespace
}  // namespace varnion::essai
