#include <algorithm>
#include <cerrno>
#include <cstring>

#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/copie_vers_mac.hpp"
#include "fichiers/integrite.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/mode_copie.hpp"
#include "fichiers/nom_volume.hpp"
#include "fichiers/polices.hpp"
#include "fichiers/polices_pc.hpp"
#include "fichiers/sfm.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/fiches.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "res/chaines.hpp"

// What each class of file gives to its record.

namespace varnion {

namespace {

constexpr int kPoliceExiste = 1121;
constexpr int kCreePolice = 1127;
constexpr int kIllisible = 6127;    // path, reason
constexpr int kRenomme = 6129;      // path, name on the volume
constexpr int kAbime = 6139;        // path
constexpr int kPoliceTelle = 6140;  // name of the font, path
constexpr std::size_t kCheminMessage = 200;

constexpr std::string_view kSignatureIcone = "ICNSMACS";
constexpr std::string_view kNomIcone = "Icon\r";
constexpr std::string_view kNomIconeVolume = ".VolumeIcon.icns";
constexpr std::uint16_t kHasCustomIcon = 0x0400;
constexpr std::uint16_t kHasBeenInited = 0x0100;
constexpr std::uint16_t kCouleurRouge = 0x0020;  // one bit of the label color; cleared by design

std::string court(std::string_view chemin) {
  return tronque_chemin(chemin, kCheminMessage);
}

std::uint64_t taille(const Fichier &fichier) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(fichier), 0));
}

// The folder of that id shows the icon file in it.
void montre_icone(std::uint32_t dossier) {
  const auto element = dossier == kIdRacine ? element_racine() : element_par_id(dossier);
  if (!element || !element->dossier) return;
  AttributsItem attributs;
  attributs.drapeaux = static_cast<std::uint16_t>((element->drapeaux_finder | kHasCustomIcon) &
                                                  ~(kHasBeenInited | kCouleurRouge));
  static_cast<void>(change_attributs({element->nom_hfs, element->nom_hfsplus}, element->parent, attributs));
}

}  // namespace

CopieVersMac::Suite CopieVersMac::copie_classe(const FichierPc &fichier, ClassePc classe,
                                               const Fichier &compagnon, std::uint32_t parent) {
  switch (classe) {
    case ClassePc::macbinaire:
      return copie_conteneur(fichier, false, parent);
    case ClassePc::binhex:
      return copie_conteneur(fichier, true, parent);
    case ClassePc::applesingle:
      return copie_apple(fichier, nullptr, parent);
    case ClassePc::appledouble:
      return copie_apple(fichier, &compagnon, parent);
    case ClassePc::flux:
      return copie_flux(fichier, parent);
    case ClassePc::pfb:
      return copie_police(fichier, false, parent);
    case ClassePc::ttf:
      return copie_police(fichier, true, parent);
    default:
      return copie_simple(fichier, parent);
  }
}

CopieVersMac::Suite CopieVersMac::copie_simple(const FichierPc &fichier, std::uint32_t parent) {
  const auto nom = nom_de_pc(*fichier.donnees, parent, fichier.affiche());
  if (!nom) return Suite::saute;
  Ecriture ecriture;
  ecriture.nom = *nom;
  ecriture.signature = options_.signature(fichier.donnees->nom_long);
  const Fourche tout{&fichier.fichier, {0, fichier.taille}, fichier.taille, fichier.debut()};
  const bool ressource = (mode_copie() & kCopieRessource) != 0;
  ecriture.genre = ressource ? GenreEcritureMac::ressource : GenreEcritureMac::data;
  (ressource ? ecriture.rsrc : ecriture.data) = tout;
  return ecriture_fichier_mac(fichier, ecriture, parent);
}

void CopieVersMac::signale_abime(const FichierPc &fichier) {
  ++bilan_.abimes;
  operations().afficher_erreur(message(kAbime, {court(fichier.affiche())}));
}

// --- MacBinary and BinHex
// ----------------------------------------------------------------------------------------------------

CopieVersMac::Suite CopieVersMac::copie_conteneur(const FichierPc &fichier, bool binhex,
                                                  std::uint32_t parent) {
  ControleBinHex controle{true, true, true};
  Fichier decode;
  if (binhex) decode = decode_binhex(fichier.fichier, &controle);
  if (binhex && !decode)
    return echec(message(kIllisible, {court(fichier.affiche()), plateforme::texte_erreur(errno)}));
  const Fichier &source = binhex ? decode : fichier.fichier;
  const auto tete = lit_tete_macbinaire(source);
  if (!tete) {
    ++bilan_.abimes;
    return echec(message(kAbime, {court(fichier.affiche())}));
  }
  const std::uint64_t lg = binhex ? taille(decode) : fichier.taille;
  const auto debut = binhex ? std::span<const std::uint8_t>() : fichier.debut();
  Ecriture ecriture;
  ecriture.genre = GenreEcritureMac::macbinaire;
  const FourchesConteneur fourches = fourches_binhex(*tete, lg, controle);
  ecriture.data = {&source, fourches.data, lg, debut};
  ecriture.rsrc = {&source, fourches.rsrc, lg, debut};
  ecriture.signature = signature_macbinaire(*tete);
  ecriture.drapeaux = drapeaux_macbinaire(*tete);
  ecriture.creation = tete->date_creation;
  ecriture.modification = tete->date_modif;
  const std::string nom = nom_macbinaire(*tete);
  ecriture.nom = nom_de_tete(nom);
  if (nom_vide(ecriture.nom)) {
    const auto de_pc = nom_de_pc(*fichier.donnees, parent, fichier.affiche());
    if (!de_pc) return Suite::saute;
    ecriture.nom = *de_pc;
  } else if (!hfsplus_ && ecriture.nom.mac != sans_blancs_fin(nom)) {
    ++bilan_.renommes;
    operations().afficher_avis(message(kRenomme, {nom_windows(nom), nom_item_windows(ecriture.nom)}));
  }
  if (!fourches.intact()) signale_abime(fichier);
  if (ecriture.signature == kSignatureIcone && nom.starts_with(kNomIcone) && tete->lg_data != 0U)
    return copie_icone(fichier, ecriture, parent);
  return ecriture_fichier_mac(fichier, ecriture, parent);
}

// The icon of a folder; in the root also that of the volume.
CopieVersMac::Suite CopieVersMac::copie_icone(const FichierPc &fichier, Ecriture &ecriture,
                                              std::uint32_t parent) {
  if (parent == kIdRacine) {
    Ecriture volume = ecriture;
    volume.nom = nom_item_mac(kNomIconeVolume);
    if (ecriture_fichier_mac(fichier, volume, parent) == Suite::fin) return Suite::fin;
  }
  ecriture.nom = nom_item_mac(kNomIcone);
  const Suite suite = ecriture_fichier_mac(fichier, ecriture, parent);
  if (suite == Suite::entre) montre_icone(parent);
  return suite;
}

// --- AppleSingle, AppleDouble, streams
// ----------------------------------------------------------------------------------------------------

CopieVersMac::Suite CopieVersMac::copie_apple(const FichierPc &fichier, const Fichier *compagnon,
                                              std::uint32_t parent) {
  const auto nom = nom_de_pc(*fichier.donnees, parent, fichier.affiche());
  if (!nom) return Suite::saute;
  std::array<std::uint8_t, kLectureApple> tampon{};
  auto debut = fichier.debut().first(std::min(fichier.lus, kLectureApple));
  if (compagnon != nullptr) {
    const std::int64_t lus = compagnon->lire_a(tampon, 0);
    debut = std::span(tampon).first(static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  }
  const Fichier &porteur = compagnon != nullptr ? *compagnon : fichier.fichier;
  const std::uint64_t lg = compagnon != nullptr ? taille(*compagnon) : fichier.taille;
  const FourchesConteneur fourches = fourches_apple(debut, lg);
  Ecriture ecriture;
  ecriture.nom = *nom;
  ecriture.rsrc = {&porteur, fourches.rsrc, lg};
  if (compagnon == nullptr) {
    ecriture.genre = GenreEcritureMac::applesingle;
    ecriture.data = {&porteur, fourches.data, lg};
  } else {
    ecriture.genre = GenreEcritureMac::appledouble;
    ecriture.data = {&fichier.fichier, {0, fichier.taille}, fichier.taille, fichier.debut()};
  }
  ecriture.signature = signature_apple(debut).value_or(options_.signature(fichier.donnees->nom_long));
  if (!fourches.intact()) signale_abime(fichier);
  return ecriture_fichier_mac(fichier, ecriture, parent);
}

CopieVersMac::Suite CopieVersMac::copie_flux(const FichierPc &fichier, std::uint32_t parent) {
  const auto nom = nom_de_pc(*fichier.donnees, parent, fichier.affiche());
  if (!nom) return Suite::saute;
  const Fichier ressource = ouvre_ressource_sfm(fichier.chemin);
  Ecriture ecriture;
  ecriture.genre = GenreEcritureMac::appledouble;
  ecriture.nom = *nom;
  ecriture.data = {&fichier.fichier, {0, fichier.taille}, fichier.taille, fichier.debut()};
  if (ressource) ecriture.rsrc = {&ressource, {0, taille(ressource)}, taille(ressource)};
  // The Finder flags of the record are not applied on this road.
  static_cast<void>(lecture_afpinfo(fichier.chemin, ecriture.signature));
  if (ecriture.signature.empty()) ecriture.signature = options_.signature(fichier.donnees->nom_long);
  return ecriture_fichier_mac(fichier, ecriture, parent);
}

// --- fonts
// ----------------------------------------------------------------------------------------------------

// Nothing converts a PFB file: it goes in as it is, like a file that names no font.
CopieVersMac::Suite CopieVersMac::copie_police(const FichierPc &fichier, bool truetype,
                                               std::uint32_t parent) {
  const auto nom =
      truetype ? nom_truetype(fichier.fichier, {0, fichier.taille}) : nom_police_pfb(fichier.fichier);
  if (!nom) {
    annonce_sans_police(fichier.affiche());
    return copie_simple(fichier, parent);
  }
  if (!truetype) {
    operations().afficher_avis(message(kPoliceTelle, {*nom, court(fichier.affiche())}));
    const Suite suite = copie_simple(fichier, parent);
    if (suite == Suite::entre) ++bilan_.polices_telles;
    return suite;
  }
  Ecriture ecriture;
  ecriture.genre = GenreEcritureMac::ressource;
  ecriture.nom = nom_item(nom->substr(0, kNomPoliceMax));
  ecriture.signature = kSignaturePolice;
  // Where the name is taken HFS says no word by design; the list of what was left out does.
  if (nom_vide(ecriture.nom) || existe(ecriture.nom, parent) != 0) {
    ++bilan_.sautes;
    if (hfsplus_) operations().afficher_erreur(message(kPoliceExiste, {*nom}));
    return Suite::saute;
  }
  operations().afficher_etat_seul(message(kCreePolice, {*nom}));
  const Fichier fourche =
      fourche_truetype(fichier.fichier, fichier.taille, nom_mac(*nom), options_.numero_police());
  if (!fourche)
    return echec(message(kIllisible, {court(fichier.affiche()), plateforme::texte_erreur(errno)}));
  ecriture.rsrc = {&fourche, {0, taille(fourche)}, taille(fourche)};
  const Suite suite = ecriture_fichier_mac(fichier, ecriture, parent);
  if (suite == Suite::entre) ++bilan_.polices;
  return suite;
}

}  // namespace varnion
