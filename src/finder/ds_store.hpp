#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

// The `.DS_Store` of a disc's root: the window that the Finder opens. One fixed form of the file is written
// and read: 6,148 bytes, one leaf block, no index block. A file that the Finder made is told as not valid.

namespace varnion {

constexpr std::size_t kTailleDsStore = 6148;
/// Bytes of records that the leaf block holds.
constexpr std::size_t kPlaceDsStore = 0x804 - 0x40C;
constexpr int kCoordonneeEcranMax = 32767;

constexpr std::array<int, 8> kTaillesIcone = {16, 32, 48, 64, 80, 96, 112, 128};  ///< pixels
constexpr std::array<int, 4> kTaillesTexte = {10, 12, 14, 16};                    ///< points
constexpr int kEspacements = 8;
/// What the file says for each choice of spacing.
constexpr std::array<std::uint32_t, kEspacements> kValeursEspacement = {1, 15, 29, 44, 58, 72, 86, 100};

/// An item of the root.
struct ElementFenetre {
  std::string nom;            ///< working text
  int x = 0, y = 0;           ///< centre of the icon in the window, pixels
  std::int32_t numero = 0;    ///< as in the project: negative for a file
  std::u16string nom_disque;  ///< name on the volume where it is not simply `nom` decomposed; else empty
};

/// The name of an item in the catalog of the volume: the Finder looks its records up by it.
[[nodiscard]] std::u16string nom_sur_disque(const ElementFenetre &element);

/// The window, in pixels of the screen.
struct RectEcran {
  int gauche = 100, haut = 100, droite = 450, bas = 400;

  [[nodiscard]] int largeur() const { return droite - gauche; }
  [[nodiscard]] int hauteur() const { return bas - haut; }
  bool operator==(const RectEcran &) const = default;
};

/// What the form holds; at first the defaults.
struct ValeursFenetre {
  RectEcran rect;
  int taille_icone = 4;  ///< index into kTaillesIcone
  int taille_texte = 2;  ///< index into kTaillesTexte
  int espacement = 6;    ///< 0 to 7
  std::vector<ElementFenetre> elements;
  std::string image;  ///< PC path of the background picture; "" for none

  /// False when a number does not fit its field, or the window has no inside.
  [[nodiscard]] bool cadre_valide() const;
  /// The same for these and for the places of the items.
  [[nodiscard]] bool valides() const;
};

/// The file with the alias record of the picture, empty for none. nullopt when the records need more than
/// `kPlaceDsStore` bytes, or a value does not fit; `besoin`, when given, gets the bytes that they need.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> fait_ds_store(const ValeursFenetre &valeurs,
                                                                     std::span<const std::uint8_t> alias,
                                                                     std::size_t *besoin = nullptr);

/// Appends the head of a record, the number of units and the units of a name, to a leaf.
void ecrit_rubrique_ds(std::vector<std::uint8_t> &feuille, std::u16string_view nom);

/// What a file says. The items carry the names of the file in both forms and no numbers; of the picture only
/// its name is known.
struct DsStoreLu {
  ValeursFenetre valeurs;
  std::string nom_image;  ///< working text; "" for none
};

/// Reads a file of this program. nullopt for any other: no magic, a record that leaves the file, no
/// rectangle.
[[nodiscard]] std::optional<DsStoreLu> lit_ds_store(std::span<const std::uint8_t> fichier);

}  // namespace varnion
