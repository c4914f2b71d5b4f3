#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/identification.hpp"

// What an analyzer finds, as values: one type for all structures, which a single view can draw (a text, JSON,
// a window). Texts are working text. What a form hides is not in the lists.

namespace varnion {

/// Where a jump leads, and by which count.
enum class GenreCible {
  secteur,  ///< `nombre` is a sector of the source
  bloc,     ///< an allocation block
  noeud,    ///< a node of a B-tree
  iso,      ///< a logical sector of 2,048 bytes
  octet,    ///< a byte of the file or fork
};

struct Cible {
  GenreCible genre = GenreCible::secteur;
  std::uint64_t nombre = 0;  ///< as the field shows it
  /// Sector of the source to show. Not tested: a damaged structure may lead behind the end or below 0, which
  /// reads as zeros.
  std::int64_t secteur = 0;
};

enum class ActionBouton {
  aller,    ///< shows sector `cible.secteur`, and the form closes
  arbre,    ///< draws the B-tree (arbre_dessin.hpp)
  entrees,  ///< makes sector `cible.secteur` current and opens `FormeSecteur::partitions_gpt` on it
};

constexpr std::string_view kTexteAller = ">>";
constexpr std::string_view kTexteDeuxPlus = "+2";

struct Bouton {
  std::string nom;  ///< component name
  std::string texte{kTexteAller};
  Cible cible;
  ActionBouton action = ActionBouton::aller;
  bool actif = true;
  bool choisi = false;  ///< has the focus when the form or the tab opens
};

struct Champ {
  std::string nom;    ///< component name of the value
  int legende = 0;    ///< string id of the label
  int groupe = 0;     ///< string id of the label above a group of rows, 0 for none
  unsigned rang = 0;  ///< row in the group, from 1
  std::string valeur;
  std::optional<Bouton> bouton;
};

/// A row of a list. A double click goes to `cible`.
struct Ligne {
  std::vector<std::string> cellules;
  std::optional<Cible> cible;
};

struct Onglet {
  std::string nom;  ///< component name; "" for a form without tabs
  std::string titre;
  std::vector<Champ> champs;
  std::vector<int> colonnes;  ///< string ids; empty where the tab has no list
  std::vector<Ligne> lignes;
  std::vector<Bouton> boutons;
};

/// What the dump viewer keeps between analyzers.
struct EtatAnalyse {
  std::int64_t base_blocs = 0;          ///< `BaseBlocs`: sector of allocation block 0
  std::uint32_t secteurs_par_bloc = 0;  ///< `SecteursParBloc`
  std::uint32_t taille_noeud = 0;       ///< `TailleNoeud`, bytes; 0 is read as 512
  std::int64_t debut_arbre = 0;         ///< `DebutArbre`: sector of the header node last analyzed

  [[nodiscard]] std::uint32_t noeud() const { return taille_noeud == 0 ? 512 : taille_noeud; }
};

struct FicheAnalyse {
  FormeSecteur forme = FormeSecteur::aucune;
  std::string titre;
  std::vector<Onglet> onglets;  ///< one without a name where the form has no tabs
  std::vector<Bouton> boutons;  ///< below the tabs
  EtatAnalyse etat;             ///< to be kept: the state behind the opening of the form
  /// False when a list lacks rows, because the source ends or a record is damaged.
  bool entiere = true;
};

// --- numbers and texts in raw bytes; what lies behind the end reads as 0 or ""

/// 1 to 8 bytes, most significant first.
[[nodiscard]] std::uint64_t nombre_gros(std::span<const std::uint8_t> octets, std::size_t place,
                                        std::size_t taille);
/// 1 to 8 bytes, least significant first.
[[nodiscard]] std::uint64_t nombre_petit(std::span<const std::uint8_t> octets, std::size_t place,
                                         std::size_t taille);
/// Bytes as text, up to the first zero.
[[nodiscard]] std::string texte_octets(std::span<const std::uint8_t> octets, std::size_t place,
                                       std::size_t taille);
/// UTF-16 units, up to the first zero one, as working text.
[[nodiscard]] std::string texte_utf16_gros(std::span<const std::uint8_t> octets, std::size_t place,
                                           std::size_t taille);
[[nodiscard]] std::string texte_utf16_petit(std::span<const std::uint8_t> octets, std::size_t place,
                                            std::size_t taille);
/// A GUID as it is written, from its 16 bytes.
[[nodiscard]] std::string texte_guid(std::span<const std::uint8_t> octets, std::size_t place);

// --- tables of fields

enum class Format {
  gros,      ///< big-endian number, decimal
  petit,     ///< little-endian number, decimal
  petit_x2,  ///< the same as "0x%02x"
  petit_X4,  ///< the same as "%04X"
  octets,    ///< the bytes as text
  rogne,     ///< the same without the blanks at the end
  nom_mac,   ///< Pascal string of Mac Roman, `taille` bytes with its length
  guid,
};

struct DescriptionChamp {
  const char *nom;
  int legende;
  Format format;
  std::size_t place;
  std::size_t taille;
};

[[nodiscard]] std::string valeur_champ(const DescriptionChamp &description,
                                       std::span<const std::uint8_t> secteur);
/// The fields of a table, read from a sector.
[[nodiscard]] std::vector<Champ> lit_champs(std::span<const DescriptionChamp> table,
                                            std::span<const std::uint8_t> secteur);
/// A field with a decimal number.
[[nodiscard]] Champ champ_nombre(std::string nom, int legende, std::uint64_t nombre);
/// A button that goes somewhere; off where the number that it reads is 0. That number is a position: the
/// extents tree of HFS begins at allocation block 0 as a rule, and its button is off. Kept as it stands.
[[nodiscard]] Bouton bouton_aller(std::string nom, const Cible &cible);

}  // namespace varnion
