#include "projet/fichier_projet.hpp"

#include <algorithm>

namespace varnion {

namespace {

constexpr std::size_t kLotLecture = 64;       // records a read over one folder
constexpr std::size_t kLotLectureMax = 1024;  // and at most, as a long run shows itself

}  // namespace

LecteurRubriques::LecteurRubriques(const FichierProjet &projet, std::uint64_t debut, std::uint64_t fin)
    : projet_(&projet), suivant_(debut == 0 ? 1 : debut), fin_(fin) {}

const RubriqueProjet *LecteurRubriques::suivant() {
  if (suivant_ >= fin_) return nullptr;
  if (suivant_ >= debut_lot_ + lus_) {
    const std::size_t taille = lot_.empty() ? kLotLecture : std::min(lot_.size() * 2, kLotLectureMax);
    lot_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(taille, fin_ - suivant_)));
    debut_lot_ = suivant_;
    lus_ = projet_->lit_lot(suivant_, lot_);
    if (lus_ == 0) {
      fin_ = suivant_;
      return nullptr;
    }
  }
  return &lot_[static_cast<std::size_t>(suivant_++ - debut_lot_)];
}

bool LecteurRubriques::reecrit(FichierProjet &projet, const RubriqueProjet &rubrique) {
  return projet.ecrit(rang(), rubrique);
}

const RubriqueProjet *LecteurEnfants::suivant() {
  if (finie_) return nullptr;
  const RubriqueProjet *rubrique = lecteur_.suivant();
  if (rubrique != nullptr && rubrique->pere == pere_) return rubrique;
  finie_ = true;
  return nullptr;
}

IndexEnfants::IndexEnfants(const FichierProjet &projet) {
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) {
    if (suites_.empty() || suites_.back().pere != rubrique->pere)
      suites_.push_back({rubrique->pere, tout.rang(), tout.rang()});
    ++suites_.back().fin;
  }
}

LecteurRubriques IndexEnfants::enfants(const FichierProjet &projet, std::uint32_t pere) const {
  const auto place = std::lower_bound(suites_.begin(), suites_.end(), pere,
                                      [](const Suite &suite, std::uint32_t cle) { return suite.pere < cle; });
  if (place == suites_.end() || place->pere != pere) return {projet, 1, 1};
  return {projet, place->debut, place->fin};
}

IndexNumeros::IndexNumeros(const FichierProjet &projet) {
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant()) rangs_.try_emplace(rubrique->numero, tout.rang());
}

std::optional<std::uint64_t> IndexNumeros::rang(std::uint32_t numero) const {
  if (numero == kRacine) return 0;
  const auto trouve = rangs_.find(numero);
  return trouve == rangs_.end() ? std::nullopt : std::optional(trouve->second);
}

}  // namespace varnion
