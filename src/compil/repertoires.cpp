#include "compil/repertoires.hpp"

#include <algorithm>
#include <cstring>

#include "compil/contexte.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::size_t kFichePropre = 34;  ///< record of "." or "..": a one-byte name

void ajoute_octets(std::vector<std::uint8_t> &cible, std::span<const std::uint8_t> octets) {
  cible.insert(cible.end(), octets.begin(), octets.end());
}

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
  const auto d = plateforme::date_utc(secondes_unix);
  const auto octet = [](int valeur) { return static_cast<std::uint8_t>(valeur); };
  return {octet(d.annee - 1900),
          octet(d.mois),
          octet(d.jour),
          octet(d.heure),
          octet(d.minute),
          octet(d.seconde),
          0};
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
  const std::size_t longueur = sans_suite + suite.size();
  fiche.longueur = static_cast<std::uint8_t>(longueur);
  fiche.longueur_nom = static_cast<std::uint8_t>(nom.size());
  const std::size_t position = place_fiche(octets_.size(), longueur);
  octets_.resize(position);
  ajoute_octets(octets_, octets_de(fiche));
  ajoute_octets(octets_, nom);
  octets_.resize(position + sans_suite);
  ajoute_octets(octets_, suite);
  return position;
}

void Repertoire::ferme(bool racine) {
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
