#include "app/noyau/actions_copie.hpp"

#include <cerrno>
#include <cstdint>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "fichiers/mode_copie.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCopies = 6863;
constexpr int kVides = 6864;
constexpr int kManques = 6865;
constexpr int kArrete = 6869;
constexpr int kCibleFermee = 6872;
constexpr std::size_t kCheminMessage = 200;
constexpr double kPasBarre = 0.1;  // seconds between two bars

std::uint32_t mode_nomme(std::string_view nom) {
  if (nom == "resource") return kCopieRessource;
  if (nom == "macbinary") return kCopieMacBinaire;
  if (nom == "appledouble") return kCopieAppleDouble;
  return nom == "applesingle" ? kCopieAppleSingle : kCopieData;
}

ModeNommage nommage(const Arguments &arguments) {
  const std::string nom = arguments.valeur("names");
  if (nom == "keep") return ModeNommage::garde;
  if (nom == "whole") return ModeNommage::entier;
  return nom == "long" ? ModeNommage::longs : mode_nommage(etat<OptionsProgramme>().options);
}

// The number of the next font, the first one again behind the last that a resource id can be.
std::uint16_t numero_police() {
  int &numpol = reglages().numpol;
  const int numero = numpol;
  numpol = numero < INT16_MAX ? numero + 1 : Reglages{}.numpol;
  static_cast<void>(enregistre_reglage("numpol"));
  return static_cast<std::uint16_t>(numero);
}

}  // namespace

// The generic row takes part in the search, whose last pass compares two letters; every other signature that
// ends there was found nowhere.
std::optional<std::string> extension_copie(std::string_view signature) {
  const EntreeSignature *ligne = extension_de_signature(signature);
  if (ligne == nullptr) return std::nullopt;
  const bool trouvee =
      ligne != &table_signatures().lignes[0] || signature.starts_with(kSignatureGenerique.substr(0, 2));
  if (!trouvee && !reglages().ext.empty()) return reglages().ext;
  return std::string(ligne->texte_extension());
}

OptionsCopiePc options_copie(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  Console &console = contexte.console;
  const std::string remplacer = arguments.valeur("overwrite", console.options.interroge ? "ask" : "no");
  if (remplacer == "ask") {
    console.options.interroge = true;
    etat<OptionsProgramme>().mode_lot = false;
  }
  reponses_copie_pc().remplacement = remplacer == "yes"   ? Remplacement::tous
                                     : remplacer == "ask" ? Remplacement::demande
                                                          : Remplacement::aucun;
  mode_copie() = mode_nomme(arguments.valeur("mode"));
  const std::string polices = arguments.valeur("fonts", console.options.interroge ? "" : "no");
  if (polices == "yes") mode_copie() |= kPolicesMac;
  OptionsCopiePc options;
  options.nommage = nommage(arguments);
  options.extension = extension_copie;
  options.polices = polices != "no";
  options.force = arguments.a("force");
  options.suivi = [&console, dernier = plateforme::chronometre()](const BilanCopiePc &bilan) mutable {
    if (!console.options.terminal || plateforme::chronometre() - dernier < kPasBarre) return;
    dernier = plateforme::chronometre();
    console.barre(texte_copies(bilan.fichiers, bilan.octets));
  };
  return options;
}

std::optional<DossierSortie> dossier_cible(const ContexteCli &contexte) {
  const auto chemin = chemin_argument(contexte.arguments.valeur("to"));
  if (!chemin) return std::nullopt;
  const bool suit_liens = contexte.arguments.a("force");
  auto dossier = DossierSortie::ouvre(*chemin, suit_liens);
  if (!dossier && errno == ENOENT && plateforme::cree_dossier(*chemin))
    dossier = DossierSortie::ouvre(*chemin, suit_liens);
  if (!dossier) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(message(kCibleFermee, {tronque_chemin(*chemin, kCheminMessage), raison}));
  }
  return dossier;
}

int conclut_copie(ContexteCli &contexte, const BilanCopiePc &bilan) {
  contexte.console.barre({});
  const auto ligne = [&contexte](const std::string &texte) {
    contexte.sortie << plateforme::texte_vers_utf8(texte) << "\n";
  };
  ligne(message(kCopies, {bilan.copies, bilan.dossiers, taille_lisible(bilan.octets_lus)}));
  if (bilan.vides != 0) ligne(message(kVides, {bilan.vides}));
  if (bilan.amputes != 0) ligne(texte_amputes(bilan));
  if (bilan.sautes + bilan.echecs != 0) ligne(message(kManques, {bilan.sautes, bilan.echecs}));
  if (bilan.arret && contexte.console.arret_demande()) operations().afficher_erreur(charger_chaine(kArrete));
  return bilan.complet() ? kFait : kEchec;
}

OptionsCopieMac options_copie_mac() {
  OptionsCopieMac options;
  options.signature = [](std::string_view nom) { return std::string(signature_de_fichier(nom)); };
  options.numero_police = numero_police;
  return options;
}

}  // namespace varnion
