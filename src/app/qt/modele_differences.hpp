#pragma once

#include <vector>

#include <QAbstractTableModel>

#include "projet/rafraichissement.hpp"

namespace varnion {

/// The differences of one kind as rows: name, father, number, length, access path.
class ModeleDifferences final : public QAbstractTableModel {
 public:
  enum Colonne : int { kNom, kPere, kNumero, kLongueur, kChemin, kColonnesDifferences };
  using QAbstractTableModel::QAbstractTableModel;

  void montre(std::vector<Difference> differences);
  /// Takes rows out and gives them; the ranks ascend.
  std::vector<Difference> retire(const std::vector<int> &rangs);
  /// Puts rows back at the end.
  void ajoute(const std::vector<Difference> &differences);
  [[nodiscard]] const std::vector<Difference> &differences() const { return differences_; }

  [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::vector<Difference> differences_;
};

}  // namespace varnion
