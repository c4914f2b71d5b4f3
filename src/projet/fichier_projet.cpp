#include "projet/fichier_projet.hpp"

#include <array>
#include <cerrno>
#include <limits>

#include "IO/etat.hpp"
#include "IO/fichier_voisin.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/arborescence.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::string_view kMagie = "VNRQ";
constexpr std::string_view kExtensionCopie = "BAK";
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kCheminMessage = 50;  // bytes of a path in a message

// The path with its extension replaced, or added where the name has none.
std::string avec_extension(const std::string &chemin, std::string_view extension) {
  const std::size_t separateur = chemin.find_last_of("/\\");
  const std::size_t debut_nom = separateur == std::string::npos ? 0 : separateur + 1;
  const std::size_t point = chemin.rfind('.');
  const bool a_extension = point != std::string::npos && point > debut_nom;
  return chemin.substr(0, a_extension ? point : chemin.size()) + "." + std::string(extension);
}

// Copies the whole of `source` to a new file beside `cible` and gives it that name only when it is complete:
// what `cible` held before survives a failure. Closed on failure, with `errno` set.
Fichier copie_complete(const Fichier &source, const std::string &cible) {
  const std::int64_t taille = fichier_taille(source);
  FichierVoisin copie = FichierVoisin::commence(cible);
  if (!copie || taille < 0) return {};
  copie.comme(source);
  const bool copiee = fichier_debut(source) &&
                      fichier_copier(source, copie.fichier(), static_cast<std::uint64_t>(taille)) == 0 &&
                      fichier_taille(copie.fichier()) == taille && fichier_debut(copie.fichier());
  return copiee && copie.pose(Ecrasement::toujours) ? copie.prend() : Fichier();
}

bool echec_enregistrement(const std::string &cible) {
  const std::string raison = plateforme::texte_erreur(errno);
  operations().afficher_erreur(message(6101, {tronque_chemin(cible, kCheminMessage), raison}));
  return false;
}

}  // namespace

bool echec_ecriture_projet(std::string_view chemin) {
  const std::string raison = plateforme::texte_erreur(errno);
  operations().afficher_erreur(message(6100, {tronque_chemin(chemin, kCheminMessage), raison}));
  return false;
}

void note_arbre_abime(std::string_view chemin, std::uint32_t dossier) {
  operations().journal(GenreJournal::erreur, message(6103, {chemin, dossier}));
}

int test_magie(const Fichier &fichier) {
  std::array<std::uint8_t, kTailleRubrique> tete{};
  if (fichier.lire_a(tete, 0) != static_cast<std::int64_t>(tete.size())) return 0;
  const std::string_view lue(reinterpret_cast<const char *>(tete.data()), kMagie.size());
  if (lue.substr(0, 3) != kMagie.substr(0, 3)) return 0;
  return lue == kMagie ? 1 : -1;
}

EnteteProjet entete_neuve() {
  const std::uint32_t reglages = etat<OptionsProgramme>().vn_options;
  EnteteProjet entete;
  kMagie.copy(entete.magie.data(), kMagie.size());
  entete.version = kVersion;
  entete.dernier_dossier = kPremierCompteur;
  entete.hfsplus((reglages & kVnOptionHfsplus) != 0);
  entete.reconstruire((reglages & kVnOptionReconstruire) != 0);
  entete.ouvrir_racine((reglages & kVnOptionOuvrirRacine) != 0);
  const std::string label = charger_chaine(1287);
  ecrit_champ_coupe(entete.label_iso, label);
  ecrit_champ_coupe(entete.label_hfs, entete.hfsplus() ? label : nom_mac(label));
  return entete;
}

// --- documents

std::optional<FichierProjet> FichierProjet::ouvre(std::string_view chemin, ModeProjet mode) {
  Fichier fichier = plateforme::ouvre(chemin, Ouverture::lecture_ecriture);
  if (!fichier) {
    erreur_fichier(chemin, errno);
    return std::nullopt;
  }
  const int magie = test_magie(fichier);
  if (magie == 0 || (magie < 0 && mode == ModeProjet::hybride)) {
    operations().afficher_erreur(message(magie == 0 ? 1062 : 1063, {tronque_chemin(chemin, kCheminMessage)}));
    return std::nullopt;
  }
  std::optional<FichierProjet> projet = adopte(std::move(fichier), chemin, mode);
  if (!projet) {
    erreur_fichier(chemin, errno);
    return std::nullopt;
  }
  if ((etat<OptionsProgramme>().vn_options & kVnOptionSansCopie) == 0) projet->copie_de_sauvegarde();
  operations().afficher_etat_seul(message(1471, {tronque_chemin(chemin, kCheminMessage)}));
  const bool compte = estimation_secteurs(*projet);
  operations().afficher_etat({}, {});
  if (!compte) return std::nullopt;
  return projet;
}

std::optional<FichierProjet> FichierProjet::cree(std::string_view chemin, ModeProjet mode) {
  const EnteteProjet entete = entete_neuve();
  FichierVoisin fichier = FichierVoisin::commence(chemin);
  if (!fichier || !fichier.fichier().ecrire_a(octets_de(entete), 0) || !fichier.pose(Ecrasement::toujours)) {
    erreur_fichier(chemin, errno);
    return std::nullopt;
  }
  return adopte(fichier.prend(), chemin, mode);
}

std::optional<FichierProjet> FichierProjet::adopte(Fichier fichier, std::string_view chemin,
                                                   ModeProjet mode) {
  FichierProjet projet;
  projet.fichier_ = std::move(fichier);
  projet.chemin_ = std::string(chemin);
  projet.mode_ = mode;
  EnteteProjet entete;
  if (!projet.lit_entete(entete) || !projet.lecture_compteurs()) return std::nullopt;
  projet.hfsplus_ = mode == ModeProjet::hybride && entete.hfsplus();
  projet.estimation_ = entete.taille_secteurs;
  return projet;
}

std::string FichierProjet::chemin_copie() const {
  return avec_extension(chemin_, kExtensionCopie);
}

void FichierProjet::copie_de_sauvegarde() const {
  const std::string copie = chemin_copie();
  // A project that is itself a backup copy would be copied onto itself.
  if (plateforme::meme_fichier(copie, chemin_)) return;
  operations().afficher_etat_seul(charger_chaine(1313));
  if (!copie_complete(fichier_, copie))
    operations().journal(GenreJournal::erreur, message(6102, {copie, plateforme::texte_erreur(errno)}));
}

bool FichierProjet::sauvegarde_entete() {
  if (mode_ == ModeProjet::hybride && !compte_projet(*this)) return false;
  if (!estimation_secteurs(*this)) return false;
  if (!ecriture_compteurs() || !vide()) return echec_ecriture_projet(chemin_);
  return true;
}

bool FichierProjet::enregistre_sous(std::string_view cible, bool demande) {
  const std::string chemin(cible);
  if (!sauvegarde_entete()) return false;
  if (plateforme::meme_fichier(chemin, chemin_)) return true;
  if (demande && plateforme::existe(chemin) &&
      operations().demander_oui_non(message(1061, {tronque_chemin(chemin, kCheminMessage)})) != 1)
    return false;
  if (sans_nom()) return deplace_vers(chemin);
  Fichier copie = copie_complete(fichier_, chemin);
  if (!copie) return echec_enregistrement(chemin);
  fichier_ = std::move(copie);
  chemin_ = chemin;
  return true;
}

// Gives an unnamed project its name. Between two file systems, and in the place of another file, whose rights
// stay, it is copied and the old file deleted.
bool FichierProjet::deplace_vers(const std::string &cible) {
  if (plateforme::existe(cible) || !plateforme::renomme(chemin_, cible)) {
    Fichier copie = copie_complete(fichier_, cible);
    if (!copie) return echec_enregistrement(cible);
    fichier_ = std::move(copie);
    static_cast<void>(plateforme::supprime(chemin_));
  }
  chemin_ = cible;
  return true;
}

bool FichierProjet::reecrit_fichier() {
  Fichier copie = copie_complete(fichier_, chemin_);
  if (!copie) return echec_enregistrement(chemin_);
  fichier_ = std::move(copie);
  return true;
}

bool FichierProjet::ferme() {
  return fichier_.fermer();
}

bool FichierProjet::sans_nom() const {
  return chemin_.find(mode_ == ModeProjet::isop ? "vnso.vnso" : "vnpr.vnpr") != std::string::npos;
}

std::uint64_t FichierProjet::taille_octets() const {
  const std::int64_t taille = fichier_taille(fichier_);
  return taille < 0 ? 0 : static_cast<std::uint64_t>(taille);
}

// --- state

void FichierProjet::estimation_retire(const RubriqueProjet &rubrique) {
  const std::uint64_t secteurs = secteurs_rubrique(rubrique);
  estimation_ = estimation_ > secteurs ? estimation_ - secteurs : 0;
}

bool FichierProjet::lecture_compteurs() {
  EnteteProjet entete;
  if (!lit_entete(entete)) return false;
  dernier_dossier_ = std::max<std::uint32_t>(entete.dernier_dossier, kPremierCompteur);
  dernier_fichier_ = entete.dernier_fichier;
  return true;
}

bool FichierProjet::ecriture_compteurs() {
  EnteteProjet entete;
  if (!lit_entete(entete)) return false;
  entete.dernier_dossier = dernier_dossier_;
  entete.dernier_fichier = dernier_fichier_;
  return ecrit_entete(entete);
}

void FichierProjet::releve_compteurs(const RubriqueProjet &rubrique) {
  const std::int64_t numero = rubrique.numero_signe();
  if (numero > dernier_dossier_) dernier_dossier_ = static_cast<std::uint32_t>(numero);
  if (-numero > dernier_fichier_) dernier_fichier_ = static_cast<std::uint32_t>(-numero);
}

std::uint32_t FichierProjet::prochain_dossier() {
  if (dernier_dossier_ >= std::numeric_limits<std::int32_t>::max()) return 0;
  return ++dernier_dossier_;
}

std::uint32_t FichierProjet::prochain_fichier() {
  if (dernier_fichier_ >= std::numeric_limits<std::int32_t>::max()) return 0;
  return 0U - ++dernier_fichier_;
}

std::string FichierProjet::lecture_label() const {
  EnteteProjet entete;
  std::string label;
  if (ouvert() && test_magie(fichier_) == 1 && lit_entete(entete)) {
    if (vue_courante() == kVueHfs) {
      label = lit_champ(entete.label_hfs);
      if (!hfsplus_) label = nom_windows(label);
    } else {
      label = lit_champ(entete.label_iso);
    }
  }
  return label.empty() ? charger_chaine(1287) : label;
}

bool label_sans_titre(std::string_view label) {
  if (label.empty()) return true;
  for (const int base : {kLangueAnglais, kLangueFrancais})
    if (label == chaine_de_langue(1287, base)) return true;
  return false;
}

}  // namespace varnion
