// "project set": the properties of items.

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_proprietes.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/plateforme.hpp"
#include "projet/erreurs.hpp"
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

// What is to be set, and whether below a folder too.
struct Changements : ChangementsRubrique {
  bool recursif = false;

  [[nodiscard]] bool signature() const { return type || createur; }
  [[nodiscard]] bool simples() const {
    return signature() || cache_iso || extension_cachee || manquant || rafraichir;
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
  code = code_mac(*texte);
  return true;
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
    applique_changements(r, c);
    if (!projet.ecrit(trouve->rang, r)) return echec_ecriture_projet(projet.chemin());
  } else if (!change_racine(projet, c)) {
    return false;
  }
  const auto tous = [&c](RubriqueProjet &une) { applique_changements(une, c); };
  if (c.recursif && r.est_dossier() && !pour_sous_arbre(projet, r.numero, tous)) return false;
  return !c.vues() || change_vues(projet, trouve->rang, r, c);
}

}  // namespace

int commande_projet_set(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  Changements c;
  if (!lit_code(arguments, "type", c.type) || !lit_code(arguments, "creator", c.createur)) return kEchec;
  if (const auto caches = appartenance(arguments, "hide")) {
    c.cache_iso = caches->iso;
    c.cache_hfs = caches->hfs;
  }
  if (const auto vues = appartenance(arguments, "views")) {
    c.dans_iso = vues->iso;
    c.dans_hfs = vues->hfs;
  }
  c.extension_cachee = bascule(arguments, "hidden-ext");
  c.icone = bascule(arguments, "custom-icon");
  c.manquant = bascule(arguments, "missing");
  c.rafraichir = bascule(arguments, "refresh");
  c.recursif = arguments.a("recursive");
  if (!c.simples() && !c.vues() && !c.icone) return kUsage;
  const auto chemin = chemin_argument(arguments.positions[0]);
  auto projet = chemin ? ouvre_projet(*chemin) : std::nullopt;
  if (!projet) return kEchec;
  if (c.vues() && projet->mode() == ModeProjet::isop) {
    operations().afficher_erreur(charger_chaine(kVueUnique));
    return kEchec;
  }
  bool fait = true;
  for (std::size_t i = 1; i < arguments.positions.size(); ++i)
    fait = change_element(*projet, arguments.positions[i], c) && fait;
  return enregistre_projet(*projet) && fait ? kFait : kEchec;
}

}  // namespace varnion
