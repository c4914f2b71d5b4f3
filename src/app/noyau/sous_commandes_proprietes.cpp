// "project set": the properties of items.

#include <algorithm>
#include <unordered_set>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/erreurs.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kIntrouvable = 6541;
constexpr int kCodeTropLong = 6556;
constexpr int kVueUnique = 6557;
constexpr int kDossierSansSignature = 6558;
constexpr int kRacineSansPropriete = 6566;
constexpr int kRienARafraichir = 6823;
constexpr std::size_t kCode = 4;

struct Appartenance {
  bool iso, hfs;
};

// What is to be set; what is absent stays.
struct Changements {
  std::optional<std::string> type, createur;  ///< Mac Roman, 4 bytes each
  std::optional<Appartenance> caches, vues;
  std::optional<bool> extension_cachee, icone, manquant, rafraichir;
  bool recursif = false;

  [[nodiscard]] bool signature() const { return type || createur; }
  [[nodiscard]] bool simples() const {
    return signature() || caches || extension_cachee || manquant || rafraichir;
  }
};

std::optional<Appartenance> appartenance(const Arguments &arguments, std::string_view option) {
  if (!arguments.a(option)) return std::nullopt;
  const std::string valeur = arguments.valeur(option);
  const bool deux = valeur == "both";
  return Appartenance{deux || valeur == "iso", deux || valeur == "hfs"};
}

std::optional<bool> bascule(const Arguments &arguments, std::string_view option) {
  if (!arguments.a(option)) return std::nullopt;
  return arguments.valeur(option) == "on";
}

// A type or creator as records hold it; false, after a message, when it is too long.
bool lit_code(const Arguments &arguments, std::string_view option, std::optional<std::string> &code) {
  if (!arguments.a(option)) return true;
  const auto texte = texte_argument(arguments.valeur(option));
  if (!texte) return false;
  if (texte->size() > kCode) {
    operations().afficher_erreur(message(kCodeTropLong, {*texte}));
    return false;
  }
  code.emplace(demande_signatures({}, {}, *texte, {}).nouvelle.data(), kCode);
  return true;
}

// Only what comes from a folder of the disk has contents to look through.
bool rafraichissable(const RubriqueProjet &r) {
  return r.est_dossier() && !r.est_virtuel() && !lit_champ(r.chemin).empty();
}

void applique(RubriqueProjet &r, const Changements &c) {
  if (!r.est_dossier()) {
    if (c.type) c.type->copy(r.signature.data(), kCode);
    if (c.createur) c.createur->copy(r.signature.data() + kCode, kCode);
  }
  if (c.caches) {
    r.cache_iso(c.caches->iso ? 1 : 0);
    r.cache_hfs(c.caches->hfs ? 1 : 0);
  }
  if (c.extension_cachee) r.extension_cachee(*c.extension_cachee);
  if (c.icone) r.icone_perso(*c.icone);
  if (c.rafraichir && rafraichissable(r)) r.rafraichir(*c.rafraichir);
  if (c.manquant) {
    const std::uint8_t marque = *c.manquant ? kManquant : kDansVue;
    if (r.dans_iso()) r.vue_iso(marque);
    if (r.dans_hfs()) r.vue_hfs(marque);
  }
}

// An item that was never in the HFS view carries its source's name there as it stands: before it enters the
// view the name takes the form that the format wants.
void prepare_nom_hfs(RubriqueProjet &r, bool hfsplus) {
  const std::string source = lit_champ(r.nom_source);
  if (r.dans_hfs() || lit_champ(r.nom_hfs) != source.substr(0, sizeof(r.nom_hfs) - 1)) return;
  const bool final = r.nom_hfs_final();
  pose_nom_hfs(r, coupe_nom(source, hfsplus ? kNomHfsplusMax : kNomHfsMax), hfsplus);
  r.nom_hfs_final(final);
}

// All items below a folder, each folder once.
bool pour_sous_arbre(FichierProjet &projet, std::uint32_t dossier,
                     const std::function<void(RubriqueProjet &)> &change) {
  std::vector<std::uint32_t> a_faire{dossier};
  std::unordered_set<std::uint32_t> vus{dossier};
  while (!a_faire.empty()) {
    const std::uint32_t courant = a_faire.back();
    a_faire.pop_back();
    LecteurEnfants enfants(projet, courant);
    while (const RubriqueProjet *enfant = enfants.suivant()) {
      RubriqueProjet rubrique = *enfant;
      change(rubrique);
      if (!enfants.reecrit(projet, rubrique)) return echec_ecriture_projet(projet.chemin());
      if (rubrique.est_dossier() && vus.insert(rubrique.numero).second) a_faire.push_back(rubrique.numero);
    }
  }
  return true;
}

bool change_vues(FichierProjet &projet, const ElementTrouve &trouve, const Changements &c) {
  const Appartenance vues = *c.vues;
  RubriqueProjet r = trouve.rubrique;
  const auto valeur = [&c](bool voulu, std::uint8_t actuel) -> std::uint8_t {
    if (!voulu) return kHorsVue;
    if (actuel != kHorsVue) return actuel;  // a missing source stays marked
    return c.manquant.value_or(false) ? kManquant : kDansVue;
  };
  const auto prepare = [&](RubriqueProjet &une) {
    if (vues.hfs) prepare_nom_hfs(une, projet.hfsplus());
  };
  if (trouve.rang != 0) {
    prepare(r);
    r.vue_iso(valeur(vues.iso, r.vue_iso()));
    r.vue_hfs(valeur(vues.hfs, r.vue_hfs()));
    if (!projet.ecrit(trouve.rang, r)) return echec_ecriture_projet(projet.chemin());
  }
  if (r.est_dossier() &&
      (!pour_sous_arbre(projet, r.numero, prepare) ||
       !propage_vues(projet, r.numero, vues.iso ? kDansVue : kHorsVue, vues.hfs ? kDansVue : kHorsVue)))
    return false;
  return trouve.rang == 0 ||
         ouvre_vues_parents(projet, r.pere, vues.iso ? kDansVue : kHorsVue, vues.hfs ? kDansVue : kHorsVue);
}

// The root is the head, which has an icon and none of the other properties.
bool change_racine(FichierProjet &projet, const Changements &c) {
  if (c.simples() && !c.recursif) {
    operations().afficher_erreur(charger_chaine(kRacineSansPropriete));
    return false;
  }
  EnteteProjet entete;
  if (!c.icone) return true;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  entete.icone_volume(*c.icone);
  return projet.ecrit_entete(entete) || echec_ecriture_projet(projet.chemin());
}

bool change_element(FichierProjet &projet, const std::string &utf8, const Changements &c) {
  const std::string chemin = plateforme::utf8_vers_texte(utf8);
  auto trouve = trouve_element(projet, chemin, kVueRacine);
  if (!trouve) {
    operations().afficher_erreur(message(kIntrouvable, {chemin}));
    return false;
  }
  RubriqueProjet &r = trouve->rubrique;
  if (trouve->rang != 0) {
    if (c.signature() && r.est_dossier() && !c.recursif) {
      operations().afficher_erreur(message(kDossierSansSignature, {chemin}));
      return false;
    }
    if (c.rafraichir && !rafraichissable(r) && !c.recursif) {
      operations().afficher_erreur(message(kRienARafraichir, {chemin}));
      return false;
    }
    applique(r, c);
    if (!projet.ecrit(trouve->rang, r)) return echec_ecriture_projet(projet.chemin());
  } else if (!change_racine(projet, c)) {
    return false;
  }
  const auto tous = [&c](RubriqueProjet &une) { applique(une, c); };
  if (c.recursif && r.est_dossier() && !pour_sous_arbre(projet, r.numero, tous)) return false;
  return !c.vues || change_vues(projet, *trouve, c);
}

}  // namespace

int commande_projet_set(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  Changements c;
  if (!lit_code(arguments, "type", c.type) || !lit_code(arguments, "creator", c.createur)) return kEchec;
  c.caches = appartenance(arguments, "hide");
  c.vues = appartenance(arguments, "views");
  c.extension_cachee = bascule(arguments, "hidden-ext");
  c.icone = bascule(arguments, "custom-icon");
  c.manquant = bascule(arguments, "missing");
  c.rafraichir = bascule(arguments, "refresh");
  c.recursif = arguments.a("recursive");
  if (!c.simples() && !c.vues && !c.icone) return kUsage;
  const auto chemin = chemin_argument(arguments.positions[0]);
  auto projet = chemin ? ouvre_projet(*chemin) : std::nullopt;
  if (!projet) return kEchec;
  if (c.vues && projet->mode() == ModeProjet::isop) {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  bool fait = true;
  for (std::size_t i = 1; i < arguments.positions.size(); ++i)
    fait = change_element(*projet, arguments.positions[i], c) && fait;
  return enregistre_projet(*projet) && fait ? kFait : kEchec;
}

}  // namespace varnion
