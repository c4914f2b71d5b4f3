#include "projet/format.hpp"

#include <algorithm>

#include "IO/plateforme.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

constexpr std::int64_t kEpoqueMac = 2082844800;  // seconds from 1904 to 1970

}  // namespace

std::string chemin_source(const RubriqueProjet &rubrique) {
  return lit_champ(rubrique.chemin) + lit_champ(rubrique.nom_source);
}

std::string nom_dans_vue(const RubriqueProjet &rubrique, int vue, bool hfsplus) {
  if (vue == kVueIso) return lit_champ(rubrique.nom_iso);
  if (vue == kVueRacine) return lit_champ(rubrique.nom_source);
  const std::string nom = lit_champ(rubrique.nom_hfs);
  return hfsplus ? nom : nom_windows(nom);
}

std::uint32_t date_projet(std::int64_t secondes_unix) {
  constexpr std::int64_t kLoin = std::int64_t{1} << 40;  // keeps the sum in range
  const std::int64_t locale =
      std::clamp(secondes_unix, -kLoin, kLoin) + kEpoqueMac - plateforme::biais_fuseau();
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(locale, 0, UINT32_MAX));
}

std::uint64_t secteurs_rubrique(const RubriqueProjet &rubrique) {
  std::uint64_t total = quotient_haut<std::uint32_t>(rubrique.lg_data, kSecteurProjet);
  total += quotient_haut<std::uint32_t>(rubrique.lg_rsrc, kSecteurProjet);
  if (rubrique.dans_iso() && rubrique.est_code_mac())
    total += quotient_haut<std::uint32_t>(rubrique.lg_source, kSecteurProjet);
  return total;
}

}  // namespace varnion
