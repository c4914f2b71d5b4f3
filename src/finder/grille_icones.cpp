#include "finder/grille_icones.hpp"

#include <algorithm>
#include <utility>

namespace varnion {

namespace {

using LigneGrille = std::array<PlacesIcones, kTaillesIcone.size()>;

// First place across, step across, first place down, step down. The first row and the last are those of the
// Finder; the others grow steadily between them.
// clang-format off
constexpr std::array<LigneGrille, kTaillesTexte.size()> kGrille = {{
    {{
        // 10 points
        {{27, 35, 44, 51, 58, 67, 75, 84},
         {48, 64, 80, 96, 110, 128, 144, 160},
         15,
         {38, 38, 50, 50, 50, 50, 50, 50}},  // 16 pixels
        {{34, 41, 49, 55, 61, 69, 76, 84},
         {62, 76, 90, 104, 116, 132, 146, 160},
         24,
         {54, 54, 66, 66, 66, 66, 66, 66}},  // 32 pixels
        {{41, 47, 54, 59, 65, 71, 77, 84},
         {76, 88, 100, 112, 123, 136, 148, 160},
         33,
         {70, 70, 82, 82, 82, 82, 82, 82}},  // 48 pixels
        {{48, 53, 59, 63, 68, 73, 78, 84},
         {90, 100, 110, 120, 129, 140, 150, 160},
         42,
         {86, 86, 98, 98, 98, 98, 98, 98}},  // 64 pixels
        {{56, 59, 64, 67, 71, 75, 79, 84},
         {104, 112, 120, 128, 135, 144, 152, 160},
         51,
         {102, 102, 114, 114, 114, 114, 114, 114}},  // 80 pixels
        {{63, 66, 69, 72, 75, 77, 81, 84},
         {118, 124, 130, 136, 142, 148, 154, 160},
         60,
         {118, 118, 130, 130, 130, 130, 130, 130}},  // 96 pixels
        {{70, 72, 74, 76, 78, 80, 82, 84},
         {132, 136, 140, 144, 148, 152, 156, 160},
         69,
         {134, 134, 146, 146, 146, 146, 146, 146}},  // 112 pixels
        {{77, 78, 79, 80, 81, 82, 83, 84},
         {146, 148, 150, 152, 154, 156, 158, 160},
         78,
         {150, 150, 162, 162, 162, 162, 162, 162}},  // 128 pixels
    }},
    {{
        // 12 points
        {{27, 36, 47, 55, 64, 74, 83, 94},
         {48, 67, 86, 105, 122, 142, 161, 180},
         15,
         {45, 45, 59, 59, 59, 59, 59, 59}},  // 16 pixels
        {{34, 42, 52, 59, 67, 76, 84, 94},
         {62, 79, 96, 112, 128, 146, 163, 180},
         24,
         {61, 61, 75, 75, 75, 75, 75, 75}},  // 32 pixels
        {{41, 48, 57, 63, 70, 78, 85, 94},
         {76, 91, 106, 120, 134, 150, 165, 180},
         33,
         {77, 77, 91, 91, 91, 91, 91, 91}},  // 48 pixels
        {{48, 55, 62, 67, 74, 80, 87, 94},
         {90, 103, 116, 128, 141, 154, 167, 180},
         42,
         {93, 93, 107, 107, 107, 107, 107, 107}},  // 64 pixels
        {{56, 61, 67, 71, 77, 82, 88, 94},
         {104, 115, 126, 136, 147, 158, 169, 180},
         51,
         {109, 109, 123, 123, 123, 123, 123, 123}},  // 80 pixels
        {{63, 67, 72, 76, 80, 84, 89, 94},
         {118, 127, 136, 144, 153, 162, 171, 180},
         60,
         {125, 125, 139, 139, 139, 139, 139, 139}},  // 96 pixels
        {{70, 73, 77, 80, 83, 86, 90, 94},
         {132, 139, 146, 152, 159, 166, 173, 180},
         69,
         {141, 141, 155, 155, 155, 155, 155, 155}},  // 112 pixels
        {{77, 79, 82, 84, 87, 89, 91, 94},
         {146, 151, 156, 161, 165, 170, 175, 180},
         78,
         {157, 157, 171, 171, 171, 171, 171, 171}},  // 128 pixels
    }},
    {{
        // 14 points
        {{27, 37, 49, 59, 70, 80, 92, 104},
         {48, 70, 92, 113, 133, 156, 178, 200},
         15,
         {53, 53, 69, 69, 69, 69, 69, 69}},  // 16 pixels
        {{34, 44, 54, 63, 73, 83, 93, 104},
         {62, 82, 102, 121, 140, 160, 180, 200},
         24,
         {69, 69, 85, 85, 85, 85, 85, 85}},  // 32 pixels
        {{41, 50, 59, 67, 76, 85, 94, 104},
         {76, 94, 112, 129, 146, 164, 182, 200},
         33,
         {85, 85, 101, 101, 101, 101, 101, 101}},  // 48 pixels
        {{48, 56, 64, 71, 80, 87, 95, 104},
         {90, 106, 122, 137, 152, 168, 184, 200},
         42,
         {101, 101, 117, 117, 117, 117, 117, 117}},  // 64 pixels
        {{56, 62, 69, 75, 83, 89, 96, 104},
         {104, 118, 132, 145, 158, 172, 186, 200},
         51,
         {117, 117, 133, 133, 133, 133, 133, 133}},  // 80 pixels
        {{63, 68, 74, 80, 86, 91, 97, 104},
         {118, 130, 142, 153, 165, 176, 188, 200},
         60,
         {133, 133, 149, 149, 149, 149, 149, 149}},  // 96 pixels
        {{70, 74, 79, 84, 89, 93, 98, 104},
         {132, 142, 152, 161, 171, 180, 190, 200},
         69,
         {149, 149, 165, 165, 165, 165, 165, 165}},  // 112 pixels
        {{77, 81, 85, 88, 92, 95, 99, 104},
         {146, 154, 162, 169, 177, 184, 192, 200},
         78,
         {165, 165, 181, 181, 181, 181, 181, 181}},  // 128 pixels
    }},
    {{
        // 16 points
        {{27, 40, 55, 67, 81, 94, 108, 124},
         {48, 76, 104, 130, 156, 184, 212, 240},
         15,
         {60, 60, 78, 78, 78, 78, 78, 78}},  // 16 pixels
        {{34, 46, 60, 71, 85, 96, 109, 124},
         {62, 88, 114, 138, 163, 188, 214, 240},
         24,
         {76, 76, 94, 94, 94, 94, 94, 94}},  // 32 pixels
        {{41, 52, 65, 75, 88, 98, 110, 124},
         {76, 100, 124, 146, 169, 192, 216, 240},
         33,
         {92, 92, 110, 110, 110, 110, 110, 110}},  // 48 pixels
        {{48, 58, 70, 79, 91, 100, 111, 124},
         {90, 112, 134, 154, 175, 196, 218, 240},
         42,
         {108, 108, 126, 126, 126, 126, 126, 126}},  // 64 pixels
        {{56, 64, 75, 83, 94, 102, 113, 124},
         {104, 124, 144, 162, 182, 200, 220, 240},
         51,
         {124, 124, 142, 142, 142, 142, 142, 142}},  // 80 pixels
        {{63, 71, 80, 88, 98, 105, 114, 124},
         {118, 136, 154, 170, 188, 204, 222, 240},
         60,
         {140, 140, 158, 158, 158, 158, 158, 158}},  // 96 pixels
        {{70, 77, 85, 92, 101, 107, 115, 124},
         {132, 148, 164, 178, 194, 208, 224, 240},
         69,
         {156, 156, 174, 174, 174, 174, 174, 174}},  // 112 pixels
        {{77, 83, 90, 96, 104, 109, 116, 124},
         {146, 160, 174, 186, 200, 212, 226, 240},
         78,
         {172, 172, 190, 190, 190, 190, 190, 190}},  // 128 pixels
    }},
}};
// clang-format on

constexpr int kBord = 7;  ///< pixels

}  // namespace

const PlacesIcones &grille_icones(std::size_t texte, std::size_t icone) {
  return kGrille[std::min(texte, kGrille.size() - 1)][std::min(icone, kTaillesIcone.size() - 1)];
}

void valeurs_grille(ValeursFenetre &valeurs) {
  valeurs_grille(valeurs, 0);
}

void valeurs_grille(ValeursFenetre &valeurs, std::size_t depuis) {
  const PlacesIcones &places = grille_icones(static_cast<std::size_t>(valeurs.taille_texte),
                                             static_cast<std::size_t>(valeurs.taille_icone));
  const auto espacement = static_cast<std::size_t>(std::clamp(valeurs.espacement, 0, kEspacements - 1));
  int x = places.premier_x[espacement];
  int y = places.premier_y;
  for (std::size_t i = 0; i < valeurs.elements.size(); ++i) {
    if (i >= depuis) {
      valeurs.elements[i].x = x;
      valeurs.elements[i].y = y;
    }
    x += places.pas_x[espacement];
    if (x <= valeurs.rect.largeur()) continue;
    x = places.premier_x[espacement];
    y += places.pas_y[espacement];
  }
}

void fixe_gauche(ValeursFenetre &valeurs, int gauche) {
  valeurs.rect.droite += gauche - valeurs.rect.gauche;
  valeurs.rect.gauche = gauche;
  valeurs_grille(valeurs);
}

void fixe_haut(ValeursFenetre &valeurs, int haut) {
  valeurs.rect.bas += haut - valeurs.rect.haut;
  valeurs.rect.haut = haut;
  valeurs_grille(valeurs);
}

void fixe_droite(ValeursFenetre &valeurs, int droite) {
  valeurs.rect.droite = droite;
  valeurs_grille(valeurs);
}

void fixe_bas(ValeursFenetre &valeurs, int bas) {
  valeurs.rect.bas = bas;
  valeurs_grille(valeurs);
}

void fixe_largeur(ValeursFenetre &valeurs, int largeur) {
  fixe_droite(valeurs, valeurs.rect.gauche + largeur);
}

void fixe_hauteur(ValeursFenetre &valeurs, int hauteur) {
  fixe_bas(valeurs, valeurs.rect.haut + hauteur);
}

bool fixe_taille_icone(ValeursFenetre &valeurs, int indice) {
  if (indice < 0 || indice >= static_cast<int>(kTaillesIcone.size())) return false;
  valeurs.taille_icone = indice;
  valeurs_grille(valeurs);
  return true;
}

bool fixe_taille_texte(ValeursFenetre &valeurs, int indice) {
  if (indice < 0 || indice >= static_cast<int>(kTaillesTexte.size())) return false;
  valeurs.taille_texte = indice;
  valeurs_grille(valeurs);
  return true;
}

bool fixe_espacement(ValeursFenetre &valeurs, int indice) {
  if (indice < 0 || indice >= kEspacements) return false;
  valeurs.espacement = indice;
  valeurs_grille(valeurs);
  return true;
}

bool deplace_element(ValeursFenetre &valeurs, std::size_t rang, int sens) {
  const std::size_t nombre = valeurs.elements.size();
  if (rang >= nombre || (sens < 0 ? rang == 0 : rang + 1 == nombre)) return false;
  std::swap(valeurs.elements[rang], valeurs.elements[sens < 0 ? rang - 1 : rang + 1]);
  valeurs_grille(valeurs);
  return true;
}

BordFenetre bord_fenetre(int x, int y, int largeur, int hauteur) {
  if (x < 0 || y < 0 || x >= largeur || y >= hauteur) return BordFenetre::aucun;
  const bool a_gauche = x < kBord;
  const bool a_droite = !a_gauche && x >= largeur - kBord;
  const bool en_haut = y < kBord;
  const bool en_bas = !en_haut && y >= hauteur - kBord;
  if (en_haut)
    return a_gauche ? BordFenetre::haut_gauche : a_droite ? BordFenetre::haut_droit : BordFenetre::haut;
  if (en_bas)
    return a_gauche ? BordFenetre::bas_gauche : a_droite ? BordFenetre::bas_droit : BordFenetre::bas;
  if (a_gauche) return BordFenetre::gauche;
  return a_droite ? BordFenetre::droit : BordFenetre::interieur;
}

RectEcran rect_tire(const RectEcran &rect, BordFenetre bord, int dx, int dy) {
  using enum BordFenetre;
  dx *= kEchelleDessin;
  dy *= kEchelleDessin;
  const auto est = [bord](auto... lesquels) { return ((bord == lesquels) || ...); };
  RectEcran tire = rect;
  if (bord == interieur) return {rect.gauche + dx, rect.haut + dy, rect.droite + dx, rect.bas + dy};
  if (est(gauche, haut_gauche, bas_gauche)) tire.gauche = std::min(rect.gauche + dx, rect.droite);
  if (est(droit, haut_droit, bas_droit)) tire.droite = std::max(rect.droite + dx, rect.gauche);
  if (est(haut, haut_gauche, haut_droit)) tire.haut = std::min(rect.haut + dy, rect.bas);
  if (est(bas, bas_gauche, bas_droit)) tire.bas = std::max(rect.bas + dy, rect.haut);
  return tire;
}

}  // namespace varnion
