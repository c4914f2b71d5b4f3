#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <string_view>

namespace varnion::outils {

struct Sortie {
  int statut = -1;
  std::string texte;
};

/// Runs a shell command and keeps what it writes, errors included. Status 127 means that the program is
/// missing, which fails the test.
inline Sortie lance(const std::string &commande) {
  Sortie sortie;
  FILE *tube = ::popen(("{ " + commande + "; } 2>&1").c_str(), "r");
  if (tube == nullptr) return sortie;
  char tampon[4096];
  for (std::size_t n; (n = std::fread(tampon, 1, sizeof tampon, tube)) > 0;) sortie.texte.append(tampon, n);
  const int statut = ::pclose(tube);
  sortie.statut = WIFEXITED(statut) ? WEXITSTATUS(statut) : -1;
  EXPECT_NE(sortie.statut, 127) << "missing program: " << commande;
  return sortie;
}

/// A word of a shell command.
inline std::string cite(std::string_view mot) {
  std::string resultat = "'";
  for (const char c : mot) resultat += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return resultat + "'";
}

}  // namespace varnion::outils
