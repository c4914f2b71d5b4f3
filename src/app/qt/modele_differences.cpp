#include "app/qt/modele_differences.hpp"

#include <utility>

#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kLegende = 1564;  // of the first column, those of the others behind it

bool a_droite(int colonne) {
  return colonne >= ModeleDifferences::kPere && colonne <= ModeleDifferences::kLongueur;
}

}  // namespace

void ModeleDifferences::montre(std::vector<Difference> differences) {
  beginResetModel();
  differences_ = std::move(differences);
  endResetModel();
}

std::vector<Difference> ModeleDifferences::retire(const std::vector<int> &rangs) {
  std::vector<Difference> retirees, restantes;
  beginResetModel();
  auto prochain = rangs.begin();
  for (std::size_t i = 0; i < differences_.size(); ++i) {
    const bool voulue = prochain != rangs.end() && static_cast<std::size_t>(*prochain) == i;
    if (voulue) ++prochain;
    (voulue ? retirees : restantes).push_back(std::move(differences_[i]));
  }
  differences_ = std::move(restantes);
  endResetModel();
  return retirees;
}

void ModeleDifferences::ajoute(const std::vector<Difference> &differences) {
  beginResetModel();
  differences_.insert(differences_.end(), differences.begin(), differences.end());
  endResetModel();
}

int ModeleDifferences::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(differences_.size());
}

int ModeleDifferences::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColonnesDifferences;
}

QVariant ModeleDifferences::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  if (role == Qt::TextAlignmentRole)
    return static_cast<int>(Qt::AlignVCenter | (a_droite(index.column()) ? Qt::AlignRight : Qt::AlignLeft));
  const Difference &ici = differences_[static_cast<std::size_t>(index.row())];
  if (role == Qt::ToolTipRole) return vers_qt(ici.chemin + ici.nom_source);
  if (role != Qt::DisplayRole) return {};
  switch (index.column()) {
    case kNom:
      return vers_qt(ici.nom_source);
    case kPere:
      return QString::number(ici.dossier);
    case kNumero:
      return QString::number(static_cast<std::int32_t>(ici.numero));
    case kLongueur:
      return QString::number(ici.longueur);
    default:
      return vers_qt(ici.chemin);
  }
}

QVariant ModeleDifferences::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::DisplayRole) return chaine_qt(kLegende + section);
  if (role == Qt::TextAlignmentRole)
    return static_cast<int>(Qt::AlignVCenter | (a_droite(section) ? Qt::AlignRight : Qt::AlignLeft));
  return {};
}

}  // namespace varnion
