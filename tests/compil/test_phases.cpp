#include <gtest/gtest.h>

#include "outils/atelier.hpp"

// What a compile tells about itself while it runs.

namespace varnion {
namespace {

using namespace essai;

/// Keeps the kind of each journal line with it.
struct OperationsGenres final : OperationsDocile {
  std::vector<std::string> phases, fichiers;
  void journal(GenreJournal genre, std::string_view texte) override {
    if (genre == GenreJournal::trace) phases.emplace_back(texte);
    if (genre == GenreJournal::compilation) fichiers.emplace_back(texte);
  }
};

class Phases : public Atelier {
 protected:
  static std::vector<std::string> anglais(const std::vector<std::string> &traces) {
    std::vector<std::string> resultat;
    for (const std::string &trace : traces) resultat.push_back(trace.substr(3, trace.find('/') - 3));
    return resultat;
  }
  OperationsGenres genres;
};

TEST_F(Phases, de_chaque_genre_d_image_dans_l_ordre) {
  const struct {
    GenreDemande genre;
    bool hfsplus;
    ModeProjet mode;
    std::vector<std::string> phases;
  } cas[] = {
      {GenreDemande::hybride,
       false,
       ModeProjet::hybride,
       {"Creating the ISO file.", "Computing the ISO catalog.", "Computing the HFS catalog.",
        "Creating the temp files.", "Creating the hybrid image.", "Copying the temp. HFS files.",
        "Copying the temp. ISO files."}},
      {GenreDemande::hybride,
       true,
       ModeProjet::hybride,
       {"Creating the ISO file.", "Computing the ISO catalog.", "Computing the HFS+ catalog.",
        "Creating the temp files.", "Creating the hybrid image.", "Copying the temp files.",
        "Copying the temp. files."}},
      {GenreDemande::mac,
       false,
       ModeProjet::hybride,
       {"Creating the ISO file.", "Computing the cluster size.", "Calling the compiler.",
        "Computing the HFS catalog.", "Creating the hybrid image.", "Copying the temp. HFS files."}},
      {GenreDemande::mac,
       true,
       ModeProjet::hybride,
       {"Creating the ISO file.", "Calling the compiler.", "Computing the HFS+ catalog.",
        "Creating the hybrid image.", "Copying the temp files."}},
      {GenreDemande::iso,
       false,
       ModeProjet::hybride,
       {"Creating the ISO file.", "Computing the ISO catalog.", "Creating the temp files.",
        "Creating the ISO image.", "Copying the temp. ISO files."}},
      {GenreDemande::hybride,
       false,
       ModeProjet::isop,
       {"Creating the ISO file.", "Computing the ISO catalog.", "Creating the temp files.",
        "Creating the ISO image.", "Copying the temp. ISO files."}},
  };
  brancher_operations(&genres);
  outils::ArbreSource source(bac + "src");
  source.fichier("un.txt", "un");
  for (const auto &c : cas) {
    FichierProjet projet = projet_de(bac + "src", c.hfsplus, kVueRacine, c.mode);
    for (const std::uint32_t niveau : {0U, 1U, 2U}) {
      SCOPED_TRACE(c.phases[1] + " at level " + std::to_string(niveau));
      etat<OptionsProgramme>().niveau_trace = niveau;
      suivi.traces.clear();
      genres.phases.clear();
      genres.fichiers.clear();
      ASSERT_EQ(compile(projet, bac + "o.iso", c.genre).resultat, kCompilReussie);
      EXPECT_EQ(anglais(suivi.traces), c.phases);
      EXPECT_EQ(genres.phases, niveau == 0 ? std::vector<std::string>() : suivi.traces);
      EXPECT_EQ(genres.fichiers.size(), niveau < 2 ? 0U : 1U);
    }
  }
}

}  // namespace
}  // namespace varnion
