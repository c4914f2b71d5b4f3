#pragma once

#include <ostream>
#include <streambuf>
#include <string>

#include "IO/montrable.hpp"

namespace varnion {

/// The stream of a command's results, over `cible`: what a terminal may obey or what deceives the reader is
/// escaped on the way. Nothing is kept back but a character of which the rest is still to come.
class TamponSur final : public std::streambuf {
 public:
  explicit TamponSur(std::ostream &cible) : cible_(cible) {}

 protected:
  std::streamsize xsputn(const char *texte, std::streamsize longueur) override;
  int_type overflow(int_type caractere) override;
  int sync() override;

 private:
  bool transmet();

  std::ostream &cible_;
  FiltreTexte filtre_;
  std::string sur_;
};

}  // namespace varnion
