#include "app/noyau/tampon_sur.hpp"

namespace varnion {

bool TamponSur::transmet() {
  cible_.write(sur_.data(), static_cast<std::streamsize>(sur_.size()));
  sur_.clear();
  return static_cast<bool>(cible_);
}

std::streamsize TamponSur::xsputn(const char *texte, std::streamsize longueur) {
  filtre_.ajoute({texte, static_cast<std::size_t>(longueur)}, sur_);
  return transmet() ? longueur : 0;
}

TamponSur::int_type TamponSur::overflow(int_type caractere) {
  if (traits_type::eq_int_type(caractere, traits_type::eof())) return traits_type::not_eof(caractere);
  const char c = traits_type::to_char_type(caractere);
  return xsputn(&c, 1) == 1 ? caractere : traits_type::eof();
}

int TamponSur::sync() {
  filtre_.finit(sur_);
  return transmet() && cible_.flush() ? 0 : -1;
}

}  // namespace varnion
