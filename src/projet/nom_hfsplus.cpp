#include "projet/nom_hfsplus.hpp"

namespace varnion {

// As wide units 00-FF: `large_vers_unicode` reads those from 80 up as Windows-1252.
NomUnicode decompose_texte(std::string_view texte) {
  std::u16string large;
  for (const char c : texte)
    large.push_back(c == ':' ? u'_' : static_cast<char16_t>(static_cast<std::uint8_t>(c)));
  return large_vers_unicode(large);
}

bool prend_nom_large(const RubriqueProjet &rubrique, std::u16string_view nom_large) {
  return !nom_large.empty() && !rubrique.nom_hfs_final() &&
         (rubrique.nom_hors_page() || rubrique.codage() == Codage::ntfs);
}

NomUnicode nom_hfsplus_de(const RubriqueProjet &rubrique, std::u16string_view nom_large) {
  if (!prend_nom_large(rubrique, nom_large)) return decompose_texte(lit_champ(rubrique.nom_hfs));
  return rubrique.nom_hors_page() ? decompose_hfsplus(nom_large) : large_vers_unicode(nom_large);
}

}  // namespace varnion
