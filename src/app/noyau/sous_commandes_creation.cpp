// "new" and "resize": images with an empty volume, and the size of one.

#include <cerrno>
#include <charconv>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/sous_commandes.hpp"
#include "hfs/creation.hpp"
#include "hfs/volume.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kManquePlace = 1073;
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
  const auto label = arguments.a("label") ? texte_argument(arguments.valeur("label")) : std::string();
  if (!chemin || !label || !cible_libre(*chemin, arguments.a("force"))) return kEchec;
  if (!disque_assez_grand(*chemin, std::uint64_t{taille} << kMegaBits)) {
    operations().afficher_erreur(charger_chaine(kManquePlace));
    return kEchec;
  }
  // Made under another name, so that a failure also keeps an older image.
  const std::string provisoire = *chemin + ".part";
  Fichier fichier = plateforme::ouvre(provisoire, Ouverture::creation);
  if (!fichier) return non_creee(*chemin, errno);
  ParametresImage parametres;
  parametres.fichier = &fichier;
  parametres.nom = *label;
  parametres.taille_mo = taille;
  parametres.tout_effacer = arguments.a("zero");
  parametres.hfsplus = arguments.a("hfsplus");
  errno = 0;
  if (!creation_image(parametres) || !fichier.fermer() || !plateforme::renomme(provisoire, *chemin)) {
    const int erreur = errno;
    static_cast<void>(plateforme::supprime(provisoire));
    return non_creee(*chemin, erreur);
  }
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
  const std::uint64_t octets = std::uint64_t{std::uint16_t{courant.mdb->drNmAlBlks}} * courant.taille_bloc;
  const auto ancienne = static_cast<std::uint32_t>((octets + (1U << kMegaBits) - 1) >> kMegaBits);
  if (!redimensionne(ancienne, nouvelle)) return kEchec;
  contexte.sortie << plateforme::texte_vers_utf8(message(kRedimensionnee, {volume.chemin(), megas(nouvelle)}))
                  << "\n";
  return kFait;
}

}  // namespace varnion
