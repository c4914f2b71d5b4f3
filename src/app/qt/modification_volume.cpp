#include "app/qt/modification_volume.hpp"

#include <unordered_set>

#include "app/noyau/actions_edition.hpp"
#include "app/noyau/affichage.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/garde.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/memoire_secteurs.hpp"
#include "IO/plateforme.hpp"
#include "IO/requete.hpp"
#include "noms/ordre.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArret = 1124;
constexpr int kImmuable = 7860;  // image, reason
constexpr int kOrpheline = 7060;
constexpr int kCopieTemporaire = 7707;
constexpr int kNomFaux = 7400;
constexpr int kNonEcrit = 7402;
constexpr std::size_t kCheminMessage = 200;
constexpr int kNomHfsPlusMax = 255;

struct Bilan {
  bool chargee = false;
  bool ecrite = false;
};

Bilan execute_change(const std::function<void()> &change) {
  Bilan bilan;
  support().echec_ecriture = 0;
  reponses_volume() = {};
  bilan.chargee = chargement_carte();
  if (bilan.chargee) {
    const MemoireSecteurs memoire;
    change();
    bilan.ecrite = ecriture_structures() && support().echec_ecriture == 0;
  }
  liberation_carte();
  return bilan;
}

bool conclut(TVarnion &fenetre, const Bilan &bilan) {
  operations().afficher_etat({}, {});
  // A change may find out that there can be none.
  if (!bilan.chargee && support().lecture_seule) {
    fenetre.rafraichit_etat();
    fenetre.rafraichit_commandes();
  }
  if (!bilan.chargee || bilan.ecrite) return bilan.chargee;
  const std::string raison = plateforme::texte_erreur(support().echec_ecriture);
  const std::string image = tronque_chemin(partition_courante().chemin, kCheminMessage);
  operations().afficher_erreur(message(kNonEcrit, {image, raison}));
  return false;
}

}  // namespace

bool volume_modifiable(TVarnion &fenetre) {
  if (!fenetre.document_ouvert()) return false;
  const bool perdue = fichier_orphelin(support().image);
  if (!perdue && !support().lecture_seule) return true;
  const std::string image = tronque_chemin(partition_courante().chemin, kCheminMessage);
  if (perdue || partition_courante().image_temporaire)
    operations().afficher_erreur(message(perdue ? kOrpheline : kCopieTemporaire, {image}));
  else
    operations().afficher_erreur(message(kImmuable, {image, texte_interdit()}));
  return false;
}

bool modifie_volume(TVarnion &fenetre, const std::function<void()> &change) {
  if (!volume_modifiable(fenetre)) return false;
  Bilan bilan;
  {
    const Attente attente;
    bilan = execute_change(change);
  }
  return conclut(fenetre, bilan);
}

bool modifie_volume_en_fond(TVarnion &fenetre, const std::function<void()> &change) {
  if (!volume_modifiable(fenetre)) return false;
  Bilan bilan;
  fenetre.operations_fenetre().en_fond([&] { bilan = execute_change(change); });
  return conclut(fenetre, bilan);
}

bool arret_confirme() {
  return operations().arret_demande() && operations().demander_oui_non(charger_chaine(kArret)) != 0;
}

// What is too long is cut, as far as the limit counts characters; ":" parts the levels of a Macintosh path.
std::optional<NomItem> nom_saisi(const QString &texte) {
  const QString nom = texte.normalized(QString::NormalizationForm_C).left(longueur_nom_max());
  if (!nom.contains(':')) return nom_tape(partie_de_nom(nom.toStdString()));
  operations().afficher_erreur(message(kNomFaux, {de_qt(nom)}));
  return std::nullopt;
}

bool nom_pris(const NomItem &nom, std::uint32_t dossier, std::uint32_t sauf) {
  const auto autre =
      volume_courant().est_hfsplus ? element_hfsplus(dossier, nom.unicode) : element_hfs(dossier, nom.mac);
  return autre && autre->id != sauf;
}

int longueur_nom_max() {
  return volume_courant().est_hfsplus ? kNomHfsPlusMax : static_cast<int>(kNomHfsMax);
}

QString nom_montre(const ElementMac &element) {
  return QString::fromStdString(montrable(element.nom_utf8()));
}

std::optional<ComptesElements> compte_elements(const std::vector<ElementMac> &elements) {
  ComptesElements comptes;
  std::vector<std::uint32_t> a_voir;
  std::unordered_set<std::uint32_t> vus;  // a damaged tree may lead into itself
  const auto compte = [&](const ElementMac &element) {
    ++(element.dossier ? comptes.dossiers : comptes.fichiers);
    if (element.dossier && vus.insert(element.id).second) a_voir.push_back(element.id);
    return !operations().arret_demande();
  };
  for (const ElementMac &element : elements) compte(element);
  while (!a_voir.empty() && !operations().arret_demande()) {
    const std::uint32_t dossier = a_voir.back();
    a_voir.pop_back();
    static_cast<void>(liste_dossier(dossier, compte));
  }
  if (operations().arret_demande()) return std::nullopt;
  return comptes;
}

std::vector<std::uint32_t> ids_montres(const TVarnion &fenetre) {
  std::vector<std::uint32_t> ids;
  const ModeleListe &modele = fenetre.modele_liste();
  for (int rang = 0; rang < modele.rowCount(); ++rang) ids.push_back(modele.ligne(rang).id);
  return ids;
}

void remontre_volume(TVarnion &fenetre, bool arbre, const std::vector<std::uint32_t> &choisis) {
  if (!fenetre.document_ouvert()) return;
  arbre ? fenetre.montre_document() : fenetre.affiche_dossier(fenetre.dossier_montre());
  if (!choisis.empty()) fenetre.selectionne_elements(choisis);
}

}  // namespace varnion
