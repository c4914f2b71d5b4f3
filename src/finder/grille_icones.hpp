#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "finder/ds_store.hpp"

// Where the Finder puts icons in a window, in screen pixels.

namespace varnion {

/// Places for one size of text and of icons, by spacing.
struct PlacesIcones {
  std::array<int, kEspacements> premier_x;
  std::array<int, kEspacements> pas_x;
  int premier_y;
  std::array<int, kEspacements> pas_y;
};

/// Row of a size of text (index 0 to 3) and of icons (index 0 to 7).
[[nodiscard]] const PlacesIcones &grille_icones(std::size_t texte, std::size_t icone);

/// Places all items anew, in list order: rows from left to right, a new one where an icon would begin beyond
/// the width of the window.
void valeurs_grille(ValeursFenetre &valeurs);
/// The same for the items from `depuis` on: those before keep the places they have.
void valeurs_grille(ValeursFenetre &valeurs, std::size_t depuis);

// --- what a change of one field brings with it

/// Left or top: the window moves, its size stays.
void fixe_gauche(ValeursFenetre &valeurs, int gauche);
void fixe_haut(ValeursFenetre &valeurs, int haut);
/// Right or bottom: the size follows.
void fixe_droite(ValeursFenetre &valeurs, int droite);
void fixe_bas(ValeursFenetre &valeurs, int bas);
/// Width or height: right or bottom moves.
void fixe_largeur(ValeursFenetre &valeurs, int largeur);
void fixe_hauteur(ValeursFenetre &valeurs, int hauteur);

/// Sizes and spacing by their index; false, and nothing changed, when there is no such index. The items are
/// placed anew.
bool fixe_taille_icone(ValeursFenetre &valeurs, int indice);
bool fixe_taille_texte(ValeursFenetre &valeurs, int indice);
bool fixe_espacement(ValeursFenetre &valeurs, int indice);

/// Swaps the item at `rang` with the one before it (`sens` < 0) or behind it, and places all anew. False at
/// either end of the list.
bool deplace_element(ValeursFenetre &valeurs, std::size_t rang, int sens);

// --- the drawing of the screen, at a quarter of its size

constexpr int kEchelleDessin = 4;

/// What dragging the drawn window does, by where the pointer is: within seven pixels of an edge that edge or
/// corner moves, else the window.
enum class BordFenetre {
  aucun = 0,
  haut = 1,
  haut_gauche = 2,
  haut_droit = 3,
  bas = 4,
  bas_droit = 5,
  bas_gauche = 6,
  gauche = 7,
  droit = 8,
  interieur = 9,
};
/// `x`, `y` in the drawn window of that width and height; `aucun` outside of it.
[[nodiscard]] BordFenetre bord_fenetre(int x, int y, int largeur, int hauteur);
/// The window on the screen after a drag by that many pixels of the drawing. No edge passes the one across.
[[nodiscard]] RectEcran rect_tire(const RectEcran &rect, BordFenetre bord, int dx, int dy);

}  // namespace varnion
