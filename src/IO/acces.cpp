#include "IO/acces.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "IO/dossiers.hpp"
#include "IO/etat.hpp"
#include "IO/noms_courts.hpp"
#include "IO/texte.hpp"

namespace varnion::plateforme {

namespace {

constexpr std::string_view kPrefixeAttribut = "user.AFP_";

/// File systems that can show alternate streams as "file:stream".
bool montre_des_flux(int descripteur) {
  constexpr std::array<unsigned long, 3> kMagies{0x65735546UL, 0x5346544EUL,
                                                 0x7366746EUL};  // FUSE, NTFS, ntfs3
  struct statfs fs {};
  if (::fstatfs(descripteur, &fs) != 0) return true;
  const auto magie = static_cast<unsigned long>(fs.f_type) & 0xFFFFFFFFUL;
  return std::find(kMagies.begin(), kMagies.end(), magie) != kMagies.end();
}

}  // namespace

bool AccesFichiers::charge(std::string_view dossier) {
  dossier_.assign(dossier);
  reguliers_.clear();
  descripteur_ = Fichier();
  flux_par_nom_ = true;
  const auto resolu = resout_existant(dossier.empty() ? "." : dossier);
  if (!resolu) return false;
  descripteur_ = Fichier(::open(resolu->utf8.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const auto liste = etat<CacheDossiers>().liste(resolu->utf8, false);
  if (!descripteur_ || !liste) return false;
  flux_par_nom_ = montre_des_flux(descripteur_.descripteur());
  for (const NomsEntree &noms : *liste) {
    if (noms.disque.find(":AFP_") != std::string::npos) flux_par_nom_ = true;
    if (!noms.regulier) continue;
    if (noms.lisible) reguliers_.try_emplace(noms.texte, Noms{noms.disque, noms.court});
    if (!noms.lisible && !noms.court.empty())
      reguliers_.try_emplace(noms.court, Noms{noms.disque, noms.court});
  }
  return true;
}

Fichier AccesFichiers::ouvre_lentement(std::string_view chemin, DonneesRecherche *donnees) const {
  if (donnees != nullptr) {
    auto trouvees = cherche_fichier(chemin);
    if (!trouvees) return {};
    *donnees = std::move(*trouvees);
  }
  return plateforme::ouvre(chemin, Ouverture::lecture);
}

Fichier AccesFichiers::ouvre(std::string_view chemin, DonneesRecherche *donnees) {
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::size_t debut = barre == std::string_view::npos ? 0 : barre + 1;
  const std::string_view dossier = chemin.substr(0, debut);
  if ((!descripteur_ || dossier != dossier_) && !charge(dossier)) return ouvre_lentement(chemin, donnees);
  const auto place = reguliers_.find(std::string(chemin.substr(debut)));
  if (place == reguliers_.end()) return ouvre_lentement(chemin, donnees);
  const Noms &noms = place->second;
  int descripteur = -1;
  do {
    descripteur = ::openat(descripteur_.descripteur(), noms.disque.c_str(),
                           O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW);
  } while (descripteur < 0 && errno == EINTR);
  Fichier fichier(descripteur);
  if (!fichier)
    return ouvre_lentement(chemin, donnees);  // the folder has changed, or the error is a real one
  if (donnees == nullptr) return fichier;
  struct stat fiche {};
  if (::fstat(descripteur, &fiche) != 0 || !S_ISREG(fiche.st_mode)) return ouvre_lentement(chemin, donnees);
  *donnees = {};
  if (noms.disque.front() == '.') donnees->attributs |= kAttributCache;
  donnees->acces = fiche.st_atim.tv_sec;
  donnees->modification = fiche.st_mtim.tv_sec;
  donnees->creation = std::min({donnees->acces, donnees->modification, std::int64_t{fiche.st_ctim.tv_sec}});
  donnees->taille = static_cast<std::uint64_t>(fiche.st_size);
  donnees->nom_long = utf8_vers_texte(noms.disque);
  donnees->nom_court = noms.court;
  donnees->nom_large = utf8_vers_large(noms.disque);
  return fichier;
}

bool AccesFichiers::flux_possible(const Fichier &fichier) const {
  if (flux_par_nom_ || !descripteur_) return true;
  std::array<char, 4096> noms;
  const ssize_t longueur = ::flistxattr(fichier.descripteur(), noms.data(), noms.size());
  if (longueur < 0) return errno == ERANGE;
  return std::string_view(noms.data(), static_cast<std::size_t>(longueur)).find(kPrefixeAttribut) !=
         std::string_view::npos;
}

}  // namespace varnion::plateforme
