#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "IO/fichier.hpp"
#include "IO/plateforme.hpp"

// A file of the PC on its way to a Macintosh volume: what it is, and what the user wants done with it.

namespace varnion {

enum class ClassePc : int {
  simple = 0,  ///< also a container that the user does not want opened
  macbinaire = 1,
  binhex = 2,
  flux = 3,  ///< with the streams of a Windows server
  applesingle = 4,
  appledouble = 5,
  pfb = 6,
  ttf = 7,
};

/// An open file of the PC with what was read of it already.
struct FichierPc {
  const plateforme::DonneesRecherche *donnees = nullptr;
  std::string chemin;  ///< working text, opens
  Fichier fichier;
  std::uint64_t taille = 0;  ///< when it was opened
  std::size_t lus = 0;
  std::array<std::uint8_t, 4096> tampon;

  [[nodiscard]] std::span<const std::uint8_t> debut() const { return std::span(tampon).first(lus); }
  /// Path for messages.
  [[nodiscard]] std::string affiche() const;
};

/// Takes length and first bytes of `fichier.fichier`; false when it cannot be read (`errno` tells).
[[nodiscard]] bool lit_debut_pc(FichierPc &fichier);

/// Answers that stay in force for the run of the program, those of the 8-bit road (HFS) and of the wide one
/// (HFS+) apart: 1 always, -1 never, 0 ask.
struct ReponsesConteneurs {
  std::array<int, 2> macbinaire{}, binhex{};
};
[[nodiscard]] ReponsesConteneurs &reponses_conteneurs();

/// What need not be looked for.
struct IndicesPc {
  bool compagnon_possible = true;  ///< a "._" file may lie beside it
  bool flux_possible = true;       ///< it may have alternate streams
  bool polices = true;             ///< fonts may be converted
  bool hfsplus = false;
};
/// The class of a file, by the first test that agrees; for a container or a font the user is asked (1258,
/// 1259, 1125; not for a PFB file, which nothing converts), and No makes it a plain file. An AppleDouble
/// companion comes back open in `compagnon`.
[[nodiscard]] ClassePc classe_fichier_pc(const FichierPc &fichier, const IndicesPc &indices,
                                         Fichier &compagnon);

}  // namespace varnion
