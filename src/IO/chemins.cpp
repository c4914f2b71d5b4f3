#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>

#include "IO/dossiers.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "IO/texte.hpp"

namespace varnion::plateforme {
namespace {

// One component of a path in its two forms.
struct Composante {
  std::string longue;   // working text
  std::string courte;   // 8.3 name, "" when there is none
  bool lisible = true;  // the long form leads back to the entry

  [[nodiscard]] const std::string &forme(bool abrege) const {
    if (!lisible) return courte;
    return abrege && !courte.empty() && courte.size() < longue.size() ? courte : longue;
  }
};

using Composantes = std::vector<Composante>;

std::vector<std::string_view> decoupe(std::string_view chemin, std::string_view separateurs) {
  std::vector<std::string_view> parties;
  for (std::size_t debut = 0; debut < chemin.size();) {
    const std::size_t fin = std::min(chemin.find_first_of(separateurs, debut), chemin.size());
    if (fin > debut) parties.push_back(chemin.substr(debut, fin - debut));
    debut = fin + 1;
  }
  return parties;
}

std::string assemble(const Composantes &composantes, bool abrege, bool absolu, bool dossier) {
  std::string chemin = absolu ? "/" : "";
  for (const Composante &composante : composantes) {
    if (!chemin.empty() && chemin.back() != '/') chemin.push_back('/');
    chemin += composante.forme(abrege);
  }
  if (dossier && !chemin.empty() && chemin.back() != '/') chemin.push_back('/');
  return chemin;
}

// The long form where it fits, else the one with all short names that save something.
std::optional<std::string> choisit(const Composantes &composantes, std::size_t limite, bool absolu,
                                   bool dossier) {
  for (const bool abrege : {false, true}) {
    std::string chemin = assemble(composantes, abrege, absolu, dossier);
    if (chemin.size() < limite) return chemin;
  }
  errno = ENAMETOOLONG;
  return std::nullopt;
}

// Walks a path down its folders and gathers both forms of each component.
class Marche {
 public:
  explicit Marche(bool absolu) : dossier_(absolu ? "/" : "") {}

  /// One component of a UTF-8 path; false when nothing shows it.
  bool avance_utf8(const std::string &nom) {
    if (special(nom)) return true;
    if (const auto noms = cherche(nom)) return ajoute(*noms);
    const std::string texte = utf8_vers_texte(nom);
    if (nom.find('\\') != std::string::npos) {
      const auto parties = decoupe(texte, "\\");
      return std::all_of(parties.begin(), parties.end(),
                         [this](std::string_view p) { return avance_texte(p); });
    }
    return avance_texte(texte);
  }

  /// One component of a working-text path.
  bool avance_texte(std::string_view texte) {
    if (special(texte)) return true;
    if (!texte_univoque(texte)) {
      errno = ENOENT;
      return false;
    }
    if (const auto noms = cherche(texte_vers_utf8(texte))) return ajoute(*noms);
    composantes_.push_back({std::string(texte), {}, true});
    dossier_ = joint(dossier_, texte_vers_utf8(texte));
    existe_ = existe_ && est_la(dossier_);  // it may lie in a folder that can be entered but not read
    return true;
  }

  [[nodiscard]] const Composantes &composantes() const { return composantes_; }

 private:
  bool special(std::string_view nom) {
    if (nom != "." && nom != "..") return false;
    composantes_.push_back({std::string(nom), {}, true});
    dossier_ = joint(dossier_, nom);
    return true;
  }

  std::optional<NomsEntree> cherche(const std::string &disque) {
    if (!existe_) return std::nullopt;
    return etat<CacheDossiers>().noms(dossier_.empty() ? "." : dossier_, disque);
  }

  bool ajoute(const NomsEntree &noms) {
    composantes_.push_back({noms.texte, noms.court, noms.lisible});
    dossier_ = joint(dossier_, noms.disque);
    return noms.lisible || !noms.court.empty();
  }

  std::string dossier_;
  bool existe_ = true;
  Composantes composantes_;
};

bool finit_par_barre(std::string_view chemin) {
  return !chemin.empty() && (chemin.back() == '/' || chemin.back() == '\\');
}

std::string dossier_courant() {
  const std::unique_ptr<char, void (*)(void *)> courant(::getcwd(nullptr, 0), std::free);
  if (!courant) return "/";
  const auto ouvrable = chemin_utf8_utilisable(courant.get(), std::numeric_limits<std::size_t>::max());
  return ouvrable ? *ouvrable : utf8_vers_texte(courant.get());
}

}  // namespace

std::string chemin_absolu(std::string_view chemin) {
  if (chemin.empty()) return {};
  const bool absolu = chemin.front() == '/' || chemin.front() == '\\';
  const std::string depart = absolu ? std::string() : dossier_courant();
  std::vector<std::string_view> gardees;
  for (const std::string_view source : {std::string_view(depart), chemin}) {
    for (const std::string_view partie : decoupe(source, "/\\")) {
      if (partie == ".") continue;
      if (partie != "..") {
        gardees.push_back(partie);
      } else if (!gardees.empty()) {
        gardees.pop_back();
      }
    }
  }
  std::string resultat;
  for (const std::string_view partie : gardees) resultat.append("/").append(partie);
  if (resultat.empty() || finit_par_barre(chemin)) resultat.push_back('/');
  return resultat;
}

std::optional<std::string> chemin_utilisable(std::string_view chemin, std::size_t limite) {
  if (!chemin.empty() && texte_univoque(chemin) && chemin.size() < limite) return std::string(chemin);
  const bool absolu = !chemin.empty() && (chemin.front() == '/' || chemin.front() == '\\');
  Marche marche(absolu);
  for (const std::string_view partie : decoupe(chemin, "/\\")) {
    if (!marche.avance_texte(partie)) return std::nullopt;
  }
  return choisit(marche.composantes(), limite, absolu, finit_par_barre(chemin));
}

std::optional<std::string> chemin_utf8_utilisable(std::string_view utf8, std::size_t limite) {
  const bool simple =
      est_ascii(utf8) && utf8.find_first_of(std::string_view("?\\\0", 3)) == std::string_view::npos;
  if (simple && utf8.size() < limite) return std::string(utf8);
  const bool absolu = !utf8.empty() && utf8.front() == '/';
  Marche marche(absolu);
  for (const std::string_view partie : decoupe(utf8, "/")) {
    if (partie.find('\0') != std::string_view::npos || !marche.avance_utf8(std::string(partie)))
      return std::nullopt;
  }
  return choisit(marche.composantes(), limite, absolu, !utf8.empty() && utf8.back() == '/');
}

std::string variable(std::string_view nom) {
  const char *valeur = std::getenv(std::string(nom).c_str());
  if (valeur == nullptr) return {};
  if (valeur[0] == '/' && !est_ascii(valeur)) {
    if (auto chemin = chemin_utf8_utilisable(valeur, std::numeric_limits<std::size_t>::max())) return *chemin;
  }
  return utf8_vers_texte(valeur);
}

}  // namespace varnion::plateforme
