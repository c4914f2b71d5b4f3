#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "projet/fichier_projet.hpp"

// The dictionary between PC extensions and the eight-character signatures (type, creator) of the Macintosh.

namespace varnion {

constexpr std::size_t kLignesSignatures = 128;
constexpr std::string_view kSignatureGenerique = "TEXT????";
/// Word `Options`: a signature of no row gets row 0. Copies to the PC put the default extension of the
/// settings in its place.
constexpr std::uint32_t kOptionExtensionDefaut = 0x2000;

struct EntreeSignature {
  std::array<char, 5> extension{};  ///< without dot
  std::array<char, 9> signature{};  ///< type then creator, blanks significant
  std::array<char, 65> commentaire{};
  std::int32_t icone = -1;  ///< in the small-icon list, -1 none

  [[nodiscard]] std::string_view texte_extension() const { return extension.data(); }
  [[nodiscard]] std::string_view texte_signature() const { return signature.data(); }
  [[nodiscard]] std::string_view texte_commentaire() const { return commentaire.data(); }
};

/// 128 rows. Row 0 is the generic row, rows 1 to 127 come from the file; an empty extension or signature ends
/// the walks by that field.
struct TableSignatures {
  bool chargee = false;
  std::string chemin;  ///< of the file that it came from
  std::array<EntreeSignature, kLignesSignatures> lignes{};
};
[[nodiscard]] TableSignatures &table_signatures();

/// What a load needs from the program. A function left empty counts as one that gives nothing.
struct SourceSignatures {
  std::string chemin;             ///< path kept in the settings
  std::string dossier_courant;    ///< searched for "*.sig" when that path does not open
  std::string dossier_programme;  ///< folder that the chosen name is joined to
  /// Which of several names: index, nullopt for none. `titre` is message 1312.
  std::function<std::optional<std::size_t>(std::string_view titre, const std::vector<std::string> &noms)>
      choisit;
  std::function<void(std::string_view chemin)> memorise;   ///< writes the settings path
  std::function<void(std::size_t nombre)> retient_icones;  ///< cuts the icon list back to its first icons
  std::function<std::int32_t(std::string_view nom)> icone_pour;  ///< small icon of ".ext", -1 none
};

/// Loads or reloads the table. False when no file could be read; the table is then as it was.
bool charge_signatures(const SourceSignatures &source);
/// The same from one file, without the selection step.
bool charge_signatures(std::string_view chemin);

/// Fills the rows from the text of a .sig file. `seconde_langue`: the section behind "#[1]" is wanted.
void lit_signatures(std::string_view texte, bool seconde_langue, TableSignatures &table);

/// Signature of a PC file name or path: 8 characters, valid until the next load.
[[nodiscard]] std::string_view signature_de_fichier(std::string_view nom);
/// Row whose extension suits a signature: by all 8 characters, by type, by the first two; nullptr when none
/// does.
[[nodiscard]] const EntreeSignature *extension_de_signature(std::string_view signature);
/// Comment of a signature, "---" by default, "" without a table. Valid until the next load.
[[nodiscard]] std::string_view commentaire_de_signature(std::string_view signature);
/// Icon of a signature, -1 when none.
[[nodiscard]] std::int32_t icone_de_signature(std::string_view signature);

/// Search and replace in a project: bytes as the records hold them (type then creator).
struct DemandeSignatures {
  std::array<char, 8> ancienne{};
  std::array<char, 8> nouvelle{};
};
/// Request from the four fields of the form, each cut or padded with blanks to 4 characters, in Mac Roman.
[[nodiscard]] DemandeSignatures demande_signatures(std::string_view ancien_type,
                                                   std::string_view ancien_createur,
                                                   std::string_view nouveau_type,
                                                   std::string_view nouveau_createur);
/// Items replaced, -1 on a write error.
[[nodiscard]] std::int64_t remplace_signatures(FichierProjet &projet, const DemandeSignatures &demande);
/// The same with its message: 1428 with the count, or 1429 when nothing was replaced.
std::int64_t remplace_signatures_annonce(FichierProjet &projet, const DemandeSignatures &demande);

}  // namespace varnion
