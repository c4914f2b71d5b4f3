// The array of records: reading, searching, and opening and closing gaps in the file.

#include <algorithm>
#include <cerrno>

#include "projet/fichier_projet.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kLotDeplacement = 1384;  // records moved at once, 1 MiB
constexpr std::size_t kLotFiltrage = 1024;       // records filtered at once

std::span<std::uint8_t> octets_modifiables(std::span<RubriqueProjet> lot) {
  return {reinterpret_cast<std::uint8_t *>(lot.data()), lot.size_bytes()};
}

std::span<const std::uint8_t> octets_du_lot(std::span<const RubriqueProjet> lot) {
  return {reinterpret_cast<const std::uint8_t *>(lot.data()), lot.size_bytes()};
}

}  // namespace

bool FichierProjet::lit_entete(EnteteProjet &entete) const {
  const std::span octets(reinterpret_cast<std::uint8_t *>(&entete), sizeof entete);
  return fichier_.lire_a(octets, 0) == static_cast<std::int64_t>(sizeof entete);
}

bool FichierProjet::ecrit_entete(const EnteteProjet &entete) {
  return fichier_.ecrire_a(octets_de(entete), 0);
}

std::uint64_t FichierProjet::nb_rubriques() const {
  const std::uint64_t total = taille_octets() / kTailleRubrique;
  return total == 0 ? 0 : total - 1;
}

bool FichierProjet::lit(std::uint64_t rang, RubriqueProjet &rubrique) const {
  return lit_lot(rang, {&rubrique, 1}) == 1;
}

bool FichierProjet::ecrit(std::uint64_t rang, const RubriqueProjet &rubrique) {
  if (rang > nb_rubriques()) {
    errno = EINVAL;
    return false;
  }
  return fichier_.ecrire_a(octets_de(rubrique), position(rang));
}

std::size_t FichierProjet::lit_lot(std::uint64_t rang, std::span<RubriqueProjet> lot) const {
  if (rang > UINT64_MAX / kTailleRubrique) return 0;
  const std::int64_t lus = fichier_.lire_a(octets_modifiables(lot), position(rang));
  return lus < 0 ? 0 : static_cast<std::size_t>(lus) / kTailleRubrique;
}

// --- searches

std::uint64_t FichierProjet::premier_enfant(std::uint32_t pere) const {
  std::uint64_t bas = 1;
  std::uint64_t haut = nb_rubriques() + 1;
  while (bas < haut) {
    const std::uint64_t milieu = bas + (haut - bas) / 2;
    le32 lu;
    const std::int64_t lus = fichier_.lire_a(lu.octets, position(milieu));
    if (lus == static_cast<std::int64_t>(sizeof lu) && lu < pere)
      bas = milieu + 1;
    else
      haut = milieu;
  }
  return bas;
}

std::optional<std::uint64_t> FichierProjet::cherche_par_numero(std::uint32_t pere, std::uint32_t numero,
                                                               RubriqueProjet &rubrique) const {
  LecteurEnfants enfants(*this, pere);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    if (enfant->numero != numero) continue;
    rubrique = *enfant;
    return enfants.rang();
  }
  return std::nullopt;
}

std::optional<std::uint64_t> FichierProjet::cherche_numero(std::uint32_t numero,
                                                           RubriqueProjet &rubrique) const {
  if (numero == kRacine) return lit(0, rubrique) ? std::optional<std::uint64_t>(0) : std::nullopt;
  for (const bool relire : {false, true}) {
    if (static_cast<std::int32_t>(numero) <= 0) break;
    const std::optional<std::uint32_t> pere = pere_de_dossier(numero, relire);
    if (!pere) continue;
    if (auto rang = cherche_par_numero(*pere, numero, rubrique)) return rang;
  }
  // A file, or a folder whose run is not where the order of the file says.
  LecteurRubriques tout(*this);
  while (const RubriqueProjet *lue = tout.suivant()) {
    if (lue->numero != numero) continue;
    rubrique = *lue;
    return tout.rang();
  }
  return std::nullopt;
}

std::optional<std::uint32_t> FichierProjet::pere_de_dossier(std::uint32_t numero, bool relire) const {
  const std::lock_guard garde(table_->verrou);
  if (relire || !table_->prete) {
    table_->peres.clear();
    LecteurRubriques tout(*this);
    while (const RubriqueProjet *lue = tout.suivant())
      if (lue->est_dossier()) table_->peres.try_emplace(lue->numero, lue->pere);
    table_->prete = true;
  }
  const auto trouve = table_->peres.find(numero);
  return trouve == table_->peres.end() ? std::nullopt : std::optional(trouve->second);
}

void FichierProjet::note_dossier(std::uint32_t numero, std::uint32_t pere) {
  const std::lock_guard garde(table_->verrou);
  if (table_->prete) table_->peres.insert_or_assign(numero, pere);
}

// --- changes of the array

bool FichierProjet::ouvre_trou(std::uint64_t rang, std::uint64_t nombre) {
  const std::uint64_t total = nb_rubriques() + 1;
  if (rang == 0 || rang > total || nombre > UINT32_MAX) {
    errno = EINVAL;
    return false;
  }
  // What lands behind the old end comes first: nothing old is written over, so a full disk shows itself while
  // the file can still be cut back.
  const std::uint64_t debut_fin = std::max(rang, total - std::min(total, nombre));
  const bool etendu = ecrit_zeros(total, debut_fin + nombre) && decale_fin(debut_fin, total, nombre);
  if (!etendu || !decale_milieu(rang, debut_fin, nombre)) {
    const int erreur = errno;
    fichier_tronquer(fichier_, position(total));
    errno = erreur;
    return false;
  }
  return true;
}

// Zero records in the ranks `debut` to `fin` - 1.
bool FichierProjet::ecrit_zeros(std::uint64_t debut, std::uint64_t fin) {
  std::vector<RubriqueProjet> zeros;
  while (debut < fin) {
    zeros.resize(static_cast<std::size_t>(std::min(kLotDeplacement, fin - debut)));
    if (!fichier_.ecrire_a(octets_du_lot(zeros), position(debut))) return false;
    debut += zeros.size();
  }
  return true;
}

// Copies the ranks `debut` to `fin` - 1 by `nombre` ranks to the back, where the copy begins at or behind
// `fin`.
bool FichierProjet::decale_fin(std::uint64_t debut, std::uint64_t fin, std::uint64_t nombre) {
  std::vector<RubriqueProjet> lot;
  while (debut < fin) {
    lot.resize(static_cast<std::size_t>(std::min(kLotDeplacement, fin - debut)));
    if (!lit_exact(debut, lot) || !fichier_.ecrire_a(octets_du_lot(lot), position(debut + nombre)))
      return false;
    debut += lot.size();
  }
  return true;
}

// The same where both overlap: the last block first. On a failure the blocks already moved go back.
bool FichierProjet::decale_milieu(std::uint64_t debut, std::uint64_t fin, std::uint64_t nombre) {
  std::vector<RubriqueProjet> lot;
  while (debut < fin) {
    lot.resize(static_cast<std::size_t>(std::min(kLotDeplacement, fin - debut)));
    const std::uint64_t source = fin - lot.size();
    if (!lit_exact(source, lot)) lot.clear();
    if (lot.empty() || !fichier_.ecrire_a(octets_du_lot(lot), position(source + nombre))) {
      const int erreur = errno;
      fichier_deplacer(fichier_, position(fin), position(fin + nombre));
      static_cast<void>(fichier_.ecrire_a(octets_du_lot(lot), position(source)));
      errno = erreur;
      return false;
    }
    fin = source;
  }
  return true;
}

bool FichierProjet::lit_exact(std::uint64_t rang, std::span<RubriqueProjet> lot) const {
  errno = 0;
  if (lit_lot(rang, lot) == lot.size()) return true;
  if (errno == 0) errno = EIO;
  return false;
}

bool FichierProjet::insere(std::uint64_t rang, std::span<const RubriqueProjet> lot) {
  const std::uint64_t total = nb_rubriques() + 1;
  if (rang == total) {
    if (fichier_.ecrire_a(octets_du_lot(lot), position(rang))) return true;
    const int erreur = errno;
    fichier_tronquer(fichier_, position(total));
    errno = erreur;
    return false;
  }
  return ouvre_trou(rang, lot.size()) && fichier_.ecrire_a(octets_du_lot(lot), position(rang));
}

bool FichierProjet::ferme_trou(std::uint64_t rang, std::uint64_t nombre) {
  const std::uint64_t total = nb_rubriques() + 1;
  if (rang == 0 || rang > total || nombre > total - rang) {
    errno = EINVAL;
    return false;
  }
  if (nombre == 0) return true;
  return fichier_deplacer(fichier_, position(rang), position(rang + nombre)) &&
         fichier_tronquer(fichier_, position(total - nombre));
}

std::optional<std::uint64_t> FichierProjet::retire_si(
    std::uint64_t rang, const std::function<bool(std::uint64_t, const RubriqueProjet &)> &test) {
  const std::uint64_t fin = nb_rubriques() + 1;
  std::uint64_t cible = std::max<std::uint64_t>(rang, 1);
  std::vector<RubriqueProjet> lot;
  for (std::uint64_t source = cible; source < fin;) {
    lot.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kLotFiltrage, fin - source)));
    if (!lit_exact(source, lot)) return std::nullopt;
    std::size_t gardees = 0;
    for (std::size_t i = 0; i < lot.size(); ++i)
      if (!test(source + i, lot[i])) lot[gardees++] = lot[i];
    const bool decale = cible != source || gardees != lot.size();
    const auto octets = octets_du_lot(std::span(lot).first(gardees));
    if (decale && !fichier_.ecrire_a(octets, position(cible))) return std::nullopt;
    source += lot.size();
    cible += gardees;
  }
  if (cible >= fin) return 0;
  if (!fichier_tronquer(fichier_, position(cible))) return std::nullopt;
  return fin - cible;
}

bool FichierProjet::ajoute_comptes(std::uint32_t numero, std::int64_t dossiers, std::int64_t fichiers) {
  const auto somme = [](std::uint32_t compte, std::int64_t ajout) {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(compte + ajout, 0, UINT32_MAX));
  };
  RubriqueProjet rubrique;
  const std::optional<std::uint64_t> rang = cherche_numero(numero, rubrique);
  if (!rang) return false;
  // In the head both counts lie at the same place as in an item.
  rubrique.lg_data = somme(rubrique.lg_data, dossiers);
  rubrique.lg_rsrc = somme(rubrique.lg_rsrc, fichiers);
  return ecrit(*rang, rubrique);
}

}  // namespace varnion
