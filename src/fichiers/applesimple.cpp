#include "fichiers/applesimple.hpp"

#include <algorithm>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

/// First bytes of a file.
struct Debut {
  std::array<std::uint8_t, kLectureApple> octets{};
  std::size_t lus = 0;

  explicit Debut(const Fichier &fichier) {
    const std::int64_t n = fichier.lire_a(octets, 0);
    if (n > 0) lus = static_cast<std::size_t>(n);
  }
  [[nodiscard]] std::span<const std::uint8_t> vue_lue() const { return std::span(octets).first(lus); }
};

std::uint64_t longueur(const Fichier &fichier) {
  const std::int64_t taille = fichier_taille(fichier);
  return taille > 0 ? static_cast<std::uint64_t>(taille) : 0;
}

}  // namespace

std::uint32_t magie_apple(std::span<const std::uint8_t> debut) {
  const auto *magie = vue<be32>(debut, 0);
  return magie == nullptr ? 0U : std::uint32_t{*magie};
}

std::optional<EntreeApple> cherche_entree_apple(std::span<const std::uint8_t> debut, std::uint32_t id) {
  debut = debut.first(std::min(debut.size(), kLectureApple));
  const auto *tete = vue<TeteApple>(debut, 0);
  if (tete == nullptr) return std::nullopt;
  const std::size_t nombre = tete->nb_entrees;
  for (std::size_t i = 0; i < nombre; ++i) {
    const auto *entree = vue<EntreeApple>(debut, sizeof(TeteApple) + i * sizeof(EntreeApple));
    if (entree == nullptr) break;
    if (entree->id == id) return *entree;
  }
  return std::nullopt;
}

std::optional<PlageFourche> plage_entree_apple(std::span<const std::uint8_t> debut, std::uint32_t id,
                                               std::uint64_t lg_fichier) {
  const auto entree = cherche_entree_apple(debut, id);
  if (!entree) return std::nullopt;
  return plage_bornee(entree->position, entree->longueur, lg_fichier);
}

std::span<const std::uint8_t> info_finder_apple(std::span<const std::uint8_t> debut) {
  debut = debut.first(std::min(debut.size(), kLectureApple));
  const auto entree = cherche_entree_apple(debut, kEntreeFinder);
  if (!entree || entree->position >= debut.size()) return {};
  return debut.subspan(entree->position);
}

bool est_applesingle(const Fichier &fichier) {
  const Debut debut(fichier);
  fichier_debut(fichier);
  return magie_apple(debut.vue_lue()) == kMagieAppleSingle;
}

bool est_appledouble(std::string_view nom) {
  const Fichier compagnon = plateforme::ouvre(nom_compagnon(nom), Ouverture::lecture);
  return compagnon.ouvert() && magie_apple(Debut(compagnon).vue_lue()) == kMagieAppleDouble;
}

std::string nom_compagnon(std::string_view chemin) {
  const std::size_t separateur = chemin.find_last_of("/\\");
  const std::size_t debut = separateur == std::string_view::npos ? 0 : separateur + 1;
  std::string resultat(chemin.substr(0, debut));
  resultat += "._";
  resultat += chemin.substr(debut);
  return resultat;
}

Fichier ouvre_compagnon(std::string_view chemin) {
  Fichier compagnon = plateforme::ouvre_voisin(chemin, "._");
  return compagnon.ouvert() ? std::move(compagnon)
                            : plateforme::ouvre(nom_compagnon(chemin), Ouverture::lecture);
}

bool est_nom_compagnon(std::string_view nom) {
  return nom.starts_with("._");
}

PlageFourche taille_entree_apple(const Fichier &compagnon) {
  const Debut debut(compagnon);
  fichier_debut(compagnon);
  return plage_entree_apple(debut.vue_lue(), kEntreeRessource, longueur(compagnon)).value_or(PlageFourche{});
}

FourchesApple entrees_applesingle(const Fichier &fichier) {
  const Debut debut(fichier);
  const std::uint64_t taille = longueur(fichier);
  fichier_debut(fichier);
  FourchesApple fourches;
  if (const auto data = plage_entree_apple(debut.vue_lue(), kEntreeData, taille)) {
    fourches.data = *data;
    ++fourches.trouvees;
  }
  if (const auto rsrc = plage_entree_apple(debut.vue_lue(), kEntreeRessource, taille)) {
    fourches.rsrc = *rsrc;
    ++fourches.trouvees;
  }
  return fourches;
}

std::optional<std::string> signature_apple(std::span<const std::uint8_t> debut) {
  const std::uint32_t magie = magie_apple(debut);
  if (magie != kMagieAppleSingle && magie != kMagieAppleDouble) return std::nullopt;
  const auto info = info_finder_apple(debut);
  if (info.size() < 8) return std::nullopt;
  return std::string(info.begin(), info.begin() + 8);
}

std::optional<std::string> signature_apple(std::string_view nom) {
  const Fichier fichier = plateforme::ouvre(nom, Ouverture::lecture);
  if (!fichier.ouvert()) return std::nullopt;
  return signature_apple(Debut(fichier).vue_lue());
}

}  // namespace varnion
