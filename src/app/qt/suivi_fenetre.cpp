#include "app/qt/suivi_fenetre.hpp"

#include "app/noyau/console.hpp"
#include "app/noyau/journal.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kInclusion = 1391;  // file, size
constexpr std::size_t kLongueurNom = 65;

}  // namespace

// The text of a large file is put together here, by who looks, not by who writes.
AvanceCompilation SuiviFenetre::avance() const {
  const std::lock_guard garde(verrou_);
  AvanceCompilation copie = avance_;
  if (!fichier_.empty())
    copie.texte =
        message(kInclusion, {tronque_chemin(fichier_, kLongueurNom), taille_lisible(taille_fichier_)});
  return copie;
}

std::vector<std::string> SuiviFenetre::remarques() const {
  const std::lock_guard garde(verrou_);
  return remarques_;
}

bool SuiviFenetre::debut_fichier(std::uint64_t tranches, std::string_view nom, std::uint64_t taille) {
  const std::lock_guard garde(verrou_);
  fichier_ = nom;
  taille_fichier_ = taille;
  avance_.tranches = tranches;
  avance_.tranches_faites = 0;
  ++avance_.fichiers;
  return !arret_;
}

bool SuiviFenetre::avance_fichier(std::uint64_t secteurs) {
  const std::lock_guard garde(verrou_);
  avance_.secteurs += secteurs;
  ++avance_.tranches_faites;
  return !arret_;
}

bool SuiviFenetre::fin_fichier(std::uint64_t secteurs) {
  const std::lock_guard garde(verrou_);
  avance_.secteurs += secteurs;
  ++avance_.fichiers;
  return !arret_;
}

bool SuiviFenetre::trace(std::string_view texte) {
  const std::lock_guard garde(verrou_);
  avance_.trace = texte;
  ++avance_.phases;
  return !arret_;
}

// The first line is what the disc will be; those behind it say what is being done.
bool SuiviFenetre::texte(std::string_view texte) {
  const std::lock_guard garde(verrou_);
  (avance_.titre.empty() ? avance_.titre : avance_.texte) = texte;
  fichier_.clear();
  avance_.tranches = 0;
  return !arret_;
}

void SuiviFenetre::commence() {
  const std::lock_guard garde(verrou_);
  avance_.secteurs = avance_.fichiers = 0;
  remarques_.clear();
}

void SuiviFenetre::remarque(std::string_view texte) {
  ecrit_journal(GenreJournal::erreur, texte);
  const std::lock_guard garde(verrou_);
  remarques_.emplace_back(texte);
}

}  // namespace varnion
