#include "IO/requete.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <span>
#include <string_view>

#include "IO/etat.hpp"

namespace varnion {
namespace {

constexpr std::size_t kTypePremiereEntree = 0x1C2;  // type byte of the first entry of a master boot record
constexpr std::uint8_t kMbrGpt = 0xEE;
constexpr std::uint8_t kMbrHfs = 0xAF;

int genre_mbr(std::span<const std::uint8_t, kTailleSecteur> secteur) {
  if (secteur[510] != 0x55 || secteur[511] != 0xAA) return kImageSimple;
  if (secteur[kTypePremiereEntree] == kMbrGpt) return kImageGpt;
  return secteur[kTypePremiereEntree] == kMbrHfs ? kImageMbr : kImageSimple;
}

bool a_fin_koly(const Fichier &image) {
  const std::int64_t taille = fichier_taille(image);
  if (taille < static_cast<std::int64_t>(kTailleSecteur)) return false;
  std::array<std::uint8_t, 4> marque{};
  constexpr std::array<std::uint8_t, 4> kKoly = {'k', 'o', 'l', 'y'};
  return image.lire_a(marque, static_cast<std::uint64_t>(taille) - kTailleSecteur) == 4 && marque == kKoly;
}

void transfere_secteurs(std::uint32_t operation, void *tampon, std::uint64_t position, std::uint32_t nombre) {
  RequeteIO requete;
  requete.operation = operation;
  requete.unite = support().unite_courante;
  requete.nb_secteurs = nombre;
  requete.position = position;
  requete.tampon = tampon;
  support().entree_driver(requete);
}

std::uint64_t ecrit_requete(Support &support, const RequeteIO &requete, std::uint64_t position,
                            std::size_t longueur) {
  const std::span octets(static_cast<const std::uint8_t *>(requete.tampon), longueur);
  if (support.image.ecrire_a(octets, position)) return longueur;
  if (support.echec_ecriture == 0) support.echec_ecriture = errno != 0 ? errno : EIO;
  return 0;
}

}  // namespace

Support &support() {
  return etat<Support>();
}

int verdict_transfert(std::uint64_t octets, std::uint32_t nb_secteurs) {
  if (nb_secteurs == 0) return octets == 0 ? 0 : 1;
  return octets / nb_secteurs == nb_secteurs ? 0 : 1;
}

int driver_fichier(RequeteIO &requete) {
  Support &medium = support();
  if (!medium.image.ouvert()) return -1;
  const bool lire = requete.operation == kOperationLire;
  if (!lire && requete.operation != kOperationEcrire) return 1;
  const std::size_t longueur = std::size_t{requete.nb_secteurs} * kTailleSecteur;
  if (requete.tampon == nullptr && longueur != 0) return 1;
  // A position out of the 64-bit byte range is one that no file reaches: fichier refuses the largest one.
  const std::uint64_t position = requete.position > std::numeric_limits<std::uint64_t>::max() / kTailleSecteur
                                     ? std::numeric_limits<std::uint64_t>::max()
                                     : requete.position * kTailleSecteur;
  if (!lire)
    return verdict_transfert(ecrit_requete(medium, requete, position, longueur), requete.nb_secteurs);
  const std::int64_t lus =
      medium.image.lire_a({static_cast<std::uint8_t *>(requete.tampon), longueur}, position);
  return verdict_transfert(static_cast<std::uint64_t>(std::max<std::int64_t>(lus, 0)), requete.nb_secteurs);
}

void lit_secteurs(void *tampon, std::uint64_t position, std::uint32_t nombre) {
  transfere_secteurs(kOperationLire, tampon, position, nombre);
}

void ecrit_secteurs(const void *tampon, std::uint64_t position, std::uint32_t nombre) {
  // The record serves both directions; a write request leaves its buffer alone.
  transfere_secteurs(kOperationEcrire, const_cast<void *>(tampon), position, nombre);
}

int type_image(const Fichier &image) {
  std::array<std::uint8_t, kTailleSecteur> secteur{};
  static_cast<void>(image.lire_a(secteur, 0));  // a short file leaves zeroes, which match no test
  int genre = genre_mbr(secteur);
  const std::string_view debut(reinterpret_cast<const char *>(secteur.data()), 2);
  if (debut[0] == 'x') {
    genre = kImageZlib;
  } else if (debut == "PM") {
    genre = kImagePM;
  } else if (debut == "ER") {
    genre = kImageSimple;
  } else if (debut == "BZ") {
    genre = kImageBZ;
  } else if (debut == "sp") {
    genre = kImageEparse;
  }
  if (genre == kImageSimple && a_fin_koly(image)) genre = kImageKoly;
  fichier_debut(image);
  return genre;
}

}  // namespace varnion
