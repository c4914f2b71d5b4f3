#include "app/qt/tvarnion.hpp"
#include "app/qt/travaux.hpp"

#include <algorithm>
#include <numeric>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QSessionManager>
#include <QSplitter>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QToolBar>
#include <QToolButton>
#include <QTranslator>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/noyau/reglages.hpp"
#include "app/noyau/routage.hpp"
#include "app/qt/icones.hpp"
#include "app/qt/jauge.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "IO/etat.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr std::uint32_t kOptionSansBarre = 0x80;  // word `Options`: no tool bar
constexpr double kHauteurDessin = 13;             // pixels
constexpr std::uint32_t kDateLarge = 3061145288;  // 2000-12-31 22:08:08
constexpr int kMargeCellule = 12;                 // pixels around the text of a cell
constexpr int kLettresArbre = 24;                 // seen of a name in the tree, with its icons
constexpr int kFiltreProjets = 1349;
constexpr int kMotifsProjets = 1354;  // the ending of older projects is among them
constexpr int kArretCompilation = 2098;
constexpr int kOuvrirDossier = 2056;
constexpr int kIndiceOuvrirDossier = 2256;
constexpr int kCoteOutils = 20;  // pixels of a tool bar icon
constexpr std::array<int, 5> kLargeursPanneaux{110, 90, 110, 110, 160};

DemandesFichiers demandes_du_systeme(QWidget *fenetre) {
  DemandesFichiers demandes;
  demandes.ouvrir = [fenetre](int titre, int filtre, const QString &depart) {
    const std::string motifs = filtre == kFiltreProjets ? charger_chaine(kMotifsProjets) : std::string();
    return QFileDialog::getOpenFileName(fenetre, chaine_qt(titre), depart,
                                        filtre_qt(charger_chaine(filtre), motifs));
  };
  // Question 1061 is put by the caller, in the words of this program.
  demandes.enregistrer = [fenetre](int titre, int filtre, const QString &depart, int extension) {
    QFileDialog forme(fenetre, chaine_qt(titre), depart, filtre_qt(charger_chaine(filtre)));
    forme.setAcceptMode(QFileDialog::AcceptSave);
    if (extension != 0) forme.setDefaultSuffix(chaine_qt(extension));
    forme.setOption(QFileDialog::DontConfirmOverwrite);
    return forme.exec() == QDialog::Accepted ? forme.selectedFiles().value(0) : QString();
  };
  demandes.dossier = [fenetre](int titre, const QString &depart) {
    return QFileDialog::getExistingDirectory(fenetre, chaine_qt(titre), depart);
  };
  return demandes;
}

// Numbers at the right edge of their cell keep clear of the next column.
class DelegueListe final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

 protected:
  void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override {
    QStyledItemDelegate::initStyleOption(option, index);
    if ((option->displayAlignment & Qt::AlignRight) != 0) option->text += QChar(0x2002);
  }
};

}  // namespace

TVarnion::TVarnion(OperationsQt &operations, QWidget *parent) : QMainWindow(parent), operations_(operations) {
  setObjectName("TVarnion");
  setContextMenuPolicy(Qt::NoContextMenu);
  demandes = demandes_du_systeme(this);
  operations_.fenetre(this);
  construit_panneaux();
  construit_menus();
  branche_panneaux();
  branche_depots();
  connect(qApp, &QGuiApplication::commitDataRequest, this, [this](QSessionManager &session) {
    const bool questions = session.allowsInteraction();
    if (!fin_de_session(questions)) session.cancel();
    if (questions) session.release();
  });
  restaure();
  pose_icones();
}

TVarnion::~TVarnion() {
  termine_compilation(*this);
  operations_.fenetre(nullptr);
  modele_arbre_.montre(nullptr);
}

// --- construction

void TVarnion::construit_panneaux() {
  auto *centre = new QWidget;
  auto *colonne = new QVBoxLayout(centre);
  colonne->setContentsMargins(0, 0, 0, 0);
  colonne->setSpacing(0);
  partage_ = new QSplitter;
  arbre_ = new QTreeView;
  arbre_->setObjectName("TV");
  arbre_->setHeaderHidden(true);
  arbre_->setUniformRowHeights(true);
  arbre_->setContextMenuPolicy(Qt::CustomContextMenu);
  arbre_->setModel(&modele_arbre_);
  liste_ = new QTreeView;
  liste_->setObjectName("LV");
  liste_->setRootIsDecorated(false);
  liste_->setUniformRowHeights(true);
  liste_->setAllColumnsShowFocus(true);
  liste_->setExpandsOnDoubleClick(false);
  liste_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  liste_->setContextMenuPolicy(Qt::CustomContextMenu);
  liste_->setModel(&modele_liste_);
  liste_->setItemDelegate(new DelegueListe(liste_));
  liste_->header()->setSectionsClickable(true);
  liste_->header()->setSectionsMovable(false);
  liste_->header()->setStretchLastSection(false);
  partage_->addWidget(arbre_);
  partage_->addWidget(liste_);
  partage_->setStretchFactor(1, 1);
  colonne->addWidget(partage_, 1);
  jauge_ = new Jauge;
  jauge_->setObjectName("PB");
  colonne->addWidget(jauge_);
  setCentralWidget(centre);

  auto *barre = statusBar();
  barre->setObjectName("Barre");
  for (std::size_t i = 0; i < panneaux_.size(); ++i) {
    auto *panneau = new QLabel;
    panneau->setObjectName(QString("Panneau%1").arg(i));
    panneau->setMinimumWidth(kLargeursPanneaux[i]);
    panneau->setContentsMargins(4, 0, 4, 0);
    barre->addWidget(panneau, i + 1 == panneaux_.size() ? 1 : 0);
    panneaux_[i] = panneau;
  }
}

void TVarnion::construit_menus() {
  for (const ConteneurCommandes &conteneur : conteneurs_commandes()) {
    if (conteneur.genre == LieuCommandes::outils) {
      auto *barre = new QToolBar(this);
      barre->setObjectName(conteneur.nom);
      barre->setMovable(false);
      barre->setIconSize({kCoteOutils, kCoteOutils});
      barre->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
      addToolBar(barre);
      barres_.insert(conteneur.nom, barre);
      continue;
    }
    auto *menu = new QMenu(this);
    menu->setObjectName(conteneur.nom);
    menu->menuAction()->setObjectName(conteneur.nom);
    menus_.insert(conteneur.nom, menu);
    if (conteneur.genre != LieuCommandes::menu) continue;
    menuBar()->addMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, &TVarnion::rafraichit_commandes);
  }
  for (const Commande &commande : commandes())
    if (commande.faite()) construit_commande(commande);
  // What a popup is opened for most.
  for (const Commande &commande : commandes())
    if (commande.operation == Operation::proprietes && QLatin1String("Fichiers") != commande.parent)
      menus_[commande.parent]->setDefaultAction(actions_[commande.nom]);
  // The button that steps through the views drops the menu that names them.
  auto *vue = qobject_cast<QToolButton *>(barres_["BarreProj"]->widgetForAction(actions_["ModeVue"]));
  vue->setPopupMode(QToolButton::MenuButtonPopup);
  vue->setMenu(menus_["Maff1"]);
}

void TVarnion::construit_commande(const Commande &commande) {
  QAction *action = nullptr;
  if (commande.operation == Operation::sous_menu) {
    auto *menu = new QMenu(this);
    menu->setObjectName(commande.nom);
    menus_.insert(commande.nom, menu);
    action = menu->menuAction();
  } else {
    action = new QAction(this);
    connect(action, &QAction::triggered, this, [this, &commande] { execute(commande); });
  }
  // One of several: a group makes them radio items.
  if (commande.operation == Operation::choisir_mode || commande.operation == Operation::choisir_vue ||
      commande.operation == Operation::choisir_copie || commande.operation == Operation::choisir_langue) {
    QActionGroup *&groupe = groupes_[commande.parent];
    if (groupe == nullptr) groupe = new QActionGroup(this);
    groupe->addAction(action)->setCheckable(true);
  }
  action->setObjectName(commande.nom);
  action->setMenuRole(QAction::NoRole);
  if (*commande.touche != '\0') action->setShortcut(QKeySequence(commande.touche));
  actions_.insert(commande.nom, action);
  if (QToolBar *barre = barres_.value(commande.parent)) {
    if (commande.separe) barre->addSeparator();
    barre->addAction(action);
    barre->widgetForAction(action)->setObjectName(commande.nom);
  } else if (QMenu *menu = menus_.value(commande.parent)) {
    if (commande.separe && !menu->isEmpty()) menu->addSeparator();
    menu->addAction(action);
    if (commande.operation == Operation::proprietes && commande.parent != QString("Fichiers"))
      menu->setDefaultAction(action);
  } else {
    addAction(action);
  }
}

void TVarnion::branche_panneaux() {
  connect(arbre_->selectionModel(), &QItemSelectionModel::currentChanged, this,
          [this](const QModelIndex &index) {
            depuis_liste_ = false;
            if (index.isValid() && modele_arbre_.id(index) != dossier_)
              affiche_dossier(modele_arbre_.id(index));
            rafraichit_commandes();
          });
  // The pane last worked in is the one that a command acts on.
  const auto dans_arbre = [this] { depuis_liste_ = false; };
  connect(arbre_, &QTreeView::clicked, this, dans_arbre);
  connect(arbre_, &QTreeView::expanded, this, dans_arbre);
  connect(arbre_, &QTreeView::collapsed, this, dans_arbre);
  connect(liste_, &QTreeView::clicked, this, [this] { depuis_liste_ = true; });
  connect(arbre_, &QWidget::customContextMenuRequested, this, [this](const QPoint &point) {
    depuis_liste_ = false;
    montre_popup(LieuCommandes::contextuel_arbre, arbre_->viewport(), point);
  });
  connect(liste_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
    depuis_liste_ = true;
    rafraichit_commandes();
  });
  connect(liste_, &QTreeView::activated, this, &TVarnion::ouvre_ligne);
  connect(liste_, &QWidget::customContextMenuRequested, this, [this](const QPoint &point) {
    depuis_liste_ = true;
    montre_popup(LieuCommandes::contextuel_liste, liste_->viewport(), point);
  });
  connect(liste_->header(), &QHeaderView::sectionClicked, this, [this](int colonne) {
    modele_liste_.clique_colonne(colonne);
    const auto tri = modele_liste_.tri();
    liste_->header()->setSortIndicator(tri->colonne,
                                       tri->descendant ? Qt::DescendingOrder : Qt::AscendingOrder);
    liste_->header()->setSortIndicatorShown(true);
  });
  connect(&operations_, &OperationsQt::etat, this, [this](const QString &texte) {
    texte.isEmpty() ? statusBar()->clearMessage() : statusBar()->showMessage(texte);
  });
  connect(&operations_, &OperationsQt::ecoule, this, [this](int secondes) {
    const auto deux = [](int nombre) { return QString("%1").arg(nombre, 2, 10, QChar('0')); };
    panneaux_[1]->setText(secondes < 0 ? QString() : deux(secondes / 60) + "'" + deux(secondes % 60) + "\"");
  });
  connect(&operations_, &OperationsQt::avance, this, [this](quint64 fait, quint64 total) {
    if (mode_ != kModePartition) return;
    jauge_->montre_avance(fait, total);
    jauge_->setVisible(total > 0);
  });
}

void TVarnion::montre_popup(LieuCommandes lieu, QWidget *panneau, const QPoint &point) {
  rafraichit_commandes();
  nomme_affichage();
  for (const ConteneurCommandes &conteneur : conteneurs_commandes()) {
    if (conteneur.genre != lieu || (conteneur.modes >> mode_ & 1U) == 0) continue;
    QMenu *menu = menus_[conteneur.nom];
    if (!menu->isEmpty()) menu->popup(panneau->mapToGlobal(point));
  }
}

// The popup's first item opens a folder, and lists what a file holds.
void TVarnion::nomme_affichage() {
  const std::vector<std::uint32_t> ids = ids_choisis();
  bool dossier = false;
  for (const QModelIndex &index : liste_->selectionModel()->selectedRows()) {
    const LigneListe &ligne = modele_liste_.ligne(index.row());
    if (!ids.empty() && ligne.id == ids.front()) dossier = ligne.dossier;
  }
  const Commande &commande = *commande_nommee("AffPart");
  actions_["AffPart"]->setText(chaine_qt(dossier ? kOuvrirDossier : commande.legende));
  actions_["AffPart"]->setStatusTip(chaine_qt(dossier ? kIndiceOuvrirDossier : commande.indice).mid(1));
}

// --- what is kept

// The sizes that the settings begin with were drawn for letters of kHauteurDessin pixels. As long as the user
// has none of his own they follow the font, a date is seen whole, and the window shows all columns.
void TVarnion::restaure() {
  RectFenetre rect = reglages().rect;
  auto colonnes = reglages().colonnes;
  const Reglages neufs;
  const double echelle = std::max(1.0, fontMetrics().height() / kHauteurDessin);
  const auto agrandi = [echelle](int taille) { return static_cast<int>(taille * echelle); };
  if (colonnes == neufs.colonnes) {
    const int date = liste_->fontMetrics().horizontalAdvance(date_liste(kDateLarge, false)) + kMargeCellule;
    for (int &largeur : colonnes) largeur = agrandi(largeur);
    for (const std::size_t i : {4U, 5U}) colonnes[i] = std::max(colonnes[i], date);
    // Captions at the right edge are seen whole too.
    const QFontMetrics mesure = liste_->header()->fontMetrics();
    for (const std::size_t i : {2U, 3U}) {
      const QString legende =
          modele_liste_.headerData(static_cast<int>(i), Qt::Horizontal, Qt::DisplayRole).toString();
      colonnes[i] = std::max(colonnes[i], mesure.horizontalAdvance(legende) + kMargeCellule);
    }
  }
  if (rect.largeur == neufs.rect.largeur && rect.hauteur == neufs.rect.hauteur &&
      rect.arbre == neufs.rect.arbre) {
    const QSize place = screen()->availableSize() * 0.9;
    const int toutes = std::accumulate(colonnes.begin(), colonnes.end(), 0) + 2 * kMargeCellule;
    rect.arbre = std::max(agrandi(rect.arbre), fontMetrics().averageCharWidth() * kLettresArbre);
    rect.largeur = std::min(rect.arbre + toutes, place.width());
    rect.hauteur = std::min(agrandi(rect.hauteur), place.height());
  }
  setGeometry(rect.gauche, rect.haut, rect.largeur, rect.hauteur);
  for (int i = 0; i < kColonnes; ++i) {
    const int largeur = colonnes[static_cast<std::size_t>(i)];
    liste_->setColumnHidden(i, largeur <= 0);
    if (largeur > 0) liste_->setColumnWidth(i, largeur);
  }
  arbre_->setVisible(rect.arbre > 0);
  if (rect.arbre > 0) partage_->setSizes({rect.arbre, rect.largeur - rect.arbre});
  barre_visible_.fill((etat<OptionsProgramme>().options & kOptionSansBarre) == 0);
}

void TVarnion::retient() {
  const QRect rect = isMaximized() || isFullScreen() ? normalGeometry() : geometry();
  const int arbre = arbre_->isHidden() ? 0 : partage_->sizes().value(0);
  reglages().rect = {rect.x(), rect.y(), rect.width(), rect.height(), arbre};
  for (int i = 0; i < kColonnes; ++i)
    reglages().colonnes[static_cast<std::size_t>(i)] = liste_->isColumnHidden(i) ? 0 : liste_->columnWidth(i);
}

void TVarnion::closeEvent(QCloseEvent *evenement) {
  if (operations_.occupe()) {
    evenement->ignore();
    return;
  }
  if (compilation_) {
    evenement->ignore();
    return ferme_pendant_compilation(*this);
  }
  if (!ferme_document()) {
    evenement->ignore();
    return;
  }
  retient();
  ecrire_options(mode_);
  evenement->accept();
}

// --- texts and icons

void TVarnion::retraduit() {
  if (traduction_) QCoreApplication::removeTranslator(traduction_.get());
  traduction_.reset();
  if (base_langue() == kLangueFrancais) {
    traduction_ = std::make_unique<QTranslator>();
    if (traduction_->load("qtbase_fr", QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
      QCoreApplication::installTranslator(traduction_.get());
  }
  for (const ConteneurCommandes &conteneur : conteneurs_commandes()) {
    if (conteneur.genre != LieuCommandes::menu) continue;
    menus_[conteneur.nom]->setTitle(chaine_qt(conteneur.legende));
    menus_[conteneur.nom]->menuAction()->setStatusTip(chaine_qt(conteneur.indice).mid(1));
  }
  for (const Commande &commande : commandes()) {
    QAction *action = actions_.value(commande.nom);
    if (action == nullptr) continue;
    if (commande.indice == 0) continue;
    pose_indice(commande, *action);
  }
  rafraichit_textes();
  modele_liste_.retraduit();
  rafraichit_recents();
  rafraichit_etat();
  rafraichit_jauge();
}

// A command that a volume which is only read keeps off says why.
void TVarnion::pose_indice(const Commande &commande, QAction &action) const {
  if (!raison_dite_.isEmpty() && exige_ecriture(commande.condition)) {
    action.setStatusTip(raison_dite_);
    action.setToolTip(raison_dite_);
    return;
  }
  const QString indice = chaine_qt(commande.indice);
  const bool ligne = indice.startsWith('.');
  action.setStatusTip(ligne ? indice.mid(1) : QString());
  action.setToolTip(ligne ? QString() : indice);
}

void TVarnion::rafraichit_textes() {
  for (const Commande &commande : commandes()) {
    QAction *action = actions_.value(commande.nom);
    if (action == nullptr || commande.legende == 0) continue;
    const bool arret = compilation_ && commande.operation == Operation::compiler;
    action->setText(chaine_qt(arret ? kArretCompilation : commande.legende));
  }
}

void TVarnion::pose_icones() {
  const QColor trait = palette().color(QPalette::ButtonText);
  for (const Commande &commande : commandes())
    if (QAction *action = actions_.value(commande.nom); action != nullptr && *commande.icone != '\0')
      action->setIcon(icone(commande.icone, trait));
  const QColor encre(Qt::black);
  setWindowIcon(icone("varnion", encre));
  modele_arbre_.icones(icone("racine", encre), icone("dossier", encre));
  modele_liste_.icones({icone("dossier", encre), icone("fichier", encre), icone("fichier_iso", encre),
                        icone("fichier_hfs", encre), icone("fichier_aucun", encre)});
  rafraichit_coches();
}

void TVarnion::changeEvent(QEvent *evenement) {
  QMainWindow::changeEvent(evenement);
  if (evenement->type() == QEvent::PaletteChange && jauge_ != nullptr) pose_icones();
}

}  // namespace varnion
