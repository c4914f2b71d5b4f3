// What is shown and changed of a volume and its items; the copy to the PC.

#include "app/qt/travaux.hpp"

#include <cerrno>
#include <optional>
#include <string>

#include <QStatusBar>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "IO/dossier_sortie.hpp"
#include "IO/etat.hpp"
#include "IO/operations.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCibleFermee = 6872;
constexpr int kTitreCible = 7013;
constexpr int kCopies = 7019;
constexpr int kDureeBilan = 8000;  // milliseconds
constexpr std::size_t kCheminMessage = 50;

std::optional<std::string> extension(std::string_view signature) {
  const EntreeSignature *ligne = extension_de_signature(signature);
  return ligne != nullptr ? std::optional(std::string(ligne->texte_extension())) : std::nullopt;
}

}  // namespace

void proprietes_volume(TVarnion & /*fenetre*/) {}

void proprietes_elements(TVarnion & /*fenetre*/) {}

void copie_vers_le_pc(TVarnion &fenetre) {
  const std::vector<ElementMac> elements = fenetre.elements_choisis();
  if (elements.empty()) return;
  const QString choisi = fenetre.demandes.dossier(kTitreCible, vers_qt(reglages().reper));
  if (choisi.isEmpty()) return;
  const auto chemin = chemin_argument(choisi.toStdString());
  if (!chemin) return;
  const auto cible = DossierSortie::ouvre(*chemin);
  if (!cible) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(message(kCibleFermee, {tronque_chemin(*chemin, kCheminMessage), raison}));
    return;
  }
  reglages().reper = *chemin + (chemin->ends_with('/') ? "" : "/");
  static_cast<void>(enregistre_reglage("Reper"));

  OptionsCopiePc options;
  options.nommage = mode_nommage(etat<OptionsProgramme>().options);
  options.extension = extension;
  options.suivi = [](const BilanCopiePc &) { static_cast<void>(operations().arret_demande()); };
  CopieVersPc copie(std::move(options));
  fenetre.operations_fenetre().en_fond([&] {
    for (const ElementMac &element : elements)
      if (!copie.copie_vers_pc(element, *cible) && copie.bilan().arret) break;
  });
  operations().afficher_etat({}, {});
  const BilanCopiePc &bilan = copie.bilan();
  fenetre.statusBar()->showMessage(
      vers_qt(message(kCopies, {bilan.copies, bilan.dossiers, bilan.sautes, bilan.echecs})), kDureeBilan);
  fenetre.rafraichit_commandes();
}

}  // namespace varnion
