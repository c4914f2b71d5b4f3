#include "app/qt/page_ressources.hpp"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWheelEvent>

#include "app/qt/cible_sortie.hpp"
#include "app/qt/operations_qt.hpp"
#include "app/qt/texte_qt.hpp"
#include "app/qt/tvarnion.hpp"
#include "app/qt/vue_vidage.hpp"
#include "fichiers/copie_vers_pc.hpp"
#include "hfs/liens.hpp"
#include "hfs/texte_mac.hpp"
#include "res/chaines.hpp"

namespace varnion {

namespace {

constexpr int kArbre = 3006;
constexpr int kFiltreHexa = 3601;
constexpr int kTitreHexa = 3602;
constexpr int kFiltreBinaire = 3605;
constexpr int kTitreBinaire = 3606;
constexpr int kExtensionHexa = 3600;
constexpr int kExtensionBinaire = 3604;
constexpr int kEnregistrer = 7224;
constexpr int kEnregistrerHexa = 7225;
constexpr std::uint32_t kMontreMax = 1U << 24;  // bytes of one resource that are listed
constexpr std::size_t kMotLongueur = 4;
constexpr int kLettresArbre = 28;  // of the tree that are seen
constexpr int kCranMolette = 120;  // eighths of a degree

}  // namespace

PageRessources::PageRessources(TVarnion &fenetre, const ElementMac &element, const QString &nom)
    : fenetre_(fenetre),
      nom_(de_qt(nom)),
      fourche_(fourche_en_fichier(element_de_volume(sans_lien(element)).rsrc)),
      arbre_(new QTreeWidget),
      octets_(new VueVidage),
      binaire_(new QPushButton(chaine_qt(kEnregistrer))),
      hexa_(new QPushButton(chaine_qt(kEnregistrerHexa))) {
  arbre_->setObjectName("RessTV");
  arbre_->setHeaderHidden(true);
  arbre_->setUniformRowHeights(true);
  arbre_->setAccessibleName(chaine_qt(kArbre));
  arbre_->setMinimumWidth(arbre_->fontMetrics().averageCharWidth() * kLettresArbre);
  octets_->setObjectName("ListArb");
  binaire_->setObjectName("SBin");
  hexa_->setObjectName("SHex");
  auto *partage = new QSplitter;
  partage->addWidget(arbre_);
  partage->addWidget(octets_);
  partage->setStretchFactor(1, 1);
  auto *rangee = new QHBoxLayout;
  rangee->setContentsMargins(6, 0, 6, 6);
  rangee->addStretch(1);
  for (QPushButton *bouton : {binaire_, hexa_}) {
    bouton->setAutoDefault(false);
    bouton->setEnabled(false);
    rangee->addWidget(bouton);
  }
  auto *colonne = new QVBoxLayout(this);
  colonne->setContentsMargins(0, 0, 0, 0);
  colonne->addWidget(partage, 1);
  colonne->addLayout(rangee);
  setFocusProxy(arbre_);
  arbre_->viewport()->installEventFilter(this);
  connect(arbre_, &QTreeWidget::itemSelectionChanged, this, [this] {
    for (QPushButton *bouton : {binaire_, hexa_}) bouton->setEnabled(choisie() != nullptr);
  });
  connect(arbre_, &QTreeWidget::itemActivated, this, [this] { montre(); });
  connect(binaire_, &QPushButton::clicked, this, [this] { enregistre(FormeRessource::binaire); });
  connect(hexa_, &QPushButton::clicked, this, [this] { enregistre(FormeRessource::hexadecimale); });
  remplit(nom);
}

// The types in the order of the map, the resources of each below it.
void PageRessources::remplit(const QString &nom) {
  auto *racine = new QTreeWidgetItem(arbre_, {nom});
  if (auto lues = lit_ressources(fourche_, base_ressources(fourche_))) ressources_ = std::move(*lues);
  QTreeWidgetItem *type = nullptr;
  std::string precedent;
  QList<QTreeWidgetItem *> types;
  for (std::size_t i = 0; i < ressources_.size(); ++i) {
    const RessourceMac &ressource = ressources_[i];
    if (type == nullptr || ressource.type != precedent) {
      type = new QTreeWidgetItem({QString::fromStdString(mac_vers_utf8(ressource.type))});
      types << type;
      precedent = ressource.type;
    }
    auto *ligne = new QTreeWidgetItem(type, {vers_qt(legende_ressource(ressource))});
    if (!ressource.nom.empty())
      ligne->setText(0, ligne->text(0) + "  " + QString::fromStdString(mac_vers_utf8(ressource.nom)));
    ligne->setData(0, Qt::UserRole, static_cast<qulonglong>(i));
  }
  racine->addChildren(types);
  racine->setExpanded(true);
  arbre_->setCurrentItem(racine);
}

const RessourceMac *PageRessources::choisie() const {
  const QTreeWidgetItem *ligne = arbre_->currentItem();
  const QVariant rang = ligne != nullptr ? ligne->data(0, Qt::UserRole) : QVariant();
  return rang.isValid() ? &ressources_[static_cast<std::size_t>(rang.toULongLong())] : nullptr;
}

bool PageRessources::eventFilter(QObject *cible, QEvent *evenement) {
  if (evenement->type() != QEvent::Wheel) return QWidget::eventFilter(cible, evenement);
  molette_ += static_cast<QWheelEvent *>(evenement)->angleDelta().y();
  while (std::abs(molette_) >= kCranMolette) {
    const bool haut = molette_ > 0;
    molette_ += haut ? -kCranMolette : kCranMolette;
    QKeyEvent fleche(QEvent::KeyPress, haut ? Qt::Key_Up : Qt::Key_Down, Qt::NoModifier);
    QApplication::sendEvent(arbre_, &fleche);
  }
  return true;
}

// The length word and the bytes, in whole rows of 16: the last one goes on into what lies behind.
void PageRessources::montre() {
  const RessourceMac *ressource = choisie();
  if (ressource == nullptr || ressource == montree_) return;
  const Attente attente;
  montree_ = ressource;
  const std::size_t voulus = std::min(ressource->longueur, kMontreMax) + kMotLongueur;
  std::vector<std::uint8_t> octets((voulus + kOctetsParLigne - 1) / kOctetsParLigne * kOctetsParLigne);
  const auto lus = fourche_.lire_a(octets, ressource->position);
  octets.resize(static_cast<std::size_t>(std::max<std::int64_t>(lus, 0)));
  std::vector<std::string> lignes;
  for (std::size_t place = 0; place < octets.size(); place += kOctetsParLigne) {
    const std::size_t part = std::min(kOctetsParLigne, octets.size() - place);
    lignes.push_back(ligne_vidage(std::span(octets).subspan(place, part), place, aspect_));
  }
  octets_->montre(lignes);
}

void PageRessources::enregistre(FormeRessource forme) {
  const RessourceMac *ressource = choisie();
  if (ressource == nullptr) return;
  const bool binaire = forme == FormeRessource::binaire;
  const std::string titre = titre_ressource(nom_, *ressource);
  const QString propose = depart_documents() + "/" + vers_qt(nom_propose(titre, forme));
  const QString choisi = fenetre_.demandes.enregistrer(binaire ? kTitreBinaire : kTitreHexa,
                                                       binaire ? kFiltreBinaire : kFiltreHexa, propose,
                                                       binaire ? kExtensionBinaire : kExtensionHexa);
  const auto cible = cible_choisie(choisi);
  if (!cible) return;
  const Attente attente;
  static_cast<void>(enregistre_ressource(fourche_, *ressource, forme, titre, cible->dossier, cible->nom));
}

void PageRessources::corps(int points) {
  octets_->corps(points);
  QFont police = arbre_->font();
  police.setPointSize(points);
  arbre_->setFont(police);
  arbre_->setMinimumWidth(QFontMetrics(police).averageCharWidth() * kLettresArbre);
}

void PageRessources::aspect(const AspectVidage &aspect) {
  aspect_ = aspect;
  if (montree_ == nullptr) return;
  montree_ = nullptr;
  montre();
}

}  // namespace varnion
