#include "hfs/ouverture.hpp"

#include <algorithm>
#include <array>
#include <cerrno>

#include "hfs/carte_volume.hpp"
#include "hfs/decompression.hpp"
#include "hfs/montage.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {
namespace {

constexpr int kFichierVide = 1409;
constexpr int kImageCompressee = 1502;
constexpr int kSauver = 1503;
constexpr int kDecompression = 1505;
constexpr int kOuverture = 1471;
constexpr int kEcraser = 1061;
constexpr int kSansVolume = 1332;
constexpr int kDejaPrise = 6065;  // image
constexpr int kCopiesDouteuses = 6050;
constexpr std::size_t kCheminMessage = 200;
constexpr int kModeFichier = 3;

void prend_driver_fichier() {
  support().entree_driver = driver_fichier;
  support().entree_driver_carte = driver_fichier;
  support().mode_driver = kModeFichier;
}

// Reading and writing where that is possible and wanted; sets `LectureSeule`.
Fichier ouvre_image(const std::string &chemin, bool lecture_seule) {
  Fichier image;
  if (!lecture_seule) image = plateforme::ouvre(chemin, Ouverture::lecture_ecriture);
  support().lecture_seule = image ? Interdit::aucun : lecture_seule ? Interdit::lecture : Interdit::image;
  if (!image) image = plateforme::ouvre(chemin, Ouverture::lecture);
  return image;
}

// False, with the reason shown, when the image cannot be opened.
bool prend_image(Fichier &image, const std::string &chemin, const OptionsOuverture &options) {
  image = ouvre_image(chemin, options.lecture_seule);
  if (!image) {
    erreur_fichier(chemin, errno);
    return false;
  }
  if (support().lecture_seule || !options.verrou || fichier_verrouille(image)) return true;
  operations().afficher_erreur(message(kDejaPrise, {tronque_chemin(chemin, kCheminMessage)}));
  image = {};
  return false;
}

// Kinds 1 to 4 are compressed. A disk image whose first chunk is stored as it is may begin with a boot
// sector; its end tells.
bool est_compressee(int genre, const Fichier &image) {
  if (genre >= kImagePM && genre <= kImageKoly) return true;
  return (genre == kImageGpt || genre == kImageMbr) && apercu_dmg(image).etat == EtatDmg::bon;
}

// Where the decompressed image goes; nothing when the user gives up or no place can be had.
std::optional<std::string> choisit_cible(const OptionsOuverture &options) {
  PartitionCourante &partition = partition_courante();
  if (options.questions && options.chemin_sauvegarde &&
      operations().demander_oui_non(charger_chaine(kSauver)) != 0) {
    auto cible = options.chemin_sauvegarde();
    if (!cible) return std::nullopt;
    const std::string court = tronque_chemin(*cible, kCheminMessage);
    if (plateforme::existe(*cible) && operations().demander_oui_non(message(kEcraser, {court})) == 0)
      return std::nullopt;
    return cible;
  }
  std::string chemin;
  if (!plateforme::fichier_temporaire("image", chemin)) {
    erreur_fichier(plateforme::dossier_temporaire(), errno);
    return std::nullopt;
  }
  partition.image_temporaire = true;
  partition.chemin_temporaire = chemin;
  return chemin;
}

EtatOuverture decompresse(const std::string &source, const OptionsOuverture &options) {
  const std::string court = tronque_chemin(source, kCheminMessage);
  if (options.questions && operations().demander_oui_non(message(kImageCompressee, {court})) == 0)
    return EtatOuverture::refusee;
  if (!options.sans_borne && !accepte_expansion(source)) return EtatOuverture::refusee;
  const auto cible = choisit_cible(options);
  if (!cible) return EtatOuverture::refusee;
  operations().afficher_etat_seul(message(kDecompression, {court}));
  OptionsDmg dmg;
  decide_lecture_dmg(source, options.questions, dmg);
  dmg.progression = [&options](std::uint64_t fait, std::uint64_t total) {
    if (options.progression) return options.progression(fait, total);
    return !operations().arret_demande();
  };
  ResultatDmg resultat;
  static_cast<void>(decompresse_fichier(source, *cible, dmg, &resultat));
  if (!resultat.reussi()) {
    operations().afficher_erreur(texte_echec_dmg(resultat, source, *cible));
    return EtatOuverture::decompression;
  }
  if (resultat.copies_douteuses) operations().afficher_avis(charger_chaine(kCopiesDouteuses));
  annonce_partages(resultat, source);
  if (!prend_image(support().image, *cible, options)) return EtatOuverture::fichier;
  if (!partition_courante().image_temporaire) partition_courante().chemin = *cible;
  return EtatOuverture::montee;
}

// Steps up to the image file in `support().image`; `montee` stands for done.
EtatOuverture prepare_image(const std::string &chemin, const OptionsOuverture &options) {
  Fichier image;
  if (!prend_image(image, chemin, options)) return EtatOuverture::fichier;
  if (fichier_taille(image) <= 0) {
    operations().afficher_avis(charger_chaine(kFichierVide));
    return EtatOuverture::vide;
  }
  PartitionCourante &partition = partition_courante();
  partition.chemin = chemin;
  partition.genre = type_image(image);
  if (partition.genre == kImageEparse) return EtatOuverture::eparse;
  if (!est_compressee(partition.genre, image)) {
    support().image = std::move(image);
    return EtatOuverture::montee;
  }
  image = {};
  const EtatOuverture etat = decompresse(chemin, options);
  if (etat == EtatOuverture::montee) partition.genre = type_image(support().image);
  return etat;
}

// `montee`, `sans_volume` or `refusee`.
EtatOuverture monte_image(const OptionsOuverture &options) {
  const PartitionCourante &partition = partition_courante();
  operations().afficher_etat_seul(message(kOuverture, {tronque_chemin(partition.chemin, kCheminMessage)}));
  if (partition.genre != kImageGpt) {
    const int trouve = analyse_volume(options);
    if (trouve < 0) return EtatOuverture::refusee;
    return trouve != 0 ? EtatOuverture::montee : EtatOuverture::sans_volume;
  }
  if (analyse_gpt(options) != 0) return EtatOuverture::montee;
  operations().afficher_erreur(charger_chaine(kSansVolume));
  return EtatOuverture::sans_volume;
}

}  // namespace

PartitionCourante &partition_courante() {
  return etat<PartitionCourante>();
}

EtatOuverture ouvrir_partition(const std::string &chemin, const OptionsOuverture &options) {
  fermer_partition();
  prend_driver_fichier();
  EtatOuverture etat = prepare_image(chemin, options);
  if (etat == EtatOuverture::montee) etat = monte_image(options);
  operations().afficher_etat({}, {});
  if (etat != EtatOuverture::montee) fermer_partition();
  return etat;
}

void fermer_partition() {
  liberation_carte();
  PartitionCourante &partition = partition_courante();
  support().image = {};
  if (partition.image_temporaire) static_cast<void>(plateforme::supprime(partition.chemin_temporaire));
  partition = {};
  support().mode_driver = kModeFichier;
  vide_cache();
}

}  // namespace varnion
