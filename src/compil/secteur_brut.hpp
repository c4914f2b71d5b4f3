#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "compil/pistes.hpp"

// One raw sector of a CD-ROM (ECMA-130 14 and annexes A and B; CD-ROM XA for the forms of mode 2).

namespace varnion {

using SecteurBrut = std::array<std::uint8_t, kSecteurBrut>;

constexpr std::uint32_t kAvantPiste = 150;          ///< address of sector 0, in sectors
constexpr std::uint32_t kAdressesMax = 100 * 4500;  ///< 99:59:74 is the last
constexpr std::uint8_t kSousModeDonnees = 0x08;
constexpr std::uint8_t kSousModeFin = 0x80;
constexpr std::size_t kDonneesMode1 = 16;
constexpr std::size_t kDonneesMode2 = 24;
constexpr std::array<std::uint8_t, 12> kSynchro{0,    0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0};

/// Minute, second and frame of `valeur` sectors, each in BCD.
[[nodiscard]] std::array<std::uint8_t, 3> temps_bcd(std::uint32_t valeur);
/// Sectors of such a time.
[[nodiscard]] std::uint32_t secteurs_bcd(std::span<const std::uint8_t> temps);

/// Writes sync, address and mode of the sector with this number (from 0).
void pose_adresse(SecteurBrut &secteur, std::uint32_t numero, std::uint8_t mode);
/// A whole sector around 2048 bytes; `sous_mode` counts for mode 2 form 1 only.
void forme_secteur(SecteurBrut &secteur, std::span<const std::uint8_t> donnees, std::uint32_t numero,
                   std::uint8_t mode, std::uint8_t sous_mode);
/// Computes the checks of a sector of mode 1 or mode 2 form 1 anew, behind a change of its data.
void pose_controles(SecteurBrut &secteur);

}  // namespace varnion
