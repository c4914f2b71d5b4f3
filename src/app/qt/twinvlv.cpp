#include "app/qt/twinvlv.hpp"

#include <algorithm>
#include <cerrno>

#include <QAbstractButton>
#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/icones.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/sujets_aide.hpp"
#include "app/qt/texte_qt.hpp"
#include "fichiers/place_volume.hpp"
#include "IO/etat.hpp"
#include "IO/plateforme.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kCopier = 1139;
constexpr int kPere = 7001;
constexpr int kTitre = 7064;
constexpr int kDossier = 7065;
constexpr int kPersonnel = 7066;
constexpr int kDossierFerme = 7068;  // folder, reason
constexpr int kNombre = 7069;
constexpr int kRien = 7070;
constexpr std::uint32_t kOptionCaches = 0x100;
constexpr std::size_t kCheminMessage = 200;
constexpr int kLettresNom = 36;
constexpr int kLettresTaille = 11;
constexpr int kMargeDate = 16;  // pixels around a date
constexpr int kLignes = 18;

}  // namespace

TWinVLV::TWinVLV(QWidget *parent, OperationsQt &operations)
    : Forme(parent, "TWinVLV", kTitre, sujet::kCopieVersMac),
      operations_(operations),
      modele_(new ModelePc(this)),
      liste_(new QTreeView),
      chemin_(new QLineEdit),
      nombre_(new QLabel) {
  construit();
  restaure();
  connect(liste_, &QTreeView::doubleClicked, this, &TWinVLV::ouvre);
  connect(chemin_, &QLineEdit::returnPressed, this, &TWinVLV::chemin_tape);
  connect(liste_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          [this] { montre_nombre(); });
  connect(modele_, &QAbstractItemModel::modelReset, this, [this] { montre_nombre(); });
  const QString garde = vers_qt(reglages().dossier_navigateur);
  if (garde.isEmpty() || !QDir(garde).exists() || !va(garde)) va(QDir::homePath());
  montre_nombre();
  liste_->setFocus();
}

void TWinVLV::construit() {
  const auto outil = [](const char *nom, int legende, const QIcon &icone_outil, const char *touche) {
    auto *bouton = new QToolButton;
    bouton->setObjectName(nom);
    bouton->setToolTip(chaine_qt(legende));
    bouton->setAccessibleName(chaine_qt(legende));
    bouton->setIcon(icone_outil);
    bouton->setShortcut(QKeySequence(touche));
    return bouton;
  };
  const QColor trait = palette().color(QPalette::ButtonText);
  auto *pere = outil("Pere", kPere, icone("pere", trait), "Alt+Up");
  auto *personnel = outil("Personnel", kPersonnel, style()->standardIcon(QStyle::SP_DirHomeIcon), "Alt+Home");
  connect(pere, &QToolButton::clicked, this, &TWinVLV::monte);
  connect(personnel, &QToolButton::clicked, this, [this] { va(QDir::homePath()); });
  auto *legende = new QLabel(chaine_qt(kDossier));
  legende->setBuddy(chemin_);
  chemin_->setObjectName("Chemin");
  auto *haut = new QHBoxLayout;
  haut->addWidget(pere);
  haut->addWidget(personnel);
  haut->addWidget(legende);
  haut->addWidget(chemin_, 1);

  liste_->setObjectName("ListePC");
  liste_->setAccessibleName(chaine_qt(kTitre));
  liste_->setModel(modele_);
  liste_->setRootIsDecorated(false);
  liste_->setUniformRowHeights(true);
  liste_->setAllColumnsShowFocus(true);
  liste_->setExpandsOnDoubleClick(false);
  liste_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  liste_->header()->setSectionsClickable(true);
  liste_->header()->setSectionsMovable(false);
  liste_->header()->setStretchLastSection(true);
  liste_->installEventFilter(this);
  nombre_->setObjectName("Nombre");
  corps()->addLayout(haut);
  corps()->addWidget(liste_, 1);
  corps()->addWidget(nombre_);
  boutons(kCopier);
  // Return in the path field or in the list goes to a folder.
  bouton_accepter()->setShortcut(QKeySequence("Ctrl+Return"));
  static_cast<QPushButton *>(bouton_accepter())->setDefault(false);
  static_cast<QPushButton *>(bouton_accepter())->setAutoDefault(false);
  static_cast<QPushButton *>(bouton_refuser())->setAutoDefault(false);
}

// `WinVLV`: width, height, widths of the columns, column of the order, 1 for a descending one.
void TWinVLV::restaure() {
  const int lettre = fontMetrics().averageCharWidth();
  const QString longue = QLocale().toString(QDateTime({2000, 12, 30}, {22, 58, 58}), QLocale::ShortFormat);
  const int date = fontMetrics().horizontalAdvance(longue) + kMargeDate;
  QList<int> valeurs{lettre * (kLettresNom + kLettresTaille + 12) + date,
                     fontMetrics().height() * (kLignes + 8),
                     lettre * kLettresNom,
                     lettre * kLettresTaille,
                     date,
                     ModelePc::kNom,
                     0};
  const QStringList gardees = vers_qt(reglages().navigateur).split(',');
  if (gardees.size() == valeurs.size()) {
    QList<int> lues;
    for (const QString &texte : gardees) lues << texte.toInt();
    if (*std::min_element(lues.begin(), lues.begin() + 5) > 0) valeurs = lues;
  }
  resize(QSize(valeurs[0], valeurs[1]).boundedTo(screen()->availableSize()));
  for (int i = 0; i < ModelePc::kColonnesPc; ++i) liste_->setColumnWidth(i, valeurs[2 + i]);
  const int colonne = std::clamp(valeurs[5], 0, ModelePc::kColonnesPc - 1);
  liste_->setSortingEnabled(true);
  liste_->sortByColumn(colonne, valeurs[6] == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void TWinVLV::retient() const {
  QStringList valeurs{QString::number(width()), QString::number(height())};
  for (int i = 0; i < ModelePc::kColonnesPc; ++i) valeurs << QString::number(liste_->columnWidth(i));
  const QHeaderView *entete = liste_->header();
  valeurs << QString::number(entete->sortIndicatorSection())
          << (entete->sortIndicatorOrder() == Qt::DescendingOrder ? "1" : "0");
  reglages().navigateur = de_qt(valeurs.join(','));
  static_cast<void>(enregistre_reglage("WinVLV"));
  reglages().dossier_navigateur = de_qt(dossier_);
  static_cast<void>(enregistre_reglage("WReper"));
}

bool TWinVLV::va(const QString &dossier) {
  const QString propre = QDir::cleanPath(dossier);
  const bool caches = (etat<OptionsProgramme>().options & kOptionCaches) != 0;
  if (!modele_->lit(propre, caches)) {
    const std::string raison = plateforme::texte_erreur(errno);
    operations().afficher_erreur(
        message(kDossierFerme, {tronque_chemin(de_qt(propre), kCheminMessage), raison}));
    return false;
  }
  dossier_ = propre;
  chemin_->setText(QDir::toNativeSeparators(propre));
  liste_->scrollToTop();
  if (modele_->rowCount() > 0)
    liste_->selectionModel()->setCurrentIndex(modele_->index(0, 0), QItemSelectionModel::NoUpdate);
  return true;
}

// The folder that was left is the current row.
void TWinVLV::monte() {
  const QString enfant = QDir(dossier_).dirName();
  if (QDir(dossier_).isRoot() || !va(dossier_ + "/..")) return;
  for (int rang = 0; rang < modele_->rowCount(); ++rang) {
    if (modele_->ligne(rang).nom != enfant) continue;
    liste_->setCurrentIndex(modele_->index(rang, 0));
    liste_->scrollTo(modele_->index(rang, 0));
    return;
  }
}

// A folder opens; a file is taken with whatever else is selected.
void TWinVLV::ouvre(const QModelIndex &index) {
  const ModelePc::Ligne ligne = modele_->ligne(index.row());
  ligne.dossier ? static_cast<void>(va(dossier_ + "/" + ligne.nom)) : accept();
}

void TWinVLV::chemin_tape() {
  QString saisi = chemin_->text().trimmed();
  if (saisi == "~" || saisi.startsWith("~/")) saisi.replace(0, 1, QDir::homePath());
  if (saisi.isEmpty()) return;
  if (va(QDir(dossier_).absoluteFilePath(saisi)))
    liste_->setFocus();
  else
    chemin_->selectAll();
}

bool TWinVLV::eventFilter(QObject *cible, QEvent *evenement) {
  if (cible != liste_ || evenement->type() != QEvent::KeyPress) return Forme::eventFilter(cible, evenement);
  const auto *touche = static_cast<QKeyEvent *>(evenement);
  if (touche->key() == Qt::Key_Backspace) {
    monte();
    return true;
  }
  if ((touche->key() == Qt::Key_Return || touche->key() == Qt::Key_Enter) &&
      touche->modifiers() == Qt::NoModifier && liste_->currentIndex().isValid()) {
    ouvre(liste_->currentIndex());
    return true;
  }
  return Forme::eventFilter(cible, evenement);
}

// Return takes the selection only from a button: in the path field it goes to a folder.
void TWinVLV::keyPressEvent(QKeyEvent *evenement) {
  const bool retour = evenement->key() == Qt::Key_Return || evenement->key() == Qt::Key_Enter;
  if (retour && qobject_cast<QAbstractButton *>(focusWidget()) == nullptr) return evenement->accept();
  Forme::keyPressEvent(evenement);
}

QStringList TWinVLV::selection() const {
  QList<int> rangs;
  for (const QModelIndex &index : liste_->selectionModel()->selectedRows()) rangs << index.row();
  std::sort(rangs.begin(), rangs.end());
  QStringList chemins;
  const QString base = dossier_.endsWith('/') ? dossier_ : dossier_ + "/";
  for (const int rang : rangs) chemins << base + modele_->ligne(rang).nom;
  return chemins;
}

void TWinVLV::montre_nombre() {
  const auto nombre = liste_->selectionModel()->selectedRows().size();
  nombre_->setText(nombre == 0 ? chaine_qt(kRien) : vers_qt(message(kNombre, {static_cast<int>(nombre)})));
  bouton_accepter()->setEnabled(nombre > 0);
}

void TWinVLV::accept() {
  choisis_.clear();
  for (const QString &chemin : selection()) {
    const auto source = chemin_argument(chemin.toStdString());
    if (!source) return;
    choisis_.push_back(*source);
  }
  if (choisis_.empty()) return QApplication::beep();
  bool tient = false;
  setEnabled(false);
  operations_.en_fond([&] { tient = selection_tient(choisis_); });
  setEnabled(true);
  liste_->setFocus();
  if (tient) Forme::accept();
}

void TWinVLV::done(int resultat) {
  retient();
  Forme::done(resultat);
}

}  // namespace varnion
