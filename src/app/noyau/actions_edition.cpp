#include "app/noyau/actions_edition.hpp"

#include <algorithm>
#include <cerrno>

#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/ordre.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNomFaux = 7400;   // name
constexpr int kNomLong = 7401;   // name, limit
constexpr int kNonEcrit = 7402;  // image, reason
constexpr int kCodeFaux = 7414;  // text
constexpr std::size_t kNomHfsPlusMax = 255;

}  // namespace

int modifie_volume(ContexteCli &contexte, const std::function<bool()> &change) {
  const VolumeOuvert volume(contexte, contexte.arguments.positions[0], AccesVolume::ecriture);
  return volume && modifie_volume_monte(volume.chemin(), change) ? kFait : kEchec;
}

bool modifie_volume_monte(const std::string &chemin, const std::function<bool()> &change) {
  support().echec_ecriture = 0;
  reponses_volume() = {};
  if (!chargement_carte()) return false;
  const bool fait = change();
  const bool ecrit = ecriture_structures() && support().echec_ecriture == 0;
  liberation_carte();
  if (!ecrit) {
    const std::string raison = plateforme::texte_erreur(support().echec_ecriture);
    operations().afficher_erreur(message(kNonEcrit, {chemin, raison}));
  }
  return fait && ecrit;
}

NomItem nom_de(const ElementMac &element) {
  return {element.nom_hfs, element.nom_hfsplus};
}

bool permute_fourches(const ElementMac &element) {
  if (!element.fichier() || (!carte_allocation().chargee && !chargement_carte())) return false;
  return echange_fourches(nom_de(element), element.parent) == 0;
}

std::optional<NomItem> nom_tape(std::string_view utf8, std::size_t limite, bool hfsplus) {
  const std::u16string large = plateforme::utf8_vers_large(nom_de_partie(utf8));
  const std::string montre = plateforme::utf8_vers_texte(utf8);
  const bool zero = large.find(u'\0') != std::u16string::npos;
  // Bytes that are no UTF-8 read as U+FFFD.
  const bool faux =
      large.find(u'\uFFFD') != std::u16string::npos && utf8.find("\xEF\xBF\xBD") == std::string_view::npos;
  NomItem nom;
  std::size_t longueur = 0;
  if (hfsplus) {
    bool entier = false;
    nom.unicode = decompose_hfsplus(large, &entier);
    longueur = entier ? nom.unicode.vue().size() : kNomHfsPlusMax + 1;
    // Characters that the order of names passes over make a name that is equal to none.
    if (entier && compare_hfsplus(nom.unicode.vue(), {}) == 0) longueur = 0;
  } else if (auto mac = utf8_vers_mac(plateforme::large_vers_utf8(large)); mac) {
    nom.mac = std::move(*mac);
    longueur = nom.mac.size();
  }
  if (longueur == 0 || zero || faux || large.find(u':') != std::u16string::npos) {
    operations().afficher_erreur(message(kNomFaux, {montre}));
    return std::nullopt;
  }
  if (longueur > limite) {
    operations().afficher_erreur(message(kNomLong, {montre, limite}));
    return std::nullopt;
  }
  return nom;
}

std::optional<NomItem> nom_tape(std::string_view utf8, std::size_t limite) {
  return nom_tape(utf8, limite, volume_courant().est_hfsplus);
}

std::optional<NomItem> nom_tape(std::string_view utf8) {
  return nom_tape(utf8, volume_courant().est_hfsplus ? kNomHfsPlusMax : kNomHfsMax);
}

std::optional<std::array<std::uint8_t, 4>> code_tape(const std::string &utf8) {
  std::array<std::uint8_t, 4> code{' ', ' ', ' ', ' '};
  const auto mac = utf8_vers_mac(plateforme::large_vers_utf8(plateforme::utf8_vers_large(utf8)));
  if (!mac || mac->size() > code.size()) {
    operations().afficher_erreur(message(kCodeFaux, {plateforme::utf8_vers_texte(utf8)}));
    return std::nullopt;
  }
  for (std::size_t rang = 0; rang < std::min(mac->size(), code.size()); ++rang)
    code[rang] = static_cast<std::uint8_t>((*mac)[rang]);
  return code;
}

std::vector<std::string> parties_chemin(std::string_view chemin) {
  std::vector<std::string> parties;
  while (!chemin.empty()) {
    const std::size_t barre = std::min(chemin.find('/'), chemin.size());
    if (barre != 0) parties.emplace_back(chemin.substr(0, barre));
    chemin.remove_prefix(std::min(barre + 1, chemin.size()));
  }
  return parties;
}

}  // namespace varnion
