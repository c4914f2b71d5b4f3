#include "compil/conteneurs.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

#include "fichiers/applesimple.hpp"
#include "fichiers/binhex.hpp"
#include "fichiers/macbinaire.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDecodageBinhex = 1222;
constexpr int kConteneurAbime = 7823;    // path, fault, name
constexpr int kCompagnonAbime = 7824;    // path, fault, name
constexpr int kCompagnonEcarte = 7825;   // path, fault
constexpr int kCompagnonAbsent = 7826;   // path, system error, bytes
constexpr int kFourchesChangees = 7827;  // path, lengths of before, lengths of now
constexpr int kDefauts = 7828;           // five texts, in the order of DefautConteneur
constexpr std::size_t kLongueurMessage = 100;
/// No item has it: files are counted from -1 down.
constexpr std::uint32_t kNumeroCompagnon = 0x80000000;
/// Bytes of decoded texts that are kept for the image; what is beyond is decoded once more.
constexpr std::uint64_t kDecodesMax = std::uint64_t{256} << 20;

std::uint32_t borne32(std::uint64_t valeur) {
  return static_cast<std::uint32_t>(
      std::min<std::uint64_t>(valeur, std::numeric_limits<std::uint32_t>::max()));
}

std::uint64_t taille(const Fichier &fichier) {
  return static_cast<std::uint64_t>(std::max<std::int64_t>(fichier_taille(fichier), 0));
}

FourchesConteneur lit_apple(const Fichier &fichier, std::uint32_t magie) {
  std::array<std::uint8_t, kLectureApple> octets{};
  const std::int64_t lus = fichier.lire_a(octets, 0);
  const auto debut =
      std::span<const std::uint8_t>(octets).first(static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  FourchesConteneur fourches;
  if (magie_apple(debut) == magie) return fourches_apple(debut, taille(fichier));
  fourches.defaut = DefautConteneur::genre;
  return fourches;
}

/// Text for the first thing that a container lacks.
std::string texte_defaut(DefautConteneur defaut) {
  return charger_chaine(kDefauts + static_cast<int>(defaut) - static_cast<int>(DefautConteneur::tete));
}

std::string court(const std::string &chemin) {
  return tronque_chemin(chemin, kLongueurMessage);
}

/// What an item has of a container goes, and its names become those of the PC; but for one that the user
/// typed for good.
void devient_simple(RubriqueProjet &r, const ExamenConteneur &examen, bool hfsplus) {
  r.codage(Codage::aucun);
  r.est_macbinaire(false);
  r.est_binhex(false);
  r.est_appledouble(false);
  r.est_applesingle(false);
  r.icone_perso(false);
  r.lg_data = examen.lg_source;
  r.lg_source = examen.lg_source;
  r.lg_rsrc = 0;
  r.date_creation = examen.date;
  r.date_modif = examen.date;
  const std::string nom = lit_champ(r.nom_source);
  const std::string_view signature = signature_de_fichier(nom);
  r.signature.fill(' ');
  signature.copy(r.signature.data(), r.signature.size());
  if (!r.nom_hfs_final()) pose_nom_hfs(r, coupe_nom(nom, hfsplus ? kNomHfsplusMax : kNomHfsMax), hfsplus);
}

}  // namespace

void Conteneurs::commence() {
  noms_.clear();
  compagnons_.clear();
}

// --- the look at one source
// --------------------------------------------------------------------------------------------------------

bool Conteneurs::examine(const RubriqueProjet &rubrique) {
  if (complets_ || rubrique.codage() == Codage::aucun || rubrique.codage() == Codage::ntfs) return true;
  if (operations().arret_demande()) return false;
  if (rubrique.codage() == Codage::apple && !rubrique.est_applesingle()) {
    examine_compagnon(rubrique);
    return true;
  }
  // One that is gone or closed is told of when its turn comes.
  plateforme::DonneesRecherche donnees;
  const Fichier fichier = acces_.ouvre(chemin_source(rubrique), &donnees);
  if (!fichier.ouvert()) return true;
  ExamenConteneur examen;
  examen.lg_source = borne32(donnees.taille);
  examen.date = date_projet(donnees.modification);
  if (rubrique.codage() == Codage::binhex) return examine_binhex(rubrique, fichier, examen);
  if (rubrique.codage() == Codage::macbinary)
    examine_macbinaire(rubrique, fichier, examen);
  else
    examine_simple(rubrique, fichier, examen);
  return true;
}

void Conteneurs::juge(const RubriqueProjet &rubrique, const FourchesConteneur &fourches,
                      ExamenConteneur examen) {
  examen.defaut = fourches.defaut;
  examen.lg_data = borne32(fourches.data.longueur);
  examen.lg_rsrc = borne32(fourches.rsrc.longueur);
  if (!fourches.intact())
    examen.etat = EtatConteneur::abime;
  else if (examen.lg_data != rubrique.lg_data || examen.lg_rsrc != rubrique.lg_rsrc)
    examen.etat = EtatConteneur::change;
  else if (!examen.decode)
    return;
  examens_[rubrique.numero] = examen;
}

void Conteneurs::examine_compagnon(const RubriqueProjet &rubrique) {
  ExamenConteneur examen;
  examen.lg_data = rubrique.lg_data;
  examen.lg_source = rubrique.lg_source;
  const Fichier compagnon = ouvre_compagnon(chemin_source(rubrique));
  if (!compagnon.ouvert()) {
    examen.etat = EtatConteneur::compagnon_absent;
    examen.erreur = errno;
    examens_[rubrique.numero] = examen;
    return;
  }
  const FourchesConteneur fourches = lit_apple(compagnon, kMagieAppleDouble);
  examen.defaut = fourches.defaut;
  examen.lg_rsrc = borne32(fourches.rsrc.longueur);
  if (!fourches.intact()) {
    examen.etat = EtatConteneur::compagnon_abime;
    examen.lg_source = borne32(taille(compagnon));
    if (const auto donnees = plateforme::cherche_fichier(chemin_source(rubrique)))
      examen.date = date_projet(donnees->modification);
  } else if (examen.lg_rsrc != rubrique.lg_rsrc) {
    examen.etat = EtatConteneur::change;
  } else {
    return;
  }
  examens_[rubrique.numero] = examen;
}

void Conteneurs::examine_simple(const RubriqueProjet &rubrique, const Fichier &fichier,
                                ExamenConteneur examen) {
  juge(rubrique, lit_apple(fichier, kMagieAppleSingle), examen);
}

void Conteneurs::examine_macbinaire(const RubriqueProjet &rubrique, const Fichier &fichier,
                                    ExamenConteneur examen) {
  const auto tete = lit_tete_macbinaire(fichier);
  FourchesConteneur fourches;
  // The length is no part of the recognition here: a file that was cut since is a cut one, not another one.
  if (tete && est_macbinaire(*tete, 0))
    fourches = fourches_macbinaire(*tete, taille(fichier));
  else
    fourches.defaut = DefautConteneur::genre;
  juge(rubrique, fourches, examen);
}

// True when the text was decoded into the kept file; else nothing of it was kept.
bool Conteneurs::decode_binhex_garde(const Fichier &fichier, ExamenConteneur &examen,
                                     FourchesConteneur &fourches) {
  const auto annonce = tete_binhex(fichier);
  const std::uint64_t place =
      annonce ? sizeof(TeteMacBinaire) + kPasMacBinaire + std::uint64_t{annonce->lg_data} + annonce->lg_rsrc
              : 0;
  if (!annonce || place > kDecodesMax - fin_decodes_ || !decode_possible_) return false;
  if (!decodes_.ouvert()) decodes_ = plateforme::fichier_anonyme();
  ControleBinHex controle;
  const auto longueur = decode_binhex(fichier, decodes_, &controle, fin_decodes_);
  TeteMacBinaire tete;
  const std::span octets(reinterpret_cast<std::uint8_t *>(&tete), sizeof tete);
  decode_possible_ = longueur && decodes_.lire_a(octets, fin_decodes_) == sizeof tete;
  if (!decode_possible_) return false;
  fourches = fourches_binhex(tete, *longueur, controle);
  examen.decode = fourches.intact();
  examen.position = fin_decodes_;
  examen.drapeaux = drapeaux_macbinaire(tete);
  if (examen.decode) fin_decodes_ += *longueur;
  // The next text finds nothing behind its start.
  if (!examen.decode) decode_possible_ = fichier_tronquer(decodes_, fin_decodes_);
  return true;
}

bool Conteneurs::examine_binhex(const RubriqueProjet &rubrique, const Fichier &fichier,
                                ExamenConteneur examen) {
  if (!suivi_.texte(charger_chaine(kDecodageBinhex) + chemin_source(rubrique))) return false;
  FourchesConteneur fourches;
  if (!est_binhex(fichier)) {
    fourches.defaut = DefautConteneur::genre;
  } else if (!decode_binhex_garde(fichier, examen, fourches)) {
    // Read through without being kept. Where even that fails, the copy will tell.
    const auto tete = tete_binhex(fichier);
    const auto controle = verifie_binhex(fichier);
    if (!controle) return true;
    if (tete) {
      fourches.data.longueur = tete->lg_data;
      fourches.rsrc.longueur = tete->lg_rsrc;
    }
    if (!tete || !controle->juste()) fourches.defaut = DefautConteneur::somme;
  }
  juge(rubrique, fourches, examen);
  return true;
}

// --- the item
// --------------------------------------------------------------------------------------------------------

const ExamenConteneur *Conteneurs::examen(const RubriqueProjet &rubrique) const {
  if (examens_.empty()) return nullptr;
  const auto place = examens_.find(rubrique.numero);
  return place == examens_.end() ? nullptr : &place->second;
}

const RubriqueProjet &Conteneurs::effective(const RubriqueProjet &rubrique,
                                            std::optional<RubriqueProjet> &place, bool hfsplus) const {
  const ExamenConteneur *e = examen(rubrique);
  if (e == nullptr || e->etat == EtatConteneur::conforme) return rubrique;
  RubriqueProjet &r = place.emplace(rubrique);
  switch (e->etat) {
    case EtatConteneur::abime:
      devient_simple(r, *e, hfsplus);
      if (const auto nom = noms_.find(rubrique.numero); nom != noms_.end())
        ecrit_champ_coupe(r.nom_hfs, nom->second);
      break;
    case EtatConteneur::compagnon_abime:
      // Type and creator stay: they are the project's, and true of the file.
      r.codage(Codage::aucun);
      r.est_appledouble(false);
      r.icone_perso(false);
      r.lg_rsrc = 0;
      if (r.date_creation == 0U) r.date_creation = e->date;
      if (r.date_modif == 0U) r.date_modif = e->date;
      break;
    default:
      r.lg_data = e->lg_data;
      r.lg_rsrc = e->lg_rsrc;
      r.lg_source = e->lg_source;
      break;
  }
  return r;
}

// --- damaged companions
// --------------------------------------------------------------------------------------------------------

std::optional<RubriqueProjet> Conteneurs::compagnon(const RubriqueProjet &rubrique, bool hfsplus) const {
  const std::string nom = std::string(kPrefixeCompagnon) + lit_champ(rubrique.nom_source);
  RubriqueProjet compagnon = rubrique;
  // The name that the project keeps of an item out of the code page is a short one of its own.
  if (rubrique.nom_hors_page() || !ecrit_champ(compagnon.nom_source, nom)) return std::nullopt;
  const auto donnees = plateforme::cherche_fichier(chemin_source(compagnon));
  if (!donnees) return std::nullopt;
  compagnon.numero = kNumeroCompagnon;
  compagnon.nom_hfs_final(false);
  compagnon.nom_iso_saisi(false);
  ExamenConteneur examen;
  examen.lg_source = borne32(donnees->taille);
  examen.date = date_projet(donnees->modification);
  devient_simple(compagnon, examen, hfsplus);
  ecrit_champ_coupe(compagnon.nom_iso, coupe_nom(nom, kNomIsoMax));
  const std::string &court = donnees->nom_court.empty() ? donnees->nom_long : donnees->nom_court;
  static_cast<void>(
      ecrit_champ_plein(compagnon.nom_court, std::string_view(court).substr(0, compagnon.nom_court.size())));
  return compagnon;
}

void Conteneurs::ajoute_compagnon(const RubriqueProjet &rubrique, const RubriqueProjet &compagnon) {
  nomme(rubrique, lit_champ(compagnon.nom_hfs));
  compagnons_[rubrique.pere].push_back(compagnon);
}

std::span<const RubriqueProjet> Conteneurs::compagnons(std::uint32_t dossier) const {
  if (compagnons_.empty()) return {};
  const auto place = compagnons_.find(dossier);
  if (place == compagnons_.end()) return {};
  return place->second;
}

// --- what is told
// --------------------------------------------------------------------------------------------------------

std::string Conteneurs::constat(const RubriqueProjet &rubrique, bool hfsplus) const {
  const ExamenConteneur *e = examen(rubrique);
  if (e == nullptr) return {};
  const std::string chemin = chemin_source(rubrique);
  const auto nom = noms_.find(rubrique.numero);
  const auto nom_texte = [&] { return hfsplus ? nom->second : nom_windows(nom->second); };
  switch (e->etat) {
    case EtatConteneur::conforme:
      break;
    case EtatConteneur::change:
      return message(kFourchesChangees, {court(chemin), rubrique.lg_data.operator unsigned(),
                                         rubrique.lg_rsrc.operator unsigned(), e->lg_data, e->lg_rsrc});
    case EtatConteneur::abime:
      return message(kConteneurAbime, {court(chemin), texte_defaut(e->defaut),
                                       nom == noms_.end() ? lit_champ(rubrique.nom_source) : nom_texte()});
    case EtatConteneur::compagnon_absent:
      return message(kCompagnonAbsent, {court(chemin), plateforme::texte_erreur(e->erreur),
                                        rubrique.lg_rsrc.operator unsigned()});
    case EtatConteneur::compagnon_abime:
      if (nom == noms_.end())
        return message(kCompagnonEcarte, {court(nom_compagnon(chemin)), texte_defaut(e->defaut)});
      return message(kCompagnonAbime, {court(nom_compagnon(chemin)), texte_defaut(e->defaut), nom_texte()});
  }
  return {};
}

}  // namespace varnion
