// The image of the mounted volume as a file: made, saved, copied under another name.

#include <algorithm>
#include <cerrno>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/actions_projet.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/image_de_cote.hpp"
#include "app/qt/modification_volume.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tnouvelle_image.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/creation.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kFiltre = 1355;
constexpr int kTitreNouvelle = 1356;
constexpr int kTitreEnregistrer = 1358;
constexpr int kExtension = 1359;
constexpr int kManquePlace = 1073;
constexpr int kDejaPrise = 6065;  // image
constexpr int kCopieVers = 7061;  // image
constexpr int kMemeImage = 7072;
constexpr int kNonEcrit = 7402;  // image, reason
constexpr int kPasCreee = 7423;  // image, reason
constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kCheminEtat = 50;
constexpr std::size_t kTampon = std::size_t{4} << 20;

std::string court(const std::string &chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

void dit_non_creee(const std::string &chemin, int erreur) {
  operations().afficher_erreur(message(kPasCreee, {court(chemin), plateforme::texte_erreur(erreur)}));
}

// Path of an image to be, with a Yes where a file has it; nullopt when the user gives up.
std::optional<std::string> demande_chemin(TVarnion &fenetre, int titre) {
  const QString choisi = fenetre.demandes.enregistrer(titre, kFiltre, depart_documents(), kExtension);
  if (choisi.isEmpty()) return std::nullopt;
  return chemin_argument(choisi.toStdString());
}

// --- copy

enum class FinCopie { faite, arretee, manquee };

bool est_nul(std::span<const std::uint8_t> octets) {
  return std::all_of(octets.begin(), octets.end(), [](std::uint8_t octet) { return octet == 0; });
}

// The whole of `source`; runs of zeros stay holes of the copy. `errno` tells of a failure.
FinCopie copie_image(const Fichier &source, const Fichier &cible, std::uint64_t taille) {
  std::vector<std::uint8_t> tampon(kTampon);
  std::uint64_t fait = 0;
  while (fait < taille) {
    if (arret_confirme()) return FinCopie::arretee;
    const auto voulu = static_cast<std::size_t>(std::min<std::uint64_t>(kTampon, taille - fait));
    const std::span<std::uint8_t> morceau(tampon.data(), voulu);
    const std::int64_t lus = source.lire_a(morceau, fait);
    if (lus <= 0) {
      if (lus == 0) errno = EIO;
      return FinCopie::manquee;
    }
    const auto plein = morceau.first(static_cast<std::size_t>(lus));
    if (!est_nul(plein) && !cible.ecrire_a(plein, fait)) return FinCopie::manquee;
    fait += plein.size();
    operations().progression_pas(plein.size());
  }
  const bool entiere = fichier_tronquer(cible, taille) && fichier_vider(cible);
  return entiere ? FinCopie::faite : FinCopie::manquee;
}

// True when the open image stands at `chemin`; otherwise, after a message unless the user stopped it, nothing
// of the copy is left.
bool copie_vers(TVarnion &fenetre, const std::string &chemin) {
  const std::int64_t taille = fichier_taille(support().image);
  if (taille < 0) {
    dit_non_creee(chemin, errno);
    return false;
  }
  if (!disque_assez_grand(chemin, static_cast<std::uint64_t>(taille))) {
    operations().afficher_erreur(charger_chaine(kManquePlace));
    return false;
  }
  FichierVoisin cible = FichierVoisin::commence(chemin);
  if (!cible) {
    dit_non_creee(chemin, errno);
    return false;
  }
  cible.comme(support().image);
  FinCopie fin = FinCopie::manquee;
  int erreur = 0;
  fenetre.operations_fenetre().en_fond([&] {
    operations().afficher_etat_seul(message(kCopieVers, {tronque_chemin(chemin, kCheminEtat)}));
    operations().progression_debut(static_cast<std::uint64_t>(taille));
    fin = copie_image(support().image, cible.fichier(), static_cast<std::uint64_t>(taille));
    erreur = errno;
    operations().progression_fin();
    operations().afficher_etat({}, {});
  });
  if (fin == FinCopie::faite && !cible.pose(Ecrasement::connu)) {
    erreur = errno;
    fin = FinCopie::manquee;
  }
  if (fin == FinCopie::faite) return true;
  if (fin == FinCopie::manquee) dit_non_creee(chemin, erreur);
  return false;
}

// False, after a message, when another program holds the file that the copy would replace.
bool libre(const std::string &chemin) {
  const Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture);
  if (!fichier || fichier_verrouille(fichier)) return true;
  operations().afficher_erreur(message(kDejaPrise, {court(chemin)}));
  return false;
}

// The engine has one volume at a time: what is open stands aside while the new one is laid out.
bool ecrit_image(TVarnion &fenetre, FichierVoisin &fichier, const ReponseImage &reponse, int &erreur) {
  const ImageDeCote ancienne;
  ParametresImage parametres;
  parametres.fichier = &fichier.fichier();
  parametres.nom = reponse.label;
  parametres.taille_mo = reponse.taille_mo;
  parametres.tout_effacer = reponse.tout_effacer;
  parametres.hfsplus = reponse.hfsplus;
  bool faite = false;
  fenetre.operations_fenetre().en_fond([&] {
    errno = 0;
    faite = creation_image(parametres) && fichier.pose(Ecrasement::connu);
    erreur = errno;
  });
  operations().afficher_etat({}, {});
  return faite;
}

bool ecrit_en_attente() {
  support().echec_ecriture = 0;
  if (!ecriture_structures() || support().echec_ecriture != 0) return false;
  if (fichier_vider(support().image)) return true;
  support().echec_ecriture = errno;
  return false;
}

void dit_non_ecrit() {
  const std::string raison = plateforme::texte_erreur(support().echec_ecriture);
  operations().afficher_erreur(message(kNonEcrit, {court(partition_courante().chemin), raison}));
}

}  // namespace

// What is there stays until the new image is whole.
void cree_image(TVarnion &fenetre) {
  const auto chemin = demande_chemin(fenetre, kTitreNouvelle);
  if (!chemin || fenetre.est_ouvert_ici(*chemin) || !peut_ecraser(*chemin) || !libre(*chemin)) return;
  FichierVoisin fichier = FichierVoisin::commence(*chemin);
  if (!fichier) return erreur_fichier(*chemin, errno);
  TNouvelleImage forme(&fenetre, *chemin);
  int erreur = 0;
  const bool faite =
      forme.exec() == QDialog::Accepted && ecrit_image(fenetre, fichier, forme.reponse(), erreur);
  if (!faite && erreur != 0) dit_non_creee(*chemin, erreur);
  fichier = {};
  if (faite && fenetre.ouvre_chemin(*chemin)) retient_dossier(*chemin);
}

void enregistre_volume(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre)) return;
  bool ecrit = false;
  fenetre.operations_fenetre().en_fond([&] { ecrit = ecrit_en_attente(); });
  if (!ecrit) dit_non_ecrit();
}

void enregistre_volume_sous(TVarnion &fenetre) {
  if (!fenetre.document_ouvert()) return;
  const auto chemin = demande_chemin(fenetre, kTitreEnregistrer);
  if (!chemin) return;
  const std::string ancien = partition_courante().chemin;
  if (plateforme::meme_fichier(*chemin, ancien)) {
    operations().afficher_erreur(charger_chaine(kMemeImage));
    return;
  }
  if (!peut_ecraser(*chemin) || !libre(*chemin)) return;
  if (!support().lecture_seule && !ecrit_en_attente()) return dit_non_ecrit();
  const std::uint32_t dossier = fenetre.dossier_montre();
  if (!copie_vers(fenetre, *chemin)) return;
  if (!fenetre.remplace_document(kModePartition, *chemin)) return;
  fenetre.va_au_dossier(dossier);
  retient_dossier(*chemin);
}

}  // namespace varnion
