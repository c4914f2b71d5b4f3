#include "fichiers/copie_vers_pc.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "fichiers/applesimple.hpp"
#include "fichiers/ecriture.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/mode_copie.hpp"
#include "fichiers/polices.hpp"
#include "hfs/extents.hpp"
#include "hfs/lecture.hpp"
#include "hfs/liens.hpp"
#include "hfs/texte_mac.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

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
constexpr int kTropProfond = 6159;    // Macintosh path

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

ResultatEcriture ecrit_forme(const Fichier &sortie, const ElementFichier &element) {
  switch (forme()) {
    case kCopieRessource:
      return ecrit_fourche(sortie, element.rsrc);
    case kCopieMacBinaire:
      return ecrit_macbinaire(sortie, element);
    case kCopieAppleSingle:
      return ecrit_applesingle(sortie, element);
    default:
      return ecrit_fourche(sortie, element.data);
  }
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

std::string texte_copies(std::uint64_t fichiers, std::uint64_t octets) {
  const std::uint64_t megas = octets >> 20;
  std::uint64_t milliemes = std::min<std::uint64_t>((octets >> 10) & 0x3FF, 999);
  if (megas == 0 && milliemes == 0) milliemes = 1;
  return message(kCompte, {fichiers, megas, milliemes});
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
  return copie_element(element, cible);
}

bool CopieVersPc::copie_element(const ElementMac &element, const DossierSortie &cible) {
  return element.dossier ? copie_dossier_vers_pc(element, cible)
                         : copie_fichier({element_de_volume(sans_lien(element)),
                                          source_ + element.nom_chemin(), element.hfsplus},
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
    return dossier_refuse(
        message(kDossierPris, {texte(cible.chemin() + nom), plateforme::texte_erreur(erreur)}), erreur);
  }
  ++bilan_.dossiers;
  if (trace_fichiers())
    operations().journal(GenreJournal::brut,
                         message(kCopieDossier, {texte(chemin), texte(dedans->chemin())}) + "\r\n");
  const std::string ici = std::exchange(source_, chemin + "/");
  ++profondeur_;
  const bool suite = copie_contenu(dossier, *dedans, chemin);
  --profondeur_;
  source_ = ici;
  donnes_.erase(dedans->chemin());
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
  const ResultatPolice resultat = convertit_police_mac(fichier.element, cible);
  // A file in which no font was found is copied as it is: nothing of it may be lost.
  if (resultat == ResultatPolice::aucune) return false;
  ++(resultat == ResultatPolice::convertie ? bilan_.fichiers : bilan_.echecs);
  return true;
}

bool CopieVersPc::copie_fichier(const FichierCopie &fichier, const DossierSortie &cible) {
  if (convertit_police(fichier, cible)) return true;
  if (!place_suffit(fichier, cible)) return false;
  bool saute = false;
  if (!sans_fourche(fichier, saute)) return true;
  bool suite = true;
  std::string nom;
  Fichier sortie = ouvre_cible(fichier, cible, nom, suite);
  if (!sortie) return suite;
  if (trace_fichiers())
    operations().journal(GenreJournal::brut,
                         texte(fichier.chemin) + "\t" + texte(cible.chemin() + nom) + "\r\n");
  ++bilan_.fichiers;
  bilan_.octets += octets_comptes(fichier);
  bilan_.octets_lus += octets_copies(fichier);
  annonce(fichier, cible.chemin() + nom);
  suite = ecrit(fichier, cible, nom, std::move(sortie));
  if (options_.suivi) options_.suivi(bilan_);
  return suite;
}

bool CopieVersPc::place_suffit(const FichierCopie &fichier, const DossierSortie &cible) {
  const auto libre = cible.espace_libre();
  const std::uint64_t voulu = fichier.element.data.longueur + fichier.element.rsrc.longueur;
  if (!libre || voulu <= *libre) return true;
  ++bilan_.echecs;
  bilan_.arret = true;
  operations().afficher_erreur(charger_chaine(kManquePlace) + "\n" + texte(fichier.chemin));
  return false;
}

// False: the fork that the mode asks for is empty, and the file is left out.
bool CopieVersPc::sans_fourche(const FichierCopie &fichier, bool &saute) {
  const bool donnees = forme() != kCopieRessource;
  if (forme() != kCopieData && donnees) return true;
  if ((donnees ? fichier.element.data : fichier.element.rsrc).longueur != 0) return true;
  ReponsesCopiePc &reponses = reponses_copie_pc();
  bool &tait = fichier.hfsplus ? reponses.tait_hfsplus : reponses.tait_hfs;
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
  if (coupe) {
    ++bilan_.renommes;
    operations().afficher_avis(message(kRenomme, {texte(fichier.chemin), texte(nom)}));
  }
  return nom;
}

// The dialog for one file; "" when the file is left out. `suite` says how the walk goes on then.
std::string CopieVersPc::nom_demande(const FichierCopie &fichier, const DossierSortie &cible, bool &suite) {
  std::string nom = texte(plateforme::large_vers_utf8(nom_sans_interdits(fichier.element.nom_large)));
  if (!operations().demander_nom(charger_chaine(kTitreNom), nom, kNomSaisiMax) || nom.empty()) {
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

Fichier CopieVersPc::ouvre_cible(const FichierCopie &fichier, const DossierSortie &cible, std::string &nom,
                                 bool &suite) {
  const bool saisie = options_.nommage == ModeNommage::saisie;
  nom = saisie ? nom_demande(fichier, cible, suite) : nom_regle(fichier);
  if (nom.empty()) return {};
  NomsDonnes &donnes = donnes_[cible.chemin()];
  Fichier sortie = cible.cree(nom);
  if (!sortie && errno == EEXIST) {
    const bool de_cette_copie = donnes.contains(nom);
    if (!de_cette_copie || reponses_copie_pc().remplacement == Remplacement::demande) {
      sortie = remplace(nom, cible, suite);
      if (!sortie) return {};
    } else {
      // Two Macintosh files with one PC name: neither may take the other's place unasked.
      const std::string base = nom;
      for (unsigned numero = 1; !sortie && numero < kNumerosMax; ++numero) {
        nom = nom_disque_numerote(base, numero, limite_nom());
        sortie = cible.cree(nom);
        if (!sortie && errno != EEXIST) break;
      }
      ++bilan_.renommes;
      operations().afficher_avis(message(kRenomme, {texte(fichier.chemin), texte(nom)}));
    }
  }
  if (!sortie) suite = echec_ecriture(cible.chemin() + nom, errno);
  donnes.insert(nom);
  return sortie;
}

// The file that is there goes or stays, as the user says.
Fichier CopieVersPc::remplace(const std::string &nom, const DossierSortie &cible, bool &suite) {
  const std::string chemin = texte(cible.chemin() + nom);
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
  if (!oui) {
    ++bilan_.sautes;
    if (reponse == Remplacement::aucun) {
      ++bilan_.echecs;
      operations().afficher_erreur(message(kLaisse, {chemin}));
    }
    return {};
  }
  if (cible.est_dossier(nom)) errno = EISDIR;
  Fichier sortie;
  if (!cible.est_dossier(nom) && cible.supprime(nom)) sortie = cible.cree(nom);
  if (!sortie) suite = echec_ecriture(cible.chemin() + nom, cible.est_dossier(nom) ? EISDIR : errno);
  return sortie;
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

bool CopieVersPc::ecrit_compagnon(const FichierCopie &fichier, const DossierSortie &cible,
                                  const std::string &nom) {
  const std::string compagnon = std::string(kPrefixeCompagnon) + nom;
  NomsDonnes &donnes = donnes_[cible.chemin()];
  if (donnes.contains(compagnon)) {
    ++bilan_.echecs;
    operations().afficher_erreur(message(kCompagnonPris, {texte(cible.chemin() + compagnon)}));
    return true;
  }
  static_cast<void>(cible.supprime(compagnon));
  Fichier sortie = cible.cree(compagnon);
  if (!sortie) return echec_ecriture(cible.chemin() + compagnon, errno);
  donnes.insert(compagnon);
  const ResultatEcriture resultat = ecrit_appledouble(sortie, fichier.element);
  const int erreur = errno;
  if (resultat == ResultatEcriture::fait && sortie.fermer()) return true;
  static_cast<void>(cible.supprime(compagnon));
  if (resultat == ResultatEcriture::ecriture || resultat == ResultatEcriture::fait)
    return echec_ecriture(cible.chemin() + compagnon, erreur);
  ++bilan_.echecs;
  operations().afficher_erreur(
      message(resultat == ResultatEcriture::trop_grand ? kTropGrand : kIllisible, {texte(fichier.chemin)}));
  return true;
}

bool CopieVersPc::ecrit(const FichierCopie &fichier, const DossierSortie &cible, const std::string &nom,
                        Fichier sortie) {
  const ElementFichier &element = fichier.element;
  bool suite = !vers_compagnon() || ecrit_compagnon(fichier, cible, nom);
  const ResultatEcriture resultat = suite ? ecrit_forme(sortie, element) : ResultatEcriture::ecriture;
  int erreur = errno;
  const bool partiel =
      resultat == ResultatEcriture::lecture && garde_partiel() && !operations().arret_demande();
  if (resultat == ResultatEcriture::fait || partiel) {
    if (element.dates.modification != 0) {
      const std::int64_t date = date_unix(element);
      static_cast<void>(plateforme::fixe_dates(sortie, date, date));
    }
    if (sortie.fermer()) {
      if (!partiel) return true;
      ++bilan_.echecs;
      operations().afficher_erreur(message(kPartiel, {texte(fichier.chemin)}));
      return true;
    }
    erreur = errno;
  }
  static_cast<void>(cible.supprime(nom));
  if (!suite || (resultat == ResultatEcriture::lecture && arret_voulu())) return false;
  if (resultat == ResultatEcriture::lecture || resultat == ResultatEcriture::trop_grand) {
    ++bilan_.echecs;
    operations().afficher_erreur(
        message(resultat == ResultatEcriture::lecture ? kIllisible : kTropGrand, {texte(fichier.chemin)}));
    return true;
  }
  return echec_ecriture(cible.chemin() + nom, erreur);
}

}  // namespace varnion
