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
constexpr std::size_t kCheminMessage = 80;

struct EtatCopie {
  std::uint32_t mode = kCopieData;
};

ResultatEcriture ecrit_forme(std::uint32_t mode, const CibleFichier &cible, const ElementFichier &element) {
  switch (mode & kMasqueModeCopie) {
    case kCopieRessource:
      return ecrit_fourche(cible.fichier(), element.rsrc);
    case kCopieMacBinaire:
      return ecrit_macbinaire(cible.fichier(), element);
    case kCopieAppleSingle:
      return ecrit_applesingle(cible.fichier(), element);
    default:
      return ecrit_fourche(cible.fichier(), element.data);
  }
}

}  // namespace

std::uint32_t &mode_copie() {
  return etat<EtatCopie>().mode;
}

void SortieConteneur::ecrit(std::span<const std::uint8_t> octets) {
  if (resultat_ != ResultatEcriture::fait || octets.empty()) return;
  if (!cible_.ecrire_a(octets, position_)) resultat_ = ResultatEcriture::ecriture;
  position_ += octets.size();
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

CibleFichier::CibleFichier(std::string chemin, Ouverture mode)
    : chemin_(std::move(chemin)), fichier_(plateforme::ouvre(chemin_, mode)) {}

CibleFichier::~CibleFichier() {
  if (gardee_ || !fichier_.ouvert()) return;
  const int erreur = errno;
  fichier_.fermer();
  if (!plateforme::supprime(chemin_)) operations().journal(GenreJournal::erreur, chemin_);
  errno = erreur;
}

bool CibleFichier::garde() {
  gardee_ = true;
  if (fichier_.fermer()) return true;
  const int erreur = errno;
  if (!plateforme::supprime(chemin_)) operations().journal(GenreJournal::erreur, chemin_);
  errno = erreur;
  return false;
}

void dit_echec_ecriture(ResultatEcriture resultat, std::string_view chemin, int erreur) {
  const std::string court = tronque_chemin(chemin, kCheminMessage);
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

bool ecrit_sous_forme(std::uint32_t mode, const std::string &chemin, const ElementFichier &element) {
  const bool double_fichier = (mode & kMasqueModeCopie) == kCopieAppleDouble;
  const auto echoue = [](ResultatEcriture resultat, const std::string &fichier) {
    dit_echec_ecriture(resultat, fichier, errno);
    return false;
  };
  CibleFichier cible(chemin);
  if (!cible.ouverte()) return echoue(ResultatEcriture::ecriture, chemin);
  std::optional<CibleFichier> compagnon;
  if (double_fichier) {
    compagnon.emplace(nom_compagnon(chemin));
    if (!compagnon->ouverte()) return echoue(ResultatEcriture::ecriture, compagnon->chemin());
    const ResultatEcriture resultat = ecrit_appledouble(compagnon->fichier(), element);
    if (resultat != ResultatEcriture::fait) return echoue(resultat, compagnon->chemin());
  }
  const ResultatEcriture resultat = ecrit_forme(mode, cible, element);
  if (resultat != ResultatEcriture::fait) return echoue(resultat, chemin);
  if (compagnon && !compagnon->garde()) return echoue(ResultatEcriture::ecriture, compagnon->chemin());
  if (cible.garde()) return true;
  const int erreur = errno;
  if (compagnon && !plateforme::supprime(compagnon->chemin()))
    operations().journal(GenreJournal::erreur, compagnon->chemin());
  errno = erreur;
  return echoue(ResultatEcriture::ecriture, chemin);
}

}  // namespace varnion
