#include "compil/noms_disque.hpp"

#include <algorithm>

#include "IO/operations.hpp"
#include "noms/iso.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNomIsoChange = 6307;  // journal: old name, new name
constexpr std::size_t kJolietMax = 64;

std::string court_du_projet(const RubriqueProjet &rubrique) {
  const std::string court = lit_champ(rubrique.nom_court);
  return court.empty() ? lit_champ(rubrique.nom_source).substr(0, rubrique.nom_court.size()) : court;
}

/// True when the wide name of the source stands in the Joliet tree instead of the project's name.
bool prend_nom_large(const RubriqueProjet &rubrique) {
  return rubrique.nom_hors_page() && !rubrique.nom_iso_saisi();
}

/// The long name, or the short one where the code page cannot show the long.
const std::string &nom_long_ou_court(const plateforme::DonneesRecherche &donnees, const std::string &court) {
  return donnees.nom_long.find('?') == std::string::npos ? donnees.nom_long : court;
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
    l.iso = rubrique.est_virtuel() ? nom_iso_virtuel(lit_champ(rubrique.nom_source)).size() : 8;
    const std::u16string large = plateforme::texte_vers_large(lit_champ(rubrique.nom_source));
    l.joliet = 2 * (prend_nom_large(rubrique) ? kJolietMax : nom_joliet_dossier(large, court).size());
    return l;
  }
  l.iso = nom_iso_fichier(court).size();
  const std::u16string large = plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  l.joliet = 2 * (prend_nom_large(rubrique) ? kJolietMax : nom_joliet_fichier(large, court).size());
  return l;
}

std::string nom_court_de(const plateforme::DonneesRecherche &donnees) {
  return donnees.nom_court.empty() ? plateforme::majuscules(donnees.nom_long) : donnees.nom_court;
}

std::string NomsIso::reserve(std::string nom, std::size_t limite) {
  if (pris_.insert(nom).second) return nom;
  const std::size_t point = std::min(nom.find('.'), nom.find(';'));
  const std::string base = nom.substr(0, point);
  const std::string suite = point == std::string::npos ? std::string() : nom.substr(point);
  for (std::size_t &n = suivants_[nom];;) {
    const std::string marque = "~" + std::to_string(++n);
    if (marque.size() > limite) return nom;
    std::string essai = base.substr(0, limite - marque.size()) + marque + suite;
    if (!pris_.insert(essai).second) continue;
    operations().journal(GenreJournal::information, message(kNomIsoChange, {nom, essai}));
    return essai;
  }
}

std::string NomsIso::fichier(const plateforme::DonneesRecherche &donnees) {
  return reserve(nom_iso_fichier(nom_court_de(donnees)), 8);
}

std::string NomsIso::dossier(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees) {
  if (rubrique.est_virtuel()) return reserve(nom_iso_virtuel(lit_champ(rubrique.nom_source)), 8);
  const std::string court = nom_court_de(donnees);
  const auto existe = [&](std::string_view nom) {
    return plateforme::existe(lit_champ(rubrique.chemin) + std::string(nom));
  };
  const auto nom = nom_iso_dossier(court, existe);
  return reserve(nom.value_or(court.substr(0, 8)), 8);
}

std::string nom_joliet_de(const RubriqueProjet &rubrique, const plateforme::DonneesRecherche &donnees) {
  const std::string court = nom_court_de(donnees);
  const bool large = prend_nom_large(rubrique) && !donnees.nom_large.empty();
  if (rubrique.est_dossier()) {
    const std::u16string nom =
        large ? donnees.nom_large : plateforme::texte_vers_large(nom_long_ou_court(donnees, court));
    return gros_bout(nom_joliet_dossier(nom, court));
  }
  const std::u16string nom =
      large ? donnees.nom_large : plateforme::texte_vers_large(lit_champ(rubrique.nom_iso));
  return gros_bout(nom_joliet_fichier(nom, court));
}

}  // namespace varnion
