#include "hfs/noeud.hpp"

#include <algorithm>

namespace varnion {
namespace {

std::size_t place_entree(std::size_t taille, std::int32_t rang) {
  return taille - 2 - 2 * static_cast<std::size_t>(rang);
}

void efface(OctetsNoeud noeud, std::size_t debut, std::size_t fin) {
  if (debut < fin)
    std::fill(noeud.begin() + static_cast<std::ptrdiff_t>(debut),
              noeud.begin() + static_cast<std::ptrdiff_t>(fin), std::uint8_t{0});
}

// Clears everything between the last record and the table, entries of former records included.
void efface_libre(OctetsNoeud noeud) {
  const std::int32_t nombre = entete_noeud(noeud)->numRecords;
  efface(noeud, decalage(noeud, nombre), place_entree(noeud.size(), nombre));
}

// Moves the bytes [debut, fin) so that they begin at `cible`.
void glisse(OctetsNoeud noeud, std::size_t debut, std::size_t fin, std::size_t cible) {
  std::uint8_t *octets = noeud.data();
  if (cible > debut) {
    std::copy_backward(octets + debut, octets + fin, octets + cible + (fin - debut));
  } else {
    std::copy(octets + debut, octets + fin, octets + cible);
  }
}

}  // namespace

std::size_t decalage(std::span<const std::uint8_t> noeud, std::int32_t rang) {
  const be16 *entree = vue<be16>(noeud, place_entree(noeud.size(), rang));
  return entree != nullptr ? std::uint16_t{*entree} : 0;
}

void fixe_decalage(OctetsNoeud noeud, std::int32_t rang, std::size_t valeur) {
  be16 *entree = vue_modifiable<be16>(noeud, place_entree(noeud.size(), rang));
  if (entree != nullptr) *entree = static_cast<std::uint16_t>(valeur);
}

bool noeud_sain(OctetsNoeud noeud) {
  const EnteteNoeud *tete = entete_noeud(noeud);
  if (tete == nullptr || tete->numRecords != nb_enregistrements(noeud)) return false;
  const std::int32_t nombre = nb_enregistrements(noeud);
  if (decalage(noeud, 0) < kDebutEnregistrements) return false;
  for (std::int32_t rang = 0; rang < nombre; ++rang) {
    if (decalage(noeud, rang) >= decalage(noeud, rang + 1)) return false;
  }
  return decalage(noeud, nombre) <= place_entree(noeud.size(), nombre);
}

void initialise_noeud(OctetsNoeud noeud, std::int8_t genre, std::uint8_t hauteur) {
  std::fill(noeud.begin(), noeud.end(), std::uint8_t{0});
  EnteteNoeud *tete = entete_noeud(noeud);
  tete->kind = genre;
  tete->height = hauteur;
  fixe_decalage(noeud, 0, kDebutEnregistrements);
}

std::span<std::uint8_t> ouvre_enregistrement(OctetsNoeud noeud, std::int32_t rang, std::size_t taille) {
  const std::int32_t nombre = entete_noeud(noeud)->numRecords;
  const std::size_t place = decalage(noeud, rang);
  glisse(noeud, place, decalage(noeud, nombre), place + taille);
  for (std::int32_t i = nombre; i >= rang; --i) fixe_decalage(noeud, i + 1, decalage(noeud, i) + taille);
  entete_noeud(noeud)->numRecords = static_cast<std::uint16_t>(nombre + 1);
  efface(noeud, place, place + taille);
  return noeud.subspan(place, taille);
}

void ferme_enregistrement(OctetsNoeud noeud, std::int32_t rang) {
  const std::int32_t nombre = entete_noeud(noeud)->numRecords;
  const std::size_t place = decalage(noeud, rang);
  const std::size_t taille = decalage(noeud, rang + 1) - place;
  glisse(noeud, place + taille, decalage(noeud, nombre), place);
  for (std::int32_t i = rang; i < nombre; ++i) fixe_decalage(noeud, i, decalage(noeud, i + 1) - taille);
  entete_noeud(noeud)->numRecords = static_cast<std::uint16_t>(nombre - 1);
  efface_libre(noeud);
}

void garde_debut(OctetsNoeud noeud, std::int32_t garde) {
  entete_noeud(noeud)->numRecords = static_cast<std::uint16_t>(garde);
  efface_libre(noeud);
}

void copie_enregistrements(OctetsNoeud cible, OctetsNoeud source, std::int32_t debut, std::int32_t fin) {
  for (std::int32_t rang = debut; rang < fin; ++rang) {
    const std::size_t place = decalage(source, rang);
    const auto fiche = source.subspan(place, decalage(source, rang + 1) - place);
    const auto sortie = ouvre_enregistrement(cible, entete_noeud(cible)->numRecords, fiche.size());
    std::copy(fiche.begin(), fiche.end(), sortie.begin());
  }
}

}  // namespace varnion
