#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include "IO/etat.hpp"
#include "IO/fichier.hpp"
#include "IO/plateforme.hpp"

namespace varnion::essai {

/// A folder of its own for each test, filled behind the back of the platform layer, and a fresh program
/// state.
class Bac : public ::testing::Test {
 protected:
  void SetUp() override {
    EtatProgramme::courant().reinitialise();
    std::string modele = ::testing::TempDir() + "bXXXXXX";
    ASSERT_NE(::mkdtemp(modele.data()), nullptr);
    bac = modele + "/";
  }
  void TearDown() override {
    EtatProgramme::courant().reinitialise();
    std::filesystem::remove_all(bac);
  }

  /// Makes a file with a name of any bytes.
  void pose(std::string_view disque, std::string_view contenu = "") const {
    const Fichier fichier(
        ::open((bac + std::string(disque)).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    ASSERT_TRUE(fichier.ouvert()) << disque;
    ASSERT_TRUE(fichier_puts(contenu, fichier));
  }
  void pose_dossier(std::string_view disque) const {
    ASSERT_EQ(::mkdir((bac + std::string(disque)).c_str(), 0700), 0) << disque;
  }
  /// What the platform layer finds under a working-text name: the content, "-" when it does not open.
  [[nodiscard]] std::string contenu(std::string_view texte) const {
    const Fichier fichier = plateforme::ouvre(bac + std::string(texte), Ouverture::lecture);
    if (!fichier) return "-";
    return fichier_gets(4096, fichier).value_or("");
  }

  std::string bac;  // ends in "/"
};

/// An unnamed file with this content, rewound.
inline Fichier fichier_de(std::string_view contenu) {
  Fichier fichier(::memfd_create("essai", 0));
  EXPECT_TRUE(fichier_puts(contenu, fichier));
  fichier_debut(fichier);
  return fichier;
}

inline std::string tout(const Fichier &fichier) {
  std::string contenu(static_cast<std::size_t>(fichier_taille(fichier)), '\0');
  EXPECT_EQ(fichier.lire_a({reinterpret_cast<std::uint8_t *>(contenu.data()), contenu.size()}, 0),
            static_cast<std::int64_t>(contenu.size()));
  return contenu;
}

}  // namespace varnion::essai
