#pragma once

#include <cstdint>
#include <span>
#include <string>

// Records of a catalog node as a list shows them.

namespace varnion {

enum class GenreRubrique { autre, dossier, fichier, fil };

struct FourcheRubrique {
  std::uint64_t longueur = 0;
  std::uint32_t premier = 0;  ///< first allocation block
};

struct RubriqueNoeud {
  GenreRubrique genre = GenreRubrique::autre;
  std::string nom;  ///< working text: that of the key, in a thread that of the record
  std::uint32_t parent_cle = 0;
  bool cle_sans_nom = true;
  std::uint32_t id = 0;          ///< of the folder or file
  std::uint32_t parent_fil = 0;  ///< thread: the folder that the item lies in
  std::uint32_t valence = 0;
  FourcheRubrique donnees, ressources;
  std::uint32_t fils = 0;  ///< index record: child node
};

/// A node of 512 bytes is read as HFS, any other as HFS+. HFS+ allows nodes of 512 bytes as well (TN1150);
/// they are read wrongly. Kept as it stands.
[[nodiscard]] bool noeud_hfsplus(std::uint32_t taille_noeud);

/// Damaged records read as `autre`, zeros and "".
[[nodiscard]] RubriqueNoeud rubrique_feuille(std::span<std::uint8_t> fiche, bool hfsplus);
[[nodiscard]] RubriqueNoeud rubrique_index(std::span<std::uint8_t> fiche, bool hfsplus);

}  // namespace varnion
