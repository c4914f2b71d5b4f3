#include "fichiers/place_volume.hpp"

#include <algorithm>

#include "fichiers/nom_volume.hpp"
#include "fichiers/sfm.hpp"
#include "hfs/carte_volume.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

using plateforme::DonneesRecherche;

constexpr int kSansPlace = 1153;
constexpr int kSansPlaceDossier = 1156;
constexpr int kSansPlaceFichiers = 1157;
constexpr int kMegas = 1201;
constexpr std::size_t kProfondeurMax = 400;
constexpr std::size_t kNomAffiche = 60;

std::uint64_t arrondi_blocs(std::uint64_t octets) {
  const std::uint64_t bloc = std::max(1U, volume_courant().taille_bloc);
  return (octets + bloc - 1) / bloc * bloc;
}

std::uint64_t lg_flux(const std::string &chemin) {
  const Fichier flux = ouvre_ressource_sfm(chemin);
  return flux ? static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(flux), 0)) : 0;
}

std::uint64_t mesure(const std::string &chemin, const DonneesRecherche &donnees, Ancetres &ancetres) {
  if (!donnees.est_dossier()) return arrondi_blocs(donnees.taille) + arrondi_blocs(lg_flux(chemin));
  if (!ancetres.entre(chemin)) return 0;
  std::uint64_t total = 0;
  const auto liste = plateforme::liste_dossier(chemin);
  for (std::size_t i = 0; liste && i < liste->size() && !operations().arret_demande(); ++i) {
    const DonneesRecherche &entree = (*liste)[i];
    if (const auto nom = nom_ouvrable(entree)) total += mesure(chemin + "/" + *nom, entree, ancetres);
  }
  ancetres.sort();
  return total;
}

}  // namespace

bool Ancetres::entre(const std::string &chemin) {
  const bool boucle = chemins_.size() >= kProfondeurMax ||
                      std::any_of(chemins_.begin(), chemins_.end(), [&chemin](const std::string &ancetre) {
                        return plateforme::meme_fichier(ancetre, chemin);
                      });
  if (!boucle) chemins_.push_back(chemin);
  return !boucle;
}

std::uint64_t octets_sur_volume(const std::string &chemin, const DonneesRecherche &donnees) {
  Ancetres ancetres;
  return mesure(chemin, donnees, ancetres);
}

std::uint64_t octets_libres() {
  return std::uint64_t{blocs_libres()} * volume_courant().taille_bloc;
}

std::string texte_megas(std::uint64_t octets) {
  const std::uint64_t milliemes = std::min<std::uint64_t>((octets >> 10) & 0x3FF, 999);
  return message(kMegas, {std::to_string(octets >> 20), milliemes});
}

bool element_tient(const std::string &chemin, const DonneesRecherche &donnees) {
  const std::uint64_t voulu = octets_sur_volume(chemin, donnees);
  if (voulu <= octets_libres()) return true;
  operations().afficher_erreur(message(
      kSansPlace, {texte_megas(octets_libres()), tronque_chemin(chemin, kNomAffiche), texte_megas(voulu)}));
  return false;
}

bool selection_tient(std::span<const std::string> chemins) {
  std::uint64_t des_fichiers = 0, fichiers = 0;
  for (const std::string &chemin : chemins) {
    const auto donnees = plateforme::cherche_fichier(chemin);
    if (!donnees) continue;
    const std::uint64_t voulu = octets_sur_volume(chemin, *donnees);
    if (!donnees->est_dossier()) {
      des_fichiers += voulu;
      ++fichiers;
    } else if (voulu > octets_libres()) {
      operations().afficher_erreur(message(kSansPlaceDossier, {tronque_chemin(chemin, kNomAffiche), voulu}));
      return false;
    }
  }
  if (des_fichiers <= octets_libres()) return true;
  operations().afficher_erreur(message(kSansPlaceFichiers, {fichiers, des_fichiers}));
  return false;
}

}  // namespace varnion
