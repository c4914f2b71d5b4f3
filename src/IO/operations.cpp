#include "IO/operations.hpp"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "IO/etat.hpp"
#include "IO/plateforme.hpp"

namespace varnion {
namespace {

struct OperationsMuettes final : Operations {
  void afficher_erreur(std::string_view /*texte*/) override {}
  void afficher_avis(std::string_view /*texte*/) override {}
  int demander_oui_non(std::string_view /*texte*/) override { return 0; }
  int demander_tous(std::string_view /*texte*/) override { return 0; }
  bool demander_nom(std::string_view /*legende*/, std::string & /*nom*/, std::size_t /*limite*/) override {
    return false;
  }
  void afficher_etat(std::string_view /*texte*/, std::string_view /*second*/) override {}
  void afficher_etat_seul(std::string_view /*texte*/) override {}
  void progression_debut(std::uint64_t /*pas*/) override {}
  void progression_pas(std::uint64_t /*pas*/) override {}
  void progression_fin() override {}
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal /*genre*/, std::string_view /*texte*/) override {}
  bool arret_demande() override { return false; }
};

struct OperationsBranchees {
  OperationsMuettes muettes;
  std::atomic<Operations *> courantes{&muettes};
};

}  // namespace

Operations &operations() {
  return *etat<OperationsBranchees>().courantes.load(std::memory_order_acquire);
}

void brancher_operations(Operations *implementation) {
  auto &branchees = etat<OperationsBranchees>();
  branchees.courantes.store(implementation != nullptr ? implementation : &branchees.muettes,
                            std::memory_order_release);
}

void erreur_fatale(std::string_view texte) {
  operations().afficher_erreur(texte);
  plateforme::vide_dossier_temporaire();
  std::fflush(nullptr);
  // Not std::exit: other threads may still run on what the static destructors would take away.
  std::_Exit(255);
}

}  // namespace varnion
