#include "IO/dossiers.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <utility>

#include "IO/etat.hpp"
#include "IO/fichier.hpp"
#include "IO/noms_courts.hpp"
#include "IO/plateforme.hpp"
#include "IO/texte.hpp"

namespace varnion::plateforme {
namespace {

constexpr std::size_t kMaxIndexes = 16;
// Grain of folder time stamps, in nanoseconds: a kernel tick, or two seconds where stamps hold whole seconds
// (FAT).
constexpr std::int64_t kGrainFin = 20'000'000;
constexpr std::int64_t kGrainGros = 2'100'000'000;
// How long an index that followed our own changes stands before it is read again, with fine stamps; well
// above the time that reading a large folder takes.
constexpr std::int64_t kSursis = 250'000'000;

struct FermeDossier {
  void operator()(DIR *dossier) const { ::closedir(dossier); }
};

std::int64_t ecart_ns(const timespec &debut, const timespec &fin) {
  const std::int64_t secondes = std::clamp<std::int64_t>(fin.tv_sec - debut.tv_sec, -1'000'000, 1'000'000);
  return secondes * 1'000'000'000 + (fin.tv_nsec - debut.tv_nsec);
}

timespec heure_systeme() {
  timespec heure{};
  ::clock_gettime(CLOCK_REALTIME, &heure);
  return heure;
}

bool meme_instant(const timespec &a, const timespec &b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

// A name that its working text brings back: a "?" may stand for anything, and "\" separates in a path.
bool se_montre(std::string_view texte) {
  return texte.find_first_of("?\\") == std::string_view::npos;
}

/// Name on the disk, and whether the folder itself tells of a regular file.
using NomLu = std::pair<std::string, bool>;

std::optional<std::vector<NomLu>> lit_noms(DIR *dossier) {
  std::vector<NomLu> noms;
  for (;;) {
    errno = 0;
    const dirent *entree = ::readdir(dossier);
    if (entree == nullptr) break;
    const std::string_view nom = entree->d_name;
    if (nom != "." && nom != "..") noms.emplace_back(nom, entree->d_type == DT_REG);
  }
  if (errno != 0) return std::nullopt;
  return noms;
}

}  // namespace

EmpreinteDossier EmpreinteDossier::de(const struct stat &fiche) {
  return {fiche.st_dev, fiche.st_ino, fiche.st_mtim, fiche.st_ctim};
}

bool EmpreinteDossier::meme_dossier(const EmpreinteDossier &autre) const {
  return unite == autre.unite && inode == autre.inode;
}

bool EmpreinteDossier::operator==(const EmpreinteDossier &autre) const {
  return meme_dossier(autre) && meme_instant(modification, autre.modification) &&
         meme_instant(changement, autre.changement);
}

// --- the index of one folder
// ----------------------------------------------------------------------------------

std::size_t IndexDossier::HachePli::operator()(std::string_view texte) const {
  std::uint64_t hache = 0xCBF29CE484222325U;  // FNV-1a
  for (const char c : texte) hache = (hache ^ static_cast<unsigned char>(majuscule(c))) * 0x100000001B3U;
  return static_cast<std::size_t>(hache);
}

bool IndexDossier::MemePli::operator()(std::string_view a, std::string_view b) const {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char c, char d) { return majuscule(c) == majuscule(d); });
}

std::optional<IndexDossier> IndexDossier::lit(const std::string &dossier_utf8) {
  Fichier descripteur(::open(dossier_utf8.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  struct stat fiche {};
  if (!descripteur || ::fstat(descripteur.descripteur(), &fiche) != 0) return std::nullopt;
  IndexDossier index;
  index.lecture_ = heure_systeme();
  index.empreinte_ = EmpreinteDossier::de(fiche);
  const std::unique_ptr<DIR, FermeDossier> dossier(::fdopendir(descripteur.descripteur()));
  if (!dossier) return std::nullopt;
  descripteur.relache();
  auto noms = lit_noms(dossier.get());
  if (!noms) return std::nullopt;
  std::sort(noms->begin(), noms->end());
  for (NomLu &nom : *noms) index.insere(std::move(nom.first), nom.second);
  return index;
}

// False when the text of the name was taken before.
bool IndexDossier::insere(std::string disque, bool regulier) {
  const std::size_t rang = entrees_.size();
  Entree &entree = entrees_.emplace_back();
  entree.regulier = regulier;
  entree.disque = std::move(disque);
  entree.texte = utf8_vers_texte(entree.disque);
  par_disque_.try_emplace(entree.disque, rang);
  if (!se_montre(entree.texte)) return true;
  Candidats &candidats = par_pli_.try_emplace(entree.texte).first->second;
  if (candidats.nombre++ == 0) candidats.rang = rang;
  const auto [place, neuf] = par_texte_.try_emplace(entree.texte, rang);
  // Of names that differ in composition alone, the composed one is meant.
  if (!neuf && texte_vers_utf8(entree.texte) == entree.disque) place->second = rang;
  return neuf;
}

bool IndexDossier::est_lisible(std::size_t rang) const {
  const auto place = par_texte_.find(entrees_[rang].texte);
  return place != par_texte_.end() && place->second == rang;
}

std::optional<std::size_t> IndexDossier::cherche_disque(std::string_view disque) const {
  const auto place = par_disque_.find(disque);
  return place == par_disque_.end() ? std::nullopt : std::optional(place->second);
}

std::optional<std::size_t> IndexDossier::cherche(std::string_view texte) {
  if (const auto place = par_texte_.find(texte); place != par_texte_.end()) return place->second;
  if (texte.find('~') != std::string_view::npos && est_nom_court_legal(texte)) {
    fait_noms_courts();
    const std::string court = majuscules(texte);
    if (const auto place = par_court_.find(court); place != par_court_.end()) return place->second;
  }
  const auto place = par_pli_.find(texte);
  if (place == par_pli_.end() || place->second.nombre != 1) return std::nullopt;
  return place->second.rang;
}

void IndexDossier::fait_noms_courts() {
  if (courts_faits_) return;
  std::vector<std::string_view> vivants;
  std::vector<std::size_t> rangs;
  for (std::size_t rang = 0; rang < entrees_.size(); ++rang) {
    if (!entrees_[rang].vivante) continue;
    vivants.push_back(entrees_[rang].disque);
    rangs.push_back(rang);
  }
  std::vector<std::string> courts = noms_courts(vivants);
  par_court_.clear();
  courts_.assign(entrees_.size(), {});
  for (std::size_t i = 0; i < rangs.size(); ++i) {
    std::string &court = courts_[rangs[i]];
    court = std::move(courts[i]);
    if (!court.empty()) par_court_.try_emplace(court, rangs[i]);
  }
  courts_faits_ = true;
}

NomsEntree IndexDossier::noms(std::size_t rang) {
  const Entree &entree = entrees_[rang];
  NomsEntree noms{entree.disque, entree.texte, {}, est_lisible(rang), entree.regulier};
  // A legal 8.3 name that no other name differs from in case alone needs none, whatever else the folder
  // holds.
  if (est_nom_court_legal(entree.disque)) {
    const auto place = par_pli_.find(entree.texte);
    if (place != par_pli_.end() && place->second.nombre == 1) return noms;
  }
  fait_noms_courts();
  noms.court = courts_[rang];
  return noms;
}

bool IndexDossier::ajoute(std::string_view disque) {
  if (par_disque_.contains(disque)) return true;
  courts_faits_ = false;
  return insere(std::string(disque), false);
}

bool IndexDossier::retire(std::string_view disque) {
  const auto place = par_disque_.find(disque);
  if (place == par_disque_.end()) return false;
  const std::size_t rang = place->second;
  Entree &entree = entrees_[rang];
  courts_faits_ = false;
  entree.vivante = false;
  par_disque_.erase(place);
  if (!se_montre(entree.texte)) return true;
  const auto texte = par_texte_.find(entree.texte);
  const auto pli = par_pli_.find(entree.texte);
  if (texte == par_texte_.end() || pli == par_pli_.end() || pli->second.nombre != 1) return false;
  par_texte_.erase(texte);
  par_pli_.erase(pli);
  return par_disque_.size() >= entrees_.size() / 2;  // too many dead entries: reading again frees them
}

void IndexDossier::adopte(const EmpreinteDossier &empreinte) {
  empreinte_ = empreinte;
  lecture_ = heure_systeme();
  adoptee_ = true;
}

bool IndexDossier::fiable() const {
  const bool secondes_entieres = empreinte_.modification.tv_nsec == 0;
  const std::int64_t grain = secondes_entieres ? kGrainGros : kGrainFin;
  const std::int64_t age = ecart_ns(empreinte_.modification, lecture_);
  if (age < 0 || age > grain) return true;  // a stamp in the future tells nothing of the grain
  // Our own changes are in the index already: it stands for a while before it is read again, once, to catch
  // what another program may have done in the same instant. So a run that creates file after file reads
  // seldom.
  const std::int64_t depuis = ecart_ns(lecture_, heure_systeme());
  return adoptee_ && depuis >= 0 && depuis <= (secondes_entieres ? kGrainGros : kSursis);
}

// --- the cache
// ------------------------------------------------------------------------------------------------

std::list<IndexDossier>::iterator CacheDossiers::trouve(const EmpreinteDossier &empreinte) {
  return std::find_if(indexes_.begin(), indexes_.end(),
                      [&](const IndexDossier &index) { return index.empreinte().meme_dossier(empreinte); });
}

IndexDossier *CacheDossiers::index(const std::string &dossier_utf8, bool relit) {
  struct stat fiche {};
  if (::stat(dossier_utf8.c_str(), &fiche) != 0) return nullptr;
  const EmpreinteDossier empreinte = EmpreinteDossier::de(fiche);
  const auto place = trouve(empreinte);
  if (place != indexes_.end()) {
    if (!relit && place->empreinte() == empreinte && place->fiable()) {
      indexes_.splice(indexes_.begin(), indexes_, place);
      return &indexes_.front();
    }
    indexes_.erase(place);
  }
  auto lu = IndexDossier::lit(dossier_utf8);
  if (!lu) return nullptr;
  indexes_.push_front(std::move(*lu));
  if (indexes_.size() > kMaxIndexes) indexes_.pop_back();
  return &indexes_.front();
}

std::optional<std::string> CacheDossiers::cherche(const std::string &dossier_utf8, std::string_view texte) {
  const std::lock_guard garde(verrou_);
  IndexDossier *lu = index(dossier_utf8, false);
  if (lu == nullptr) return std::nullopt;
  const auto rang = lu->cherche(texte);
  if (rang) return lu->disque(*rang);
  errno = ENOENT;
  return std::nullopt;
}

std::optional<NomsEntree> CacheDossiers::noms(const std::string &dossier_utf8, const std::string &disque) {
  const std::lock_guard garde(verrou_);
  IndexDossier *lu = index(dossier_utf8, false);
  if (lu == nullptr) return std::nullopt;
  auto rang = lu->cherche_disque(disque);
  if (!rang) rang = lu->cherche(utf8_vers_texte(disque));
  if (rang) return lu->noms(*rang);
  errno = ENOENT;
  return std::nullopt;
}

std::optional<std::vector<NomsEntree>> CacheDossiers::liste(const std::string &dossier_utf8, bool relit) {
  const std::lock_guard garde(verrou_);
  IndexDossier *lu = index(dossier_utf8, relit);
  if (lu == nullptr) return std::nullopt;
  std::vector<NomsEntree> noms;
  noms.reserve(lu->nombre());
  for (std::size_t rang = 0; rang < lu->nombre(); ++rang)
    if (lu->vivante(rang)) noms.push_back(lu->noms(rang));
  return noms;
}

void CacheDossiers::avant_changement(const std::string &dossier_utf8) {
  const std::lock_guard garde(verrou_);
  struct stat fiche {};
  if (::stat(dossier_utf8.c_str(), &fiche) != 0) return;
  const EmpreinteDossier empreinte = EmpreinteDossier::de(fiche);
  const auto place = trouve(empreinte);
  if (place != indexes_.end() && !(place->empreinte() == empreinte)) indexes_.erase(place);
}

void CacheDossiers::apres_changement(const std::string &dossier_utf8, std::string_view ancien,
                                     std::string_view nouveau) {
  const std::lock_guard garde(verrou_);
  struct stat fiche {};
  if (::stat(dossier_utf8.c_str(), &fiche) != 0) return;
  const EmpreinteDossier empreinte = EmpreinteDossier::de(fiche);
  const auto place = trouve(empreinte);
  if (place == indexes_.end()) return;
  const bool suit = (ancien.empty() || place->retire(ancien)) && (nouveau.empty() || place->ajoute(nouveau));
  if (suit) {
    place->adopte(empreinte);
  } else {
    indexes_.erase(place);
  }
}

ChangementDossier::ChangementDossier(std::string dossier_utf8) : dossier_(std::move(dossier_utf8)) {
  const int erreur = errno;
  etat<CacheDossiers>().avant_changement(dossier_);
  errno = erreur;
}

void ChangementDossier::apres(std::string_view ancien, std::string_view nouveau) const {
  const int erreur = errno;
  etat<CacheDossiers>().apres_changement(dossier_, ancien, nouveau);
  errno = erreur;
}

// --- resolution
// -----------------------------------------------------------------------------------------------

bool est_la(const std::string &utf8) {
  struct stat fiche {};
  return ::lstat(utf8.c_str(), &fiche) == 0;
}

std::string joint(const std::string &dossier, std::string_view nom) {
  std::string chemin = dossier;
  if (!chemin.empty() && chemin.back() != '/') chemin.push_back('/');
  return chemin.append(nom);
}

bool texte_univoque(std::string_view texte) {
  return std::none_of(texte.begin(), texte.end(),
                      [](char c) { return c == '?' || c == '\0' || octet_vers_point(c) == kRemplacement; });
}

namespace {

constexpr std::size_t kMaxChemin = 4096;  // PATH_MAX of the system: nothing longer can be opened

// Cuts the last component off a path that has no "/" at its end but for the root.
void separe_nom(CheminResolu &resolu) {
  const std::size_t barre = resolu.utf8.rfind('/');
  const std::size_t debut = barre == std::string::npos ? 0 : barre + 1;
  resolu.nom = resolu.utf8.substr(debut);
  resolu.dossier = resolu.utf8.substr(0, debut > 1 ? debut - 1 : debut);
  if (resolu.nom == "." || resolu.nom == "..") resolu.nom.clear();
}

std::optional<CheminResolu> resout_par_composantes(std::string_view chemin) {
  CheminResolu resolu;
  if (chemin.front() == '/') resolu.utf8 = "/";
  resolu.existe = true;
  for (std::size_t debut = 0; debut < chemin.size();) {
    const std::size_t fin = std::min(chemin.find('/', debut), chemin.size());
    const std::string_view composante = chemin.substr(debut, fin - debut);
    debut = fin + 1;
    if (composante.empty() || composante == ".") continue;
    if (!resolu.existe) {  // a component before this one is missing
      errno = ENOENT;
      return std::nullopt;
    }
    std::string exact = joint(resolu.utf8, texte_vers_utf8(composante));
    if (!est_la(exact)) {
      const std::string dossier = resolu.utf8.empty() ? "." : resolu.utf8;
      const bool trop_long = errno == ENAMETOOLONG;
      const auto trouve = etat<CacheDossiers>().cherche(dossier, composante);
      // A folder that may be entered but not read holds only what its exact name finds.
      if (!trouve && (trop_long || (errno != ENOENT && errno != EACCES))) {
        if (trop_long) errno = ENAMETOOLONG;
        return std::nullopt;
      }
      resolu.existe = trouve.has_value();
      if (trouve) exact = joint(resolu.utf8, *trouve);
    }
    resolu.utf8 = std::move(exact);
  }
  if (resolu.utf8.empty()) resolu.utf8 = ".";
  separe_nom(resolu);
  return resolu;
}

}  // namespace

std::optional<CheminResolu> resout(std::string_view chemin_texte) {
  std::string chemin(chemin_texte);
  std::replace(chemin.begin(), chemin.end(), '\\', '/');
  while (chemin.size() > 1 && chemin.back() == '/') chemin.pop_back();
  if (chemin.empty() || chemin.size() >= kMaxChemin || !texte_univoque(chemin)) {
    errno = chemin.size() >= kMaxChemin ? ENAMETOOLONG : ENOENT;
    return std::nullopt;
  }
  CheminResolu resolu;
  resolu.utf8 = texte_vers_utf8(chemin);
  struct stat fiche {};
  if (::lstat(resolu.utf8.c_str(), &fiche) != 0) return resout_par_composantes(chemin);
  resolu.existe = true;
  resolu.regulier = S_ISREG(fiche.st_mode);
  separe_nom(resolu);
  return resolu;
}

std::optional<CheminResolu> resout_existant(std::string_view chemin) {
  auto resolu = resout(chemin);
  if (!resolu || resolu->existe) return resolu;
  errno = ENOENT;
  return std::nullopt;
}

}  // namespace varnion::plateforme
