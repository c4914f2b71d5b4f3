#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include <QAbstractTableModel>
#include <QHash>
#include <QIcon>

#include "app/qt/document.hpp"

namespace varnion {

constexpr int kColonnes = 7;

struct IconesListe {
  QIcon dossier, fichier, iso, hfs, aucune;
};

/// What the icon of a file tells.
enum class GenreIcones : std::uint8_t {
  presence,   ///< the views that it is in
  extension,  ///< its type on the PC
  signature,  ///< its type on the Macintosh, through the signature table
};

/// The rows of one folder: one record an item, texts made when a row is shown.
class ModeleListe final : public QAbstractTableModel {
 public:
  using QAbstractTableModel::QAbstractTableModel;

  /// Another folder; the sort state is cleared.
  void montre(ContenuDossier contenu, bool dates_utc);
  void icones(const IconesListe &icones);
  void genre_icones(GenreIcones genre) { genre_ = genre; }
  /// Called when a name was typed over: true when it was taken.
  std::function<bool(std::uint32_t id, const QString &nom)> renomme;
  /// Texts in another language: the captions of the columns and all cells.
  void retraduit();

  /// A click on a column: ascending, then each time the other way round.
  void clique_colonne(int colonne);
  /// Column in force with its direction; nothing when the order is that of the reading.
  struct Tri {
    int colonne;
    bool descendant;
  };
  [[nodiscard]] std::optional<Tri> tri() const { return tri_; }

  [[nodiscard]] const LigneListe &ligne(int rang) const { return lignes_[static_cast<std::size_t>(rang)]; }
  [[nodiscard]] int nb_dossiers() const { return nb_dossiers_; }
  [[nodiscard]] bool endommage() const { return endommage_; }

  [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
  bool setData(const QModelIndex &index, const QVariant &valeur, int role) override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  [[nodiscard]] QString texte(const LigneListe &ligne, int colonne) const;
  [[nodiscard]] QIcon icone_de(const LigneListe &ligne) const;
  void trie();
  void complete_table();

  std::vector<LigneListe> lignes_;
  int nb_dossiers_ = 0;
  bool endommage_ = false;
  bool dates_utc_ = false;
  GenreIcones genre_ = GenreIcones::presence;
  std::optional<Tri> tri_;
  IconesListe icones_;
  mutable QHash<QString, QIcon> extensions_;     ///< asked for once each
  mutable QHash<QByteArray, QIcon> signatures_;  ///< the same
  std::vector<QIcon> petites_;  ///< those that the signature table counts; the first are fixed
};

}  // namespace varnion
