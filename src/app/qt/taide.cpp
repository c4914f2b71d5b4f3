#include "app/qt/taide.hpp"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollBar>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWindow>

#include "app/qt/icones.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 7301;
constexpr int kSommaire = 7302;
constexpr int kIndex = 7303;
constexpr int kRecherche = 7304;
constexpr int kPrecedent = 7305;
constexpr int kSuivant = 7306;
constexpr int kAccueil = 7307;
constexpr int kImprimer = 7308;
constexpr int kChercherPage = 7309;
constexpr int kMots = 7310;
constexpr int kAucunePage = 7311;
constexpr int kPages = 7312;
constexpr int kPlusLoin = 7313;
constexpr int kPlusHaut = 7314;
constexpr int kAbsent = 7315;
constexpr int kMotCle = 7316;
constexpr int kFermerBande = 7317;
constexpr int kUnePage = 7318;

constexpr int kRoleAdresse = Qt::UserRole;
constexpr int kMargePage = 12;

QTreeWidgetItem *rang(const RenvoiAide &renvoi) {
  auto *element = new QTreeWidgetItem({renvoi.texte});
  element->setData(0, kRoleAdresse, renvoi.adresse);
  element->setToolTip(0, renvoi.extrait);
  return element;
}

}  // namespace

TAide::TAide(QWidget *parent) : QMainWindow(parent, Qt::Window), base_(base_langue()) {
  setObjectName("TAide");
  setAttribute(Qt::WA_QuitOnClose, false);
  construit_volets();
  auto *partage = new QSplitter;
  partage->addWidget(volets_);
  partage->addWidget(construit_page());
  partage->setStretchFactor(1, 1);
  partage->setChildrenCollapsible(false);
  setCentralWidget(partage);
  construit_barre();
  remplit();
  const int corps = fontMetrics().height();
  resize(corps * 65, corps * 42);
  partage->setSizes({corps * 24, corps * 41});
}

QAction *TAide::ajoute_action(int texte, const char *nom, QIcon icone, const QKeySequence &touche) {
  auto *action = new QAction(std::move(icone), QString(), this);
  action->setObjectName(nom);
  action->setShortcut(touche);
  action->setData(texte);
  return action;
}

void TAide::construit_barre() {
  QToolBar *barre = addToolBar(QString());
  barre->setObjectName("BarreAide");
  barre->setMovable(false);
  barre->setContextMenuPolicy(Qt::PreventContextMenu);
  barre->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  const auto dessin = [this](QStyle::StandardPixmap quoi) { return style()->standardIcon(quoi); };
  QAction *arriere = ajoute_action(kPrecedent, "Precedent", dessin(QStyle::SP_ArrowBack), QKeySequence::Back);
  QAction *avant = ajoute_action(kSuivant, "Suivant", dessin(QStyle::SP_ArrowForward), QKeySequence::Forward);
  QAction *accueil =
      ajoute_action(kAccueil, "Accueil", dessin(QStyle::SP_DirHomeIcon), QKeySequence("Alt+Home"));
  QAction *imprimer = ajoute_action(kImprimer, "Imprimer", {}, QKeySequence::Print);
  QAction *chercher = ajoute_action(kChercherPage, "ChercherPage", {}, QKeySequence::Find);
  barre->addActions({arriere, avant, accueil});
  barre->addSeparator();
  barre->addActions({imprimer, chercher});
  arriere->setEnabled(false);
  avant->setEnabled(false);
  connect(texte_, &QTextBrowser::backwardAvailable, arriere, &QAction::setEnabled);
  connect(texte_, &QTextBrowser::forwardAvailable, avant, &QAction::setEnabled);
  connect(arriere, &QAction::triggered, texte_, &QTextBrowser::backward);
  connect(avant, &QAction::triggered, texte_, &QTextBrowser::forward);
  connect(accueil, &QAction::triggered, this, [this] { montre_sujet(sujet::kSommaire); });
  connect(imprimer, &QAction::triggered, this, &TAide::imprime);
  connect(chercher, &QAction::triggered, this, [this] {
    bande_->show();
    champ_page_->setFocus();
    champ_page_->selectAll();
  });
}

QTreeWidget *TAide::ajoute_volet(int titre, const char *nom, QLineEdit *champ, const QString &nom_champ) {
  auto *volet = new QWidget;
  volet->setProperty("titre", titre);
  auto *colonne = new QVBoxLayout(volet);
  colonne->setContentsMargins(4, 4, 4, 4);
  if (champ != nullptr) {
    champ->setObjectName(nom_champ);
    champ->setClearButtonEnabled(true);
    colonne->addWidget(champ);
  }
  auto *arbre = new QTreeWidget;
  arbre->setObjectName(nom);
  arbre->setColumnCount(1);
  arbre->header()->hide();
  arbre->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  arbre->header()->setStretchLastSection(false);
  arbre->setRootIsDecorated(champ == nullptr);
  colonne->addWidget(arbre);
  volets_->addTab(volet, QString());
  const auto ouvre = [this](QTreeWidgetItem *element) {
    if (element == nullptr) return;
    const QString cible = element->data(0, kRoleAdresse).toString();
    if (!cible.isEmpty()) va(cible);
  };
  connect(arbre, &QTreeWidget::itemClicked, this, ouvre);
  connect(arbre, &QTreeWidget::itemActivated, this, ouvre);
  return arbre;
}

void TAide::construit_volets() {
  volets_ = new QTabWidget;
  volets_->setObjectName("Volets");
  sommaire_ = ajoute_volet(kSommaire, "Sommaire", nullptr, {});
  champ_index_ = new QLineEdit;
  index_ = ajoute_volet(kIndex, "Index", champ_index_, "MotCle");
  champ_recherche_ = new QLineEdit;
  trouves_ = ajoute_volet(kRecherche, "Trouves", champ_recherche_, "Mots");
  trouves_->setWordWrap(true);
  compte_ = new QLabel;
  compte_->setObjectName("Compte");
  compte_->setWordWrap(true);
  static_cast<QVBoxLayout *>(trouves_->parentWidget()->layout())->insertWidget(1, compte_);
  connect(champ_index_, &QLineEdit::textChanged, this, &TAide::filtre_index);
  connect(champ_recherche_, &QLineEdit::textChanged, this, &TAide::lance_recherche);
  // Enter opens the first row that is left.
  for (const auto &[champ, liste] :
       {std::pair{champ_index_, index_}, std::pair{champ_recherche_, trouves_}}) {
    connect(champ, &QLineEdit::returnPressed, this, [this, rangs = liste] {
      for (int i = 0; i < rangs->topLevelItemCount(); ++i) {
        QTreeWidgetItem *element = rangs->topLevelItem(i);
        if (element->isHidden()) continue;
        rangs->setCurrentItem(element);
        va(element->data(0, kRoleAdresse).toString());
        return;
      }
    });
  }
}

QWidget *TAide::construit_page() {
  auto *page = new QWidget;
  auto *colonne = new QVBoxLayout(page);
  colonne->setContentsMargins(0, 0, 0, 0);
  texte_ = new QTextBrowser;
  texte_->setObjectName("Page");
  texte_->setOpenExternalLinks(false);
  texte_->document()->setDocumentMargin(kMargePage);
  colonne->addWidget(texte_, 1);

  bande_ = new QWidget;
  bande_->setObjectName("Bande");
  auto *rangee = new QHBoxLayout(bande_);
  rangee->setContentsMargins(4, 2, 4, 4);
  champ_page_ = new QLineEdit;
  champ_page_->setObjectName("MotPage");
  champ_page_->setClearButtonEnabled(true);
  absent_ = new QLabel;
  absent_->setObjectName("Absent");
  const auto bouton = [this, rangee](QStyle::StandardPixmap dessin, const char *nom, int texte) {
    auto *b = new QToolButton;
    b->setObjectName(nom);
    b->setIcon(style()->standardIcon(dessin));
    b->setProperty("texte", texte);
    rangee->addWidget(b);
    return b;
  };
  rangee->addWidget(champ_page_);
  auto *haut = bouton(QStyle::SP_ArrowUp, "PlusHaut", kPlusHaut);
  auto *loin = bouton(QStyle::SP_ArrowDown, "PlusLoin", kPlusLoin);
  rangee->addWidget(absent_, 1);
  auto *fermer = bouton(QStyle::SP_TitleBarCloseButton, "FermerBande", kFermerBande);
  fermer->setAutoRaise(true);
  colonne->addWidget(bande_);
  bande_->hide();
  const auto ferme = [this] {
    bande_->hide();
    texte_->setFocus();
  };
  connect(fermer, &QToolButton::clicked, this, ferme);
  connect(new QShortcut(Qt::Key_Escape, bande_, nullptr, nullptr, Qt::WidgetWithChildrenShortcut),
          &QShortcut::activated, this, ferme);
  connect(champ_page_, &QLineEdit::returnPressed, this, [this] { trouve(false); });
  connect(champ_page_, &QLineEdit::textChanged, absent_, &QLabel::clear);
  connect(haut, &QToolButton::clicked, this, [this] { trouve(true); });
  connect(loin, &QToolButton::clicked, this, [this] { trouve(false); });
  connect(texte_, &QTextBrowser::sourceChanged, this, &TAide::suit_page);
  return page;
}

void TAide::retraduit() {
  setWindowTitle(chaine_qt(kTitre));
  for (QAction *action : findChildren<QAction *>()) {
    if (!action->data().isValid()) continue;
    const QString texte = chaine_qt(action->data().toInt());
    action->setText(texte);
    action->setToolTip(texte + " (" + action->shortcut().toString(QKeySequence::NativeText) + ")");
  }
  for (QToolButton *bouton : bande_->findChildren<QToolButton *>()) {
    const QString texte = chaine_qt(bouton->property("texte").toInt());
    bouton->setToolTip(texte);
    bouton->setAccessibleName(texte);
  }
  for (int i = 0; i < volets_->count(); ++i) {
    const QString titre = chaine_qt(volets_->widget(i)->property("titre").toInt());
    volets_->setTabText(i, titre);
    for (QTreeWidget *arbre : volets_->widget(i)->findChildren<QTreeWidget *>())
      arbre->setAccessibleName(titre);
  }
  for (const auto &[champ, id] : {std::pair{champ_index_, kMotCle}, std::pair{champ_recherche_, kMots},
                                  std::pair{champ_page_, kChercherPage}}) {
    champ->setPlaceholderText(chaine_qt(id));
    champ->setAccessibleName(chaine_qt(id));
  }
  absent_->clear();
}

void TAide::remplit() {
  const PagesAide &pages = PagesAide::de_langue(base_);
  retraduit();
  sommaire_->clear();
  QTreeWidgetItem *tete = nullptr;
  for (const RenvoiAide &renvoi : pages.sommaire()) {
    QTreeWidgetItem *element = rang(renvoi);
    if (renvoi.adresse.isEmpty() || tete == nullptr) {
      sommaire_->addTopLevelItem(element);
      tete = element;
    } else {
      tete->addChild(element);
    }
  }
  sommaire_->expandAll();
  index_->clear();
  for (const RenvoiAide &renvoi : pages.index()) index_->addTopLevelItem(rang(renvoi));
  filtre_index(champ_index_->text());
  lance_recherche();
}

QString TAide::adresse() const {
  const QUrl source = texte_->source();
  return source.fileName() + (source.hasFragment() ? "#" + source.fragment() : QString());
}

void TAide::va(const QString &adresse) {
  texte_->setSource(PagesAide::de_langue(base_).url(adresse));
}

// The row of the contents follows the page, without a word of its own.
void TAide::suit_page(const QUrl &page) {
  const QString nom = page.fileName();
  for (QTreeWidgetItemIterator i(sommaire_); *i != nullptr; ++i) {
    if ((*i)->data(0, kRoleAdresse).toString() != nom) continue;
    const QSignalBlocker silence(sommaire_);
    sommaire_->setCurrentItem(*i);
    return;
  }
  sommaire_->setCurrentItem(nullptr);
}

void TAide::filtre_index(const QString &debut) {
  const QString voulu = debut.trimmed();
  for (int i = 0; i < index_->topLevelItemCount(); ++i) {
    QTreeWidgetItem *element = index_->topLevelItem(i);
    element->setHidden(!element->text(0).contains(voulu, Qt::CaseInsensitive));
  }
}

void TAide::lance_recherche() {
  trouves_->clear();
  const QString mots = champ_recherche_->text();
  if (mots.trimmed().isEmpty()) {
    compte_->clear();
    return;
  }
  const auto trouves = PagesAide::de_langue(base_).cherche(mots);
  for (const RenvoiAide &renvoi : trouves) {
    QTreeWidgetItem *element = rang(renvoi);
    trouves_->addTopLevelItem(element);
  }
  if (trouves.empty())
    compte_->setText(chaine_qt(kAucunePage));
  else if (trouves.size() == 1)
    compte_->setText(chaine_qt(kUnePage));
  else
    compte_->setText(vers_qt(message(kPages, {trouves.size()})));
}

// From the cursor on, then once more from the other end.
void TAide::trouve(bool arriere) {
  const QString mot = champ_page_->text();
  if (mot.isEmpty()) return;
  const QTextDocument::FindFlags sens =
      arriere ? QTextDocument::FindBackward : QTextDocument::FindFlags(QTextDocument::FindFlag(0));
  bool vu = texte_->find(mot, sens);
  if (!vu) {
    const QTextCursor place = texte_->textCursor();
    const int barre = texte_->verticalScrollBar()->value();
    texte_->moveCursor(arriere ? QTextCursor::End : QTextCursor::Start);
    vu = texte_->find(mot, sens);
    if (!vu) {
      texte_->setTextCursor(place);
      texte_->verticalScrollBar()->setValue(barre);
    }
  }
  absent_->setText(vu ? QString() : chaine_qt(kAbsent));
}

void TAide::imprime() {
  QPrinter imprimante;
  imprimante.setDocName(texte_->documentTitle());
  QPrintDialog demande(&imprimante, this);
  if (demande.exec() == QDialog::Accepted) texte_->print(&imprimante);
}

void TAide::suit(QWidget *modale) {
  if (windowHandle() == nullptr) return;
  const QWidget *maitre = modale != nullptr           ? modale->window()
                          : parentWidget() != nullptr ? parentWidget()->window()
                                                      : nullptr;
  windowHandle()->setTransientParent(maitre != nullptr ? maitre->windowHandle() : nullptr);
}

void TAide::vient_devant() {
  winId();
  QWidget *modale = QApplication::activeModalWidget();
  QWindow *voulu = modale != nullptr ? modale->windowHandle() : nullptr;
  // A window learns whether it is blocked when it is shown.
  if (voulu != nullptr && windowHandle()->transientParent() != voulu) hide();
  suit(modale);
  if (isMinimized()) showNormal();
  show();
  raise();
  activateWindow();
}

void TAide::montre_sujet(int sujet) {
  suit_langue();
  const PagesAide &pages = PagesAide::de_langue(base_);
  const auto cible = pages.adresse(sujet);
  va(cible ? *cible : pages.adresse(sujet::kSommaire).value_or(QString()));
  volets_->setCurrentIndex(0);
  vient_devant();
}

void TAide::montre_index() {
  if (texte_->source().isEmpty()) montre_sujet(sujet::kSommaire);
  volets_->setCurrentWidget(index_->parentWidget());
  vient_devant();
  champ_index_->setFocus();
  champ_index_->selectAll();
}

void TAide::montre_recherche() {
  if (texte_->source().isEmpty()) montre_sujet(sujet::kSommaire);
  volets_->setCurrentWidget(trouves_->parentWidget());
  vient_devant();
  champ_recherche_->setFocus();
  champ_recherche_->selectAll();
}

void TAide::suit_langue() {
  if (base_ == base_langue()) return;
  const QString page = adresse();
  base_ = base_langue();
  remplit();
  texte_->clearHistory();
  if (!page.isEmpty()) va(page);
}

}  // namespace varnion
