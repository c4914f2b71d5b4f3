#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hfs/arbre.hpp"
#include "hfs/fiches.hpp"
#include "noms/unicode.hpp"

// Folders and files of the mounted volume, copied out of their catalog records: what is got here stays good
// whatever node is read next. Everything here moves the current node of the catalog.

namespace varnion {

struct ExtentMac {
  std::uint32_t debut = 0;   ///< allocation block
  std::uint32_t nombre = 0;  ///< blocks; 0 ends a record
  bool operator==(const ExtentMac &) const = default;
};

/// One fork as its catalog record tells it.
struct FourcheMac {
  std::uint64_t longueur = 0;          ///< logical bytes
  std::uint64_t physique = 0;          ///< bytes in allocation blocks
  std::array<ExtentMac, 8> extents{};  ///< HFS uses the first three
};

/// A folder or a file. Fields that a format or a sort lacks are zero.
struct ElementMac {
  bool hfsplus = false;
  bool dossier = false;
  std::uint32_t id = 0;
  std::uint32_t parent = 0;
  std::string nom_hfs;  ///< Mac Roman bytes
  NomUnicode nom_hfsplus;
  std::array<std::uint8_t, 4> type{};
  std::array<std::uint8_t, 4> createur{};
  std::uint16_t drapeaux_finder = 0;            ///< fdFlags, frFlags
  std::array<std::uint8_t, 32> infos_finder{};  ///< FInfo and FXInfo, DInfo and DXInfo
  std::uint16_t drapeaux = 0;                   ///< filFlags, dirFlags, flags
  bool verrouille = false;                      ///< a file that the Finder shows as locked
  std::uint32_t creation = 0;                   ///< Macintosh dates as stored (`unix_de_date_mac`)
  std::uint32_t modification = 0;
  std::uint32_t sauvegarde = 0;
  std::uint32_t attributs = 0;                 ///< HFS+: date of the last change of the record
  std::uint32_t acces = 0;                     ///< HFS+
  std::uint32_t valence = 0;                   ///< folders
  std::array<std::uint8_t, 16> permissions{};  ///< HFS+: HFSPlusBSDInfo
  std::uint32_t codage = 0;                    ///< HFS+: textEncoding
  FourcheMac donnees;
  FourcheMac ressources;
  std::uint32_t noeud = 0;  ///< where the record lies: to change it in place
  std::int32_t index = 0;

  [[nodiscard]] bool fichier() const { return !dossier; }
  /// Fork by its kFourche… number.
  [[nodiscard]] const FourcheMac &fourche(std::uint8_t numero) const {
    return numero == 0 ? donnees : ressources;
  }
  /// The name as it is (":" cannot stand in it, "/" may), composed; a zero unit shows as U+2400.
  [[nodiscard]] std::string nom_utf8() const;
  /// The name as one part of a path: "/" shows as ":".
  [[nodiscard]] std::string nom_chemin() const;
  /// The name in working text, as lists show it (`mac_vers_windows`, code page 1252), unfiltered.
  [[nodiscard]] std::string nom_texte() const;
};

/// The folder or file in a catalog record of the mounted volume's format; nullopt for a thread and for a
/// record that is too short. `noeud` and `index` stay 0.
[[nodiscard]] std::optional<ElementMac> element_de_fiche(std::span<std::uint8_t> fiche);

// --- walks

enum class EtatParcours {
  entier,
  arrete,     ///< the callback gave false
  endommage,  ///< node `noeud` cannot be read or is damaged: there may be more than was shown
};

struct ResultatParcours {
  EtatParcours etat = EtatParcours::entier;
  std::uint32_t noeud = 0;
  std::uint64_t elements = 0;  ///< shown
  bool rencontre = false;      ///< a record of the folder was met, its thread or an element
  [[nodiscard]] bool entier() const { return etat == EtatParcours::entier; }
};

/// Gets each element; false stops. It may read other nodes and start other walks, but not write.
using VisiteElement = std::function<bool(const ElementMac &)>;

/// The folders and files of folder `id` in the order of the keys, from the first record of the folder on. A
/// folder that the catalog does not hold where the order wants it counts as damage.
[[nodiscard]] ResultatParcours liste_dossier(std::uint32_t id, const VisiteElement &visite);

/// All folders and files of the volume, the root folder first, along the chain of leaves.
[[nodiscard]] ResultatParcours parcours_volume(const VisiteElement &visite);

// --- one element

[[nodiscard]] std::optional<ElementMac> element_racine();
/// By parent and name in the order of the keys, folder or file.
[[nodiscard]] std::optional<ElementMac> element_hfs(std::uint32_t parent, std::string_view nom);
[[nodiscard]] std::optional<ElementMac> element_hfsplus(std::uint32_t parent, const NomUnicode &nom);
/// By id through its thread; nullopt for one that has no thread, as most files of HFS.
[[nodiscard]] std::optional<ElementMac> element_par_id(std::uint32_t id);
/// The element of folder `parent` whose name is one part of a path, in UTF-8 with ":" for "/": by key, else
/// the first of the folder whose name shows the same, else the first that is the same once composed.
[[nodiscard]] std::optional<ElementMac> element_par_nom(std::uint32_t parent, std::string_view partie);
/// UTF-8 path from the root with "/" between parts; "" and "/" are the root.
[[nodiscard]] std::optional<ElementMac> element_par_chemin(std::string_view chemin);
/// The reverse, "" for the root; nullopt when a thread on the way is missing or they run in a circle.
[[nodiscard]] std::optional<std::string> chemin_de(const ElementMac &element);

// --- parts of paths

/// A name in UTF-8 as a part of a path: "/" becomes ":", a zero U+2400.
[[nodiscard]] std::string partie_de_nom(std::string_view nom_utf8);
/// The reverse.
[[nodiscard]] std::string nom_de_partie(std::string_view partie);

// --- searches over the whole volume

// `fin`, when given, tells whether the whole volume was looked at.

constexpr std::size_t kTrouvailles = 128;  ///< rows of the table of results

/// `cherche_nom`: folders and files whose name agrees with a name that may hold "*" (`compare_nom_*`); at
/// most `limite` of them.
[[nodiscard]] std::vector<ElementMac> cherche_nom_hfs(std::string_view nom, std::size_t limite = kTrouvailles,
                                                      ResultatParcours *fin = nullptr);
[[nodiscard]] std::vector<ElementMac> cherche_nom_hfsplus(const NomUnicode &nom,
                                                          std::size_t limite = kTrouvailles,
                                                          ResultatParcours *fin = nullptr);
/// The one of the mounted volume's format; `nom` is working text.
[[nodiscard]] std::vector<ElementMac> cherche_nom(std::string_view nom, std::size_t limite = kTrouvailles,
                                                  ResultatParcours *fin = nullptr);

/// `compare_signature`: a text agrees with the 8 bytes type and creator when it is how they begin, or, of at
/// most 4 bytes, how the creator begins.
[[nodiscard]] bool compare_signature(std::string_view texte, std::span<const std::uint8_t, 8> signature);
/// Files with that signature, at most `limite`; serves both formats.
[[nodiscard]] std::vector<ElementMac> cherche_signature(std::string_view texte,
                                                        std::size_t limite = kTrouvailles,
                                                        ResultatParcours *fin = nullptr);
/// Files whose type or creator is "adrp": aliases.
[[nodiscard]] std::vector<ElementMac> liste_alias(std::size_t limite = kTrouvailles,
                                                  ResultatParcours *fin = nullptr);

/// Number of children that the record of a folder tells; 0 for what is no folder. `parent_dossier` is the
/// folder's own parent; the root folder needs none.
[[nodiscard]] std::uint32_t valence(std::uint32_t dossier, std::uint32_t parent_dossier);

}  // namespace varnion
