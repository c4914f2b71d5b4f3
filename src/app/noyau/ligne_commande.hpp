#pragma once

#include <iosfwd>
#include <span>
#include <string>

#include "app/noyau/arguments.hpp"
#include "app/noyau/console.hpp"

namespace varnion {

/// Exit statuses.
constexpr int kFait = 0;
constexpr int kEchec = 1;  ///< the reason was told
constexpr int kUsage = 2;  ///< the command line makes no sense

/// What a command works with.
struct ContexteCli {
  Console &console;
  std::ostream &sortie;  ///< results, UTF-8; what a terminal may obey is escaped on the way
  std::ostream &octets;  ///< the same stream as it is, for the bytes of a file
  const Arguments &arguments;
};

/// Runs the words behind the program's name (UTF-8) and gives the exit status. `terminal` tells about the
/// stream of messages. Settings are read, not written; the private folder is gone when it returns.
[[nodiscard]] int ligne_commande(std::span<const std::string> mots, const OptionsConsole &terminal,
                                 std::istream &entree, std::ostream &sortie, std::ostream &messages);

}  // namespace varnion
