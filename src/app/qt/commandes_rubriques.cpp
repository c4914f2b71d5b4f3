// Properties of the items of a project and of the project itself, and its labels.

#include "app/qt/travaux.hpp"

#include <QTreeView>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/actions_proprietes.hpp"
#include "app/qt/choix_rubriques.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tprop_document.hpp"
#include "app/qt/tprop_rubrique.hpp"
#include "app/qt/tsaisie_nom.hpp"
#include "app/qt/tvarnion.hpp"
#include "noms/regles.hpp"
#include "noms/texte.hpp"
#include "projet/erreurs.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitreLabels = 1285;
constexpr int kSansTitre = 1287;
constexpr std::string_view kSansTitreAnglais = "Untitled";
constexpr int kLabelIso = 1288;
constexpr int kLabelHfs = 1289;
constexpr int kTitreLabelIsop = 1315;
constexpr int kNomActuel = 1316;
constexpr int kNomNouveau = 1317;
constexpr int kAncienNom = 1498;
constexpr int kNouveauNom = 1499;

// One item: what the form gave, the names last, for they change its place in the file.
void change_une(TVarnion &fenetre, const ElementTrouve &element) {
  FichierProjet &projet = *fenetre.projet();
  const auto saisie = saisit_proprietes(&fenetre, projet, element.rubrique);
  if (!saisie) return;
  fenetre.operations_fenetre().en_fond([&] {
    const RubriqueProjet &r = element.rubrique;
    bool fait = change_rubrique(projet, element.rang, r, saisie->changements);
    if (fait && saisie->nom_iso)
      fait = renomme_element(projet, r.numero, r.pere, *saisie->nom_iso, kVueIso) >= 0;
    if (fait && saisie->nom_hfs)
      static_cast<void>(renomme_element(projet, r.numero, r.pere, *saisie->nom_hfs, kVueHfs));
  });
  montre_changement(fenetre, {element.rubrique.numero});
}

void change_plusieurs(TVarnion &fenetre, const std::vector<ElementTrouve> &elements) {
  FichierProjet &projet = *fenetre.projet();
  const auto changements = saisit_proprietes_communes(&fenetre, projet.mode(), elements);
  if (!changements) return;
  fenetre.operations_fenetre().en_fond([&] {
    for (const ElementTrouve &element : elements)
      if (!change_rubrique(projet, element.rang, element.rubrique, *changements)) break;
  });
  std::vector<std::uint32_t> numeros;
  for (const ElementTrouve &element : elements) numeros.push_back(element.rubrique.numero);
  montre_changement(fenetre, numeros);
}

bool pose_options(FichierProjet &projet, const OptionsDisque &options) {
  EnteteProjet entete;
  if (!projet.lit_entete(entete)) return echec_ecriture_projet(projet.chemin());
  entete.reconstruire(options.reconstruire);
  entete.icone_volume(options.icone);
  entete.ouvrir_racine(options.ouvrir_racine);
  return projet.ecrit_entete(entete) || echec_ecriture_projet(projet.chemin());
}

// What a new project bears, in the language that was in force then.
bool sans_titre(const std::string &label) {
  return label == charger_chaine(kSansTitre) || label == kSansTitreAnglais;
}

// A label that was never given is shown blank.
ChampNom champ_label(const char *nom, const std::string &label, int limite) {
  const QString montre = sans_titre(label) ? QString() : vers_qt(label);
  return {.nom = nom, .ancien = montre, .propose = montre, .limite = limite, .vide = chaine_qt(kSansTitre)};
}

}  // namespace

void proprietes_rubriques(TVarnion &fenetre) {
  if (fenetre.projet() == nullptr) return;
  const std::vector<ElementTrouve> choisies = rubriques_choisies(fenetre);
  if (choisies.size() == 1) return change_une(fenetre, choisies.front());
  if (!choisies.empty()) return change_plusieurs(fenetre, choisies);
  // The root of the tree: the project.
  if (!fenetre.depuis_liste() && fenetre.arbre()->currentIndex().isValid()) proprietes_projet(fenetre);
}

void proprietes_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  if (projet == nullptr) return;
  const auto options = saisit_proprietes_disque(&fenetre, *projet);
  if (!options) return fenetre.rafraichit_jauge();
  if (!pose_options(*projet, *options)) return;
  if (options->hfsplus != projet->hfsplus()) {
    const QuestionsPrudentes prudentes(fenetre.operations_fenetre());
    fenetre.operations_fenetre().en_fond(
        [&] { static_cast<void>(passe_au_format(*projet, options->hfsplus)); });
  }
  montre_changement(fenetre);
}

void etiquette_projet(TVarnion &fenetre) {
  FichierProjet *projet = fenetre.projet();
  EnteteProjet entete;
  if (projet == nullptr || !projet->lit_entete(entete)) return;
  const bool isop = projet->mode() == ModeProjet::isop;
  DemandeNoms demande{isop ? "TLabelIsop" : "TLabels",
                      isop ? kTitreLabelIsop : kTitreLabels,
                      sujet::kNomsVolume,
                      {},
                      true,
                      {}};
  ChampNom iso =
      champ_label("LabelIso", lit_champ(entete.label_iso), static_cast<int>(limite_label_iso(*projet)));
  iso.groupe = isop ? 0 : kLabelIso;
  iso.legende_ancien = isop ? kNomActuel : kAncienNom;
  iso.legende = isop ? kNomNouveau : kNouveauNom;
  demande.champs.push_back(std::move(iso));
  if (!isop) {
    const std::string label = lit_champ(entete.label_hfs);
    ChampNom hfs = champ_label("LabelHfs", projet->hfsplus() ? label : nom_windows(label),
                               static_cast<int>(limite_label_hfs(*projet)));
    hfs.groupe = kLabelHfs;
    hfs.legende_ancien = kAncienNom;
    hfs.legende = kNouveauNom;
    demande.champs.push_back(std::move(hfs));
  }
  const auto labels = saisit_noms(&fenetre, demande);
  if (!labels) return;
  const auto hfs = isop ? std::nullopt : std::optional((*labels)[1]);
  if (pose_labels(*projet, (*labels)[0], hfs)) montre_changement(fenetre);
}

}  // namespace varnion
