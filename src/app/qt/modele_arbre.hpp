#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <QAbstractItemModel>
#include <QIcon>

#include "app/qt/document.hpp"

namespace varnion {

/// The folders of a document. Children are read when a node opens.
class ModeleArbre final : public QAbstractItemModel {
 public:
  using QAbstractItemModel::QAbstractItemModel;
  ~ModeleArbre() override;

  /// Shows the root of a document, which must outlive its use here; nullptr empties the tree.
  void montre(const Document *document);
  /// Called when a name was typed over: true when it was taken.
  std::function<bool(std::uint32_t id, const QString &nom)> renomme;
  void icones(const QIcon &racine, const QIcon &dossier);
  [[nodiscard]] QModelIndex index_racine() const { return index(0, 0, {}); }
  /// Catalog id or item number; 0 for no node.
  [[nodiscard]] std::uint32_t id(const QModelIndex &index) const;
  /// The node of a folder that lies in a node, which is read where it was not yet.
  [[nodiscard]] QModelIndex enfant(const QModelIndex &parent, std::uint32_t id);

  [[nodiscard]] QModelIndex index(int ligne, int colonne, const QModelIndex &parent) const override;
  [[nodiscard]] QModelIndex parent(const QModelIndex &index) const override;
  [[nodiscard]] int rowCount(const QModelIndex &parent) const override;
  [[nodiscard]] int columnCount(const QModelIndex &parent) const override;
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
  bool setData(const QModelIndex &index, const QVariant &valeur, int role) override;
  [[nodiscard]] bool hasChildren(const QModelIndex &parent) const override;
  [[nodiscard]] bool canFetchMore(const QModelIndex &parent) const override;
  void fetchMore(const QModelIndex &parent) override;

 private:
  struct Noeud {
    DossierArbre dossier;
    Noeud *parent = nullptr;
    int rang = 0;
    bool lu = false;
    std::vector<std::unique_ptr<Noeud>> enfants;
  };
  [[nodiscard]] Noeud *noeud(const QModelIndex &index) const;

  const Document *document_ = nullptr;
  std::unique_ptr<Noeud> racine_;
  QIcon icone_racine_, icone_dossier_;
};

}  // namespace varnion
