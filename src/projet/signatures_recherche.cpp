// The four questions to the table of signatures.

#include <algorithm>
#include <initializer_list>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "projet/signatures.hpp"

namespace varnion {

namespace {

constexpr std::size_t kExtensionMax = 4;

// The eight characters of a row; a short one is followed by zeros.
std::string_view huit(const EntreeSignature &ligne) {
  return {ligne.signature.data(), kSignatureGenerique.size()};
}

bool meme_debut(const EntreeSignature &ligne, std::string_view signature, std::size_t nombre) {
  for (std::size_t i = 0; i < nombre; ++i) {
    const char cherche = i < signature.size() ? signature[i] : '\0';
    if (ligne.signature[i] != cherche) return false;
  }
  return true;
}

// Row whose first `nombre` signature characters are the same; the walk ends at a row without signature.
const EntreeSignature *ligne_de_signature(std::string_view signature, std::size_t nombre) {
  for (const EntreeSignature &ligne : table_signatures().lignes) {
    if (ligne.texte_signature().empty()) break;
    if (meme_debut(ligne, signature, nombre)) return &ligne;
  }
  return nullptr;
}

// The same for comments and icons, whose walk ends at a row that is followed by one without comment: such a
// row hides itself and all behind it.
const EntreeSignature *ligne_commentee(std::string_view signature, std::size_t nombre) {
  const auto &lignes = table_signatures().lignes;
  for (std::size_t i = 0; i < lignes.size(); ++i) {
    if (meme_debut(lignes[i], signature, nombre)) return &lignes[i];
    if (i + 1 == lignes.size() || lignes[i + 1].texte_commentaire().empty()) break;
  }
  return nullptr;
}

}  // namespace

std::string_view signature_de_fichier(std::string_view nom) {
  const TableSignatures &table = table_signatures();
  const std::string_view generique = table.chargee ? huit(table.lignes[0]) : kSignatureGenerique;
  const std::size_t point = nom.rfind('.');
  if (point == std::string_view::npos || nom.size() - point - 1 > kExtensionMax) return generique;
  const std::string_view extension = nom.substr(point + 1);
  for (const EntreeSignature &ligne : table.lignes) {
    const std::string_view lue = ligne.texte_extension();
    if (lue.empty()) break;
    const bool egale =
        std::equal(lue.begin(), lue.end(), extension.begin(), extension.end(),
                   [](char a, char b) { return plateforme::majuscule(a) == plateforme::majuscule(b); });
    if (egale) return huit(ligne);
  }
  return generique;
}

const EntreeSignature *extension_de_signature(std::string_view signature) {
  const TableSignatures &table = table_signatures();
  if (!table.chargee) return nullptr;
  for (const std::size_t nombre : {8U, 4U, 2U})
    if (const EntreeSignature *ligne = ligne_de_signature(signature, nombre)) return ligne;
  const bool defaut = (etat<OptionsProgramme>().options & kOptionExtensionDefaut) != 0;
  return defaut ? &table.lignes[0] : nullptr;
}

std::string_view commentaire_de_signature(std::string_view signature) {
  const TableSignatures &table = table_signatures();
  if (!table.chargee) return {};
  for (const std::size_t nombre : {8U, 4U, 2U})
    if (const EntreeSignature *ligne = ligne_commentee(signature, nombre)) return ligne->texte_commentaire();
  return table.lignes[0].texte_commentaire();
}

std::int32_t icone_de_signature(std::string_view signature) {
  if (!table_signatures().chargee) return -1;
  for (const std::size_t nombre : {8U, 4U})
    if (const EntreeSignature *ligne = ligne_commentee(signature, nombre)) return ligne->icone;
  return -1;
}

}  // namespace varnion
