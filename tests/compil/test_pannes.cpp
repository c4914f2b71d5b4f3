#include <gtest/gtest.h>

#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"

// What goes wrong while an image is made, and what must hold all the same.

namespace varnion {
namespace {

using namespace essai;
using outils::ArbreSource;
using outils::Cotes;
using outils::octets_quelconques;
namespace fs = std::filesystem;

class Pannes : public Atelier {
 protected:
  /// Two files in the root, three in a folder, one of them large.
  void bati(ArbreSource &a) {
    a.fichier("un.txt", octets_quelconques(3000, 1));
    a.fichier("deux.txt", octets_quelconques(100, 2));
    a.dossier("sous");
    a.fichier("sous/grand.dat", octets_quelconques(1'700'000, 3));
    a.fichier("sous/moyen.dat", octets_quelconques(70'000, 4));
    a.fichier("sous/petit.dat", "petit");
  }
  /// The image of a changed source is sound, whatever it holds.
  outils::ImageLue image_saine(const std::string &cible, Cotes cotes) {
    outils::ImageLue image = outils::lit_image(cible, cotes);
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
    return image;
  }
  void rien_ne_reste(const std::string &debut) const { EXPECT_EQ(restes(debut), 0U); }
};

struct Cible {
  bool hfsplus;
  GenreDemande genre;
  Cotes cotes;
};
constexpr Cible kCibles[] = {
    {false, GenreDemande::hybride, {true, true, false}}, {true, GenreDemande::hybride, {true, true, true}},
    {false, GenreDemande::iso, {true, false, false}},    {false, GenreDemande::mac, {false, true, false}},
    {true, GenreDemande::mac, {false, true, true}},
};

TEST_F(Pannes, une_source_disparue_est_dite_et_laissee) {
  for (const Cible &c : kCibles) {
    SCOPED_TRACE(static_cast<int>(c.genre) * 2 + c.hfsplus);
    ArbreSource source(bac + "src");
    bati(source);
    FichierProjet projet = projet_de(bac + "src", c.hfsplus);
    fs::remove(source.sur_disque("deux.txt"));
    fs::remove_all(source.sur_disque("sous"));
    ops.erreurs.clear();
    const BilanCompilation bilan = compile(projet, bac + "o.iso", c.genre);
    EXPECT_EQ(bilan.resultat, kCompilReussie);
    EXPECT_EQ(bilan.remarques, 2U) << messages();
    EXPECT_NE(messages().find("deux.txt"), std::string::npos);
    EXPECT_NE(messages().find("sous"), std::string::npos);
    const outils::ImageLue image = image_saine(bac + "o.iso", c.cotes);
    if (c.cotes.iso) {
      EXPECT_EQ(image.joliet.entrees.size(), 2U);
      EXPECT_NE(image.joliet.trouve("un.txt;1"), nullptr);
    }
    if (c.cotes.mac) {
      EXPECT_EQ(image.volume.objets.size(), 2U);
      EXPECT_NE(image.volume.trouve("un.txt"), nullptr);
    }
    fs::remove_all(bac + "src");
  }
}

TEST_F(Pannes, une_source_qui_change_de_taille_laisse_l_image_saine) {
  for (const Cible &c : kCibles) {
    for (const std::size_t taille :
         {std::size_t{0}, std::size_t{1}, std::size_t{69'632}, std::size_t{900'000}}) {
      SCOPED_TRACE(std::to_string(static_cast<int>(c.genre) * 2 + c.hfsplus) + " " + std::to_string(taille));
      ArbreSource source(bac + "src");
      bati(source);
      FichierProjet projet = projet_de(bac + "src", c.hfsplus);
      source.brut("sous/moyen.dat", octets_quelconques(taille, 9));
      const BilanCompilation bilan = compile(projet, bac + "o.iso", c.genre);
      EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
      EXPECT_GE(bilan.remarques, 1U);
      const outils::ImageLue image = image_saine(bac + "o.iso", c.cotes);
      // The ISO side holds what is there now; the others are whole.
      if (c.cotes.iso) {
        const outils::EntreeIso *e = image.joliet.trouve("sous/moyen.dat;1");
        ASSERT_NE(e, nullptr);
        EXPECT_EQ(e->taille, taille);
        EXPECT_TRUE(image.vue.texte(e->extent * 2048ULL, e->taille) == octets_quelconques(taille, 9));
      }
      if (c.cotes.mac) {
        const outils::ObjetMac *o = image.volume.trouve("sous/grand.dat");
        ASSERT_NE(o, nullptr);
        EXPECT_TRUE(image.volume.contenu(image.vue, o->data) == octets_quelconques(1'700'000, 3));
      }
      fs::remove_all(bac + "src");
    }
  }
}

TEST_F(Pannes, un_arret_ne_laisse_rien_et_garde_l_image_d_avant) {
  ArbreSource source(bac + "src");
  bati(source);
  struct Arret {
    const char *quoi;
    std::uint64_t tranche, petit;
    int operations;
  };
  for (const Arret &a :
       {Arret{"in a large file", 2, UINT64_MAX, -1}, Arret{"behind a small file", UINT64_MAX, 3, -1},
        Arret{"by the user", UINT64_MAX, UINT64_MAX, 2}}) {
    for (const Cible &c : kCibles) {
      SCOPED_TRACE(a.quoi);
      FichierProjet projet = projet_de(bac + "src", c.hfsplus);
      pose("cible.iso", "before");
      suivi = SuiviEssai();
      suivi.arret_tranche = a.tranche;
      suivi.arret_petit = a.petit;
      ops.avant_arret = a.operations;
      EXPECT_NE(compile(projet, bac + "cible.iso", c.genre).resultat, kCompilReussie);
      ops.avant_arret = -1;
      EXPECT_EQ(contenu("cible.iso"), "before");
      fs::remove(bac + "cible.iso");
      rien_ne_reste("cible");
    }
  }
  // And the next compile of the same project is whole.
  suivi = SuiviEssai();
  FichierProjet projet = projet_de(bac + "src");
  EXPECT_EQ(compile(projet, bac + "cible.iso").resultat, kCompilReussie);
  outils::ImageLue image = image_saine(bac + "cible.iso", {true, true, false});
  outils::Confrontation(image, source, image.fautes).verifie();
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
}

// The disk fills up at every stage: at the first byte, inside the data, at the very end.
TEST_F(Pannes, un_disque_plein_ne_laisse_rien) {
  ArbreSource source(bac + "src");
  bati(source);
  for (const Cible &c : kCibles) {
    FichierProjet projet = projet_de(bac + "src", c.hfsplus);
    const std::uint64_t taille = compile(projet, bac + "entier", c.genre).octets;
    ASSERT_GT(taille, 1'800'000U);
    for (const std::uint64_t limite :
         {std::uint64_t{30'000}, std::uint64_t{1'500'000}, taille - 310'000, taille - 1}) {
      SCOPED_TRACE(std::to_string(static_cast<int>(c.genre) * 2 + c.hfsplus) + " " + std::to_string(limite));
      pose("cible.iso", "before");
      ops.erreurs.clear();
      BilanCompilation bilan;
      {
        const DisquePlein plein(limite);
        bilan = compile(projet, bac + "cible.iso", c.genre);
      }
      EXPECT_NE(bilan.resultat, kCompilReussie);
      EXPECT_FALSE(ops.erreurs.empty());
      EXPECT_EQ(contenu("cible.iso"), "before");
      fs::remove(bac + "cible.iso");
      rien_ne_reste("cible");
    }
    fs::remove(bac + "entier");
  }
}

TEST_F(Pannes, cibles_refusees) {
  ArbreSource source(bac + "src");
  bati(source);
  FichierProjet projet = projet_de(bac + "src");
  const auto avant = fs::file_size(bac + "p1.vnpr");
  fs::create_hard_link(bac + "p1.vnpr", bac + "lien.iso");
  for (const char *cible : {"p1.vnpr", "./p1.vnpr", "lien.iso", "src", "absent/o.iso"}) {
    ops.erreurs.clear();
    EXPECT_NE(compile(projet, bac + cible).resultat, kCompilReussie) << cible;
    EXPECT_FALSE(ops.erreurs.empty()) << cible;
  }
  EXPECT_EQ(fs::file_size(bac + "p1.vnpr"), avant);
  EXPECT_EQ(restes("p1"), 1U);
  EXPECT_TRUE(fs::is_directory(bac + "src"));
}

TEST_F(Pannes, deux_noms_egaux_sont_refuses_et_nommes) {
  ArbreSource source(bac + "src");
  source.dossier("d");
  source.fichier("d/Readme", "1");
  source.fichier("d/README", "2");
  FichierProjet projet = projet_de(bac + "src");
  EXPECT_NE(compile(projet, bac + "o.iso").resultat, kCompilReussie);
  EXPECT_NE(messages().find("Readme"), std::string::npos) << messages();
  EXPECT_NE(messages().find("README"), std::string::npos) << messages();
  rien_ne_reste("o.iso");
  // A disc without a Macintosh side tells them apart.
  EXPECT_EQ(compile(projet, bac + "o.iso", GenreDemande::iso).resultat, kCompilReussie);
  EXPECT_EQ(image_saine(bac + "o.iso", {true, false, false}).joliet.entrees.size(), 4U);
}

TEST_F(Pannes, un_projet_vide_ne_donne_pas_d_image) {
  FichierProjet projet = projet_vide();
  ASSERT_TRUE(projet.sauvegarde_entete());
  for (const GenreDemande genre : {GenreDemande::hybride, GenreDemande::iso, GenreDemande::mac})
    EXPECT_NE(compile(projet, bac + "o.iso", genre).resultat, kCompilReussie);
  rien_ne_reste("o.iso");
}

// A hybrid compile of a project with one empty view makes the image of the other.
TEST_F(Pannes, une_vue_vide_donne_une_image_pure) {
  ArbreSource source(bac + "src");
  bati(source);
  for (const int vue : {kVueIso, kVueHfs}) {
    for (const bool plus : {false, true}) {
      FichierProjet projet = projet_de(bac + "src", plus, vue);
      const BilanCompilation bilan = compile(projet, bac + "o.iso");
      EXPECT_EQ(bilan.resultat, kCompilReussie) << messages();
      EXPECT_EQ(bilan.nature, vue == kVueIso ? Nature::iso : plus ? Nature::hfsplus : Nature::hfs);
      image_saine(bac + "o.iso", {vue == kVueIso, vue == kVueHfs, plus});
    }
  }
}

// An AppleSingle file that no ISO tree shows gives both its forks to the volume, in either format.
TEST_F(Pannes, applesingle_hors_de_la_vue_iso) {
  outils::FichierMac f;
  f.data = octets_quelconques(3000, 5);
  f.rsrc = octets_quelconques(500, 6);
  for (const bool plus : {false, true}) {
    ArbreSource source(bac + "src");
    source.fichier("pc.txt", "pc");
    source.conteneur("simple", outils::Forme::applesingle, f);
    FichierProjet projet = projet_de(bac + "src", plus);
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (!r->est_applesingle()) continue;
      RubriqueProjet change = *r;
      change.vue_iso(kHorsVue);
      ASSERT_TRUE(tout.reecrit(projet, change));
    }
    const BilanCompilation bilan = compile(projet, bac + "o.iso");
    ASSERT_EQ(bilan.resultat, kCompilReussie) << messages();
    EXPECT_EQ(bilan.remarques, 0U) << messages();
    const outils::ImageLue image = image_saine(bac + "o.iso", {true, true, plus});
    EXPECT_EQ(image.joliet.entrees.size(), 2U);
    const outils::ObjetMac *o = image.volume.trouve("simple");
    ASSERT_NE(o, nullptr);
    EXPECT_TRUE(image.volume.contenu(image.vue, o->data) == f.data) << plus;
    EXPECT_TRUE(image.volume.contenu(image.vue, o->rsrc) == f.rsrc) << plus;
    fs::remove_all(bac + "src");
  }
}

// A name that comes from the source is compared with the names behind it in the project as well.
TEST_F(Pannes, un_nom_de_la_source_deja_donne_a_un_autre) {
  for (const bool plus : {false, true}) {
    ArbreSource source(bac + "src");
    outils::FichierMac f;
    f.data = "streams";
    f.rsrc = "resource";
    source.conteneur("aaa", outils::Forme::flux, f);
    source.fichier("zzz", "plain");
    FichierProjet projet = projet_de(bac + "src", plus);
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (lit_champ(r->nom_source) != "zzz") continue;
      RubriqueProjet change = *r;
      ecrit_champ_coupe(change.nom_hfs, "AAA");
      ASSERT_TRUE(tout.reecrit(projet, change));
    }
    ops.erreurs.clear();
    EXPECT_NE(compile(projet, bac + "o.iso").resultat, kCompilReussie) << plus;
    EXPECT_NE(messages().find("src/zzz"), std::string::npos) << messages();
    rien_ne_reste("o.iso");
    fs::remove_all(bac + "src");
  }
}

// Blocks larger than a sector: forks, directories and the volume's start keep to them.
TEST_F(Pannes, blocs_plus_grands_qu_un_secteur) {
  ArbreSource source(bac + "src");
  bati(source);
  // A sparse file of 140 MB: too many blocks of 2048 for classic HFS.
  source.brut("enorme.dat", "");
  fs::resize_file(bac + "src/enorme.dat", 140'000'000);
  FichierProjet projet = projet_de(bac + "src");
  for (const GenreDemande genre : {GenreDemande::hybride, GenreDemande::mac}) {
    ASSERT_EQ(compile(projet, bac + "o.iso", genre).resultat, kCompilReussie) << messages();
    const outils::ImageLue image = image_saine(bac + "o.iso", {genre == GenreDemande::hybride, true, false});
    EXPECT_EQ(image.volume.taille_bloc, 4096U);
    const outils::ObjetMac *o = image.volume.trouve("sous/moyen.dat");
    ASSERT_NE(o, nullptr);
    EXPECT_TRUE(image.volume.contenu(image.vue, o->data) == octets_quelconques(70'000, 4));
  }
}

}  // namespace
}  // namespace varnion
