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

constexpr std::size_t kDossiersMax = 16;
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

AccesFichiers::Dossier *AccesFichiers::charge(std::string_view chemin) {
  const auto place = std::find_if(dossiers_.begin(), dossiers_.end(),
                                  [chemin](const Dossier &dossier) { return dossier.chemin == chemin; });
  if (place != dossiers_.end()) {
    dossiers_.splice(dossiers_.begin(), dossiers_, place);
    return dossiers_.front().descripteur ? &dossiers_.front() : nullptr;
  }
  if (dossiers_.size() == kDossiersMax) dossiers_.pop_back();
  Dossier &neuf = dossiers_.emplace_front();
  neuf.chemin = chemin;
  const auto resolu = resout_existant(chemin.empty() ? "." : chemin);
  if (!resolu) return nullptr;
  Fichier descripteur(::open(resolu->utf8.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  const auto liste = etat<CacheDossiers>().liste(resolu->utf8, false);
  if (!descripteur || !liste) return nullptr;
  neuf.flux_par_nom = montre_des_flux(descripteur.descripteur());
  for (const NomsEntree &noms : *liste) {
    if (noms.disque.find(":AFP_") != std::string::npos) neuf.flux_par_nom = true;
    if (!noms.regulier) continue;
    if (noms.lisible) neuf.reguliers.try_emplace(noms.texte, Noms{noms.disque, noms.court});
    if (!noms.lisible && !noms.court.empty())
      neuf.reguliers.try_emplace(noms.court, Noms{noms.disque, noms.court});
  }
  neuf.descripteur = std::move(descripteur);
  return &neuf;
}

Fichier AccesFichiers::ouvre_lentement(std::string_view chemin, DonneesRecherche *donnees) {
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
  const Dossier *dossier = charge(chemin.substr(0, debut));
  if (dossier == nullptr) return ouvre_lentement(chemin, donnees);
  const auto place = dossier->reguliers.find(std::string(chemin.substr(debut)));
  if (place == dossier->reguliers.end()) return ouvre_lentement(chemin, donnees);
  const Noms &noms = place->second;
  int descripteur = -1;
  do {
    descripteur = ::openat(dossier->descripteur.descripteur(), noms.disque.c_str(),
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
  if (dossiers_.empty() || dossiers_.front().flux_par_nom) return true;
  std::array<char, 4096> noms;
  const ssize_t longueur = ::flistxattr(fichier.descripteur(), noms.data(), noms.size());
  if (longueur < 0) return errno == ERANGE;
  return std::string_view(noms.data(), static_cast<std::size_t>(longueur)).find(kPrefixeAttribut) !=
         std::string_view::npos;
}

}  // namespace varnion::plateforme
