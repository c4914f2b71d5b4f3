// Both panes, the status bar, the gauge and the colours of the mode.

#include <set>

#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QScrollBar>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/jauge.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "hfs/ouverture.hpp"
#include "IO/etat.hpp"
#include "IO/requete.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kOptionCaches = 0x100;  // word `Options`: hidden items are shown
constexpr std::uint32_t kRacineVolume = 2;
constexpr int kModeFichier = 3;
constexpr int kVuePanneau = 1012;  // ISO, and the two views behind it
constexpr int kFichiers = 1015;
constexpr int kDossiers = 1016;
constexpr int kDossierVide = 1017;
constexpr int kModePart = 1113;
constexpr int kModeIso = 1277;
constexpr int kEndommage = 7015;
constexpr int kCopieTemporaire = 7708;

struct CouleursMode {
  QColor fond, barre;
};
constexpr CouleursMode kCouleurs[] = {
    {QColor(0xFE, 0xFC, 0xF6), QColor(0xFE, 0xCA, 0x01)},
    {QColor(0xF4, 0xFE, 0xF4), QColor(0x8F, 0xC9, 0x8F)},
    {QColor(0xF4, 0xFE, 0xFF), QColor(0x76, 0xFD, 0x01)},
};
constexpr QColor kEncre(0x1A, 0x1A, 0x1A);

}  // namespace

std::uint32_t TVarnion::racine() const {
  return mode_ == kModePartition ? kRacineVolume : kRacine;
}

void TVarnion::montre_document() {
  vide_panneaux();
  if (mode_ == kModePartition) {
    document_ = std::make_unique<DocumentVolume>((etat<OptionsProgramme>().options & kOptionCaches) != 0);
  } else {
    projet_->vue_courante(vue_);
    document_ = std::make_unique<DocumentProjet>(*projet_);
  }
  GenreIcones genre = vue_ == kVueRacine ? GenreIcones::presence : GenreIcones::signature;
  if (mode_ == kModePartition) genre = GenreIcones::signature;
  if (mode_ == kModeIsop || (mode_ == kModeProjet && vue_ == kVueIso)) genre = GenreIcones::extension;
  modele_liste_.genre_icones(genre);
  modele_arbre_.montre(document_.get());
  va_au_dossier(mode_ == kModePartition ? partition_courante().dossier : projet_->dossier_courant());
  rafraichit_titre();
  rafraichit_jauge();
}

void TVarnion::vide_panneaux() {
  dossier_ = 0;
  modele_arbre_.montre(nullptr);
  modele_liste_.montre({}, false);
  liste_->header()->setSortIndicatorShown(false);
  document_.reset();
  rafraichit_titre();
  rafraichit_etat();
  rafraichit_jauge();
  rafraichit_commandes();
}

void TVarnion::affiche_dossier(std::uint32_t id) {
  if (!document_) return;
  dossier_ = id;
  if (mode_ == kModePartition)
    partition_courante().dossier = id;
  else
    projet_->dossier_courant(id);
  modele_liste_.montre(document_->contenu(id), document_->dates_utc());
  liste_->header()->setSortIndicatorShown(false);
  liste_->scrollToTop();
  rafraichit_etat();
  rafraichit_commandes();
}

// Opens the tree down to a folder, as far as it shows it, and shows what the last one holds.
void TVarnion::va_au_dossier(std::uint32_t id) {
  if (!document_) return;
  QModelIndex index = modele_arbre_.index_racine();
  for (const std::uint32_t dossier : document_->chemin(id)) {
    if (dossier == modele_arbre_.id(index)) continue;
    const QModelIndex enfant = modele_arbre_.enfant(index, dossier);
    if (!enfant.isValid()) break;
    arbre_->expand(index);
    index = enfant;
  }
  arbre_->setCurrentIndex(index);
  arbre_->expand(index);
  arbre_->scrollTo(index);
  if (dossier_ != modele_arbre_.id(index)) affiche_dossier(modele_arbre_.id(index));
}

void TVarnion::ouvre_ligne(const QModelIndex &index) {
  if (!index.isValid() || operations_.occupe()) return;
  const LigneListe &ligne = modele_liste_.ligne(index.row());
  if (!ligne.dossier) {
    if (!compilation_) montre_proprietes();
    return;
  }
  const QModelIndex ici = arbre_->currentIndex();
  const QModelIndex enfant = modele_arbre_.enfant(ici, ligne.id);
  if (!enfant.isValid()) return;
  arbre_->expand(ici);
  arbre_->setCurrentIndex(enfant);
}

void TVarnion::selectionne_elements(const std::vector<std::uint32_t> &ids) {
  const std::set<std::uint32_t> voulus(ids.begin(), ids.end());
  QItemSelection choix;
  for (int rang = 0; rang < modele_liste_.rowCount(); ++rang) {
    if (!voulus.contains(modele_liste_.ligne(rang).id)) continue;
    const QModelIndex index = modele_liste_.index(rang, 0);
    if (choix.isEmpty()) {
      liste_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
      liste_->scrollTo(index);
    }
    choix.select(index, modele_liste_.index(rang, kColonnes - 1));
  }
  liste_->selectionModel()->select(choix, QItemSelectionModel::ClearAndSelect);
}

void TVarnion::dossier_pere() {
  const QModelIndex pere = modele_arbre_.parent(arbre_->currentIndex());
  if (pere.isValid()) arbre_->setCurrentIndex(pere);
}

void TVarnion::actualise() {
  if (document_ouvert()) montre_document();
}

void TVarnion::change_vue(int vue) {
  vue_ = vue;
  if (projet_ && mode_ == kModeProjet) {
    const Attente attente;
    projet_->vue_courante(vue);
    projet_->dossier_courant(DocumentProjet(*projet_).visible(projet_->dossier_courant()));
    montre_document();
  }
  rafraichit_etat();
  rafraichit_coches();
}

void TVarnion::changer_mode(int mode) {
  mode_ = mode;
  if (mode == kModePartition) support().mode_driver = kModeFichier;
  for (const ConteneurCommandes &conteneur : conteneurs_commandes())
    if (conteneur.genre == LieuCommandes::menu)
      menus_[conteneur.nom]->menuAction()->setVisible((conteneur.modes >> mode & 1U) != 0);
  liste_->setDragEnabled(mode != kModePartition);
  montre_barres();
  rafraichit_couleurs();
  rafraichit_recents();
  vide_panneaux();
  rafraichit_coches();
}

void TVarnion::montre_barres() {
  for (const ConteneurCommandes &conteneur : conteneurs_commandes())
    if (conteneur.genre == LieuCommandes::outils)
      barres_[conteneur.nom]->setVisible((conteneur.modes >> mode_ & 1U) != 0 &&
                                         barre_visible_[static_cast<std::size_t>(mode_)]);
}

void TVarnion::rafraichit_couleurs() {
  const CouleursMode &couleurs = kCouleurs[mode_];
  for (QTreeView *panneau : {arbre_, liste_}) {
    QPalette palette = panneau->palette();
    palette.setColor(QPalette::Base, couleurs.fond);
    palette.setColor(QPalette::Text, kEncre);
    panneau->setPalette(palette);
  }
  jauge_->couleurs(couleurs.fond, couleurs.barre);
  jauge_->setVisible(mode_ != kModePartition);
}

void TVarnion::rafraichit_etat() {
  int premier = kVuePanneau + vue_;
  if (mode_ == kModePartition) premier = kModePart;
  if (mode_ == kModeIsop) premier = kModeIso;
  panneaux_[0]->setText(chaine_qt(premier));
  const int lignes = modele_liste_.rowCount();
  const int dossiers = modele_liste_.nb_dossiers();
  const bool vide = dossier_ != 0 && lignes == 0;
  panneaux_[2]->setText(lignes > 0 ? vers_qt(message(kDossiers, {dossiers})) : QString());
  panneaux_[3]->setText(lignes > 0 ? vers_qt(message(kFichiers, {lignes - dossiers})) : QString());
  const bool copie = mode_ == kModePartition && partition_courante().image_temporaire;
  QStringList dits;
  const QString raison = raison_lecture_seule();
  if (!raison.isEmpty()) dits << (copie ? chaine_qt(kCopieTemporaire) : raison);
  if (modele_liste_.endommage() || vide)
    dits << chaine_qt(modele_liste_.endommage() ? kEndommage : kDossierVide);
  panneaux_[4]->setText(dits.join(QString(QChar(0x2002)) + QChar(0x2013) + QChar(0x2002)));
  panneaux_[4]->setToolTip(raison);
}

void TVarnion::rafraichit_jauge() {
  if (mode_ == kModePartition) return;
  const int reference = mode_ == kModeProjet ? reglages().taille_projet : reglages().taille_isop;
  const std::uint64_t secteurs = projet_ ? projet_->estimation() : 0;
  jauge_->montre_taille(secteurs * kSecteurProjet, static_cast<std::uint64_t>(reference) << 20);
}

}  // namespace varnion
