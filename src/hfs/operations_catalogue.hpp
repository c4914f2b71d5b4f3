#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "hfs/carte_volume.hpp"
#include "hfs/fiches.hpp"
#include "noms/unicode.hpp"

// What the volume commands do to the catalog. A command is: `chargement_carte`, the changes, then
// `ecriture_structures`; without a loaded bitmap the changes are refused. Counters of the volume header
// change in memory, and the flush brings them to the disk. Names are taken as they stand: "*" is an ordinary
// character but in `renomme_masque`.

namespace varnion {

/// A name as the mounted volume holds it.
struct NomItem {
  std::string mac;     ///< HFS: Mac Roman, at most 31 bytes
  NomUnicode unicode;  ///< HFS+
};
/// From working text, Mac Roman, or a wide name of the PC. What is too long is cut (31 bytes, 255 units).
[[nodiscard]] NomItem nom_item(std::string_view windows);
[[nodiscard]] NomItem nom_item_mac(std::string_view mac);
[[nodiscard]] NomItem nom_item_large(std::u16string_view large);
/// The name as working text.
[[nodiscard]] std::string nom_item_windows(const NomItem &nom);

/// Answers kept while a series of commands runs; whoever starts one resets them.
struct ReponsesVolume {
  int reponse_dossier_plein = 0;  ///< 1163: -1 no to all, 2 yes to all
  int reponse_remplacer = 0;      ///< 1161: the same
};
[[nodiscard]] ReponsesVolume &reponses_volume();
constexpr std::uint32_t kOptionDossierPlein = 1U << 17;  ///< bit of `Options`: 1163 is not asked

/// 0 no such item, 1 folder, 2 file.
[[nodiscard]] int existe(const NomItem &nom, std::uint32_t parent);
/// -1 do not create; 0 go on: there was no such item, or it has been deleted (1161).
[[nodiscard]] int remplacer_si_existe(const NomItem &nom, std::uint32_t parent);

/// Id of the new folder; 0 with nothing changed when the name is taken (1160 shown), the parent is no folder,
/// or the catalog has no room (1080 shown).
[[nodiscard]] std::uint32_t cree_dossier(const NomItem &nom, std::uint32_t parent);

/// What a new file gets besides its forks. Dates of 0 stand for now; that of the attributes (HFS+) for the
/// date of the content.
struct NouveauFichier {
  InfoFichier info{};
  InfoEtendue info_etendue{};
  std::uint32_t creation = 0;
  std::uint32_t modification = 0;
  std::uint32_t modification_attributs = 0;
  bool verrouille = false;
};
/// Allocates and writes both forks, then inserts the file (on HFS+ with its thread): its id. 0 with nothing
/// changed and a message shown: no space (1073), too many runs (1159), no room in the catalog (1080), the
/// name is taken (6022), a fork above 2 GB on HFS (6023); or, with no message, the parent is no folder, a
/// source cannot be read, or a write failed.
[[nodiscard]] std::uint32_t insere_fichier(std::uint32_t parent, const NomItem &nom,
                                           const NouveauFichier &fichier, const SourceFourche &data,
                                           const SourceFourche &rsrc);

/// A folder by its id, with all that is in it (1163 is asked for one that is not empty): 1 done, 0 refused or
/// not found.
int supprime_par_id(std::uint32_t id, std::uint32_t parent);
/// The same for a folder or file by name.
int supprime_par_nom(const NomItem &nom, std::uint32_t parent);

/// A folder by its id, or any item by name: 1 done, 0 not found, name taken by another item (6022 shown), or
/// refused.
int renomme_par_id(const NomItem &nouveau, std::uint32_t id, std::uint32_t parent);
int renomme_par_nom(const NomItem &ancien, const NomItem &nouveau, std::uint32_t parent);
/// HFS: renames the items that match `motif`; both texts, in Mac Roman, may hold one "*". What follows the
/// star of the new name comes from the old one, from the star of the pattern on. Without a star there only
/// the first match is renamed. 1 when something was renamed; `refuses`, when given, counts those that were
/// not, each told.
int renomme_masque(std::string_view motif, std::string_view nouveau, std::uint32_t parent,
                   int *refuses = nullptr);

/// Moves an item to another folder: 1 done, 0 refused. 1152 is shown when the name is taken there.
int deplace(const NomItem &nom, std::uint32_t de, std::uint32_t vers);

/// Swaps data and resource forks of a file, and flushes: 0 done, 1 not found, 2 or 3 the resource or the data
/// fork has extents outside its record.
int echange_fourches(const NomItem &nom, std::uint32_t parent);

/// Renames the volume and its root folder: 1 done, 0 when there is no root folder or no room. At most 27
/// bytes on HFS.
int nom_volume_change(const NomItem &nom);

/// Adds to the number of items that a folder's record tells (`valence` of catalogue.hpp reads it).
void ajuste_valence(std::int32_t delta, std::uint32_t dossier);

/// New values for an item; what is empty stays. Type, creator and lock are for files.
struct AttributsItem {
  std::optional<std::array<std::uint8_t, 4>> type, createur;
  std::optional<std::uint16_t> drapeaux;  ///< Finder flags
  std::optional<std::uint32_t> creation, modification;
  std::optional<bool> verrouille;
};
/// 1 done, 0 not found.
int change_attributs(const NomItem &nom, std::uint32_t parent, const AttributsItem &attributs);

using Signature = std::array<std::uint8_t, 8>;  ///< type and creator
/// Puts the new signature into every file that has the old one: number of files.
int remplace_signature(const Signature &ancienne, const Signature &nouvelle);

/// What the signature dialog gives; nullopt for Cancel.
struct ReponseSignature {
  Signature signature{};
  bool pour_toutes = false;
};
using DialogueSignature =
    std::function<std::optional<ReponseSignature>(std::string_view nom, const Signature &signature)>;
/// HFS: for each file of the generic signature TEXT ????, asks (1195) and lets the dialog give a new one:
/// number of files changed.
int edite_signatures(const DialogueSignature &dialogue);

}  // namespace varnion
