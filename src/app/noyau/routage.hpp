#pragma once

#include <optional>
#include <string_view>

// What one argument of the program is: a command or a document. The desktop and the command line ask alike.

namespace varnion {

/// Working modes, by number.
constexpr int kModeProjet = 0;
constexpr int kModePartition = 1;
constexpr int kModeIsop = 2;

/// A command letter with its option, both in upper case.
struct CommandeLettre {
  char lettre = '\0';
  char option = '\0';  ///< '\0' for none

  bool operator==(const CommandeLettre &) const = default;
};

/// The command that an argument is: "-", "\" or "/" with one or two letters behind. A longer argument that
/// begins with "/" is a path.
[[nodiscard]] std::optional<CommandeLettre> commande_lettre(std::string_view argument);

/// Working mode of a document by the extension of its path; nullopt for a file of no mode. An extension is
/// compared for the length of the table's, so that ".hfsx" reads as ".hfs".
[[nodiscard]] std::optional<int> mode_de_document(std::string_view chemin);

/// `router_parametre` without its effects. A file of no mode was told to the user (1386).
struct Routage {
  enum class Genre { commande, document, inconnu };
  Genre genre = Genre::inconnu;
  CommandeLettre commande;
  int mode = kModeProjet;
};
[[nodiscard]] Routage route_parametre(std::string_view texte);

/// Message 1386 on a path.
void annonce_inconnu(std::string_view chemin);

}  // namespace varnion
