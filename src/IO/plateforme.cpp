#include "IO/plateforme.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "IO/dossiers.hpp"
#include "IO/etat.hpp"

namespace varnion::plateforme {
namespace {

constexpr auto kMagieFat =
    0x4D44;  // MSDOS_SUPER_MAGIC: FAT12, FAT16 and FAT32; exFAT has its own and holds big files
constexpr std::size_t kMaxAttributEtendu = 65536;  // XATTR_SIZE_MAX
constexpr int kEssaisAttribut = 4;

// Regular files and folders are entries; links count as what they lead to.
bool est_entree(const struct statx &fiche) {
  return S_ISREG(fiche.stx_mode) || S_ISDIR(fiche.stx_mode);
}

bool lit_fiche(int dossier, const std::string &nom, struct statx &fiche) {
  return ::statx(dossier, nom.c_str(), AT_NO_AUTOMOUNT, STATX_BASIC_STATS | STATX_BTIME, &fiche) == 0;
}

// `errno` stays as it is.
bool est_lien(int dossier, const std::string &nom) {
  const int erreur = errno;
  struct stat fiche {};
  const bool lien =
      ::fstatat(dossier, nom.c_str(), &fiche, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(fiche.st_mode);
  errno = erreur;
  return lien;
}

DonneesRecherche donnees(const struct statx &fiche, const NomsEntree &noms) {
  DonneesRecherche resultat;
  if (S_ISDIR(fiche.stx_mode)) resultat.attributs |= kAttributDossier;
  if (!noms.disque.empty() && noms.disque[0] == '.' && noms.disque != "." && noms.disque != "..") {
    resultat.attributs |= kAttributCache;
  }
  resultat.acces = fiche.stx_atime.tv_sec;
  resultat.modification = fiche.stx_mtime.tv_sec;
  const bool naissance = (fiche.stx_mask & STATX_BTIME) != 0;
  resultat.creation = naissance ? fiche.stx_btime.tv_sec
                                : std::min({resultat.acces, resultat.modification,
                                            static_cast<std::int64_t>(fiche.stx_ctime.tv_sec)});
  resultat.taille = S_ISDIR(fiche.stx_mode) ? 0 : fiche.stx_size;
  resultat.nom_long = noms.texte;
  resultat.nom_court = noms.court;
  resultat.nom_large = utf8_vers_large(noms.disque);
  resultat.identite = {::makedev(fiche.stx_dev_major, fiche.stx_dev_minor), fiche.stx_ino};
  return resultat;
}

// The names of what a resolved path leads to; those of the path itself where the folder cannot be read.
NomsEntree noms_de(const CheminResolu &resolu) {
  if (!resolu.nom.empty()) {
    if (auto noms = etat<CacheDossiers>().noms(resolu.dossier_ouvrable(), resolu.nom))
      return std::move(*noms);
  }
  const std::string dernier =
      resolu.utf8.substr(resolu.utf8.rfind('/') + 1);  // ".", ".." or nothing for the root
  const std::string disque = dernier.empty() ? "/" : dernier;
  return {disque, utf8_vers_texte(disque), {}, true};
}

bool fiche_de(std::string_view chemin, struct stat &fiche) {
  const auto resolu = resout_existant(chemin);
  return resolu && ::stat(resolu->utf8.c_str(), &fiche) == 0;
}

int drapeaux(Ouverture mode) {
  switch (mode) {
    case Ouverture::lecture:
      return O_RDONLY;
    case Ouverture::lecture_ecriture:
      return O_RDWR;
    case Ouverture::creation:
      return O_RDWR | O_CREAT | O_TRUNC;
    case Ouverture::creation_neuve:
      return O_RDWR | O_CREAT | O_EXCL;
    case Ouverture::ajout:
      return O_RDWR | O_CREAT | O_APPEND;
  }
  return O_RDONLY;
}

// 0, or the error that tells why this is no file to open.
int refus(const struct stat &fiche) {
  if (S_ISREG(fiche.st_mode)) return 0;
  return S_ISDIR(fiche.st_mode) ? EISDIR : ENXIO;
}

// True for a device, a pipe or a socket, which the system would let a file replace.
bool garde_sa_place(const std::string &utf8) {
  struct stat fiche {};
  if (::stat(utf8.c_str(), &fiche) != 0 || refus(fiche) != ENXIO) return false;
  errno = ENXIO;
  return true;
}

// Looks before it opens, since opening a device acts on it; looks again at what was opened. O_NONBLOCK keeps
// a pipe that comes in between from stopping the program. `regulier`: the first look was taken already.
Fichier ouvre_utf8(const std::string &utf8, int mode, bool regulier = false) {
  struct stat fiche {};
  if (!regulier) {
    if (::stat(utf8.c_str(), &fiche) == 0) {
      if (refus(fiche) != 0) {
        errno = refus(fiche);
        return {};
      }
    } else if (errno == ENOENT && (mode & O_CREAT) == 0) {
      return {};
    }
  }
  int descripteur = -1;
  do {
    descripteur = ::open(utf8.c_str(), mode | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  } while (descripteur < 0 && errno == EINTR);
  Fichier fichier(descripteur);
  if (!fichier || ::fstat(descripteur, &fiche) != 0) return {};
  if (refus(fiche) == 0) return fichier;
  errno = refus(fiche);
  return {};
}

bool peut_creer(Ouverture mode) {
  return mode != Ouverture::lecture && mode != Ouverture::lecture_ecriture;
}

// Resolves what is to be made or opened for making; a name that could not be found again is an invalid
// argument.
std::optional<CheminResolu> resout_a_creer(std::string_view chemin) {
  if (!chemin.empty() && !texte_univoque(chemin)) {
    errno = EINVAL;
    return std::nullopt;
  }
  return resout(chemin);
}

bool meme_inode(const std::string &a, const std::string &b) {
  struct stat fiche_a {};
  struct stat fiche_b {};
  return ::lstat(a.c_str(), &fiche_a) == 0 && ::lstat(b.c_str(), &fiche_b) == 0 &&
         fiche_a.st_dev == fiche_b.st_dev && fiche_a.st_ino == fiche_b.st_ino;
}

// The last name of a working-text path, in UTF-8.
std::string derniere_composante(std::string_view chemin) {
  while (chemin.size() > 1 && (chemin.back() == '/' || chemin.back() == '\\')) chemin.remove_suffix(1);
  return texte_vers_utf8(chemin.substr(chemin.find_last_of("/\\") + 1));
}

// Applies a call to the deepest part of the path that exists.
template <typename Appel>
bool sur_existant(std::string_view chemin, Appel appel) {
  std::string partie = chemin_absolu(chemin);
  while (!partie.empty()) {
    const auto resolu = resout(partie);
    if (resolu && resolu->existe) return appel(resolu->utf8.c_str()) == 0;
    while (partie.size() > 1 && partie.back() == '/') partie.pop_back();
    const std::size_t barre = partie.rfind('/');
    if (barre == std::string::npos || partie == "/") return false;
    partie.resize(barre == 0 ? 1 : barre);
  }
  return false;
}

std::optional<std::vector<std::uint8_t>> attribut_etendu(const std::string &utf8, const std::string &nom) {
  std::vector<std::uint8_t> valeur;
  for (int essai = 0; essai < kEssaisAttribut; ++essai) {
    const ssize_t taille = ::getxattr(utf8.c_str(), nom.c_str(), nullptr, 0);
    if (taille < 0) return std::nullopt;
    valeur.resize(std::clamp<std::size_t>(static_cast<std::size_t>(taille), 1, kMaxAttributEtendu));
    const ssize_t lus = ::getxattr(utf8.c_str(), nom.c_str(), valeur.data(), valeur.size());
    if (lus >= 0) {
      valeur.resize(static_cast<std::size_t>(lus));
      return valeur;
    }
    if (errno != ERANGE) return std::nullopt;  // ERANGE: it grew between the two calls
  }
  return std::nullopt;
}

}  // namespace

std::optional<DonneesRecherche> cherche_fichier(std::string_view chemin) {
  const auto resolu = resout_existant(chemin);
  struct statx fiche {};
  if (!resolu || !lit_fiche(AT_FDCWD, resolu->utf8, fiche)) return std::nullopt;
  if (!est_entree(fiche)) {
    errno = ENXIO;
    return std::nullopt;
  }
  DonneesRecherche entree = donnees(fiche, noms_de(*resolu));
  entree.par_lien = entree.est_dossier() && !resolu->nom.empty() && est_lien(AT_FDCWD, resolu->utf8);
  return entree;
}

std::optional<std::vector<DonneesRecherche>> liste_dossier(std::string_view dossier,
                                                           std::vector<EntreeEcartee> *ecartees) {
  const auto resolu = resout_existant(dossier);
  if (!resolu) return std::nullopt;
  const auto noms = etat<CacheDossiers>().liste(resolu->utf8);
  if (!noms) return std::nullopt;
  const Fichier descripteur(::open(resolu->utf8.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!descripteur) return std::nullopt;
  std::vector<DonneesRecherche> entrees;
  entrees.reserve(noms->size());
  for (const NomsEntree &nom : *noms) {
    struct statx fiche {};
    if (!lit_fiche(descripteur.descripteur(), nom.disque, fiche)) {
      // A name that is gone since the folder was read is none.
      const bool lien = est_lien(descripteur.descripteur(), nom.disque);
      if (!lien && errno != ENOENT) return std::nullopt;
      if (lien && ecartees != nullptr) ecartees->push_back({nom.texte, true});
      continue;
    }
    if (!est_entree(fiche)) {
      if (ecartees != nullptr) ecartees->push_back({nom.texte, false});
      continue;
    }
    entrees.push_back(donnees(fiche, nom));
    DonneesRecherche &entree = entrees.back();
    entree.par_lien = entree.est_dossier() && est_lien(descripteur.descripteur(), nom.disque);
  }
  return entrees;
}

bool existe(std::string_view chemin) {
  struct stat fiche {};
  return fiche_de(chemin, fiche);
}

bool est_dossier(std::string_view chemin) {
  struct stat fiche {};
  return fiche_de(chemin, fiche) && S_ISDIR(fiche.st_mode);
}

Fichier ouvre(std::string_view chemin, Ouverture mode) {
  if (!peut_creer(mode)) {
    const auto resolu = resout_existant(chemin);
    return resolu ? ouvre_utf8(resolu->utf8, drapeaux(mode), resolu->regulier) : Fichier();
  }
  const auto resolu = resout_a_creer(chemin);
  if (!resolu) return {};
  if (resolu->existe) return ouvre_utf8(resolu->utf8, drapeaux(mode));
  const ChangementDossier changement(resolu->dossier_ouvrable());
  Fichier fichier = ouvre_utf8(resolu->utf8, drapeaux(mode));
  if (fichier) changement.apres({}, resolu->nom);
  return fichier;
}

Fichier ouvre_voisin(std::string_view chemin, std::string_view prefixe) {
  const auto resolu = resout_existant(chemin);
  if (!resolu || resolu->nom.empty()) return {};
  return ouvre_utf8(joint(resolu->dossier, std::string(prefixe) + resolu->nom), O_RDONLY);
}

bool supprime(std::string_view chemin) {
  const auto resolu = resout_existant(chemin);
  if (!resolu) return false;
  const ChangementDossier changement(resolu->dossier_ouvrable());
  if (::unlink(resolu->utf8.c_str()) != 0) return false;
  changement.apres(resolu->nom, {});
  return true;
}

bool renomme(std::string_view ancien, std::string_view nouveau) {
  const auto de = resout_existant(ancien);
  if (!de) return false;
  auto vers = resout_a_creer(nouveau);
  if (!vers || (vers->existe && garde_sa_place(vers->utf8))) return false;
  const bool meme = vers->existe && meme_inode(de->utf8, vers->utf8);
  if (meme) {  // most often a change of case alone, where the look-up found the file itself
    vers->nom = derniere_composante(nouveau);
    vers->utf8 = joint(vers->dossier, vers->nom);
  }
  const ChangementDossier depart(de->dossier_ouvrable());
  const ChangementDossier arrivee(vers->dossier_ouvrable());
  if (::rename(de->utf8.c_str(), vers->utf8.c_str()) != 0) return false;
  if (meme) return true;  // two links to one file both stay: the folder's time stamp tells what came of it
  depart.apres(de->nom, {});
  arrivee.apres({}, vers->nom);
  return true;
}

bool cree_dossier(std::string_view chemin) {
  const auto resolu = resout_a_creer(chemin);
  if (!resolu) return false;
  if (resolu->existe) {
    errno = EEXIST;
    return false;
  }
  const ChangementDossier changement(resolu->dossier_ouvrable());
  if (::mkdir(resolu->utf8.c_str(), 0777) != 0) return false;
  changement.apres({}, resolu->nom);
  return true;
}

bool supprime_dossier(std::string_view chemin) {
  const auto resolu = resout_existant(chemin);
  if (!resolu) return false;
  const ChangementDossier changement(resolu->dossier_ouvrable());
  if (::rmdir(resolu->utf8.c_str()) != 0) return false;
  changement.apres(resolu->nom, {});
  return true;
}

bool fixe_dates(const Fichier &fichier, std::int64_t acces, std::int64_t modification) {
  const std::array<timespec, 2> dates = {timespec{acces, 0}, timespec{modification, 0}};
  return ::futimens(fichier.descripteur(), dates.data()) == 0;
}

bool fixe_dates(std::string_view chemin, std::int64_t acces, std::int64_t modification) {
  const auto resolu = resout_existant(chemin);
  const std::array<timespec, 2> dates = {timespec{acces, 0}, timespec{modification, 0}};
  return resolu && ::utimensat(AT_FDCWD, resolu->utf8.c_str(), dates.data(), 0) == 0;
}

std::string texte_erreur(int numero) {
  std::array<char, 256> tampon{};
  return utf8_vers_texte(::strerror_r(numero, tampon.data(), tampon.size()));
}

std::optional<std::uint64_t> espace_libre(std::string_view chemin) {
  struct statvfs systeme {};
  if (!sur_existant(chemin, [&](const char *utf8) { return ::statvfs(utf8, &systeme); })) return std::nullopt;
  if (systeme.f_blocks == 0) return std::nullopt;  // a file system without storage has no figure to give
  return std::uint64_t{systeme.f_bavail} * systeme.f_frsize;
}

bool accepte_gros_fichiers(std::string_view chemin) {
  struct statfs systeme {};
  if (!sur_existant(chemin, [&](const char *utf8) { return ::statfs(utf8, &systeme); })) return true;
  return systeme.f_type != kMagieFat;
}

bool meme_fichier(std::string_view a, std::string_view b) {
  struct stat fiche_a {};
  struct stat fiche_b {};
  return fiche_de(a, fiche_a) && fiche_de(b, fiche_b) && fiche_a.st_dev == fiche_b.st_dev &&
         fiche_a.st_ino == fiche_b.st_ino;
}

std::optional<IdentiteFichier> identite(std::string_view chemin, std::string_view prefixe) {
  const auto resolu = resout_existant(chemin);
  if (!resolu || (!prefixe.empty() && resolu->nom.empty())) return std::nullopt;
  struct stat fiche {};
  const std::string utf8 =
      prefixe.empty() ? resolu->utf8 : joint(resolu->dossier, std::string(prefixe) + resolu->nom);
  if (::stat(utf8.c_str(), &fiche) != 0) return std::nullopt;
  return IdentiteFichier{fiche.st_dev, fiche.st_ino};
}

bool est_le_fichier(std::string_view chemin, const Fichier &fichier) {
  struct stat fiche_a {};
  struct stat fiche_b {};
  return fiche_de(chemin, fiche_a) && ::fstat(fichier.descripteur(), &fiche_b) == 0 &&
         fiche_a.st_dev == fiche_b.st_dev && fiche_a.st_ino == fiche_b.st_ino;
}

std::optional<IdentiteFichier> identite(const Fichier &fichier) {
  struct stat fiche {};
  if (!fichier.ouvert() || ::fstat(fichier.descripteur(), &fiche) != 0) return std::nullopt;
  return IdentiteFichier{fiche.st_dev, fiche.st_ino};
}

std::string chemin_reel_utf8(std::string_view chemin) {
  const auto resolu = resout_existant(chemin);
  if (!resolu) return {};
  const std::unique_ptr<char, decltype(&::free)> reel(::realpath(resolu->utf8.c_str(), nullptr), &::free);
  return reel ? std::string(reel.get()) : std::string();
}

Fichier ouvre_flux(std::string_view chemin, std::string_view nom) {
  const auto resolu = resout_existant(chemin);
  if (!resolu || !texte_univoque(nom)) return {};
  if (Fichier flux = ouvre_utf8(resolu->utf8 + ":" + std::string(nom), O_RDONLY)) return flux;
  const auto valeur = attribut_etendu(resolu->utf8, "user." + std::string(nom));
  if (!valeur) {
    if (errno == ENOTSUP) errno = ENODATA;
    return {};
  }
  Fichier copie = fichier_anonyme();
  if (!copie || !copie.ecrire_a(*valeur, 0)) return {};
  return copie;
}

}  // namespace varnion::plateforme
