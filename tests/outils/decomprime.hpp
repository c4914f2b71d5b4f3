#pragma once

#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

namespace varnion::essai {

/// Content of a sample that is kept compressed with gzip.
inline std::string decomprime(const std::string &nom) {
  const gzFile fichier = ::gzopen((VN_DONNEES "/" + nom).c_str(), "rb");
  EXPECT_NE(fichier, nullptr) << nom;
  std::string contenu, tampon(65536, '\0');
  for (int lus = 1; fichier != nullptr && lus > 0;) {
    lus = ::gzread(fichier, tampon.data(), static_cast<unsigned>(tampon.size()));
    if (lus > 0) contenu.append(tampon, 0, static_cast<std::size_t>(lus));
  }
  if (fichier != nullptr) ::gzclose(fichier);
  return contenu;
}

}  // namespace varnion::essai
