#include "app/qt/dessin_arbre.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include <QAbstractItemModel>
#include <QIcon>
#include <QLabel>
#include <QTreeView>
#include <QVBoxLayout>

#include "app/qt/icones.hpp"
#include "app/qt/texte_qt.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kEnCours = 7227;  // rows so far
constexpr int kArrete = 7228;   // rows, nodes
constexpr int kEndommage = 7229;
constexpr int kDessine = 7230;
constexpr std::chrono::milliseconds kRythme(200);

}  // namespace

// The rows as they came, with the row above each and the rows below it.
class ModeleRangees final : public QAbstractItemModel {
 public:
  explicit ModeleRangees(std::vector<RangeeArbre> rangees) : rangees_(std::move(rangees)) {
    parents_.resize(rangees_.size(), -1);
    rangs_.resize(rangees_.size(), 0);
    enfants_.resize(rangees_.size());
    std::vector<int> chemin;
    for (std::size_t i = 0; i < rangees_.size(); ++i) {
      const std::size_t profondeur = std::min<std::size_t>(rangees_[i].profondeur, chemin.size());
      chemin.resize(profondeur);
      parents_[i] = chemin.empty() ? -1 : chemin.back();
      std::vector<int> &freres =
          chemin.empty() ? racines_ : enfants_[static_cast<std::size_t>(chemin.back())];
      rangs_[i] = static_cast<int>(freres.size());
      freres.push_back(static_cast<int>(i));
      chemin.push_back(static_cast<int>(i));
    }
    const QColor trait(Qt::black);
    icones_ = {icone("racine", trait), icone("dossier", trait), icone("fil", trait), icone("fichier", trait)};
  }

  [[nodiscard]] const RangeeArbre &rangee(const QModelIndex &index) const {
    return rangees_[static_cast<std::size_t>(index.internalId())];
  }

  [[nodiscard]] QModelIndex index(int ligne, int colonne, const QModelIndex &parent) const override {
    const std::vector<int> &freres = sous(parent);
    if (ligne < 0 || static_cast<std::size_t>(ligne) >= freres.size()) return {};
    return createIndex(ligne, colonne, static_cast<quintptr>(freres[static_cast<std::size_t>(ligne)]));
  }
  [[nodiscard]] QModelIndex parent(const QModelIndex &index) const override {
    if (!index.isValid()) return {};
    const int pere = parents_[static_cast<std::size_t>(index.internalId())];
    if (pere < 0) return {};
    return createIndex(rangs_[static_cast<std::size_t>(pere)], 0, static_cast<quintptr>(pere));
  }
  [[nodiscard]] int rowCount(const QModelIndex &parent) const override {
    return static_cast<int>(sous(parent).size());
  }
  [[nodiscard]] int columnCount(const QModelIndex & /*parent*/) const override { return 1; }
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override {
    if (!index.isValid()) return {};
    if (role == Qt::DisplayRole) return vers_qt(rangee(index).texte);
    if (role == Qt::DecorationRole) return icones_[static_cast<std::size_t>(rangee(index).icone)];
    return {};
  }

 private:
  [[nodiscard]] const std::vector<int> &sous(const QModelIndex &parent) const {
    return parent.isValid() ? enfants_[static_cast<std::size_t>(parent.internalId())] : racines_;
  }

  std::vector<RangeeArbre> rangees_;
  std::vector<int> parents_, rangs_, racines_;
  std::vector<std::vector<int>> enfants_;
  std::array<QIcon, 4> icones_;
};

DessinArbre::DessinArbre(const SourceSecteurs &source, std::int64_t entete, QWidget *parent)
    : QWidget(parent), source_(source), entete_(entete), vue_(new QTreeView), etat_(new QLabel) {
  auto *colonne = new QVBoxLayout(this);
  vue_->setObjectName("Arbre");
  vue_->setHeaderHidden(true);
  vue_->setUniformRowHeights(true);
  vue_->setExpandsOnDoubleClick(false);
  vue_->setAccessibleName(chaine_qt(3349));
  etat_->setObjectName("EtatArbre");
  colonne->addWidget(vue_, 1);
  colonne->addWidget(etat_);
  setFocusProxy(vue_);
}

DessinArbre::~DessinArbre() {
  arret_ = true;
  if (fil_.joinable()) fil_.join();
  vue_->setModel(nullptr);
}

void DessinArbre::commence() {
  en_cours_ = true;
  etat_->setText(vers_qt(message(kEnCours, {0})));
  fil_ = std::thread([this] {
    auto suivant = std::chrono::steady_clock::now() + kRythme;
    const ResultatDessin resultat = dessine_arbre(source_, entete_, [&](const RangeeArbre &rangee) {
      rangees_.push_back(rangee);
      if (std::chrono::steady_clock::now() >= suivant) {
        suivant += kRythme;
        const auto nombre = rangees_.size();
        QMetaObject::invokeMethod(
            this, [this, nombre] { etat_->setText(vers_qt(message(kEnCours, {nombre}))); },
            Qt::QueuedConnection);
      }
      return !arret_;
    });
    QMetaObject::invokeMethod(
        this, [this, resultat] { termine(resultat); }, Qt::QueuedConnection);
  });
}

void DessinArbre::termine(const ResultatDessin &resultat) {
  fil_.join();
  en_cours_ = false;
  modele_ = std::make_unique<ModeleRangees>(std::move(rangees_));
  vue_->setModel(modele_.get());
  if (modele_->rowCount({}) > 0) vue_->setCurrentIndex(modele_->index(0, 0, {}));
  connect(vue_, &QTreeView::activated, this, [this](const QModelIndex &index) {
    if (choisit) choisit(modele_->rangee(index).secteur);
  });
  const int texte = resultat.etat == EtatDessin::entier   ? kDessine
                    : resultat.etat == EtatDessin::arrete ? kArrete
                                                          : kEndommage;
  etat_->setText(vers_qt(message(texte, {resultat.rangees, resultat.noeuds})));
  if (fini) fini();
}

}  // namespace varnion
