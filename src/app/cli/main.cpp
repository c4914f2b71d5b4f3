#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "app/noyau/ligne_commande.hpp"

int main(int argc, char **argv) {
  varnion::OptionsConsole terminal;
  terminal.terminal = ::isatty(STDERR_FILENO) == 1;
  winsize fenetre{};
  if (terminal.terminal && ::ioctl(STDERR_FILENO, TIOCGWINSZ, &fenetre) == 0 && fenetre.ws_col > 0)
    terminal.colonnes = fenetre.ws_col;
  const std::vector<std::string> mots(argv + (argc > 0 ? 1 : 0), argv + argc);
  return varnion::ligne_commande(mots, terminal, std::cin, std::cout, std::cerr);
}
