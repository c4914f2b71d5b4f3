// "new" and "resize": images with an empty volume, and the size of one.

#include <cerrno>
#include <charconv>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/creation.hpp"
#include "hfs/volume.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kManquePlace = 1073;
constexpr int kAgrandit = 1165;
constexpr int kNonEcrit = 7402;  // image, reason
constexpr int kSansTaille = 7419;
constexpr int kTailleFausse = 7420;    // text
constexpr int kFaite = 7421;           // image, size, format
constexpr int kRedimensionnee = 7422;  // image, size
constexpr int kPasCreee = 7423;        // image, reason
constexpr int kHfsSeul = 7424;
constexpr unsigned kMegaBits = 20;

// Megabytes of option "size"; 0 after a message.
std::uint32_t taille_demandee(const Arguments &arguments) {
  if (!arguments.a("size")) {
    operations().afficher_erreur(charger_chaine(kSansTaille));
    return 0;
  }
  const std::string saisie = arguments.valeur("size");
  std::uint32_t taille = 0;
  const char *fin = saisie.data() + saisie.size();
  const auto lu = std::from_chars(saisie.data(), fin, taille);
  if (lu.ec == std::errc() && lu.ptr == fin && taille != 0) return taille;
  operations().afficher_erreur(message(kTailleFausse, {plateforme::utf8_vers_texte(saisie)}));
  return 0;
}

std::string megas(std::uint32_t taille) {
  return taille_lisible(std::uint64_t{taille} << kMegaBits);
}

// Room on the disk for what the image grows by; the message is shown when there is none.
bool place_pour(const std::string &chemin, std::uint32_t ancienne, std::uint32_t nouvelle) {
  if (nouvelle <= ancienne || disque_assez_grand(chemin, std::uint64_t{nouvelle - ancienne} << kMegaBits))
    return true;
  operations().afficher_erreur(charger_chaine(kAgrandit));
  return false;
}

int non_creee(const std::string &chemin, int erreur) {
  if (erreur != 0) {
    const std::string raison = plateforme::texte_erreur(erreur);
    operations().afficher_erreur(message(kPasCreee, {chemin, raison}));
  }
  return kEchec;
}

}  // namespace

int commande_new(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const std::uint32_t taille = taille_demandee(arguments);
  if (taille == 0) return kUsage;
  const auto chemin = chemin_argument(arguments.positions[0]);
  const std::string label = arguments.valeur("label");
  const bool hfsplus = arguments.a("hfsplus");
  const auto nom = label.empty()
                       ? std::optional(NomItem())
                       : nom_tape(label, hfsplus ? kNomVolumeHfsPlusMax : kNomVolumeHfsMax, hfsplus);
  if (!chemin || !nom || !cible_libre(*chemin, arguments.a("force"))) return kEchec;
  if (!disque_assez_grand(*chemin, std::uint64_t{taille} << kMegaBits)) {
    operations().afficher_erreur(charger_chaine(kManquePlace));
    return kEchec;
  }
  // Made under another name, so that a failure also keeps an older image.
  FichierVoisin fichier = FichierVoisin::commence(*chemin);
  if (!fichier) return non_creee(*chemin, errno);
  ParametresImage parametres;
  parametres.fichier = &fichier.fichier();
  parametres.nom = plateforme::utf8_vers_texte(label);
  parametres.label = *nom;
  parametres.taille_mo = taille;
  parametres.tout_effacer = arguments.a("zero");
  parametres.hfsplus = hfsplus;
  errno = 0;
  if (!creation_image(parametres) ||
      !fichier.pose(arguments.a("force") ? Ecrasement::toujours : Ecrasement::jamais))
    return non_creee(*chemin, errno);
  contexte.sortie << plateforme::texte_vers_utf8(
                         message(kFaite, {*chemin, megas(taille), parametres.hfsplus ? "HFS+" : "HFS"}))
                  << "\n";
  return kFait;
}

int commande_resize(ContexteCli &contexte) {
  const Arguments &arguments = contexte.arguments;
  const std::uint32_t nouvelle = taille_demandee(arguments);
  if (nouvelle == 0) return kUsage;
  const VolumeOuvert volume(contexte, arguments.positions[0], AccesVolume::ecriture);
  if (!volume) return kEchec;
  const VolumeCourant &courant = volume_courant();
  if (courant.est_hfsplus || courant.mdb == nullptr) {
    operations().afficher_erreur(charger_chaine(kHfsSeul));
    return kEchec;
  }
  const std::uint32_t ancienne = taille_partition_mo();
  if (!place_pour(volume.chemin(), ancienne, nouvelle)) return kEchec;
  support().echec_ecriture = 0;
  if (!redimensionne(ancienne, nouvelle)) {
    if (const int erreur = support().echec_ecriture; erreur != 0)
      operations().afficher_erreur(message(kNonEcrit, {volume.chemin(), plateforme::texte_erreur(erreur)}));
    return kEchec;
  }
  const std::string taille = taille_lisible(secteurs_partition() * kTailleSecteur);
  contexte.sortie << plateforme::texte_vers_utf8(message(kRedimensionnee, {volume.chemin(), taille})) << "\n";
  return kFait;
}

}  // namespace varnion
