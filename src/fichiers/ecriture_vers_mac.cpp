#include <algorithm>
#include <cerrno>
#include <cstring>

#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "fichiers/element.hpp"
#include "fichiers/nom_volume.hpp"
#include "fichiers/polices_pc.hpp"
#include "fichiers/ressources.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

// One record of the catalog: the place for its name, its forks, its Finder data and dates.

namespace varnion {

namespace {

constexpr int kCopieDe = 1123;
constexpr int kPoliceExiste = 1121;
constexpr int kRemplacer = 1161;
constexpr int kIllisible = 6127;    // path, reason
constexpr int kChange = 6128;       // path
constexpr int kRenomme = 6129;      // path, name on the volume
constexpr int kVolumePanne = 6130;  // path, reason
constexpr int kRefuse = 6131;       // path
constexpr int kLaisse = 6132;       // name on the volume, path
constexpr int kPasRemplace = 6138;  // name on the volume
constexpr std::uint16_t kHasBundle = 0x2000;
constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kCheminEtat = 25;
constexpr std::uint32_t kRetardAttributs = 2;  // seconds

std::string court(std::string_view chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

std::uint64_t blocs_pour(std::uint64_t octets) {
  const std::uint64_t bloc = std::max(1U, volume_courant().taille_bloc);
  return (octets + bloc - 1) / bloc;
}

std::uint64_t blocs_de(const ElementMac &element) {
  std::uint64_t blocs = 0;
  for (const FourcheMac *fourche : {&element.donnees, &element.ressources})
    for (const ExtentMac &extent : fourche->extents) blocs += extent.nombre;
  return blocs;
}

std::optional<ElementMac> element_nomme(const NomItem &nom, std::uint32_t parent) {
  return volume_courant().est_hfsplus ? element_hfsplus(parent, nom.unicode) : element_hfs(parent, nom.mac);
}

/// A date of a head, local time as everywhere in MacBinary, in the time of the volume.
std::uint32_t date_de_tete(std::uint32_t locale) {
  if (!volume_courant().est_hfsplus) return locale;
  const std::int64_t date = std::int64_t{locale} + plateforme::biais_fuseau();
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(date, 1, UINT32_MAX));
}

}  // namespace

/// What went wrong with the PC file while its forks were read.
struct CopieVersMac::EtatSource {
  bool lecture = false;
  bool change = false;
  int erreur = 0;

  /// The bytes of a fork. Behind the last one the length of the file is asked for: a file that grew is not
  /// copied in part.
  SourceFourche source(const Fourche &fourche) {
    return {fourche.plage.longueur,
            [this, fourche, fait = std::uint64_t{0}](std::span<std::uint8_t> sortie) mutable {
              const std::uint64_t position = fourche.plage.position + fait;
              if (!lit(fourche, position, sortie)) return false;
              fait += sortie.size();
              if (fait == fourche.plage.longueur)
                change = fichier_taille(*fourche.fichier) != static_cast<std::int64_t>(fourche.taille);
              return !change;
            }};
  }

 private:
  bool lit(const Fourche &fourche, std::uint64_t position, std::span<std::uint8_t> sortie) {
    if (position + sortie.size() <= fourche.debut.size()) {
      std::memcpy(sortie.data(), fourche.debut.data() + position, sortie.size());
      return true;
    }
    const std::int64_t lus = fourche.fichier->lire_a(sortie, position);
    if (lus == static_cast<std::int64_t>(sortie.size())) return true;
    lecture = lus < 0;
    erreur = errno;
    change = lus >= 0;
    return false;
  }
};

void CopieVersMac::annonce(const FichierPc &fichier, const NomItem &nom) {
  operations().afficher_etat_seul(
      message(kCopieDe, {tronque_chemin(fichier.affiche(), kCheminEtat),
                         tronque_chemin(lieu_ + nom_item_windows(nom), kCheminEtat)}) +
      texte_copies(bilan_.fichiers, bilan_.octets));
}

// --- the replace rule
// ----------------------------------------------------------------------------------------------------

// By design plain files and MacBinary files on HFS go without this question and rely on the insertion, which
// would leave two records of one key. A catalog cannot hold those, so every kind is asked for here.
CopieVersMac::Suite CopieVersMac::libere_nom(const FichierPc &fichier, Ecriture &ecriture,
                                             std::uint32_t parent) {
  int &retenue = reponses_volume().reponse_remplacer;
  const std::uint64_t voulus =
      blocs_pour(ecriture.data.plage.longueur) + blocs_pour(ecriture.rsrc.plage.longueur);
  auto ancien = element_nomme(ecriture.nom, parent);
  if (ancien && ancien->id >= premier_id_ && retenue != 0) {
    // Two files of this copy with one name on the volume: neither may take the other's place unasked.
    ecriture.nom = nom_distinct(ecriture.nom, *fichier.donnees);
    ++bilan_.renommes;
    operations().afficher_avis(message(kRenomme, {court(fichier.affiche()), nom_item_windows(ecriture.nom)}));
    ancien = element_nomme(ecriture.nom, parent);
  }
  if (voulus > blocs_libres() + (ancien ? blocs_de(*ancien) : 0)) return sans_place(fichier.affiche());
  if (!ancien) return Suite::entre;

  const std::string nom = nom_item_windows(ecriture.nom);
  const bool de_cette_copie = ancien->id >= premier_id_ && retenue != 0;
  bool oui = retenue == 2 && !de_cette_copie;
  if (retenue == 0) {
    const int reponse = operations().demander_tous(message(kRemplacer, {nom}));
    if (reponse == 2 || reponse == -1) retenue = reponse;
    oui = reponse > 0;
  }
  if (!oui) {
    ++bilan_.sautes;
    operations().afficher_erreur(message(kLaisse, {nom, court(fichier.affiche())}));
    return Suite::saute;
  }
  // Where both have room the old file goes once the new one is whole.
  ecriture.remplace = !ancien->dossier && voulus <= blocs_libres();
  if (ecriture.remplace || supprime_par_nom(ecriture.nom, parent) == 1) return Suite::entre;
  return echec(message(kPasRemplace, {nom}));
}

// A name that no item of the folder has.
NomItem CopieVersMac::nom_provisoire(std::uint32_t parent) {
  constexpr unsigned kEssaisMax = 1000;
  NomItem nom;
  for (unsigned numero = 0; numero < kEssaisMax; ++numero) {
    nom = nom_item("varnion." + std::to_string(numero) + ".part");
    if (existe(nom, parent) == 0) break;
  }
  return nom;
}

// --- the record
// ----------------------------------------------------------------------------------------------------

NouveauFichier CopieVersMac::fiche_nouvelle(const FichierPc &fichier, const Ecriture &ecriture) const {
  NouveauFichier neuf;
  const std::string &signature = ecriture.signature;
  std::copy_n(signature.begin(), std::min<std::size_t>(4, signature.size()), neuf.info.fdType.begin());
  if (signature.size() >= 8) std::copy_n(signature.begin() + 4, 4, neuf.info.fdCreator.begin());
  neuf.info.fdFlags = ecriture.drapeaux;
  const Fourche &rsrc = ecriture.rsrc;
  if (rsrc.plage.longueur != 0 && a_bundle(*rsrc.fichier, rsrc.plage.position))
    neuf.info.fdFlags = static_cast<std::uint16_t>(ecriture.drapeaux | kHasBundle);
  if (ecriture.genre == GenreEcritureMac::macbinaire) {
    neuf.creation = ecriture.creation != 0 ? date_de_tete(ecriture.creation) : date_mac();
    neuf.modification = ecriture.modification != 0 ? date_de_tete(ecriture.modification) : neuf.creation;
    return neuf;
  }
  neuf.creation = neuf.modification = date_mac_de(fichier.donnees->modification);
  if (hfsplus_) neuf.modification_attributs = neuf.modification + kRetardAttributs;
  return neuf;
}

CopieVersMac::Suite CopieVersMac::ecriture_fichier_mac(const FichierPc &fichier, Ecriture &ecriture,
                                                       std::uint32_t parent) {
  const Suite place = libere_nom(fichier, ecriture, parent);
  if (place != Suite::entre) return place;
  annonce(fichier, ecriture.nom);
  EtatSource etat;
  const SourceFourche data = etat.source(ecriture.data);
  const SourceFourche rsrc = etat.source(ecriture.rsrc);
  const NomItem nom = ecriture.remplace ? nom_provisoire(parent) : ecriture.nom;
  if (insere_fichier(parent, nom, fiche_nouvelle(fichier, ecriture), data, rsrc) == 0)
    return echec_ecriture(fichier, ecriture, etat);
  if (ecriture.remplace &&
      (supprime_par_nom(ecriture.nom, parent) != 1 || renomme_par_nom(nom, ecriture.nom, parent) != 1))
    return echec(message(kPasRemplace, {nom_item_windows(ecriture.nom)}));
  ++bilan_.fichiers;
  bilan_.octets += data.longueur + rsrc.longueur;
  return Suite::entre;
}

// What the catalog refuses of a font is told by design as if its name were taken.
CopieVersMac::Suite CopieVersMac::echec_ecriture(const FichierPc &fichier, const Ecriture &ecriture,
                                                 const EtatSource &etat) {
  const std::string chemin = court(fichier.affiche());
  if (support().echec_ecriture != 0) {
    bilan_.arret = true;
    return echec(message(kVolumePanne, {chemin, plateforme::texte_erreur(support().echec_ecriture)}));
  }
  if (etat.change) return echec(message(kChange, {chemin}));
  if (etat.lecture) return echec(message(kIllisible, {chemin, plateforme::texte_erreur(etat.erreur)}));
  if (ecriture.signature == kSignaturePolice)
    return echec(message(kPoliceExiste, {nom_item_windows(ecriture.nom)}));
  return echec(message(kRefuse, {chemin}));
}

}  // namespace varnion
