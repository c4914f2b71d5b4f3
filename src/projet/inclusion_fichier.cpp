#include "projet/inclusion_fichier.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/sfm.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "noms/unicode.hpp"
#include "projet/signatures.hpp"

namespace varnion {

namespace {

using Debut = std::span<const std::uint8_t>;

constexpr std::size_t kLecture = 512;
constexpr std::uint16_t kDrapeauInvisible = 0x4000;
constexpr std::string_view kSignatureSansInfo = "TEXTLMAN";  ///< of a file that no Macintosh has touched

std::uint32_t borne32(std::uint64_t valeur) {
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(valeur, std::numeric_limits<std::uint32_t>::max()));
}

std::uint64_t taille(const Fichier &fichier) {
  const std::int64_t octets = fichier_taille(fichier);
  return octets > 0 ? static_cast<std::uint64_t>(octets) : 0;
}

Debut lit_debut(const Fichier &fichier, std::span<std::uint8_t> tampon) {
  const std::int64_t lus = fichier.lire_a(tampon, 0);
  return tampon.first(lus > 0 ? static_cast<std::size_t>(lus) : 0);
}

void pose_signature(RubriqueProjet &rubrique, std::string_view signature) {
  rubrique.signature.fill('\0');
  signature.copy(rubrique.signature.data(), rubrique.signature.size());
}

// Names that come out of a container are Mac Roman, at most 31 bytes whatever the format.
void pose_nom_mac(RubriqueProjet &rubrique, std::string_view mac, const SourceInclusion &source) {
  std::string nom(mac.substr(0, kNomHfsMax));
  if (nom.empty()) nom = nom_mac(coupe_nom(source.nom, kNomHfsMax));
  ecrit_champ_coupe(rubrique.nom_hfs, source.hfsplus ? nom_windows(nom) : nom);
}

// Entry 9 of either Apple container: type and creator, "custom icon" and "hidden extension" of the Finder
// flags.
void lit_info_finder(RubriqueProjet &rubrique, Debut debut) {
  const auto info = info_finder_apple(debut);
  if (info.size() < 10) return;
  pose_signature(rubrique, {reinterpret_cast<const char *>(info.data()), rubrique.signature.size()});
  rubrique.icone_perso(bits::bit(info[8], 2));
  rubrique.extension_cachee(bits::bit(info[9], 4));
}

bool lit_appledouble(RubriqueProjet &rubrique, const SourceInclusion &source) {
  if (!source.compagnon_possible) return false;
  const Fichier compagnon = ouvre_compagnon(source.chemin);
  if (!compagnon.ouvert()) return false;
  std::array<std::uint8_t, kLectureAppleScan> tampon{};
  const Debut debut = lit_debut(compagnon, tampon);
  if (magie_apple(debut) != kMagieAppleDouble) return false;
  rubrique.est_appledouble(true);
  rubrique.lg_data = rubrique.lg_source;
  if (const auto rsrc = plage_entree_apple(debut, kEntreeRessource, taille(compagnon)))
    rubrique.lg_rsrc = borne32(rsrc->longueur);
  lit_info_finder(rubrique, debut);
  return true;
}

bool lit_applesingle(RubriqueProjet &rubrique, Debut debut, std::uint64_t lg_fichier) {
  if (magie_apple(debut) != kMagieAppleSingle) return false;
  debut = debut.first(std::min(debut.size(), kLectureAppleScan));
  rubrique.est_applesingle(true);
  const auto data = plage_entree_apple(debut, kEntreeData, lg_fichier);
  const auto rsrc = plage_entree_apple(debut, kEntreeRessource, lg_fichier);
  rubrique.lg_data = data ? borne32(data->longueur) : 0U;
  rubrique.lg_rsrc = rsrc ? borne32(rsrc->longueur) : 0U;
  lit_info_finder(rubrique, debut);
  return true;
}

/// Streams of a Windows server for Macintosh clients.
struct FluxTrouves {
  bool presents = false;
  std::uint64_t lg_ressource = 0;
  std::string signature;
};

FluxTrouves cherche_flux(const SourceInclusion &source) {
  FluxTrouves flux;
  if (!source.flux_possible) return flux;
  const Fichier ressource = ouvre_ressource_sfm(source.chemin);
  const InfoAfp info = lit_info_afp(source.chemin);
  flux.presents = (ressource.ouvert() || info.presente) && info.signature != kSignatureSansInfo;
  if (ressource.ouvert()) flux.lg_ressource = taille(ressource);
  flux.signature = info.signature;
  return flux;
}

void remplit_simple(RubriqueProjet &rubrique, const SourceInclusion &source) {
  pose_signature(rubrique, signature_de_fichier(source.nom));
  rubrique.lg_data = rubrique.lg_source;
  dates_rubrique(rubrique, source.entree);
}

void remplit_ntfs(RubriqueProjet &rubrique, const SourceInclusion &source, const FluxTrouves &flux) {
  remplit_simple(rubrique, source);
  rubrique.lg_rsrc = borne32(flux.lg_ressource);
  if (!flux.signature.empty()) pose_signature(rubrique, flux.signature);
  if (source.hfsplus) {
    ecrit_champ_coupe(rubrique.nom_hfs, coupe_nom(source.nom, kNomHfsplusMax));
    rubrique.nom_unicode(true);
  } else {
    ecrit_champ_coupe(rubrique.nom_hfs, coupe_nom(prive_vers_mac(source.entree.nom_large), kNomHfsMax));
  }
}

void remplit_macbinaire(RubriqueProjet &rubrique, const TeteMacBinaire &tete, const SourceInclusion &source) {
  pose_nom_mac(rubrique, nom_macbinaire(tete), source);
  pose_signature(rubrique, signature_macbinaire(tete));
  rubrique.lg_data = std::uint32_t{tete.lg_data};
  rubrique.lg_rsrc = std::uint32_t{tete.lg_rsrc};
  rubrique.date_creation = std::uint32_t{tete.date_creation};
  rubrique.date_modif = std::uint32_t{tete.date_modif};
  if ((drapeaux_macbinaire(tete) & kDrapeauInvisible) != 0) rubrique.cache_hfs(1);
  dates_rubrique(rubrique, source.entree);
}

void borne_binhex(RubriqueProjet &rubrique, const Fichier &fichier) {
  const Fichier decode = decode_binhex(fichier);
  const auto tete = decode.ouvert() ? lit_tete_macbinaire(decode) : std::nullopt;
  if (!tete) return;
  rubrique.lg_data = borne32(plage_data_macbinaire(*tete, taille(decode)).longueur);
  rubrique.lg_rsrc = borne32(plage_rsrc_macbinaire(*tete, taille(decode)).longueur);
}

void remplit_binhex(RubriqueProjet &rubrique, const Fichier &fichier, const SourceInclusion &source) {
  const auto tete = tete_binhex(fichier);
  pose_nom_mac(rubrique, tete ? std::string_view(tete->nom) : std::string_view(), source);
  pose_signature(rubrique, tete ? std::string_view(tete->signature) : signature_de_fichier(source.nom));
  rubrique.lg_data = tete ? tete->lg_data : 0U;
  rubrique.lg_rsrc = tete ? tete->lg_rsrc : 0U;
  // Six bits of text make a byte of the file unless runs are packed. Lengths above that may be the truth or a
  // lie that would reserve gigabytes: then, and only then, the text itself tells.
  if (tete && std::uint64_t{tete->lg_data} + tete->lg_rsrc > source.entree.taille)
    borne_binhex(rubrique, fichier);
  dates_rubrique(rubrique, source.entree);
}

}  // namespace

void dates_rubrique(RubriqueProjet &rubrique, const plateforme::DonneesRecherche &entree) {
  if (rubrique.date_creation == 0U) rubrique.date_creation = date_projet(entree.creation);
  if (rubrique.date_modif == 0U) rubrique.date_modif = date_projet(entree.modification);
}

void ordonne_dates(RubriqueProjet &rubrique) {
  if (rubrique.date_modif < rubrique.date_creation) rubrique.date_creation = rubrique.date_modif;
}

// Of several codings that apply the last in this order wins: streams, Apple containers, MacBinary, BinHex;
// the flags of all stay. A file in an Apple container keeps dates of 0, since no date entry of the container
// is read.
void reconnait_fichier(RubriqueProjet &rubrique, const Fichier &fichier, const SourceInclusion &source) {
  std::array<std::uint8_t, kLecture> tampon{};
  const Debut debut = lit_debut(fichier, tampon);
  const std::uint64_t lg_fichier = source.entree.taille;
  const bool en_double = lit_appledouble(rubrique, source);
  const bool en_simple = lit_applesingle(rubrique, debut, lg_fichier);
  const FluxTrouves flux = cherche_flux(source);
  rubrique.est_macbinaire(est_macbinaire(debut, lg_fichier));
  rubrique.est_binhex(est_binhex(debut));

  Codage codage = flux.presents ? Codage::ntfs : Codage::aucun;
  if (en_double || en_simple) codage = Codage::apple;
  if (rubrique.est_macbinaire()) codage = Codage::macbinary;
  if (rubrique.est_binhex()) codage = Codage::binhex;
  rubrique.codage(codage);
  if (codage == Codage::aucun) remplit_simple(rubrique, source);
  if (codage == Codage::ntfs) remplit_ntfs(rubrique, source, flux);
  if (codage == Codage::macbinary) remplit_macbinaire(rubrique, *vue<TeteMacBinaire>(debut, 0), source);
  if (codage == Codage::binhex) remplit_binhex(rubrique, fichier, source);
  ordonne_dates(rubrique);
}

}  // namespace varnion
