#pragma once

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fichiers/outils.hpp"

// Readers of their own for the containers that the writers make: MacBinary by its publication of 1985 and its
// second version, AppleSingle and AppleDouble by RFC 1740. They share nothing with the program but the bytes.

namespace varnion::essai {

inline std::uint64_t nombre(const std::string &octets_lus, std::size_t position, std::size_t taille) {
  std::uint64_t valeur = 0;
  for (std::size_t i = 0; i < taille; ++i)
    valeur = valeur << 8 | static_cast<std::uint8_t>(octets_lus.at(position + i));
  return valeur;
}

struct MacBinaireLu {
  std::string nom, type, createur, data, rsrc;
  std::uint64_t drapeaux = 0, position = 0, creation = 0, modification = 0;
  std::size_t longueur = 0;  ///< bytes of the file that the forks call for
};

inline MacBinaireLu lit_macbinaire(const std::string &octets_lus) {
  MacBinaireLu lu;
  EXPECT_EQ(octets_lus.at(0), 0);
  EXPECT_EQ(octets_lus.at(82), 0);
  EXPECT_LE(nombre(octets_lus, 1, 1), 63U);
  lu.nom = octets_lus.substr(2, nombre(octets_lus, 1, 1));
  lu.type = octets_lus.substr(65, 4);
  lu.createur = octets_lus.substr(69, 4);
  lu.drapeaux = nombre(octets_lus, 73, 2);
  lu.position = nombre(octets_lus, 75, 4);
  const std::size_t lg_data = nombre(octets_lus, 83, 4), lg_rsrc = nombre(octets_lus, 87, 4);
  lu.creation = nombre(octets_lus, 91, 4);
  lu.modification = nombre(octets_lus, 95, 4);
  for (std::size_t i = 99; i < 128; ++i) EXPECT_EQ(octets_lus.at(i), 0) << i;
  lu.data = octets_lus.substr(128, lg_data);
  const std::size_t debut_rsrc = 128 + (lg_data + 127) / 128 * 128;
  lu.longueur = 128 + lg_data;
  if (lg_rsrc == 0) return lu;
  lu.rsrc = octets_lus.substr(debut_rsrc, lg_rsrc);
  lu.longueur = debut_rsrc + lg_rsrc;
  for (std::size_t i = 128 + lg_data; i < debut_rsrc; ++i) EXPECT_EQ(octets_lus.at(i), 0) << i;
  return lu;
}

struct AppleLu {
  std::uint64_t magie = 0, version = 0;
  std::vector<std::uint64_t> ordre;
  std::map<std::uint64_t, std::string> entrees;
  std::size_t longueur = 0;  ///< end of the last entry
};

inline AppleLu lit_apple(const std::string &octets_lus) {
  AppleLu lu;
  lu.magie = nombre(octets_lus, 0, 4);
  lu.version = nombre(octets_lus, 4, 4);
  EXPECT_EQ(octets_lus.substr(8, 16), std::string(16, '\0'));
  const std::size_t nb = nombre(octets_lus, 24, 2);
  std::size_t fin = 26 + 12 * nb;
  for (std::size_t i = 0; i < nb; ++i) {
    const std::size_t fiche = 26 + 12 * i;
    const std::size_t debut = nombre(octets_lus, fiche + 4, 4), longueur = nombre(octets_lus, fiche + 8, 4);
    EXPECT_EQ(debut, fin) << "entries touch";
    fin = debut + longueur;
    lu.ordre.push_back(nombre(octets_lus, fiche, 4));
    lu.entrees[lu.ordre.back()] = octets_lus.substr(debut, longueur);
  }
  lu.longueur = fin;
  return lu;
}

}  // namespace varnion::essai
