#include "compil/sortie.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "outils/atelier.hpp"
#include "outils/image_lue.hpp"
#include "projet/outils.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

using namespace essai;

std::string bloc(std::size_t longueur, char depart) {
  std::string s(longueur, '\0');
  for (std::size_t i = 0; i < longueur; ++i)
    s[i] = static_cast<char>(depart + static_cast<char>(i * 31 % 101));
  return s;
}
std::span<const std::uint8_t> octets(const std::string &texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

class Sortie : public Bac {
 protected:
  Fichier cree(const std::string &nom) const { return plateforme::ouvre(bac + nom, Ouverture::creation); }
  /// An image in memory that takes the same steps.
  struct Modele {
    std::string image;
    std::size_t ici = 0;
    void ecrit(const std::string &s) {
      if (image.size() < ici + s.size()) image.resize(ici + s.size());
      image.replace(ici, s.size(), s);
      ici += s.size();
    }
  };
};

// Whatever the order of the places, what was written stays and the rest is zero.
TEST_F(Sortie, trous_sauts_et_retours) {
  struct Pas {
    std::size_t position, longueur;
  };
  const std::vector<std::vector<Pas>> suites = {
      {{0, 10}, {100, 10}, {5'000'000, 10}},                     // short hole, long hole
      {{0, 3'000'000}, {3'000'000, 5}, {3'000'100, 2'500'000}},  // more than the buffer
      {{1000, 10}, {0, 10}, {1'000, 5}},                         // back
      {{4096, 2048}, {0, 2048}, {8192, 2048}},                   // forward over what stands there
      {{0, 2048}, {40'000, 2048}, {10'000, 100}, {60'000, 2048}, {20'000, 1}},
      {{2'097'152, 1}, {2'097'151, 1}, {0, 2'097'152}, {0, 1}},
  };
  for (std::size_t n = 0; n < suites.size(); ++n) {
    SCOPED_TRACE(n);
    const Fichier fichier = cree("image");
    SortieImage sortie(fichier);
    Modele modele;
    char graine = 1;
    for (const Pas &p : suites[n]) {
      const std::string s = bloc(p.longueur, graine++);
      ASSERT_TRUE(sortie.positionne(p.position) && sortie.ecrit(octets(s)));
      modele.ici = p.position;
      modele.ecrit(s);
      EXPECT_EQ(sortie.position(), modele.ici);
      EXPECT_EQ(sortie.fin(), modele.image.size());
    }
    ASSERT_TRUE(sortie.vide());
    EXPECT_TRUE(tout(fichier) == modele.image);
  }
}

TEST_F(Sortie, copies_petites_et_grandes) {
  const std::string source = bloc(5'000'003, 7);
  const Fichier origine = cree("source");
  ASSERT_TRUE(origine.ecrire_a(octets(source), 0));
  const Fichier fichier = cree("image");
  SortieImage sortie(fichier);
  Modele modele;
  const auto copie = [&](std::uint64_t position, std::uint64_t longueur) {
    const std::string attendu = position < source.size() ? source.substr(position, longueur) : "";
    EXPECT_EQ(sortie.copie(origine, position, longueur), static_cast<std::int64_t>(attendu.size()));
    modele.ecrit(attendu);
    EXPECT_EQ(sortie.position(), modele.ici);
  };
  copie(0, 100);
  copie(3, 5'000'000);
  copie(1, 600'000);
  ASSERT_TRUE(sortie.positionne(modele.ici += 12'345));
  copie(4'999'000, 2'000);          // the source ends inside
  copie(4'000'000, 2'000'000'000);  // far behind its end
  copie(6'000'000, 10);             // begins behind it
  copie(0, 0);
  ASSERT_TRUE(sortie.vide());
  EXPECT_TRUE(tout(fichier) == modele.image);
}

// A source that only reads by small pieces (procfs knows no sizes) and one that cannot be read at all.
TEST_F(Sortie, sources_que_le_noyau_ne_copie_pas) {
  const Fichier fichier = cree("image");
  SortieImage sortie(fichier);
  const Fichier zero(::open("/dev/zero", O_RDONLY | O_CLOEXEC));
  EXPECT_EQ(sortie.copie(zero, 0, 1'000'000), 1'000'000);
  const Fichier dossier(::open(bac.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  EXPECT_EQ(sortie.copie(dossier, 0, 1'000'000), -2);
  EXPECT_EQ(sortie.erreur(), 0);
  ASSERT_TRUE(sortie.vide());
  EXPECT_EQ(sortie.fin(), 1'000'000U);
  EXPECT_EQ(fichier_taille(fichier), 1'000'000);
}

TEST_F(Sortie, la_premiere_ecriture_manquee_arrete_tout) {
  const std::string source = bloc(3'000'000, 3);
  const Fichier origine = cree("source");
  ASSERT_TRUE(origine.ecrire_a(octets(source), 0));
  const Fichier plein(::open("/dev/full", O_RDWR | O_CLOEXEC));
  {
    SortieImage sortie(plein);
    EXPECT_TRUE(sortie.ecrit(octets(source.substr(0, 100))));
    EXPECT_FALSE(sortie.vide());
    EXPECT_EQ(sortie.erreur(), ENOSPC);
    EXPECT_FALSE(sortie.positionne(0));
    EXPECT_FALSE(sortie.ecrit(octets("x")));
    EXPECT_EQ(sortie.copie(origine, 0, 10), -1);
    EXPECT_EQ(sortie.erreur(), ENOSPC);
  }
  const Fichier fichier = cree("image");
  for (const bool grande : {false, true}) {
    const DisquePlein limite(1'000'000);
    SortieImage sortie(fichier);
    if (grande) {
      EXPECT_EQ(sortie.copie(origine, 0, source.size()), -1);
    } else {
      EXPECT_FALSE(sortie.ecrit(octets(source)) && sortie.vide());
    }
    EXPECT_EQ(sortie.erreur(), EFBIG) << grande;
    EXPECT_FALSE(sortie.vide());
  }
}

// Names that the writer has to tell apart take more room in the directories than was measured. The run
// notices before anything lies over anything, and the next one has the room.
class Reprise : public Atelier {};

TEST_F(Reprise, des_repertoires_plus_longs_que_prevu_menent_a_un_second_passage) {
  constexpr int kFichiers = 1500;
  outils::ArbreSource source(bac + "src");
  for (int i = 0; i < kFichiers; ++i) {
    std::string nom(7, '_');
    for (int reste = i, rang = 6; reste > 0; reste /= 3, --rang)
      nom[static_cast<std::size_t>(rang)] = "_*:"[reste % 3];
    source.fichier(nom, std::to_string(i));
  }
  FichierProjet projet = projet_de(bac + "src", false, kVueIso);
  const BilanCompilation bilan = compile(projet, bac + "o.iso", GenreDemande::iso);
  ASSERT_EQ(bilan.resultat, kCompilReussie) << messages();
  const auto reprises = std::count(ops.journaux.begin(), ops.journaux.end(), charger_chaine(6325));
  EXPECT_EQ(reprises, 1) << "the test is about a run that is planned again, once";
  const outils::ImageLue image = outils::lit_image(bac + "o.iso", {true, false, false});
  EXPECT_TRUE(image.fautes.vide()) << image.fautes.texte();
  std::set<std::string> iso, joliet;
  for (const auto &[arbre, contenus] : {std::pair{&image.iso, &iso}, {&image.joliet, &joliet}})
    for (const outils::EntreeIso &e : arbre->entrees)
      if (!e.dossier) contenus->insert(image.vue.texte(e.extent * outils::kSecteurLu, e.taille));
  EXPECT_EQ(joliet.size(), std::size_t{kFichiers});
  EXPECT_TRUE(iso == joliet);
  EXPECT_TRUE(joliet.contains("0") && joliet.contains(std::to_string(kFichiers - 1)));
}

}  // namespace
}  // namespace varnion
