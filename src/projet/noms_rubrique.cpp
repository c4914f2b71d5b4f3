#include "projet/noms_rubrique.hpp"

#include <optional>

#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kLegendeHfsplus = 1279;
constexpr int kLegendeIso = 1280;
constexpr int kLegendeHfs = 1282;
constexpr std::size_t kCheminQuestion = 40;
constexpr std::string_view kNomAbandonne = "~";

/// The answer for this item: true for yes. `retenue` keeps "to all".
bool demande(int id, const RubriqueProjet &rubrique, int &retenue, bool &tous) {
  tous = retenue != 0;
  if (tous) return retenue > 0;
  const int reponse =
      operations().demander_tous(message(id, {tronque_chemin(chemin_source(rubrique), kCheminQuestion)}));
  tous = reponse == 2 || reponse == -1;
  if (tous) retenue = reponse > 0 ? 1 : -1;
  return reponse > 0;
}

void place(RubriqueProjet &rubrique, bool iso, bool hfs) {
  rubrique.vue_iso(iso ? kDansVue : kHorsVue);
  rubrique.vue_hfs(hfs ? kDansVue : kHorsVue);
}

// A file in a Macintosh container belongs to the HFS view; the ISO view takes it when the user wants it
// there.
void place_fichier_mac(RubriqueProjet &rubrique, int vue, int id, int &retenue) {
  bool tous = false;
  if (vue == kVueHfs || !demande(id, rubrique, retenue, tous)) return place(rubrique, false, true);
  place(rubrique, true, vue == kVueRacine);
}

// A program belongs to the ISO view. Yes puts it in the HFS view as well, or in that one alone when the
// target is; Yes to all does so for a target in both views only, and leaves the ISO view for a target in the
// HFS view.
void place_programme(RubriqueProjet &rubrique, int vue, int &retenue) {
  bool tous = false;
  if (vue == kVueIso || !demande(1050, rubrique, retenue, tous)) return place(rubrique, true, false);
  if (vue == kVueRacine) return place(rubrique, true, true);
  place(rubrique, tous, !tous);
}

/// A name of at most `limite` bytes; nullopt when the user gives it up.
std::optional<std::string> nom_limite(std::string_view nom, std::size_t limite, int legende,
                                      bool automatique) {
  if (nom.size() <= limite) return std::string(nom);
  const auto &options = etat<OptionsProgramme>();
  if (automatique || options.mode_lot || (options.vn_options & kVnOptionTronque) != 0)
    return coupe_nom(nom, limite);
  std::string saisi(nom);
  if (!operations().demander_nom(charger_chaine(legende), saisi, limite)) return std::nullopt;
  return coupe_nom(saisi.empty() ? nom : std::string_view(saisi), limite);
}

void fait_nom_iso(RubriqueProjet &rubrique, std::string_view nom) {
  const auto retenu = nom_limite(nom, kNomIsoMax, kLegendeIso, troncature_noms().iso);
  if (!retenu) rubrique.vue_iso(kHorsVue);
  ecrit_champ_coupe(rubrique.nom_iso, retenu ? std::string_view(*retenu) : kNomAbandonne);
}

void fait_nom_hfs(RubriqueProjet &rubrique, std::string_view nom, bool hfsplus) {
  if (!rubrique.dans_hfs()) return ecrit_champ_coupe(rubrique.nom_hfs, nom);
  const auto retenu = hfsplus ? nom_limite(nom, kNomHfsplusMax, kLegendeHfsplus, troncature_noms().hfsplus)
                              : nom_limite(nom, kNomHfsMax, kLegendeHfs, troncature_noms().hfs);
  if (!retenu) rubrique.vue_hfs(kHorsVue);
  const std::string choisi(retenu ? std::string_view(*retenu) : kNomAbandonne);
  ecrit_champ_coupe(rubrique.nom_hfs, hfsplus ? choisi : nom_mac(choisi));
}

}  // namespace

TroncatureNoms &troncature_noms() {
  return etat<TroncatureNoms>();
}

void choix_vue(RubriqueProjet &rubrique, int vue, ReponsesVues &reponses) {
  if (rubrique.est_code_mac()) return place_fichier_mac(rubrique, vue, 1048, reponses.mac);
  if (rubrique.est_appledouble() || rubrique.est_applesingle())
    return place_fichier_mac(rubrique, vue, 1049, reponses.apple);
  if (lit_champ(rubrique.nom_source).find(".exe") != std::string::npos)
    return place_programme(rubrique, vue, reponses.exe);
  place(rubrique, vue != kVueHfs, vue != kVueIso);
}

void noms_rubrique(RubriqueProjet &rubrique, std::string_view nom, const ReglesNoms &regles) {
  fait_nom_iso(rubrique, nom);
  const Codage codage = rubrique.codage();
  const bool nom_du_contenu =
      codage == Codage::macbinary || codage == Codage::binhex || codage == Codage::ntfs;
  if (regles.hybride && !nom_du_contenu) fait_nom_hfs(rubrique, nom, regles.hfsplus);
}

}  // namespace varnion
