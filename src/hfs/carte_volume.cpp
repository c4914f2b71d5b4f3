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
#include "hfs/volume.hpp"
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
constexpr int kMessageCarteAbimee = 6020;
constexpr int kMessageTailles = 6024;
constexpr std::uint32_t kFenetreMax = 0x100000;  // bytes
constexpr std::uint32_t kBlocMax = 1U << 26;     // bytes; larger blocks come from a damaged header
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
  c.chargee = true;
  return true;
}

// A run is taken from this length on when the wanted one is not found.
constexpr std::uint64_t kSuiteMinimale = 10;

// Next fit from drAllocPtr to the end; there is no second pass from the start.
std::optional<SuiteBlocs> cherche_hfs(std::uint32_t voulus) {
  Mdb &mdb = *volume_courant().mdb;
  const auto bits = bits_hfs();
  const std::uint64_t fin = carte().nb_blocs;
  std::uint64_t place = mdb.drAllocPtr;
  for (;;) {
    const std::uint64_t debut = premier_libre(bits, place, fin);
    if (debut >= fin || debut + voulus > fin) return std::nullopt;
    const std::uint64_t bout = premier_pris(bits, debut, debut + voulus);
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
  c.chargee = true;
  return charge_fenetre(0);
}

// First fit from the hint; a run counts as useful from one eighth of what is wanted. Runs end at the border
// of a window, and after one that is too short the eight blocks behind it are passed over too.
std::optional<SuiteBlocs> cherche_hfsplus(std::uint32_t voulus) {
  EnteteVolumePlus &vhb = *volume_courant().vhb;
  CarteAllocation &c = carte();
  std::uint64_t place = vhb.nextAllocation & ~7U;  // the search begins at a whole byte
  for (bool premiere = true; place < c.nb_blocs; premiere = false) {
    std::uint64_t debut = c.nb_blocs;
    std::uint64_t fin = 0;
    std::uint64_t zero = 0;
    for (; place < c.nb_blocs; place = fin) {
      if (!fenetre_de(place / 8)) return std::nullopt;
      zero = std::uint64_t{c.base} * 8;
      fin = std::min(c.nb_blocs, zero + std::uint64_t{c.longueur} * 8);
      debut = zero + premier_libre({c.tampon.get(), c.longueur}, place - zero, fin - zero);
      if (debut < fin) break;
    }
    if (place >= c.nb_blocs) return std::nullopt;
    const std::uint64_t limite = std::min(fin, debut + voulus);
    const std::uint64_t bout = zero + premier_pris({c.tampon.get(), c.longueur}, debut - zero, limite - zero);
    if (bout - debut == voulus || bout - debut > voulus / 8) {
      fixe_bits_hfsplus(debut, bout, true);
      if (premiere) vhb.nextAllocation = static_cast<std::uint32_t>(bout);
      return SuiteBlocs{static_cast<std::uint32_t>(debut), static_cast<std::uint32_t>(bout - debut)};
    }
    place = bout - debut < 8 ? bout + 8 : bout;
  }
  return std::nullopt;
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

// Blocks of the B-tree files and, on HFS+, of the other files of the header and of the headers themselves. As
// far as the headers name them: runs of the catalog in the extents tree are not among them.
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
  // TN1150: the first 1,536 bytes and the last 1,024 are marked.
  const std::uint32_t tete = quotient_haut<std::uint32_t>(1536, volume.taille_bloc);
  const std::uint32_t queue = quotient_haut<std::uint32_t>(1024, volume.taille_bloc);
  if (vhb.totalBlocks < tete + queue) return suites;
  suites.push_back({0, tete});
  suites.push_back({vhb.totalBlocks - queue, queue});
  return suites;
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
  if (!suite) operations().afficher_erreur(charger_chaine(kMessagePlein));
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

// False for sizes of a damaged header: a change would write gigabytes behind the end of the image. An image
// cut short by a little passes.
bool tailles_admises() {
  constexpr std::uint64_t kDepassement = std::uint64_t{1} << 20;  // bytes
  const VolumeCourant &volume = volume_courant();
  const std::uint32_t taille = volume.taille_bloc;
  if (taille == 0 || taille % kTailleSecteur != 0 || taille > kBlocMax) return false;
  if (!support().image.ouvert()) return true;
  const std::int64_t image = fichier_taille(support().image);
  return image >= 0 && fin_volume() <= (static_cast<std::uint64_t>(image) + kDepassement) / kTailleSecteur;
}

}  // namespace

CarteAllocation &carte_allocation() {
  return etat<CarteAllocation>();
}

bool chargement_carte() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return false;
  if (!support().lecture_seule && !tailles_admises()) {
    operations().journal(GenreJournal::erreur, formate("volume: blocks of %u bytes up to sector %u, refused",
                                                       {volume.taille_bloc, fin_volume()}));
    return refuse(kMessageTailles);
  }
  bool chargee = false;
  if (!support().lecture_seule) {
    chargee = volume.est_hfsplus ? charge_hfsplus() : charge_hfs();
    if (!chargee) return false;
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
  std::copy(mdb.begin(), mdb.end(), c.tampon.get() + 2 * kOctetsSecteur);
  ecrit_volume(c.tampon.get(), volume.debut_volume, volume.mdb->drVBMSt + c.secteurs);
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
