// "get": from a Macintosh volume to the PC.

#include "app/noyau/actions_copie.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_volume.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kSansCible = 6877;

std::optional<std::string> table_choisie(const Arguments &arguments) {
  return arguments.a("signatures") ? std::optional(arguments.valeur("signatures")) : std::nullopt;
}

}  // namespace

int commande_get(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!arguments.a("to")) {
    operations().afficher_erreur(charger_chaine(kSansCible));
    return kUsage;
  }
  if (!prepare_signatures(table_choisie(arguments))) return kEchec;
  const VolumeOuvert volume(contexte, arguments.positions[0]);
  if (!volume) return kEchec;
  const auto cible = dossier_cible(contexte);
  if (!cible) return kEchec;
  CopieVersPc copie(options_copie(contexte));
  bool trouves = true;
  for (std::size_t rang = 1; rang < arguments.positions.size() && !copie.bilan().arret; ++rang) {
    const auto element = trouve_mac(arguments.positions[rang]);
    if (element) static_cast<void>(copie.copie_vers_pc(*element, *cible));
    trouves = trouves && element.has_value();
  }
  const int statut = conclut_copie(contexte, copie.bilan());
  return trouves ? statut : kEchec;
}

}  // namespace varnion
