// Macintosh structures against media of known content. Expected values come from hfsutils, the Sleuth Kit and
// the builders of the samples, or were put there by the test.
#include <functional>

#include "hfs/fiches.hpp"
#include "inspect/arbre_dessin.hpp"
#include "inspect/outils.hpp"
#include "inspect/preparation.hpp"
#include "IO/bac.hpp"
#include "IO/plateforme.hpp"
#include "outils/programmes.hpp"

namespace varnion::essai {

namespace {

std::string latin(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

/// All rows of a tree.
std::vector<RangeeArbre> rangees(const SourceSecteurs &source, std::int64_t entete, EtatDessin fin) {
  std::vector<RangeeArbre> toutes;
  const ResultatDessin r = dessine_arbre(source, entete, [&](const RangeeArbre &rangee) {
    toutes.push_back(rangee);
    return true;
  });
  EXPECT_EQ(static_cast<int>(r.etat), static_cast<int>(fin));
  EXPECT_EQ(r.rangees, toutes.size());
  return toutes;
}

std::size_t compte(const std::vector<RangeeArbre> &rangees, IconeArbre icone) {
  return static_cast<std::size_t>(
      std::count_if(rangees.begin(), rangees.end(), [&](const RangeeArbre &r) { return r.icone == icone; }));
}

}  // namespace

using AnalyseMac = Bac;

// "hvol" tells 778,752 bytes free, which are 1,521 blocks of 512; the README of the sample tells the rest.
TEST_F(AnalyseMac, hfs_de_hformat) {
  const auto source = echantillon("hfs/hformat_800k.hfs");
  EtatAnalyse etat;
  const FicheAnalyse mdb = analyse_secteur(*source, 2, etat);
  EXPECT_EQ(mdb.forme, FormeSecteur::mdb);
  compare(mdb, {{"cont_sign", "BD"},
                {"cont_tblocs", "512"},
                {"cont_nblibre", "1521"},
                {"cont_label", latin("Échantillon").c_str()},
                {"cont_numproch", "61"},
                {"cont_nbfic", "25"},
                {"cont_nbrep", "20"},
                {"cont_nbfrac", "0"},
                {"cont_nbrrac", "20"},
                {"cont_tcat", "18432"},
                {"cont_nbcat3", "0"},
                {"cont_poscat3", "0"}});
  EXPECT_EQ(onglets(mdb), (std::vector<std::string>{"TabBD1", "TabBD2", "TabBD3", "TabBD4"}));
  EXPECT_EQ(mene(mdb, "go_poscat3"), -1);
  EXPECT_EQ(mene(mdb, "go_posext1"), -1);
  EXPECT_EQ(mene(mdb, "but_tab4"), mene(mdb, "go_poscat1"));
  EXPECT_EQ(std::stoi(valeur(mdb, "cont_nbcat1")) + std::stoi(valeur(mdb, "cont_nbcat2")), 36);

  const std::int64_t catalogue = mene(mdb, "go_poscat1");
  const FicheAnalyse entete = analyse_secteur(*source, catalogue, etat);
  EXPECT_EQ(entete.forme, FormeSecteur::entete_arbre);
  compare(entete, {{"cont_taille", "512"}, {"cont_nbtot", "36"}, {"cont_hauteur", "3"}, {"cont_topo", "0"}});
  EXPECT_EQ(mene(entete, "go_topo"), -1);
  EXPECT_EQ(etat.debut_arbre, catalogue);
  EXPECT_EQ(std::stoi(valeur(entete, "cont_nbocc")) + std::stoi(valeur(entete, "cont_nblibre")), 36);
  // A record and a thread for each folder and the root, a record for each file.
  EXPECT_EQ(valeur(entete, "cont_nbitem"), std::to_string(2 * 21 + 25));

  // The root is an index node, and each of its rows leads to a node of the level below.
  const FicheAnalyse racine = analyse_secteur(*source, mene(entete, "go_racine"), etat);
  EXPECT_EQ(racine.forme, FormeSecteur::index);
  compare(racine, {{"cont_type", "0"}, {"cont_niveau", "3"}, {"cont_amont", "0"}, {"cont_aval", "0"}});
  ASSERT_EQ(racine.onglets.size(), 2U);
  for (const Ligne &ligne : racine.onglets[1].lignes) {
    const FicheAnalyse dessous = analyse_secteur(*source, ligne.cible->secteur, etat);
    EXPECT_EQ(valeur(dessous, "cont_niveau"), "2");
  }
}

// Rows of a leaf against what hcopy and hmkdir were told to make.
TEST_F(AnalyseMac, feuille_hfs_faite_par_hfsutils) {
  const std::string image = bac + "essai.hfs";
  pose("texte", std::string(700, 'x'));
  pose("essai.hfs", std::string(800 * 1024, '\0'));
  const std::string chez = "HOME=" + outils::cite(bac) + " ";
  for (const std::string &commande :
       {"hformat -l Essai " + outils::cite(image), chez + "hmkdir :Dossier",
        chez + "hcopy -r " + outils::cite(bac + "texte") + " :Fichier", chez + "humount"}) {
    const auto sortie = outils::lance((commande.starts_with("hformat") ? chez : "") + commande);
    ASSERT_EQ(sortie.statut, 0) << commande << sortie.texte;
  }
  const auto source = source_de(tout(Fichier(::open(image.c_str(), O_RDONLY))));
  EtatAnalyse etat;
  const FicheAnalyse mdb = analyse_secteur(*source, 2, etat);
  compare(mdb, {{"cont_label", "Essai"}, {"cont_nbfic", "1"}, {"cont_nbrep", "1"}, {"cont_nbfrac", "1"}});
  const FicheAnalyse entete = analyse_secteur(*source, mene(mdb, "go_poscat1"), etat);
  const FicheAnalyse feuille = analyse_secteur(*source, mene(entete, "go_prem"), etat);
  ASSERT_EQ(feuille.forme, FormeSecteur::feuille);
  EXPECT_EQ(valeur(feuille, "cont_type"), "255");
  EXPECT_EQ(valeur(feuille, "cont_niveau"), "1");
  EXPECT_EQ(valeur(feuille, "cont_nbrub"), "5");
  std::vector<std::string> sans_place;
  std::vector<std::int64_t> places;
  for (const Ligne &ligne : feuille.onglets.at(1).lignes) {
    sans_place.push_back(ligne.cellules[0] + "|" + ligne.cellules[1] + "|" + ligne.cellules[2]);
    if (ligne.cible) places.push_back(ligne.cible->secteur);
  }
  EXPECT_EQ(sans_place, (std::vector<std::string>{"Essai|2|[2]", "Essai|1|***", "Dossier|16|[0]",
                                                  "Fichier|17|700", "Dossier|2|***"}));
  ASSERT_EQ(places.size(), 1U);
  for (const std::int64_t place : places)
    EXPECT_EQ(std::string(700, 'x'), [&] {
      Octets lus(700);
      source->lire_secteurs(lus, place);
      return std::string(lus.begin(), lus.end());
    }());

  const auto arbre = rangees(*source, etat.debut_arbre, EtatDessin::entier);
  ASSERT_EQ(arbre.size(), 5U);
  EXPECT_EQ(arbre[0].texte, "1[1]/0 * Essai [00000002] ");
  EXPECT_EQ(arbre[1].texte, "1[1]/1 * Thread 00000002 ");
  EXPECT_EQ(arbre[3].texte, "1[1]/3 * Fichier [00000011] ");
  EXPECT_EQ(compte(arbre, IconeArbre::fil), 2U);
}

// fsstat: 470 blocks of 4,096, 400 free, 16 files, 4 folders; mmls: the partition begins at sector 40.
TEST_F(AnalyseMac, hfsplus_de_l_echantillon) {
  const auto source = echantillon("apm/hfsplus_gpt.raw.gz");
  EtatAnalyse etat;
  const FicheAnalyse entete = analyse_secteur(*source, 42, etat);
  EXPECT_EQ(entete.forme, FormeSecteur::hfsplus);
  compare(entete, {{"cont_sign", "H+"},
                   {"cont_last", "10.0"},
                   {"cont_tblocs", "4096"},
                   {"cont_nbblocs", "470"},
                   {"cont_nblibre", "400"},
                   {"cont_nbfic", "16"},
                   {"cont_nbrep", "4"},
                   {"cont_nextid", "36"}});
  EXPECT_EQ(etat.base_blocs, 40);
  EXPECT_EQ(etat.secteurs_par_bloc, 8U);
  EXPECT_EQ(onglets(entete),
            (std::vector<std::string>{"TabHPP1", "TabHPP2", "TabHPP3", "TabHPP4", "TabHPP5"}));
  const std::uint32_t taille = etat.taille_noeud;

  const FicheAnalyse arbre = analyse_secteur(*source, mene(entete, "go_poscat1"), etat);
  ASSERT_EQ(arbre.forme, FormeSecteur::entete_arbre);
  EXPECT_EQ(valeur(arbre, "cont_taille"), std::to_string(taille));
  const auto toutes = rangees(*source, etat.debut_arbre, EtatDessin::entier);
  EXPECT_EQ(compte(toutes, IconeArbre::fichier), 16U);
  EXPECT_EQ(compte(toutes, IconeArbre::dossier), 5U);  // the root is one more
  EXPECT_EQ(compte(toutes, IconeArbre::fil), 21U);
}

// Index records, each with the records of its child below it.
TEST_F(AnalyseMac, arbre_de_deux_niveaux) {
  const auto source = source_de(decomprime("hfsplus/hfsplus_overflow.img.gz"));
  EtatAnalyse etat;
  const FicheAnalyse entete = analyse_secteur(*source, 2, etat);
  EXPECT_EQ(onglets(entete), (std::vector<std::string>{"TabHPP1", "TabHPP2", "TabHPP3", "TabHPP4"}));
  const FicheAnalyse arbre = analyse_secteur(*source, mene(entete, "go_poscat1"), etat);
  EXPECT_EQ(valeur(arbre, "cont_hauteur"), "2");
  const auto toutes = rangees(*source, etat.debut_arbre, EtatDessin::entier);
  const auto fiches = static_cast<std::size_t>(std::stoul(valeur(arbre, "cont_nbitem")));
  EXPECT_EQ(toutes.size() - compte(toutes, IconeArbre::index), fiches);
  EXPECT_GT(compte(toutes, IconeArbre::index), 1U);
  for (std::size_t i = 0; i < toutes.size(); ++i) {
    EXPECT_EQ(toutes[i].profondeur == 0, toutes[i].fils >= 0);
    if (toutes[i].fils < 0) continue;
    EXPECT_EQ(toutes.at(i + 1).noeud, static_cast<std::uint32_t>(toutes[i].fils));
  }
  // The form of a node shows the same rows: one for each record, but two or none for a file.
  const FicheAnalyse index = analyse_secteur(*source, mene(arbre, "go_racine"), etat);
  EXPECT_EQ(index.forme, FormeSecteur::index);
  EXPECT_EQ(lignes(index).size(), compte(toutes, IconeArbre::index));
}

// A tree whose nodes lead back to themselves ends all the same, and says so.
TEST_F(AnalyseMac, arbre_en_cercle) {
  const std::string sain = decomprime("hfsplus/hfsplus_overflow.img.gz");
  const auto source = source_de(sain);
  EtatAnalyse etat;
  const FicheAnalyse entete = analyse_secteur(*source, 2, etat);
  const std::int64_t debut = mene(entete, "go_poscat1");
  const FicheAnalyse arbre = analyse_secteur(*source, debut, etat);
  const FicheAnalyse index = analyse_secteur(*source, mene(arbre, "go_racine"), etat);
  ASSERT_GE(index.onglets.at(1).lignes.size(), 2U);
  const auto racine = static_cast<std::uint32_t>(std::stoul(valeur(arbre, "cont_racine")));
  // The pointer of the second record, its last four bytes, leads back to the root, then far outside.
  const auto taille = static_cast<std::size_t>(std::stoul(valeur(arbre, "cont_taille")));
  const auto noeud = static_cast<std::size_t>(mene(arbre, "go_racine")) * 512;
  const auto *fin = reinterpret_cast<const be16 *>(sain.data() + noeud + taille - 2 * 3);
  for (const std::uint32_t but : {racine, std::uint32_t{0x7FFFFFFF}}) {
    std::string abime = sain;
    const be32 pointeur = but;
    abime.replace(noeud + *fin - 4, 4, std::string(pointeur.octets.begin(), pointeur.octets.end()));
    EXPECT_FALSE(rangees(*source_de(abime), debut, EtatDessin::endommage).empty());
  }
  int vues = 0;
  const auto arrete = dessine_arbre(*source, debut, [&](const RangeeArbre &) { return ++vues < 3; });
  EXPECT_EQ(static_cast<int>(arrete.etat), static_cast<int>(EtatDessin::arrete));
  EXPECT_EQ(vues, 3);
}

// mmls and the README of the sample: HFS at byte 32,768 of an Apple map.
TEST_F(AnalyseMac, carte_apple) {
  const auto source = echantillon("apm/made_apm_hfs.img.gz");
  EtatAnalyse etat;
  const FicheAnalyse tete = analyse_secteur(*source, 0, etat);
  EXPECT_EQ(tete.forme, FormeSecteur::pilotes);
  compare(tete, {{"cont_sign", "ER"}, {"cont_taille", "512"}});
  const FicheAnalyse premiere = analyse_secteur(*source, 1, etat);
  EXPECT_EQ(premiere.forme, FormeSecteur::partition);
  EXPECT_EQ(valeur(premiere, "cont_type"), "Apple_partition_map");
  EXPECT_TRUE(premiere.boutons.empty());
  std::string type;
  for (std::int64_t n = 2; n < 8 && type != "Apple_HFS"; ++n) {
    const FicheAnalyse entree = analyse_secteur(*source, n, etat);
    ASSERT_EQ(entree.forme, FormeSecteur::partition) << n;
    type = valeur(entree, "cont_type");
    if (type != "Apple_HFS") continue;
    EXPECT_EQ(valeur(entree, "cont_debut"), "64");
    EXPECT_EQ(mene(entree, "Go"), 64);
    EXPECT_EQ(mene(entree, "Go2"), 66);
    EXPECT_TRUE(bouton(entree, "Go2")->choisi);
    EXPECT_EQ(mene(entree, "But_Altern"), 64 + std::stoi(valeur(entree, "cont_lgsect")) - 2);
    EXPECT_EQ(analyse_secteur(*source, mene(entree, "Go2"), etat).forme, FormeSecteur::mdb);
  }
  EXPECT_EQ(type, "Apple_HFS");

  const FicheAnalyse tetes = analyse_secteur_comme(FormeSecteur::tetes_mac, *source, 0, etat);
  ASSERT_GE(tetes.onglets.size(), 3U);
  EXPECT_EQ(tetes.onglets[0].titre, "ER");
  EXPECT_EQ(tetes.onglets[1].titre, "PM 1");
  EXPECT_EQ(tetes.onglets[1].champs.at(5).valeur, "Apple_partition_map");
}

// A wrapper: the tab of the embedded volume and its two buttons.
TEST_F(AnalyseMac, volume_inclus) {
  Octets mdb(512);
  met(mdb, 0, "BD");
  met_gros(mdb, 0x14, 4, 4096);  // block size
  met_gros(mdb, 0x1C, 2, 16);    // drAlBlSt
  FicheAnalyse fiche = analyse(FormeSecteur::mdb, {mdb, 66, 512, nullptr, {}});
  EXPECT_EQ(fiche.onglets.size(), 4U);
  met(mdb, 0x7C, "H+");
  met_gros(mdb, 0x7E, 2, 5);
  met_gros(mdb, 0x80, 2, 321);
  fiche = analyse(FormeSecteur::mdb, {mdb, 66, 512, nullptr, {}});
  ASSERT_EQ(fiche.onglets.size(), 5U);
  compare(fiche, {{"cont_nbhpp", "321"}, {"cont_poshpp", "5"}});
  EXPECT_EQ(fiche.etat.base_blocs, 66 + 16 - 2);
  EXPECT_EQ(mene(fiche, "go_hpp"), 80 + 5 * 8);
  EXPECT_EQ(mene(fiche, "Go_hpp2"), 80 + 5 * 8 + 2);
  EXPECT_EQ(bouton(fiche, "Go_hpp2")->texte, "+2");
}

// Sizes of 64 bits: whole for the first three forks, the low half for the last two.
TEST_F(AnalyseMac, tailles_de_fourches) {
  Octets entete(512);
  met(entete, 0, "H+");
  met_gros(entete, 0x28, 4, 512);
  const std::uint64_t grand = 0x123456789;
  for (const std::size_t place : {0x70, 0xC0, 0x110, 0x160, 0x1B0}) met_gros(entete, place, 8, grand);
  met_gros(entete, 0x160 + 16, 4, 7);
  met_gros(entete, 0x160 + 20, 4, 3);
  const FicheAnalyse fiche = analyse(FormeSecteur::hfsplus, {entete, 2, 512, nullptr, {}});
  compare(fiche, {{"cont_tfat", "4886718345"},
                  {"cont_text", "4886718345"},
                  {"cont_tcat", "4886718345"},
                  {"cont_tatt", "591751049"},
                  {"cont_tboot", "591751049"},
                  {"cont_nbatt1", "3"},
                  {"cont_posatt1", "7"}});
  EXPECT_EQ(fiche.onglets.size(), 6U);
  EXPECT_EQ(mene(fiche, "but_tab5"), 7);
  EXPECT_EQ(mene(fiche, "but_tab6"), -1);
}

// Of the next map node alone the sector is counted by 512 bytes.
TEST_F(AnalyseMac, noeud_suivant_de_la_carte) {
  Octets noeud(2048);
  met_gros(noeud, 0, 4, 3);
  met_gros(noeud, 14 + 2, 4, 3);
  met_gros(noeud, 14 + 18, 2, 4096);
  const FicheAnalyse fiche = analyse(FormeSecteur::entete_arbre, {noeud, 100, 2048, nullptr, {}});
  EXPECT_EQ(mene(fiche, "go_racine"), 100 + 3 * 2);
  EXPECT_EQ(mene(fiche, "go_topo"), 100 + 3 * 8);
}

// The state for a sector in the middle of a medium is what a walk through the headers leaves.
TEST_F(AnalyseMac, etat_sans_parcours) {
  for (const auto &[nom, entete] : std::vector<std::pair<std::string, std::int64_t>>{
           {"apm/hfsplus_gpt.raw.gz", 42}, {"apm/made_apm_hfs.img.gz", 66}, {"hfs/simple-linux.hfs.gz", 2}}) {
    const std::string contenu = decomprime(nom);
    const Fichier fichier = plateforme::fichier_anonyme();
    ASSERT_TRUE(
        fichier.ecrire_a({reinterpret_cast<const std::uint8_t *>(contenu.data()), contenu.size()}, 0));
    const auto source = source_de(contenu);
    EtatAnalyse etat;
    const FicheAnalyse volume = analyse_secteur(*source, entete, etat);
    const std::int64_t catalogue = mene(volume, "go_poscat1");
    static_cast<void>(analyse_secteur(*source, catalogue, etat));
    const EtatAnalyse pret = etat_pour_secteur(*source, fichier, catalogue + 1);
    EXPECT_EQ(pret.base_blocs, etat.base_blocs) << nom;
    EXPECT_EQ(pret.secteurs_par_bloc, etat.secteurs_par_bloc) << nom;
    EXPECT_EQ(pret.taille_noeud, etat.taille_noeud) << nom;
    EXPECT_EQ(pret.debut_arbre, catalogue) << nom;
  }
}

}  // namespace varnion::essai
