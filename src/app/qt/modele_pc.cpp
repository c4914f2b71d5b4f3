#include "app/qt/modele_pc.hpp"

#include <algorithm>
#include <array>
#include <cerrno>

#include <QCollator>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include "app/qt/icones.hpp"
#include "app/qt/texte_qt.hpp"

namespace varnion {

namespace {

constexpr int kLegendeNom = 1003;
constexpr int kLegendeTaille = 7067;
constexpr int kLegendeModification = 1008;

}  // namespace

ModelePc::ModelePc(QObject *parent)
    : QAbstractTableModel(parent),
      dossier_(icone("dossier", QColor(Qt::black))),
      fichier_(icone("fichier", QColor(Qt::black))) {}

bool ModelePc::lit(const QString &dossier, bool caches) {
  const QFileInfo fiche(dossier);
  if (!fiche.isDir() || !fiche.isReadable() || !fiche.isExecutable()) {
    errno = fiche.exists() ? (fiche.isDir() ? EACCES : ENOTDIR) : ENOENT;
    return false;
  }
  QDir::Filters filtre = QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot;
  if (caches) filtre |= QDir::Hidden;
  std::vector<Ligne> lignes;
  const QFileInfoList entrees = QDir(dossier).entryInfoList(filtre, QDir::Unsorted);
  lignes.reserve(static_cast<std::size_t>(entrees.size()));
  for (const QFileInfo &entree : entrees)
    lignes.push_back({entree.fileName(), entree.isDir(), entree.size(), entree.lastModified()});
  beginResetModel();
  lignes_ = std::move(lignes);
  trie();
  endResetModel();
  return true;
}

void ModelePc::trie() {
  QCollator ordre_noms;
  ordre_noms.setNumericMode(true);
  ordre_noms.setCaseSensitivity(Qt::CaseInsensitive);
  const auto compare = [&](const Ligne &a, const Ligne &b) {
    if (colonne_ == kTaille && a.taille != b.taille) return a.taille < b.taille ? -1 : 1;
    if (colonne_ == kModification && a.modification != b.modification)
      return a.modification < b.modification ? -1 : 1;
    return ordre_noms.compare(a.nom, b.nom);
  };
  std::stable_sort(lignes_.begin(), lignes_.end(), [&](const Ligne &a, const Ligne &b) {
    if (a.dossier != b.dossier) return a.dossier;
    const int rang = compare(a, b);
    return ordre_ == Qt::AscendingOrder ? rang < 0 : rang > 0;
  });
}

void ModelePc::sort(int colonne, Qt::SortOrder ordre) {
  beginResetModel();
  colonne_ = colonne;
  ordre_ = ordre;
  trie();
  endResetModel();
}

int ModelePc::rowCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : static_cast<int>(lignes_.size());
}

int ModelePc::columnCount(const QModelIndex &parent) const {
  return parent.isValid() ? 0 : kColonnesPc;
}

QVariant ModelePc::data(const QModelIndex &index, int role) const {
  if (!index.isValid() || index.row() >= rowCount()) return {};
  const Ligne &ici = ligne(index.row());
  if (role == Qt::DecorationRole && index.column() == kNom) return ici.dossier ? dossier_ : fichier_;
  if (role == Qt::TextAlignmentRole && index.column() == kTaille)
    return static_cast<int>(Qt::AlignRight | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  switch (index.column()) {
    case kNom:
      return ici.nom;
    case kTaille:
      // Clear of the next column.
      return ici.dossier ? QString()
                         : vers_qt(taille_liste(static_cast<std::uint64_t>(ici.taille))) + QChar(0x2002);
    default:
      return QLocale().toString(ici.modification, QLocale::ShortFormat);
  }
}

QVariant ModelePc::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) return {};
  if (role == Qt::TextAlignmentRole)
    return static_cast<int>(Qt::AlignVCenter | (section == kTaille ? Qt::AlignRight : Qt::AlignLeft));
  if (role != Qt::DisplayRole) return {};
  constexpr std::array kLegendes{kLegendeNom, kLegendeTaille, kLegendeModification};
  return chaine_qt(kLegendes[static_cast<std::size_t>(section)]);
}

}  // namespace varnion
