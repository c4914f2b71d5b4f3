#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"

namespace varnion {

namespace {

struct Baisse {
  std::uint32_t dossiers = 0, fichiers = 0;
};

std::uint32_t moins(std::uint32_t compte, std::uint32_t retires) {
  return compte > retires ? compte - retires : 0;
}

class SuppressionLot {
 public:
  SuppressionLot(FichierProjet &projet, std::span<const std::uint64_t> rangs)
      : projet_(projet), rangs_(rangs.begin(), rangs.end()) {}

  bool applique() {
    if (rangs_.empty()) return true;
    if (!releve() || !baisse_comptes()) return false;
    const std::uint64_t premier = *std::min_element(rangs_.begin(), rangs_.end());
    return projet_
        .retire_si(std::min(premier, premier_enfant_),
                   [this](std::uint64_t rang, const RubriqueProjet &rubrique) {
                     return rangs_.contains(rang) || dossiers_.contains(rubrique.pere);
                   })
        .has_value();
  }

 private:
  // All folders that go, and what their parents lose.
  bool releve() {
    std::vector<std::uint32_t> a_faire;
    for (const std::uint64_t rang : rangs_) {
      RubriqueProjet rubrique;
      if (!projet_.lit(rang, rubrique)) return false;
      Baisse &baisse = baisses_[rubrique.pere];
      ++(rubrique.est_dossier() ? baisse.dossiers : baisse.fichiers);
      if (!rubrique.est_dossier() || rubrique.numero == kRacine) continue;
      if (dossiers_.insert(rubrique.numero).second) a_faire.push_back(rubrique.numero);
    }
    if (!a_faire.empty()) descend(std::move(a_faire));
    return true;
  }

  void descend(std::vector<std::uint32_t> a_faire) {
    const IndexEnfants index(projet_);
    while (!a_faire.empty()) {
      LecteurRubriques enfants = index.enfants(projet_, a_faire.back());
      a_faire.pop_back();
      while (const RubriqueProjet *enfant = enfants.suivant()) {
        premier_enfant_ = std::min(premier_enfant_, enfants.rang());
        if (!enfant->est_dossier()) continue;
        if (enfant->numero != kRacine && dossiers_.insert(enfant->numero).second)
          a_faire.push_back(enfant->numero);
        else
          note_arbre_abime(projet_.chemin(), enfant->numero);
      }
    }
  }

  bool baisse_comptes() {
    const IndexNumeros numeros(projet_);
    for (const auto &[numero, baisse] : baisses_) {
      const auto rang = numeros.rang(numero);
      RubriqueProjet dossier;
      if (!rang || rangs_.contains(*rang) || dossiers_.contains(numero)) continue;
      if (!projet_.lit(*rang, dossier)) return false;
      dossier.lg_data = moins(dossier.lg_data, baisse.dossiers);
      dossier.lg_rsrc = moins(dossier.lg_rsrc, baisse.fichiers);
      if (!projet_.ecrit(*rang, dossier)) return false;
    }
    return true;
  }

  FichierProjet &projet_;
  std::unordered_set<std::uint64_t> rangs_;
  std::unordered_set<std::uint32_t> dossiers_;
  std::unordered_map<std::uint32_t, Baisse> baisses_;
  std::uint64_t premier_enfant_ = UINT64_MAX;
};

}  // namespace

bool suppression_rangs(FichierProjet &projet, std::span<const std::uint64_t> rangs) {
  return SuppressionLot(projet, rangs).applique();
}

}  // namespace varnion
