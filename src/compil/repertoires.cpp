#include "compil/repertoires.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "compil/contexte.hpp"
#include "IO/ecarts.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::size_t kFichePropre = 34;  ///< record of "." or "..": a one-byte name

void ajoute_octets(std::vector<std::uint8_t> &cible, std::span<const std::uint8_t> octets) {
  cible.insert(cible.end(), octets.begin(), octets.end());
}

/// A part of an identifier, in characters of one byte or, in the Joliet tree, two.
struct PartieNom {
  std::span<const std::uint8_t> octets;
  bool joliet;

  [[nodiscard]] std::size_t longueur() const { return octets.size() / (joliet ? 2 : 1); }
  [[nodiscard]] std::uint16_t caractere(std::size_t i) const {
    if (!joliet) return octets[i];
    return static_cast<std::uint16_t>(octets[2 * i] << 8U | octets[2 * i + 1]);
  }
  [[nodiscard]] PartieNom tete(std::size_t n) const { return {octets.first(n * (joliet ? 2 : 1)), joliet}; }
  [[nodiscard]] PartieNom suite(std::size_t n) const {
    return {octets.subspan(n * (joliet ? 2 : 1)), joliet};
  }
  /// Place of the last such character, the length where there is none.
  [[nodiscard]] std::size_t dernier(char16_t c) const {
    for (std::size_t i = longueur(); i-- > 0;)
      if (caractere(i) == c) return i;
    return longueur();
  }
};

/// < 0, 0, > 0. The shorter counts as filled with spaces (ECMA-119 9.3), in Joliet with zeros.
int compare(const PartieNom &a, const PartieNom &b) {
  const std::uint16_t blanc = a.joliet ? 0 : ' ';
  const std::size_t n = std::max(a.longueur(), b.longueur());
  for (std::size_t i = 0; i < n; ++i) {
    const int ca = i < a.longueur() ? a.caractere(i) : blanc;
    const int cb = i < b.longueur() ? b.caractere(i) : blanc;
    if (ca != cb) return ca - cb;
  }
  return 0;
}

/// What a record is sorted by: name, extension, associated file first. An identifier of a folder is all name.
struct CleFiche {
  PartieNom nom, extension;
  bool associe;

  CleFiche(std::span<const std::uint8_t> octets, std::uint8_t drapeaux, bool joliet)
      : nom{octets, joliet}, extension{{}, joliet}, associe((drapeaux & kDrapeauAssocie) != 0) {
    if ((drapeaux & kDrapeauDossier) != 0) return;
    nom = nom.tete(nom.dernier(u';'));
    const std::size_t point = nom.dernier(u'.');
    if (point == nom.longueur()) return;
    extension = nom.suite(point + 1);
    nom = nom.tete(point);
  }
  bool operator<(const CleFiche &autre) const {
    if (const int ordre = compare(nom, autre.nom); ordre != 0) return ordre < 0;
    if (const int ordre = compare(extension, autre.extension); ordre != 0) return ordre < 0;
    return associe && !autre.associe;
  }
};

/// One directory that waits for its turn in the path table.
struct Attente {
  std::uint32_t extent;
  std::uint16_t numero;
};

template <typename U32, typename U16>
void ajoute_entree(std::vector<std::uint8_t> &table, std::span<const std::uint8_t> nom, std::uint32_t extent,
                   std::uint16_t pere) {
  table.push_back(static_cast<std::uint8_t>(nom.size()));
  table.push_back(0);
  ajoute_octets(table, octets_de(U32{extent}));
  ajoute_octets(table, octets_de(U16{pere}));
  ajoute_octets(table, nom);
  if (nom.size() % 2 != 0) table.push_back(0);
}

void ajoute_entrees(TablesChemins &tables, std::span<const std::uint8_t> nom, std::uint32_t extent,
                    std::uint16_t pere) {
  ajoute_entree<le32, le16>(tables.l, nom, extent, pere);
  ajoute_entree<be32, be16>(tables.m, nom, extent, pere);
}

/// The bytes of a directory, by its first sector; empty when they cannot be read.
std::vector<std::uint8_t> relit(const ArbreRepertoires &arbre, std::uint32_t extent) {
  std::vector<std::uint8_t> octets(kSecteurIso);
  const std::uint64_t position = std::uint64_t{extent - arbre.racine} * kSecteurIso;
  if (extent < arbre.racine || arbre.fichier.lire_a(octets, position) != kSecteurIso) return {};
  const auto *soi = vue<FicheRepertoire>(octets, 0);
  const std::uint32_t taille = soi->taille;
  const std::uint64_t reste = std::uint64_t{arbre.secteurs} * kSecteurIso;
  if (taille < kSecteurIso || taille > reste) return {};
  octets.resize(taille);
  if (arbre.fichier.lire_a(octets, position) != static_cast<std::int64_t>(taille)) return {};
  return octets;
}

}  // namespace

DateRepertoire date_repertoire(std::int64_t secondes_unix) {
  constexpr int kPremiere = 1900;
  constexpr int kDerniere = kPremiere + 0xFF;
  auto d = plateforme::date_utc(secondes_unix);
  if (publie(Ecart::annees_iso)) d.annee = std::clamp(d.annee, kPremiere, kDerniere);
  const auto octet = [](int valeur) { return static_cast<std::uint8_t>(valeur); };
  return {octet(d.annee - kPremiere),
          octet(d.mois),
          octet(d.jour),
          octet(d.heure),
          octet(d.minute),
          octet(d.seconde),
          0};
}

std::size_t longueur_fiche(std::size_t longueur_nom, bool joliet) {
  const bool bord = !joliet || publie(Ecart::fiches_paires);
  return sizeof(FicheRepertoire) + longueur_nom + (bord && longueur_nom % 2 == 0 ? 1 : 0);
}

std::size_t place_fiche(std::size_t position, std::size_t longueur) {
  const std::size_t dans_secteur = position % kSecteurIso;
  if (dans_secteur + longueur > kSecteurIso - 1) return position - dans_secteur + kSecteurIso;
  return position;
}

Repertoire::Repertoire(bool joliet, const DateRepertoire &date, std::uint32_t extent,
                       std::uint32_t pere_extent, std::uint32_t pere_taille)
    : joliet_(joliet) {
  FicheRepertoire fiche;
  fiche.date = date;
  fiche.drapeaux = kDrapeauDossier;
  fiche.extent = extent;
  const std::uint8_t soi[] = {0};
  const std::uint8_t pere[] = {1};
  ajoute(fiche, soi);
  fiche.extent = pere_extent;
  fiche.taille = pere_taille;
  ajoute(fiche, pere);
}

std::size_t Repertoire::ajoute(FicheRepertoire fiche, std::span<const std::uint8_t> nom,
                               std::span<const std::uint8_t> suite) {
  const std::size_t sans_suite = longueur_fiche(nom.size(), joliet_);
  fiche.longueur = static_cast<std::uint8_t>(sans_suite + suite.size());
  fiche.longueur_nom = static_cast<std::uint8_t>(nom.size());
  const std::size_t position = fiches_.size();
  ajoute_octets(fiches_, octets_de(fiche));
  ajoute_octets(fiches_, nom);
  fiches_.resize(position + sans_suite);
  ajoute_octets(fiches_, suite);
  positions_.push_back(position);
  return positions_.size() - 1;
}

std::span<const std::uint8_t> Repertoire::fiche(std::size_t rang) const {
  const auto debut = std::span(fiches_).subspan(positions_[rang]);
  return debut.first(debut[0]);
}

void Repertoire::trie(std::vector<std::size_t> &rangs) const {
  std::vector<CleFiche> cles;
  cles.reserve(rangs.size());
  for (const std::size_t rang : rangs) {
    const auto octets = fiche(rang);
    const auto *tete = vue<FicheRepertoire>(octets, 0);
    cles.emplace_back(octets.subspan(sizeof(FicheRepertoire), tete->longueur_nom), tete->drapeaux, joliet_);
  }
  std::stable_sort(rangs.begin() + 2, rangs.end(),  // "." and ".." stay ahead
                   [&cles](std::size_t a, std::size_t b) { return cles[a] < cles[b]; });
}

void Repertoire::ferme(bool racine) {
  std::vector<std::size_t> rangs(positions_.size());
  std::iota(rangs.begin(), rangs.end(), std::size_t{0});
  if (publie(Ecart::ordre_iso)) trie(rangs);
  std::vector<std::size_t> places(rangs.size());
  octets_.reserve(arrondi<std::size_t>(fiches_.size(), kSecteurIso));
  for (const std::size_t rang : rangs) {
    const auto octets = fiche(rang);
    places[rang] = place_fiche(octets_.size(), octets.size());
    octets_.resize(places[rang]);
    ajoute_octets(octets_, octets);
  }
  positions_ = std::move(places);
  fiches_ = {};
  octets_.resize(arrondi<std::size_t>(octets_.size(), kSecteurIso));
  vue_modifiable<FicheRepertoire>(octets_, 0)->taille = taille();
  if (racine) vue_modifiable<FicheRepertoire>(octets_, kFichePropre)->taille = taille();
}

bool ArbreRepertoires::ajoute(const Repertoire &repertoire) {
  if (!fichier.ecrire_a(repertoire.octets(), std::uint64_t{secteurs} * kSecteurIso)) return false;
  secteurs += repertoire.taille() / kSecteurIso;
  return true;
}

bool ArbreRepertoires::fixe_enfant(std::uint64_t position, std::uint32_t extent, std::uint32_t taille) const {
  struct {
    DoubleOrdre<std::uint32_t> extent, taille;
  } champs{extent, taille};
  static_assert(sizeof(champs) == 16);
  return fichier.ecrire_a(octets_de(champs), position + 2);
}

std::optional<TablesChemins> tables_chemins(const ArbreRepertoires &arbre) {
  TablesChemins tables;
  const std::uint8_t racine[] = {0};
  ajoute_entrees(tables, racine, arbre.racine, 1);
  std::vector<Attente> file{{arbre.racine, 1}};
  for (std::size_t i = 0; i < file.size(); ++i) {
    const Attente ici = file[i];
    const std::vector<std::uint8_t> octets = relit(arbre, ici.extent);
    if (octets.empty()) return std::nullopt;
    for (std::size_t position = 2 * kFichePropre; position < octets.size();) {
      const auto *fiche = vue<FicheRepertoire>(octets, position);
      if (fiche == nullptr || fiche->longueur == 0) {  // the rest of a sector is empty
        position = (position / kSecteurIso + 1) * kSecteurIso;
        continue;
      }
      if ((fiche->drapeaux & kDrapeauDossier) != 0 && fiche->extent != 0) {
        if (file.size() == 0xFFFF) return std::nullopt;
        const auto nom = std::span(octets).subspan(position + sizeof(FicheRepertoire), fiche->longueur_nom);
        ajoute_entrees(tables, nom, fiche->extent, ici.numero);
        file.push_back({fiche->extent, static_cast<std::uint16_t>(file.size() + 1)});
      }
      position += fiche->longueur;
    }
  }
  return tables;
}

}  // namespace varnion
