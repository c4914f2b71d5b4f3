#include "fichiers/ecriture.hpp"

#include <cerrno>
#include <utility>

#include "fichiers/applesimple.hpp"
#include "fichiers/macbinaire.hpp"
#include "fichiers/mode_copie.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kErreurEcriture = 6120;
constexpr int kErreurLecture = 6121;
constexpr int kTropGrand = 6122;
constexpr int kResteInacheve = 6123;
constexpr std::size_t kCheminMessage = 80;

struct EtatCopie {
  std::uint32_t mode = kCopieData;
};

}  // namespace

std::uint32_t &mode_copie() {
  return etat<EtatCopie>().mode;
}

void SortieConteneur::ecrit(std::span<const std::uint8_t> octets) {
  if (resultat_ != ResultatEcriture::fait || octets.empty()) return;
  if (!cible_.ecrire_a(octets, position_)) resultat_ = ResultatEcriture::ecriture;
  position_ += octets.size();
}

void SortieConteneur::corrige(std::span<const std::uint8_t> octets, std::uint64_t position) {
  if (resultat_ != ResultatEcriture::fait) return;
  if (!cible_.ecrire_a(octets, position)) resultat_ = ResultatEcriture::ecriture;
}

void SortieConteneur::verse(const FluxFourche &fourche) {
  if (resultat_ != ResultatEcriture::fait || fourche.longueur == 0) return;
  const std::uint64_t fin = position_ + fourche.longueur;
  const bool rendue = fourche.coule && fourche.coule([&](std::span<const std::uint8_t> octets) {
    if (octets.size() > fin - position_) return false;
    ecrit(octets);
    return resultat_ == ResultatEcriture::fait;
  });
  if (resultat_ == ResultatEcriture::fait && (!rendue || position_ != fin))
    resultat_ = ResultatEcriture::lecture;
}

CibleFichier::CibleFichier(const DossierSortie &dossier, std::string nom, bool remplace)
    : dossier_(dossier), nom_(std::move(nom)), fichier_(dossier.cree(nom_)) {
  // What is there already stays until the new file is whole.
  if (remplace && !fichier_.ouvert() && errno == EEXIST && dossier_.remplacable(nom_))
    voisin_ = FichierVoisin::commence(dossier_, nom_);
  remplace_ = voisin_.ouvert();
  faite_ = ouverte();
}

CibleFichier::~CibleFichier() {
  if (!gardee_) jette();
}

bool CibleFichier::garde() {
  gardee_ = voisin_ ? voisin_.pose(Ecrasement::toujours, false) : fichier_.fermer();
  if (!gardee_) jette();
  static_cast<void>(voisin_.prend());  // lets it go
  return gardee_;
}

void CibleFichier::jette() {
  if (!faite_) return;
  const int erreur = errno;
  faite_ = false;
  fichier_.fermer();
  const bool provisoire = voisin_.ouvert() && !gardee_;
  voisin_.jette();
  if (!provisoire && !dossier_.supprime(nom_))
    operations().journal(GenreJournal::erreur,
                         message(kResteInacheve, {plateforme::utf8_vers_texte(chemin())}));
  errno = erreur;
}

void dit_echec_ecriture(ResultatEcriture resultat, std::string_view chemin_utf8, int erreur) {
  const std::string court = tronque_chemin(plateforme::utf8_vers_texte(chemin_utf8), kCheminMessage);
  if (resultat == ResultatEcriture::lecture)
    operations().afficher_erreur(message(kErreurLecture, {court}));
  else if (resultat == ResultatEcriture::ecriture)
    operations().afficher_erreur(message(kErreurEcriture, {court, plateforme::texte_erreur(erreur)}));
  else if (resultat == ResultatEcriture::trop_grand)
    operations().afficher_erreur(message(kTropGrand, {court}));
}

ResultatEcriture ecrit_fourche(const Fichier &cible, const FluxFourche &fourche) {
  SortieConteneur sortie(cible);
  sortie.verse(fourche);
  return sortie.resultat();
}

ResultatEcriture ecrit_forme(std::uint32_t mode, const Fichier &cible, const ElementFichier &element) {
  switch (mode & kMasqueModeCopie) {
    case kCopieRessource:
      return ecrit_fourche(cible, element.rsrc);
    case kCopieMacBinaire:
      return ecrit_macbinaire(cible, element);
    case kCopieAppleSingle:
      return ecrit_applesingle(cible, element);
    default:
      return ecrit_fourche(cible, element.data);
  }
}

}  // namespace varnion
