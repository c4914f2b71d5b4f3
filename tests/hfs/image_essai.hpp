#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "hfs/creation.hpp"
#include "hfs/operations_catalogue.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "outils/lecteur_hfs.hpp"
#include "outils/lecteur_hfsplus.hpp"

// Images made by the engine, held in memory while it edits them, and read by the independent readers.

namespace varnion::essai {

/// A whole image in memory behind the driver entries; it grows where it is written past its end.
struct ImageEnMemoire {
  std::vector<std::uint8_t> octets;

  void branche() {
    support().entree_driver = driver;
    support().entree_driver_carte = driver;
  }
  static int driver(RequeteIO &requete) {
    auto &octets = etat<ImageEnMemoire>().octets;
    auto *tampon = static_cast<std::uint8_t *>(requete.tampon);
    const std::size_t debut = requete.position * kTailleSecteur;
    const std::size_t nombre = std::size_t{requete.nb_secteurs} * kTailleSecteur;
    if (requete.operation == kOperationEcrire) {
      if (debut + nombre > octets.size()) octets.resize(debut + nombre);
      std::copy_n(tampon, nombre, octets.begin() + static_cast<std::ptrdiff_t>(debut));
    } else if (debut < octets.size()) {
      std::copy_n(octets.begin() + static_cast<std::ptrdiff_t>(debut),
                  std::min(nombre, octets.size() - debut), tampon);
    }
    return 1;
  }
};

/// Says what it is told to, keeps what is shown.
struct OperationsVolume : Operations {
  std::vector<std::string> erreurs, journaux;
  int reponse = 1;
  int questions = 0;
  void afficher_erreur(std::string_view texte) override { erreurs.emplace_back(texte); }
  void afficher_avis(std::string_view) override {}
  int demander_oui_non(std::string_view) override { return 1; }
  int demander_tous(std::string_view) override { return ++questions, reponse; }
  bool demander_nom(std::string_view, std::string &, std::size_t) override { return false; }
  void afficher_etat(std::string_view, std::string_view) override {}
  void afficher_etat_seul(std::string_view) override {}
  void progression_debut(std::uint64_t) override {}
  void progression_pas(std::uint64_t) override {}
  void progression_fin() override {}
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal genre, std::string_view texte) override {
    if (genre == GenreJournal::erreur) journaux.emplace_back(texte);
  }
  bool arret_demande() override { return false; }
};

struct SurHfs {
  static constexpr bool kPlus = false;
  static constexpr std::uint64_t kEntete = 96;
  static constexpr std::size_t kNomMax = 31;
};
struct SurHfsPlus {
  static constexpr bool kPlus = true;
  static constexpr std::uint64_t kEntete = 64;
  static constexpr std::size_t kNomMax = 255;
};

/// A volume made by `creation_image`, mounted, its bitmap loaded.
template <typename Format>
class VolumeEdite : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    brancher_operations(&ops);
  }
  void TearDown() override {
    liberation_carte();
    brancher_operations(nullptr);
    plateforme::vide_dossier_temporaire();
    EtatProgramme::courant().reinitialise();
  }

  void cree(std::uint32_t taille_mo, const std::string &nom = "Torture") {
    Fichier fichier = plateforme::fichier_anonyme();
    ParametresImage p;
    p.fichier = &fichier;
    p.nom = nom;
    p.taille_mo = taille_mo;
    p.hfsplus = Format::kPlus;
    ASSERT_TRUE(creation_image(p));
    image().resize(static_cast<std::size_t>(fichier_taille(fichier)));
    ASSERT_EQ(fichier.lire_a(image(), 0), static_cast<std::int64_t>(image().size()));
    etat<ImageEnMemoire>().branche();
    monte();
  }
  void monte() {
    vide_cache();
    volume_courant().debut_allocation = Format::kEntete;
    lecture_entete_volume();
    ouverture_arbres();
    ASSERT_TRUE(chargement_carte());
  }
  /// Flush and a new mount, as between two runs of the program.
  void remonte() {
    ASSERT_TRUE(ecriture_structures());
    liberation_carte();
    monte();
  }

  static std::vector<std::uint8_t> &image() { return etat<ImageEnMemoire>().octets; }

  /// What the independent reader finds after a flush; with its faults, and blocks that nobody owns, in words.
  outils::VolumeLu lit() {
    EXPECT_TRUE(ecriture_structures());
    EXPECT_TRUE(chargement_carte());
    const outils::Octets octets{std::span<const std::uint8_t>(image())};
    outils::VolumeLu lu;
    if (Format::kPlus) {
      lu = outils::lit_hfsplus(octets, Format::kEntete * 512, taille_volume(), true);
    } else {
      lu = outils::lit_hfs(octets, Format::kEntete * 512, taille_volume(), true);
    }
    const std::size_t marques = lu.blocs_marques();
    lu.fautes.exige(marques == lu.blocs_pris.size(), std::to_string(marques) + " blocks marked, " +
                                                         std::to_string(lu.blocs_pris.size()) + " in use");
    lu.fautes.exige(
        lu.blocs_libres == lu.blocs - marques,
        std::to_string(lu.blocs_libres) + " free counted, " + std::to_string(lu.blocs - marques) + " free");
    return lu;
  }
  static std::uint64_t taille_volume() {
    const VolumeCourant &v = volume_courant();
    if (Format::kPlus) return std::uint64_t{v.vhb->totalBlocks} * v.taille_bloc;
    return (v.mdb->drAlBlSt + std::uint64_t{v.mdb->drNmAlBlks} * v.secteurs_par_bloc + 2) * 512;
  }

  static std::uint32_t ajoute(std::uint32_t parent, const std::string &nom, const std::string &data,
                              const std::string &rsrc = {}) {
    NouveauFichier f;
    f.info.fdType = {'T', 'E', 'X', 'T'};
    f.info.fdCreator = {'t', 't', 'x', 't'};
    return insere_fichier(parent, nom_item(nom), f, source(data), source(rsrc));
  }
  static SourceFourche source(const std::string &octets) {
    return source_octets({reinterpret_cast<const std::uint8_t *>(octets.data()), octets.size()});
  }

  OperationsVolume ops;
};

using DeuxFormats = ::testing::Types<SurHfs, SurHfsPlus>;

}  // namespace varnion::essai
