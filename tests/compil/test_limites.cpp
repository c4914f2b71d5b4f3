#include <gtest/gtest.h>

#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"

// Projects at the edge of what a format can number.

namespace varnion {
namespace {

using namespace essai;

class Limites : public Atelier {
 protected:
  /// Adds folders without a source to the root of a project.
  static void ajoute_dossiers(FichierProjet &projet, std::int32_t combien, bool iso) {
    std::vector<RubriqueProjet> items;
    for (std::int32_t i = 0; i < combien; ++i) {
      const std::string rang = std::to_string(100'000 + i);
      const std::string nom = iso ? "D" + rang : "\xE9t\xE9 " + rang + " and a name that ends far behind";
      RubriqueProjet r = item(1, 18 + i, nom, kCheminVirtuel);
      ecrit_champ_coupe(r.nom_hfs, "\x8Et\x8E " + rang);
      r.vue_iso(iso ? kDansVue : kHorsVue);
      r.vue_hfs(iso ? kHorsVue : kDansVue);
      items.push_back(r);
    }
    ASSERT_TRUE(projet.insere(1, items));
  }
};

// One item more than classic HFS holds: names, label and volume are those of HFS+, on the disc as in the
// project.
TEST_F(Limites, le_premier_item_de_trop_donne_un_volume_hfsplus) {
  for (const bool trop : {false, true}) {
    FichierProjet projet = projet_vide();
    const std::int32_t combien = trop ? 65'536 : 65'535;
    ajoute_dossiers(projet, combien, false);
    EnteteProjet entete;
    ASSERT_TRUE(projet.lit_entete(entete));
    ASSERT_TRUE(ecrit_champ(entete.label_hfs, "\x8Et\x8E"));
    ASSERT_TRUE(projet.ecrit_entete(entete));
    ops.avis.clear();
    const BilanCompilation bilan = compile(projet, bac + "o.dmg", GenreDemande::mac, false);
    ASSERT_EQ(bilan.resultat, kCompilReussie) << messages();
    EXPECT_EQ(bilan.nature, trop ? Nature::hfsplus : Nature::hfs);
    EXPECT_EQ(projet.hfsplus(), trop);
    EXPECT_EQ(ops.avis.size(), trop ? 1U : 0U);
    const outils::ImageLue image = outils::lit_image(bac + "o.dmg", {false, true, trop});
    EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte().substr(0, 2000);
    EXPECT_EQ(image.volume.label, trop ? "e\xCC\x81te\xCC\x81" : "\x8Et\x8E");
    EXPECT_EQ(image.volume.taille_bloc, 2048U);
    const std::string nom = trop ? "e\xCC\x81te\xCC\x81 100000" : "\x8Et\x8E 100000";
    EXPECT_NE(image.volume.trouve(nom), nullptr) << image.volume.objets.at(1).chemin;
    EXPECT_GE(image.volume.objets.size(), static_cast<std::size_t>(combien));
  }
}

// A path table numbers directories in 16 bits: one too many is refused before anything is written.
TEST_F(Limites, trop_de_dossiers_pour_les_tables_de_chemins) {
  for (const bool trop : {false, true}) {
    FichierProjet projet = projet_vide();
    ajoute_dossiers(projet, trop ? 65'535 : 65'534, true);  // and the root
    suivi.traces.clear();
    const BilanCompilation bilan = compile(projet, bac + "o.iso", GenreDemande::iso, false);
    EXPECT_EQ(bilan.resultat == kCompilReussie, !trop) << messages();
    EXPECT_EQ(restes("o.iso"), trop ? 0U : 1U);
    if (!trop) {
      const auto octets = outils::lit_fichier(bac + "o.iso");
      const outils::ArbreIso arbre = outils::lit_iso(outils::Octets(octets), false, false);
      EXPECT_TRUE(arbre.fautes.vide()) << arbre.fautes.texte().substr(0, 2000);
      EXPECT_EQ(arbre.entrees.size(), 65'535U);
      ASSERT_TRUE(plateforme::supprime(bac + "o.iso"));
      continue;
    }
    EXPECT_NE(messages().find("65,535 folders"), std::string::npos) << messages();
    EXPECT_EQ(suivi.traces.size(), 1U) << "no phase that writes has begun";
  }
}

}  // namespace
}  // namespace varnion
