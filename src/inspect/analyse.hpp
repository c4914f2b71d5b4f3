#pragma once

#include <cstdint>
#include <span>

#include "inspect/champs.hpp"
#include "inspect/source.hpp"

// The analyzers: a sector and what stands around it in, a list of fields out. None keeps a state or shows
// anything. They trust the sector: a wrong choice of the form shows wrong numbers, but reads nothing outside.

namespace varnion {

struct ContexteAnalyse {
  std::span<const std::uint8_t> secteur;  ///< the sector on screen, whole
  std::int64_t numero = 0;                ///< its number, `SecteurCourant`
  std::uint32_t taille_secteur = 512;
  /// For the structures that reach over other sectors; without it they end with the sector.
  const SourceSecteurs *source = nullptr;
  EtatAnalyse etat;  ///< as the last analyzers left it
};

/// What form `forme` shows. Keep `FicheAnalyse::etat` for the next one.
[[nodiscard]] FicheAnalyse analyse(FormeSecteur forme, const ContexteAnalyse &contexte);

/// Sector `numero` of a source identified and analyzed: the form is `aucune` when it cannot be identified.
/// `etat` is used and brought up to date.
[[nodiscard]] FicheAnalyse analyse_secteur(const SourceSecteurs &source, std::int64_t numero,
                                           EtatAnalyse &etat);
/// The same as the structure that the user says.
[[nodiscard]] FicheAnalyse analyse_secteur_comme(FormeSecteur forme, const SourceSecteurs &source,
                                                 std::int64_t numero, EtatAnalyse &etat);

/// The state kept for the run of the program, the viewer's.
[[nodiscard]] EtatAnalyse &etat_analyse();

// --- targets

/// Sector of an allocation block.
[[nodiscard]] Cible cible_bloc(const EtatAnalyse &etat, std::uint64_t bloc);
/// Sector of a node of a tree whose header node lies at `debut`.
[[nodiscard]] Cible cible_noeud(const ContexteAnalyse &contexte, std::uint32_t taille_noeud,
                                std::int64_t debut, std::uint64_t noeud);
/// Sector where a logical sector of 2,048 bytes begins: four times its number with sectors of 512 bytes, the
/// number itself with any other.
[[nodiscard]] Cible cible_iso(const ContexteAnalyse &contexte, std::uint64_t numero);
[[nodiscard]] Cible cible_secteur(std::uint64_t numero);

}  // namespace varnion
