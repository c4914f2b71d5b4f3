#pragma once

#include <csignal>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <sys/resource.h>

#include "IO/bac.hpp"
#include "IO/operations.hpp"
#include "projet/arborescence.hpp"

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

/// An item in both views; a positive number makes a folder.
inline RubriqueProjet item(std::uint32_t pere, std::int32_t numero, std::string_view nom,
                           std::string_view chemin = "/src/") {
  RubriqueProjet rubrique;
  rubrique.pere = pere;
  rubrique.numero = static_cast<std::uint32_t>(numero);
  rubrique.vue_iso(kDansVue);
  rubrique.vue_hfs(kDansVue);
  ecrit_champ_coupe(rubrique.chemin, chemin);
  ecrit_champ_coupe(rubrique.nom_source, nom);
  ecrit_champ_coupe(rubrique.nom_iso, nom);
  ecrit_champ_coupe(rubrique.nom_hfs, nom);
  return rubrique;
}

/// "pere/numero name" for each item, in file order.
inline std::vector<std::string> liste_items(const FichierProjet &projet) {
  std::vector<std::string> lignes;
  LecteurRubriques tout(projet);
  while (const RubriqueProjet *rubrique = tout.suivant())
    lignes.push_back(std::to_string(rubrique->pere) + "/" + std::to_string(rubrique->numero_signe()) + " " +
                     lit_champ(rubrique->nom_iso));
  return lignes;
}

class EssaiProjet : public Bac {
 protected:
  void SetUp() override {
    Bac::SetUp();
    brancher_operations(&script);
    reglages().vn_options = kVnOptionSansCopie;
  }
  void TearDown() override {
    brancher_operations(nullptr);
    Bac::TearDown();
  }
  static OptionsProgramme &reglages() { return etat<OptionsProgramme>(); }
  [[nodiscard]] FichierProjet neuf(ModeProjet mode = ModeProjet::hybride) const {
    auto projet = FichierProjet::cree(bac + "essai.vnpr", mode);
    EXPECT_TRUE(projet.has_value());
    return std::move(*projet);
  }
  /// A project with these items, written as they stand.
  [[nodiscard]] FichierProjet avec(const std::vector<RubriqueProjet> &items,
                                   ModeProjet mode = ModeProjet::hybride) const {
    FichierProjet projet = neuf(mode);
    EXPECT_TRUE(projet.insere(1, items));
    return projet;
  }
  static RubriqueProjet lue(const FichierProjet &projet, std::int32_t numero) {
    RubriqueProjet rubrique;
    EXPECT_TRUE(projet.cherche_numero(static_cast<std::uint32_t>(numero), rubrique)) << numero;
    return rubrique;
  }

  OperationsScript script;
};

using Lignes = std::vector<std::string>;

}  // namespace varnion::essai
