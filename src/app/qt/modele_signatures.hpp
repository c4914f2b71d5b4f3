#pragma once

#include <QAbstractTableModel>

#include "projet/edition_signatures.hpp"

namespace varnion {

/// The rows of the signature editor. Whoever changes the edition announces it here.
class ModeleSignatures final : public QAbstractTableModel {
 public:
  explicit ModeleSignatures(const EditionSignatures &edition) : edition_(edition) {}

  /// Runs a change of any kind of the rows.
  template <typename Changement>
  void change(Changement changement) {
    beginResetModel();
    changement();
    endResetModel();
  }

  [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  const EditionSignatures &edition_;
};

/// Text of a row in a column.
[[nodiscard]] const std::string &champ_signature(const LigneSignature &ligne, int colonne);

}  // namespace varnion
