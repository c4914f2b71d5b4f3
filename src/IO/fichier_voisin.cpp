#include "IO/fichier_voisin.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

#include "IO/dossiers.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr int kNumerosMax = 100;
constexpr int kCopiesMax = 1000;
constexpr int kLiensMax = 40;  // as many as the system follows
constexpr std::string_view kMarqueNom = ".varnion-";
constexpr std::string_view kSuffixe = ".part";
// The mark of an unfinished file: the sticky bit means nothing on a plain file, and no program sets it there.
constexpr mode_t kModeInacheve = S_ISVTX | S_IRUSR | S_IWUSR;
constexpr mode_t kBitsMode = 07777;
constexpr mode_t kDroits = 0777;
constexpr const char *kListeAcces = "system.posix_acl_access";

bool meme(const struct stat &a, const struct stat &b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

bool porte_marque(const struct stat &fiche) {
  return S_ISREG(fiche.st_mode) && (fiche.st_mode & kBitsMode) == kModeInacheve && fiche.st_nlink == 1 &&
         fiche.st_uid == ::geteuid();
}

// True with the lock; false when another holds it, and where the file system knows no locks.
bool verrou_pris(const Fichier &fichier) {
  return ::flock(fichier.descripteur(), LOCK_EX | LOCK_NB) == 0;
}

// Cuts a name so that `suffixe` fits behind it, never inside a character.
std::string abrege(const std::string &nom, std::size_t suffixe) {
  if (nom.size() + suffixe <= kNomDisqueMax) return nom;
  std::size_t fin = kNomDisqueMax - suffixe;
  while (fin > 0 && (static_cast<unsigned char>(nom[fin]) & 0xC0U) == 0x80U) --fin;
  return nom.substr(0, fin);
}

std::string nom_provisoire(const std::string &nom, int numero) {
  const std::string suffixe = std::string(kMarqueNom) + std::to_string(numero) + std::string(kSuffixe);
  return abrege(nom, suffixe.size()) + suffixe;
}

std::string nom_sans_extension(const std::string &nom) {
  const std::size_t point = nom.rfind('.');
  return nom.substr(0, point == std::string::npos || point == 0 ? nom.size() : point);
}

// "NAME (2).ext"
std::string nom_a_cote(const std::string &nom, int numero) {
  const std::string debut = nom_sans_extension(nom);
  const std::string suffixe = " (" + std::to_string(numero) + ")" + nom.substr(debut.size());
  return abrege(debut, suffixe.size()) + suffixe;
}

void separe(const std::string &chemin, std::string &dossier, std::string &nom) {
  const std::size_t barre = chemin.rfind('/');
  const std::size_t debut = barre == std::string::npos ? 0 : barre + 1;
  nom = chemin.substr(debut);
  dossier = chemin.substr(0, debut > 1 ? debut - 1 : debut);
  if (nom == "." || nom == "..") nom.clear();
}

// Goes where a chain of links ends, whether a file is there or not.
bool suit_liens(std::string &dossier, std::string &nom) {
  struct stat fiche {};
  // The system looks first: it refuses circles, and links that others may have planted in a shared folder.
  if (::stat(plateforme::joint(dossier, nom).c_str(), &fiche) != 0 && errno != ENOENT) return false;
  std::array<char, PATH_MAX> but{};
  for (int n = 0; n < kLiensMax; ++n) {
    const ssize_t lus = ::readlink(plateforme::joint(dossier, nom).c_str(), but.data(), but.size());
    if (lus < 0) return errno == EINVAL || errno == ENOENT;
    const std::string vers(but.data(), static_cast<std::size_t>(lus));
    separe(vers.starts_with('/') ? vers : plateforme::joint(dossier, vers), dossier, nom);
    if (!nom.empty()) continue;
    errno = EISDIR;
    return false;
  }
  errno = ELOOP;
  return false;
}

bool par_noyau(int dossier, const char *ancien, const char *nouveau, bool &manque) {
  if (::renameat2(dossier, ancien, dossier, nouveau, RENAME_NOREPLACE) == 0) return true;
  manque = errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
  return false;
}

bool par_lien(int dossier, const char *ancien, const char *nouveau, bool &manque) {
  if (::linkat(dossier, ancien, dossier, nouveau, 0) == 0) return ::unlinkat(dossier, ancien, 0) == 0;
  manque = errno == EPERM || errno == ENOSYS || errno == ENOTSUP || errno == EMLINK;
  return false;
}

// An empty file of our own takes the name first.
bool par_reserve(int dossier, const char *ancien, const char *nouveau) {
  const Fichier reserve(::openat(dossier, nouveau, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!reserve) return false;
  if (::renameat(dossier, ancien, dossier, nouveau) == 0) return true;
  const int erreur = errno;
  static_cast<void>(::unlinkat(dossier, nouveau, 0));
  errno = erreur;
  return false;
}

// `neuf` takes the name `nom`, whose file takes `garde`. At no moment, where the file system can, is there no
// file of that name.
bool echange(int dossier, const std::string &neuf, const std::string &nom, const std::string &garde) {
  const auto renomme = [dossier](const std::string &de, const std::string &vers, unsigned drapeaux) {
    return ::renameat2(dossier, de.c_str(), dossier, vers.c_str(), drapeaux) == 0;
  };
  const bool ensemble = renomme(neuf, nom, RENAME_EXCHANGE);
  if (ensemble && renomme(neuf, garde, 0)) return true;
  if (!ensemble && renomme(nom, garde, 0)) {
    if (renomme(neuf, nom, 0)) return true;
    const int erreur = errno;
    static_cast<void>(renomme(garde, nom, 0));
    errno = erreur;
    return false;
  }
  const int erreur = errno;
  if (ensemble) static_cast<void>(renomme(neuf, nom, RENAME_EXCHANGE));
  errno = erreur;
  return false;
}

}  // namespace

bool renomme_si_libre(int dossier, const std::string &ancien, const std::string &nouveau, MoyenPose moyen) {
  bool manque = false;
  if (moyen == MoyenPose::noyau) {
    if (par_noyau(dossier, ancien.c_str(), nouveau.c_str(), manque)) return true;
    if (!manque) return false;
  }
  if (moyen != MoyenPose::reserve) {
    if (par_lien(dossier, ancien.c_str(), nouveau.c_str(), manque = false)) return true;
    if (!manque) return false;
  }
  return par_reserve(dossier, ancien.c_str(), nouveau.c_str());
}

FichierVoisin &FichierVoisin::operator=(FichierVoisin &&autre) noexcept {
  if (this == &autre) return *this;
  jette();
  dossier_ = std::move(autre.dossier_);
  chemin_dossier_ = std::move(autre.chemin_dossier_);
  nom_ = std::move(autre.nom_);
  nom_actuel_ = std::move(autre.nom_actuel_);
  fichier_ = std::move(autre.fichier_);
  ancien_ = autre.ancien_;
  existait_ = autre.existait_;
  suit_liens_ = autre.suit_liens_;
  pose_ = autre.pose_;
  mode_neuf_ = autre.mode_neuf_;
  limite_ = autre.limite_;
  return *this;
}

FichierVoisin FichierVoisin::commence(std::string_view cible) {
  FichierVoisin voisin;
  if (!cible.empty() && !plateforme::texte_univoque(cible)) {
    errno = EINVAL;
    return voisin;
  }
  const auto resolu = plateforme::resout(cible);
  if (!resolu) return voisin;
  voisin.nom_ = resolu->nom;
  std::string dossier = resolu->dossier_ouvrable();
  if (voisin.nom_.empty()) {
    errno = EISDIR;
    return voisin;
  }
  if (!suit_liens(dossier, voisin.nom_)) return voisin;
  voisin.chemin_dossier_ = dossier.empty() ? "." : dossier;
  if (voisin.ouvre_dossier()) static_cast<void>(voisin.cree());
  return voisin;
}

FichierVoisin FichierVoisin::commence(const DossierSortie &dossier, const std::string &nom) {
  FichierVoisin voisin;
  voisin.nom_ = nom;
  voisin.suit_liens_ = false;
  voisin.chemin_dossier_ = dossier.chemin();
  voisin.dossier_ = Fichier(::fcntl(dossier.descripteur(), F_DUPFD_CLOEXEC, 0));
  if (voisin.dossier_.ouvert()) static_cast<void>(voisin.cree());
  return voisin;
}

// A folder that may be written but not read can still be worked in.
bool FichierVoisin::ouvre_dossier() {
  dossier_ = Fichier(::open(chemin_dossier_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!dossier_ && errno == EACCES)
    dossier_ = Fichier(::open(chemin_dossier_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return dossier_.ouvert();
}

bool FichierVoisin::cree() {
  if (!regarde(ancien_, existait_)) return false;
  for (int numero = 1; numero <= kNumerosMax; ++numero) {
    const std::string nom = nom_provisoire(nom_, numero);
    if (cree_sous(nom)) return true;
    if (errno == EEXIST && enleve_reste(nom) && cree_sous(nom)) return true;
    if (errno != EEXIST) return false;
  }
  return false;
}

// EEXIST, too, when another run takes the file for a left one before it could be locked.
bool FichierVoisin::cree_sous(const std::string &nom) {
  const plateforme::ChangementDossier changement(chemin_dossier_);
  fichier_ = Fichier(::openat(dossier_.descripteur(), nom.c_str(),
                              O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, existait_ ? 0600 : 0666));
  if (!fichier_) return false;
  changement.apres({}, nom);
  struct stat fiche {};
  if (::fstat(fichier_.descripteur(), &fiche) == 0) mode_neuf_ = fiche.st_mode & kDroits;
  if (fichier_verrouille(fichier_) && est_ici(nom, fichier_)) {
    // Where the file system has no such modes the file goes without its mark, and would be left alone.
    static_cast<void>(::fchmod(fichier_.descripteur(), kModeInacheve));
    nom_actuel_ = nom;
    return true;
  }
  fichier_ = Fichier();
  errno = EEXIST;
  return false;
}

// Takes away what a killed run left under the name. `errno` is EEXIST when it is not that.
bool FichierVoisin::enleve_reste(const std::string &nom) const {
  const auto refuse = [] {
    errno = EEXIST;
    return false;
  };
  struct stat fiche {};
  if (::fstatat(dossier_.descripteur(), nom.c_str(), &fiche, AT_SYMLINK_NOFOLLOW) != 0 ||
      !porte_marque(fiche))
    return refuse();
  const Fichier reste(
      ::openat(dossier_.descripteur(), nom.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!reste || !verrou_pris(reste) || ::fstat(reste.descripteur(), &fiche) != 0 || !porte_marque(fiche) ||
      !est_ici(nom, reste))
    return refuse();
  const plateforme::ChangementDossier changement(chemin_dossier_);
  if (::unlinkat(dossier_.descripteur(), nom.c_str(), 0) != 0) return refuse();
  changement.apres(nom, {});
  return true;
}

bool FichierVoisin::est_ici(const std::string &nom, const Fichier &fichier) const {
  struct stat ici {};
  struct stat la {};
  return ::fstatat(dossier_.descripteur(), nom.c_str(), &ici, AT_SYMLINK_NOFOLLOW) == 0 &&
         ::fstat(fichier.descripteur(), &la) == 0 && meme(ici, la);
}

// What has the name now. False where that keeps its place.
bool FichierVoisin::regarde(struct stat &fiche, bool &existe) const {
  fiche = {};
  existe = ::fstatat(dossier_.descripteur(), nom_.c_str(), &fiche, AT_SYMLINK_NOFOLLOW) == 0;
  if (!existe) return errno == ENOENT;
  if (S_ISREG(fiche.st_mode)) return true;
  if (S_ISLNK(fiche.st_mode)) {
    if (!suit_liens_) return true;
    errno = ELOOP;  // it came in the meantime
    return false;
  }
  errno = S_ISDIR(fiche.st_mode) ? EISDIR : ENXIO;
  return false;
}

std::string FichierVoisin::chemin() const {
  const std::string utf8 = plateforme::joint(chemin_dossier_, nom_actuel_);
  const auto texte = plateforme::chemin_utf8_utilisable(utf8, std::numeric_limits<std::size_t>::max());
  return texte ? *texte : plateforme::utf8_vers_texte(utf8);
}

void FichierVoisin::comme(const Fichier &source) {
  struct stat fiche {};
  if (::fstat(source.descripteur(), &fiche) == 0) limite_ = (fiche.st_mode & kDroits) | S_IRUSR | S_IWUSR;
}

// Late write errors come to light here: some file systems tell them when a file is closed, and closing a
// second descriptor counts as that.
bool FichierVoisin::assure(bool sur_disque) const {
  if (sur_disque) return fichier_vider(fichier_);
  const int second = ::fcntl(fichier_.descripteur(), F_DUPFD_CLOEXEC, 0);
  return second < 0 || ::close(second) == 0 || errno == EINTR;
}

// The rights that the owner's group had, for as far as it is the same group.
mode_t FichierVoisin::garde_groupe(const struct stat &ancien) const {
  const int descripteur = fichier_.descripteur();
  if (::fchown(descripteur, ancien.st_uid, ancien.st_gid) != 0)
    static_cast<void>(::fchown(descripteur, static_cast<uid_t>(-1), ancien.st_gid));
  mode_t mode = ancien.st_mode & kDroits;
  struct stat fiche {};
  const bool groupe = ::fstat(descripteur, &fiche) == 0 && fiche.st_gid == ancien.st_gid;
  // An access list says more than the mode does; with one, the bits of the group are its bound.
  const std::string chemin = plateforme::joint(chemin_dossier_, nom_);
  std::vector<char> liste(XATTR_SIZE_MAX);
  struct stat ici {};
  const bool sien = ::lstat(chemin.c_str(), &ici) == 0 && meme(ici, ancien);
  const ssize_t longueur =
      sien ? ::lgetxattr(chemin.c_str(), kListeAcces, liste.data(), liste.size()) : ssize_t{-1};
  bool fidele = groupe;
  if (longueur > 0)
    fidele =
        ::fsetxattr(descripteur, kListeAcces, liste.data(), static_cast<std::size_t>(longueur), 0) == 0 &&
        groupe;
  else
    static_cast<void>(::fremovexattr(descripteur, kListeAcces));
  if (!fidele) mode &= ~static_cast<mode_t>(S_IRWXG) | ((mode & S_IRWXO) << 3);
  return mode;
}

// `ancien` all zero: there was none.
void FichierVoisin::prend_droits(const struct stat &ancien) const {
  const mode_t mode = S_ISREG(ancien.st_mode) ? garde_groupe(ancien) : mode_neuf_;
  static_cast<void>(::fchmod(fichier_.descripteur(), mode & limite_));
}

void FichierVoisin::pose_sous(const std::string &nom, bool sur_disque) {
  nom_actuel_ = nom;
  pose_ = true;
  // The file is in place: a folder that cannot be flushed changes nothing about that.
  if (sur_disque) static_cast<void>(fichier_vider(dossier_));
}

bool FichierVoisin::pose(Ecrasement ecrasement, bool sur_disque) {
  struct stat la {};
  bool existe = false;
  if (!ouvert() || pose_ || !regarde(la, existe)) return false;
  const bool permis = ecrasement == Ecrasement::toujours ||
                      (ecrasement == Ecrasement::connu && existait_ && meme(la, ancien_));
  if (existe && !permis) {
    errno = EEXIST;
    return false;
  }
  if (!assure(sur_disque)) return false;
  prend_droits(existe ? la : ancien_);
  if (!assure(sur_disque)) return false;
  const plateforme::ChangementDossier changement(chemin_dossier_);
  const int dossier = dossier_.descripteur();
  const bool fait = existe || ecrasement == Ecrasement::toujours
                        ? ::renameat(dossier, nom_actuel_.c_str(), dossier, nom_.c_str()) == 0
                        : renomme_si_libre(dossier, nom_actuel_, nom_);
  if (!fait) return false;
  changement.apres(nom_actuel_, nom_);
  pose_sous(nom_, sur_disque);
  return true;
}

bool FichierVoisin::pose_en_gardant(std::string_view extension) {
  struct stat la {};
  struct stat ici {};
  bool existe = false;
  if (!ouvert() || pose_ || !regarde(la, existe)) return false;
  if (!existe) return pose(Ecrasement::jamais);
  const std::string garde = nom_sans_extension(nom_) + "." + std::string(extension);
  const int dossier = dossier_.descripteur();
  const bool prise = ::fstatat(dossier, garde.c_str(), &ici, AT_SYMLINK_NOFOLLOW) == 0;
  if (prise && (S_ISDIR(ici.st_mode) || meme(ici, la))) {
    errno = S_ISDIR(ici.st_mode) ? EISDIR : EINVAL;
    return false;
  }
  if (!assure(true)) return false;
  prend_droits(la);
  if (!assure(true)) return false;
  const plateforme::ChangementDossier changement(chemin_dossier_);
  if (!echange(dossier, nom_actuel_, nom_, garde)) return false;
  changement.apres(nom_actuel_, garde);
  pose_sous(nom_, true);
  return true;
}

std::string FichierVoisin::pose_a_cote() {
  static_cast<void>(assure(true));
  prend_droits(ancien_);
  const plateforme::ChangementDossier changement(chemin_dossier_);
  for (int numero = 2; numero <= kCopiesMax; ++numero) {
    const std::string nom = nom_a_cote(nom_, numero);
    if (renomme_si_libre(dossier_.descripteur(), nom_actuel_, nom)) {
      changement.apres(nom_actuel_, nom);
      pose_sous(nom, true);
      return chemin();
    }
    if (errno != EEXIST) break;
  }
  pose_sous(nom_actuel_, true);
  return chemin();
}

Fichier FichierVoisin::prend() {
  if (!pose_) return {};
  static_cast<void>(::flock(fichier_.descripteur(), LOCK_UN));
  return std::move(fichier_);
}

void FichierVoisin::jette() {
  if (!fichier_.ouvert()) return;
  const int erreur = errno;
  if (!pose_ && est_ici(nom_actuel_, fichier_)) {
    const plateforme::ChangementDossier changement(chemin_dossier_);
    if (::unlinkat(dossier_.descripteur(), nom_actuel_.c_str(), 0) == 0) changement.apres(nom_actuel_, {});
  }
  fichier_ = Fichier();
  errno = erreur;
}

}  // namespace varnion
