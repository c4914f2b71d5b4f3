#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "inspect/champs.hpp"
#include "inspect/source.hpp"

// A whole B-tree as rows of a tree view, in the order of the keys.

namespace varnion {

enum class IconeArbre { index = 0, dossier = 1, fil = 2, fichier = 3 };

struct RangeeArbre {
  unsigned profondeur = 0;  ///< 0 for the records of the top level
  std::string texte;
  IconeArbre icone = IconeArbre::index;
  std::uint32_t noeud = 0;  ///< where the record stands
  std::int32_t index = 0;
  std::int64_t fils = -1;    ///< child node, -1 at a leaf
  std::int64_t secteur = 0;  ///< first sector of `noeud`
};

/// Gets each row; false stops. A row comes ahead of those below it.
using VisiteRangee = std::function<bool(const RangeeArbre &)>;

enum class EtatDessin {
  entier,
  arrete,     ///< the callback gave false
  endommage,  ///< nodes outside the source, met twice or of another sort than their level were left out
};

struct ResultatDessin {
  EtatDessin etat = EtatDessin::entier;
  std::uint64_t rangees = 0;
  std::uint64_t noeuds = 0;
};

/// Draws the tree whose header node lies at sector `entete`: its node size, height and root are those of the
/// header. Each node is read once, so that the work ends whatever the nodes say.
[[nodiscard]] ResultatDessin dessine_arbre(const SourceSecteurs &source, std::int64_t entete,
                                           const VisiteRangee &visite);

}  // namespace varnion
