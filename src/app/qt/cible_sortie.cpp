#include "app/qt/cible_sortie.hpp"

#include <cerrno>

#include <QFileInfo>

#include "app/noyau/actions_projet.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "hfs/ouverture.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kEcraser = 1061;
constexpr int kCibleFermee = 6872;
constexpr int kOuverteIci = 7029;
constexpr std::size_t kCheminMessage = 50;

}  // namespace

std::optional<CibleSortie> cible_choisie(const QString &chemin) {
  if (chemin.isEmpty()) return std::nullopt;
  const QFileInfo fichier(chemin);
  const auto entier = chemin_argument(chemin.toStdString());
  if (!entier) return std::nullopt;
  const std::string montre = tronque_chemin(de_qt(chemin), kCheminMessage);
  if (support().image.ouvert() && plateforme::meme_fichier(*entier, partition_courante().chemin)) {
    operations().afficher_erreur(message(kOuverteIci, {montre}));
    return std::nullopt;
  }
  if (fichier.exists() && !demande_prudente(message(kEcraser, {montre}))) return std::nullopt;
  const auto dossier = chemin_argument(fichier.absolutePath().toStdString());
  if (!dossier) return std::nullopt;
  auto ouvert = DossierSortie::ouvre(*dossier);
  if (!ouvert) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(message(kCibleFermee, {tronque_chemin(*dossier, kCheminMessage), raison}));
    return std::nullopt;
  }
  return CibleSortie{std::move(*ouvert), fichier.fileName().toStdString()};
}

}  // namespace varnion
