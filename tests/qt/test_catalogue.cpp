#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include <QFile>

#include "app/qt/catalogue.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

TEST(Catalogue, EveryTextIsThereInBothLanguages) {
  for (const int base : {kLangueAnglais, kLangueFrancais}) {
    fixer_base_langue(base);
    const auto verifie = [base](const char *nom, int id) {
      EXPECT_TRUE(id == 0 || chaine_si_connue(id)) << nom << " " << id + base;
    };
    for (const ConteneurCommandes &conteneur : conteneurs_commandes()) {
      verifie(conteneur.nom, conteneur.legende);
      verifie(conteneur.nom, conteneur.indice);
    }
    for (const Commande &commande : commandes()) {
      verifie(commande.nom, commande.legende);
      verifie(commande.nom, commande.indice);
    }
  }
  fixer_base_langue(kLangueAnglais);
}

TEST(Catalogue, ComponentsStandOnceInAPlaceThatIsThere) {
  std::set<std::string> noms;
  for (const ConteneurCommandes &conteneur : conteneurs_commandes())
    EXPECT_TRUE(noms.insert(conteneur.nom).second) << conteneur.nom;
  for (const Commande &commande : commandes()) {
    EXPECT_TRUE(*commande.parent == '\0' || noms.contains(commande.parent)) << commande.nom;
    EXPECT_TRUE(noms.insert(commande.nom).second) << commande.nom;
  }
}

// A submenu nobody fills, a key without a caption that is no key: nothing is shown that does nothing.
TEST(Catalogue, WhatIsShownCanBeSeenAndLeadsSomewhere) {
  for (const Commande &commande : commandes()) {
    if (*commande.icone != '\0') {
      EXPECT_TRUE(QFile::exists(QString(VN_SOURCES "/src/res/icones/%1.svg").arg(commande.icone)))
          << commande.icone;
    }
    if (!commande.faite()) continue;
    EXPECT_TRUE(*commande.parent != '\0' || *commande.touche != '\0') << commande.nom;
    if (const Commande *parent = commande_nommee(commande.parent)) {
      EXPECT_EQ(parent->operation, Operation::sous_menu) << commande.nom;
      EXPECT_EQ(commande.modes & ~parent->modes, 0U) << commande.nom;
    }
    if (commande.operation != Operation::sous_menu) continue;
    bool rempli = false;
    for (const Commande &autre : commandes())
      rempli = rempli || (autre.faite() && std::string(autre.parent) == commande.nom);
    EXPECT_TRUE(rempli) << commande.nom;
  }
}

TEST(Catalogue, KeysAreFreeInEachMode) {
  for (int mode = 0; mode < 3; ++mode) {
    std::map<std::string, std::string> touches;
    for (const Commande &commande : commandes()) {
      if (*commande.touche == '\0' || (commande.modes >> mode & 1U) == 0) continue;
      const auto [ou, libre] = touches.emplace(commande.touche, commande.nom);
      EXPECT_TRUE(libre) << commande.nom << " and " << ou->second << ": " << commande.touche;
    }
  }
}

TEST(Catalogue, ComponentsFollowTheMode) {
  const struct {
    const char *nom;
    unsigned modes;
  } lignes[] = {
      {"Projets1", kDansProjet}, {"Partitions1", kDansPartition},
      {"IsoPlus1", kDansIsop},   {"MPC1", kDansPartition},
      {"PCM1", kDansPartition},  {"Aff1", kDansPartition},
      {"Maff1", kDansProjet},    {"Mod", kDansPartition},
      {"SW1", kDansPartition},   {"Desh1", kDansPartition},
      {"Refr", kDansProjets},    {"Clean1", kDansProjets},
      {"RSig", kDansProjets},    {"Path1", kDansProjets},
      {"DelExt", kDansProjet},   {"dsstor", kDansProjet},
      {"EdIcon", kPartout},      {"ChangementMode", kPartout},
  };
  for (const auto &[nom, modes] : lignes) {
    unsigned trouves = 0;
    for (const ConteneurCommandes &conteneur : conteneurs_commandes())
      if (std::string(conteneur.nom) == nom) trouves = conteneur.modes;
    if (const Commande *commande = commande_nommee(nom)) trouves = commande->modes;
    EXPECT_EQ(trouves, modes) << nom;
  }
}

EtatCommandes ouvert() {
  EtatCommandes etat;
  etat.document = etat.nomme = true;
  return etat;
}

TEST(Catalogue, EnablementFollowsDocumentAndSelection) {
  EtatCommandes rien;
  rien.presse_papiers = rien.selection_liste = rien.selection_arbre = true;
  rien.dossier_racine = false;
  const EtatCommandes nomme = ouvert();
  EtatCommandes defaut = ouvert();
  defaut.nomme = false;
  EtatCommandes protege = ouvert();
  protege.lecture_seule = protege.presse_papiers = protege.selection_liste = true;
  EtatCommandes choisi = ouvert();
  choisi.selection_arbre = choisi.noeud_racine = choisi.presse_papiers = true;
  EtatCommandes dedans = ouvert();
  dedans.selection_arbre = dedans.selection_liste = true;
  dedans.dossier_racine = false;
  // One letter a state, in the order above: "+" on, "-" off.
  const struct {
    const char *nom;
    const char *attendu;
  } lignes[] = {
      {"Nouveau1", "++++++"}, {"Enregistrer1", "-+-+++"}, {"EnregistrerAs1", "-+++++"},
      {"Fermer1", "-+++++"},  {"Enr2", "-++-++"},         {"Fermer2", "-+++++"},
      {"MD", "-++-++"},       {"Rech1", "-+++++"},        {"RSig", "-+++++"},
      {"DrExpl", "----+-"},   {"Supp1", "----++"},        {"Ren1", "----++"},
      {"Prop1", "---+++"},    {"MPC1", "---+++"},         {"Aff1", "---+++"},
      {"PCM1", "-++-++"},     {"PopSup", "---+-+"},       {"DrPart", "---++-"},
      {"TPopSup", "-----+"},  {"TPopRen", "----++"},      {"Mac2PC", "---+-+"},
      {"PereProj", "-----+"}, {"SAll", "++++++"},         {"Reop1", "------"},
      {"DelProj", "-----+"},  {"DelPart", "-----+"},      {"Hybrid1", "------"},
      {"Desh1", "++++++"},    {"SW1", "---+++"},          {"Refr", "-+++++"},
      {"Path1", "-+++++"},    {"Info1", "-+++++"},        {"La1", "-+++++"},
      {"CompProj", "-+++++"}, {"PropVol1", "-+++++"},     {"EnrAs2", "-++-++"},
      {"MdPart1", "-+++++"},  {"TSuppPart", "----++"},    {"AffPart", "---+-+"},
  };
  const EtatCommandes etats[] = {rien, nomme, defaut, protege, choisi, dedans};
  for (const auto &[nom, attendu] : lignes) {
    const Commande *commande = commande_nommee(nom);
    ASSERT_NE(commande, nullptr) << nom;
    std::string obtenu;
    for (const EtatCommandes &etat : etats) obtenu += permise(commande->condition, etat) ? '+' : '-';
    EXPECT_EQ(obtenu, attendu) << nom;
  }
}

}  // namespace
}  // namespace varnion
