#include "app/noyau/ligne_commande.hpp"

#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>

#include "app/noyau/interruption.hpp"
#include "app/noyau/journal.hpp"
#include "app/noyau/lettres.hpp"
#include "app/noyau/reglages.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "app/noyau/tampon_sur.hpp"
#include "IO/ecarts.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "projet/noms_rubrique.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDescription = 6500;
constexpr int kUsageLigne = 6501;
constexpr int kFormeCommande = 6502;
constexpr int kFormeLettre = 6503;
constexpr int kTitreCommandes = 6504;
constexpr int kTitreLettres = 6505;
constexpr int kTitreOptions = 6506;
constexpr int kTitreGlobales = 6507;
constexpr int kAideCommande = 6508;
constexpr int kVersion = 6509;
constexpr int kCommandeInconnue = 6510;
constexpr int kPeuArguments = 6514;
constexpr int kTropArguments = 6515;
constexpr int kEssayezAide = 6517;
constexpr int kSortieImpossible = 6518;
constexpr int kDeuxRegles = 7945;
constexpr std::size_t kColonneCommandes = 20;

constexpr OptionCli kGlobales[] = {
    {"help", 'h', 6740},    {"version", '\0', 6741}, {"lang", '\0', 6742, "en|fr"}, {"quiet", 'q', 6743},
    {"verbose", 'v', 6744}, {"ask", '\0', 6745},     {"classic", '\0', 7943},       {"published", '\0', 7944},
};

// --- help
// -----------------------------------------------------------------------------------------------------

std::string titre(int id) {
  return "\n" + charger_chaine(id) + "\n";
}

std::string usage(std::string_view forme) {
  return message(kUsageLigne, {forme}) + "\n";
}

std::string aide_generale() {
  std::string texte = message(kDescription, {VARNION_VERSION}) + "\n\n";
  texte += usage(charger_chaine(kFormeCommande)) + usage(charger_chaine(kFormeLettre));
  texte += titre(kTitreCommandes);
  for (const SousCommande &commande : sous_commandes())
    texte += entree_aide(commande.mots(), charger_chaine(commande.resume), kColonneCommandes);
  texte += titre(kTitreLettres);
  for (const FicheLettre &fiche : fiches_lettres()) {
    texte += "  " + charger_chaine(fiche.synopsis) + "\n";
    texte += entree_aide("", charger_chaine(fiche.resume), kColonneCommandes);
  }
  texte += titre(kTitreGlobales) + aide_options(kGlobales);
  return texte + "\n" + charger_chaine(kAideCommande) + "\n";
}

std::string aide_commande(const SousCommande &commande) {
  std::string texte =
      usage(charger_chaine(commande.synopsis)) + "\n" + charger_chaine(commande.resume) + "\n";
  if (!commande.options.empty()) texte += titre(kTitreOptions) + aide_options(commande.options);
  return texte + titre(kTitreGlobales) + aide_options(kGlobales);
}

// --- one run
// --------------------------------------------------------------------------------------------------

class Seance {
 public:
  Seance(std::istream &entree, std::ostream &sortie, std::ostream &messages)
      : console_(messages, entree), octets_(sortie), tampon_(sortie), sortie_(&tampon_) {}

  int lance(std::span<const std::string> mots) {
    console_.options = terminal_;
    brancher_operations(&console_);
    lire_options(true);
    int statut = dirige(mots);
    sortie_.flush();
    if (!sortie_ || !octets_) {
      console_.afficher_erreur(charger_chaine(kSortieImpossible));
      statut = std::max(statut, kEchec);
    }
    ferme_journal();
    brancher_operations(nullptr);
    plateforme::vide_dossier_temporaire();
    return statut;
  }
  void terminal(const OptionsConsole &options) { terminal_ = options; }

 private:
  // The long options ahead of the command; the number of words they take.
  std::size_t lit_globales(std::span<const std::string> mots) {
    std::size_t rang = 0;
    while (rang < mots.size() && mots[rang].starts_with("--") && mots[rang].size() > 2) {
      const bool avec_valeur = mots[rang] == "--lang";
      rang += avec_valeur ? 2 : 1;
    }
    return std::min(rang, mots.size());
  }

  // Reads words by the global options and those of a command, and puts the global ones in force.
  std::optional<std::string> analyse(std::span<const std::string> mots, std::span<const OptionCli> options,
                                     bool courtes) {
    const std::span<const OptionCli> tables[] = {options, kGlobales};
    auto erreur = analyse_arguments(mots, tables, courtes, arguments_);
    if (!erreur && arguments_.a("classic") && arguments_.a("published")) erreur = charger_chaine(kDeuxRegles);
    console_.options.silencieux = arguments_.a("quiet");
    console_.options.bavard = arguments_.a("verbose") && !arguments_.a("quiet");
    console_.options.interroge = arguments_.a("ask");
    if (arguments_.a("lang"))
      fixer_base_langue(arguments_.valeur("lang") == "fr" ? kLangueFrancais : kLangueAnglais);
    // Asked for, the questions come; else they answer themselves, names are cut, all of it without a dialog.
    etat<OptionsProgramme>().mode_lot = !console_.options.interroge;
    etat<OptionsProgramme>().niveau_trace = 0;
    return erreur;
  }

  int refuse(const std::string &raison, const std::string &forme) {
    if (!raison.empty()) console_.afficher_erreur(raison);
    console_.ligne(usage(forme));
    console_.ligne(charger_chaine(kEssayezAide));
    return kUsage;
  }

  int montre(const std::string &texte) {
    sortie_ << plateforme::texte_vers_utf8(texte);
    return kFait;
  }

  int dirige(std::span<const std::string> mots) {
    const std::size_t devant = lit_globales(mots);
    const auto erreur = analyse(mots.first(devant), {}, true);
    const auto reste = mots.subspan(devant);
    if (erreur) return refuse(*erreur, charger_chaine(kFormeCommande));
    if (arguments_.a("version")) return montre(message(kVersion, {VARNION_VERSION}) + "\n");
    if (reste.empty() || (reste.size() == 1 && (reste[0] == "-h" || reste[0] == "help"))) {
      if (!reste.empty() || arguments_.a("help")) return montre(aide_generale());
      return refuse({}, charger_chaine(kFormeCommande));
    }
    if (const auto lettre = commande_lettre(reste[0])) return dirige_lettre(*lettre, reste);
    return dirige_commande(reste[0] == "help" ? reste.subspan(1) : reste, reste[0] == "help");
  }

  int dirige_lettre(CommandeLettre commande, std::span<const std::string> mots) {
    const auto erreur = analyse(mots.subspan(1), options_lettres(), false);
    fixer_regle(arguments_.a("published") ? Regle::publiee : Regle::classique);
    const FicheLettre *fiche = fiche_lettre(commande);
    if (fiche == nullptr)
      return refuse(message(kCommandeInconnue, {plateforme::utf8_vers_texte(mots[0])}),
                    charger_chaine(kFormeLettre));
    const std::string forme = charger_chaine(fiche->synopsis);
    if (erreur) return refuse(*erreur, forme);
    if (arguments_.a("help")) return montre(usage(forme) + "\n" + charger_chaine(fiche->resume) + "\n");
    if (arguments_.positions.size() > 2) return refuse(trop_arguments(2), forme);
    ContexteCli contexte{console_, sortie_, octets_, arguments_};
    const int statut = execute_lettre(contexte, commande);
    return statut == kUsage ? refuse(charger_chaine(kPeuArguments), forme) : statut;
  }

  std::string trop_arguments(std::size_t permis) const {
    return message(kTropArguments, {plateforme::utf8_vers_texte(arguments_.positions[permis])});
  }

  // The row that the first words name; `pris` is how many they are.
  static const SousCommande *cherche(std::span<const std::string> mots, std::size_t &pris) {
    for (const SousCommande &commande : sous_commandes()) {
      pris = commande.groupe.empty() ? 1 : 2;
      if (mots.size() < pris || mots[pris - 1] != commande.nom) continue;
      if (commande.groupe.empty() || mots[0] == commande.groupe) return &commande;
    }
    return nullptr;
  }

  // "project" alone, or with --help: the commands of the group.
  std::optional<std::string> aide_groupe(std::string_view groupe) const {
    std::string texte;
    for (const SousCommande &commande : sous_commandes())
      if (!groupe.empty() && commande.groupe == groupe)
        texte += entree_aide(commande.mots(), charger_chaine(commande.resume), kColonneCommandes);
    return texte.empty() ? std::nullopt : std::optional(texte);
  }

  int commande_inconnue(std::span<const std::string> mots, bool aide) {
    const auto groupe = aide_groupe(mots[0]);
    if (groupe &&
        (aide || arguments_.a("help") || (mots.size() == 2 && (mots[1] == "--help" || mots[1] == "-h"))))
      return montre(usage(charger_chaine(kFormeCommande)) + titre(kTitreCommandes) + *groupe);
    if (groupe && mots.size() == 1)
      return refuse(charger_chaine(kPeuArguments), charger_chaine(kFormeCommande));
    const std::string nom = groupe ? mots[0] + " " + mots[1] : mots[0];
    return refuse(message(kCommandeInconnue, {plateforme::utf8_vers_texte(nom)}),
                  charger_chaine(kFormeCommande));
  }

  int dirige_commande(std::span<const std::string> mots, bool aide) {
    std::size_t pris = 0;
    const SousCommande *commande = cherche(mots, pris);
    if (commande == nullptr) return commande_inconnue(mots, aide);
    const auto erreur = analyse(mots.subspan(pris), commande->options, true);
    fixer_regle(arguments_.a("classic") ? Regle::classique : Regle::publiee);
    if (aide || arguments_.a("help")) return montre(aide_commande(*commande));
    const std::string forme = charger_chaine(commande->synopsis);
    if (erreur) return refuse(*erreur, forme);
    if (arguments_.positions.size() < commande->positions_min)
      return refuse(charger_chaine(kPeuArguments), forme);
    if (arguments_.positions.size() > commande->positions_max)
      return refuse(trop_arguments(commande->positions_max), forme);
    ContexteCli contexte{console_, sortie_, octets_, arguments_};
    const int statut = commande->execute(contexte);
    return statut == kUsage ? refuse(charger_chaine(kPeuArguments), forme) : statut;
  }

  Console console_;
  std::ostream &octets_;
  TamponSur tampon_;  // over octets_
  std::ostream sortie_;
  OptionsConsole terminal_;
  Arguments arguments_;
};

}  // namespace

int ligne_commande(std::span<const std::string> mots, const OptionsConsole &terminal, std::istream &entree,
                   std::ostream &sortie, std::ostream &messages) {
  surveille_interruptions();
  Seance seance(entree, sortie, messages);
  seance.terminal(terminal);
  return seance.lance(mots);
}

}  // namespace varnion
