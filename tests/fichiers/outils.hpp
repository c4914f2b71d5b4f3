#pragma once

#include <zlib.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "fichiers/plage.hpp"
#include "IO/fichier.hpp"
#include "IO/plateforme.hpp"

namespace varnion::essai {

inline std::span<const std::uint8_t> octets(std::string_view texte) {
  return {reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()};
}

inline Fichier fichier_de(std::string_view contenu) {
  Fichier fichier = plateforme::fichier_anonyme();
  EXPECT_TRUE(fichier.ecrire_a(octets(contenu), 0));
  return fichier;
}

inline Fichier echantillon(const std::string &chemin) {
  Fichier fichier = plateforme::ouvre(std::string(VN_DONNEES "/") + chemin, Ouverture::lecture);
  EXPECT_TRUE(fichier.ouvert()) << chemin;
  return fichier;
}

inline std::string lit(const Fichier &fichier, PlageFourche plage) {
  std::string texte(static_cast<std::size_t>(plage.longueur), '\0');
  EXPECT_EQ(fichier.lire_a({reinterpret_cast<std::uint8_t *>(texte.data()), texte.size()}, plage.position),
            static_cast<std::int64_t>(texte.size()));
  return texte;
}

inline std::string lit_tout(const Fichier &fichier) {
  return lit(fichier, {0, static_cast<std::uint64_t>(fichier_taille(fichier))});
}

/// CRC-32 of a range, 0 for an empty one.
inline std::uint32_t somme(const Fichier &fichier, PlageFourche plage) {
  const std::string texte = lit(fichier, plage);
  const auto vue = octets(texte);
  return static_cast<std::uint32_t>(crc32(0, vue.data(), static_cast<uInt>(vue.size())));
}

/// `longueur` zeros with `texte` put over them at `position`.
inline void pose(std::string &octets_cible, std::size_t position, std::string_view texte) {
  octets_cible.replace(position, texte.size(), texte);
}

inline std::string be32_texte(std::uint32_t valeur) {
  return {static_cast<char>(valeur >> 24), static_cast<char>(valeur >> 16), static_cast<char>(valeur >> 8),
          static_cast<char>(valeur)};
}

}  // namespace varnion::essai
