#include "app/noyau/routage.hpp"

#include <algorithm>
#include <string>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNonGere = 1386;
constexpr std::size_t kCheminMessage = 50;

struct ModeExtension {
  std::string_view extension;
  int mode;
};
constexpr ModeExtension kExtensions[] = {
    {".VNPR", kModeProjet},   {".CAT", kModeProjet},    {".HFS", kModePartition},
    {".ISO", kModePartition}, {".DMG", kModePartition}, {".VNSO", kModeIsop},
};

bool est_lettre(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

}  // namespace

std::optional<CommandeLettre> commande_lettre(std::string_view argument) {
  if (argument.size() < 2 || argument.size() > 3) return std::nullopt;
  if (std::string_view("-/\\").find(argument.front()) == std::string_view::npos) return std::nullopt;
  argument.remove_prefix(1);
  if (!std::all_of(argument.begin(), argument.end(), est_lettre)) return std::nullopt;
  return CommandeLettre{plateforme::majuscule(argument[0]),
                        argument.size() > 1 ? plateforme::majuscule(argument[1]) : '\0'};
}

std::optional<int> mode_de_document(std::string_view chemin) {
  const std::size_t barre = chemin.find_last_of("/\\");
  const std::string_view nom = barre == std::string_view::npos ? chemin : chemin.substr(barre + 1);
  const std::size_t point = nom.rfind('.');
  if (point == std::string_view::npos) return std::nullopt;
  const std::string extension = plateforme::majuscules(nom.substr(point));
  for (const auto &[debut, mode] : kExtensions)
    if (extension.starts_with(debut)) return mode;
  return std::nullopt;
}

void annonce_inconnu(std::string_view chemin) {
  operations().afficher_erreur(message(kNonGere, {tronque_chemin(chemin, kCheminMessage)}));
}

Routage route_parametre(std::string_view texte) {
  Routage routage;
  if (const auto commande = commande_lettre(texte)) {
    routage.genre = Routage::Genre::commande;
    routage.commande = *commande;
  } else if (const auto mode = mode_de_document(texte)) {
    routage.genre = Routage::Genre::document;
    routage.mode = *mode;
  } else {
    annonce_inconnu(texte);
  }
  return routage;
}

}  // namespace varnion
