// Items of a project: added, moved, deleted, renamed.

#include "app/qt/travaux.hpp"

#include <algorithm>
#include <unordered_map>

#include <QStatusBar>
#include <QTreeView>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_proprietes.hpp"
#include "app/qt/choix_rubriques.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tsaisie_nom.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/plateforme.hpp"
#include "projet/deplacement.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDepot = 1047;
constexpr int kNouveauDossier = 1115;
constexpr int kTitreDossier = 1132;
constexpr int kNomDossier = 1133;
constexpr int kInclusion = 1456;
constexpr int kBilanInclusion = 1457;
constexpr int kTitreRenommer = 1497;
constexpr int kAncienNom = 1498;
constexpr int kNouveauNom = 1499;
constexpr int kNomImpossible = 6546;
constexpr int kAjouts = 6550;
constexpr int kSecondesMinute = 60;
constexpr int kDureeBilan = 8000;        // milliseconds
constexpr std::uint64_t kPasSuivi = 64;  // items between two looks at the counts

// Shows the running counts now and then.
std::function<void(const BilanInclusion &)> suivi() {
  return [](const BilanInclusion &bilan) {
    if ((bilan.fichiers + bilan.dossiers) % kPasSuivi != 0) return;
    operations().afficher_etat(charger_chaine(kInclusion),
                               message(kAjouts, {bilan.dossiers, bilan.fichiers}));
  };
}

// Items of a folder with numbers given since.
std::vector<std::uint32_t> nouveaux(const FichierProjet &projet, std::uint32_t dossier,
                                    std::uint32_t dernier_dossier, std::uint32_t dernier_fichier) {
  std::vector<std::uint32_t> numeros;
  LecteurEnfants enfants(projet, dossier);
  while (const RubriqueProjet *enfant = enfants.suivant()) {
    const std::int64_t numero = enfant->numero_signe();
    if (numero > dernier_dossier || -numero > dernier_fichier) numeros.push_back(enfant->numero);
  }
  return numeros;
}

// False, after a message, for characters that a project cannot hold.
bool texte_de(const QString &nom, std::string &texte) {
  texte = de_qt(nom);
  if (!texte.empty() && vers_qt(texte) == nom) return true;
  operations().afficher_erreur(message(kNomImpossible, {texte}));
  return false;
}

std::vector<int> vues_nommees(int vue) {
  if (vue == kVueRacine) return {kVueIso, kVueHfs};
  return {vue};
}

bool renomme_par_forme(TVarnion &fenetre, const RubriqueProjet &rubrique) {
  FichierProjet &projet = *fenetre.projet();
  const int vue = projet.vue_courante();
  const QString ancien = vers_qt(nom_dans_vue(rubrique, vue, projet.hfsplus()));
  DemandeNoms demande{"TRenommer", kTitreRenommer, sujet::kRenommer, {}, false, {}};
  demande.champs.push_back({.nom = "EditNom",
                            .legende_ancien = kAncienNom,
                            .ancien = ancien,
                            .legende = kNouveauNom,
                            .propose = ancien,
                            .limite = static_cast<int>(limite_nom(projet, vue)),
                            .vide = {}});
  demande.accepte = [&](const std::vector<std::string> &noms) {
    return vers_qt(noms[0]) == ancien || nom_accepte(projet, rubrique, noms[0], vue);
  };
  const auto noms = saisit_noms(&fenetre, demande);
  if (!noms) return false;
  return vers_qt((*noms)[0]) == ancien || renomme_rubrique(projet, rubrique, (*noms)[0], vue);
}

// The folder that takes the place of a deleted one in the tree: the next beside it, else the one before, else
// the one above.
std::uint32_t voisin(const TVarnion &fenetre) {
  const QModelIndex ici = fenetre.arbre()->currentIndex();
  QModelIndex autre = ici.siblingAtRow(ici.row() + 1);
  if (!autre.isValid() && ici.row() > 0) autre = ici.siblingAtRow(ici.row() - 1);
  if (!autre.isValid()) autre = ici.parent();
  return static_cast<const ModeleArbre *>(fenetre.arbre()->model())->id(autre);
}

}  // namespace

std::vector<ElementTrouve> rubriques_choisies(const TVarnion &fenetre) {
  const FichierProjet &projet = *fenetre.projet();
  const std::vector<std::uint32_t> ids = fenetre.ids_choisis();
  std::vector<ElementTrouve> choisies;
  if (!fenetre.depuis_liste()) {
    ElementTrouve element;
    if (ids.empty()) return choisies;
    if (const auto rang = projet.cherche_numero(ids.front(), element.rubrique)) {
      element.rang = *rang;
      choisies.push_back(element);
    }
    return choisies;
  }
  std::unordered_map<std::uint32_t, std::size_t> places;
  for (const std::uint32_t id : ids) places.emplace(id, places.size());
  LecteurEnfants enfants(projet, fenetre.dossier_montre());
  while (const RubriqueProjet *enfant = enfants.suivant())
    if (places.contains(enfant->numero)) choisies.push_back({enfants.rang(), *enfant});
  std::stable_sort(choisies.begin(), choisies.end(),
                   [&places](const ElementTrouve &a, const ElementTrouve &b) {
                     return places[a.rubrique.numero] < places[b.rubrique.numero];
                   });
  return choisies;
}

void montre_changement(TVarnion &fenetre, const std::vector<std::uint32_t> &choisies) {
  FichierProjet &projet = *fenetre.projet();
  if (estimation_secteurs(projet) && !projet.vide()) echec_ecriture_projet(projet.chemin());
  fenetre.montre_document();
  if (!choisies.empty()) fenetre.selectionne_elements(choisies);
  fenetre.rafraichit_commandes();
}

void depose_projet(TVarnion &fenetre, const QStringList &chemins, std::uint32_t dossier) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr || dossier == 0) return;
  const std::uint32_t dernier_dossier = projet->dernier_dossier();
  const std::uint32_t dernier_fichier = projet->dernier_fichier();
  std::vector<std::string> sources;
  for (const QString &chemin : chemins) sources.push_back(chemin.toStdString());
  ReponsesVues reponses;
  OptionsInclusion options;
  options.reponses = &reponses;
  options.avancement = suivi();
  BilanInclusion bilan;
  const double debut = plateforme::chronometre();
  operations().afficher_etat_seul(charger_chaine(kDepot));
  fenetre.operations_fenetre().en_fond(
      [&] { bilan = inclut_sources(*projet, sources, dossier, fenetre.vue(), options); });
  operations().afficher_etat({}, {});
  projet->dossier_courant(dossier);
  montre_changement(fenetre, nouveaux(*projet, dossier, dernier_dossier, dernier_fichier));
  if (!bilan.abouti()) return;
  const auto duree = static_cast<int>(plateforme::chronometre() - debut);
  const std::string texte = message(
      kBilanInclusion, {duree / kSecondesMinute, duree % kSecondesMinute, bilan.dossiers, bilan.fichiers});
  fenetre.statusBar()->showMessage(vers_qt(texte), kDureeBilan);
  // Who waited that long is told in a box, too.
  if (duree >= kSecondesMinute) operations().afficher_avis(texte);
}

void deplace_projet(TVarnion &fenetre, const std::vector<std::uint32_t> &ids, std::uint32_t dossier) {
  FichierProjet *projet = fenetre.projet();
  const std::uint32_t pere = fenetre.dossier_montre();
  if (projet == nullptr || pere == 0 || dossier == 0 || ids.empty() || pere == dossier) return;
  std::optional<std::vector<std::uint32_t>> deplaces;
  fenetre.operations_fenetre().en_fond([&] { deplaces = deplace_rubriques(*projet, pere, ids, dossier); });
  if (!deplaces || deplaces->empty()) return;
  montre_changement(fenetre);
}

void supprime_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  const bool arbre = !fenetre.depuis_liste();
  std::vector<ElementTrouve> choisies = rubriques_choisies(fenetre);
  reponses_projet() = {};
  const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
  std::erase_if(choisies, [&](const ElementTrouve &element) {
    return element.rubrique.est_dossier() && !confirme_suppression(*projet, element.rubrique);
  });
  if (choisies.empty()) return;
  std::vector<std::uint64_t> rangs;
  for (const ElementTrouve &element : choisies) rangs.push_back(element.rang);
  const std::uint32_t suite = arbre ? voisin(fenetre) : fenetre.dossier_montre();
  fenetre.operations_fenetre().en_fond([&] {
    if (!suppression_rangs(*projet, rangs)) echec_ecriture_projet(projet->chemin());
  });
  projet->dossier_courant(suite);
  montre_changement(fenetre);
}

void renomme_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  // The root bears the label.
  const QModelIndex noeud = fenetre.arbre()->currentIndex();
  if (!fenetre.depuis_liste() && noeud.isValid() && !noeud.parent().isValid())
    return etiquette_projet(fenetre);
  std::vector<std::uint32_t> faites;
  for (const ElementTrouve &element : rubriques_choisies(fenetre)) {
    // The one before may have changed its place, and a name.
    RubriqueProjet rubrique;
    if (!projet->cherche_par_numero(element.rubrique.pere, element.rubrique.numero, rubrique)) continue;
    if (!renomme_par_forme(fenetre, rubrique)) break;
    faites.push_back(rubrique.numero);
  }
  if (!faites.empty()) montre_changement(fenetre, faites);
}

// A name that is too long is cut, as it is for the view it goes to.
bool renomme_projet_sur_place(TVarnion &fenetre, std::uint32_t id, const QString &nom) {
  FichierProjet *projet = fenetre.projet();
  std::string texte;
  RubriqueProjet rubrique;
  if (projet == nullptr || id == kRacine || !projet->cherche_numero(id, rubrique) || !texte_de(nom, texte))
    return false;
  const auto coupe = [&](int vue) { return texte.substr(0, limite_nom(*projet, vue)); };
  const std::vector<int> vues = vues_nommees(projet->vue_courante());
  for (const int vue : vues)
    if (rubrique.dans_vue(vue) && !nom_libre(*projet, rubrique, coupe(vue), vue)) return false;
  bool fait = true;
  for (const int vue : vues)
    fait = renomme_element(*projet, rubrique.numero, rubrique.pere, coupe(vue), vue) >= 0 && fait;
  if (!projet->vide()) echec_ecriture_projet(projet->chemin());
  return fait;
}

void cree_dossier_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  const std::uint32_t dossier = fenetre.dossier_montre() != 0 ? fenetre.dossier_montre() : kRacine;
  DemandeNoms demande{"TNouveauDossier", kTitreDossier, sujet::kNouveauDossier, {}, false, {}};
  demande.champs.push_back({.nom = "EditNom",
                            .ancien = {},
                            .legende = kNomDossier,
                            .propose = chaine_qt(kNouveauDossier),
                            .limite = static_cast<int>(kNomIsoMax),
                            .vide = {}});
  const auto noms = saisit_noms(&fenetre, demande);
  if (!noms) return;
  const std::string &nom = noms->front();
  const int vue = projet->vue_courante();
  // A name that the folder has is refused without a word.
  for (const int une : {int{kVueRacine}, vue})
    if (trouve_enfant(*projet, dossier, nom, une)) return;
  projet->dossier_courant(dossier);
  const std::uint32_t numero = ajout_dossier_virtuel(*projet, nom);
  if (numero != 0) montre_changement(fenetre, {numero});
}

}  // namespace varnion
