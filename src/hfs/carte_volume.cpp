#include "hfs/carte_volume.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <vector>

#include "hfs/bits.hpp"
#include "hfs/croissance.hpp"
#include "hfs/ecriture.hpp"
#include "hfs/extents.hpp"
#include "hfs/garde.hpp"
#include "hfs/volume.hpp"
#include "hfs/zones_iso.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kMessageMorcelee = 1041;
constexpr int kMessagePlein = 1073;
constexpr int kMessageMemoire = 1082;
constexpr int kMessagePartage = 7871;
constexpr int kMessageCarteAbimee = 6020;
constexpr std::uint32_t kFenetreMax = 0x100000;  // bytes
constexpr std::size_t kOctetsSecteur = kTailleSecteur;

CarteAllocation &carte() {
  return carte_allocation();
}

bool refuse(int message) {
  liberation_carte();
  operations().afficher_erreur(charger_chaine(message));
  return false;
}

void lit_secteurs_carte(void *tampon, std::uint64_t position, std::uint32_t nombre) {
  RequeteIO requete;
  requete.operation = kOperationLire;
  requete.nb_secteurs = nombre;
  requete.position = position;
  requete.tampon = tampon;
  support().entree_driver_carte(requete);
}

// Blocks up to the end of the partition, or up to the alternate MDB where that lies among them.
std::uint64_t blocs_admis() {
  const VolumeCourant &volume = volume_courant();
  std::uint64_t fin = volume.fin_partition;
  const std::uint64_t copie = place_copie_entete();
  if (!volume.est_hfsplus && copie != 0) fin = fin == 0 ? copie : std::min(fin, copie);
  if (fin == 0) return carte().nb_blocs;
  const std::uint64_t secteurs = fin - std::min(fin, volume.debut_allocation);
  return std::min(carte().nb_blocs, secteurs / std::max(1U, volume.secteurs_par_bloc));
}

// The block itself, or the first one behind it that the ISO side leaves alone.
std::uint64_t hors_iso(std::uint64_t bloc) {
  const VolumeCourant &volume = volume_courant();
  const std::uint64_t secteur = secteur_de_bloc(bloc);
  const ZoneIso zone = zone_iso_apres(secteur);
  if (zone.debut >= secteur + volume.secteurs_par_bloc) return bloc;
  return bloc + quotient_haut<std::uint64_t>(zone.fin - secteur, volume.secteurs_par_bloc);
}

// The first block behind `bloc`, which is not one, that the ISO side has a part of.
std::uint64_t prochain_iso(std::uint64_t bloc) {
  const VolumeCourant &volume = volume_courant();
  const std::uint64_t debut = zone_iso_apres(secteur_de_bloc(bloc)).debut;
  return debut > ~std::uint64_t{0} / 2 ? debut : (debut - volume.debut_allocation) / volume.secteurs_par_bloc;
}

// --- HFS: the bitmap in memory

std::span<std::uint8_t> bits_hfs() {
  const std::size_t debut = volume_courant().mdb->drVBMSt * kOctetsSecteur;
  return {carte().tampon.get() + debut, carte().taille};
}

bool charge_hfs() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  if (c.chargee) return true;  // a second load would lose marks that are not on the disk yet
  const std::uint32_t debut = volume.mdb->drVBMSt;
  if (debut < 3 || volume.mdb->drAlBlSt <= debut) return refuse(kMessageCarteAbimee);
  c.secteurs = std::uint32_t{volume.mdb->drAlBlSt} - debut;
  c.taille = c.secteurs * kTailleSecteur;
  const std::uint32_t secteurs = debut + c.secteurs;
  c.tampon.reset(new (std::nothrow) std::uint8_t[secteurs * kOctetsSecteur]());
  if (c.tampon == nullptr) return refuse(kMessageMemoire);
  lit_secteurs_carte(c.tampon.get(), volume.debut_volume, secteurs);
  // All bits of the bitmap's sectors count as blocks by design; those behind drNmAlBlks lie outside the
  // volume, on the alternate header and what follows, and are never handed out here.
  c.nb_blocs = std::min<std::uint64_t>(std::uint64_t{c.taille} * 8, volume.mdb->drNmAlBlks);
  c.limite = blocs_admis();
  c.chargee = true;
  return true;
}

// A run is taken from this length on when the wanted one is not found.
constexpr std::uint64_t kSuiteMinimale = 10;

// Next fit from drAllocPtr to the end; there is no second pass from the start.
std::optional<SuiteBlocs> cherche_hfs(std::uint32_t voulus) {
  Mdb &mdb = *volume_courant().mdb;
  const auto bits = bits_hfs();
  const std::uint64_t fin = carte().limite;
  std::uint64_t place = mdb.drAllocPtr;
  for (;;) {
    const std::uint64_t debut = premier_libre(bits, place, fin);
    if (debut >= fin || debut + voulus > fin) return std::nullopt;
    place = hors_iso(debut);
    if (place != debut) continue;
    const std::uint64_t bout = premier_pris(bits, debut, std::min(debut + voulus, prochain_iso(debut)));
    if (bout - debut < voulus && bout - debut < kSuiteMinimale) {
      place = bout;
      continue;
    }
    fixe_bits(bits, debut, bout, true);
    mdb.drAllocPtr = static_cast<std::uint16_t>(std::min<std::uint64_t>(bout, 0xFFFF));
    return SuiteBlocs{static_cast<std::uint32_t>(debut), static_cast<std::uint32_t>(bout - debut)};
  }
}

// --- HFS+: the window on the work file

bool charge_fenetre(std::uint32_t base) {
  CarteAllocation &c = carte();
  c.base = base;
  c.longueur = std::min(c.capacite, c.taille - base);
  return c.fichier.lire_a({c.tampon.get(), c.longueur}, base) == c.longueur;
}

// The window that holds a byte of the bitmap; windows begin at multiples of their size.
bool fenetre_de(std::uint64_t octet) {
  CarteAllocation &c = carte();
  const auto base = static_cast<std::uint32_t>(octet / c.capacite * c.capacite);
  return (c.longueur != 0 && c.base == base) || charge_fenetre(base);
}

bool pose_fenetre(std::uint64_t debut, std::uint64_t fin) {
  CarteAllocation &c = carte();
  const auto premier = static_cast<std::size_t>(debut);
  if (c.fichier.ecrire_a({c.tampon.get() + premier, static_cast<std::size_t>(fin - debut)},
                         std::uint64_t{c.base} + debut))
    return true;
  if (support().echec_ecriture == 0) support().echec_ecriture = errno != 0 ? errno : EIO;
  return false;
}

// Sets or clears a run of bits window by window.
void fixe_bits_hfsplus(std::uint64_t debut, std::uint64_t fin, bool pris) {
  CarteAllocation &c = carte();
  fin = std::min(fin, c.nb_blocs);
  while (debut < fin) {
    if (!fenetre_de(debut / 8)) return;
    const std::uint64_t zero = std::uint64_t{c.base} * 8;
    const std::uint64_t bout = std::min(fin, zero + std::uint64_t{c.longueur} * 8);
    fixe_bits({c.tampon.get(), c.longueur}, debut - zero, bout - zero, pris);
    if (!pose_fenetre((debut - zero) / 8, (bout - zero + 7) / 8)) return;
    debut = bout;
  }
}

// Copies the allocation file to the work file; false when its eight extents do not reach far enough.
bool copie_carte_plus() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  const std::uint32_t par_fois = c.capacite / kTailleSecteur;
  std::uint64_t fait = 0;
  for (const ExtentPlus &extent : volume.vhb->allocationFile.extents) {
    std::uint64_t secteur = secteur_de_bloc(extent.startBlock);
    std::uint64_t reste =
        std::min<std::uint64_t>(secteurs_de_blocs(extent.blockCount), (c.taille - fait) / kTailleSecteur);
    while (reste > 0) {
      const auto nombre = static_cast<std::uint32_t>(std::min<std::uint64_t>(reste, par_fois));
      std::fill_n(c.tampon.get(), nombre * kOctetsSecteur, std::uint8_t{0});
      lit_secteurs_carte(c.tampon.get(), secteur, nombre);
      if (!c.fichier.ecrire_a({c.tampon.get(), nombre * kOctetsSecteur}, fait)) return false;
      fait += nombre * kOctetsSecteur;
      secteur += nombre;
      reste -= nombre;
    }
  }
  return fait == c.taille;
}

bool charge_hfsplus() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  if (c.chargee) return charge_fenetre(0);
  const std::uint64_t utile = quotient_haut<std::uint64_t>(volume.vhb->totalBlocks, std::uint64_t{8} * 512);
  c.secteurs = static_cast<std::uint32_t>(std::min<std::uint64_t>(volume.secteurs_carte, utile));
  c.taille = c.secteurs * kTailleSecteur;
  if (c.taille == 0) return refuse(kMessageCarteAbimee);
  c.taille_recopie = volume.catalogue.taille_noeud;
  c.capacite = std::min(c.taille, kFenetreMax);
  c.tampon.reset(new (std::nothrow) std::uint8_t[c.capacite + 4]());
  if (c.tampon == nullptr) return refuse(kMessageMemoire);
  c.fichier = plateforme::fichier_temporaire("FAT", c.chemin);
  if (!c.fichier) return refuse(kMessageMemoire);
  if (!copie_carte_plus()) return refuse(kMessageMorcelee);
  c.nb_blocs = std::min<std::uint64_t>(std::uint64_t{c.taille} * 8, volume.vhb->totalBlocks);
  c.limite = blocs_admis();
  c.chargee = true;
  return charge_fenetre(0);
}

// The first free block from `place` on, with its window loaded; nullopt when there is none.
std::optional<std::uint64_t> premier_libre_plus(std::uint64_t place) {
  CarteAllocation &c = carte();
  while (place < c.limite) {
    if (!fenetre_de(place / 8)) return std::nullopt;
    const std::uint64_t zero = std::uint64_t{c.base} * 8;
    const std::uint64_t fin = std::min(c.limite, zero + std::uint64_t{c.longueur} * 8);
    const std::uint64_t debut = zero + premier_libre({c.tampon.get(), c.longueur}, place - zero, fin - zero);
    place = debut < fin ? hors_iso(debut) : fin;
    if (debut < fin && place == debut) return debut;
  }
  return std::nullopt;
}

// First fit from the hint; a run counts as useful from one eighth of what is wanted. Runs end at the border
// of a window, and after one that is too short the eight blocks behind it are passed over too.
std::optional<SuiteBlocs> cherche_hfsplus(std::uint32_t voulus) {
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  CarteAllocation &c = carte();
  std::uint64_t place = vhb.nextAllocation & ~7U;  // the search begins at a whole byte
  for (bool premiere = true;; premiere = false) {
    const auto debut = premier_libre_plus(place);
    if (!debut) return std::nullopt;
    const std::uint64_t zero = std::uint64_t{c.base} * 8;
    const std::uint64_t limite =
        std::min({c.limite, zero + std::uint64_t{c.longueur} * 8, *debut + voulus, prochain_iso(*debut)});
    const std::uint64_t bout =
        zero + premier_pris({c.tampon.get(), c.longueur}, *debut - zero, limite - zero);
    if (bout - *debut == voulus || bout - *debut > voulus / 8) {
      fixe_bits_hfsplus(*debut, bout, true);
      if (premiere) vhb.nextAllocation = static_cast<std::uint32_t>(bout);
      return SuiteBlocs{static_cast<std::uint32_t>(*debut), static_cast<std::uint32_t>(bout - *debut)};
    }
    place = bout - *debut < 8 ? bout + 8 : bout;
  }
}

// --- both

void note_marques(SuiteBlocs suite) {
  CarteAllocation &c = carte();
  c.bas = std::min<std::uint64_t>(c.bas, suite.debut / 8);
  c.haut = std::max<std::uint64_t>(c.haut, (std::uint64_t{suite.debut} + suite.nombre + 7) / 8);
}

void fixe_suite(SuiteBlocs suite, bool pris) {
  const std::uint64_t fin =
      std::min<std::uint64_t>(std::uint64_t{suite.debut} + suite.nombre, carte().nb_blocs);
  if (suite.debut >= fin) return;
  if (volume_courant().est_hfsplus) {
    fixe_bits_hfsplus(suite.debut, fin, pris);
  } else {
    fixe_bits(bits_hfs(), suite.debut, fin, pris);
  }
}

template <typename Extents>
void ajoute_suites(std::vector<SuiteBlocs> &suites, const Extents &extents) {
  for (const auto &extent : extents)
    if (extent.blockCount != 0) suites.push_back({extent.startBlock, extent.blockCount});
}

bool suite_entiere(SuiteBlocs suite) {
  if (volume_courant().est_hfsplus) {
    for (std::uint64_t place = suite.debut, fin = std::uint64_t{suite.debut} + suite.nombre; place < fin;) {
      if (!fenetre_de(place / 8)) return false;
      const std::uint64_t zero = std::uint64_t{carte().base} * 8;
      const std::uint64_t bout = std::min(fin, zero + std::uint64_t{carte().longueur} * 8);
      if (premier_libre({carte().tampon.get(), carte().longueur}, place - zero, bout - zero) != bout - zero)
        return false;
      place = bout;
    }
    return true;
  }
  const std::uint64_t fin = std::uint64_t{suite.debut} + suite.nombre;
  return premier_libre(bits_hfs(), suite.debut, fin) == fin;
}

// A volume without an alternate header gets one where the format wants it and nobody has the blocks.
void adopte_copie() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.est_hfsplus || place_copie_entete() != 0) return;
  const std::uint64_t fin = secteur_de_bloc(carte().nb_blocs);
  const std::uint32_t queue = quotient_haut<std::uint32_t>(1024, volume.taille_bloc);
  if (carte().nb_blocs != volume.vhb->totalBlocks || carte().limite != carte().nb_blocs ||
      queue >= carte().nb_blocs)
    return;
  const auto premier = carte().nb_blocs - queue;
  for (std::uint64_t bloc = premier; bloc < carte().nb_blocs; ++bloc)
    if (premier_libre_plus(bloc) != bloc) return;
  adopte_copie_entete(fin - 2);
}

// A new HFS+ volume has only its first 64 blocks marked; the rest of its B-tree files is kept free of files
// by nextAllocation alone, which others, or a change of the hint, would run over. The marks are made good
// before anything is allocated.
void marque_systeme() {
  bool change = false;
  for (const SuiteBlocs suite : suites_du_systeme()) {
    if (std::uint64_t{suite.debut} + suite.nombre > carte().nb_blocs || suite_entiere(suite)) continue;
    fixe_suite(suite, true);
    note_marques(suite);
    change = true;
  }
  if (change)
    operations().journal(GenreJournal::information, "bitmap: blocks of the volume's own files marked");
}

bool suite_liberable(SuiteBlocs suite) {
  const std::uint64_t fin = std::uint64_t{suite.debut} + suite.nombre;
  if (!carte().chargee || fin > carte().nb_blocs) return false;
  const auto systeme = suites_du_systeme();
  return std::none_of(systeme.begin(), systeme.end(), [&](SuiteBlocs s) {
    return s.debut < fin && suite.debut < std::uint64_t{s.debut} + s.nombre;
  });
}

// By design the hint should become the lowest block given back; its start value of 0 makes it 0 each time, so
// that the next allocation on HFS scans from the start of the map and fills freed space first.
void recule_indice_hfs() {
  volume_courant().mdb->drAllocPtr = std::uint16_t{0};
}

std::optional<SuiteBlocs> alloue_ou_message(std::uint32_t voulus) {
  auto suite = alloue_sans_message(voulus);
  if (!suite)
    operations().afficher_erreur(charger_chaine(zones_iso().empty() ? kMessagePlein : kMessagePartage));
  return suite;
}

void ecrit_marques_plus() {
  CarteAllocation &c = carte();
  std::array<std::uint8_t, kTailleSecteur> octets{};
  const auto &fourche = volume_courant().vhb->allocationFile;
  for (std::uint64_t s = c.bas / kTailleSecteur; s * kTailleSecteur < c.haut; ++s) {
    const std::uint64_t secteur = position_fourche_hfsplus(s, fourche, kIdFichierCarte);
    if (secteur == 0 || c.fichier.lire_a(octets, s * kTailleSecteur) != kTailleSecteur) return;
    ecrit_volume(octets.data(), secteur, 1);
  }
}

}  // namespace

CarteAllocation &carte_allocation() {
  return etat<CarteAllocation>();
}

std::vector<SuiteBlocs> suites_du_systeme() {
  const VolumeCourant &volume = volume_courant();
  std::vector<SuiteBlocs> suites;
  if (!volume.est_hfsplus) {
    ajoute_suites(suites, volume.mdb->drXTExtRec);
    ajoute_suites(suites, volume.mdb->drCTExtRec);
    return suites;
  }
  const EnteteVolumePlus &vhb = *volume.vhb;
  for (const FourchePlus *fourche :
       {&vhb.allocationFile, &vhb.extentsFile, &vhb.catalogFile, &vhb.attributesFile, &vhb.startupFile})
    ajoute_suites(suites, fourche->extents);
  // TN1150: the first 1,536 bytes are marked, and the last 1,024 where they lie in blocks.
  const std::uint32_t tete = quotient_haut<std::uint32_t>(1536, volume.taille_bloc);
  if (vhb.totalBlocks < tete) return suites;
  suites.push_back({0, tete});
  const std::uint64_t copie = place_copie_entete();
  if (copie == 0 || copie >= secteur_de_bloc(vhb.totalBlocks)) return suites;
  const auto bloc = static_cast<std::uint32_t>((copie - volume.debut_allocation) / volume.secteurs_par_bloc);
  const std::uint32_t queue = quotient_haut<std::uint32_t>(1024, volume.taille_bloc);
  suites.push_back({bloc, std::min(queue, vhb.totalBlocks - bloc)});
  return suites;
}

std::uint32_t secteurs_bits_hfs() {
  const Mdb &mdb = *volume_courant().mdb;
  const std::uint32_t place = mdb.drAlBlSt > mdb.drVBMSt ? std::uint32_t{mdb.drAlBlSt} - mdb.drVBMSt : 0;
  return std::min(place, quotient_haut<std::uint32_t>(mdb.drNmAlBlks, kTailleSecteur * 8));
}

bool chargement_carte() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return false;
  if (!support().lecture_seule && !admet_changements()) {
    liberation_carte();
    return false;
  }
  bool chargee = false;
  if (!support().lecture_seule) {
    chargee = volume.est_hfsplus ? charge_hfsplus() : charge_hfs();
    if (!chargee) return false;
    adopte_copie();
    marque_systeme();
  }
  if (!carte_noeuds().chargee) charge_carte_noeuds();
  if (chargee) accorde_catalogue();
  return chargee;
}

void liberation_carte() {
  libere_carte_noeuds();
  const std::string chemin = std::move(carte().chemin);
  carte() = {};
  if (!chemin.empty()) (void)plateforme::supprime(chemin);
}

std::optional<SuiteBlocs> alloue_sans_message(std::uint32_t voulus) {
  if (!carte().chargee || voulus == 0) return std::nullopt;
  const auto suite = volume_courant().est_hfsplus ? cherche_hfsplus(voulus) : cherche_hfs(voulus);
  if (suite) note_marques(*suite);
  return suite;
}

std::optional<SuiteBlocs> alloue_hfs(std::uint32_t voulus) {
  return alloue_ou_message(voulus);
}
std::optional<SuiteBlocs> alloue_hfsplus(std::uint32_t voulus) {
  return alloue_ou_message(voulus);
}

std::uint32_t libere_suite(SuiteBlocs suite) {
  if (suite.nombre == 0) return 0;
  if (!suite_liberable(suite)) {
    operations().journal(GenreJournal::erreur,
                         formate("bitmap: blocks %u (%u) not freed", {suite.debut, suite.nombre}));
    return 0;
  }
  fixe_suite(suite, false);
  return suite.nombre;
}

std::uint32_t libere_extents_hfs(const ExtentsHfs &extents) {
  std::uint32_t liberes = 0;
  for (const ExtentHfs &extent : extents) {
    if (extent.blockCount == 0) break;
    liberes += libere_suite({extent.startBlock, extent.blockCount});
  }
  recule_indice_hfs();
  return liberes;
}

std::uint32_t libere_extents_hfsplus(const ExtentsPlus &extents) {
  std::uint32_t liberes = 0;
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  for (const ExtentPlus &extent : extents) {
    if (extent.blockCount == 0) continue;
    liberes += libere_suite({extent.startBlock, extent.blockCount});
    vhb.nextAllocation = std::min<std::uint32_t>(vhb.nextAllocation, extent.startBlock);
  }
  return liberes;
}

std::uint32_t blocs_libres() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return 0;
  return volume.est_hfsplus ? std::uint32_t{volume.vhb->freeBlocks} : std::uint32_t{volume.mdb->drFreeBks};
}

void ajuste_blocs_libres(std::int64_t delta) {
  VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return;
  const std::int64_t total =
      volume.est_hfsplus ? std::int64_t{volume.vhb->totalBlocks} : std::int64_t{volume.mdb->drNmAlBlks};
  const auto libres = static_cast<std::uint32_t>(std::clamp<std::int64_t>(blocs_libres() + delta, 0, total));
  if (volume.est_hfsplus) {
    volume.vhb->freeBlocks = libres;
  } else {
    volume.mdb->drFreeBks = static_cast<std::uint16_t>(libres);
  }
}

void ecrit_marques() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  if (!c.chargee || !volume.a_entete()) return;
  if (c.bas < c.haut && volume.est_hfsplus) ecrit_marques_plus();
  if (c.bas < c.haut && !volume.est_hfsplus) {
    const auto premier = static_cast<std::uint32_t>(c.bas / kTailleSecteur);
    const auto fin = static_cast<std::uint32_t>(quotient_haut<std::uint64_t>(c.haut, kTailleSecteur));
    ecrit_volume(bits_hfs().data() + premier * kOctetsSecteur,
                 volume.debut_volume + volume.mdb->drVBMSt + premier, fin - premier);
  }
  c.bas = ~std::uint64_t{0};
  c.haut = 0;
  if (volume.est_hfsplus) {
    // Whoever finds the journal's own stamp here would take its old transactions for newer than the volume.
    volume.vhb->lastMountedVersion = kEstampille;
    ecrit_volume(volume.vhb, volume.debut_allocation + 2, 1);
  } else {
    ecrit_volume(volume.mdb, volume.debut_volume + 2, 1);
  }
}

void ecriture_carte_hfs() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  if (!c.chargee || volume.mdb == nullptr) return;
  volume.mdb->drWrCnt = volume.mdb->drWrCnt + 1;
  const auto mdb = octets_de(*volume.mdb);
  ecrit_volume(mdb.data(), volume.debut_volume + 2, 1);
  ecrit_volume(bits_hfs().data(), volume.debut_volume + volume.mdb->drVBMSt, secteurs_bits_hfs());
  ecriture_mdb_secours();
  c = {};
}

// By design the copy is bounded by allocationFile.totalBlocks times the catalog's node size, a number of
// sectors that is then held against blocks. Where nodes are smaller than blocks it would end too soon and
// leave old marks behind, so the copy ends with what the work file holds; on all other volumes that is the
// same.
void ecriture_carte_hfsplus() {
  const VolumeCourant &volume = volume_courant();
  CarteAllocation &c = carte();
  if (!c.chargee || volume.vhb == nullptr) return;
  std::uint64_t fait = 0;
  for (const ExtentPlus &extent : volume.vhb->allocationFile.extents) {
    if (extent.blockCount == 0) break;
    std::uint64_t secteur = secteur_de_bloc(extent.startBlock);
    const std::uint64_t bout =
        std::min<std::uint64_t>(c.taille, fait + secteurs_de_blocs(extent.blockCount) * kTailleSecteur);
    while (fait < bout) {
      if (!fenetre_de(fait)) return;
      const std::uint64_t place = fait - c.base;
      const std::uint64_t octets = std::min(bout - fait, c.longueur - place);
      ecrit_volume(c.tampon.get() + place, secteur, static_cast<std::uint32_t>(octets / kTailleSecteur));
      fait += octets;
      secteur += octets / kTailleSecteur;
    }
  }
  c.bas = ~std::uint64_t{0};
  c.haut = 0;
}

}  // namespace varnion
