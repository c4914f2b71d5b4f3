#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "hfs/catalogue.hpp"
#include "hfs/garde.hpp"
#include "hfs/lecture.hpp"
#include "hfs/ouverture.hpp"
#include "image_essai.hpp"

// A process that edits a volume is killed between two writes: what it did not touch is whole, and the volume
// can be edited on.

namespace varnion::essai {
namespace {

constexpr int kGardes = 40;
constexpr int kPoints = 150;

// Writes up to a number, then the process ends as by a power cut.
struct Coupure {
  std::uint64_t ecritures = 0;
  std::uint64_t derniere = 0;
  static int driver(RequeteIO &requete) {
    auto &coupure = etat<Coupure>();
    if (requete.operation == kOperationEcrire && ++coupure.ecritures == coupure.derniere) ::raise(SIGKILL);
    return driver_fichier(requete);
  }
};

std::string contenu(const std::string &nom) {
  std::string texte;
  while (texte.size() < 700) texte += nom + "\r";
  return texte;
}

template <typename Format>
class CoupureTest : public VolumeEdite<Format> {
 protected:
  void TearDown() override {
    fermer_partition();
    VolumeEdite<Format>::TearDown();
  }

  void prepare() {
    Fichier fichier = plateforme::fichier_anonyme();
    ParametresImage p;
    p.fichier = &fichier;
    p.taille_mo = 2;
    p.hfsplus = Format::kPlus;
    ASSERT_TRUE(creation_image(p));
    support().image = std::move(fichier);
    ASSERT_EQ(analyse_volume(), 1);
    ASSERT_TRUE(chargement_carte());
    const std::uint32_t dossier = cree_dossier(nom_item("kept"), kIdRacine);
    for (int i = 0; i < kGardes; ++i) {
      const std::string nom = "kept " + std::to_string(i * 7919 % 100);
      ASSERT_NE(this->ajoute(i % 2 == 0 ? dossier : kIdRacine, nom, contenu(nom), nom), 0U);
    }
    ASSERT_TRUE(ecriture_structures());
    sain_.resize(static_cast<std::size_t>(fichier_taille(support().image)));
    ASSERT_GT(support().image.lire_a(sain_, 0), 0);
  }

  // What the process does: names of items that it touches begin with "w".
  static void travaille() {
    support().entree_driver = Coupure::driver;
    support().entree_driver_carte = Coupure::driver;
    std::mt19937 hasard(5);
    std::uint32_t dossier = kIdRacine;
    for (int i = 0; i < 160; ++i) {
      if (!chargement_carte()) return;
      const NomItem vieux = nom_item("w" + std::to_string(hasard() % 100));
      const NomItem neuf = nom_item("w" + std::to_string(i) + std::string(i % 5 == 0 ? 20 : 0, 'z'));
      switch (hasard() % 8) {
        case 0:
          dossier = std::max(cree_dossier(neuf, hasard() % 2 == 0 ? dossier : kIdRacine), kIdRacine);
          break;
        case 1:
          (void)supprime_par_nom(vieux, kIdRacine);
          break;
        case 2:
          (void)renomme_par_nom(vieux, nom_item("w ren " + std::to_string(i)), kIdRacine);
          break;
        case 3:
          (void)deplace(vieux, kIdRacine, dossier);
          break;
        case 4:
          (void)echange_fourches(vieux, kIdRacine);
          break;
        default:
          (void)CoupureTest::ajoute(hasard() % 4 == 0 ? dossier : kIdRacine, "w" + std::to_string(i),
                                    contenu("w"), "r");
      }
      if (i % 4 == 3) (void)ecriture_structures();
    }
  }

  // The number of writes of the whole work, which goes on undisturbed.
  std::uint64_t compte() {
    reponses_volume() = {2, 2};
    travaille();
    return etat<Coupure>().ecritures;
  }

  void remet() {
    fermer_partition();
    support().entree_driver = driver_fichier;
    support().entree_driver_carte = driver_fichier;
    support().image = plateforme::fichier_anonyme();
    ASSERT_TRUE(support().image.ecrire_a(sain_, 0));
    ASSERT_EQ(analyse_volume(), 1);
    etat<Coupure>() = {};
    support().echec_ecriture = 0;
  }

  // Runs the work in a process of its own that is killed at write `derniere`.
  void coupe(std::uint64_t derniere) {
    etat<Coupure>().derniere = derniere;
    const pid_t enfant = ::fork();
    if (enfant == 0) {
      travaille();
      ::_exit(0);
    }
    int statut = 0;
    ASSERT_EQ(::waitpid(enfant, &statut, 0), enfant);
    ASSERT_TRUE(WIFSIGNALED(statut)) << "the work ended";
    vide_cache();
    liberation_carte();
    ASSERT_EQ(analyse_volume(), 1);
  }

  static std::string lu(const std::string &chemin, std::uint8_t fourche) {
    const auto element = element_par_chemin(chemin);
    std::string texte;
    if (!element) return "no such file";
    (void)lit_fourche(*element, fourche, [&](std::span<const std::uint8_t> octets) {
      texte.append(octets.begin(), octets.end());
      return true;
    });
    return texte;
  }
  static void verifie_gardes() {
    for (int i = 0; i < kGardes; ++i) {
      const std::string nom = "kept " + std::to_string(i * 7919 % 100);
      const std::string chemin = (i % 2 == 0 ? "kept/" : "") + nom;
      ASSERT_EQ(lu(chemin, kFourcheDonnees), contenu(nom)) << chemin;
      ASSERT_EQ(lu(chemin, kFourcheRessources), nom) << chemin;
    }
  }

  // Fills what seems free, so that blocks or nodes of others would be run over, and takes some of it away.
  void edite_encore() {
    ASSERT_TRUE(chargement_carte()) << texte_interdit();
    const std::uint32_t dossier = cree_dossier(nom_item("after"), kIdRacine);
    ASSERT_NE(dossier, 0U);
    for (int i = 0; i < 60; ++i) {
      const std::string nom = "after " + std::to_string(i);
      ASSERT_NE(this->ajoute(dossier, nom, contenu(nom), nom), 0U) << nom;
    }
    for (int i = 0; i < 60; i += 3)
      ASSERT_EQ(supprime_par_nom(nom_item("after " + std::to_string(i)), dossier), 1);
    ASSERT_TRUE(ecriture_structures());
    liberation_carte();
    vide_cache();
    ASSERT_EQ(analyse_volume(), 1);
    for (int i = 1; i < 60; i += 3) {
      const std::string nom = "after " + std::to_string(i);
      ASSERT_EQ(lu("after/" + nom, kFourcheDonnees), contenu(nom));
    }
  }

  std::vector<std::uint8_t> sain_;
};
TYPED_TEST_SUITE(CoupureTest, DeuxFormats);

TYPED_TEST(CoupureTest, AKilledEditLeavesTheRestWhole) {
  ASSERT_NO_FATAL_FAILURE(this->prepare());
  ASSERT_NO_FATAL_FAILURE(this->remet());
  const std::uint64_t ecritures = this->compte();
  ASSERT_GT(ecritures, 500U);
  std::mt19937 hasard(11);
  for (int point = 0; point < kPoints; ++point) {
    const std::uint64_t derniere = 1 + hasard() % ecritures;
    SCOPED_TRACE("killed at write " + std::to_string(derniere) + " of " + std::to_string(ecritures));
    ASSERT_NO_FATAL_FAILURE(this->remet());
    ASSERT_NO_FATAL_FAILURE(this->coupe(derniere));
    ASSERT_NO_FATAL_FAILURE(this->verifie_gardes());
    ASSERT_NO_FATAL_FAILURE(this->edite_encore());
    ASSERT_NO_FATAL_FAILURE(this->verifie_gardes());
  }
}

}  // namespace
}  // namespace varnion::essai
