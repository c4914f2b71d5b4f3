#include "projet/instantane.hpp"

#include <cerrno>

#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kMessageTemporaire = 6203;
constexpr int kMessageProjet = 6204;
constexpr int kMessageAbime = 6206;
constexpr std::size_t kCheminMessage = 200;
constexpr std::size_t kBloc = 1 << 20;

bool copie_octets(const Fichier &source, const Fichier &cible, std::uint64_t taille) {
  std::vector<std::uint8_t> bloc(kBloc);
  for (std::uint64_t position = 0; position < taille;) {
    const auto voulu = static_cast<std::size_t>(std::min<std::uint64_t>(kBloc, taille - position));
    const std::span tranche = std::span(bloc).first(voulu);
    if (source.lire_a(tranche, position) != static_cast<std::int64_t>(voulu)) return false;
    if (!cible.ecrire_a(tranche, position)) return false;
    position += voulu;
  }
  return true;
}

bool dit(int id, const FichierProjet &projet) {
  const std::string raison = plateforme::texte_erreur(errno != 0 ? errno : EIO);
  operations().afficher_erreur(message(id, {tronque_chemin(projet.chemin(), kCheminMessage), raison}));
  return false;
}

}  // namespace

bool echec_projet_inchange(const FichierProjet &projet) {
  return dit(kMessageProjet, projet);
}

bool InstantaneProjet::prend() {
  errno = 0;
  taille_ = projet_.taille_octets();
  estimation_ = projet_.estimation();
  copie_ = plateforme::fichier_anonyme();
  pris_ = copie_.ouvert() && copie_octets(projet_.fichier(), copie_, taille_);
  if (!pris_)
    operations().afficher_erreur(
        message(kMessageTemporaire, {plateforme::texte_erreur(errno != 0 ? errno : EIO)}));
  return pris_;
}

void InstantaneProjet::restaure() {
  if (!pris_) return;
  pris_ = false;
  projet_.estimation(estimation_);
  const int erreur = errno;
  const bool rendu =
      copie_octets(copie_, projet_.fichier(), taille_) && fichier_tronquer(projet_.fichier(), taille_);
  if (!rendu) dit(kMessageAbime, projet_);
  errno = erreur;
}

}  // namespace varnion
