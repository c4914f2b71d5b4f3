// "attr": type, creator, dates, lock and Finder flags of items on a volume.

#include <cstdio>
#include <span>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/affichage.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArrete = 6869;
constexpr int kDateFausse = 7415;  // text
constexpr int kRienDemande = 7416;
constexpr int kPasFichier = 7417;         // path
constexpr int kPasChange = 7418;          // path
constexpr unsigned kDecalageCouleur = 1;  // kColor, bits 1 to 3

/// A Finder flag by the name of its option (Inside Macintosh: Macintosh Toolbox Essentials, 7-47).
struct Drapeau {
  std::string_view option;
  std::uint16_t bit;
};
constexpr Drapeau kDrapeaux[] = {{"on-desk", 0x0001},     {"shared", 0x0040},      {"no-inits", 0x0080},
                                 {"inited", 0x0100},      {"custom-icon", 0x0400}, {"stationery", 0x0800},
                                 {"name-locked", 0x1000}, {"bundle", 0x2000},      {"invisible", 0x4000},
                                 {"alias", 0x8000}};

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

void dit(int id, std::string_view utf8) {
  operations().afficher_erreur(message(id, {texte(utf8)}));
}

// Days from 1 January 1970 of a date of the Gregorian calendar.
std::int64_t jours(int annee, int mois, int jour) {
  const std::int64_t a = mois <= 2 ? annee - 1 : annee;
  const std::int64_t ere = a / 400, an = a - ere * 400;
  const std::int64_t m = (mois + 9) % 12, rang = (153 * m + 2) / 5 + jour - 1;
  return ere * 146097 + an * 365 + an / 4 - an / 100 + rang - 719468;
}

// "2001-02-03", "2001-02-03 04:05" or "2001-02-03T04:05:06", local time, as a date of the mounted volume.
std::optional<std::uint32_t> date_tapee(const std::string &saisie) {
  constexpr int kChampsDate = 3, kChampsHeure = 5;
  constexpr std::int64_t kEpoqueMac = 2082844800;
  int a = 0, mo = 0, j = 0, h = 0, mi = 0, s = 0;
  char separateur = 'T';
  int fin = 0;
  const int lus = std::sscanf(saisie.c_str(), "%4d-%2d-%2d%n%c%2d:%2d%n:%2d%n", &a, &mo, &j, &fin,
                              &separateur, &h, &mi, &fin, &s, &fin);
  const bool forme = (lus == kChampsDate || lus > kChampsHeure) && (separateur == 'T' || separateur == ' ') &&
                     static_cast<std::size_t>(fin) == saisie.size();
  const bool jour = mo >= 1 && mo <= 12 && j >= 1 && plateforme::date_utc(jours(a, mo, j) * 86400).jour == j;
  const bool bornes = jour && h >= 0 && h < 24 && mi >= 0 && mi < 60 && s >= 0 && s < 60;
  std::int64_t date = forme && bornes ? jours(a, mo, j) * 86400 + h * 3600 + mi * 60 + s + kEpoqueMac : 0;
  if (volume_courant().est_hfsplus) date += plateforme::biais_fuseau();
  if (!forme || !bornes || date <= 0 || date > 0xFFFFFFFF) {
    dit(kDateFausse, saisie);
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(date);
}

// Sets or clears what the options name; the flags of before stay otherwise.
std::optional<std::uint16_t> drapeaux(const Arguments &arguments, std::uint16_t avant) {
  std::uint16_t apres = avant;
  for (const Drapeau &drapeau : kDrapeaux) {
    if (!arguments.a(drapeau.option)) continue;
    const bool mis = arguments.valeur(drapeau.option) == "on";
    apres = static_cast<std::uint16_t>(mis ? apres | drapeau.bit : apres & ~drapeau.bit);
  }
  if (arguments.a("color")) {
    const auto couleur = static_cast<unsigned>(arguments.valeur("color")[0] - '0');
    apres = static_cast<std::uint16_t>((apres & ~(7U << kDecalageCouleur)) | couleur << kDecalageCouleur);
  }
  return apres == avant ? std::nullopt : std::optional(apres);
}

// What the options ask for, but for the flags; false when one of them makes no sense.
bool lit_demande(const Arguments &arguments, AttributsItem &demande) {
  const auto code = [&](std::string_view option, auto &champ) {
    if (arguments.a(option)) champ = code_tape(arguments.valeur(option));
    return !arguments.a(option) || champ.has_value();
  };
  const auto date = [&](std::string_view option, auto &champ) {
    if (arguments.a(option)) champ = date_tapee(arguments.valeur(option));
    return !arguments.a(option) || champ.has_value();
  };
  if (arguments.a("locked")) demande.verrouille = arguments.valeur("locked") == "on";
  return code("type", demande.type) && code("creator", demande.createur) &&
         date("created", demande.creation) && date("modified", demande.modification);
}

bool demande_vide(const Arguments &arguments) {
  for (const Drapeau &drapeau : kDrapeaux)
    if (arguments.a(drapeau.option)) return false;
  for (const char *option : {"type", "creator", "created", "modified", "locked", "color"})
    if (arguments.a(option)) return false;
  return true;
}

bool change(const Arguments &arguments, const std::string &chemin, AttributsItem demande) {
  const auto element = trouve_mac(chemin);
  if (!element) return false;
  if (element->dossier && (demande.type || demande.createur || demande.verrouille)) {
    dit(kPasFichier, chemin);
    return false;
  }
  demande.drapeaux = drapeaux(arguments, element->drapeaux_finder);
  if (change_attributs(nom_de(*element), element->parent, demande) != 0) return true;
  dit(kPasChange, chemin);
  return false;
}

}  // namespace

int commande_attr(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  if (demande_vide(arguments)) {
    operations().afficher_erreur(charger_chaine(kRienDemande));
    return kUsage;
  }
  return modifie_volume(contexte, [&] {
    AttributsItem demande;
    if (!lit_demande(arguments, demande)) return false;
    bool tous = true;
    for (const std::string &chemin : std::span(arguments.positions).subspan(1)) {
      if (operations().arret_demande()) {
        operations().afficher_erreur(charger_chaine(kArrete));
        return false;
      }
      tous = change(arguments, chemin, demande) && tous;
    }
    return tous;
  });
}

}  // namespace varnion
