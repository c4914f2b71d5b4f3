// What is shown and changed of a volume and its items.

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QApplication>
#include <QTreeView>

#include "app/noyau/actions_edition.hpp"
#include "app/qt/modification_volume.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tproprietes.hpp"
#include "app/qt/tpropvolume.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tsignature.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/operations.hpp"
#include "IO/requete.hpp"
#include "projet/signatures.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kPasChange = 7418;  // path
constexpr int kSansGenerique = 1193;
constexpr std::uint16_t kIconePropre = 0x0400;

bool pas_change(const std::string &nom) {
  operations().afficher_erreur(message(kPasChange, {nom}));
  return false;
}

// A change of the mounted volume, then the flush: true when both were done.
bool change_volume(TVarnion &fenetre, const std::function<bool()> &change) {
  bool fait = false;
  return modifie_volume(fenetre, [&] { fait = change(); }) && fait;
}

// --- items

bool ecrit_proprietes(TVarnion &fenetre, const ElementMac &element, const DemandeProprietes &demande) {
  return change_volume(fenetre, [&] {
    NomItem nom = nom_de(element);
    if (demande.nom) {
      const auto nouveau = nom_tape(demande.nom->toStdString());
      if (!nouveau || renomme_par_nom(nom, *nouveau, element.parent) == 0) return false;
      nom = *nouveau;
    }
    DemandeProprietes reste = demande;
    reste.nom.reset();
    return reste.vide() || change_attributs(nom, element.parent, demande.attributs) != 0 ||
           pas_change(element.nom_texte());
  });
}

// The items that the command is about; the root folder is one of them here.
std::vector<ElementMac> elements_montres(const TVarnion &fenetre) {
  std::vector<ElementMac> elements = fenetre.elements_choisis();
  const QModelIndex noeud = fenetre.arbre()->currentIndex();
  if (elements.empty() && !fenetre.depuis_liste() && noeud.isValid() && !noeud.parent().isValid())
    if (auto racine = element_racine()) elements.push_back(std::move(*racine));
  return elements;
}

// --- the volume

bool ecrit_volume_demande(TVarnion &fenetre, const DemandeVolume &demande) {
  return change_volume(fenetre, [&] {
    const auto limite = static_cast<std::size_t>(longueur_label_max());
    if (demande.label) {
      const auto nom = nom_tape(demande.label->toStdString(), limite);
      if (!nom || (nom_volume_change(*nom) == 0 && !pas_change(de_qt(*demande.label)))) return false;
    }
    if (!demande.icone) return true;
    const auto racine = element_racine();
    if (!racine) return pas_change(partition_courante().nom_volume);
    AttributsItem attributs;
    const unsigned sans = racine->drapeaux_finder & ~unsigned{kIconePropre};
    attributs.drapeaux = static_cast<std::uint16_t>(*demande.icone ? sans | kIconePropre : sans);
    return change_attributs(nom_de(*racine), racine->parent, attributs) != 0 ||
           pas_change(racine->nom_texte());
  });
}

void relit_volume(TVarnion &fenetre) {
  partition_courante().nom_volume = nom_volume();
  fenetre.montre_document();
}

}  // namespace

void proprietes_elements(TVarnion &fenetre) {
  const std::vector<ElementMac> elements = elements_montres(fenetre);
  const bool liste = fenetre.depuis_liste();
  const std::vector<std::uint32_t> choisis = fenetre.ids_choisis();
  OptionsProprietes options;
  options.lecture_seule = support().lecture_seule;
  options.total = static_cast<int>(elements.size());
  bool ecrit = false;
  for (const ElementMac &element : elements) {
    bool dossier_renomme = false;
    options.ecrit = [&](const DemandeProprietes &demande) {
      dossier_renomme = element.dossier && demande.nom;
      return ecrit_proprietes(fenetre, element, demande);
    };
    const SuiteProprietes suite = montre_proprietes_mac(&fenetre, element, options);
    if (suite == SuiteProprietes::tout_ferme) break;
    ++options.rang;
    if (suite != SuiteProprietes::ecrit) continue;
    ecrit = true;
    dossier_renomme ? fenetre.montre_document() : fenetre.affiche_dossier(fenetre.dossier_montre());
  }
  if (ecrit && liste) fenetre.selectionne_elements(choisis);
  fenetre.rafraichit_commandes();
}

bool proprietes_du_fichier(TVarnion &fenetre, QWidget *parent, ElementMac &element) {
  OptionsProprietes options;
  options.lecture_seule = support().lecture_seule;
  options.ecrit = [&](const DemandeProprietes &demande) {
    return ecrit_proprietes(fenetre, element, demande);
  };
  if (montre_proprietes_mac(parent, element, options) != SuiteProprietes::ecrit) return false;
  const bool liste = fenetre.depuis_liste();
  const std::vector<std::uint32_t> choisis = fenetre.ids_choisis();
  fenetre.affiche_dossier(fenetre.dossier_montre());
  if (liste) fenetre.selectionne_elements(choisis);
  std::optional<ElementMac> relu;
  static_cast<void>(liste_dossier(element.parent, [&](const ElementMac &autre) {
    if (autre.id == element.id) relu = autre;
    return !relu;
  }));
  if (relu) element = std::move(*relu);
  return true;
}

void proprietes_volume(TVarnion &fenetre) {
  const auto ecrit = [&](const DemandeVolume &demande) { return ecrit_volume_demande(fenetre, demande); };
  if (montre_proprietes_volume(&fenetre, support().lecture_seule, ecrit) > 1) relit_volume(fenetre);
}

void etiquette_volume(TVarnion &fenetre) {
  if (support().lecture_seule) return;
  const auto ecrit = [&](const DemandeVolume &demande) { return ecrit_volume_demande(fenetre, demande); };
  if (demande_label_volume(&fenetre, ecrit) == 1) relit_volume(fenetre);
}

void edite_signatures_generiques(TVarnion &fenetre) {
  if (volume_courant().est_hfsplus || cherche_signature(kSignatureGenerique, 1).empty()) {
    operations().afficher_erreur(charger_chaine(kSansGenerique));
    return;
  }
  static_cast<void>(change_volume(fenetre, [&fenetre] {
    static_cast<void>(edite_signatures(
        [&](std::string_view nom, const Signature &signature) -> std::optional<ReponseSignature> {
          ReponseSignature reponse{signature, false};
          QApplication::setOverrideCursor(Qt::ArrowCursor);
          const int choix = edite_signature(&fenetre, vers_qt(nom), reponse.signature);
          QApplication::restoreOverrideCursor();
          if (choix == kIgnorerTout) return std::nullopt;
          reponse.pour_toutes = choix == kChangerTout;
          return reponse;
        }));
    return true;
  }));
  fenetre.montre_document();
}

}  // namespace varnion
