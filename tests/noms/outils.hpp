#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace varnion::essai {

/// The lines of a file of tests/donnees/unicode, split at blanks and tabs.
inline std::vector<std::vector<std::string>> table_publiee(const std::string &nom) {
  std::ifstream fichier(std::string(VN_DONNEES "/unicode/") + nom);
  EXPECT_TRUE(fichier.is_open()) << nom;
  std::vector<std::vector<std::string>> lignes;
  for (std::string ligne; std::getline(fichier, ligne);) {
    std::istringstream champs(ligne);
    lignes.emplace_back();
    for (std::string champ; champs >> champ;) lignes.back().push_back(champ);
  }
  return lignes;
}

inline unsigned hexa(const std::string &texte) {
  return static_cast<unsigned>(std::stoul(texte, nullptr, 16));
}

}  // namespace varnion::essai
