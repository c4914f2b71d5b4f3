#include <gtest/gtest.h>

#include "compil/dimension.hpp"
#include "compil/volume_hfs.hpp"
#include "compil/volume_hfsplus.hpp"
#include "projet/outils.hpp"

namespace varnion {
namespace {

using namespace essai;

// --- estimate of catalog nodes

TEST(Estimation, noeuds_de_feuilles) {
  struct Cas {
    std::uint32_t fiche;
    int nombre;
    std::uint32_t noeud;
    std::uint64_t noeuds, octets, cles;
  };
  // The first node has no header in the estimate and two bytes of table for each record.
  for (const Cas &c :
       {Cas{120, 4, 512, 0, 480, 4}, Cas{120, 5, 512, 1, 134, 2}, Cas{120, 8, 512, 1, 494, 5},
        Cas{120, 9, 512, 2, 134, 2}, Cas{512, 1, 512, 0, 512, 1}, Cas{512, 2, 512, 1, 526, 2},
        Cas{513, 1, 512, 1, 527, 2}, Cas{300, 13, 4096, 0, 3900, 13}, Cas{300, 14, 4096, 1, 314, 2}}) {
    ContexteCompilation ctx;
    for (int i = 0; i < c.nombre; ++i) place_noeud(ctx, c.fiche, c.noeud);
    EXPECT_EQ(ctx.noeuds, c.noeuds) << c.fiche << " x " << c.nombre;
    EXPECT_EQ(ctx.octets_noeud, c.octets) << c.fiche << " x " << c.nombre;
    EXPECT_EQ(ctx.cles_noeud, c.cles) << c.fiche << " x " << c.nombre;
  }
}

TEST(Estimation, tailles_des_fiches_du_catalogue) {
  RubriqueProjet fichier = item(1, -1, "impair.");  // 7: the key needs no pad
  RubriqueProjet dossier = item(1, 17, "pair");     // 4: it needs one
  const auto octets = [&](const VolumeMac &volume, const RubriqueProjet &r, bool fil) {
    ContexteCompilation ctx;
    if (fil) {
      volume.compte_fil(ctx, r);
    } else {
      volume.compte_item(ctx, r);
    }
    return ctx.octets_noeud;
  };
  const VolumeHfs hfs;
  EXPECT_EQ(octets(hfs, fichier, false), 0x66U + 14);
  EXPECT_EQ(octets(hfs, dossier, false), 0x46U + 12);
  EXPECT_EQ(octets(hfs, dossier, true), 0x36U);
  EXPECT_EQ(octets(hfs, fichier, true), 0U);
  // HFS+ counts the thread of every item with it.
  const VolumeHfsPlus plus;
  EXPECT_EQ(octets(plus, fichier, false) + octets(plus, fichier, true), 0xF8U + 14 + 8 + 14 + 10);
  EXPECT_EQ(octets(plus, dossier, false) + octets(plus, dossier, true), 0x58U + 8 + 8 + 8 + 10);
}

// --- the Macintosh volume

struct CasVolume {
  std::uint32_t taille_bloc;
  std::uint64_t secteurs, noeuds, blocs_donnees;
  std::uint32_t carte, extents, catalogue;
};

TEST(PlanDuVolume, hfs) {
  for (const CasVolume &c : {
           CasVolume{2048, 100, 0, 1, 5, 8, 8},           // an aligned bitmap still gets a whole block more
           CasVolume{2048, 4096, 0, 100, 5, 8, 8},        //
           CasVolume{2048, 4097, 10, 100, 5, 8, 32},      // 2: rises to 5; 24 + 5 = 29: to 32
           CasVolume{4096, 5000, 100, 2500, 5, 16, 256},  // 204 + 50 = 254
           CasVolume{6144, 5000, 3, 1700, 9, 24, 24},     // the catalog is at least the extents tree
           CasVolume{2048, 65000, 1000, 65000, 17, 8, 2504},
           CasVolume{2048, 10, 0, 30000, 9, 8, 8},  // forks that the payload does not count raise the map
       }) {
    ContexteCompilation ctx;
    ctx.taille_bloc = c.taille_bloc;
    ctx.secteurs = c.secteurs;
    ctx.noeuds = c.noeuds;
    BesoinsVolume besoins;
    besoins.blocs_donnees = c.blocs_donnees;
    const PlanVolume plan = VolumeHfs().plan(ctx, 777, 144, besoins);
    SCOPED_TRACE(std::to_string(c.secteurs) + " in blocks of " + std::to_string(c.taille_bloc));
    const std::uint32_t a = c.taille_bloc / 512;
    EXPECT_EQ(plan.carte, c.carte);
    EXPECT_EQ(plan.extents, c.extents);
    EXPECT_EQ(plan.catalogue, c.catalogue);
    EXPECT_EQ(plan.debut, 144U);
    EXPECT_EQ(plan.bloc_base, (c.extents + c.catalogue) / a);
    EXPECT_EQ((plan.carte + 3) % a, 0U);
    EXPECT_EQ(plan.taille, c.carte + 3U + c.extents + c.catalogue + 4 * 777U);
  }
}

TEST(PlanDuVolume, hfsplus) {
  for (const CasVolume &c : {
           CasVolume{2048, 100, 0, 100, 4, 0x40, 0x40},
           CasVolume{2048, 16384 - 16 - 800, 100, 100, 4, 0x40, 3200},
           CasVolume{2048, 16384 - 16 - 799, 100, 100, 8, 0x40, 3200},
           CasVolume{2048, 1000, 3750, 1000, 8, 0x40, 120'000},
           CasVolume{2048, 1000, 3751, 1000, 12, 0x40, 150'040},  // a quarter more above 15,000 nodes
       }) {
    ContexteCompilation ctx;
    ctx.nature = Nature::hybride_hfsplus;
    ctx.secteurs = c.secteurs;
    ctx.noeuds = c.noeuds;
    BesoinsVolume besoins;
    besoins.blocs_donnees = c.blocs_donnees;
    const PlanVolume plan = VolumeHfsPlus().plan(ctx, 777, 144, besoins);
    SCOPED_TRACE(std::to_string(c.secteurs) + " with nodes " + std::to_string(c.noeuds));
    EXPECT_EQ(plan.carte, c.carte);
    EXPECT_EQ(plan.extents, c.extents);
    EXPECT_EQ(plan.catalogue, c.catalogue);
  }
}

TEST(PlanDuVolume, ce_que_hfs_peut_adresser) {
  PlanVolume plan;
  plan.bloc_base = 10;
  plan.carte = 21;
  EXPECT_TRUE(VolumeHfs().tient(plan, 65'524));
  EXPECT_FALSE(VolumeHfs().tient(plan, 65'525));
}

// --- the ISO side

TEST(PlanIso, le_plus_petit_hybride_commence_au_secteur_31) {
  ContexteCompilation ctx;
  ctx.secteurs = 5;
  ctx.secteurs_iso = ctx.secteurs_joliet = 1;
  ctx.taille_chemins_iso = ctx.taille_chemins_joliet = 1;
  const PlanIso plan = planifie_iso(ctx, {10, 10, 1, 1});
  EXPECT_EQ(plan.chemins_iso_l, 19U);
  EXPECT_EQ(plan.chemins_iso_m, 20U);
  EXPECT_EQ(plan.racine_iso, 21U);
  EXPECT_EQ(plan.chemins_joliet_l, 24U);
  EXPECT_EQ(plan.chemins_joliet_m, 25U);
  EXPECT_EQ(plan.racine_joliet, 26U);
  EXPECT_EQ(plan.fin_catalogue, 31U);
  EXPECT_EQ(plan.taille_volume, 5 + 18 + 2 + 2 + 2 * 3 + 2 * 5U);
}

TEST(PlanIso, bloc_d_allocation_et_tables_de_plusieurs_secteurs) {
  ContexteCompilation ctx;
  ctx.taille_bloc = 6144;
  ctx.secteurs_iso = 200;
  ctx.secteurs_joliet = 300;
  ctx.taille_chemins_iso = 2049;
  ctx.taille_chemins_joliet = 4096;
  const PlanIso plan = planifie_iso(ctx, {});
  EXPECT_EQ(plan.racine_iso, 19 + 4U);
  EXPECT_EQ(plan.chemins_joliet_l, 23 + 220U);
  EXPECT_EQ(plan.racine_joliet, 243 + 4U);
  EXPECT_EQ(plan.fin_catalogue, 579U);  // 247 + 330 = 577, to a multiple of 3
}

class Dimension : public EssaiProjet {
 protected:
  /// `dossiers` folders in the root with so many files each.
  FichierProjet bati(std::int32_t dossiers, int fichiers) {
    std::vector<RubriqueProjet> items;
    for (std::int32_t d = 0; d < dossiers; ++d)
      items.push_back(item(1, 17 + d, "D" + std::to_string(100'000 + d)));
    std::int32_t numero = 0;
    for (std::int32_t d = 0; d < dossiers; ++d)
      for (int f = 0; f < fichiers; ++f)
        items.push_back(
            item(static_cast<std::uint32_t>(17 + d), --numero, "FILE" + std::to_string(1000 + f) + ".TXT"));
    return avec(items);
  }
};

// Records of 12-character names are 48 bytes long, one more than the estimate has for every name: 42 of them
// still fit a sector in the estimate, and no longer in the directory.
TEST_F(Dimension, une_reserve_ne_monte_que_si_l_estimation_est_trop_basse) {
  for (const int fichiers : {41, 42}) {
    FichierProjet projet = bati(300, fichiers);
    ContexteCompilation ctx;
    ctx.projet = &projet;
    const VolumeHfs volume;
    Dimensions dimensions;
    ASSERT_TRUE(dimensionne(ctx, IndexEnfants(projet), &volume, dimensions));
    // 300 folders and the root, which takes 7 sectors: 42 records of 47 bytes behind the first two, then 43.
    EXPECT_EQ(ctx.secteurs_iso, 300 + 7U);
    EXPECT_EQ(ctx.taille_chemins_iso, 300 * 20U);
    EXPECT_EQ(ctx.taille_chemins_joliet, 300 * (2 * 7U + 8));
    EXPECT_EQ(dimensions.iso.chemins_iso, 10 + 300 * 16U);
    EXPECT_EQ(dimensions.iso.chemins_joliet, 10 + 300 * 22U);
    EXPECT_EQ(dimensions.iso.secteurs_iso, fichiers == 41 ? 307U : 607U);
    script.journaux.clear();
    const PlanIso plan = planifie_iso(ctx, dimensions.iso);
    EXPECT_EQ(plan.secteurs_iso, fichiers == 41 ? 307 + 30U : 607U);
    EXPECT_EQ(script.journaux.size(), fichiers == 41 ? 0U : 1U);
  }
}

TEST_F(Dimension, chaque_nom_egal_est_nomme_dans_sa_vue) {
  struct Cas {
    const char *quoi;
    std::vector<RubriqueProjet> items;
    Nature nature;
    bool bon;
  };
  auto ailleurs = [](RubriqueProjet r) {
    ecrit_champ_coupe(r.chemin, "/autre/");
    return r;
  };
  auto hors_hfs = [](RubriqueProjet r) {
    r.vue_hfs(kHorsVue);
    return r;
  };
  const std::vector<Cas> cas = {
      {"one name, two sources", {item(1, -1, "x"), ailleurs(item(1, -2, "x"))}, Nature::iso, false},
      {"case differs, ISO", {item(1, -1, "X"), item(1, -2, "x")}, Nature::iso, true},
      {"case differs, HFS", {item(1, -1, "X"), item(1, -2, "x")}, Nature::hybride_hfs, false},
      {"accent only", {item(1, -1, "e"), item(1, -2, "\x8E")}, Nature::hybride_hfs, true},
      {"one of them out of the view",
       {item(1, -1, "X"), hors_hfs(item(1, -2, "x"))},
       Nature::hybride_hfs,
       true},
      {"file and folder", {item(1, -1, "x"), item(1, 17, "x")}, Nature::hfs, false},
      {"equal once Joliet has mapped them", {item(1, -1, "a_b"), item(1, -2, "a*b")}, Nature::iso, true},
      {"equal once HFS+ has mapped them", {item(1, -1, "a_b"), item(1, -2, "a:b")}, Nature::hfsplus, false},
      {"other folders", {item(1, 17, "d"), item(1, -1, "x"), item(17, -2, "x")}, Nature::hybride_hfs, true},
  };
  for (const Cas &c : cas) {
    SCOPED_TRACE(c.quoi);
    FichierProjet projet = avec(c.items);
    ContexteCompilation ctx;
    ctx.projet = &projet;
    ctx.nature = c.nature;
    const auto volume = VolumeMac::cree(c.nature);
    Dimensions dimensions;
    script.erreurs.clear();
    EXPECT_EQ(dimensionne(ctx, IndexEnfants(projet), volume.get(), dimensions), c.bon);
    EXPECT_EQ(script.erreurs.empty(), c.bon);
    if (c.bon || script.erreurs.empty()) continue;
    EXPECT_NE(script.erreurs[0].find(chemin_source(c.items[0])), std::string::npos) << script.erreurs[0];
    EXPECT_NE(script.erreurs[0].find(chemin_source(c.items[1])), std::string::npos) << script.erreurs[0];
  }
}

// The longest fork of each format; what is longer is named before anything is written.
TEST_F(Dimension, une_fourche_trop_longue_pour_hfs_est_nommee) {
  for (const Nature nature : {Nature::hybride_hfs, Nature::hfs, Nature::hybride_hfsplus, Nature::hfsplus}) {
    for (const bool ressource : {false, true}) {
      for (const std::uint32_t longueur : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        for (const bool dans_hfs : {true, false}) {
          RubriqueProjet r = item(1, -1, "movie");
          if (!dans_hfs) r.vue_hfs(kHorsVue);
          r.codage(Codage::ntfs);
          (ressource ? r.lg_rsrc : r.lg_data) = longueur;
          FichierProjet projet = avec({r, item(1, -2, "other")});
          ContexteCompilation ctx;
          ctx.projet = &projet;
          ctx.nature = nature;
          const auto volume = VolumeMac::cree(nature);
          Dimensions dimensions;
          script.erreurs.clear();
          const bool bon = longueur == 0x7FFFFFFF || nature_est_hfsplus(nature) || !dans_hfs;
          EXPECT_EQ(dimensionne(ctx, IndexEnfants(projet), volume.get(), dimensions), bon) << longueur;
          ASSERT_EQ(script.erreurs.size(), bon ? 0U : 1U);
          if (bon) continue;
          EXPECT_NE(script.erreurs[0].find("/src/movie"), std::string::npos) << script.erreurs[0];
          EXPECT_NE(script.erreurs[0].find("HFS+"), std::string::npos) << script.erreurs[0];
        }
      }
    }
  }
}

// A project file may say anything: folders in a ring end with a message.
TEST_F(Dimension, dossiers_en_cercle) {
  FichierProjet projet = avec({item(1, 17, "a"), item(17, 18, "b"), item(18, 17, "c")});
  ContexteCompilation ctx;
  ctx.projet = &projet;
  Dimensions dimensions;
  EXPECT_FALSE(dimensionne(ctx, IndexEnfants(projet), nullptr, dimensions));
  EXPECT_EQ(script.erreurs.size(), 1U);
}

}  // namespace
}  // namespace varnion
