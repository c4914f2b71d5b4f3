#include <gtest/gtest.h>

#include <map>

#include "compil/descripteurs.hpp"
#include "compil/disposition.hpp"
#include "compil/noms_disque.hpp"
#include "compil/repertoires.hpp"
#include "IO/ecarts.hpp"
#include "outils/atelier.hpp"
#include "outils/carte.hpp"
#include "outils/lecteur_iso.hpp"

namespace varnion {
namespace {

using namespace essai;
using outils::Octets;

constexpr DateRepertoire kDate{100, 1, 2, 3, 4, 5, 0};

std::span<const std::uint8_t> octets_de_texte(const std::string &texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

// --- directories

class Repertoires : public Bac {};

TEST_F(Repertoires, longueur_de_fiche_et_octet_de_bourrage) {
  struct Cas {
    std::size_t nom;
    bool joliet;
    std::size_t longueur, classique;
  };
  for (const Regle regle : {Regle::publiee, Regle::classique})
    for (const Cas &c :
         {Cas{1, false, 34, 34}, Cas{2, false, 36, 36}, Cas{11, false, 44, 44}, Cas{14, false, 48, 48},
          Cas{2, true, 36, 35}, Cas{28, true, 62, 61}, Cas{128, true, 162, 161}}) {
      fixer_regle(regle);
      const std::size_t longueur = regle == Regle::publiee ? c.longueur : c.classique;
      Repertoire r(c.joliet, kDate, 20, 20, 0);
      FicheRepertoire fiche;
      fiche.extent = 0x01020304U;
      const std::size_t rang = r.ajoute(fiche, octets_de_texte(std::string(c.nom, 'N')));
      r.ferme(false);
      const std::size_t ou = r.position(rang);
      const Octets o(r.octets());
      EXPECT_EQ(ou, 68U);
      EXPECT_EQ(o.u8(ou), longueur) << c.nom;
      EXPECT_EQ(o.u8(ou + 32), c.nom);
      EXPECT_EQ(o.le32(ou + 2), 0x01020304U);
      EXPECT_EQ(o.be32(ou + 6), 0x01020304U);
      EXPECT_TRUE(o.rempli(ou + 33 + c.nom, 2048 - ou - 33 - c.nom));
    }
}

TEST_F(Repertoires, donnees_systeme_derriere_le_nom_borde) {
  Repertoire r(false, kDate, 20, 20, 0);
  const std::size_t rang = r.ajoute({}, octets_de_texte("AB"), octets_de_texte("AA\x0E\x02TEXTttxt"));
  r.ferme(false);
  const Octets o(r.octets());
  EXPECT_EQ(o.u8(r.position(rang)), 36 + 12);
  EXPECT_EQ(o.texte(r.position(rang) + 36, 4), "AA\x0E\x02");
}

// 45 records of 44 bytes behind "." and ".." end exactly at byte 2048: the last goes to the next sector.
TEST_F(Repertoires, aucune_fiche_ne_finit_a_la_fin_du_secteur) {
  for (const std::size_t derniere : {43, 44, 45, 46}) {
    Repertoire r(false, kDate, 20, 20, 0);
    for (int i = 0; i < 44; ++i) r.ajoute({}, octets_de_texte("NAMENAME.1;"));  // 44 bytes each
    const std::size_t rang =
        r.ajoute({}, octets_de_texte("N"), octets_de_texte(std::string(derniere - 34, 's')));
    fixer_regle(Regle::classique);  // the last to come is the last of the directory
    r.ferme(false);
    EXPECT_EQ(r.position(rang), derniere < 44 ? 2004U : 2048U) << derniere;
    EXPECT_TRUE(Octets(r.octets()).rempli(2004, r.position(rang) - 2004));
    EXPECT_EQ(r.taille(), derniere < 44 ? 2048U : 4096U);
  }
}

// ECMA-119 9.3: names filled with spaces (zeros in Joliet), then extensions, associated file first. The
// classic rule keeps the order of their coming.
TEST_F(Repertoires, fiches_dans_l_ordre_du_format) {
  struct Fiche {
    std::string nom;
    std::uint8_t drapeaux = 0;
  };
  struct Cas {
    bool joliet;
    std::vector<Fiche> venues;
    std::vector<std::size_t> ordre;  ///< ranks among these
  };
  const auto large = [](const std::string &texte) {
    std::string octets;
    for (const char c : texte) octets += {c == '\x01' ? '\x30' : '\0', c};
    return octets;
  };
  std::vector<Cas> cas = {
      {false, {{"B;1"}, {"A;1"}, {"AA;1"}}, {1, 2, 0}},
      {false, {{"AB.A;1"}, {"A.Z;1"}, {"A.B;1"}, {"A;1"}, {"A_.A;1"}}, {3, 2, 1, 0, 4}},
      // A space and "!" come before the dot, and the name "A" before both all the same.
      {false, {{"A!;1"}, {"A .TXT;1"}, {"A.TXT;1"}}, {1, 2, 0}},
      {false, {{"F;1"}, {"F;1", 4}}, {1, 0}},
      {false, {{"Z", 2}, {"M;1"}, {"A", 2}}, {2, 1, 0}},
      // An accent is a byte above all letters.
      {false, {{"\xC9;1"}, {"Z;1"}}, {1, 0}},
      {true, {{large("b;1")}, {large("B;1")}, {large("\x01;1")}, {large("a.b c;1")}}, {1, 3, 0, 2}},
      {true, {{large("a b.txt;1")}, {large("a.txt;1")}, {large("a.t;1")}}, {2, 1, 0}},
      // The dot of a folder parts nothing, as in a path table.
      {true, {{large("a.b"), 2}, {large("a b"), 2}}, {1, 0}},
  };
  for (const Regle regle : {Regle::publiee, Regle::classique})
    for (std::size_t n = 0; n < cas.size(); ++n) {
      SCOPED_TRACE(n);
      fixer_regle(regle);
      const Cas &c = cas[n];
      Repertoire r(c.joliet, kDate, 20, 20, 0);
      std::vector<std::size_t> rangs;
      for (const Fiche &f : c.venues) {
        FicheRepertoire fiche;
        fiche.drapeaux = f.drapeaux;
        rangs.push_back(r.ajoute(fiche, octets_de_texte(f.nom)));
      }
      r.ferme(false);
      std::vector<std::size_t> vus(c.venues.size());
      for (std::size_t i = 0; i < vus.size(); ++i) vus[i] = i;
      std::sort(vus.begin(), vus.end(),
                [&](std::size_t a, std::size_t b) { return r.position(rangs[a]) < r.position(rangs[b]); });
      std::vector<std::size_t> ordre = c.ordre;
      if (regle == Regle::classique) std::sort(ordre.begin(), ordre.end());
      EXPECT_EQ(vus, ordre);
      for (std::size_t i = 0; i < vus.size(); ++i)
        EXPECT_EQ(Octets(r.octets()).texte(r.position(rangs[i]) + 33, c.venues[i].nom.size()),
                  c.venues[i].nom);
    }
}

TEST_F(Repertoires, tailles_dans_les_deux_premieres_fiches) {
  for (const bool racine : {true, false}) {
    Repertoire r(false, kDate, 77, 55, 4096);
    r.ferme(racine);
    const Octets o(r.octets());
    EXPECT_EQ(o.le32(2), 77U);
    EXPECT_EQ(o.be32(14), 2048U);
    EXPECT_EQ(o.le32(34 + 2), 55U);
    EXPECT_EQ(o.be32(34 + 14), racine ? 2048U : 4096U);
    EXPECT_EQ(o.u8(33), 0);
    EXPECT_EQ(o.u8(34 + 33), 1);
    EXPECT_EQ(o.texte(18, 7), std::string("\x64\x01\x02\x03\x04\x05\0", 7));
    EXPECT_EQ(o.u8(25), 2);
  }
}

TEST_F(Repertoires, date_en_temps_universel_et_annee_sur_un_octet) {
  const std::map<std::int64_t, DateRepertoire> cas = {
      {0, {70, 1, 1, 0, 0, 0, 0}},
      {951'827'696, {100, 2, 29, 12, 34, 56, 0}},
      {5'000'000'000, {228, 6, 11, 8, 53, 20, 0}},  // 2128
      {6'000'000'000, {255, 2, 18, 10, 40, 0, 0}},  // 2160
      {-2'300'000'000, {0, 2, 11, 15, 6, 40, 0}},   // 1897
      {-1'000'000'000, {38, 4, 24, 22, 13, 20, 0}},
  };
  for (const Regle regle : {Regle::publiee, Regle::classique})
    for (auto [secondes, date] : cas) {
      fixer_regle(regle);
      if (regle == Regle::classique && secondes == 6'000'000'000) date[0] = 4;  // the byte starts again
      if (regle == Regle::classique && secondes == -2'300'000'000) date[0] = 253;
      EXPECT_EQ(date_repertoire(secondes), date) << secondes;
    }
}

// The tables of a tree with two levels, records of the folders not in the order of their names.
TEST_F(Repertoires, tables_des_chemins_en_largeur) {
  for (const auto &[joliet, classique] :
       {std::pair{false, false}, std::pair{true, false}, std::pair{false, true}, std::pair{true, true}}) {
    fixer_regle(classique ? Regle::classique : Regle::publiee);
    ArbreRepertoires arbre;
    arbre.joliet = joliet;
    arbre.racine = 100;
    arbre.chemin = bac + "arbre";
    arbre.fichier = plateforme::ouvre(arbre.chemin, Ouverture::creation);
    const auto nom = [&](char c) { return joliet ? std::string{'\0', c} : std::string(1, c); };
    FicheRepertoire dossier;
    dossier.drapeaux = kDrapeauDossier;
    const auto pose = [&](const std::string &noms, std::uint32_t pere) {
      Repertoire r(joliet, kDate, arbre.prochain(), pere, 2048);
      std::vector<std::uint64_t> places;
      const std::uint64_t base = std::uint64_t{arbre.secteurs} * 2048;
      std::vector<std::size_t> rangs;
      for (const char c : noms) rangs.push_back(r.ajoute(dossier, octets_de_texte(nom(c))));
      r.ajoute({}, octets_de_texte(joliet ? std::string("\0F\0;\0"
                                                        "1",
                                                        6)
                                          : "F;1"));
      r.ferme(false);
      for (const std::size_t rang : rangs) places.push_back(base + r.position(rang));
      EXPECT_TRUE(arbre.ajoute(r));
      return places;
    };
    const auto racine = pose("ZBM", 100);  // 100
    const auto z = pose("C", 100);         // 101
    EXPECT_TRUE(arbre.fixe_enfant(racine[0], 101, 2048));
    pose("", 101);  // 102 = Z/C
    EXPECT_TRUE(arbre.fixe_enfant(z[0], 102, 2048));
    pose("", 100);                                         // 103 = B
    EXPECT_TRUE(arbre.fixe_enfant(racine[1], 103, 2048));  // M stays without an extent: its source is gone
    const auto tables = tables_chemins(arbre);
    ASSERT_TRUE(tables.has_value());
    const std::size_t lg = joliet ? 10 : 9;
    const std::size_t pas = 10;
    ASSERT_EQ(tables->l.size(), 10 + 3 * pas);
    ASSERT_EQ(tables->m.size(), tables->l.size());
    struct Entree {
      std::uint32_t extent, pere;
      char nom;
    };
    // By level, parent and name (ECMA-119 6.9.1), or as the records came.
    std::vector<Entree> attendues = {{100, 1, 0}, {103, 1, 'B'}, {101, 1, 'Z'}, {102, 3, 'C'}};
    if (classique) attendues = {{100, 1, 0}, {101, 1, 'Z'}, {103, 1, 'B'}, {102, 2, 'C'}};
    for (std::size_t i = 0; i < 4; ++i) {
      const Octets l = Octets(tables->l).partie(i * pas, pas);
      const Octets m = Octets(tables->m).partie(i * pas, pas);
      EXPECT_EQ(l.le32(2), attendues[i].extent);
      EXPECT_EQ(m.be32(2), attendues[i].extent);
      EXPECT_EQ(l.le16(6), attendues[i].pere);
      EXPECT_EQ(m.be16(6), attendues[i].pere);
      EXPECT_EQ(l.u8(0), i == 0 ? 1 : lg - 8);
      EXPECT_EQ(static_cast<char>(l.u8(i == 0 ? 8 : lg - 1)), attendues[i].nom);
      EXPECT_EQ(l.texte(8, 2), m.texte(8, 2));
    }
    EXPECT_TRUE(Octets(tables->l).rempli(9, 1));
  }
}

// --- descriptors

PlanIso plan_essai() {
  PlanIso plan;
  plan.chemins_iso_l = 19;
  plan.chemins_iso_m = 20;
  plan.racine_iso = 21;
  plan.chemins_joliet_l = 0x123;
  plan.chemins_joliet_m = 0x124;
  plan.racine_joliet = 0x125;
  plan.taille_volume = 0x11223;
  return plan;
}

TEST(Descripteurs, champs_des_deux_descripteurs) {
  ::setenv("SOURCE_DATE_EPOCH", "951827696", 1);
  EnteteProjet entete = entete_neuve();
  ecrit_champ_coupe(entete.id_systeme, "Syst\xE8me-1");
  ecrit_champ_coupe(entete.id_editeur,
                    "\xC9"
                    "diteur & fils");
  ASSERT_TRUE(ecrit_champ_plein(entete.fichier_copyright, "copyr.\xE9t\xE9"));
  const std::string label = "Disque d\xE9mo 1234567";  // 19 characters
  const SecteurDescripteur p = descripteur_primaire(entete, plan_essai(), label);
  SecteurDescripteur j = descripteur_joliet(p, entete, plan_essai(), label);
  fixer_regle(Regle::classique);
  const SecteurDescripteur classique = descripteur_primaire(entete, plan_essai(), label);
  fixer_regle(Regle::publiee);
  EXPECT_EQ(Octets(classique).texte(40, 32), "DISQUE_DEMO_" + std::string(20, ' '));
  EXPECT_EQ(Octets(classique).texte(813, 17), std::string("2000022912000000\0", 17));
  ::unsetenv("SOURCE_DATE_EPOCH");
  const Octets o(p);
  EXPECT_EQ(o.texte(0, 7), std::string("\1CD001\1"));
  EXPECT_EQ(o.texte(8, 32), "SYSTEME_1" + std::string(23, ' '));
  EXPECT_EQ(o.texte(40, 32), "DISQUE_DEMO_1234567" + std::string(13, ' '));
  EXPECT_EQ(o.le32(80), 0x11223U);
  EXPECT_EQ(o.be32(84), 0x11223U);
  EXPECT_EQ(o.texte(120, 12), std::string("\1\0\0\1\1\0\0\1\0\x08\x08\0", 12));
  EXPECT_EQ(o.le32(140), 19U);
  EXPECT_EQ(o.be32(148), 20U);
  EXPECT_TRUE(o.rempli(144, 4) && o.rempli(152, 4));
  EXPECT_EQ(o.u8(156), 34);
  EXPECT_EQ(o.le32(158), 21U);
  EXPECT_EQ(o.be32(170), 2048U);
  EXPECT_EQ(o.texte(174, 7), std::string("\x64\x02\x1D\x0C\x22\x38\0", 7));
  EXPECT_EQ(o.u8(181), 2);
  EXPECT_EQ(o.texte(188, 2), std::string("\1\0", 2));
  EXPECT_TRUE(o.rempli(190, 128, ' '));
  EXPECT_EQ(o.texte(318, 20), "EDITEUR___FILS      ");
  EXPECT_TRUE(o.rempli(446, 256, ' '));
  EXPECT_EQ(o.texte(702, 37), "COPYR.ETE" + std::string(28, ' '));
  EXPECT_EQ(o.texte(813, 17), std::string("2000022912345600\0", 17));
  for (const std::uint64_t q : {830, 847, 864}) EXPECT_EQ(o.texte(q, 17), std::string(16, '0') + '\0');
  EXPECT_EQ(o.u8(881), 1);
  EXPECT_TRUE(o.rempli(882, 1166));

  termine_descripteur(j, 4096, 36, 0x99);
  const Octets k(j);
  EXPECT_EQ(k.u8(0), 2);
  EXPECT_EQ(outils::utf16be_vers_utf8(k.partie(8, 32)), "Système-1       ");
  EXPECT_EQ(outils::utf16be_vers_utf8(k.partie(40, 32)), "Disque démo 1234");
  EXPECT_EQ(k.texte(88, 4), std::string("%/@\0", 4));
  EXPECT_EQ(k.le32(140), 0x123U);
  EXPECT_EQ(k.be32(148), 0x124U);
  EXPECT_EQ(k.le32(158), 0x125U);
  EXPECT_EQ(outils::utf16be_vers_utf8(k.partie(318, 30)), "Éditeur & fils ");
  EXPECT_EQ(k.texte(190, 4), std::string("\0 \0 ", 4));
  EXPECT_EQ(k.texte(702, 179), o.texte(702, 179));
  EXPECT_EQ(k.be32(84), 0x99U);
  EXPECT_EQ(k.le32(132), 36U);
  EXPECT_EQ(k.be32(136), 36U);
  EXPECT_EQ(k.le32(166), 4096U);
  EXPECT_EQ(k.be32(170), 4096U);
}

// An empty System field keeps all the others out, whatever the project holds.
TEST(Descripteurs, un_systeme_vide_ferme_les_autres_champs) {
  EnteteProjet entete = entete_neuve();
  ecrit_champ_coupe(entete.id_editeur, "Editeur");
  ASSERT_TRUE(ecrit_champ_plein(entete.fichier_biblio, "BIBLIO.TXT"));
  const SecteurDescripteur p = descripteur_primaire(entete, plan_essai(), "A");
  const Octets o(p);
  EXPECT_EQ(o.texte(8, 10), "Varnion - ");
  EXPECT_TRUE(o.rempli(190, 623, ' '));
  const SecteurDescripteur j = descripteur_joliet(p, entete, plan_essai(), "A");
  EXPECT_EQ(outils::utf16be_vers_utf8(Octets(j).partie(8, 32)), "Varnion         ");
  EXPECT_TRUE(Octets(j).rempli(190, 512));
  const SecteurDescripteur f = descripteur_fin();
  EXPECT_EQ(Octets(f).texte(0, 7),
            "\xFF"
            "CD001\1");
  EXPECT_TRUE(Octets(f).rempli(7, 2041));
}

// --- sector 0 and the bitmap

TEST(Disposition, secteur_zero_lu_par_un_lecteur_de_cartes) {
  SecteurZero s = secteur_zero(0x1234, "Disque \x8E");
  termine_secteur_zero(s, 90'000, 80'000);
  std::vector<std::uint8_t> image(90'000 * 512);
  std::copy(s.begin(), s.end(), image.begin());
  const outils::CarteLue carte = outils::lit_carte(Octets(image));
  EXPECT_TRUE(carte.fautes.vide()) << carte.fautes.texte();
  ASSERT_EQ(carte.partitions.size(), 2U);
  EXPECT_EQ(carte.blocs, 90'000U);
  const outils::Partition &p = carte.partitions[0];
  const outils::Partition &q = carte.partitions[1];
  EXPECT_EQ(p.type, "Apple_partition_map");
  EXPECT_TRUE(p.nom.starts_with("Varnion - "));
  EXPECT_EQ(std::vector<std::uint64_t>({p.debut, p.nombre, p.nombre_donnees, p.statut, p.entrees}),
            std::vector<std::uint64_t>({1, 2, 2, 0x13, 2}));
  EXPECT_EQ(q.type, "Apple_HFS");
  EXPECT_EQ(q.nom, "Disque \x8E");
  EXPECT_EQ(std::vector<std::uint64_t>({q.debut, q.nombre, q.nombre_donnees, q.statut, q.entrees}),
            std::vector<std::uint64_t>({0x1234, 80'000, 80'000, 0x13, 2}));
  EXPECT_TRUE(Octets(s).rempli(1536, 512));
  // A name longer than the field must not run into the type behind it.
  const SecteurZero longue = secteur_zero(1, std::string(60, 'n'));
  EXPECT_EQ(Octets(longue).texte(0x430, 10), std::string("Apple_HFS\0", 10));
}

TEST(Disposition, carte_des_blocs) {
  struct Cas {
    std::uint64_t debut, nombre;
    bool tient;
  };
  for (const Cas &c :
       {Cas{0, 1, true}, Cas{7, 2, true}, Cas{3, 0, true}, Cas{3, 4, true}, Cas{8, 16, true},
        Cas{5, 30, true}, Cas{0, 64, true}, Cas{63, 1, true}, Cas{64, 0, true}, Cas{63, 2, false},
        Cas{65, 0, false}, Cas{0, UINT64_MAX, false}, Cas{UINT64_MAX, 2, false}}) {
    DispositionImage carte;
    carte.prepare(8);
    EXPECT_EQ(carte.marque(c.debut, c.nombre), c.tient) << c.debut << " " << c.nombre;
    for (std::uint64_t b = 0; b < 64; ++b) {
      const bool bit = (carte.octets()[b / 8] & 0x80U >> b % 8) != 0;
      EXPECT_EQ(bit, c.tient && b >= c.debut && b < c.debut + c.nombre)
          << c.debut << " " << c.nombre << " " << b;
    }
  }
}

// --- names of the ISO side

plateforme::DonneesRecherche donnees(const std::string &nom_long, const std::string &nom_court = "") {
  plateforme::DonneesRecherche d;
  d.nom_long = nom_long;
  d.nom_court = nom_court;
  d.nom_large = plateforme::texte_vers_large(nom_long);
  return d;
}

class NomsDisque : public EssaiProjet {};

TEST_F(NomsDisque, un_nom_deja_pris_recoit_un_numero) {
  fixer_regle(Regle::classique);
  NomsIso noms;
  const auto pris = [&](const plateforme::DonneesRecherche &d) {
    return noms.fichier(item(1, -1, d.nom_long), d);
  };
  EXPECT_EQ(pris(donnees("readme.txt")), "README.TXT;1");
  EXPECT_EQ(pris(donnees("A long name.text", "ALONGN~1.TEX")), "ALONGN~1.TEX;1");
  EXPECT_TRUE(script.journaux.empty());
  EXPECT_EQ(pris(donnees("README.TXT")), "README~1.TXT;1");
  EXPECT_EQ(pris(donnees("ReadMe.Txt")), "README~2.TXT;1");
  EXPECT_EQ(pris(donnees("longname.c")), "LONGNAME.C;1");
  EXPECT_EQ(pris(donnees("longname.C")), "LONGNA~1.C;1");
  EXPECT_EQ(script.journaux.size(), 3U);
  // Twelve of a kind: the number grows into the name, which keeps to eight characters and stays unique.
  std::set<std::string> vus;
  for (int i = 0; i < 1200; ++i) {
    const std::string nom = pris(donnees("abcdefgh.i"));
    EXPECT_TRUE(vus.insert(nom).second) << nom;
    EXPECT_LE(nom.find('.'), 8U) << nom;
    EXPECT_TRUE(nom.ends_with(".I;1"));
  }
  // A folder and a file share one directory, and a reader shows the file without its version.
  EXPECT_EQ(pris(donnees("sound")), "SOUND;1");
  RubriqueProjet homonyme = item(1, 6, "SOUND");
  ecrit_champ_coupe(homonyme.chemin, kCheminVirtuel);
  EXPECT_EQ(noms.dossier(homonyme, donnees("SOUND")), "SOUND~1");
  RubriqueProjet virtuel = item(1, 5, "README");
  ecrit_champ_coupe(virtuel.chemin, kCheminVirtuel);
  EXPECT_EQ(noms.dossier(virtuel, donnees("README")), "README");
  EXPECT_EQ(noms.dossier(virtuel, donnees("README")), "README~1");
}

// The ISO view's name in the form of ECMA-119 7.5 and 7.6, else the 8.3 name of the source; numbered where
// two meet. Foreseen lengths hold but for the numbers.
TEST_F(NomsDisque, identifiants_du_format) {
  struct Cas {
    const char *source, *court, *nom_iso;
    bool dossier;
    const char *iso, *joliet;
  };
  NomsIso noms;
  NomsJoliet noms_joliet;
  for (const Cas &c : {
           Cas{"readme.txt", "", "readme.txt", false, "README.TXT;1", "readme.txt;1"},
           Cas{"A long name.text", "ALONGN~1.TEX", "A long name.text", false, "ALONGN_1.TEX;1",
               "A long name.text;1"},
           Cas{"plain", "", "plain", false, "PLAIN.;1", "plain;1"},
           Cas{"x-y&z.c++", "X-Y&Z~1.C__", "x-y&z.c++", false, "X_Y_Z_1.C__;1", "x-y&z.c++;1"},
           // Names typed in the ISO view.
           Cas{"other.txt", "", "Typed.doc", false, "TYPED.DOC;1", "Typed.doc;1"},
           Cas{"other2.txt", "", "A longer typed name.html", false, "ALONGE_1.HTM;1",
               "A longer typed name.html;1"},
           Cas{"other3.txt", "", "\xC9t\xE9;1.txt", false, "ETE_1_1.TXT;1", "Été_1.txt;1"},
           Cas{"Folder", "", "Renamed", true, "RENAMED", "Renamed"},
           Cas{"Folder two", "FOLDER~1", "Renamed folder", true, "RENAME_1", "Renamed folder"},
           Cas{"v1.0 beta", "V10BET~1", "v1.0 beta", true, "V10BET_1", "v1.0 beta"},
           // Met again: by case, by what the form takes away, by what a reader hides.
           Cas{"Readme.Txt", "README.TXT", "Readme.Txt", false, "README_1.TXT;1", "Readme.Txt;1"},
           Cas{"plain", "", "plain", true, "PLAIN_1", "plain~1"},
       }) {
    SCOPED_TRACE(c.nom_iso);
    RubriqueProjet r = item(1, c.dossier ? 5 : -1, c.source);
    ecrit_champ_coupe(r.nom_court, *c.court == '\0' ? c.source : c.court, r.nom_court.size());
    ecrit_champ_coupe(r.nom_iso, c.nom_iso);
    const auto d = donnees(c.source, c.court);
    const std::string iso = c.dossier ? noms.dossier(r, d) : noms.fichier(r, d);
    EXPECT_EQ(iso, c.iso);
    const std::string joliet = noms_joliet.place(r, d).octets;
    const std::vector<std::uint8_t> octets(joliet.begin(), joliet.end());
    EXPECT_EQ(outils::utf16be_vers_utf8(Octets(octets)), c.joliet);
    EXPECT_LE(iso.size(), longueurs_noms(r).iso + 2);
    EXPECT_LE(joliet.size(), longueurs_noms(r).joliet + 4);
  }
  // The number grows into the name, which keeps its form and stays unique.
  std::set<std::string> vus;
  const RubriqueProjet r = item(1, -1, "abcdefgh.i");
  for (int i = 0; i < 1200; ++i) {
    const std::string nom = noms.fichier(r, donnees("abcdefgh.i"));
    EXPECT_TRUE(vus.insert(nom).second && nom.size() <= 12 && nom.ends_with(".I;1")) << nom;
  }
  // One identifier for both records of a file.
  RubriqueProjet paire = item(1, -7, "double and longer");
  paire.codage(Codage::apple);
  paire.lg_rsrc = 1U;
  ecrit_champ_coupe(paire.nom_court, "DOUBLE~1", paire.nom_court.size());
  const auto d = donnees("double and longer", "DOUBLE~1");
  const NomsIso::Paire deux = noms.fichier_apple(paire, d);
  EXPECT_EQ(deux.data, "DOUBLE_1.;1");
  EXPECT_EQ(deux.ressource, deux.data);
  EXPECT_EQ(longueurs_noms_apple(paire).ressource_iso, deux.data.size());
  paire.lg_rsrc = 0U;
  EXPECT_EQ(noms.fichier_apple(paire, d).ressource, "");
}

// The two records of a file of an ISO+ project under the classic rule: the source name, cut at 12, ahead of
// the short one.
TEST_F(NomsDisque, paires_de_fiches) {
  struct Cas {
    const char *quoi, *source, *court;
    Codage codage;
    std::uint32_t rsrc;
    const char *iso_rsrc, *iso_data, *joliet;
  };
  fixer_regle(Regle::classique);
  NomsIso noms;
  NomsJoliet noms_joliet;
  for (const Cas &c : {
           Cas{"plain", "a plain file.txt", "APLAIN~1.TXT", Codage::aucun, 0, "", "A PLAIN FILE;1", "iso;1"},
           Cas{"8.3", "double.txt", "DOUBLE.TXT", Codage::apple, 1, "DOUBLE.TXT;1", "DOUBLE.TXT;1",
               "double.txt;1"},
           Cas{"long", "double and longer", "DOUBLE~1", Codage::apple, 1, "DOUBLE AND L;1", "DOUBLE~1;1",
               "double and longer;1"},
           Cas{"no fork", "simple and longer", "SIMPLE~1", Codage::apple, 0, "", "SIMPLE~1;1",
               "simple and longer;1"},
           Cas{"its own name", "coded.bin", "CODED.BIN", Codage::macbinary, 1, "CODED.BIN;1", "CODED.BIN;1",
               "Né__Mac;1"},
           Cas{"that name again", "coded2.bin", "CODED2.BIN", Codage::binhex, 1, "CODED2.BIN;1",
               "CODED2.BIN;1", "Né__Mac~1;1"},
           Cas{"taken, as a pair", "Double.TXT", "DOUBLE.TXT", Codage::apple, 1, "DOUBLE~1.TXT;1",
               "DOUBLE~1.TXT;1", "Double.TXT;1"},
           Cas{"taken at 12", "a plain filet", "APLAIN~2", Codage::aucun, 0, "", "A PLAIN FI~1;1", "iso~1;1"},
       }) {
    SCOPED_TRACE(c.quoi);
    RubriqueProjet r = item(1, -1, c.source);
    r.codage(c.codage);
    r.lg_rsrc = c.rsrc;
    ecrit_champ_coupe(r.nom_court, c.court, r.nom_court.size());
    ecrit_champ_coupe(r.nom_iso, "iso");
    ecrit_champ_coupe(r.nom_hfs, "N\x8E:/Mac");
    const auto d = donnees(c.source, c.court);
    const NomsIso::Paire paire = noms.fichier_apple(r, d);
    EXPECT_EQ(paire.ressource, c.iso_rsrc);
    EXPECT_EQ(paire.data, c.iso_data);
    const std::string joliet = noms_joliet.place_apple(r, d, false).octets;
    const std::vector<std::uint8_t> octets(joliet.begin(), joliet.end());
    EXPECT_EQ(outils::utf16be_vers_utf8(Octets(octets)), c.joliet);
    // What was foreseen holds but for the numbers of names met again.
    const LongueursApple prevues = longueurs_noms_apple(r);
    EXPECT_EQ(prevues.ressource_iso == 0, paire.ressource.empty());
    EXPECT_LE(paire.data.size(), prevues.data.iso + 2);
    EXPECT_LE(joliet.size(), prevues.data.joliet + 4);
  }
  RubriqueProjet flux = item(1, -9, "flux");
  flux.codage(Codage::ntfs);
  EXPECT_EQ(longueurs_noms_apple(flux).data.iso, 0U);
}

TEST_F(NomsDisque, noms_joliet_et_longueurs_prevues) {
  const std::string long62(62, 'x');
  struct Cas {
    const char *quoi;
    RubriqueProjet rubrique;
    plateforme::DonneesRecherche source;
    std::string attendu;
  };
  std::vector<Cas> cas;
  cas.push_back({"plain", item(1, -1, "R\xE9sum\xE9.txt"), donnees("R\xE9sum\xE9.txt"), "Résumé.txt;1"});
  cas.push_back({"62 characters", item(1, -1, long62), donnees(long62, "XXXXXX~1"), long62 + ";1"});
  cas.push_back({"folder", item(1, 2, "Dossier"), donnees("Dossier"), "Dossier"});
  RubriqueProjet large = item(1, -1, "___~1.TXT");
  large.nom_hors_page(true);
  auto japonais = donnees("???.txt", "___~1.TXT");
  japonais.nom_large = u"日本語.txt";
  cas.push_back({"out of the page", large, japonais, "日本語.txt;1"});
  large.nom_iso_saisi(true);
  cas.push_back({"typed by hand", large, japonais, "___~1.TXT;1"});
  RubriqueProjet renomme = item(1, -1, "source.txt");
  ecrit_champ_coupe(renomme.nom_iso, "Autre nom.txt");
  cas.push_back({"renamed", renomme, donnees("source.txt"), "Autre nom.txt;1"});
  for (const Cas &c : cas) {
    const std::string nom = NomsJoliet().place(c.rubrique, c.source).octets;
    const std::vector<std::uint8_t> octets(nom.begin(), nom.end());
    EXPECT_EQ(outils::utf16be_vers_utf8(Octets(octets)), c.attendu) << c.quoi;
    EXPECT_LE(nom.size(), longueurs_noms(c.rubrique).joliet) << c.quoi;
  }
}

// Names are compared as they are written. The later one is numbered ahead of its extension, in the room that
// an identifier has.
TEST_F(NomsDisque, noms_joliet_egaux_une_fois_ecrits) {
  const auto large = [](std::int32_t numero, const std::u16string &nom) {
    RubriqueProjet r = item(1, numero, "X~1");
    r.nom_hors_page(true);
    auto d = donnees("?", "X~1");
    d.nom_large = nom;
    return std::pair(r, d);
  };
  const auto texte = [](std::int32_t numero, const std::string &nom) {
    return std::pair(item(1, numero, nom), donnees(nom));
  };
  const std::u16string long61 = std::u16string(57, u'l') + u".txt";
  const std::u16string couple = std::u16string(58, u'l') + u"\U0001F600";  // a pair at units 59 and 60
  struct Cas {
    std::pair<RubriqueProjet, plateforme::DonneesRecherche> item;
    std::string attendu;
    bool change;
  };
  NomsJoliet noms;
  for (const Cas &c : {
           Cas{texte(-1, "a_b.txt"), "a_b.txt;1", false},
           Cas{large(-2, u"a\\b.txt"), "a_b~1.txt;1", true},
           Cas{texte(-3, "a*b.txt"), "a_b~2.txt;1", true},
           Cas{texte(-4, "a_b~1.txt"), "a_b~1~1.txt;1", true},
           Cas{texte(-5, "A_b.txt"), "A_b.txt;1", false},
           Cas{large(6, u"a\\b.txt"), "a_b~3.txt", true},  // a folder has no version and counts all the same
           Cas{large(-7, u"??"), "__;1", false},
           Cas{large(-8, u"??"), "__~1;1", true},
           Cas{texte(-9, ".profile"), ".profile;1", false},
           Cas{large(-10, u".profile"), ".profile~1;1", true},
           Cas{large(-11, long61), plateforme::texte_vers_utf8(std::string(57, 'l')) + ".txt;1", false},
           Cas{large(-12, long61), std::string(56, 'l') + "~1.txt;1", true},
           Cas{large(-13, couple), std::string(58, 'l') + "\U0001F600;1", false},
           Cas{large(-14, couple + u"zz"), std::string(58, 'l') + "\U0001F600zz;1", false},
           Cas{large(-15, couple + u"zz"), std::string(58, 'l') + "\U0001F600~1;1", true},
           Cas{large(-16, couple + u"z"), std::string(58, 'l') + "\U0001F600z;1", false},
           Cas{large(17, std::u16string(64, u'd')), std::string(64, 'd'), false},
           Cas{large(18, std::u16string(64, u'd')), std::string(62, 'd') + "~1", true},
       }) {
    const NomJoliet nom = noms.place(c.item.first, c.item.second);
    const std::vector<std::uint8_t> octets(nom.octets.begin(), nom.octets.end());
    EXPECT_EQ(outils::utf16be_vers_utf8(Octets(octets)), c.attendu);
    EXPECT_EQ(!nom.change.empty(), c.change) << c.attendu;
    EXPECT_LE(nom.octets.size(), 128U) << c.attendu;
  }
}

}  // namespace
}  // namespace varnion
