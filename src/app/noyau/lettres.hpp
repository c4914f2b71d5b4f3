#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "app/noyau/ligne_commande.hpp"
#include "app/noyau/routage.hpp"
#include "projet/fichier_projet.hpp"

// The command letters. Their results are exit statuses; 0 is also what makes the desktop program end.

namespace varnion {

/// The work of one letter on one kind of document. The path is working text, the value UTF-8.
struct TacheLettre {
  ContexteCli &contexte;
  CommandeLettre commande;
  std::string chemin;
  std::string valeur;
};

/// One row: a letter, the option letters it takes ('\0' stands as '-'), and what it does.
struct FicheLettre {
  char lettre;
  std::string_view options;
  std::size_t arguments;  ///< words that it needs
  int (*execute)(TacheLettre &);
  int synopsis;  ///< string
  int resume;    ///< string
};
[[nodiscard]] std::span<const FicheLettre> fiches_lettres();
/// The options of every letter, in their long form.
[[nodiscard]] std::span<const OptionCli> options_lettres();

/// Row of a command; nullptr when there is no such letter or the letter has no such option.
[[nodiscard]] const FicheLettre *fiche_lettre(CommandeLettre commande);

/// Runs a command on its positions: path and value. Exit status.
[[nodiscard]] int execute_lettre(ContexteCli &contexte, CommandeLettre commande);

}  // namespace varnion
