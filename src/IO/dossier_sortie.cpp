#include "IO/dossier_sortie.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "IO/dossiers.hpp"
#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr int kOuvreDossier = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

std::string clos(std::string chemin) {
  if (!chemin.ends_with('/')) chemin += '/';
  return chemin;
}

}  // namespace

std::optional<DossierSortie> DossierSortie::ouvre(std::string_view chemin, bool suit_liens) {
  const auto resolu = plateforme::resout_existant(chemin.empty() ? std::string_view(".") : chemin);
  if (!resolu) return std::nullopt;
  Fichier dossier(::open(resolu->utf8.c_str(), kOuvreDossier));
  if (!dossier) return std::nullopt;
  return DossierSortie(std::move(dossier), clos(resolu->utf8), suit_liens);
}

std::optional<DossierSortie> DossierSortie::descend(const std::string &nom, bool *cree) const {
  const bool fait = ::mkdirat(dossier_.descripteur(), nom.c_str(), 0777) == 0;
  if (!fait && errno != EEXIST) return std::nullopt;
  if (cree != nullptr) *cree = fait;
  const int modes = suit_liens_ ? kOuvreDossier : kOuvreDossier | O_NOFOLLOW;
  Fichier dossier(::openat(dossier_.descripteur(), nom.c_str(), modes));
  if (dossier) return DossierSortie(std::move(dossier), clos(chemin_ + nom), suit_liens_);
  const int erreur = errno;
  struct stat fiche {};
  const bool lien = !suit_liens_ &&
                    ::fstatat(dossier_.descripteur(), nom.c_str(), &fiche, AT_SYMLINK_NOFOLLOW) == 0 &&
                    S_ISLNK(fiche.st_mode);
  errno = lien ? ELOOP : erreur;
  return std::nullopt;
}

Fichier DossierSortie::cree(const std::string &nom) const {
  return Fichier(::openat(dossier_.descripteur(), nom.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
}

bool DossierSortie::supprime(const std::string &nom) const {
  return ::unlinkat(dossier_.descripteur(), nom.c_str(), 0) == 0;
}

bool DossierSortie::renomme(const std::string &ancien, const std::string &nouveau) const {
  return ::renameat(dossier_.descripteur(), ancien.c_str(), dossier_.descripteur(), nouveau.c_str()) == 0;
}

bool DossierSortie::existe(const std::string &nom) const {
  return ::faccessat(dossier_.descripteur(), nom.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) == 0;
}

bool DossierSortie::est_le_fichier(const std::string &nom, const Fichier &fichier) const {
  struct stat ici {
  }, la{};
  return ::fstatat(dossier_.descripteur(), nom.c_str(), &ici, 0) == 0 &&
         ::fstat(fichier.descripteur(), &la) == 0 && ici.st_dev == la.st_dev && ici.st_ino == la.st_ino;
}

bool DossierSortie::remplacable(const std::string &nom) const {
  struct stat fiche {};
  if (::fstatat(dossier_.descripteur(), nom.c_str(), &fiche, 0) != 0) return errno == ENOENT;
  errno = S_ISDIR(fiche.st_mode) ? EISDIR : ENXIO;
  return S_ISREG(fiche.st_mode);
}

bool DossierSortie::est_dossier(const std::string &nom) const {
  struct stat fiche {};
  return ::fstatat(dossier_.descripteur(), nom.c_str(), &fiche, 0) == 0 && S_ISDIR(fiche.st_mode);
}

std::optional<std::uint64_t> DossierSortie::espace_libre() const {
  struct statvfs fiche {};
  if (::fstatvfs(dossier_.descripteur(), &fiche) != 0) return std::nullopt;
  return std::uint64_t{fiche.f_bavail} * fiche.f_frsize;
}

bool DossierSortie::fixe_dates(std::int64_t secondes) const {
  return plateforme::fixe_dates(dossier_, secondes, secondes);
}

}  // namespace varnion
