// What each command does, and when it is shown, enabled and checked.

#include <algorithm>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QToolBar>
#include <QTreeView>
#include <QUrl>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/journal.hpp"
#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/icones.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/travaux.hpp"
#include "app/qt/tvarnion.hpp"
#include "fichiers/mode_copie.hpp"
#include "hfs/catalogue.hpp"
#include "hfs/garde.hpp"
#include "hfs/ouverture.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kFermer = 1000;
constexpr int kAPropos = 2101;
constexpr int kSansGestionnaire = 7014;
constexpr int kVersion = 7016;
constexpr int kDevise = 7017;
constexpr int kSeulementLu = 7712;  // name of a document
constexpr int kCopieSeulementLue = 7713;
constexpr int kPourquoiLue = 7739;  // reason

// The question before a copy mode; 0 for none.
int question_copie(int mode) {
  switch (mode) {
    case kCopieRessource:
      return 1141;
    case kCopieMacBinaire:
      return 1140;
    case kCopieAppleDouble:
      return 1142;
    case kCopieAppleSingle:
      return 1143;
    default:
      return 0;
  }
}

int mode_copie_choisi() {
  return static_cast<int>(mode_copie() & kMasqueModeCopie);
}

const char *icone_vue(int vue) {
  if (vue == kVueIso) return "vue_iso";
  return vue == kVueHfs ? "vue_hfs" : "vue_hybride";
}

// What may be done while a compile runs: stopping it, looking around, and printing the rows that are shown.
bool pendant_compilation(Operation operation) {
  switch (operation) {
    case Operation::compiler:
    case Operation::dossier_pere:
    case Operation::imprimer:
    case Operation::aide:
    case Operation::aide_recherche:
    case Operation::aide_index:
    case Operation::aide_support:
    case Operation::a_propos:
      return true;
    default:
      return false;
  }
}

}  // namespace

void TVarnion::execute(const Commande &commande) {
  if (operations_.occupe() || !permise(commande.condition, etat_commandes())) return;
  if (compilation_ && !pendant_compilation(commande.operation)) return;
  switch (commande.operation) {
    case Operation::nouveau:
      return nouveau();
    case Operation::ouvrir:
      return ouvrir();
    case Operation::enregistrer:
      return enregistrer();
    case Operation::enregistrer_sous:
      static_cast<void>(enregistrer_sous());
      return;
    case Operation::fermer:
      static_cast<void>(ferme_document());
      return;
    case Operation::recent:
      return ouvre_recent(commande.valeur);
    case Operation::quitter:
      close();
      return;
    case Operation::copier_vers_pc:
      return copie_vers_le_pc(*this);
    case Operation::tout_selectionner:
      return liste_->selectAll();
    case Operation::inverser:
      return inverse_selection();
    case Operation::explorateur:
      return ouvre_gestionnaire();
    case Operation::choisir_mode:
      if (commande.valeur != mode_ && ferme_document()) changer_mode(commande.valeur);
      return rafraichit_coches();
    case Operation::mode_suivant:
      if (ferme_document()) changer_mode((mode_ + 1) % 3);
      return;
    case Operation::choisir_vue:
      if (commande.valeur != vue_) change_vue(commande.valeur);
      return rafraichit_coches();
    case Operation::vue_suivante:
      return change_vue((vue_ + 1) % 3);
    case Operation::barre_outils:
      return bascule_barre();
    case Operation::choisir_copie:
      return choisit_copie(commande.valeur);
    case Operation::choisir_langue:
      return choisit_langue(commande.valeur);
    case Operation::a_propos:
      return montre_a_propos();
    case Operation::dossier_pere:
      return dossier_pere();
    case Operation::actualiser:
      return actualise();
    case Operation::aucune:
    case Operation::sous_menu:
      return;
    default:
      return execute_sur_document(commande);
  }
}

// Commands whose work is another one for a volume than for a project.
void TVarnion::execute_sur_document(const Commande &commande) {
  const bool volume = mode_ == kModePartition;
  switch (commande.operation) {
    case Operation::coller:
      return colle();
    case Operation::supprimer:
      return volume ? supprime_volume(*this) : supprime_projet(*this);
    case Operation::renommer:
      return volume ? renomme_volume(*this) : renomme_projet(*this);
    case Operation::creer_dossier:
      return volume ? cree_dossier_volume(*this) : cree_dossier_projet(*this);
    case Operation::proprietes:
      return montre_proprietes();
    case Operation::proprietes_document:
      return volume ? proprietes_volume(*this) : proprietes_projet(*this);
    case Operation::etiquette:
      return etiquette_projet(*this);
    case Operation::compiler:
      return compile_projet(*this);
    case Operation::nouvelle_image:
      return cree_image(*this);
    case Operation::enregistrer_volume:
      return enregistre_volume(*this);
    case Operation::enregistrer_volume_sous:
      return enregistre_volume_sous(*this);
    case Operation::hybrider:
      return hybride(*this);
    case Operation::deshybrider:
      return deshybride(*this);
    case Operation::copier_vers_mac:
      return copie_vers_le_mac(*this);
    case Operation::permuter:
      return permute_branches(*this);
    case Operation::signatures_generiques:
      return edite_signatures_generiques(*this);
    case Operation::afficher_contenu:
      return affiche_contenu(*this);
    case Operation::afficher_image:
      return affiche_image(*this);
    case Operation::imprimer:
      return imprime_liste(*this);
    default:
      return execute_outil(commande);
  }
}

void TVarnion::execute_outil(const Commande &commande) {
  switch (commande.operation) {
    case Operation::rechercher:
      return recherche(*this);
    case Operation::remplacer_signatures:
      return remplace_signatures(*this);
    case Operation::comparer:
      return compare_projet(*this);
    case Operation::reconstruire:
      return reconstruit_projet(*this);
    case Operation::masquer_extensions:
      return masque_extensions(*this);
    case Operation::changer_chemin:
      return change_chemin(*this);
    case Operation::editer_signatures:
      return edite_signatures(*this);
    case Operation::composer_icones:
      return compose_icones(*this);
    case Operation::enregistrer_types:
      return enregistre_types(*this);
    case Operation::creer_ds_store:
      return cree_ds_store(*this);
    case Operation::journal:
      return gere_journal(*this);
    case Operation::table_signatures:
      return table_signatures(*this);
    case Operation::colonnes:
      return regle_colonnes(*this);
    case Operation::preferences:
      return regle_preferences(*this);
    case Operation::aide:
      return montre_aide(commande.valeur);
    case Operation::aide_recherche:
      return montre_aide_recherche();
    case Operation::aide_index:
      return montre_aide_index();
    case Operation::aide_support:
      return montre_aide_support();
    default:
      return;
  }
}

// --- enablement

EtatCommandes TVarnion::etat_commandes() const {
  EtatCommandes etat;
  etat.document = document_ouvert();
  etat.nomme = projet_ && !brouillon_;
  etat.lecture_seule = mode_ == kModePartition && support().lecture_seule;
  etat.copie = mode_ == kModePartition && partition_courante().image_temporaire;
  etat.hybridation = hybridation_;
  const QModelIndex noeud = arbre_->currentIndex();
  etat.selection_arbre = noeud.isValid();
  etat.noeud_racine = noeud.isValid() && !noeud.parent().isValid();
  etat.selection_liste = liste_->selectionModel()->hasSelection();
  etat.dossier_racine = dossier_ == 0 || dossier_ == racine();
  const QMimeData *presse_papiers = QApplication::clipboard()->mimeData();
  etat.presse_papiers = presse_papiers != nullptr && presse_papiers->hasUrls();
  etat.recents = !reglages().recents[static_cast<std::size_t>(mode_)].empty();
  return etat;
}

void TVarnion::rafraichit_commandes() {
  const EtatCommandes etat = etat_commandes();
  const auto &recents = reglages().recents[static_cast<std::size_t>(mode_)];
  for (const Commande &commande : commandes()) {
    QAction *action = actions_.value(commande.nom);
    if (action == nullptr) continue;
    bool montree = commande.montree(mode_);
    if (commande.operation == Operation::recent)
      montree = montree && static_cast<std::size_t>(commande.valeur) < recents.size();
    action->setVisible(montree);
    const bool libre = !compilation_ || pendant_compilation(commande.operation);
    const bool garde = commande.condition == Condition::creation_menu && mode_ == kModePartition;
    if (garde && !etat.document && libre) continue;
    action->setEnabled(montree && libre && permise(commande.condition, etat));
  }
  if (QString raison = raison_lecture_seule(); raison != raison_dite_) {
    raison_dite_ = std::move(raison);
    for (const Commande &commande : commandes())
      if (QAction *action = actions_.value(commande.nom); action != nullptr && commande.indice != 0)
        pose_indice(commande, *action);
  }
  for (const char *menu : {"Fichiers", "Special1", "Options1"})
    menus_[menu]->menuAction()->setEnabled(!compilation_);
  // Names are edited in place where they may change.
  const bool edition = permise(Condition::document_ecriture, etat) && !compilation_;
  for (QTreeView *panneau : {arbre_, liste_})
    panneau->setEditTriggers(edition ? QAbstractItemView::EditKeyPressed | QAbstractItemView::SelectedClicked
                                     : QAbstractItemView::EditTriggers(QAbstractItemView::NoEditTriggers));
}

void TVarnion::rafraichit_coches() {
  const QColor trait = palette().color(QPalette::ButtonText);
  for (const Commande &commande : commandes()) {
    QAction *action = actions_.value(commande.nom);
    if (action == nullptr) continue;
    std::optional<bool> cochee;
    if (commande.operation == Operation::choisir_mode) cochee = commande.valeur == mode_;
    if (commande.operation == Operation::choisir_vue) cochee = commande.valeur == vue_;
    if (commande.operation == Operation::choisir_langue) cochee = commande.valeur == base_langue();
    if (commande.operation == Operation::choisir_copie) cochee = commande.valeur == mode_copie_choisi();
    if (commande.operation == Operation::journal) cochee = journal_ouvert();
    if (commande.operation == Operation::barre_outils)
      cochee = !barre_visible_[static_cast<std::size_t>(mode_)];
    if (commande.operation == Operation::vue_suivante) action->setIcon(icone(icone_vue(vue_), trait));
    if (!cochee) continue;
    action->setCheckable(true);
    action->setChecked(*cochee);
  }
}

QString TVarnion::raison_lecture_seule() const {
  if (mode_ != kModePartition || !document_ouvert() || !support().lecture_seule) return {};
  if (partition_courante().image_temporaire) return chaine_qt(kCopieSeulementLue);
  return vers_qt(message(kPourquoiLue, {texte_interdit()}));
}

void TVarnion::rafraichit_titre() {
  const std::string chemin = chemin_document();
  const std::size_t barre = chemin.find_last_of("/\\");
  const QString nom = vers_qt(barre == std::string::npos ? chemin : chemin.substr(barre + 1));
  if (nom.isEmpty()) return setWindowTitle("Varnion");
  const bool copie = mode_ == kModePartition && partition_courante().image_temporaire;
  setWindowTitle((copie ? vers_qt(message(kSeulementLu, {de_qt(nom)})) : nom) + " [Varnion]");
}

void TVarnion::rafraichit_recents() {
  const auto &recents = reglages().recents[static_cast<std::size_t>(mode_)];
  for (const Commande &commande : commandes()) {
    if (commande.operation != Operation::recent || !commande.montree(mode_)) continue;
    const auto rang = static_cast<std::size_t>(commande.valeur);
    if (rang >= recents.size()) continue;
    QString chemin = vers_qt(recents[rang]);
    actions_[commande.nom]->setText(QString("&%1. %2").arg(rang + 1).arg(chemin.replace('&', "&&")));
  }
  rafraichit_commandes();
}

// --- work

void TVarnion::choisit_langue(int base) {
  if (base != base_langue()) {
    fixer_base_langue(base);
    retraduit();
    aide_langue();
  }
  rafraichit_coches();
}

void TVarnion::choisit_copie(int valeur) {
  const int question = question_copie(valeur);
  const bool deja = valeur == mode_copie_choisi();
  if (deja || question == 0 || operations().demander_oui_non(charger_chaine(question)) != 0)
    mode_copie() = (mode_copie() & ~kMasqueModeCopie) | static_cast<std::uint32_t>(valeur);
  rafraichit_coches();
}

void TVarnion::bascule_barre() {
  bool &visible = barre_visible_[static_cast<std::size_t>(mode_)];
  visible = !visible;
  montre_barres();
  rafraichit_coches();
}

void TVarnion::montre_outils(bool visibles) {
  barre_visible_.fill(visibles);
  montre_barres();
  rafraichit_coches();
}

void TVarnion::inverse_selection() {
  if (modele_liste_.rowCount() == 0) return;
  const QItemSelection tout(modele_liste_.index(0, 0),
                            modele_liste_.index(modele_liste_.rowCount() - 1, kColonnes - 1));
  liste_->selectionModel()->select(tout, QItemSelectionModel::Toggle);
}

void TVarnion::ouvre_gestionnaire() {
  const std::string &dossier = reglages().reper;
  const QString lieu = dossier.empty() ? QDir::homePath() : vers_qt(dossier);
  if (!QDesktopServices::openUrl(QUrl::fromLocalFile(lieu)))
    operations().afficher_erreur(charger_chaine(kSansGestionnaire));
}

void TVarnion::montre_a_propos() {
  QDialog forme(this);
  forme.setObjectName("TAPropos");
  forme.setWindowTitle(chaine_qt(kAPropos));
  auto *dessin = new QLabel;
  dessin->setPixmap(windowIcon().pixmap(64));
  auto *nom = new QLabel("Varnion");
  QFont grande = nom->font();
  grande.setPointSizeF(grande.pointSizeF() * 1.6);
  grande.setBold(true);
  nom->setFont(grande);
  auto *version = new QLabel(vers_qt(message(kVersion, {VARNION_VERSION})));
  auto *devise = new QLabel(chaine_qt(kDevise));
  auto *boutons = new QDialogButtonBox;
  boutons->addButton(chaine_qt(kFermer), QDialogButtonBox::AcceptRole);
  connect(boutons, &QDialogButtonBox::accepted, &forme, &QDialog::accept);
  auto *textes = new QVBoxLayout;
  textes->addWidget(nom);
  textes->addWidget(version);
  textes->addSpacing(6);
  textes->addWidget(devise);
  auto *haut = new QHBoxLayout;
  haut->setSpacing(18);
  haut->addWidget(dessin, 0, Qt::AlignTop);
  haut->addLayout(textes, 1);
  auto *colonne = new QVBoxLayout(&forme);
  colonne->setContentsMargins(20, 20, 20, 14);
  colonne->setSpacing(18);
  colonne->addLayout(haut);
  colonne->addWidget(boutons);
  colonne->setSizeConstraint(QLayout::SetFixedSize);
  forme.exec();
}

// The elements that the command acts on: the folder of the tree, never the root, or what is selected in the
// list, found in one pass over its folder.
std::vector<ElementMac> TVarnion::elements_choisis() const {
  std::vector<ElementMac> choisis;
  if (!depuis_liste_) {
    const std::uint32_t id = modele_arbre_.id(arbre_->currentIndex());
    if (id == 0 || id == racine()) return choisis;
    if (auto dossier = element_par_id(id)) choisis.push_back(std::move(*dossier));
    return choisis;
  }
  QHash<std::uint32_t, int> rangs;
  for (const QModelIndex &index : liste_->selectionModel()->selectedRows())
    rangs.insert(modele_liste_.ligne(index.row()).id, index.row());
  static_cast<void>(liste_dossier(dossier_, [&](const ElementMac &element) {
    if (rangs.contains(element.id)) choisis.push_back(element);
    return true;
  }));
  std::stable_sort(choisis.begin(), choisis.end(), [&rangs](const ElementMac &a, const ElementMac &b) {
    return rangs.value(a.id) < rangs.value(b.id);
  });
  return choisis;
}

std::vector<std::uint32_t> TVarnion::ids_choisis() const {
  std::vector<std::uint32_t> ids;
  if (!depuis_liste_) {
    const std::uint32_t id = modele_arbre_.id(arbre_->currentIndex());
    if (id != 0 && id != racine()) ids.push_back(id);
    return ids;
  }
  std::vector<int> rangs;
  for (const QModelIndex &index : liste_->selectionModel()->selectedRows()) rangs.push_back(index.row());
  std::sort(rangs.begin(), rangs.end());
  for (const int rang : rangs) ids.push_back(modele_liste_.ligne(rang).id);
  return ids;
}

void TVarnion::montre_proprietes() {
  mode_ == kModePartition ? proprietes_elements(*this) : proprietes_rubriques(*this);
}

void TVarnion::compilation(bool en_cours) {
  compilation_ = en_cours;
  rafraichit_textes();
  rafraichit_commandes();
}

}  // namespace varnion
