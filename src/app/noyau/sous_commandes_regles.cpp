// "rules": where the published and the classic rule differ.

#include <ostream>

#include "app/noyau/json.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "IO/ecarts.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kPublie = 7946;
constexpr int kClassique = 7947;
constexpr int kPourQui = 7948;
constexpr std::size_t kColonne = 13;
constexpr const char *kTetePage =
    "# Published and classic\n\n"
    "`varnion-cli rules --markdown` makes this page. Under the published rule, the default, what is written "
    "follows the\npublished formats and what these allow is read. `--classic`, and the command letters "
    "without "
    "`--published`, give the bytes\nof release 0.1.0; the window follows the setting `Published` (1 or 0) of "
    "its "
    "file. They differ here:\n\n"
    "| | Published | Classic | For you |\n|---|---|---|---|\n";

std::string utf8(int id) {
  return plateforme::texte_vers_utf8(charger_chaine(id));
}

void ecrit_texte(std::ostream &sortie) {
  for (const FicheEcart &fiche : fiches_ecarts()) {
    std::string texte = std::string(fiche.nom) + "\n";
    texte += entree_aide(charger_chaine(kPublie), charger_chaine(fiche.publication()), kColonne);
    texte += entree_aide(charger_chaine(kClassique), charger_chaine(fiche.classique()), kColonne);
    texte += entree_aide(charger_chaine(kPourQui), charger_chaine(fiche.pour_qui()), kColonne);
    sortie << plateforme::texte_vers_utf8(texte) << "\n";
  }
}

void ecrit_page(std::ostream &sortie) {
  sortie << kTetePage;
  for (const FicheEcart &fiche : fiches_ecarts())
    sortie << "| `" << fiche.nom << "` | " << utf8(fiche.publication()) << " | " << utf8(fiche.classique())
           << " | " << utf8(fiche.pour_qui()) << " |\n";
}

void ecrit_json(std::ostream &sortie) {
  const char *avant = "[";
  for (const FicheEcart &fiche : fiches_ecarts()) {
    ObjetJson objet;
    objet.utf8("name", fiche.nom)
        .texte("published", charger_chaine(fiche.publication()))
        .texte("classic", charger_chaine(fiche.classique()))
        .texte("for_you", charger_chaine(fiche.pour_qui()));
    sortie << avant << objet.fini();
    avant = ",\n ";
  }
  sortie << "]\n";
}

}  // namespace

int commande_rules(ContexteCli &contexte) {
  if (contexte.arguments.a("json"))
    ecrit_json(contexte.sortie);
  else if (contexte.arguments.a("markdown"))
    ecrit_page(contexte.sortie);
  else
    ecrit_texte(contexte.sortie);
  return kFait;
}

}  // namespace varnion
