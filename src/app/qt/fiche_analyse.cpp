#include "app/qt/fiche_analyse.hpp"

#include <algorithm>

#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/dessin_arbre.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kFermer = 1000;
constexpr int kOngletArbre = 3349;
constexpr int kPrudence = 3352;
constexpr int kLettresValeur = 14;     // room for a value at least
constexpr int kLettresValeurMax = 48;  // and at most
constexpr int kLettresMarge = 3;
constexpr int kColonneBouton = 4;

class TFiche final : public QDialog {
 public:
  TFiche(QWidget *parent, const FicheAnalyse &fiche, const SourceSecteurs &source);
  [[nodiscard]] const std::optional<Bouton> &choisi() const { return choisi_; }

  void reject() override;

 private:
  [[nodiscard]] QWidget *page(const Onglet &onglet);
  void ajoute_champs(QGridLayout *grille, const std::vector<Champ> &champs);
  void ajoute_champ(QGridLayout *grille, const Champ &champ, int ligne, int colonne);
  [[nodiscard]] QTreeWidget *liste(const Onglet &onglet);
  [[nodiscard]] QPushButton *fait_bouton(const Bouton &bouton);
  void donne_focus(const QWidget *feuille);
  void suit(const Bouton &bouton);
  void dessine(const Bouton &bouton);

  const SourceSecteurs &source_;
  QTabWidget *onglets_ = nullptr;
  QPushButton *fermer_ = nullptr;
  QPushButton *premier_ = nullptr;  ///< has the focus at first
  DessinArbre *arbre_ = nullptr;
  std::optional<Bouton> choisi_;
};

TFiche::TFiche(QWidget *parent, const FicheAnalyse &fiche, const SourceSecteurs &source)
    : QDialog(parent), source_(source) {
  setObjectName("TFiche");
  setWindowTitle(vers_qt(fiche.titre));
  auto *colonne = new QVBoxLayout(this);
  const bool seule = fiche.onglets.size() == 1 && fiche.onglets.front().nom.empty();
  if (seule) {
    colonne->addWidget(page(fiche.onglets.front()), 1);
  } else {
    onglets_ = new QTabWidget;
    for (const Onglet &onglet : fiche.onglets) {
      QWidget *feuille = page(onglet);
      feuille->setObjectName(vers_qt(onglet.nom));
      onglets_->addTab(feuille, vers_qt(onglet.titre));
    }
    colonne->addWidget(onglets_, 1);
    connect(onglets_, &QTabWidget::currentChanged, this,
            [this](int rang) { donne_focus(onglets_->widget(rang)); });
  }
  auto *rangee = new QDialogButtonBox;
  for (const Bouton &bouton : fiche.boutons)
    rangee->addButton(fait_bouton(bouton), QDialogButtonBox::ActionRole);
  fermer_ = rangee->addButton(chaine_qt(kFermer), QDialogButtonBox::RejectRole);
  fermer_->setObjectName("Fermer");
  rangee->addButton(bouton_aide(this, sujet::kAnalyseurs), QDialogButtonBox::HelpRole);
  connect(rangee, &QDialogButtonBox::rejected, this, &TFiche::reject);
  colonne->addWidget(rangee);
  if (premier_ != nullptr)
    premier_->setFocus();
  else if (onglets_ != nullptr)
    donne_focus(onglets_->currentWidget());
}

// A tab that opens gives the focus to its first button.
void TFiche::donne_focus(const QWidget *feuille) {
  if (feuille == nullptr) return;  // no tab at all
  for (QPushButton *pousse : feuille->findChildren<QPushButton *>())
    if (pousse->isEnabled()) return pousse->setFocus();
}

QWidget *TFiche::page(const Onglet &onglet) {
  auto *feuille = new QWidget;
  auto *colonne = new QVBoxLayout(feuille);
  if (!onglet.champs.empty()) {
    auto *grille = new QGridLayout;
    grille->setColumnStretch(1, 1);
    ajoute_champs(grille, onglet.champs);
    colonne->addLayout(grille);
  }
  if (!onglet.colonnes.empty()) colonne->addWidget(liste(onglet), 1);
  if (!onglet.boutons.empty()) {
    auto *rangee = new QHBoxLayout;
    for (const Bouton &bouton : onglet.boutons) {
      rangee->addWidget(fait_bouton(bouton));
      if (bouton.action == ActionBouton::arbre) rangee->addWidget(new QLabel(chaine_qt(kPrudence)));
    }
    rangee->addStretch(1);
    colonne->addLayout(rangee);
  }
  if (onglet.colonnes.empty()) colonne->addStretch(1);
  return feuille;
}

// A field a row; those of one row of a group stand side by side under the label of the group.
void TFiche::ajoute_champs(QGridLayout *grille, const std::vector<Champ> &champs) {
  int ligne = -1;
  int groupe = 0;
  unsigned rang = 0;
  for (const Champ &champ : champs) {
    if (champ.groupe != 0 && champ.groupe != groupe) {
      auto *titre = new QLabel(chaine_qt(champ.groupe));
      QFont gras = titre->font();
      gras.setBold(true);
      titre->setFont(gras);
      grille->addWidget(titre, ++ligne, 0, 1, kColonneBouton + 1);
    }
    const bool a_cote = champ.groupe != 0 && champ.groupe == groupe && champ.rang == rang;
    if (!a_cote) ++ligne;
    groupe = champ.groupe;
    rang = champ.rang;
    ajoute_champ(grille, champ, ligne, a_cote ? 2 : 0);
  }
}

void TFiche::ajoute_champ(QGridLayout *grille, const Champ &champ, int ligne, int colonne) {
  auto *valeur = new QLineEdit(vers_qt(champ.valeur));
  valeur->setObjectName(vers_qt(champ.nom));
  valeur->setReadOnly(true);
  valeur->setCursorPosition(0);
  const int lettre = fontMetrics().averageCharWidth();
  valeur->setMinimumWidth(std::clamp(fontMetrics().horizontalAdvance(valeur->text()) + lettre * kLettresMarge,
                                     lettre * kLettresValeur, lettre * kLettresValeurMax));
  auto *legende = new QLabel(chaine_qt(champ.legende));
  legende->setBuddy(valeur);
  valeur->setAccessibleName(legende->text());
  grille->addWidget(legende, ligne, colonne);
  const bool large = champ.groupe == 0;
  grille->addWidget(valeur, ligne, colonne + 1, 1, large ? 3 : 1);
  if (!champ.bouton) return;
  QPushButton *va = fait_bouton(*champ.bouton);
  va->setAccessibleName(legende->text() + " " + valeur->text());
  grille->addWidget(va, ligne, kColonneBouton);
}

QTreeWidget *TFiche::liste(const Onglet &onglet) {
  auto *liste = new QTreeWidget;
  liste->setObjectName("Liste");
  liste->setRootIsDecorated(false);
  liste->setUniformRowHeights(true);
  QStringList legendes;
  for (const int id : onglet.colonnes) legendes << chaine_qt(id);
  liste->setHeaderLabels(legendes);
  QList<QTreeWidgetItem *> lignes;
  for (const Ligne &ligne : onglet.lignes) {
    QStringList cellules;
    for (const std::string &cellule : ligne.cellules) cellules << vers_qt(cellule);
    lignes << new QTreeWidgetItem(cellules);
  }
  liste->addTopLevelItems(lignes);
  for (int i = 0; i < legendes.size(); ++i) liste->resizeColumnToContents(i);
  liste->setMinimumSize(fontMetrics().averageCharWidth() * 60, fontMetrics().height() * 14);
  connect(liste, &QTreeWidget::itemActivated, this,
          [this, liste, cibles = onglet.lignes](QTreeWidgetItem *ligne) {
            const auto rang = static_cast<std::size_t>(liste->indexOfTopLevelItem(ligne));
            if (rang >= cibles.size() || !cibles[rang].cible) return;
            Bouton bouton;
            bouton.cible = *cibles[rang].cible;
            suit(bouton);
          });
  return liste;
}

QPushButton *TFiche::fait_bouton(const Bouton &bouton) {
  auto *pousse = new QPushButton(vers_qt(bouton.texte));
  pousse->setObjectName(vers_qt(bouton.nom));
  pousse->setEnabled(bouton.actif);
  pousse->setAutoDefault(false);
  if (bouton.choisi) premier_ = pousse;
  connect(pousse, &QPushButton::clicked, this, [this, bouton] { suit(bouton); });
  return pousse;
}

void TFiche::suit(const Bouton &bouton) {
  if (bouton.action == ActionBouton::arbre) return dessine(bouton);
  choisi_ = bouton;
  accept();
}

// The buttons are back when the drawing has ended; Esc stops it.
void TFiche::dessine(const Bouton &bouton) {
  if (arbre_ != nullptr || onglets_ == nullptr) return;
  arbre_ = new DessinArbre(source_, bouton.cible.secteur);
  arbre_->setObjectName("TabTree");
  QList<QPushButton *> libres;
  for (QPushButton *pousse : findChildren<QPushButton *>())
    if (pousse->isEnabled() && pousse->objectName() != vers_qt(bouton.nom)) libres << pousse;
  arbre_->fini = [this, libres] {
    for (QPushButton *pousse : libres) pousse->setEnabled(true);
    onglets_->setCurrentWidget(arbre_);
    arbre_->setFocus();
  };
  arbre_->choisit = [this](std::int64_t secteur) {
    Bouton la;
    la.cible.secteur = secteur;
    suit(la);
  };
  for (QPushButton *pousse : libres) pousse->setEnabled(false);
  if (auto *pousse = findChild<QPushButton *>(vers_qt(bouton.nom))) pousse->setEnabled(false);
  onglets_->addTab(arbre_, chaine_qt(kOngletArbre));
  arbre_->commence();
}

void TFiche::reject() {
  if (arbre_ != nullptr && arbre_->en_cours()) return arbre_->arrete();
  QDialog::reject();
}

}  // namespace

std::optional<Bouton> montre_fiche(QWidget *parent, const FicheAnalyse &fiche, const SourceSecteurs &source) {
  TFiche forme(parent, fiche, source);
  forme.exec();
  return forme.choisi();
}

}  // namespace varnion
