// Damaged and very large projects: nothing hangs, and the work stays in proportion.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <random>

#include "outils.hpp"
#include "projet/arborescence.hpp"
#include "projet/signatures.hpp"

namespace varnion::essai {
namespace {

class Abimes : public EssaiProjet {
 protected:
  void SetUp() override {
    EssaiProjet::SetUp();
    reglages().options = kOptionSansConfirmation;
  }
};

TEST_F(Abimes, Cycles) {
  // 18 in itself; 19 and 20 in each other; two folders 21; a folder that bears the root's number.
  const std::vector<RubriqueProjet> items = {item(1, -1, "f"),    item(1, 21, "d"),      item(1, 21, "e"),
                                             item(18, 18, "s"),   item(19, 20, "b"),     item(20, 19, "a"),
                                             item(21, 21, "moi"), item(21, 1, "racine"), item(21, -2, "g")};
  for (const std::uint32_t numero : {1U, 18U, 19U, 20U, 21U}) {
    FichierProjet projet = avec(items);
    ASSERT_TRUE(propage_vues(projet, numero, kManquant, kHorsVue));
    ASSERT_TRUE(ouvre_vues_parents(projet, numero, kDansVue, kDansVue));
    EXPECT_EQ(liste_items(projet).size(), items.size());
  }
  FichierProjet projet = avec(items);
  EXPECT_EQ(suppression_rubrique(projet, 18, 18), Suppression::dossier);
  EXPECT_EQ(suppression_rubrique(projet, 20, 19), Suppression::dossier);
  EXPECT_EQ(suppression_rubrique(projet, 21, 1), Suppression::dossier);
  EXPECT_EQ(liste_items(projet), (Lignes{"1/-1 f", "1/21 e"}))
      << "a folder numbered 1 must not take the root along";
}

// The children of folder n are n + 1, twice: each level doubles for a walk that does not look where it was.
TEST_F(Abimes, NumerosEnDouble) {
  std::vector<RubriqueProjet> items;
  for (std::int32_t n = 1; n < 200; ++n)
    for (int copie = 0; copie < 2; ++copie) items.push_back(item(static_cast<std::uint32_t>(n), n + 1, "d"));
  FichierProjet projet = avec(items);
  ASSERT_TRUE(propage_vues(projet, 1, kDansVue, kHorsVue));
  EXPECT_EQ(lue(projet, 200).vue_hfs(), kHorsVue);
  ASSERT_TRUE(suppression_sous_arbre(projet, 1));
  EXPECT_EQ(projet.nb_rubriques(), 0U);
}

TEST_F(Abimes, OctetsAuHasard) {
  std::mt19937 hasard(11);
  for (int tour = 0; tour < 25; ++tour) {
    std::vector<RubriqueProjet> items(200);
    for (RubriqueProjet &r : items) {
      auto *octets = reinterpret_cast<std::uint8_t *>(&r);
      for (std::size_t i = 0; i < sizeof r; ++i) octets[i] = static_cast<std::uint8_t>(hasard());
      r.pere = static_cast<std::uint32_t>(hasard() % 40);
      r.numero = static_cast<std::uint32_t>(hasard() % 40);
    }
    FichierProjet projet = avec(items);
    ASSERT_TRUE(projet.sauvegarde_entete());
    for (std::uint32_t numero = 0; numero < 40; ++numero) {
      RubriqueProjet r;
      const auto rang = projet.cherche_numero(numero, r);
      if (rang && *rang != 0) {
        EXPECT_EQ(r.numero, numero);
      }
      static_cast<void>(trouve_enfant(projet, numero, "x", kVueHfs));
      ASSERT_TRUE(ouvre_vues_parents(projet, numero, kDansVue, kDansVue));
    }
    ASSERT_TRUE(change_format(projet, true, troncature_automatique()));
    ASSERT_TRUE(insertion_rubrique(projet, item(20, -1, "n")));
    EXPECT_EQ(projet.nb_rubriques(), 201U);
    static_cast<void>(suppression_rubrique(projet, 20, 1));
    ASSERT_TRUE(suppression_sous_arbre(projet, 20));
  }
}

// Reads of this process since its start.
std::uint64_t lectures() {
  std::ifstream flux("/proc/self/io");
  for (std::string mot; flux >> mot;)
    if (mot == "syscr:" && flux >> mot) return std::stoull(mot);
  return 0;
}

class Grands : public Abimes {
 protected:
  // 2,000 folders of 29 files each: 60,000 records.
  void SetUp() override {
    Abimes::SetUp();
    for (std::int32_t d = 0; d < kDossiers; ++d) items.push_back(item(1, 100 + d, "d" + std::to_string(d)));
    for (std::int32_t d = 0; d < kDossiers; ++d)
      for (std::int32_t f = 0; f < kFichiers; ++f)
        items.push_back(
            item(static_cast<std::uint32_t>(100 + d), -(d * kFichiers + f + 1), std::to_string(10 + f)));
  }
  static constexpr std::int32_t kDossiers = 2000;
  static constexpr std::int32_t kFichiers = 29;
  std::vector<RubriqueProjet> items;
};

TEST_F(Grands, LesRecherchesLisentPeu) {
  const FichierProjet projet = avec(items);
  RubriqueProjet r;
  ASSERT_TRUE(projet.cherche_numero(100, r));
  const std::uint64_t avant = lectures();
  std::uint64_t vus = 0;
  for (std::uint32_t d = 0; d < kDossiers; ++d) {
    LecteurEnfants enfants(projet, 100 + d);
    while (enfants.suivant() != nullptr) ++vus;
  }
  EXPECT_EQ(vus, static_cast<std::uint64_t>(kDossiers) * kFichiers);
  EXPECT_LT(lectures() - avant, 2000U * 20U) << "a folder costs a binary search and one or two reads";
}

TEST_F(Grands, DesMilliersDeSuppressionsEnUnePasse) {
  for (RubriqueProjet &r : items)
    if (r.pere == 1 && r.numero != 100) r.pere = 100;  // all folders in the first
  std::stable_sort(items.begin(), items.end(), [](const auto &a, const auto &b) { return a.pere < b.pere; });
  FichierProjet projet = avec(items);
  const auto debut = std::chrono::steady_clock::now();
  EXPECT_EQ(suppression_rubrique(projet, 100, 1), Suppression::dossier);
  EXPECT_LT(std::chrono::steady_clock::now() - debut, std::chrono::seconds(10));
  EXPECT_EQ(projet.nb_rubriques(), 0U);
}

}  // namespace
}  // namespace varnion::essai
