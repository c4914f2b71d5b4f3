#include "hfs/pilote_memoire.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <vector>

#include "hfs/arbre.hpp"
#include "IO/etat.hpp"

namespace varnion {
namespace {

constexpr std::size_t kOctetsPage = std::size_t{FenetreMemoire::kSecteursParPage} * kTailleSecteur;
constexpr std::uint64_t kPagesMax = std::uint64_t{1} << 24;  // 1 TiB: more is a mistake
constexpr std::size_t kOctetsRun = std::size_t{1} << 20;

int driver_fenetre(RequeteIO &requete) {
  return fenetre_memoire().transfere(requete);
}

// The part of a request from sector `saut` on, `nombre` sectors long, given to the file driver.
void transfere_fichier(const RequeteIO &requete, std::uint32_t saut, std::uint32_t nombre) {
  if (nombre == 0) return;
  RequeteIO partie = requete;
  partie.position += saut;
  partie.nb_secteurs = nombre;
  partie.tampon = static_cast<std::uint8_t *>(requete.tampon) + std::size_t{saut} * kTailleSecteur;
  driver_fichier(partie);
}

}  // namespace

FenetreMemoire &fenetre_memoire() {
  return etat<FenetreMemoire>();
}

bool FenetreMemoire::ouvre_fenetre(std::uint64_t debut, std::uint64_t nombre) {
  ferme_fenetre();
  const std::uint64_t pages = quotient_haut<std::uint64_t>(nombre, kSecteursParPage);
  if (pages > kPagesMax) return false;
  pages_.reset(new (std::nothrow) Page[pages]);
  if (pages_ == nullptr) return false;
  nb_pages_ = pages;
  debut_ = debut;
  nombre_ = nombre;
  support().entree_driver = driver_fenetre;
  support().entree_driver_carte = driver_fenetre;
  return true;
}

void FenetreMemoire::ferme_fenetre() {
  pages_.reset();
  nb_pages_ = 0;
  debut_ = 0;
  nombre_ = 0;
  manque_memoire_ = false;
  vide_cache();
  support().entree_driver = driver_fichier;
  support().entree_driver_carte = driver_fichier;
}

int FenetreMemoire::transfere(RequeteIO &requete) {
  const bool ecrit = requete.operation == kOperationEcrire;
  if ((!ecrit && requete.operation != kOperationLire) || requete.tampon == nullptr) return 1;
  const std::uint64_t debut = requete.position;
  // Counts of sectors before, in and behind the window; positions near the end of the 64-bit range lie behind
  // it.
  const auto avant = static_cast<std::uint32_t>(
      debut < debut_ ? std::min<std::uint64_t>(debut_ - debut, requete.nb_secteurs) : 0);
  std::uint32_t dedans = 0;
  const std::uint64_t entree = debut < debut_ ? 0 : debut - debut_;
  if (entree < nombre_) {
    dedans =
        static_cast<std::uint32_t>(std::min<std::uint64_t>(requete.nb_secteurs - avant, nombre_ - entree));
  }
  transfere_fichier(requete, 0, avant);
  transfere_dans(ecrit, entree, dedans,
                 static_cast<std::uint8_t *>(requete.tampon) + std::size_t{avant} * kTailleSecteur);
  transfere_fichier(requete, avant + dedans, requete.nb_secteurs - avant - dedans);
  return verdict_transfert(std::uint64_t{requete.nb_secteurs} * kTailleSecteur, requete.nb_secteurs);
}

void FenetreMemoire::transfere_dans(bool ecrit, std::uint64_t secteur, std::uint32_t nombre,
                                    std::uint8_t *tampon) {
  while (nombre > 0) {
    Page &page = pages_[secteur / kSecteursParPage];
    const auto place = static_cast<std::uint32_t>(secteur % kSecteursParPage);
    const std::uint32_t partie = std::min(nombre, kSecteursParPage - place);
    const std::size_t octets = std::size_t{partie} * kTailleSecteur;
    if (ecrit && page.octets == nullptr) page.octets.reset(new (std::nothrow) std::uint8_t[kOctetsPage]());
    if (page.octets == nullptr) {
      if (ecrit) signale_manque();
      if (!ecrit) std::fill_n(tampon, octets, std::uint8_t{0});
    } else if (ecrit) {
      std::memcpy(page.octets.get() + std::size_t{place} * kTailleSecteur, tampon, octets);
      page.changee = true;
    } else {
      std::memcpy(tampon, page.octets.get() + std::size_t{place} * kTailleSecteur, octets);
    }
    secteur += partie;
    nombre -= partie;
    tampon += octets;
  }
}

void FenetreMemoire::signale_manque() {
  manque_memoire_ = true;
  if (support().echec_ecriture == 0) support().echec_ecriture = ENOMEM;
}

std::size_t FenetreMemoire::octets_de_page(std::uint64_t page) const {
  return static_cast<std::size_t>(
             std::min<std::uint64_t>(kSecteursParPage, nombre_ - page * kSecteursParPage)) *
         kTailleSecteur;
}

bool FenetreMemoire::vide_fenetre(const Fichier &cible) {
  if (manque_memoire_) return false;
  std::vector<std::uint8_t> tampon;
  tampon.reserve(kOctetsRun);
  for (std::uint64_t page = 0; page < nb_pages_;) {
    if (!pages_[page].changee) {
      ++page;
      continue;
    }
    const std::uint64_t premiere = page;
    tampon.clear();
    for (; page < nb_pages_ && pages_[page].changee && tampon.size() < kOctetsRun; ++page) {
      const std::uint8_t *octets = pages_[page].octets.get();
      tampon.insert(tampon.end(), octets, octets + octets_de_page(page));
    }
    if (!cible.ecrire_a(tampon, (debut_ + premiere * kSecteursParPage) * kTailleSecteur)) return false;
    for (std::uint64_t i = premiere; i < page; ++i) pages_[i].changee = false;
  }
  return true;
}

}  // namespace varnion
