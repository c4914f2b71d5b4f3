#include "inspect/preparation.hpp"

#include <vector>

#include "IO/lignes_carte.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kAvantEntete = 1024;  ///< bytes from the start of a volume to its header
constexpr std::size_t kEmballagesMax = 2;

/// Where the extents of the trees stand in a volume header.
struct Arbre {
  std::size_t extents, nombre, largeur;
};
constexpr Arbre kArbresHfs[] = {{0x96, 3, 2}, {0x86, 3, 2}};
constexpr Arbre kArbresPlus[] = {{0x110 + 16, 8, 4}, {0xC0 + 16, 8, 4}, {0x160 + 16, 8, 4}};

struct EntetePlace {
  std::int64_t secteur = -1;
  int code = kCodeInconnu;
  std::vector<std::uint8_t> octets;
};

EntetePlace entete_a(const SourceSecteurs &source, std::uint64_t octet) {
  EntetePlace entete;
  entete.secteur = static_cast<std::int64_t>((octet + kAvantEntete) / source.taille_secteur());
  entete.octets = source.secteur(entete.secteur);
  const int code = code_secteur(entete.octets, static_cast<std::uint64_t>(entete.secteur));
  if (code == kCodeMdb || code == kCodeHfsPlus) entete.code = code;
  return entete;
}

// True when one of the extents of the tree holds the sector.
bool contient(const Arbre &arbre, const EntetePlace &entete, const EtatAnalyse &etat, std::int64_t numero) {
  for (std::size_t i = 0; i < arbre.nombre; ++i) {
    const std::size_t place = arbre.extents + i * 2 * arbre.largeur;
    const std::uint64_t debut = nombre_gros(entete.octets, place, arbre.largeur);
    const std::uint64_t nombre = nombre_gros(entete.octets, place + arbre.largeur, arbre.largeur);
    if (nombre == 0) break;
    if (numero >= cible_bloc(etat, debut).secteur && numero < cible_bloc(etat, debut + nombre).secteur)
      return true;
  }
  return false;
}

// The tree that holds the sector, else the catalog, which stands first.
void pose_arbre(const SourceSecteurs &source, const EntetePlace &entete, std::int64_t numero,
                EtatAnalyse &etat) {
  const std::span<const Arbre> arbres =
      entete.code == kCodeMdb ? std::span<const Arbre>(kArbresHfs) : std::span<const Arbre>(kArbresPlus);
  const Arbre *choisi = &arbres.front();
  for (const Arbre &arbre : arbres)
    if (contient(arbre, entete, etat, numero)) choisi = &arbre;
  const std::int64_t tete =
      cible_bloc(etat, nombre_gros(entete.octets, choisi->extents, choisi->largeur)).secteur;
  if (tete < 0 || code_secteur(source.secteur(tete), static_cast<std::uint64_t>(tete)) != kCodeEnteteArbre)
    return;
  static_cast<void>(analyse_secteur_comme(FormeSecteur::entete_arbre, source, tete, etat));
}

// The header of the volume at that byte, or, in a wrapper that holds the sector, of the volume in it.
bool pose_volume(const SourceSecteurs &source, std::uint64_t octet, std::int64_t numero, EtatAnalyse &etat) {
  EntetePlace entete = entete_a(source, octet);
  if (entete.code == kCodeInconnu) return false;
  for (std::size_t i = 0; i < kEmballagesMax; ++i) {
    etat = analyse_secteur_comme(forme_de_code(entete.code, 3), source, entete.secteur, etat).etat;
    if (entete.code != kCodeMdb || nombre_gros(entete.octets, 0x7C, 2) == 0) break;
    const std::int64_t inclus = cible_bloc(etat, nombre_gros(entete.octets, 0x7E, 2)).secteur;
    if (inclus < 0 || numero < inclus) break;
    EntetePlace dedans = entete_a(source, static_cast<std::uint64_t>(inclus) * source.taille_secteur());
    if (dedans.code != kCodeHfsPlus) break;
    entete = std::move(dedans);
  }
  pose_arbre(source, entete, numero, etat);
  return true;
}

}  // namespace

EtatAnalyse etat_pour_secteur(const SourceSecteurs &source, const Fichier &fichier, std::int64_t numero) {
  EtatAnalyse etat;
  const std::uint64_t octet = numero < 0 ? 0 : static_cast<std::uint64_t>(numero) * source.taille_secteur();
  bool trouve = false;
  for (const LigneCarte &ligne : lit_carte(fichier).lignes) {
    const bool ici = octet >= ligne.debut && octet - ligne.debut < ligne.taille;
    EtatAnalyse lu;
    if ((trouve && !ici) || !pose_volume(source, ligne.debut, numero, lu)) continue;
    etat = lu;
    trouve = true;
    if (ici) return etat;
  }
  if (!trouve) static_cast<void>(pose_volume(source, 0, numero, etat));
  return etat;
}

}  // namespace varnion
