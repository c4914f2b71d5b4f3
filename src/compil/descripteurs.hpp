#pragma once

#include <array>
#include <cstdint>

#include "compil/contexte.hpp"
#include "projet/format.hpp"

namespace varnion {

using SecteurDescripteur = std::array<std::uint8_t, kSecteurIso>;

constexpr std::uint32_t kSecteurPrimaire = 16;
constexpr std::uint32_t kSecteurJoliet = 17;
constexpr std::uint32_t kSecteurFin = 18;
constexpr std::uint32_t kSecteurChemins = 19;  ///< first path table

/// Primary volume descriptor (ECMA-119 8.4); sizes that only the end of the run knows are set by
/// `termine_descripteur`.
[[nodiscard]] SecteurDescripteur descripteur_primaire(const EnteteProjet &entete, const PlanIso &plan,
                                                      const std::string &label);
/// Joliet supplementary descriptor, made on the content of the primary one.
[[nodiscard]] SecteurDescripteur descripteur_joliet(const SecteurDescripteur &primaire,
                                                    const EnteteProjet &entete, const PlanIso &plan,
                                                    const std::string &label);
/// Volume descriptor set terminator (ECMA-119 8.3).
[[nodiscard]] SecteurDescripteur descripteur_fin();

/// Stores the final root directory size, path table size and volume space size.
void termine_descripteur(SecteurDescripteur &descripteur, std::uint32_t taille_racine,
                         std::uint32_t taille_chemins, std::uint32_t taille_volume);

/// "Varnion - x.y.z", as it stands in the System field and in the partition map.
[[nodiscard]] std::string signature_produit();

}  // namespace varnion
