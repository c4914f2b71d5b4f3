#include "projet/inclusion_lots.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "IO/plateforme.hpp"

namespace varnion {

namespace {

constexpr std::size_t kParTampon = 1024;  // records
constexpr std::size_t kPremierBloc = 8;   // a block doubles while the ranks go up, and is small behind a jump

std::span<const std::uint8_t> octets(std::span<const RubriqueProjet> rubriques) {
  return {reinterpret_cast<const std::uint8_t *>(rubriques.data()), rubriques.size_bytes()};
}

std::span<std::uint8_t> octets(std::span<RubriqueProjet> rubriques) {
  return {reinterpret_cast<std::uint8_t *>(rubriques.data()), rubriques.size_bytes()};
}

}  // namespace

// --- records of a scan
// ----------------------------------------------------------------------------------------

bool LotsRubriques::ouvre() {
  fichier_ = plateforme::fichier_anonyme();
  if (!fichier_.ouvert()) note_echec();
  return fichier_.ouvert();
}

std::uint64_t LotsRubriques::ajoute(const RubriqueProjet &rubrique) {
  const std::uint64_t rang = nombre();
  const bool separe = std::exchange(separe_, false);
  if (separe || lots_.empty() || lots_.back().pere != rubrique.pere)
    lots_.push_back({rubrique.pere, rang, 0});
  ++lots_.back().nombre;
  tampon_.push_back(rubrique);
  if (tampon_.size() == kParTampon) vide_tampon();
  return rang;
}

void LotsRubriques::pose_comptes(std::uint64_t rang, std::uint32_t dossiers, std::uint32_t fichiers) {
  change(rang, [=](RubriqueProjet &rubrique) {
    rubrique.lg_data = dossiers;
    rubrique.lg_rsrc = fichiers;
  });
}

void LotsRubriques::pose_icone(std::uint64_t rang) {
  change(rang, [](RubriqueProjet &rubrique) { rubrique.icone_perso(true); });
}

template <typename Changement>
void LotsRubriques::change(std::uint64_t rang, Changement changement) {
  if (rang >= ecrits_) return changement(tampon_[static_cast<std::size_t>(rang - ecrits_)]);
  RubriqueProjet rubrique;
  const auto vue_rubrique = octets(std::span(&rubrique, 1));
  const bool lue = fichier_.lire_a(vue_rubrique, rang * kTailleRubrique) == std::int64_t{kTailleRubrique};
  changement(rubrique);
  if (!lue || !fichier_.ecrire_a(vue_rubrique, rang * kTailleRubrique)) note_echec();
}

void LotsRubriques::vide_tampon() {
  if (!fichier_.ecrire_a(octets(std::span<const RubriqueProjet>(tampon_)), ecrits_ * kTailleRubrique))
    note_echec();
  ecrits_ += tampon_.size();
  tampon_.clear();
}

bool LotsRubriques::termine() {
  if (!tampon_.empty()) vide_tampon();
  return erreur_ == 0;
}

void LotsRubriques::note_echec() {
  if (erreur_ == 0) erreur_ = errno != 0 ? errno : EIO;
}

// --- block reading and writing
// --------------------------------------------------------------------------------

const RubriqueProjet *LecteurBlocs::lit(std::uint64_t rang) {
  if (rang < debut_ || rang - debut_ >= lus_) {
    const bool suite = lus_ > 0 && rang == debut_ + lus_;
    bloc_.resize(suite ? std::min(bloc_.size() * 2, kParTampon) : kPremierBloc);
    debut_ = rang;
    const std::int64_t n = fichier_->lire_a(octets(std::span(bloc_)), rang * kTailleRubrique);
    lus_ = n > 0 ? static_cast<std::size_t>(n) / kTailleRubrique : 0;
    if (lus_ == 0) return nullptr;
  }
  return &bloc_[static_cast<std::size_t>(rang - debut_)];
}

void EcrivainBlocs::ecrit(const RubriqueProjet &rubrique) {
  tampon_.push_back(rubrique);
  if (tampon_.size() == kParTampon) vide();
}

bool EcrivainBlocs::termine() {
  if (!tampon_.empty()) vide();
  return !echec_;
}

void EcrivainBlocs::vide() {
  if (!echec_ &&
      !fichier_->ecrire_a(octets(std::span<const RubriqueProjet>(tampon_)), rang_ * kTailleRubrique))
    echec_ = true;
  rang_ += tampon_.size();
  tampon_.clear();
}

}  // namespace varnion
