#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <mutex>
#include <system_error>

#include "IO/dossiers.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"

namespace varnion::plateforme {
namespace {

// The private folder of this run; it goes with its owner, but never in a child of fork.
struct DossierPrive {
  std::mutex verrou;
  std::string utf8;  // without "/" at the end; "" while there is none
  std::string texte;
  pid_t proprietaire = 0;

  ~DossierPrive() { vide(); }

  bool prepare() {
    if (!utf8.empty()) return true;
    const char *systeme = std::getenv("TMPDIR");
    std::string modele = systeme != nullptr && systeme[0] == '/' ? systeme : "/tmp";
    modele = joint(modele, "varnion-XXXXXX");
    if (::mkdtemp(modele.data()) == nullptr) return false;  // makes it with mode 0700
    proprietaire = ::getpid();
    utf8 = modele;
    const auto ouvrable = chemin_utf8_utilisable(utf8, std::numeric_limits<std::size_t>::max());
    if (!ouvrable) {
      vide();
      errno = EILSEQ;
      return false;
    }
    texte = *ouvrable + '/';
    return true;
  }

  void vide() {
    std::error_code erreur;
    if (!utf8.empty() && proprietaire == ::getpid()) std::filesystem::remove_all(utf8, erreur);
    utf8.clear();
    texte.clear();
  }
};

std::string utf8_prive() {
  auto &prive = etat<DossierPrive>();
  const std::lock_guard garde(prive.verrou);
  return prive.prepare() ? prive.utf8 : std::string();
}

}  // namespace

std::string dossier_temporaire() {
  auto &prive = etat<DossierPrive>();
  const std::lock_guard garde(prive.verrou);
  return prive.prepare() ? prive.texte : std::string();
}

Fichier fichier_temporaire(std::string_view prefixe, std::string &chemin) {
  std::string dossier = dossier_temporaire();
  if (dossier.empty()) return {};
  std::string debut(prefixe);
  const auto impropre = [](char c) { return c == '/' || c == '\\' || !texte_univoque({&c, 1}); };
  std::replace_if(debut.begin(), debut.end(), impropre, '_');
  std::string modele = joint(utf8_prive(), texte_vers_utf8(debut) + "XXXXXX");
  const ChangementDossier changement(utf8_prive());
  Fichier fichier(::mkostemp(modele.data(), O_CLOEXEC));
  if (!fichier) return fichier;
  changement.apres({}, std::string_view(modele).substr(modele.rfind('/') + 1));
  chemin = dossier + debut + modele.substr(modele.size() - 6);
  return fichier;
}

Fichier fichier_anonyme() {
  const std::string dossier = utf8_prive();
  if (!dossier.empty()) {
    if (Fichier fichier{::open(dossier.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)}) return fichier;
    std::string modele = joint(dossier, "anonymeXXXXXX");  // a file system without unnamed files
    Fichier fichier(::mkostemp(modele.data(), O_CLOEXEC));
    if (fichier && ::unlink(modele.c_str()) == 0) return fichier;
  }
  return Fichier(::memfd_create("varnion", MFD_CLOEXEC));
}

void vide_dossier_temporaire() {
  auto &prive = etat<DossierPrive>();
  const std::lock_guard garde(prive.verrou);
  prive.vide();
}

}  // namespace varnion::plateforme
