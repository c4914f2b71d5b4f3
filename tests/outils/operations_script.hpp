#pragma once

#include <sys/resource.h>

#include <csignal>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "IO/operations.hpp"

namespace varnion::essai {

/// Keeps what the user is told, and answers from a list; an unexpected question fails the test.
struct OperationsScript : Operations {
  std::vector<std::string> erreurs, avis, journaux;
  std::deque<int> reponses;

  int repond(std::string_view question) {
    EXPECT_FALSE(reponses.empty()) << question;
    if (reponses.empty()) return 0;
    const int reponse = reponses.front();
    reponses.pop_front();
    return reponse;
  }
  void afficher_erreur(std::string_view texte) override { erreurs.emplace_back(texte); }
  void afficher_ligne(std::string_view texte) override { erreurs.emplace_back(texte); }
  void afficher_avis(std::string_view texte) override { avis.emplace_back(texte); }
  int demander_oui_non(std::string_view texte) override { return repond(texte); }
  int demander_tous(std::string_view texte) override { return repond(texte); }
  bool demander_nom(std::string_view texte, std::string & /*nom*/, std::size_t /*limite*/) override {
    return repond(texte) > 0;
  }
  void afficher_etat(std::string_view /*texte*/, std::string_view /*second*/) override {}
  void afficher_etat_seul(std::string_view /*texte*/) override {}
  void progression_debut(std::uint64_t /*pas*/) override {}
  void progression_pas(std::uint64_t /*pas*/) override {}
  void progression_fin() override {}
  void curseur_attente_debut() override {}
  void curseur_attente_fin() override {}
  void journal(GenreJournal /*genre*/, std::string_view texte) override { journaux.emplace_back(texte); }
  bool arret_demande() override { return false; }
};

/// While it lives no file of this process grows past `octets`: writes behind fail as on a full disk.
class DisquePlein {
 public:
  explicit DisquePlein(std::uint64_t octets) : ancien_(std::signal(SIGXFSZ, SIG_IGN)) {
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &limite_), 0);
    rlimit serree = limite_;
    serree.rlim_cur = octets;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &serree), 0);
  }
  DisquePlein(const DisquePlein &) = delete;
  DisquePlein &operator=(const DisquePlein &) = delete;
  ~DisquePlein() {
    ::setrlimit(RLIMIT_FSIZE, &limite_);
    std::signal(SIGXFSZ, ancien_);
  }

 private:
  rlimit limite_{};
  void (*ancien_)(int);
};

}  // namespace varnion::essai
