#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "IO/bac.hpp"
#include "outils/operations_script.hpp"
#include "projet/arborescence.hpp"

namespace varnion::essai {

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
