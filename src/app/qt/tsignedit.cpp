#include "app/qt/tsignedit.hpp"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QFormLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPageSetupDialog>
#include <QPrinter>
#include <QStatusBar>
#include <QStatusTipEvent>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/noyau/actions_projet.hpp"
#include "app/noyau/reglages.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/impression.hpp"
#include "app/qt/modele_signatures.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/operations.hpp"
#include "noms/regles.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kNouvelle = 5319;
constexpr int kModifier = 5320;
constexpr int kLegendes = 5321;
constexpr int kTitreRegistre = 5330;
constexpr int kCle = 5331;
constexpr int kContenu = 5332;
constexpr int kNomFichier = 5333;
constexpr int kSauver = 5417;
constexpr int kTitre = 5418;
constexpr int kFiltre = 5419;
constexpr int kOuvrir = 5420;
constexpr int kEnregistrer = 5421;
constexpr int kExtension = 5422;
constexpr int kFichierRefuse = 1385;
constexpr int kMenuFichier = 7240;
constexpr int kMenuElement = 7241;
constexpr int kMenuAide = 7242;
constexpr int kEcartIndice = 40;  // between a caption and its hint
constexpr int kLettresListe = 84;
constexpr int kLignesVues = 22;
constexpr std::size_t kCheminMessage = 50;

// The dialog of one row.
std::optional<LigneSignature> saisit_ligne(QWidget *parent, int titre, const LigneSignature &ligne) {
  Forme forme(parent, "TSignItem", titre, sujet::kEditeurSignatures);
  auto *champs = new QFormLayout;
  std::array<QLineEdit *, 4> saisies{};
  static constexpr std::array<const char *, 4> kNoms{"EditExt", "EditType", "EditCrea", "EditComm"};
  static constexpr std::array<std::size_t, 4> kLimites{kExtensionSigMax, kCodeSigMax, kCodeSigMax,
                                                       kCommentaireSigMax};
  for (int i = 0; i < 4; ++i) {
    const auto rang = static_cast<std::size_t>(i);
    saisies[rang] = new QLineEdit(vers_qt(champ_signature(ligne, i)));
    saisies[rang]->setObjectName(kNoms[rang]);
    saisies[rang]->setMaxLength(static_cast<int>(kLimites[rang]));
    champs->addRow(chaine_qt(kLegendes + i), saisies[rang]);
  }
  saisies[3]->setMinimumWidth(forme.fontMetrics().averageCharWidth() * 48);
  forme.corps()->addLayout(champs);
  forme.boutons();
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  LigneSignature neuve = ligne_saisie(de_qt(saisies[0]->text()), de_qt(saisies[1]->text()),
                                      de_qt(saisies[2]->text()), de_qt(saisies[3]->text()));
  neuve.remarques = ligne.remarques;
  return neuve;
}

class TSignEdit final : public QDialog {
 public:
  explicit TSignEdit(TVarnion &fenetre);
  [[nodiscard]] const EditionSignatures &edition() const { return edition_; }
  void charge(const std::string &chemin);

  void reject() override;

 protected:
  bool event(QEvent *evenement) override;

 private:
  void construit();
  void commande(QMenu *menu, const char *nom, int legende, const char *touche, void (TSignEdit::*travail)());
  void rafraichit();
  [[nodiscard]] std::vector<std::size_t> choisies() const;
  void choisit(const std::vector<std::size_t> &rangs);
  /// False when the user gives up naming a new file.
  bool garde();
  bool enregistre_sous_nom(bool demande);

  void nouveau();
  void ouvre();
  void enregistre() { static_cast<void>(enregistre_sous_nom(false)); }
  void enregistre_sous() { static_cast<void>(enregistre_sous_nom(true)); }
  void quitte();
  void ferme();
  void imprime();
  void regle_imprimante();
  void modifie();
  void ajoute();
  void coupe();
  void copie();
  void colle();
  void monte() { deplace(-1); }
  void descend() { deplace(1); }
  void deplace(int sens);
  void inscrit();
  void montre_aide_ici() { aide(sujet::kEditeurSignatures); }

  TVarnion &fenetre_;
  EditionSignatures edition_;
  ModeleSignatures modele_;
  QMenuBar *menus_ = new QMenuBar;
  QTreeView *liste_ = new QTreeView;
  QStatusBar *barre_ = new QStatusBar;
  std::unique_ptr<QPrinter> imprimante_;
};

TSignEdit::TSignEdit(TVarnion &fenetre) : QDialog(&fenetre), fenetre_(fenetre), modele_(edition_) {
  setObjectName("TSignEdit");
  setWindowFlag(Qt::WindowMaximizeButtonHint);
  construit();
  pose_sujet(this, sujet::kEditeurSignatures);
  rafraichit();
}

void TSignEdit::commande(QMenu *menu, const char *nom, int legende, const char *touche,
                         void (TSignEdit::*travail)()) {
  QAction *action = menu->addAction(chaine_qt(legende));
  action->setObjectName(nom);
  action->setStatusTip(chaine_qt(legende + kEcartIndice).mid(1));
  if (*touche != '\0') action->setShortcut(QKeySequence(touche));
  connect(action, &QAction::triggered, this, travail);
}

void TSignEdit::construit() {
  QMenu *fichier = menus_->addMenu(chaine_qt(kMenuFichier));
  commande(fichier, "SigNouveau", 5201, "Ctrl+N", &TSignEdit::nouveau);
  commande(fichier, "SigOuvrir", 5202, "Ctrl+O", &TSignEdit::ouvre);
  commande(fichier, "SigEnregistrer", 5203, "Ctrl+S", &TSignEdit::enregistre);
  commande(fichier, "SigEnregistrerSous", 5204, "Ctrl+Shift+S", &TSignEdit::enregistre_sous);
  commande(fichier, "SigFermer", 5206, "Ctrl+W", &TSignEdit::ferme);
  fichier->addSeparator();
  commande(fichier, "SigImprimer", 5207, "Ctrl+P", &TSignEdit::imprime);
  commande(fichier, "SigImprimante", 5208, "", &TSignEdit::regle_imprimante);
  fichier->addSeparator();
  commande(fichier, "SigInscrire", 5221, "", &TSignEdit::inscrit);
  commande(fichier, "SigQuitter", 5205, "Ctrl+Q", &TSignEdit::quitte);
  QMenu *element = menus_->addMenu(chaine_qt(kMenuElement));
  commande(element, "SigModifier", 5211, "Ctrl+E", &TSignEdit::modifie);
  commande(element, "SigAjouter", 5212, "Ins", &TSignEdit::ajoute);
  element->addSeparator();
  commande(element, "SigCouper", 5213, "Ctrl+X", &TSignEdit::coupe);
  commande(element, "SigCopier", 5214, "Ctrl+C", &TSignEdit::copie);
  commande(element, "SigColler", 5215, "Ctrl+V", &TSignEdit::colle);
  element->addSeparator();
  commande(element, "SigMonter", 5216, "Alt+Up", &TSignEdit::monte);
  commande(element, "SigDescendre", 5217, "Alt+Down", &TSignEdit::descend);
  QMenu *aide_menu = menus_->addMenu(chaine_qt(kMenuAide));
  commande(aide_menu, "SigAide", 5225, "F1", &TSignEdit::montre_aide_ici);

  liste_->setObjectName("ListeSignatures");
  liste_->setAccessibleName(chaine_qt(kTitre));
  liste_->setRootIsDecorated(false);
  liste_->setUniformRowHeights(true);
  liste_->setAllColumnsShowFocus(true);
  liste_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  liste_->setModel(&modele_);
  liste_->header()->setSectionsClickable(true);
  liste_->header()->setSectionsMovable(false);
  liste_->setContextMenuPolicy(Qt::CustomContextMenu);
  const int lettre = fontMetrics().averageCharWidth();
  for (int i = 0; i < 3; ++i)
    liste_->setColumnWidth(i, std::max(lettre * 15, liste_->header()->sectionSizeHint(i) + lettre));
  connect(liste_, &QTreeView::activated, this, [this] { modifie(); });
  connect(liste_, &QWidget::customContextMenuRequested, this,
          [this, element](const QPoint &point) { element->popup(liste_->viewport()->mapToGlobal(point)); });
  connect(liste_->header(), &QHeaderView::sectionClicked, this, [this](int colonne) {
    modele_.change([&] { edition_.trie(colonne); });
    liste_->header()->setSortIndicator(colonne,
                                       edition_.tri_descendant() ? Qt::DescendingOrder : Qt::AscendingOrder);
    liste_->header()->setSortIndicatorShown(true);
    rafraichit();
  });
  auto *colonne = new QVBoxLayout(this);
  colonne->setContentsMargins(0, 0, 0, 0);
  colonne->setSpacing(0);
  colonne->setMenuBar(menus_);
  colonne->addWidget(liste_, 1);
  barre_->setSizeGripEnabled(true);
  colonne->addWidget(barre_);
  resize(lettre * kLettresListe, fontMetrics().height() * kLignesVues + 80);
}

void TSignEdit::rafraichit() {
  const QString nom = QFileInfo(vers_qt(edition_.chemin())).fileName();
  const QString titre = chaine_qt(kTitre);
  setWindowTitle((nom.isEmpty() ? titre : nom + " [" + titre + "]") + "[*]");
  setWindowModified(edition_.modifie());
}

void TSignEdit::charge(const std::string &chemin) {
  bool lu = false;
  modele_.change([&] { lu = edition_.charge(chemin); });
  if (!lu) operations().afficher_erreur(message(kFichierRefuse, {tronque_chemin(chemin, kCheminMessage)}));
  liste_->header()->setSortIndicatorShown(false);
  rafraichit();
}

std::vector<std::size_t> TSignEdit::choisies() const {
  std::vector<std::size_t> rangs;
  for (const QModelIndex &index : liste_->selectionModel()->selectedRows())
    rangs.push_back(static_cast<std::size_t>(index.row()));
  std::sort(rangs.begin(), rangs.end());
  return rangs;
}

void TSignEdit::choisit(const std::vector<std::size_t> &rangs) {
  QItemSelection choix;
  for (const std::size_t rang : rangs) {
    const QModelIndex index = modele_.index(static_cast<int>(rang), 0);
    choix.select(index, modele_.index(static_cast<int>(rang), 3));
  }
  if (!rangs.empty()) {
    const QModelIndex premier = modele_.index(static_cast<int>(rangs.front()), 0);
    liste_->selectionModel()->setCurrentIndex(premier, QItemSelectionModel::NoUpdate);
    liste_->scrollTo(premier);
  }
  liste_->selectionModel()->select(choix, QItemSelectionModel::ClearAndSelect);
}

// --- the file

// A file that could not be saved stays in the editor.
bool TSignEdit::enregistre_sous_nom(bool demande) {
  std::string chemin = edition_.chemin();
  if (demande || chemin.empty()) {
    const QString depart = chemin.empty() ? depart_documents() : vers_qt(chemin);
    const QString choisi = fenetre_.demandes.enregistrer(kEnregistrer, kFiltre, depart, kExtension);
    if (choisi.isEmpty()) return false;
    const auto voulu = chemin_argument(choisi.toStdString());
    if (!voulu || (*voulu != chemin && !peut_ecraser(*voulu))) return false;
    chemin = *voulu;
  }
  const bool fait = edition_.enregistre(chemin);
  if (!fait) operations().afficher_erreur(message(kFichierRefuse, {tronque_chemin(chemin, kCheminMessage)}));
  rafraichit();
  return fait;
}

bool TSignEdit::garde() {
  if (!edition_.modifie()) return true;
  if (operations().demander_oui_non(charger_chaine(kSauver)) == 0) return true;
  return enregistre_sous_nom(false);
}

void TSignEdit::nouveau() {
  if (!garde()) return;
  modele_.change([this] { edition_.nouveau(); });
  rafraichit();
}

void TSignEdit::ouvre() {
  if (!garde()) return;
  const QString choisi = fenetre_.demandes.ouvrir(kOuvrir, kFiltre, depart_documents());
  if (choisi.isEmpty()) return;
  if (const auto chemin = chemin_argument(choisi.toStdString())) charge(*chemin);
}

void TSignEdit::ferme() {
  if (edition_.modifie() && !enregistre_sous_nom(false)) return;
  modele_.change([this] { edition_.nouveau(); });
  rafraichit();
}

void TSignEdit::quitte() {
  if (edition_.modifie() && !enregistre_sous_nom(false)) return;
  accept();
}

// The hints of the menus show in the status line.
bool TSignEdit::event(QEvent *evenement) {
  if (evenement->type() != QEvent::StatusTip) return QDialog::event(evenement);
  barre_->showMessage(static_cast<QStatusTipEvent *>(evenement)->tip());
  return true;
}

// The close button of the window and Esc ask first.
void TSignEdit::reject() {
  if (garde()) QDialog::reject();
}

// --- rows

void TSignEdit::modifie() {
  for (const std::size_t rang : choisies()) {
    const auto neuve = saisit_ligne(this, kModifier, edition_.lignes()[rang]);
    if (!neuve) break;
    modele_.change([&] { edition_.remplace(rang, *neuve); });
    choisit({rang});
  }
  rafraichit();
}

void TSignEdit::ajoute() {
  const auto neuve = saisit_ligne(this, kNouvelle, {});
  if (!neuve) return;
  modele_.change([&] { edition_.ajoute(*neuve); });
  choisit({edition_.lignes().size() - 1});
  rafraichit();
}

void TSignEdit::copie() {
  const auto rangs = choisies();
  if (!rangs.empty()) QApplication::clipboard()->setText(vers_qt(edition_.copie(rangs)));
}

void TSignEdit::coupe() {
  const auto rangs = choisies();
  if (rangs.empty()) return;
  copie();
  modele_.change([&] { edition_.supprime(rangs); });
  if (!edition_.lignes().empty()) choisit({std::min(rangs.front(), edition_.lignes().size() - 1)});
  rafraichit();
}

void TSignEdit::colle() {
  std::size_t nombre = 0;
  modele_.change([&] { nombre = edition_.colle(de_qt(QApplication::clipboard()->text())); });
  std::vector<std::size_t> neuves;
  for (std::size_t i = edition_.lignes().size() - nombre; i < edition_.lignes().size(); ++i)
    neuves.push_back(i);
  choisit(neuves);
  rafraichit();
}

void TSignEdit::deplace(int sens) {
  const auto rangs = choisies();
  if (rangs.empty()) return;
  const std::size_t rang = rangs.front();
  bool fait = false;
  modele_.change([&] { fait = edition_.deplace(rang, sens); });
  if (!fait) QApplication::beep();
  choisit({fait ? rang + static_cast<std::size_t>(sens) : rang});
  rafraichit();
}

// --- printer and settings

void TSignEdit::regle_imprimante() {
  if (!imprimante_) imprimante_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
  QPageSetupDialog(imprimante_.get(), this).exec();
}

void TSignEdit::imprime() {
  if (!imprimante_) imprimante_ = std::make_unique<QPrinter>(QPrinter::HighResolution);
  if (!demande_imprimante()(*imprimante_, this)) return;
  DocumentImprime document;
  document.gauche = "SignEdit (" + QFileInfo(vers_qt(edition_.chemin())).fileName() + ")";
  document.droite = [](int page) { return QString("Page %1").arg(page); };
  document.marges.droite = document.marges.gauche;
  TableauImprime tableau;
  const double parts[] = {1, 1, 1, 5};
  for (int i = 0; i < 4; ++i) tableau.colonnes.push_back({chaine_qt(kLegendes + i), parts[i], false});
  tableau.lignes = static_cast<int>(edition_.lignes().size());
  tableau.cellule = [this](int ligne, int colonne) {
    return vers_qt(champ_signature(edition_.lignes()[static_cast<std::size_t>(ligne)], colonne));
  };
  document.tableaux.push_back(std::move(tableau));
  imprimante_->setDocName(document.gauche);
  static_cast<void>(imprime_document(*imprimante_, document));
}

void TSignEdit::inscrit() {
  if ((edition_.modifie() || edition_.chemin().empty()) && !enregistre_sous_nom(false)) return;
  Forme forme(this, "TSignRegistre", kTitreRegistre, sujet::kEditeurSignatures);
  auto *champs = new QFormLayout;
  const QString cle = QString::fromStdString(chemin_reglages_utf8()) + " [Sign]";
  champs->addRow(chaine_qt(kCle).trimmed(), texte_fixe(cle, "Cle"));
  champs->addRow(chaine_qt(kContenu).trimmed(), texte_fixe(vers_qt(reglages().signatures), "Contenu"));
  champs->addRow(chaine_qt(kNomFichier).trimmed(), texte_fixe(vers_qt(edition_.chemin()), "Fichier"));
  forme.corps()->addLayout(champs);
  forme.boutons();
  if (forme.exec() != QDialog::Accepted) return;
  reglages().signatures = edition_.chemin();
  static_cast<void>(enregistre_reglage("Sign"));
}

}  // namespace

bool edite_fichier_signatures(TVarnion &fenetre) {
  TSignEdit forme(fenetre);
  if (!reglages().signatures.empty()) forme.charge(reglages().signatures);
  forme.exec();
  return forme.edition().enregistre_une_fois();
}

}  // namespace varnion
