#include "fichiers/applesimple.hpp"

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

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
  resultat += kPrefixeCompagnon;
  resultat += chemin.substr(debut);
  return resultat;
}

Fichier ouvre_compagnon(std::string_view chemin) {
  Fichier compagnon = plateforme::ouvre_voisin(chemin, kPrefixeCompagnon);
  return compagnon.ouvert() ? std::move(compagnon)
                            : plateforme::ouvre(nom_compagnon(chemin), Ouverture::lecture);
}

bool est_nom_compagnon(std::string_view nom) {
  return nom.starts_with(kPrefixeCompagnon);
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

namespace {

constexpr std::uint32_t kVersionApple = 0x00020000;

/// Entry 8. RFC 1740 counts its dates from the year 2000 in UTC; here they stand as the catalog holds them,
/// in seconds since 1904. Nothing here reads them back.
struct DatesApple {
  be32 creation;      // 0
  be32 modification;  // 4
  be32 acces;         // 8   the constant "unknown" for a file of HFS
  be32 sauvegarde;    // 12
};

DatesApple dates_apple(const DatesMac &dates) {
  return {dates.creation, dates.modification, dates.acces, dates.sauvegarde};
}

/// Head and table in front of entries of these lengths, which follow in their order.
std::vector<std::uint8_t> tete_apple(std::uint32_t magie,
                                     std::span<const std::pair<std::uint32_t, std::uint64_t>> entrees) {
  TeteApple tete;
  tete.magie = magie;
  tete.version = kVersionApple;
  tete.nb_entrees = static_cast<std::uint16_t>(entrees.size());
  const auto octets_tete = octets_de(tete);
  std::vector<std::uint8_t> octets(octets_tete.begin(), octets_tete.end());
  std::uint64_t position = sizeof(TeteApple) + entrees.size() * sizeof(EntreeApple);
  for (const auto &[id, longueur] : entrees) {
    const EntreeApple entree{id, static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(longueur)};
    const auto octets_entree = octets_de(entree);
    octets.insert(octets.end(), octets_entree.begin(), octets_entree.end());
    position += longueur;
  }
  return octets;
}

// Both forms, which differ by the magic and the data fork at the end. What the 32 bits of the table do not
// hold is refused, for its reader would find another file.
ResultatEcriture ecrit_apple(const Fichier &cible, const ElementFichier &element, bool simple) {
  const std::array<std::pair<std::uint32_t, std::uint64_t>, 4> entrees{{
      {kEntreeDates, sizeof(DatesApple)},
      {kEntreeFinder, element.info_finder.size()},
      {kEntreeRessource, element.rsrc.longueur},
      {kEntreeData, element.data.longueur},
  }};
  const std::size_t nombre = simple ? 4 : 3;
  const auto tete =
      tete_apple(simple ? kMagieAppleSingle : kMagieAppleDouble, std::span(entrees).first(nombre));
  const std::uint64_t place = std::numeric_limits<std::uint32_t>::max() - tete.size() - sizeof(DatesApple) -
                              element.info_finder.size();
  if (element.rsrc.longueur > place) return ResultatEcriture::trop_grand;
  if (simple && element.data.longueur > std::numeric_limits<std::uint32_t>::max())
    return ResultatEcriture::trop_grand;
  SortieConteneur sortie(cible);
  sortie.ecrit(tete);
  sortie.ecrit(octets_de(dates_apple(element.dates)));
  sortie.ecrit(element.info_finder);
  sortie.verse(element.rsrc);
  if (simple) sortie.verse(element.data);
  return sortie.resultat();
}

}  // namespace

ResultatEcriture ecrit_applesingle(const Fichier &cible, const ElementFichier &element) {
  return ecrit_apple(cible, element, true);
}

ResultatEcriture ecrit_appledouble(const Fichier &cible, const ElementFichier &element) {
  return ecrit_apple(cible, element, false);
}

}  // namespace varnion
