#include "app/qt/modele_arbre.hpp"

#include <utility>

namespace varnion {

ModeleArbre::~ModeleArbre() = default;

void ModeleArbre::montre(const Document *document) {
  beginResetModel();
  document_ = document;
  racine_.reset();
  if (document != nullptr) {
    racine_ = std::make_unique<Noeud>();
    racine_->dossier = document->racine();
  }
  endResetModel();
}

void ModeleArbre::icones(const QIcon &racine, const QIcon &dossier) {
  icone_racine_ = racine;
  icone_dossier_ = dossier;
}

ModeleArbre::Noeud *ModeleArbre::noeud(const QModelIndex &index) const {
  return index.isValid() ? static_cast<Noeud *>(index.internalPointer()) : nullptr;
}

std::uint32_t ModeleArbre::id(const QModelIndex &index) const {
  const Noeud *ici = noeud(index);
  return ici != nullptr ? ici->dossier.id : 0;
}

QModelIndex ModeleArbre::enfant(const QModelIndex &parent, std::uint32_t id) {
  if (canFetchMore(parent)) fetchMore(parent);
  const Noeud *ici = noeud(parent);
  if (ici == nullptr) return {};
  for (const auto &fils : ici->enfants)
    if (fils->dossier.id == id) return createIndex(fils->rang, 0, fils.get());
  return {};
}

QModelIndex ModeleArbre::index(int ligne, int colonne, const QModelIndex &parent) const {
  if (ligne < 0 || colonne != 0) return {};
  if (!parent.isValid()) return ligne == 0 && racine_ ? createIndex(0, 0, racine_.get()) : QModelIndex();
  const Noeud *ici = noeud(parent);
  const auto rang = static_cast<std::size_t>(ligne);
  return rang < ici->enfants.size() ? createIndex(ligne, 0, ici->enfants[rang].get()) : QModelIndex();
}

QModelIndex ModeleArbre::parent(const QModelIndex &index) const {
  const Noeud *ici = noeud(index);
  if (ici == nullptr || ici->parent == nullptr) return {};
  return createIndex(ici->parent->rang, 0, ici->parent);
}

int ModeleArbre::rowCount(const QModelIndex &parent) const {
  if (!parent.isValid()) return racine_ ? 1 : 0;
  return static_cast<int>(noeud(parent)->enfants.size());
}

int ModeleArbre::columnCount(const QModelIndex & /*parent*/) const {
  return 1;
}

QVariant ModeleArbre::data(const QModelIndex &index, int role) const {
  const Noeud *ici = noeud(index);
  if (ici == nullptr) return {};
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole || role == Qt::EditRole)
    return QString::fromStdString(ici->dossier.nom);
  if (role == Qt::DecorationRole) return ici->parent == nullptr ? icone_racine_ : icone_dossier_;
  return {};
}

Qt::ItemFlags ModeleArbre::flags(const QModelIndex &index) const {
  Qt::ItemFlags drapeaux = QAbstractItemModel::flags(index);
  if (index.parent().isValid() && renomme) drapeaux |= Qt::ItemIsEditable;
  return drapeaux;
}

bool ModeleArbre::setData(const QModelIndex &index, const QVariant &valeur, int role) {
  const Noeud *ici = noeud(index);
  if (ici == nullptr || role != Qt::EditRole || !renomme) return false;
  const QString nom = valeur.toString();
  if (nom == QString::fromStdString(ici->dossier.nom)) return false;
  return renomme(ici->dossier.id, nom);
}

bool ModeleArbre::hasChildren(const QModelIndex &parent) const {
  const Noeud *ici = noeud(parent);
  if (ici == nullptr) return racine_ != nullptr;
  return ici->lu ? !ici->enfants.empty() : ici->dossier.a_contenu;
}

bool ModeleArbre::canFetchMore(const QModelIndex &parent) const {
  const Noeud *ici = noeud(parent);
  return ici != nullptr && !ici->lu && ici->dossier.a_contenu;
}

void ModeleArbre::fetchMore(const QModelIndex &parent) {
  Noeud *ici = noeud(parent);
  if (ici == nullptr || ici->lu || document_ == nullptr) return;
  ici->lu = true;
  std::vector<DossierArbre> dossiers = document_->dossiers(ici->dossier.id);
  if (dossiers.empty()) {
    emit dataChanged(parent, parent);
    return;
  }
  beginInsertRows(parent, 0, static_cast<int>(dossiers.size()) - 1);
  for (DossierArbre &dossier : dossiers) {
    auto fils = std::make_unique<Noeud>();
    fils->dossier = std::move(dossier);
    fils->parent = ici;
    fils->rang = static_cast<int>(ici->enfants.size());
    ici->enfants.push_back(std::move(fils));
  }
  endInsertRows();
}

}  // namespace varnion
