#include "IO/etat.hpp"
#include "noms/texte.hpp"
#include "outils.hpp"
#include "projet/arborescence.hpp"
#include "projet/noms_rubrique.hpp"

namespace varnion::essai {
namespace {

using Arbre = EssaiProjet;

TEST_F(Arbre, InsertionTriee) {
  FichierProjet projet = neuf();
  const std::vector<RubriqueProjet> ordre = {item(19, -1, "m"), item(1, 18, "b"),      item(1, -2, "a"),
                                             item(1, -3, "B"),  item(1, -4, "\xE9"),   item(18, -5, "z"),
                                             item(1, -6, "b"),  item(1, 19, "dossier")};
  for (const RubriqueProjet &r : ordre) ASSERT_TRUE(insertion_rubrique(projet, r));
  // Byte order, unsigned and case sensitive; of two equal names the newer stands first.
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-3 B", "1/-2 a", "1/-6 b", "1/18 b", "1/19 dossier", "1/-4 \xE9",
                                         "18/-5 z", "19/-1 m"}));
}

TEST_F(Arbre, DossiersVirtuels) {
  FichierProjet projet = neuf();
  projet.vue_courante(kVueIso);
  const std::uint32_t a = ajout_dossier_virtuel(projet, "\xC9t\xE9");
  EXPECT_EQ(a, 18U);
  RubriqueProjet r = lue(projet, 18);
  EXPECT_TRUE(r.est_virtuel());
  EXPECT_EQ(lit_champ(r.nom_hfs), "\x83t\x8E");
  EXPECT_EQ(lit_champ(r.nom_source), "\xC9t\xE9");
  EXPECT_EQ(r.vue_iso(), 1);
  EXPECT_EQ(r.vue_hfs(), 0);
  EXPECT_EQ(r.date_creation, r.date_modif);
  EXPECT_NE(r.date_creation, 0U);

  // A folder added below, in the other view, opens its parents in that view.
  projet.dossier_courant(a);
  projet.vue_courante(kVueHfs);
  EXPECT_EQ(ajout_dossier_virtuel(projet, "b"), 19U);
  EXPECT_EQ(lue(projet, 19).vue_iso(), 0);
  EXPECT_EQ(lue(projet, 18).vue_hfs(), 1);
  EXPECT_EQ(vue_de_dossier(projet, 18), kVueRacine);
  EXPECT_EQ(vue_de_dossier(projet, 19), kVueHfs);
  EXPECT_EQ(lue(projet, 18).lg_data, 1U);
  EXPECT_EQ(lue(projet, 1).lg_data, 1U) << "the root's count is in the head";

  projet.dossier_courant(kRacine);
  EXPECT_EQ(ajout_dossier_virtuel(projet, ".!Background"), 0x11U);
  EXPECT_EQ(projet.dernier_dossier(), 19U);
  projet.dossier_courant(a);
  EXPECT_EQ(ajout_dossier_virtuel(projet, ".!Background"), 20U) << "a second one must not share the number";

  EXPECT_EQ(ajout_dossier_virtuel(projet, std::string(62, 'n')), 21U);
  EXPECT_EQ(lit_champ(lue(projet, 21).nom_hfs).size(), 31U);
  EXPECT_EQ(ajout_dossier_virtuel(projet, std::string(63, 'n')), 0U);
  EXPECT_EQ(ajout_dossier_virtuel(projet, ""), 0U);
  EXPECT_EQ(script.erreurs.size(), 1U);
}

TEST_F(Arbre, DossierIsoPlus) {
  FichierProjet projet = neuf(ModeProjet::isop);
  projet.vue_courante(kVueHfs);
  const std::uint32_t numero = ajout_dossier_virtuel(projet, "a");
  EXPECT_EQ(lue(projet, static_cast<std::int32_t>(numero)).vue_iso(), 1);
  EXPECT_EQ(lue(projet, static_cast<std::int32_t>(numero)).vue_hfs(), 0);
}

TEST_F(Arbre, CreationDeChemin) {
  pose_dossier("Dossier");
  FichierProjet projet = neuf();
  const std::uint32_t fond = creation_chemin(projet, bac, "Dossier\\neuf//bas", kRacine);
  EXPECT_EQ(fond, 20U);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/18 Dossier", "18/19 neuf", "19/20 bas"}));
  EXPECT_EQ(lit_champ(lue(projet, 18).chemin), bac);
  EXPECT_EQ(lit_champ(lue(projet, 20).chemin), bac + "Dossier/neuf/");
  EXPECT_EQ(lit_champ(lue(projet, 18).nom_court), "Dossier");
  EXPECT_EQ(lue(projet, 19).lg_data, 1U);
  EXPECT_EQ(creation_chemin(projet, bac, "dossier/NEUF/autre", kRacine), 21U)
      << "levels are found in any case";
  EXPECT_EQ(creation_chemin(projet, bac, "", kRacine), kRacine);
  EXPECT_EQ(creation_chemin(projet, bac, "Dossier/../x", kRacine), 0U);
  EXPECT_EQ(creation_chemin(projet, "", "sans/source", kRacine), 23U);
  EXPECT_TRUE(lue(projet, 23).est_virtuel());
  EXPECT_EQ(ajout_dossier_chemin(projet, "/" + std::string(300, 'p'), "x", kRacine), 0U)
      << "a path that does not fit its field is refused, not cut";
  EXPECT_EQ(script.erreurs.size(), 1U);
}

TEST_F(Arbre, DejaPresent) {
  RubriqueProjet iso = item(1, -1, "Iso.txt");
  iso.vue_hfs(kHorsVue);
  RubriqueProjet hfs = item(1, -2, "hfs");
  hfs.vue_iso(kHorsVue);
  hfs.vue_hfs(kManquant);
  const std::vector<RubriqueProjet> items = {iso, item(1, -3, "deux"), hfs, item(18, -4, "ailleurs")};
  struct Cas {
    const char *nom, *chemin;
    int iso, racine, hfs;  // results by view
  };
  const std::vector<Cas> cas = {
      {"ISO.TXT", "/autre/ISO.TXT", -2, -2, 0}, {"iso.txt", "/SRC/iso.txt", -1, -1, -1},
      {"hfs", "/autre/hfs", 0, -2, -2},         {"deux", "/autre/deux", -2, -2, -2},
      {"ailleurs", "/src/ailleurs", 0, 0, 0},   {"neuf", "/src/neuf", 0, 0, 0},
  };
  const FichierProjet projet = avec(items);
  NomsPresents noms(projet, kRacine);
  for (const Cas &c : cas) {
    EXPECT_EQ(noms.deja_present(c.nom, c.chemin, kVueIso), c.iso) << c.nom;
    EXPECT_EQ(noms.deja_present(c.nom, c.chemin, kVueRacine), c.racine) << c.nom;
    EXPECT_EQ(noms.deja_present(c.nom, c.chemin, kVueHfs), c.hfs) << c.nom;
  }
  noms.ajoute(item(1, -5, "neuf"));
  EXPECT_EQ(noms.deja_present("NEUF", "/src/neuf", kVueIso), -1);
  EXPECT_EQ(NomsPresents(avec(items, ModeProjet::isop), 1).deja_present("DEUX", "/x/deux", kVueIso), 1);

  annonce_deja_present(-1, "/src/a");
  annonce_deja_present(-2, "/src/a");
  annonce_deja_present(1, "/src/a");
  // In a window the first two are notices of a few seconds; a batch run counts the first as a failure.
  const std::string pris =
      "The file/folder\n/src/a\nalready exists in the same folder of this project.\nOperation cancelled.";
  EXPECT_EQ(script.avis, (Lignes{pris, pris}));
  EXPECT_EQ(script.erreurs,
            (Lignes{"Files bearing the same name should only be included in different views."}));
  etat<OptionsProgramme>().mode_lot = true;
  annonce_deja_present(-1, "/src/a");
  annonce_deja_present(1, "/src/a");
  EXPECT_EQ(script.erreurs.size(), 2U);
  EXPECT_EQ(script.avis.size(), 2U);
  etat<OptionsProgramme>().mode_lot = false;
}

// --- deletion

std::vector<RubriqueProjet> petit_arbre() {
  RubriqueProjet a = item(1, 18, "a");
  a.lg_data = 1;
  a.lg_rsrc = 1;
  RubriqueProjet f = item(18, -1, "f");
  f.lg_data = 5000;
  return {a, item(1, 19, "vide"), item(1, -2, "z"),     item(18, 20, "b"),
          f, item(20, -3, "g"),   item(21, -4, "reste")};
}

TEST_F(Arbre, SuppressionDUnSousArbre) {
  FichierProjet projet = avec(petit_arbre());
  projet.estimation(100);
  EXPECT_EQ(suppression_element(projet, 77, 1), Suppression::introuvable);

  script.reponses = {0, 1};
  EXPECT_EQ(suppression_element(projet, 18, 1), Suppression::refusee);
  EXPECT_EQ(liste_items(projet).size(), 7U);
  EXPECT_EQ(projet.estimation(), 98U) << "a refusal leaves the estimate lowered";
  ASSERT_TRUE(projet.ajoute_comptes(1, 2, 1));
  EXPECT_EQ(suppression_element(projet, 18, 1), Suppression::dossier);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/19 vide", "1/-2 z", "21/-4 reste"}));
  EXPECT_EQ(suppression_element(projet, 19, 1), Suppression::dossier) << "an empty folder asks nothing";
  EXPECT_EQ(suppression_element(projet, static_cast<std::uint32_t>(-2), 1), Suppression::fichier);
  EXPECT_EQ(lue(projet, 1).lg_data, 0U);
  EXPECT_EQ(lue(projet, 1).lg_rsrc, 0U);
}

TEST_F(Arbre, ReponsesQuiRestent) {
  FichierProjet projet = avec(petit_arbre());
  script.reponses = {-1};
  EXPECT_EQ(suppression_rubrique(projet, 18, 1), Suppression::refusee);
  EXPECT_EQ(suppression_rubrique(projet, 18, 1), Suppression::refusee);
  reponses_projet().dossier_plein = 0;
  reglages().options = 0x400;  // stored by the preferences, read by nothing
  script.reponses = {0};
  EXPECT_EQ(suppression_rubrique(projet, 18, 1), Suppression::refusee);
  reglages().options = kOptionSansConfirmation;
  EXPECT_EQ(suppression_rubrique(projet, 18, 1), Suppression::dossier);
  EXPECT_TRUE(script.reponses.empty());
}

TEST_F(Arbre, SousArbreSeul) {
  FichierProjet projet = avec(petit_arbre());
  ASSERT_TRUE(suppression_sous_arbre(projet, 18));
  EXPECT_EQ(liste_items(projet), (Lignes{"1/18 a", "1/19 vide", "1/-2 z", "21/-4 reste"}));
}

// --- views and names

TEST_F(Arbre, PropagationDesVues) {
  // 17 lies below 18: the fixed number of ".!Background" is under that of its folder, and its content stays.
  FichierProjet projet = avec({item(1, 18, "a"), item(17, -1, "fond"), item(18, 17, ".!Background"),
                               item(18, 19, "b"), item(19, -2, "f"), item(20, -3, "hors")});
  ASSERT_TRUE(propage_vues(projet, 18, kHorsVue, kManquant));
  for (const std::int32_t numero : {17, 19, -2}) {
    EXPECT_EQ(lue(projet, numero).vue_iso(), kHorsVue) << numero;
    EXPECT_EQ(lue(projet, numero).vue_hfs(), kManquant) << numero;
  }
  for (const std::int32_t numero : {18, -1, -3}) EXPECT_EQ(lue(projet, numero).vue_iso(), kDansVue) << numero;
}

TEST_F(Arbre, OuvertureDesParents) {
  RubriqueProjet a = item(1, 18, "a");
  a.vue_iso(kHorsVue);
  a.vue_hfs(kManquant);
  RubriqueProjet b = item(18, 19, "b");
  b.vue_iso(kHorsVue);
  b.vue_hfs(kHorsVue);
  FichierProjet projet = avec({a, b});
  EXPECT_EQ(vue_de_dossier(projet, 18), kVueHfs);
  EXPECT_EQ(vue_de_dossier(projet, 19), kVueRacine) << "in neither view";
  ASSERT_TRUE(ouvre_vues_parents(projet, 19, kDansVue, kHorsVue));
  EXPECT_EQ(lue(projet, 19).vue_iso(), kDansVue);
  EXPECT_EQ(lue(projet, 19).vue_hfs(), kHorsVue);
  EXPECT_EQ(lue(projet, 18).vue_iso(), kDansVue);
  EXPECT_EQ(lue(projet, 18).vue_hfs(), kManquant) << "a set field keeps its value";
  EXPECT_EQ(lue(projet, 1).numero, 1U);
}

TEST_F(Arbre, Renommage) {
  FichierProjet projet = avec({item(1, -1, "b"), item(1, -2, "d"), item(1, -3, "f"), item(2, -4, "x")});
  projet.estimation(10);
  const auto renomme = [&](std::int32_t numero, std::string_view texte, int vue) {
    return renomme_element(projet, static_cast<std::uint32_t>(numero), 1, texte, vue);
  };
  EXPECT_EQ(renomme(-1, "b", kVueIso), 0);
  EXPECT_EQ(renomme(-1, "e", kVueIso), 1);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-2 d", "1/-1 e", "1/-3 f", "2/-4 x"}));
  EXPECT_EQ(renomme(-3, "d", kVueRacine), 1) << "an equal name lands first";
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-3 d", "1/-2 d", "1/-1 e", "2/-4 x"}));
  EXPECT_EQ(lit_champ(lue(projet, -3).nom_source), "f") << "the source keeps its name";
  EXPECT_EQ(renomme(-1, "z", kVueIso), 1);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-3 d", "1/-2 d", "1/-1 z", "2/-4 x"}));
  EXPECT_EQ(renomme(-2, std::string(40, '\xE9'), kVueHfs), 1);
  EXPECT_EQ(lit_champ(lue(projet, -2).nom_hfs), std::string(31, '\x8E'));
  EXPECT_EQ(lit_champ(lue(projet, -2).nom_iso), "d");
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-2 d", "1/-3 d", "1/-1 z", "2/-4 x"}))
      << "taken out and put back first";
  EXPECT_EQ(projet.estimation(), 10U);
  EXPECT_EQ(renomme(-2, std::string(63, 'n'), kVueIso), -1);
  EXPECT_EQ(renomme(-2, "", kVueIso), -1);
  EXPECT_EQ(renomme(-9, "x", kVueIso), -1);
  EXPECT_FALSE(lue(projet, -2).nom_hfs_final());

  RubriqueProjet hors = lue(projet, -1);
  hors.nom_hors_page(true);
  ASSERT_TRUE(renommage_rubrique(projet, hors));
  EXPECT_EQ(renomme(-1, "main", kVueRacine), 1);
  EXPECT_TRUE(lue(projet, -1).nom_iso_saisi());
  EXPECT_TRUE(lue(projet, -1).nom_hfs_final());
}

// A run may be out of order; the record that moves does not stand in its own way.
TEST_F(Arbre, RenommageDansUneSuiteEnDesordre) {
  FichierProjet projet = avec({item(1, -1, "m"), item(1, -2, "a"), item(1, -3, "z")});
  EXPECT_EQ(renomme_element(projet, static_cast<std::uint32_t>(-1), 1, "k", kVueIso), 1);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-2 a", "1/-1 k", "1/-3 z"}));
}

TEST_F(Arbre, ChangementDeFormat) {
  const std::string long_nom = std::string(40, 'l') + ".text";
  RubriqueProjet accent = item(1, -1, "\xE9t\xE9");
  ecrit_champ_coupe(accent.nom_hfs, "\x8Et\x8E");
  RubriqueProjet sans_source = item(1, -2, "v");
  ecrit_champ_coupe(sans_source.nom_source, "");
  ecrit_champ_coupe(sans_source.nom_hfs, "\x8E");
  FichierProjet projet = avec({accent, sans_source, item(1, -3, long_nom), item(1, -4, long_nom)});
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  ecrit_champ_coupe(entete.label_hfs, "\x8E");
  ASSERT_TRUE(projet.ecrit_entete(entete));

  ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
  EXPECT_TRUE(projet.hfsplus());
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_TRUE(entete.hfsplus());
  EXPECT_EQ(lit_champ(entete.label_hfs), "\xE9");
  EXPECT_EQ(lit_champ(lue(projet, -1).nom_hfs), "\xE9t\xE9");
  EXPECT_EQ(lit_champ(lue(projet, -2).nom_hfs), "\xE9");
  EXPECT_EQ(lit_champ(lue(projet, -3).nom_hfs), long_nom);

  int demandes = 0;
  const Troncature premier_abandonne = [&](std::string_view,
                                           std::size_t limite) -> std::optional<std::string> {
    if (demandes++ == 0) return std::nullopt;
    return std::string(limite, 'k');
  };
  ASSERT_TRUE(change_format(projet, false, premier_abandonne));
  EXPECT_EQ(lit_champ(lue(projet, -1).nom_hfs), "\x8Et\x8E");
  EXPECT_EQ(lit_champ(lue(projet, -3).nom_hfs), "~");
  EXPECT_EQ(lue(projet, -3).vue_hfs(), kHorsVue);
  EXPECT_EQ(lit_champ(lue(projet, -4).nom_hfs), std::string(31, 'k'));
  EXPECT_EQ(demandes, 2);
  ASSERT_TRUE(change_format(projet, false, premier_abandonne));
  EXPECT_EQ(demandes, 2) << "the same format again does nothing";
}

// Every name comes back with its format, whatever it was made from: typed in either format, cut on the way,
// out of the reach of the other's characters, or from the source while the ISO name was typed.
TEST_F(Arbre, LesNomsDesDeuxFormatsRestent) {
  const std::string long_nom = "A name of the newer format that is long.text";
  struct Cas {
    const char *source, *iso;
    std::string hfs;        ///< as it lies in a classic project
    std::string hfsplus;    ///< as it becomes in HFS+
    std::string tape;       ///< typed in HFS+ in its place, "" for none
    std::string classique;  ///< what that becomes in classic HFS
  };
  const std::string plein(31, '\xAD');  // "not equal" of Mac Roman, which working text lacks
  const Cas cas[] = {
      {"plain.txt", "plain.txt", "plain.txt", "plain.txt", "", "plain.txt"},
      {"file.bin", "file.bin", "Inner Name", "Inner Name", "", "Inner Name"},
      {"icon", "icon", ".VolumeIcon.icns", ".VolumeIcon.icns", "", ".VolumeIcon.icns"},
      {"typed", "ISO", "typed", "typed", "", "typed"},
      {"m", "m", plein, nom_windows(plein), "", plein},
      {"l", "l", "l", "l", long_nom, "A name of the newer format.text"},
      {"e", "e", "e", "e", std::string(62, 'e'), std::string(31, 'e')},
      {"s", "s", "s", "s", "\xD0 typed", ""},  // Eth: Mac Roman lacks it
      {"a long name on the disk that is cut.txt", "iso.txt", "a long name on the disk tha.txt",
       "a long name on the disk that is cut.txt", "", "a long name on the disk tha.txt"},
  };
  std::vector<RubriqueProjet> items;
  for (const Cas &c : cas) {
    items.push_back(item(1, -static_cast<std::int32_t>(items.size()) - 1, c.source));
    ecrit_champ_coupe(items.back().nom_iso, c.iso);
    ecrit_champ_coupe(items.back().nom_hfs, c.hfs);
  }
  FichierProjet projet = avec(items);
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  ecrit_champ_coupe(entete.label_hfs, "\xAD label");
  ASSERT_TRUE(projet.ecrit_entete(entete));
  const auto noms = [&] {
    Lignes lus;
    for (std::size_t i = 0; i < std::size(cas); ++i)
      lus.push_back(lit_champ(lue(projet, -static_cast<std::int32_t>(i) - 1).nom_hfs));
    EXPECT_TRUE(projet.lit_entete(entete));
    lus.push_back(lit_champ(entete.label_hfs));
    return lus;
  };
  const Lignes classiques = noms();
  EXPECT_EQ(noms_perdus(projet, true).nombre, 0U);
  ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
  const Lignes etendus = noms();
  for (std::size_t i = 0; i < std::size(cas); ++i) EXPECT_EQ(etendus[i], cas[i].hfsplus) << cas[i].source;
  for (int tour = 0; tour < 2; ++tour) {
    EXPECT_EQ(noms_perdus(projet, false).nombre, 0U);
    ASSERT_TRUE(change_format(projet, false, troncature_automatique()));
    EXPECT_EQ(noms(), classiques);
    ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
    EXPECT_EQ(noms(), etendus);
  }

  for (std::size_t i = 0; i < std::size(cas); ++i) {
    if (!cas[i].tape.empty()) {
      EXPECT_EQ(
          renomme_element(projet, 0U - static_cast<std::uint32_t>(i) - 1, kRacine, cas[i].tape, kVueHfs), 1);
    }
  }
  ASSERT_TRUE(projet.lit_entete(entete));
  ecrit_champ_coupe(entete.label_hfs, std::string(62, 'L'));
  ASSERT_TRUE(projet.ecrit_entete(entete));
  const Lignes tapes = noms();
  EXPECT_EQ(noms_perdus(projet, false).nombre, 0U);
  ASSERT_TRUE(change_format(projet, false, troncature_automatique()));
  const Lignes coupes = noms();
  for (std::size_t i = 0; i < std::size(cas); ++i) {
    const std::string attendu = cas[i].classique.empty() ? coupes[i] : cas[i].classique;
    EXPECT_EQ(coupes[i], attendu) << cas[i].source;
  }
  EXPECT_EQ(coupes.back(), std::string(27, 'L'));
  ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
  EXPECT_EQ(noms(), tapes);
  // A name that is typed anew takes nothing of an older one with it.
  ASSERT_TRUE(change_format(projet, false, troncature_automatique()));
  EXPECT_EQ(renomme_element(projet, 0U - 6, kRacine, "anew", kVueHfs), 1);
  ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
  EXPECT_EQ(lit_champ(lue(projet, -6).nom_hfs), "anew");
}

TEST_F(Arbre, UnNomQuiNeReviendraPasEstDemande) {
  RubriqueProjet perdu = item(1, -1, "a");
  const std::string nom = "\xD0 and much more than a classic name.txt";
  FichierProjet projet = neuf();
  ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
  ecrit_champ_coupe(perdu.nom_hfs, nom);
  ASSERT_TRUE(projet.insere(1, {&perdu, 1}));
  const std::string avant = tout(projet.fichier());
  reglages().mode_lot = true;
  EXPECT_FALSE(change_format(projet, false, troncature_automatique()));
  ASSERT_EQ(script.erreurs.size(), 1U);
  EXPECT_NE(script.erreurs[0].find(" 1 names"), std::string::npos) << script.erreurs[0];
  EXPECT_NE(script.erreurs[0].find(nom), std::string::npos) << script.erreurs[0];
  reglages().mode_lot = false;
  script.reponses = {0};
  EXPECT_FALSE(change_format(projet, false, troncature_automatique()));
  EXPECT_TRUE(projet.hfsplus());
  EXPECT_EQ(tout(projet.fichier()), avant);
  script.reponses = {1};
  EXPECT_TRUE(change_format(projet, false, troncature_automatique()));
  EXPECT_FALSE(projet.hfsplus());
}

TEST_F(Arbre, TroncatureSelonLesReglages) {
  const std::string nom = std::string(40, 'n') + ".txt";
  const std::string coupe = std::string(27, 'n') + ".txt";
  script.reponses = {0, 1};
  EXPECT_EQ(troncature_selon_reglages(false)(nom, 31), std::nullopt);
  EXPECT_EQ(troncature_selon_reglages(false)(nom, 31), coupe) << "an answer that is still too long is cut";
  troncature_noms().hfs = true;
  EXPECT_EQ(troncature_selon_reglages(false)(nom, 31), coupe);
  script.reponses = {0};
  EXPECT_EQ(troncature_selon_reglages(true)(nom, 31), std::nullopt) << "the other format still asks";
  reglages().vn_options |= kVnOptionTronque;
  EXPECT_EQ(troncature_selon_reglages(true)(nom, 31), coupe);
}

// --- counts

TEST_F(Arbre, EstimationEtComptes) {
  struct Cas {
    std::uint32_t data, rsrc, source;
    std::uint64_t secteurs;
  };
  for (const Cas &c : {Cas{0, 0, 0, 0}, Cas{1, 0, 1, 1}, Cas{2048, 0, 2048, 1}, Cas{2049, 0, 2049, 2},
                       Cas{1, 2049, 9000, 3}, Cas{UINT32_MAX, 0, 0, 2097152}}) {
    RubriqueProjet r = item(1, -1, "f");
    r.lg_data = c.data;
    r.lg_rsrc = c.rsrc;
    r.lg_source = c.source;
    FichierProjet projet = avec({r});
    ASSERT_TRUE(estimation_secteurs(projet));
    EXPECT_EQ(projet.estimation(), c.secteurs) << c.data;
    EXPECT_EQ(compte_projet(projet)->secteurs, c.secteurs) << c.data;
  }
  RubriqueProjet dossier = item(1, 18, "d");
  dossier.lg_data = 3;  // a folder's counts are lengths to the estimate, not to the count
  dossier.lg_rsrc = 1;
  RubriqueProjet mac = item(18, -1, "m");
  mac.lg_data = 2048;
  mac.lg_source = 4096;
  mac.est_macbinaire(true);
  RubriqueProjet mac_hfs = mac;
  mac_hfs.numero = static_cast<std::uint32_t>(-2);
  mac_hfs.est_macbinaire(false);
  mac_hfs.est_binhex(true);
  mac_hfs.vue_iso(kHorsVue);
  mac_hfs.vue_hfs(kManquant);
  FichierProjet projet = avec({dossier, mac, mac_hfs});
  ASSERT_TRUE(projet.sauvegarde_entete());
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_EQ(entete.taille_secteurs, 2U + 3U + 1U);
  EXPECT_EQ(entete.compte_hfs, 3U);
  EXPECT_EQ(entete.compte_iso, 2U);
  const auto comptes = compte_projet(projet);
  EXPECT_EQ(comptes->secteurs, 4U);
  EXPECT_EQ(comptes->fichiers, 2U);
  EXPECT_EQ(comptes->fichiers_iso, 1U);
  EXPECT_EQ(comptes->fichiers_hfs, 2U);
  EXPECT_EQ(comptes->dossiers_hfs, 1U);
  EXPECT_FALSE(comptes->hfsplus);
}

TEST_F(Arbre, FormatForceAuDelaDe65535) {
  std::vector<RubriqueProjet> items(65535, item(1, -1, "f"));
  ecrit_champ_coupe(items[0].nom_hfs, "\x8E");
  ecrit_champ_coupe(items[0].nom_source, "\xE9");
  RubriqueProjet iso = item(1, -1, "i");
  iso.vue_hfs(kHorsVue);
  items.push_back(iso);
  FichierProjet projet = avec(items);
  ASSERT_TRUE(projet.sauvegarde_entete());
  EXPECT_FALSE(projet.hfsplus());
  ASSERT_TRUE(projet.insere(1, {{item(1, 18, "d")}}));
  ASSERT_TRUE(projet.sauvegarde_entete());
  EXPECT_TRUE(projet.hfsplus());
  EnteteProjet entete;
  ASSERT_TRUE(projet.lit_entete(entete));
  EXPECT_TRUE(entete.hfsplus());
  RubriqueProjet r;
  ASSERT_TRUE(projet.lit(2, r));
  EXPECT_EQ(lit_champ(r.nom_hfs), "\xE9") << "names follow the format";
  EXPECT_TRUE(permet_hfs_classique(65535));
  EXPECT_FALSE(permet_hfs_classique(65536));
  EXPECT_EQ(script.erreurs,
            Lignes{"You can't select the HFS format with more than 65,535 files or folders."});
}

TEST_F(Arbre, BlocsDAllocation) {
  struct Cas {
    bool iso, hfs;
    std::uint32_t data, rsrc, source;
    std::uint64_t blocs;  // of 2048 bytes
  };
  const std::vector<Cas> cas = {
      {true, true, 5000, 0, 5000, 3},
      {true, true, 5000, 2049, 9000, 7},
      {true, false, 5000, 100, 5000, 3},
      {false, true, 5000, 1, 5000, 1},  // data shared with the ISO side is not counted, even when there is
                                        // none
      {false, true, 5000, 1, 0, 4},
      {false, false, 5000, 1, 5000, 0},
  };
  std::vector<RubriqueProjet> items;
  std::uint64_t total = 0;
  for (const Cas &c : cas) {
    RubriqueProjet r = item(1, -1, "f");
    r.vue_iso(c.iso ? kDansVue : kHorsVue);
    r.vue_hfs(c.hfs ? kManquant : kHorsVue);
    r.lg_data = c.data;
    r.lg_rsrc = c.rsrc;
    r.lg_source = c.source;
    EXPECT_EQ(calcul_blocs(avec({r}), 2048), c.blocs) << total;
    items.push_back(r);
    total += c.blocs;
  }
  RubriqueProjet dossier = item(1, 18, "d");
  dossier.lg_data = 99999;
  items.push_back(dossier);
  const FichierProjet projet = avec(items);
  EXPECT_EQ(calcul_blocs(projet, 2048), total);
  EXPECT_EQ(plus_grande_branche(projet), 5000U);
}

TEST_F(Arbre, TailleDeBloc) {
  RubriqueProjet r = item(1, -1, "f");
  r.vue_hfs(kHorsVue);
  // 65,536 blocks at 2048 are one too many; the bound and a count that never fits are answered, not looped
  // on.
  for (const auto &[longueur, taille] : std::vector<std::pair<std::uint32_t, std::uint32_t>>{
           {65535U * 2048U, 2048}, {65535U * 2048U + 1, 4096}, {65535U * 6144U, 6144}}) {
    r.lg_source = longueur;
    EXPECT_EQ(LongueursProjet(avec({r})).taille_bloc(), taille);
  }
  EXPECT_FALSE(LongueursProjet(avec({r})).taille_bloc(6144));
  EXPECT_FALSE(LongueursProjet(avec(std::vector(65536, r))).taille_bloc());
}

// --- look-up

TEST_F(Arbre, RechercheParChemin) {
  RubriqueProjet a = item(1, 18, "a");
  ecrit_champ_coupe(a.nom_hfs, "\x8Et\x8E");
  ecrit_champ_coupe(a.nom_source, "source");
  RubriqueProjet cache = item(18, -1, "F.TXT");
  cache.vue_iso(kHorsVue);
  const FichierProjet projet = avec({a, cache, item(18, -2, "f.txt"), item(18, -3, "F.txt")});
  struct Cas {
    const char *chemin;
    int vue;
    std::int32_t numero;  // 0 not found
  };
  for (const Cas &c :
       {Cas{"", 0, 1}, Cas{"/", 0, 1}, Cas{"a", 0, 18}, Cas{"/A/", 0, 18}, Cas{"source", 0, 0},
        Cas{"source/f.txt", 1, -2}, Cas{"\xC9t\xE9\\F.TXT", 2, -1}, Cas{"a/F.TXT", 0, -2},
        Cas{"a/F.txt", 0, -3}, Cas{"a/f.txt/x", 0, 0}, Cas{"a//f.txt", 0, -2}, Cas{"b", 0, 0}}) {
    const auto trouve = trouve_chemin(projet, c.chemin, c.vue);
    EXPECT_EQ(trouve ? trouve->rubrique.numero_signe() : 0, c.numero) << c.chemin << " " << c.vue;
  }
}

}  // namespace
}  // namespace varnion::essai
