#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The words of a command line, sorted into options and positions.

namespace varnion {

/// One option of a command.
struct OptionCli {
  std::string_view nom;           ///< without the two hyphens
  char courte = '\0';             ///< one-letter form, '\0' for none
  int aide = 0;                   ///< string: name of the value, tab, text
  const char *valeurs = nullptr;  ///< null: takes none; "": any; else those allowed, separated by "|"
};

/// Arguments as the user gave them, in UTF-8.
struct Arguments {
  std::vector<std::string> positions;
  std::map<std::string, std::string, std::less<>> options;      ///< of one given twice, the last value
  std::vector<std::pair<std::string, std::string>> suite = {};  ///< all of them, as they were given

  [[nodiscard]] bool a(std::string_view option) const { return options.contains(option); }
  /// Value of an option, `defaut` where it was not given.
  [[nodiscard]] std::string valeur(std::string_view option, std::string_view defaut = {}) const;
};

/// Sorts words by the options of `tables`; adds to `arguments`. "--" ends the options. Without
/// `courtes`, a word with a single hyphen is a position. The message of what is wrong, nullopt when all is
/// well.
[[nodiscard]] std::optional<std::string> analyse_arguments(std::span<const std::string> mots,
                                                           std::span<const std::span<const OptionCli>> tables,
                                                           bool courtes, Arguments &arguments);

/// The lines of a help text on options: forms on the left, text on the right, in working text.
[[nodiscard]] std::string aide_options(std::span<const OptionCli> options);
/// One entry of a help text: `gauche`, then `droite` broken into lines at column `colonne`.
[[nodiscard]] std::string entree_aide(std::string_view gauche, std::string_view droite, std::size_t colonne);

}  // namespace varnion
