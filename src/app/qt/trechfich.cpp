#include "app/qt/trechfich.hpp"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabBar>
#include <QTabWidget>
#include <QVBoxLayout>

#include "app/qt/aide.hpp"
#include "app/qt/forme.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/ttable_signatures.hpp"
#include "IO/etat.hpp"
#include "noms/texte.hpp"

namespace varnion {

namespace {

constexpr int kTitre = 1241;
constexpr int kLancer = 1242;
constexpr int kParNom = 1243;
constexpr int kParSignature = 1244;
constexpr int kTable = 1245;
constexpr int kFermer = 1000;
constexpr int kNomMax = 255;
constexpr int kSignatureMax = 8;
constexpr int kLettres = 40;

struct DernieresRecherches {
  QString nom, signature;
  GenreRecherche genre = GenreRecherche::nom;
};

class TRechFich final : public Forme {
 public:
  explicit TRechFich(QWidget *parent) : Forme(parent, "TRechFich", kTitre, sujet::kRecherche) {
    const DernieresRecherches &dernieres = etat<DernieresRecherches>();
    onglets_ = new QTabWidget;
    onglets_->setObjectName("Onglets");
    onglets_->tabBar()->setUsesScrollButtons(false);
    nom_ = page("TabNom", kParNom, "EditNom", "LanceNom", kNomMax, dernieres.nom);
    signature_ = page("TabSign", kParSignature, "EditSign", "LanceSign", kSignatureMax, dernieres.signature);
    ajoute_table();
    corps()->addWidget(onglets_);
    boutons(0, kFermer);
    connect(onglets_, &QTabWidget::currentChanged, this, [this] { choisit(); });
    onglets_->setCurrentIndex(dernieres.genre == GenreRecherche::nom ? 0 : 1);
    choisit();
  }

  [[nodiscard]] DemandeRechercheFichiers demande() const {
    const bool par_nom = onglets_->currentIndex() == 0;
    return {par_nom ? GenreRecherche::nom : GenreRecherche::signature,
            (par_nom ? nom_ : signature_).champ->text()};
  }

  void retient() const {
    DernieresRecherches &dernieres = etat<DernieresRecherches>();
    dernieres.nom = nom_.champ->text();
    dernieres.signature = signature_.champ->text();
    dernieres.genre = demande().genre;
  }

 private:
  struct Page {
    QLineEdit *champ = nullptr;
    QPushButton *lancer = nullptr;
  };

  Page page(const char *nom, int legende, const char *nom_champ, const char *nom_bouton, int limite,
            const QString &texte) {
    auto *feuille = new QWidget;
    feuille->setObjectName(nom);
    Page faite{new QLineEdit(texte), new QPushButton(chaine_qt(kLancer))};
    faite.champ->setObjectName(nom_champ);
    faite.champ->setAccessibleName(chaine_qt(legende));
    faite.champ->setMaxLength(limite);
    faite.champ->setMinimumWidth(fontMetrics().averageCharWidth() * kLettres);
    faite.lancer->setObjectName(nom_bouton);
    faite.lancer->setEnabled(!texte.isEmpty());
    connect(faite.champ, &QLineEdit::textChanged, faite.lancer,
            [bouton = faite.lancer](const QString &saisi) { bouton->setEnabled(!saisi.isEmpty()); });
    connect(faite.lancer, &QAbstractButton::clicked, this, &QDialog::accept);
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(faite.champ, 1);
    ligne->addWidget(faite.lancer);
    auto *colonne = new QVBoxLayout(feuille);
    colonne->addLayout(ligne);
    colonne->addStretch(1);
    onglets_->addTab(feuille, chaine_qt(legende));
    return faite;
  }

  // A row of the signature table fills the field.
  void ajoute_table() {
    auto *table = new QPushButton(chaine_qt(kTable));
    table->setObjectName("TableS");
    table->setAutoDefault(false);
    auto *ligne = new QHBoxLayout;
    ligne->addWidget(table);
    ligne->addStretch(1);
    auto *colonne = qobject_cast<QVBoxLayout *>(onglets_->widget(1)->layout());
    colonne->insertLayout(1, ligne);
    connect(table, &QAbstractButton::clicked, this, [this] {
      const auto choisie = choisit_signature(this, nom_mac(de_qt(signature_.champ->text())));
      if (choisie) signature_.champ->setText(vers_qt(nom_windows(*choisie)));
    });
  }

  // Enter searches on the page at hand.
  void choisit() {
    const Page &page = onglets_->currentIndex() == 0 ? nom_ : signature_;
    page.lancer->setDefault(true);
    page.champ->setFocus();
    page.champ->selectAll();
  }

  QTabWidget *onglets_ = nullptr;
  Page nom_, signature_;
};

}  // namespace

std::optional<DemandeRechercheFichiers> montre_recherche(QWidget *parent) {
  TRechFich forme(parent);
  if (forme.exec() != QDialog::Accepted) return std::nullopt;
  forme.retient();
  return forme.demande();
}

}  // namespace varnion
