#include "IO/fichier.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "IO/operations.hpp"

namespace varnion {
namespace {

constexpr std::uint64_t kMaxPosition = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
constexpr std::size_t kUniteCopie = 2048;
constexpr std::size_t kBlocDeplacement = std::size_t{1} << 20;
constexpr std::size_t kBlocRecherche = std::size_t{1} << 16;
constexpr std::size_t kBlocLigne = 512;

// Repeats a transfer until all is done, the end is met (0) or an error (-1). `appel` is given the bytes done
// so far.
template <typename Appel>
std::int64_t transfere(std::size_t longueur, Appel appel) {
  std::size_t fait = 0;
  while (fait < longueur) {
    const ssize_t n = appel(fait);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return -1;
    if (n == 0) break;
    fait += static_cast<std::size_t>(n);
  }
  return static_cast<std::int64_t>(fait);
}

bool position_valide(std::uint64_t position, std::size_t longueur) {
  if (position <= kMaxPosition && longueur <= kMaxPosition - position) return true;
  errno = EFBIG;
  return false;
}

// A write that moves nothing without an error of its own is taken for a full disk.
bool tout_ecrit(std::int64_t fait, std::size_t longueur) {
  if (fait == static_cast<std::int64_t>(longueur)) return true;
  if (fait >= 0) errno = ENOSPC;
  return false;
}

std::size_t unites_copie(std::uint64_t longueur) {
  if (longueur <= 0x80000) return 128;
  if (longueur <= 0x100000) return 256;
  if (longueur <= 0x400000) return 512;
  if (longueur <= 0x800000) return 1024;
  return 1536;
}

bool produit(std::size_t taille, std::size_t nombre, std::size_t &total) {
  if (nombre == 0 || taille > std::numeric_limits<std::size_t>::max() / nombre) {
    errno = EINVAL;
    return false;
  }
  total = taille * nombre;
  return true;
}

// Length of the first line of `octets` with its end; 0 when more bytes are needed to tell.
std::size_t longueur_ligne(std::string_view octets) {
  const std::size_t fin = octets.find_first_of("\r\n");
  if (fin == std::string_view::npos || fin + 1 == octets.size()) return 0;
  const char suivant = octets[fin + 1];
  const bool paire = (suivant == '\r' || suivant == '\n') && suivant != octets[fin];
  return fin + (paire ? 2 : 1);
}

}  // namespace

Fichier &Fichier::operator=(Fichier &&autre) noexcept {
  if (this != &autre) {
    fermer();
    descripteur_ = autre.relache();
  }
  return *this;
}

Fichier::~Fichier() {
  const int erreur = errno;
  fermer();
  errno = erreur;
}

int Fichier::relache() {
  return std::exchange(descripteur_, -1);
}

bool Fichier::fermer() {
  if (descripteur_ < 0) return true;
  // On Linux the descriptor is gone even when close is interrupted.
  return ::close(relache()) == 0 || errno == EINTR;
}

std::int64_t Fichier::lire_a(std::span<std::uint8_t> octets, std::uint64_t position) const {
  if (!position_valide(position, octets.size())) return -1;
  return transfere(octets.size(), [&](std::size_t fait) {
    return ::pread(descripteur_, octets.data() + fait, octets.size() - fait,
                   static_cast<off_t>(position + fait));
  });
}

bool Fichier::ecrire_a(std::span<const std::uint8_t> octets, std::uint64_t position) const {
  if (!position_valide(position, octets.size())) return false;
  const std::int64_t fait = transfere(octets.size(), [&](std::size_t deja) {
    return ::pwrite(descripteur_, octets.data() + deja, octets.size() - deja,
                    static_cast<off_t>(position + deja));
  });
  return tout_ecrit(fait, octets.size());
}

std::int64_t Fichier::lire(std::span<std::uint8_t> octets) const {
  return transfere(octets.size(), [&](std::size_t fait) {
    return ::read(descripteur_, octets.data() + fait, octets.size() - fait);
  });
}

bool Fichier::ecrire(std::span<const std::uint8_t> octets) const {
  const std::int64_t fait = transfere(octets.size(), [&](std::size_t deja) {
    return ::write(descripteur_, octets.data() + deja, octets.size() - deja);
  });
  return tout_ecrit(fait, octets.size());
}

bool fichier_debut(const Fichier &fichier) {
  return fichier_seek(fichier, 0, 0) == 0;
}

std::int64_t fichier_seek(const Fichier &fichier, std::int64_t deplacement, int origine) {
  constexpr std::array<int, 3> kOrigines = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origine < 0 || origine > 2) {
    errno = EINVAL;
    return -1;
  }
  return ::lseek(fichier.descripteur(), deplacement, kOrigines[static_cast<std::size_t>(origine)]);
}

std::int64_t fichier_position(const Fichier &fichier) {
  return fichier_seek(fichier, 0, 1);
}

bool fichier_orphelin(const Fichier &fichier) {
  struct stat fiche {};
  return ::fstat(fichier.descripteur(), &fiche) == 0 && fiche.st_nlink == 0;
}

std::int64_t fichier_taille(const Fichier &fichier) {
  struct stat fiche {};
  return ::fstat(fichier.descripteur(), &fiche) == 0 ? fiche.st_size : -1;
}

bool fichier_vider(const Fichier &fichier) {
  int resultat = -1;
  do {
    resultat = ::fsync(fichier.descripteur());
  } while (resultat < 0 && errno == EINTR);
  return resultat == 0;
}

std::int64_t fichier_lire(void *tampon, std::size_t taille, std::size_t nombre, const Fichier &fichier) {
  std::size_t total = 0;
  if (!produit(taille, nombre, total)) return -1;
  const std::int64_t lus = fichier.lire({static_cast<std::uint8_t *>(tampon), total});
  return lus < 0 ? -1 : lus / static_cast<std::int64_t>(nombre);
}

std::int64_t fichier_ecrire(const void *tampon, std::size_t taille, std::size_t nombre,
                            const Fichier &fichier) {
  std::size_t total = 0;
  if (!produit(taille, nombre, total)) return -1;
  if (!fichier.ecrire({static_cast<const std::uint8_t *>(tampon), total})) return -1;
  return static_cast<std::int64_t>(taille);
}

bool fichier_tronquer(const Fichier &fichier, std::uint64_t taille) {
  if (!position_valide(taille, 0)) return false;
  const std::int64_t avant = fichier_position(fichier);
  const auto nouvelle = static_cast<std::int64_t>(taille);
  int resultat = -1;
  do {
    resultat = ::ftruncate(fichier.descripteur(), nouvelle);
  } while (resultat < 0 && errno == EINTR);
  const int erreur = errno;
  fichier_seek(fichier, avant >= 0 && avant < nouvelle ? avant : nouvelle, 0);
  errno = erreur;
  return resultat == 0;
}

bool fichier_verrouille(const Fichier &fichier) {
  int resultat = -1;
  do {
    resultat = ::flock(fichier.descripteur(), LOCK_EX | LOCK_NB);
  } while (resultat < 0 && errno == EINTR);
  return resultat == 0 || errno != EWOULDBLOCK;
}

int fichier_getc(const Fichier &fichier) {
  std::uint8_t octet = 0;
  return fichier.lire({&octet, 1}) == 1 ? octet : -1;
}

std::optional<std::string> fichier_gets(std::size_t limite, const Fichier &fichier) {
  const std::int64_t debut = fichier_position(fichier);
  if (debut < 0 || limite == 0) return std::nullopt;
  std::string ligne;
  std::array<std::uint8_t, kBlocLigne> bloc{};
  for (bool finie = false; !finie && ligne.size() < limite;) {
    const std::int64_t lus = fichier.lire_a(bloc, static_cast<std::uint64_t>(debut) + ligne.size());
    if (lus <= 0) break;
    // The search starts one byte back, where an end of line may wait for the second byte of its pair.
    const std::size_t reprise = ligne.empty() ? 0 : ligne.size() - 1;
    ligne.append(reinterpret_cast<const char *>(bloc.data()), static_cast<std::size_t>(lus));
    const std::size_t fin = longueur_ligne(std::string_view(ligne).substr(reprise));
    finie = fin != 0;
    if (finie) ligne.resize(reprise + fin);
  }
  ligne.resize(std::min(ligne.size(), limite));
  if (ligne.empty()) return std::nullopt;
  fichier_seek(fichier, debut + static_cast<std::int64_t>(ligne.size()), 0);
  return ligne;
}

bool fichier_puts(std::string_view texte, const Fichier &fichier) {
  return fichier.ecrire({reinterpret_cast<const std::uint8_t *>(texte.data()), texte.size()});
}

bool fichier_deplacer(const Fichier &fichier, std::uint64_t cible, std::uint64_t source) {
  if (cible > source) {
    errno = EINVAL;
    return false;
  }
  std::vector<std::uint8_t> tampon(kBlocDeplacement);
  while (cible < source) {
    const std::int64_t lus = fichier.lire_a(tampon, source);
    if (lus < 0) return false;
    if (lus == 0) break;
    const auto n = static_cast<std::size_t>(lus);
    if (!fichier.ecrire_a(std::span(tampon).first(n), cible)) return false;
    cible += n;
    source += n;
  }
  return fichier_seek(fichier, static_cast<std::int64_t>(cible), 0) >= 0;
}

int fichier_copier(const Fichier &source, const Fichier &cible, std::uint64_t longueur) {
  const std::size_t taille = unites_copie(longueur) * kUniteCopie;
  const std::unique_ptr<std::uint8_t[]> tampon(new (std::nothrow) std::uint8_t[taille]());
  if (!tampon) return -1;
  const bool jauge = longueur > 10 * static_cast<std::uint64_t>(taille);
  if (jauge) operations().progression_debut(longueur / taille + 1);
  int resultat = 0;
  while (longueur > 0) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(longueur, taille));
    const std::int64_t lus = source.lire({tampon.get(), n});
    if (lus == 0) break;
    if (lus < 0 || !cible.ecrire({tampon.get(), static_cast<std::size_t>(lus)})) {
      resultat = -2;
      break;
    }
    longueur -= static_cast<std::uint64_t>(lus);
    if (jauge) operations().progression_pas(1);
  }
  const int erreur = errno;
  if (jauge) operations().progression_fin();
  errno = erreur;
  return resultat;
}

std::int64_t fichier_chercher(const Fichier &fichier, std::string_view texte) {
  const std::int64_t debut = fichier_position(fichier);
  if (debut < 0 || texte.empty()) return debut < 0 ? 0 : debut;
  std::vector<std::uint8_t> bloc(kBlocRecherche + texte.size() - 1);
  std::int64_t candidat = 0;
  std::int64_t position = debut;
  for (;;) {
    const std::int64_t lus = fichier.lire_a(bloc, static_cast<std::uint64_t>(position));
    if (lus <= 0) break;
    const std::string_view vu(reinterpret_cast<const char *>(bloc.data()), static_cast<std::size_t>(lus));
    const std::size_t trouve = vu.find(texte);
    if (trouve != std::string_view::npos) {
      position += static_cast<std::int64_t>(trouve);
      fichier_seek(fichier, position, 0);
      return position;
    }
    const std::size_t dernier = vu.rfind(texte.front());
    if (dernier != std::string_view::npos) candidat = position + static_cast<std::int64_t>(dernier);
    if (vu.size() < bloc.size()) {
      position += lus;
      break;
    }
    position += static_cast<std::int64_t>(kBlocRecherche);
  }
  fichier_seek(fichier, position, 0);
  return candidat;
}

}  // namespace varnion
