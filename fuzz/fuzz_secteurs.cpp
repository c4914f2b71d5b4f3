// Sectors of any sort: each form, the tree that begins there and a search end, and read nothing outside.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "inspect/analyse.hpp"
#include "inspect/arbre_dessin.hpp"
#include "inspect/lignes.hpp"
#include "inspect/recherche.hpp"

// Byte 0: sector and sector size; bytes 1 and 2: node size; the source follows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *donnees, std::size_t taille) {
  using namespace varnion;
  if (taille < 4) return 0;
  const std::span<const std::uint8_t> entree(donnees, taille);
  const auto source = source_octets({entree.begin() + 3, entree.end()}, "fuzz");
  if ((entree[0] & 0x80) != 0) source->taille_secteur(2048);
  const std::int64_t numero = entree[0] & 0x0F;
  EtatAnalyse etat;
  etat.taille_noeud = static_cast<std::uint32_t>(nombre_gros(entree, 1, 2));
  static_cast<void>(analyse_secteur(*source, numero, etat));
  for (const GenreAnalyse &genre : genres_analyse()) {
    const FicheAnalyse fiche = analyse_secteur_comme(genre.forme, *source, numero, etat);
    if (fiche.forme != genre.forme) std::abort();
    for (const Onglet &onglet : fiche.onglets)
      for (const Ligne &ligne : onglet.lignes)
        if (ligne.cellules.size() != onglet.colonnes.size()) std::abort();
  }
  std::uint64_t rangees = 0;
  static_cast<void>(dessine_arbre(*source, numero, [&](const RangeeArbre &) { return ++rangees < 10000; }));
  for (const std::string &ligne : lignes_secteur(source->secteur(numero), 0, {}))
    if (!ligne.empty() && ligne.size() != kLargeurLigne) std::abort();
  const std::string motif(entree.begin(), entree.begin() + 3);
  const auto trouve = cherche_premier(*source, {motif, 0, -1, false});
  if (trouve.etat == EtatRecherche::trouve &&
      trouve.position >= source->nb_secteurs() * source->taille_secteur())
    std::abort();
  return 0;
}
