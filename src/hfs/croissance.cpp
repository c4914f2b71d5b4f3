#include "hfs/croissance.hpp"

#include <algorithm>
#include <optional>
#include <vector>

#include "hfs/carte_volume.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kMessageCroissance = 1080;
constexpr int kEtatCroissance = 1475;
constexpr std::uint32_t kSecteursVides = 0x80000 / kTailleSecteur;  // zeroed with one request

DescripteurArbre &catalogue() {
  return volume_courant().catalogue;
}

// Bytes of a file of the HFS+ header, which cannot be longer than the volume.
std::uint64_t octets_fourche(const FourchePlus &fourche) {
  const VolumeCourant &volume = volume_courant();
  return std::uint64_t{std::min<std::uint32_t>(fourche.totalBlocks, volume.vhb->totalBlocks)} *
         volume.taille_bloc;
}

std::uint64_t octets_catalogue() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.est_hfsplus)
    return std::min<std::uint64_t>(volume.mdb->drCTFlSize,
                                   std::uint64_t{volume.mdb->drNmAlBlks} * volume.taille_bloc);
  return octets_fourche(volume.vhb->catalogFile);
}

// Blocks that a node takes whole: an extent of the catalog must not end inside a node.
std::uint32_t blocs_par_noeud() {
  return std::max(1U, catalogue().taille_noeud / std::max(1U, volume_courant().taille_bloc));
}

void efface_suite(SuiteBlocs suite) {
  const std::vector<std::uint8_t> zeros(std::size_t{kSecteursVides} * kTailleSecteur);
  std::uint64_t secteurs = secteurs_de_blocs(suite.nombre);
  std::uint64_t secteur = secteur_de_bloc(suite.debut);
  const bool jauge = secteurs > std::uint64_t{4} * kSecteursVides;
  if (jauge) operations().progression_debut(secteurs / kSecteursVides + 1);
  while (secteurs > 0 && support().echec_ecriture == 0) {
    const auto nombre = static_cast<std::uint32_t>(std::min<std::uint64_t>(secteurs, kSecteursVides));
    ecrit_volume(zeros.data(), secteur, nombre);
    secteur += nombre;
    secteurs -= nombre;
    if (jauge) operations().progression_pas(1);
  }
  if (jauge) operations().progression_fin();
}

// Records the run: in a free slot of the volume header, else in the extents tree.
bool enregistre_suite(SuiteBlocs suite) {
  VolumeCourant &volume = volume_courant();
  const auto avant = static_cast<std::uint32_t>(octets_catalogue() / volume.taille_bloc);
  if (volume.est_hfsplus) {
    for (ExtentPlus &extent : volume.vhb->catalogFile.extents) {
      if (extent.blockCount != 0) continue;
      extent = {suite.debut, suite.nombre};
      return true;
    }
    return ajoute_extents_hfsplus({suite.debut, suite.nombre}, kIdFichierCatalogue, avant, kFourcheDonnees);
  }
  const ExtentHfs nouveau{static_cast<std::uint16_t>(suite.debut), static_cast<std::uint16_t>(suite.nombre)};
  for (ExtentHfs &extent : volume.mdb->drCTExtRec) {
    if (extent.blockCount != 0) continue;
    extent = nouveau;
    return true;
  }
  return ajoute_extents_hfs(nouveau, kIdFichierCatalogue, avant, kFourcheDonnees);
}

void compte_suite(SuiteBlocs suite) {
  VolumeCourant &volume = volume_courant();
  const std::uint64_t octets = std::uint64_t{suite.nombre} * volume.taille_bloc;
  ajuste_blocs_libres(-std::int64_t{suite.nombre});
  if (volume.est_hfsplus) {
    FourchePlus &fourche = volume.vhb->catalogFile;
    fourche.totalBlocks = fourche.totalBlocks + suite.nombre;
    fourche.logicalSize = std::uint64_t{fourche.totalBlocks} * volume.taille_bloc;
  } else {
    volume.mdb->drCTFlSize = static_cast<std::uint32_t>(volume.mdb->drCTFlSize + octets);
  }
  FicheEnteteArbre &fiche = catalogue().fiche();
  const auto noeuds = static_cast<std::uint32_t>(octets / catalogue().taille_noeud);
  fiche.totalNodes = fiche.totalNodes + noeuds;
  fiche.freeNodes = fiche.freeNodes + noeuds;
}

// One run of up to `blocs`, of whole nodes.
std::optional<SuiteBlocs> suite_de_noeuds(std::uint32_t blocs) {
  auto suite = alloue_sans_message(blocs);
  if (!suite) return std::nullopt;
  const std::uint32_t reste = suite->nombre % blocs_par_noeud();
  suite->nombre -= reste;
  libere_suite({suite->debut + suite->nombre, reste});
  if (suite->nombre == 0) return std::nullopt;
  return suite;
}

// Adds up to so many blocks to the catalog file. By design the sizes double even when the allocator gives a
// shorter run; here they follow the run, for nodes without a place on the disk would lose what is put into
// them. The disk sees the blocks marked and the header with the longer file before the tree counts its new
// nodes.
bool agrandit_catalogue(std::uint32_t blocs) {
  if (blocs == 0 || blocs > blocs_libres()) return false;
  const auto suite = suite_de_noeuds(blocs);
  if (!suite) return false;
  operations().afficher_etat_seul(charger_chaine(kEtatCroissance));
  efface_suite(*suite);
  operations().afficher_etat({}, {});
  if (!enregistre_suite(*suite)) {
    libere_suite(*suite);
    return false;
  }
  compte_suite(*suite);
  ecrit_marques();
  ecriture_entete_arbre();
  return ajoute_noeuds_carte();
}

// Takes the nodes out of a header's counts that its file does not hold: the extra ones would be given out and
// lose what is written to them.
bool accorde_compte(const DescripteurArbre &arbre, std::uint64_t octets) {
  FicheEnteteArbre &fiche = arbre.fiche();
  const std::uint64_t tient = octets / arbre.taille_noeud;
  if (tient == 0 || fiche.totalNodes <= tient) return false;
  const std::uint32_t trop = fiche.totalNodes - static_cast<std::uint32_t>(tient);
  fiche.totalNodes = static_cast<std::uint32_t>(tient);
  fiche.freeNodes = fiche.freeNodes - std::min<std::uint32_t>(fiche.freeNodes, trop);
  operations().journal(
      GenreJournal::information,
      formate("B-tree %d: %u nodes counted that the file does not hold", {arbre.genre, trop}));
  return true;
}

}  // namespace

// By design the end of the catalog's room ends the process with 1080. Here the message is shown and the
// operation is refused before it has changed anything, so that the volume is whole and can be brought to the
// disk.
bool assure_noeuds(std::uint32_t nombre, SiImpossible sinon) {
  if (noeuds_disponibles(nombre)) return true;
  if (!carte_allocation().chargee || catalogue().taille_noeud == 0) return false;
  for (int tour = 0; tour < 32; ++tour) {
    // The catalog doubles.
    if (!agrandit_catalogue(static_cast<std::uint32_t>(octets_catalogue() / volume_courant().taille_bloc)))
      break;
    if (noeuds_disponibles(nombre)) return true;
  }
  // What must not fail, on a volume too full for that, does with less.
  if (sinon == SiImpossible::silence)
    return agrandit_catalogue(nombre * blocs_par_noeud()) && noeuds_disponibles(nombre);
  operations().afficher_erreur(charger_chaine(kMessageCroissance));
  return false;
}

void accorde_catalogue() {
  if (catalogue().taille_noeud == 0) return;
  (void)accorde_compte(catalogue(), octets_catalogue());
  VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus && volume.extents.taille_noeud != 0 &&
      accorde_compte(volume.extents, octets_fourche(volume.vhb->extentsFile)))
    (void)ecriture_noeud_extents(0, volume.extents.octets_entete());
  if (!ajoute_noeuds_carte())
    operations().journal(GenreJournal::erreur, "catalog: the node map is too short and cannot be enlarged");
}

}  // namespace varnion
