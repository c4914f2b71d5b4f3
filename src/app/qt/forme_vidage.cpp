#include "app/qt/forme_vidage.hpp"

#include <algorithm>
#include <limits>

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QScreen>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStatusTipEvent>
#include <QVBoxLayout>

#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/page_ressources.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/vue_vidage.hpp"
#include "hfs/arbre.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kDonnees = 3001;
constexpr int kRessources = 3002;
constexpr int kTitre = 3045;
constexpr int kAnalyserComme = 7220;
constexpr int kIndiceAnalyserComme = 7221;
constexpr int kSecteurs = 7226;
constexpr int kNoeuds = 7236;      // reads of catalog nodes, those from the disk
constexpr int kEcartIndice = 100;  // between a caption and its hint
constexpr int kLignesVues = 35;

}  // namespace

TMacDump::TMacDump(TVarnion &fenetre, SujetVidage &sujet)
    : QDialog(&fenetre),
      fenetre_(fenetre),
      sujet_(sujet),
      menus_(new QMenuBar),
      pages_(new QStackedWidget),
      liste_(new VueVidage),
      secteurs_(new QScrollBar),
      barre_(new QStatusBar) {
  setObjectName("TMacDump");
  setWindowFlag(Qt::WindowMaximizeButtonHint);
  construit_menus();
  construit_affichage();
  construit_barre();
  pose_corps(reglages().corps);
  actions_["Data"]->setEnabled(sujet_.donnees != nullptr);
  for (const char *nom : {"Ress", "Arb"}) actions_[nom]->setEnabled(sujet_.ressources != nullptr);
  actions_["Att1"]->setEnabled(sujet_.montre.has_value());
  coche("Mac1", true);
  coche("Dec1", true);
  sujet_.donnees ? donnees() : ressources();
  const QFontMetrics mesure(liste_->font());
  const QSize voulu(liste_->minimumWidth() + 60, mesure.height() * kLignesVues + 120);
  resize(voulu.boundedTo(screen()->availableSize() * 0.9));
}

// --- construction

QAction *TMacDump::commande(const char *menu, const char *nom, int legende, const char *touche,
                            void (TMacDump::*travail)()) {
  auto *action = new QAction(chaine_qt(legende), this);
  action->setObjectName(nom);
  action->setStatusTip(chaine_qt(legende + kEcartIndice).mid(1));
  if (*touche != '\0') action->setShortcut(QKeySequence(touche));
  if (travail != nullptr) connect(action, &QAction::triggered, this, travail);
  menus_->findChild<QMenu *>(menu)->addAction(action);
  addAction(action);
  actions_.insert(nom, action);
  return action;
}

void TMacDump::construit_menus() {
  const auto menu = [this](const char *nom, int legende) {
    QMenu *neuf = menus_->addMenu(chaine_qt(legende));
    neuf->setObjectName(nom);
    neuf->menuAction()->setStatusTip(chaine_qt(legende + kEcartIndice).mid(1));
    return neuf;
  };
  menu("DF1", 3000);
  commande("DF1", "Data", kDonnees, "Ctrl+D", &TMacDump::donnees);
  commande("DF1", "Ress", kRessources, "Ctrl+R", &TMacDump::ressources);
  commande("DF1", "Arb", 3006, "Ctrl+T", &TMacDump::arbre_ressources);
  commande("DF1", "Att1", 3003, "Ctrl+I", &TMacDump::proprietes);
  commande("DF1", "Imp1", 3005, "Ctrl+P", &TMacDump::imprime);
  commande("DF1", "Dret1", 3004, "Ctrl+W", &TMacDump::retour);
  menu("Ed1", 3010);
  commande("Ed1", "Go1", 3011, "Ctrl+G", &TMacDump::va_au_secteur);
  commande("Ed1", "Ch1", 3012, "Ctrl+F", &TMacDump::cherche);
  commande("Ed1", "Reb1", 3013, "F3", &TMacDump::cherche_encore);
  commande("Ed1", "Hom", 3015, "Ctrl+Home", &TMacDump::premier);
  commande("Ed1", "Fin", 3014, "Ctrl+End", &TMacDump::dernier);
  commande("Ed1", "Prec", 3016, "Backspace", &TMacDump::precedent);
  menu("Act0", 3020);
  commande("Act0", "Act1", 3021, "Ctrl+E", &TMacDump::analyse);
  QMenu *comme = menus_->findChild<QMenu *>("Act0")->addMenu(chaine_qt(kAnalyserComme));
  comme->setObjectName("Act1Comme");
  comme->menuAction()->setStatusTip(chaine_qt(kIndiceAnalyserComme).mid(1));
  for (const GenreAnalyse &genre : genres_analyse()) {
    QAction *action = comme->addAction(chaine_qt(genre.legende));
    action->setObjectName("Comme_" +
                          QString::fromUtf8(genre.mot.data(), static_cast<qsizetype>(genre.mot.size())));
    connect(action, &QAction::triggered, this, [this, forme = genre.forme] { analyse_comme(forme); });
  }
  commande("Act0", "Act2", 3022, "Ctrl+S", &TMacDump::enregistre);
  commande("Act0", "co1", 3023, "Ctrl+Shift+C", &TMacDump::copie);
  QMenu *options = menu("Opt", 3025);
  commande("Opt", "Co", 3026, "", &TMacDump::choisit_corps);
  const auto choix = [&](const char *nom, int legende,
                         const std::initializer_list<std::pair<const char *, int>> &rangs) {
    QMenu *sous = options->addMenu(chaine_qt(legende));
    sous->setObjectName(nom);
    sous->menuAction()->setStatusTip(chaine_qt(legende + kEcartIndice).mid(1));
    auto *groupe = new QActionGroup(this);
    for (const auto &[rang, texte] : rangs) {
      QAction *action = commande(nom, rang, texte, "", nullptr);
      action->setCheckable(true);
      groupe->addAction(action);
    }
  };
  choix("Aff1", 3030, {{"Mac1", 3031}, {"Win1", 3032}, {"Dos1", 3033}});
  choix("Num1", 3035, {{"Dec1", 3036}, {"Hex1", 3037}});
  const std::pair<const char *, TableCaracteres> tables[] = {
      {"Mac1", TableCaracteres::mac}, {"Win1", TableCaracteres::windows}, {"Dos1", TableCaracteres::dos}};
  for (const auto &[nom, valeur] : tables)
    connect(actions_[nom], &QAction::triggered, this, [this, valeur = valeur] { table(valeur); });
  connect(actions_["Dec1"], &QAction::triggered, this, [this] { radix(10); });
  connect(actions_["Hex1"], &QAction::triggered, this, [this] { radix(16); });
}

void TMacDump::construit_affichage() {
  liste_->setObjectName("Liste");
  secteurs_->setObjectName("Secteurs");
  secteurs_->setAccessibleName(chaine_qt(kSecteurs));
  secteurs_->setToolTip(chaine_qt(kSecteurs));
  auto *page = new QWidget;
  auto *cote_a_cote = new QHBoxLayout(page);
  cote_a_cote->setContentsMargins(0, 0, 0, 0);
  cote_a_cote->setSpacing(2);
  cote_a_cote->addWidget(liste_, 1);
  cote_a_cote->addWidget(secteurs_);
  pages_->addWidget(page);
  auto *colonne = new QVBoxLayout(this);
  colonne->setContentsMargins(0, 0, 0, 0);
  colonne->setSpacing(0);
  colonne->setMenuBar(menus_);
  colonne->addWidget(pages_, 1);
  colonne->addWidget(barre_);
  liste_->deborde = [this](int sens) { avance(courant_ + sens); };
  connect(secteurs_, &QScrollBar::valueChanged, this, [this](int valeur) { afficher_secteur(valeur); });
}

void TMacDump::construit_barre() {
  barre_->setObjectName("DumpBar");
  for (std::size_t i = 0; i < panneaux_.size(); ++i) {
    panneaux_[i] = new QLabel;
    panneaux_[i]->setObjectName(QString("Panneau%1").arg(i));
    panneaux_[i]->setMinimumWidth(fontMetrics().averageCharWidth() * 14);
    barre_->addWidget(panneaux_[i]);
  }
  noeuds_ = new QLabel;
  noeuds_->setObjectName("Noeuds");
  barre_->addPermanentWidget(noeuds_);
  pose_sujet(this, sujet::kVidage);
}

void TMacDump::coche(const char *nom, bool oui) {
  actions_[nom]->setCheckable(true);
  actions_[nom]->setChecked(oui);
}

// --- what is shown

void TMacDump::montre_fourche(const SourceSecteurs *source) {
  source_ = source;
  precedent_ = courant_ = -1;
  trouvee_ = -1;
  page(false);
  rafraichit_titre();
  {
    const QSignalBlocker muet(secteurs_);
    secteurs_->setRange(0, static_cast<int>(std::clamp<std::int64_t>(source->dernier_secteur(), 0,
                                                                     std::numeric_limits<int>::max())));
    secteurs_->setPageStep(1);
  }
  afficher_secteur(0);
  liste_->setFocus();
}

void TMacDump::donnees() {
  montre_fourche(sujet_.donnees.get());
}

void TMacDump::ressources() {
  montre_fourche(sujet_.ressources.get());
}

void TMacDump::arbre_ressources() {
  if (!sujet_.element) return;
  if (sujet_.ressources.get() != source_) ressources();
  if (arbre_ == nullptr) {
    arbre_ = new PageRessources(fenetre_, *sujet_.element, sujet_.nom);
    arbre_->corps(reglages().corps);
    pages_->addWidget(arbre_);
  }
  arbre_->aspect(aspect_);
  page(true);
  arbre_->setFocus();
}

void TMacDump::rafraichit_titre() {
  const int fourche = source_ == sujet_.ressources.get() ? kRessources : kDonnees;
  setWindowTitle(vers_qt(message(
      kTitre, {de_qt(sujet_.nom), charger_chaine(fourche), source_->longueur(), de_qt(sujet_.document)})));
}

// What walks through sectors is off while the tree of the resources is up.
void TMacDump::page(bool arbre) {
  pages_->setCurrentIndex(arbre ? 1 : 0);
  coche("Data", !arbre && source_ == sujet_.donnees.get());
  coche("Ress", !arbre && source_ == sujet_.ressources.get());
  coche("Arb", arbre);
  for (const char *nom : {"Go1", "Ch1", "Hom", "Fin", "Prec"}) actions_[nom]->setEnabled(!arbre);
  actions_["Reb1"]->setEnabled(!arbre && encore_);
}

// The lines that are seen.
const VueVidage &TMacDump::vue() const {
  return pages_->currentIndex() == 0 ? *liste_ : arbre_->vue();
}

void TMacDump::afficher_secteur(std::int64_t n) {
  if (n != courant_) {
    precedent_ = courant_;
    trouvee_ = -1;
  }
  courant_ = n;
  rafraichit();
}

// A step past an end beeps.
void TMacDump::avance(std::int64_t secteur) {
  if (secteur == courant_ || secteur < 0 || secteur > source_->dernier_secteur())
    QApplication::beep();
  else
    afficher_secteur(secteur);
}

void TMacDump::rafraichit() {
  const std::vector<std::uint8_t> octets = source_->secteur(courant_);
  const std::uint64_t position = static_cast<std::uint64_t>(courant_) * source_->taille_secteur();
  liste_->montre(lignes_secteur(octets, position, aspect_));
  rafraichit_panneaux(courant_);
  const QSignalBlocker muet(secteurs_);
  secteurs_->setValue(static_cast<int>(std::clamp<std::int64_t>(courant_, 0, secteurs_->maximum())));
}

void TMacDump::rafraichit_panneaux(std::int64_t secteur) {
  // A number that was typed or came from a damaged structure may be any.
  const auto position =
      static_cast<std::int64_t>(static_cast<std::uint64_t>(secteur) * source_->taille_secteur());
  const std::int64_t nombres[] = {secteur, source_->dernier_secteur(), position};
  for (std::size_t i = 0; i < panneaux_.size(); ++i)
    panneaux_[i]->setText(vers_qt(nombre_vidage(nombres[i], aspect_.radix)));
  const CompteursNoeuds &noeuds = compteurs_noeuds();
  noeuds_->setText(vers_qt(message(kNoeuds, {noeuds.nb_lectures, noeuds.nb_lectures_disque})));
}

void TMacDump::table(TableCaracteres table) {
  aspect_.table = table;
  rafraichit();
  if (arbre_ != nullptr) arbre_->aspect(aspect_);
}

void TMacDump::radix(unsigned radix) {
  aspect_.radix = radix;
  rafraichit();
  if (arbre_ != nullptr) arbre_->aspect(aspect_);
}

void TMacDump::pose_corps(int corps) {
  liste_->corps(corps);
  if (arbre_ != nullptr) arbre_->corps(corps);
}

// The hints of the menus show in the status bar.
bool TMacDump::event(QEvent *evenement) {
  if (evenement->type() != QEvent::StatusTip) return QDialog::event(evenement);
  barre_->showMessage(static_cast<QStatusTipEvent *>(evenement)->tip());
  return true;
}

void TMacDump::keyPressEvent(QKeyEvent *evenement) {
  const bool arbre = pages_->currentIndex() != 0;
  switch (evenement->key()) {
    case Qt::Key_Home:
      return arbre ? QDialog::keyPressEvent(evenement) : avance(0);
    case Qt::Key_End:
      return arbre ? QDialog::keyPressEvent(evenement) : dernier();
    case Qt::Key_PageUp:
      return arbre ? QDialog::keyPressEvent(evenement) : avance(courant_ - 1);
    case Qt::Key_PageDown:
      return arbre ? QDialog::keyPressEvent(evenement) : avance(courant_ + 1);
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return;
    default:
      return QDialog::keyPressEvent(evenement);
  }
}

FinVidage montre_vidage(TVarnion &fenetre, SujetVidage &sujet) {
  TMacDump forme(fenetre, sujet);
  forme.exec();
  return forme.fin();
}

}  // namespace varnion
