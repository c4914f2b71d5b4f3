#include "hfs/garde.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <span>
#include <vector>

#include "hfs/carte_volume.hpp"
#include "hfs/examen.hpp"
#include "hfs/extents.hpp"
#include "hfs/journal.hpp"
#include "hfs/lecture.hpp"
#include "hfs/ordre_catalogue.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "hfs/zones_iso.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kLectureSeule = 7860;  // image, reason
constexpr int kForce = 7872;         // image, reason
constexpr std::size_t kCheminMessage = 200;
constexpr std::uint32_t kBlocMax = 1U << 26;  // bytes; larger blocks come from a damaged header

struct Garde {
  bool entete = false, structure = false;  // judged
  bool force = false;
  Interdit abime = Interdit::aucun;  // what is damaged, forced or not
  std::uint32_t noeud = 0;
  std::uint32_t id_max = 0;
};
Garde &garde() {
  return etat<Garde>();
}

int texte_de(Interdit raison) {
  switch (raison) {
    case Interdit::aucun:
      return 0;
    case Interdit::lecture:
      return 7861;
    case Interdit::image:
      return 6855;
    case Interdit::copie:
      return 6858;
    case Interdit::sans_carte:
      return 6856;
    case Interdit::hors_carte:
      return 6873;
    case Interdit::sans_catalogue:
      return 6857;
    case Interdit::tailles:
      return 7864;
    case Interdit::partition:
      return 7862;
    case Interdit::image_courte:
      return 7863;
    case Interdit::partage_iso:
      return 7869;
    case Interdit::journal_plein:
      return 7865;
    case Interdit::journal_illisible:
      return 7866;
    case Interdit::ordre_classique:
      return 7950;
    case Interdit::comptes_abimes:
      return 7874;
    case Interdit::desordre:
      return 7951;
    case Interdit::catalogue_abime:
      return 7867;
    case Interdit::extents_abimes:
      return 7868;
  }
  return 0;
}

std::string texte_raison(Interdit raison) {
  const int id = texte_de(raison);
  if (id == 0) return {};
  const bool noeud = raison == Interdit::catalogue_abime || raison == Interdit::extents_abimes;
  return noeud ? message(id, {garde().noeud}) : charger_chaine(id);
}

void interdit(Interdit raison) {
  support().lecture_seule.ajoute(raison);
}

// Damage, which the user may choose to pass over.
void interdit_abime(Interdit raison, std::uint32_t noeud) {
  Garde &g = garde();
  if (g.abime != Interdit::aucun) return;
  g.abime = raison;
  g.noeud = noeud;
  operations().journal(GenreJournal::erreur, "volume: " + texte_raison(raison));
  if (!g.force) interdit(raison);
}

// --- the header

// Bytes of the image; for a driver that does not tell, as many as there can be.
std::uint64_t octets_image() {
  if (!support().image.ouvert()) return ~std::uint64_t{0};
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(support().image), 0));
}

std::uint64_t nombre_de_blocs() {
  const VolumeCourant &volume = volume_courant();
  return volume.est_hfsplus ? std::uint64_t{volume.vhb->totalBlocks} : std::uint64_t{volume.mdb->drNmAlBlks};
}

// Reads the bitmap as it lies in the image: bytes read.
std::size_t lit_bits(std::span<std::uint8_t> octets, std::uint64_t position) {
  const VolumeCourant &volume = volume_courant();
  if (volume.est_hfsplus) {
    const FourchePlus &fichier = volume.vhb->allocationFile;
    FourcheMac fourche{std::uint64_t{fichier.totalBlocks} * volume.taille_bloc, 0, {}};
    for (std::size_t i = 0; i < fichier.extents.size(); ++i)
      fourche.extents[i] = {fichier.extents[i].startBlock, fichier.extents[i].blockCount};
    return LecteurFourche(true, kIdFichierCarte, kFourcheDonnees, fourche).lire(octets, position);
  }
  const std::uint64_t debut = (volume.debut_volume + volume.mdb->drVBMSt) * kTailleSecteur + position;
  if (debut + octets.size() > octets_image()) return 0;
  std::fill(octets.begin(), octets.end(), std::uint8_t{0});
  lit_secteurs(octets.data(), debut / kTailleSecteur,
               static_cast<std::uint32_t>(octets.size() / kTailleSecteur));
  return octets.size();
}

// Number of blocks up to the last one in use; those that hold nothing but the alternate header of HFS+ do not
// count. All of them where the bitmap cannot be read.
std::uint64_t blocs_jusqu_au_dernier() {
  const VolumeCourant &volume = volume_courant();
  std::uint64_t fin = nombre_de_blocs();
  if (volume.est_hfsplus)
    fin -= std::min<std::uint64_t>(fin, quotient_haut<std::uint32_t>(1024, volume.taille_bloc));
  std::vector<std::uint8_t> bits(std::size_t{1} << 16);
  const std::uint64_t par_lecture = bits.size() * 8;
  while (fin > 0) {
    const std::uint64_t debut = (fin - 1) / par_lecture * par_lecture;
    const auto octets = static_cast<std::size_t>(
        arrondi<std::uint64_t>(quotient_haut<std::uint64_t>(fin - debut, 8), kTailleSecteur));
    const std::span lus = std::span(bits).first(octets);
    if (lit_bits(lus, debut / 8) != lus.size()) return nombre_de_blocs();
    for (; fin > debut; --fin) {
      const std::uint64_t rang = fin - 1 - debut;
      if ((lus[static_cast<std::size_t>(rang / 8)] & (0x80 >> (rang % 8))) != 0) return fin;
    }
  }
  return 0;
}

bool tailles_de_bloc_admises() {
  const std::uint32_t taille = volume_courant().taille_bloc;
  return taille != 0 && taille % kTailleSecteur == 0 && taille <= kBlocMax;
}

// Blocks in use lie inside the partition and inside the image; and a change never writes gigabytes behind the
// end of an image whose header is damaged. One cut short where nothing is in use passes, by a little.
void juge_etendue() {
  constexpr std::uint64_t kDepassement = std::uint64_t{1} << 20;  // bytes
  const VolumeCourant &volume = volume_courant();
  if (!tailles_de_bloc_admises()) return interdit(Interdit::tailles);
  const std::uint64_t image = octets_image();
  const std::uint64_t blocs = nombre_de_blocs();
  const auto fin_de = [&](std::uint64_t nombre) {
    return volume.debut_allocation + nombre * volume.secteurs_par_bloc;
  };
  const bool hors_partition = volume.fin_partition != 0 && fin_de(blocs) > volume.fin_partition;
  const bool hors_image = fin_de(blocs) > image / kTailleSecteur;
  if (!hors_partition && !hors_image) return;
  const std::uint64_t dernier = fin_de(blocs_jusqu_au_dernier());
  if (volume.fin_partition != 0 && dernier > volume.fin_partition) interdit(Interdit::partition);
  if (dernier > quotient_haut<std::uint64_t>(image, kTailleSecteur)) interdit(Interdit::image_courte);
  if (image <= ~std::uint64_t{0} - kDepassement && fin_de(blocs) > (image + kDepassement) / kTailleSecteur)
    interdit(Interdit::tailles);
}

void juge_comptes() {
  const VolumeCourant &volume = volume_courant();
  bool admis = blocs_libres() <= nombre_de_blocs();
  for (const DescripteurArbre *arbre : {&volume.catalogue, &volume.extents}) {
    const FicheEnteteArbre &fiche = arbre->fiche();
    admis = admis && (arbre->taille_noeud == 0 || fiche.freeNodes <= fiche.totalNodes);
  }
  if (!admis) interdit_abime(Interdit::comptes_abimes, 0);
}

// Names go in where the others stand. The look at the tree, behind this, goes by the order that was found.
void juge_ordre() {
  const RefusOrdre refus = refus_ordre();
  if (refus == RefusOrdre::classique) interdit(Interdit::ordre_classique);
  if (refus == RefusOrdre::desordre) interdit_abime(Interdit::desordre, 0);
}

// --- what the ISO side has of the volume's own tables

void juge_partage() {
  const VolumeCourant &volume = volume_courant();
  if (zones_iso().empty()) return;
  bool partage = false;
  // What lies in the system area was put there by a mastering that knew both sides.
  const auto voit = [&](std::uint64_t debut, std::uint64_t fin) {
    debut = std::max(debut, kSecteursSystemeIso);
    partage = partage || (debut < fin && touche_iso(debut, fin));
  };
  const std::uint64_t debut = volume.est_hfsplus ? volume.debut_allocation : volume.debut_volume;
  voit(debut + 2, debut + 3);
  if (!volume.est_hfsplus)
    voit(debut + volume.mdb->drVBMSt, debut + volume.mdb->drVBMSt + secteurs_bits_hfs());
  for (const SuiteBlocs suite : suites_du_systeme())
    voit(secteur_de_bloc(suite.debut), secteur_de_bloc(std::uint64_t{suite.debut} + suite.nombre));
  if (partage) interdit(Interdit::partage_iso);
}

}  // namespace

Interdit interdit_volume() {
  return partition_courante().image_temporaire ? Interdit::copie : support().lecture_seule.raison();
}

std::string texte_interdit() {
  return texte_raison(interdit_volume());
}

void juge_entete() {
  Garde &g = garde();
  if (g.entete || !volume_courant().a_entete()) return;
  g.entete = true;
  // What is read only as it is needs no further reason.
  if (support().lecture_seule) return;
  juge_etendue();
  const EtatJournal journal = lit_journal().etat;
  if (journal == EtatJournal::plein) interdit(Interdit::journal_plein);
  if (journal == EtatJournal::illisible) interdit(Interdit::journal_illisible);
}

void juge_structure() {
  Garde &g = garde();
  if (g.structure || !volume_courant().a_entete() || support().lecture_seule) return;
  g.structure = true;
  juge_comptes();
  juge_ordre();
  const ExamenArbre catalogue = examine_catalogue();
  const ExamenArbre extents = examine_extents();
  if (!catalogue.sain) interdit_abime(Interdit::catalogue_abime, catalogue.noeud);
  if (!extents.sain) interdit_abime(Interdit::extents_abimes, extents.noeud);
  g.id_max = std::max(catalogue.id_max, extents.id_max);
  juge_partage();
}

bool admet_changements() {
  if (support().lecture_seule) return false;
  const bool neuf = !garde().structure;
  juge_entete();
  juge_structure();
  const std::string image = tronque_chemin(partition_courante().chemin, kCheminMessage);
  if (support().lecture_seule) {
    operations().afficher_erreur(message(kLectureSeule, {image, texte_interdit()}));
    return false;
  }
  if (neuf && garde().abime != Interdit::aucun)
    operations().afficher_avis(message(kForce, {image, texte_raison(garde().abime)}));
  return true;
}

void force_abimes() {
  garde().force = true;
}

void note_catalogue_abime(std::uint32_t noeud) {
  interdit_abime(Interdit::catalogue_abime, noeud);
}

std::uint32_t dernier_id_pris() {
  return garde().id_max;
}

void oublie_garde() {
  garde() = {};
  oublie_zones_iso();
}

}  // namespace varnion
