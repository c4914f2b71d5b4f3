#include "app/qt/trefresh.hpp"

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <string>
#include <unordered_set>

#include <QAction>
#include <QDateTime>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QTabWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/noyau/actions_outils.hpp"
#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/impression.hpp"
#include "app/qt/modele_differences.hpp"
#include "app/qt/tcheminacces.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tlocalise.hpp"
#include "app/qt/travail_forme.hpp"
#include "app/qt/tvarnion.hpp"
#include "IO/operations.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1569;
constexpr int kProjet = 1570;
constexpr int kFermer = 1000;
constexpr int kInchange = 6773;
constexpr int kNonAcceptees = 7204;
constexpr int kLargeur = 110;  // letters
constexpr int kHauteur = 28;   // rows

enum Liste : std::size_t { kSuppressions, kModifications, kAjouts, kListes };

struct GenreListe {
  GenreDifference genre;
  int legende;
  const char *nom;
};
constexpr std::array<GenreListe, kListes> kGenres{{{GenreDifference::suppression, 1561, "Suppressions"},
                                                   {GenreDifference::modification, 1562, "Modifications"},
                                                   {GenreDifference::ajout, 1563, "Ajouts"}}};

// What a command needs to be enabled.
enum class Besoin { rien, selection, suppression_seule };

class TRefresh final : public Forme {
 public:
  TRefresh(TVarnion &fenetre, std::vector<Difference> differences)
      : Forme(&fenetre, "TRefresh", kTitre, sujet::kRafraichir),
        fenetre_(fenetre),
        projet_(*fenetre.projet()) {
    onglets_ = new QTabWidget;
    onglets_->setObjectName("Onglets");
    for (std::size_t i = 0; i < kListes; ++i) ajoute_liste(i);
    construit_commandes();
    indice_ = new QLabel;
    indice_->setObjectName("Indice");
    corps()->addWidget(onglets_, 1);
    corps()->addLayout(range_boutons());
    corps()->addWidget(indice_);
    boutons(0, kFermer);
    connect(onglets_, &QTabWidget::currentChanged, this, [this] { rafraichit(); });
    const int lettre = fontMetrics().averageCharWidth();
    resize(lettre * kLargeur, fontMetrics().height() * kHauteur);
    repartit(std::move(differences));
  }

 private:
  // --- construction

  void ajoute_liste(std::size_t i) {
    modeles_[i] = new ModeleDifferences(this);
    auto *vue = new QTreeView;
    vue->setObjectName(kGenres[i].nom);
    vue->setAccessibleName(chaine_qt(kGenres[i].legende));
    vue->setRootIsDecorated(false);
    vue->setUniformRowHeights(true);
    vue->setAllColumnsShowFocus(true);
    vue->setSelectionMode(QAbstractItemView::ExtendedSelection);
    vue->setContextMenuPolicy(Qt::CustomContextMenu);
    vue->setModel(modeles_[i]);
    const int lettre = fontMetrics().averageCharWidth();
    vue->setColumnWidth(ModeleDifferences::kNom, lettre * 26);
    for (const int colonne :
         {ModeleDifferences::kPere, ModeleDifferences::kNumero, ModeleDifferences::kLongueur})
      vue->setColumnWidth(colonne, lettre * 12);
    connect(vue->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { rafraichit(); });
    connect(vue, &QWidget::customContextMenuRequested, this,
            [this, vue](const QPoint &point) { contextuel_->popup(vue->viewport()->mapToGlobal(point)); });
    vues_[i] = vue;
    onglets_->addTab(vue, chaine_qt(kGenres[i].legende));
  }

  QAction *commande(QMenu *menu, const char *nom, int legende, int indice, Besoin besoin,
                    void (TRefresh::*travail)()) {
    auto *action = new QAction(chaine_qt(legende), this);
    action->setObjectName(nom);
    action->setData(static_cast<int>(besoin));
    connect(action, &QAction::triggered, this, [this, travail] { (this->*travail)(); });
    connect(action, &QAction::hovered, this,
            [this, indice] { indice_->setText(indice != 0 ? chaine_qt(indice).mid(1) : QString()); });
    menu->addAction(action);
    commandes_.push_back(action);
    return action;
  }

  void construit_commandes() {
    auto *barre = new QMenuBar(this);
    auto *fichier = barre->addMenu(chaine_qt(2045));
    auto *edition = barre->addMenu(chaine_qt(7207));
    edition->setObjectName("Ed1");
    contextuel_ = new QMenu(this);
    contextuel_->setObjectName("PopRefresh");
    constexpr auto kRien = Besoin::rien;
    constexpr auto kSelection = Besoin::selection;
    commande(fichier, "Pr1", 2011, 7210, kRien, &TRefresh::imprime_listes)->setShortcut(QKeySequence::Print);
    commande(fichier, "R11", 2064, 2264, kRien, &TRefresh::compare);
    commande(fichier, "Path1", 2068, 2268, kRien, &TRefresh::change_chemins);
    commande(fichier, "Qu1", kFermer, 7211, kRien, &TRefresh::reject);
    for (QAction *action :
         {commande(edition, "A1", 7181, 7189, kSelection, &TRefresh::accepte_selection),
          commande(edition, "R1", 7182, 7190, kSelection, &TRefresh::refuse_selection),
          commande(edition, "AA1", 7183, 7191, kRien, &TRefresh::accepte_liste),
          commande(edition, "RA1", 7184, 7192, kRien, &TRefresh::refuse_liste),
          commande(edition, "AT1", 7185, 7193, kRien, &TRefresh::accepte_tout),
          commande(edition, "RT1", 7186, 7194, kRien, &TRefresh::refuse_tout),
          commande(edition, "Localiser", 7187, 7188, Besoin::suppression_seule, &TRefresh::localise)})
      contextuel_->addAction(action);
    for (QMenu *menu : {fichier, edition, contextuel_})
      connect(menu, &QMenu::aboutToHide, this, [this] { indice_->clear(); });
    layout()->setMenuBar(barre);
  }

  QHBoxLayout *range_boutons() {
    auto *ligne = new QHBoxLayout;
    for (const char *nom : {"A1", "R1", "AA1", "RA1", "Localiser"}) {
      auto *bouton = new QToolButton;
      bouton->setDefaultAction(findChild<QAction *>(nom));
      bouton->setToolButtonStyle(Qt::ToolButtonTextOnly);
      bouton->setFocusPolicy(Qt::StrongFocus);
      ligne->addWidget(bouton);
    }
    ligne->addStretch(1);
    return ligne;
  }

  // --- lists

  void repartit(std::vector<Difference> differences) {
    std::array<std::vector<Difference>, kListes> listes;
    for (Difference &difference : differences) {
      if (refusees_.contains(ligne_difference(difference))) continue;
      for (std::size_t i = 0; i < kListes; ++i)
        if (kGenres[i].genre == difference.genre) {
          listes[i].push_back(std::move(difference));
          break;
        }
    }
    for (std::size_t i = 0; i < kListes; ++i) modeles_[i]->montre(std::move(listes[i]));
    rafraichit_onglets();
  }

  // A list without rows has no tab; without any the form has nothing more to ask.
  void rafraichit_onglets() {
    int montres = 0;
    for (std::size_t i = 0; i < kListes; ++i) {
      const bool plein = modeles_[i]->rowCount() > 0;
      onglets_->setTabVisible(static_cast<int>(i), plein);
      if (plein) ++montres;
    }
    rafraichit();
    if (montres == 0) accept();
  }

  [[nodiscard]] std::size_t courante() const {
    return static_cast<std::size_t>(std::max(onglets_->currentIndex(), 0));
  }
  [[nodiscard]] std::vector<int> selection() const {
    std::vector<int> rangs;
    for (const QModelIndex &index : vues_[courante()]->selectionModel()->selectedRows())
      rangs.push_back(index.row());
    std::sort(rangs.begin(), rangs.end());
    return rangs;
  }
  [[nodiscard]] std::vector<int> tous(std::size_t liste) const {
    std::vector<int> rangs(static_cast<std::size_t>(modeles_[liste]->rowCount()));
    std::iota(rangs.begin(), rangs.end(), 0);
    return rangs;
  }

  void rafraichit() {
    const std::size_t choisies = selection().size();
    for (QAction *action : commandes_) {
      const auto besoin = static_cast<Besoin>(action->data().toInt());
      action->setEnabled(
          besoin == Besoin::rien || (besoin == Besoin::selection && choisies > 0) ||
          (besoin == Besoin::suppression_seule && choisies == 1 && courante() == kSuppressions));
    }
  }

  // --- accepting and rejecting

  void accepte_selection() { accepte({{courante(), selection()}}); }
  void accepte_liste() { accepte({{courante(), tous(courante())}}); }
  void accepte_tout() {
    accepte({{kSuppressions, tous(kSuppressions)},
             {kModifications, tous(kModifications)},
             {kAjouts, tous(kAjouts)}});
  }
  void refuse_selection() { refuse(courante(), selection()); }
  void refuse_liste() { refuse(courante(), tous(courante())); }
  void refuse_tout() {
    for (std::size_t i = 0; i < kListes; ++i) note_refus(modeles_[i]->retire(tous(i)));
    rafraichit_onglets();
  }

  void refuse(std::size_t liste, const std::vector<int> &rangs) {
    note_refus(modeles_[liste]->retire(rangs));
    rafraichit_onglets();
  }
  void note_refus(const std::vector<Difference> &differences) {
    for (const Difference &difference : differences) refusees_.insert(ligne_difference(difference));
  }

  void accepte(const std::vector<std::pair<std::size_t, std::vector<int>>> &choix) {
    std::vector<Difference> voulues;
    for (const auto &[liste, rangs] : choix)
      for (const int rang : rangs)
        voulues.push_back(modeles_[liste]->differences()[static_cast<std::size_t>(rang)]);
    if (voulues.empty()) return;
    BilanAccord bilan;
    bool arrete = false;
    std::optional<std::vector<Difference>> restantes;
    travaille(fenetre_, *this, [&] {
      bilan = accepte_differences(projet_, voulues);
      arrete = operations().arret_demande();
      // What the project did not take is known from a new look at it.
      if (bilan.abouti && bilan.restes > 0) restantes = differences_avec_disque(projet_);
    });
    if (!bilan.abouti) {
      if (arrete) operations().afficher_erreur(charger_chaine(kInchange));
      return;
    }
    for (const auto &[liste, rangs] : choix) static_cast<void>(modeles_[liste]->retire(rangs));
    if (restantes) remet(voulues, *restantes);
    rafraichit_onglets();
  }

  void remet(const std::vector<Difference> &voulues, const std::vector<Difference> &restantes) {
    std::unordered_set<std::string> vues;
    for (const Difference &difference : restantes) vues.insert(ligne_difference(difference));
    std::array<std::vector<Difference>, kListes> listes;
    std::size_t nombre = 0;
    for (const Difference &difference : voulues) {
      if (!vues.contains(ligne_difference(difference))) continue;
      ++nombre;
      for (std::size_t i = 0; i < kListes; ++i)
        if (kGenres[i].genre == difference.genre) listes[i].push_back(difference);
    }
    for (std::size_t i = 0; i < kListes; ++i) modeles_[i]->ajoute(listes[i]);
    if (nombre > 0) operations().afficher_avis(message(kNonAcceptees, {nombre}));
  }

  // --- the rest

  // The comparison once more; rejected differences stay away.
  void relit() {
    std::optional<std::vector<Difference>> differences;
    travaille(fenetre_, *this, [&] { differences = differences_avec_disque(projet_); });
    if (differences) repartit(std::move(*differences));
  }
  void compare() {
    refusees_.clear();
    relit();
  }
  void change_chemins() {
    if (montre_chemin_acces(fenetre_)) relit();
  }
  void localise() {
    const std::vector<int> rangs = selection();
    if (rangs.size() != 1) return;
    const Difference &absente = modeles_[courante()]->differences()[static_cast<std::size_t>(rangs[0])];
    if (localise_source(fenetre_, *this, absente.dossier, absente.numero)) relit();
  }

  void imprime_listes() {
    DocumentImprime document;
    const std::string &chemin = projet_.chemin();
    document.gauche = chaine_qt(kTitre);
    document.milieu = chaine_qt(kProjet) + vers_qt(chemin.substr(chemin.find_last_of("/\\") + 1));
    const QString date = QLocale().toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
    document.droite = [date](int /*page*/) { return date; };
    document.marges = {0x96, 0x96, 0x96, 400};
    for (std::size_t i = 0; i < kListes; ++i) {
      if (modeles_[i]->rowCount() == 0) continue;
      TableauImprime tableau;
      tableau.titre = chaine_qt(kGenres[i].legende);
      for (int colonne = 0; colonne < ModeleDifferences::kColonnesDifferences; ++colonne) {
        const int bord = modeles_[i]->headerData(colonne, Qt::Horizontal, Qt::TextAlignmentRole).toInt();
        tableau.colonnes.push_back(
            {modeles_[i]->headerData(colonne, Qt::Horizontal, Qt::DisplayRole).toString(), 0,
             (bord & Qt::AlignRight) != 0});
      }
      tableau.lignes = modeles_[i]->rowCount();
      tableau.cellule = [modele = modeles_[i]](int ligne, int colonne) {
        return modele->index(ligne, colonne).data().toString();
      };
      document.tableaux.push_back(std::move(tableau));
    }
    imprime(this, document.gauche, document);
  }

  TVarnion &fenetre_;
  FichierProjet &projet_;
  QTabWidget *onglets_ = nullptr;
  QMenu *contextuel_ = nullptr;
  QLabel *indice_ = nullptr;
  std::array<ModeleDifferences *, kListes> modeles_{};
  std::array<QTreeView *, kListes> vues_{};
  std::vector<QAction *> commandes_;
  std::unordered_set<std::string> refusees_;  ///< lines of the differences that the user left as they are
};

}  // namespace

void montre_differences(TVarnion &fenetre, std::vector<Difference> differences) {
  TRefresh forme(fenetre, std::move(differences));
  static_cast<void>(forme.exec());
}

}  // namespace varnion
