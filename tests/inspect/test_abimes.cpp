// Damaged and random sectors: every form says something short of what there is, and nothing is read outside.
#include <array>
#include <random>

#include "inspect/arbre_dessin.hpp"
#include "inspect/outils.hpp"

namespace varnion::essai {

namespace {

/// Looks at one sector as everything there is.
void analyse_tout(const SourceSecteurs &source, std::int64_t numero, EtatAnalyse etat) {
  const Octets secteur = source.secteur(numero);
  for (const GenreAnalyse &genre : genres_analyse()) {
    const FicheAnalyse fiche =
        analyse(genre.forme, {secteur, numero, source.taille_secteur(), &source, etat});
    ASSERT_EQ(fiche.forme, genre.forme);
    ASSERT_FALSE(fiche.titre.empty());
    for (const Onglet &onglet : fiche.onglets) {
      // No list has more rows than there are bytes for.
      ASSERT_LE(onglet.lignes.size(), 2 * (source.longueur() + 65536));
      for (const Ligne &ligne : onglet.lignes) ASSERT_EQ(ligne.cellules.size(), onglet.colonnes.size());
      for (const Champ &champ : onglet.champs) ASSERT_FALSE(champ.nom.empty());
    }
    // The next one gets the state that this one left.
    etat = fiche.etat;
  }
  std::uint64_t rangees = 0;
  const auto dessin = dessine_arbre(source, numero, [&](const RangeeArbre &) { return ++rangees < 100000; });
  ASSERT_LE(dessin.rangees, 100000U);
}

}  // namespace

TEST(Abimes, secteurs_au_hasard) {
  std::mt19937 hasard(9);
  for (int tour = 0; tour < 300; ++tour) {
    Octets octets(512 * (1 + hasard() % 20));
    // Few different values make lengths and counts that fit now and then.
    const unsigned valeurs = tour % 3 == 0 ? 256 : 1U << (tour % 4);
    for (auto &octet : octets) octet = static_cast<std::uint8_t>(hasard() % valeurs);
    const auto source = source_octets(octets, "hasard");
    if (tour % 5 == 0) source->taille_secteur(2048);
    EtatAnalyse etat;
    etat.taille_noeud = tour % 2 == 0 ? 512 : static_cast<std::uint32_t>(hasard() % 65536);
    etat.base_blocs = static_cast<std::int64_t>(hasard()) - INT32_MAX;
    etat.secteurs_par_bloc = static_cast<std::uint32_t>(hasard());
    etat.debut_arbre = static_cast<std::int64_t>(hasard()) << 31;
    analyse_tout(*source, static_cast<std::int64_t>(hasard() % 24) - 2, etat);
  }
}

// Media that are sound but for some bytes: the sectors of their structures, changed at random.
TEST(Abimes, structures_abimees) {
  std::mt19937 hasard(10);
  for (const char *nom : {"hfs/simple-linux.hfs.gz", "hfsplus/hfsplus_overflow.img.gz",
                          "apm/hybrid_hfsplus.iso.gz", "apm/hfsplus_gpt.raw.gz"}) {
    const std::string sain = decomprime(nom);
    std::vector<std::int64_t> connus;
    const auto lu = source_de(sain);
    for (std::int64_t n = 0; n <= lu->dernier_secteur(); ++n)
      if (code_secteur(lu->secteur(n), static_cast<std::uint64_t>(n)) != kCodeInconnu) connus.push_back(n);
    ASSERT_GT(connus.size(), 4U) << nom;
    for (int tour = 0; tour < 60; ++tour) {
      const std::int64_t numero = connus[hasard() % connus.size()];
      std::string abime = sain;
      for (unsigned i = 0; i < 1 + hasard() % 6; ++i)
        abime[static_cast<std::size_t>(numero) * 512 + hasard() % 512] =
            static_cast<char>(hasard() % 3 == 0 ? 0xFF : hasard());
      if (tour % 4 == 0) abime.resize(static_cast<std::size_t>(numero) * 512 + hasard() % 4096 + 1);
      EtatAnalyse etat;
      etat.taille_noeud = std::array{512U, 4096U, 0U, 8192U}[hasard() % 4];
      analyse_tout(*source_de(abime), numero, etat);
    }
  }
}

}  // namespace varnion::essai
