#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "inspect/analyse.hpp"
#include "outils/decomprime.hpp"

namespace varnion::essai {

using Octets = std::vector<std::uint8_t>;

/// Puts bytes of a text in place.
inline void met(Octets &octets, std::size_t place, std::string_view texte) {
  ASSERT_LE(place + texte.size(), octets.size());
  std::copy(texte.begin(), texte.end(), octets.begin() + static_cast<std::ptrdiff_t>(place));
}
inline void met_gros(Octets &octets, std::size_t place, std::size_t taille, std::uint64_t nombre) {
  for (std::size_t i = 0; i < taille; ++i)
    octets.at(place + taille - 1 - i) = static_cast<std::uint8_t>(nombre >> (8 * i));
}
inline void met_petit(Octets &octets, std::size_t place, std::size_t taille, std::uint64_t nombre) {
  for (std::size_t i = 0; i < taille; ++i)
    octets.at(place + i) = static_cast<std::uint8_t>(nombre >> (8 * i));
}

inline SourceUnique source_de(const std::string &contenu) {
  return source_octets({contenu.begin(), contenu.end()}, "essai");
}
/// A sample of tests/donnees, compressed or not.
inline SourceUnique echantillon(const std::string &nom) {
  return source_de(decomprime(nom));
}

inline const Champ *champ(const FicheAnalyse &fiche, std::string_view nom) {
  for (const Onglet &onglet : fiche.onglets)
    for (const Champ &c : onglet.champs)
      if (c.nom == nom) return &c;
  return nullptr;
}
inline std::string valeur(const FicheAnalyse &fiche, std::string_view nom) {
  const Champ *trouve = champ(fiche, nom);
  return trouve == nullptr ? "<" + std::string(nom) + " not shown>" : trouve->valeur;
}
/// A button wherever it stands: beside a field, on a tab, below the tabs.
inline const Bouton *bouton(const FicheAnalyse &fiche, std::string_view nom) {
  const auto cherche = [&](const std::vector<Bouton> &liste) {
    const auto trouve =
        std::find_if(liste.begin(), liste.end(), [&](const Bouton &b) { return b.nom == nom; });
    return trouve == liste.end() ? nullptr : &*trouve;
  };
  for (const Onglet &onglet : fiche.onglets) {
    for (const Champ &c : onglet.champs)
      if (c.bouton && c.bouton->nom == nom) return &*c.bouton;
    if (const Bouton *b = cherche(onglet.boutons)) return b;
  }
  return cherche(fiche.boutons);
}
/// Sector that a button leads to; -1 for one that is off, -2 for none.
inline std::int64_t mene(const FicheAnalyse &fiche, std::string_view nom) {
  const Bouton *b = bouton(fiche, nom);
  if (b == nullptr) return -2;
  return b->actif ? b->cible.secteur : -1;
}
inline std::vector<std::string> onglets(const FicheAnalyse &fiche) {
  std::vector<std::string> noms;
  for (const Onglet &onglet : fiche.onglets) noms.push_back(onglet.nom);
  return noms;
}
/// The list of a form, cells joined by "|".
inline std::vector<std::string> lignes(const FicheAnalyse &fiche) {
  std::vector<std::string> toutes;
  for (const Onglet &onglet : fiche.onglets)
    for (const Ligne &ligne : onglet.lignes) {
      std::string texte;
      for (const std::string &cellule : ligne.cellules) texte += (texte.empty() ? "" : "|") + cellule;
      toutes.push_back(texte);
    }
  return toutes;
}

struct Attendu {
  const char *champ;
  const char *valeur;
};
inline void compare(const FicheAnalyse &fiche, const std::vector<Attendu> &attendus) {
  for (const Attendu &a : attendus) EXPECT_EQ(valeur(fiche, a.champ), a.valeur) << a.champ;
}

}  // namespace varnion::essai
