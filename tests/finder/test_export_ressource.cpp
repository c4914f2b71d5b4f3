#include "finder/export_ressource.hpp"

#include "fichiers/outils.hpp"
#include "IO/etat.hpp"
#include "outils/fourche_ressources.hpp"
#include "outils/operations_script.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::fait_fourche;

std::string exporte(const Fichier &fourche, const RessourceMac &ressource, FormeRessource forme) {
  const Fichier cible = fichier_de("");
  EXPECT_EQ(ecrit_ressource(fourche, ressource, forme, "titre", cible), ResultatEcriture::fait);
  return lit_tout(cible);
}

TEST(ExportRessource, Noms) {
  RessourceMac ressource;
  ressource.type = "STR/";
  ressource.id = -16455;
  ressource.longueur = 5917;
  EXPECT_EQ(legende_ressource(ressource), "id=0xbfb9, lg=5917");
  const std::string titre = titre_ressource("Mon: fichier?", ressource);
  EXPECT_EQ(titre, "Mon_ fichier_.STR_, id=0xbfb9, lg=5917");
  EXPECT_EQ(nom_propose(titre, FormeRessource::binaire), "Mon_ fichier_.STR_.bin");
  EXPECT_EQ(nom_propose(titre, FormeRessource::hexadecimale), "Mon_ fichier_.STR_.hex");
  ressource.id = 128;
  EXPECT_EQ(nom_propose(titre_ressource("a,b", ressource), FormeRessource::binaire), "a.bin");
}

TEST(ExportRessource, Contenu) {
  std::string octets_r;
  for (int i = 0; i < 33; ++i) octets_r += static_cast<char>(0xF0 + i);
  const Fichier fourche =
      fichier_de(fait_fourche({{"AAAA", 1, octets_r}, {"AAAA", 2, ""}, {"AAAA", 3, octets_r.substr(0, 16)}}));
  const auto ressources = lit_ressources(fourche);
  ASSERT_TRUE(ressources && ressources->size() == 3);
  EXPECT_EQ(exporte(fourche, (*ressources)[0], FormeRessource::binaire), octets_r);
  EXPECT_EQ(exporte(fourche, (*ressources)[1], FormeRessource::binaire), "");
  EXPECT_EQ(exporte(fourche, (*ressources)[0], FormeRessource::hexadecimale),
            "titre\r\n"
            "f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff\r\n"
            "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\r\n"
            "10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\r\n");
  EXPECT_EQ(exporte(fourche, (*ressources)[1], FormeRessource::hexadecimale), "titre\r\n");
  EXPECT_EQ(exporte(fourche, (*ressources)[2], FormeRessource::hexadecimale),
            "titre\r\nf0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff\r\n");
}

// An icon of a real fork, larger than one block of the hexadecimal writer would be in text.
TEST(ExportRessource, EchantillonEtGrandeRessource) {
  const Fichier icone = echantillon("rsrc/folder_icon.rsrc");
  const RessourceMac icns = lit_ressources(icone).value().at(0);
  EXPECT_TRUE(exporte(icone, icns, FormeRessource::binaire) == lit(icone, icns.octets()));
  const std::string grande(200'003, 'g');
  const Fichier fourche = fichier_de(fait_fourche({{"BIG ", 1, grande}}));
  const RessourceMac r = lit_ressources(fourche).value().at(0);
  EXPECT_TRUE(exporte(fourche, r, FormeRessource::binaire) == grande);
  EXPECT_EQ(exporte(fourche, r, FormeRessource::hexadecimale).size(), 7 + (200'003 + 15) / 16 * 49U);
}

TEST(ExportRessource, Echecs) {
  EtatProgramme::courant().reinitialise();
  OperationsScript script;
  brancher_operations(&script);
  const std::string dossier = plateforme::dossier_temporaire();
  const auto sortie = DossierSortie::ouvre(dossier);
  ASSERT_TRUE(sortie);
  const Fichier fourche = fichier_de(fait_fourche({{"AAAA", 1, std::string(5000, 'a')}}));
  RessourceMac r = lit_ressources(fourche).value().at(0);
  for (const FormeRessource forme : {FormeRessource::binaire, FormeRessource::hexadecimale}) {
    ASSERT_TRUE(enregistre_ressource(fourche, r, forme, "t", *sortie, "r"));
    EXPECT_TRUE(script.erreurs.empty());
    const std::uint64_t taille = plateforme::cherche_fichier(dossier + "r")->taille;
    // The file of before stays, and nothing else.
    const auto comme_avant = [&] {
      return plateforme::cherche_fichier(dossier + "r")->taille == taille &&
             plateforme::liste_dossier(dossier)->size() == 1;
    };
    {
      const DisquePlein plein(1000);
      EXPECT_FALSE(enregistre_ressource(fourche, r, forme, "t", *sortie, "r"));
    }
    EXPECT_TRUE(comme_avant());
    RessourceMac loin = r;
    loin.longueur = 100000;
    EXPECT_FALSE(enregistre_ressource(fourche, loin, forme, "t", *sortie, "r"));
    EXPECT_TRUE(comme_avant());
    EXPECT_EQ(script.erreurs.size(), 2U);
    script.erreurs.clear();
  }
  plateforme::vide_dossier_temporaire();
  EtatProgramme::courant().reinitialise();
}

}  // namespace
}  // namespace varnion
