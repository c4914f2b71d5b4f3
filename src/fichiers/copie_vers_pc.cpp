#include "fichiers/copie_vers_pc.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include "fichiers/applesimple.hpp"
#include "fichiers/ecriture.hpp"
#include "fichiers/mode_copie.hpp"
#include "fichiers/polices.hpp"
#include "hfs/extents.hpp"
#include "hfs/lecture.hpp"
#include "hfs/liens.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/montrable.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"
#include "res/tailles.hpp"

namespace varnion {

namespace {

constexpr int kManquePlace = 1073;
constexpr int kCopieDossier = 1118;
constexpr int kSansDonnees = 1119;
constexpr int kSansRessources = 1120;
constexpr int kExisteDeja = 1121;
constexpr int kCompte = 1122;
constexpr int kCopieDe = 1123;
constexpr int kArreter = 1124;
constexpr int kTitreNom = 1136;
constexpr int kRemplacer = 1161;
constexpr int kLaisse = 6150;         // path that is there already
constexpr int kRenomme = 6151;        // Macintosh name, path it got
constexpr int kIllisible = 6152;      // Macintosh path
constexpr int kDossierPris = 6153;    // path, reason
constexpr int kFichierManque = 6154;  // path, reason
constexpr int kTropGrand = 6155;      // Macintosh path
constexpr int kListeAbimee = 6156;    // Macintosh path of a folder
constexpr int kPartiel = 6157;        // Macintosh path
constexpr int kCompagnonPris = 6158;  // path
constexpr int kComprime = 6161;       // Macintosh path
constexpr int kEstSource = 6160;      // path
constexpr int kTropProfond = 6159;    // Macintosh path

constexpr int kTrompeur = 7900;  // Macintosh path, name on the PC
constexpr int kContinuer = 7904;
constexpr int kSansForcer = 7905;
constexpr int kLien = 7906;          // path
constexpr int kPlaceTotale = 7910;   // bytes, bytes free, path
constexpr int kRecouvrement = 7911;  // Macintosh path, bytes, bytes of the volume
constexpr int kAmpute = 7912;        // resource forks: one, several; data forks: one, several

constexpr std::size_t kProfondeurMax = 400;  // folders held open at once
constexpr std::size_t kCheminEtat = 25;
constexpr std::size_t kNomSaisiMax = 31;
constexpr std::size_t kCheminMessage = 200;
constexpr unsigned kNumerosMax = 10000;

std::string texte(std::string_view utf8) {
  return plateforme::utf8_vers_texte(utf8);
}

std::string signature(const FichierCopie &fichier) {
  return fichier.element.type() + fichier.element.createur();
}

bool trace_fichiers() {
  return etat<OptionsProgramme>().niveau_trace > 1;
}

std::uint32_t forme() {
  return mode_copie() & kMasqueModeCopie;
}

bool vers_compagnon() {
  return forme() == kCopieAppleDouble;
}

// Bytes of a name that leave room for what goes ahead of it.
std::size_t limite_nom() {
  return kNomDisqueMax - (vers_compagnon() ? kPrefixeCompagnon.size() : 0);
}

std::uint64_t octets_comptes(const FichierCopie &fichier) {
  switch (forme()) {
    case kCopieRessource:
      return fichier.element.rsrc.longueur;
    case kCopieMacBinaire:
      return fichier.element.data.longueur + fichier.element.rsrc.longueur;
    case kCopieAppleDouble:
    case kCopieAppleSingle:
      return 0;
    default:
      return fichier.element.data.longueur;
  }
}

std::uint64_t octets_copies(const FichierCopie &fichier) {
  const bool deux = forme() == kCopieAppleDouble || forme() == kCopieAppleSingle;
  return deux ? fichier.element.data.longueur + fichier.element.rsrc.longueur : octets_comptes(fichier);
}

// A file that Mac OS X 10.6 and later compressed: the content lies in its attributes, and both forks lie.
bool est_comprime(const ElementMac &element) {
  constexpr std::size_t kOwnerFlags = 9;  // in HFSPlusBSDInfo
  constexpr std::uint8_t kUfCompressed = 0x20;
  return element.hfsplus && !element.dossier && (element.permissions[kOwnerFlags] & kUfCompressed) != 0;
}

std::uint64_t taille_image() {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(support().image), 0));
}

// Bytes of the mounted volume that its image holds.
std::uint64_t taille_volume() {
  const VolumeCourant &volume = volume_courant();
  if (!volume.a_entete()) return 0;
  const std::uint64_t blocs =
      volume.est_hfsplus ? std::uint64_t{volume.vhb->totalBlocks} : std::uint64_t{volume.mdb->drNmAlBlks};
  const std::uint64_t debut = volume.debut_allocation * kTailleSecteur;
  return std::min(blocs * volume.taille_bloc, taille_image() - std::min(taille_image(), debut));
}

// Bytes of a fork that lie in the extents of its catalog record and inside the volume.
std::uint64_t octets_places(const FourcheMac &fourche, std::uint64_t volume) {
  std::uint64_t octets = 0;
  for (const ExtentMac &extent : fourche.extents) {
    const std::uint64_t bloc = volume_courant().taille_bloc;
    const std::uint64_t debut = std::min(extent.debut * bloc, volume);
    octets += std::min(extent.nombre * bloc, volume - debut);
  }
  return std::min(fourche.longueur, octets);
}

// A batch run refuses in words, who can be asked decides.
bool continue_malgre(const std::string &fait) {
  if (!etat<OptionsProgramme>().mode_lot)
    return operations().demander_oui_non(fait + "\n" + charger_chaine(kContinuer)) != 0;
  operations().afficher_erreur(fait + "\n" + charger_chaine(kSansForcer));
  return false;
}

// Bytes that the mode leaves behind in a fork of their own.
std::uint64_t octets_laisses(const FichierCopie &fichier) {
  if (forme() == kCopieData) return fichier.element.rsrc.longueur;
  return forme() == kCopieRessource ? fichier.element.data.longueur : 0;
}

// Modification time, Unix seconds.
std::int64_t date_unix(const ElementFichier &element) {
  return std::int64_t{element.date_locale(element.dates.modification)} - kEpoqueMac +
         plateforme::biais_fuseau();
}

// What was read of a single fork is worth keeping; a container whose lengths do not hold is not.
bool garde_partiel() {
  return forme() != kCopieMacBinaire && forme() != kCopieAppleSingle;
}

}  // namespace

ReponsesCopiePc &reponses_copie_pc() {
  return etat<ReponsesCopiePc>();
}

ElementFichier element_de_volume(const ElementMac &fichier) {
  ElementFichier element;
  element.nom_large = plateforme::utf8_vers_large(fichier.nom_utf8());
  // By the tables of names where Mac Roman lacks a character: they end the name there.
  element.nom = fichier.hfsplus ? utf8_vers_mac(fichier.nom_utf8()).value_or(nom_mac(fichier.nom_texte()))
                                : fichier.nom_hfs;
  element.info_finder = fichier.infos_finder;
  element.dates.creation = fichier.creation;
  element.dates.modification = fichier.modification;
  element.dates.sauvegarde = fichier.sauvegarde;
  if (fichier.hfsplus) {
    element.dates.acces = fichier.acces;
    element.decalage = static_cast<std::int32_t>(-plateforme::biais_fuseau());
  }
  const auto fourche = [&fichier](std::uint8_t numero) {
    return FluxFourche{fichier.fourche(numero).longueur, [fichier, numero](const Puits &puits) {
                         return lit_fourche(fichier, numero, puits).entiere();
                       }};
  };
  element.data = fourche(kFourcheDonnees);
  element.rsrc = fourche(kFourcheRessources);
  return element;
}

std::size_t caracteres(std::string_view utf8) {
  return plateforme::utf8_vers_large(utf8).size();
}

std::string texte_copies(std::uint64_t fichiers, std::uint64_t octets) {
  const std::uint64_t megas = octets >> 20;
  std::uint64_t milliemes = std::min<std::uint64_t>((octets >> 10) & 0x3FF, 999);
  if (megas == 0 && milliemes == 0) milliemes = 1;
  return message(kCompte, {fichiers, megas, milliemes});
}

std::string texte_amputes(const BilanCopiePc &bilan) {
  if (bilan.amputes == 0) return {};
  // French counts 1 alone as singular above 0, as English does.
  const int nombre = bilan.amputes == 1 ? 0 : 1;
  return message(kAmpute + (forme() == kCopieRessource ? 2 : 0) + nombre, {bilan.amputes});
}

bool CopieVersPc::arret_voulu() {
  if (!operations().arret_demande()) return false;
  bilan_.arret =
      etat<OptionsProgramme>().mode_lot || operations().demander_oui_non(charger_chaine(kArreter)) != 0;
  return bilan_.arret;
}

bool CopieVersPc::copie_vers_pc(const ElementMac &element, const DossierSortie &cible) {
  const auto chemin = chemin_de(element);
  const std::size_t fin = chemin ? chemin->rfind('/') : std::string::npos;
  source_ = fin == std::string::npos ? "/" : chemin->substr(0, fin + 1);
  vus_.clear();
  if (!options_.force && !taille_admise(element, cible)) {
    ++bilan_.echecs;
    bilan_.arret = true;
    return false;
  }
  return copie_element(element, cible);
}

// Weighs what lies below an item before the first byte is written. Files of a sound volume have blocks of
// their own: together they never hold more than the volume. The forks count as far as their catalog records
// place them, so that a damaged length proves nothing.
bool CopieVersPc::taille_admise(const ElementMac &element, const DossierSortie &cible) {
  const std::uint64_t volume = taille_volume();
  std::uint64_t a_ecrire = 0;
  const auto pese = [&](const ElementMac &lien) {
    if (est_comprime(lien)) return;
    const ElementMac fichier = sans_lien(lien);
    const std::uint64_t data = octets_places(fichier.donnees, volume);
    const std::uint64_t rsrc = octets_places(fichier.ressources, volume);
    if (forme() != kCopieRessource) a_ecrire += data;
    if (forme() != kCopieData) a_ecrire += rsrc;
    if (peses_.insert(fichier.id).second) octets_peses_ += data + rsrc;
  };
  std::vector<std::uint32_t> dossiers;
  const auto range = [&](const ElementMac &enfant) {
    if (enfant.dossier)
      dossiers.push_back(enfant.id);
    else
      pese(enfant);
    return !operations().arret_demande();
  };
  static_cast<void>(range(element));
  std::unordered_set<std::uint32_t> vus;
  while (!dossiers.empty() && !operations().arret_demande()) {
    const std::uint32_t id = dossiers.back();
    dossiers.pop_back();
    if (vus.insert(id).second) static_cast<void>(liste_dossier(id, range));
  }
  const std::string chemin = texte(source_ + element.nom_chemin());
  if (volume != 0 && octets_peses_ > volume &&
      !continue_malgre(
          message(kRecouvrement, {chemin, taille_lisible(octets_peses_), taille_lisible(volume)})))
    return false;
  // Files that are replaced give their room back: only the run can tell whether it is enough.
  const auto libre = cible.espace_libre();
  const bool remplace = reponses_copie_pc().remplacement == Remplacement::tous;
  return remplace || !libre || a_ecrire <= *libre ||
         continue_malgre(message(kPlaceTotale,
                                 {taille_lisible(a_ecrire), taille_lisible(*libre), texte(cible.chemin())}));
}

bool CopieVersPc::copie_element(const ElementMac &element, const DossierSortie &cible) {
  if (est_comprime(element)) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kComprime, {texte(source_ + element.nom_chemin())}));
    return true;
  }
  return element.dossier ? copie_dossier_vers_pc(element, cible)
                         : copie_fichier({element_de_volume(sans_lien(element)),
                                          source_ + element.nom_chemin(), element.hfsplus, taille_image()},
                                         cible);
}

// --- folders
// --------------------------------------------------------------------------------------------------

bool CopieVersPc::dossier_refuse(const std::string &message, int erreur) {
  ++bilan_.echecs;
  operations().afficher_erreur(message);
  bilan_.arret = erreur == ENOSPC || erreur == EDQUOT || erreur == EROFS;
  return !bilan_.arret;
}

bool CopieVersPc::copie_dossier_vers_pc(const ElementMac &dossier, const DossierSortie &cible) {
  const std::string chemin = source_ + dossier.nom_chemin();
  if (profondeur_ >= kProfondeurMax || !vus_.insert(dossier.id).second)
    return dossier_refuse(message(kTropProfond, {texte(chemin)}), 0);
  bool coupe = false;
  const std::string nom =
      nom_disque(nom_dossier_pc(plateforme::utf8_vers_large(dossier.nom_utf8())), kNomDisqueMax, coupe);
  const auto dedans = cible.descend(nom);
  if (!dedans) {
    const int erreur = errno;
    if (erreur == ELOOP) return dossier_refuse(message(kLien, {texte(cible.chemin() + nom)}), 0);
    return dossier_refuse(
        message(kDossierPris, {texte(cible.chemin() + nom), plateforme::texte_erreur(erreur)}), erreur);
  }
  ++bilan_.dossiers;
  if (nom_trompeur(plateforme::utf8_vers_large(dossier.nom_utf8()))) {
    ++bilan_.renommes;
    operations().afficher_avis(message(kTrompeur, {texte(montrable(chemin)), texte(nom)}));
  }
  if (trace_fichiers())
    operations().journal(GenreJournal::brut,
                         message(kCopieDossier, {texte(chemin), texte(dedans->chemin())}) + "\r\n");
  const std::string ici = std::exchange(source_, chemin + "/");
  ++profondeur_;
  const bool suite = copie_contenu(dossier, *dedans, chemin);
  --profondeur_;
  source_ = ici;
  return suite && !bilan_.arret;
}

bool CopieVersPc::copie_contenu(const ElementMac &dossier, const DossierSortie &dedans,
                                const std::string &chemin) {
  bool suite = true;
  const ResultatParcours fin = liste_dossier(dossier.id, [&](const ElementMac &enfant) {
    if (arret_voulu()) return false;
    // A folder that stopped halfway does not stop the one above it, unless all is to stop.
    suite = copie_element(enfant, dedans) || (enfant.dossier && !bilan_.arret);
    return suite;
  });
  if (fin.etat == EtatParcours::endommage) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kListeAbimee, {texte(chemin)}));
  }
  return suite;
}

// --- files
// ----------------------------------------------------------------------------------------------------

// True: the file went out as fonts, or failed to (told), and is done with.
bool CopieVersPc::convertit_police(const FichierCopie &fichier, const DossierSortie &cible) {
  if (!options_.polices || !est_police_mac(fichier.element.type()) ||
      !veut_convertir_police(CotePolices::mac, texte(fichier.chemin)))
    return false;
  const ResultatPolice resultat = convertit_police_mac(
      fichier.element, cible, [&](const std::string &nom) { return police_remplace(nom, cible); });
  // A file in which no font was found is copied as it is: nothing of it may be lost.
  if (resultat == ResultatPolice::aucune) return false;
  const bool faite = resultat == ResultatPolice::convertie;
  if (faite) {
    ++bilan_.fichiers;
    bilan_.octets += fichier.element.rsrc.longueur;
  }
  ++(faite ? bilan_.copies : bilan_.echecs);
  return true;
}

// True when a font may have this name: nothing else does, or what does may go.
bool CopieVersPc::police_remplace(const std::string &nom, const DossierSortie &dossier) {
  const std::string chemin = dossier.chemin() + nom;
  const bool libre = !dossier.existe(nom);
  const bool remplace = reponses_copie_pc().remplacement == Remplacement::tous && !donnes_.contains(chemin) &&
                        !dossier.est_dossier(nom) && !est_source({}, nom, dossier);
  if (libre || remplace) donnes_.insert(chemin);
  return libre || remplace;
}

bool CopieVersPc::copie_fichier(const FichierCopie &fichier, const DossierSortie &dossier) {
  if (convertit_police(fichier, dossier)) return true;
  if (!place_suffit(fichier, dossier)) return false;
  if (!a_fourche_voulue(fichier)) return true;
  Suite suite = Suite::reprise;
  while (suite == Suite::reprise) suite = copie_une_fois(fichier, dossier);
  if (options_.suivi) options_.suivi(bilan_);
  return suite != Suite::arret;
}

CopieVersPc::Suite CopieVersPc::copie_une_fois(const FichierCopie &fichier, const DossierSortie &dossier) {
  const bool saisie = options_.nommage == ModeNommage::saisie;
  bool suite = true;
  std::string nom = saisie ? nom_demande(fichier, dossier, suite) : nom_regle(fichier);
  std::optional<DossierSortie> ailleurs;
  if (!saisie && !raccourcit_chemin(nom, dossier, ailleurs)) return Suite::arret;
  const DossierSortie &ici = ailleurs ? *ailleurs : dossier;
  std::optional<CibleFichier> cible;
  if (!nom.empty()) ouvre_cible(fichier, ici, nom, cible, suite);
  if (!cible) return suite ? Suite::continue_ : Suite::arret;
  if (trace_fichiers())
    operations().journal(GenreJournal::brut, texte(fichier.chemin) + "\t" + texte(cible->chemin()) + "\r\n");
  annonce(fichier, cible->chemin());
  const Suite apres = ecrit(fichier, ici, *cible);
  if (apres == Suite::reprise) donnes_.erase(cible->chemin());
  return apres;
}

bool CopieVersPc::place_suffit(const FichierCopie &fichier, const DossierSortie &dossier) {
  const auto libre = dossier.espace_libre();
  const std::uint64_t annonces = fichier.element.data.longueur + fichier.element.rsrc.longueur;
  const std::uint64_t voulu = std::min(annonces, fichier.plafond);
  if (!libre || voulu <= *libre) return true;
  ++bilan_.echecs;
  bilan_.arret = true;
  operations().afficher_erreur(charger_chaine(kManquePlace) + "\n" + texte(fichier.chemin));
  return false;
}

// False: the fork that the mode asks for is empty, and the file is left out.
bool CopieVersPc::a_fourche_voulue(const FichierCopie &fichier) {
  const bool donnees = forme() != kCopieRessource;
  if (forme() != kCopieData && donnees) return true;
  if ((donnees ? fichier.element.data : fichier.element.rsrc).longueur != 0) return true;
  ReponsesCopiePc &reponses = reponses_copie_pc();
  bool &tait = fichier.hfsplus ? reponses.tait_hfsplus : reponses.tait_hfs;
  bool saute = false;
  if (!tait) {
    const std::string nom = texte(fichier.chemin);
    tait = operations().annoncer_retenir(
        message(donnees ? kSansDonnees : kSansRessources, {tronque_chemin(nom, kCheminMessage)}));
    saute = !(tait && etat<OptionsProgramme>().mode_lot);
  }
  ++(saute ? bilan_.sautes : bilan_.vides);
  return !saute;
}

void CopieVersPc::annonce(const FichierCopie &fichier, const std::string &cible) {
  ++bilan_.fichiers;
  bilan_.octets += octets_comptes(fichier);
  const std::string de = tronque_chemin(texte(fichier.chemin), kCheminEtat);
  const std::string vers = tronque_chemin(texte(cible), kCheminEtat);
  operations().afficher_etat_seul(message(kCopieDe, {de, vers}) +
                                  texte_copies(bilan_.fichiers, bilan_.octets));
}

// --- names
// ----------------------------------------------------------------------------------------------------

std::string CopieVersPc::nom_regle(const FichierCopie &fichier) {
  bool coupe = false;
  const auto nom = nom_disque(
      nom_fichier_pc(fichier.element.nom_large, signature(fichier), options_.nommage, options_.extension),
      limite_nom(), coupe);
  if (nom_trompeur(fichier.element.nom_large)) {
    ++bilan_.renommes;
    operations().afficher_avis(message(kTrompeur, {texte(montrable(fichier.chemin)), texte(nom)}));
  } else if (coupe) {
    ++bilan_.renommes;
    operations().afficher_avis(message(kRenomme, {texte(fichier.chemin), texte(nom)}));
  }
  return nom;
}

// The dialog for one file; "" when the file is left out. `suite` says how the walk goes on then.
std::string CopieVersPc::nom_demande(const FichierCopie &fichier, const DossierSortie &cible, bool &suite) {
  std::string nom = texte(plateforme::large_vers_utf8(nom_sans_interdits(fichier.element.nom_large)));
  const bool donne = options_.demande_nom
                         ? options_.demande_nom(texte(plateforme::large_vers_utf8(fichier.element.nom_large)),
                                                nom, kNomSaisiMax)
                         : operations().demander_nom(charger_chaine(kTitreNom), nom, kNomSaisiMax);
  if (!donne || nom.empty()) {
    ++bilan_.sautes;
    return {};
  }
  bool coupe = false;
  std::string choisi = nom_disque(plateforme::texte_vers_large(nom), limite_nom(), coupe);
  if (!plateforme::existe(texte(cible.chemin()) + texte(choisi))) return choisi;
  operations().afficher_erreur(message(kExisteDeja, {nom}));
  ++bilan_.echecs;
  suite = fichier.hfsplus;
  return {};
}

// The user cuts a path that is too long; `ailleurs` is filled when another folder was chosen. False: the copy
// stops.
bool CopieVersPc::raccourcit_chemin(std::string &nom, const DossierSortie &dossier,
                                    std::optional<DossierSortie> &ailleurs) {
  if (!options_.raccourcit || caracteres(dossier.chemin() + nom) <= kCheminPcMax) return true;
  const std::size_t point = nom.rfind('.');
  const bool sans_extension = point == std::string::npos || point == 0;
  CheminPc chemin{dossier.chemin(), nom.substr(0, sans_extension ? nom.size() : point),
                  sans_extension ? std::string() : nom.substr(point + 1)};
  const auto choisi = options_.raccourcit(chemin);
  if (!choisi) {
    ++bilan_.sautes;
    bilan_.arret = true;
    return false;
  }
  bool coupe = false;
  nom = nom_disque(plateforme::utf8_vers_large(choisi->nom()), limite_nom(), coupe);
  if (choisi->autre.empty()) return true;
  ailleurs = DossierSortie::ouvre(choisi->autre);
  if (ailleurs) return true;
  const int erreur = errno;
  nom.clear();
  return echec_ecriture(choisi->dossier, erreur);
}

// Closed where the file is left out; `suite` says how the walk goes on then.
void CopieVersPc::ouvre_cible(const FichierCopie &fichier, const DossierSortie &dossier,
                              const std::string &nom, std::optional<CibleFichier> &cible, bool &suite) {
  cible.emplace(dossier, nom, false);
  if (!cible->ouverte() && errno == EEXIST) {
    const bool de_cette_copie = donnes_.contains(dossier.chemin() + nom);
    if (!de_cette_copie || reponses_copie_pc().remplacement == Remplacement::demande) {
      cible.reset();
      if (!accepte_remplacer(fichier, nom, dossier, suite)) return;
      cible.emplace(dossier, nom, true);
    } else {
      ouvre_numerotee(fichier, dossier, cible);
    }
  }
  if (cible->ouverte()) {
    donnes_.insert(cible->chemin());
    return;
  }
  const int erreur = errno;
  suite = echec_ecriture(cible->chemin(), erreur);
  cible.reset();
}

// Two Macintosh files with one PC name: neither may take the other's place unasked.
void CopieVersPc::ouvre_numerotee(const FichierCopie &fichier, const DossierSortie &dossier,
                                  std::optional<CibleFichier> &cible) {
  const std::string base = cible->nom();
  for (unsigned numero = 1; !cible->ouverte() && errno == EEXIST && numero < kNumerosMax; ++numero)
    cible.emplace(dossier, nom_disque_numerote(base, numero, limite_nom()), false);
  if (!cible->ouverte()) return;
  ++bilan_.renommes;
  operations().afficher_avis(message(kRenomme, {texte(fichier.chemin), texte(cible->nom())}));
}

// The file that is there goes or stays, as the user says.
bool CopieVersPc::accepte_remplacer(const FichierCopie &fichier, const std::string &nom,
                                    const DossierSortie &dossier, bool &suite) {
  const std::string chemin = texte(dossier.chemin() + nom);
  Remplacement &reponse = reponses_copie_pc().remplacement;
  bool oui = reponse == Remplacement::tous;
  if (reponse == Remplacement::demande) {
    const int choix =
        operations().demander_tous(message(kRemplacer, {tronque_chemin(chemin, kCheminMessage)}));
    if (choix == 2) reponse = Remplacement::tous;
    if (choix == -1) reponse = Remplacement::aucun;
    oui = choix > 0;
    suite = oui || choix == -1;
  }
  if (oui && !est_source(fichier, nom, dossier)) return true;
  ++bilan_.sautes;
  if (oui || reponse == Remplacement::aucun) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(oui ? kEstSource : kLaisse, {chemin}));
  }
  return false;
}

// True for the very file that is being read: the image, or the container.
bool CopieVersPc::est_source(const FichierCopie &fichier, const std::string &nom,
                             const DossierSortie &dossier) {
  if (support().image && dossier.est_le_fichier(nom, support().image)) return true;
  if (fichier.source.empty()) return false;
  const Fichier source = plateforme::ouvre(fichier.source, Ouverture::lecture);
  return source && dossier.est_le_fichier(nom, source);
}

// --- content
// --------------------------------------------------------------------------------------------------

// False: nothing more can be written.
bool CopieVersPc::echec_ecriture(const std::string &chemin, int erreur) {
  ++bilan_.echecs;
  operations().afficher_erreur(message(kFichierManque, {texte(chemin), plateforme::texte_erreur(erreur)}));
  if (erreur == ENOSPC || erreur == EDQUOT || erreur == EROFS || erreur == EIO) bilan_.arret = true;
  return !bilan_.arret;
}

// What could not be read, or does not fit: told, and the walk goes on. A stop is asked about first.
CopieVersPc::Suite CopieVersPc::echec_lecture(ResultatEcriture resultat, const FichierCopie &fichier) {
  if (resultat == ResultatEcriture::lecture && operations().arret_demande())
    return arret_voulu() ? Suite::arret : Suite::reprise;
  ++bilan_.echecs;
  operations().afficher_erreur(
      message(resultat == ResultatEcriture::trop_grand ? kTropGrand : kIllisible, {texte(fichier.chemin)}));
  return Suite::continue_;
}

// The companion, written but not yet in its place.
CopieVersPc::Suite CopieVersPc::ecrit_compagnon(const FichierCopie &fichier, const DossierSortie &dossier,
                                                const std::string &nom,
                                                std::optional<CibleFichier> &compagnon) {
  const std::string nom_compagnon = std::string(kPrefixeCompagnon) + nom;
  if (donnes_.contains(dossier.chemin() + nom_compagnon)) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kCompagnonPris, {texte(dossier.chemin() + nom_compagnon)}));
    return Suite::continue_;
  }
  compagnon.emplace(dossier, nom_compagnon, true);
  ResultatEcriture resultat = ResultatEcriture::ecriture;
  if (compagnon->ouverte()) resultat = ecrit_appledouble(compagnon->fichier(), fichier.element);
  if (resultat == ResultatEcriture::fait) return Suite::continue_;
  const int erreur = errno;
  compagnon.reset();
  if (resultat != ResultatEcriture::ecriture) return echec_lecture(resultat, fichier);
  return echec_ecriture(dossier.chemin() + nom_compagnon, erreur) ? Suite::continue_ : Suite::arret;
}

CopieVersPc::Suite CopieVersPc::ecrit(const FichierCopie &fichier, const DossierSortie &dossier,
                                      CibleFichier &cible) {
  const ElementFichier &element = fichier.element;
  std::optional<CibleFichier> compagnon;
  if (vers_compagnon()) {
    const Suite suite = ecrit_compagnon(fichier, dossier, cible.nom(), compagnon);
    if (suite != Suite::continue_) return suite;
  }
  const ResultatEcriture resultat = ecrit_forme(mode_copie(), cible.fichier(), element);
  const bool arret = resultat == ResultatEcriture::lecture && operations().arret_demande();
  // What was read of a damaged fork is no reason to lose an older file.
  const bool partiel =
      resultat == ResultatEcriture::lecture && garde_partiel() && !arret && !cible.remplace();
  if (resultat == ResultatEcriture::ecriture)
    return echec_ecriture(cible.chemin(), errno) ? Suite::continue_ : Suite::arret;
  if (resultat != ResultatEcriture::fait && !partiel) return echec_lecture(resultat, fichier);
  if (element.dates.modification != 0) {
    const std::int64_t date = date_unix(element);
    static_cast<void>(plateforme::fixe_dates(cible.fichier(), date, date));
  }
  if (!cible.garde() || (compagnon && !compagnon->garde())) {
    const int erreur = errno;
    if (!cible.remplace()) cible.jette();
    return echec_ecriture(cible.chemin(), erreur) ? Suite::continue_ : Suite::arret;
  }
  if (compagnon) donnes_.insert(compagnon->chemin());
  if (partiel) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kPartiel, {texte(fichier.chemin)}));
    return Suite::continue_;
  }
  ++bilan_.copies;
  if (octets_laisses(fichier) != 0) ++bilan_.amputes;
  bilan_.octets_lus += octets_copies(fichier);
  return Suite::continue_;
}

}  // namespace varnion
