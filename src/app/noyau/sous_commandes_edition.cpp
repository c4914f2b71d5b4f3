// What changes a Macintosh volume: mkdir, rm, rename, mv, swap, label, signature. Each command loads the
// bitmap, makes its changes and flushes the volume once, even when it stops halfway: what was done stands.

#include <functional>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDeplacementVain = 7406;  // path
constexpr int kDansSoi = 7407;          // path
constexpr int kDossierPlein = 7408;     // path
constexpr int kRacine = 7409;
constexpr int kPasDossier = 7410;   // path
constexpr int kRienRenomme = 7411;  // pattern
constexpr int kMasqueHfs = 7412;
constexpr int kSignatureFausse = 7413;  // text
constexpr int kArrete = 6869;
constexpr int kEchangeVain = 1172;
constexpr int kSignatureRemplacee = 1428;
constexpr int kSignatureAbsente = 1429;

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

bool echoue(const std::string &texte) {
  operations().afficher_erreur(texte);
  return false;
}

// An item that can be moved, renamed or deleted: any but the root.
std::optional<ElementMac> trouve_modifiable(const std::string &chemin) {
  auto element = trouve_mac(chemin);
  if (element && element->id == kIdRacine) {
    operations().afficher_erreur(charger_chaine(kRacine));
    return std::nullopt;
  }
  return element;
}

std::optional<ElementMac> trouve_dossier(const std::string &chemin) {
  auto element = trouve_mac(chemin);
  if (element && !element->dossier) {
    operations().afficher_erreur(message(kPasDossier, {texte(chemin)}));
    return std::nullopt;
  }
  return element;
}

// Runs the same for every position behind the image; all are tried.
bool pour_chaque(const Arguments &arguments, std::size_t fin,
                 const std::function<bool(const std::string &)> &fait) {
  bool tous = true;
  for (std::size_t rang = 1; rang < fin; ++rang) {
    if (operations().arret_demande()) return echoue(charger_chaine(kArrete));
    tous = fait(arguments.positions[rang]) && tous;
  }
  return tous;
}

// --- mkdir
// ----------------------------------------------------------------------------------------------------

// Makes the folders of a path that are missing; the last one must be.
bool fait_dossiers(const std::string &chemin) {
  std::uint32_t parent = kIdRacine;
  const std::vector<std::string> parties = parties_chemin(chemin);
  for (std::size_t rang = 0; rang < parties.size(); ++rang) {
    // The last is looked for by its key alone: a look-up that finds nothing goes through the whole folder.
    const bool dernier = rang + 1 == parties.size();
    const auto trouve = dernier ? std::nullopt : element_par_nom(parent, parties[rang]);
    if (trouve && !trouve->dossier) return echoue(message(kPasDossier, {texte(chemin)}));
    if (trouve) {
      parent = trouve->id;
      continue;
    }
    const auto nom = nom_tape(parties[rang]);
    if (!nom) return false;
    parent = cree_dossier(*nom, parent);
    if (parent == 0) return false;
  }
  return !parties.empty() || echoue(charger_chaine(kRacine));
}

// --- rm
// -------------------------------------------------------------------------------------------------------

bool supprime(const std::string &chemin, bool recursif, bool interroge) {
  const auto element = trouve_modifiable(chemin);
  if (!element) return false;
  if (element->dossier && element->valence != 0 && !recursif && !interroge)
    return echoue(message(kDossierPlein, {texte(chemin)}));
  return supprime_par_nom(nom_de(*element), element->parent) != 0;
}

// --- rename
// ---------------------------------------------------------------------------------------------------

bool renomme_par_masque(const std::string &dossier, const std::string &motif, const std::string &nouveau) {
  if (volume_courant().est_hfsplus) return echoue(charger_chaine(kMasqueHfs));
  const auto parent = trouve_dossier(dossier);
  const auto ancien = nom_tape(motif);
  const auto vers = nom_tape(nouveau);
  if (!parent || !ancien || !vers) return false;
  int refuses = 0;
  const bool fait = renomme_masque(ancien->mac, vers->mac, parent->id, &refuses) != 0;
  if (refuses != 0) return false;
  return fait || echoue(message(kRienRenomme, {texte(motif)}));
}

bool renomme(const std::string &chemin, const std::string &nouveau) {
  const std::size_t barre = chemin.rfind('/');
  const std::string nom = barre == std::string::npos ? chemin : chemin.substr(barre + 1);
  if (nom.find('*') != std::string::npos && !element_par_chemin(chemin))
    return renomme_par_masque(barre == std::string::npos ? "" : chemin.substr(0, barre), nom, nouveau);
  const auto element = trouve_modifiable(chemin);
  const auto vers = element ? nom_tape(nouveau) : std::nullopt;
  return vers && renomme_par_nom(nom_de(*element), *vers, element->parent) != 0;
}

// --- mv
// -------------------------------------------------------------------------------------------------------

// True when `dossier` is the folder `dans` or lies above it.
bool contient(std::uint32_t dossier, std::uint32_t dans) {
  constexpr int kNiveauxMax = 1000;
  for (int niveau = 0; dans > kIdRacine && niveau < kNiveauxMax; ++niveau) {
    if (dans == dossier) return true;
    dans = parent_de(dans);
  }
  return dans == dossier;
}

bool deplace_vers(const std::string &chemin, const ElementMac &cible) {
  const auto element = trouve_modifiable(chemin);
  if (!element) return false;
  if (element->dossier && contient(element->id, cible.id)) return echoue(message(kDansSoi, {texte(chemin)}));
  if (element->parent == cible.id) return true;
  if (deplace(nom_de(*element), element->parent, cible.id) != 0) return true;
  // The engine tells of a name that is taken there; anything else is told here.
  return existe(nom_de(*element), cible.id) == 0 && echoue(message(kDeplacementVain, {texte(chemin)}));
}

// --- signature
// ------------------------------------------------------------------------------------------------

std::optional<Signature> signature_tapee(const std::string &utf8) {
  const auto mac = utf8_vers_mac(plateforme::large_vers_utf8(plateforme::utf8_vers_large(utf8)));
  if (!mac || mac->size() != sizeof(Signature)) {
    operations().afficher_erreur(message(kSignatureFausse, {texte(utf8)}));
    return std::nullopt;
  }
  Signature signature{};
  std::copy(mac->begin(), mac->end(), signature.begin());
  return signature;
}

}  // namespace

int commande_mkdir(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  return modifie_volume(contexte,
                        [&] { return pour_chaque(arguments, arguments.positions.size(), fait_dossiers); });
}

int commande_rm(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const bool recursif = arguments.a("recursive");
  const bool interroge = contexte.console.options.interroge;
  return modifie_volume(contexte, [&] {
    reponses_volume().reponse_dossier_plein = recursif ? 2 : 0;
    return pour_chaque(arguments, arguments.positions.size(),
                       [&](const std::string &chemin) { return supprime(chemin, recursif, interroge); });
  });
}

int commande_rename(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  return modifie_volume(contexte, [&] { return renomme(arguments.positions[1], arguments.positions[2]); });
}

int commande_mv(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  return modifie_volume(contexte, [&] {
    const auto cible = trouve_dossier(arguments.positions.back());
    return cible && pour_chaque(arguments, arguments.positions.size() - 1,
                                [&](const std::string &chemin) { return deplace_vers(chemin, *cible); });
  });
}

int commande_swap(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  return modifie_volume(contexte, [&] {
    return pour_chaque(arguments, arguments.positions.size(), [](const std::string &chemin) {
      const auto element = trouve_mac(chemin);
      if (!element) return false;
      if (permute_fourches(*element)) return true;
      return echoue(charger_chaine(kEchangeVain) + "\n" + texte(chemin));
    });
  });
}

int commande_label(ContexteCli &contexte) {
  const std::string &label = contexte.arguments.positions[1];
  return modifie_volume(contexte, [&] {
    const auto nom = nom_tape(label, volume_courant().est_hfsplus ? kNomVolumeHfsPlusMax : kNomVolumeHfsMax);
    return nom && nom_volume_change(*nom) != 0;
  });
}

int commande_signature(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (!arguments.a("replace") || arguments.positions.size() != 2) return kUsage;
  const auto ancienne = signature_tapee(arguments.valeur("replace"));
  const auto nouvelle = ancienne ? signature_tapee(arguments.positions[1]) : std::nullopt;
  if (!nouvelle) return kUsage;
  const std::string montree = texte(arguments.valeur("replace"));
  return modifie_volume(contexte, [&] {
    const int nombre = remplace_signature(*ancienne, *nouvelle);
    if (nombre == 0) return echoue(message(kSignatureAbsente, {montree}));
    contexte.sortie << plateforme::texte_vers_utf8(message(kSignatureRemplacee, {montree, nombre})) << "\n";
    return true;
  });
}

}  // namespace varnion
