#include "compil/hybridation.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <string_view>
#include <vector>

#include "compil/pistes.hpp"
#include "hfs/decompression.hpp"
#include "IO/etat.hpp"
#include "IO/octets.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint64_t kBloc = 512;
constexpr std::uint64_t kSecteur = 2048;
constexpr std::size_t kTete = 3 * kBloc;  // driver descriptor and two map entries
constexpr std::size_t kTampon = std::size_t{1} << 20;
constexpr std::uint64_t kTailleCd = 660'000'001;  // asked about from here on, though the text says 650 MB
constexpr std::uint32_t kEntreesMax = 4096;
constexpr std::int64_t kIsoCuit = 0x8000;
constexpr std::uint32_t kOptionOuvrirRacine = 0x8;
constexpr std::size_t kCheminMessage = 100;

constexpr int kPlaceManque = 1073;
constexpr int kPlusGrandQueCd = 1077;
constexpr int kDejaHybride = 1078;
constexpr int kPasIso = 1079;
constexpr int kEtatHybridation = 1094;
constexpr int kEtatRedocking = 1095;
constexpr int kEntreeDeplacee = 6340;
constexpr int kLongueurImpaire = 6341;
constexpr int kPartitionSansCarte = 6342;
constexpr int kPartitionTronquee = 6343;
constexpr int kEchecSysteme = 6344;
constexpr int kBrutInconnu = 6348;
constexpr int kAmorcePerdue = 7780;
constexpr int kCopiesDouteuses = 6050;

// An entry of an Apple partition map (Inside Macintosh: Devices, 3-25).
struct EntreeCarte {
  std::array<std::uint8_t, 2> marque;  // 0x00
  be16 reserve;                        // 0x02
  be32 entrees;                        // 0x04
  be32 debut;                          // 0x08
  be32 blocs;                          // 0x0C
  std::array<char, 32> nom;            // 0x10
  std::array<char, 32> type;           // 0x30
};
static_assert(sizeof(EntreeCarte) == 0x50);

struct Descripteur {
  std::array<std::uint8_t, 2> marque;  // 0x00
  be16 taille_bloc;                    // 0x02
  be32 blocs;                          // 0x04
};

using Bloc = std::array<std::uint8_t, kBloc>;

bool lit_bloc(const Fichier &fichier, std::uint64_t position, std::span<std::uint8_t> bloc) {
  return fichier.lire_a(bloc, position) == static_cast<std::int64_t>(bloc.size());
}

bool marque(std::span<const std::uint8_t> octets, std::string_view texte) {
  return octets.size() >= texte.size() && std::equal(texte.begin(), texte.end(), octets.begin());
}

// The map as it is read: where the volume begins and which entry says so.
struct CarteSource {
  std::int64_t debut = -1;  // as position_apple_hfs
  std::uint32_t rang = 0;   // block of the entry
  std::uint64_t blocs = 0;
};

CarteSource lit_carte(const Fichier &partition) {
  CarteSource carte;
  Bloc bloc{};
  if (!lit_bloc(partition, 0, bloc) || !marque(bloc, "ER")) return carte;
  if (!lit_bloc(partition, kBloc, bloc) || !marque(bloc, "PM")) return carte;
  carte.debut = 0;
  const std::uint32_t nombre = std::min<std::uint32_t>(vue<EntreeCarte>(bloc, 0)->entrees, kEntreesMax);
  for (std::uint32_t rang = 1; rang <= nombre; ++rang) {
    if (!lit_bloc(partition, rang * kBloc, bloc)) break;
    const auto *entree = vue<EntreeCarte>(bloc, 0);
    if (!std::string_view(entree->type.data(), entree->type.size()).starts_with("Apple_HFS")) continue;
    carte.debut = static_cast<std::int64_t>(entree->debut * kBloc);
    carte.rang = rang;
    carte.blocs = entree->blocs;
    break;
  }
  return carte;
}

// Bytes from the start of the volume to the end of its allocation blocks; by the map where the volume has no
// header that is known here.
std::uint64_t longueur_volume(const Bloc &entete, const CarteSource &carte) {
  if (marque(entete, "BD")) {
    const std::uint64_t blocs = *vue<be16>(entete, 0x12);
    const std::uint64_t taille = *vue<be32>(entete, 0x14);
    return *vue<be16>(entete, 0x1C) * kBloc + blocs * taille;
  }
  if (marque(entete, "H+") || marque(entete, "HX"))
    return std::uint64_t{*vue<be32>(entete, 0x28)} * *vue<be32>(entete, 0x2C);
  return carte.blocs * kBloc;
}

struct Jonction {
  CarteSource carte;
  std::uint64_t debut = 0;     // of the volume in the partition image
  std::uint64_t longueur = 0;  // of what is copied, before rounding
  std::uint64_t volume = 0;    // what the volume needs of it
};

// What a partition image must have to be read on the joined one. Its map is all that a Macintosh finds the
// volume by: without one the head of the ISO file would be filled with something else.
int examine_partition(const Fichier &partition, Jonction &jonction) {
  const std::int64_t taille = fichier_taille(partition);
  if (taille < 0) return kHybridePartitionFermee;
  jonction.carte = lit_carte(partition);
  if (jonction.carte.debut <= 0) return kHybrideSansCarte;
  jonction.debut = static_cast<std::uint64_t>(jonction.carte.debut);
  Bloc entete{};
  if (!lit_bloc(partition, jonction.debut + 0x400, entete)) return kHybrideTronquee;
  jonction.longueur = static_cast<std::uint64_t>(taille) - jonction.debut;
  jonction.volume = longueur_volume(entete, jonction.carte);
  return jonction.volume > jonction.longueur ? kHybrideTronquee : kHybrideFaite;
}

// The root folder as the one to open when the volume at `debut` is mounted (TN1150, finderInfo[2]).
bool ouvre_racine(const Fichier &image, std::uint64_t debut) {
  Bloc entete{};
  if (!lit_bloc(image, debut + 0x400, entete)) return false;
  *vue_modifiable<be32>(entete, entete[0] == 'H' ? 0x58 : 0x64) = 2;
  return image.ecrire_a(entete, debut + 0x400);
}

// True when something stands where the map goes: boot code, another kind of map.
bool tete_occupee(const Fichier &iso, std::int64_t position) {
  std::array<std::uint8_t, kTete> tete{};
  static_cast<void>(iso.lire_a(tete, debut_donnees(iso, position)));
  return std::any_of(tete.begin(), tete.end(), [](std::uint8_t octet) { return octet != 0; });
}

// The head of the joined image: that of the partition image, with its numbers set. The second entry is the
// source's own; where the volume is in another one, as in maps with drivers, that one takes its place.
bool prepare_tete(const Fichier &partition, const Jonction &jonction, std::uint64_t iso,
                  std::array<std::uint8_t, kTete> &tete) {
  if (!lit_bloc(partition, 0, tete)) return false;
  const std::span<std::uint8_t> vu(tete);
  if (jonction.carte.rang != 2) {
    operations().journal(GenreJournal::information, message(kEntreeDeplacee, {jonction.carte.rang}));
    if (!lit_bloc(partition, jonction.carte.rang * kBloc, vu.subspan(2 * kBloc))) return false;
  }
  vue_modifiable<Descripteur>(vu, 0)->blocs = static_cast<std::uint32_t>((iso + jonction.longueur) / kBloc);
  vue_modifiable<EntreeCarte>(vu, kBloc)->entrees = 2;
  auto *entree = vue_modifiable<EntreeCarte>(vu, 2 * kBloc);
  entree->entrees = 2;
  entree->debut = static_cast<std::uint32_t>(iso / kBloc);
  return true;
}

// The gauge for the length of one copy, in its steps of 32 KB.
class Jauge {
 public:
  static constexpr std::uint64_t kPas = std::uint64_t{64} * 512;
  explicit Jauge(std::uint64_t octets) { operations().progression_debut(quotient_haut(octets, kPas)); }
  Jauge(const Jauge &) = delete;
  Jauge &operator=(const Jauge &) = delete;
  ~Jauge() {
    const int erreur = errno;
    operations().progression_fin();
    errno = erreur;
  }
  void avance(std::uint64_t octets) { operations().progression_pas(quotient_haut(octets, kPas)); }
};

// Copies `longueur` bytes; behind the end of the source come zeros.
int copie_octets(const Fichier &source, std::uint64_t de, const Fichier &cible, std::uint64_t a,
                 std::uint64_t longueur) {
  std::vector<std::uint8_t> tampon(kTampon);
  Jauge jauge(longueur);
  for (std::uint64_t fait = 0; fait < longueur;) {
    if (operations().arret_demande()) return kHybrideArret;
    const auto part = static_cast<std::size_t>(std::min<std::uint64_t>(tampon.size(), longueur - fait));
    const std::span<std::uint8_t> tranche(tampon.data(), part);
    const std::int64_t lus = source.lire_a(tranche, de + fait);
    if (lus < 0) return kHybrideEcriture;
    std::fill(tranche.begin() + lus, tranche.end(), std::uint8_t{0});
    if (!cible.ecrire_a(tranche, a + fait)) return kHybrideEcriture;
    fait += part;
    jauge.avance(part);
  }
  return kHybrideFaite;
}

// An ISO file under change: cut back and its head restored at the end, unless all went well.
class IsoEnCours {
 public:
  IsoEnCours(const Fichier &fichier, std::uint64_t longueur) : fichier_(fichier), longueur_(longueur) {}
  IsoEnCours(const IsoEnCours &) = delete;
  IsoEnCours &operator=(const IsoEnCours &) = delete;
  ~IsoEnCours() {
    if (acheve_) return;
    const int erreur = errno;
    if (entame_) static_cast<void>(fichier_.ecrire_a(avant_, 0));
    fichier_tronquer(fichier_, longueur_);
    errno = erreur;
  }

  bool pose_tete(std::span<const std::uint8_t> tete) {
    if (!lit_bloc(fichier_, 0, avant_)) return false;
    entame_ = true;
    return fichier_.ecrire_a(tete, 0) && fichier_vider(fichier_);
  }
  void acheve() { acheve_ = true; }

 private:
  const Fichier &fichier_;
  std::uint64_t longueur_;
  std::array<std::uint8_t, kTete> avant_{};
  bool entame_ = false;
  bool acheve_ = false;
};

// Bytes of the partition that go to the ISO file: whole sectors, the rest cut off (desktop) or filled up
// (batch). Where the volume itself reaches into that rest, the desktop fills it up too.
std::uint64_t longueur_copiee(const Jonction &jonction, bool coupe) {
  const std::uint64_t basse = jonction.longueur / kSecteur * kSecteur;
  if (coupe && jonction.volume <= basse) return basse;
  return arrondi(jonction.longueur, kSecteur);
}

// The steps that change the ISO file. `iso` is where its data end; the map counts whole sectors, so a last
// one that is short is filled up: elsewhere the volume would not begin where the map says. `racine`: the root
// folder opens, as the copied volume tells.
int joint(const Fichier &partition, Jonction jonction, const Fichier &iso, std::uint64_t longueur, bool coupe,
          bool racine = false) {
  const std::uint64_t debut = arrondi(longueur, kSecteur);
  if (debut != longueur)
    operations().journal(GenreJournal::information, message(kLongueurImpaire, {longueur}));
  const std::uint64_t copie = longueur_copiee(jonction, coupe);
  if (!coupe) jonction.longueur = copie;
  if ((debut + copie) / kBloc > UINT32_MAX) {
    errno = EFBIG;
    return kHybrideEcriture;
  }
  std::array<std::uint8_t, kTete> tete{};
  if (!prepare_tete(partition, jonction, debut, tete)) return kHybrideEcriture;
  operations().afficher_etat_seul(charger_chaine(kEtatHybridation));
  IsoEnCours cours(iso, longueur);
  if (!fichier_tronquer(iso, debut)) return kHybrideEcriture;
  const int resultat = copie_octets(partition, jonction.debut, iso, debut, copie);
  if (resultat != kHybrideFaite) return resultat;
  if (racine && !ouvre_racine(iso, debut)) return kHybrideEcriture;
  if (!fichier_vider(iso) || !cours.pose_tete(tete)) return kHybrideEcriture;
  cours.acheve();
  return kHybrideFaite;
}

bool commence_par_er(const Fichier &iso) {
  std::array<std::uint8_t, 2> debut{};
  return lit_bloc(iso, 0, debut) && marque(debut, "ER");
}

// A raw image becomes one of 2048-byte sectors first: from there on there is no way back to the raw one.
int redocke(const Fichier &iso, std::int64_t position, std::uint64_t &longueur) {
  if (position <= kIsoCuit) return kHybrideFaite;
  operations().afficher_etat_seul(charger_chaine(kEtatRedocking));
  const std::int64_t nouvelle = redocking(iso, longueur, position);
  if (nouvelle < 0) return kHybrideEcriture;
  longueur = static_cast<std::uint64_t>(nouvelle);
  return kHybrideFaite;
}

bool veut_racine() {
  return (etat<OptionsProgramme>().vn_options & kOptionOuvrirRacine) != 0;
}

// Takes the status line away at the end, and keeps `errno`.
struct EtatAffiche {
  EtatAffiche() = default;
  EtatAffiche(const EtatAffiche &) = delete;
  EtatAffiche &operator=(const EtatAffiche &) = delete;
  ~EtatAffiche() {
    const int erreur = errno;
    operations().afficher_etat_seul("");
    errno = erreur;
  }
};

int refuse(int resultat, int texte) {
  operations().afficher_erreur(charger_chaine(texte));
  return resultat;
}

int echec_systeme(int resultat) {
  if (resultat == kHybrideEcriture || resultat == kHybrideIsoFermee)
    operations().afficher_erreur(message(kEchecSysteme, {plateforme::texte_erreur(errno)}));
  return resultat;
}

// False when what stands in the place of the map is to stay.
bool accepte_perte(const Fichier &iso, std::int64_t position, const std::string &chemin) {
  return !tete_occupee(iso, position) ||
         operations().demander_oui_non(message(kAmorcePerdue, {tronque_chemin(chemin, kCheminMessage)})) == 1;
}

// The questions of the desktop, in their order.
int demande_suite(const Fichier &partition, const Fichier &iso, const std::string &chemin, Jonction &jonction,
                  std::int64_t &position) {
  const auto longueur = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(iso), 0));
  const auto p = static_cast<std::uint64_t>(fichier_taille(partition));
  if (longueur + p >= kTailleCd &&
      operations().demander_oui_non(message(kPlusGrandQueCd, {longueur, p})) != 1)
    return kHybrideArret;
  if (commence_par_er(iso)) return refuse(kHybrideDeja, kDejaHybride);
  const int examen = examine_partition(partition, jonction);
  if (examen != kHybrideFaite)
    return refuse(examen, examen == kHybrideTronquee ? kPartitionTronquee : kPartitionSansCarte);
  position = position_iso(iso);
  if (position < 0 && operations().demander_oui_non(charger_chaine(kPasIso)) != 1) return kHybrideArret;
  if (position > kIsoCuit && !redocking_possible(iso, position)) return refuse(kHybridePasIso, kBrutInconnu);
  return accepte_perte(iso, position, chemin) ? kHybrideFaite : kHybrideArret;
}

// What a batch refuses, in its order.
int examine_images(const Fichier &partition, const Fichier &iso, Jonction &jonction, std::int64_t &position) {
  if (commence_par_er(iso)) return kHybrideDeja;
  const int examen = examine_partition(partition, jonction);
  if (examen != kHybrideFaite) return examen;
  position = position_iso(iso);
  return position < 0 || !redocking_possible(iso, position) ? kHybridePasIso : kHybrideFaite;
}

bool est_la_cible(const Fichier &fichier, const std::string &cible) {
  return plateforme::est_le_fichier(cible, fichier);
}

// The new file: a copy of the ISO image that is then joined as one in place would be.
int joint_copie(const Fichier &partition, const Jonction &jonction, const Fichier &iso, std::int64_t position,
                const CibleImage &cible) {
  auto longueur = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(iso), 0));
  const auto libre = plateforme::espace_libre(cible.chemin);
  if (libre && *libre < longueur + jonction.longueur) return kHybridePlace;
  FichierVoisin neuf = FichierVoisin::commence(cible.chemin);
  if (!neuf) return kHybrideCible;
  if (cible.ecrasement == Ecrasement::jamais && neuf.existait()) {
    errno = EEXIST;
    return kHybrideCible;
  }
  neuf.comme(iso);
  operations().afficher_etat_seul(charger_chaine(kEtatHybridation));
  int resultat = copie_octets(iso, 0, neuf.fichier(), 0, longueur);
  if (resultat == kHybrideFaite) resultat = redocke(neuf.fichier(), position, longueur);
  if (resultat == kHybrideFaite)
    resultat = joint(partition, jonction, neuf.fichier(), longueur, false, veut_racine());
  if (resultat == kHybrideFaite && !neuf.pose(cible.ecrasement)) resultat = kHybrideCible;
  return resultat;
}

// A compressed image is expanded to a temporary file; the kinds of other partition schemes are not read here.
int developpe(Fichier &partition, const std::string &origine, ResultatDmg &resultat) {
  const int genre = type_image(partition);
  if (genre == kImageSimple) return kHybrideFaite;
  if (genre > kImageKoly) return kHybrideExpansion;
  std::string chemin;
  Fichier clair = plateforme::fichier_temporaire("Varnion", chemin);
  if (!clair) return kHybrideTemporaire;
  // The open file stays readable; its name is not needed.
  if (!plateforme::supprime(chemin)) return kHybrideTemporaire;
  OptionsDmg options;
  options.progression = [](std::uint64_t, std::uint64_t) { return !operations().arret_demande(); };
  decide_lecture_dmg(origine, false, options);
  resultat = decompresse_image(partition, clair, options);
  if (resultat.etat == EtatDmg::arret) return kHybrideArret;
  errno = resultat.erreur;
  if (!resultat.reussi()) return resultat.etat == EtatDmg::ecriture ? kHybrideTemporaire : kHybrideExpansion;
  if (resultat.copies_douteuses)
    operations().journal(GenreJournal::information, charger_chaine(kCopiesDouteuses));
  partition = std::move(clair);
  return kHybrideFaite;
}

}  // namespace

Fichier ouvre_modifiable(const std::string &chemin) {
  Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture_ecriture);
  if (fichier || errno != EACCES) return fichier;
  const Fichier lu = plateforme::ouvre(chemin, Ouverture::lecture);
  struct stat etat_fichier {};
  if (!lu || ::fstat(lu.descripteur(), &etat_fichier) != 0 ||
      ::fchmod(lu.descripteur(), (etat_fichier.st_mode & 07777) | S_IWUSR) != 0) {
    errno = EACCES;
    return {};
  }
  return plateforme::ouvre(chemin, Ouverture::lecture_ecriture);
}

std::int64_t position_apple_hfs(const Fichier &partition) {
  const std::int64_t position = lit_carte(partition).debut;
  fichier_debut(partition);
  return position;
}

int hybridation(const Fichier &partition, const std::string &chemin_iso) {
  fichier_vider(partition);
  const std::int64_t p = fichier_taille(partition);
  const auto libre = plateforme::espace_libre(chemin_iso);
  if (p < 0 || (libre && *libre < static_cast<std::uint64_t>(p))) return refuse(kHybridePlace, kPlaceManque);
  Fichier iso = plateforme::ouvre(chemin_iso, Ouverture::lecture);
  if (!iso) return echec_systeme(kHybrideIsoFermee);
  const EtatAffiche affiche;
  Jonction jonction;
  std::int64_t position = -1;
  int resultat = demande_suite(partition, iso, chemin_iso, jonction, position);
  if (resultat != kHybrideFaite) return resultat;
  iso = ouvre_modifiable(chemin_iso);
  if (!iso) return echec_systeme(kHybrideIsoFermee);
  auto longueur = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(iso), 0));
  if (veut_racine() && !ouvre_racine(partition, jonction.debut)) return echec_systeme(kHybrideEcriture);
  resultat = redocke(iso, position, longueur);
  if (resultat == kHybrideFaite) resultat = joint(partition, jonction, iso, longueur, true);
  return echec_systeme(resultat);
}

ApercuHybride apercu_hybridation(const Fichier &partition, const std::string &chemin_iso) {
  ApercuHybride apercu;
  const Fichier iso = plateforme::ouvre(chemin_iso, Ouverture::lecture);
  if (!iso) {
    apercu.resultat = kHybrideIsoFermee;
    return apercu;
  }
  Jonction jonction;
  std::int64_t position = -1;
  apercu.resultat = examine_images(partition, iso, jonction, position);
  const auto taille = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(iso), 0));
  apercu.brute = position > kIsoCuit;
  apercu.iso = arrondi(apercu.brute ? taille / kSecteurBrut * kSecteur : taille, kSecteur);
  apercu.partition = longueur_copiee(jonction, false);
  apercu.amorce = tete_occupee(iso, position);
  apercu.plus_qu_un_cd = apercu.total() >= kTailleCd;
  return apercu;
}

int hybridation_vers(const Fichier &partition, const std::string &chemin_iso, const CibleImage &cible) {
  const Fichier iso = plateforme::ouvre(chemin_iso, Ouverture::lecture);
  if (!iso) return kHybrideIsoFermee;
  if (est_la_cible(iso, cible.chemin) || est_la_cible(partition, cible.chemin)) return kHybrideMemes;
  const EtatAffiche affiche;
  Jonction jonction;
  std::int64_t position = -1;
  const int examen = examine_images(partition, iso, jonction, position);
  if (examen != kHybrideFaite) return examen;
  if (!cible.force && !accepte_perte(iso, position, chemin_iso)) return kHybrideAmorce;
  return joint_copie(partition, jonction, iso, position, cible);
}

int hybridation_fichiers(const std::string &partition, const std::string &chemin_iso, ResultatDmg *expansion,
                         const CibleImage &cible) {
  Fichier iso = plateforme::ouvre(chemin_iso, Ouverture::lecture);
  if (!iso) return kHybrideIsoFermee;
  if (commence_par_er(iso)) return kHybrideDeja;
  Fichier source = plateforme::ouvre(partition, Ouverture::lecture);
  if (!source) return kHybridePartitionFermee;
  if (!cible.chemin.empty() && est_la_cible(source, cible.chemin)) return kHybrideMemes;
  const EtatAffiche affiche;
  ResultatDmg perdu;
  const int lue = source.descripteur();
  int resultat = developpe(source, partition, expansion != nullptr ? *expansion : perdu);
  if (resultat != kHybrideFaite) return resultat;
  if (!cible.chemin.empty()) return hybridation_vers(source, chemin_iso, cible);
  Jonction jonction;
  std::int64_t position = -1;
  resultat = examine_images(source, iso, jonction, position);
  if (resultat != kHybrideFaite) return resultat;
  if (!cible.force && !accepte_perte(iso, position, chemin_iso)) return kHybrideAmorce;
  iso = ouvre_modifiable(chemin_iso);
  if (!iso) return kHybrideIsoFermee;
  if (veut_racine()) {
    if (source.descripteur() == lue) source = ouvre_modifiable(partition);
    if (!source) return kHybridePartitionFermee;
    if (!ouvre_racine(source, jonction.debut)) return kHybrideEcriture;
  }
  auto longueur = static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(iso), 0));
  resultat = redocke(iso, position, longueur);
  return resultat == kHybrideFaite ? joint(source, jonction, iso, longueur, false) : resultat;
}

}  // namespace varnion
