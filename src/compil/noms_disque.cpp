#include "compil/noms_disque.hpp"

#include <algorithm>
#include <array>

#include "IO/ecarts.hpp"
#include "IO/noms_courts.hpp"
#include "IO/operations.hpp"
#include "noms/iso.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNomIsoChange = 6307;        // journal: old name, new name
constexpr std::size_t kJolietMax = 64;     ///< units of an identifier, version included
constexpr std::size_t kExtensionMax = 16;  ///< units behind a dot that are taken for an extension
constexpr std::size_t kVersion = 2;        ///< ";1"
constexpr std::size_t kNomAppleMax = 12;
constexpr std::size_t kDossierMax = 8;

std::string court_du_projet(const RubriqueProjet &rubrique) {
  const std::string court = lit_champ(rubrique.nom_court);
  return court.empty() ? lit_champ(rubrique.nom_source).substr(0, rubrique.nom_court.size()) : court;
}

/// True when the wide name of the source stands in the Joliet tree instead of the project's name.
bool prend_nom_large(const RubriqueProjet &rubrique) {
  return rubrique.nom_hors_page() && !rubrique.nom_iso_saisi();
}

/// The 8.3 name that the ISO identifier of an item is made from; `court` is that of its source.
std::string court_iso(const RubriqueProjet &rubrique, std::string court) {
  if (!suit_vue_iso(rubrique)) return court;
  const std::string nom = lit_champ(rubrique.nom_iso);
  const std::string utf8 = plateforme::texte_vers_utf8(nom);
  const std::array<std::string_view, 1> noms{utf8};
  court = plateforme::noms_courts(noms)[0];
  return court.empty() ? plateforme::majuscules(nom) : court;
}

/// The long name, or the short one where the code page cannot show the long.
const std::string &nom_long_ou_court(const plateforme::DonneesRecherche &donnees, const std::string &court) {
  return donnees.nom_long.find('?') == std::string::npos ? donnees.nom_long : court;
}

/// Name of the data record in the ISO tree under the classic rule.
std::string nom_iso_data(const RubriqueProjet &rubrique, const std::string &court) {
  return nom_iso_fichier(forme_apple(rubrique) == FormeApple::simple ? lit_champ(rubrique.nom_source)
                                                                     : court);
}

/// Name of both records in the Joliet tree of an ISO+ project. MacBinary and BinHex carry one of their own.
std::u16string nom_joliet_apple(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees,
                                bool hfsplus) {
  const FormeApple forme = forme_apple(rubrique);
  if (suit_vue_iso(rubrique)) return plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  if (forme == FormeApple::macbinaire && rubrique.nom_hfs[0] != '\0')
    return plateforme::texte_vers_large(nom_dans_vue(rubrique, kVueHfs, hfsplus));
  if (prend_nom_large(rubrique) && !donnees.nom_large.empty()) return donnees.nom_large;
  if (forme == FormeApple::simple) return plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  return plateforme::texte_vers_large(lit_champ(rubrique.nom_source));
}

/// The extension of a name with its dot; empty when it has none or only that.
std::u16string_view extension_joliet(std::u16string_view nom) {
  const std::size_t point = nom.rfind(u'.');
  if (point == std::u16string_view::npos || point == 0 || nom.size() - point > kExtensionMax + 1) return {};
  return nom.substr(point);
}

/// At most so many units, and no half of a surrogate pair at the end.
std::u16string tete_joliet(std::u16string_view nom, std::size_t unites) {
  if (unites < nom.size() && unites > 0 && (nom[unites - 1] & 0xFC00) == 0xD800) --unites;
  return std::u16string(nom.substr(0, unites));
}

/// An ISO identifier as a reader shows it.
std::string sans_version(const std::string &nom) {
  if (!nom.ends_with(";1")) return nom;
  const std::string seul = nom.substr(0, nom.size() - kVersion);
  return publie(Ecart::noms_vue_iso) && seul.ends_with('.') ? seul.substr(0, seul.size() - 1) : seul;
}

std::string gros_bout(std::u16string_view texte) {
  std::string octets;
  octets.reserve(texte.size() * 2);
  for (const char16_t unite : texte) {
    octets.push_back(static_cast<char>(unite >> 8));
    octets.push_back(static_cast<char>(unite & 0xFF));
  }
  return octets;
}

}  // namespace

LongueursNoms longueurs_noms(const RubriqueProjet &rubrique) {
  LongueursNoms l;
  const std::string court = court_du_projet(rubrique);
  if (rubrique.est_dossier()) {
    l.iso = publie(Ecart::noms_vue_iso) || !rubrique.est_virtuel()
                ? kDossierMax
                : nom_iso_virtuel(lit_champ(rubrique.nom_source)).size();
    const std::u16string large = plateforme::texte_vers_large(
        suit_vue_iso(rubrique) ? lit_champ(rubrique.nom_iso) : lit_champ(rubrique.nom_source));
    l.joliet = 2 * (prend_nom_large(rubrique) ? kJolietMax : nom_joliet_dossier(large, court).size());
    return l;
  }
  l.iso = publie(Ecart::noms_vue_iso) ? identifiant_fichier(court_iso(rubrique, court)).size()
                                      : nom_iso_fichier(court).size();
  const std::u16string large = plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  l.joliet = 2 * (prend_nom_large(rubrique) ? kJolietMax : nom_joliet_fichier(large, court).size());
  return l;
}

FormeApple forme_apple(const RubriqueProjet &rubrique) {
  switch (rubrique.codage()) {
    case Codage::ntfs:
      return FormeApple::absente;
    case Codage::apple:
      return rubrique.est_applesingle() ? FormeApple::applesingle : FormeApple::appledouble;
    case Codage::macbinary:
    case Codage::binhex:
      return FormeApple::macbinaire;
    case Codage::aucun:
      break;
  }
  return FormeApple::simple;
}

LongueursApple longueurs_noms_apple(const RubriqueProjet &rubrique) {
  LongueursApple l;
  const FormeApple forme = forme_apple(rubrique);
  if (forme == FormeApple::absente) return l;
  const std::string court = court_du_projet(rubrique);
  const bool ressource = forme != FormeApple::simple && rubrique.lg_rsrc != 0U;
  l.data.iso =
      publie(Ecart::fourches_iso) ? longueurs_noms(rubrique).iso : nom_iso_data(rubrique, court).size();
  const bool large = forme != FormeApple::macbinaire && prend_nom_large(rubrique);
  // The longest form of a name in the HFS view: one unit for each byte.
  const std::u16string nom = nom_joliet_apple(rubrique, {}, true);
  l.data.joliet = 2 * (large ? kJolietMax : nom_joliet_fichier(nom, court).size());
  if (ressource)
    l.ressource_iso =
        publie(Ecart::fourches_iso) ? l.data.iso : nom_iso_fichier(lit_champ(rubrique.nom_source)).size();
  return l;
}

std::string nom_court_de(const plateforme::DonneesRecherche &donnees) {
  return donnees.nom_court.empty() ? plateforme::majuscules(donnees.nom_long) : donnees.nom_court;
}

std::string NomsIso::reserve(std::string nom, std::size_t point, std::size_t limite) {
  if (pris_.insert(sans_version(nom)).second) return nom;
  const std::string base = nom.substr(0, point);
  const std::string suite = point == std::string::npos ? std::string() : nom.substr(point);
  for (std::size_t &n = suivants_[nom];;) {
    const std::string marque = (publie(Ecart::noms_vue_iso) ? "_" : "~") + std::to_string(++n);
    if (marque.size() > limite) return nom;
    std::string essai = base.substr(0, limite - marque.size()) + marque + suite;
    if (!pris_.insert(sans_version(essai)).second) continue;
    operations().journal(GenreJournal::information, message(kNomIsoChange, {nom, essai}));
    return essai;
  }
}

bool suit_vue_iso(const RubriqueProjet &rubrique) {
  if (!publie(Ecart::noms_vue_iso)) return false;
  if (rubrique.nom_hors_page()) return rubrique.nom_iso_saisi();
  return rubrique.est_virtuel() ||
         lit_champ(rubrique.nom_iso) != coupe_nom(lit_champ(rubrique.nom_source), kNomIsoMax);
}

std::string NomsIso::fichier(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees) {
  std::string nom = publie(Ecart::noms_vue_iso)
                        ? identifiant_fichier(court_iso(rubrique, nom_court_de(donnees)))
                        : nom_iso_fichier(nom_court_de(donnees));
  const std::size_t point = std::min(nom.find('.'), nom.find(';'));
  return reserve(std::move(nom), point, 8);
}

// An extension of up to three characters stays whole; the name as a whole keeps to its 12 characters.
std::string NomsIso::reserve_apple(std::string nom) {
  const std::size_t fin = nom.size() - kVersion;
  std::size_t point = nom.rfind('.', fin);
  if (point == std::string::npos || fin - point > 4) point = fin;
  return reserve(std::move(nom), point, kNomAppleMax - (fin - point));
}

NomsIso::Paire NomsIso::fichier_apple(const RubriqueProjet &rubrique,
                                      const plateforme::DonneesRecherche &donnees) {
  Paire noms;
  if (publie(Ecart::fourches_iso)) {
    noms.data = fichier(rubrique, donnees);
    if (forme_apple(rubrique) != FormeApple::simple && rubrique.lg_rsrc != 0U) noms.ressource = noms.data;
    return noms;
  }
  std::string data = nom_iso_data(rubrique, nom_court_de(donnees));
  if (forme_apple(rubrique) == FormeApple::simple || rubrique.lg_rsrc == 0U) {
    noms.data = reserve_apple(std::move(data));
    return noms;
  }
  std::string ressource = nom_iso_fichier(lit_champ(rubrique.nom_source));
  const bool egaux = ressource == data;
  noms.ressource = reserve_apple(std::move(ressource));
  noms.data = egaux ? noms.ressource : reserve_apple(std::move(data));
  return noms;
}

std::string NomsIso::dossier(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees) {
  const auto place = [this](std::string nom) {
    const std::size_t point = nom.find('.');
    return reserve(std::move(nom), point, kDossierMax);
  };
  if (publie(Ecart::noms_vue_iso))
    return place(identifiant_dossier(court_iso(rubrique, nom_court_de(donnees))));
  if (rubrique.est_virtuel()) return place(nom_iso_virtuel(lit_champ(rubrique.nom_source)));
  const std::string court = nom_court_de(donnees);
  const auto existe = [&](std::string_view nom) {
    return plateforme::existe(lit_champ(rubrique.chemin) + std::string(nom));
  };
  const auto nom = nom_iso_dossier(court, existe);
  return place(nom.value_or(court.substr(0, 8)));
}

// The last `version` units of `nom` are its version.
NomJoliet NomsJoliet::reserve(const std::u16string &nom, std::size_t version) {
  const std::u16string choix = nom.substr(0, nom.size() - version);
  if (pris_.insert(choix).second) return {gros_bout(nom), {}};
  const std::u16string_view extension = extension_joliet(choix);
  const std::u16string_view base = std::u16string_view(choix).substr(0, choix.size() - extension.size());
  for (std::size_t &n = suivants_[choix];;) {
    const std::u16string marque = plateforme::texte_vers_large("~" + std::to_string(++n));
    const std::size_t place = kJolietMax - version - marque.size() - extension.size();
    const std::u16string essai = tete_joliet(base, place) + marque + std::u16string(extension);
    if (!pris_.insert(essai).second) continue;
    return {gros_bout(essai + nom.substr(choix.size())), plateforme::large_vers_texte(essai)};
  }
}

NomJoliet NomsJoliet::place(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees) {
  const std::string court = nom_court_de(donnees);
  const bool large = prend_nom_large(rubrique) && !donnees.nom_large.empty();
  if (rubrique.est_dossier()) {
    std::u16string nom =
        large ? donnees.nom_large : plateforme::texte_vers_large(nom_long_ou_court(donnees, court));
    if (suit_vue_iso(rubrique)) nom = plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
    return reserve(nom_joliet_dossier(nom, court), 0);
  }
  const std::u16string nom =
      large ? donnees.nom_large : plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  return reserve(nom_joliet_fichier(nom, court), kVersion);
}

NomJoliet NomsJoliet::place_apple(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees,
                                  bool hfsplus) {
  return reserve(nom_joliet_fichier(nom_joliet_apple(rubrique, donnees, hfsplus), nom_court_de(donnees)),
                 kVersion);
}

}  // namespace varnion
