// What changes the items of the mounted volume: folders made, items deleted, renamed, forks swapped.

#include <algorithm>

#include "app/noyau/actions_edition.hpp"
#include "app/qt/modification_volume.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tnom.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/ouverture.hpp"
#include "hfs/volume.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDossierNeuf = 1115;
constexpr int kTitreDossier = 1132;
constexpr int kNomDossier = 1133;
constexpr int kEchangeVain = 1172;
constexpr int kTitreRenommer = 1497;
constexpr int kAncienNom = 1498;
constexpr int kNouveauNom = 1499;
constexpr int kNomPris = 6022;
constexpr int kSupprimer = 7709;                      // name
constexpr int kSupprimerDossier = 7710;               // name, files and folders in it
constexpr int kSupprimerPlusieurs = 7711;             // items, files and folders in all
constexpr std::uint32_t kOptionSansQuestion = 0x400;  // word `Options`: "Delete without asking confirmation"

bool meme_nom(const NomItem &a, const NomItem &b) {
  if (!volume_courant().est_hfsplus) return a.mac == b.mac;
  return std::ranges::equal(a.unicode.vue(), b.unicode.vue(),
                            [](std::uint16_t x, std::uint16_t y) { return x == y; });
}

// The name typed, once it can stand in the folder; nullopt after a message.
std::optional<NomItem> nom_libre(const QString &texte, std::uint32_t dossier, std::uint32_t sauf) {
  auto nom = nom_saisi(texte);
  if (!nom || !nom_pris(*nom, dossier, sauf)) return nom;
  operations().afficher_erreur(message(kNomPris, {de_qt(texte)}));
  return std::nullopt;
}

// An item that the panes show. A file of HFS has no thread: its folder is looked through.
std::optional<ElementMac> element_montre(const TVarnion &fenetre, std::uint32_t id) {
  std::optional<ElementMac> trouve;
  static_cast<void>(liste_dossier(fenetre.dossier_montre(), [&](const ElementMac &element) {
    if (element.id == id) trouve = element;
    return !trouve;
  }));
  return trouve ? trouve : element_par_id(id);
}

bool contient_dossier(const std::vector<ElementMac> &elements) {
  return std::any_of(elements.begin(), elements.end(), [](const ElementMac &e) { return e.dossier; });
}

std::vector<std::uint32_t> ids_de(const std::vector<ElementMac> &elements) {
  std::vector<std::uint32_t> ids;
  for (const ElementMac &element : elements) ids.push_back(element.id);
  return ids;
}

// Runs the same for each element until one gives false or the user stops.
void pour_chaque(const std::vector<ElementMac> &elements,
                 const std::function<bool(const ElementMac &)> &fait) {
  operations().progression_debut(elements.size());
  for (const ElementMac &element : elements) {
    if (arret_confirme() || !fait(element)) break;
    operations().progression_pas(1);
  }
  operations().progression_fin();
}

// The new name; nullopt when the user gives up.
std::optional<NomItem> demande_nouveau_nom(TVarnion &fenetre, const ElementMac &element) {
  const QString ancien = nom_montre(element);
  TNom forme(&fenetre, {"TRenommer", kTitreRenommer, sujet::kRenommer, kAncienNom, kNouveauNom, ancien,
                        ancien, longueur_nom_max()});
  std::optional<NomItem> nom;
  forme.verifie = [&](const QString &texte) {
    // What the panes cannot show of the old name is kept as long as nothing else is typed.
    nom = texte == ancien ? nom_de(element) : nom_libre(texte, element.parent, element.id);
    return nom.has_value();
  };
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  return nom;
}

std::string question_suppression(const std::vector<ElementMac> &elements, const ComptesElements &comptes) {
  if (elements.size() > 1)
    return message(kSupprimerPlusieurs, {elements.size(), comptes.fichiers, comptes.dossiers});
  const std::string nom = de_qt(nom_montre(elements.front()));
  const bool plein = comptes.fichiers + comptes.dossiers > 1;
  if (!plein) return message(kSupprimer, {nom});
  return message(kSupprimerDossier, {nom, comptes.fichiers, comptes.dossiers - 1});
}

// One question for all that is to go, unless the preferences want none.
bool suppression_voulue(TVarnion &fenetre, const std::vector<ElementMac> &elements) {
  if ((etat<OptionsProgramme>().options & kOptionSansQuestion) != 0) return true;
  std::optional<ComptesElements> comptes;
  fenetre.operations_fenetre().en_fond([&] { comptes = compte_elements(elements); });
  return comptes && demande_prudente(question_suppression(elements, *comptes));
}

}  // namespace

void supprime_volume(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre)) return;
  const std::vector<ElementMac> elements = fenetre.elements_choisis();
  if (elements.empty() || !suppression_voulue(fenetre, elements)) return;
  std::size_t faits = 0;
  static_cast<void>(modifie_volume_en_fond(fenetre, [&] {
    // The answer holds for all that lies below.
    reponses_volume().reponse_dossier_plein = 2;
    pour_chaque(elements, [&](const ElementMac &element) {
      if (supprime_par_nom(nom_de(element), element.parent) != 0) ++faits;
      return true;
    });
  }));
  if (faits == 0) return;
  if (!fenetre.depuis_liste()) partition_courante().dossier = elements.front().parent;
  remontre_volume(fenetre, contient_dossier(elements), {});
}

void renomme_volume(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre)) return;
  const std::vector<ElementMac> elements = fenetre.elements_choisis();
  // The root goes by the name of the volume.
  if (elements.empty() && !fenetre.depuis_liste()) return etiquette_volume(fenetre);
  bool change = false;
  for (const ElementMac &element : elements) {
    const auto nom = demande_nouveau_nom(fenetre, element);
    if (!nom) break;
    const NomItem ancien = nom_de(element);
    if (meme_nom(*nom, ancien)) continue;
    bool fait = false;
    const bool ecrit =
        modifie_volume(fenetre, [&] { fait = renomme_par_nom(ancien, *nom, element.parent) != 0; });
    change = change || fait;
    if (!ecrit || !fait) break;
  }
  if (!change) return;
  const bool liste = fenetre.depuis_liste();
  remontre_volume(fenetre, contient_dossier(elements),
                  liste ? ids_de(elements) : std::vector<std::uint32_t>());
}

bool renomme_volume_sur_place(TVarnion &fenetre, std::uint32_t id, const QString &nom) {
  // A message takes the focus from the field, which offers its name once more.
  static bool en_cours = false;
  if (en_cours) return false;
  en_cours = true;
  bool fait = false;
  const auto element = element_montre(fenetre, id);
  if (element && nom != nom_montre(*element) && volume_modifiable(fenetre)) {
    const auto nouveau = nom_libre(nom, element->parent, element->id);
    if (nouveau && !meme_nom(*nouveau, nom_de(*element))) {
      const bool ecrit = modifie_volume(
          fenetre, [&] { fait = renomme_par_nom(nom_de(*element), *nouveau, element->parent) != 0; });
      fait = fait && ecrit;
    }
  }
  en_cours = false;
  return fait;
}

void cree_dossier_volume(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre)) return;
  const std::uint32_t parent = fenetre.dossier_montre();
  if (parent == 0) return;
  TNom forme(&fenetre, {"TNouveauDossier", kTitreDossier, sujet::kNouveauDossier, 0, kNomDossier, QString(),
                        chaine_qt(kDossierNeuf), longueur_nom_max()});
  std::optional<NomItem> nom;
  forme.verifie = [&](const QString &texte) {
    nom = nom_libre(texte, parent, 0);
    return nom.has_value();
  };
  if (forme.exec() != QDialog::Accepted) return;
  std::uint32_t neuf = 0;
  static_cast<void>(modifie_volume(fenetre, [&] { neuf = cree_dossier(*nom, parent); }));
  if (neuf != 0) remontre_volume(fenetre, true, {neuf});
}

void permute_branches(TVarnion &fenetre) {
  if (!volume_modifiable(fenetre) || !fenetre.depuis_liste()) return;
  const std::vector<ElementMac> elements = fenetre.elements_choisis();
  if (elements.empty()) return;
  std::size_t faits = 0;
  static_cast<void>(modifie_volume_en_fond(fenetre, [&] {
    pour_chaque(elements, [&](const ElementMac &element) {
      if (!permute_fourches(element)) {
        operations().afficher_avis(charger_chaine(kEchangeVain));
        return false;
      }
      ++faits;
      return true;
    });
  }));
  if (faits != 0) remontre_volume(fenetre, false, ids_de(elements));
}

}  // namespace varnion
