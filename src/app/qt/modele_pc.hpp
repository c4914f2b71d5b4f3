#pragma once

#include <cstdint>
#include <vector>

#include <QAbstractTableModel>
#include <QDateTime>
#include <QIcon>
#include <QString>

namespace varnion {

/// What a folder of the PC holds: folders first, then files. Links are followed; special files are left out.
class ModelePc final : public QAbstractTableModel {
 public:
  enum Colonne { kNom, kTaille, kModification, kColonnesPc };
  struct Ligne {
    QString nom;
    bool dossier = false;
    qint64 taille = 0;
    QDateTime modification;
  };
  explicit ModelePc(QObject *parent);

  /// Reads a folder, sorted by name; false, with nothing changed and `errno` set, when it cannot be read.
  bool lit(const QString &dossier, bool caches);
  [[nodiscard]] const Ligne &ligne(int rang) const { return lignes_[static_cast<std::size_t>(rang)]; }
  void sort(int colonne, Qt::SortOrder ordre) override;

  [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  void trie();

  std::vector<Ligne> lignes_;
  int colonne_ = kNom;
  Qt::SortOrder ordre_ = Qt::AscendingOrder;
  QIcon dossier_, fichier_;
};

}  // namespace varnion
