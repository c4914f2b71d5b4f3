#include "projet/rafraichissement.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>

#include "projet/changement_chemin.hpp"
#include "projet/inclusion.hpp"
#include "projet/outils.hpp"
#include "projet/reconstruction.hpp"

namespace varnion {
namespace {

using namespace essai;
namespace fs = std::filesystem;

struct OperationsArret final : OperationsScript {
  int avant_arret = -1;
  bool arret_demande() override { return avant_arret >= 0 && avant_arret-- == 0; }
};

class Rafraichissement : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    brancher_operations(&op);
    reglages().mode_lot = true;
    pose_dossier("w");
    pose_dossier("w/src");
    pose_dossier("w/src/Dir");
    pose_dossier("w/src/Dir/Sub");
    pose("w/src/a.txt", "aaaa");
    pose("w/src/b.txt", "bb");
    pose("w/src/Dir/c.txt", "ccc");
    pose("w/src/Dir/Sub/d.txt", "d");
  }
  FichierProjet scanne(const std::string &nom = "w/src") {
    FichierProjet projet = neuf();
    EXPECT_TRUE(inclusion_chemin(projet, bac + nom, kRacine).abouti());
    return projet;
  }
  FichierProjet scanne_vers(const std::string &projet_neuf) {
    auto projet = FichierProjet::cree(bac + projet_neuf, ModeProjet::hybride);
    EXPECT_TRUE(projet && inclusion_chemin(*projet, bac + "w/src", kRacine).abouti());
    return std::move(*projet);
  }
  static std::optional<RubriqueProjet> cherche(const FichierProjet &projet, std::string_view nom) {
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant())
      if (lit_champ(r->nom_source) == nom) return *r;
    return std::nullopt;
  }
  static void change(FichierProjet &projet, std::string_view nom, auto changement) {
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      if (lit_champ(r->nom_source) != nom) continue;
      RubriqueProjet autre = *r;
      changement(autre);
      ASSERT_TRUE(tout.reecrit(projet, autre));
    }
  }
  /// "letter name length" of each difference.
  static Lignes lignes(const std::vector<Difference> &differences) {
    Lignes resultat;
    for (const Difference &d : differences)
      resultat.push_back(std::string(1, static_cast<char>(d.genre)) + " " + d.nom_source + " " +
                         std::to_string(d.longueur));
    return resultat;
  }
  static std::vector<Difference> controle(const FichierProjet &projet, bool ajouts = true) {
    auto differences = controle_projet(projet, kRacine, ajouts);
    EXPECT_TRUE(differences.has_value());
    return differences.value_or(std::vector<Difference>{});
  }
  static std::string octets_projet(const FichierProjet &projet) { return tout(projet.fichier()); }
  /// Every folder's counts are those of its run, and every folder is there.
  static void verifie_comptes(const FichierProjet &projet) {
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> comptes;
    std::map<std::uint32_t, std::pair<std::uint32_t, std::uint32_t>> lus;
    EnteteProjet entete;
    ASSERT_TRUE(projet.lit_entete(entete));
    lus[kRacine] = {entete.lg_data, entete.lg_rsrc};
    std::uint32_t avant = 0;
    LecteurRubriques tout(projet);
    while (const RubriqueProjet *r = tout.suivant()) {
      EXPECT_LE(avant, r->pere);
      avant = r->pere;
      ++(r->est_dossier() ? comptes[r->pere].first : comptes[r->pere].second);
      if (r->est_dossier()) lus[r->numero] = {r->lg_data, r->lg_rsrc};
    }
    for (const auto &[numero, compte] : comptes) EXPECT_TRUE(lus.contains(numero)) << numero;
    for (const auto &[numero, compte] : lus) EXPECT_EQ(compte, comptes[numero]) << numero;
  }

  OperationsArret op;
};

TEST_F(Rafraichissement, EachKindIsFoundAndRejectingChangesNothing) {
  FichierProjet projet = scanne();
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", "bbb");
  pose("w/src/Dir/new.txt", "12345");
  pose("w/src/Dir/._c.txt", "companion");
  const std::string avant = octets_projet(projet);
  const auto differences = controle(projet);
  EXPECT_EQ(lignes(differences), (Lignes{"D a.txt 4", "M b.txt 3", "D Sub 0", "A new.txt 5"}));
  EXPECT_EQ(lignes(controle(projet, false)), (Lignes{"D a.txt 4", "M b.txt 3", "D Sub 0"}));
  EXPECT_EQ(ligne_difference(differences[0]), "D|18|-1|4|" + bac + "w/src/|a.txt");
  const BilanAccord rien = accepte_differences(projet, {});
  EXPECT_TRUE(rien.abouti);
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_EQ(octets_projet(projet).substr(kTailleRubrique), avant.substr(kTailleRubrique));
}

TEST_F(Rafraichissement, AcceptedDifferencesAreDone) {
  FichierProjet projet = scanne();
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", "bbb");
  pose("w/src/Dir/new.txt", "12345");
  pose_dossier("w/src/Dir/Fresh");
  pose_dossier("w/src/Dir/Fresh/in");
  pose("w/src/Dir/Fresh/in/x.txt", "xx");
  reponses_projet().dossier_plein = 0;
  op.reponses = {1};
  const BilanAccord bilan = accepte_differences(projet, controle(projet));
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.suppressions, 2U);
  EXPECT_EQ(bilan.modifications, 1U);
  EXPECT_EQ(bilan.ajouts, 2U);
  EXPECT_EQ(bilan.restes, 0U);
  EXPECT_FALSE(cherche(projet, "a.txt") || cherche(projet, "Sub") || cherche(projet, "d.txt"));
  EXPECT_EQ(cherche(projet, "b.txt")->lg_data, 3U);
  const auto neuve = cherche(projet, "new.txt");
  ASSERT_TRUE(neuve);
  EXPECT_EQ(neuve->lg_data, 5U);
  EXPECT_EQ(neuve->lg_source, 5U);
  EXPECT_EQ(neuve->pere, cherche(projet, "Dir")->numero);
  EXPECT_TRUE(neuve->dans_iso() && neuve->dans_hfs());
  EXPECT_NE(neuve->date_modif, 0U);
  EXPECT_TRUE(cherche(projet, "x.txt"));
  verifie_comptes(projet);
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
}

// A folder with content is only deleted with the user's word; a file that is no MacBinary file any more is a
// plain one; a missing mark is told each time; what lies in a folder without a source is not looked at.
TEST_F(Rafraichissement, RefusalsMarksAndCodedFiles) {
  FichierProjet projet = scanne();
  reglages().options = 0;
  reponses_projet().dossier_plein = 0;
  change(projet, "a.txt", [](RubriqueProjet &r) {
    r.est_macbinaire(true);
    r.codage(Codage::macbinary);
    r.lg_data = 1U;
  });
  change(projet, "c.txt", [](RubriqueProjet &r) { r.vue_hfs(kManquant); });
  pose("w/src/a.txt", "seven77");
  fs::remove_all(bac + "w/src/Dir/Sub");
  projet.dossier_courant(kRacine);
  const std::uint32_t virtuel = ajout_dossier_virtuel(projet, "Virtual");
  ASSERT_TRUE(projet.insere(projet.nb_rubriques() + 1, std::vector{item(virtuel, -90, "gone", "/nowhere/")}));
  const auto differences = controle(projet, false);
  EXPECT_EQ(lignes(differences), (Lignes{"M a.txt 7", "M c.txt 3", "D Sub 0"}));
  op.reponses = {0};
  const BilanAccord bilan = accepte_differences(projet, differences);
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.restes, 1U);
  EXPECT_TRUE(cherche(projet, "Sub") && cherche(projet, "d.txt"));
  EXPECT_EQ(cherche(projet, "a.txt")->lg_data, 7U);
  EXPECT_EQ(cherche(projet, "a.txt")->lg_source, 7U);
  EXPECT_EQ(cherche(projet, "a.txt")->codage(), Codage::aucun);
  EXPECT_TRUE(cherche(projet, "c.txt")->manquant());
}

TEST_F(Rafraichissement, AFolderAsksForItsOwnNewNames) {
  FichierProjet projet = scanne();
  change(projet, "Sub", [](RubriqueProjet &r) { r.rafraichir(true); });
  pose("w/src/Dir/Sub/e.txt", "e");
  pose("w/src/Dir/f.txt", "f");
  EXPECT_EQ(lignes(controle(projet, false)), Lignes{"A e.txt 1"});
}

// From nothing changed to everything changed: what a rebuild leaves is what a scan of the disk gives, but for
// the numbers and what the user set on items that stay.
TEST_F(Rafraichissement, ARebuiltProjectEqualsAFreshScan) {
  FichierProjet projet = scanne();
  change(projet, "b.txt", [](RubriqueProjet &r) {
    ecrit_champ_coupe(r.nom_hfs, "By hand");
    r.vue_iso(kHorsVue);
    r.cache_hfs(1);
  });
  fs::remove(bac + "w/src/a.txt");
  fs::remove_all(bac + "w/src/Dir/Sub");
  pose("w/src/b.txt", std::string(5000, 'b'));
  pose("w/src/Dir/new.txt", "12345");
  pose_dossier("w/src/Deep");
  pose_dossier("w/src/Deep/er");
  pose("w/src/Deep/er/x.txt", "xx");
  pose("w/src/zz.txt", "z");
  const BilanReconstruction bilan = reconstruction_projet(projet);
  EXPECT_TRUE(bilan.complet());
  EXPECT_EQ(bilan.suppressions, 2U);
  EXPECT_EQ(bilan.modifications, 1U);
  EXPECT_EQ(bilan.fichiers, 3U);
  EXPECT_EQ(bilan.dossiers, 2U);
  EXPECT_NE(std::find(op.journaux.begin(), op.journaux.end(), "Deletion\t" + bac + "w/src/a.txt"),
            op.journaux.end());
  verifie_comptes(projet);
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
  const auto b = cherche(projet, "b.txt");
  EXPECT_EQ(lit_champ(b->nom_hfs), "By hand");
  EXPECT_FALSE(b->dans_iso());
  EXPECT_EQ(b->cache_hfs(), 1);
  EXPECT_EQ(b->lg_data, 5000U);

  const auto records = [](const FichierProjet &p) {
    std::map<std::string, std::string> resultat;
    LecteurRubriques tout(p);
    while (const RubriqueProjet *r = tout.suivant()) {
      RubriqueProjet sans = *r;
      sans.pere = 0U;
      sans.numero = 0U;
      const std::string nom = lit_champ(r->nom_source);
      // Items that stay keep their dates, and what was typed.
      if (r->est_dossier()) sans.date_creation = sans.date_modif = 0U;
      if (nom != "b.txt") resultat[chemin_source(*r)] = {reinterpret_cast<const char *>(&sans), sizeof sans};
    }
    return resultat;
  };
  const auto refaits = records(projet);
  const std::uint64_t estimation = projet.estimation();
  FichierProjet frais = scanne();
  EXPECT_EQ(refaits, records(frais));
  EXPECT_EQ(estimation, projet.estimation());

  const std::string avant = octets_projet(frais);
  EXPECT_TRUE(reconstruction_projet(frais).complet());
  EXPECT_EQ(octets_projet(frais).substr(kTailleRubrique), avant.substr(kTailleRubrique));
}

// What lies beside the items of the root comes in on the user's word alone, and is told beforehand. The
// project and its backup copy never do. A listed folder takes what is new in it.
TEST_F(Rafraichissement, NeighboursStayOutUnlessTheyAreAskedFor) {
  FichierProjet projet = scanne();
  pose("w/src/Dir/inside.txt", "i");
  for (const char *nom : {"w/neighbour.txt", "w/B.txt", "w/._B.txt", "w/c", "w/D", "w/e", "w/f"})
    pose(nom, "n");
  const auto renomme = [&](FichierProjet &p) {
    ASSERT_TRUE(p.enregistre_sous(bac + "w/p.vnpr", false));
    pose("w/p.BAK", "copy");
  };
  renomme(projet);
  const BilanReconstruction bilan = reconstruction_projet(projet);
  EXPECT_TRUE(bilan.complet());
  EXPECT_EQ(bilan.fichiers, 1U);
  EXPECT_TRUE(cherche(projet, "inside.txt"));
  EXPECT_FALSE(cherche(projet, "neighbour.txt"));

  const VoisinsProjet voisins = voisins_projet(projet);
  EXPECT_EQ(voisins.dossier, bac + "w/");
  EXPECT_EQ(voisins.nombre, 6U);
  EXPECT_EQ(voisins.premiers, (Lignes{"B.txt", "c", "D", "e", "f"}));
  OptionsReconstruction options;
  options.voisins = true;
  EXPECT_EQ(reconstruction_projet(projet, options).fichiers, 6U);
  EXPECT_TRUE(cherche(projet, "neighbour.txt"));
  EXPECT_FALSE(cherche(projet, "p.vnpr") || cherche(projet, "p.BAK"));
  EXPECT_EQ(voisins_projet(projet).nombre, 0U);
  verifie_comptes(projet);

  // A root that is fed from several folders has no neighbours.
  pose_dossier("other");
  pose("other/o.txt", "o");
  pose("other/p.txt", "o");
  ASSERT_TRUE(inclusion_chemin(projet, bac + "other/o.txt", kRacine).abouti());
  pose("w/late.txt", "m");
  EXPECT_EQ(voisins_projet(projet).dossier, "");
  EXPECT_EQ(reconstruction_projet(projet, options).fichiers, 0U);
}

// A source folder that is not there, because a disk is not mounted, empties no project without a word.
TEST_F(Rafraichissement, ARootFolderThatIsGoneIsAskedAbout) {
  pose_dossier("disk");
  pose("disk/y.txt", "y");
  pose("w/kept.txt", "k");
  struct Cas {
    std::vector<std::string> sources;
    std::string parti;    ///< what is taken off the disk
    std::string nomme;    ///< the folder that the message names; "" when nothing is asked
    std::uint64_t reste;  ///< items after the rebuild
  };
  const Cas cas[] = {
      {{"w/src"}, "w/src", "w/src", 0},
      {{"w/src", "w/kept.txt"}, "w/src", "w/src", 1},
      {{"disk/y.txt", "w/kept.txt"}, "disk", "disk/", 1},
      {{"disk/y.txt"}, "disk/y.txt", "disk/", 0},
      {{"w/src/*.*"}, "w/src/a.txt", "", 5},
      {{"w/kept.txt", "w/src/a.txt"}, "w/src/a.txt", "", 1},
  };
  const auto essaie = [&](const Cas &c) {
    FichierProjet projet = neuf();
    for (const std::string &source : c.sources)
      ASSERT_TRUE(inclusion_chemin(projet, bac + source, kRacine).abouti());
    fs::rename(bac + c.parti, bac + "away");
    const std::string avant = octets_projet(projet);
    op.erreurs.clear();
    if (!c.nomme.empty()) {
      reglages().mode_lot = true;
      BilanReconstruction bilan = reconstruction_projet(projet);
      EXPECT_TRUE(bilan.refusee && !bilan.abouti);
      EXPECT_EQ(octets_projet(projet), avant);
      ASSERT_EQ(op.erreurs.size(), 1U);
      EXPECT_NE(op.erreurs[0].find(bac + c.nomme), std::string::npos) << op.erreurs[0];
      reglages().mode_lot = false;
      op.reponses = {0};
      EXPECT_TRUE(reconstruction_projet(projet).refusee);
      EXPECT_EQ(octets_projet(projet), avant);
      op.reponses = {1};
    }
    EXPECT_TRUE(reconstruction_projet(projet).complet());
    EXPECT_TRUE(op.reponses.empty());
    EXPECT_EQ(projet.nb_rubriques(), c.reste);
    verifie_comptes(projet);
    reglages().mode_lot = true;
    fs::rename(bac + "away", bac + c.parti);
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.sources.front() + " without " + c.parti);
    essaie(c);
  }
  // The word may be given beforehand. A virtual folder does not hide what was dropped into it.
  FichierProjet projet = neuf();
  const std::uint32_t virtuel = ajout_dossier_virtuel(projet, "Virtual");
  ASSERT_TRUE(inclusion_chemin(projet, bac + "w/src", virtuel).abouti());
  fs::rename(bac + "w/src", bac + "away");
  EXPECT_TRUE(reconstruction_projet(projet).refusee);
  OptionsReconstruction options;
  options.force = true;
  EXPECT_TRUE(reconstruction_projet(projet, options).complet());
  EXPECT_EQ(projet.nb_rubriques(), 1U);
}

TEST_F(Rafraichissement, AMacBinaryThatChangedIsReadAgain) {
  fs::remove_all(bac + "w/src");
  pose_dossier("w/src");
  const auto tete = [](std::uint8_t data, std::uint8_t rsrc) {
    std::string octets(128, '\0');
    octets[1] = 4;
    octets.replace(2, 4, "Name");
    octets.replace(65, 8, "TEXTttxt");
    octets[86] = static_cast<char>(data);
    octets[90] = static_cast<char>(rsrc);
    return octets;
  };
  pose("w/src/m.bin", tete(10, 0) + std::string(128, 'x'));
  FichierProjet projet = scanne();
  ASSERT_TRUE(cherche(projet, "m.bin")->est_macbinaire());
  pose("w/src/m.bin", tete(100, 20) + std::string(256, 'x'));
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  const auto m = cherche(projet, "m.bin");
  EXPECT_EQ(m->lg_data, 100U);
  EXPECT_EQ(m->lg_rsrc, 20U);
  EXPECT_EQ(m->lg_source, 384U);
}

// Containers that changed are found and measured, in a refresh as in a rebuild, whatever their length says.
TEST_F(Rafraichissement, ContainersAreRecognisedAnew) {
  const auto macbinaire = [](std::size_t data, std::size_t rsrc) {
    std::string octets(128, '\0');
    octets[1] = 4;
    octets.replace(2, 4, "Name");
    octets.replace(65, 8, "TEXTttxt");
    octets[86] = static_cast<char>(data);
    octets[90] = static_cast<char>(rsrc);
    return octets + std::string((data + 127) / 128 * 128 + (rsrc + 127) / 128 * 128, 'x');
  };
  // An Apple container with a data fork ("" for a companion), a resource fork and Finder info.
  const auto apple = [](const std::string &data, const std::string &rsrc) {
    const auto be = [](std::size_t n, int octets) {
      std::string texte;
      for (int i = octets - 1; i >= 0; --i) texte += static_cast<char>(n >> (8 * i) & 0xFF);
      return texte;
    };
    const std::string info = "APPLaplt" + std::string(24, '\0');
    std::string tete =
        be(data.empty() ? 0x00051607 : 0x00051600, 4) + be(0x00020000, 4) + std::string(16, '\0') + be(3, 2);
    std::size_t ici = tete.size() + 36;
    std::string corps;
    for (const auto &[id, contenu] : {std::pair(1, data), std::pair(2, rsrc), std::pair(9, info)}) {
      tete += be(static_cast<std::size_t>(id), 4) + be(ici, 4) + be(contenu.size(), 4);
      ici += contenu.size();
      corps += contenu;
    }
    return tete + corps;
  };
  const auto binhex = [](const std::string &data) {
    // Only the head is read here: name "N", type, creator, flags, both lengths, run through the six-bit code.
    std::string octets = std::string("\1N\0TEXTttxt", 11) + std::string(2, '\0') + std::string(3, '\0') +
                         static_cast<char>(data.size()) + std::string(6, '\0') + data + std::string(4, '\0');
    constexpr std::string_view kTable = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
    std::string texte = "(This file must be converted with BinHex 4.0)\r\r:";
    std::uint32_t reste = 0;
    int bits = 0;
    for (const char c : octets) {
      reste = reste << 8 | static_cast<std::uint8_t>(c);
      for (bits += 8; bits >= 6; bits -= 6) texte += kTable[reste >> (bits - 6) & 0x3F];
    }
    if (bits > 0) texte += kTable[reste << (6 - bits) & 0x3F];
    return texte + ":\r";
  };
  struct Cas {
    std::string avant, compagnon_avant, apres, compagnon_apres;
    std::uint32_t data, rsrc;
    Codage codage;
    std::string signature;
  };
  const std::string sans = "none";
  const Cas cas[] = {
      {macbinaire(10, 0), sans, macbinaire(100, 20), sans, 100, 20, Codage::macbinary, "TEXTttxt"},
      {macbinaire(10, 5), sans, macbinaire(11, 6), sans, 11, 6, Codage::macbinary,
       "TEXTttxt"},  // same length
      {macbinaire(10, 5), sans, "plain now", sans, 9, 0, Codage::aucun, "TEXT????"},
      {"plain", sans, macbinaire(10, 5), sans, 10, 5, Codage::macbinary, "TEXTttxt"},
      {apple("data", "rsrc"), sans, apple("longer data", "r"), sans, 11, 1, Codage::apple, "APPLaplt"},
      {binhex("abc"), sans, binhex("abcdefgh"), sans, 8, 0, Codage::binhex, "TEXTttxt"},
      {"data", apple("", "rsrc"), "data", apple("", "grown fork"), 4, 10, Codage::apple, "APPLaplt"},
      {"data", apple("", "rsrc"), "data", apple("", "r"), 4, 1, Codage::apple, "APPLaplt"},
      {"data", apple("", "rsrc"), "data", sans, 4, 0, Codage::aucun, "TEXT????"},
      {"data", sans, "data", apple("", "rsrc"), 4, 4, Codage::apple, "APPLaplt"},
      {"data", apple("", "rsrc"), "grown data", apple("", "rsrc"), 10, 4, Codage::apple, "APPLaplt"},
  };
  const auto prepare = [&](const std::string &octets, const std::string &compagnon) {
    pose("w/src/m.bin", octets);
    fs::remove(bac + "w/src/._m.bin");
    if (compagnon != sans) pose("w/src/._m.bin", compagnon);
  };
  const auto verifie = [&](const FichierProjet &projet, const Cas &c) {
    const auto m = cherche(projet, "m.bin");
    ASSERT_TRUE(m);
    EXPECT_EQ(m->lg_data, c.data);
    EXPECT_EQ(m->lg_rsrc, c.rsrc);
    EXPECT_EQ(m->lg_source, c.apres.size());
    EXPECT_EQ(m->codage(), c.codage);
    EXPECT_EQ(m->est_appledouble(), c.compagnon_apres != sans);
    EXPECT_EQ(m->est_macbinaire(), c.codage == Codage::macbinary);
    EXPECT_EQ(std::string(m->signature.data(), m->signature.size()), c.signature);
    EXPECT_EQ(lignes(controle(projet)), Lignes{});
  };
  int numero = 0;
  for (const Cas &c : cas) {
    SCOPED_TRACE(numero++);
    prepare(c.avant, c.compagnon_avant);
    FichierProjet rafraichi = scanne();
    FichierProjet refait = scanne_vers("second.vnpr");
    EXPECT_EQ(lignes(controle(rafraichi)), Lignes{});
    prepare(c.apres, c.compagnon_apres);
    const auto differences = controle(rafraichi);
    EXPECT_EQ(lignes(differences), Lignes{"M m.bin " + std::to_string(c.apres.size())});
    EXPECT_EQ(accepte_differences(rafraichi, differences).restes, 0U);
    verifie(rafraichi, c);
    const BilanReconstruction bilan = reconstruction_projet(refait);
    EXPECT_TRUE(bilan.complet());
    EXPECT_EQ(bilan.modifications, 1U);
    verifie(refait, c);
  }
  // A file whose coding the user took away stays plain; an added one keeps the fork of its companion.
  prepare(macbinaire(10, 5), sans);
  FichierProjet projet = scanne();
  change(projet, "m.bin", [](RubriqueProjet &r) {
    r.est_macbinaire(false);
    r.codage(Codage::aucun);
    r.lg_data = r.lg_source;
    r.lg_rsrc = 0U;
  });
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
  pose("w/src/late", "data");
  pose("w/src/._late", apple("", "rsrc"));
  EXPECT_EQ(accepte_differences(projet, controle(projet)).ajouts, 1U);
  EXPECT_EQ(cherche(projet, "late")->lg_rsrc, 4U);
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
}

// A link to a folder above is not followed on a rebuild either.
TEST_F(Rafraichissement, ALinkUpwardsStaysOut) {
  FichierProjet projet = scanne();
  fs::create_directory_symlink(bac + "w/src", bac + "w/src/Dir/Sub/loop");
  fs::create_directory_symlink(bac + "w/src/Dir/Sub", bac + "w/src/Dir/again");  // the project has it
  EXPECT_EQ(lignes(controle(projet)), Lignes{}) << "the project has both folders";
  const BilanReconstruction bilan = reconstruction_projet(projet);
  EXPECT_TRUE(bilan.abouti);
  EXPECT_EQ(bilan.dossiers, 0U);
  EXPECT_EQ(bilan.echecs, 2U);
}

TEST_F(Rafraichissement, AStopOrAFailureLeavesTheProjectAsItWas) {
  FichierProjet projet = scanne();
  fs::remove(bac + "w/src/a.txt");
  for (int i = 0; i < 300; ++i) pose("w/src/Dir/n" + std::to_string(i), "n");
  const std::string avant = octets_projet(projet);
  for (const int pas : {0, 2, 4, 40, 200}) {
    op.avant_arret = pas;
    EXPECT_FALSE(reconstruction_projet(projet).abouti) << pas;
    EXPECT_EQ(octets_projet(projet), avant) << pas;
  }
  op.avant_arret = -1;
  const auto differences = controle(projet);
  ASSERT_EQ(differences.size(), 301U);
  {
    const DisquePlein plein(avant.size() + 5 * kTailleRubrique);
    EXPECT_FALSE(reconstruction_projet(projet).abouti);
    EXPECT_FALSE(accepte_differences(projet, differences).abouti);
  }
  EXPECT_EQ(octets_projet(projet), avant);
  EXPECT_FALSE(op.erreurs.empty());
  EXPECT_TRUE(reconstruction_projet(projet).complet());
  verifie_comptes(projet);
}

TEST_F(Rafraichissement, MovedFoldersAreFoundAgain) {
  FichierProjet projet = scanne();
  ASSERT_TRUE(projet.insere(projet.nb_rubriques() + 1,
                            std::vector{item(99, -70, "near", bac + "w/src2/"), item(99, -71, "v", "..")}));
  fs::rename(bac + "w/src", bac + "w/moved");
  EXPECT_EQ(changement_chemin(projet, bac + "w/src", bac + "w/moved"), 7U);
  EXPECT_EQ(lit_champ(cherche(projet, "near")->chemin), bac + "w/src2/");
  EXPECT_EQ(lit_champ(cherche(projet, "v")->chemin), "..");
  const auto sommet = cherche(projet, "moved");
  ASSERT_TRUE(sommet);
  EXPECT_EQ(lit_champ(sommet->chemin), bac + "w/");
  EXPECT_EQ(lit_champ(sommet->nom_iso), "src");
  EXPECT_EQ(lignes(controle(projet)), Lignes{});

  const std::string avant = octets_projet(projet);
  EXPECT_EQ(changement_chemin(projet, bac + "w/moved", "/" + std::string(250, 'x')), std::nullopt);
  EXPECT_EQ(octets_projet(projet), avant);
  EXPECT_EQ(changement_chemin(projet, "/none", "/other"), 0U);
}

TEST_F(Rafraichissement, PathsOfWindowsArePutRight) {
  FichierProjet projet = scanne();
  for (const auto &[nom, chemin] :
       {std::pair("src", "D:\\Disc\\"), std::pair("Dir", "D:\\Disc\\src\\"),
        std::pair("Sub", "D:\\Disc\\src\\Dir\\"), std::pair("d.txt", "D:\\Disc\\src\\Dir\\Sub\\")})
    change(projet, nom, [&](RubriqueProjet &r) { ecrit_champ_coupe(r.chemin, chemin); });
  EXPECT_FALSE(controle(projet).empty());
  EXPECT_EQ(changement_chemin(projet, "D:\\Disc\\src", bac + "w/src"), 4U);
  EXPECT_EQ(lit_champ(cherche(projet, "d.txt")->chemin), bac + "w/src/Dir/Sub/");
  EXPECT_EQ(lignes(controle(projet)), Lignes{});
}

TEST_F(Rafraichissement, TwentyThousandItemsAreQuick) {
  for (int d = 0; d < 100; ++d) {
    const std::string dossier = "w/src/g" + std::to_string(d);
    pose_dossier(dossier);
    for (int i = 0; i < 200; ++i) pose(dossier + "/f" + std::to_string(i), "x");
  }
  FichierProjet projet = scanne();
  for (int i = 0; i < 250; ++i)
    fs::remove(bac + "w/src/g" + std::to_string(i % 100) + "/f" + std::to_string(i));
  for (int i = 0; i < 250; ++i) pose("w/src/g" + std::to_string(i % 100) + "/n" + std::to_string(i), "x");
  const auto debut = std::chrono::steady_clock::now();
  EXPECT_EQ(controle(projet).size(), 450U);
  const BilanReconstruction bilan = reconstruction_projet(projet);
  const std::chrono::duration<double> duree = std::chrono::steady_clock::now() - debut;
  EXPECT_TRUE(bilan.complet());
  EXPECT_EQ(bilan.suppressions, 200U);
  EXPECT_EQ(bilan.fichiers, 250U);
  verifie_comptes(projet);
  EXPECT_LT(duree.count(), 20.0);
}

}  // namespace
}  // namespace varnion
